// What a reader of captures holds, and what the files of this folder share. reader.cpp moves octets, files.cpp takes
// the two forms of capture files apart, frames.cpp what is in a packet, gsmtap.cpp and lapdm.cpp the radio side,
// links.cpp puts segments together, protocols.cpp names forms; writer.cpp is by itself. Captures come from strangers:
// everything lies in one block of fixed size, so whatever a length in a file says, there is no more to fill than this.
// Octets of a frame belong to the reader and hold until the next one is asked for.
#ifndef VELNOR3GPP_CAPTURE_CAPTURE_H
#define VELNOR3GPP_CAPTURE_CAPTURE_H

#include <cstring>

#include "capture/links.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/velnor3gppCapture.h"

inline constexpr size_t kFrameMax = VELNOR3GPP_CAPTURE_FRAME_MAX;
inline constexpr size_t kOptionsMax =
    VELNOR3GPP_CAPTURE_COMMENTS_MAX * 65540 + 16; // of a packet's block: comments of all lengths, flags, the end
inline constexpr size_t kInputSize = 65536;
// Of one section; a file with more is refused (RTX_E_TOO_BIG).
inline constexpr size_t kMaxInterfaces = 1024;
// Link types 147 to 162 are the user's: nothing in a file says what they hold, a caller or custom does.
inline constexpr uint32_t kFirstUserType = 147, kUserTypes = 16;
inline constexpr uint16_t kGsmtapPort = 4729;

// Octets that are looked at, with what is left of them. Never owns anything.
struct Span {
  const uint8_t* data;
  size_t size;
};

// Passes over octets; false, with the span as it was, if there are not so many.
inline bool skip(Span& span, size_t count)
{
  if (count > span.size) return false;
  span = {span.data + count, span.size - count};
  return true;
}

// Big-endian, as protocols have them.
inline uint16_t load16(const uint8_t* at)
{
  return static_cast<uint16_t>(at[0] << 8 | at[1]);
}

inline uint32_t load32(const uint8_t* at)
{
  return uint32_t{load16(at)} << 16 | load16(at + 2);
}

// In the byte order of the machine that wrote the file: 01 02 is 0x0201 from a little-endian one.
inline uint16_t load16(const uint8_t* at, bool little)
{
  return little ? static_cast<uint16_t>(at[1] << 8 | at[0]) : load16(at);
}

inline uint32_t load32(const uint8_t* at, bool little)
{
  return little ? uint32_t{load16(at + 2, true)} << 16 | load16(at, true) : load32(at);
}

// An interface of a section: its link type and how its times count.
struct CaptureInterface {
  uint32_t linkType;
  uint32_t snapLength;
  uint8_t resolution; // 6: microseconds; with the top bit, a power of two
  int64_t offset;     // seconds
};

// What a protocol's name stands for, such as "nas-5gs" for the form of 5GS messages.
struct CaptureProtocol {
  const char* dissector;
  const char* form; // full name of its type, or null where octets or channel choose
  velnor3gpp_Channel channel;
};

// A name of the table by its characters, or null. "gsmtap" has no row: it is a header, not a protocol.
const CaptureProtocol* protocolNamed(const char* name, size_t count);
// The dissector that takes a message of EPS without a setting.
const char* epsDissector(Span octets);

// Steps of a file. Each has its octets gathered first and is then taken as a whole (takeStep).
enum class ReadStep { kStart, kPcapHeader, kRecordHeader, kRecordData, kBlockStart, kSection, kBlockBody, kBlockEnd };

struct velnor3gpp_CaptureReader {
  RtxMemHeap* home;
  velnor3gpp_CaptureReadFunc read; // null: the caller feeds
  void* arg;
  Span input;
  bool ended;
  int status;

  // What is being gathered: `want` octets at `target`, of which `have` are there, behind `skip` others.
  ReadStep step;
  uint8_t* target;
  size_t have, want;
  // A skip may be 16 MiB of a block that nobody wants; nothing of it is held.
  uint64_t skip;
  uint64_t octets, recordAt; // octets taken, and where the record began

  bool little, nanoseconds;
  CaptureInterface pcap; // that of a pcap file
  uint32_t blockType, blockLength;
  bool blockHeld; // the body is in `data`
  size_t interfaceCount;

  velnor3gpp_CaptureFrame frame;
  uint64_t frames, reasons[VELNOR3GPP_CAPTURE_REASONS];
  bool framed; // `frame` is one that the caller has not seen

  const CaptureProtocol* userTypes[kUserTypes];
  bool userGsmtap[kUserTypes];
  const velnor3gpp_Type* forms[8]; // of the protocols, in the order of their table
  RadioLinks links;
  uint16_t radioNumber; // of the frame, with its band; GSMTAP tells it

  CaptureInterface interfaces[kMaxInterfaces];
  uint8_t header[24];
  uint8_t data[kFrameMax + kOptionsMax];
  uint8_t buffer[kInputSize];
};

// Gathers `want` octets at `target` for the next step.
void gather(velnor3gpp_CaptureReader& reader, ReadStep step, uint8_t* target, size_t want);
// Takes what the step has gathered. Returns 0, or the status of damage.
int takeStep(velnor3gpp_CaptureReader& reader);
int takePcapHeader(velnor3gpp_CaptureReader& reader);
int takeRecordHeader(velnor3gpp_CaptureReader& reader);
int takeBlockStart(velnor3gpp_CaptureReader& reader);
int takeSection(velnor3gpp_CaptureReader& reader);
int takeBlockBody(velnor3gpp_CaptureReader& reader);
int takeBlockEnd(velnor3gpp_CaptureReader& reader);

// Begins a frame. What it tells beside its octets is set between this and its end.
void beginFrame(velnor3gpp_CaptureReader& reader, const CaptureInterface& interface, size_t number);
// Ends it: finds the message in its octets.
void endFrame(velnor3gpp_CaptureReader& reader, Span octets, size_t originalCount);

// Find the message in a frame, from its link type inwards. Each returns why there is none, or
// VELNOR3GPP_CAPTURE_MESSAGE with all that is known of it in the frame.
velnor3gpp_CaptureReason readLinkType(velnor3gpp_CaptureReader& reader, Span octets);
velnor3gpp_CaptureReason readUpperPdu(velnor3gpp_CaptureReader& reader, Span octets);
velnor3gpp_CaptureReason readGsmtap(velnor3gpp_CaptureReader& reader, Span octets);
velnor3gpp_CaptureReason readProtocol(velnor3gpp_CaptureReader& reader, const CaptureProtocol& protocol, Span octets);
velnor3gpp_CaptureReason readCommonChannel(velnor3gpp_CaptureReader& reader, velnor3gpp_Channel channel, Span octets);
velnor3gpp_CaptureReason readDedicatedChannel(velnor3gpp_CaptureReader& reader, uint8_t subType, Span octets);

#endif
