// Reading: lines to blocks and rows. Every word is accounted for; what is not understood is refused with its place.
#include <algorithm>
#include <charconv>
#include <fstream>
#include <set>
#include <sstream>

#include "model.h"

namespace l3gen {

Module* Model::module(const std::string& name)
{
  for (auto& m : modules)
    if (m->name == name) return m.get();
  return nullptr;
}

static const std::set<std::string> kWords = {
    "open-decode",   "open-encode", "no-tail",     "shifts",     "untagged",        "early-return",
    "hyphen-encode", "full-length", "null-suffix", "no-decoder", "no-encoder",      "no-printer",
    "no-sample",     "no-init",     "sample",      "name-as",    "octets-argument", "spare-argument"};

// The words of a line, consumed from the left.
struct Words {
  Place place;
  std::vector<std::string> list;
  size_t at = 0;
  bool more() const { return at < list.size(); }
  std::string peek(size_t k = 0) const { return at + k < list.size() ? list[at + k] : ""; }
  std::string take(const char* wanted)
  {
    if (!more()) refuse(place, std::string("expected ") + wanted + " at the end of the line");
    return list[at++];
  }
  bool accept(const char* word)
  {
    if (peek() != word) return false;
    ++at;
    return true;
  }
};

static const std::string& checkedName(const Place& place, const std::string& name)
{
  if (!isWord(name)) refuse(place, "not a name: '" + name + "'");
  return name;
}

static uint32_t number(const Place& place, const std::string& text)
{
  bool hex = text.starts_with("0x");
  const char* begin = text.data() + (hex ? 2 : 0);
  const char* end = text.data() + text.size();
  uint32_t value = 0;
  auto [at, error] = std::from_chars(begin, end, value, hex ? 16 : 10);
  if (error != std::errc() || at != end) refuse(place, "not a number: '" + text + "'");
  return value;
}

static bool isRange(const std::string& text)
{
  size_t dots = text.find("..");
  return dots != std::string::npos && dots > 0 && isdigit(static_cast<unsigned char>(text[0]));
}

static Range range(const Place& place, const std::string& text)
{
  size_t dots = text.find("..");
  Range r;
  r.lo = number(place, text.substr(0, dots));
  r.hi = dots == std::string::npos ? r.lo : number(place, text.substr(dots + 2));
  if (r.lo > r.hi) refuse(place, "a range that begins above its end: '" + text + "'");
  return r;
}

static std::vector<std::string> split(const std::string& text, char by)
{
  std::vector<std::string> parts;
  std::stringstream in(text);
  for (std::string part; std::getline(in, part, by);) parts.push_back(part);
  return parts;
}

static std::vector<Range> ranges(const Place& place, const std::string& text)
{
  std::vector<Range> list;
  for (auto& part : split(text, ',')) list.push_back(range(place, part));
  if (list.empty()) refuse(place, "a list of values is empty");
  return list;
}

static std::vector<Term> condition(const Place& place, const std::string& text)
{
  std::vector<Term> terms;
  for (auto& part : split(text, '&')) {
    Term term;
    size_t eq = part.find('=');
    bool unequal = eq != std::string::npos && eq > 0 && part[eq - 1] == '!';
    term.negate = eq == std::string::npos || unequal;
    term.field = part.substr(0, eq == std::string::npos ? eq : eq - unequal);
    if (term.field.empty()) refuse(place, "a condition without a field: '" + part + "'");
    term.values = eq == std::string::npos ? std::vector<Range>{{0, 0}} : ranges(place, part.substr(eq + 1));
    if (term.negate && term.values.size() > 1) refuse(place, "'!=' takes one value: '" + part + "'");
    terms.push_back(term);
  }
  if (terms.empty()) refuse(place, "a condition is empty");
  return terms;
}

static unsigned bitCount(const Place& place, const std::string& text, unsigned most)
{
  uint32_t bits = number(place, text);
  if (bits < 1 || bits > most) refuse(place, format("a width of %u bits is outside 1 to %u", bits, most));
  return bits;
}

static void readSource(Words& w, What& what)
{
  if (w.accept("rest"))
    what.from = From::Rest;
  else if (w.accept("by")) {
    what.from = From::Field;
    what.field = w.take("a field");
  } else if (w.accept("length")) {
    what.from = From::Own;
    what.bits = bitCount(w.place, w.take("a width"), 16);
  } else if (what.kind == WhatKind::Octets) {
    what.from = From::Fixed;
    what.octets = number(w.place, w.take("a size"));
    if (what.octets < 1 || what.octets > 65535) refuse(w.place, "a size outside 1 to 65535 octets");
  } else {
    refuse(w.place, "expected rest, by or length");
  }
  if (w.accept("max")) what.max = number(w.place, w.take("a bound"));
  if (what.kind == WhatKind::Octets && what.max > 255) refuse(w.place, "an inline string holds at most 255 octets");
}

static void readSelector(Words& w, What& what)
{
  if (w.accept("by")) {
    what.select = Select::Fields;
    what.fields = split(w.take("a field"), ',');
  } else if (w.accept("bits")) {
    what.select = Select::Bits;
    what.bits = bitCount(w.place, w.take("a width"), 16);
  } else if (w.accept("peek")) {
    what.select = Select::Peek;
    what.bits = bitCount(w.place, w.take("a width"), 32);
    if (!w.accept("&")) refuse(w.place, "expected '& MASK' after peek");
    what.mask = number(w.place, w.take("a mask"));
  } else {
    refuse(w.place, "expected by, bits or peek behind choice");
  }
}

static void readBody(Words& w, What& what)
{
  what.kind = WhatKind::Body;
  if (!w.accept("by")) refuse(w.place, "expected 'by' behind body");
  what.fields = split(w.take("a field"), ',');
  if (w.accept("under")) {
    auto terms = condition(w.place, w.take("a field and its value"));
    what.underOnly = true;
    what.under = terms[0].values[0].lo;
    what.fields.insert(what.fields.begin(), terms[0].field);
  }
  if (what.fields.size() > 2) refuse(w.place, "a body has at most two selecting fields");
}

static What readWhat(Words& w)
{
  What what;
  std::string word = w.take("what the element is");
  if (word == "bits") {
    what.kind = WhatKind::Bits;
    what.bits = bitCount(w.place, w.take("a width"), 64);
  } else if (word == "flag") {
    what.kind = WhatKind::Flag;
    what.bits = 1;
  } else if (word == "octets" || word == "ucs2") {
    what.kind = WhatKind::Octets;
    what.wide = word == "ucs2";
    readSource(w, what);
  } else if (word == "bitstring") {
    what.kind = WhatKind::BitString;
    readSource(w, what);
    if (what.from != From::Rest) refuse(w.place, "a bit string runs to the rest of its region");
  } else if (word == "string" || word == "labels") {
    what.kind = WhatKind::Text;
    what.labels = word == "labels";
    readSource(w, what);
  } else if (word == "chars") {
    what.kind = WhatKind::Chars;
    what.octets = number(w.place, w.take("a size"));
    if (what.octets < 2 || what.octets > 255) refuse(w.place, "a character array holds 2 to 255 octets");
  } else if (word == "choice") {
    what.kind = WhatKind::Choice;
    readSelector(w, what);
  } else if (word == "body") {
    readBody(w, what);
  } else if (word == "-") {
    what.kind = WhatKind::Nothing;
  } else {
    what.kind = WhatKind::Type;
    what.typeName = word;
    what.rest = w.accept("rest");
  }
  return what;
}

static Often readOften(Words& w)
{
  Often often;
  if (w.accept("while-room"))
    often.end = End::WhileRoom;
  else if (w.accept("times")) {
    often.end = End::Times;
    often.field = w.take("a count");
    if (w.peek().starts_with("+")) often.bias = static_cast<int>(bitCount(w.place, w.take("").substr(1), 100));
  } else if (w.accept("more-bit"))
    often.end = End::MoreBit;
  else if (w.accept("while-ext"))
    often.end = End::WhileExt;
  else if (w.accept("until-zero")) {
    often.end = End::UntilZero;
    often.zeroBits = bitCount(w.place, w.take("a width"), 8);
  } else
    return often;
  if (isRange(w.peek())) often.range = range(w.place, w.take(""));
  often.heap = w.accept("heap");
  if (often.range && !often.heap && often.range->hi > 255)
    refuse(w.place, "an inline list holds at most 255 entries; add heap");
  if (often.bounded() && often.range->hi == 0) refuse(w.place, "an inline list without room");
  return often;
}

static void readTail(Words& w, std::optional<Range>* r, std::map<std::string, std::string>& words)
{
  while (w.more()) {
    std::string next = w.take("");
    if (next == "in" && r && !*r)
      *r = range(w.place, w.take("a range"));
    else if (next.size() > 1 && next[0] == '!') {
      std::string key = next.substr(1);
      if (!kWords.count(key)) refuse(w.place, "an unknown quirk word '" + next + "'");
      words[key] = key == "name-as" ? checkedName(w.place, w.take("a name")) : "";
    } else
      refuse(w.place, "not understood: '" + next + "'");
  }
}

static bool isIei(const std::string& word)
{
  if (word.size() != 4 || word[0] != '0' || word[1] != 'x' || !isxdigit(static_cast<unsigned char>(word[2])))
    return false;
  return word[3] == '-' || isxdigit(static_cast<unsigned char>(word[3]));
}

static void readWhen(Words& w, Row& row)
{
  std::string word = w.take("when the element is there");
  if (word == "M")
    row.when = When::Always;
  else if (word == "room") {
    row.when = w.accept("0/1") ? When::RoomOptBit : w.accept("ext") ? When::RoomExt : When::Room;
    if (row.when == When::Room && w.accept("if")) row.cond = condition(w.place, w.take("a condition"));
  } else if (word == "0/1")
    row.when = When::OptBit;
  else if (word == "ext")
    row.when = When::Ext;
  else if (word == "more")
    row.when = When::More;
  else if (word == "optional")
    row.when = When::ByHand;
  else if (word == "if" || word == "when") {
    row.when = word == "if" ? When::If : When::WhenCond;
    row.cond = condition(w.place, w.take("a condition"));
  } else if (word == "len") {
    row.when = When::Length;
    row.number = bitCount(w.place, w.take("a width"), 16);
    row.countsBits = w.accept("bits");
    row.fromOctet = w.accept("from-octet");
  } else if (isIei(word)) {
    row.when = When::Iei;
    row.half = word[3] == '-';
    row.number = number(w.place, row.half ? word.substr(0, 3) : word);
  } else
    refuse(w.place, "an unknown first column '" + word + "'");
}

static Row readMark(Words& w)
{
  Row row;
  row.place = w.place;
  std::string word = w.take("");
  if (word == "end-release")
    row.when = When::EndRelease;
  else if (word == "group") {
    row.when = When::Group;
    row.name = checkedName(w.place, w.take("a group's name"));
  } else {
    row.when = When::Release;
    row.number = number(w.place, w.take("a release"));
    row.name = "release" + std::to_string(row.number);
    if (w.accept("fit")) row.fit = number(w.place, w.take("a size in bits"));
  }
  readTail(w, nullptr, row.words);
  return row;
}

static Row readRow(Words& w)
{
  if (w.peek() == "group" || w.peek() == "release" || w.peek() == "end-release") return readMark(w);
  Row row;
  row.place = w.place;
  readWhen(w, row);
  row.name = checkedName(w.place, w.take("a name"));
  if (row.name == "-") row.name.clear();
  if (row.when == When::Length) {
    readTail(w, &row.range, row.words);
    return row;
  }
  row.what = readWhat(w);
  if (w.peek() != "in") row.often = readOften(w);
  readTail(w, &row.range, row.words);
  row.what.untagged = row.words.count("untagged") != 0;
  return row;
}

static Row readAlternative(Words& w, const What& parent)
{
  Row row;
  row.place = w.place;
  w.take("");
  if (parent.kind == WhatKind::Body) {
    if (parent.fields.size() == 2 && !parent.underOnly) row.discriminator = number(w.place, w.take("a discriminator"));
    row.msgType = number(w.place, w.take("a message type"));
    row.name = checkedName(w.place, w.take("a name"));
    row.what = readWhat(w);
    row.tag = number(w.place, w.take("a number"));
  } else {
    if (w.accept("else"))
      row.other = true;
    else
      row.values = ranges(w.place, w.take("values"));
    row.name = checkedName(w.place, w.take("a name"));
    row.what = readWhat(w);
    row.often = readOften(w);
  }
  readTail(w, &row.range, row.words);
  return row;
}

static void takeClause(Words& w, Type& type)
{
  std::string& last = w.list.back();
  if (last.back() != ']') refuse(w.place, "a block needs its clause in brackets at the end");
  size_t begin = w.list.size();
  while (begin > 0 && w.list[begin - 1][0] != '[') --begin;
  if (begin == 0) refuse(w.place, "a block needs its clause in brackets at the end");
  for (size_t i = begin - 1; i < w.list.size(); ++i) type.clause += (type.clause.empty() ? "" : " ") + w.list[i];
  type.clause = type.clause.substr(1, type.clause.size() - 2);
  w.list.resize(begin - 1);
  if (type.clause.empty()) refuse(w.place, "an empty clause");
}

// What may stand on a block line besides its own columns.
static void takeHand(Words& w, Type& type)
{
  std::vector<std::string> kept;
  for (size_t i = 0; i < w.list.size(); ++i) {
    auto word = [&](size_t k) { return i + k < w.list.size() ? w.list[i + k] : std::string(); };
    if (word(0) == "by" && word(1) == "hand") {
      type.decodeFile = type.encodeFile = word(2);
      i += 2;
    } else if ((word(0) == "decode" || word(0) == "encode") && word(1) == "by" && word(2) == "hand") {
      (word(0) == "decode" ? type.decodeFile : type.encodeFile) = word(3);
      i += 3;
    } else if (word(0) == "sample" && word(1) == "by" && word(2) == "hand") {
      type.sampleFile = word(3);
      i += 3;
    } else if (word(0) == "form") {
      bool fixed = word(1) == "TV";
      type.form = fixed ? format("TV %u", bitCount(w.place, word(2), 255)) : word(1);
      if (!fixed && type.form != "TLV" && type.form != "TLV-E" && type.form != "T")
        refuse(w.place, "an unknown form '" + type.form + "'");
      i += fixed ? 2 : 1;
    } else
      kept.push_back(word(0));
  }
  w.list = kept;
}

// `length W [bits] [in a..b]`: a first row; `member` tells whether the record keeps it.
static void takeLength(Words& w, Type& type, bool member)
{
  if (!w.accept("length")) return;
  Row row;
  row.place = w.place;
  row.when = When::Length;
  row.name = member ? "length" : "";
  row.number = bitCount(w.place, w.take("a width"), 16);
  row.countsBits = w.accept("bits");
  row.fromOctet = w.accept("from-octet");
  if (w.accept("in")) row.range = range(w.place, w.take("a range"));
  if (type.words.count("full-length")) row.words["full-length"] = "";
  type.rows.push_back(row);
}

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

static void readKind(Words& w, Type& type, const std::string& block)
{
  if (block == "enum" || block == "names") {
    type.kind = block == "enum" ? Kind::Enum : Kind::Names;
    if (!w.accept("bits")) refuse(w.place, "expected bits and a width");
    type.bits = bitCount(w.place, w.take("a width"), 8);
  } else if (block == "type") {
    type.kind = Kind::Bare;
    takeLength(w, type, false);
    bareRow(w, type, "");
  } else if (block == "text") {
    type.kind = Kind::Text;
    Row row;
    row.place = w.place;
    row.what.kind = w.accept("chars") ? WhatKind::Chars : WhatKind::Text;
    row.what.from = From::Rest;
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
    if (w.peek().starts_with("0x")) type.msgType = static_cast<int>(number(w.place, w.take("")));
    if (w.accept("is")) {
      std::string name = checkedName(w.place, w.take("a name"));
      bareRow(w, type, name == "-" ? "" : name);
      type.words["bare"] = "";
    }
  } else if (block == "pdu") {
    type.kind = Kind::Pdu;
  } else {
    type.part = block == "part";
    takeLength(w, type, true);
  }
}

static Type* readBlock(Model& model, Module* module, Words& w)
{
  static const std::set<std::string> blocks = {"enum", "names",  "type",    "text", "element",
                                               "part", "choice", "message", "pdu"};
  std::string block = w.list[0];
  if (!blocks.count(block)) refuse(w.place, "an unknown block '" + block + "'");
  if (!module) refuse(w.place, "a block before the module line");
  auto type = std::make_unique<Type>();
  type->place = w.place;
  type->module = module;
  takeClause(w, *type);
  takeHand(w, *type);
  w.take("");
  type->name = checkedName(w.place, w.take("a name"));
  if (type->name.find('-') != std::string::npos) refuse(w.place, "a hyphen in a type's name: '" + type->name + "'");
  type->full = module->name + "_" + type->name;
  for (auto& word : w.list)
    if (word == "!full-length") type->words["full-length"] = "";
  readKind(w, *type, block);
  readTail(w, nullptr, type->words);
  if (!model.byName.emplace(type->full, type.get()).second) refuse(w.place, "'" + type->name + "' is defined twice");
  model.types.push_back(std::move(type));
  return model.types.back().get();
}

static Module* readModule(Model& model, Words& w)
{
  w.take("");
  std::string name = checkedName(w.place, w.take("a module name"));
  if (!w.accept("file")) refuse(w.place, "expected 'file STEM' in the module line");
  std::string stem = checkedName(w.place, w.take("a file stem"));
  std::string spec = w.accept("spec") ? w.take("a standard") : "";
  while (w.more()) spec += " " + w.take("");
  std::erase(spec, '"');
  if (Module* known = model.module(name)) {
    if (known->stem != stem) refuse(w.place, "module '" + name + "' has another file stem elsewhere");
    return known;
  }
  for (auto& other : model.modules)
    if (other->stem == stem) refuse(w.place, "file stem '" + stem + "' belongs to module '" + other->name + "'");
  if (spec.empty()) refuse(w.place, "expected spec and a standard in the module line");
  model.modules.push_back(std::make_unique<Module>(Module{name, stem, spec}));
  return model.modules.back().get();
}

static void readValue(Type& type, Words& w)
{
  std::string name = checkedName(w.place, w.take("a name"));
  if (!w.accept("=")) refuse(w.place, "expected 'name = value'");
  uint32_t value = number(w.place, w.take("a value"));
  if (w.more()) refuse(w.place, "not understood: '" + w.peek() + "'");
  if (value >> type.bits) refuse(w.place, format("value %u does not fit in %u bits", value, type.bits));
  for (auto& [other, v] : type.values)
    if (other == name || v == static_cast<int>(value)) refuse(w.place, "a name or value twice: '" + name + "'");
  type.values.emplace_back(name, static_cast<int>(value));
}

static void addRow(Type& type, Words& w)
{
  if (type.kind == Kind::Enum || type.kind == Kind::Names) return readValue(type, w);
  if (w.list[0] == "|") {
    if (type.rows.empty()) refuse(w.place, "an alternative without a choice");
    What& what = type.rows.back().what;
    if (what.kind != WhatKind::Choice && what.kind != WhatKind::Body)
      refuse(w.place, "an alternative without a choice");
    what.alternatives.push_back(readAlternative(w, what));
    return;
  }
  if (type.kind == Kind::Bare || type.kind == Kind::Text || type.has("bare"))
    refuse(w.place, "this block takes no rows");
  type.rows.push_back(readRow(w));
}

// A file under the reader.
struct Source {
  Model& model;
  Module* module = nullptr;
  Type* type = nullptr;
  bool known = true; // false: rows of a block that was refused
};

static void readLine(Source& source, Words& w, bool indented)
{
  if (indented) {
    if (source.type) return addRow(*source.type, w);
    if (source.known) refuse(w.place, "a row without a block");
    return;
  }
  source.type = nullptr;
  source.known = false;
  if (w.list[0] == "module") {
    source.module = readModule(source.model, w);
    source.known = true;
  } else {
    source.type = readBlock(source.model, source.module, w);
  }
}

void readFile(Model& model, const std::string& path)
{
  std::ifstream in(path);
  std::string shown = path.substr(path.find_last_of('/') + 1);
  if (!in) model.refusals.push_back({{shown, 0}, "cannot be read"});
  Source source{model};
  std::string line;
  for (int n = 1; std::getline(in, line); ++n) {
    Words w;
    w.place = {shown, n};
    std::istringstream words(line);
    for (std::string word; words >> word;) w.list.push_back(word);
    if (w.list.empty() || w.list[0][0] == '#') continue;
    try {
      readLine(source, w, line[0] == ' ' || line[0] == '\t');
    } catch (const Refusal& r) {
      model.refusals.push_back(r);
    }
  }
}

} // namespace l3gen
