// From a frame's link type to GSMTAP on UDP, or to the message itself: Ethernet, Linux cooked, IP, the user's link
// types, and upper PDUs, which name their dissector. endFrame (reader.cpp) calls readLinkType. Each function takes its
// header off the span and hands the rest on; what it finds out, such as addresses, goes into the frame. All lengths are
// tested against what is left before they are used. Nothing is put together here: fragments of IP are counted and
// passed over.
#include "capture/capture.h"

using Reason = velnor3gpp_CaptureReason;

static constexpr uint16_t kIpv4 = 0x0800, kIpv6 = 0x86DD;
static constexpr unsigned kMaxTags = 4, kMaxExtensions = 8; // VLAN tags, and headers between IPv6 and UDP

// Ports, length, checksum (which is not tested: captures of a sending host have none yet). 4729 on either side is
// GSMTAP.
static Reason readUdp(velnor3gpp_CaptureReader& reader, Span span)
{
  if (span.size < 8) return VELNOR3GPP_CAPTURE_MALFORMED;
  velnor3gpp_CaptureConnection& connection = reader.frame.connection;
  connection.sourcePort = load16(span.data);
  connection.destinationPort = load16(span.data + 2);
  if (connection.sourcePort != kGsmtapPort && connection.destinationPort != kGsmtapPort)
    return VELNOR3GPP_CAPTURE_PROTOCOL;
  reader.frame.direction = VELNOR3GPP_DIRECTION_UNKNOWN; // that of the capture's flags is the packet's
  size_t count = load16(span.data + 4);
  if (count < 8 || count > span.size) return VELNOR3GPP_CAPTURE_MALFORMED;
  return readGsmtap(reader, {span.data + 8, count - 8});
}

// Source and destination stand behind each other in both versions of IP.
static void takeAddresses(velnor3gpp_CaptureReader& reader, const uint8_t* source, size_t size)
{
  velnor3gpp_CaptureConnection& connection = reader.frame.connection;
  connection.has |= VELNOR3GPP_CAPTURE_HAS_ADDRESSES;
  connection.addressSize = static_cast<uint32_t>(size);
  memcpy(connection.source, source, size);
  memcpy(connection.destination, source + size, size);
}

// 45 00 00 3C ...: version 4, a header of 5 words, a total length of 60.
static Reason readIpv4(velnor3gpp_CaptureReader& reader, Span span)
{
  if (span.size < 20) return VELNOR3GPP_CAPTURE_MALFORMED;
  const uint8_t* at = span.data;
  size_t header = (at[0] & 15U) * 4U, total = load16(at + 2);
  takeAddresses(reader, at + 12, 4);
  // Seen before ports are looked for: only the first fragment has them.
  if (load16(at + 6) & 0x3FFF) return VELNOR3GPP_CAPTURE_IP_FRAGMENT; // more follow, or an offset
  if (at[9] != 17) return VELNOR3GPP_CAPTURE_PROTOCOL;
  if (header < 20 || header > span.size) return VELNOR3GPP_CAPTURE_MALFORMED;
  // A packet that the network card is still to cut (segmentation offload) has a length of 0.
  if (total && (total < header || total > span.size)) return VELNOR3GPP_CAPTURE_MALFORMED;
  if (total) span.size = total; // behind it an Ethernet frame is padded
  skip(span, header);
  return readUdp(reader, span);
}

// Which protocol stands behind the headers between IPv6 and it: `span` is moved there, up to eight headers. 0, 43 and
// 60 have a length in units of 8 octets less one, 44 is a fragment header; of that one only a packet that is whole
// passes (its offset and "more" bit are 0).
static Reason passExtensions(Span& span, uint8_t next)
{
  for (unsigned i = 0; i <= kMaxExtensions; ++i) {
    if (next == 17) return VELNOR3GPP_CAPTURE_MESSAGE;
    bool isOptions = next == 0 || next == 43 || next == 60, isFragment = next == 44;
    if (!isOptions && !isFragment) return VELNOR3GPP_CAPTURE_PROTOCOL;
    if (span.size < 8) return VELNOR3GPP_CAPTURE_MALFORMED;
    if (isFragment && load16(span.data + 2) & 0xFFF9) return VELNOR3GPP_CAPTURE_IP_FRAGMENT;
    next = span.data[0];
    if (!skip(span, isFragment ? 8 : (span.data[1] + size_t{1}) * 8)) return VELNOR3GPP_CAPTURE_MALFORMED;
  }
  return VELNOR3GPP_CAPTURE_PROTOCOL;
}

