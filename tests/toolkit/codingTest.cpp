// Guards: selectors, counters and identities come back at any bit position and any length, and a call that
// fails says why and stops at the bit that is at fault.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/context.h"
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

// The frequency short list's selector: 0, 100, 101, 110, 111 (TS 44.018, 10.5.2.14).
constexpr Rtx3gppAltDetmntNode kShortList[] = {
    {0, 0, 0, 1, 0}, {0, 2, 0, 3, 0}, {0, 0, 0x80000000, 0, 0xA0000000}, {0, 0, 0xC0000000, 0, 0xE0000000}};
// Trees that end in a refusal, go on from their last node, and lead outside.
constexpr Rtx3gppAltDetmntNode kRefused[] = {{0, -1, 0, 0, 0}}, kLoop[] = {{0, 1, 0, 0, 0}, {0, 1, 0, 0, 0}},
                               kOutside[] = {{0, 7, 0, 0, 0}, {0, 0, 0, 0, 0}};
// One bit that is a one where it equals the padding.
constexpr Rtx3gppAltDetmntNode kRelative[] = {{1, 0, 10, 0, 20}};

TEST(VarAltDeterminant, WalksTheTree)
{
  uint32_t value = 1;
  for (auto [octet, expected] :
       {std::pair{0x7F, 0U}, {0x9F, 0x80000000U}, {0xBF, 0xA0000000U}, {0xDF, 0xC0000000U}, {0xFF, 0xE0000000U}}) {
    TestContext in(Octets{uint8_t(octet)});
    EXPECT_EQ(rtx3GPPDecVarAltDetmnt(in, &value, kShortList, 3), 0);
    EXPECT_EQ(value, expected);
    EXPECT_EQ(in.position(), expected ? 3U : 1U);
  }
  for (size_t phase = 0; phase < 8; phase++) {
    TestContext padding(Octets{0x2B}, phase), reverse(Octets{0xD4}, phase);
    ASSERT_EQ(rtx3GPPDecVarAltDetmnt(padding, &value, kRelative, 0), 0);
    EXPECT_EQ(value, 20U) << phase;
    ASSERT_EQ(rtx3GPPDecVarAltDetmnt(reverse, &value, kRelative, 0), 0);
    EXPECT_EQ(value, 10U) << phase;
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

TEST(MobileIdentity, ReadsLengthOneAndFillersAsTheyCome)
{
  char dest[16];
  TestContext one(fromHex("43")), filler(fromHex("f345"));
  EXPECT_EQ(rtx3GPPDecMobileIdentityType1(one, 1, 1, 2, dest, sizeof dest), 0);
  EXPECT_STREQ(dest, "234") << "length 1 still takes one octet";
  EXPECT_EQ(rtx3GPPDecMobileIdentityType1(filler, 3, 1, 1, dest, sizeof dest), 0);
  EXPECT_EQ(memcmp(dest, "13\00054\0", 6), 0);
}

TEST(Writers, GiveTheOctetsOfTheStandard)
{
  using Write = int (*)(RtxContext*);
  const std::pair<const char*, Write> rows[] = {
      {"21f354", [](RtxContext* c) { return rtx3GPPEnc_MCC_MNC(c, "123", "45\0"); }},
      {"216354", [](RtxContext* c) { return rtx3GPPEnc_MCC_MNC(c, "123", "456"); }},
      {"21f354", [](RtxContext* c) { return rtx3GPPEnc_MCC_MNC(c, "123", "45\x0F"); }},
      {"082926102143658709", [](RtxContext* c) { return rtx3GPPEncMobileIdentityType1(c, 1, "262011234567890"); }},
      {"0821261021436587f9", [](RtxContext* c) { return rtx3GPPEncMobileIdentityType1(c, 1, "26201123456789"); }},
      {"01f1", [](RtxContext* c) { return rtx3GPPEncMobileIdentityType1(c, 1, ""); }},
      {"f0", [](RtxContext* c) { return rtx3GPPEncIntAsBits(c, 3, 1); }}}; // the end of one bits is a one too
  for (auto [octets, write] : rows) {
    TestContext out(Octets(9));
    EXPECT_EQ(write(out), 0);
    EXPECT_EQ(out.written(), fromHex(octets));
  }
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

struct Refusal {
  Octets octets; // to read, or room to write
  int (*call)(RtxContext*);
  int status;
  size_t position; // in bits, afterwards
};

#define CALL(...) [](RtxContext* ctxt) { return __VA_ARGS__; }

TEST(Refusals, StandAtTheBitAtFault)
{
  static uint32_t value = 7;
  static uint8_t count;
  static char text[64];
  const Octets room(8), all(32, 0xFF);
  const Refusal rows[] = {
      {{0x2B}, CALL(rtx3GPPDecAltDetmnt(ctxt, &value, 9, 0)), RTX_E_END_OF_BUFFER, 0},
      {room, CALL(rtx3GPPDecAltDetmnt(ctxt, &value, 33, 0xFFFFFFFF)), RTX_E_TOO_BIG, 0},
      {{0}, CALL(rtx3GPPEncAltDetmnt(ctxt, 0, 9, 0)), RTX_E_ENCODE_OVERFLOW, 0},
      {room, CALL(rtx3GPPDecVarAltDetmnt(ctxt, &value, kRefused, 0)), RTX_E_INVALID_CHOICE, 1},
      {room, CALL(rtx3GPPDecVarAltDetmnt(ctxt, &value, kLoop, 1)), RTX_E_INDEX_RANGE, 2},
      {room, CALL(rtx3GPPDecVarAltDetmnt(ctxt, &value, kOutside, 1)), RTX_E_INDEX_RANGE, 1},
      {{}, CALL(rtx3GPPDecVarAltDetmnt(ctxt, &value, kShortList, 3)), RTX_E_END_OF_BUFFER, 0},
      {room, CALL(rtx3GPPDecVarAltDetmnt(ctxt, nullptr, kShortList, 3)), RTX_E_BAD_PARAMETER, 0},
      {all, CALL(rtx3GPPDecIntAsBits(ctxt, &count, 1)), RTX_E_TOO_BIG, 256},
      {Octets(32, 0xD4), CALL(rtx3GPPDecIntAsBitsPattern(ctxt, &count, 0xD4)), RTX_E_TOO_BIG, 256},
      {{0xFF, 0xFF}, CALL(rtx3GPPDecIntAsBits(ctxt, &count, 1)), RTX_E_END_OF_BUFFER, 16},
      {room, CALL(rtx3GPPDecIntAsBits(ctxt, nullptr, 1)), RTX_E_BAD_PARAMETER, 0},
      {{0}, CALL(rtx3GPPEncIntAsBits(ctxt, 8, 0)), RTX_E_ENCODE_OVERFLOW, 8},
      {Octets(3), CALL(rtx3GPPEnc_MCC_MNC(ctxt, "12x", "45\0")), RTX_E_BAD_CHAR, 12},
      {room, CALL(rtx3GPPEnc_MCC_MNC(ctxt, "12x", "45\0")), RTX_E_BAD_CHAR, 12},
      {Octets(2), CALL(rtx3GPPEnc_MCC_MNC(ctxt, "123", "45\0")), RTX_E_ENCODE_OVERFLOW, 16},
      {room, CALL(rtx3GPPEnc_MCC_MNC(ctxt, nullptr, "45")), RTX_E_BAD_PARAMETER, 0},
      {{0x21, 0x63}, CALL(rtx3GPPDec_MCC_MNC(ctxt, text, text + 4)), RTX_E_END_OF_BUFFER, 16},
      {room, CALL(rtx3GPPDec_MCC_MNC(ctxt, text, nullptr)), RTX_E_BAD_PARAMETER, 0},
      {room, CALL(rtx3GPPEncMobileIdentityType1(ctxt, 1, "x23")), RTX_E_BAD_CHAR, 8},
      {room, CALL(rtx3GPPEncMobileIdentityType1(ctxt, 1, "123x")), RTX_E_BAD_CHAR, 24},
      {Octets(3), CALL(rtx3GPPEncMobileIdentityType1(ctxt, 1, "1234")), RTX_E_ENCODE_OVERFLOW, 24},
      {room, CALL(rtx3GPPEncMobileIdentityType1(ctxt, 1, nullptr)), RTX_E_BAD_PARAMETER, 0},
      {room, CALL(rtx3GPPDecMobileIdentityType1(ctxt, 1, 1, 2, text, 3)), RTX_E_TOO_BIG, 0},
      {room, CALL(rtx3GPPDecMobileIdentityType1(ctxt, 0, 1, 2, text, 16)), RTX_E_TOO_BIG, 0},
      {room, CALL(rtx3GPPDecMobileIdentityType1(ctxt, 2, 1, 10, text, 16)), RTX_E_BAD_CHAR, 0},
      {room, CALL(rtx3GPPDecMobileIdentityType1(ctxt, 2, 1, 1, nullptr, 16)), RTX_E_BAD_PARAMETER, 0},
      {{0x43, 0x65}, CALL(rtx3GPPDecMobileIdentityType1(ctxt, 4, 0, 1, text, 16)), RTX_E_END_OF_BUFFER, 16},
      {room, CALL(rtxEncQ825TBCDString(ctxt, "12x")), RTX_E_BAD_CHAR, 8},
      {room, CALL(rtxEncQ825TBCDString(ctxt, nullptr)), 0, 0},
      {{0}, CALL(rtxEncQ825TBCDString(ctxt, "123")), RTX_E_ENCODE_OVERFLOW, 8},
      {room, CALL(rtxDecQ825TBCDString(ctxt, 2, text, 4)), RTX_E_ENCODE_OVERFLOW, 0},
      {room, CALL(rtxDecQ825TBCDString(ctxt, SIZE_MAX, text, 5)), RTX_E_ENCODE_OVERFLOW, 0},
      {{0x21}, CALL(rtxDecQ825TBCDString(ctxt, 2, text, 5)), RTX_E_END_OF_BUFFER, 8},
      {{0, 0}, CALL(rtx3GPPEncGSMCharStr(ctxt, "abc")), RTX_E_ENCODE_OVERFLOW, 16},
      {{}, CALL(rtx3GPPEncGSMCharStr(ctxt, nullptr)), 0, 0},
      {Octets(7), CALL(rtx3GPPDecGSMCharStr(ctxt, text, 64, 9)), RTX_E_END_OF_BUFFER, 56},
      {{}, CALL(rtx3GPPDecGSMCharStr(ctxt, text, 64, 0)), 0, 0},
      {{}, CALL(rtx3GPPDecGSMCharStr(ctxt, text, 64, 1)), RTX_E_END_OF_BUFFER, 0},
      {room, CALL(rtx3GPPDecGSMCharStr(ctxt, nullptr, 8, 8)), RTX_E_BAD_PARAMETER, 0}};
  for (size_t i = 0; i < std::size(rows); i++) {
    TestContext ctxt(rows[i].octets);
    EXPECT_EQ(rows[i].call(ctxt), rows[i].status) << "row " << i;
    EXPECT_EQ(ctxt.position(), rows[i].position) << "row " << i;
  }
  EXPECT_EQ(value, 7U);
}

} // namespace
