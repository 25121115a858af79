#include "rt3gppsrc/engine/l3Call.h"

#include <cstring>

#include "rt3gppsrc/engine/l3Engine.h"
#include "rt3gppsrc/engine/l3Kept.h"
#include "rtxsrc/errors/rtxErrorInternal.h"
#include "velnor3gpp//rtxBitDecode.h"
#include "velnor3gpp/rtxDList.h"
#include "velnor3gpp/rtxMemHeap.h"

bool gL3SlowMode = false;

void l3SetSlowMode(bool on)
{
  gL3SlowMode = on;
}

// With a trace alone, names stay frames. Those of the caller would come before them in the paths: the real stack gets
// these right.
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
  frame = {typeName, nullptr, 0, 0, 0};
  call.names = &frame;
  if (!plain) observe(call, stream);
}

int l3End(L3Call& call, int status, const char* module, uint16_t line)
{
  if (status >= 0 && call.failed) return l3Fail(call, module, RTX_E_NO_MEMORY, line);
  if (status < 0) {
    l3ToLists(call);
    if (!call.ended) return status;
  }
  // A single name left by the caller goes like a type name: it stands in its place.
  bool single = call.pctxt->elemNameStack.count == 1;
  if (single && !call.keepTypeName) rtxCtxtPopTypeName(call.pctxt);
  return status;
}

// Each push of a frame counts on the one before it: after a refusal none is tried.
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

void l3ToLists(L3Call& call)
{
  if (call.listed() || call.onTrial()) return;
  call.mode = kL3Listed;
  pushFrames(call, call.names);
  pushRegions(call, call.regions);
}

// A failure that joins a record marked non-fatal reads as 0: it stays a failure here.
static int negative(int reported, int status)
{
  return reported < 0 ? reported : status;
}

// In a trial nothing is reported.
static int giveUp(L3Call& call, int status)
{
  if (call.probe) l3NoteProbe(call, status);
  call.mode = kL3GivenUp;
  return status;
}

int l3Fail(L3Call& call, const char* module, int status, uint16_t line)
{
  if (call.onTrial()) return giveUp(call, status);
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

static void addRangeParms(L3Call& call, uint64_t value)
{
  l3ToLists(call);
  rtxErrAddElemNameParm(call.pctxt);
  if (value <= INT32_MAX)
    rtxErrAddIntParm(call.pctxt, static_cast<int32_t>(value));
  else
    rtxErrAddUInt64Parm(call.pctxt, value);
}

// What a probe finds beside a value does not speak against the value; it is found again and then told.
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
  if (call.pctxt->errInfo.count > before) rtxErrSetNonFatal(call.pctxt);
}

int l3FailRange(L3Call& call, const char* module, uint16_t line, uint64_t value)
{
  if (call.onTrial()) return giveUp(call, RTX_E_CONSTRAINT);
  addRangeParms(call, value);
  return negative(rtxErrSetData(call.pctxt, RTX_E_CONSTRAINT, module, line), RTX_E_CONSTRAINT);
}

// On the real stacks a refused entry is missing from there on, so nothing is taken off any more.
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

bool l3HasRoomSlow(const RtxContext* pctxt)
{
  return rtxCtxtContainerHasRemBits(const_cast<RtxContext*>(pctxt));
}

L3End l3InnermostEnd(const L3Call& call)
{
  if (!call.listed() && call.regions) return {true, call.regions->byteIndex, call.regions->bitOffset};
  const RtxDListNode* top = call.pctxt->containerStack.dlist.head;
  if (!top) return {false, 0, 0};
  const RtxContainer& region = *static_cast<const RtxContainer*>(top->data);
  return {true, region.byteIndex, region.bitOffset};
}

bool l3HasRoomBefore(const L3Call& call, const L3End& end)
{
  RtxContext* pctxt = call.pctxt;
  if (!end.region && call.plain()) return pctxt->buffer.byteIndex < pctxt->buffer.size;
  // The look ahead refills the buffer of a stream.
  if (!end.region) return rtxPeekByte(pctxt, nullptr) > 0;
  size_t octet = l3BitPos(pctxt) / 8;
  if (octet != end.octet) return octet < end.octet;
  return pctxt->buffer.bitOffset > static_cast<int>(end.bitOffset);
}

size_t l3RoomBits(const L3Call& call)
{
  RtxContext* pctxt = call.pctxt;
  const RtxBuffer& buffer = pctxt->buffer;
  if (!l3HasRoom(call)) return 0;
  if (call.listed() || !call.regions) return rtxCtxtGetContainerRemBits(pctxt);
  const L3Region& region = *call.regions;
  return (region.byteIndex - buffer.byteIndex) * 8 - region.bitOffset + static_cast<size_t>(buffer.bitOffset);
}
