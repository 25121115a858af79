// JSON Schema (draft 2020-12) of types: a visitor of their descriptions. Every type that a type holds stands once under
// "$defs", so that a schema grows with the types and not with the ways to reach them.
#include <cstdlib>

#include "json/writer.h"

static constexpr unsigned kMaxLevels = 64;
static constexpr unsigned kMaxRequired = 1024;

namespace {

struct Level {
  velnor3gpp_Kind kind;
  unsigned required; // names before those of this level
};

struct SchemaWriter {
  JsonWriter out;
  const velnor3gpp_TypeFacts* facts; // of the type under work
  uint8_t* wanted;                   // by the place of the type: 1 to be written, 2 written
  unsigned depth;
  unsigned required;
  Level levels[kMaxLevels];
  velnor3gpp_Member names[kMaxRequired]; // members that are always there, of all open levels
};

enum Wanted : uint8_t { kUnknown, kWanted, kWritten };

} // namespace

static void string(JsonWriter& out, const char* text)
{
  jsonText(out, reinterpret_cast<const uint8_t*>(text), strlen(text));
}

template <size_t Size> static void pair(JsonWriter& out, const char (&name)[Size], const char* value)
{
  jsonName(out, name, Size - 1);
  string(out, value);
}

template <size_t Size> static void pair(JsonWriter& out, const char (&name)[Size], uint64_t value)
{
  jsonName(out, name, Size - 1);
  jsonNumber(out, value);
}

static void want(SchemaWriter& writer, const velnor3gpp_Type* type)
{
  for (size_t i = 0; i < velnor3gpp_typeCount(); ++i)
    if (velnor3gpp_typeAt(i) == type && !writer.wanted[i]) writer.wanted[i] = kWanted;
}

static void putReference(SchemaWriter& writer, const velnor3gpp_Type* type)
{
  velnor3gpp_TypeFacts facts = {};
  facts.size = sizeof facts;
  velnor3gpp_typeFacts(type, &facts);
  jsonName(writer.out, "$ref", 4);
  jsonPut(writer.out, "\"#/$defs/");
  jsonPut(writer.out, facts.name, strlen(facts.name));
  jsonPut(writer.out, "\"");
  want(writer, type);
}

static void putNumber(JsonWriter& out, unsigned width)
{
  if (width > 53) {
    pair(out, "type", "string");
    return pair(out, "pattern", "^[0-9]{1,20}$");
  }
  pair(out, "type", "integer");
  pair(out, "minimum", uint64_t{0});
  pair(out, "maximum", (uint64_t{1} << width) - 1);
}

// "^([0-9A-Fa-f]{2}){2,5}$": so many octets or bits.
static void putPattern(JsonWriter& out, const char* unit, const velnor3gpp_Member& member)
{
  pair(out, "type", "string");
  jsonName(out, "pattern", 7);
  jsonPut(out, "\"^");
  jsonPut(out, unit, strlen(unit));
  jsonPut(out, "{");
  jsonNumber(out, member.least);
  jsonPut(out, ",");
  if (member.most != SIZE_MAX) jsonNumber(out, member.most);
  jsonPut(out, "}$\"");
}

static void putValue(SchemaWriter& writer, const velnor3gpp_Member& member)
{
  JsonWriter& out = writer.out;
  switch (member.kind) {
    case VELNOR3GPP_NUMBER:
    case VELNOR3GPP_ENUMERATED:
      return putNumber(out, member.width);
    case VELNOR3GPP_FLAG:
      return pair(out, "type", "boolean");
    case VELNOR3GPP_OCTETS:
      return putPattern(out, "([0-9A-Fa-f]{2})", member);
    case VELNOR3GPP_BITS:
      return putPattern(out, "[01]", member);
    case VELNOR3GPP_TEXT:
      pair(out, "type", "string");
      if (member.most != SIZE_MAX) pair(out, "maxLength", member.most);
      return;
    case VELNOR3GPP_NOTHING:
      jsonName(out, "const", 5);
      return jsonPut(out, "true");
    default:
      return putReference(writer, member.type);
  }
}

static void openObject(JsonWriter& out)
{
  jsonPut(out, "{");
  out.comma = false;
}

static void closeObject(JsonWriter& out)
{
  jsonPut(out, "}");
  out.comma = true;
}

// What the schema of an element stands behind, and its brace. The whole of a type says which it is.
static void lead(SchemaWriter& writer, const velnor3gpp_Member& member)
{
  JsonWriter& out = writer.out;
  if (member.name)
    jsonName(out, member.name, member.nameLength);
  else if (writer.depth)
    jsonName(out, "items", 5);
  openObject(out);
  if (writer.depth) return;
  if (*writer.facts->title) pair(out, "title", writer.facts->title);
  pair(out, "$comment", writer.facts->clause);
}

