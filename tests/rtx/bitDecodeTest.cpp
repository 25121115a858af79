// Promise: every reader gives the bits of the input in order, at any alignment, and fails at its end exactly as told.
#include "velnor3gpp/rtxBitDecode.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "codecBench.h"
#include "velnor3gpp/rtxCheckBuffer.h"
#include "velnor3gpp/rtxContainer.h"
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
    {0, 8, readAs<uint8_t, rtxDecBitsToByte>}, {0, 16, readAs<uint16_t, rtxDecBitsToUInt16>},
    {0, 32, readAs<uint32_t, rtxDecBits>},     {0, 64, readAs<uint64_t, rtxDecBitsToUInt64>},
    {0, 64, readAs<size_t, rtxDecBitsToSize>}, {1, 1, readAs<uint8_t, readBit>},
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

TEST(BitDecode, IntegersOfAllWidthsAtAllPhasesAndEnds)
{
  std::mt19937 random(1);
  for (int round = 0; round < 20000; ++round) {
    Octets octets = randomOctets(random, pick(random, 1, 14));
    Bits bits(octets);
    Bench bench;
    bench.bind(octets);
    size_t which = pick(random, 0, std::size(kReaders) - 1);
    auto& reader = kReaders[which];
    size_t nbits = pick(random, reader.least, reader.most);
    size_t at = pick(random, 0, bits.size());
    bench.moveTo(at);
    uint64_t value = 0;
    int status = reader.read(&bench, &value, nbits);
    if (nbits <= bits.size() - at) {
      ASSERT_EQ(status, 0);
      ASSERT_EQ(value, bits.number(at, nbits));
      ASSERT_EQ(bench.at(), at + nbits);
      continue;
    }
    ASSERT_EQ(status, RTX_E_END_OF_BUFFER);
    ASSERT_EQ(value, 0U);
    // Only the first, the byte reader, takes the road of the octet strings, and reports from one level more.
    Shortfall expected = which == 0 ? expectShortfall(at, nbits, bits.size()) : Shortfall{at, 1};
    ASSERT_EQ(bench.at(), expected.at) << "reader " << which << " nbits " << nbits << " at " << at;
    ASSERT_EQ(bench.takeLevels(), expected.levels + 1);
  }
}

TEST(BitDecode, OctetStringsAtAllPhasesAndEnds)
{
  std::mt19937 random(2);
  for (int round = 0; round < 20000; ++round) {
    Octets octets = randomOctets(random, pick(random, 1, 60));
    Bits bits(octets);
    Bench bench;
    bench.bind(octets);
    size_t at = pick(random, 0, bits.size());
    size_t nbits = pick(random, 1, bits.size() + 20);
    bench.moveTo(at);
    Octets target(nbits / 8 + 2, 0xA5);
    size_t need = (nbits + 7) / 8;
    int status = rtxDecBitsToByteArray(&bench, target.data(), need, nbits);
    ASSERT_EQ(target[need], 0xA5);
    if (nbits <= bits.size() - at) {
      ASSERT_EQ(status, 0);
      ASSERT_EQ(Octets(target.begin(), target.begin() + static_cast<long>(need)), bits.slice(at, nbits));
      ASSERT_EQ(bench.at(), at + nbits);
      continue;
    }
    Shortfall expected = expectShortfall(at, nbits, bits.size());
    ASSERT_EQ(status, RTX_E_END_OF_BUFFER);
    ASSERT_EQ(bench.at(), expected.at) << "nbits " << nbits << " at " << at << " of " << bits.size();
    ASSERT_EQ(bench.takeLevels(), expected.levels);
  }
}

TEST(BitDecode, WidthsBeyondTheTargetLeaveTheCursor)
{
  Octets octets(16, 0xFF);
  Bench bench;
  bench.bind(octets);
  uint8_t target[2];
  EXPECT_EQ(rtxDecBits(&bench, nullptr, 33), RTX_E_TOO_BIG);
  EXPECT_EQ(rtxDecBitsToUInt16(&bench, nullptr, 17), RTX_E_TOO_BIG);
  EXPECT_EQ(rtxDecBitsToUInt64(&bench, nullptr, 65), RTX_E_TOO_BIG);
  EXPECT_EQ(rtxDecBitsToByte(&bench, target, 9), RTX_E_TOO_BIG);
  EXPECT_EQ(rtxPeekBits(&bench, nullptr, 33), RTX_E_TOO_BIG);
  bench.takeLevels();
  EXPECT_EQ(rtxDecBitsToByteArray(&bench, target, 1, 12), RTX_E_STRING_TOO_LONG);
  bench.takeLevels();
  EXPECT_EQ(rtxReadBytesSafe(&bench, target, 1, 2), RTX_E_ENCODE_OVERFLOW);
  EXPECT_EQ(bench.takeLevels(), 0);
  EXPECT_EQ(bench.at(), 0U);
  bench.moveTo(octets.size() * 8);
  uint32_t value = 7;
  EXPECT_EQ(rtxDecBits(&bench, &value, 0), 0);
  EXPECT_EQ(value, 0U);
}

