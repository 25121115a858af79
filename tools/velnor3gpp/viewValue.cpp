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

static std::string rateText(uint64_t kbits)
{
  static constexpr const char* kUnits[] = {" kbit/s", " Mbit/s", " Gbit/s", " Tbit/s", " Pbit/s"};
  size_t unit = 0;
  for (; kbits && kbits % 1000 == 0 && unit + 1 < std::size(kUnits); ++unit) kbits /= 1000;
  return std::to_string(kbits) + kUnits[unit];
}

// The first octet of a bit rate (TS 24.008, 10.5.6.5; TS 24.301, 9.9.4.2 and 9.9.4.3). Rates of 16 bits with the same
// names have their unit elsewhere.
static std::string bitRateText(const velnor3gpp_Node* node, uint64_t)
{
  uint64_t code = node->number;
  if (node->width != kOctetBits || !code) return "";
  if (code == 255) return rateText(0);
  return rateText(code < 64 ? code : code < 128 ? 64 + (code - 64) * 8 : 576 + (code - 128) * 64);
}

static constexpr char kToldBefore[] = "the value told before";

// The octet for what the first one cannot say.
static std::string extendedRateText(const velnor3gpp_Node* node, uint64_t)
{
  uint64_t code = node->number;
  if (!code) return kToldBefore;
  if (code <= 74) return rateText(8600 + code * 100);
  if (code <= 186) return rateText((16 + code - 74) * 1000);
  return code <= 250 ? rateText((128 + (code - 186) * 2) * 1000) : "";
}

// The second such octet.
static std::string extendedRate2Text(const velnor3gpp_Node* node, uint64_t)
{
  uint64_t code = node->number;
  if (!code) return kToldBefore;
  if (code <= 61) return rateText((256 + code * 4) * 1000);
  if (code <= 161) return rateText((500 + (code - 61) * 10) * 1000);
  return code <= 246 ? rateText((1500 + (code - 161) * 100) * 1000) : "";
}

// Four first extensions, then four second ones (TS 24.008, 10.5.6.5).
static std::string listedRateText(const velnor3gpp_Node* node, uint64_t)
{
  return node->index < 4 ? extendedRateText(node, 0) : extendedRate2Text(node, 0);
}

// What of the rate of an APN goes beyond the other octets (TS 24.301, 9.9.4.2).
static std::string furtherRateText(const velnor3gpp_Node* node, uint64_t)
{
  if (!node->number) return kToldBefore;
  return node->number < 255 ? rateText(node->number * 256000) + " more" : "";
}

// Units 1, 2 ... are 1, 4, 16, 64 and 256 kbit/s, 1 Mbit/s and so on (TS 24.501, 9.11.4.14).
static std::string scaledText(uint64_t count, uint64_t unit)
{
  static constexpr unsigned kUnits = 25;
  if (!unit) return "";
  unit = std::min<uint64_t>(unit, kUnits) - 1;
  for (count <<= unit % 5 * 2; unit >= 5; unit -= 5) count *= 1000;
  return rateText(count);
}

static std::string scaledRateText(const velnor3gpp_Node* node, uint64_t unit)
{
  return scaledText(node->number, unit);
}

// Units begin at 3 for 4 Mbit/s (TS 24.301, 9.9.4.29).
static std::string scaledOctetsText(const velnor3gpp_Node* node, uint64_t unit)
{
  return node->count == 2 && unit >= 3 ? scaledText(node->data[0] << 8U | node->data[1], unit + 4) : "";
}

// TS 24.008, 10.5.6.5.
static std::string sduSizeText(const velnor3gpp_Node* node, uint64_t)
{
  static constexpr unsigned kTens = 150, kLarger[] = {1502, 1510, 1520};
  if (node->number <= kTens) return std::to_string(node->number * 10) + " octets";
  uint64_t larger = node->number - kTens - 1;
  return larger < std::size(kLarger) ? std::to_string(kLarger[larger]) + " octets" : "";
}

