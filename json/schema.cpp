// JSON Schema (draft 2020-12) of types: a visitor of their descriptions (api/describe.cpp), for editors and for
// programs that check JSON before it comes here. Every type that a type holds stands once under "$defs", so that a
// schema grows with the types and not with the ways to reach them. What toJson writes of a good message fits the
// schema; a record that fits may still be refused by an encoder, which tests ranges and conditions.
//
//   {"$schema":"https://json-schema.org/draft/2020-12/schema", "type":"object",
//    "properties":{"type":{"const":"TS24501IE_NSSAI"}, "record":{"$ref":"#/$defs/TS24501IE_NSSAI"}, ...},
//    "required":["type","record"], "$defs":{"TS24501IE_NSSAI":{...}, "TS24501IE_SNSSAI":{...}}}
#include <cstdlib>

#include "json/writer.h"

// As deep as a description may be (api/describe.cpp).
static constexpr unsigned kMaxLevels = 64;
// Of all open levels together. A record has at most some hundred members; more would be a fault of a definition.
static constexpr unsigned kMaxRequired = 1024;

namespace {

// An object or array that is open.
struct Level {
  velnor3gpp_Kind kind;
  unsigned required; // names before those of this level
};

// A schema under work. `names` is one array for all levels, each with its part behind `Level::required`.
struct SchemaWriter {
  JsonWriter out;
  const velnor3gpp_TypeFacts* facts; // of the type under work
  uint8_t* wanted;                   // by the place of the type: 1 to be written, 2 written
  unsigned depth;
  unsigned required;
  Level levels[kMaxLevels];
  velnor3gpp_Member names[kMaxRequired]; // members that are always there, of all open levels
};

// What is known of a type: nothing, that another one refers to it, or that it is in the schema.
enum Wanted : uint8_t { kUnknown, kWanted, kWritten };

} // namespace

// A string in quotation marks.
static void string(JsonWriter& out, const char* text)
{
  jsonText(out, reinterpret_cast<const uint8_t*>(text), strlen(text));
}

// A member with a string for a value; below, with a number.
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

// Notes a type to be written, once. Types are told by their place in the table.
static void want(SchemaWriter& writer, const velnor3gpp_Type* type)
{
  for (size_t i = 0; i < velnor3gpp_typeCount(); ++i)
    if (velnor3gpp_typeAt(i) == type && !writer.wanted[i]) writer.wanted[i] = kWanted;
}

// A type is not described where it stands but referred to: {"$ref":"#/$defs/TS24501IE_SNSSAI"}.
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

// Numbers of more than 53 bits are strings of digits, as write.cpp has them. A width is 1 to 53 here.
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
  // Anchored at both ends: a pattern of a schema fits anywhere in a string otherwise.
  jsonPut(out, "\"^");
  jsonPut(out, unit, strlen(unit));
  jsonPut(out, "{");
  jsonNumber(out, member.least);
  jsonPut(out, ",");
  if (member.most != SIZE_MAX) jsonNumber(out, member.most);
  jsonPut(out, "}$\"");
}

// What a value of the kind looks like.
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

// A brace, with nothing in front of what comes next.
static void openObject(JsonWriter& out)
{
  jsonPut(out, "{");
  out.comma = false;
}

// The writer's comma says that something stands in front of what comes next.
static void closeObject(JsonWriter& out)
{
  jsonPut(out, "}");
  out.comma = true;
}

// Writes the name that leads the schema of an element, and the brace. The whole of a type also gets its title and
// clause.
static void lead(SchemaWriter& writer, const velnor3gpp_Member& member)
{
  JsonWriter& out = writer.out;
  // A member stands in "properties" under its name, what a list holds under "items", the whole under the type's name.
  if (member.name)
    jsonName(out, member.name, member.nameLength);
  else if (writer.depth)
    jsonName(out, "items", 5);
  openObject(out);
  if (writer.depth) return; // only the whole of a type has a title and its clause
  if (*writer.facts->title) pair(out, "title", writer.facts->title);
  pair(out, "$comment", writer.facts->clause);
}