static Reason readIpv6(velnor3gpp_CaptureReader& reader, Span span)
{
  if (span.size < 40) return VELNOR3GPP_CAPTURE_MALFORMED;
  size_t count = load16(span.data + 4);
  uint8_t next = span.data[6];
  takeAddresses(reader, span.data + 8, 16);
  skip(span, 40);
  // A count of 0 stands in packets that the kernel has not cut yet, as in IPv4. Extensions are passed even in a packet
  // that is shorter than it says, so that a fragment or another protocol is told as such and not as malformed.
  bool whole = count <= span.size;
  if (count && whole) span.size = count;
  Reason reason = passExtensions(span, next);
  if (reason != VELNOR3GPP_CAPTURE_MESSAGE) return reason;
  return whole ? readUdp(reader, span) : VELNOR3GPP_CAPTURE_MALFORMED;
}

// Link types without an Ethernet header: the version is the first half-octet.
static Reason readIp(velnor3gpp_CaptureReader& reader, Span span)
{
  if (!span.size) return VELNOR3GPP_CAPTURE_MALFORMED;
  switch (span.data[0] >> 4) {
    case 4:
      return readIpv4(reader, span);
    case 6:
      return readIpv6(reader, span);
    default:
      return VELNOR3GPP_CAPTURE_PROTOCOL;
  }
}

// Up to four VLAN tags of four octets stand between an Ethernet header and what it carries.
static Reason readEtherType(velnor3gpp_CaptureReader& reader, uint16_t type, Span span)
{
  for (unsigned i = 0; i < kMaxTags && (type == 0x8100 || type == 0x88A8 || type == 0x9100); ++i) {
    if (span.size < 4) return VELNOR3GPP_CAPTURE_MALFORMED;
    type = load16(span.data + 2);
    skip(span, 4);
  }
  return type == kIpv4 || type == kIpv6 ? readIp(reader, span) : VELNOR3GPP_CAPTURE_PROTOCOL;
}

// Loopback interfaces of BSD systems: four octets of an address family, whose numbers differ between systems, then IP.
static Reason readLoopback(velnor3gpp_CaptureReader& reader, Span span)
{
  return skip(span, 4) ? readIp(reader, span) : VELNOR3GPP_CAPTURE_MALFORMED;
}

// Two addresses of six octets, then the type.
static Reason readEthernet(velnor3gpp_CaptureReader& reader, Span span)
{
  const uint8_t* at = span.data;
  return skip(span, 14) ? readEtherType(reader, load16(at + 12), span) : VELNOR3GPP_CAPTURE_MALFORMED;
}

// Linux cooked, version 1: 14 octets about the interface, then the type.
static Reason readCooked(velnor3gpp_CaptureReader& reader, Span span)
{
  const uint8_t* at = span.data;
  return skip(span, 16) ? readEtherType(reader, load16(at + 14), span) : VELNOR3GPP_CAPTURE_MALFORMED;
}

// Version 2 has the type in front, in a header of 20 octets.
static Reason readCooked2(velnor3gpp_CaptureReader& reader, Span span)
{
  const uint8_t* at = span.data;
  return skip(span, 20) ? readEtherType(reader, load16(at), span) : VELNOR3GPP_CAPTURE_MALFORMED;
}

namespace {

using ReadFrame = Reason(velnor3gpp_CaptureReader& reader, Span span);

struct LinkType {
  uint32_t number;
  ReadFrame* read;
  bool hasLengths; // of its own; of others a frame that was cut is no message
};

} // namespace

// Ethernet, IP (raw under three numbers, version 4, version 6), loopback in two, Linux cooked in two, GSMTAP, upper
// PDUs.
static constexpr LinkType kLinkTypes[] = {
    {1, readEthernet, true}, {101, readIp, true},      {12, readIp, true},       {14, readIp, true},
    {228, readIp, true},     {229, readIp, true},      {0, readLoopback, true},  {108, readLoopback, true},
    {113, readCooked, true}, {276, readCooked2, true}, {217, readGsmtap, false}, {252, readUpperPdu, false}};

// A user link type holds GSMTAP, the messages of a protocol, or nothing that anybody has told.
static Reason readUserType(velnor3gpp_CaptureReader& reader, uint32_t index, Span octets)
{
  if (reader.userGsmtap[index]) return readGsmtap(reader, octets);
  const CaptureProtocol* protocol = reader.userTypes[index];
  return protocol ? readProtocol(reader, *protocol, octets) : VELNOR3GPP_CAPTURE_LINK_TYPE;
}

