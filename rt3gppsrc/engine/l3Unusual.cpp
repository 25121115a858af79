// Elements that were read, but hold bits that no member of the record holds (kL3KeptUnusual): a length that leads
// behind the end, a constant that has another value, filler that is none. With RTX_FLAG_KEEP_ELEMENTS such an element
// comes back as it was, for as long as nobody has changed it.
//
// Coders do not say what they pass over. They only raise a doubt (L3Call.doubtful), which costs nothing and may be
// wrong. Behind an element of a message that has raised one, the element is encoded into octets of its own. If they are
// the ones that came, nothing was lost; else both are kept. An encoder that comes to the element writes it as ever, and
// puts the octets that came over what it has written if that is what the decoder has kept beside them. A caller who has
// changed the element gets what the record says.
#include <cstring>

#include "rt3gppsrc/engine/l3Encode.h"
#include "rt3gppsrc/engine/l3Engine.h"
#include "rt3gppsrc/engine/l3Kept.h"
#include "rtxsrc/errors/rtxErrorInternal.h"
#include "velnor3gpp/rtxMemHeap.h"

namespace {

// What is encoded: an element of a message, or (row null) a whole value.
struct Part {
  const L3Type& type;
  const L3Row* row;
  void* record;

  const void* anchor() const { return row ? static_cast<const void*>(row) : &type; }
  L3KeptAt at() const { return row ? kL3KeptOver : kL3KeptOverAll; }
  uint16_t line() const { return row ? row->line : type.line; }
};

// What an encoder makes of a part, beside the job.
struct Regular {
  int status;
  size_t count;
};

} // namespace

static int encode(L3Call& call, const Part& part, size_t start, int& running)
{
  if (part.row) return l3EncMember(call, part.type, *part.row, static_cast<uint8_t*>(part.record), running);
  int status = l3EncType(call, part.type, part.record);
  if (status < 0) return status;
  int put = l3PutKeptEnd(call, part.type, part.record, start);
  return put < 0 ? put : status;
}

// Ends what an encoder has written with its octet. A whole value may end inside one: what is left of it was 0, or has
// been kept behind the value.
static void endOctet(RtxBuffer& buffer, const Part& part)
{
  if (part.row || buffer.bitOffset == 8 || buffer.byteIndex == buffer.size) return;
  ++buffer.byteIndex;
  buffer.bitOffset = 8;
}

// A copy of the context that shares its heap and its kept elements, and nothing else that a coder changes. It has no
// keys: an encoder would use up a count. On entry `octets` are 0.
static Regular encodeBeside(const RtxContext* pctxt, const Part& part, uint8_t* octets, size_t room)
{
  RtxContext beside = *pctxt;
  beside.buffer = {octets, 0, room, 8, 0, 0, 0, 0};
  beside.errInfo = beside.elemNameStack = {};
  beside.reservedErr = {};
  beside.containerStack = {&beside, {}};
  beside.pStream = nullptr;
  beside.pSecurity = nullptr;
  beside.pBitFldList = nullptr;
  beside.flags &= ~(RTX_OPENTAIL_FLAG | RTX_FLAG_DIAG);
  L3Call call;
  L3Name frame;
  int running = 0;
  l3Begin(call, &beside, frame, l3EncNameOf(part.type));
  int status = encode(call, part, 0, running);
  if (status >= 0) status = running;
  if (call.failed) status = RTX_E_NO_MEMORY;
  endOctet(beside.buffer, part);
  if (status >= 0 && beside.buffer.bitOffset != 8) status = RTX_E_NOT_OCTET_ALIGNED;
  rtxErrReset(&beside);
  rtxCtxtPopAllContainers(&beside);
  while (beside.elemNameStack.count) rtxCtxtPopElemName(&beside);
  return {status, beside.buffer.byteIndex};
}

// Octets for an encoding beside the job; a regular element is seldom longer than the one that came.
static size_t roomFor(size_t octets)
{
  return 2 * octets + 4096;
}

// Does the encoder refuse the value for what it is? Not for want of room, memory or keys.
static bool refuses(int status)
{
  return status < 0 && status != RTX_E_ENCODE_OVERFLOW && status != RTX_E_NO_MEMORY && status != RTX_E_NO_SECURITY &&
         status != RTX_E_NOT_SUPPORTED;
}