static void enter(SchemaWriter& writer, const velnor3gpp_Member& member)
{
  JsonWriter& out = writer.out;
  lead(writer, member);
  writer.levels[writer.depth++] = {member.kind, writer.required};
  bool list = member.kind == VELNOR3GPP_LIST;
  pair(out, "type", list ? "array" : "object");
  if (list) {
    if (member.most != SIZE_MAX) pair(out, "maxItems", member.most);
    return;
  }
  jsonName(out, "properties", 10);
  openObject(out);
}

static void putRequired(SchemaWriter& writer, unsigned from)
{
  if (from == writer.required) return;
  jsonName(writer.out, "required", 8);
  jsonPut(writer.out, "[");
  for (unsigned i = from; i < writer.required; ++i) {
    if (i > from) jsonPut(writer.out, ",");
    jsonText(writer.out, reinterpret_cast<const uint8_t*>(writer.names[i].name), writer.names[i].nameLength);
  }
  jsonPut(writer.out, "]");
  writer.required = from;
}

static void leave(SchemaWriter& writer)
{
  const Level& level = writer.levels[--writer.depth];
  JsonWriter& out = writer.out;
  if (level.kind != VELNOR3GPP_LIST) {
    closeObject(out);
    jsonName(out, "additionalProperties", 20);
    jsonPut(out, "false");
  }
  if (level.kind == VELNOR3GPP_CHOICE) pair(out, "maxProperties", uint64_t{1});
  if (level.kind == VELNOR3GPP_RECORD) {
    jsonPut(out, ",\"patternProperties\":{\"\\\\$name$\":{\"type\":\"string\"}}");
    putRequired(writer, level.required);
  }
  closeObject(out);
}

static int writeMember(const velnor3gpp_Member* member, void* arg)
{
  SchemaWriter& writer = *static_cast<SchemaWriter*>(arg);
  if (member->step == VELNOR3GPP_LEAVE) return leave(writer), 0;
  bool always = member->name && !member->optional && !member->omissible && member->kind != VELNOR3GPP_NOTHING;
  bool inRecord = writer.depth && writer.levels[writer.depth - 1].kind == VELNOR3GPP_RECORD;
  if (always && inRecord) {
    if (writer.required == kMaxRequired) return RTX_E_TOO_BIG;
    writer.names[writer.required++] = *member;
  }
  if (member->step == VELNOR3GPP_ENTER) {
    if (writer.depth == kMaxLevels) return RTX_E_NESTING_TOO_DEEP;
    enter(writer, *member);
  } else {
    lead(writer, *member);
    putValue(writer, *member);
    closeObject(writer.out);
  }
  return writer.out.failed ? RTX_E_NO_MEMORY : 0;
}

static int writeType(SchemaWriter& writer, size_t place)
{
  velnor3gpp_TypeFacts facts = {};
  facts.size = sizeof facts;
  velnor3gpp_typeFacts(velnor3gpp_typeAt(place), &facts);
  writer.facts = &facts;
  writer.wanted[place] = kWritten;
  jsonName(writer.out, facts.name, strlen(facts.name));
  writer.out.comma = false;
  return velnor3gpp_describe(velnor3gpp_typeAt(place), writeMember, &writer);
}

// Types want other types, before and behind them.
static int writeTypes(SchemaWriter& writer)
{
  int status = 0;
  jsonName(writer.out, "$defs", 5);
  openObject(writer.out);
  for (bool again = true; again && status >= 0;) {
    again = false;
    for (size_t i = 0; i < velnor3gpp_typeCount() && status >= 0; ++i) {
      if (writer.wanted[i] != kWanted) continue;
      again = true;
      status = writeType(writer, i);
    }
  }
  closeObject(writer.out);
  return status;
}

