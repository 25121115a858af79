// The call record: how it begins and ends, how its frames go to the context's real stacks, and how failures and
// findings are reported. Coders call it for everything but the octets themselves: nothing here codes a field.
//
// A failure ends the decoding or encoding of a record and passes all coders around it, each of which adds a level to
// the one error record (l3Fail). A finding is remarked and the work goes on (l3Note, l3NoteRange). In a trial neither
// is recorded: the trial is given up, and the walk that follows comes to the same place and reports it.
#include "rt3gppsrc/engine/l3Call.h"

#include <cstring>

#include "rt3gppsrc/engine/l3Engine.h"
#include "rt3gppsrc/engine/l3Kept.h"
#include "rtxsrc/errors/rtxErrorInternal.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxDList.h"
#include "velnor3gpp/rtxMemHeap.h"

bool gL3SlowMode = false;

void l3SetSlowMode(bool on)
{
  gL3SlowMode = on;
}

// Sets the mode of a call that somebody watches. With a trace alone, the names stay frames, from which the trace writes
// its paths. If the caller has pushed names of its own, those belong in front of the paths, and only the real stack has
// them: then, as with a stream or in slow mode, the call works on the real stacks from the start.
[[gnu::noinline]] static void observe(L3Call& call, bool stream)
{
  const RtxContext& context = *call.pctxt;
  call.traced = context.pBitFldList;
  call.mode = kL3Walk;
  if (!gL3SlowMode && !stream && !context.elemNameStack.count) return;
  l3ToLists(call);
  call.mode = kL3Observed;
}

void l3Begin(L3Call& call, RtxContext* pctxt, L3Name& frame, const char* typeName)
{
  bool stream = pctxt->pStream && !(pctxt->flags & RTX_FLAG_BUFFER_MODE);
  bool plain = !gL3SlowMode && !stream && !pctxt->pBitFldList;
  l3Fresh(call, pctxt);
  call.keptAround = 0;
  frame = {typeName, nullptr, 0, 0, 0};
  call.names = &frame;
  if (!plain) observe(call, stream);
}

// A failed call keeps its names on the real stack: they are the element path that the caller reads. If the coder came
// to its end, with or without findings, the stack is as it was before the call.
int l3End(L3Call& call, int status, const char* module, uint16_t line)
{
  // Memory was out for an entry of a stack or for a remark. Nobody could return that at the time.
  if (status >= 0 && call.failed) return l3Fail(call, module, RTX_E_NO_MEMORY, line);
  if (status < 0) {
    l3ToLists(call);
    if (!call.ended) return status;
  }
  // The type name is taken off only if it is the single name. A single name that the caller had pushed goes in its
  // place; callers rely on it.
  bool single = call.pctxt->elemNameStack.count == 1;
  if (single && !call.keepTypeName) rtxCtxtPopTypeName(call.pctxt);
  return status;
}

// Pushes the frames from the outermost in, so the recursion goes out first; it is as deep as the types nest. An entry
// counts on the one before it: after a refusal none is tried.
static void pushFrames(L3Call& call, const L3Name* frame)
{
  if (!frame) return;
  pushFrames(call, frame->outer);
  int status = 0;
  if (call.failed) return;
  if (frame->kind == 0)
    status = rtxCtxtPushTypeName(call.pctxt, frame->name);
  else if (frame->kind == 1)
    status = rtxCtxtPushElemName(call.pctxt, frame->name);
  else
    status = rtxCtxtPushArrayElemName(call.pctxt, frame->name, frame->index);
  call.failed = status < 0;
}