TEST(BitDecode, NullTargetsSkip)
{
  Octets octets(20, 0x5A);
  Bench bench;
  bench.bind(octets);
  EXPECT_EQ(rtxDecBit(&bench, nullptr), 0);
  EXPECT_EQ(rtxDecBits(&bench, nullptr, 13), 0);
  EXPECT_EQ(rtxDecBitsToByte(&bench, nullptr, 5), 0);
  EXPECT_EQ(rtxDecBitsToByteArray(&bench, nullptr, 0, 50), 0);
  EXPECT_EQ(bench.at(), 69U);
  EXPECT_EQ(rtxDecUInt32(&bench, nullptr, 5), 0);
  EXPECT_EQ(bench.at(), 109U);
  EXPECT_EQ(rtxReadBytes(&bench, nullptr, 2), 0);
  EXPECT_EQ(bench.at(), 125U);
}

// Of an unsigned number one octet may be too many: zero, or anything where it is only passed over.
template <class T>
void readWhole(Bench& bench, const Bits& bits, size_t at, size_t n, int (*read)(RtxContext*, T*, size_t))
{
  uint64_t raw = bits.number(at, n * 8), above = raw >> (8 * sizeof(T) - 1) >> 1;
  bool leading = !std::is_signed_v<T> && n == sizeof(T) + 1;
  if (std::is_signed_v<T> && n > 0)
    raw = static_cast<uint64_t>(static_cast<int64_t>(raw << (64 - n * 8)) >> (64 - n * 8));
  T value = 0;
  for (T* target : {&value, static_cast<T*>(nullptr)}) {
    bool fits = n <= sizeof(T) || (leading && (above == 0 || target == nullptr));
    bench.moveTo(at);
    ASSERT_EQ(read(&bench, target, n), fits ? 0 : RTX_E_TOO_BIG) << sizeof(T) << " " << n;
    if (fits) {
      ASSERT_EQ(bench.at(), at + n * 8);
    }
    rtxErrReset(&bench);
  }
  ASSERT_EQ(value, n <= sizeof(T) || (leading && above == 0) ? static_cast<T>(raw) : 0);
}

TEST(BitDecode, IntegersOfWholeOctets)
{
  std::mt19937 random(3);
  for (int round = 0; round < 5000; ++round) {
    Octets octets = randomOctets(random, 12);
    if (round % 2 == 0) octets[0] = octets[1] = 0;
    Bits bits(octets);
    Bench bench;
    bench.bind(octets);
    // Aligned reads take octets, so that only the octet counts; a cursor within an octet reads across.
    size_t at = pick(random, 0, 15), n = pick(random, 0, 8);
    readWhole(bench, bits, at, n, rtxDecUInt64);
    readWhole(bench, bits, at, n, rtxDecInt64);
    readWhole(bench, bits, at, n, rtxDecUInt32);
    readWhole(bench, bits, at, n, rtxDecInt32);
    readWhole(bench, bits, at, n, rtxDecUInt16);
    readWhole(bench, bits, at, n, rtxDecInt16);
    bench.moveTo(at);
    int8_t i8 = 0;
    ASSERT_EQ(rtxDecInt8(&bench, &i8), 0);
    ASSERT_EQ(static_cast<uint8_t>(i8), bits.number(at, 8));
  }
}

