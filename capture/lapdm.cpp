// Blocks of radio channels (TS 44.006): the pseudo length in front of a message on broadcast and common
// channels (formats Bbis), and LAPDm frames on dedicated ones: address, control, length, then a message or a
// segment of one. gsmtap.cpp calls it. Only as much of LAPDm is understood as messages need: nothing is
// acknowledged, and no timer runs.
//
//   01 3F 35 05 24 ...   01 = 0 00 000 0 1: service access point 0, command bit 0, last octet of the address
//                        3F: SABM with the poll bit; 35 = 001101 0 1: 13 octets, no more segments
//   03 20 0D 06 0D ...   20 = 001 0 000 0: an I frame, N(R) 1, N(S) 0; three octets of message
//   03 42 53 ...         42: N(S) 1; 53 = 010100 1 1: 20 octets, and more segments follow
//   2B 2B 2B ...         fill
#include "capture/capture.h"

using Reason = velnor3gpp_CaptureReason;

static constexpr uint8_t kFill = 0x2B;
static constexpr size_t kSlowBlock = 23, kLayer1Header = 2; // octets of a slow associated block, and what leads it

namespace {

// A frame on a dedicated channel, its parts as far as they are there.
// `key` tells which link its segments belong to; `slow` is the slow associated channel.
struct Frame {
  RadioLinkKey key;
  bool slow, up;
  uint8_t control, lengthOctet;
  Span rest; // behind the control octet
  Span info; // behind the length
};

} // namespace

// 2B is the octet that idle blocks are filled with (TS 44.006). An empty block is fill as well, so that behind this
// test there is a first octet.
static bool isFill(Span octets)
{
  for (size_t i = 0; i < octets.size; ++i)
    if (octets.data[i] != kFill) return false;
  return true;
}

// Reads the message as a protocol. The channel is set if it chose the form.
static Reason readNamed(velnor3gpp_CaptureReader& reader, const char* name, velnor3gpp_Channel channel, Span octets)
{
  Reason reason = readProtocol(reader, *protocolNamed(name, strlen(name)), octets);
  if (reader.frame.channel != VELNOR3GPP_CHANNEL_UNKNOWN) reader.frame.channel = channel;
  return reason;
}

// 2D 06 3F ...: eleven octets of a message behind the first, then rest octets.
Reason readCommonChannel(velnor3gpp_CaptureReader& reader, velnor3gpp_Channel channel, Span octets)
{
  reader.frame.direction = VELNOR3GPP_DOWN; // the mobile has the random access channel alone
  if (isFill(octets)) return VELNOR3GPP_CAPTURE_FILL;
  uint8_t first = octets.data[0];
  if ((first & 3) != 1 || octets.size - 1 < first >> 2) return VELNOR3GPP_CAPTURE_MALFORMED;
  return readNamed(reader, "gsm_a_ccch", channel, octets);
}

// 0 00 sss c 1: a spare bit, protocol 00, service access point, command bit, extension bit.
static bool isAddress(uint8_t octet)
{
  return (octet & 0xE1) == 1; // of a service access point, and its last octet
}

// Slow associated blocks have 23 octets with the header of layer 1 (power, timing advance) and 21 without. Where the
// size does not tell, an address does.
static Span withoutLayer1(Span block)
{
  if (block.size < kLayer1Header + 3 || block.size == kSlowBlock - kLayer1Header) return block;
  bool plain = isAddress(block.data[0]), behind = isAddress(block.data[2]);
  if (block.size != kSlowBlock && plain && !behind) return block;
  skip(block, kLayer1Header);
  return block;
}

// Where it is not told, frames of all channels come as one, and nothing begins or ends a link of its own.
static bool hasChannel(const velnor3gpp_CaptureReader& reader)
{
  return reader.frame.connection.has & VELNOR3GPP_CAPTURE_HAS_RADIO;
}

