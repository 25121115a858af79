// Guards: the published vectors come out exactly, both ways of computing AES agree, and counters wrap in their width.
#include <fstream>
#include <sstream>

#include "tests/security/securityTest.h"

namespace {

struct Vector {
  std::string kind, source;
  Octets key;
  uint32_t count = 0;
  uint8_t bearer = 0, direction = 0;
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
    Vector v{cell[0], cell[1], octetsOf(cell[2]), 0, 0, 0, octetsOf(cell[6]), octetsOf(cell[7])};
    if (!cell[3].empty()) {
      v.count = uint32_t(std::stoul(cell[3]));
      v.bearer = uint8_t(std::stoul(cell[4]));
      v.direction = uint8_t(std::stoul(cell[5]));
    }
    vectors.push_back(v);
  }
  return vectors;
}

Octets computed(const Vector& v)
{
  uint32_t schedule[kAesScheduleWords];
  rtx3gppAesExpandKey(schedule, v.key.data());
  Octets out = v.input;
  if (v.kind == "AES-128-block") rtx3gppAesEncrypt(schedule, v.input.data(), out.data(), out.size());
  if (v.kind == "AES-CMAC") {
    uint8_t subkeys[kCmacSubkeyOctets];
    rtx3gppCmacSubkeys(schedule, subkeys);
    out.resize(kAesBlockOctets);
    rtx3gppCmac(schedule, subkeys, v.input.data(), v.input.size(), out.data());
  }
  SecureContext secure;
  EXPECT_EQ(0, rtx3gppAssignAlgorithmKeys(&secure.ctxt, v.key.data(), v.key.data(), 2, 2));
  secure.set(v.count, v.bearer, v.direction);
  if (v.kind == "128-EEA2") {
    EXPECT_EQ(0, rtx3gppCipher(&secure.ctxt, out.data(), out.size()));
  }
  if (v.kind == "128-EIA2") {
    uint32_t code = 0;
    EXPECT_EQ(0, rtx3gppComputeMAC(&secure.ctxt, v.input.data(), v.input.size(), &code));
    out = {uint8_t(code >> 24), uint8_t(code >> 16), uint8_t(code >> 8), uint8_t(code)};
  }
  return out;
}

} // namespace

TEST(SecurityVectors, PublishedVectorsComeOutExactly)
{
  const std::vector<Vector> vectors = readVectors();
  ASSERT_EQ(15u, vectors.size());
  onEveryPath([&] {
    for (const Vector& v : vectors) EXPECT_EQ(v.output, computed(v)) << v.kind << ", " << v.source;
  });
}

// SP 800-38A, F.5.1. The 64-bit counter carries through one octet and never leaves the low half.
TEST(SecurityVectors, CounterModeOfTheStandard)
{
  const Octets key = octetsOf("2b7e151628aed2a6abf7158809cf4f3c");
  const Octets plain = octetsOf("6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
                                "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710");
  const Octets cipher = octetsOf("874d6191b620e3261bef6864990db6ce9806f66b7970fdff8617187bb9fffdff"
                                 "5ae4df3edbd5d35e5b4f09020db03eab1e031dda2fbe03d1792170a0f3009cee");
  uint32_t schedule[kAesScheduleWords];
  rtx3gppAesExpandKey(schedule, key.data());
  EXPECT_EQ(0xb6630ca6u, schedule[43]); // FIPS 197, appendix A.1
  onEveryPath([&] {
    Octets counter = octetsOf("f0f1f2f3f4f5f6f7f8f9fafbfcfdfeff"), data = plain;
    rtx3gppCounterMode(schedule, counter.data(), data.data(), data.size());
    EXPECT_EQ(cipher, data);
    EXPECT_EQ(octetsOf("f0f1f2f3f4f5f6f7f8f9fafbfcfdff03"), counter);
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
    Octets block = octetsOf(c.before);
    rtx3gppIncrementCounter(block.data(), block.size(), c.bits, c.place);
    EXPECT_EQ(octetsOf(c.after), block) << c.before << ", " << c.bits << " bits";
  }
}

TEST(SecurityVectors, WrongSizesEndInAnAssertion)
{
  uint32_t schedule[kAesScheduleWords] = {};
  uint8_t block[2 * kAesBlockOctets] = {};
  const Octets before(block, block + sizeof block);
  rtx3gppAesEncrypt(schedule, block, block, 0);
  EXPECT_EQ(before, Octets(block, block + sizeof block));
  EXPECT_EXIT(rtx3gppAesEncrypt(schedule, block, block, 17), testing::ExitedWithCode(255), "");
  EXPECT_EXIT(rtx3gppIncrementCounter(block, 16, 0, CounterPlace::atEnd), testing::ExitedWithCode(255), "");
}
