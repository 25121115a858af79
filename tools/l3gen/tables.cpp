// Writing of the descriptor tables of a module: rows, what they point at, and the types themselves.
#include <algorithm>
#include <numeric>
#include <set>

#include "direct.h"

namespace l3gen {

// Collects the text of one type's tables; objects that rows point at are written before them.
struct TableWriter {
  const Model& model;
  const Type& type;
  std::string out;
  int objects = 0;
  std::string tag; // of the names of tables, behind the type's
  TableWriter(const Model& m, const Type& t) : model(m), type(t) {}
  std::string object(const char* kind, const std::string& init)
  {
    std::string name = format("info%d_%s%s", objects++, type.full.c_str(), tag.c_str());
    out += format("static const %s %s = {%s};\n", kind, name.c_str(), init.c_str());
    return "&" + name;
  }
  std::string array(const char* kind, const std::vector<std::string>& items)
  {
    std::string name = format("info%d_%s%s", objects++, type.full.c_str(), tag.c_str());
    out += format("static const %s %s[] = {", kind, name.c_str());
    for (auto& item : items) out += "\n  {" + item + "},";
    out += "};\n";
    return name;
  }
  std::string off(const std::string& path) const
  {
    return path.empty() ? "0" : "offsetof(" + type.full + ", " + path + ")";
  }
  std::string field(std::string name) const
  {
    if (name.empty()) return "{0, 0, 0}";
    std::string path;
    const Type& holder = *holderOf(type, name);
    const Row* row = findField(holder, name, &path);
    bool length = row->mark == Mark::Length;
    unsigned store = length ? storeForBits(row->number) : storeOf(row->what);
    unsigned bits = length ? row->number : scalarOf(row->what)->bits;
    return format("{offsetof(%s, %s), %u, %u}", holder.full.c_str(), path.c_str(), store, bits);
  }
  std::string count(const Count& count) const
  {
    const Sizes* sizes = count.sizes.empty() ? nullptr : model.sizesNamed(*type.module, count.sizes);
    std::string table = sizes ? "sizes_" + sizes->full : "nullptr";
    return format("%s, %d, %d, %d, %d, %zu, %s", field(count.field).c_str(), count.bias, count.sign, count.argument,
                  count.ofAround(), sizes ? sizes->values.size() : 0, table.c_str());
  }
};

static std::string join(const std::string& path, const std::string& member)
{
  return path.empty() || member.empty() ? path + member : path + "." + member;
}

static std::string limits(const std::optional<Range>& range)
{
  return range ? format("%uU, %uU", range->lo, range->hi) : "0, 0";
}

static std::string rowInit(TableWriter& w, const Row& row, const std::string& path);

static std::string octetsInfo(TableWriter& w, const Row& row)
{
  const What& what = row.what;
  return w.object("L3Octets",
                  format("%s, %u, %d, %u, %u, 1, {%s}, %s", l3Traits(what.from).symbol, what.bits, row.range ? 1 : 0,
                         what.max, what.octets, w.count(what.count).c_str(), limits(row.range).c_str()));
}

static std::string textInfo(TableWriter& w, const Row& row)
{
  const What& what = row.what;
  bool chars = what.kind == WhatKind::Chars;
  return w.object("L3Text", format("%s, %u, %d, %d, %u, %s, %s", chars ? "kL3Rest" : l3Traits(what.from).symbol,
                                   what.bits, what.labels, row.range ? 1 : 0, chars ? what.octets : 0,
                                   w.field(what.count.field).c_str(), limits(row.range).c_str()));
}

static std::string listInfo(TableWriter& w, const Row& row, const std::string& path)
{
  const Often& often = row.often;
  Row elem;
  elem.place = row.place;
  elem.name = "elem";
  elem.what = row.what;
  elem.range = row.range;
  std::string entry = rowInit(w, elem, "");
  std::string at = join(path, "elem");
  std::string offset = "static_cast<uint32_t>(" + w.off(at) + " - " + w.off(path) + ")";
  std::string size = "sizeof(static_cast<" + w.type.full + "*>(nullptr)->" + at + "[0])";
  return w.object("L3List",
                  format("%s, %u, %d, %u, %s, %s, {%s}, %s, {%s}", l3Traits(often.end).symbol, often.zeroBits,
                         often.range ? 1 : 0, often.bounded() ? often.range->hi : 0, offset.c_str(), size.c_str(),
                         w.count(often.count).c_str(), limits(often.range).c_str(), entry.c_str()));
}

// The codes of a choice, entry for entry of its table, and the tree that finds them.
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
  return codeTable + ", " + (nodes.empty() ? "nullptr" : w.array("Rtx3gppAltDetmntNode", nodes)) +
         format(", %zu", nodes.size());
}

