// What came of a message as one object: a visitor of the record (api/visit.cpp), and around it what is known of the
// message: type, direction, octets, status, kept elements, findings, protection, and with VELNOR3GPP_POSITIONS the
// places of its fields. docs/json.md tells the members; schema.cpp has their schema in kAround, and both change
// together. Members that would say nothing are left out. Everything comes through public calls of the session.
//
//   {"type":"TS24501Msg_PDU","message":"Identity request","dir":"down","octets":"7e005b01","status":0,
//    "record":{"protoDiscr":126,...,"data":{"IdentityRequest5G":{"spare":0,"identity":{"spare":0,"typeOfIdent":1}}}}}
#include "json/writer.h"

// The text begins anew; what was handed out before is gone.
static void begin(JsonWriter& writer, velnor3gpp_Session* session)
{
  writer = {session, nullptr, 0, 0, false, false};
}

// A brace or bracket opens: no comma in front of the first thing in it.
static void open(JsonWriter& writer, char brace)
{
  jsonPut(writer, &brace, 1);
  writer.comma = false;
}

// It closes: whatever comes next needs a comma.
static void close(JsonWriter& writer, char brace)
{
  jsonPut(writer, &brace, 1);
  writer.comma = true;
}

// A member's name, whose characters are known when this is compiled.
template <size_t Size> static void name(JsonWriter& writer, const char (&text)[Size])
{
  jsonName(writer, text, Size - 1);
}

// A text of this library's or of the message's; jsonText escapes what needs it.
static void string(JsonWriter& writer, const char* text)
{
  jsonText(writer, reinterpret_cast<const uint8_t*>(text), strlen(text));
}

// The name before a member, or the comma before an entry.
static void lead(JsonWriter& writer, const velnor3gpp_Node* node)
{
  if (node->name) return jsonName(writer, node->name, node->nameLength);
  if (writer.comma) jsonPut(writer, ",");
  writer.comma = true;
}

// A number, flag, string, or `true` for an element without a value.
static void putValue(JsonWriter& writer, const velnor3gpp_Node* node)
{
  switch (node->kind) {
    case VELNOR3GPP_NUMBER:
    case VELNOR3GPP_ENUMERATED:
      if (node->width > 53) jsonPut(writer, "\""); // more than a reader of numbers holds exactly
      jsonNumber(writer, node->number);
      if (node->width > 53) jsonPut(writer, "\"");
      return;
    case VELNOR3GPP_FLAG:
      if (node->number)
        jsonPut(writer, "true");
      else
        jsonPut(writer, "false");
      return;
    case VELNOR3GPP_OCTETS:
      return jsonHex(writer, node->data, node->count);
    case VELNOR3GPP_BITS:
      return jsonBits(writer, node->data, node->count);
    case VELNOR3GPP_TEXT:
      return jsonText(writer, node->data, node->count);
    default:
      return jsonPut(writer, "true");
  }
}

// The name of a value stands beside it, under the member's name and "$name".
static void putName(JsonWriter& writer, const velnor3gpp_Node* node)
{
  jsonPut(writer, ",\"");
  jsonPut(writer, node->name, node->nameLength);
  jsonPut(writer, "$name\":");
  string(writer, node->valueName);
}

// Visitor: turns nodes into members, objects and arrays.
static int writeNode(const velnor3gpp_Node* node, void* arg)
{
  JsonWriter& writer = *static_cast<JsonWriter*>(arg);
  bool list = node->kind == VELNOR3GPP_LIST;
  if (node->step == VELNOR3GPP_LEAVE) {
    close(writer, list ? ']' : '}');
    return writer.failed ? RTX_E_NO_MEMORY : 0;
  }
  lead(writer, node);
  if (node->step == VELNOR3GPP_ENTER) {
    open(writer, list ? '[' : '{');
    return 0;
  }
  putValue(writer, node);
  // An object of a choice has one member, its alternative, and readers refuse a second; lists have no names at all.
  bool named = node->parent && node->parent->kind == VELNOR3GPP_RECORD;
  if (node->valueName && named) putName(writer, node);
  return writer.failed ? RTX_E_NO_MEMORY : 0;
}

// Visitor for "fields": path, octet, bit (8 is the first) and count of bits of every node that has a place.
static int writeField(const velnor3gpp_Node* node, void* arg)
{
  JsonWriter& writer = *static_cast<JsonWriter*>(arg);
  if (node->step == VELNOR3GPP_LEAVE || !node->bits) return 0;
  char path[1024];
  size_t length = velnor3gpp_nodePath(node, path, sizeof path);
  // Entries of a list have no names to lead them.
  if (writer.comma) jsonPut(writer, ",");
  open(writer, '{');
  name(writer, "path");
  jsonText(writer, reinterpret_cast<const uint8_t*>(path), length < sizeof path ? length : sizeof path - 1);
  name(writer, "octet");
  jsonNumber(writer, node->bitOffset / 8);
  name(writer, "bit");
  jsonNumber(writer, 8 - node->bitOffset % 8);
  name(writer, "bits");
  jsonNumber(writer, node->bits);
  close(writer, '}');
  return writer.failed ? RTX_E_NO_MEMORY : 0;
}

