// The two forms of capture files, a step at a time. pcap is a header of 24 octets and records; pcapng is blocks whose
// first word is their type and whose length stands at both ends. reader.cpp gathers the octets of a step and calls
// takeStep; frames go to beginFrame and endFrame. Every length is tested before anything is gathered by it, and nothing
// is allocated.
//
//   pcap     A1B2C3D4 0002 0004 ...       magic, which also tells the byte order and the unit of time
//   pcapng   0A0D0D0A 0000001C 1A2B3C4D   section, 28 octets, byte order; then version and length
//            00000001 ...                 interface: link type, octets kept of a packet, options
//            00000006 ... 00000034        packet: interface, time, counts, octets, options, the length again
#include "capture/capture.h"
#include "velnor3gpp/rtxStatus.h"

static constexpr uint32_t kSectionBlock = 0x0A0D0D0A, kInterfaceBlock = 1, kSimpleBlock = 3, kPacketBlock = 6;
// Of early writers: the interface has 16 bits, and a count of drops the others.
static constexpr uint32_t kOldPacketBlock = 2;
// A block of more than 16 MiB is taken for damage.
static constexpr uint32_t kOrderMagic = 0x1A2B3C4D, kBlockMax = 1U << 24;
// Options: of any block, of a packet, of an interface (the last two).
static constexpr uint16_t kComment = 1, kPacketFlags = 2, kResolution = 9, kTimeOffset = 14;

namespace {

// What the first octets of a pcap file say.
struct Magic {
  uint8_t octets[4];
  bool little, nanoseconds;
};

} // namespace

static constexpr Magic kMagics[] = {{{0xA1, 0xB2, 0xC3, 0xD4}, false, false},
                                    {{0xD4, 0xC3, 0xB2, 0xA1}, true, false},
                                    {{0xA1, 0xB2, 0x3C, 0x4D}, false, true},
                                    {{0x4D, 0x3C, 0xB2, 0xA1}, true, true}};

// Null if the octets begin no pcap file.
static const Magic* magicOf(const uint8_t* octets)
{
  for (const Magic& magic : kMagics)
    if (memcmp(magic.octets, octets, 4) == 0) return &magic;
  return nullptr;
}

// The first four octets tell: one of four magic numbers of pcap, or a section block, which reads alike in both orders.
int velnor3gpp_isCapture(const uint8_t* octets, size_t count)
{
  return octets && count >= 4 && (magicOf(octets) || load32(octets) == kSectionBlock);
}

// Damage ends the capture: the status stays in the reader.
static int fail(velnor3gpp_CaptureReader& reader, int status)
{
  return reader.status = status;
}

static void nextRecord(velnor3gpp_CaptureReader& reader)
{
  gather(reader, ReadStep::kRecordHeader, reader.header, 16);
}

static void nextBlock(velnor3gpp_CaptureReader& reader)
{
  gather(reader, ReadStep::kBlockStart, reader.header, 8);
}

// The first four octets tell the form; they belong to the header that follows.
static int takeStart(velnor3gpp_CaptureReader& reader)
{
  if (!velnor3gpp_isCapture(reader.header, 4)) return fail(reader, RTX_E_BAD_FORMAT);
  const Magic* magic = magicOf(reader.header);
  gather(reader, magic ? ReadStep::kPcapHeader : ReadStep::kBlockStart, reader.header, magic ? 24 : 8);
  reader.have = 4;
  if (magic) reader.little = magic->little;
  if (magic) reader.nanoseconds = magic->nanoseconds;
  return 0;
}

// Version 2 of any minor number; 24 octets with the link type as the last word.
int takePcapHeader(velnor3gpp_CaptureReader& reader)
{
  const uint8_t* at = reader.header;
  if (load16(at + 4, reader.little) != 2) return fail(reader, RTX_E_BAD_FORMAT);
  uint32_t linkType = load32(at + 20, reader.little) & 0x03FFFFFF; // above it stands how long check sequences are
  reader.pcap = {linkType, 0, static_cast<uint8_t>(reader.nanoseconds ? 9 : 6), 0};
  nextRecord(reader);
  return 0;
}

