// Promise: a region ends exactly where it was said to, from whatever bit it was opened, and positions come back.
#include "velnor3gpp/rtxContainer.h"

#include <gtest/gtest.h>

#include "tests/bench.h"
#include "velnor3gpp/rtxStatus.h"

TEST(Container, RegionsAgreeWithPositions)
{
  std::mt19937 random(21);
  Octets octets(40);
  for (int round = 0; round < 5000; ++round) {
    Bench bench(octets);
    size_t start = pick(random, 0, 100), nbits = pick(random, 0, 100), at = pick(random, 0, 230);
    bool bytes = pick(random, 0, 1) == 1;
    if (bytes) nbits = nbits / 8 * 8;
    ASSERT_EQ(rtxCtxtPushContainerBytes(&bench, 6), 0) << "the innermost region counts";
    bench.moveTo(start);
    ASSERT_EQ(bytes ? rtxCtxtPushContainerBytes(&bench, nbits / 8) : rtxCtxtPushContainerBits(&bench, nbits), 0);
    size_t end = start + nbits;
    bench.moveTo(at);
    ASSERT_EQ(rtxCtxtContainerHasRemBits(&bench), at < end) << start << "+" << nbits << " at " << at;
    ASSERT_EQ(rtxCtxtContainerEnd(&bench), at == end);
    ASSERT_EQ(rtxCtxtGetContainerRemBits(&bench), end - at);
    rtxCtxtPopContainer(&bench);
    ASSERT_EQ(rtxCtxtGetContainerRemBits(&bench), 48 - at);
    bench.moveTo(0);
    ASSERT_EQ(rtxCtxtPushContainerBytes(&bench, SIZE_MAX), 0);
    ASSERT_TRUE(rtxCtxtContainerHasRemBits(&bench)) << "a length past the input opens a region all the same";
    rtxCtxtPopAllContainers(&bench);
    rtxCtxtPopContainer(&bench);
    bench.moveTo(at);
    ASSERT_EQ(rtxCtxtGetContainerRemBits(&bench), 320 - at) << "without a region the input counts";
    ASSERT_EQ(rtxCtxtContainerHasRemBits(&bench), at < 320);
  }
}

TEST(Container, PositionsComeBack)
{
  Octets octets(10);
  Bench bench(octets);
  for (size_t bit = 0; bit < 100; ++bit) {
    size_t mark = 0, pos = 0;
    ASSERT_EQ(rtxCtxtSetBitOffset(&bench, bit), 0);
    ASSERT_EQ(all({rtxCtxtMarkBitPos(&bench, &mark), rtxMarkPos(&bench, &pos), rtxCtxtSetBitOffset(&bench, 3)}), 0);
    ASSERT_EQ(rtxResetToPos(&bench, pos), 0);
    ASSERT_EQ(bench.at(), bit / 8 * 8 + 3) << "the octet comes back, the bit offset stays";
    ASSERT_EQ(rtxCtxtResetToBitPos(&bench, mark), 0);
    ASSERT_EQ(rtxCtxtGetBitOffset(&bench), bit);
    ASSERT_EQ(rtxCtxtGetIOByteCount(&bench), bit / 8);
  }
  bench.buffer.byteIndex = SIZE_MAX / 8 + 1;
  size_t mark = 5;
  EXPECT_EQ(rtxCtxtMarkBitPos(&bench, &mark), RTX_E_TOO_BIG);
  EXPECT_EQ(mark, 0U);
}
