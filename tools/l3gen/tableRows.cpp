// Writing of the rows of a type's descriptor, and of what a row needs beside itself: one function for each struct that
// L3Row::info may lead to. A row of a definition and what becomes of it:
//
//   room if length!=2   sd   SD
//
//   {AT(char, 42020), TYPE(TS24501IE_SD), {0}, AT(L3Cond, 40), offsetof(TS24501IE_SNSSAI, sd), 82,
//    0, kL3NoBit, kL3UInt, 1, kL3GivenIf, kL3NoLead, 24, 4, 0, 2, kL3Public, 0}
//
// name, type, info, condition, offset of the member, line; presence bit, group's bit, op, room, given, lead, bits on
// the wire, octets of the member, flags, characters of the name, what of it is private.
#include <algorithm>

#include "tables.h"

namespace l3gen {

// A C path: "contents" and "elem" make "contents.elem"; a nameless choice adds nothing.
static std::string join(const std::string& path, const std::string& member)
{
  return path.empty() || member.empty() ? path + member : path + "." + member;
}

// The last two members of structs that test a range; whether they do stands in a member `ranged`.
static std::string limits(const std::optional<Range>& range)
{
  return range ? format("%uU, %uU", range->lo, range->hi) : "0, 0";
}

// The 1 is L3Octets::dataOffset: an inline string begins with its count of 8 bits.
static std::string octetsInfo(TableWriter& w, const Row& row)
{
  const What& what = row.what;
  return w.object("L3Octets",
                  format("%s, %u, %d, %u, %u, 1, {%s}, %s", l3Traits(what.from).symbol, what.bits, row.range ? 1 : 0,
                         what.max, what.octets, w.count(what.count).c_str(), limits(row.range).c_str()));
}

// An L3Text. `chars N` is always coded by hand, so where its size comes from is never asked: kL3Rest stands for it.
static std::string textInfo(TableWriter& w, const Row& row)
{
  const What& what = row.what;
  bool chars = what.kind == WhatKind::Chars;
  return w.object("L3Text", format("%s, %u, %d, %d, %u, %s, %s", chars ? "kL3Rest" : l3Traits(what.from).symbol,
                                   what.bits, what.labels, row.range ? 1 : 0, chars ? what.octets : 0,
                                   w.field(what.count.field).c_str(), limits(row.range).c_str()));
}

// The entry of a list is a row within the L3List. Its offsets count from the start of the entry, so its path is "".
// Where `elem` stands, and how large an entry is, is left to the compiler.
static std::string listInfo(TableWriter& w, const Row& row, const std::string& path)
{
  const Often& often = row.often;
  Row elem;
  elem.place = row.place;
  elem.name = "elem";
  elem.what = row.what;
  elem.range = row.range;
  if (auto at = row.words.find("private"); at != row.words.end()) elem.words.insert(*at);
  std::string entry = rowInit(w, elem, "");
  std::string at = join(path, "elem");
  std::string offset = "static_cast<uint32_t>(" + w.off(at) + " - " + w.off(path) + ")";
  std::string size = "sizeof(static_cast<" + w.type.full + "*>(nullptr)->" + at + "[0])";
  return w.object("L3List",
                  format("%s, %u, %d, %u, %s, %s, {%s}, %s, {%s}", l3Traits(often.end).symbol, often.zeroBits,
                         often.range ? 1 : 0, often.bounded() ? often.range->hi : 0, offset.c_str(), size.c_str(),
                         w.count(often.count).c_str(), limits(often.range).c_str(), entry.c_str()));
}

// The codes of a choice, one for each of its values, and the tree that finds them (none if all codes are alike).
static std::string codesInfo(TableWriter& w, const What& what)
{
  std::vector<std::string> codes, nodes;
  for (auto& alternative : what.alternatives)
    for (auto& code : alternative.codes)
      codes.push_back(format("%uU, 0x%08XU, %zu", codeValue(code), codeMask(code), code.size()));
  for (auto& node : what.nodes)
    nodes.push_back(
        format("%d, %d, 0x%08XU, %d, 0x%08XU", node.padded, node.next[0], node.value[0], node.next[1], node.value[1]));
  std::string codeTable = w.array("L3Code", codes);
  return codeTable + ", " + (nodes.empty() ? kNone : w.array("Rtx3gppAltDetmntNode", nodes)) +
         format(", %zu", nodes.size());
}

std::string fieldTable(TableWriter& w, const std::vector<std::string>& names)
{
  std::vector<std::string> fields;
  for (auto& name : names) {
    // Without its braces, which the array puts around each item.
    std::string field = w.field(name);
    fields.push_back(field.substr(1, field.size() - 2));
  }
  return w.array("L3Field", fields);
}

// An alternative with several values has an entry for each range of them, all with the same t. `count` is that of
// entries, not of alternatives.
static std::string choiceInfo(TableWriter& w, const Row& row, const std::string& path)
{
  const What& what = row.what;
  std::vector<std::string> items;
  std::string unionPath = what.untagged ? path : join(path, "u");
  unsigned tag = 0, count = 0;
  for (auto& alternative : what.alternatives) {
    ++tag;
    std::string init = rowInit(w, alternative, join(unionPath, alternative.member));
    // `else` has no values; the flag behind them says that it takes the rest.
    auto values = alternative.values.empty() ? std::vector<Range>{{0, 0}} : alternative.values;
    for (auto& value : values) {
      items.push_back(format("%uU, %uU, %u, %d, {%s}", value.lo, value.hi, tag, alternative.other, init.c_str()));
      ++count;
    }
  }
  std::string table = w.array("L3Alternative", items);
  std::string selectors = what.fields.empty() ? kNone : fieldTable(w, what.fields);
  std::string size = "sizeof(static_cast<" + w.type.full + "*>(nullptr)->" + unionPath + ")";
  if (unionPath.empty()) size = "sizeof(" + w.type.full + ")";
  std::string codes = what.select == kL3SelectCode ? codesInfo(w, what) : "{0}, {0}, 0";
  return w.object("L3Choice",
                  format("%s, %u, %d, %zu, %u, %uU, %s, %s, %s, %s, %s", l3Traits(what.select).symbol, what.bits,
                         !what.untagged, what.fields.size(), count, what.mask, w.off(unionPath).c_str(), size.c_str(),
                         selectors.c_str(), table.c_str(), codes.c_str()));
}

std::string octetTable(Tables& tables, const std::vector<unsigned>& values)
{
  std::vector<std::string> octets;
  for (unsigned value : values) octets.push_back(std::to_string(value));
  return tables.run("uint8_t", octets);
}

// The messages of a form. A decoder comes from the message type to the first row with it (byType), and from there along
// `next` to the row with the right discriminator; printer and encoder come from t to the row (byTag).
static std::string bodyInfo(TableWriter& w, const Row& row, const std::string& path)
{
  const What& what = row.what;
  std::vector<std::string> items;
  for (size_t i = 0; i < what.alternatives.size(); ++i) {
    const Row& m = what.alternatives[i];
    std::string type = m.what.type ? typePlace(m.what.type->full) : kNone;
    // Found before the item is written, since a row names the one behind it.
    size_t next = i + 1;
    while (next < what.alternatives.size() && what.alternatives[next].msgType != m.msgType) ++next;
    // The row's own title and direction count where it has them, else those of the message's block.
    const Type* told = m.title.empty() ? m.what.type : nullptr;
    std::string name = w.tables.text({"u.obj_" + m.name, told ? told->title : m.title});
    items.push_back(format("%u, 0x%02X, %u, %d, %s, %s, %zu, %d, %d, %u", m.discriminator, m.msgType, m.tag,
                           m.place.line, name.c_str(), type.c_str(), next < what.alternatives.size() ? next + 1 : 0,
                           m.inlined, directionNumber(told ? told->direction : m.direction), m.standard.number));
  }
  std::string rows = w.tables.apart("L3BodyRow", items); // setters find the body by its rows
  unsigned position = 0;
  std::vector<unsigned> byType(256, 0), byTag(256, 0);
  for (auto& m : what.alternatives) {
    ++position;
    if (m.msgType < 256 && !byType[m.msgType]) byType[m.msgType] = position;
    if (m.tag < 256) byTag[m.tag] = position;
  }
  std::string types = octetTable(w.tables, byType), tags = octetTable(w.tables, byTag);
  bool two = what.fields.size() == 2;
  std::string only = what.underOnly ? format("%uU", what.under) : "kL3NoLimit";
  return w.object("L3Body",
                  format("%s, %s, %s, %s, %zu, %s, %s, %s", two ? w.field(what.fields[0]).c_str() : "{0, 0, 0}",
                         w.field(what.fields.back()).c_str(), only.c_str(), w.off(join(path, "u")).c_str(),
                         items.size(), rows.c_str(), types.c_str(), tags.c_str()));
}

// An L3Length. `length 8 in 2..144` of an element is {8, 8, 1, 0, 1, 0, 0, 2U, 144U, 0}: 8 bits that count units of 8
// bits, with a range, cut on encoding, kept in a member, counting from where it stands, nothing to add, the range, and
// 0 means 0.
static std::string lengthInfo(TableWriter& w, const Row& row)
{
  return w.object("L3Length",
                  format("%u, %d, %d, %d, %d, %d, %u, %s, %d", row.number, row.countsBits ? 1 : 8, row.range ? 1 : 0,
                         row.words.count("full-length") != 0, !row.member.empty(), row.fromOctet, row.bias,
                         limits(row.range).c_str(), row.words.count("zero-widens") != 0));
}

// All values of a term have the same number `any`: one of them has to hold. Terms of different numbers all have to.
static std::string condInfo(TableWriter& w, const Row& row)
{
  if (row.cond.empty()) return kNone;
  std::vector<std::string> terms;
  int any = 0;
  for (auto& term : row.cond) {
    for (auto& value : term.values)
      terms.push_back(
          format("%s, %uU, %uU, %d, %d", w.field(term.field).c_str(), value.lo, value.hi, term.negate, any));
    ++any;
  }
  std::string table = w.array("L3Term", terms);
  return w.object("L3Cond", format("%s, %zu", table.c_str(), terms.size()));
}

std::string partName(const Type& type, const Range& part)
{
  return format("part%u_%u_%s", part.lo, part.hi, type.full.c_str());
}

std::string typePlace(const std::string& name)
{
  return "TYPE(" + name + ")";
}

std::string enumPlace(const Type& type)
{
  return "ENUM(" + type.full + ")";
}

// What a row's content gives to its L3Row: the op, what the op needs, the named type, the offset of the member, the
// width on the wire in bits, the store in octets, and the range of a number.
struct Coded {
  const char* op = "kL3Nothing";
  std::string info = kNone, type = kNone, offset = "0";
  unsigned bits = 0, store = 0;
  std::optional<Range> range;
};

// Follows aliases to the bit that is counted. As an octet it is all zeros or ones, or the padding's own bits: 0x2B for
// L and 0xD4, which has each of them reversed, for H.
static std::string unaryInfo(TableWriter& w, const What& what, const std::optional<Range>& range)
{
  const What& counted = what.type ? what.type->rows[0].what : what;
  if (counted.type) return unaryInfo(w, counted, range);
  const char* pattern = "0x00, 0";
  if (counted.repeated == 'L') pattern = "0x2B, 1";
  if (counted.repeated == 'H') pattern = "0xD4, 1";
  if (counted.repeated == '1') pattern = "0xFF, 0";
  return w.object("L3Unary", "{" + limits(range) + "}, " + pattern);
}

// An L3Meanings.
static std::string meaningsInfo(TableWriter& w, const Meanings& meanings)
{
  std::vector<std::string> items;
  for (auto& [value, text] : meanings.values) items.push_back(format("%uU, %s", value, w.tables.text({text}).c_str()));
  return w.object("L3Meanings", format("%zu, %s", items.size(), w.array("L3Meaning", items).c_str()));
}

// A number, with aliases followed: `M x A` codes like the bits that A is in the end. The type is named all the same
// (L3Row::type), unless the row is that of the type itself (scalarRow).
static void codeScalar(TableWriter& w, const Row& row, Coded& c)
{
  Scalar scalar = *scalarOf(row.what);
  c.bits = scalar.bits;
  c.store = storeOf(row.what);
  c.op = scalar.kind == WhatKind::Flag ? "kL3Bool" : "kL3UInt";
  if (row.what.type && row.what.type != &w.type) c.type = typePlace(row.what.type->full);
  c.range = row.range ? row.range : scalar.range;
  if (scalar.kind == WhatKind::Unary) {
    c.op = "kL3Unary";
    c.info = unaryInfo(w, row.what, c.range);
  } else if (c.range) {
    c.info = w.object("L3Range", limits(c.range));
  } else if (scalar.meanings) {
    c.info = meaningsInfo(w, *scalar.meanings);
  }
  if (!scalar.named) return;
  c.op = "kL3Enumerated";
  c.info = enumPlace(*scalar.named);
}

// By what the row is. A list comes first, whatever its entries are.
static Coded code(TableWriter& w, const Row& row, const std::string& path)
{
  Coded c;
  c.offset = w.off(path);
  if (row.often.end != kL3NoList) {
    c.op = "kL3List";
    c.info = listInfo(w, row, path);
    return c;
  }
  if (scalarOf(row.what)) {
    codeScalar(w, row, c);
    return c;
  }
  switch (row.what.kind) {
    case WhatKind::Octets:
      c.op = "kL3Octets";
      c.info = octetsInfo(w, row);
      break;
    case WhatKind::BitString:
      c.op = "kL3BitString";
      c.info = w.object("L3BitString", format("%u, 1, %s, {%s}", row.what.max, l3Traits(row.what.from).symbol,
                                              w.count(row.what.count).c_str()));
      break;
    case WhatKind::Text:
    case WhatKind::Chars:
      c.op = "kL3Text";
      c.info = textInfo(w, row);
      break;
    case WhatKind::Type:
      c.op = row.what.rest ? "kL3TextType" : "kL3Record";
      c.type = typePlace(row.what.type->full);
      if (w.standard && row.standard.kind == Standard::Part)
        c.type = typePlace(partName(*row.what.type, row.standard.part));
      if (row.argument) c.info = w.object("L3Count", w.count(*row.argument));
      break;
    case WhatKind::Choice:
      c.op = "kL3Choice";
      c.info = choiceInfo(w, row, path);
      if (!row.what.untagged) c.offset = w.off(join(path, "t"));
      break;
    case WhatKind::Body:
      c.op = "kL3Body";
      c.info = bodyInfo(w, row, path);
      c.offset = w.off(join(path, "t"));
      break;
    default:
      c.offset = "0";
      break;
  }
  return c;
}

// `!name-as`: pushed and printed under the name of another element. Formats that need each key once take the member's
// name, which stands behind the end of that name.
static bool hasOwnKey(const Row& row)
{
  return row.words.count("name-as") != 0;
}

// Release groups have a name for their presence bit only.
static bool isNamed(const Row& row)
{
  return !row.name.empty() && row.mark != Mark::Release;
}

// A number of 1 to 56 bits that is always there. The walk reads and writes consecutive ones of these without asking
// each row what it is; 56 bits are what one load of 8 octets has from any bit on.
static bool standsInRun(const Row& row, const Coded& c)
{
  bool number =
      c.op == std::string("kL3UInt") || c.op == std::string("kL3Bool") || c.op == std::string("kL3Enumerated");
  bool always = row.given == kL3GivenAlways && row.lead == kL3NoLead && !row.room && row.mBit < 0 && row.groupBit < 0;
  return number && always && c.bits >= 1 && c.bits <= 56;
}

// L3RowFlags. kL3InRun stands alone: a row with any other flag is no plain number.
static std::string rowFlags(const Row& row, const Coded& c)
{
  std::string flags = "0";
  if (row.extLast) flags += " | kL3ExtLast";
  if (ownBits(row)) flags += " | kL3ExtList";
  if (row.inRelease) flags += " | kL3InRelease";
  bool becomesNumber = c.op == std::string("kL3Bool") && row.standard.kind == Standard::Bits;
  if (row.what.wide || becomesNumber) flags += " | kL3Wide";
  auto scalar = row.often.end == kL3NoList ? scalarOf(row.what) : std::nullopt;
  if (scalar && scalar->padded) flags += " | kL3LH";
  if (c.range) flags += " | kL3Ranged";
  if (hasOwnKey(row)) flags += " | kL3OwnKey";
  return flags == "0" && standsInRun(row, c) ? "kL3InRun" : flags;
}

// As L3Row has it: 0xFFFF is no bit.
static std::string bit(int number)
{
  return number < 0 ? "kL3NoBit" : std::to_string(number);
}

// What of the row is private. A type that is one thing says it on its block line for its row; an entry is as its list.
static std::string privacyOf(const TableWriter& w, const Row& row)
{
  bool whole = w.type.kind == Kind::Bare && row.mark == Mark::Element;
  for (const auto* words : {&row.words, whole ? &w.type.words : nullptr})
    if (words)
      if (auto at = words->find("private"); at != words->end()) return at->second;
  return "kL3Public, 0";
}

// The members of L3Row in their order. Marks fill in what they need, elements go through `code`.
std::string rowInit(TableWriter& w, const Row& row, const std::string& path)
{
  Coded c;
  if (row.mark == Mark::Length) {
    c.op = "kL3Length";
    c.info = lengthInfo(w, row);
    c.offset = w.off(row.member);
    c.bits = row.number;
    // The record was made for the first form, whatever width the length has in the second.
    c.store = row.member.empty() ? 0 : storeForBits(row.storedBits ? row.storedBits : row.number);
  } else if (row.mark == Mark::EndLength) {
    c.op = "kL3EndLength";
  } else if (row.mark == Mark::Release) {
    // The engine passes over a group that is not there by counting its rows, which stand behind this one.
    const auto& rows = w.type.rows;
    size_t at = static_cast<size_t>(&row - rows.data()), count = 0;
    while (at + 1 + count < rows.size() && rows[at + 1 + count].inRelease) ++count;
    c.op = "kL3Release";
    c.info = w.object("L3Release", format("%u, %u, %zu", row.number, row.fit, count));
  } else if (row.mark == Mark::Extra) {
    c.op = "kL3Extra";
    c.bits = row.what.bits;
  } else if (row.mark == Mark::Tail) {
    c.op = "kL3Tail";
    c.bits = row.words.count("shifts") != 0;
  } else {
    c = code(w, row, path);
  }
  std::string cond = condInfo(w, row);
  std::vector<std::string> names = {row.name};
  if (hasOwnKey(row)) names.push_back(row.member);
  std::string name = isNamed(row) ? w.tables.text(names) : kNone;
  size_t nameLength = isNamed(row) ? row.name.size() : 0;
  return format("%s, %s, %s, %s, %s, %d, %s, %s, %s, %d, %s, %s, %u, %u, %s, %zu, %s", name.c_str(), c.type.c_str(),
                c.info.c_str(), cond.c_str(), c.offset.c_str(), row.place.line, bit(row.mBit).c_str(),
                bit(row.groupBit).c_str(), c.op, row.room, l3Traits(row.given).symbol, l3Traits(row.lead).symbol,
                c.bits, c.store, rowFlags(row, c).c_str(), nameLength, privacyOf(w, row).c_str());
}

} // namespace l3gen