// {"status":-2,"fatal":true,"text":...,"path":...,"octet":3,"bit":8,"clause":...}; place and
// clause where they are known.
static void writeFinding(JsonWriter& writer, const velnor3gpp_Finding& finding)
{
  if (writer.comma) jsonPut(writer, ",");
  open(writer, '{');
  name(writer, "status");
  if (finding.status < 0) jsonPut(writer, "-");
  jsonNumber(writer, static_cast<uint64_t>(finding.status < 0 ? -finding.status : finding.status));
  name(writer, "fatal");
  if (finding.fatal)
    jsonPut(writer, "true");
  else
    jsonPut(writer, "false");
  name(writer, "text");
  string(writer, finding.text);
  if (*finding.path) {
    name(writer, "path");
    string(writer, finding.path);
  }
  // SIZE_MAX: it stands nowhere in the octets, as one of an encoder or of the session.
  if (finding.octet != SIZE_MAX) {
    name(writer, "octet");
    jsonNumber(writer, finding.octet);
    name(writer, "bit");
    jsonNumber(writer, static_cast<uint64_t>(finding.bit));
  }
  if (*finding.clause) {
    name(writer, "clause");
    string(writer, finding.clause);
  }
  close(writer, '}');
}

// All findings, remarks too, in the order in which they were found.
static void writeFindings(JsonWriter& writer, size_t count)
{
  if (!count) return;
  name(writer, "findings");
  open(writer, '[');
  // A finding that cannot be had (an index that is too large) is left out: nothing else can be said of it.
  velnor3gpp_Finding finding = {};
  finding.size = sizeof finding;
  for (size_t i = 0; i < count; ++i)
    if (velnor3gpp_finding(writer.session, i, &finding) >= 0) writeFinding(writer, finding);
  close(writer, ']');
}

// jsonNumber has no sign.
static void signedNumber(JsonWriter& writer, int number)
{
  if (number < 0) jsonPut(writer, "-");
  jsonNumber(writer, static_cast<uint64_t>(number < 0 ? -number : number));
}

// Where it stands: "behind", "instead", "inside" or "over" with the element, or "end"; nothing: in front of all
// elements.
static void writePlace(JsonWriter& writer, const velnor3gpp_Kept& kept)
{
  if (kept.at == VELNOR3GPP_KEPT_END) {
    name(writer, "end");
    return jsonPut(writer, "true");
  }
  if (kept.at == VELNOR3GPP_KEPT_BEHIND && !*kept.element) return;
  jsonName(writer, kJsonPlaces[kept.at], strlen(kJsonPlaces[kept.at]));
  string(writer, kept.element);
}

// An entry of "unknown", as fromJson takes it back.
static void writeKept(JsonWriter& writer, const velnor3gpp_Kept& kept)
{
  if (writer.comma) jsonPut(writer, ",");
  open(writer, '{');
  name(writer, "why");
  string(writer, kJsonWhys[kept.why]);
  if (kept.ieiBits) {
    static const char kDigits[] = "0123456789abcdef";
    // "7a", or "a" for an identifier of four bits.
    char iei[] = {kDigits[kept.iei >> 4 & 15], kDigits[kept.iei & 15], 0};
    name(writer, "iei");
    string(writer, kept.ieiBits == 8 ? iei : iei + 1);
  }
  name(writer, "path");
  string(writer, kept.path);
  writePlace(writer, kept);
  name(writer, "octet");
  jsonNumber(writer, kept.octet);
  name(writer, "octets");
  jsonHex(writer, kept.octets, kept.count);
  if (kept.bits != kept.count * 8) {
    name(writer, "bits");
    jsonNumber(writer, kept.bits);
  }
  if (kept.regular) {
    name(writer, "regular");
    jsonHex(writer, kept.regular, kept.regularCount);
  }
  // Only what could not be read has a status and the path of the failure inside it.
  if (kept.status) {
    name(writer, "status");
    signedNumber(writer, kept.status);
  }
  if (*kept.fault) {
    name(writer, "fault");
    string(writer, kept.fault);
  }
  close(writer, '}');
}