// Pushes the regions from the outermost in. A public push counts from the cursor, so the cursor is put at the frame's
// end for a region of 0 octets, which then ends there.
static void pushRegions(L3Call& call, const L3Region* frame)
{
  if (!frame) return;
  pushRegions(call, frame->outer);
  if (call.failed) return;
  RtxContext* pctxt = call.pctxt;
  RtxBuffer& buffer = pctxt->buffer;
  size_t byteIndex = buffer.byteIndex;
  int16_t bitOffset = buffer.bitOffset;
  buffer.byteIndex = frame->byteIndex;
  buffer.bitOffset = static_cast<int16_t>(frame->bitOffset);
  call.failed = rtxCtxtPushContainerBytes(pctxt, 0) < 0; // a region that ends here: the frame's end
  buffer.byteIndex = byteIndex;
  buffer.bitOffset = bitOffset;
}

// From here on `listed()` sends every push and pop to the real stacks; the frames are not looked at any more. A trial
// has nothing to show: it is either good, and leaves no names, or is done again by the walk.
void l3ToLists(L3Call& call)
{
  if (call.listed() || call.onTrial()) return;
  call.mode = kL3Listed;
  pushFrames(call, call.names);
  pushRegions(call, call.regions);
}

// rtxErrSetData returns the status of all fatal records together, which is 0 if the failure joins a record that was
// marked non-fatal. A coder that took this 0 for success would go on behind its failure, so the status stays negative
// here.
static int negative(int reported, int status)
{
  return reported < 0 ? reported : status;
}

// Ends a trial. Nothing is recorded; a probe remembers what went wrong first, and where.
static int giveUp(L3Call& call, int status)
{
  if (call.probe) l3NoteProbe(call, status);
  call.mode = kL3GivenUp;
  return status;
}

int l3Fail(L3Call& call, const char* module, int status, uint16_t line)
{
  if (call.onTrial()) return giveUp(call, status);
  // A failure inside a coder that had come to its end keeps the names after all.
  call.ended = false;
  l3ToLists(call);
  return negative(rtxErrSetData(call.pctxt, status, module, line), status);
}

int l3FailNew(L3Call& call, const char* module, int status, uint16_t line)
{
  if (call.onTrial()) return giveUp(call, status);
  call.ended = false;
  l3ToLists(call);
  return negative(rtxErrSetNewData(call.pctxt, status, module, line), status);
}

// The words of status -16 tell the element path and the value. The path is read from the real stack, so the frames go
// there first. Small values are added as int: that is how they have always been printed.
static void addRangeParms(L3Call& call, uint64_t value)
{
  l3ToLists(call);
  rtxErrAddElemNameParm(call.pctxt);
  if (value <= INT32_MAX)
    rtxErrAddIntParm(call.pctxt, static_cast<int32_t>(value));
  else
    rtxErrAddUInt64Parm(call.pctxt, value);
}

// A finding beside a value does not make the value unreadable, so a probe passes over it. The element is then decoded
// once more in earnest, and the finding is told there. Parameters that were collected for it are thrown away. True:
// done.
static bool passesOver(L3Call& call)
{
  if (call.mode != kL3Trial || !call.probe) return false;
  rtxErrFreeRecordParms(call.pctxt, &call.pctxt->reservedErr);
  return call.probe->again = true;
}

void l3Note(L3Call& call, const char* module, int status, uint16_t line)
{
  if (passesOver(call)) return;
  if (call.onTrial()) {
    giveUp(call, status);
    return;
  }
  size_t before = call.pctxt->errInfo.count;
  l3ToLists(call);
  if (call.failed) return; // the call ends with that
  rtxErrSetNewData(call.pctxt, status, module, line);
  // No record was added, so there was no memory for one.
  if (call.pctxt->errInfo.count == before) call.failed = true;
}

void l3NoteRange(L3Call& call, const char* module, uint16_t line, uint64_t value)
{
  if (passesOver(call)) return;
  if (call.onTrial()) giveUp(call, RTX_E_CONSTRAINT);
  if (call.onTrial() || !l3MayNote(call)) return;
  size_t before = call.pctxt->errInfo.count;
  addRangeParms(call, value);
  l3Note(call, module, RTX_E_CONSTRAINT, line);
  // Only the last record is marked. Without a new one that would be an older record, which may be fatal.
  if (call.pctxt->errInfo.count > before) rtxErrSetNonFatal(call.pctxt);
}

