// One object back to a record. The parser works in a copy of the text and allocates nothing; its events are the steps
// of building. Depth and size are bounded before anything depends on them: the parser calls itself for nested values.
#include <stdio.h>

#include "json/writer.h"

// Bad input never reaches what the parser asserts, and nothing may end the process.
#define RAPIDJSON_ASSERT(condition) static_cast<void>(condition)
// It is given its allocator, so it makes and deletes none: a program in C needs no run-time of C++.
#define RAPIDJSON_NEW(allocator) nullptr
#define RAPIDJSON_DELETE(allocator) static_cast<void>(allocator)
#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>

static constexpr unsigned kMaxDepth = 72; // a record's 64 levels, the object around it, and what is passed over

namespace {

enum class At : uint8_t { start, top, type, direction, record, kept, other, done };

// One entry of "unknown". Texts lie in the reader's copy.
struct KeptEntry {
  velnor3gpp_Kept kept;
  char key[8]; // of the member under work
};

// The events of one text.
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
  KeptEntry entry = {};

  bool fail(int code, const char* path, const char* text)
  {
    status = velnor3gpp_report(session, code, path, text);
    return false;
  }

  bool step(velnor3gpp_BuildStep kind, const char* text = nullptr, size_t count = 0, uint64_t number = 0)
  {
    velnor3gpp_BuildEvent event = {sizeof event, kind, type, text, count, number};
    status = velnor3gpp_build(session, &event);
    return status >= 0;
  }

  bool beginRecord()
  {
    if (findType) return at = At::other, true;
    noType = !type;
    if (noType) return false;
    if (hasRecord) return fail(RTX_E_DUPLICATE_ELEMENT, "$.record", "stands here twice");
    at = At::record;
    hasRecord = true;
    static constexpr char kPrefix[] = "$.record";
    return step(VELNOR3GPP_BUILD_BEGIN, kPrefix, sizeof kPrefix - 1, size);
  }

  // What is kept belongs to the record, so it stands behind it.
  bool beginKept()
  {
    if (findType || noType) return at = At::other, true;
    if (!hasRecord) return fail(RTX_E_UNEXPECTED_ELEMENT, "$.unknown", "stands before the record; write it behind");
    at = At::kept;
    recordEnded = true;
    return step(VELNOR3GPP_BUILD_END, nullptr, 0, static_cast<uint64_t>(direction));
  }

  bool isKey(const char* name) const { return strcmp(entry.key, name) == 0; }

  bool keptNumber(uint64_t number)
  {
    if (number > UINT32_MAX) return fail(RTX_E_INVALID_FOR_TYPE, "$.unknown", "has a number that is too large");
    if (isKey("octet")) entry.kept.octet = static_cast<size_t>(number);
    if (isKey("bits")) entry.kept.bits = static_cast<size_t>(number);
    if (isKey("status")) entry.kept.status = -static_cast<int>(number & 0x7FFF);
    return true;
  }

  bool keptText(char* text, size_t count)
  {
    velnor3gpp_Kept& kept = entry.kept;
    if (isKey("path")) kept.path = text;
    if (isKey("fault")) kept.fault = text;
    for (unsigned why = 0; why <= VELNOR3GPP_KEPT_PADDING && isKey("why"); ++why)
      if (strcmp(text, kJsonWhys[why]) == 0) kept.why = static_cast<velnor3gpp_KeptWhy>(why);
    for (unsigned place = 0; place < VELNOR3GPP_KEPT_END; ++place)
      if (isKey(kJsonPlaces[place])) {
        kept.at = static_cast<velnor3gpp_KeptAt>(place);
        kept.element = text;
      }
    bool iei = isKey("iei");
    if (!iei && !isKey("octets")) return true;
    size_t octets = count / 2;
    if (iei && count == 1) text[1] = text[0], text[0] = '0', octets = 1;
    if ((count % 2 && !iei) || !jsonUnhex(text, octets))
      return fail(RTX_E_BAD_HEX, "$.unknown.octets", "are no octets; write pairs of hexadecimal digits");
    if (iei && octets == 1) {
      kept.iei = static_cast<uint8_t>(text[0]);
      kept.ieiBits = count == 1 ? 4 : 8;
    } else if (!iei) {
      kept.octets = reinterpret_cast<const uint8_t*>(text);
      kept.count = octets;
    }
    return true;
  }

