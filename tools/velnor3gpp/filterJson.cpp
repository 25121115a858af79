// The filter's input as objects of JSON, one a line. The parser is the library's of JSON (no recursion, numbers stay
// text); the key is not built anew but taken as it stands in the line, so that it comes back as it was: 1.0 and not 1.
// The parser's stack has no address before it holds something; adding to none is what clang's sanitizer tells.
#ifdef __clang__
#pragma clang attribute push(__attribute__((no_sanitize("pointer-overflow"))), apply_to = function)
#endif
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>
#ifdef __clang__
#pragma clang attribute pop
#endif

#include "filterMessage.h"
#include "names.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

// The line without digits that a number could do without. The parser works out what numbers are worth and refuses those
// that a double does not hold, which are as legal and whose worth nobody asks for.
class Line : public rapidjson::MemoryStream {
public:
  using MemoryStream::MemoryStream;

  Ch Take()
  {
    Ch c = MemoryStream::Take();
    bool digit = c >= '0' && c <= '9';
    if (inText) {
      inText = escaped || c != '"';
      escaped = !escaped && c == '\\';
      return c;
    }
    inText = c == '"';
    if (!digit && c != '+' && c != '-') inExponent = c == 'e' || c == 'E';
    digits = digit ? digits + 1 : 0;
    while (digits >= (inExponent ? 2U : 200U) && Peek() >= '0' && Peek() <= '9') MemoryStream::Take();
    return c;
  }

private:
  size_t digits = 0; // of the number, up to here
  bool inText = false, escaped = false, inExponent = false;
};

enum class Member { kOther, kKey, kOctets, kDirection, kType };

class Reader : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, Reader> {
public:
  Reader(std::string_view text, FilterMessage& target) : line(text), message(target), stream(text.data(), text.size())
  {
  }

  void read()
  {
    constexpr unsigned kFlags = rapidjson::kParseIterativeFlag | rapidjson::kParseNumbersAsStringsFlag |
                                rapidjson::kParseValidateEncodingFlag; // the key is written as it is read
    rapidjson::Reader reader;
    bool whole = static_cast<bool>(reader.Parse<kFlags>(stream, *this));
    if (!whole) message.hasKey = false; // it may be a part of what was meant
    if (!whole || !isObject)
      message.fault = {RTX_E_PARSE, SIZE_MAX, {}};
    else if (!hasOctets && !message.fault.status)
      message.fault = {RTX_E_MISSING_ELEMENT, SIZE_MAX, "octets"};
  }

  bool Null() { return value(0); } // as if the member were not there, but for a key
  bool Bool(bool) { return other(); }
  bool RawNumber(const char*, rapidjson::SizeType, bool) { return other(); }
  bool String(const char* text, rapidjson::SizeType count, bool)
  {
    if (depth == 1) takeText({text, count});
    return value(0);
  }
  bool StartObject()
  {
    if (!depth) isObject = true;
    ++depth;
    return true;
  }
  bool StartArray()
  {
    ++depth;
    return true;
  }
  bool EndObject(rapidjson::SizeType) { return close(); }
  bool EndArray(rapidjson::SizeType) { return close(); }
  bool Key(const char* text, rapidjson::SizeType count, bool)
  {
    if (depth != 1) return true;
    std::string_view name(text, count);
    member = name == "key"      ? Member::kKey
             : name == "octets" ? Member::kOctets
             : name == "dir"    ? Member::kDirection
             : name == "as"     ? Member::kType
                                : Member::kOther;
    valueFrom = stream.Tell();
    return true;
  }

private:
  bool other()
  {
    if (depth == 1) takeText({});
    return value(0);
  }
  // The closing mark is read behind this call.
  bool close()
  {
    --depth;
    if (depth == 1 && member != Member::kKey) takeText({});
    return value(1);
  }
  // A value of the object has ended.
  bool value(size_t behind)
  {
    if (depth != 1 || member != Member::kKey) return true;
    size_t from = line.find_first_not_of(" \t\r:", valueFrom), end = stream.Tell() + behind;
    message.key = line.substr(from, end - from);
    message.hasKey = message.keyIsJson = message.key.size() <= kFilterMostKey;
    if (!message.hasKey) fault(RTX_E_STRING_TOO_LONG, "key");
    return true;
  }
  void fault(int status, const char* path)
  {
    if (!message.fault.status) message.fault = {status, SIZE_MAX, path};
  }
  // A text, or null data for what is none.
  void takeText(std::string_view text)
  {
    if (member == Member::kOctets) {
      hasOctets = true;
      if (!text.data()) return fault(RTX_E_BAD_FORMAT, "octets");
      if (!message.fault.status) readFilterHex(text, message);
    } else if (member == Member::kDirection) {
      message.direction = readDirection(text);
      if (message.direction == VELNOR3GPP_DIRECTION_UNKNOWN) fault(RTX_E_BAD_VALUE, "dir");
    } else if (member == Member::kType) {
      message.type = findType(std::string(text));
      if (!message.type) fault(RTX_E_NO_PDU_TYPE, "as");
    }
  }

  std::string_view line;
  FilterMessage& message;
  Line stream;
  Member member = Member::kOther;
  size_t depth = 0, valueFrom = 0;
  bool isObject = false, hasOctets = false;
};

} // namespace

void readFilterJson(std::string_view line, FilterMessage& message)
{
  if (line.find_first_not_of(" \t\r") == std::string_view::npos)
    message.fault = {RTX_E_END_OF_BUFFER, 0, {}};
  else
    Reader(line, message).read();
}