static std::string fieldTable(TableWriter& w, const std::vector<std::string>& names)
{
  std::vector<std::string> fields;
  for (auto& name : names) {
    std::string field = w.field(name);
    fields.push_back(field.substr(1, field.size() - 2));
  }
  return w.array("L3Field", fields);
}

static std::string choiceInfo(TableWriter& w, const Row& row, const std::string& path)
{
  const What& what = row.what;
  std::vector<std::string> items;
  std::string unionPath = what.untagged ? path : join(path, "u");
  unsigned tag = 0, count = 0;
  for (auto& alternative : what.alternatives) {
    ++tag;
    std::string init = rowInit(w, alternative, join(unionPath, alternative.member));
    auto values = alternative.values.empty() ? std::vector<Range>{{0, 0}} : alternative.values;
    for (auto& value : values) {
      items.push_back(format("%uU, %uU, %u, %d, {%s}", value.lo, value.hi, tag, alternative.other, init.c_str()));
      ++count;
    }
  }
  std::string table = w.array("L3Alternative", items);
  std::string selectors = what.fields.empty() ? "nullptr" : fieldTable(w, what.fields);
  std::string size = "sizeof(static_cast<" + w.type.full + "*>(nullptr)->" + unionPath + ")";
  if (unionPath.empty()) size = "sizeof(" + w.type.full + ")";
  std::string codes = what.select == kL3SelectCode ? codesInfo(w, what) : "nullptr, nullptr, 0";
  return w.object("L3Choice",
                  format("%s, %u, %d, %zu, %u, %uU, %s, %s, %s, %s, %s", l3Traits(what.select).symbol, what.bits,
                         !what.untagged, what.fields.size(), count, what.mask, w.off(unionPath).c_str(), size.c_str(),
                         selectors.c_str(), table.c_str(), codes.c_str()));
}

// A table of 256 octets, by value.
static std::string byteTable(TableWriter& w, const std::string& name, const std::vector<unsigned>& values)
{
  std::string table = name + "_" + w.type.full + w.tag;
  w.out += "static const uint8_t " + table + "[256] = {";
  for (unsigned value : values) w.out += std::to_string(value) + ",";
  w.out += "};\n";
  return table;
}

static std::string bodyInfo(TableWriter& w, const Row& row, const std::string& path)
{
  const What& what = row.what;
  std::vector<std::string> items;
  for (size_t i = 0; i < what.alternatives.size(); ++i) {
    const Row& m = what.alternatives[i];
    std::string type = m.what.type ? "&l3_" + m.what.type->full : "nullptr";
    size_t next = i + 1;
    while (next < what.alternatives.size() && what.alternatives[next].msgType != m.msgType) ++next;
    const Type* told = m.title.empty() ? m.what.type : nullptr;
    items.push_back(format("%u, 0x%02X, %u, %d, \"u.obj_%s\\0\" \"%s\", %s, %zu, %d, %d, %u", m.discriminator,
                           m.msgType, m.tag, m.place.line, m.name.c_str(), (told ? told->title : m.title).c_str(),
                           type.c_str(), next < what.alternatives.size() ? next + 1 : 0, m.inlined,
                           directionNumber(told ? told->direction : m.direction), m.standard.number));
  }
  std::string second = &row == bodiesOf(w.type)[0] ? "" : "_" + row.member,
              name = "bodies" + second + "_" + w.type.full + w.tag;
  w.out += "static const L3BodyRow " + name + "[] = {";
  for (auto& item : items) w.out += "\n  {" + item + "},";
  w.out += "};\n";
  unsigned position = 0;
  std::vector<unsigned> byType(256, 0), byTag(256, 0);
  for (auto& m : what.alternatives) {
    ++position;
    if (m.msgType < 256 && !byType[m.msgType]) byType[m.msgType] = position;
    if (m.tag < 256) byTag[m.tag] = position;
  }
  std::string types = byteTable(w, "types" + second, byType), tags = byteTable(w, "tags" + second, byTag);
  bool two = what.fields.size() == 2;
  std::string only = what.underOnly ? format("%uU", what.under) : "kL3NoLimit";
  return w.object("L3Body",
                  format("%s, %s, %s, %s, %zu, %s, %s, %s", two ? w.field(what.fields[0]).c_str() : "{0, 0, 0}",
                         w.field(what.fields.back()).c_str(), only.c_str(), w.off(join(path, "u")).c_str(),
                         items.size(), name.c_str(), types.c_str(), tags.c_str()));
}

