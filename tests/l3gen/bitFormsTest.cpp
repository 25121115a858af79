// Forms that go by single bits: relative to the padding, codes of alternatives, counted runs, tails and rest octets.
// Octets are put together by a writer of its own, at every place in the octet, and read and written back.
#include <gtest/gtest.h>

#include "L3Descriptors.h"
#include "tests/arbitraryRecord.h"
#include "tests/outcome.h"
#include "velnor3gpp/Forms.h"

namespace {

// Writes bits from a phase on: 0, 1, L and H as they stand; the octets begin with the phase's bits.
struct Writer {
  size_t phase;
  Octets octets{};
  size_t bits = 0;
  explicit Writer(size_t start) : phase(start) { put(std::string(start, '0')); }
  void put(const std::string& text)
  {
    for (char c : text) {
      if (c == ' ') continue;
      if (bits % 8 == 0) octets.push_back(0);
      unsigned place = 7 - bits++ % 8, padding = 0x2B >> place & 1;
      unsigned bit = c == 'L' ? padding : c == 'H' ? !padding : c == '1';
      octets.back() = uint8_t(octets.back() | bit << place);
    }
  }
};

struct Case {
  const L3Type& type;
  const char* bits;
  const char* text;
};

const Case kCases[] = {
    {l3_Forms_Padded, "L", "x = low"},
    {l3_Forms_Padded, "H", "x = high"},
    {l3_Forms_Relative, "H L L 0 L 1 L", "x {\n   mark = high\n   plain = 0\n}"}, // the last L leads nothing
    {l3_Forms_Relative, "L H101 H 110 H01 H10 L 011 000 1 H H",
     "x {\n   mark = low\n   first = 5\n   plain = 1\n   second = 2\n   entries[0] = 1\n   entries[1] = 2\n"
     "   others[0] = 3\n   others[1] = 0\n   third = high\n}"},
    {l3_Forms_Coded, "LL 10", "x {\n   low = 2\n}"},
    {l3_Forms_Coded, "LH 101", "x {\n   mixed = 5\n}"},
    {l3_Forms_Coded, "HH", "x {\n   none = <null>\n}"},
    {l3_Forms_Tree, "0 1", "x {\n   zero = 1\n}"},
    {l3_Forms_Tree, "10 11", "x {\n   two = 3\n}"},
    {l3_Forms_Tree, "11L 110", "x {\n   low = 6\n}"},
    {l3_Forms_Tree, "11H0 H", "x {\n   high = high\n}"},
    {l3_Forms_Counted, "1 0 L H 0000 1",
     "x {\n   zeros = 0\n   ones = 0\n   highs = 0\n   lows = 0\n   size = 0\n   string = { 1, 1xxxxxxx }\n}"},
    {l3_Forms_Counted, "001 11111111111111111111111111111111110 HHHHHHHHHL LLLLH 0110 1010 10101010101",
     "x {\n   zeros = 2\n   ones = 34\n   highs = 9\n   lows = 4\n   entries[0] = 1\n   entries[1] = 2\n"
     "   size = 10\n   string = { 11, aa 101xxxxx }\n}"},
};

L3TypeEntry entryOf(const L3Type& type)
{
  static const L3Type* now;
  now = &type;
  return {&type,
          [](RtxContext* c, void* v) { return l3Decode(c, *now, v); },
          [](RtxContext* c, void* v) { return l3Encode(c, *now, v); },
          nullptr,
          nullptr,
          nullptr};
}

Octets reencoded(const L3TypeEntry& entry, const Octets& octets, const Setting& setting, size_t phase,
                 std::string& text)
{
  OutcomeContext ctxt(setting);
  Octets input = octets, again(octets.size() + 1, 0);
  auto record = recordStorage(*entry.type, 0xA5);
  ctxt.bind(input.data(), input.size());
  if (phase) ctxt->buffer.bitOffset = int16_t(8 - phase);
  EXPECT_EQ(entry.decode(ctxt, record.get()), 0);
  text = printed(*entry.type, "x", record.get());
  ctxt.bind(again.data(), again.size());
  if (phase) ctxt->buffer.bitOffset = int16_t(8 - phase);
  EXPECT_EQ(entry.encode(ctxt, record.get()), 0);
  again.resize(ctxt->buffer.byteIndex + (ctxt->buffer.bitOffset != 8));
  return again;
}

TEST(BitForms, ReadAndWriteAtEveryPhase)
{
  for (const Case& c : kCases)
    for (size_t phase = 0; phase < 8; ++phase)
      for (bool slow : {false, true}) {
        SCOPED_TRACE(std::string(c.bits) + " at " + std::to_string(phase) + (slow ? ", slow" : ""));
        Writer writer(phase);
        writer.put(c.bits);
        Setting setting;
        setting.slow = slow;
        std::string text;
        EXPECT_EQ(reencoded(entryOf(c.type), writer.octets, setting, phase, text), writer.octets);
        EXPECT_EQ(text, std::string(c.text) + "\n");
      }
}

const L3Type* const kTypes[] = {&l3_Forms_Padded,  &l3_Forms_Relative, &l3_Forms_Coded,   &l3_Forms_Tree,
                                &l3_Forms_Counted, &l3_Forms_Tailed,   &l3_Forms_Shifted, &l3_Forms_Rest_Octets};

// Whatever the octets and the record, the fast mode ends as the slow one, trace or not.
TEST(BitForms, FastAndSlowAgree)
{
  for (const L3Type* type : kTypes) {
    SCOPED_TRACE(type->fullName);
    L3TypeEntry entry = entryOf(*type);
    Draw draw(7);
    for (unsigned round = 0; round < 400; ++round) {
      Octets octets(draw.below(12));
      uint8_t fill = draw.below(3) ? uint8_t(draw.octet()) : round % 2 ? 0xFF : 0x00;
      for (uint8_t& octet : octets) octet = draw.below(3) ? uint8_t(draw.octet()) : fill;
      if (round % 40 == 0) octets.assign(40, fill);
      Setting setting;
      setting.skipBits = draw.below(8);
      setting.regions = draw.below(4) == 0;
      setting.trace = round % 4 == 0;
      auto record = [&](RtxContext* ctxt) {
        Draw drawn(round);
        return arbitraryRecord(ctxt, *type, drawn, round % 3 ? 8 : 0);
      };
      size_t capacity = draw.below(3) ? 128 : draw.below(8);
      std::string decoded = decodeOutcome(entry, octets, setting),
                  encoded = encodeOutcome(entry, record, capacity, setting);
      setting.slow = true;
      ASSERT_EQ(decoded, decodeOutcome(entry, octets, setting)) << testing::PrintToString(octets);
      ASSERT_EQ(encoded, encodeOutcome(entry, record, capacity, setting)) << capacity;
    }
  }
}

int statusOf(const L3Type& type, const Octets& octets, std::string* outcome = nullptr)
{
  std::string text = decodeOutcome(entryOf(type), octets, {});
  if (outcome) *outcome = text;
  return atoi(text.c_str() + strlen("status "));
}

TEST(BitForms, FailWhereTheyMust)
{
  Writer noCode(0), endless(0);
  noCode.put("11H1");
  endless.put("1 0 HHHHHH");
  EXPECT_EQ(statusOf(l3_Forms_Tree, noCode.octets), RTX_E_INVALID_CHOICE);
  EXPECT_EQ(statusOf(l3_Forms_Coded, {}), RTX_E_END_OF_BUFFER);
  EXPECT_EQ(statusOf(l3_Forms_Counted, Octets(40, 0)), RTX_E_TOO_BIG);
  std::string outcome;
  EXPECT_EQ(statusOf(l3_Forms_Counted, endless.octets, &outcome), RTX_E_END_OF_BUFFER);
  EXPECT_NE(outcome.find("at Counted.highs"), std::string::npos) << outcome;
  Forms_Coded coded = {};
  coded.t = 4;
  uint8_t octets[2] = {};
  OutcomeContext ctxt({});
  ctxt.bind(octets, sizeof octets);
  EXPECT_EQ(NASEnc_Forms_Coded(ctxt, &coded), RTX_E_INVALID_CHOICE);
}

// An element in another codeset needs no comprehension; without shifts the shift is one more unknown octet.
TEST(BitForms, TailsArePassedOver)
{
  const Octets tail = {7, 0x95, 0x07, 0x01, 0xAA, 0x81}, plain = {7, 0x41, 0x01, 0xAA};
  for (const L3Type* type : {&l3_Forms_Tailed, &l3_Forms_Shifted}) {
    std::string outcome;
    EXPECT_EQ(statusOf(*type, plain, &outcome), 0);
    EXPECT_NE(outcome.find("cursor 4/8"), std::string::npos) << outcome;
    EXPECT_EQ(statusOf(*type, tail), type == &l3_Forms_Shifted ? 0 : RTX_E_NOT_SUPPORTED);
  }
}

// Padding alone is a record without parts, and the other way round; a cut between parts is a good end that leaves the
// names of type and part behind.
TEST(BitForms, RestOctetsEndWhereTheOctetsDo)
{
  std::string outcome, text;
  EXPECT_EQ(statusOf(l3_Forms_Rest_Octets, {0x2B, 0x2B}, &outcome), 0);
  EXPECT_NE(outcome.find("x {\n   second = 0\n   last = 1\n}"), std::string::npos) << outcome;
  EXPECT_EQ(statusOf(l3_Forms_Rest_Octets, {}, &outcome), 0);
  EXPECT_NE(outcome.find("names Rest_Octets first level"), std::string::npos) << outcome;
  Writer cut(0), whole(0);
  cut.put("H111H HHH");
  EXPECT_EQ(statusOf(l3_Forms_Rest_Octets, cut.octets, &outcome), 0);
  EXPECT_NE(outcome.find("names Rest_Octets last level"), std::string::npos) << outcome;
  whole.put("L H L 11");
  whole.put("LLL");
  EXPECT_EQ(reencoded(entryOf(l3_Forms_Rest_Octets), whole.octets, {}, 0, text), whole.octets);
  // At the end of an octet one more is padding.
  Writer full(0), more(0);
  full.put("L H H LL 01 01");
  more.put("L H H LL 01 01 LLLLLLL");
  full.octets.resize(2);
  EXPECT_EQ(reencoded(entryOf(l3_Forms_Rest_Octets), full.octets, {}, 0, text), more.octets);
  Writer eight(3);
  eight.put("L H L 01");
  Octets longer = eight.octets;
  longer.push_back(0x2B);
  EXPECT_EQ(reencoded(entryOf(l3_Forms_Rest_Octets), eight.octets, {}, 3, text), longer);
}

} // namespace