  bool keptValue(velnor3gpp_BuildStep kind, const char* text, size_t count, uint64_t number)
  {
    if (depth != 3) return fail(RTX_E_INVALID_FOR_TYPE, "$.unknown", "is no array of objects");
    if (kind == VELNOR3GPP_BUILD_NUMBER) return keptNumber(number);
    if (kind == VELNOR3GPP_BUILD_TEXT) return keptText(const_cast<char*>(text), count);
    if (isKey("end")) entry.kept.at = VELNOR3GPP_KEPT_END;
    return true;
  }

  bool keepEntry()
  {
    velnor3gpp_Kept& kept = entry.kept;
    if (!kept.path || !kept.octets) return fail(RTX_E_MISSING_ELEMENT, "$.unknown", "lacks its path or its octets");
    if (!kept.bits) kept.bits = kept.count * 8;
    status = velnor3gpp_keep(session, &kept);
    return status >= 0;
  }

  // The value of a member of the whole is over.
  bool ended()
  {
    if (depth == 1 && at != At::done) at = At::top;
    return true;
  }

  bool value(velnor3gpp_BuildStep kind, const char* text, size_t count, uint64_t number)
  {
    if (at == At::start) return fail(RTX_E_BAD_FORMAT, "$", "is no object; write {\"type\":..., \"record\":...}");
    if (at == At::type || at == At::direction)
      return fail(RTX_E_INVALID_FOR_TYPE, at == At::type ? "$.type" : "$.dir", "is no string");
    if (at == At::kept) return keptValue(kind, text, count, number);
    if (at == At::record && !step(kind, text, count, number)) return false;
    return ended();
  }

  bool takeType(const char* text, size_t count)
  {
    char name[256], words[400];
    size_t others = 0;
    if (count >= sizeof name) return fail(RTX_E_STRING_TOO_LONG, "$.type", "is no name of a type");
    memcpy(name, text, count);
    name[count] = 0;
    if (type && !findType) return ended();
    type = velnor3gpp_typeByName(name, &others);
    if (type) return ended();
    if (others)
      snprintf(words, sizeof words, "%zu types have the name '%s'; write its module before it", others, name);
    else
      snprintf(words, sizeof words, "there is no type of the name '%s'", name);
    return fail(RTX_E_UNRESOLVED_TYPE, "$.type", words);
  }

  bool takeDirection(const char* text, size_t count)
  {
    bool up = count == 2 && memcmp(text, "up", 2) == 0, down = count == 4 && memcmp(text, "down", 4) == 0;
    if (!up && !down) return fail(RTX_E_INVALID_FOR_TYPE, "$.dir", "is neither \"up\" nor \"down\"");
    direction = up ? VELNOR3GPP_UP : VELNOR3GPP_DOWN;
    return ended();
  }