// An encoder stores lengths in the record that it writes, so the record is put back afterwards.
static int keep(L3Call& call, const Part& part, size_t start)
{
  RtxContext* pctxt = call.pctxt;
  RtxMemHeap** heap = &pctxt->pMemHeap;
  const RtxBuffer& buffer = pctxt->buffer;
  size_t end = l3BitPos(pctxt);
  // A length that leads behind the end has put the cursor there.
  if (end > buffer.size * 8) end = buffer.size * 8;
  if (!part.row) end = (end + 7) / 8 * 8;
  if (start % 8 || end % 8 || end < start) return 0;
  const uint8_t* octets = buffer.data + start / 8;
  size_t count = (end - start) / 8, room = roomFor(count);
  uint8_t* regular = static_cast<uint8_t*>(rtxMemHeapAllocZ(heap, room));
  void* record = rtxMemHeapAlloc(heap, part.type.size ? part.type.size : 1);
  if (!regular || !record) return RTX_E_NO_MEMORY;
  memcpy(record, part.record, part.type.size);
  Regular made = encodeBeside(pctxt, part, regular, room);
  memcpy(part.record, record, part.type.size);
  rtxMemHeapFreePtr(heap, record);
  bool same = made.status >= 0 && made.count == count && memcmp(regular, octets, count) == 0;
  bool refused = refuses(made.status);
  if (!same && (made.status >= 0 || refused)) {
    L3KeptFacts facts = {part.record, part.anchor(), start, 0, 0, part.at(), kL3KeptUnusual, 0, nullptr};
    if (!refused) facts.regular = regular, facts.regularCount = made.count;
    L3Kept* kept = l3AddKept(pctxt, facts, octets, count * 8);
    if (!kept) return RTX_E_NO_MEMORY;
    kept->root = call.root;
  }
  rtxMemHeapFreePtr(heap, regular);
  call.doubtful = !same && made.status < 0 && !refused;
  return 0;
}

static int keepPart(L3Call& call, const Part& part, size_t start)
{
  int status = keep(call, part, start);
  return status < 0 ? l3Fail(call, part.type.module->decoder, status, part.line()) : 0;
}

int l3KeepUnusual(L3Call& call, const L3Type& type, const L3Row& row, void* record, size_t start)
{
  return keepPart(call, {type, &row, record}, start);
}

int l3KeepUnusualAll(L3Call& call, const L3Type& type, void* value, size_t start)
{
  return keepPart(call, {type, nullptr, value}, start);
}

// Is the value one that the encoder refuses still? A caller may have mended it.
static bool isRefused(L3Call& call, const Part& part, const L3Kept& kept)
{
  RtxMemHeap** heap = &call.pctxt->pMemHeap;
  size_t room = roomFor(kept.bits / 8);
  uint8_t* octets = static_cast<uint8_t*>(rtxMemHeapAllocZ(heap, room));
  if (!octets) return false;
  Regular made = encodeBeside(call.pctxt, part, octets, room);
  rtxMemHeapFreePtr(heap, octets);
  return refuses(made.status);
}

// The trace has its entries already: those of the fields, which lie where they lay.
static int putOctets(L3Call& call, const Part& part, const L3Kept& kept)
{
  RtxContext* pctxt = call.pctxt;
  RtxBitFieldList* trace = pctxt->pBitFldList;
  bool traced = call.traced;
  pctxt->pBitFldList = nullptr;
  call.traced = false;
  int status = l3EncOctets(call, kept.octets(), kept.bits / 8);
  pctxt->pBitFldList = trace;
  call.traced = traced;
  return status < 0 ? l3Fail(call, part.type.module->encoder, status, part.line()) : 0;
}

// Encodes a part for which there is an entry.
static int encodeOver(L3Call& call, const Part& part, const L3Kept& kept, int& running)
{
  running = 0;
  if (kept.refused && isRefused(call, part, kept)) return putOctets(call, part, kept);
  RtxBuffer& buffer = call.pctxt->buffer;
  size_t start = buffer.byteIndex;
  bool whole = buffer.bitOffset == 8;
  int status = encode(call, part, start, running);
  if (status >= 0 && running >= 0) endOctet(buffer, part);
  if (status < 0 || running < 0 || kept.refused || !whole || buffer.bitOffset != 8) return status;
  size_t count = buffer.byteIndex - start;
  if (count != kept.regularCount || memcmp(buffer.data + start, kept.regular(), count) != 0) return status;
  // What is not written again is cleared, since the bits behind a cursor are 0 while an encoder writes.
  memset(buffer.data + start, 0, count);
  buffer.byteIndex = start;
  int put = putOctets(call, part, kept);
  return put < 0 ? put : status;
}

static int encodePart(L3Call& call, const Part& part, int& running)
{
  const L3Kept* kept = l3FirstKept(call.pctxt, part.record, part.anchor(), part.at());
  // What has gone out to a stream cannot be written again.
  if (!kept || call.pctxt->pStream) return encode(call, part, call.pctxt->buffer.byteIndex, running);
  return encodeOver(call, part, *kept, running);
}

int l3EncMemberKept(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int& running)
{
  return encodePart(call, {type, &row, record}, running);
}

int l3EncTypeKept(L3Call& call, const L3Type& type, void* value)
{
  int running = 0;
  return encodePart(call, {type, nullptr, value}, running);
}
