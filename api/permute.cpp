// The permutation is a Feistel network over the fewest bits that hold the last number; what falls behind it goes
// through again (cycle walking), which needs less than two rounds on average. In the order that the network makes of
// the numbers, each becomes the one behind it, so that none stays as it was.
#include "api/permute.h"

#include "rt3gppsrc/rt3gppCrypto.h"

static constexpr unsigned kRounds = 8;
static constexpr unsigned kLeastBits = 4; // halves of less would say nothing

namespace {

// Numbers of `high` and `low` bits. The last number goes into each round, so that there is a network for each size.
struct Network {
  const uint32_t* schedule;
  uint64_t last;
  unsigned high, low;
};

} // namespace

static Network networkFor(const uint32_t* schedule, uint64_t last)
{
  unsigned bits = kLeastBits;
  while (bits < 64 && last >> bits) ++bits;
  return {schedule, last, bits / 2, bits - bits / 2};
}

static uint64_t lowBits(uint64_t value, unsigned bits)
{
  return value & ((uint64_t{1} << bits) - 1);
}

// What a round makes of one half: AES of size, round and half.
static uint64_t mixed(const Network& net, unsigned round, uint64_t half)
{
  uint8_t block[kAesBlockOctets] = {};
  for (unsigned i = 0; i < 8; ++i) block[i] = static_cast<uint8_t>(net.last >> 8 * i);
  for (unsigned i = 0; i < 4; ++i) block[8 + i] = static_cast<uint8_t>(half >> 8 * i);
  block[12] = static_cast<uint8_t>(round);
  block[13] = 1; // CMAC of the same key has other blocks
  rtx3gppAesEncrypt(net.schedule, block, block, sizeof block);
  uint64_t result = 0;
  for (unsigned i = 0; i < 4; ++i) result = result << 8 | block[i];
  return result;
}

// One way through the network, or the way back. Each round changes one half by the other.
static uint64_t through(const Network& net, uint64_t value, bool back)
{
  uint64_t high = value >> net.low, low = lowBits(value, net.low);
  for (unsigned i = 0; i < kRounds; ++i) {
    unsigned round = back ? kRounds - 1 - i : i;
    if (round % 2)
      high ^= lowBits(mixed(net, round, low), net.high);
    else
      low ^= lowBits(mixed(net, round, high), net.low);
  }
  return high << net.low | low;
}

static uint64_t walk(const Network& net, uint64_t value, bool back)
{
  do value = through(net, value, back);
  while (value > net.last);
  return value;
}

uint64_t permute(const uint32_t* schedule, uint64_t value, uint64_t last)
{
  Network net = networkFor(schedule, last);
  uint64_t at = walk(net, value, false);
  return walk(net, at == last ? 0 : at + 1, true);
}
