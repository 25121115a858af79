// Pieces of JSON; writer.h says what each is for. Strings are the only ones that need thought: JSON is
// UTF-8, and texts of messages are any octets. U+F700 to U+F7FF stand for octets that are no UTF-8, so that
// every text comes back as it was:
//
//   octet FF      U+F7FF     EF 9F BF
//   octet 80      U+F780     EF 9E 80
#include "json/writer.h"

// More than most messages need, so that one allocation does.
static constexpr size_t kFirstRoom = 4096;

// Doubles the text's room, and keeps what stands there. The session's memory only grows, so this ends with the first
// long message of a run.
char* jsonRoom(JsonWriter& writer, size_t count)
{
  if (writer.failed) return nullptr;
  size_t wanted = writer.length + count;
  size_t size = writer.room * 2 > wanted ? writer.room * 2 : wanted;
  if (size < kFirstRoom) size = kFirstRoom;
  char* text = velnor3gpp_room(writer.session, size);
  writer.failed = !text;
  if (!text) return nullptr;
  writer.start = text;
  writer.room = size;
  return text + writer.length;
}

// The zero behind the text is not counted.
int jsonEnd(JsonWriter& writer, const char** text, size_t* count)
{
  char* last = jsonPlace(writer, 1);
  if (!last || writer.failed) return RTX_E_NO_MEMORY;
  *last = 0;
  *text = writer.start;
  *count = writer.length;
  return 0;
}

// Room for the name, two quotation marks, a comma and a colon at once.
void jsonName(JsonWriter& writer, const char* name, size_t count)
{
  char* to = jsonPlace(writer, count + 4);
  if (!to) return;
  char* first = to;
  if (writer.comma) *to++ = ',';
  *to++ = '"';
  memcpy(to, name, count);
  to += count;
  *to++ = '"';
  *to++ = ':';
  writer.length += static_cast<size_t>(to - first);
  writer.comma = true;
}

// 20 digits hold 2^64 - 1.
void jsonNumber(JsonWriter& writer, uint64_t number)
{
  char digits[20];
  size_t first = sizeof digits;
  do digits[--first] = static_cast<char>('0' + number % 10);
  while (number /= 10);
  jsonPut(writer, digits + first, sizeof digits - first);
}

// A count whose digits no memory could hold writes nothing.
void jsonHex(JsonWriter& writer, const uint8_t* octets, size_t count)
{
  static constexpr char kDigits[] = "0123456789abcdef";
  if (count > (SIZE_MAX - 2) / 2) return;
  char* to = jsonPlace(writer, count * 2 + 2);
  if (!to) return;
  *to++ = '"';
  for (size_t i = 0; i < count; ++i) {
    *to++ = kDigits[octets[i] >> 4];
    *to++ = kDigits[octets[i] & 15];
  }
  *to = '"';
  writer.length += count * 2 + 2;
}

// The bit string is read from the top bit of its first octet on.
void jsonBits(JsonWriter& writer, const uint8_t* bits, size_t count)
{
  char* to = jsonPlace(writer, count + 2);
  if (!to) return;
  *to++ = '"';
  for (size_t i = 0; i < count; ++i) *to++ = bits[i / 8] >> (7 - i % 8) & 1 ? '1' : '0';
  *to = '"';
  writer.length += count + 2;
}

// Octets of the UTF-8 character at the start, or 0 if there is none: a lead octet without its followers, a form that is
// longer than it need be (C0 80), a surrogate, a number above 10FFFF, or one of our private area.
static size_t characterLength(const uint8_t* text, size_t count)
{
  uint8_t first = text[0];
  size_t length = first < 0x80 ? 1 : first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : first < 0xF5 ? 4 : 0;
  if (!length || length > count) return 0;
  for (size_t i = 1; i < length; ++i)
    if ((text[i] & 0xC0) != 0x80) return 0;
  if (first == 0xE0 && text[1] < 0xA0) return 0;
  if (first == 0xED && text[1] > 0x9F) return 0; // a surrogate
  if (first == 0xF0 && text[1] < 0x90) return 0;
  if (first == 0xF4 && text[1] > 0x8F) return 0;
  bool reserved = first == 0xEF && text[1] >= 0x9C && text[1] <= 0x9F; // U+F700 to U+F7FF
  return reserved ? 0 : length;
}

// \" and \\, and \u00XX for control characters.
static void putEscape(JsonWriter& writer, uint8_t c)
{
  static constexpr char kDigits[] = "0123456789abcdef";
  char escape[] = {'\\', 'u', '0', '0', kDigits[c >> 4], kDigits[c & 15]};
  if (c == '"' || c == '\\') {
    escape[1] = static_cast<char>(c);
    return jsonPut(writer, escape, 2);
  }
  jsonPut(writer, escape, sizeof escape);
}

// The character of the private area for an octet: 1110 1111, 10 0111 and its top two bits, 10 and its other six.
static void putPrivate(JsonWriter& writer, uint8_t octet)
{
  char character[] = {'\xEF', static_cast<char>(0x9C | octet >> 6), static_cast<char>(0x80 | (octet & 0x3F))};
  jsonPut(writer, character, sizeof character);
}

// Characters that stand for themselves. Runs of them are copied in one piece.
static bool isPlain(uint8_t c)
{
  return c >= 0x20 && c < 0x7F && c != '"' && c != '\\';
}

// Runs of plain characters are copied, others are looked at one by one: escapes, UTF-8 as it
// stands, octets that are none.
void jsonText(JsonWriter& writer, const uint8_t* text, size_t count)
{
  jsonPut(writer, "\"");
  for (size_t at = 0; at < count;) {
    size_t plain = at;
    while (plain < count && isPlain(text[plain])) ++plain;
    if (plain > at) jsonPut(writer, reinterpret_cast<const char*>(text) + at, plain - at);
    if (plain == count) break;
    size_t length = characterLength(text + plain, count - plain);
    if (length == 0)
      putPrivate(writer, text[plain]);
    else if (length == 1)
      putEscape(writer, text[plain]);
    else
      jsonPut(writer, reinterpret_cast<const char*>(text) + plain, length);
    at = plain + (length ? length : 1);
  }
  jsonPut(writer, "\"");
}

// The two low bits of the second octet and the six of the third are the octet again.
size_t jsonRestore(char* text, size_t count)
{
  size_t to = 0;
  for (size_t at = 0; at < count; ++to) {
    // The parser has tested the UTF-8, so the third octet is a follower.
    const uint8_t* c = reinterpret_cast<const uint8_t*>(text + at);
    bool reserved = count - at > 2 && c[0] == 0xEF && c[1] >= 0x9C && c[1] <= 0x9F;
    text[to] = reserved ? static_cast<char>((c[1] & 3) << 6 | (c[2] & 0x3F)) : text[at];
    at += reserved ? 3 : 1;
  }
  return to;
}

// The value of a hexadecimal digit in either case, or -1.
static int digitOf(char c)
{
  if (c >= '0' && c <= '9') return c - '0';
  c = static_cast<char>(c | 0x20);
  return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

// Octet i is written where digit i stood, which has been read by then.
bool jsonUnhex(char* text, size_t octets)
{
  for (size_t i = 0; i < octets; ++i) {
    int high = digitOf(text[2 * i]), low = digitOf(text[2 * i + 1]);
    if (high < 0 || low < 0) return false;
    text[i] = static_cast<char>(high << 4 | low);
  }
  return true;
}