// Seconds, fractions, octets kept, octets there were; then the octets.
int takeRecordHeader(velnor3gpp_CaptureReader& reader)
{
  uint32_t count = load32(reader.header + 8, reader.little);
  // More than any link has: the count is damaged, and with it where the next record begins.
  if (count > kFrameMax) return fail(reader, RTX_E_BAD_VALUE);
  gather(reader, ReadStep::kRecordData, reader.data, count);
  return 0;
}

// A packet of pcap. It has one interface, number 0, and always a time.
static void takeRecord(velnor3gpp_CaptureReader& reader)
{
  const uint8_t* at = reader.header;
  bool little = reader.little;
  beginFrame(reader, reader.pcap, 0);
  reader.frame.hasTime = 1;
  reader.frame.time =
      uint64_t{load32(at, little)} * 1000000000U + uint64_t{load32(at + 4, little)} * (reader.nanoseconds ? 1U : 1000U);
  endFrame(reader, {reader.data, reader.want}, load32(at + 12, little));
  nextRecord(reader);
}

// A length counts the whole block: 12 octets are type and length in front and the length behind, the rest is the body.
static bool isBlockLength(uint32_t length)
{
  return length >= 12 && length % 4 == 0 && length <= kBlockMax;
}

// Packets and interfaces are held, as far as there is room; all else, such as names and statistics, is passed over.
static int beginBody(velnor3gpp_CaptureReader& reader)
{
  if (!isBlockLength(reader.blockLength)) return fail(reader, RTX_E_BAD_LENGTH);
  uint32_t type = reader.blockType;
  reader.blockHeld = type == kInterfaceBlock || type == kSimpleBlock || type == kPacketBlock || type == kOldPacketBlock;
  size_t body = reader.blockLength - 12, held = body < sizeof reader.data ? body : sizeof reader.data;
  gather(reader, ReadStep::kBlockBody, reader.data, reader.blockHeld ? held : 0);
  if (!reader.blockHeld) reader.skip = body;
  return 0;
}

int takeBlockStart(velnor3gpp_CaptureReader& reader)
{
  // The type of a section block reads alike in both byte orders; the magic number behind the
  // length tells which one holds.
  reader.blockType = load32(reader.header, reader.little);
  if (load32(reader.header) == kSectionBlock) {
    gather(reader, ReadStep::kSection, reader.header, 12);
    reader.have = 8;
    return 0;
  }
  reader.blockLength = load32(reader.header + 4, reader.little);
  return beginBody(reader);
}

// A section begins anew: byte order, and interfaces from number 0 on. Its own options are passed over.
int takeSection(velnor3gpp_CaptureReader& reader)
{
  const uint8_t* at = reader.header;
  // The magic number reads as itself in one of the two orders, or the file is none.
  reader.little = load32(at + 8) != kOrderMagic;
  if (load32(at + 8, reader.little) != kOrderMagic) return fail(reader, RTX_E_BAD_FORMAT);
  reader.blockLength = load32(at + 4, reader.little);
  if (!isBlockLength(reader.blockLength) || reader.blockLength < 28) return fail(reader, RTX_E_BAD_LENGTH);
  reader.blockHeld = false;
  reader.interfaceCount = 0;
  gather(reader, ReadStep::kBlockBody, reader.data, 0);
  reader.skip = reader.blockLength - 16;
  return 0;
}

// The body is there, as far as it is held. What is beyond is skipped in front of the length at the end.
int takeBlockBody(velnor3gpp_CaptureReader& reader)
{
  size_t held = reader.want;
  gather(reader, ReadStep::kBlockEnd, reader.header, 4);
  if (reader.blockHeld) reader.skip = reader.blockLength - 12 - held;
  return 0;
}

namespace {

struct Option {
  uint16_t code;
  Span value;
};

struct Moment {
  uint64_t seconds, nanoseconds;
};

} // namespace

// The next option of a block; false behind the last. Values are padded to four octets: a comment "abc" takes 8.
static bool nextOption(Span& options, bool little, Option& option)
{
  if (options.size < 4) return false;
  option = {load16(options.data, little), {options.data + 4, load16(options.data + 2, little)}};
  skip(options, 4);
  size_t padded = (option.value.size + 3) & ~size_t{3};
  // The last value need not be padded; one that is longer than the block ends the options without damage to the packet.
  if (!option.code || option.value.size > options.size) return false;
  if (!skip(options, padded)) options.size = 0;
  return true;
}

