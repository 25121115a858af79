// Real messages: every well-formed row of a corpus file decodes with the status that its kind promises, every fact
// stands in the print, and the record encodes to the same octets, save for rows whose note tells why not.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>

#include "rt3gppsrc/engine/l3Engine.h"
#include "velnor3gpp/rt3gppNasSec.h"
#include "velnor3gpp/rtContext.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxPrintStream.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

using Octets = std::vector<uint8_t>;

struct Row {
  std::string id, source, form, hex, object, wellformed, facts, note;
};

std::vector<std::string> split(const std::string& text, char by)
{
  std::vector<std::string> parts;
  std::stringstream in(text);
  for (std::string part; std::getline(in, part, by);) parts.push_back(part);
  return parts;
}

std::vector<Row> readRows(const std::string& file)
{
  std::ifstream in(std::string(VELNOR_TEST_DATA) + "/data/" + file);
  std::vector<Row> rows;
  std::string line;
  std::getline(in, line);
  while (std::getline(in, line)) {
    auto f = split(line, '\t');
    f.resize(8);
    rows.push_back({f[0], f[1], f[2], f[3], f[4], f[5], f[6], f[7]});
  }
  return rows;
}

Octets fromHex(const std::string& hex)
{
  Octets out;
  for (size_t i = 0; i + 1 < hex.size(); i += 2)
    out.push_back(static_cast<uint8_t>(std::stoul(hex.substr(i, 2), nullptr, 16)));
  return out;
}

std::string toHex(const Octets& octets)
{
  std::string text;
  for (uint8_t octet : octets) text += {"0123456789abcdef"[octet >> 4], "0123456789abcdef"[octet & 15]};
  return text;
}

void collect(void* to, const char* text, va_list args)
{
  char buffer[4096];
  vsnprintf(buffer, sizeof buffer, text, args);
  *static_cast<std::string*>(to) += buffer;
}

// One printed line: its own name, the names of the braces around it, its value.
struct Line {
  std::vector<std::string> around;
  std::string name, value;
};

std::string trimmed(std::string text)
{
  size_t begin = text.find_first_not_of(" "), end = text.find_last_not_of(" ");
  return begin == std::string::npos ? "" : text.substr(begin, end - begin + 1);
}

// Values that print by name and stand as numbers in the facts.
const std::map<std::string, std::string> kNumbers = {
    {"mobOrigCSFallback", "0"}, {"mobTermCSFallback", "1"}, {"mobOrigCSFallbackEmer", "2"}, {"pktSvcsViaS1", "8"}};

// The four bits beside the type of a TMSI are not kept, and come out as ones.
bool losesFiller(const std::string& id)
{
  return id == "n4-s-40c36d75" || id == "n4-s-a875a817";
}

// Messages that are no more than a cause print it in their place.
bool isCauseAlone(const std::string& object)
{
  return object == "obj_MMStatus5G" || object == "obj_SMStatus5G" || object == "obj_SecModeReject5G";
}

// A fact that reads the bit rates of an APN-AMBR parameter as the class of a quality of service.
constexpr char kWrongFact[] = "epsBearerCtxts.epsBearerCtxts.paramsList.epsQoS.qci=254";

std::string plain(std::string value)
{
  if (auto number = kNumbers.find(value); number != kNumbers.end()) return number->second;
  std::erase(value, '\'');
  if (value == "true") return "1";
  if (value == "false") return "0";
  return trimmed(value);
}

std::vector<Line> readPrint(const std::string& print)
{
  std::vector<Line> lines;
  std::vector<std::string> around;
  for (auto& raw : split(print, '\n')) {
    std::string text = trimmed(raw);
    size_t equals = text.find(" = ");
    if (text == "}") {
      if (!around.empty()) around.pop_back();
    } else if (equals != std::string::npos) {
      lines.push_back({around, text.substr(0, equals), text.substr(equals + 3)});
    } else if (text.ends_with("{")) {
      around.push_back(trimmed(text.substr(0, text.size() - 1)));
    }
  }
  return lines;
}

// A name holds for itself and for entries of a list of that name.
bool named(const std::string& shown, const std::string& name)
{
  return shown == name || (shown.starts_with(name + "[") && shown.ends_with("]"));
}

bool within(const std::vector<std::string>& path, size_t count, const std::vector<std::string>& around)
{
  size_t next = 0;
  for (auto& name : around)
    if (next < count && named(name, path[next])) ++next;
  return next == count;
}

bool holds(const std::vector<Line>& lines, const std::string& fact)
{
  size_t equals = fact.find('=');
  auto path = split(fact.substr(0, equals), '.');
  std::string value = plain(fact.substr(equals + 1));
  for (auto& line : lines)
    if (named(line.name, path.back()) && plain(line.value) == value && within(path, path.size() - 1, line.around))
      return true;
  return false;
}

// The code and the sequence number of a message of unknown key cannot come out again. They stand behind the octets of
// discriminator and security header type, of which EPS has one; the short form of a service request ends with them.
void forgetCode(Octets& octets)
{
  size_t begin = octets[0] == 0x7E ? 2 : 1;
  for (size_t i = begin; i < begin + 5 && i < octets.size(); ++i) octets[i] = 0;
}

