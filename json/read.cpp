// One object of JSON back to a record: {"type":..., "dir":..., "record":..., "unknown":[...]}, as toJson writes it. The
// parser (RapidJSON) works in a copy of the text and allocates nothing; its events are the steps of building
// (api/build.cpp). Names of members are not known here: "record" is handed on value by value. The text is a stranger's:
// its size and depth are bounded before anything depends on them, since the parser calls itself for nested values.
//
// Members may come in any order but two: a record whose type comes behind it is read in a second pass, and what was
// kept ("unknown") has to stand behind the record that it belongs to.
#include <stdio.h>

#include "json/writer.h"

// Bad input never gets to what the parser asserts. Whatever happens, the parser must not end the process.
#define RAPIDJSON_ASSERT(condition) static_cast<void>(condition)
// The parser is given its allocator and so never makes or deletes one. With `new`, a program in C would need the
// run-time of C++.
#define RAPIDJSON_NEW(allocator) nullptr
#define RAPIDJSON_DELETE(allocator) static_cast<void>(allocator)
#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>

static constexpr unsigned kMaxDepth = 72; // a record's 64 levels, the object around it, and what is passed over

namespace {

// Which member of the whole object the parser is in. `other` is one that nobody reads, such as "octets" or "findings".
enum class At : uint8_t { start, top, type, direction, record, kept, other, done };

// One entry of "unknown". Texts lie in the reader's copy.
struct KeptEntry {
  velnor3gpp_Kept kept;
  char key[8]; // of the member under work
};

// The events of one text. Every function that the parser calls returns whether to go on; false has set `status`, but
// for a record before its type (`noType`).
struct Reader {
  velnor3gpp_Session* session;
  const velnor3gpp_Type* type;
  bool findType; // the text is read for its type alone
  At at = At::start;
  unsigned depth = 0; // of the text
  velnor3gpp_Direction direction = VELNOR3GPP_DIRECTION_UNKNOWN;
  size_t size = 0;
  int status = 0;
  bool noType = false; // a record before its type
  bool hasRecord = false;
  bool recordEnded = false; // it is the session's
  unsigned seen = 0;        // members of the whole, by their place in `kNames`
  KeptEntry entry = {};

  // Reports a mistake of the text outside the record, with its path from $ on.
  bool fail(int code, const char* path, const char* text)
  {
    status = velnor3gpp_report(session, code, path, text);
    return false;
  }

  bool failTwice(const char* name)
  {
    char path[16];
    snprintf(path, sizeof path, "$.%s", name);
    return fail(RTX_E_DUPLICATE_ELEMENT, path, "stands here twice");
  }

  // One step of building.
  bool step(velnor3gpp_BuildStep kind, const char* text = nullptr, size_t count = 0, uint64_t number = 0)
  {
    velnor3gpp_BuildEvent event = {sizeof event, kind, type, text, count, number};
    status = velnor3gpp_build(session, &event);
    return status >= 0;
  }

  // "record". The type is the caller's or has been read; without one the pass ends here and is made again.
  bool beginRecord()
  {
    if (findType) return at = At::other, true;
    noType = !type;
    if (noType) return false;
    at = At::record;
    hasRecord = true;
    static constexpr char kPrefix[] = "$.record";
    return step(VELNOR3GPP_BUILD_BEGIN, kPrefix, sizeof kPrefix - 1, size);
  }

  // "unknown". The record is ended first: a kept element is put under a record that is the session's.
  bool beginKept()
  {
    if (findType || noType) return at = At::other, true;
    if (!hasRecord) return fail(RTX_E_UNEXPECTED_ELEMENT, "$.unknown", "stands before the record; write it behind");
    at = At::kept;
    recordEnded = true;
    return step(VELNOR3GPP_BUILD_END, nullptr, 0, static_cast<uint64_t>(direction));
  }

  // Keys of an entry of "unknown" have up to seven characters.
  bool isKey(const char* name) const { return strcmp(entry.key, name) == 0; }

  // "octet" and "bits"; a "status" is negative, which Int sees to.
  bool keptNumber(uint64_t number)
  {
    if (number > UINT32_MAX) return fail(RTX_E_INVALID_FOR_TYPE, "$.unknown", "has a number that is too large");
    if (isKey("status") && number) return fail(RTX_E_INVALID_FOR_TYPE, "$.unknown", "has a status above 0");
    if (isKey("octet")) entry.kept.octet = static_cast<size_t>(number);
    if (isKey("bits")) entry.kept.bits = static_cast<size_t>(number);
    return true;
  }

