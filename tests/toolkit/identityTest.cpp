// Guards: PLMN pairs and IMSI-like identities come back digit by digit, at any bit position and any length.
#include <gtest/gtest.h>

#include <cstring>

#include "testContext.h"
#include "velnor3gpp/rtx3GPP.h"
#include "velnor3gpp/rtxDiagBitTrace.h"

namespace {

Octets encodePlmn(const char* mcc, const char* mnc, size_t phase)
{
  char digits[2][4] = {};
  strncpy(digits[0], mcc, 3);
  strncpy(digits[1], mnc, 3);
  TestContext out(size_t{4});
  rtxEncBits(out, 0, phase);
  EXPECT_EQ(rtx3GPPEnc_MCC_MNC(out, digits[0], digits[1]), 0);
  EXPECT_EQ(out.position(), phase + 24);
  return out.written();
}

TEST(MccMnc, RoundTripsAtEveryPhase)
{
  for (size_t phase = 0; phase < 8; phase++) {
    for (const char* mnc : {"00", "45", "000", "345", "999", "9*", "c#a"}) {
      for (const char* mcc : {"001", "262", "bc*"}) {
        // Once with octets to spare and once at the very end.
        for (size_t spare : {0, 1}) {
          Octets octets = encodePlmn(mcc, mnc, phase);
          octets.resize(octets.size() + spare, 0xAA);
          TestContext in(octets);
          in.seek(phase);
          char readMcc[4] = {1, 1, 1, 1};
          char readMnc[4] = {1, 1, 1, 1};
          ASSERT_EQ(rtx3GPPDec_MCC_MNC(in, readMcc, readMnc), 0);
          EXPECT_STREQ(readMcc, mcc);
          EXPECT_STREQ(readMnc, mnc);
          EXPECT_EQ(in.position(), phase + 24);
        }
      }
    }
  }
  EXPECT_EQ(encodePlmn("123", "45", 0), fromHex("21f354"));
  EXPECT_EQ(encodePlmn("123", "456", 0), fromHex("216354"));
  EXPECT_EQ(encodePlmn("123", "45\x0F", 0), fromHex("21f354"));
}

TEST(MccMnc, FailuresStandAtTheirDigit)
{
  for (size_t room : {3, 8}) {
    TestContext out(room);
    EXPECT_EQ(rtx3GPPEnc_MCC_MNC(out, "12x", "45"), RTX_E_BAD_CHAR);
    EXPECT_EQ(out.position(), 12U);
  }
  TestContext small(size_t{2});
  EXPECT_EQ(rtx3GPPEnc_MCC_MNC(small, "123", "45"), RTX_E_ENCODE_OVERFLOW);
  EXPECT_EQ(small.position(), 16U);
  TestContext in(fromHex("2163"));
  char mcc[4];
  char mnc[4];
  EXPECT_EQ(rtx3GPPDec_MCC_MNC(in, mcc, mnc), RTX_E_END_OF_BUFFER);
  TestContext null(size_t{8});
  EXPECT_EQ(rtx3GPPEnc_MCC_MNC(null, nullptr, "45"), RTX_E_BAD_PARAMETER);
  TestContext null2(Octets(8));
  EXPECT_EQ(rtx3GPPDec_MCC_MNC(null2, mcc, nullptr), RTX_E_BAD_PARAMETER);
}

struct Header {
  uint8_t length;
  uint8_t digit1;
  uint8_t odd;
  uint8_t type;
};

Header readHeader(RtxContext* pctxt)
{
  Header header = {};
  rtxDecBitsToByte(pctxt, &header.length, 8);
  rtxDecBitsToByte(pctxt, &header.digit1, 4);
  rtxDecBit(pctxt, &header.odd);
  rtxDecBitsToByte(pctxt, &header.type, 3);
  return header;
}

TEST(MobileIdentity, RoundTripsAtEveryLengthAndPhase)
{
  for (size_t phase : {0, 4, 5}) {
    for (size_t length = 2; length <= 24; length++) {
      std::string digits;
      for (size_t i = 0; i < length; i++) digits += char('0' + (i * 7 + length) % 10);
      TestContext out(size_t{16});
      rtxEncBits(out, 0, phase);
      ASSERT_EQ(rtx3GPPEncMobileIdentityType1(out, 3, digits.c_str()), 0);
      ASSERT_EQ(out.position(), phase + 8 * (length / 2 + 2));
      TestContext in(out.written());
      in.seek(phase);
      Header header = readHeader(in);
      EXPECT_EQ(header.length, length / 2 + 1);
      EXPECT_EQ(header.odd, length & 1);
      EXPECT_EQ(header.type, 3);
      std::string dest(length + 1, '?');
      ASSERT_EQ(rtx3GPPDecMobileIdentityType1(in, header.length, header.odd, header.digit1, dest.data(), length + 1),
                0);
      EXPECT_EQ(dest, digits + '\0');
      EXPECT_EQ(in.position(), out.position());
      TestContext again(out.written());
      EXPECT_EQ(rtx3GPPDecMobileIdentityType1(again, header.length, header.odd, header.digit1, dest.data(), length),
                RTX_E_TOO_BIG);
    }
  }
}

TEST(MobileIdentity, KnownOctets)
{
  TestContext odd(size_t{9});
  ASSERT_EQ(rtx3GPPEncMobileIdentityType1(odd, 1, "262011234567890"), 0);
  EXPECT_EQ(odd.written(), fromHex("082926102143658709"));
  TestContext even(size_t{9});
  ASSERT_EQ(rtx3GPPEncMobileIdentityType1(even, 1, "26201123456789"), 0);
  EXPECT_EQ(even.written(), fromHex("0821261021436587f9"));
}

TEST(MobileIdentity, OddLengthsAndBadDigits)
{
  char dest[16];
  // Length 1 still takes one octet.
  TestContext one(fromHex("43"));
  EXPECT_EQ(rtx3GPPDecMobileIdentityType1(one, 1, 1, 2, dest, sizeof dest), 0);
  EXPECT_STREQ(dest, "234");
  TestContext small(fromHex("43"));
  EXPECT_EQ(rtx3GPPDecMobileIdentityType1(small, 1, 1, 2, dest, 3), RTX_E_TOO_BIG);
  TestContext zero(fromHex("43"));
  EXPECT_EQ(rtx3GPPDecMobileIdentityType1(zero, 0, 1, 2, dest, sizeof dest), RTX_E_TOO_BIG);
  TestContext star(fromHex("43"));
  EXPECT_EQ(rtx3GPPDecMobileIdentityType1(star, 2, 1, 10, dest, sizeof dest), RTX_E_BAD_CHAR);
  TestContext cut(fromHex("4365"));
  EXPECT_EQ(rtx3GPPDecMobileIdentityType1(cut, 4, 0, 1, dest, sizeof dest), RTX_E_END_OF_BUFFER);
  TestContext filler(fromHex("f345"));
  EXPECT_EQ(rtx3GPPDecMobileIdentityType1(filler, 3, 1, 1, dest, sizeof dest), 0);
  EXPECT_EQ(std::string(dest, 6), std::string("13\0"
                                              "54\0",
                                              6));

  TestContext bad(size_t{9});
  EXPECT_EQ(rtx3GPPEncMobileIdentityType1(bad, 1, "x23"), RTX_E_BAD_CHAR);
  EXPECT_EQ(bad.position(), 8U);
  TestContext bad2(size_t{9});
  EXPECT_EQ(rtx3GPPEncMobileIdentityType1(bad2, 1, "123x"), RTX_E_BAD_CHAR);
  TestContext full(size_t{3});
  EXPECT_EQ(rtx3GPPEncMobileIdentityType1(full, 1, "1234"), RTX_E_ENCODE_OVERFLOW);
  TestContext null(size_t{3});
  EXPECT_EQ(rtx3GPPEncMobileIdentityType1(null, 1, nullptr), RTX_E_BAD_PARAMETER);
  TestContext none(size_t{3});
  EXPECT_EQ(rtx3GPPEncMobileIdentityType1(none, 1, ""), 0);
  EXPECT_EQ(none.written(), fromHex("01f1"));
}

// The trace of an identity names each of its fields, on both ways.
TEST(MobileIdentity, LeavesItsFieldsInTheTrace)
{
  TestContext out(size_t{16});
  ASSERT_EQ(rtxDiagCtxtBitFieldListInit(out), 0);
  char mcc[] = "262";
  char mnc[] = "01";
  ASSERT_EQ(rtx3GPPEnc_MCC_MNC(out, mcc, mnc), 0);
  ASSERT_EQ(rtx3GPPEncMobileIdentityType1(out, 1, "123456"), 0);
  const std::pair<const char*, size_t> expected[] = {{"mcc/mnc", 24}, {"length", 8}, {"digit1", 4},
                                                     {"odd", 1},      {"type", 3},   {"", 24}};
  const auto* node = out->pBitFldList->fieldList.head;
  for (auto [name, bits] : expected) {
    ASSERT_TRUE(node);
    const auto* field = static_cast<const RtxBitField*>(node->data);
    EXPECT_STREQ(field->nameSuffix, name);
    EXPECT_EQ(field->bitCount, bits);
    node = node->next;
  }
  EXPECT_FALSE(node);
}

} // namespace
