// The writer of captures: link type 252, where each frame names its dissector in tags in front of the message, so that
// it opens without a setting. pcapng has the direction and the comments of a packet in options, pcap has neither; the
// tags have the direction in both. Output is collected and handed to the caller's function in pieces of 64 KiB; its
// first failure is kept and returned by every further frame that is in order. Frames are read during the call and not
// changed.
//
//   000C 0008 "nas-5gs" 00   0023 0004 00000001   0000 0000   7E 00 5B 01
//   tag 12: dissector        tag 35: received     end         message
#include "api/session.h"
#include "capture/capture.h"
#include "velnor3gpp/rtxStatus.h"

static constexpr size_t kOutputSize = 65536;
static constexpr uint32_t kUpperPdu = 252, kDissectorTag = 12, kPortTypeTag = 24, kSourcePortTag = 25,
                          kDestinationPortTag = 26, kDirectionTag = 35, kUdp = 3;

struct velnor3gpp_CaptureWriter {
  RtxMemHeap* home;
  velnor3gpp_CaptureWriteFunc write;
  void* arg;
  velnor3gpp_CaptureFormat format;
  int status;
  size_t used;
  uint8_t buffer[kOutputSize];
};

// What stands in front of a message.
namespace {

struct Tags {
  uint8_t octets[192];
  size_t count;
};

} // namespace

// Hands over what has been collected. Behind a failure it is dropped.
static void flush(velnor3gpp_CaptureWriter& writer)
{
  if (writer.used && writer.status >= 0 && writer.write(writer.arg, writer.buffer, writer.used) < 0)
    writer.status = RTX_E_WRITE;
  writer.used = 0;
}

// Appends octets, in as many pieces as the buffer takes.
static void put(velnor3gpp_CaptureWriter& writer, const void* octets, size_t count)
{
  const uint8_t* from = static_cast<const uint8_t*>(octets);
  while (count) {
    size_t room = sizeof writer.buffer - writer.used, piece = count < room ? count : room;
    memcpy(writer.buffer + writer.used, from, piece);
    writer.used += piece;
    from += piece;
    count -= piece;
    if (writer.used == sizeof writer.buffer) flush(writer);
  }
}

// Words are big-endian, whatever machine this is: readers take either order.
static void put32(velnor3gpp_CaptureWriter& writer, uint32_t value)
{
  const uint8_t octets[] = {static_cast<uint8_t>(value >> 24), static_cast<uint8_t>(value >> 16),
                            static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)};
  put(writer, octets, 4);
}

// Two numbers of 16 bits in a word, as an option's code and length.
static void put2x16(velnor3gpp_CaptureWriter& writer, uint32_t first, uint32_t second)
{
  put32(writer, first << 16 | (second & 0xFFFF));
}

// Values of options and tags, and packets of pcapng, fill whole words.
static size_t padded(size_t count)
{
  return (count + 3) & ~size_t{3};
}

static void putPadded(velnor3gpp_CaptureWriter& writer, const void* octets, size_t count)
{
  static constexpr uint8_t kZeros[4] = {};
  put(writer, octets, count);
  put(writer, kZeros, padded(count) - count);
}

// What stands in front of the first frame. The words of a section: type, length, byte order, version 1.0, an unknown
// length of 64 bits, the length again. Those of its one interface: type, length, link type, octets kept of a packet,
// option 9 of one octet (times are nanoseconds, 10 to the power of -9), its value, the end of options, the length.
static void putHead(velnor3gpp_CaptureWriter& writer)
{
  static constexpr uint32_t kSection[] = {0x0A0D0D0A, 28, 0x1A2B3C4D, 0x00010000, UINT32_MAX, UINT32_MAX, 28};
  static constexpr uint32_t kInterface[] = {
      1, 32, kUpperPdu << 16, VELNOR3GPP_CAPTURE_FRAME_MAX, 0x00090001, 0x09000000, 0, 32};
  static constexpr uint32_t kFile[] = {0xA1B23C4D, 0x00020004, 0, 0, VELNOR3GPP_CAPTURE_FRAME_MAX, kUpperPdu};
  if (writer.format == VELNOR3GPP_CAPTURE_PCAP) {
    for (uint32_t word : kFile) put32(writer, word);
    return;
  }
  for (uint32_t word : kSection) put32(writer, word);
  for (uint32_t word : kInterface) put32(writer, word);
}

