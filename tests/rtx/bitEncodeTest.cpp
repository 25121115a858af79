// Promise: every writer appends exactly its bits, at any alignment, to fixed and growing buffers, or nothing at all.
#include "velnor3gpp/rtxBitEncode.h"

#include <gtest/gtest.h>

#include "tests/rtx/randomField.h"
#include "velnor3gpp/rtxStatus.h"

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
