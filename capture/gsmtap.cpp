// GSMTAP: the header of version 2 (16 octets), the older layout of version 3 (the same, longer) and its newer one. Type
// and sub-type lead to NAS messages or to the channels of the radio interface. frames.cpp calls readGsmtap with what a
// UDP packet, a link type or an upper PDU holds.
//
//   02 04 01 00 40 14 ...   version 2, 4 words, type 1: GSM radio; timeslot 0; 4014: uplink, channel 20
//        octet 12           sub-type, the channel: 08 is SDCCH/8, 88 the SACCH beside it
//        octet 14           sub-slot
//   03 00 00 02 05 04 ...   version 3, newer: 2 words, type 0504: 5GS NAS
#include "capture/capture.h"

using Reason = velnor3gpp_CaptureReason;

namespace {

// What all layouts say.
struct Header {
  uint32_t type, subType;
  size_t size;
  bool hasRadio; // channel, timeslot, direction
};

enum class Kind { kNone, kRadio, kDtap, kEps, k5gs };

struct TypeRow {
  uint32_t version2, version3;
  Kind kind;
};

} // namespace

// Types by version. One that a version does not have is a number that no header holds.
static constexpr uint32_t kNoType = UINT32_MAX;
static constexpr TypeRow kTypes[] = {{0x01, 0x0200, Kind::kRadio},
                                     {0x02, kNoType, Kind::kDtap}, // Abis: messages without layer 2
                                     {0x12, 0x0404, Kind::kEps},
                                     {kNoType, 0x0504, Kind::k5gs}};
static constexpr unsigned kUplink = 0x4000, kArfcnMask = 0x3FFF;

// Version 3 in the newer layout has a second octet of 0: the older one has its length there, at least 4 words.
static bool readHeader(Span span, Header& header)
{
  const uint8_t* at = span.data;
  if (span.size < 8) return false;
  bool isNew = at[0] == 3 && at[1] == 0;
  if (isNew) {
    header = {load16(at + 4), load16(at + 6), load16(at + 2) * size_t{4}, false};
    return header.size >= 8 && header.size <= span.size;
  }
  if ((at[0] != 2 && at[0] != 3) || at[1] < 4) return false;
  // Four words are 16 octets, so that the sub-type at octet 12 is there once the header fits.
  header = {at[2], 0, at[1] * size_t{4}, true};
  if (header.size > span.size) return false;
  header.subType = at[12];
  return true;
}

// What the type stands for in its version; kNone for random access, packet data, bursts and the like.
static Kind kindOf(const Header& header)
{
  for (const TypeRow& row : kTypes)
    if (header.type == (header.hasRadio ? row.version2 : row.version3)) return row.kind;
  return Kind::kNone;
}

// Channel, timeslot, sub-slot, and the direction in bit 14 of the channel. A channel number of 0 with NAS messages is
// one that nobody has set, and its direction bit with it.
static void takeRadio(velnor3gpp_CaptureReader& reader, const uint8_t* at, Kind kind)
{
  velnor3gpp_CaptureFrame& frame = reader.frame;
  unsigned number = load16(at + 4);
  reader.radioNumber = static_cast<uint16_t>(number & ~kUplink);
  frame.connection.has |= VELNOR3GPP_CAPTURE_HAS_RADIO;
  frame.connection.arfcn = static_cast<uint16_t>(number & kArfcnMask);
  frame.connection.timeslot = at[3];
  frame.connection.subslot = at[14];
  if (number || kind == Kind::kRadio) frame.direction = number & kUplink ? VELNOR3GPP_UP : VELNOR3GPP_DOWN;
}

// Sub-types of radio channels. 0x80 marks the slow associated channel of the one in the lower bits.
static Reason readRadio(velnor3gpp_CaptureReader& reader, uint32_t subType, Span octets)
{
  if (subType & 0x80) return readDedicatedChannel(reader, static_cast<uint8_t>(subType), octets);
  switch (subType) {
    case 1:
      return readCommonChannel(reader, VELNOR3GPP_BCCH, octets);
    case 2: // common control, access grant, paging
    case 4:
    case 5:
      return readCommonChannel(reader, VELNOR3GPP_CCCH, octets);
    case 6: // dedicated control and fast associated ones
    case 7:
    case 8:
    case 9:
    case 10:
      return readDedicatedChannel(reader, static_cast<uint8_t>(subType), octets);
    default:
      return VELNOR3GPP_CAPTURE_UNKNOWN;
  }
}

// A protocol that the table has for certain, so that the pointer is not tested.
static Reason readNamed(velnor3gpp_CaptureReader& reader, const char* name, Span octets)
{
  return readProtocol(reader, *protocolNamed(name, strlen(name)), octets);
}

Reason readGsmtap(velnor3gpp_CaptureReader& reader, Span span)
{
  Header header = {};
  if (!readHeader(span, header)) return VELNOR3GPP_CAPTURE_MALFORMED;
  Kind kind = kindOf(header);
  if (header.hasRadio) takeRadio(reader, span.data, kind);
  skip(span, header.size);
  switch (kind) {
    case Kind::kRadio:
      return readRadio(reader, header.subType, span);
    case Kind::kDtap:
      return readNamed(reader, "gsm_a_dtap", span);
    case Kind::kEps:
      return readNamed(reader, epsDissector(span), span);
    case Kind::k5gs:
      return readNamed(reader, "nas-5gs", span);
    default:
      return VELNOR3GPP_CAPTURE_UNKNOWN;
  }
}
