// Guards: the published vectors come out exactly, both ways of computing AES agree, and counters wrap in their width.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "tests/security/security.h"

namespace {

struct Vector {
  std::string kind, source;
  Octets key;
  std::string count, bearer, direction; // empty where the kind has none; of counter mode, the first counter
  Octets input, output;
};

std::vector<Vector> readVectors()
{
  std::vector<Vector> vectors;
  std::ifstream file(VELNOR_TEST_DATA "/vectors.tsv");
  std::string line;
  std::getline(file, line);
  while (std::getline(file, line)) {
    std::istringstream row(line);
    std::string cell[8];
    for (std::string& c : cell) std::getline(row, c, '\t');
    vectors.push_back(
        {cell[0], cell[1], fromHex(cell[2]), cell[3], cell[4], cell[5], fromHex(cell[6]), fromHex(cell[7])});
  }
  return vectors;
}

Octets computed(const Vector& v)
{
  uint32_t schedule[kAesScheduleWords], code = 0;
  rtx3gppAesExpandKey(schedule, v.key.data());
  Octets out = v.input;
  if (v.kind == "AES-128-block") rtx3gppAesEncrypt(schedule, v.input.data(), out.data(), out.size());
  if (v.kind == "AES-128-CTR") rtx3gppCounterMode(schedule, fromHex(v.count).data(), out.data(), out.size());
  if (v.kind == "AES-CMAC") {
    uint8_t subkeys[kCmacSubkeyOctets];
    rtx3gppCmacSubkeys(schedule, subkeys);
    out.resize(kAesBlockOctets);
    rtx3gppCmac(schedule, subkeys, v.input.data(), v.input.size(), out.data());
  }
  if (v.bearer.empty()) return out;
  SecureContext ctxt;
  EXPECT_EQ(0, rtx3gppAssignAlgorithmKeys(ctxt, v.key.data(), v.key.data(), 2, 2));
  ctxt.set(uint32_t(std::stoul(v.count)), uint8_t(std::stoul(v.bearer)), uint8_t(std::stoul(v.direction)));
  if (v.kind == "128-EEA2") {
    EXPECT_EQ(0, rtx3gppCipher(ctxt, out.data(), out.size()));
    return out;
  }
  EXPECT_EQ(0, rtx3gppComputeMAC(ctxt, v.input.data(), v.input.size(), &code));
  return {uint8_t(code >> 24), uint8_t(code >> 16), uint8_t(code >> 8), uint8_t(code)};
}

TEST(SecurityVectors, PublishedVectorsComeOutExactly)
{
  const std::vector<Vector> vectors = readVectors();
  ASSERT_EQ(17u, vectors.size());
  onEveryPath([&] {
    for (const Vector& v : vectors) EXPECT_EQ(v.output, computed(v)) << v.kind << ", " << v.source;
  });
}

TEST(SecurityVectors, CounterWrapsInItsWidthAndLeavesTheRest)
{
  struct {
    const char *before, *after;
    size_t bits;
    CounterPlace place;
  } const cases[] = {
      {"ffffffffffffffffffffffffffffffff", "ffffffffffffffff0000000000000000", 64, CounterPlace::atEnd},
      {"000000000000000000000000000000ff", "00000000000000000000000000000100", 64, CounterPlace::atEnd},
      {"000000000000000000000000abcdffff", "000000000000000000000000abce0000", 20, CounterPlace::atEnd},
      {"000000000000000000000000abcfffff", "000000000000000000000000abc00000", 20, CounterPlace::atEnd},
      {"000000000000000000000000000000fb", "000000000000000000000000000000f8", 2, CounterPlace::atEnd},
      {"00ff00000000000000000000000000ee", "010000000000000000000000000000ee", 16, CounterPlace::atFront},
      {"00fff5000000000000000000000000ee", "010005000000000000000000000000ee", 20, CounterPlace::atFront},
      {"fffff5000000000000000000000000ee", "000005000000000000000000000000ee", 20, CounterPlace::atFront},
  };
  for (const auto& c : cases) {
    Octets block = fromHex(c.before);
    rtx3gppIncrementCounter(block.data(), block.size(), c.bits, c.place);
    EXPECT_EQ(fromHex(c.after), block) << c.before << ", " << c.bits << " bits";
  }
}

TEST(SecurityVectors, WrongSizesEndInAnAssertion)
{
  uint32_t schedule[kAesScheduleWords] = {};
  uint8_t block[2 * kAesBlockOctets] = {};
  rtx3gppAesEncrypt(schedule, block, block, 0);
  EXPECT_EQ(Octets(32), Octets(block, block + sizeof block));
  EXPECT_EXIT(rtx3gppAesEncrypt(schedule, block, block, 17), testing::ExitedWithCode(255), "");
  EXPECT_EXIT(rtx3gppIncrementCounter(block, 16, 0, CounterPlace::atEnd), testing::ExitedWithCode(255), "");
}

} // namespace