// A hash of who sent the frame and on which channel (FNV-1a), the same for both directions. `source` is
// the receiver that sent the GSMTAP packet, which hears both sides; `radioNumber` has the band as well.
static uint64_t channelHash(const velnor3gpp_CaptureReader& reader, uint8_t subType)
{
  const velnor3gpp_CaptureConnection& connection = reader.frame.connection;
  uint8_t where[32] = {};
  memcpy(where, connection.source, 16);
  uint16_t radioNumber = hasChannel(reader) ? reader.radioNumber : uint16_t{0};
  const uint32_t numbers[] = {connection.interfaceNumber, radioNumber, connection.timeslot};
  memcpy(where + 16, numbers, sizeof numbers);
  where[28] = connection.subslot;
  where[29] = subType;
  where[30] = hasChannel(reader);
  uint64_t hash = 14695981039346656037U;
  for (uint8_t octet : where) hash = (hash ^ octet) * 1099511628211U;
  return hash;
}

// A message on a dedicated channel. The channel matters to radio resource messages alone: measurement reports come on
// the slow associated one from the mobile.
static Reason readMessage(velnor3gpp_CaptureReader& reader, const Frame& frame, Span octets)
{
  bool slow = frame.slow && frame.up && (octets.data[0] & 15) == 6;
  Reason reason =
      readNamed(reader, slow ? "gsm_a_sacch" : "gsm_a_dtap", slow ? VELNOR3GPP_SACCH : VELNOR3GPP_DCCH, octets);
  reader.frame.dissector = "gsm_a_dtap"; // which has the messages of both, those with a short header apart
  return reason;
}

// A message with the short header of layer 2. The channel holds cell broadcast and idle frames too, so it is a message
// only if its type is known.
static Reason readShort(velnor3gpp_CaptureReader& reader, Span octets)
{
  Reason reason = readNamed(reader, "gsm_a_sacch", VELNOR3GPP_SHORT, octets);
  bool known = reader.frame.channel == VELNOR3GPP_SHORT && reader.frame.type;
  return reason == VELNOR3GPP_CAPTURE_MESSAGE && !known ? VELNOR3GPP_CAPTURE_UNKNOWN : reason;
}

// From the network, a slow associated block without numbers has no length of layer 2: what stands there is the pseudo
// length of the message (03 03 49 06 1D ...), or the short header (TS 44.006, format B4).
static Reason readSlowBlock(velnor3gpp_CaptureReader& reader, Span octets)
{
  if (!(octets.data[0] & 3)) return readShort(reader, octets);
  return readNamed(reader, "gsm_a_ccch", VELNOR3GPP_SACCH, octets);
}

// Does a pseudo length or a short header stand where the length of layer 2 would? The former has 01 in its low bits and
// a radio resource message behind it, the latter 0 in its top bit and low bits.
static bool isSlowBlock(const Frame& frame)
{
  bool pseudo = (frame.lengthOctet & 3) == 1 && frame.info.size && (frame.info.data[0] & 15) == 6;
  return frame.slow && !frame.up && (pseudo || !(frame.lengthOctet & 0x83));
}

// An I frame. Its message is whole when the last segment has come. Where no channel is told, frames of several mobiles
// may be mixed, so that segments are not joined.
static Reason readSegment(velnor3gpp_CaptureReader& reader, const Frame& frame)
{
  RadioSegment segment = {static_cast<uint8_t>(frame.control >> 1 & 7), (frame.lengthOctet & 2) != 0,
                          hasChannel(reader), frame.info.data, frame.info.size};
  RadioLink* link = nullptr;
  switch (takeSegment(reader.links, frame.key, segment, &link)) {
    case SegmentResult::kMessage:
      return readMessage(reader, frame, {link->octets, link->count});
    case SegmentResult::kSegment:
      return VELNOR3GPP_CAPTURE_SEGMENT;
    case SegmentResult::kRepeated:
      return VELNOR3GPP_CAPTURE_REPEATED;
    default:
      return VELNOR3GPP_CAPTURE_FRAGMENT;
  }
}

// SABM begins a link and may carry its first message. It is sent again if no answer came.
static Reason readBeginning(velnor3gpp_CaptureReader& reader, const Frame& frame)
{
  bool isNew = !hasChannel(reader) || beginLink(reader.links, frame.key, frame.info.data, frame.info.size);
  if (!frame.info.size) return VELNOR3GPP_CAPTURE_CONTROL;
  return isNew ? readMessage(reader, frame, frame.info) : VELNOR3GPP_CAPTURE_REPEATED;
}

