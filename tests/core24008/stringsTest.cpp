// Strings of TS 24.008 and TS 24.501 whose size the caller tells, or that are too long for their elements.
#include <gtest/gtest.h>

#include "tests/outcome.h"
#include "velnor3gpp/TS24008IES.h"
#include "velnor3gpp/TS24501IES.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

class Strings : public testing::Test {
protected:
  OutcomeContext ctxt{Setting()};
  char* text = nullptr;
  char digits[17] = "untouched";
  Octets bound;
  RtxContext* over(const Octets& octets)
  {
    bound = octets;
    rtxErrReset(ctxt);
    ctxt.bind(bound.data(), bound.size());
    return ctxt;
  }
};

TEST_F(Strings, IdentitiesOfAGivenSize)
{
  const Octets octets = {0x21, 0x43, 0x65, 0x87, 0x09, 0x21, 0x43, 0xF5};
  EXPECT_EQ(NASDec_TS24008IE_IMSI(over({0x21, 0x43, 0xF5}), digits, 3), 0);
  EXPECT_STREQ(digits, "12345");
  EXPECT_EQ(NASDec_TS24008IE_IMEI(over(octets), digits, 8), 0);
  EXPECT_STREQ(digits, "123456789012345");
  bound.back() = 0x65;
  EXPECT_EQ(NASDec_TS24008IE_IMEISV(over(bound), digits, 8), 0);
  EXPECT_STREQ(digits, "1234567890123456");
  strcpy(digits, "untouched");
  EXPECT_EQ(NASDec_TS24008IE_IMSI(over(bound), digits, 8), RTX_E_TOO_BIG); // a digit too many for this one
  EXPECT_STREQ(digits, "untouched");
  EXPECT_EQ(NASDec_TS24008IE_IMSI(over(octets), digits, 9), RTX_E_ENCODE_OVERFLOW);
  EXPECT_EQ(NASEnc_TS24008IE_IMSI(over(octets), "12x4"), RTX_E_BAD_CHAR);
}

// The same octets, and as many digits as the caller says.
TEST_F(Strings, OctetsArgumentEndsTheDigits)
{
  const char* texts[] = {"", "1*", "1*#"}; // a filler ends them
  for (size_t octets : {0, 1, 2}) {
    ASSERT_EQ(NASDec_TS24008IE_TBCDString(over({0xA1, 0xFB, 0x77}), &text, octets), 0);
    EXPECT_STREQ(text, texts[octets]);
    EXPECT_EQ(rtxCtxtGetBitOffset(ctxt), octets * 8);
  }
  EXPECT_EQ(NASEnc_TS24008IE_TBCDString(over({0, 0}), nullptr), 0);
  EXPECT_EQ(rtxCtxtGetBitOffset(ctxt), 0U);
}

// All labels together: no length counts a name of more than 255 octets.
TEST_F(Strings, NamesTooLongForTheirLengthsAreRefused)
{
  std::string name = std::string(120, 'a') + "." + std::string(134, 'b');
  TS24501IE_TrafficDescriptor descriptor = {};
  descriptor.type = 0x91;
  descriptor.component.u.destFqdn.fqdn = name.data();
  EXPECT_EQ(NASEnc_TS24501IE_TrafficDescriptor(over(Octets(300)), &descriptor), RTX_E_TOO_BIG);
  name.pop_back();
  EXPECT_EQ(NASEnc_TS24501IE_TrafficDescriptor(over(Octets(300)), &descriptor), 0);
}

TEST_F(Strings, SpareArgumentDropsTheLastSeptet)
{
  for (uint8_t spare : {0, 7}) {
    ASSERT_EQ(NASDec_TS24008IE_GSMString(over({0x41, 0xE1, 0x90, 0x58, 0x34, 0x1E, 0x01}), &text, 7, spare), 0);
    EXPECT_STREQ(text, spare ? "ABCDEFG" : "ABCDEFG@");
  }
  for (size_t octets : {size_t{3}, SIZE_MAX}) { // however many are asked for, none are allocated that cannot come
    EXPECT_EQ(NASDec_TS24008IE_TBCDString(over({0x21, 0x43}), &text, octets), RTX_E_END_OF_BUFFER);
    EXPECT_EQ(NASDec_TS24008IE_GSMString(over({0x21, 0x43}), &text, octets, 0), RTX_E_END_OF_BUFFER);
  }
}

} // namespace
