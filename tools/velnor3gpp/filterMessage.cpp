#include "filterMessage.h"

#include <array>

#include "hex.h"
#include "velnor3gpp/rtxStatus.h"

static const std::array<signed char, 256> kDigitValues = [] {
  std::array<signed char, 256> values{};
  for (size_t c = 0; c < values.size(); ++c) values[c] = static_cast<signed char>(hexDigit(static_cast<char>(c)));
  return values;
}();

// Plain digits are what engines send. They are read by pairs without a decision for each: a character that is no digit
// shows in the sign of what is collected.
static bool readDigits(std::string_view text, std::vector<uint8_t>& octets)
{
  if (text.size() % 2) return false;
  octets.resize(text.size() / 2);
  int wrong = 0;
  const char* from = text.data();
  for (uint8_t& octet : octets) {
    int high = kDigitValues[static_cast<uint8_t>(*from++)], low = kDigitValues[static_cast<uint8_t>(*from++)];
    wrong |= high | low;
    octet = static_cast<uint8_t>(high << 4 | low);
  }
  return wrong >= 0;
}

// How many octets are complete in front of a fault. The 0 of "0x" is no digit.
static size_t octetsBefore(std::string_view text)
{
  size_t digits = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    bool mark = text[i] == '0' && i + 1 < text.size() && (text[i + 1] | 0x20) == 'x';
    digits += hexDigit(text[i]) >= 0 && !mark;
  }
  return digits / 2;
}

void readFilterHex(std::string_view text, FilterMessage& message)
{
  if (text.size() > kFilterMostHex) {
    message.fault = {RTX_E_STRING_TOO_LONG, SIZE_MAX, {}};
    return;
  }
  if (!readDigits(text, message.octets)) {
    HexText hex = readHex(text);
    size_t tab = text.find('\t'); // a column too many, and no gap between octets
    size_t fault = hex.column ? hex.column - 1 : std::string_view::npos;
    if (tab < fault) fault = tab;
    if (fault != std::string_view::npos) message.fault = {RTX_E_BAD_HEX, octetsBefore(text.substr(0, fault)), {}};
    message.octets = std::move(hex.octets);
  }
  if (!message.fault.status && message.octets.empty()) message.fault = {RTX_E_END_OF_BUFFER, 0, {}};
}

static void clear(FilterMessage& message)
{
  message.hasKey = message.keyIsJson = false;
  message.key = {};
  message.octets.clear();
  message.direction = VELNOR3GPP_DIRECTION_UNKNOWN;
  message.type = nullptr;
  message.fault = {};
}

// Characters in front of the TAB that ends the key, or npos.
static size_t keyLength(std::string_view line, unsigned keyColumns)
{
  size_t end = line.find('\t');
  for (unsigned column = 1; column < keyColumns && end != std::string_view::npos; ++column)
    end = line.find('\t', end + 1);
  return end;
}

// A line without any TAB is a message without a key. One with fewer than its key has columns lacks the message, and
// what is there is key. Of a line that is over-long as a whole only the beginning may be there: nothing that stands
// behind the longest key may decide what is said of it.
static void readColumns(std::string_view line, unsigned keyColumns, FilterMessage& message)
{
  bool whole = line.size() <= kFilterMostLine;
  std::string_view keyed = whole ? line : line.substr(0, kFilterMostKey + 1);
  if (keyColumns == 0 || keyed.find('\t') == std::string_view::npos) return readFilterHex(line, message);
  size_t end = keyLength(keyed, keyColumns);
  message.key = keyed.substr(0, end);
  message.hasKey = message.key.size() <= kFilterMostKey;
  if (!message.hasKey)
    message.fault = {RTX_E_STRING_TOO_LONG, SIZE_MAX, whole ? "key" : ""};
  else
    readFilterHex(end == std::string_view::npos ? std::string_view() : line.substr(end + 1), message);
}

void readFilterLine(std::string_view line, FilterFormat format, unsigned keyColumns, FilterMessage& message)
{
  clear(message);
  if (line.ends_with('\r')) line.remove_suffix(1);
  if (format != FilterFormat::kNdjson) return readColumns(line, keyColumns, message);
  if (line.size() > kFilterMostLine)
    message.fault = {RTX_E_STRING_TOO_LONG, SIZE_MAX, {}};
  else
    readFilterJson(line, message);
}

void readFilterFrame(std::string_view& block, FilterMessage& message)
{
  clear(message);
  auto octet = [&](size_t i) { return static_cast<size_t>(static_cast<uint8_t>(block[i])); };
  size_t length = block.size() < 2 ? SIZE_MAX : octet(0) << 8 | octet(1);
  size_t there = block.size() < 2 ? 0 : block.size() - 2;
  if (length > there) {
    message.fault = {RTX_E_END_OF_FILE, there, {}};
    block = {};
    return;
  }
  const uint8_t* from = reinterpret_cast<const uint8_t*>(block.data()) + 2;
  message.octets.assign(from, from + length);
  if (!length) message.fault = {RTX_E_END_OF_BUFFER, 0, {}};
  block.remove_prefix(2 + length);
}
