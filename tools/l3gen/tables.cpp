// Writing of the descriptors of types, messages and enumerations, and of the file L3Tables.cpp as a whole (writeTables
// at the end). tables.h says how the tables hang together; tableRows.cpp writes the rows. For each type
//
//   writeType
//     writeHand       coders by hand, if there are any
//     writeForm       rows, optional rows, L3Message, and then the L3Type that names them
//     writeStandard   the same once more for a second form
//     writeParts      an L3Type for each group of rows that others take for the whole in the second form
//
// The order of `types` must be that in which writeDescriptors (write.cpp) gives out the numbers.
#include <algorithm>

#include "tables.h"

namespace l3gen {

std::string placeOf(const char* kind, size_t number)
{
  return format("AT(%s, %zu)", kind, number);
}

std::string Tables::apart(const char* kind, const std::vector<std::string>& items)
{
  auto& all = kinds[kind].items;
  all.insert(all.end(), items.begin(), items.end());
  return placeOf(kind, all.size() - items.size());
}

// Most descriptions of strings, lists and lengths are alike, so a run is looked for before it is written.
std::string Tables::run(const char* kind, const std::vector<std::string>& items)
{
  std::string key;
  for (auto& item : items) key += item + "\n";
  auto [at, fresh] = kinds[kind].runs.emplace(key, kinds[kind].items.size());
  return fresh ? apart(kind, items) : placeOf(kind, at->second);
}

std::string Tables::text(const std::vector<std::string>& parts)
{
  return placeOf("char", names.place(parts));
}

// An L3Message: how the optional elements of a message are found by their IEIs. For two elements 0x12 and one of 0x3-
//
//   ieis      {0x12, 0, ..., 2} {0x12, 0, ..., 0} {0x03, 1, ..., 0}    at the end the next of the same IEI, or 0
//   byValue   [0x12] = 1, [0x03] = 3, all others 0                     the first of an IEI, counted from 1
//   halves    0x0008                                                   bit 3: 0x3- is a half octet
static std::string writeMessage(TableWriter& w, const std::string& rows, const std::vector<const Row*>& options)
{
  if (w.type.kind != Kind::Message) return kNone;
  std::vector<std::string> ieis;
  std::vector<unsigned> byValue(256, 0), next(options.size() + 1, 0);
  unsigned halves = 0;
  // From the last to the first: each finds the one behind it in byValue and takes its place.
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
  std::string table = kNone, values = kNone;
  if (!options.empty()) {
    table = w.array("L3Iei", ieis);
    values = octetTable(w.tables, byValue);
  }
  // Without optional elements of its own a message passes over whatever stands behind its rows, unless it says
  // `!no-tail`.
  bool tail = options.empty() && !w.type.has("no-tail");
  const std::string& spec = w.type.module->spec; // the standards whose elements may have lengths of two octets
  // The standards whose unknown elements from 0x78 to 0x7F have a length of two octets.
  bool wide = spec == "TS 24.301" || spec == "TS 24.501";
  std::string selecting = kNone;
  auto names = selectingOptions(w.type);
  if (!names.empty()) selecting = fieldTable(w, names);
  return w.object("L3Message",
                  format("%s, %s, %s, %zu, 0x%04X, %d, %d, %d, %zu, %s", rows.c_str(), table.c_str(), values.c_str(),
                         options.size(), halves, w.type.has("shifts") + w.type.has("codeset-asked"), tail, wide,
                         names.size(), selecting.c_str()));
}

// Rows of a type stand side by side and in their order, and are never shared with those of another type, since rows are
// told apart by where they stand (docs/adr/0008).
static std::string writeRows(TableWriter& w, const std::vector<const Row*>& rows)
{
  if (rows.empty()) return kNone;
  std::vector<std::string> inits;
  bool bare = w.type.kind == Kind::Bare || w.type.has("bare");
  for (auto* row : rows) inits.push_back(rowInit(w, *row, bare ? "" : row->member));
  return w.tables.apart("L3Row", inits);
}

// An enumeration has no row of its own; as a type for itself it has one element, of itself.
static Row scalarRow(const Type& type)
{
  Row row;
  row.place = type.place;
  row.what.kind = WhatKind::Type;
  row.what.type = const_cast<Type*>(&type);
  return row;
}

// L3TypeFlags. The last two say that a whole call may begin with the direct coder, without names and regions; of a type
// by hand that is so if it is a form whose body has direct coders, or if its file tells what is plain.
// Does it hold a value that a decoder can refuse?
static bool hasEnumeration(const Type& type)
{
  if (type.kind == Kind::Enum) return true;
  return std::any_of(type.rows.begin(), type.rows.end(),
                     [](const Row& row) { return row.what.type && hasEnumeration(*row.what.type); });
}

// All that the type holds. Of octets alone there may be less (privacyOf).
static bool isWhollyPrivate(const Type& type)
{
  auto at = type.words.find("private");
  return at != type.words.end() && at->second == kWhollyPrivate;
}

static std::string typeFlags(const Type& type)
{
  std::string flags = "0";
  if (leadingLength(type) || (fixedBits(type) && hasEnumeration(type))) flags += " | kL3Framed";
  bool bare = type.kind == Kind::Bare || type.kind == Kind::Enum || type.kind == Kind::Names ||
              type.kind == Kind::Text || type.has("bare");
  bool text =
      !type.rows.empty() && type.rows.back().what.kind == WhatKind::Text && type.rows.back().often.end == kL3NoList;
  if (bare) flags += " | kL3Bare";
  if (bare && text) flags += " | kL3Pointer";
  if (type.choiceType) flags += " | kL3IsChoice";
  if (type.restOctets) flags += " | kL3RestOctets";
  if (isWhollyPrivate(type)) flags += " | kL3Private";
  if (!type.rows.empty() && type.rows.back().mark == Mark::Padding) flags += " | kL3Padded";
  if (type.kind == Kind::Message) flags += " | kL3IsMessage";
  if (type.kind == Kind::Pdu) flags += " | kL3IsPdu";
  if (type.has("early-return")) flags += " | kL3EarlyReturn";
  bool whole = hasBodyDirect(type) || type.plainByHand;
  if (whole || (hasDirect(type) && type.decodeFile.empty())) flags += " | kL3DecAtOnce";
  if (whole || (hasDirect(type) && type.encodeFile.empty())) flags += " | kL3EncAtOnce";
  return flags;
}

// L3Hand names functions, so it cannot lie in l3Tables; it becomes a constant of its own.
static std::string handOf(TableWriter& w, const std::string& name, const std::string& init)
{
  w.tables.before += "static const L3Hand hand_" + name + " = {" + init + "};\n";
  return "&hand_" + name;
}

// Declares the functions that src2 defines for the type, and gives the L3Hand with them:
//
//   element A by hand File [1]      int l3Dec_T_A(L3Call& call, const L3Type& type, void* value);
//                                   int l3Enc_T_A(L3Call& call, const L3Type& type, void* value);
//                                   static const L3Hand hand_T_A = {l3Dec_T_A, l3Enc_T_A, nullptr, nullptr};
static std::string writeHand(TableWriter& w)
{
  const Type& type = w.type;
  if (type.decodeFile.empty() && type.encodeFile.empty() && type.sampleFile.empty()) return "nullptr";
  std::string dec = "nullptr", enc = "nullptr", args = "(L3Call& call, const L3Type& type, void* value);\n";
  if (!type.decodeFile.empty()) w.tables.before += "int " + (dec = "l3Dec_" + type.full) + args;
  if (!type.encodeFile.empty()) w.tables.before += "int " + (enc = "l3Enc_" + type.full) + args;
  std::string settle = "nullptr";
  if (!type.sampleFile.empty())
    w.tables.before += "bool " + (settle = "l3Settle_" + type.full) + "(RtxContext*, void* value);\n";
  std::string plain = "nullptr";
  if (type.plainByHand) {
    w.tables.before += "extern const L3Plain l3Plain_" + type.full + ";\n";
    plain = "&l3Plain_" + type.full;
  }
  return handOf(w, type.full, dec + ", " + enc + ", " + settle + ", " + plain);
}

// `!hyphen-encode`: the encoder pushes PDU-SM where the decoder pushes PDU_SM.
static std::string hyphens(std::string name)
{
  std::replace(name.begin(), name.end(), '_', '-');
  return name;
}

// The direct coder that the descriptor names. For a type with direct coders by hand that is none: direct coders of
// other types call them by their names, and only those of forms (hasBodyDirect) begin a call.
static std::string direct(const Type& type, bool encoder)
{
  bool direct = hasDirect(type) || hasBodyDirect(type);
  return direct ? (encoder ? "l3DirectEnc_" : "l3DirectDec_") + type.full : "nullptr";
}

// The rows in the standard's form: those with `standard` changed or left out, and those that only this form has put in
// between as Mark::Extra. Members are the same, so a length keeps the store of the first form (storedBits).
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

// Error records name the definition file and the coder, "TS24501IESSessionDec", so that their lines lead to a row
// (docs/adr/0006).
static std::string modulePlace(Tables& tables, const Type& type)
{
  std::string stem = fileStem(type), decoder = tables.text({stem + "Dec"}), encoder = tables.text({stem + "Enc"});
  return tables.run("L3Module", {decoder + ", " + encoder});
}

// One L3Type. Its two names, as decoder and encoder push them, are places within one text: behind the module's name in
// "TS24501IE_SNSSAI", and with `!hyphen-encode` behind the end of that text.
static std::string writeDescriptor(Tables& tables, const Type& type, const std::string& rows, size_t rowCount,
                                   const std::string& rest, const std::string& codes)
{
  size_t nameAt = type.full.size() - type.name.size(), encNameAt = nameAt;
  std::vector<std::string> names = {type.full};
  if (type.has("hyphen-encode")) {
    encNameAt = type.full.size() + 1;
    names.push_back(hyphens(type.name));
  }
  std::string name = tables.text(names), module = modulePlace(tables, type); // in this order whatever the compiler
  auto known = tables.known.find(type.full);
  std::string place = known == tables.known.end() ? "kL3Unlisted" : format("%zu", known->second);
  return format("%s, %s, %s, sizeof(%s), %zu, %d, %zu, %zu, %s, %s, %s", name.c_str(), module.c_str(), rows.c_str(),
                type.full.c_str(), rowCount, type.place.line, nameAt, encNameAt, rest.c_str(), place.c_str(),
                codes.c_str());
}

// Writes rows, optional rows and the message of one form of a type, and then its descriptor. Marks that say nothing to
// the walk have no row: a group's bit stands in the rows of the group, and padding is a flag of the type. Returns the
// number of the first row, by which writeParts finds the others.
static size_t writeForm(TableWriter& w, const std::string& flags, const std::string& standard, const std::string& codes)
{
  const Type& type = w.type;
  std::vector<const Row*> rows, options;
  Row scalar = scalarRow(type);
  for (auto& row : type.rows)
    if (row.mark != Mark::Group && row.mark != Mark::EndRelease && row.mark != Mark::Padding)
      (row.isIei() ? options : rows).push_back(&row);
  if (type.kind == Kind::Enum || type.kind == Kind::Names) rows = {&scalar};
  size_t firstRow = w.tables.kinds["L3Row"].items.size();
  std::string table = writeRows(w, rows), optional = writeRows(w, options);
  std::string rest = format("%d, %s, %d, %s, %s", (type.mBits + 7) / 8, flags.c_str(), type.mBits,
                            writeMessage(w, optional, options).c_str(), standard.c_str());
  w.tables.types.push_back(writeDescriptor(w.tables, type, table, rows.size(), rest, codes));
  return firstRow;
}

// The second form of a type: its rows, and coders by hand that know it. It has no direct coder, since those leave calls
// that ask for the standard's form to the walk.
static void writeStandard(const Model& model, const Type& type, Tables& tables)
{
  Type form = type;
  form.rows = standardRows(type);
  TableWriter w(model, form, tables);
  w.standard = true;
  std::string hand = "nullptr", flags = typeFlags(type);
  if (type.standard.kind == Standard::ByHand) {
    std::string args = "(L3Call& call, const L3Type& type, void* value);\n", stem = type.full + "_standard";
    tables.before += "int l3Dec_" + stem + args + "int l3Enc_" + stem + args;
    hand = handOf(w, stem, "l3Dec_" + stem + ", l3Enc_" + stem + ", nullptr, nullptr");
  }
  if (type.standard.kind == Standard::Ends) flags += " | kL3EndsAnywhere";
  writeForm(w, flags, kNone, hand + ", nullptr, nullptr");
}

// Some of a type's rows, for those who have no more of it in the standard's form. The rows are those of the type
// itself.
static void writeParts(const Type& type, size_t firstRow, Tables& tables)
{
  for (auto& [lo, hi] : type.parts)
    tables.types.push_back(writeDescriptor(tables, type, placeOf("L3Row", firstRow + lo - 1), hi - lo + 1,
                                           "0, 0, 0, {0}, {0}", "nullptr, nullptr, nullptr"));
}

// A row may name a type that is written later: TYPE(...) goes by the number that L3Descriptors.h gives it.
static void writeType(const Model& model, const Type& type, Tables& tables)
{
  TableWriter w(model, type, tables);
  std::string codes = writeHand(w) + ", " + direct(type, false) + ", " + direct(type, true);
  bool second = type.needsStandard();
  size_t firstRow = writeForm(w, typeFlags(type), second ? typePlace("standard_" + type.full) : kNone, codes);
  if (second) writeStandard(model, type, tables);
  writeParts(type, firstRow, tables);
}

// An L3Enum, and the table of names that it and callers use. The table is sorted by name, for looking names up; its
// last column leads from a value to its name: row i has the place of the i-th lowest value.
//
//   enum E bits 2          {"high", 2, 4, 1},     name, value, octets of the name; the lowest value is at place 1
//     low = 1              {"low", 1, 3, 0},      the next one at place 0
//     high = 2
static void writeEnum(const Type& type, Tables& tables)
{
  auto byName = type.values;
  std::sort(byName.begin(), byName.end());
  std::vector<int> rising;
  for (auto& [name, value] : type.values) rising.push_back(value);
  std::sort(rising.begin(), rising.end());
  // Then the engine takes value minus lowest for i and need not search.
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
  // A bit for each value that is a member: the test of a decoded value is one load and one shift.
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
  tables.before += out;
  std::string set = format("%s, %zu, %u, %d, %d, %d, %d, {", table.c_str(), byName.size(), type.bits,
                           open || type.has("open-decode"), open || type.has("open-encode"), open, gapless);
  for (uint32_t word : members) set += format("0x%08XU, ", word);
  tables.enums.push_back(set + "}, " + titles);
}

// An array with an item in a line; numbers stand side by side, without braces of their own.
static std::string braced(const std::vector<std::string>& items, bool numbers = false)
{
  std::string out = "{";
  for (auto& item : items) out += numbers ? item + "," : "\n  {" + item + "},";
  return out + "}";
}

// The file is put together when all types have been gone through, because the sizes of the arrays stand in front of
// them.
std::string writeTables(Model& model)
{
  Tables tables;
  for (auto* type : knownTypes(model)) tables.known.emplace(type->full, tables.known.size());
  for (auto& type : model.types)
    if (!type->values.empty()) writeEnum(*type, tables);
  for (auto& type : model.types) writeType(model, *type, tables);
  std::string out = "// Descriptor tables of all types. Generated; change the definitions instead.\n"
                    "#include <cstddef>\n\n#include \"L3Descriptors.h\"\n";
  for (auto& module : model.modules) out += "#include \"velnor3gpp/" + module->stem + ".h\"\n";
  out += "\n" + tables.before + "\nextern const L3Enum l3AllEnums[] = " + braced(tables.enums) +
         ";\n\nstruct L3Tables {\n  char none[8]; // so that no place is 0\n";
  for (auto& [kind, all] : tables.kinds)
    out += format("  %s all_%s[%zu];\n", kind.c_str(), kind.c_str(), all.items.size());
  out += format("  char all_char[%zu];\n};\n\n", tables.names.size + 1) +
         "#define AT(kind, number) {static_cast<int32_t>(offsetof(L3Tables, all_##kind) + (number) * sizeof(kind))}\n"
         "#define TYPE(name) {static_cast<int32_t>(kL3At_##name * sizeof(L3Type))}\n"
         "#define ENUM(name) {static_cast<int32_t>(kL3EnumAt_##name * sizeof(L3Enum))}\n\n"
         "extern const L3Tables l3Tables = {{},\n";
  for (auto& [kind, all] : tables.kinds) out += "// " + kind + "\n" + braced(all.items, kind == "uint8_t") + ",\n";
  return out + tables.names.out + "};\n\nextern const L3Type l3AllTypes[] = " + braced(tables.types) + ";\n";
}

} // namespace l3gen