  // "path", "fault", "why", the place under its own name ({"behind":"pduSessionId"}), "iei", "octets" and "regular".
  // Texts stay where they are in the reader's copy until the entry ends.
  bool keptText(char* text, size_t count)
  {
    velnor3gpp_Kept& kept = entry.kept;
    if (isKey("path")) kept.path = text;
    if (isKey("fault")) kept.fault = text;
    // A word that is none of these leaves "unknown", which is 0.
    for (unsigned why = 0; why <= VELNOR3GPP_KEPT_UNUSUAL && isKey("why"); ++why)
      if (strcmp(text, kJsonWhys[why]) == 0) kept.why = static_cast<velnor3gpp_KeptWhy>(why);
    for (unsigned place = 0; place <= VELNOR3GPP_KEPT_OVER; ++place)
      if (place != VELNOR3GPP_KEPT_END && isKey(kJsonPlaces[place])) {
        kept.at = static_cast<velnor3gpp_KeptAt>(place);
        kept.element = text;
      }
    bool iei = isKey("iei"), regular = isKey("regular");
    if (!iei && !regular && !isKey("octets")) return true;
    size_t octets = count / 2;
    // An identifier of one digit, "a", is made "0a" in place; the parser's zero behind it makes room.
    if (iei && count == 1) text[1] = text[0], text[0] = '0', octets = 1;
    if ((count % 2 && !iei) || !jsonUnhex(text, octets))
      return fail(RTX_E_BAD_HEX, regular ? "$.unknown.regular" : "$.unknown.octets",
                  "are no octets; write pairs of hexadecimal digits");
    if (iei && octets == 1) {
      kept.iei = static_cast<uint8_t>(text[0]);
      kept.ieiBits = count == 1 ? 4 : 8;
    } else if (regular) {
      kept.regular = reinterpret_cast<const uint8_t*>(text);
      kept.regularCount = octets;
    } else if (!iei) {
      kept.octets = reinterpret_cast<const uint8_t*>(text);
      kept.count = octets;
    }
    return true;
  }

  // A value inside "unknown": [{...}] is depth 3, the whole object being 1.
  bool keptValue(velnor3gpp_BuildStep kind, const char* text, size_t count, uint64_t number)
  {
    if (depth != 3) return fail(RTX_E_INVALID_FOR_TYPE, "$.unknown", "is no array of objects");
    if (kind == VELNOR3GPP_BUILD_NUMBER) return keptNumber(number);
    if (kind == VELNOR3GPP_BUILD_TEXT) return keptText(const_cast<char*>(text), count);
    if (kind == VELNOR3GPP_BUILD_OTHER && (isKey("octet") || isKey("bits") || isKey("status")))
      return fail(RTX_E_INVALID_FOR_TYPE, "$.unknown", "has no such number; counts are whole and not negative");
    // A flag: "end" is the only one.
    if (isKey("end")) entry.kept.at = VELNOR3GPP_KEPT_END;
    return true;
  }

  // Hands an entry over. Without "bits" its octets are whole.
  bool keepEntry()
  {
    velnor3gpp_Kept& kept = entry.kept;
    if (!kept.path || !kept.octets) return fail(RTX_E_MISSING_ELEMENT, "$.unknown", "lacks its path or its octets");
    if (!kept.bits) kept.bits = kept.count * 8;
    status = velnor3gpp_keep(session, &kept);
    return status >= 0;
  }

  // The value of a member of the whole is over: the next key is one of the whole.
  bool ended()
  {
    if (depth == 1 && at != At::done) at = At::top;
    return true;
  }

  // A value that is neither object nor array, wherever it stands.
  bool value(velnor3gpp_BuildStep kind, const char* text, size_t count, uint64_t number)
  {
    if (at == At::start) return fail(RTX_E_BAD_FORMAT, "$", "is no object; write {\"type\":..., \"record\":...}");
    if (at == At::type || at == At::direction)
      return fail(RTX_E_INVALID_FOR_TYPE, at == At::type ? "$.type" : "$.dir", "is no string");
    if (at == At::kept) return keptValue(kind, text, count, number);
    if (at == At::record && !step(kind, text, count, number)) return false;
    return ended();
  }

  // "type". With a type of the caller's, or in a pass that has found one, the name is passed over.
  bool takeType(const char* text, size_t count)
  {
    char name[256], words[400];
    size_t others = 0;
    if (count >= sizeof name) return fail(RTX_E_STRING_TOO_LONG, "$.type", "is no name of a type");
    memcpy(name, text, count);
    name[count] = 0;
    if (type && !findType) return ended(); // the caller's goes before that of the text
    type = velnor3gpp_typeByName(name, &others);
    if (type) return ended();
    if (others)
      snprintf(words, sizeof words, "%zu types have the name '%s'; write its module before it", others, name);
    else
      snprintf(words, sizeof words, "there is no type of the name '%s'", name);
    return fail(RTX_E_UNRESOLVED_TYPE, "$.type", words);
  }