int l3FailRange(L3Call& call, const char* module, uint16_t line, uint64_t value)
{
  if (call.onTrial()) return giveUp(call, RTX_E_CONSTRAINT);
  addRangeParms(call, value);
  return negative(rtxErrSetData(call.pctxt, RTX_E_CONSTRAINT, module, line), RTX_E_CONSTRAINT);
}

// If an entry is refused, the real stack lacks it. Every pop from there on would take off somebody else's entry, so
// nothing is pushed or popped any more (`failed`).
static int pushed(L3Call& call, int status)
{
  if (status < 0) call.failed = true;
  return status;
}

int l3PushNameSlow(L3Call& call, const char* name)
{
  return call.failed ? RTX_E_NO_MEMORY : pushed(call, rtxCtxtPushElemName(call.pctxt, name));
}

int l3PushEntrySlow(L3Call& call, const char* name, uint32_t index)
{
  return call.failed ? RTX_E_NO_MEMORY : pushed(call, rtxCtxtPushArrayElemName(call.pctxt, name, index));
}

int l3PushRegionSlow(L3Call& call, size_t count, bool bits)
{
  if (call.failed) return RTX_E_NO_MEMORY;
  if (l3BitPos(call.pctxt) + (bits ? count : count * 8) > call.pctxt->buffer.size * 8) call.doubtful = true;
  return pushed(call,
                bits ? rtxCtxtPushContainerBits(call.pctxt, count) : rtxCtxtPushContainerBytes(call.pctxt, count));
}

void l3PopNameSlow(L3Call& call)
{
  if (!call.failed) rtxCtxtPopElemName(call.pctxt);
}

void l3PopEntrySlow(L3Call& call)
{
  if (!call.failed) rtxCtxtPopArrayElemName(call.pctxt);
}

void l3PopRegionSlow(L3Call& call)
{
  if (!call.failed) rtxCtxtPopContainer(call.pctxt);
}

// The public function may refill a stream's buffer, so it takes the context without const.
bool l3HasRoomSlow(const RtxContext* pctxt)
{
  return rtxCtxtContainerHasRemBits(const_cast<RtxContext*>(pctxt));
}

// Frames come first: until they are on the real stacks, these hold only what the caller had opened before.
L3End l3InnermostEnd(const L3Call& call)
{
  if (!call.listed() && call.regions) return {true, call.regions->byteIndex, call.regions->bitOffset};
  const RtxDListNode* top = call.pctxt->containerStack.dlist.head;
  if (!top) return {false, 0, 0};
  const RtxContainer& region = *static_cast<const RtxContainer*>(top->data);
  return {true, region.byteIndex, region.bitOffset};
}

// As l3HasRoom, but against an end that was noted earlier.
bool l3HasRoomBefore(const L3Call& call, const L3End& end)
{
  RtxContext* pctxt = call.pctxt;
  if (!end.region && call.plain()) return pctxt->buffer.byteIndex < pctxt->buffer.size;
  // On a stream the buffer may be empty while the input goes on: the look ahead refills it.
  if (!end.region) return rtxPeekByte(pctxt, nullptr) > 0;
  size_t octet = l3BitPos(pctxt) / 8;
  if (octet != end.octet) return octet < end.octet;
  return pctxt->buffer.bitOffset > static_cast<int>(end.bitOffset);
}

// With 3 bits left in octet 2 and a region that ends at the start of octet 4: (4 - 2) * 8 - 8 + 3 = 11 bits.
size_t l3RoomBits(const L3Call& call)
{
  RtxContext* pctxt = call.pctxt;
  const RtxBuffer& buffer = pctxt->buffer;
  if (!l3HasRoom(call)) return 0;
  if (call.listed() || !call.regions) return rtxCtxtGetContainerRemBits(pctxt);
  const L3Region& region = *call.regions;
  return (region.byteIndex - buffer.byteIndex) * 8 - region.bitOffset + static_cast<size_t>(buffer.bitOffset);
}
