// The non-imperative part of a message: optional elements by IEI (TS 24.007, 11.2.4). First occurrence wins, order is
// strict, and an element out of its turn is skipped by its form alone.
#include "rt3gppsrc/engine/l3Decode.h"
#include "velnor3gpp/rtx3GPP.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxDiagBitTrace.h"

struct TailWalk {
  const L3Type& type;
  const L3Message& message;
  uint8_t* record;
  unsigned order;   // position of the last element taken
  uint8_t previous; // IEI of the turn before
  uint8_t locked;   // codeset by locking shift
};

static int readIei(L3Call& call, const TailWalk& walk, uint8_t& iei, bool& half)
{
  RtxBuffer& buffer = call.pctxt->buffer;
  int status = l3DecBits(call, &iei, 8, 1, "IEI");
  if (status < 0) return status;
  half = walk.message.halves >> (iei >> 4) & 1;
  if (!half) return 0;
  --buffer.byteIndex;
  iei = static_cast<uint8_t>(iei >> 4);
  l3PassBits(buffer, 4);
  if (call.pctxt->pBitFldList) rtxDiagSetBitFldCount(call.pctxt->pBitFldList);
  return 0;
}

static int decOption(L3Call& call, TailWalk& walk, unsigned position)
{
  const L3Row& row = walk.message.options[position - 1];
  const char* module = walk.type.module->decoder;
  L3Name frame;
  int running = 0;
  int status = l3PushRow(call, module, row, frame);
  if (status < 0) return status;
  status = l3DecMember(call, walk.type, row, walk.record, running);
  if (status >= 0 && running < 0) status = l3Fail(call, module, running, row.line);
  if (status < 0) return status;
  l3SetBit(walk.record, row.mBit);
  if (row.groupBit != kL3NoBit) l3SetBit(walk.record, row.groupBit);
  walk.order = position;
  l3PopName(call);
  return 0;
}

static int skipOctets(L3Call& call, const TailWalk& walk, size_t octets)
{
  if (!octets) return 0;
  if (call.inlined() && octets <= l3Unread(call.pctxt) && call.pctxt->buffer.bitOffset == 8) {
    call.pctxt->buffer.byteIndex += octets;
    return 0;
  }
  l3ToLists(call);
  int status = rtxSkipBytes(call.pctxt, octets);
  return status < 0 ? l3Fail(call, walk.type.module->decoder, status, walk.type.line) : 0;
}

static int skipByLength(L3Call& call, const TailWalk& walk)
{
  uint8_t length = 0;
  int status = l3DecBits(call, &length, 8, 1, "INTEGER");
  if (status < 0) return l3Fail(call, walk.type.module->decoder, status, walk.type.line);
  return skipOctets(call, walk, length);
}

// A known element that has lost its turn: skipped by its length octet or fixed size; others leave the reader there.
static int skipKnown(L3Call& call, const TailWalk& walk, const L3Iei& entry)
{
  if (entry.skip == kL3SkipLength) return skipByLength(call, walk);
  return entry.skip == kL3SkipFixed ? skipOctets(call, walk, entry.skipOctets) : 0;
}

static int decUnknown(L3Call& call, TailWalk& walk, uint8_t iei, bool half, uint8_t active)
{
  if (half || (iei & 0x80)) return 0;
  if (int status = skipByLength(call, walk); status < 0) return status;
  bool required = !(iei & 0x0F) && !(active && walk.message.shifts == 2);
  if (!required || iei == walk.previous) return 0;
  // The first one decides the status, however many remarks stand before it.
  if (!l3MayNote(call) && rtxErrGetStatus(call.pctxt) < 0) return 0;
  rtxErrAddIntParm(call.pctxt, iei);
  l3Note(call, walk.type.module->decoder, RTX_E_UNKNOWN_IE, walk.type.line);
  return 0;
}

// The first element of this IEI whose turn has not passed, or the last one when all have.
static unsigned findPosition(const TailWalk& walk, uint8_t iei)
{
  unsigned position = walk.message.byValue[iei];
  while (position && position <= walk.order && walk.message.ieis[position - 1].nextSame)
    position = walk.message.ieis[position - 1].nextSame;
  return position;
}

static int decTurn(L3Call& call, TailWalk& walk, uint8_t iei, bool half)
{
  uint8_t active = walk.locked;
  if (walk.message.shifts && !half && (iei >> 4) == 9) {
    if (!(iei & 8) && (iei & 7) > walk.locked) walk.locked = iei & 7;
    return 0;
  }
  unsigned position = active ? 0 : findPosition(walk, iei);
  int status;
  if (!position)
    status = decUnknown(call, walk, iei, half, active);
  else if (position > walk.order)
    status = decOption(call, walk, position);
  else
    status = skipKnown(call, walk, walk.message.ieis[position - 1]);
  walk.previous = iei;
  return status;
}

int l3SkipTail(L3Call& call, const L3Type& type, bool shifts, uint16_t line)
{
  if (!l3HasRoom(call)) return 0;
  l3ToLists(call);
  int status = rtx3GPPDecL3NonImperative(call.pctxt, shifts);
  return status < 0 ? l3Fail(call, type.module->decoder, status, line) : 0;
}

// The status of the records that this message has added. A finding from before it, such as a wrong code of the message
// around it, is not its own: returning it would keep the outer message from its remaining elements.
static int ownStatus(const L3Call& call)
{
  const RtxDList& records = call.pctxt->errInfo;
  const RtxDListNode* node = records.head;
  for (size_t i = 0; i < call.earlier && node; ++i) node = node->next;
  for (; node; node = node->next)
    if (static_cast<const RtxErrInfo*>(node->data)->fatal) return rtxErrGetStatus(call.pctxt);
  return 0;
}

// An element that chooses among the alternatives of another one can be missing. Its member is 0 then, which chooses
// none here: the record may hold anything before it is decoded (0x7B in a registration request without a container
// type).
static void clearSelecting(const L3Message& message, uint8_t* record)
{
  for (unsigned i = 0; i < message.selectingCount; ++i)
    l3Store(record + message.selecting[i].offset, message.selecting[i].store, 0);
}

int l3DecOptions(L3Call& call, const L3Type& type, uint8_t* record, const L3End& end)
{
  if (!type.message->count) return type.message->tail ? l3SkipTail(call, type, type.message->shifts, type.line) : 0;
  TailWalk walk{type, *type.message, record, 0, 0, 0};
  clearSelecting(*type.message, record);
  while (l3HasRoomBefore(call, end)) {
    uint8_t iei = 0;
    bool half = false;
    int status = readIei(call, walk, iei, half);
    if (status == RTX_E_END_OF_BUFFER) break; // the end of the message, the one place where this is no failure
    if (status < 0) return l3Fail(call, type.module->decoder, status, type.line);
    if (status = decTurn(call, walk, iei, half); status < 0) return status;
  }
  return call.pctxt->errInfo.count > call.earlier ? l3Ended(call, ownStatus(call)) : 0;
}
