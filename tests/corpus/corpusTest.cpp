// Real messages: every well-formed row of a corpus file decodes with the status that its kind promises, every fact
// stands in the print, and the record encodes to the same octets. A note tells why a row is refused, or comes back as
// other octets.
#include <gtest/gtest.h>

#include "tests/corpus/messageFacts.h"

namespace {

using Row = CorpusRow;

// Of radio resource messages every row is read, whatever other decoders say of it.
bool isRadio(const Row& row)
{
  return row.form.starts_with("TS44018Msg_");
}

bool isHeader(const Row& row)
{
  return row.wellformed == "header" && !isRadio(row);
}

bool contains(const std::string& text, const std::string& part)
{
  return text.find(part) != std::string::npos;
}

// The code and the sequence number of a message of unknown key cannot come out again. They stand behind the octets of
// discriminator and security header type, of which EPS has one; the short form of a service request ends with them.
void forgetCode(Octets& octets)
{
  size_t begin = octets[0] == 0x7E ? 2 : 1;
  for (size_t i = begin; i < begin + 5 && i < octets.size(); ++i) octets[i] = 0;
}

// Broadcast channels and the short header have blocks that padding fills. Networks send fixed pseudo lengths with
// system information that is rest octets alone; 2 octets of header are what an encoder counts.
void likeBlock(const Row& row, const Octets& wire, Octets& out)
{
  if (row.form != "TS44018Msg_L2_PSEUDO_LEN_PDU" && row.form != "TS44018Msg_RR_Short_PD_PDU") return;
  out.resize(std::max(out.size(), wire.size()), 0x2B);
  if (!contains(row.note, "pseudo length comes back as 2")) return;
  EXPECT_NE(wire[0], 0x09);
  EXPECT_EQ(out[0], 0x09);
  out[0] = wire[0];
}

// With null algorithms a protected message of unknown key is read as far as its octets go, with the status that its
// code is wrong.
void check(const Row& row)
{
  SCOPED_TRACE(row.id + " note: " + row.note + " " + row.hex);
  const L3TypeEntry* type = l3FindType(row.form.c_str());
  ASSERT_TRUE(type && type->decode) << row.form;
  Octets wire = octetsOfHex(row.hex), out(wire.size() + 4096);
  Decoding decoding(*type, wire, {.flags = contains(row.facts, "ueOrig.") ? RTX_FLAG_MOBILE_ORIGINATED : 0U},
                    [](RtxContext* ctxt) { rtx3gppAssignAlgorithmKeys(ctxt, nullptr, nullptr, 0, 0); });
  int status = decoding.status;
  bool refused = row.object == "none" || contains(row.note, "refused");
  EXPECT_TRUE(!refused || status < 0) << status;
  if (refused || row.object == "obj_?" || isHeader(row)) return;
  ASSERT_TRUE(status == 0 || (status == RTX_E_BAD_MAC && contains(row.note, "key unknown"))) << status;
  std::string print = decoding.text();
  EXPECT_TRUE(!row.object.starts_with("obj_") || contains(print, row.object)) << row.object << "\n" << print;
  auto lines = readPrint(print);
  for (auto& fact : split(row.facts, ';')) EXPECT_TRUE(factHolds(lines, fact)) << fact << "\n" << print;
  if (!type->encode) return;
  rtxErrReset(decoding.ctxt);
  ASSERT_EQ(encodeInto(out, decoding.ctxt, *type, decoding.record.get()), 0) << print;
  for (Octets* octets : {&out, &wire})
    if (status == RTX_E_BAD_MAC) forgetCode(*octets);
  likeBlock(row, wire, out);
  EXPECT_TRUE(out == wire || contains(row.note, "come back as")) << hexText(out) << "\n" << print;
}

class Corpus : public testing::TestWithParam<const char*> {};

TEST_P(Corpus, DecodesHoldsItsFactsAndEncodesBack)
{
  auto rows = readCorpus(GetParam() + std::string(".tsv"));
  ASSERT_FALSE(rows.empty());
  for (auto& row : rows)
    if (row.wellformed == "yes" || isRadio(row)) check(row);
}

INSTANTIATE_TEST_SUITE_P(Files, Corpus,
                         testing::Values("ts24008", "ts24501", "ts24301", "ts24011", "elements", "ts44018",
                                         "ts44018rest"),
                         [](auto& tested) { return tested.param; });

} // namespace