// What stands around every record.
static const char kAround[] =
    "\"message\":{\"type\":\"string\"},\"dir\":{\"enum\":[\"up\",\"down\"]},"
    "\"octets\":{\"type\":\"string\",\"pattern\":\"^([0-9A-Fa-f]{2})*$\"},\"status\":{\"type\":\"integer\"},"
    "\"findings\":{\"type\":\"array\",\"items\":{\"type\":\"object\",\"properties\":{\"status\":{\"type\":\"integer\"},"
    "\"fatal\":{\"type\":\"boolean\"},\"text\":{\"type\":\"string\"},\"path\":{\"type\":\"string\"},"
    "\"octet\":{\"type\":\"integer\",\"minimum\":0},\"bit\":{\"type\":\"integer\",\"minimum\":0,\"maximum\":8},"
    "\"clause\":{\"type\":\"string\"}},\"required\":[\"status\",\"fatal\",\"text\"],\"additionalProperties\":false}},"
    "\"unknown\":{\"type\":\"array\",\"items\":{\"type\":\"object\",\"properties\":{\"why\":{\"enum\":["
    "\"unknown\",\"repeated\",\"out of turn\",\"unreadable\",\"surplus\",\"padding\"]},"
    "\"iei\":{\"type\":\"string\",\"pattern\":\"^[0-9A-Fa-f]{1,2}$\"},\"path\":{\"type\":\"string\"},"
    "\"behind\":{\"type\":\"string\"},\"instead\":{\"type\":\"string\"},\"inside\":{\"type\":\"string\"},"
    "\"end\":{\"const\":true},\"octet\":{\"type\":\"integer\",\"minimum\":0},"
    "\"octets\":{\"type\":\"string\",\"pattern\":\"^([0-9A-Fa-f]{2})*$\"},"
    "\"bits\":{\"type\":\"integer\",\"minimum\":1},\"status\":{\"type\":\"integer\"},"
    "\"fault\":{\"type\":\"string\"}},\"required\":[\"path\",\"octets\"],\"additionalProperties\":false}},"
    "\"protection\":{\"type\":\"object\",\"properties\":{\"check\":{\"type\":\"string\"},\"count\":{\"type\":"
    "\"integer\"},"
    "\"sealed\":{\"type\":\"boolean\"}},\"required\":[\"check\",\"sealed\"],\"additionalProperties\":false},"
    "\"fields\":{\"type\":\"array\",\"items\":{\"type\":\"object\",\"properties\":{\"path\":{\"type\":\"string\"},"
    "\"octet\":{\"type\":\"integer\",\"minimum\":0},\"bit\":{\"type\":\"integer\",\"minimum\":1,\"maximum\":8},"
    "\"bits\":{\"type\":\"integer\",\"minimum\":1}},\"required\":[\"path\",\"octet\",\"bit\",\"bits\"],"
    "\"additionalProperties\":false}}},\"additionalProperties\":false";

// The record's schema follows from the name of its type.
static void putCases(SchemaWriter& writer)
{
  JsonWriter& out = writer.out;
  jsonPut(out, ",\"required\":[\"status\"],\"allOf\":[");
  out.comma = false;
  for (size_t i = 0; i < velnor3gpp_typeCount(); ++i) {
    velnor3gpp_TypeFacts facts = {};
    facts.size = sizeof facts;
    velnor3gpp_typeFacts(velnor3gpp_typeAt(i), &facts);
    if (out.comma) jsonPut(out, ",");
    openObject(out);
    jsonPut(out, "\"if\":{\"properties\":{\"type\":{\"const\":");
    string(out, facts.name);
    jsonPut(out, "}},\"required\":[\"type\"]},\"then\":{\"properties\":{\"record\":{");
    putReference(writer, velnor3gpp_typeAt(i));
    jsonPut(out, "}}}");
    closeObject(out);
    jsonPut(out, "\n");
  }
  jsonPut(out, "]");
  out.comma = true;
}

static int writeSchema(SchemaWriter& writer, const velnor3gpp_Type* type)
{
  JsonWriter& out = writer.out;
  velnor3gpp_TypeFacts facts = {};
  facts.size = sizeof facts;
  openObject(out);
  pair(out, "$schema", "https://json-schema.org/draft/2020-12/schema");
  pair(out, "type", "object");
  jsonPut(out, ",\"properties\":{");
  out.comma = false;
  if (type) {
    velnor3gpp_typeFacts(type, &facts);
    jsonPut(out, "\"type\":{\"const\":");
    string(out, facts.name);
    jsonPut(out, "},\"record\":{");
    putReference(writer, type);
    jsonPut(out, "},");
  } else {
    jsonPut(out, "\"type\":{\"type\":\"string\"},\"record\":{},");
  }
  jsonPut(out, kAround);
  out.comma = true;
  if (type)
    jsonPut(out, ",\"required\":[\"type\",\"record\"]");
  else
    putCases(writer);
  int status = writeTypes(writer);
  closeObject(out);
  return status;
}

int velnor3gpp_schema(velnor3gpp_Session* session, const velnor3gpp_Type* type, const char** text, size_t* count)
{
  if (!session || !text || !count) return RTX_E_NULL_POINTER;
  SchemaWriter writer = {};
  writer.out.session = session;
  writer.wanted = static_cast<uint8_t*>(calloc(velnor3gpp_typeCount(), 1));
  int status = writer.wanted ? writeSchema(writer, type) : RTX_E_NO_MEMORY;
  free(writer.wanted);
  return status < 0 ? status : jsonEnd(writer.out, text, count);
}
