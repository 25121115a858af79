// Promise: every writer appends exactly its bits, at any alignment, to fixed and growing buffers, or nothing at all.
#include "velnor3gpp/rtxBitEncode.h"

#include <gtest/gtest.h>

#include <functional>

#include "tests/bench.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

// Writes one random field to the context and appends its bits to the model. On failure the model stays.
int writeRandom(std::mt19937& random, RtxContext* pctxt, Bits* model)
{
  uint64_t value = static_cast<uint64_t>(random()) << 32 | random();
  uint32_t low = static_cast<uint32_t>(value);
  Octets octets = randomOctets(random, 24);
  Bits source(octets), field;
  size_t nbits = pick(random, 0, 100), from = pick(random, 0, 90), n = size_t{1} << nbits % 3;
  auto number = [&](int status, uint64_t written, size_t width) { return field.add(written, width), status; };
  auto part = [&](int status, size_t at) { return field = source.slice(at, nbits), status; };
  const std::function<int()> writes[] = {
      [&] { return number(rtxEncBit(pctxt, static_cast<int>(value & 2)), (value & 2) != 0, 1); },
      [&] { return number(rtxEncBits(pctxt, low, nbits % 33), value, nbits % 33); },
      [&] { return number(rtxEncBitsFromSize(pctxt, value, nbits % 65), value, nbits % 65); },
      [&] { return number(rtxEncUInt32(pctxt, low, n), low, n * 8); },
      [&] { return part(rtxEncBitsFromByteArray(pctxt, octets.data(), nbits), 0); },
      [&] { return part(rtxCopyBits(pctxt, octets.data(), nbits, from), from); },
      [&] {
        for (size_t i = 0; i < nbits; ++i) field.push_back(source[(model->size() + i) % 8]);
        return rtxEncBitsPattern(pctxt, octets[0], nbits);
      },
  };
  int status = writes[pick(random, 0, std::size(writes) - 1)]();
  if (status == 0) model->insert(model->end(), field.begin(), field.end());
  return status;
}

} // namespace

TEST(BitEncode, RandomFieldsIntoAFixedBufferUntilItIsFull)
{
  std::mt19937 random(11);
  for (int round = 0; round < 2000; ++round) {
    Bench bench(Octets(pick(random, 1, 60), 0xEE));
    const Octets& target = bench.data;
    Bits model;
    int status = 0;
    while (status == 0 && model.size() < target.size() * 8) {
      Octets before = target;
      status = writeRandom(random, &bench, &model);
      ASSERT_EQ(bench.at(), model.size());
      if (status < 0) ASSERT_EQ(target, before);
      Octets written = model.octets();
      written.resize(target.size(), 0xEE); // nothing behind the field is touched
      ASSERT_EQ(target, written);
    }
    ASSERT_TRUE(status == 0 || status == RTX_E_ENCODE_OVERFLOW);
  }
}

TEST(BitEncode, GrowthKeepsWhatWasWritten)
{
  std::mt19937 random(12);
  Bench bench;
  ASSERT_EQ(rtxCtxtSetBufPtr(&bench, nullptr, 16), 0);
  Bits model;
  while (model.size() < 40000) ASSERT_EQ(writeRandom(random, &bench, &model), 0);
  Octets octets = model.octets();
  EXPECT_TRUE(std::equal(octets.begin(), octets.end(), bench.buffer.data));
}

TEST(BitEncode, MergeReplacesTheFieldAlone)
{
  std::mt19937 random(13);
  for (int round = 0; round < 5000; ++round) {
    Octets octets = randomOctets(random, 8);
    Bits model(octets);
    size_t at = pick(random, 0, 31), nbits = pick(random, 1, 32);
    uint32_t value = static_cast<uint32_t>(random());
    for (size_t i = 0; i < nbits; ++i) model[at + i] = (value >> (nbits - 1 - i) & 1) != 0;
    Bench bench(octets);
    bench.moveTo(at);
    ASSERT_EQ(rtxMergeBits(&bench, value, nbits), 0);
    ASSERT_EQ(bench.data, model.octets()) << "at " << at << " nbits " << nbits;
    ASSERT_EQ(bench.at(), at + nbits);
  }
}
