// Promise: a region ends exactly where it was said to, from whatever bit it was opened.
#include "velnor3gpp/rtxContainer.h"

#include <gtest/gtest.h>

#include "tests/bench.h"

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
