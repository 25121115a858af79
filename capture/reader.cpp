// The reader of captures: octets come in pieces of any size, from a function of the caller's or fed by the caller, and
// a step of the file is taken (files.cpp) when all that it needs has been gathered. Nothing is read ahead, so a capture
// that is still growing may stop anywhere and go on later. The first damage ends reading: behind a wrong length nothing
// says where the next record begins.
#include <cstddef>

#include "api/session.h"
#include "capture/capture.h"

// One allocation for all. Only the front of the block is cleared: the rest is buffers.
int velnor3gpp_captureOpen(velnor3gpp_CaptureReader** reader, velnor3gpp_CaptureReadFunc read, void* arg)
{
  if (!reader) return RTX_E_NULL_POINTER;
  *reader = nullptr;
  RtxMemHeap* home = nullptr;
  if (rtxMemHeapCreate(&home) < 0) return RTX_E_NO_MEMORY;
  void* memory = rtxMemHeapSysAlloc(&home, sizeof(velnor3gpp_CaptureReader));
  if (!memory) {
    rtxMemHeapRelease(&home);
    return RTX_E_NO_MEMORY;
  }
  velnor3gpp_CaptureReader* made = static_cast<velnor3gpp_CaptureReader*>(memory);
  memset(memory, 0, offsetof(velnor3gpp_CaptureReader, interfaces)); // what lies behind is written before it is read
  made->home = home;
  made->read = read;
  made->arg = arg;
  gather(*made, ReadStep::kStart, made->header, 4);
  velnor3gpp_captureMap(made, 148, "nas-eps"); // by custom
  velnor3gpp_captureMap(made, 151, "nas-5gs");
  *reader = made;
  return 0;
}

// Frames that were handed out point into the reader and go with it.
void velnor3gpp_captureClose(velnor3gpp_CaptureReader* reader)
{
  if (!reader) return;
  RtxMemHeap* home = reader->home;
  rtxMemHeapSysFreePtr(&home, reader);
  rtxMemHeapRelease(&home);
}

// Tells what a user link type holds; an empty name takes it back. Holds for frames behind this call.
int velnor3gpp_captureMap(velnor3gpp_CaptureReader* reader, uint32_t linkType, const char* dissector)
{
  if (!reader) return RTX_E_NULL_POINTER;
  if (linkType < kFirstUserType || linkType - kFirstUserType >= kUserTypes) return RTX_E_BAD_PARAMETER;
  const char* name = dissector ? dissector : "";
  bool isGsmtap = strcmp(name, "gsmtap") == 0;
  const CaptureProtocol* protocol = protocolNamed(name, strlen(name));
  if (*name && !protocol && !isGsmtap) return RTX_E_BAD_PARAMETER;
  reader->userTypes[linkType - kFirstUserType] = protocol;
  reader->userGsmtap[linkType - kFirstUserType] = isGsmtap;
  return 0;
}

// The caller's octets are used where they are, so they must stay until MORE is returned. A count of 0 is the end.
int velnor3gpp_captureFeed(velnor3gpp_CaptureReader* reader, const uint8_t* octets, size_t count)
{
  if (!reader || (!octets && count)) return RTX_E_NULL_POINTER;
  if (reader->read || reader->input.size || reader->ended) return RTX_E_BAD_PARAMETER;
  reader->input = {octets, count};
  reader->ended = count == 0;
  return 0;
}

// Nothing is cleared: a step gathers all that it wants before it is taken.
void gather(velnor3gpp_CaptureReader& reader, ReadStep step, uint8_t* target, size_t want)
{
  reader.step = step;
  reader.target = target;
  reader.have = 0;
  reader.want = want;
}

// Gets more input. Returns FRAME if there is some, END or MORE if not, or a status.
// A count of 0 from the caller's function is the end of the capture.
static int refill(velnor3gpp_CaptureReader& reader)
{
  if (reader.ended) return VELNOR3GPP_CAPTURE_END;
  if (!reader.read) return VELNOR3GPP_CAPTURE_MORE;
  long count = reader.read(reader.arg, reader.buffer, sizeof reader.buffer);
  if (count < 0 || static_cast<unsigned long>(count) > sizeof reader.buffer) return RTX_E_READ;
  reader.input = {reader.buffer, static_cast<size_t>(count)};
  reader.ended = count == 0;
  return count ? VELNOR3GPP_CAPTURE_FRAME : VELNOR3GPP_CAPTURE_END;
}

// Counts octets as taken; where a record began is told to callers whose file is damaged.
static void pass(velnor3gpp_CaptureReader& reader, size_t count)
{
  skip(reader.input, count);
  reader.octets += count;
}

// One of two: passes over what is to be skipped, or moves input to where it is wanted behind that.
static void move(velnor3gpp_CaptureReader& reader)
{
  if (reader.skip) {
    size_t count = reader.skip < reader.input.size ? static_cast<size_t>(reader.skip) : reader.input.size;
    reader.skip -= count;
    return pass(reader, count);
  }
  size_t missing = reader.want - reader.have;
  size_t count = missing < reader.input.size ? missing : reader.input.size;
  memcpy(reader.target + reader.have, reader.input.data, count);
  reader.have += count;
  pass(reader, count);
}

