#include "rt3gppsrc/engine/l3Call.h"

#include <cstring>

#include "rt3gppsrc/engine/l3Engine.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxDList.h"
#include "velnor3gpp/rtxMemHeap.h"

static bool gSlowMode = false;

void l3SetSlowMode(bool on)
{
  gSlowMode = on;
}

void l3Begin(L3Call& call, RtxContext* pctxt, L3Name& frame, const char* typeName)
{
  bool stream = pctxt->pStream && !(pctxt->flags & RTX_FLAG_BUFFER_MODE);
  bool plain = !gSlowMode && !stream && !pctxt->pBitFldList;
  frame = {typeName, nullptr, 0, 0};
  call.pctxt = pctxt;
  call.names = &frame;
  call.regions = nullptr;
  call.plain = plain;
  call.lists = call.keepTypeName = call.ended = call.failed = call.inBody = false;
  call.trial = call.abandoned = call.tried = false;
  call.earlier = call.listOctets = call.argument = 0;
  if (!plain) l3ToLists(call);
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
  if (call.lists || call.trial) return;
  call.lists = true;
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
  call.abandoned = true;
  return status;
}

int l3Fail(L3Call& call, const char* module, int status, uint16_t line)
{
  if (call.trial) return giveUp(call, status);
  call.ended = false;
  l3ToLists(call);
  return negative(rtxErrSetData(call.pctxt, status, module, line), status);
}

int l3FailNew(L3Call& call, const char* module, int status, uint16_t line)
{
  if (call.trial) return giveUp(call, status);
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

void l3Note(L3Call& call, const char* module, int status, uint16_t line)
{
  if (call.trial) {
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
  if (call.trial) giveUp(call, RTX_E_CONSTRAINT);
  if (call.trial || !l3MayNote(call)) return;
  size_t before = call.pctxt->errInfo.count;
  addRangeParms(call, value);
  l3Note(call, module, RTX_E_CONSTRAINT, line);
  if (call.pctxt->errInfo.count > before) rtxErrSetNonFatal(call.pctxt);
}

int l3FailRange(L3Call& call, const char* module, uint16_t line, uint64_t value)
{
  if (call.trial) return giveUp(call, RTX_E_CONSTRAINT);
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
  if (!call.lists && call.regions) return {true, call.regions->byteIndex, call.regions->bitOffset};
  const RtxDListNode* top = call.pctxt->containerStack.dlist.head;
  if (!top) return {false, 0, 0};
  const RtxContainer& region = *static_cast<const RtxContainer*>(top->data);
  return {true, region.byteIndex, region.bitOffset};
}

bool l3HasRoomBefore(const L3Call& call, const L3End& end)
{
  RtxContext* pctxt = call.pctxt;
  if (!end.region && call.plain) return pctxt->buffer.byteIndex < pctxt->buffer.size;
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
  if (call.lists || !call.regions) return rtxCtxtGetContainerRemBits(pctxt);
  const L3Region& region = *call.regions;
  return (region.byteIndex - buffer.byteIndex) * 8 - region.bitOffset + static_cast<size_t>(buffer.bitOffset);
}

uint32_t l3JoinFields(const L3Field* fields, unsigned count, const uint8_t* record)
{
  uint32_t value = 0;
  for (unsigned i = 0; i < count; ++i)
    value =
        (i ? value << fields[i].bits : 0) | static_cast<uint32_t>(l3Load(record + fields[i].offset, fields[i].store));
  return value;
}

size_t l3CountBy(const L3Count& count, const uint8_t* record)
{
  uint64_t field = l3Load(record + count.field.offset, count.field.store);
  if (count.sizes) return field < count.sizeCount ? count.sizes[field] : 0;
  int64_t value = count.sign * static_cast<int64_t>(field) + count.bias;
  return value < 0 ? 0 : static_cast<size_t>(value);
}

L3Type l3Slice(const L3Type& type, unsigned from, unsigned count)
{
  L3Type slice = type;
  slice.rows += from;
  slice.rowCount = static_cast<uint16_t>(count);
  slice.decodeDirect = nullptr; // they are for all rows
  slice.encodeDirect = nullptr;
  return slice;
}

static bool termHolds(const L3Term& term, const uint8_t* record)
{
  uint32_t value = static_cast<uint32_t>(l3Load(record + term.field.offset, term.field.store));
  return (value >= term.lo && value <= term.hi) != (term.negate != 0);
}

// Terms of one number stand together: one of them must hold.
bool l3Holds(const L3Cond& cond, const uint8_t* record)
{
  for (unsigned i = 0; i < cond.count;) {
    uint8_t any = cond.terms[i].any;
    bool holds = false;
    for (; i < cond.count && cond.terms[i].any == any; ++i) holds = holds || termHolds(cond.terms[i], record);
    if (!holds) return false;
  }
  return true;
}

const L3Alternative* l3FindBySelector(const L3Choice& choice, uint32_t value)
{
  const L3Alternative* other = nullptr;
  for (unsigned i = 0; i < choice.count; ++i) {
    const L3Alternative& alternative = choice.alternatives[i];
    if (alternative.other)
      other = &alternative;
    else if (value >= alternative.lo && value <= alternative.hi)
      return &alternative;
  }
  return other;
}

const L3Alternative* l3FindByTag(const L3Choice& choice, uint32_t tag)
{
  for (unsigned i = 0; i < choice.count; ++i)
    if (choice.alternatives[i].tag == tag) return &choice.alternatives[i];
  return nullptr;
}
