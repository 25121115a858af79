#include "api/privateParts.h"

namespace {

using Action = PartActions::Action;

// Octets, and what is done with the private ones among them.
struct Parts {
  uint8_t* octets;
  size_t count;
  const PartActions& actions;

  void tell(Action action, size_t from, size_t length) const
  {
    if (action && from < count && length)
      action(octets + from, length < count - from ? length : count - from, actions.arg);
  }
};

} // namespace

L3Privacy privacyOf(const Place& place)
{
  if (place.row && place.row->privacy != kL3Public) return place.row->privacy;
  return place.hidden ? kL3PrivateAll : kL3Public;
}

// An IPv6 address has 8 octets of prefix and 8 that say which interface, which also stand alone: both halves are parts,
// so that they are the same alone and together. With an IPv4 address such octets are 12 or 20 (8 and 4 in TS 24.301,
// 9.9.4.9; 4 and 16 in TS 24.008, 10.5.6.4). Others are one part.
static void tellAddresses(const Parts& parts, size_t count)
{
  size_t first = count == 20 ? 4 : count == 12 || count == 16 ? 8 : count;
  for (size_t at = 0, length = first; at < count; at += length, length = 8)
    parts.tell(parts.actions.octets, at, length < count - at ? length : count - at);
}

// Options of a configuration packet (RFC 1332, RFC 1877): type, length of the whole, value. The types are those of
// addresses: the peer's own, and two each of DNS and NBNS.
static void tellIpcp(const Parts& parts, size_t at)
{
  while (at + 2 < parts.count) {
    uint8_t type = parts.octets[at], length = parts.octets[at + 1];
    if (length < 2) return parts.tell(parts.actions.octets, at, parts.count);
    if (type == 3 || (type >= 129 && type <= 132)) parts.tell(parts.actions.octets, at + 2, length - 2U);
    at += length;
  }
}

// Up to so many values behind a length each: name and password (RFC 1334). What follows is one part.
static void tellLengthed(const Parts& parts, size_t at, unsigned values)
{
  for (; values && at < parts.count; --values) {
    size_t length = parts.octets[at++];
    parts.tell(parts.actions.octets, at, length);
    at += length;
  }
  parts.tell(parts.actions.octets, at, parts.count);
}

// What the options of TS 24.008, 10.5.6.3, tell of addresses and subscribers. Packets have a header of four octets.
static void tellOption(const Parts& parts, uint64_t option)
{
  static constexpr size_t kHeader = 4;
  switch (option) {
    case 0x0001: // P-CSCF
    case 0x0003: // DNS server
    case 0x0007: // home agent
    case 0x0009:
    case 0x000C: // P-CSCF
    case 0x000D: // DNS server
      return tellAddresses(parts, parts.count);
    case 0x0008: // home network: a prefix and its length
      return tellAddresses(parts, parts.count < 16 ? parts.count : 16);
    case 0x000E: // MSISDN, behind the type of number
      return parts.tell(parts.actions.digits, 1, parts.count);
    case 0x8021:
      return tellIpcp(parts, kHeader);
    case 0xC023: // PAP
      return tellLengthed(parts, kHeader, 2);
    case 0xC223: // CHAP
      return tellLengthed(parts, kHeader, 1);
    default:
      return;
  }
}

// A packet keeps its type. SIM, AKA and AKA' have attributes of whole words behind a word (RFC 4187, 8.1), which keep
// their first word: type, length and, where more follows, how much of that counts.
static void tellEap(const Parts& parts)
{
  static constexpr size_t kWord = 4;
  uint8_t type = parts.count ? parts.octets[0] : 0;
  if (type != 18 && type != 23 && type != 50) return parts.tell(parts.actions.octets, 1, parts.count);
  for (size_t at = kWord; at + 1 < parts.count;) {
    size_t length = kWord * parts.octets[at + 1];
    if (!length) return parts.tell(parts.actions.octets, at, parts.count);
    parts.tell(parts.actions.octets, at + kWord, length - kWord);
    at += length;
  }
}

// Tag, length and value, one behind the other and within each other (X.690, 8.1). Values of up to two octets are codes
// and flags and stay; long tags and lengths above 255 or without an end are not followed, and all behind them is one
// part. So values within values are 127 deep at most.
static void tellBer(const Parts& parts, size_t at, size_t end)
{
  while (at < end) {
    uint8_t tag = parts.octets[at];
    bool wide = end - at > 2 && parts.octets[at + 1] == 0x81;
    size_t header = wide ? 3 : 2, left = end - at;
    size_t length = left < header ? SIZE_MAX : parts.octets[at + header - 1];
    bool known = (tag & 31) != 31 && length <= (wide ? 255U : 127U) && length <= left - header;
    if (!known) return parts.tell(parts.actions.octets, at, left);
    at += header;
    if (tag & 0x20)
      tellBer(parts, at, at + length);
    else if (length > 2)
      parts.tell(parts.actions.octets, at, length);
    at += length;
  }
}

void eachPrivatePart(const Place& place, uint64_t option, const PartActions& actions)
{
  const Parts parts = {writable(place.node.data), place.node.count, actions};
  size_t octets = place.row ? place.row->privateOctets : 0;
  switch (privacyOf(place)) {
    case kL3Public:
      return;
    case kL3PrivateAll:
      return tellAddresses(parts, parts.count);
    case kL3PrivateFirst:
      return tellAddresses(parts, octets < parts.count ? octets : parts.count);
    case kL3PrivateBehind:
      return parts.tell(actions.octets, octets, parts.count);
    case kL3PrivateEach:
      for (size_t at = 0; at < parts.count; at += octets) parts.tell(actions.octets, at, octets);
      return;
    case kL3PrivateDigits:
      return parts.tell(actions.digits, 0, parts.count);
    case kL3PrivateOption:
      return tellOption(parts, option);
    case kL3PrivateEap:
      return tellEap(parts);
    case kL3PrivateBer:
      return tellBer(parts, 0, parts.count);
    case kL3PrivateMessage:
      return parts.tell(actions.message, 0, parts.count);
  }
}