// An object or array begins: its type, and in an object the list of what it may have.
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

// The members of the level that are always there. The array is cut back to those of the levels around it.
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

// Ends an object or array. No other members are allowed; a choice has one at most, a record may have a name beside each
// of its numbers ("cause$name").
static void leave(SchemaWriter& writer)
{
  const Level& level = writer.levels[--writer.depth];
  JsonWriter& out = writer.out;
  if (level.kind != VELNOR3GPP_LIST) {
    closeObject(out);
    jsonName(out, "additionalProperties", 20);
    jsonPut(out, "false");
  }
  // Not exactly one: a choice that has no alternative is an empty object.
  if (level.kind == VELNOR3GPP_CHOICE) pair(out, "maxProperties", uint64_t{1});
  if (level.kind == VELNOR3GPP_RECORD) {
    jsonPut(out, ",\"patternProperties\":{\"\\\\$name$\":{\"type\":\"string\"}}");
    putRequired(writer, level.required);
  }
  closeObject(out);
}

// Visitor of a description. Lengths and spare bits may be left out, elements without a value are `true` or missing:
// these are not required.
static int writeMember(const velnor3gpp_Member* member, void* arg)
{
  SchemaWriter& writer = *static_cast<SchemaWriter*>(arg);
  if (member->step == VELNOR3GPP_LEAVE) return leave(writer), 0;
  bool always = member->name && !member->optional && !member->omissible && member->kind != VELNOR3GPP_NOTHING;
  bool inRecord = writer.depth && writer.levels[writer.depth - 1].kind == VELNOR3GPP_RECORD;
  // Alternatives of a choice are never required, however plain they are.
  if (always && inRecord) {
    if (writer.required == kMaxRequired) return RTX_E_TOO_BIG;
    writer.names[writer.required++] = *member;
  }
  // A member that is entered is described by what comes up to its end, any other in one piece.
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

// The schema of one type under its name.
static int writeType(SchemaWriter& writer, size_t place)
{
  velnor3gpp_TypeFacts facts = {};
  facts.size = sizeof facts;
  velnor3gpp_typeFacts(velnor3gpp_typeAt(place), &facts);
  writer.facts = &facts;
  writer.wanted[place] = kWritten; // before the description, which may refer to other types
  jsonName(writer.out, facts.name, strlen(facts.name));
  writer.out.comma = false;
  return velnor3gpp_describe(velnor3gpp_typeAt(place), writeMember, &writer);
}

// Beside the types; their names have a module in front.
static const char kOctets[] = R"("octets":{"type":"string","pattern":"^([0-9A-Fa-f]{2})*$"})";

// Writes what is wanted until nothing more is: types want other types, before and behind them in the table.
static int writeTypes(SchemaWriter& writer)
{
  int status = 0;
  jsonName(writer.out, "$defs", 5);
  openObject(writer.out);
  jsonPut(writer.out, kOctets);
  writer.out.comma = true;
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

// The members that stand around every record, as write.cpp writes them and, in front of them or instead, the program;
// readers pass over all of them but "dir" and "unknown". No other members are allowed, so that a misspelt "recrod" is
// found. The words of "unknown" stand between these two.
static const char kAround[] =
    R"("key":{"type":"string"},"frame":{"type":"integer","minimum":0},"time":{"type":"string"},)"
    R"("err":{"type":"object","properties":{"status":{"type":"integer"},"octet":{"type":"integer","minimum":0},)"
    R"("path":{"type":"string"},"text":{"type":"string"}},"additionalProperties":false},)"
    R"("message":{"type":"string"},"dir":{"enum":["up","down"]},"octets":{"$ref":"#/$defs/octets"},)"
    R"("status":{"type":"integer"},"findings":{"type":"array","items":{"type":"object","properties":{)"
    R"("status":{"type":"integer"},"fatal":{"type":"boolean"},"text":{"type":"string"},"path":{"type":"string"},)"
    R"("octet":{"type":"integer","minimum":0},"bit":{"type":"integer","minimum":0,"maximum":8},)"
    R"("clause":{"type":"string"}},"required":["status","fatal","text"],"additionalProperties":false}},)"
    R"("unknown":{"type":"array","items":{"type":"object","properties":{"why":{"enum":[)";
static const char kAroundKept[] =
    R"(,"iei":{"type":"string","pattern":"^[0-9A-Fa-f]{1,2}$"},"path":{"type":"string"},)"
    R"("octet":{"type":"integer","minimum":0},"octets":{"$ref":"#/$defs/octets"},)"
    R"("regular":{"$ref":"#/$defs/octets"},"bits":{"type":"integer","minimum":1},"status":{"type":"integer"},)"
    R"("fault":{"type":"string"}},"required":["path","octets"],"additionalProperties":false}},)"
    R"("protection":{"type":"object","properties":{"check":{"type":"string"},"count":{"type":"integer"},)"
    R"("sealed":{"type":"boolean"}},"required":["check","sealed"],"additionalProperties":false},)"
    R"("fields":{"type":"array","items":{"type":"object","properties":{"path":{"type":"string"},)"
    R"("octet":{"type":"integer","minimum":0},"bit":{"type":"integer","minimum":1,"maximum":8},)"
    R"("bits":{"type":"integer","minimum":1}},"required":["path","octet","bit","bits"],)"
    R"("additionalProperties":false}}},"additionalProperties":false)";
// A record lacks what is always there if its message is wrong, where it was read so far, and if an element was kept in
// its place. Any other has the schema of its type.
static const char kIncomplete[] =
    R"(,"if":{"anyOf":[{"properties":{"status":{"maximum":-1}},"required":["status"]},)"
    R"({"properties":{"unknown":{"contains":{"required":["instead"]}}},"required":["unknown"]}]},"else":{)";

static void putAround(JsonWriter& out)
{
  jsonPut(out, kAround);
  out.comma = false;
  for (const char* why : kJsonWhys) {
    if (out.comma) jsonPut(out, ",");
    string(out, why);
    out.comma = true;
  }
  jsonPut(out, "]}");
  for (unsigned place = 0; place <= VELNOR3GPP_KEPT_OVER; ++place) {
    jsonName(out, kJsonPlaces[place], strlen(kJsonPlaces[place]));
    if (place == VELNOR3GPP_KEPT_END)
      jsonPut(out, R"({"const":true})");
    else
      jsonPut(out, R"({"type":"string"})");
  }
  jsonPut(out, kAroundKept);
}

// Of all types: which schema "record" has follows from "type", by a condition for each type.
static void putCases(SchemaWriter& writer)
{
  JsonWriter& out = writer.out;
  jsonPut(out, "\"allOf\":[");
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
}

// The whole of one type, or with null of all: the object around the record, then "$defs".
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
  // Of one type the name in "type" is fixed and the record's schema with it; of all, a
  // condition leads to it (putCases).
  if (type) {
    velnor3gpp_typeFacts(type, &facts);
    jsonPut(out, "\"type\":{\"const\":");
    string(out, facts.name);
    jsonPut(out, "},\"record\":{},");
  } else {
    jsonPut(out, "\"type\":{\"type\":\"string\"},\"record\":{},");
  }
  putAround(out);
  if (type) jsonPut(out, R"(,"required":["type"])");
  jsonPut(out, R"(,"anyOf":[{"required":["type","record"]},{"required":["status"]},{"required":["err"]}])");
  jsonPut(out, kIncomplete);
  out.comma = false;
  if (type) {
    jsonPut(out, "\"properties\":{\"record\":{");
    putReference(writer, type);
    jsonPut(out, "}}");
  } else {
    putCases(writer);
  }
  jsonPut(out, "}");
  out.comma = true;
  int status = writeTypes(writer);
  closeObject(out);
  return status;
}

// `wanted` has an octet for each type; it is the one thing here that is not the session's.
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
