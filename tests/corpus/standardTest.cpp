// Messages in the standard's form and messages that hold what no type knows: with standard forms and kept elements on,
// every row decodes with its facts and comes back octet for octet.
#include <gtest/gtest.h>

#include "rt3gppsrc/engine/l3Kept.h"
#include "tests/corpus/messageFacts.h"

namespace {

// "0x79@12+25": identifier, first octet, octets.
std::string keptFact(const L3Kept& kept)
{
  char text[64];
  int at = kept.ieiBits == 8   ? snprintf(text, sizeof text, "0x%02X", kept.iei)
           : kept.ieiBits == 4 ? snprintf(text, sizeof text, "0x%X", kept.iei)
                               : snprintf(text, sizeof text, "-");
  snprintf(text + at, sizeof text - size_t(at), "@%zu+%u", kept.position / 8, kept.bits / 8);
  return text;
}

std::vector<std::string> keptFacts(const RtxContext* ctxt)
{
  std::vector<std::string> facts;
  const L3KeptList* list = l3KeptOf(ctxt);
  for (const L3Kept* kept = list ? list->first : nullptr; kept; kept = kept->next) facts.push_back(keptFact(*kept));
  return facts;
}

void check(const CorpusRow& row)
{
  SCOPED_TRACE(row.id + " " + row.kind + " note: " + row.note + " " + row.hex);
  const L3TypeEntry* type = l3FindType(row.form.c_str());
  ASSERT_TRUE(type && type->decode) << row.form;
  Octets wire = octetsOfHex(row.hex), out(wire.size() + 64);
  uint32_t direction = row.direction == "up" ? RTX_FLAG_MOBILE_ORIGINATED : 0U;
  Decoding decoding(*type, wire, {.flags = RTX_FLAG_KEEP_ELEMENTS | RTX_FLAG_STANDARD_FORMS | direction});
  ASSERT_EQ(decoding.status, 0) << decoding.state();
  std::string print = decoding.text(RTX_FLAG_STANDARD_FORMS);
  auto lines = readPrint(print);
  auto kept = keptFacts(decoding.ctxt);
  for (auto& fact : split(row.facts, ';'))
    if (fact.starts_with("kept:"))
      EXPECT_NE(std::find(kept.begin(), kept.end(), fact.substr(5)), kept.end()) << fact << "\n" << print;
    else
      EXPECT_TRUE(factHolds(lines, fact)) << fact << "\n" << print;
  ASSERT_EQ(encodeInto(out, decoding.ctxt, *type, decoding.record.get()), 0) << decoding.state() << print;
  EXPECT_EQ(hexText(out), hexText(wire)) << print;
}

TEST(StandardForms, DecodeWithTheirFactsAndComeBack)
{
  auto rows = readCorpus("standard.tsv");
  ASSERT_GE(rows.size(), 50U);
  for (auto& row : rows)
    check(row);
}

// 0x66 is another element in three messages of bearers; 0x68 in a tracking area update accept is the status in both
// forms (TS 24.301, 8.2.26).
TEST(StandardForms, ReadTheStatusOfHeaderCompressionWhereTheStandardHasIt)
{
  const L3TypeEntry& entry = *l3FindType("TS24301Msg_PDU");
  for (uint32_t forms : {0U, RTX_FLAG_STANDARD_FORMS}) {
    Decoding decoding(entry, octetsOfHex("07490068022000"), {.flags = RTX_FLAG_KEEP_ELEMENTS | forms});
    EXPECT_EQ(decoding.status, 0) << decoding.state();
    EXPECT_NE(decoding.text(forms).find("hdrCompressConfigStat {"), std::string::npos) << decoding.text(forms);
  }
}

} // namespace
