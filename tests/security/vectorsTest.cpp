// Guards: the published vectors come out exactly, both ways of computing AES agree, and counters wrap in their width.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>

#include "tests/security/security.h"

namespace {

using Cells = std::map<std::string, std::string>; // by the heading of their column

std::vector<Cells> readVectors()
{
  std::vector<Cells> vectors;
  std::ifstream file(VELNOR_TEST_DATA "/vectors.tsv");
  std::string headings, line;
  std::getline(file, headings);
  while (std::getline(file, line)) {
    std::istringstream names(headings), row(line);
    Cells& cells = vectors.emplace_back();
    for (std::string name; std::getline(names, name, '\t');) std::getline(row, cells[name], '\t');
  }
  return vectors;
}

// Counter mode has its first counter as the count; a counter has there its bits, and as the bearer where they stand.
Octets computed(const Cells& v)
{
  const std::string &kind = v.at("kind"), &count = v.at("count");
  const Octets key = octetsOfHex(v.at("key")), input = octetsOfHex(v.at("input"));
  uint32_t schedule[kAesScheduleWords], code = 0;
  Octets out = input;
  if (kind == "counter") {
    CounterPlace place = v.at("bearer") == "front" ? CounterPlace::atFront : CounterPlace::atEnd;
    rtx3gppIncrementCounter(out.data(), out.size(), std::stoul(count), place);
    return out;
  }
  rtx3gppAesExpandKey(schedule, key.data());
  if (kind == "AES-128-block") rtx3gppAesEncrypt(schedule, input.data(), out.data(), out.size());
  if (kind == "AES-128-CTR") rtx3gppCounterMode(schedule, octetsOfHex(count).data(), out.data(), out.size());
  if (kind == "AES-CMAC") {
    uint8_t subkeys[kCmacSubkeyOctets];
    rtx3gppCmacSubkeys(schedule, subkeys);
    out.resize(kAesBlockOctets);
    rtx3gppCmac(schedule, subkeys, input.data(), input.size(), out.data());
  }
  if (v.at("bearer").empty()) return out;
  SecureContext ctxt;
  EXPECT_EQ(0, rtx3gppAssignAlgorithmKeys(&ctxt, key.data(), key.data(), 2, 2));
  ctxt.set(uint32_t(std::stoul(count)), uint8_t(std::stoul(v.at("bearer"))), uint8_t(std::stoul(v.at("direction"))));
  if (kind == "128-EEA2") {
    EXPECT_EQ(0, rtx3gppCipher(&ctxt, out.data(), out.size()));
    return out;
  }
  EXPECT_EQ(0, rtx3gppComputeMAC(&ctxt, input.data(), input.size(), &code));
  return {uint8_t(code >> 24), uint8_t(code >> 16), uint8_t(code >> 8), uint8_t(code)};
}

TEST(SecurityVectors, PublishedVectorsComeOutExactly)
{
  const std::vector<Cells> vectors = readVectors();
  ASSERT_EQ(25u, vectors.size());
  onEveryPath([&] {
    for (const Cells& v : vectors)
      EXPECT_EQ(octetsOfHex(v.at("output")), computed(v)) << v.at("kind") << ", " << v.at("source");
  });
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
