// Writing of the public headers and of three files about all types: L3Descriptors.h, L3TypeTable.cpp and
// L3TypeFacts.cpp. The descriptors themselves are written by tables.cpp, the functions by operations.cpp and
// direct.cpp.
//
// Types and enumerations are numbered here in the order of Model::types, and tables.cpp puts them into its arrays in
// the same order. Both must agree, since a type is known by its number alone:
//
//   inline constexpr int32_t kL3At_TS24501IE_SNSSAI = 802;
//   inline constexpr const L3Type& l3_TS24501IE_SNSSAI = l3AllTypes[802];
#include <algorithm>
#include <set>

#include "direct.h"
#include "header.h"
#include "tables.h"

namespace l3gen {

// The exported functions of a type, each below its comment. `exports` says which there are.
static std::string writePrototypes(const Type& type)
{
  std::string out;
  auto add = [&](const std::string& line, const std::string& words) {
    out += commentLines(0, words) + "VELNOR_API " + line + ";\n";
  };
  if (exports(type, "decode")) add(decoderLine(type), decoderWords(type));
  if (exports(type, "encode")) add(encoderLine(type), encoderWords(type));
  if (exports(type, "print"))
    add(printerLine(type), "Prints the value under this name to the context's print stream. Returns 0.");
  if (exports(type, "init")) add(initLine(type), initialiserWords());
  if (exports(type, "sample")) add(sampleLine(type), "Returns a sample value on the context's heap, or null.");
  for (auto* body : bodiesOf(type))
    for (auto& row : body->what.alternatives)
      add(setterLine(type, *body, row), row.inlined ? "Makes the record hold this message, by value."
                                                    : "Makes the record hold this message; the message is not copied.");
  if (type.kind != Kind::Enum) return out;
  const char* f = type.full.c_str();
  out += format("/** Names and values, sorted by name. */\nVELNOR_API extern const RtxEnumItem %s_ENUMTAB[%zu];\n", f,
                type.values.size());
  add(format("const char* %s_ToString(int32_t value)", f), "Returns the value's name, or \"_UNKNOWN_\".");
  add(format("int %s_ToEnum(RtxContext* pctxt, const char* name, %s* pvalue)", f, f),
      "Stores the value of a name. Returns 0, or RTX_E_ENUM_VALUE if no value has it.");
  add(format("int %s_ToEnum2(RtxContext* pctxt, const char* name, size_t namelen, %s* pvalue)", f, f),
      "The same for a name of namelen octets, which need not end in a zero.");
  return out;
}

// The stems of the headers that this one has to include.
static void usedModules(Model& model, const Module& module, std::set<std::string>& stems)
{
  auto note = [&](const Type* used, bool) {
    if (used->module != &module) stems.insert(used->module->stem);
  };
  for (auto& type : model.types)
    if (type->module == &module)
      for (auto& row : type->rows) collectUses(row.what, false, note);
}

// Forward declarations come first, because bodies have pointers to messages that are declared behind them. Records
// follow in an order in which each is complete before another holds it, then all prototypes.
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

// One row of l3TypeTable: lambdas give all operations the same signature, whatever they are called with. They call the
// engine and not the exported function, so that the table needs no header.
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

// L3Facts::direction and L3BodyRow::direction.
int directionNumber(const std::string& direction)
{
  return direction == "up" ? 1 : direction == "down" ? 2 : 0;
}

// "8.2.6" belongs to the module's standard: "TS 24.501, 8.2.6". A clause of another one names it, "24.193 6.1.4.2" is
// "TS 24.193, 6.1.4.2"; "9.11.3.4, 9.11.3.5" are two of the module's own.
static std::string clauseText(const Type& type)
{
  const std::string& clause = type.clause;
  size_t blank = clause.find(' ');
  bool foreign = blank != std::string::npos && clause[blank - 1] != ',' && clause.substr(0, blank).find('.') == 2;
  if (foreign) return "TS " + clause.substr(0, blank) + "," + clause.substr(blank);
  return type.module->spec + ", " + clause;
}

std::vector<const Type*> knownTypes(const Model& model)
{
  std::vector<const Type*> types;
  for (auto& type : model.types)
    if (!type->part) types.push_back(type.get());
  std::sort(types.begin(), types.end(), [](auto* a, auto* b) { return a->full < b->full; });
  return types;
}

// Texts are places in one string, so that a row needs no relocation. Both arrays have the order of l3TypeTable.
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
  // An array of no entries is no C++; the count beside it says that there is none.
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

// For tests and tools alone: the shared library does without it, because each row costs six relocations.
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

// What the generated sources know of each other: the number of each type, its descriptor, and its direct coders.
// A direct coder of the type's own, or the name of another's.
static std::string declareDirect(const Type& type, bool encoder)
{
  const char *f = type.full.c_str(), *side = encoder ? "Enc" : "Dec", *other = type.coders[encoder]->full.c_str();
  if (type.coders[encoder] != &type)
    return format("inline constexpr auto& l3Direct%s_%s = l3Direct%s_%s;\n", side, f, side, other);
  return format("size_t l3Direct%s_%s(%s, void* record);\n", side, f,
                encoder ? "L3Sink& out, size_t pos" : "const L3Source& in, size_t pos, size_t end");
}

std::string writeDescriptors(Model& model)
{
  std::string out;
  // As they stand in the arrays, where number 0 is none.
  size_t types = 1, enums = 1; // as they stand in the tables, where the first is none
  for (auto& type : model.types) {
    const char* f = type->full.c_str();
    out += format("inline constexpr int32_t kL3At_%s = %zu;\n", f, types);
    out += format("inline constexpr const L3Type& l3_%s = l3AllTypes[%zu];\n", f, types++);
    // The second form of a type and its parts follow it, as writeType in tables.cpp writes them.
    if (type->needsStandard()) out += format("inline constexpr int32_t kL3At_standard_%s = %zu;\n", f, types++);
    for (auto& part : type->parts)
      out += format("inline constexpr int32_t kL3At_%s = %zu;\n", partName(*type, {part.first, part.second}).c_str(),
                    types++);
    bool direct = hasDirect(*type) || type->directByHand;
    if (direct) out += declareDirect(*type, false) + declareDirect(*type, true);
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
