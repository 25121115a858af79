#include "printable.h"

#include <algorithm>
#include <cstdio>

size_t utf8Length(std::string_view text)
{
  unsigned char first = static_cast<unsigned char>(text[0]);
  size_t length = first < 0x80 ? 1 : first >= 0xC2 && first < 0xE0 ? 2 : first >= 0xE0 && first < 0xF0 ? 3 : 0;
  if (first >= 0xF0 && first < 0xF5) length = 4;
  if (!length || length > text.size()) return 0;
  for (size_t i = 1; i < length; ++i)
    if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) return 0;
  unsigned char second = length > 1 ? static_cast<unsigned char>(text[1]) : 0;
  bool tooLong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
  bool beyond = (first == 0xED && second > 0x9F) || (first == 0xF4 && second > 0x8F);
  return tooLong || beyond ? 0 : length;
}

// Octets of the control character that the text begins with, or 0. A terminal that does not read UTF-8 takes an octet
// from 0x80 to 0x9F for one.
static size_t controlLength(std::string_view text)
{
  unsigned char first = static_cast<unsigned char>(text[0]);
  if (first < 0x20 || first == 0x7F || (first >= 0x80 && first < 0xA0)) return 1;
  return first == 0xC2 && text.size() > 1 && (text[1] & 0xE0) == 0x80 ? 2 : 0;
}

std::string printable(std::string_view text)
{
  std::string result;
  while (!text.empty()) {
    size_t control = controlLength(text), length = control ? control : std::max<size_t>(1, utf8Length(text));
    char code[8];
    for (char c : text.substr(0, control)) {
      snprintf(code, sizeof code, "\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
      result += code;
    }
    if (!control) result += text.substr(0, length);
    text.remove_prefix(length);
  }
  return result;
}

bool isPrintable(std::string_view text)
{
  bool plain = std::all_of(text.begin(), text.end(), [](char c) { return c >= 0x20 && c < 0x7F; });
  return plain || printable(text) == text;
}
