// Guards single elements and messages by vectors that a person can read: octets, status, and the record as printed.
// Every block of every .vec file here is one case, held to in fast and in slow mode. What a block leaves out is 0, and
// an element is read to its last bit:
//
//   type    TS24008IE_TimeZone        full name; without it that of the block before
//   octets  21 00*3                   hexadecimal; an octet and how many times it comes
//   bits    0101 1                    instead of octets or behind them, filled up with zeros
//   keys    aes 5                     algorithms and count, as of the keys below
//   uplink                            comes from the mobile
//   release 9                         the latest whose groups are read
//   status  -2                        what decoding gives
//   finding -16                       what all error records together tell, where that is not the status
//   path    TimeZone                  where it fails or what is remarked: the element path of the first error
//   words   7 2                       parameters of the last error, if they matter
//   rest    8                         bits that are left unread
//   open    1 0                       regions and names that stay open
//   set     member.of.it 5            changes the record before it is printed and encoded (tests/recordPath.h)
//   again   22                        what encoding the record gives, where that is not the same octets
//   room    3                         octets that the encoder may fill
//   refused -16 TimeZone              what encoding gives, and where if that matters; "-": without an error record
//   left    0 1                       regions and names that encoding leaves open
//   print   the record without its outer braces, the first line behind the word, the others below it
//   shows   lines that the print has, however deep, where the others do not matter
//   reads   22 01 {rest 8} > 22 | value = 22   octets, or b and bits; other words with ";" between them; what is
//                                     encoded if others, or how that is refused; lines as in shows
//   marks   -16 TimeZone  22 01 ...   finding and path in front of that
//   fails   -2 TimeZone  21           status and path in front of that
//
// Each line of the last three is a case of its own, with the type and keys of its block.
//
// What cannot be decoded can be printed and encoded only if the block says what comes out; so can a changed record.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "tests/recordPath.h"