// "unknown", in the order in which the decoder kept the elements: an encoder puts them back in that order.
static void writeAllKept(JsonWriter& writer, size_t count)
{
  if (!count) return;
  name(writer, "unknown");
  open(writer, '[');
  velnor3gpp_Kept kept = {};
  kept.size = sizeof kept;
  for (size_t i = 0; i < count && !writer.failed; ++i)
    if (velnor3gpp_kept(writer.session, i, &kept) == 0)
      writeKept(writer, kept);
    else
      writer.failed = true; // they are there, so memory is out
  close(writer, ']');
}

// Only of messages that have a security header. "sealed": nothing but the header could be read.
static void writeProtection(JsonWriter& writer, const velnor3gpp_Result& result)
{
  // In the order of velnor3gpp_Check.
  static const char* const kChecks[] = {"plain",          "verified",    "forged",     "no keys",
                                        "null algorithm", "not covered", "not reached"};
  if (result.check == VELNOR3GPP_PLAIN) return;
  name(writer, "protection");
  open(writer, '{');
  name(writer, "check");
  string(writer, kChecks[result.check]);
  // The NAS COUNT is known only if the code has proved it.
  if (result.check == VELNOR3GPP_VERIFIED) {
    name(writer, "count");
    jsonNumber(writer, result.nasCount);
  }
  name(writer, "sealed");
  if (result.headerOnly)
    jsonPut(writer, "true");
  else
    jsonPut(writer, "false");
  close(writer, '}');
}

// What leads the object: type, name of the message, direction, octets, status.
static void writeHead(JsonWriter& writer, const velnor3gpp_Result& result)
{
  if (result.type) {
    velnor3gpp_TypeFacts facts = {};
    facts.size = sizeof facts;
    velnor3gpp_typeFacts(result.type, &facts);
    name(writer, "type");
    string(writer, facts.name);
  }
  if (*result.title || *result.message) {
    name(writer, "message");
    string(writer, *result.title ? result.title : result.message);
  }
  if (result.direction != VELNOR3GPP_DIRECTION_UNKNOWN) {
    name(writer, "dir");
    string(writer, result.direction == VELNOR3GPP_UP ? "up" : "down");
  }
  if (result.count) {
    name(writer, "octets");
    jsonHex(writer, result.octets, result.count);
  }
  name(writer, "status");
  if (result.status < 0) jsonPut(writer, "-");
  jsonNumber(writer, static_cast<uint64_t>(result.status < 0 ? -result.status : result.status));
}

// One message. Octets that have no type come without a record, with a finding that says why.
static void writeObject(JsonWriter& writer, unsigned flags)
{
  // Callers' structs begin with their size; so do these, like those of any other caller.
  velnor3gpp_Result result = {};
  result.size = sizeof result;
  velnor3gpp_result(writer.session, &result);
  open(writer, '{');
  writeHead(writer, result);
  if (result.type) {
    const size_t before = writer.length;
    jsonPut(writer, ",\"record\":");
    const size_t begin = writer.length;
    writer.comma = false; // the whole has no name, and no comma in front of it
    velnor3gpp_visit(writer.session, flags & VELNOR3GPP_NAMES, writeNode, &writer);
    // A type of one element has no value where that was kept instead.
    if (writer.length == begin) writer.length = before;
    writer.comma = true;
  }
  writeAllKept(writer, result.type ? result.kept : 0);
  writeFindings(writer, result.findings);
  writeProtection(writer, result);
  if (result.type && flags & VELNOR3GPP_POSITIONS) {
    name(writer, "fields");
    open(writer, '[');
    velnor3gpp_visit(writer.session, VELNOR3GPP_POSITIONS, writeField, &writer);
    close(writer, ']');
  }
  close(writer, '}');
}

// `flags` choose names of values and positions; the text holds until the next text of the session.
int velnor3gpp_toJson(velnor3gpp_Session* session, unsigned flags, const char** text, size_t* count)
{
  if (!session || !text || !count) return RTX_E_NULL_POINTER;
  JsonWriter writer;
  begin(writer, session);
  writeObject(writer, flags);
  return jsonEnd(writer, text, count);
}

// One line for each message. A bad one has its findings in its line, so the status is about memory alone.
int velnor3gpp_decodeMany(velnor3gpp_Session* session, const velnor3gpp_Type* type, const velnor3gpp_Octets* messages,
                          size_t messageCount, unsigned flags, const char** text, size_t* count)
{
  if (!session || (!messages && messageCount) || !text || !count) return RTX_E_NULL_POINTER;
  JsonWriter writer;
  begin(writer, session);
  for (const velnor3gpp_Octets* message = messages; message < messages + messageCount && !writer.failed; ++message) {
    velnor3gpp_decode(session, type, message->direction, message->octets, message->count);
    writeObject(writer, flags);
    jsonPut(writer, "\n");
  }
  return jsonEnd(writer, text, count);
}
