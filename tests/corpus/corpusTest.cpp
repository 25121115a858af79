// Real messages: every well-formed row of a corpus file decodes with the status that its kind promises, every fact
// stands in the print, and the record encodes to the same octets. A note tells why a row is refused, or comes back as
// other octets.
#include <gtest/gtest.h>

#include "tests/messages.h"

namespace {

struct Row {
  std::string id, source, form, hex, object, wellformed, facts, note;
};

std::vector<Row> readRows(const std::string& file)
{
  std::vector<Row> rows;
  for (auto& cells : readTable(VELNOR_TEST_DATA "/data/" + file, 8))
    rows.push_back({cells[0], cells[1], cells[2], cells[3], cells[4], cells[5], cells[6], cells[7]});
  return rows;
}

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

// Flags are numbers in the facts.
std::string plain(std::string value)
{
  std::erase(value, '\'');
  return value == "true" ? "1" : value == "false" ? "0" : value;
}

// One printed line: its own name, the names of the braces around it, its value.
struct Line {
  std::vector<std::string> around;
  std::string name, value;
};

std::vector<Line> readPrint(const std::string& print)
{
  std::vector<Line> lines;
  std::vector<std::string> around;
  for (std::string text : split(print, '\n')) {
    text.erase(0, text.find_first_not_of(' '));
    size_t equals = text.find(" = ");
    if (text == "}")
      around.pop_back();
    else if (equals != std::string::npos && text.ends_with(',')) // a string of more than one line
      around.push_back(text.substr(0, equals));
    else if (equals != std::string::npos)
      lines.push_back({around, text.substr(0, equals), text.substr(equals + 3)});
    else if (text.ends_with(" {"))
      around.push_back(text.substr(0, text.size() - 2));
  }
  return lines;
}

// A name holds for itself and for entries of a list of that name.
bool named(const std::string& shown, const std::string& name)
{
  return shown == name || (shown.starts_with(name + "[") && shown.ends_with("]"));
}

// Does a line lead along the names of the fact, others between them or not, to its value?
bool holds(const std::vector<Line>& lines, const std::string& fact)
{
  size_t equals = fact.find('=');
  auto path = split(fact.substr(0, equals), '.');
  std::string name = path.back(), value = plain(fact.substr(equals + 1));
  path.pop_back();
  return std::any_of(lines.begin(), lines.end(), [&](const Line& line) {
    size_t next = 0;
    for (auto& around : line.around) next += next < path.size() && named(around, path[next]);
    return named(line.name, name) && plain(line.value) == value && next == path.size();
  });
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
  for (auto& fact : split(row.facts, ';')) EXPECT_TRUE(holds(lines, fact)) << fact << "\n" << print;
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
  auto rows = readRows(GetParam() + std::string(".tsv"));
  ASSERT_FALSE(rows.empty());
  for (auto& row : rows)
    if (row.wellformed == "yes" || isRadio(row)) check(row);
}

INSTANTIATE_TEST_SUITE_P(Files, Corpus,
                         testing::Values("ts24008", "ts24501", "ts24301", "ts24011", "elements", "ts44018",
                                         "ts44018rest"),
                         [](auto& tested) { return tested.param; });

} // namespace