  // "dir", for messages that both sides send.
  bool takeDirection(const char* text, size_t count)
  {
    bool up = count == 2 && memcmp(text, "up", 2) == 0, down = count == 4 && memcmp(text, "down", 4) == 0;
    if (!up && !down) return fail(RTX_E_INVALID_FOR_TYPE, "$.dir", "is neither \"up\" nor \"down\"");
    direction = up ? VELNOR3GPP_UP : VELNOR3GPP_DOWN;
    return ended();
  }

  // An object or array begins. In "unknown" each object begins an entry.
  bool enter(velnor3gpp_BuildStep kind)
  {
    if (depth == kMaxDepth) return fail(RTX_E_NESTING_TOO_DEEP, "$", "is nested deeper than a message can be");
    if (at == At::start && kind == VELNOR3GPP_BUILD_OPEN) {
      at = At::top;
      ++depth;
      return true;
    }
    if (at == At::kept) {
      // The array is a value of the whole, an object one of the array; anything deeper is not ours.
      if (depth != (kind == VELNOR3GPP_BUILD_LIST ? 1 : 2))
        return fail(RTX_E_INVALID_FOR_TYPE, "$.unknown", "is no array of objects");
      entry = {};
      entry.kept.size = sizeof entry.kept;
      entry.kept.element = entry.kept.fault = "";
      return ++depth;
    }
    if (at != At::record && at != At::other) return value(kind, nullptr, 0, 0);
    ++depth;
    return at != At::record || step(kind);
  }

  // An object or array ends.
  bool leave()
  {
    --depth;
    if (!depth) return at = At::done, true;
    if (at == At::record && !step(VELNOR3GPP_BUILD_CLOSE)) return false;
    if (at == At::kept && depth == 2 && !keepEntry()) return false;
    return ended();
  }

  // What the parser calls.
  template <size_t Size> bool other(const char (&text)[Size])
  {
    return value(VELNOR3GPP_BUILD_OTHER, text, Size - 1, 0);
  }
  bool Null() { return other("null"); }
  // RapidJSON's names. Numbers come as the narrowest of four types that holds them.
  bool Bool(bool flag) { return value(VELNOR3GPP_BUILD_FLAG, nullptr, 0, flag); }
  // Int is called for negative numbers alone: a status of a kept element is one, no member of a record is.
  bool Int(int number)
  {
    bool taken = at == At::kept && depth == 3 && isKey("status") && number >= INT16_MIN;
    if (taken) entry.kept.status = number;
    return taken || other("a negative number");
  }
  bool Uint(unsigned number) { return value(VELNOR3GPP_BUILD_NUMBER, nullptr, 0, number); }
  bool Int64(int64_t) { return other("a negative number"); }
  bool Uint64(uint64_t number) { return value(VELNOR3GPP_BUILD_NUMBER, nullptr, 0, number); }
  bool Double(double) { return other("a number that is not whole or too large"); }
  bool RawNumber(const char*, unsigned, bool) { return false; }
  // EF may begin a character of the private area (json/writer.h). In place: the copy is the reader's.
  bool String(const char* text, unsigned count, bool)
  {
    if (at == At::type) return takeType(text, count);
    if (at == At::direction) return takeDirection(text, count);
    size_t length = count;
    if (at == At::record && memchr(text, '\xEF', count)) length = jsonRestore(const_cast<char*>(text), count);
    return value(VELNOR3GPP_BUILD_TEXT, text, length, 0);
  }
  // A name. In the record it is a step; of the whole it says what its value is.
  bool Key(const char* text, unsigned count, bool)
  {
    if (at == At::record) return step(VELNOR3GPP_BUILD_MEMBER, text, count);
    if (at == At::other) return true;
    if (at == At::kept) {
      // The longest name that is known, "instead", fits. A longer one must not be cut to it: it is no known name.
      snprintf(entry.key, sizeof entry.key, "%s", count < sizeof entry.key ? text : "");
      return true;
    }
    static constexpr const char* kNames[] = {"type", "dir", "record", "unknown"};
    static constexpr At kMeans[] = {At::type, At::direction, At::record, At::kept};
    unsigned i = 0;
    while (i < 4 && (strlen(kNames[i]) != count || memcmp(kNames[i], text, count) != 0)) ++i;
    at = i < 4 ? kMeans[i] : At::other;
    if (at == At::other) return true;
    if (seen & 1U << i) return failTwice(kNames[i]);
    seen |= 1U << i;
    return at == At::record ? beginRecord() : at != At::kept || beginKept();
  }
  bool StartObject() { return enter(VELNOR3GPP_BUILD_OPEN); }
  bool EndObject(unsigned) { return leave(); }
  bool StartArray() { return enter(VELNOR3GPP_BUILD_LIST); }
  bool EndArray(unsigned) { return leave(); }
};

} // namespace

