// Writing of the descriptor tables of a module: messages and types, with the rows of tableRows.cpp.
#include <algorithm>
#include <numeric>
#include <set>

#include "tables.h"

namespace l3gen {

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