// A capture may end in front of a record, or before it has begun; anywhere else it was cut (RTX_E_END_OF_FILE).
static bool mayEnd(const velnor3gpp_CaptureReader& reader)
{
  bool between =
      reader.step == ReadStep::kStart || reader.step == ReadStep::kRecordHeader || reader.step == ReadStep::kBlockStart;
  return between && !reader.have && !reader.skip;
}

// Gathers what the step needs, behind what is to be skipped. Returns FRAME if all of it is there; MORE keeps what has
// come so far, and the next call goes on.
static int fill(velnor3gpp_CaptureReader& reader)
{
  while (reader.skip || reader.have < reader.want) {
    if (!reader.input.size) {
      int status = refill(reader);
      if (status == VELNOR3GPP_CAPTURE_END && !mayEnd(reader)) return RTX_E_END_OF_FILE;
      if (status != VELNOR3GPP_CAPTURE_FRAME) return status;
    }
    move(reader);
  }
  return VELNOR3GPP_CAPTURE_FRAME;
}

// Takes steps up to the end of the next frame. Blocks that hold none are passed on the way.
static int readFrame(velnor3gpp_CaptureReader& reader)
{
  reader.framed = false;
  while (!reader.framed) {
    if (mayEnd(reader)) reader.recordAt = reader.octets;
    int status = fill(reader);
    if (status == VELNOR3GPP_CAPTURE_FRAME) status = takeStep(reader) < 0 ? reader.status : VELNOR3GPP_CAPTURE_FRAME;
    if (status != VELNOR3GPP_CAPTURE_FRAME) return status;
  }
  reader.recordAt = reader.octets;
  return VELNOR3GPP_CAPTURE_FRAME;
}

// A status is final: it is returned by every further call.
int velnor3gpp_captureNext(velnor3gpp_CaptureReader* reader, velnor3gpp_CaptureFrame* frame)
{
  if (!reader || !frame) return RTX_E_NULL_POINTER;
  if (!isSized(*frame)) return RTX_E_BAD_PARAMETER; // before a frame is used up
  if (reader->status < 0) return reader->status;
  int status = readFrame(*reader);
  if (status < 0) reader->status = status;
  if (status == VELNOR3GPP_CAPTURE_FRAME) fillStruct(frame, reader->frame);
  return status;
}

int velnor3gpp_decodeFrame(velnor3gpp_Session* session, const velnor3gpp_CaptureFrame* frame)
{
  if (!session || !frame) return RTX_E_NULL_POINTER;
  velnor3gpp_CaptureFrame room;
  const velnor3gpp_CaptureFrame& known = readStruct(frame, room);
  if (!isSized(known) || known.reason != VELNOR3GPP_CAPTURE_MESSAGE || !known.octets) return RTX_E_BAD_PARAMETER;
  return known.type ? velnor3gpp_decode(session, known.type, known.direction, known.octets, known.count)
                    : velnor3gpp_decodeOn(session, known.channel, known.direction, known.octets, known.count);
}

// How far the reader has come, and how many frames there were for each reason.
int velnor3gpp_captureCounts(const velnor3gpp_CaptureReader* reader, velnor3gpp_CaptureCounts* counts)
{
  if (!reader || !counts) return RTX_E_NULL_POINTER;
  velnor3gpp_CaptureCounts known = {};
  known.octets = reader->recordAt;
  known.frames = reader->frames;
  memcpy(known.reasons, reader->reasons, sizeof known.reasons);
  return fillStruct(counts, known);
}

// Member by member: clearing the whole frame would clear its comments too, at each frame.
void beginFrame(velnor3gpp_CaptureReader& reader, const CaptureInterface& interface, size_t number)
{
  velnor3gpp_CaptureFrame& frame = reader.frame;
  frame.frame = ++reader.frames;
  frame.linkType = interface.linkType;
  frame.direction = VELNOR3GPP_DIRECTION_UNKNOWN;
  frame.channel = VELNOR3GPP_CHANNEL_UNKNOWN;
  frame.dissector = "";
  frame.type = nullptr;
  frame.octets = nullptr;
  frame.count = frame.commentCount = 0;
  frame.connection = {};
  frame.connection.interfaceNumber = static_cast<uint32_t>(number);
}

void endFrame(velnor3gpp_CaptureReader& reader, Span octets, size_t originalCount)
{
  velnor3gpp_CaptureFrame& frame = reader.frame;
  frame.frameOctets = octets.data;
  frame.frameCount = octets.size;
  // A length on the wire that is below what is kept of the frame says nothing: the frame counts as whole.
  frame.originalCount = originalCount > octets.size ? originalCount : octets.size;
  frame.reason = readLinkType(reader, octets);
  bool cut = frame.originalCount > frame.frameCount;
  // Lengths that lead beyond a frame which was captured in part are no damage.
  if (frame.reason == VELNOR3GPP_CAPTURE_MALFORMED && cut) frame.reason = VELNOR3GPP_CAPTURE_CUT;
  if (frame.reason != VELNOR3GPP_CAPTURE_MESSAGE) {
    frame.type = nullptr;
    frame.octets = nullptr;
    frame.count = 0;
  }
  ++reader.reasons[frame.reason];
  reader.framed = true;
}
