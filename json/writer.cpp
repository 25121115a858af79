#include "json/writer.h"

static constexpr size_t kFirstRoom = 4096;

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

int jsonEnd(JsonWriter& writer, const char** text, size_t* count)
{
  char* last = jsonPlace(writer, 1);
  if (!last || writer.failed) return RTX_E_NO_MEMORY;
  *last = 0;
  *text = writer.start;
  *count = writer.length;
  return 0;
}

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

void jsonNumber(JsonWriter& writer, uint64_t number)
{
  char digits[20];
  size_t first = sizeof digits;
  do digits[--first] = static_cast<char>('0' + number % 10);
  while (number /= 10);
  jsonPut(writer, digits + first, sizeof digits - first);
}

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

void jsonBits(JsonWriter& writer, const uint8_t* bits, size_t count)
{
  char* to = jsonPlace(writer, count + 2);
  if (!to) return;
  *to++ = '"';
  for (size_t i = 0; i < count; ++i) *to++ = bits[i / 8] >> (7 - i % 8) & 1 ? '1' : '0';
  *to = '"';
  writer.length += count + 2;
}

// Octets of the UTF-8 character at the start, or 0 if there is none.
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

static void putPrivate(JsonWriter& writer, uint8_t octet)
{
  char character[] = {'\xEF', static_cast<char>(0x9C | octet >> 6), static_cast<char>(0x80 | (octet & 0x3F))};
  jsonPut(writer, character, sizeof character);
}

static bool isPlain(uint8_t c)
{
  return c >= 0x20 && c < 0x7F && c != '"' && c != '\\';
}

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

size_t jsonRestore(char* text, size_t count)
{
  size_t to = 0;
  for (size_t at = 0; at < count; ++to) {
    const uint8_t* c = reinterpret_cast<const uint8_t*>(text + at);
    bool reserved = count - at > 2 && c[0] == 0xEF && c[1] >= 0x9C && c[1] <= 0x9F;
    text[to] = reserved ? static_cast<char>((c[1] & 3) << 6 | (c[2] & 0x3F)) : text[at];
    at += reserved ? 3 : 1;
  }
  return to;
}

static int digitOf(char c)
{
  if (c >= '0' && c <= '9') return c - '0';
  c = static_cast<char>(c | 0x20);
  return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

bool jsonUnhex(char* text, size_t octets)
{
  for (size_t i = 0; i < octets; ++i) {
    int high = digitOf(text[2 * i]), low = digitOf(text[2 * i + 1]);
    if (high < 0 || low < 0) return false;
    text[i] = static_cast<char>(high << 4 | low);
  }
  return true;
}