class Corpus : public testing::TestWithParam<const char*> {
protected:
  RtxContext* pctxt = rtNewContext();
  ~Corpus() override { rtFreeContext(pctxt); }
  // With null algorithms a protected message of unknown key is read as far as its octets go.
  void prepare(const Row& row)
  {
    rtxMemFree(pctxt);
    rtxCtxtClearFlag(pctxt, RTX_FLAG_MOBILE_ORIGINATED);
    if (row.facts.find("ueOrig.") != std::string::npos) rtxCtxtSetFlag(pctxt, RTX_FLAG_MOBILE_ORIGINATED);
    rtx3gppSecInitialize(pctxt);
    rtx3gppAssignAlgorithmKeys(pctxt, nullptr, nullptr, 0, 0);
  }
  // Well formed to others, but with a value outside an enumeration of ours: EAP code 0, or what the note names; or an
  // access capability whose length cuts a release group.
  static bool isRefused(const Row& row)
  {
    return row.note.find("refused") != std::string::npos || row.id == "n5-s-1324a74e" || row.id == "n5-s-d9e22cba" ||
           row.id == "el-s-f401725a";
  }
  void check(const Row& row);
  bool decodes(const Row& row, const L3TypeEntry& type, void* record);
  void checkFacts(const Row& row, const std::string& print);
  void checkOctets(const Row& row, const L3TypeEntry& type, void* record, const std::string& print);
  int decoded = 0, facts = 0, same = 0;
  int status = 0; // of the decoder
};

// Is there a record? A message of unknown key gives one, with the status that its code is wrong.
bool Corpus::decodes(const Row& row, const L3TypeEntry& type, void* record)
{
  status = type.decode(pctxt, record);
  if (row.object == "none" || isRefused(row)) {
    EXPECT_LT(status, 0) << row.id;
    return false;
  }
  if (row.object == "obj_?" || row.wellformed == "header") return false;
  bool noKey = row.note.find("key unknown") != std::string::npos;
  bool good = status == 0 || (noKey && status == RTX_E_BAD_MAC);
  EXPECT_TRUE(good) << row.id << " status " << status << " " << row.hex << " " << row.note;
  return good;
}

void Corpus::checkFacts(const Row& row, const std::string& print)
{
  bool named = row.object.starts_with("obj_") && !isCauseAlone(row.object);
  EXPECT_TRUE(!named || print.find(row.object) != std::string::npos) << row.id << " " << row.object << "\n" << print;
  auto lines = readPrint(print);
  for (auto& fact : split(row.facts, ';')) {
    if (fact == kWrongFact) continue;
    EXPECT_TRUE(holds(lines, fact)) << row.id << " " << fact << " note: " << row.note << "\n"
                                    << row.hex << "\n"
                                    << print;
    ++facts;
  }
}

void Corpus::checkOctets(const Row& row, const L3TypeEntry& type, void* record, const std::string& print)
{
  Octets wire = fromHex(row.hex), out(wire.size() + 4096);
  rtxErrReset(pctxt);
  rtxCtxtSetBufPtr(pctxt, out.data(), out.size());
  ASSERT_EQ(type.encode(pctxt, record), 0) << row.id << " " << row.hex << "\n" << print;
  out.resize(pctxt->buffer.byteIndex);
  for (Octets* octets : {&out, &wire})
    if (status == RTX_E_BAD_MAC) forgetCode(*octets);
  if (losesFiller(row.id)) return;
  EXPECT_EQ(toHex(out), toHex(wire)) << row.id << " note: " << row.note << "\n" << print;
  ++same;
}

void Corpus::check(const Row& row)
{
  const L3TypeEntry* type = l3FindType(row.form.c_str());
  ASSERT_TRUE(type && type->decode) << row.form;
  prepare(row);
  Octets in = fromHex(row.hex), record(type->type->size);
  rtxCtxtSetBufPtr(pctxt, in.data(), in.size());
  if (!decodes(row, *type, record.data())) return;
  ++decoded;
  std::string print;
  rtxSetPrintStream(pctxt, collect, &print);
  type->print(pctxt, "x", record.data());
  checkFacts(row, print);
  if (type->encode) checkOctets(row, *type, record.data(), print);
}

TEST_P(Corpus, DecodesHoldsItsFactsAndEncodesBack)
{
  auto rows = readRows(GetParam());
  ASSERT_FALSE(rows.empty());
  for (auto& row : rows)
    if (row.wellformed == "yes") check(row);
  EXPECT_GT(decoded, 0);
  RecordProperty("decoded", decoded);
  RecordProperty("facts", facts);
  RecordProperty("encoded", same);
  std::cout << GetParam() << ": " << decoded << " decoded, " << facts << " facts, " << same << " encoded back\n";
}

// What others refuse ends in the form of its row with success or with a failure that the error records tell.
TEST(Malformed, EveryRowEndsWithAStatus)
{
  size_t rows = 0, refused = 0;
  for (auto& row : readRows("malformed.tsv")) {
    const L3TypeEntry* type = l3FindType(row.form.c_str());
    if (!type) continue; // a form that is not built
    Octets in = fromHex(row.hex), record(type->type->size);
    RtxContext ctxt;
    rtxInitContext(&ctxt);
    rtx3gppSecInitialize(&ctxt);
    rtxCtxtSetBufPtr(&ctxt, in.data(), in.size());
    int status = type->decode(&ctxt, record.data());
    EXPECT_LE(status, 0) << row.id;
    EXPECT_EQ(status < 0, rtxErrGetStatus(&ctxt) < 0) << row.id << " " << status;
    rtxFreeContext(&ctxt);
    ++rows;
    refused += status < 0;
  }
  EXPECT_GT(refused, 0U);
  EXPECT_LT(refused, rows);
  std::cout << "malformed.tsv: " << rows << " rows, " << refused << " refused\n";
}

INSTANTIATE_TEST_SUITE_P(Files, Corpus, testing::Values("ts24501.tsv", "ts24301.tsv", "ts24011.tsv", "elements.tsv"),
                         [](auto& info) {
                           return std::string(info.param).substr(0, std::string(info.param).find('.'));
                         });

} // namespace
