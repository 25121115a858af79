// What octets alone do not show of TS 24.008, 24.011 and 24.501: strings whose size the caller tells, or that are too
// long for their elements, the PLMN pair both ways, and the setters of messages.
#include <gtest/gtest.h>

#include "tests/outcome.h"
#include "velnor3gpp/TS24008IES.h"
#include "velnor3gpp/TS24011Msgs.h"
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

// The PLMN pair is read and written at once where it can be; both ways must agree in everything that a caller sees.
TEST(PlmnPairs, AgreeReadAndWrittenBothWays)
{
  const L3TypeEntry& entry = *l3FindType("TS24008IE_MCCMNCPair");
  for (unsigned phase : {0, 4, 5})
    for (unsigned place = 0; place < 6; ++place)
      for (size_t size = 0; size <= 5; ++size) {
        SCOPED_TRACE(testing::Message() << "phase " << phase << " place " << place << " size " << size);
        const Setting fast{.skipBits = phase}, slow{.slow = true, .skipBits = phase};
        for (unsigned nibble = 0; nibble < 16; ++nibble) {
          Octets octets = {0x21, 0x63, 0x54, 0x98, 0x76};
          octets[place / 2] = static_cast<uint8_t>(place & 1 ? 0x20 | nibble : nibble << 4 | 5);
          octets.resize(size);
          EXPECT_EQ(decodeOutcome(entry, octets, fast), decodeOutcome(entry, octets, slow)) << nibble;
        }
        for (char digit : {'0', '9', '*', 'c', 'd', 'x', '\0', '\x0F'}) {
          TS24008IE_MCCMNCPair pair = {"123", "456"};
          (place < 3 ? pair.mcc : pair.mnc)[place % 3] = digit;
          auto make = [&pair](RtxContext*) { return &pair; };
          EXPECT_EQ(encodeOutcome(entry, make, size, fast), encodeOutcome(entry, make, size, slow)) << digit;
        }
      }
}

TEST(ShortMessages, SettersMakeThePdu)
{
  TS24011Msg_CP_PDU pdu = {};
  TS24011Msg_CPERROR error = {};
  asn1SetTC_TS24011Msg_CP_PDU_obj_CP_ERROR(nullptr, &pdu, &error);
  EXPECT_EQ(pdu.protoDiscr, TS24007L3_ProtoDiscr_sms);
  EXPECT_EQ(pdu.msgType, 16);
  EXPECT_EQ(pdu.data.t, 3U);
  EXPECT_EQ(pdu.data.u.obj_CP_ERROR, &error);
  asn1SetTC_TS24011Msg_CP_PDU_obj_CP_ACK(nullptr, &pdu);
  EXPECT_EQ(pdu.msgType, 4);
  EXPECT_EQ(pdu.data.t, 2U);
}

} // namespace