static std::string lengthInfo(TableWriter& w, const Row& row)
{
  return w.object("L3Length",
                  format("%u, %d, %d, %d, %d, %d, %u, %s, %d", row.number, row.countsBits ? 1 : 8, row.range ? 1 : 0,
                         row.words.count("full-length") != 0, !row.member.empty(), row.fromOctet, row.bias,
                         limits(row.range).c_str(), row.words.count("zero-widens") != 0));
}

static std::string condInfo(TableWriter& w, const Row& row)
{
  if (row.cond.empty()) return "nullptr";
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

static std::string partName(const Type& type, const Range& part)
{
  return format("l3part%u_%u_%s", part.lo, part.hi, type.full.c_str());
}

struct Coded {
  const char* op = "kL3Nothing";
  std::string info = "nullptr", type = "nullptr", offset = "0";
  unsigned bits = 0, store = 0;
  std::optional<Range> range;
};

static std::string unaryInfo(TableWriter& w, const What& what)
{
  const What& counted = what.type ? what.type->rows[0].what : what;
  if (counted.type) return unaryInfo(w, counted);
  switch (counted.repeated) {
    case 'L':
      return w.object("L3Unary", "0x2B, 1");
    case 'H':
      return w.object("L3Unary", "0xD4, 1");
    default:
      return w.object("L3Unary", counted.repeated == '1' ? "0xFF, 0" : "0x00, 0");
  }
}

static void codeScalar(TableWriter& w, const Row& row, Coded& c)
{
  Scalar scalar = *scalarOf(row.what);
  c.bits = scalar.bits;
  c.store = storeOf(row.what);
  c.op = scalar.kind == WhatKind::Flag ? "kL3Bool" : "kL3UInt";
  if (row.what.type && row.what.type != &w.type) c.type = "&l3_" + row.what.type->full;
  c.range = row.range ? row.range : scalar.range;
  if (scalar.kind == WhatKind::Unary) {
    c.op = "kL3Unary";
    c.info = unaryInfo(w, row.what);
  }
  if (!scalar.named) return;
  c.op = "kL3Enumerated";
  c.info = "&l3enum_" + scalar.named->full;
}

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
      c.type = "&l3_" + row.what.type->full;
      if (!w.tag.empty() && row.standard.kind == Standard::Part) c.type = "&" + partName(*row.what.type, row.standard.part);
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

// Pushed and printed under the name of another element: what a record calls it stands behind the name's end.
static bool hasOwnKey(const Row& row)
{
  return row.words.count("name-as") != 0;
}

static std::string rowName(const Row& row)
{
  if (row.name.empty() || row.mark == Mark::Release) return "nullptr";
  return "\"" + row.name + (hasOwnKey(row) ? "\\0\" \"" + row.member : "") + "\"";
}

static std::string rowFlags(const Row& row, const Coded& c)
{
  std::string flags = "0";
  bool extList = row.given == kL3GivenMore && row.what.type && !row.what.type->rows.empty() &&
                 row.what.type->rows.back().often.end == kL3WhileExt;
  if (row.extLast) flags += " | kL3ExtLast";
  if (extList || row.often.end == kL3WhileExt) flags += row.given == kL3GivenMore ? " | kL3ExtList" : "";
  if (row.inRelease) flags += " | kL3InRelease";
  if (row.what.wide) flags += " | kL3Wide";
  auto scalar = row.often.end == kL3NoList ? scalarOf(row.what) : std::nullopt;
  if (scalar && scalar->padded) flags += " | kL3LH";
  if (c.range) flags += " | kL3Ranged";
  if (hasOwnKey(row)) flags += " | kL3OwnKey";
  return flags;
}

static std::string bit(int number)
{
  return number < 0 ? "kL3NoBit" : std::to_string(number);
}

static std::string rowInit(TableWriter& w, const Row& row, const std::string& path)
{
  Coded c;
  if (row.mark == Mark::Length) {
    c.op = "kL3Length";
    c.info = lengthInfo(w, row);
    c.offset = w.off(row.member);
    c.bits = row.number;
    c.store = row.member.empty() ? 0 : storeForBits(row.storedBits ? row.storedBits : row.number);
  } else if (row.mark == Mark::EndLength) {
    c.op = "kL3EndLength";
  } else if (row.mark == Mark::Release) {
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
  std::string name = rowName(row);
  size_t nameLength = name == "nullptr" ? 0 : row.name.size();
  return format("%s, %s, %s, %s, %s, %s, %d, %s, %s, %s, %d, %s, %s, %u, %u, %s, %zu", name.c_str(), c.type.c_str(),
                c.info.c_str(), cond.c_str(), c.offset.c_str(), limits(c.range).c_str(), row.place.line,
                bit(row.mBit).c_str(), bit(row.groupBit).c_str(), c.op, row.room, l3Traits(row.given).symbol,
                l3Traits(row.lead).symbol, c.bits, c.store, rowFlags(row, c).c_str(), nameLength);
}

static std::string writeMessage(TableWriter& w, const std::vector<const Row*>& options)
{
  if (w.type.kind != Kind::Message) return "nullptr";
  std::vector<std::string> ieis;
  std::vector<unsigned> byValue(256, 0), next(options.size() + 1, 0);
  unsigned halves = 0;
  for (size_t i = options.size(); i-- > 0;) {
    unsigned value = options[i]->number;
    next[i] = byValue[value];
    byValue[value] = static_cast<unsigned>(i + 1);
    if (options[i]->half) halves |= 1U << value;
  }
  for (size_t i = 0; i < options.size(); ++i) {
    uint32_t octets = 0;
    std::string skip = skipForm(*options[i], octets);
    const char* how = skip == "length" ? "kL3SkipLength" : skip == "fixed" ? "kL3SkipFixed" : "kL3SkipNothing";
    ieis.push_back(format("0x%02X, %d, %s, %u, %u", options[i]->number, options[i]->half, how, octets, next[i]));
  }
  std::string table = "nullptr", values = "nullptr", rows = "nullptr";
  if (!options.empty()) {
    table = w.array("L3Iei", ieis);
    values = byteTable(w, "ieis", byValue);
    rows = "options_" + w.type.full + w.tag;
  }
  bool tail = options.empty() && !w.type.has("no-tail");
  const std::string& spec = w.type.module->spec; // the standards whose elements may have lengths of two octets
  bool wide = spec == "TS 24.301" || spec == "TS 24.501";
  std::string selecting = "nullptr";
  auto names = selectingOptions(w.type);
  if (!names.empty()) selecting = fieldTable(w, names);
  return w.object("L3Message",
                  format("%s, %s, %s, %zu, 0x%04X, %d, %d, %d, %zu, %s", rows.c_str(), table.c_str(), values.c_str(),
                         options.size(), halves, w.type.has("shifts") + w.type.has("codeset-asked"), tail, wide,
                         names.size(), selecting.c_str()));
}

static std::string writeRows(TableWriter& w, const char* name, const std::vector<const Row*>& rows)
{
  if (rows.empty()) return "nullptr";
  std::vector<std::string> inits;
  bool bare = w.type.kind == Kind::Bare || w.type.has("bare");
  for (auto* row : rows) inits.push_back(rowInit(w, *row, bare ? "" : row->member));
  std::string table = std::string(name) + "_" + w.type.full + w.tag;
  w.out += "static const L3Row " + table + "[] = {\n";
  for (auto& init : inits) w.out += "  {" + init + "},\n";
  w.out += "};\n";
  return table;
}

static Row scalarRow(const Type& type)
{
  Row row;
  row.place = type.place;
  row.what.kind = WhatKind::Type;
  row.what.type = const_cast<Type*>(&type);
  return row;
}

static std::string typeFlags(const Type& type)
{
  std::string flags = "0";
  bool bare = type.kind == Kind::Bare || type.kind == Kind::Enum || type.kind == Kind::Names ||
              type.kind == Kind::Text || type.has("bare");
  bool text =
      !type.rows.empty() && type.rows.back().what.kind == WhatKind::Text && type.rows.back().often.end == kL3NoList;
  if (bare) flags += " | kL3Bare";
  if (bare && text) flags += " | kL3Pointer";
  if (type.choiceType) flags += " | kL3IsChoice";
  if (type.restOctets) flags += " | kL3RestOctets";
  if (type.isPrivate) flags += " | kL3Private";
  if (!type.rows.empty() && type.rows.back().mark == Mark::Padding) flags += " | kL3Padded";
  if (type.kind == Kind::Message) flags += " | kL3IsMessage";
  if (type.kind == Kind::Pdu) flags += " | kL3IsPdu";
  if (type.has("early-return")) flags += " | kL3EarlyReturn";
  bool whole = hasBodyDirect(type) || type.plainByHand;
  if (whole || (hasDirect(type) && type.decodeFile.empty())) flags += " | kL3DecAtOnce";
  if (whole || (hasDirect(type) && type.encodeFile.empty())) flags += " | kL3EncAtOnce";
  return flags;
}

static std::string writeHand(TableWriter& w)
{
  const Type& type = w.type;
  if (type.decodeFile.empty() && type.encodeFile.empty() && type.sampleFile.empty()) return "nullptr";
  std::string dec = "nullptr", enc = "nullptr", args = "(L3Call& call, const L3Type& type, void* value);\n";
  if (!type.decodeFile.empty()) w.out += "int " + (dec = "l3Dec_" + type.full) + args;
  if (!type.encodeFile.empty()) w.out += "int " + (enc = "l3Enc_" + type.full) + args;
  std::string settle = "nullptr";
  if (!type.sampleFile.empty()) w.out += "bool " + (settle = "l3Settle_" + type.full) + "(RtxContext*, void* value);\n";
  std::string plain = "nullptr";
  if (type.plainByHand) {
    w.out += "extern const L3Plain l3Plain_" + type.full + ";\n";
    plain = "&l3Plain_" + type.full;
  }
  return w.object("L3Hand", dec + ", " + enc + ", " + settle + ", " + plain);
}

static std::string hyphens(std::string name)
{
  std::replace(name.begin(), name.end(), '_', '-');
  return name;
}

static std::string direct(const Type& type, bool encoder)
{
  bool direct = hasDirect(type) || hasBodyDirect(type);
  return direct ? (encoder ? "l3DirectEnc_" : "l3DirectDec_") + type.full : "nullptr";
}

// The rows in the standard's form.
static std::vector<Row> standardRows(const Type& type)
{
  std::vector<Row> rows;
  auto addOwn = [&](size_t before) {
    for (auto& [place, row] : type.standardRows)
      if (place == before) {
        rows.push_back(row);
        rows.back().mark = Mark::Extra;
      }
  };
  for (size_t i = 0; i < type.rows.size(); ++i) {
    addOwn(i);
    Row row = type.rows[i];
    if (row.standard.kind == Standard::Absent) continue;
    if (row.standard.kind == Standard::Bits) {
      row.what = What{};
      row.what.kind = WhatKind::Bits;
      row.what.bits = row.standard.number;
      row.range.reset();
    }
    if (row.standard.kind == Standard::Length) {
      row.storedBits = row.number;
      row.number = row.standard.number;
      row.words.erase("zero-widens");
      row.words["full-length"] = "";
    }
    rows.push_back(row);
  }
  addOwn(type.rows.size());
  return rows;
}

// The second form of a type: its rows, and coders by hand that know it.
static std::string writeStandard(const Model& model, const Type& type, const std::string& names, size_t encNameAt)
{
  Type form = type;
  form.rows = standardRows(type);
  TableWriter w(model, form);
  w.tag = "_standard";
  std::vector<const Row*> rows, options;
  for (auto& row : form.rows)
    if (row.mark != Mark::Group && row.mark != Mark::EndRelease && row.mark != Mark::Padding)
      (row.isIei() ? options : rows).push_back(&row);
  std::string table = writeRows(w, "rows", rows);
  writeRows(w, "options", options);
  std::string message = writeMessage(w, options), hand = "nullptr", flags = typeFlags(type);
  if (type.standard.kind == Standard::ByHand) {
    std::string args = "(L3Call& call, const L3Type& type, void* value);\n", stem = type.full + "_standard";
    w.out += "int l3Dec_" + stem + args + "int l3Enc_" + stem + args;
    hand = w.object("L3Hand", "l3Dec_" + stem + ", l3Enc_" + stem + ", nullptr, nullptr");
  }
  if (type.standard.kind == Standard::Ends) flags += " | kL3EndsAnywhere";
  w.out += format("static const L3Type standard_%s = {\"%s\", &file_%s, %s, %s, %s,\n  sizeof(%s), %zu, %d, %d, "
                  "%s, %zu, %zu, %d, nullptr, nullptr, nullptr};\n\n",
                  type.full.c_str(), names.c_str(), cName(fileStem(type)).c_str(), table.c_str(), message.c_str(),
                  hand.c_str(), type.full.c_str(), rows.size(), type.place.line, (type.mBits + 7) / 8, flags.c_str(),
                  type.full.size() - type.name.size(), encNameAt, type.mBits);
  return w.out;
}

// Some of a type's rows, for rows that have no more of it in the standard's form.
static std::string writeParts(const Type& type)
{
  std::string out;
  for (auto& [lo, hi] : type.parts)
    out +=
        format("extern const L3Type %s = {\"%s\", &file_%s, rows_%s + %u, nullptr, nullptr, sizeof(%s), %u, %d, 0, 0, "
               "%zu, %zu, 0, nullptr, nullptr, nullptr};\n",
               partName(type, {lo, hi}).c_str(), type.full.c_str(), cName(fileStem(type)).c_str(), type.full.c_str(),
               lo - 1, type.full.c_str(), hi - lo + 1, type.place.line, type.full.size() - type.name.size(),
               type.full.size() - type.name.size());
  return out;
}

static std::string writeType(const Model& model, const Type& type)
{
  TableWriter w(model, type);
  std::vector<const Row*> rows, options;
  Row scalar = scalarRow(type);
  for (auto& row : type.rows) {
    bool mark = row.mark == Mark::Group || row.mark == Mark::EndRelease || row.mark == Mark::Padding;
    if (!mark) (row.isIei() ? options : rows).push_back(&row);
  }
  bool number = type.kind == Kind::Enum || type.kind == Kind::Names;
  if (number) rows = {&scalar};
  std::string table = writeRows(w, "rows", rows);
  writeRows(w, "options", options);
  std::string message = writeMessage(w, options);
  std::string hand = writeHand(w);
  size_t nameAt = type.full.size() - type.name.size(), encNameAt = nameAt;
  std::string names = type.full;
  if (type.has("hyphen-encode")) {
    encNameAt = type.full.size() + 1;
    names += "\\0" + hyphens(type.name);
  }
  bool second = type.needsStandard();
  if (second) w.out += writeStandard(model, type, names, encNameAt);
  std::string standard = second ? "&standard_" + type.full : "nullptr";
  w.out += format("extern const L3Type l3_%s = {\"%s\", &file_%s, %s, %s, %s,\n  sizeof(%s), %zu, %d, %d, "
                  "%s, %zu, %zu, %d, %s, %s, %s};\n\n",
                  type.full.c_str(), names.c_str(), cName(fileStem(type)).c_str(), table.c_str(), message.c_str(),
                  hand.c_str(), type.full.c_str(), rows.size(), type.place.line, (type.mBits + 7) / 8,
                  typeFlags(type).c_str(), nameAt, encNameAt, type.mBits, direct(type, false).c_str(),
                  direct(type, true).c_str(), standard.c_str());
  return w.out + writeParts(type);
}

static std::string writeEnum(const Type& type)
{
  auto byName = type.values;
  std::sort(byName.begin(), byName.end());
  std::vector<int> rising;
  for (auto& [name, value] : type.values) rising.push_back(value);
  std::sort(rising.begin(), rising.end());
  bool gapless = rising.back() - rising.front() + 1 == static_cast<int>(rising.size());
  bool open = type.kind == Kind::Names;
  std::string table = type.full + (open ? "_names" : "_ENUMTAB"), out;
  out += open ? "static const RtxEnumItem " : "extern \"C\" const RtxEnumItem ";
  out += table + format("[%zu] = {\n", byName.size());
  for (size_t i = 0; i < byName.size(); ++i) {
    auto at = std::find_if(byName.begin(), byName.end(), [&](auto& row) { return row.second == rising[i]; });
    out += format("  {\"%s\", %d, %zu, %d},\n", byName[i].first.c_str(), byName[i].second, byName[i].first.size(),
                  static_cast<int>(at - byName.begin()));
  }
  uint32_t members[8] = {};
  for (int value : rising) members[value >> 5] |= 1U << (value & 31);
  out += "};\n";
  std::string titles = "nullptr";
  if (!type.valueTitles.empty()) {
    titles = type.full + "_titles";
    out += "static const char* const " + titles + "[] = {";
    for (int value : rising) {
      auto title = type.valueTitles.find(value);
      auto own = std::find_if(byName.begin(), byName.end(), [&](auto& row) { return row.second == value; });
      out += "\"" + (title == type.valueTitles.end() ? own->first : title->second) + "\", ";
    }
    out += "};\n";
  }
  out +=
      format("extern const L3Enum l3enum_%s = {%s, %zu, %u, %d, %d, %d, %d, {", type.full.c_str(), table.c_str(),
             byName.size(), type.bits, open || type.has("open-decode"), open || type.has("open-encode"), open, gapless);
  for (uint32_t word : members) out += format("0x%08XU, ", word);
  return out + "}, " + titles + "};\n";
}

static std::string writeSource(const std::string& stem)
{
  return "static constexpr L3Module file_" + cName(stem) + " = {\"" + stem + "Dec\", \"" + stem + "Enc\"};\n";
}

static std::string writeSizes(const Sizes& sizes)
{
  std::string out = "extern const uint8_t sizes_" + sizes.full + "[] = {";
  for (unsigned value : sizes.values) out += std::to_string(value) + ", ";
  return out + "};\n";
}

std::string writeTables(Model& model, const Module& module)
{
  std::string out = "// Descriptor tables of module " + module.name + ". Generated; change the definitions instead.\n";
  out += "#include <cstddef>\n\n#include \"L3Descriptors.h\"\n#include \"velnor3gpp/" + module.stem + ".h\"\n\n";
  // Error records name the definition file, so that their lines lead to a row.
  std::set<std::string> stems;
  for (auto& type : model.types)
    if (type->module == &module && stems.insert(fileStem(*type)).second) out += writeSource(fileStem(*type));
  for (auto& sizes : model.sizes)
    if (sizes->module == &module) out += writeSizes(*sizes);
  out += "\n";
  for (auto& type : model.types)
    if (type->module == &module && !type->values.empty()) out += writeEnum(*type);
  out += "\n";
  for (auto& type : model.types)
    if (type->module == &module) out += writeType(model, *type);
  return out;
}

} // namespace l3gen