namespace {

namespace fs = std::filesystem;

const std::set<std::string> kWords = {"type",  "octets", "bits", "keys",  "uplink", "release", "status",  "finding",
                                      "path",  "words",  "rest", "open",  "again",  "room",    "refused", "print",
                                      "shows", "set",    "left", "fails", "reads",  "marks"};
constexpr size_t kIndent = 8; // of what stands behind the words

const uint8_t kIntegrityKey[] = {0x2B, 0xD6, 0x45, 0x9F, 0x82, 0xC4, 0x40, 0xE0,
                                 0x95, 0x2C, 0x49, 0x10, 0x48, 0x05, 0xFF, 0x48};
const uint8_t kCipherKey[] = {0xD3, 0xC5, 0xD5, 0x92, 0x32, 0x7F, 0xB1, 0x1C,
                              0x40, 0x35, 0xC6, 0x68, 0x0A, 0xF8, 0xC6, 0xD1};

struct Vector {
  std::string place, lastWord;
  std::map<std::string, std::string> words; // lines of each
  bool has(const std::string& word) const { return words.count(word) > 0; }
  std::string lines(const std::string& word) const { return has(word) ? words.at(word) : ""; }
  std::string text(const std::string& word) const
  {
    std::string all = lines(word);
    return all.substr(0, all.find_last_not_of('\n') + 1);
  }
  int number(const std::string& word, int otherwise = 0) const { return has(word) ? std::stoi(text(word)) : otherwise; }
};

// A line that begins in column 0 names its field; others go on with it.
void addLine(Vector& vector, const std::string& line)
{
  if (line[0] != ' ') vector.lastWord = line.substr(0, line.find(' '));
  if (!kWords.count(vector.lastWord)) ADD_FAILURE() << vector.place << ": no word: " << line;
  vector.words[vector.lastWord] += line.substr(std::min(kIndent, line.size())) + "\n";
}

std::string trimmed(const std::string& line)
{
  const size_t first = std::min(line.find_first_not_of(' '), line.size());
  return line.substr(first, line.find_last_not_of(' ') + 1 - first);
}

// A word as at the beginning of a line, with what is behind it in its column.
std::string inColumns(const std::string& text)
{
  const std::string line = trimmed(text);
  const size_t blank = std::min(line.find(' '), line.size());
  return line.substr(0, blank) + std::string(kIndent - blank, ' ') + trimmed(line.substr(blank));
}

void addReading(Vector& vector, const std::string& line)
{
  const size_t bar = std::min(line.find('|'), line.size()), open = std::min(line.find('{'), bar);
  const size_t close = open < bar ? line.find('}') : open, sign = std::min(line.find('>'), bar);
  vector.words[trimmed(line)[0] == 'b' ? "bits" : "octets"] = line.substr(0, std::min(open, sign));
  if (open < bar)
    for (const std::string& word : split(line.substr(open + 1, close - open - 1), ';'))
      addLine(vector, inColumns(word));
  if (const std::string again = line.substr(sign, bar - sign); !again.empty())
    vector.words[again.find('-') < again.size() ? "refused" : "again"] = again.substr(1);
  for (const std::string& shown : split(line.substr(std::min(line.size(), bar + 1)), ';'))
    vector.words["shows"] += shown + "\n";
}

// Of the word that tells how it goes.
void addAnswered(Vector& vector, const std::string& word, const std::string& line)
{
  std::istringstream in(line);
  std::string rest;
  if (word != "reads") in >> vector.words[word == "fails" ? "status" : "finding"] >> vector.words["path"];
  std::getline(in, rest);
  addReading(vector, rest);
}

// One case for each line of `fails`, `marks` and `reads`; whatever else the block has is a case of its own.
std::vector<Vector> casesOf(const std::vector<Vector>& blocks)
{
  std::vector<Vector> cases;
  for (const Vector& block : blocks) {
    const size_t before = cases.size();
    for (const char* word : {"fails", "marks", "reads"})
      for (const std::string& line : split(block.lines(word), '\n')) {
        cases.push_back({block.place + " " + line, "", {{"type", block.lines("type")}}});
        if (block.has("keys")) cases.back().words["keys"] = block.lines("keys");
        addAnswered(cases.back(), word, line);
      }
    if (cases.size() == before || block.has("octets") || block.has("bits")) cases.push_back(block);
  }
  return cases;
}

std::vector<Vector> readVectors(const fs::path& file)
{
  std::vector<Vector> vectors;
  std::ifstream in(file);
  bool open = false;
  size_t number = 0;
  std::string type;
  for (std::string line; ++number, std::getline(in, line);) {
    if (line.empty()) open = false;
    if (line.empty() || line[0] == '#') continue;
    if (!open) vectors.push_back({file.filename().string() + ":" + std::to_string(number), "", {{"type", type}}});
    if (line.starts_with("type ")) vectors.back().words["type"] = "";
    open = true;
    addLine(vectors.back(), line);
    type = vectors.back().words["type"];
  }
  return casesOf(vectors);
}

// How many bits there are is told by the binary digits alone where there is nothing else.
Octets inputOf(const Vector& vector, size_t& bits)
{
  Octets octets = octetsOfRuns(vector.lines("octets"));
  bits = 8 * octets.size();
  for (char digit : vector.lines("bits")) {
    if (digit != '0' && digit != '1') continue;
    if (bits % 8 == 0) octets.push_back(0);
    if (digit == '1') octets.back() |= static_cast<uint8_t>(0x80 >> bits % 8);
    ++bits;
  }
  if (vector.has("octets")) bits = 8 * octets.size();
  return octets;
}

void assignKeys(RtxContext* pctxt, const std::string& keys)
{
  if (keys.empty()) return;
  std::istringstream in(keys);
  std::string name;
  in >> name >> pctxt->pSecurity->count;
  uint32_t algorithm = name == "aes" ? RTX_3GPP_ALG_AES : RTX_3GPP_ALG_NULL;
  ASSERT_EQ(rtx3gppAssignAlgorithmKeys(pctxt, kIntegrityKey, kCipherKey, algorithm, algorithm), 0);
}

std::string firstPath(const RtxContext* pctxt)
{
  const RtxDListNode* node = pctxt->errInfo.head;
  const char* path = node ? static_cast<const RtxErrInfo*>(node->data)->elemName : nullptr;
  return path ? path : "";
}

std::string wordsOf(const RtxErrInfo& error)
{
  std::string text;
  for (unsigned i = 0; i < error.parmcount; ++i) text += (i ? " " : "") + std::string(error.parms[i]);
  return text;
}

void checkErrors(RtxContext* pctxt, const Vector& vector, int status)
{
  EXPECT_EQ(rtxErrCheckNonFatal(pctxt), vector.number("finding", status));
  EXPECT_EQ(firstPath(pctxt), vector.text("path"));
  if (!vector.has("words")) return;
  ASSERT_TRUE(pctxt->errInfo.tail);
  EXPECT_EQ(wordsOf(*static_cast<RtxErrInfo*>(pctxt->errInfo.tail->data)), vector.text("words"));
}

std::string openOf(const RtxContext* pctxt)
{
  return std::to_string(pctxt->containerStack.dlist.count) + " " + std::to_string(pctxt->elemNameStack.count);
}

// Where a failure leaves cursor and stacks matters only where a block says so.
void checkPlace(RtxContext* pctxt, const Vector& vector, size_t bits, int status)
{
  if (status >= 0 || vector.has("open")) {
    EXPECT_EQ(openOf(pctxt), vector.has("open") ? vector.text("open") : "0 0");
  }
  if (status >= 0 || vector.has("rest")) {
    EXPECT_EQ(static_cast<int>(bits - rtxCtxtGetBitOffset(pctxt)), vector.number("rest"));
  }
}

// The record without the line that opens it and the one that closes it, one level out; a bare value whole.
std::string innerText(RtxContext* pctxt, const L3TypeEntry& entry, const void* record)
{
  std::string text;
  rtxSetPrintStream(pctxt, appendPrinted, &text);
  entry.print(pctxt, l3NameOf(*entry.type), record);
  std::istringstream lines(text);
  std::string line, inner;
  std::getline(lines, line);
  if (line != l3NameOf(*entry.type) + std::string(" {")) return text;
  while (std::getline(lines, line) && line != "}") inner += line.substr(std::min<size_t>(3, line.size())) + "\n";
  return inner;
}

void checkPrint(RtxContext* pctxt, const Vector& vector, const L3TypeEntry& entry, const void* record)
{
  const std::string text = innerText(pctxt, entry, record);
  if (vector.has("print") || !vector.has("shows")) {
    EXPECT_EQ(text, vector.lines("print"));
  }
  std::set<std::string> lines;
  for (const std::string& line : split(text, '\n')) lines.insert(trimmed(line));
  for (const std::string& line : split(vector.lines("shows"), '\n'))
    EXPECT_TRUE(lines.count(trimmed(line))) << line << " in\n" << text;
}

void checkRefusal(const RtxContext* pctxt, int status, const std::string& refused)
{
  std::istringstream in(refused);
  int expected = 0;
  std::string path;
  in >> expected >> path;
  EXPECT_EQ(status, expected);
  EXPECT_TRUE(path.empty() || path == "-" || path == firstPath(pctxt)) << firstPath(pctxt);
  EXPECT_TRUE(path != "-" || !pctxt->errInfo.count) << "there is an error record";
}

void setMembers(RtxContext* pctxt, const Vector& vector, const L3Type& type, void* record)
{
  for (const std::string& line : split(vector.lines("set"), '\n')) {
    size_t blank = line.find(' ');
    EXPECT_TRUE(setByPath(pctxt, type, record, line.substr(0, blank), line.substr(blank + 1))) << "no place: " << line;
  }
}

// Without a bound the buffer grows.
void checkEncoding(RtxContext* pctxt, const Vector& vector, const L3TypeEntry& entry, void* record, const Octets& input)
{
  ASSERT_TRUE(entry.encode);
  size_t room = static_cast<size_t>(vector.number("room"));
  std::unique_ptr<uint8_t[]> bounded(vector.has("room") ? new uint8_t[room] : nullptr);
  rtxErrReset(pctxt);
  rtxCtxtSetBufPtr(pctxt, bounded.get(), room);
  int status = entry.encode(pctxt, record);
  if (status >= 0 || vector.has("left")) {
    EXPECT_EQ(openOf(pctxt), vector.has("left") ? vector.text("left") : "0 0");
  }
  if (status < 0 || vector.has("refused")) return checkRefusal(pctxt, status, vector.text("refused"));
  const RtxBuffer& buffer = pctxt->buffer;
  EXPECT_EQ(Octets(buffer.data, buffer.data + buffer.byteIndex + (buffer.bitOffset != 8)),
            vector.has("again") ? octetsOfRuns(vector.text("again")) : input);
}

void checkIn(const Setting& setting, const Vector& vector, const L3TypeEntry& entry)
{
  size_t bits = 0;
  Octets input = inputOf(vector, bits);
  Decoding decoding(entry, input, setting, [&](RtxContext* pctxt) { assignKeys(pctxt, vector.text("keys")); });
  int status = decoding.status;
  void* record = decoding.record.get();
  EXPECT_EQ(status, vector.number("status"));
  checkErrors(decoding.ctxt, vector, status);
  checkPlace(decoding.ctxt, vector, bits, status);
  if (status != vector.number("status")) return; // what was not decoded cannot be shown
  setMembers(decoding.ctxt, vector, *entry.type, record);
  bool whole = status >= 0 && !vector.has("set");
  if (whole || vector.has("print") || vector.has("shows")) checkPrint(decoding.ctxt, vector, entry, record);
  if (status >= 0 || vector.has("again")) checkEncoding(decoding.ctxt, vector, entry, record, input);
}

void checkVector(const Vector& vector)
{
  SCOPED_TRACE(vector.place + " " + vector.text("type"));
  const L3TypeEntry* entry = l3FindType(vector.text("type").c_str());
  ASSERT_TRUE(entry && entry->decode) << "no such type";
  Setting setting;
  setting.fill = 0xA5;
  setting.security = vector.has("keys");
  setting.flags = vector.has("uplink") ? RTX_FLAG_MOBILE_ORIGINATED : 0;
  setting.specRelease = static_cast<uint16_t>(vector.number("release"));
  for (bool slow : {false, true}) {
    SCOPED_TRACE(slow ? "slow" : "fast");
    setting.slow = slow;
    checkIn(setting, vector, *entry);
  }
}

std::vector<std::string> vectorFiles()
{
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(VELNOR_TEST_DATA))
    if (entry.path().extension() == ".vec") names.push_back(entry.path().stem().string());
  return names;
}

class Vectors : public testing::TestWithParam<std::string> {};

TEST_P(Vectors, HoldToTheLetter)
{
  std::vector<Vector> vectors = readVectors(fs::path(VELNOR_TEST_DATA) / (GetParam() + ".vec"));
  ASSERT_GE(vectors.size(), 3U);
  for (const Vector& vector : vectors) checkVector(vector);
}

INSTANTIATE_TEST_SUITE_P(Files, Vectors, testing::ValuesIn(vectorFiles()), [](auto& file) { return file.param; });

} // namespace
