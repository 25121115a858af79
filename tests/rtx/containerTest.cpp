// Promise: a region ends exactly where it was said to, from whatever bit it was opened, and positions come back.
#include "velnor3gpp/rtxContainer.h"

#include <gtest/gtest.h>

#include "codecBench.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxStatus.h"

TEST(Container, RegionsAgreeWithPositions)
{
  std::mt19937 random(21);
  Octets octets(40);
  for (int round = 0; round < 5000; ++round) {
    Bench bench;
    bench.bind(octets);
    size_t start = pick(random, 0, 100), nbits = pick(random, 0, 100), at = pick(random, 0, 230);
    bool bytes = pick(random, 0, 1) == 1;
    if (bytes) nbits = nbits / 8 * 8;
    bench.moveTo(start);
    ASSERT_EQ(bytes ? rtxCtxtPushContainerBytes(&bench, nbits / 8) : rtxCtxtPushContainerBits(&bench, nbits), 0);
    size_t end = start + nbits;
    bench.moveTo(at);
    ASSERT_EQ(rtxCtxtContainerHasRemBits(&bench), at < end) << start << "+" << nbits << " at " << at;
    ASSERT_EQ(rtxCtxtContainerEnd(&bench), at == end);
    ASSERT_EQ(rtxCtxtGetContainerRemBits(&bench), end - at);
  }
}

TEST(Container, InnermostRegionCountsUntilItIsClosed)
{
  Octets octets(10);
  Bench bench;
  bench.bind(octets);
  rtxCtxtPopContainer(&bench);
  ASSERT_EQ(rtxCtxtPushContainerBytes(&bench, 6), 0);
  ASSERT_EQ(rtxCtxtPushContainerBits(&bench, 5), 0);
  EXPECT_EQ(rtxCtxtGetContainerRemBits(&bench), 5U);
  rtxCtxtPopContainer(&bench);
  EXPECT_EQ(rtxCtxtGetContainerRemBits(&bench), 48U);
  ASSERT_EQ(rtxCtxtPushContainerBytes(&bench, SIZE_MAX), 0);
  EXPECT_TRUE(rtxCtxtContainerHasRemBits(&bench)) << "a length past the input opens a region all the same";
  rtxCtxtPopAllContainers(&bench);
  EXPECT_EQ(rtxCtxtGetContainerRemBits(&bench), 80U);
  bench.moveTo(79);
  EXPECT_TRUE(rtxCtxtContainerHasRemBits(&bench));
  bench.moveTo(80);
  EXPECT_FALSE(rtxCtxtContainerHasRemBits(&bench));
  EXPECT_TRUE(rtxCtxtContainerEnd(&bench));
}

TEST(Container, RefusedMemoryOpensNothing)
{
  Octets octets(10);
  for (int allowed = 0; allowed < 2; ++allowed) {
    Bench bench;
    bench.bind(octets);
    uint32_t flags = 0x20000000U; // every allocation of the heap reaches the allocator
    rtxMemHeapSetFlags(&bench.pMemHeap, flags);
    failing::allow(allowed);
    EXPECT_EQ(rtxCtxtPushContainerBytes(&bench, 3), RTX_E_NO_MEMORY);
    failing::allow(-1);
    EXPECT_EQ(bench.containerStack.dlist.count, 0U);
    EXPECT_EQ(rtxCtxtGetContainerRemBits(&bench), 80U);
  }
}

TEST(Container, PositionsComeBack)
{
  Octets octets(10);
  Bench bench;
  bench.bind(octets);
  for (size_t bit = 0; bit < 100; ++bit) {
    ASSERT_EQ(rtxCtxtSetBitOffset(&bench, bit), 0);
    ASSERT_EQ(rtxCtxtGetBitOffset(&bench), bit);
    size_t mark = 0, pos = 0;
    ASSERT_EQ(rtxCtxtMarkBitPos(&bench, &mark), 0);
    ASSERT_EQ(rtxMarkPos(&bench, &pos), 0);
    ASSERT_EQ(rtxCtxtSetBitOffset(&bench, 3), 0);
    ASSERT_EQ(rtxResetToPos(&bench, pos), 0);
    ASSERT_EQ(bench.at(), bit / 8 * 8 + 3) << "the octet comes back, the bit offset stays";
    ASSERT_EQ(rtxCtxtResetToBitPos(&bench, mark), 0);
    ASSERT_EQ(bench.at(), bit);
    ASSERT_EQ(rtxCtxtGetIOByteCount(&bench), bit / 8);
  }
  bench.buffer.byteIndex = SIZE_MAX / 8 + 1;
  size_t mark = 5;
  EXPECT_EQ(rtxCtxtMarkBitPos(&bench, &mark), RTX_E_TOO_BIG);
  EXPECT_EQ(mark, 0U);
  EXPECT_EQ(bench.takeLevels(), 0);
}
