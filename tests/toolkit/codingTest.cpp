// Guards: selectors, counters and identities come back at any bit position and any length, and the text of messages by
// the arithmetic of its septets. Single calls stand in calls.txt.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/context.h"
#include "velnor3gpp/rtBCD.h"
#include "velnor3gpp/rtx3GPP.h"
#include "velnor3gpp/rtxDiagBitTrace.h"
#include "velnor3gpp/rtxTBCD.h"

namespace {

unsigned bitAt(const Octets& octets, size_t bit)
{
  return octets[bit / 8] >> (7 - bit % 8) & 1;
}

// Against a model bit by bit, on octets without a period that could hide a wrong phase.
TEST(AltDeterminant, AgreesWithTheModelAtEveryPhase)
{
  const Octets padding(8, 0x2B), octets = fromHex("d31c5e0fa92477b8");
  for (uint32_t mask : {0U, 0x80000000U, 0xA5A5A5A5U, 0xFFFFFFFFU}) {
    for (size_t phase = 0; phase < 16; phase++) {
      for (uint32_t nbits = 0; nbits <= 32; nbits++) {
        uint32_t model = 0, value = 0xDEAD;
        for (size_t i = 0; i < nbits; i++) {
          bool relative = mask >> (31 - i) & 1;
          model = model << 1 | (bitAt(octets, phase + i) ^ (relative ? bitAt(padding, phase + i) : 0));
        }
        TestContext in(octets, phase), out(Octets(8), phase);
        ASSERT_EQ(rtx3GPPDecAltDetmnt(in, &value, nbits, mask), 0);
        ASSERT_EQ(value, model) << phase << ' ' << nbits;
        ASSERT_EQ(in.position(), phase + nbits);
        ASSERT_EQ(rtx3GPPEncAltDetmnt(out, value, nbits, mask), 0);
        for (size_t i = 0; i < nbits; i++) ASSERT_EQ(bitAt(out.data, phase + i), bitAt(octets, phase + i));
      }
    }
  }
}

TEST(VarAltDeterminant, TakesThePaddingOfItsPhase)
{
  constexpr Rtx3gppAltDetmntNode relative[] = {{1, 0, 10, 0, 20}};
  for (size_t phase = 0; phase < 8; phase++)
    for (uint8_t octet : {0x2B, 0xD4}) {
      uint32_t value = 1;
      TestContext in(Octets{octet}, phase);
      ASSERT_EQ(rtx3GPPDecVarAltDetmnt(in, &value, relative, 0), 0);
      EXPECT_EQ(value, octet == 0x2B ? 20U : 10U) << phase;
    }
}

TEST(UnaryCounter, CountsUpTo255AtEveryPhase)
{
  for (unsigned phase = 0; phase < 8; phase++) {
    for (unsigned count : {0, 1, 2, 7, 8, 9, 31, 254, 255}) {
      uint8_t zeros = 99, ones = 99, pattern = 99;
      TestContext out(Octets(104), phase);
      ASSERT_EQ(rtx3GPPEncIntAsBits(out, uint8_t(count), 0), 0);
      for (unsigned i = 0; i <= count; i++) rtxEncBit(out, i < count);
      size_t start = out.position();
      ASSERT_EQ(rtx3GPPEncIntAsBitsPattern(out, uint8_t(count), 0xD4), 0);
      ASSERT_EQ(out.position(), phase + 3 * (count + 1));
      // A run of bits unlike the padding, ended by one like it.
      for (size_t at = start; at < out.position(); at++)
        ASSERT_EQ(bitAt(out.data, at) != (0x2B >> (7 - at % 8) & 1), at + 1 < out.position()) << phase << ' ' << at;
      TestContext in(out.data, phase);
      ASSERT_EQ(rtx3GPPDecIntAsBits(in, &zeros, 0), 0);
      ASSERT_EQ(rtx3GPPDecIntAsBits(in, &ones, 1), 0);
      ASSERT_EQ(rtx3GPPDecIntAsBitsPattern(in, &pattern, 0xD4), 0);
      EXPECT_TRUE(zeros == count && ones == count && pattern == count) << count;
      EXPECT_EQ(in.position(), out.position());
    }
  }
}

TEST(MobileIdentity, RoundTripsAtEveryLengthAndPhase)
{
  for (size_t phase : {0, 4, 5}) {
    for (size_t length = 2; length <= 24; length++) {
      std::string digits, dest(length + 1, '?');
      for (size_t i = 0; i < length; i++) digits += char('0' + (i * 7 + length) % 10);
      TestContext out(Octets(16), phase);
      ASSERT_EQ(rtx3GPPEncMobileIdentityType1(out, 3, digits.c_str()), 0);
      ASSERT_EQ(out.position(), phase + 8 * (length / 2 + 2));
      TestContext in(out.data, phase);
      uint32_t header = 0;
      rtxDecBits(in, &header, 16);
      ASSERT_EQ(header, (length / 2 + 1) << 8 | unsigned(digits[0] - '0') << 4 | (length & 1) << 3 | 3);
      auto decode = [&](size_t room) {
        return rtx3GPPDecMobileIdentityType1(in, uint8_t(header >> 8), length & 1, header >> 4 & 15, dest.data(), room);
      };
      EXPECT_EQ(decode(length), RTX_E_TOO_BIG);
      ASSERT_EQ(decode(length + 1), 0);
      EXPECT_EQ(dest, digits + '\0');
      EXPECT_EQ(in.position(), out.position());
    }
  }
}

const std::string kTelephony = "0123456789*#abc";

TEST(Tbcd, MapsTheAlphabetAndNothingElse)
{
  for (int c = -128; c < 128; c++) {
    uint8_t nibble = 99;
    size_t place = c == 0 ? 15 : kTelephony.find(char(c));
    int expected = place == std::string::npos ? RTX_E_BAD_CHAR : 0;
    EXPECT_EQ(rtxTBCDCharToBin(char(c), &nibble), expected) << c;
    EXPECT_EQ(nibble, expected ? 99 : place);
  }
}

TEST(PackedBcd, TakesWhatItNeedsOfTheHeap)
{
  TestContext ctxt;
  const std::string digits = "1234567890";
  for (size_t length = 0; length <= digits.size(); length++) {
    RtxDynOctStr64 wide = {99, nullptr};
    RtxDynOctStr narrow = {99, nullptr};
    size_t octets = (length + 1) / 2;
    ASSERT_EQ(rtStringToDynBCD64(ctxt, digits.substr(0, length).c_str(), &wide, 0), int(octets));
    ASSERT_EQ(rtStringToDynBCD(ctxt, digits.substr(0, length).c_str(), &narrow), int(octets));
    ASSERT_TRUE(wide.numocts == octets && narrow.numocts == octets);
    EXPECT_EQ(memcmp(wide.data, narrow.data, octets), 0);
    char out[11];
    EXPECT_TRUE(length == 0 || digits.substr(0, length) == rtBCDToString(octets, wide.data, out, sizeof out, 0));
  }
  EXPECT_EQ(rtStringToDynBCD64(ctxt, "1", nullptr, 0), RTX_E_BAD_PARAMETER);
}

// Packs septets by plain bit arithmetic, the least significant bit first.
Octets pack(const Octets& septets)
{
  Octets octets((septets.size() * 7 + 7) / 8);
  for (size_t bit = 0; bit < septets.size() * 7; bit++)
    octets[bit / 8] = uint8_t(octets[bit / 8] | (septets[bit / 7] >> bit % 7 & 1) << bit % 8);
  return octets;
}

TEST(GsmText, EveryCharacterHasItsSeptet)
{
  const std::string escaped = "\f^{}\\[~]|", same = " !\"#%&'()*+,-./0123456789:;<=>?ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                                    "abcdefghijklmnopqrstuvwxyz\n\r";
  for (int c = 1; c < 256; c++) {
    uint8_t septet = c == '@' ? 0 : c == '$' ? 2 : c == '_' ? 17 : '?';
    if (escaped.find(char(c)) != std::string::npos) septet = 27;
    if (same.find(char(c)) != std::string::npos) septet = uint8_t(c);
    TestContext out(Octets(8));
    EXPECT_EQ(rtx3GPPEncGSMCharStr(out, std::string(3, char(c)).c_str()), 0);
    EXPECT_EQ(out.written(), pack({septet, septet, septet})) << c;
  }
}

TEST(GsmText, UnpacksTheWholeAlphabetAndItsExtension)
{
  const std::string text = // but for the escape at 27; Greek capitals are not in ISO 8859-1
      "@\xA3$\xA5\xE8\xE9\xF9\xEC\xF2\xC7\n\xD8\xF8\r\xC5\xE5?_?????????\xC6\xE6\xDF\xC9 !\"#\xA4%&'()*+,-./"
      "0123456789:;<=>?\xA1"
      "ABCDEFGHIJKLMNOPQRSTUVWXYZ\xC4\xD6\xD1\xDC\xA7\xBF"
      "abcdefghijklmnopqrstuvwxyz"
      "\xE4\xF6\xF1\xFC\xE0\f^{}\\[~]|\xA4?AA";
  Octets septets;
  for (uint8_t s = 0; s < 128; s++)
    if (s != 27) septets.push_back(s);
  for (uint8_t extension : {10, 20, 40, 41, 47, 60, 61, 62, 64, 101, 65})
    septets.insert(septets.end(), {27, extension});
  septets.insert(septets.end(), {'A', 'A', 27}); // an escape of nothing is none
  TestContext in(pack(septets));
  std::string dest(text.size(), 0);
  ASSERT_EQ(rtx3GPPDecGSMCharStr(in, dest.data(), dest.size(), septets.size()), 0);
  EXPECT_EQ(dest, text);
}

TEST(Writers, LeaveTheirFieldsInTheTrace)
{
  TestContext out(Octets(16));
  ASSERT_EQ(rtxDiagCtxtBitFieldListInit(out), 0);
  ASSERT_EQ(rtx3GPPEnc_MCC_MNC(out, "262", "01\0"), 0);
  ASSERT_EQ(rtx3GPPEncMobileIdentityType1(out, 1, "123456"), 0);
  std::string fields;
  for (const auto* node = out->pBitFldList->fieldList.head; node; node = node->next) {
    const auto* field = static_cast<const RtxBitField*>(node->data);
    fields += field->nameSuffix + (":" + std::to_string(field->bitCount)) + " ";
  }
  EXPECT_EQ(fields, "mcc/mnc:24 length:8 digit1:4 odd:1 type:3 :24 ");
}

TEST(Tail, EndsWithItsRegion)
{
  TestContext in(fromHex("4101aa0700"));
  rtxCtxtPushContainerBytes(in, 3);
  EXPECT_EQ(rtx3GPPDecL3NonImperative(in, 0), 0);
  EXPECT_EQ(in.position(), 24U);
  // A shift that ends the region, or that crosses its end, is the end of the tail.
  for (size_t bits : {8, 12, 4}) {
    TestContext shift(fromHex("950700"));
    rtxCtxtPushContainerBits(shift, bits);
    EXPECT_EQ(rtx3GPPDecL3NonImperative(shift, 1), 0);
    EXPECT_EQ(shift.position(), 8U) << bits;
  }
}

TEST(Tail, ComprehensionLeavesItsWords)
{
  TestContext in(fromHex("0700"));
  ASSERT_EQ(rtx3GPPDecL3NonImperative(in, 0), RTX_E_NOT_SUPPORTED);
  EXPECT_STREQ(static_cast<RtxErrInfo*>(in->errInfo.tail->data)->parms[0], "comprehension required on unknown IEI");
}

} // namespace
