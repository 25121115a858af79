// The exported operations: which there are, their signatures, and their bodies, which hand on to the engine:
//
//   extern "C" int NASDec_TS24501IE_SNSSAI(RtxContext* pctxt, TS24501IE_SNSSAI* pvalue) {
//     return l3Decode(pctxt, l3_TS24501IE_SNSSAI, pvalue); }
//
// For each module three sources are written: writeJumps has the functions that are one jump (cmake compiles it without
// tables to unwind the stack by), writeCoders for decoding and for encoding has the direct coders and all functions
// that are more than a jump.
#include "direct.h"
#include "header.h"

namespace l3gen {

// Numbers are passed by value.
static bool isNumber(const Type& type)
{
  return scalarOf(type).has_value();
}

// The rules of docs/definition-language.md, "Exported by rule". A part has no operation at all.
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

// Is the value an array in C? It is passed by its address then, and the encoder's `value` is a pointer already.
static bool isArray(const Type& type)
{
  if (type.kind == Kind::Text) return type.rows[0].what.kind == WhatKind::Chars;
  if (type.kind != Kind::Bare || type.rows.back().often.end != kL3NoList) return false;
  const What& what = type.rows.back().what;
  if (what.kind == WhatKind::Type) return isArray(*what.type);
  return (what.kind == WhatKind::Octets || what.kind == WhatKind::BitString) && what.from == kL3Fixed;
}

// Texts by hand whose size stands elsewhere get it from the caller.
static bool byHandArguments(const Type& type)
{
  return type.has("octets-argument") || type.has("spare-argument");
}

// Most take a pointer to the value alone. Texts by hand, and types that are counted by somebody else's field, take the
// size as well, and a text in an array is told where the array is.
std::string decoderLine(const Type& type)
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

// Numbers and arrays are passed by value, as a caller would write them: NASEnc_TS24501IE_SST(&ctxt, 1).
std::string encoderLine(const Type& type)
{
  const char* f = type.full.c_str();
  if (type.kind == Kind::Text) return format("int NASEnc_%s(RtxContext* pctxt, const char* value)", f);
  bool byValue = isNumber(type) || isArray(type);
  return byValue ? format("int NASEnc_%s(RtxContext* pctxt, %s value)", f, f)
                 : format("int NASEnc_%s(RtxContext* pctxt, %s* pvalue)", f, f);
}

// `!null-suffix`: the name of the printer ends in an underscore (docs/quirks.md).
std::string printerLine(const Type& type)
{
  return format("int asn1PrtToStrm_%s%s(RtxContext* pctxt, const char* name, const %s* pvalue)", type.full.c_str(),
                type.has("null-suffix") ? "_" : "", type.full.c_str());
}

std::string initLine(const Type& type)
{
  return format("int asn1Init_%s(%s* pvalue)", type.full.c_str(), type.full.c_str());
}

std::string sampleLine(const Type& type)
{
  return format("%s* asn1Test_%s(RtxContext* pctxt)", type.full.c_str(), type.full.c_str());
}

// asn1SetTC_<form>_obj_<message>; setters of a second body have the name of its row in front of obj_.
std::string setterLine(const Type& type, const Row& body, const Row& row)
{
  std::string second = &body == bodiesOf(type)[0] ? "" : body.name + "_";
  std::string message = row.what.type ? ", " + row.what.type->full + (row.inlined ? " msg" : "* msg") : "";
  std::string gives = type.has("setters-return") ? type.full + "*" : "void";
  return format("%s asn1SetTC_%s_%sobj_%s(RtxContext* pctxt, %s* pdu%s)", gives.c_str(), type.full.c_str(),
                second.c_str(), row.name.c_str(), type.full.c_str(), message.c_str());
}

bool hasDecoder(const Type& type)
{
  return !byHandArguments(type) && !type.counted && exports(type, "decode");
}

bool hasEncoder(const Type& type)
{
  return !byHandArguments(type) && exports(type, "encode");
}

// The functions of the types of a module, by the source that they go to. Functions that end in a jump never stand on
// the stack, so they are compiled without what unwinds it. Nine of ten functions are such, and that would be twice
// their code.
struct Operations {
  std::string jumps, decoding, encoding;
};

// One definition, in one line and with C linkage.
static std::string function(const std::string& line, const std::string& code)
{
  return "extern \"C\" " + line + " { " + code + " }\n";
}

// The engine looks names and values up; only the cast to the enumeration's C type is left to do here.
static void writeEnumFunctions(Operations& out, const Type& type)
{
  const char* f = type.full.c_str();
  out.jumps +=
      function(format("const char* %s_ToString(int32_t value)", f), format("return l3EnumName(l3enum_%s, value);", f));
  out.decoding += function(format("int %s_ToEnum(RtxContext* pctxt, const char* name, %s* pvalue)", f, f),
                           format("return %s_ToEnum2(pctxt, name, rtxUTF8LenBytes(name), pvalue);", f));
  out.decoding += function(
      format("int %s_ToEnum2(RtxContext* pctxt, const char* name, size_t namelen, %s* pvalue)", f, f),
      format("int value; int status = l3EnumValue(pctxt, l3_%s, l3enum_%s, name, namelen, value); if (status >= 0) "
             "*pvalue = static_cast<%s>(value); return status;",
             f, f, f));
}

// The engine finds the message by the numbers of the body's row and of the message in it. An inlined message is passed
// by value, so its address is that of an argument, and the call is no jump.
static void writeSetters(Operations& out, const Type& type, const Row& bodyRow)
{
  size_t place = static_cast<size_t>(&bodyRow - type.rows.data()), i = 0;
  bool returns = type.has("setters-return");
  for (auto& row : bodyRow.what.alternatives) {
    const char* message = !row.what.type ? "nullptr" : row.inlined ? "&msg" : "msg";
    std::string code =
        format("(void)pctxt; l3SetBodyOf(l3_%s, pdu, %zu, %zu, %s);", type.full.c_str(), place, i++, message);
    (returns || row.inlined ? out.decoding : out.jumps) +=
        function(setterLine(type, bodyRow, row), code + (returns ? " return pdu;" : ""));
  }
}

// Values that are passed by value have an address on the stack, so the call is no jump either.
static void writeEncoder(Operations& out, const Type& type)
{
  const char* f = type.full.c_str();
  if (isArray(type) && type.kind == Kind::Text)
    out.jumps += function(encoderLine(type), format("return l3EncodeText(pctxt, l3_%s, value);", f));
  else if (type.kind == Kind::Text || (isNumber(type) && !isArray(type)))
    out.encoding += function(encoderLine(type), format("return l3Encode(pctxt, l3_%s, &value);", f));
  else
    out.jumps += function(encoderLine(type),
                          format("return l3Encode(pctxt, l3_%s, %s);", f, isArray(type) ? "value" : "pvalue"));
}

// The functions that writePrototypes (write.cpp) declares for the type.
static void writeOperations(Operations& out, const Type& type)
{
  const char* f = type.full.c_str();
  auto add = [&](const std::string& line, const char* code) { out.jumps += function(line, format(code, f)); };
  if (type.counted && exports(type, "decode"))
    add(decoderLine(type), "return l3DecodeCounted(pctxt, l3_%s, pvalue, count);");
  if (hasDecoder(type)) add(decoderLine(type), "return l3Decode(pctxt, l3_%s, pvalue);");
  if (exports(type, "encode")) writeEncoder(out, type);
  if (exports(type, "print")) add(printerLine(type), "return l3Print(pctxt, l3_%s, name, pvalue);");
  if (exports(type, "init")) add(initLine(type), "return l3Init(l3_%s, pvalue);");
  if (exports(type, "sample"))
    out.jumps += function(sampleLine(type), format("return static_cast<%s*>(l3Sample(pctxt, l3_%s));", f, f));
  for (auto* row : bodiesOf(type)) writeSetters(out, type, *row);
  if (type.kind == Kind::Enum) writeEnumFunctions(out, type);
}

static Operations operationsOf(const Model& model, const Module& module)
{
  Operations out;
  for (auto& type : model.types)
    if (type->module == &module) writeOperations(out, *type);
  return out;
}

// The first lines of each source of a module.
static std::string prelude(const Module& module, const char* what)
{
  return format("// %s of module %s. Generated; change the definitions instead.\n", what, module.name.c_str()) +
         "#include \"L3Descriptors.h\"\n#include \"rt3gppsrc/engine/l3Direct.h\"\n#include "
         "\"rt3gppsrc/engine/l3Engine.h\"\n#include \"rt3gppsrc/engine/l3Enum.h\"\n#include \"velnor3gpp/" +
         module.stem + ".h\"\n#include \"velnor3gpp/rtxStrings.h\"\n\n";
}

// TS24501IESDec.cpp or TS24501IESEnc.cpp. Exported functions that are no jumps go along with the direct coders of their
// direction, those that are neither encode nor decode with the decoders.
std::string writeCoders(Model& model, const Module& module, bool encoder)
{
  std::string out =
      prelude(module, encoder ? "Direct encoders, and exported encoders that take values,"
                              : "Direct decoders, and exported functions that are more than a jump to the engine,");
  Operations operations = operationsOf(model, module);
  return out + writeDirect(model, module, encoder) + (encoder ? operations.encoding : operations.decoding);
}

// Everything that is left over by writeCoders.
std::string writeJumps(Model& model, const Module& module)
{
  return prelude(module, "Exported operations") + operationsOf(model, module).jumps;
}

} // namespace l3gen
