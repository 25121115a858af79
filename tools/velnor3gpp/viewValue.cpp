#include "viewValue.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>

#include "coding.h"
#include "hex.h"
#include "names.h"
#include "words.h"

static constexpr unsigned kOctetBits = 8;

static std::string_view nameOf(const velnor3gpp_Node* node)
{
  return node->name ? std::string_view(node->name, node->nameLength) : std::string_view();
}

static std::string twoDigits(uint64_t number)
{
  return (number < 10 ? "0" : "") + std::to_string(number);
}

static std::string spanText(uint64_t seconds)
{
  if (seconds && seconds % 3600 == 0) return std::to_string(seconds / 3600) + " h";
  if (seconds && seconds % 60 == 0) return std::to_string(seconds / 60) + " min";
  return std::to_string(seconds) + " s";
}

// TS 24.008, 10.5.7.3: units that are not known count as minutes.
static std::string timerText(const velnor3gpp_Node* node, uint64_t unit)
{
  if (unit == 7) return "deactivated";
  return spanText(node->number * (unit == 0 ? 2 : unit == 2 ? 360 : 60));
}

// TS 24.008, 10.5.7.4a.
static std::string timer3Text(const velnor3gpp_Node* node, uint64_t unit)
{
  static constexpr unsigned kSeconds[] = {600, 3600, 36000, 2, 30, 60, 320 * 3600};
  return unit < std::size(kSeconds) ? spanText(node->number * kSeconds[unit]) : "deactivated";
}

// Two digits in an octet, the first one in the low half: 0x32 is 23.
static unsigned swapped(uint64_t octet)
{
  return static_cast<unsigned>((octet & 15) * 10 + (octet >> 4 & 15));
}

static std::string digitsText(const velnor3gpp_Node* node, uint64_t)
{
  bool digits = (node->number & 15) < 10 && (node->number >> 4) < 10;
  return digits ? twoDigits(swapped(node->number)) : "";
}

// Quarters of an hour, a sign in bit 4 (TS 23.040, 9.2.3.11).
static std::string zoneText(const velnor3gpp_Node* node, uint64_t)
{
  unsigned quarters = swapped(node->number & ~uint64_t{8});
  return std::string("UTC") + (node->number & 8 ? "-" : "+") + twoDigits(quarters / 4) + ":" +
         twoDigits(quarters % 4 * 15);
}

static std::string addressText(const velnor3gpp_Node* node, uint64_t)
{
  char text[INET6_ADDRSTRLEN];
  if (node->count != 4 && node->count != 16) return "";
  return inet_ntop(node->count == 4 ? AF_INET : AF_INET6, node->data, text, sizeof text) ? text : "";
}

// Containers of TS 24.008, 10.5.6.3 that hold one address.
static std::string configurationText(const velnor3gpp_Node* node, uint64_t protocol)
{
  bool four = protocol == 0x000C || protocol == 0x000D, six = protocol == 0x0001 || protocol == 0x0003;
  return (four && node->count == 4) || (six && node->count == 16) ? addressText(node, 0) : "";
}

// Characters of the Basic Multilingual Plane. Controls, marks of direction and the like are shown as dots.
static std::string wideText(const velnor3gpp_Node* node, uint64_t)
{
  std::string text;
  for (size_t i = 0; i + 1 < node->count; i += 2) {
    unsigned c = node->data[i] << 8U | node->data[i + 1];
    bool plain = (c >= 0x20 && c < 0x7F) || (c >= 0xA0 && c < 0x2000) || (c >= 0x2E80 && c < 0xD800);
    if (!plain || (c >= 0x0590 && c < 0x0900) || c == 0xAD) c = '.'; // also scripts from right to left
    if (c < 0x80) {
      text += static_cast<char>(c);
    } else if (c < 0x800) {
      text += {static_cast<char>(0xC0 | c >> 6), static_cast<char>(0x80 | (c & 0x3F))};
    } else {
      text += {static_cast<char>(0xE0 | c >> 12), static_cast<char>(0x80 | (c >> 6 & 0x3F)),
               static_cast<char>(0x80 | (c & 0x3F))};
    }
  }
  return "'" + text + "'";
}

namespace {

// What is worked out from a value, or from it and the number in front of it. `type` is that of the container, or null
// where the name of the member says enough.
struct Derived {
  std::string_view type, member;
  std::string (*text)(const velnor3gpp_Node* node, uint64_t before);
};

} // namespace