  bool enter(velnor3gpp_BuildStep kind)
  {
    if (depth == kMaxDepth) return fail(RTX_E_NESTING_TOO_DEEP, "$", "is nested deeper than a message can be");
    if (at == At::start && kind == VELNOR3GPP_BUILD_OPEN) {
      at = At::top;
      ++depth;
      return true;
    }
    if (at == At::kept) {
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
  bool Bool(bool flag) { return value(VELNOR3GPP_BUILD_FLAG, nullptr, 0, flag); }
  bool Int(int number)
  {
    if (at == At::kept && number > INT16_MIN) return value(VELNOR3GPP_BUILD_NUMBER, nullptr, 0, uint64_t(-number));
    return other("a negative number");
  }
  bool Uint(unsigned number) { return value(VELNOR3GPP_BUILD_NUMBER, nullptr, 0, number); }
  bool Int64(int64_t) { return other("a negative number"); }
  bool Uint64(uint64_t number) { return value(VELNOR3GPP_BUILD_NUMBER, nullptr, 0, number); }
  bool Double(double) { return other("a number that is not whole or too large"); }
  bool RawNumber(const char*, unsigned, bool) { return false; }
  bool String(const char* text, unsigned count, bool)
  {
    if (at == At::type) return takeType(text, count);
    if (at == At::direction) return takeDirection(text, count);
    size_t length = count;
    if (at == At::record && memchr(text, '\xEF', count)) length = jsonRestore(const_cast<char*>(text), count);
    return value(VELNOR3GPP_BUILD_TEXT, text, length, 0);
  }
  bool Key(const char* text, unsigned count, bool)
  {
    if (at == At::record) return step(VELNOR3GPP_BUILD_MEMBER, text, count);
    if (at == At::other) return true;
    if (at == At::kept) {
      snprintf(entry.key, sizeof entry.key, "%s", text);
      return true;
    }
    auto is = [&](const char* name) { return strlen(name) == count && memcmp(name, text, count) == 0; };
    if (is("record")) return beginRecord();
    if (is("unknown")) return beginKept();
    at = is("type") ? At::type : is("dir") ? At::direction : At::other;
    return true;
  }
  bool StartObject() { return enter(VELNOR3GPP_BUILD_OPEN); }
  bool EndObject(unsigned) { return leave(); }
  bool StartArray() { return enter(VELNOR3GPP_BUILD_LIST); }
  bool EndArray(unsigned) { return leave(); }
};

} // namespace

static int tellSyntax(velnor3gpp_Session* session, const rapidjson::ParseResult& result)
{
  char words[256];
  snprintf(words, sizeof words, "character %zu: %s", result.Offset() + 1, rapidjson::GetParseError_En(result.Code()));
  return velnor3gpp_report(session, RTX_E_PARSE, "$", words);
}

// Zero octets behind the copy of a text. The first one ends it. The parser takes a character of UTF-8 in full before it
// judges it: where the text ends behind the first octet of four, F0, it reads the three octets that follow.
static constexpr size_t kZeros = 3;

// Parses a fresh copy of the text, which the parser changes.
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
  if (result.Code() == rapidjson::kParseErrorTermination) return 0;
  return reader.status = tellSyntax(reader.session, result);
}

static int endRecord(Reader& reader)
{
  if (!reader.hasRecord)
    return velnor3gpp_report(reader.session, RTX_E_MISSING_ELEMENT, "$.record", "is missing; it is always there");
  if (!reader.recordEnded) reader.step(VELNOR3GPP_BUILD_END, nullptr, 0, static_cast<uint64_t>(reader.direction));
  return reader.status;
}

// The end of the message before, with what it found.
static void clear(velnor3gpp_Session* session)
{
  velnor3gpp_BuildEvent event = {sizeof event, VELNOR3GPP_BUILD_CLEAR, nullptr, nullptr, 0, 0};
  velnor3gpp_build(session, &event);
}

int velnor3gpp_fromJson(velnor3gpp_Session* session, const velnor3gpp_Type* type, const char* text, size_t count)
{
  if (!session || !text) return RTX_E_NULL_POINTER;
  clear(session);
  if (count > VELNOR3GPP_JSON_MAX)
    return velnor3gpp_report(session, RTX_E_TOO_BIG, "$", "has more than 16 MiB; give one message at a time");
  char* copy = velnor3gpp_room(session, count + kZeros);
  if (!copy) return velnor3gpp_report(session, RTX_E_NO_MEMORY, "$", "out of memory");
  Reader reader{session, type, false};
  reader.size = count;
  int status = parse(reader, copy, text, count);
  if (status >= 0 && reader.noType) {
    Reader finder{session, nullptr, true};
    status = parse(finder, copy, text, count);
    if (status >= 0 && !finder.type)
      return velnor3gpp_report(session, RTX_E_NO_PDU_TYPE, "$.type", "is missing; name the type of the record");
    reader = Reader{session, finder.type, false};
    reader.size = count;
    if (status >= 0) status = parse(reader, copy, text, count);
  }
  return status < 0 ? status : endRecord(reader);
}