// The unit of time, and seconds to add to all times. 64 bits as two words in the section's order.
static void takeInterfaceOption(CaptureInterface& interface, const Option& option, bool little)
{
  if (option.code == kResolution && option.value.size >= 1) interface.resolution = option.value.data[0];
  if (option.code != kTimeOffset || option.value.size < 8) return;
  uint64_t first = load32(option.value.data, little), second = load32(option.value.data + 4, little);
  interface.offset = static_cast<int64_t>(little ? second << 32 | first : first << 32 | second);
}

// Link type, two octets of nothing, octets kept of each packet (0: no limit), options.
static int takeInterface(velnor3gpp_CaptureReader& reader, Span body)
{
  bool little = reader.little;
  if (body.size < 8) return fail(reader, RTX_E_BAD_LENGTH);
  if (reader.interfaceCount == kMaxInterfaces) return fail(reader, RTX_E_TOO_BIG);
  CaptureInterface& interface = reader.interfaces[reader.interfaceCount++];
  interface = {load16(body.data, little), load32(body.data + 4, little), 6, 0};
  skip(body, 8);
  for (Option option; nextOption(body, little, option);) takeInterfaceOption(interface, option, little);
  return 0;
}

static constexpr uint64_t kNanoseconds = 1000000000;

static uint64_t powerOf10(unsigned power)
{
  uint64_t value = 1;
  while (power--) value *= 10;
  return value;
}

// Ticks of 10^-n of a second. From 10^20 on a tick, all ticks of 64 bits are less than a second.
static Moment decimalMoment(uint64_t ticks, unsigned power)
{
  uint64_t second = power < 20 ? powerOf10(power) : 0;
  Moment moment = {second ? ticks / second : 0, second ? ticks % second : ticks};
  if (power <= 9) moment.nanoseconds *= powerOf10(9 - power);
  if (power > 9) moment.nanoseconds = power - 9 < 20 ? moment.nanoseconds / powerOf10(power - 9) : 0;
  return moment;
}

// Ticks of 2^-n of a second. 32 bits of the part below a second are as fine as nanoseconds need.
static Moment binaryMoment(uint64_t ticks, unsigned power)
{
  Moment moment = {power < 64 ? ticks >> power : 0, power < 64 ? ticks & ((uint64_t{1} << power) - 1) : ticks};
  unsigned kept = power < 32 ? power : 32, lost = power - kept;
  moment.nanoseconds = lost < 64 ? (moment.nanoseconds >> lost) * kNanoseconds >> kept : 0;
  return moment;
}

// The top bit of a resolution says which. Returns 0 for a time that nanoseconds since 1970 do not hold in 64 bits: one
// before, or behind July 2554.
static int nanosecondsOf(const CaptureInterface& interface, uint64_t ticks, uint64_t& time)
{
  static constexpr uint64_t kLastSecond = UINT64_MAX / kNanoseconds, kLastPart = UINT64_MAX % kNanoseconds;
  unsigned power = interface.resolution & 0x7F;
  Moment moment = interface.resolution & 0x80 ? binaryMoment(ticks, power) : decimalMoment(ticks, power);
  uint64_t offset = static_cast<uint64_t>(interface.offset), seconds = moment.seconds + offset;
  bool early = interface.offset < 0 && moment.seconds < 0 - offset;
  bool late = interface.offset >= 0 && seconds < offset; // beyond 64 bits
  late = late || seconds > kLastSecond || (seconds == kLastSecond && moment.nanoseconds > kLastPart);
  bool known = !early && !late;
  time = known ? seconds * kNanoseconds + moment.nanoseconds : 0;
  return known;
}

// Outbound is from the mobile: this is how a mobile's own log sees it.
static velnor3gpp_Direction directionOf(uint32_t flags)
{
  if ((flags & 3) == 2) return VELNOR3GPP_UP;
  return (flags & 3) == 1 ? VELNOR3GPP_DOWN : VELNOR3GPP_DIRECTION_UNKNOWN;
}