static constexpr Derived kDerived[] = {
    {"GPRSTimer", "timerValue", timerText},
    {"GPRSTimer3", "timerValue", timer3Text},
    {"TimeZoneAndTime", "year", digitsText},
    {"TimeZoneAndTime", "month", digitsText},
    {"TimeZoneAndTime", "day", digitsText},
    {"TimeZoneAndTime", "hour", digitsText},
    {"TimeZoneAndTime", "minute", digitsText},
    {"TimeZoneAndTime", "second", digitsText},
    {"TimeZoneAndTime", "timeZone", zoneText},
    {"", "localTZ", zoneText},
    {"PCOUnit", "contents", configurationText},
    {"", "ucs2", wideText},
    {"", "ipv4", addressText},
    {"", "ipv6", addressText},
    {"", "addr", addressText},
    {"", "mask", addressText},
    {"", "pdnAddrInfo", addressText},
};

static std::string derivedText(const velnor3gpp_Node* node, uint64_t before)
{
  const std::string_view name = nameOf(node);
  const velnor3gpp_Type* around = nullptr;
  for (const Derived& derived : kDerived) {
    if (derived.member != name) continue;
    bool octets = derived.text == addressText || derived.text == wideText || derived.text == configurationText;
    if (octets != (node->kind == VELNOR3GPP_OCTETS)) continue;
    if (!derived.type.empty() && !around) around = node->parent ? velnor3gpp_nodeType(node->parent) : nullptr;
    if (derived.type.empty() || (around && derived.type == factsOf(around).shortName))
      return derived.text(node, before);
  }
  return "";
}

// Octets that cannot be shown as they are stand as "\e4".
static std::string quoted(const uint8_t* text, size_t count)
{
  std::string result = "'";
  for (size_t i = 0; i < count; ++i)
    if (text[i] >= 0x20 && text[i] < 0x7F)
      result += static_cast<char>(text[i]);
    else
      result += "\\" + plainHex(text + i, 1);
  return result + "'";
}

static bool isReadable(const uint8_t* octets, size_t count)
{
  return count > 3 && std::all_of(octets, octets + count, [](uint8_t c) { return c >= 0x20 && c < 0x7F; });
}

static std::string bitText(const uint8_t* bits, size_t count)
{
  std::string text;
  for (size_t i = 0; i < count; ++i) text += bits[i / 8] >> (7 - i % 8) & 1 ? '1' : '0';
  return text;
}

static std::string numberText(const velnor3gpp_Node* node, bool inOctets)
{
  std::string text = std::to_string(node->number);
  if (node->width < kOctetBits || node->number <= 9 || (inOctets && node->width > kOctetBits)) return text;
  char hex[80];
  snprintf(hex, sizeof hex, " (0x%0*llx)", (node->width + 3) / 4, static_cast<unsigned long long>(node->number));
  return text + hex;
}

// "locationMAX" fills the width of its enumeration and names nothing.
static bool isFiller(std::string_view name)
{
  return name.size() > 3 && (name.substr(name.size() - 3) == "MAX" || name.substr(name.size() - 3) == "Max");
}

static std::string plainText(const velnor3gpp_Node* node, bool inOctets)
{
  switch (node->kind) {
    case VELNOR3GPP_NUMBER:
      return numberText(node, inOctets);
    case VELNOR3GPP_FLAG:
      return node->valueName ? std::to_string(node->number) : node->number ? "1  yes" : "0  no";
    case VELNOR3GPP_ENUMERATED:
      if (!node->valueName || isFiller(node->valueName)) return std::to_string(node->number);
      // The standard's words stay; names of definitions become words.
      return std::to_string(node->number) + "  " +
             (strchr(node->valueName, ' ') ? node->valueName : asWords(node->valueName));
    case VELNOR3GPP_OCTETS:
      return octetText(node->data, node->count);
    case VELNOR3GPP_BITS:
      return bitText(node->data, node->count);
    case VELNOR3GPP_TEXT:
      return quoted(node->data, node->count);
    default:
      return "present";
  }
}

std::string valueText(const velnor3gpp_Node* node, bool inOctets, uint64_t before)
{
  std::string text = plainText(node, inOctets);
  bool number = node->kind == VELNOR3GPP_NUMBER || node->kind == VELNOR3GPP_FLAG;
  std::string meaning = number && node->valueName ? node->valueName : derivedText(node, before);
  if (meaning.empty() && node->kind == VELNOR3GPP_OCTETS && isReadable(node->data, node->count))
    meaning = quoted(node->data, node->count);
  return meaning.empty() ? text : text + "  " + meaning;
}
