// Forms that go by single bits: relative to the padding, codes of alternatives, counted runs, tails and rest octets.
#include <gtest/gtest.h>

#include "L3Descriptors.h"
#include "tests/arbitraryRecord.h"
#include "tests/messages.h"
#include "velnor3gpp/Forms.h"

namespace {

const L3Type* const kTypes[] = {&l3_Forms_Padded,  &l3_Forms_Relative,     &l3_Forms_Coded,   &l3_Forms_Tree,
                                &l3_Forms_Counted, &l3_Forms_Tailed,       &l3_Forms_Shifted, &l3_Forms_Rest_Octets,
                                &l3_Forms_Nested,  &l3_Forms_Behind,       &l3_Forms_Sized,   &l3_Forms_Joined,
                                &l3_Forms_Around,  &l3_Forms_PaddingAlone, &l3_Forms_Left,
                                &l3_Forms_Report};

const L3Type& typeNamed(const std::string& name)
{
  return **std::find_if(std::begin(kTypes), std::end(kTypes), [&](const L3Type* type) { return l3NameOf(*type) == name; });
}

// Octets put together by a writer of its own, behind `phase` zero bits: 0, 1, L and H; or x and octets.
Octets octetsOf(const std::string& text, size_t phase)
{
  if (text.starts_with("x")) return octetsOfHex(text.substr(1));
  Octets octets;
  size_t bits = 0;
  for (char c : std::string(phase, '0') + text) {
    if (c == ' ') continue;
    if (bits % 8 == 0) octets.push_back(0);
    unsigned place = 7 - bits++ % 8, padding = 0x2B >> place & 1;
    unsigned bit = c == 'L' ? padding : c == 'H' ? !padding : c == '1';
    octets.back() = uint8_t(octets.back() | bit << place);
  }
  return octets;
}

std::string inOneLine(const std::string& text)
{
  std::string line;
  for (std::string part : split(text, '\n')) {
    part.erase(0, part.find_first_not_of(' '));
    line += (line.empty() ? "" : " / ") + part;
  }
  return line;
}

struct Case {
  std::string type, bits, phases, status, again, part;
};

void check(const Case& row, size_t phase, bool slow)
{
  SCOPED_TRACE(row.type + " " + row.bits + " at " + std::to_string(phase) + (slow ? ", slow" : ""));
  L3TypeEntry entry = entryOf(typeNamed(row.type));
  Setting setting = {.slow = slow, .skipBits = unsigned(phase)};
  OutcomeContext ctxt(setting);
  Octets input = octetsOf(row.bits, phase);
  size_t size = input.size();
  input.push_back(0); // a null pointer would ask for a buffer
  auto record = recordStorage(*entry.type, 0xA5);
  ctxt.bind(input.data(), size);
  int status = entry.decode(ctxt, record.get());
  EXPECT_EQ(status, std::stoi(row.status));
  std::string outcome = stateOf(ctxt, status);
  if (status >= 0) outcome += printed(*entry.type, "x", record.get());
  EXPECT_NE(inOneLine(outcome).find(row.part), std::string::npos) << outcome;
  if (row.again == "-") return;
  Octets again(size + 1), expected = octetsOf(row.again == "=" ? row.bits : row.again, phase);
  ctxt.bind(again.data(), again.size());
  EXPECT_EQ(entry.encode(ctxt, record.get()), 0);
  again.resize(octetsDone(ctxt));
  EXPECT_EQ(hexText(again), hexText(expected));
}

TEST(BitForms, ReadAndWriteAsTheTableSays)
{
  auto rows = readTable(VELNOR_TEST_DATA "/bits.tsv", 6);
  EXPECT_GT(rows.size(), 20U);
  for (auto& cells : rows)
    for (size_t phase = 0; phase < 8; ++phase)
      for (bool slow : {false, true})
        if (cells[2] == "all" || std::stoul(cells[2]) == phase)
          check({cells[0], cells[1], cells[2], cells[3], cells[4], cells[5]}, phase, slow);
}

// Whatever the octets and the record, the fast mode ends as the slow one, trace or not.
TEST(BitForms, FastAndSlowAgree)
{
  for (const L3Type* type : kTypes) {
    L3TypeEntry entry = entryOf(*type);
    Draw draw(7);
    for (unsigned round = 0; round < 400; ++round) {
      Octets octets(draw.below(12));
      uint8_t fill = draw.below(3) ? uint8_t(draw.octet()) : round % 2 ? 0xFF : 0x00;
      for (uint8_t& octet : octets) octet = draw.below(3) ? uint8_t(draw.octet()) : fill;
      if (round % 40 == 0) octets.assign(40, fill);
      Setting setting = {.trace = round % 4 == 0, .regions = draw.below(4) == 0, .skipBits = draw.below(8)};
      auto record = [&](RtxContext* ctxt) {
        Draw drawn(round);
        return arbitraryRecord(ctxt, *type, drawn, round % 3 ? 8 : 0);
      };
      size_t capacity = draw.below(3) ? 128 : draw.below(8);
      ASSERT_EQ(decodingDiffers(entry, octets, setting), "") << type->fullName;
      ASSERT_EQ(encodingDiffers(entry, record, capacity, setting), "") << type->fullName;
    }
  }
}

TEST(BitForms, AnAlternativeThatThereIsNotIsNotWritten)
{
  Forms_Coded coded = {};
  coded.t = 4;
  uint8_t octets[2] = {};
  OutcomeContext ctxt;
  ctxt.bind(octets, sizeof octets);
  EXPECT_EQ(NASEnc_Forms_Coded(ctxt, &coded), RTX_E_INVALID_CHOICE);
}

} // namespace
