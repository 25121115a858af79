// Reading: files to lines, lines to words, and words to modules, blocks and rows. main.cpp calls readModules for all
// files and then readFile for each. What is left behind is a Model whose types have their rows as they were written;
// names of types and fields are still text, which resolve.cpp looks up.
//
// Every word is accounted for: functions consume the words that they understand, and what is left over at the end of a
// line is refused (readTail). A line that is refused does not end the reading. The rows below it are skipped, or read
// into a type that nobody can name, so that one run tells the faults of all lines.
//
// A block line is not read from left to right. First takeClause, takeTitle, takeHand and takeStandard remove what may
// stand anywhere; the block's own columns are read from what remains:
//
//   element NSSAI "NSSAI" length 8 in 2..144 [9.11.3.37]
//   element NSSAI         length 8 in 2..144               after takeClause and takeTitle
#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>

#include "words.h"

namespace l3gen {

// `S` in module T and `T_S` anywhere are the same table.
template <typename T>
static T* tableNamed(const std::vector<std::unique_ptr<T>>& tables, const Module& from, const std::string& name)
{
  for (auto& table : tables)
    if (table->full == name || table->full == from.name + "_" + name) return table.get();
  return nullptr;
}

Sizes* Model::sizesNamed(const Module& from, const std::string& name) const
{
  return tableNamed(sizes, from, name);
}

Meanings* Model::meaningsNamed(const Module& from, const std::string& name) const
{
  return tableNamed(meanings, from, name);
}

Module* Model::module(const std::string& name)
{
  for (auto& m : modules)
    if (m->name == name) return m.get();
  return nullptr;
}

// `[9.11.3.37]`, or `[24.193 6.1.4.2]` in several words, at the end of a block line. Every block has one, so that
// somebody can lay it beside the standard; the headers quote it.
static void takeClause(Words& w, Type& type)
{
  std::string& last = w.list.back();
  size_t begin = last.back() == ']' ? w.list.size() : 0;
  while (begin > 0 && w.list[begin - 1][0] != '[') --begin;
  w.place.column = begin ? w.list[begin - 1].column : w.end;
  if (begin == 0) refuse(w.place, "a block needs its clause in brackets at the end");
  for (size_t i = begin - 1; i < w.list.size(); ++i) type.clause += (type.clause.empty() ? "" : " ") + w.list[i];
  type.clause = type.clause.substr(1, type.clause.size() - 2);
  w.list.resize(begin - 1);
  if (type.clause.empty()) refuse(w.place, "an empty clause");
}

// The words between the blanks. One that begins with a quotation mark goes on to the word that ends with one, whatever
// blanks it holds; several blanks within it become one.
static std::vector<Word> wordsOf(const std::string& line)
{
  static const char kBlanks[] = " \t\r\v\f";
  std::vector<Word> words;
  size_t end = 0;
  for (size_t begin; (begin = line.find_first_not_of(kBlanks, end)) != std::string::npos;) {
    end = std::min(line.find_first_of(kBlanks, begin), line.size());
    std::string word = line.substr(begin, end - begin);
    bool goesOn = !words.empty() && words.back()[0] == '"' && (words.back().size() == 1 || words.back().back() != '"');
    if (goesOn)
      words.back() += " " + word;
    else
      words.push_back({word, static_cast<int>(begin) + 1});
  }
  return words;
}

// `element A by hand [1]` is refused: a type is by hand if it has a file, so without one its rows would code it.
static std::string noFile(Words& w)
{
  w.place.column = w.end;
  refuse(w.place, "expected the file of the coders by hand");
}

// What may stand on a block line besides its own columns: `by hand FILE` and its kin, `private`, `form F`. Each `i +=`
// passes over the words behind the first one; what is none of these stays in the line, and so does the name of the
// block, which may be `form`.
static void takeHand(Words& w, Type& type)
{
  size_t behindName = std::min<size_t>(w.list.size(), 2);
  std::vector<Word> kept(w.list.begin(), w.list.begin() + static_cast<ptrdiff_t>(behindName));
  for (size_t i = behindName; i < w.list.size(); ++i) {
    auto word = [&](size_t k) { return i + k < w.list.size() ? w.list[i + k] : std::string(); };
    auto file = [&](size_t k) { return i + k < w.list.size() ? word(k) : noFile(w); };
    w.place.column = w.list[i].column;
    if (word(0) == "by" && word(1) == "hand") {
      type.decodeFile = type.encodeFile = file(2);
      i += 2;
    } else if (word(0) == "decode" && word(1) == "by" && word(2) == "hand") {
      type.decodeFile = file(3);
      i += 3;
    } else if (word(0) == "encode" && word(1) == "by" && word(2) == "hand") {
      type.encodeFile = file(3);
      i += 3;
    } else if (word(0) == "private") {
      w.at = i + 1;
      type.words["private"] = readPrivacy(w);
      i = w.at - 1;
      w.at = 0;
    } else if (word(0) == "direct" && word(1) == "by" && word(2) == "hand") {
      type.directByHand = true;
      type.endsAt = word(3) == "ends" ? static_cast<int>(bitCount(w.place, word(4), 8) % 8) : -1;
      i += word(3) == "ends" ? 4 : 2;
    } else if (word(0) == "plain" && word(1) == "by" && word(2) == "hand") {
      type.plainByHand = true;
      i += 2;
    } else if (word(0) == "sample" && word(1) == "by" && word(2) == "hand") {
      type.sampleFile = file(3);
      i += 3;
    } else if (word(0) == "form") {
      bool fixed = word(1) == "TV";
      type.form = fixed ? format("TV %u", bitCount(w.place, word(2), 255)) : word(1);
      if (!fixed && type.form != "TLV" && type.form != "TLV-E" && type.form != "T")
        refuse(w.place, "an unknown form '" + type.form + "'");
      i += fixed ? 2 : 1;
    } else
      kept.push_back(w.list[i]);
  }
  w.list = kept;
}

// Words of a block line that bend its length. They are given to the row of the length, where the engine looks for them.
static constexpr const char* kLengthWords[] = {"full-length", "zero-widens"};

// `length W [bits] [in a..b]` on a block line becomes the first row of the type. An `element` keeps the length as the
// member `length`; a `type` does not, `member` tells.
static void takeLength(Words& w, Type& type, bool member)
{
  if (!w.accept("length")) return;
  Row row;
  row.place = w.place;
  row.name = member ? "length" : "";
  readLength(w, row);
  if (w.accept("in")) row.range = range(w.place, w.take("a range"));
  for (const char* word : kLengthWords)
    if (type.words.count(word)) row.words[word] = "";
  type.rows.push_back(row);
}

// The only row of a type that is one thing: `type Name octets length 8 in 1..9` has all of it on the block line.
static void bareRow(Words& w, Type& type, const std::string& name)
{
  Row row;
  row.place = w.place;
  row.name = name;
  row.what = readWhat(w);
  row.often = readOften(w);
  readTail(w, &row.range, type.words);
  type.rows.push_back(row);
}

// The columns behind the block's name. What they give depends on the block; those with rows of their own (element,
// part, message, pdu, rest) have little here, those that are one thing get their only row.
static void readKind(Words& w, Type& type, const std::string& block)
{
  if (block == "enum" || block == "names") {
    type.kind = block == "enum" ? Kind::Enum : Kind::Names;
    type.padded = type.kind == Kind::Enum && w.accept("L/H");
    if (!type.padded && !w.accept("bits")) refuse(w.place, "expected bits and a width");
    type.bits = type.padded ? 1 : bitCount(w.place, w.take("a width"), 8);
  } else if (block == "type") {
    type.kind = Kind::Bare;
    takeLength(w, type, false);
    bareRow(w, type, "");
  } else if (block == "text") {
    type.kind = Kind::Text;
    Row row;
    row.place = w.place;
    row.what.kind = w.accept("chars") ? WhatKind::Chars : WhatKind::Text;
    row.what.from = kL3Rest;
    if (row.what.kind == WhatKind::Chars) row.what.octets = number(w.place, w.take("a size"));
    type.rows.push_back(row);
  } else if (block == "choice") {
    type.kind = Kind::Bare;
    type.choiceType = true;
    Row row;
    row.place = w.place;
    row.what.kind = WhatKind::Choice;
    readSelector(w, row.what);
    type.rows.push_back(row);
  } else if (block == "message") {
    type.kind = Kind::Message;
    if (w.peek().starts_with("0x")) type.msgType = static_cast<int>(messageType(w));
    if (w.accept("is")) {
      std::string name = checkedName(w.place, w.take("a name"));
      bareRow(w, type, name == "-" ? "" : name);
      type.words["bare"] = "";
    }
  } else if (block == "pdu") {
    type.kind = Kind::Pdu;
  } else {
    type.part = block == "part";
    type.restOctets = block == "rest";
    // Rest octets have no length: they end wherever the octets do.
    if (type.restOctets) return;
    takeLength(w, type, true);
  }
}

// The words that bend rows alone; which rows, is asked in check.cpp.
static const std::set<std::string> kRowWords = {"iei-again", "name-as", "untagged"};

// A block line. The type is in Model::types and byName afterwards, so that the rows below can be added to it.
static Type* readBlock(Model& model, Module* module, Words& w)
{
  static const std::set<std::string> blocks = {"enum", "names",  "type",    "text", "element",
                                               "part", "choice", "message", "pdu",  "rest"};
  std::string block = w.list[0];
  if (!blocks.count(block)) refuse(w.place, "an unknown block '" + block + "'");
  if (!module) refuse(w.place, "a block before the module line");
  auto type = std::make_unique<Type>();
  type->place = w.place;
  type->module = module;
  takeClause(w, *type);
  takeTitle(w, type->title, type->direction);
  if (!type->direction.empty() && block != "message") refuse(w.place, "only a message has a direction");
  takeHand(w, *type);
  type->standard = takeStandard(w);
  w.take("");
  type->name = checkedName(w.place, w.take("a name"));
  if (type->name.find('-') != std::string::npos) refuse(w.place, "a hyphen in a type's name: '" + type->name + "'");
  type->full = module->name + "_" + type->name;
  // readTail will read these words again at the end of the line, but takeLength needs them before.
  for (const char* word : kLengthWords)
    if (std::find(w.list.begin(), w.list.end(), std::string("!") + word) != w.list.end()) type->words[word] = "";
  readKind(w, *type, block);
  // `element A length 8 standard length 16`: it is the length that has another form, so the form moves to its row.
  if (type->standard.kind == Standard::Length && !type->rows.empty()) {
    type->rows[0].standard = type->standard;
    type->standard = {};
  }
  refuseStandard(w.place, type->standard,
                 type->standard.kind == Standard::Ends || type->standard.kind == Standard::ByHand);
  readTail(w, nullptr, type->words);
  for (auto& [word, text] : type->words)
    if (kRowWords.count(word)) refuse(w.place, "'!" + word + "' is not for blocks");
  if (!model.byName.emplace(type->full, type.get()).second) refuse(w.place, "'" + type->name + "' is defined twice");
  model.types.push_back(std::move(type));
  return model.types.back().get();
}

// `sizes Growth [21]`, `meanings Cause [10.5.4.11]`: a table that rows name.
template <typename T> static T* readTable(std::vector<std::unique_ptr<T>>& tables, Module* module, Words& w)
{
  if (!module) refuse(w.place, "a block before the module line");
  Type block;
  takeClause(w, block);
  w.take("");
  auto table = std::make_unique<T>();
  table->place = w.place;
  table->module = module;
  table->full = module->name + "_" + checkedName(w.place, w.take("a name"));
  if (w.more()) refuse(w.place, "not understood: '" + w.peek() + "'");
  tables.push_back(std::move(table));
  return tables.back().get();
}

// `0 = 2`, `1 = 5`, in rising order from 0, because the table that is written has the size for n as its entry n. 255 is
// what an octet of the table can hold, and the count of entries stands in an octet as well (L3Count).
static void addSize(Sizes& sizes, Words& w)
{
  uint32_t entry = number(w.place, w.take("a number"));
  if (!w.accept("=")) refuse(w.place, "expected 'number = size'");
  uint32_t size = number(w.place, w.take("a size"));
  if (w.more()) refuse(w.place, "not understood: '" + w.peek() + "'");
  if (entry != sizes.values.size()) refuse(w.place, format("expected the size for %zu", sizes.values.size()));
  if (size > 255 || entry > 254) refuse(w.place, "a table of sizes holds 255 sizes of at most 255");
  sizes.values.push_back(size);
}

// `17 = "User busy"`. The order rises, since readers halve the table.
static void addMeaning(Meanings& meanings, Words& w)
{
  uint32_t value = number(w.place, w.take("a number"));
  std::string text, none;
  if (w.accept("=")) takeTitle(w, text, none);
  if (text.empty() || w.more()) refuse(w.place, "expected 'number = \"meaning\"'");
  if (!meanings.values.empty() && value <= meanings.values.back().first)
    refuse(w.place, "meanings stand in rising order of their numbers");
  meanings.values.emplace_back(value, text);
}

// The words that may stand on a module line and then hold for every block of it.
static const std::set<std::string> kModuleWords = {"hyphen-encode", "walk"};

// Opens a module, or continues one that another file has opened. What is said twice must be said alike, since file stem
// and words belong to the module and not to the file.
static Module* readModule(Model& model, Words& w)
{
  w.take("");
  std::string name = checkedName(w.place, w.take("a module name"));
  if (!w.accept("file")) refuse(w.place, "expected 'file STEM' in the module line");
  std::string stem = checkedName(w.place, w.take("a file stem"));
  std::string spec = w.accept("spec") ? w.take("a standard") : "";
  while (w.more() && w.peek()[0] != '!') spec += " " + w.take("");
  std::erase(spec, '"');
  std::map<std::string, std::string> words;
  readTail(w, nullptr, words);
  for (auto& [word, value] : words)
    if (!kModuleWords.count(word)) refuse(w.place, "'!" + word + "' is not for modules");
  if (Module* known = model.module(name)) {
    if (known->stem != stem) refuse(w.place, "module '" + name + "' has another file stem elsewhere");
    if (known->words != words) refuse(w.place, "module '" + name + "' has other words elsewhere");
    return known;
  }
  for (auto& other : model.modules)
    if (other->stem == stem) refuse(w.place, "file stem '" + stem + "' belongs to module '" + other->name + "'");
  if (spec.empty()) refuse(w.place, "expected spec and a standard in the module line");
  model.modules.push_back(std::make_unique<Module>(Module{name, stem, spec, words}));
  return model.modules.back().get();
}

// `name = value "its name in the standard"`: a row of an enumeration. Names and values stand once each: a value with
// two names could not be printed, a name with two values not be read back.
static void readValue(Type& type, Words& w)
{
  std::string name = checkedName(w.place, w.take("a name"));
  if (!w.accept("=")) refuse(w.place, "expected 'name = value'");
  uint32_t value = number(w.place, w.take("a value"));
  if (w.peek().starts_with("\"")) {
    std::string none;
    takeTitle(w, type.valueTitles[static_cast<int>(value)], none);
  }
  if (w.more()) refuse(w.place, "not understood: '" + w.peek() + "'");
  if (value >> type.bits) refuse(w.place, format("value %u does not fit in %u bits", value, type.bits));
  for (auto& [other, v] : type.values)
    if (other == name || v == static_cast<int>(value)) refuse(w.place, "a name or value twice: '" + name + "'");
  type.values.emplace_back(name, static_cast<int>(value));
}

// A row of the block, or of the nested type, that is open. Where it goes depends on its first word and on the type.
static void addRow(Model& model, Type& type, Words& w)
{
  if (type.kind == Kind::Enum || type.kind == Kind::Names) return readValue(type, w);
  if (w.list[0] == "|") {
    if (type.rows.empty()) refuse(w.place, "an alternative without a choice");
    What& what = type.rows.back().what;
    if (what.kind != WhatKind::Choice && what.kind != WhatKind::Body)
      refuse(w.place, "an alternative without a choice");
    // The alternatives of a choice are kept with the row of the choice, which is the last row that was read.
    Row row = readAlternative(w, what);
    giveOwnType(model, type, row);
    what.alternatives.push_back(row);
    return;
  }
  if (type.kind == Kind::Bare || type.kind == Kind::Text || type.has("bare"))
    refuse(w.place, "this block takes no rows");
  if (w.list[0] == "standard") {
    type.standardRows.emplace_back(type.rows.size(), readStandardRow(w));
    return;
  }
  Row row = readRow(w);
  giveOwnType(model, type, row);
  type.rows.push_back(row);
}

// A type that rows are being added to, and the columns by which its rows are indented; 0 until its first row says it.
struct Level {
  Type* type;
  size_t indent;
};

// A file that is being read. `levels` has the open block at its bottom and above it, for each deeper indentation, the
// type that the rows there are parts of.
struct Source {
  Model& model;
  Module* module = nullptr;
  std::vector<Level> levels;
  // The open block if it is such a table; `levels` is empty then.
  Sizes* sizes = nullptr;
  Meanings* meanings = nullptr;
  // Rows that are indented deeper than this belong to a line that was refused, and are passed over. SIZE_MAX: none are.
  size_t skipped = SIZE_MAX;
  // That line was no alternative, so the alternatives at its own depth belonged to it and are passed over, too.
  bool choiceLost = false;
  // The module line was refused: nobody knows what the blocks below it are named, so they are passed over.
  bool lost = false;
};

// The first row that stands deeper than the one before it: from here on rows are parts of that one, or, if it is a
// choice, of its last alternative. innerType makes the type that they go into.
//
//   M     component-2   record             last row of the outer type
//     M     x             bits 3           enter() has opened A_component_2
static void enter(Source& source, size_t indent, const Place& place)
{
  Type& type = *source.levels.back().type;
  Row* last = type.rows.empty() ? nullptr : &type.rows.back();
  std::string within;
  if (last && !last->what.alternatives.empty()) {
    within = last->name;
    last = &last->what.alternatives.back();
  }
  Type* inner = last ? innerType(source.model, type, *last, within) : nullptr;
  if (!inner) refuse(place, "this row is indented deeper, but the row before it has no parts");
  source.levels.push_back({inner, indent});
}

// The indentation alone says what a row belongs to. Rows that stand less deep than the innermost level close it; then
// the row must stand exactly as the rows of a level that is still open, or nobody can say what it is a part of:
//
//   M x record
//     M y bits 8
//    M z bits 8        refused: indented like none before it
static void readIndented(Source& source, Words& w, size_t indent)
{
  if (indent > source.skipped || (indent == source.skipped && source.choiceLost && w.list[0] == "|")) return;
  source.skipped = SIZE_MAX;
  if (source.sizes) return addSize(*source.sizes, w);
  if (source.meanings) return addMeaning(*source.meanings, w);
  if (source.levels.empty()) refuse(w.place, "a row without a block");
  bool closed = false;
  for (; source.levels.size() > 1 && indent < source.levels.back().indent; closed = true) source.levels.pop_back();
  Level& level = source.levels.back();
  if (!level.indent) level.indent = indent;
  if (indent < level.indent || (closed && indent > level.indent))
    refuse(w.place, "this row is indented like none before it");
  if (indent > level.indent) enter(source, indent, w.place);
  addRow(source.model, *source.levels.back().type, w);
}

// A line at column 0 opens a module, a table or a block. `skipped` and `lost` are set before the line is read
// and taken back behind it: if it is refused, the exception leaves them set.
static void readLine(Source& source, Words& w, size_t indent)
{
  if (indent) return readIndented(source, w, indent);
  source.levels.clear();
  source.sizes = nullptr;
  source.meanings = nullptr;
  source.skipped = 0;
  source.model.blocks[w.place.file].insert(w.place.line);
  bool opens = w.list[0] == "module";
  if (source.lost && !opens) return;
  source.lost = opens;
  if (opens)
    source.module = readModule(source.model, w);
  else if (w.list[0] == "sizes")
    source.sizes = readTable(source.model.sizes, source.module, w);
  else if (w.list[0] == "meanings")
    source.meanings = readTable(source.model.meanings, source.module, w);
  else
    source.levels.push_back({readBlock(source.model, source.module, w), 0});
  source.skipped = SIZE_MAX;
  source.lost = false;
}

// A line that begins a block was refused. Its name is no fault of those who use it (Model::unread), and its rows are
// read all the same for the faults that they have, into a type that nobody can name: "?0".
static void readOn(Source& source, const Words& w)
{
  if (source.lost) source.model.moduleUnread = true;
  if (source.lost || !source.module || w.list.size() < 2) return;
  source.model.unread.insert(source.module->name + "_" + w.list[1]);
  static const std::set<std::string> withRows = {"element", "part", "message", "rest", "pdu", "enum", "names"};
  // Rows of other blocks cannot be told without their first line: alternatives need their choice.
  if (!withRows.count(w.list[0])) return;
  auto type = std::make_unique<Type>();
  bool values = w.list[0] == "enum" || w.list[0] == "names";
  type->kind = values ? Kind::Enum : w.list[0] == "message" ? Kind::Message : Kind::Record;
  type->bits = 8; // the most that an enumeration can have
  type->module = source.module;
  type->place = w.place;
  type->name = type->full = "?" + std::to_string(source.model.aside.size());
  source.levels.push_back({type.get(), 0});
  source.model.aside.push_back(std::move(type));
  source.skipped = SIZE_MAX;
}

// Reads a file line by line and notes what is refused. With modulesOnly nothing but the module lines is read; they are
// read again in the second pass, where they open the module for the blocks below them.
static void readLines(Model& model, const std::string& path, bool modulesOnly)
{
  std::ifstream in(path);
  std::string shown = path.substr(path.find_last_of('/') + 1);
  if (!in || (in.peek(), in.bad())) model.refusals.push_back({{shown, 0}, "cannot be read"}); // a folder opens, too
  Source source{model, nullptr, {}, nullptr, nullptr, SIZE_MAX};
  std::string line;
  for (int n = 1; std::getline(in, line); ++n) {
    Words w;
    w.list = wordsOf(line);
    w.place = {shown, n, w.list.empty() ? 1 : w.list[0].column};
    w.end = static_cast<int>(line.find_last_not_of(" \t\r") + 2);
    if (w.list.empty() || w.list[0][0] == '#' || (modulesOnly && w.list[0] != "module")) continue;
    // A tabulator counts as one column, as a blank does.
    size_t indent = line.find_first_not_of(" \t");
    try {
      readLine(source, w, indent);
    } catch (const Refusal& r) {
      model.refusals.push_back(r);
      source.skipped = std::min(source.skipped, indent);
      source.choiceLost = w.list[0] != "|";
      if (!indent && !modulesOnly) readOn(source, w);
    }
  }
}

void readModules(Model& model, const std::string& path)
{
  readLines(model, path, true);
}

void readFile(Model& model, const std::string& path)
{
  readLines(model, path, false);
}

} // namespace l3gen
