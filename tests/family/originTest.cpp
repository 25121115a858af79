// Guards the place that an error record tells: each level leads to the row of the definition file whose element failed,
// or to a line of the run-time that reports, whichever coder was at work.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <set>

#include "tests/arbitraryRecord.h"
#include "tests/fileText.h"
#include "tests/messages.h"

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;
using Words = std::set<std::string>;

// The lines of a file, none if there is no such file.
const Lines& linesOf(const std::string& file)
{
  static std::map<std::string, Lines> files;
  auto known = files.find(file);
  if (known == files.end()) known = files.emplace(file, fs::exists(file) ? split(fileText(file), '\n') : Lines()).first;
  return known->second;
}

// A name as types have it: paths have hyphens.
std::string plain(std::string name)
{
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

// The words of a line, with types of other modules without their module as well.
Words wordsOf(const std::string& line)
{
  Words words;
  std::istringstream in(line);
  for (std::string word; in >> word;) {
    words.insert(plain(word));
    size_t module = word.starts_with("TS") ? word.find('_') : std::string::npos;
    if (module != std::string::npos) words.insert(plain(word.substr(module + 1)));
  }
  return words;
}

// "PDU.data.u.obj_X.list.elem[3].y" without the indices, and messages as the definitions call them.
Lines componentsOf(const std::string& path)
{
  Lines components = split(path, '.');
  for (auto& component : components) {
    component = plain(component.substr(0, component.find('[')));
    if (component.starts_with("obj_")) component.erase(0, 4);
  }
  return components;
}

bool isInBlock(const std::string& line)
{
  return line.empty() || line[0] == ' ' || line[0] == '#';
}

bool haveCommon(const Words& some, const Words& others)
{
  return std::any_of(some.begin(), some.end(), [&](auto& word) { return others.count(word) != 0; });
}

struct Row {
  std::string owner; // the name of the block
  std::string block; // the same for the row that begins it, else empty
  Words words;
};

// The rows and blocks of the definitions by each of their words.
const std::vector<Row>& rowsWith(const std::string& word)
{
  static std::map<std::string, std::vector<Row>> rows;
  if (rows.empty())
    for (auto& file : fs::directory_iterator(L3_DEFINITIONS))
      for (std::string owner; auto& line : linesOf(file.path())) {
        if (!isInBlock(line)) std::istringstream(line) >> owner >> owner;
        Row row = {plain(owner), isInBlock(line) ? "" : plain(owner), wordsOf(line)};
        for (auto& each : row.words) rows[each].push_back(row);
      }
  return rows[word];
}

// The type, and the types that are it under another name or a list of it.
const Words& namesOf(const std::string& type)
{
  static std::map<std::string, Words> known;
  Words& names = known[type];
  if (!names.empty()) return names;
  std::vector<std::string> open = {type};
  while (!open.empty()) {
    const std::string name = open.back();
    open.pop_back();
    if (!names.insert(name).second) continue;
    for (auto& row : rowsWith(name))
      if (!row.block.empty()) open.push_back(plain(row.block));
  }
  return names;
}

// The elements that are of the type.
const Words& elementsOf(const std::string& type)
{
  static std::map<std::string, Words> known;
  Words& elements = known[type];
  if (!elements.empty()) return elements;
  elements = namesOf(type);
  for (auto& name : namesOf(type))
    for (auto& row : rowsWith(name))
      if (row.block.empty()) elements.insert(row.words.begin(), row.words.end());
  elements.erase("length");
  return elements;
}

// A level of an error record: a row of a definition file, or the block that it names.
struct Level {
  RtxErrLocn at;
  Words words;
  std::string type;   // of the block
  bool isRow = false; // with a name
  Words within;       // words of the row and of the alternatives behind it
  Words siblings;     // words of all rows of the block
};

// Reads the row that a level leads to, once. Its words are empty if there is none.
const Level& readLevel(const std::string& coder, const RtxErrLocn& at)
{
  static std::map<std::pair<std::string, unsigned>, Level> known;
  const std::string module = at.module;
  Level& level = known[{module, at.line}];
  if (level.at.module) return level;
  level.at = at;
  if (!module.ends_with(coder)) return level;
  const Lines& lines = linesOf(L3_DEFINITIONS "/" + module.substr(0, module.size() - coder.size()) + ".l3");
  if (at.line < 1 || at.line > lines.size() || lines[at.line - 1][0] == '#') return level;
  size_t block = level.at.line - 1;
  const std::string& row = lines[block];
  level.words = wordsOf(row);
  std::string when, name;
  std::istringstream(row) >> when >> name;
  level.isRow = isInBlock(row) && name != "-" && when != "tail";
  while (block && isInBlock(lines[block])) --block;
  std::istringstream(lines[block]) >> level.type >> level.type;
  level.within = level.words;
  for (size_t i = level.at.line; i < lines.size() && lines[i].starts_with("  |"); ++i)
    level.within.merge(wordsOf(lines[i]));
  for (size_t i = block + 1; i < lines.size() && isInBlock(lines[i]); ++i) level.siblings.merge(wordsOf(lines[i]));
  return level;
}

// The source of a module of the run-time, or nothing.
std::string sourceOf(const std::string& module)
{
  static const std::map<std::string, std::string> sources = [] {
    std::map<std::string, std::string> all;
    for (const char* room : {"rtxsrc", "rtsrc", "rt3gppsrc"})
      for (auto& entry : std::filesystem::recursive_directory_iterator(std::string(VELNOR_ROOT "/") + room))
        if (entry.path().extension() == ".cpp") all[entry.path().stem()] = entry.path();
    return all;
  }();
  auto at = sources.find(module);
  return at == sources.end() ? "" : at->second;
}

// A line of the run-time that reports.
bool isReport(const RtxErrLocn& at)
{
  const std::string source = sourceOf(at.module);
  if (source.empty()) return false;
  const Lines& lines = linesOf(source);
  return at.line >= 1 && at.line <= lines.size() && lines[at.line - 1].find("__LINE__") != std::string::npos;
}

// Does the record of a block have a row with this word, or a record within it?
bool hasRow(const Level& record, const std::string& word)
{
  if (record.siblings.count(word)) return true;
  for (auto& type : record.siblings)
    for (auto& row : rowsWith(word))
      if (row.owner == type && row.block.empty()) return true;
  return false;
}

// Does a path begin with a type that deeper rows of a block, or a list of its entries, make?
bool isWithin(const std::string& type, const Level& level)
{
  return type.find(plain(level.type) + "_") != std::string::npos;
}

// A row that makes a type of its own: the path begins with that type's name, which is made of the block's, of the rows'
// in between and of this row's; or, for a list that several rows share, of its entries' type.
bool isMadeOf(const std::string& type, const Level& level)
{
  const std::string entry = "_element";
  if (!isWithin(type, level) && !level.words.count("shared")) return false;
  std::string made = type.ends_with(entry) ? type.substr(0, type.size() - entry.size()) : type;
  return std::any_of(level.words.begin(), level.words.end(), [&](auto& word) { return made.ends_with("_" + word); });
}

bool isType(const std::string& word)
{
  auto& rows = rowsWith(word);
  return std::any_of(rows.begin(), rows.end(), [&](auto& row) { return row.block == word; });
}

// The list that several rows share is made at the first of them, and the level further out is at the row that was used.
bool isShared(const Level& level, const Level* outer)
{
  if (!outer || !level.words.count("shared") || !outer->words.count("shared")) return false;
  return std::any_of(level.words.begin(), level.words.end(),
                     [&](auto& word) { return outer->words.count(word) && isType(word); });
}

// The type of a block is the one that the path begins with, or that of the row one level further out; where none
// follows, of an element of the path.
bool isHeld(const Lines& path, const Level& level, const Level* outer)
{
  const Words& names = namesOf(plain(level.type));
  if (names.count(path[0]) || isWithin(path[0], level)) return true;
  if (outer && outer->type == level.type && outer->at.line < level.at.line) return true; // rows nest
  const bool element = haveCommon(elementsOf(plain(level.type)), Words(path.begin(), path.end()));
  if (!outer) return element;
  if (outer->isRow) return haveCommon(outer->within, names);
  return element || std::any_of(names.begin(), names.end(), [&](auto& name) { return hasRow(*outer, name); });
}

// A row names an element of the path. Where an element went too far, or a message tells what was found in it, the name
// is gone: then the row stands in the right block at least.
bool isRight(const RtxErrInfo& error, const Level& level, const Level* outer)
{
  const Lines path = componentsOf(error.elemName);
  if (level.isRow && haveCommon(level.words, Words(path.begin(), path.end()))) return true;
  if (level.isRow && (isMadeOf(path[0], level) || isShared(level, outer))) return true;
  const bool nameless = !level.isRow || error.status == RTX_E_BAD_LENGTH || path.back() == plain(level.type) ||
                        isWithin(path.back(), level);
  return nameless && isHeld(path, level, outer);
}

// Is there an element of this name that is a string of octets or bits?
bool isString(const std::string& element)
{
  static const Words kinds = {"octets", "bitstring"};
  for (auto& row : rowsWith(element)) {
    if (haveCommon(row.words, kinds)) return row.block.empty();
    for (auto& type : row.words)
      for (auto& block : rowsWith(type))
        if (block.block == type && haveCommon(block.words, kinds)) return true;
  }
  return false;
}

// A string that fails lets its siblings follow. When one of them fails as well, its levels join the record, which keeps
// the path of the string: nothing can be said of them. A string alone has one level of the run-time on decoding, three
// on encoding.
bool isJoined(const RtxErrInfo& error, const std::vector<const Level*>& levels)
{
  const std::string last = componentsOf(error.elemName).back();
  const size_t alone = error.status == RTX_E_END_OF_BUFFER ? 1 : error.status == RTX_E_ENCODE_OVERFLOW ? 3 : 8;
  return error.stkx - levels.size() > alone && !levels.empty() && !levels[0]->words.count(last) && isString(last);
}

class Judge {
public:
  explicit Judge(const char* coder) : coder(coder) {}
  void judge(const RtxContext* ctxt)
  {
    for (const RtxDListNode* node = ctxt->errInfo.head; node; node = node->next)
      judge(*static_cast<const RtxErrInfo*>(node->data));
  }
  void expectGood(size_t least) const
  {
    EXPECT_GE(rows, least);
    EXPECT_EQ(faults.size(), 0U);
    for (auto& fault : faults) ADD_FAILURE() << fault;
  }

private:
  std::string coder;
  size_t rows = 0;
  Words seen;
  Words faults; // some of them

  void judge(const RtxErrInfo& error)
  {
    if (!error.elemName) return; // memory was out
    std::vector<const Level*> levels;
    std::string key = error.elemName + std::to_string(error.status);
    for (unsigned i = 0; i < error.stkx; ++i) key += error.stack[i].module + std::to_string(error.stack[i].line);
    if (!seen.insert(key).second) return;
    for (unsigned i = 0; i < error.stkx; ++i)
      if (!isReport(error.stack[i])) levels.push_back(&readLevel(coder, error.stack[i]));
    if (isJoined(error, levels)) return;
    for (size_t i = 0; i < levels.size(); ++i) {
      rows += levels[i]->isRow;
      if (!isRight(error, *levels[i], i + 1 < levels.size() ? levels[i + 1] : nullptr)) tell(error, *levels[i]);
    }
  }
  void tell(const RtxErrInfo& error, const Level& level)
  {
    if (faults.size() >= 40) return;
    faults.insert(std::string(error.elemName) + " " + std::to_string(error.status) + ": " + level.at.module + ":" +
                  std::to_string(level.at.line));
  }
};

constexpr size_t kMost = 80; // octets of a message that are damaged

Octets cutTo(const Octets& octets, size_t size)
{
  return Octets(octets.begin(), octets.begin() + long(std::min(size, octets.size())));
}

// Forms that a hand-made coder tells apart are reached by a changed bit, and their failures by a cut behind it.
TEST(Origin, OfDecodingIsTheRow)
{
  Judge judge("Dec");
  const std::vector<TestMessage> messages = takenSamples(0);
  for (const TestMessage& message : messages) {
    const size_t size = std::min(message.octets.size(), kMost);
    for (size_t i = 0; i < size; ++i) {
      judge.judge(Decoding(*message.entry, cutTo(message.octets, i)).ctxt);
      for (unsigned change : {1, 2, 4, 8, 16, 32, 64, 128, 255}) {
        Octets damaged = message.octets;
        damaged[i] = uint8_t(damaged[i] ^ change);
        judge.judge(Decoding(*message.entry, damaged).ctxt);
        for (size_t k = i + 1; message.entry->type->hand && k < size; ++k)
          judge.judge(Decoding(*message.entry, cutTo(damaged, k)).ctxt);
      }
    }
  }
  judge.expectGood(5 * messages.size());
}

void encodeAndJudge(Judge& judge, const L3TypeEntry& entry, const Make& make, size_t capacity)
{
  OutcomeContext ctxt;
  void* value = make(ctxt);
  Octets octets(capacity + 1);
  ctxt.bind(octets.data(), capacity);
  if (value) entry.encode(ctxt, value);
  judge.judge(ctxt);
}

TEST(Origin, OfEncodingIsTheRow)
{
  Judge judge("Enc");
  const std::vector<const L3TypeEntry*> types = takenTypes(0);
  for (const L3TypeEntry* each : types) {
    const L3TypeEntry& entry = *each;
    if (!entry.encode) continue;
    auto sample = [&](RtxContext* ctxt) { return sampleValue(entry, ctxt); };
    size_t octets = std::min(sampleOf(entry).size(), kMost);
    for (size_t capacity = 0; capacity < octets; ++capacity) encodeAndJudge(judge, entry, sample, capacity);
    for (uint64_t seed = 1; seed <= 24; ++seed) {
      auto arbitrary = [&](RtxContext* ctxt) {
        Draw draw(seed);
        return ArbitraryRecord(ctxt, draw, 4).make(*entry.type);
      };
      encodeAndJudge(judge, entry, arbitrary, 1 << 12);
      for (size_t capacity = 0; entry.type->hand && capacity < 24; ++capacity)
        encodeAndJudge(judge, entry, arbitrary, capacity);
    }
  }
  judge.expectGood(5 * types.size());
}

} // namespace