// A frame that was cut is no message where nothing inside has a length that would show it.
static Reason whole(const velnor3gpp_CaptureReader& reader, Reason reason)
{
  bool cut = reader.frame.originalCount > reader.frame.frameCount;
  return cut && reason == VELNOR3GPP_CAPTURE_MESSAGE ? VELNOR3GPP_CAPTURE_CUT : reason;
}

// Link types that no table and no caller knows are counted as such.
Reason readLinkType(velnor3gpp_CaptureReader& reader, Span octets)
{
  uint32_t number = reader.frame.linkType;
  for (const LinkType& known : kLinkTypes) {
    if (known.number != number) continue;
    Reason reason = known.read(reader, octets);
    return known.hasLengths ? reason : whole(reader, reason);
  }
  uint32_t user = number - kFirstUserType;
  return user < kUserTypes ? whole(reader, readUserType(reader, user, octets)) : VELNOR3GPP_CAPTURE_LINK_TYPE;
}

namespace {

// What the tags of an upper PDU say.
struct Tags {
  const char* name;
  size_t nameCount;
  unsigned addresses; // bit 0: the source's was there, bit 1: the destination's
};

} // namespace

// Tags of upper PDUs; others are passed over.
static constexpr uint16_t kEnd = 0, kDissector = 12, kSourceV4 = 20, kDestinationV4 = 21, kSourceV6 = 22,
                          kDestinationV6 = 23, kSourcePort = 25, kDestinationPort = 26, kDirection = 35;

// The connection has addresses when both are there.
static void takeAddress(velnor3gpp_CaptureReader& reader, Tags& tags, bool toDestination, Span value)
{
  velnor3gpp_CaptureConnection& connection = reader.frame.connection;
  if (value.size != 4 && value.size != 16) return;
  connection.addressSize = static_cast<uint32_t>(value.size);
  memcpy(toDestination ? connection.destination : connection.source, value.data, value.size);
  tags.addresses |= toDestination ? 2U : 1U;
  if (tags.addresses == 3) connection.has |= VELNOR3GPP_CAPTURE_HAS_ADDRESSES;
}

// One tag of an upper PDU. Ports and direction are words of 32 bits, big-endian.
static void takeTag(velnor3gpp_CaptureReader& reader, Tags& tags, uint16_t tag, Span value)
{
  velnor3gpp_CaptureFrame& frame = reader.frame;
  switch (tag) {
    case kDissector:
      tags.name = reinterpret_cast<const char*>(value.data);
      tags.nameCount = strnlen(tags.name, value.size); // padded with zeros
      break;
    case kSourceV4:
    case kSourceV6:
      return takeAddress(reader, tags, false, value);
    case kDestinationV4:
    case kDestinationV6:
      return takeAddress(reader, tags, true, value);
    case kSourcePort:
      if (value.size >= 4) frame.connection.sourcePort = load16(value.data + 2);
      break;
    case kDestinationPort:
      if (value.size >= 4) frame.connection.destinationPort = load16(value.data + 2);
      break;
    case kDirection: // 0 was sent, by the mobile; 1 was received
      if (value.size >= 4 && load32(value.data) < 2)
        frame.direction = load32(value.data) ? VELNOR3GPP_DOWN : VELNOR3GPP_UP;
      break;
    default:
      break;
  }
}

// Tags of two octets with a length of two, up to tag 0: 00 0C 00 08 "nas-5gs" 00, 00 00 00 00, then the message.
Reason readUpperPdu(velnor3gpp_CaptureReader& reader, Span span)
{
  Tags tags = {};
  for (uint16_t tag = kDissector; tag != kEnd;) {
    if (span.size < 4) return VELNOR3GPP_CAPTURE_MALFORMED;
    tag = load16(span.data);
    Span value = {span.data + 4, load16(span.data + 2)};
    skip(span, 4);
    if (!skip(span, value.size)) return VELNOR3GPP_CAPTURE_MALFORMED;
    if (tag != kEnd) takeTag(reader, tags, tag, value);
  }
  if (!tags.name) return VELNOR3GPP_CAPTURE_UNKNOWN;
  if (tags.nameCount == 6 && memcmp(tags.name, "gsmtap", 6) == 0) return readGsmtap(reader, span);
  const CaptureProtocol* protocol = protocolNamed(tags.name, tags.nameCount);
  return protocol ? readProtocol(reader, *protocol, span) : VELNOR3GPP_CAPTURE_UNKNOWN;
}
