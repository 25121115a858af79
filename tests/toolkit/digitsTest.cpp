// Guards: digit strings in memory and on the wire keep every digit, and bad ones leave nothing behind their end.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>

#include "tests/context.h"
#include "velnor3gpp/rtBCD.h"
#include "velnor3gpp/rtxTBCD.h"

namespace {

const std::string kAlphabet = "0123456789*#abc";

// Of every length up to `longest`, with each digit at each place.
std::vector<std::string> digitStrings(const std::string& alphabet, size_t longest)
{
  std::vector<std::string> all;
  for (size_t length = 0; length <= longest; length++) {
    for (size_t first = 0; first < alphabet.size(); first++) {
      all.emplace_back();
      for (size_t i = 0; i < length; i++) all.back() += alphabet[(first + i * 4) % alphabet.size()];
    }
  }
  return all;
}

std::string text(char* allocated)
{
  std::unique_ptr<char, decltype(&free)> owner(allocated, free);
  return allocated ? allocated : "(null)";
}

TEST(Tbcd, MapsTheAlphabetAndNothingElse)
{
  for (int c = -128; c < 128; c++) {
    uint8_t nibble = 99;
    size_t place = c == 0 ? 15 : kAlphabet.find(char(c));
    int expected = place == std::string::npos ? RTX_E_BAD_CHAR : 0;
    EXPECT_EQ(rtxTBCDCharToBin(char(c), &nibble), expected) << c;
    EXPECT_EQ(nibble, expected ? 99 : place);
  }
  char digits[2];
  rtxTBCDBinToChar(15, &digits[0]);
  EXPECT_EQ(rtxTBCDBinToChar(17, &digits[1]), 0);
  EXPECT_EQ(std::string(digits, 2), std::string("\0A", 2));
}

TEST(Tbcd, RoundTripsOnTheWireAndInMemory)
{
  for (const std::string& digits : digitStrings(kAlphabet, 20)) {
    size_t octets = (digits.size() + 1) / 2;
    TestContext out{Octets(octets)};
    ASSERT_EQ(rtxEncQ825TBCDString(out, digits.c_str()), 0);
    ASSERT_EQ(out.position(), octets * 8);
    TestContext in(out.data);
    std::string dest(2 * octets + 1, '?');
    ASSERT_EQ(rtxDecQ825TBCDString(in, octets, dest.data(), dest.size()), 0);
    EXPECT_EQ(dest.c_str(), digits);

    Octets packed(octets + 1);
    ASSERT_EQ(rtStringToTBCD(digits.c_str(), packed.data(), packed.size()), int(octets));
    EXPECT_TRUE(std::equal(out.data.begin(), out.data.end(), packed.begin()));
    EXPECT_EQ(packed[octets], 0xFF);
    std::string exact(digits.size() + 1, '?');
    EXPECT_EQ(rtxQ825TBCDToString(octets, packed.data(), exact.data(), exact.size()), 0);
    EXPECT_EQ(exact.c_str(), digits);
    EXPECT_EQ(rtxQ825TBCDToString(octets, packed.data(), exact.data(), digits.size()), RTX_E_TOO_BIG);
    if (octets == 0) continue;
    ASSERT_EQ(rtTBCDToString(octets, packed.data(), exact.data(), exact.size()), exact.data());
    EXPECT_EQ(exact.c_str(), digits);
  }
}

// In memory one form ends at a filler and the other passes over it; on the wire it becomes a zero in its place.
TEST(Tbcd, FillersInOddPlaces)
{
  const Octets octets = {0x21, 0xF3, 0x5F};
  char dest[8] = {9, 9, 9, 9};
  EXPECT_EQ(rtTBCDToString(2, octets.data(), dest, 3), dest);
  EXPECT_EQ(std::string(dest, 4), "123\x09") << "exactly full: no ending zero";
  rtTBCDToString(3, octets.data(), dest, sizeof dest);
  EXPECT_STREQ(dest, "1235");
  EXPECT_EQ(rtxQ825TBCDToString(3, octets.data(), dest, sizeof dest), 0);
  EXPECT_STREQ(dest, "123");
  TestContext in(octets);
  EXPECT_EQ(rtxDecQ825TBCDString(in, 3, dest, 7), 0);
  EXPECT_EQ(memcmp(dest, "123\0\0005\0", 7), 0);
  EXPECT_EQ(rtxQ825TBCDToString(1, nullptr, dest, 5), RTX_E_NULL_POINTER);
  EXPECT_EQ(rtxQ825TBCDToString(1, octets.data(), nullptr, 5), RTX_E_NULL_POINTER);
  for (size_t count : {size_t{0}, SIZE_MAX / 2 + 1}) EXPECT_EQ(rtTBCDToString(count, octets.data(), dest, 5), nullptr);
  EXPECT_EQ(rtTBCDToString(1, octets.data(), dest, 0), nullptr);
}

TEST(PackedBcd, StopsAtWhatItCannotHold)
{
  const struct {
    const char* digits;
    int isTbcd, count;
    Octets octets;
  } packings[] = {{"12F", 0, 1, {0x12, 0xFF}}, {"12a", 1, 2, {0x21, 0xFC}}, {"9aEeb1234", 0, 3, {0x9A, 0xEE, 0xB1}}};
  for (const auto& p : packings) {
    Octets dest(3);
    EXPECT_EQ(rtStringToBCD(p.digits, dest.data(), 3, p.isTbcd), p.count);
    dest.resize(p.octets.size());
    EXPECT_EQ(dest, p.octets) << p.digits;
    EXPECT_EQ(rtStringToBCD(p.digits, dest.data(), 0, p.isTbcd), RTX_E_BAD_PARAMETER);
    EXPECT_EQ(rtStringToBCD(nullptr, dest.data(), 3, p.isTbcd), RTX_E_BAD_PARAMETER);
  }
  char out[8];
  const uint8_t mixed[] = {0x12, 0x3A, 0x45};
  EXPECT_STREQ(rtBCDToString(3, mixed, out, sizeof out, 0), "123");
  EXPECT_STREQ(rtBCDToString(3, mixed, out, sizeof out, 1), "21*354");
}

TEST(PackedBcd, RoundTripsOnTheHeap)
{
  TestContext ctxt;
  for (const std::string& digits : digitStrings("0123456789", 9)) {
    RtxDynOctStr64 wide = {99, nullptr};
    RtxDynOctStr narrow = {99, nullptr};
    size_t octets = (digits.size() + 1) / 2;
    ASSERT_EQ(rtStringToDynBCD64(ctxt, digits.c_str(), &wide, 0), int(octets));
    ASSERT_EQ(rtStringToDynBCD(ctxt, digits.c_str(), &narrow), int(octets));
    ASSERT_TRUE(wide.numocts == octets && narrow.numocts == octets);
    EXPECT_EQ(memcmp(wide.data, narrow.data, octets), 0);
    char out[10];
    EXPECT_TRUE(octets == 0 || digits == rtBCDToString(octets, wide.data, out, sizeof out, 0));
  }
  EXPECT_EQ(rtStringToDynBCD64(ctxt, "1", nullptr, 0), RTX_E_BAD_PARAMETER);
}

TEST(PlmnIdentity, RoundTripsInBothOrders)
{
  Octets plmn(3), pgw(3);
  for (const char* mnc : {"00", "45", "99", "000", "012", "999", "645"}) {
    ASSERT_EQ(rtStringToPLMNidentity("123", mnc, plmn.data(), 3), 0);
    ASSERT_EQ(rtStringToPGWPLMNidentity("123", mnc, pgw.data(), 3), 0);
    EXPECT_EQ(text(rtGetMCCFromPLMNidentity(plmn.data())), "123");
    EXPECT_EQ(text(rtGetMCCFromPLMNidentity(pgw.data())), "123");
    EXPECT_EQ(text(rtGetMNCFromPLMNidentity(plmn.data())), mnc);
    EXPECT_EQ(text(rtGetMNCFromPGWPLMNidentity(pgw.data())), mnc);
  }
  EXPECT_EQ(plmn, fromHex("216354"));
  EXPECT_EQ(pgw, fromHex("215346"));
}

TEST(PlmnIdentity, RefusesWhatIsNoPlmn)
{
  uint8_t octets[3] = {7, 7, 7};
  const std::pair<const char*, const char*> bad[] = {{"12", "34"},    {"1234", "34"},  {"123", "3"},
                                                     {"123", "3456"}, {"12a", "34"},   {"123", "3a"},
                                                     {"123", ""},     {nullptr, "34"}, {"123", nullptr}};
  for (auto [mcc, mnc] : bad) {
    EXPECT_EQ(rtStringToPLMNidentity(mcc, mnc, octets, 3), RTX_E_BAD_PARAMETER);
    EXPECT_EQ(rtStringToPGWPLMNidentity(mcc, mnc, octets, 3), RTX_E_BAD_PARAMETER);
  }
  EXPECT_EQ(rtStringToPLMNidentity("123", "45", octets, 2), RTX_E_BAD_PARAMETER);
  EXPECT_EQ(rtStringToPLMNidentity("123", "45", nullptr, 3), RTX_E_BAD_PARAMETER);
  EXPECT_EQ(octets[0], 7);
  const uint8_t noDigits[] = {0xA1, 0xBB, 0xB4};
  for (const uint8_t* identity : {noDigits, static_cast<const uint8_t*>(nullptr)}) {
    EXPECT_EQ(rtGetMCCFromPLMNidentity(identity), nullptr);
    EXPECT_EQ(rtGetMNCFromPLMNidentity(identity), nullptr);
    EXPECT_EQ(rtGetMNCFromPGWPLMNidentity(identity), nullptr);
  }
}

} // namespace
