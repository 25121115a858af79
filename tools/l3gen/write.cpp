// Writing of headers, of the exported one-line functions and of the table of all types.
#include <algorithm>
#include <functional>
#include <map>
#include <set>

#include "direct.h"
#include "header.h"
#include "tables.h"

namespace l3gen {

static bool isNumber(const Type& type)
{
  return scalarOf(type).has_value();
}

// Is an operation of this kind ("decode", "encode", "print", "init", "sample") exported?
bool exports(const Type& type, const char* kind)
{
  std::string k = kind;
  if (type.part) return false;
  if (k == "decode") return !type.has("no-decoder");
  if (k == "encode") return !type.has("no-encoder");
  if (k == "print") return !type.has("no-printer");
  if (k == "init") return type.has("init") || (needsInit(type) && !type.has("no-init"));
  return type.has("sample") || !type.has("no-sample");
}

static bool isArray(const Type& type)
{
  if (type.kind == Kind::Text) return type.rows[0].what.kind == WhatKind::Chars;
  if (type.kind != Kind::Bare || type.rows.back().often.end != kL3NoList) return false;
  const What& what = type.rows.back().what;
  if (what.kind == WhatKind::Type) return isArray(*what.type);
  return (what.kind == WhatKind::Octets || what.kind == WhatKind::BitString) && what.from == kL3Fixed;
}

static bool byHandArguments(const Type& type)
{
  return type.has("octets-argument") || type.has("spare-argument");
}

static std::string decoderLine(const Type& type)
{
  const char* f = type.full.c_str();
  if (type.has("spare-argument"))
    return format("int NASDec_%s(RtxContext* pctxt, %s* pvalue, size_t octets, uint8_t spareBits)", f, f);
  if (type.counted) return format("int NASDec_%s(RtxContext* pctxt, %s* pvalue, size_t count)", f, f);
  if (isArray(type) && byHandArguments(type))
    return format("int NASDec_%s(RtxContext* pctxt, char* dest, size_t octets)", f);
  if (byHandArguments(type)) return format("int NASDec_%s(RtxContext* pctxt, %s* pvalue, size_t octets)", f, f);
  return format("int NASDec_%s(RtxContext* pctxt, %s* pvalue)", f, f);
}

static std::string encoderLine(const Type& type)
{
  const char* f = type.full.c_str();
  if (type.kind == Kind::Text) return format("int NASEnc_%s(RtxContext* pctxt, const char* value)", f);
  bool byValue = isNumber(type) || isArray(type);
  return byValue ? format("int NASEnc_%s(RtxContext* pctxt, %s value)", f, f)
                 : format("int NASEnc_%s(RtxContext* pctxt, %s* pvalue)", f, f);
}

static std::string printerLine(const Type& type)
{
  return format("int asn1PrtToStrm_%s%s(RtxContext* pctxt, const char* name, const %s* pvalue)", type.full.c_str(),
                type.has("null-suffix") ? "_" : "", type.full.c_str());
}

static std::string initLine(const Type& type)
{
  return format("int asn1Init_%s(%s* pvalue)", type.full.c_str(), type.full.c_str());
}

static std::string sampleLine(const Type& type)
{
  return format("%s* asn1Test_%s(RtxContext* pctxt)", type.full.c_str(), type.full.c_str());
}

static std::string setterLine(const Type& type, const Row& body, const Row& row)
{
  std::string second = &body == bodiesOf(type)[0] ? "" : body.name + "_";
  std::string message = row.what.type ? ", " + row.what.type->full + (row.inlined ? " msg" : "* msg") : "";
  std::string gives = type.has("setters-return") ? type.full + "*" : "void";
  return format("%s asn1SetTC_%s_%sobj_%s(RtxContext* pctxt, %s* pdu%s)", gives.c_str(), type.full.c_str(),
                second.c_str(), row.name.c_str(), type.full.c_str(), message.c_str());
}

static std::string writePrototypes(const Type& type)
{
  std::string out;
  auto add = [&](const std::string& line, const std::string& words) {
    out += commentLines(0, words) + "VELNOR_API " + line + ";\n";
  };
  if (exports(type, "decode")) add(decoderLine(type), decoderWords(type));
  if (exports(type, "encode")) add(encoderLine(type), encoderWords(type));
  if (exports(type, "print"))
    add(printerLine(type), "Prints the value under the name to the context's print stream. Always 0.");
  if (exports(type, "init")) add(initLine(type), initialiserWords());
  if (exports(type, "sample")) add(sampleLine(type), "A sample value on the context's heap, or null.");
  for (auto* body : bodiesOf(type))
    for (auto& row : body->what.alternatives)
      add(setterLine(type, *body, row), row.inlined ? "Makes the record hold this message, by value."
                                                    : "Makes the record hold this message; the message is not copied.");
  if (type.kind != Kind::Enum) return out;
  const char* f = type.full.c_str();
  out += format("/** Names and values, sorted by name. */\nVELNOR_API extern const RtxEnumItem %s_ENUMTAB[%zu];\n", f,
                type.values.size());
  add(format("const char* %s_ToString(int32_t value)", f), "The value's name, or \"_UNKNOWN_\".");
  add(format("int %s_ToEnum(RtxContext* pctxt, const char* name, %s* pvalue)", f, f),
      "The value of a name, or RTX_E_ENUM_VALUE.");
  add(format("int %s_ToEnum2(RtxContext* pctxt, const char* name, size_t namelen, %s* pvalue)", f, f),
      "The same for a name of so many octets.");
  return out;
}

static void usedModules(Model& model, const Module& module, std::set<std::string>& stems)
{
  std::function<void(const What&)> look = [&](const What& what) {
    if (what.type && what.type->module != &module) stems.insert(what.type->module->stem);
    for (auto& alternative : what.alternatives) look(alternative.what);
  };
  for (auto& type : model.types)
    if (type->module == &module)
      for (auto& row : type->rows) look(row.what);
}

std::string writeHeader(Model& model, const Module& module)
{
  std::string guard = "VELNOR3GPP_GEN_" + module.stem + "_H";
  std::string out = fileComment(module);
  out += "#ifndef " + guard + "\n#define " + guard +
         "\n\n#include \"velnor3gpp/rtxEnum.h\"\n#include \"velnor3gpp/rtxTypes.h\"\n";
  std::set<std::string> stems;
  usedModules(model, module, stems);
  for (auto& stem : stems) out += "#include \"velnor3gpp/" + stem + ".h\"\n";
  out += "\nVELNOR_BEGIN_DECLS\n\n";
  for (auto* type : inDependencyOrder(model, module))
    if (type->kind == Kind::Record || type->kind == Kind::Pdu || (type->kind == Kind::Message && !type->has("bare"))) {
      out += "struct " + type->full + ";\n";
    }
  out += "\n";
  for (auto* type : inDependencyOrder(model, module)) out += writeDefinition(*type) + "\n";
  for (auto* type : inDependencyOrder(model, module)) out += writePrototypes(*type);
  return out + "\nVELNOR_END_DECLS\n\n#endif\n";
}

static std::string body(const std::string& line, const std::string& code)
{
  return "extern \"C\" " + line + " { " + code + " }\n";
}

static std::string operand(const Type& type)
{
  if (isArray(type)) return "value";
  return isNumber(type) ? "&value" : "pvalue";
}

static std::string writeEnumFunctions(const Type& type)
{
  const char* f = type.full.c_str();
  std::string out =
      body(format("const char* %s_ToString(int32_t value)", f), format("return l3EnumName(l3enum_%s, value);", f));
  out += body(format("int %s_ToEnum(RtxContext* pctxt, const char* name, %s* pvalue)", f, f),
              format("return %s_ToEnum2(pctxt, name, rtxUTF8LenBytes(name), pvalue);", f));
  out += body(
      format("int %s_ToEnum2(RtxContext* pctxt, const char* name, size_t namelen, %s* pvalue)", f, f),
      format("int value; int status = l3EnumValue(pctxt, l3_%s, l3enum_%s, name, namelen, value); if (status >= 0) "
             "*pvalue = static_cast<%s>(value); return status;",
             f, f, f));
  return out;
}

static std::string writeSetters(const Type& type, const Row& bodyRow)
{
  std::string out;
  const char* f = type.full.c_str();
  size_t place = static_cast<size_t>(&bodyRow - type.rows.data()), i = 0;
  const char* end = type.has("setters-return") ? " return pdu;" : "";
  for (auto& row : bodyRow.what.alternatives) {
    const char* message = !row.what.type ? "nullptr" : row.inlined ? "&msg" : "msg";
    out += body(setterLine(type, bodyRow, row),
                format("(void)pctxt; l3SetBodyOf(l3_%s, pdu, %zu, %zu, %s);%s", f, place, i++, message, end));
  }
  return out;
}

static std::string writeOthers(const Type& type)
{
  const char* f = type.full.c_str();
  std::string out;
  if (exports(type, "print")) out += body(printerLine(type), format("return l3Print(pctxt, l3_%s, name, pvalue);", f));
  if (exports(type, "init")) out += body(initLine(type), format("return l3Init(l3_%s, pvalue);", f));
  if (exports(type, "sample"))
    out += body(sampleLine(type), format("return static_cast<%s*>(l3Sample(pctxt, l3_%s));", f, f));
  for (auto* row : bodiesOf(type)) out += writeSetters(type, *row);
  if (type.kind == Kind::Enum) out += writeEnumFunctions(type);
  return out;
}

std::string writeCoders(Model& model, const Module& module, bool encoder)
{
  std::string out = std::string("// Exported ") +
                    (encoder ? "encoders" : "decoders, printers, initialisers, samples and setters") + " of module " +
                    module.name + ". Generated; change the definitions instead.\n";
  out += "#include \"L3Descriptors.h\"\n#include \"rt3gppsrc/engine/l3Direct.h\"\n#include "
         "\"rt3gppsrc/engine/l3Engine.h\"\n#include \"rt3gppsrc/engine/l3Enum.h\"\n#include \"velnor3gpp/" +
         module.stem + ".h\"\n#include \"velnor3gpp/rtxStrings.h\"\n\n";
  out += writeDirect(model, module, encoder);
  for (auto& type : model.types) {
    if (type->module != &module) continue;
    const char* f = type->full.c_str();
    bool hand = byHandArguments(*type);
    if (!encoder && type->counted && exports(*type, "decode"))
      out += body(decoderLine(*type), format("return l3DecodeCounted(pctxt, l3_%s, pvalue, count);", f));
    if (encoder && exports(*type, "encode") && type->kind == Kind::Text)
      out += isArray(*type) ? body(encoderLine(*type), format("return l3EncodeText(pctxt, l3_%s, value);", f))
                            : body(encoderLine(*type), format("return l3Encode(pctxt, l3_%s, &value);", f));
    else if (encoder && exports(*type, "encode"))
      out += body(encoderLine(*type), format("return l3Encode(pctxt, l3_%s, %s);", f, operand(*type).c_str()));
    if (!encoder && !hand && !type->counted && exports(*type, "decode"))
      out += body(decoderLine(*type), format("return l3Decode(pctxt, l3_%s, pvalue);", f));
    if (!encoder) out += writeOthers(*type);
  }
  return out;
}

static bool hasDecoder(const Type& type)
{
  return !byHandArguments(type) && !type.counted && exports(type, "decode");
}

static bool hasEncoder(const Type& type)
{
  return !byHandArguments(type) && exports(type, "encode");
}

static std::string tableEntry(const Type& type)
{
  const char* f = type.full.c_str();
  std::string dec =
      hasDecoder(type) ? format("[](RtxContext* c, void* v) { return l3Decode(c, l3_%s, v); }", f) : "nullptr";
  std::string enc =
      hasEncoder(type) ? format("[](RtxContext* c, void* v) { return l3Encode(c, l3_%s, v); }", f) : "nullptr";
  std::string print =
      exports(type, "print")
          ? format("[](RtxContext* c, const char* n, const void* v) { return l3Print(c, l3_%s, n, v); }", f)
          : "nullptr";
  std::string init = exports(type, "init") ? format("[](void* v) { return l3Init(l3_%s, v); }", f) : "nullptr";
  std::string sample =
      exports(type, "sample") ? format("[](RtxContext* c) { return l3Sample(c, l3_%s); }", f) : "nullptr";
  return format("  {&l3_%s,\n   %s,\n   %s,\n   %s,\n   %s,\n   %s},\n", f, dec.c_str(), enc.c_str(), print.c_str(),
                init.c_str(), sample.c_str());
}

int directionNumber(const std::string& direction)
{
  return direction == "up" ? 1 : direction == "down" ? 2 : 0;
}

// "8.2.6" belongs to the module's standard; a clause of another one names it: "24.193 6.1.4.2".
static std::string clauseText(const Type& type)
{
  const std::string& clause = type.clause;
  size_t blank = clause.find(' ');
  bool foreign = blank != std::string::npos && clause[blank - 1] != ',' && clause.substr(0, blank).find('.') == 2;
  if (foreign) return "TS " + clause.substr(0, blank) + "," + clause.substr(blank);
  return type.module->spec + ", " + clause;
}

// The types that callers know, sorted by name.
static std::vector<const Type*> knownTypes(const Model& model)
{
  std::vector<const Type*> types;
  for (auto& type : model.types)
    if (!type->part) types.push_back(type.get());
  std::sort(types.begin(), types.end(), [](auto* a, auto* b) { return a->full < b->full; });
  return types;
}

std::string writeTypeFacts(Model& model)
{
  std::vector<const Type*> types = knownTypes(model);
  TextTable texts;
  std::string rows, places;
  for (auto* type : types) {
    size_t title = texts.place({type->title}), clause = texts.place({clauseText(*type)});
    size_t module = texts.place({type->module->name});
    rows += format("  {%zu, %zu, %zu, %d, %d, %d, %d},\n", title, clause, module, type->msgType,
                   directionNumber(type->direction), hasDecoder(*type), hasEncoder(*type));
    places += format("  {kL3At_%s * sizeof(L3Type)},\n", type->full.c_str());
  }
  if (types.empty()) {
    rows = "  {0, 0, 0, -1, 0, 0, 0},\n";
    places = "  {0},\n";
  }
  return "// What is known of all types, sorted by name. Generated; change the definitions instead.\n"
         "#include \"L3Descriptors.h\"\n\nextern const L3At<L3Type> l3Types[] = {\n" +
         places + "};\nextern const L3Facts l3TypeFacts[] = {\n" + rows +
         "};\nextern const char l3FactText[] = " + texts.out +
         format(";\nextern const size_t l3KnownTypes = %zu;\n", types.size());
}

std::string writeTypeTable(Model& model)
{
  std::vector<const Type*> types = knownTypes(model);
  std::string out = "// All types of the library, sorted by name. Generated; change the definitions instead.\n";
  out += "#include \"L3Descriptors.h\"\n#include \"rt3gppsrc/engine/l3Engine.h\"\n\nextern const L3TypeEntry "
         "l3TypeTable[] = {\n";
  for (auto* type : types) out += tableEntry(*type);
  if (types.empty()) out += "  {nullptr, nullptr, nullptr, nullptr, nullptr, nullptr},\n";
  return out + format("};\nextern const size_t l3TypeCount = %zu;\n", types.size());
}

std::string writeDescriptors(Model& model)
{
  std::string out;
  size_t types = 1, enums = 1; // as they stand in the tables, where the first is none
  for (auto& type : model.types) {
    const char* f = type->full.c_str();
    out += format("inline constexpr int32_t kL3At_%s = %zu;\n", f, types);
    out += format("inline constexpr const L3Type& l3_%s = l3AllTypes[%zu];\n", f, types++);
    if (type->needsStandard()) out += format("inline constexpr int32_t kL3At_standard_%s = %zu;\n", f, types++);
    for (auto& part : type->parts)
      out += format("inline constexpr int32_t kL3At_%s = %zu;\n", partName(*type, {part.first, part.second}).c_str(),
                    types++);
    bool direct = hasDirect(*type) || type->directByHand;
    if (direct) out += format("size_t l3DirectDec_%s(const L3Source& in, size_t pos, size_t end, void* record);\n", f);
    if (direct) out += format("size_t l3DirectEnc_%s(L3Sink& out, size_t pos, void* record);\n", f);
    if (hasBodyDirect(*type))
      out += format("size_t l3DirectDecBody_%s(const L3Source& in, size_t pos, size_t end, void* record);\n", f);
    if (hasBodyDirect(*type)) out += format("size_t l3DirectEncBody_%s(L3Sink& out, size_t pos, void* record);\n", f);
    if (type->values.empty()) continue;
    out += format("inline constexpr int32_t kL3EnumAt_%s = %zu;\n", f, enums);
    out += format("inline constexpr const L3Enum& l3enum_%s = l3AllEnums[%zu];\n", f, enums++);
  }
  return "// Descriptors of all types. Generated; change the definitions instead.\n#pragma once\n"
         "#include \"rt3gppsrc/engine/l3Types.h\"\n\n" +
         format("L3_WITHIN extern const L3Type l3AllTypes[%zu];\nL3_WITHIN extern const L3Enum l3AllEnums[%zu];\n",
                types, enums) +
         out;
}

} // namespace l3gen