// A mistake in the JSON itself, by the number of the character.
static int tellSyntax(velnor3gpp_Session* session, const rapidjson::ParseResult& result)
{
  char words[256];
  snprintf(words, sizeof words, "character %zu: %s", result.Offset() + 1, rapidjson::GetParseError_En(result.Code()));
  return velnor3gpp_report(session, RTX_E_PARSE, "$", words);
}

// Zero octets behind the copy of a text. The first one ends it. The parser takes a character of UTF-8 in full before it
// judges it: where the text ends behind the first octet of four, F0, it reads the three octets that follow.
static constexpr size_t kZeros = 3;

// Parses a fresh copy of the text, which the parser changes. Ending the parser from a handler is a mistake only if the
// handler has set a status.
static int parse(Reader& reader, char* copy, const char* text, size_t count)
{
  memcpy(copy, text, count);
  memset(copy + count, 0, kZeros);
  rapidjson::InsituStringStream stream(copy);
  rapidjson::CrtAllocator allocator;
  rapidjson::Reader parser(&allocator);
  constexpr unsigned kFlags = rapidjson::kParseInsituFlag | rapidjson::kParseValidateEncodingFlag;
  rapidjson::ParseResult result = parser.Parse<kFlags>(stream, reader);
  if (result || reader.status < 0) return reader.status;
  // Ended without a status: a record before its type, which the second pass reads.
  if (result.Code() == rapidjson::kParseErrorTermination) return 0;
  return reader.status = tellSyntax(reader.session, result);
}

// The whole is read. A text without a record, such as what toJson writes of octets that have no type, cannot be built.
static int endRecord(Reader& reader)
{
  if (!reader.hasRecord)
    return velnor3gpp_report(reader.session, RTX_E_MISSING_ELEMENT, "$.record", "is missing; it is always there");
  if (!reader.recordEnded) reader.step(VELNOR3GPP_BUILD_END, nullptr, 0, static_cast<uint64_t>(reader.direction));
  return reader.status;
}

// Ends the message before, and forgets what it found.
static void clear(velnor3gpp_Session* session)
{
  velnor3gpp_BuildEvent event = {sizeof event, VELNOR3GPP_BUILD_CLEAR, nullptr, nullptr, 0, 0};
  velnor3gpp_build(session, &event);
}

// A mistake behind the record, which was the session's already: what is wrong as a whole is not encoded in part.
static int giveUpRecord(velnor3gpp_Session* session, int status)
{
  char path[512], text[512];
  velnor3gpp_Finding finding = {};
  finding.size = sizeof finding;
  if (velnor3gpp_finding(session, 0, &finding) < 0) return status;
  snprintf(path, sizeof path, "%s", finding.path);
  snprintf(text, sizeof text, "%s", finding.text);
  clear(session);
  return velnor3gpp_report(session, status, path, text);
}

// The copy lies in the session's text, so a text that toJson has handed out may not be given back without a copy.
int velnor3gpp_fromJson(velnor3gpp_Session* session, const velnor3gpp_Type* type, const char* text, size_t count)
{
  if (!session || !text) return RTX_E_NULL_POINTER;
  clear(session);
  if (count > VELNOR3GPP_JSON_MAX)
    return velnor3gpp_report(session, RTX_E_TOO_BIG, "$", "has more than 16 MiB; give one message at a time");
  char* copy = velnor3gpp_room(session, count + kZeros);
  if (!copy) return velnor3gpp_report(session, RTX_E_NO_MEMORY, "$", "out of memory");
  Reader reader{session, type, false};
  reader.size = count; // the budget of the record follows the size of the text
  int status = parse(reader, copy, text, count);
  if (status >= 0 && reader.noType) {
    // The record came before its type. The first pass looks for the type alone, the next one reads.
    Reader finder{session, nullptr, true};
    status = parse(finder, copy, text, count);
    if (status >= 0 && !finder.type)
      return velnor3gpp_report(session, RTX_E_NO_PDU_TYPE, "$.type", "is missing; name the type of the record");
    reader = Reader{session, finder.type, false};
    reader.size = count;
    if (status >= 0) status = parse(reader, copy, text, count);
  }
  if (status >= 0) return endRecord(reader);
  return reader.recordEnded ? giveUpRecord(session, status) : status;
}