// Likewise.
static std::string delayText(const velnor3gpp_Node* node, uint64_t)
{
  uint64_t code = node->number;
  if (code > 62) return "";
  return std::to_string(code < 16 ? code * 10 : code < 32 ? 200 + (code - 16) * 50 : 1000 + (code - 32) * 100) + " ms";
}

// The end of an IMSI that is not concealed: two digits in an octet, the first one in the low half, a filler behind the
// last (TS 24.501, 9.11.3.4).
static std::string subscriberText(const velnor3gpp_Node* node, uint64_t)
{
  std::string text;
  for (size_t i = 0; i < 2 * node->count; ++i) {
    unsigned digit = node->data[i / 2] >> i % 2 * 4 & 15U;
    if (digit == 15 && i + 1 == 2 * node->count) break;
    if (digit > 9) return "";
    text += static_cast<char>('0' + digit);
  }
  return text.empty() ? "" : "'" + text + "'";
}

// TS 24.301, 9.9.3.33; TS 24.008, 10.5.4.5a.
static std::string moreByOneText(const velnor3gpp_Node* node, uint64_t)
{
  return "that is " + std::to_string(node->number + 1);
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
    {"", "maxUplinkBR", bitRateText},
    {"", "maxDownlinkBR", bitRateText},
    {"", "guaranteedUplinkBR", bitRateText},
    {"", "guaranteedDownlinkBR", bitRateText},
    {"", "maxBitRateForUL", bitRateText},
    {"", "maxBitRateForDL", bitRateText},
    {"", "guaranteedBitRateForUL", bitRateText},
    {"", "guaranteedBitRateForDL", bitRateText},
    {"", "apnAmbrforDL", bitRateText},
    {"", "apnAmbrforUL", bitRateText},
    {"", "extBitRate", listedRateText},
    {"", "maxDownlinkBRExt", extendedRateText},
    {"", "extMaxBitRateForUL", extendedRateText},
    {"", "extMaxBitRateForDL", extendedRateText},
    {"", "extGuaranteedBitRateForUL", extendedRateText},
    {"", "extGuaranteedBitRateForDL", extendedRateText},
    {"APNAggMaxBitRateExt", "extApnAmbrForDL", extendedRateText},
    {"APNAggMaxBitRateExt", "extApnAmbrForUL", extendedRateText},
    {"", "ext2ApnAmbrForDL", furtherRateText},
    {"", "ext2ApnAmbrForUL", furtherRateText},
    {"", "ext2MaxBitRateForUL", extendedRate2Text},
    {"", "ext2MaxBitRateForDL", extendedRate2Text},
    {"", "ext2GuaranteedBitRateForUL", extendedRate2Text},
    {"", "ext2GuaranteedBitRateForDL", extendedRate2Text},
    {"", "sessionAmbrDL", scaledRateText},
    {"", "sessionAmbrUL", scaledRateText},
    {"", "guarFlow", scaledRateText},
    {"ExtAPNAggMaxBitRate", "extApnAmbrForDL", scaledOctetsText},
    {"ExtAPNAggMaxBitRate", "extApnAmbrForUL", scaledOctetsText},
    {"", "maxSDUSize", sduSizeText},
    {"", "numElements", moreByOneText},
    {"", "maxNumSupportedBearers", moreByOneText},
    {"", "transferDelay", delayText},
    {"", "schemeOutput", subscriberText},
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
  // The entries of a list have its name.
  const velnor3gpp_Node* named = node->name || !node->parent ? node : node->parent;
  const std::string_view name = nameOf(named);
  const velnor3gpp_Type* around = nullptr;
  for (const Derived& derived : kDerived) {
    if (derived.member != name) continue;
    auto takes = [&](auto... texts) { return ((derived.text == texts) || ...); };
    bool octets = takes(addressText, wideText, configurationText, scaledOctetsText, subscriberText);
    if (octets != (node->kind == VELNOR3GPP_OCTETS)) continue;
    if (!derived.type.empty() && !around) around = named->parent ? velnor3gpp_nodeType(named->parent) : nullptr;
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

// "locationMAX" fills the width of its enumeration and names nothing, "lbit" is a bit as it is on the wire.
static bool isFiller(std::string_view name)
{
  if (name == "lbit" || name == "hbit") return true;
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