TEST(BitDecode, LeadingZeroOctets)
{
  Octets octets{0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
  Bench bench;
  bench.bind(octets);
  uint32_t value = 0;
  uint64_t wide = 0;
  EXPECT_EQ(rtxDecUInt32(&bench, &value, 5), 0);
  EXPECT_EQ(value, 0x01020304U);
  EXPECT_EQ(rtxDecUInt32(&bench, &value, 5), RTX_E_TOO_BIG);
  bench.moveTo(0);
  EXPECT_EQ(rtxDecUInt64(&bench, &wide, 9), 0);
  EXPECT_EQ(wide, 0x0102030405060708U);
  rtxErrReset(&bench);
  bench.moveTo(0);
  EXPECT_EQ(rtxDecUInt32(&bench, &value, 6), RTX_E_TOO_BIG);
  EXPECT_EQ(bench.at(), 0U);
}

TEST(BitDecode, MovesOfTheCursor)
{
  std::mt19937 random(4);
  for (int round = 0; round < 5000; ++round) {
    Octets octets(pick(random, 1, 9));
    Bench bench;
    bench.bind(octets);
    size_t end = octets.size() * 8, at = pick(random, 0, end);
    int move = static_cast<int>(pick(random, 0, 160)) - 80;
    bench.moveTo(at);
    int status = rtxMoveBitCursor(&bench, move);
    long target = static_cast<long>(at) + move;
    ASSERT_EQ(status, target < 0 || target > static_cast<long>(end) ? RTX_E_END_OF_BUFFER : 0);
    ASSERT_EQ(bench.at(), target < 0 ? at : static_cast<size_t>(target));
    rtxErrReset(&bench);
    bench.moveTo(at);
    size_t skip = pick(random, 0, 11);
    ASSERT_EQ(rtxSkipBytes(&bench, skip), skip > 0 && at + skip * 8 > end ? RTX_E_END_OF_BUFFER : 0);
    ASSERT_EQ(bench.at(), at + skip * 8);
  }
}

TEST(BitDecode, HugeMovesEndBehindTheInput)
{
  Octets octets(4);
  for (size_t huge : {SIZE_MAX, SIZE_MAX - 3, SIZE_MAX / 8 + 1}) {
    Bench bench;
    bench.bind(octets);
    bench.moveTo(12);
    EXPECT_EQ(rtxDecBitsToByteArray(&bench, nullptr, 0, huge), RTX_E_END_OF_BUFFER);
    EXPECT_EQ(rtxDecBit(&bench, nullptr), RTX_E_END_OF_BUFFER);
    bench.moveTo(12);
    EXPECT_EQ(rtxSkipBytes(&bench, huge), RTX_E_END_OF_BUFFER);
    EXPECT_EQ(rtxReadBytes(&bench, nullptr, 1), RTX_E_END_OF_BUFFER);
    EXPECT_EQ(rtxCheckInputBuffer(&bench, huge), RTX_E_END_OF_BUFFER);
  }
}

TEST(BitDecode, LooksAheadLeaveTheCursor)
{
  Octets octets{0x12, 0x34, 0x56, 0x78, 0x9A};
  Bits bits(octets);
  Bench bench;
  bench.bind(octets);
  for (size_t at = 0; at <= 40; ++at) {
    bench.moveTo(at);
    uint8_t bit = 9, octet = 0;
    uint32_t value = 0;
    EXPECT_EQ(rtxPeekBit(&bench, &bit), at < 40 ? 0 : RTX_E_END_OF_BUFFER);
    if (at < 40) {
      EXPECT_EQ(bit, bits.number(at, 1));
    }
    rtxErrReset(&bench);
    EXPECT_EQ(rtxPeekBits(&bench, &value, 19), at <= 21 ? 0 : RTX_E_END_OF_BUFFER);
    if (at <= 21) {
      EXPECT_EQ(value, bits.number(at, 19));
    }
    rtxErrReset(&bench);
    EXPECT_EQ(rtxPeekByte(&bench, &octet), at < 40 ? 1 : 0);
    if (at < 40) {
      EXPECT_EQ(octet, octets[at / 8]);
    }
    uint8_t copy[3];
    size_t count = 9;
    EXPECT_EQ(rtxPeekBytes(&bench, copy, sizeof copy, 4, &count), 0);
    EXPECT_EQ(count, std::min<size_t>(3, 5 - at / 8));
    EXPECT_EQ(bench.takeLevels(), 0);
    EXPECT_EQ(bench.at(), at);
  }
}

TEST(BitDecode, OctetsInPlaceAndTheLastCharacter)
{
  Octets octets{1, 2, 3, 4};
  Bench bench;
  bench.bind(octets);
  uint8_t target[4] = {};
  uint8_t* place = nullptr;
  int allocated = 1;
  ASSERT_EQ(rtxReadBytes(&bench, target, 2), 0);
  EXPECT_EQ(bench.lastChar, 2);
  ASSERT_EQ(rtxReadBytesDynamic(&bench, &place, 2, &allocated), 0);
  EXPECT_EQ(place, octets.data() + 2);
  EXPECT_EQ(allocated, 0);
  EXPECT_EQ(bench.at(), 32U);
  EXPECT_EQ(rtxReadBytesDynamic(&bench, &place, 1, &allocated), RTX_E_END_OF_BUFFER);
  rtxErrReset(&bench);
  bench.moveTo(16);
  EXPECT_EQ(rtxReadBytes(&bench, target, 3), RTX_E_END_OF_BUFFER);
  EXPECT_EQ(bench.at(), 16U);
  EXPECT_EQ(bench.takeLevels(), 1);
}

TEST(BitDecode, AFailureThatJoinsANonFatalRecordIsStillAFailure)
{
  Octets octets{0xFF};
  Bench bench;
  bench.bind(octets);
  rtxErrSetNewData(&bench, RTX_E_END_OF_BUFFER, "test", 1);
  rtxErrSetNonFatal(&bench);
  uint32_t value = 0;
  uint8_t byte = 0;
  EXPECT_LT(rtxDecBits(&bench, &value, 9), 0);
  bench.moveTo(8);
  EXPECT_LT(rtxDecBit(&bench, &byte), 0);
  EXPECT_LT(rtxDecBitsToByte(&bench, &byte, 4), 0);
  EXPECT_LT(rtxReadBytes(&bench, &byte, 1), 0);
}