// The head is collected at once and goes out with the first piece, so that creating a writer writes nothing yet.
int velnor3gpp_captureCreate(velnor3gpp_CaptureWriter** writer, velnor3gpp_CaptureFormat format,
                             velnor3gpp_CaptureWriteFunc write, void* arg)
{
  if (!writer || !write) return RTX_E_NULL_POINTER;
  *writer = nullptr;
  if (format != VELNOR3GPP_CAPTURE_PCAPNG && format != VELNOR3GPP_CAPTURE_PCAP) return RTX_E_BAD_PARAMETER;
  RtxMemHeap* home = nullptr;
  if (rtxMemHeapCreate(&home) < 0) return RTX_E_NO_MEMORY;
  void* memory = rtxMemHeapSysAllocZ(&home, sizeof(velnor3gpp_CaptureWriter));
  if (!memory) {
    rtxMemHeapRelease(&home);
    return RTX_E_NO_MEMORY;
  }
  velnor3gpp_CaptureWriter* made = static_cast<velnor3gpp_CaptureWriter*>(memory);
  made->home = home;
  made->write = write;
  made->arg = arg;
  made->format = format;
  putHead(*made);
  *writer = made;
  return 0;
}

// Tag, length with its padding, value. tagsOf adds no more than 144 octets: a name of 64, two
// addresses of 16, four numbers.
static void addTag(Tags& tags, uint32_t tag, const void* value, size_t count)
{
  size_t size = padded(count);
  uint8_t* at = tags.octets + tags.count;
  const uint8_t head[] = {0, static_cast<uint8_t>(tag), 0, static_cast<uint8_t>(size)};
  memcpy(at, head, 4);
  memset(at + 4, 0, size);
  if (count) memcpy(at + 4, value, count);
  tags.count += 4 + size;
}

static void addNumber(Tags& tags, uint32_t tag, uint32_t value)
{
  const uint8_t octets[] = {0, 0, static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)};
  addTag(tags, tag, octets, 4);
}

// Two addresses of one kind, and ports, which dissectors take only with the kind of port (3: UDP) in front.
static void addAddresses(Tags& tags, const velnor3gpp_CaptureConnection& connection)
{
  bool isV6 = connection.addressSize == 16;
  if (!(connection.has & VELNOR3GPP_CAPTURE_HAS_ADDRESSES) || (!isV6 && connection.addressSize != 4)) return;
  addTag(tags, isV6 ? 22 : 20, connection.source, connection.addressSize);
  addTag(tags, isV6 ? 23 : 21, connection.destination, connection.addressSize);
  addNumber(tags, kPortTypeTag, kUdp);
  addNumber(tags, kSourcePortTag, connection.sourcePort);
  addNumber(tags, kDestinationPortTag, connection.destinationPort);
}

// The name ends with at least one 0.
static Tags tagsOf(const velnor3gpp_CaptureFrame& frame)
{
  Tags tags = {};
  addTag(tags, kDissectorTag, frame.dissector, strlen(frame.dissector) + 1);
  addAddresses(tags, frame.connection);
  if (frame.direction != VELNOR3GPP_DIRECTION_UNKNOWN)
    addNumber(tags, kDirectionTag, frame.direction == VELNOR3GPP_DOWN);
  addTag(tags, 0, nullptr, 0);
  return tags;
}

static size_t commentsIn(const velnor3gpp_CaptureFrame& frame)
{
  return frame.commentCount < VELNOR3GPP_CAPTURE_COMMENTS_MAX ? frame.commentCount : VELNOR3GPP_CAPTURE_COMMENTS_MAX;
}

// Octets of the options with the word that ends them; none if there are no options.
static uint32_t optionsSize(const velnor3gpp_CaptureFrame& frame)
{
  size_t size = frame.direction != VELNOR3GPP_DIRECTION_UNKNOWN ? 8 : 0;
  for (size_t i = 0; i < commentsIn(frame); ++i) size += 4 + padded(frame.comments[i].count);
  return static_cast<uint32_t>(size ? size + 4 : 0);
}

// Comments (1) and flags (2), each a code and a length in a word and then its value.
static void putOptions(velnor3gpp_CaptureWriter& writer, const velnor3gpp_CaptureFrame& frame)
{
  for (size_t i = 0; i < commentsIn(frame); ++i) {
    size_t count = frame.comments[i].count;
    put2x16(writer, 1, static_cast<uint32_t>(count));
    putPadded(writer, frame.comments[i].text, count);
  }
  if (frame.direction != VELNOR3GPP_DIRECTION_UNKNOWN) {
    put2x16(writer, 2, 4);
    put32(writer, frame.direction == VELNOR3GPP_UP ? 2 : 1); // outbound, inbound: the mobile's own view
  }
  if (optionsSize(frame)) put32(writer, 0);
}