// Frames without a number; EF takes the poll bit off. SABM (2F) begins a link; UA (63) answers it, or as DM and DISC do
// (0F, 43) stands at the end of one. Numbers count from 0 again. SABM and UI (03) carry messages. The network repeats
// in UA what the mobile said in SABM, so that is no message of the network's.
static Reason readUnnumbered(velnor3gpp_CaptureReader& reader, const Frame& frame)
{
  uint8_t control = frame.control & 0xEF;
  if (control == 0x2F) return readBeginning(reader, frame);
  bool answers = control == 0x63 && isAnswer(reader.links, frame.key, frame.info.data, frame.info.size);
  bool ends = control == 0x0F || control == 0x43 || control == 0x63;
  if (ends && !answers && hasChannel(reader)) resetLinks(reader.links, frame.key);
  if (control != 0x03) return VELNOR3GPP_CAPTURE_CONTROL;
  return frame.info.size ? readMessage(reader, frame, frame.info) : VELNOR3GPP_CAPTURE_FILL;
}

// The length octet: six bits, whether more segments follow, and a 1.
static bool readLength(Frame& frame)
{
  if (!frame.rest.size) return false;
  frame.lengthOctet = frame.rest.data[0];
  frame.info = {frame.rest.data + 1, frame.rest.size - 1};
  return true;
}

// What follows the address and control. xxxxxxx0 is an I frame, xxxxxx01 a supervisory one, xxxxxx11 an unnumbered one.
static Reason readFrame(velnor3gpp_CaptureReader& reader, Frame& frame)
{
  bool isUnnumberedInfo = (frame.control & 0xEF) == 0x03;
  if (!readLength(frame)) return VELNOR3GPP_CAPTURE_MALFORMED;
  if (isUnnumberedInfo && isSlowBlock(frame)) return readSlowBlock(reader, frame.rest);
  size_t count = frame.lengthOctet >> 2;
  if (!(frame.lengthOctet & 1) || count > frame.info.size) return VELNOR3GPP_CAPTURE_MALFORMED;
  frame.info.size = count;
  if ((frame.control & 3) == 3) return readUnnumbered(reader, frame);
  // An I frame without octets is an acknowledgement, as supervisory frames are.
  if ((frame.control & 3) == 1 || !count) return VELNOR3GPP_CAPTURE_CONTROL;
  return readSegment(reader, frame);
}

// Commands from the network and responses to it have the command bit. Where nothing else tells the way, it does, since
// messages stand in commands.
static void findDirection(velnor3gpp_CaptureReader& reader, uint8_t address)
{
  if (reader.frame.direction == VELNOR3GPP_DIRECTION_UNKNOWN)
    reader.frame.direction = address & 2 ? VELNOR3GPP_DOWN : VELNOR3GPP_UP;
}

Reason readDedicatedChannel(velnor3gpp_CaptureReader& reader, uint8_t subType, Span octets)
{
  if (isFill(octets)) return VELNOR3GPP_CAPTURE_FILL;
  bool slow = (subType & 0x80) != 0;
  if (slow) octets = withoutLayer1(octets);
  uint8_t address = octets.data[0];
  if (!(address & 0x83)) return readShort(reader, octets);    // format Bter: the short header stands for all of layer 2
  if (!isAddress(address)) return VELNOR3GPP_CAPTURE_UNKNOWN; // cell broadcast and others
  if (octets.size < 3) return VELNOR3GPP_CAPTURE_MALFORMED;
  findDirection(reader, address);
  bool up = reader.frame.direction == VELNOR3GPP_UP;
  Frame frame = {
      {channelHash(reader, subType), static_cast<uint8_t>(address >> 2 & 7), up}, slow, up, octets.data[1], 0, {}, {}};
  skip(octets, 2); // address and control
  frame.rest = octets;
  return readFrame(reader, frame);
}