// Flags and comments. Comments are pointers into the block, which holds until the next frame.
static void takePacketOption(velnor3gpp_CaptureFrame& frame, const Option& option, bool little)
{
  if (option.code == kPacketFlags && option.value.size >= 4)
    frame.direction = directionOf(load32(option.value.data, little));
  if (option.code == kComment && frame.commentCount < VELNOR3GPP_CAPTURE_COMMENTS_MAX)
    frame.comments[frame.commentCount++] = {reinterpret_cast<const char*>(option.value.data), option.value.size};
}

// A packet: interface, time in two words, octets kept, octets on the wire; then the octets,
// padded to four, and options.
static int takePacket(velnor3gpp_CaptureReader& reader, Span body)
{
  bool little = reader.little;
  const uint8_t* at = body.data;
  if (!skip(body, 20)) return fail(reader, RTX_E_BAD_LENGTH);
  uint32_t number = reader.blockType == kPacketBlock ? load32(at, little) : load16(at, little);
  uint32_t count = load32(at + 12, little);
  if (number >= reader.interfaceCount || count > kFrameMax) return fail(reader, RTX_E_BAD_VALUE);
  Span octets = {body.data, count};
  if (!skip(body, (count + 3U) & ~3U)) return fail(reader, RTX_E_BAD_LENGTH);
  const CaptureInterface& interface = reader.interfaces[number];
  beginFrame(reader, interface, number);
  uint64_t ticks = uint64_t{load32(at + 4, little)} << 32 | load32(at + 8, little);
  reader.frame.hasTime = nanosecondsOf(interface, ticks, reader.frame.time);
  for (Option option; nextOption(body, little, option);) takePacketOption(reader.frame, option, little);
  endFrame(reader, octets, load32(at + 16, little));
  return 0;
}

// A simple packet: its size on the wire, then as many octets as the first interface keeps of one. It has no time.
static int takeSimplePacket(velnor3gpp_CaptureReader& reader, Span body)
{
  const uint8_t* at = body.data;
  if (!skip(body, 4)) return fail(reader, RTX_E_BAD_LENGTH);
  if (!reader.interfaceCount) return fail(reader, RTX_E_BAD_VALUE);
  const CaptureInterface& interface = reader.interfaces[0];
  uint32_t original = load32(at, reader.little), count = original;
  if (interface.snapLength && count > interface.snapLength) count = interface.snapLength;
  if (count > kFrameMax) return fail(reader, RTX_E_BAD_VALUE);
  if (count > body.size) return fail(reader, RTX_E_BAD_LENGTH);
  beginFrame(reader, interface, 0);
  reader.frame.hasTime = 0;
  reader.frame.time = 0;
  endFrame(reader, {body.data, count}, original);
  return 0;
}

// The length at the end proves that the block was read rightly. Only then is its body looked at.
int takeBlockEnd(velnor3gpp_CaptureReader& reader)
{
  if (load32(reader.header, reader.little) != reader.blockLength) return fail(reader, RTX_E_BAD_LENGTH);
  nextBlock(reader);
  if (!reader.blockHeld) return 0;
  size_t body = reader.blockLength - 12;
  Span held = {reader.data, body < sizeof reader.data ? body : sizeof reader.data};
  if (reader.blockType == kInterfaceBlock) return takeInterface(reader, held);
  return reader.blockType == kSimpleBlock ? takeSimplePacket(reader, held) : takePacket(reader, held);
}

// The step that has been gathered is over when this returns; it has said what to gather next.
int takeStep(velnor3gpp_CaptureReader& reader)
{
  switch (reader.step) {
    case ReadStep::kStart:
      return takeStart(reader);
    case ReadStep::kPcapHeader:
      return takePcapHeader(reader);
    case ReadStep::kRecordHeader:
      return takeRecordHeader(reader);
    case ReadStep::kRecordData:
      takeRecord(reader);
      return 0;
    case ReadStep::kBlockStart:
      return takeBlockStart(reader);
    case ReadStep::kSection:
      return takeSection(reader);
    case ReadStep::kBlockBody:
      return takeBlockBody(reader);
    case ReadStep::kBlockEnd:
      return takeBlockEnd(reader);
  }
  return fail(reader, RTX_E_GENERAL);
}