// A frame without a time, comments apart, which no simple packet holds.
static bool isTimeless(const velnor3gpp_CaptureFrame& frame)
{
  return !frame.hasTime && !frame.time && !frame.commentCount;
}

// A simple packet block has no time and no options: type, length, octets on the wire, octets, length.
static void putSimpleBlock(velnor3gpp_CaptureWriter& writer, const velnor3gpp_CaptureFrame& frame, const Tags& tags)
{
  uint32_t count = static_cast<uint32_t>(tags.count + frame.count);
  uint32_t length = 16 + static_cast<uint32_t>(padded(count));
  const uint32_t head[] = {3, length, count};
  for (uint32_t word : head) put32(writer, word);
  put(writer, tags.octets, tags.count);
  putPadded(writer, frame.octets, frame.count);
  put32(writer, length);
}

// A packet block: 32 octets around tags, message and options. The length stands at both ends.
static void putBlock(velnor3gpp_CaptureWriter& writer, const velnor3gpp_CaptureFrame& frame, const Tags& tags)
{
  uint32_t count = static_cast<uint32_t>(tags.count + frame.count);
  uint32_t length = 32 + static_cast<uint32_t>(padded(count)) + optionsSize(frame);
  const uint32_t head[] = {6,     length, 0, static_cast<uint32_t>(frame.time >> 32), static_cast<uint32_t>(frame.time),
                           count, count};
  for (uint32_t word : head) put32(writer, word);
  put(writer, tags.octets, tags.count); // a multiple of 4, so the padding is that of the message
  putPadded(writer, frame.octets, frame.count);
  putOptions(writer, frame);
  put32(writer, length);
}

// A record of pcap: seconds, nanoseconds, octets kept, octets there were.
static void putRecord(velnor3gpp_CaptureWriter& writer, const velnor3gpp_CaptureFrame& frame, const Tags& tags)
{
  uint32_t count = static_cast<uint32_t>(tags.count + frame.count);
  const uint32_t head[] = {static_cast<uint32_t>(frame.time / 1000000000U),
                           static_cast<uint32_t>(frame.time % 1000000000U), count, count};
  for (uint32_t word : head) put32(writer, word);
  put(writer, tags.octets, tags.count); // records are not padded
  put(writer, frame.octets, frame.count);
}

// A name of up to 63 characters, as the room of the tags allows. An option's length has 16 bits.
static int checkFrame(const velnor3gpp_CaptureWriter& writer, const velnor3gpp_CaptureFrame& frame)
{
  if (!frame.dissector || !*frame.dissector || strlen(frame.dissector) > 63) return RTX_E_BAD_PARAMETER;
  if (!frame.octets && frame.count) return RTX_E_NULL_POINTER;
  if (writer.format == VELNOR3GPP_CAPTURE_PCAP) return frame.time / 1000000000U > UINT32_MAX ? RTX_E_BAD_VALUE : 0;
  for (size_t i = 0; i < commentsIn(frame); ++i) {
    if (!frame.comments[i].text && frame.comments[i].count) return RTX_E_NULL_POINTER;
    if (frame.comments[i].count > UINT16_MAX) return RTX_E_TOO_BIG;
  }
  return 0;
}

// A frame is no larger than what the reader takes.
int velnor3gpp_captureWrite(velnor3gpp_CaptureWriter* writer, const velnor3gpp_CaptureFrame* frame)
{
  if (!writer || !frame) return RTX_E_NULL_POINTER;
  velnor3gpp_CaptureFrame room;
  const velnor3gpp_CaptureFrame& known = readStruct(frame, room);
  int status = checkFrame(*writer, known);
  if (status < 0) return status;
  Tags tags = tagsOf(known);
  if (known.count > VELNOR3GPP_CAPTURE_FRAME_MAX - tags.count) return RTX_E_TOO_BIG;
  if (writer->format == VELNOR3GPP_CAPTURE_PCAP)
    putRecord(*writer, known, tags);
  else if (isTimeless(known))
    putSimpleBlock(*writer, known, tags);
  else
    putBlock(*writer, known, tags);
  return writer->status;
}

int velnor3gpp_captureFlush(velnor3gpp_CaptureWriter* writer)
{
  if (!writer) return RTX_E_NULL_POINTER;
  flush(*writer);
  return writer->status;
}

// Hands over the rest and frees the writer, also after a failure; the status tells whether all was written.
int velnor3gpp_captureFinish(velnor3gpp_CaptureWriter* writer)
{
  if (!writer) return RTX_E_NULL_POINTER;
  flush(*writer);
  int status = writer->status;
  RtxMemHeap* home = writer->home;
  rtxMemHeapSysFreePtr(&home, writer);
  rtxMemHeapRelease(&home);
  return status;
}
