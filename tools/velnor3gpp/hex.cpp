#include "hex.h"

#include <array>
#include <cstdio>

// The value of each character as a digit. Digits are most of what the program reads, and a table tells them without a
// branch that depends on the digit.
static constexpr auto kDigitValues = [] {
  std::array<signed char, 256> values{};
  values.fill(-1);
  for (int i = 0; i < 10; ++i) values[static_cast<size_t>('0' + i)] = static_cast<signed char>(i);
  for (int i = 10; i < 16; ++i)
    for (char first : {'a', 'A'}) values[static_cast<size_t>(first + i - 10)] = static_cast<signed char>(i);
  return values;
}();

int hexDigit(char c)
{
  return kDigitValues[static_cast<unsigned char>(c)];
}

std::string showChar(char c)
{
  if (c >= 0x20 && c < 0x7F) return std::string("'") + c + "'";
  char text[24];
  snprintf(text, sizeof text, "the octet 0x%02x", static_cast<unsigned char>(c));
  return text;
}

static bool isGap(char c)
{
  return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == ':' || c == ',' || c == '-';
}

static HexText fault(size_t column, std::string problem)
{
  return {{}, column, std::move(problem)};
}

// 0x, 0X or, as strings of C and Python have it, \x.
static bool isPrefix(std::string_view text, size_t at)
{
  return text.size() - at >= 2 && (text[at] == '0' || text[at] == '\\') && (text[at + 1] == 'x' || text[at + 1] == 'X');
}

// Reads one word from `at` and moves it behind. Gives the fault, or a result without one.
static HexText readWord(std::string_view text, size_t& at, std::vector<uint8_t>& octets)
{
  size_t start = at;
  if (isPrefix(text, at)) at += 2;
  size_t digits = 0;
  int high = 0;
  for (; at < text.size(); ++at, ++digits) {
    int value = hexDigit(text[at]);
    if (value < 0 && (isGap(text[at]) || text[at] == '#' || isPrefix(text, at))) break;
    if (value < 0) return fault(at + 1, showChar(text[at]) + " is no hexadecimal digit");
    if (digits % 2) octets.push_back(static_cast<uint8_t>(high << 4 | value));
    high = value;
  }
  if (digits == 0) return fault(start + 1, std::string(text.substr(start, 2)) + " without digits behind it");
  if (digits % 2) return fault(at, "half an octet: write two digits for each octet");
  return {};
}

HexText readHex(std::string_view text)
{
  HexText result;
  result.octets.reserve(text.size() / 2);
  for (size_t at = 0; at < text.size();) {
    if (text[at] == '#') break; // a comment
    if (isGap(text[at])) {
      ++at;
      continue;
    }
    HexText word = readWord(text, at, result.octets);
    if (word.column) return word;
  }
  return result;
}

std::string octetText(const unsigned char* octets, size_t count)
{
  static const char kDigits[] = "0123456789abcdef";
  std::string text;
  for (size_t i = 0; i < count; ++i) {
    if (i) text += ' ';
    text += kDigits[octets[i] >> 4];
    text += kDigits[octets[i] & 15];
  }
  return text;
}

std::string plainHex(const uint8_t* octets, size_t count)
{
  std::string text(2 * count, 0);
  for (size_t i = 0; i < count; ++i) {
    text[2 * i] = "0123456789abcdef"[octets[i] >> 4];
    text[2 * i + 1] = "0123456789abcdef"[octets[i] & 15];
  }
  return text;
}
