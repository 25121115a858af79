// Promise: every reader gives the bits of the input in order, at any alignment, and fails at its end exactly as told.
#include "velnor3gpp/rtxBitDecode.h"

#include <gtest/gtest.h>

#include "tests/bench.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

template <class T, int (*read)(RtxContext*, T*, size_t)> int readAs(RtxContext* pctxt, uint64_t* pvalue, size_t nbits)
{
  T value = 0;
  int status = read(pctxt, &value, nbits);
  *pvalue = value;
  return status;
}

int readBit(RtxContext* pctxt, uint8_t* pvalue, size_t)
{
  return rtxDecBit(pctxt, pvalue);
}

const struct {
  size_t least, most; // bits
  int (*read)(RtxContext*, uint64_t*, size_t);
} kReaders[] = {
    {0, 8, readAs<uint8_t, rtxDecBitsToByte>},
    {0, 16, readAs<uint16_t, rtxDecBitsToUInt16>},
    {0, 32, readAs<uint32_t, rtxDecBits>},
    {0, 64, readAs<uint64_t, rtxDecBitsToUInt64>},
    {0, 8 * sizeof(size_t), readAs<size_t, rtxDecBitsToSize>},
    {1, 1, readAs<uint8_t, readBit>},
};

/** What a failed read of an octet string leaves behind. */
struct Shortfall {
  size_t at;
  int levels;
};

// The string's whole octets come first and stay consumed; an unaligned octet needs the one after it as well. Then the
// bit offset moves to where the last bits will end, before they are looked for.
Shortfall expectShortfall(size_t at, size_t nbits, size_t end)
{
  size_t phase = at % 8, octet = at / 8, whole = nbits / 8;
  size_t usable = phase == 0 ? end / 8 - octet : end / 8 - octet - 1;
  if (whole > usable) return {(octet + usable) * 8 + phase, phase == 0 ? 1 : 2};
  return {(octet + whole) * 8 + (phase + nbits) % 8, 2};
}

} // namespace

TEST(BitDecode, NumbersAndStringsAtAllPhasesAndEnds)
{
  std::mt19937 random(1);
  for (int round = 0; round < 40000; ++round) {
    size_t which = pick(random, 0, 2 * std::size(kReaders) - 1);
    bool isString = which >= std::size(kReaders);
    Octets octets = randomOctets(random, pick(random, 1, isString ? 60 : 14)), target(90, 0xA5);
    Bits bits(octets);
    Bench bench(octets);
    size_t at = pick(random, 0, bits.size()), nbits = pick(random, 1, bits.size() + 20), need = (nbits + 7) / 8;
    if (!isString) nbits = pick(random, kReaders[which].least, kReaders[which].most);
    bench.moveTo(at);
    uint64_t value = 0;
    int status = isString ? rtxDecBitsToByteArray(&bench, target.data(), need, nbits)
                          : kReaders[which].read(&bench, &value, nbits);
    ASSERT_EQ(target[isString ? need : 0], 0xA5);
    if (nbits <= bits.size() - at) {
      ASSERT_EQ(status, 0);
      ASSERT_EQ(bench.at(), at + nbits);
      target.resize(need);
      if (isString) ASSERT_EQ(target, bits.slice(at, nbits).octets());
      if (!isString) ASSERT_EQ(value, bits.number(at, nbits));
      continue;
    }
    ASSERT_EQ(status, RTX_E_END_OF_BUFFER);
    ASSERT_EQ(value, 0U);
    // Of the numbers only the byte takes the road of the strings, and reports from one level more.
    Shortfall expected = isString || which == 0 ? expectShortfall(at, nbits, bits.size()) : Shortfall{at, 1};
    ASSERT_EQ(bench.at(), expected.at) << "reader " << which << " nbits " << nbits << " at " << at;
    ASSERT_EQ(bench.takeLevels(), expected.levels + (isString ? 0 : 1));
  }
}
