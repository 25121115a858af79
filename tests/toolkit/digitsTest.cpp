// Guards: digit strings in memory and on the wire keep every digit, and bad ones leave nothing behind their end.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>

#include "testContext.h"
#include "velnor3gpp/rtBCD.h"
#include "velnor3gpp/rtxTBCD.h"

namespace {

const std::string kAlphabet = "0123456789*#abc";

// All lengths up to `longest`, each digit at each place.
template <typename Check> void forDigitStrings(const std::string& alphabet, size_t longest, Check check)
{
  for (size_t length = 0; length <= longest; length++) {
    for (size_t first = 0; first < alphabet.size(); first++) {
      std::string digits;
      for (size_t i = 0; i < length; i++) digits += alphabet[(first + i * 4) % alphabet.size()];
      check(digits);
    }
  }
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
  char digit;
  rtxTBCDBinToChar(15, &digit);
  EXPECT_EQ(digit, 0);
  EXPECT_EQ(rtxTBCDBinToChar(17, &digit), 0);
  EXPECT_EQ(digit, 'A');
}

TEST(Tbcd, RoundTripsOnTheWireAndInMemory)
{
  forDigitStrings(kAlphabet, 20, [](const std::string& digits) {
    size_t octets = (digits.size() + 1) / 2;
    TestContext out(octets);
    ASSERT_EQ(rtxEncQ825TBCDString(out, digits.c_str()), 0);
    ASSERT_EQ(out.position(), octets * 8);
    TestContext in(out.data);
    std::string dest(2 * octets + 1, '?');
    ASSERT_EQ(rtxDecQ825TBCDString(in, octets, dest.data(), dest.size()), 0);
    EXPECT_EQ(std::string(dest.c_str()), digits);

    Octets packed(octets + 1);
    ASSERT_EQ(rtStringToTBCD(digits.c_str(), packed.data(), packed.size()), int(octets));
    EXPECT_TRUE(std::equal(out.data.begin(), out.data.end(), packed.begin()));
    EXPECT_EQ(packed[octets], 0xFF);
    std::string exact(digits.size() + 1, '?');
    EXPECT_EQ(rtxQ825TBCDToString(octets, packed.data(), exact.data(), exact.size()), 0);
    EXPECT_EQ(exact.c_str(), digits);
    EXPECT_EQ(rtxQ825TBCDToString(octets, packed.data(), exact.data(), digits.size()), RTX_E_TOO_BIG);
    if (octets != 0) {
      ASSERT_EQ(rtTBCDToString(octets, packed.data(), exact.data(), exact.size()), exact.data());
      EXPECT_EQ(exact.c_str(), digits);
    }
  });
}

TEST(Tbcd, FillersInOddPlaces)
{
  const Octets octets = {0x21, 0xF3, 0x5F};
  char dest[8];
  rtTBCDToString(3, octets.data(), dest, sizeof dest);
  EXPECT_STREQ(dest, "1235");
  EXPECT_EQ(rtxQ825TBCDToString(3, octets.data(), dest, sizeof dest), 0);
  EXPECT_STREQ(dest, "123");
  TestContext in(octets);
  EXPECT_EQ(rtxDecQ825TBCDString(in, 3, dest, 7), 0);
  EXPECT_EQ(std::string(dest, 7), std::string("123\0\0"
                                              "5\0",
                                              7));
  // Exactly full: no ending zero.
  char exact[4] = {9, 9, 9, 9};
  EXPECT_EQ(rtTBCDToString(2, octets.data(), exact, 3), exact);
  EXPECT_EQ(std::string(exact, 4), "123\x09");
}

TEST(Tbcd, BadDigitsAndSmallTargetsAreReported)
{
  TestContext out(size_t{4});
  EXPECT_EQ(rtxEncQ825TBCDString(out, "12x"), RTX_E_BAD_CHAR);
  EXPECT_EQ(out.position(), 8U);
  EXPECT_EQ(rtxEncQ825TBCDString(out, nullptr), 0);
  TestContext small(size_t{1});
  EXPECT_EQ(rtxEncQ825TBCDString(small, "123"), RTX_E_ENCODE_OVERFLOW);
  TestContext in(Octets{0x21, 0x43});
  char dest[5];
  EXPECT_EQ(rtxDecQ825TBCDString(in, 2, dest, 4), RTX_E_ENCODE_OVERFLOW);
  TestContext in2(Octets{0x21, 0x43});
  EXPECT_EQ(rtxDecQ825TBCDString(in2, SIZE_MAX, dest, 5), RTX_E_ENCODE_OVERFLOW);
  TestContext in3(Octets{0x21});
  EXPECT_EQ(rtxDecQ825TBCDString(in3, 2, dest, 5), RTX_E_END_OF_BUFFER);
  EXPECT_EQ(rtxQ825TBCDToString(1, nullptr, dest, 5), RTX_E_NULL_POINTER);
  EXPECT_EQ(rtxQ825TBCDToString(1, in.data.data(), nullptr, 5), RTX_E_NULL_POINTER);
  EXPECT_EQ(rtTBCDToString(SIZE_MAX / 2 + 1, in.data.data(), dest, 5), nullptr);
  EXPECT_EQ(rtTBCDToString(0, in.data.data(), dest, 5), nullptr);
  EXPECT_EQ(rtTBCDToString(1, in.data.data(), dest, 0), nullptr);
}

TEST(PackedBcd, StopsAtWhatItCannotHold)
{
  uint8_t dest[3];
  EXPECT_EQ(rtStringToBCD("12F", dest, 3, 0), 1);
  EXPECT_EQ(dest[0], 0x12);
  EXPECT_EQ(dest[1], 0xFF);
  EXPECT_EQ(rtStringToBCD("12a", dest, 3, 1), 2);
  EXPECT_EQ(dest[0], 0x21);
  EXPECT_EQ(dest[1], 0xFC);
  EXPECT_EQ(rtStringToBCD("9aEeb1234", dest, 3, 0), 3);
  EXPECT_EQ(Octets(dest, dest + 3), (Octets{0x9A, 0xEE, 0xB1}));
  EXPECT_EQ(rtStringToBCD(nullptr, dest, 3, 0), RTX_E_BAD_PARAMETER);
  EXPECT_EQ(rtStringToBCD("1", dest, 0, 0), RTX_E_BAD_PARAMETER);
  char out[8];
  const uint8_t mixed[] = {0x12, 0x3A, 0x45};
  EXPECT_STREQ(rtBCDToString(3, mixed, out, sizeof out, 0), "123");
  EXPECT_STREQ(rtBCDToString(3, mixed, out, sizeof out, 1), "21*354");
}

TEST(PackedBcd, RoundTripsOnTheHeap)
{
  forDigitStrings("0123456789", 9, [](const std::string& digits) {
    TestContext ctxt(size_t{1});
    RtxDynOctStr64 wide = {99, nullptr};
    RtxDynOctStr narrow = {99, nullptr};
    size_t octets = (digits.size() + 1) / 2;
    ASSERT_EQ(rtStringToDynBCD64(ctxt, digits.c_str(), &wide, 0), int(octets));
    ASSERT_EQ(rtStringToDynBCD(ctxt, digits.c_str(), &narrow), int(octets));
    ASSERT_EQ(wide.numocts, octets);
    ASSERT_EQ(narrow.numocts, octets);
    EXPECT_EQ(memcmp(wide.data, narrow.data, octets), 0);
    char out[10];
    if (octets != 0) {
      EXPECT_EQ(rtBCDToString(octets, wide.data, out, sizeof out, 0), digits);
    }
  });
  TestContext ctxt(size_t{1});
  EXPECT_EQ(rtStringToDynBCD64(ctxt, "1", nullptr, 0), RTX_E_BAD_PARAMETER);
}

TEST(PlmnIdentity, RoundTripsInBothOrders)
{
  for (const char* mnc : {"00", "45", "99", "000", "645", "012", "999"}) {
    for (const char* mcc : {"000", "123", "901"}) {
      uint8_t plmn[3];
      uint8_t pgw[3];
      ASSERT_EQ(rtStringToPLMNidentity(mcc, mnc, plmn, 3), 0);
      ASSERT_EQ(rtStringToPGWPLMNidentity(mcc, mnc, pgw, 3), 0);
      EXPECT_EQ(text(rtGetMCCFromPLMNidentity(plmn)), mcc);
      EXPECT_EQ(text(rtGetMCCFromPLMNidentity(pgw)), mcc);
      EXPECT_EQ(text(rtGetMNCFromPLMNidentity(plmn)), mnc);
      EXPECT_EQ(text(rtGetMNCFromPGWPLMNidentity(pgw)), mnc);
      EXPECT_EQ(memcmp(plmn, pgw, 3) == 0, strlen(mnc) == 2 || mnc[0] == mnc[1]);
    }
  }
  uint8_t octets[3];
  rtStringToPLMNidentity("123", "645", octets, 3);
  EXPECT_EQ(Octets(octets, octets + 3), (Octets{0x21, 0x63, 0x54}));
  rtStringToPGWPLMNidentity("123", "645", octets, 3);
  EXPECT_EQ(Octets(octets, octets + 3), (Octets{0x21, 0x53, 0x46}));
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
  const uint8_t badMcc[] = {0xA1, 0xF3, 0x54};
  const uint8_t badMnc[] = {0x21, 0xF3, 0x5B};
  EXPECT_EQ(rtGetMCCFromPLMNidentity(badMcc), nullptr);
  EXPECT_EQ(rtGetMNCFromPLMNidentity(badMnc), nullptr);
  EXPECT_EQ(rtGetMNCFromPGWPLMNidentity(badMnc), nullptr);
  EXPECT_EQ(rtGetMNCFromPLMNidentity(nullptr), nullptr);
}

} // namespace
