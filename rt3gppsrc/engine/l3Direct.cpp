// The parts of the direct coders that are not worth a copy at each place, and the way into a trial and out of it. A
// trial runs the direct coder of a type (l3DecDirectly, l3EncDirectly inside a call; l3DecAtOnce, l3EncAtOnce for a
// whole call). If the coder gives up, everything is put back: cursor, flags, findings, heap. What it wrote to the
// record stays, with pointers to storage that has been freed; the walk that follows writes over all of it, or clears it
// (l3InitRest).
#include "rt3gppsrc/engine/l3Direct.h"

#include "rt3gppsrc/engine/l3Decode.h"
#include "rt3gppsrc/engine/l3Encode.h"
#include "rt3gppsrc/engine/l3Kept.h"
#include "rtxsrc/errors/rtxErrorInternal.h"
#include "rtxsrc/heap/rtxMemHeapInline.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxBitEncode.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxMemHeap.h"

// May this call begin a trial? Not while anything is observed, found or, on decoding, open that the direct coders do
// not keep up. A cursor that no octet has is left to the walk to report.
static bool mayTry(const L3Call& call, bool encoder)
{
  const RtxContext& context = *call.pctxt;
  const RtxBuffer& buffer = context.buffer;
  bool clean = !context.errInfo.count && !context.reservedErr.parmcount && !context.reservedErr.elemName;
  bool sound = buffer.byteIndex <= buffer.size && buffer.bitOffset >= 1 && buffer.bitOffset <= 8;
  bool open = !encoder && context.containerStack.dlist.head; // as an early return has left it
  // A direct coder does not look for what was kept, so none of it may stand inside the record. Within an octet most
  // would give up, and that would end all trials of the call.
  if (encoder && l3HasKept(&context) && (l3KeptOf(&context)->count != call.keptAround || buffer.bitOffset != 8))
    return false;
  return call.mode == kL3MayTry && !open && clean && sound && !call.failed;
}

// The context's cursor in bits from the start of the buffer.
static size_t cursor(const RtxContext* pctxt)
{
  return pctxt->buffer.byteIndex * 8 + 8 - static_cast<size_t>(pctxt->buffer.bitOffset);
}

// The open tail flag of the context, which a trial keeps in its sink.
static void setTail(RtxContext* pctxt, bool tail)
{
  pctxt->flags = tail ? pctxt->flags | RTX_OPENTAIL_FLAG : pctxt->flags & ~RTX_OPENTAIL_FLAG;
}

// A failure inside a trial shows in its status, a finding in its record; an early return below leaves something behind
// that only the walk can leave.
static bool wentWell(const L3Call& call, int status)
{
  return status >= 0 && call.mode != kL3GivenUp && !call.keepTypeName && !call.pctxt->errInfo.count;
}

// Runs the direct decoder from the context's cursor to the end of the innermost region, and moves the cursor if it is
// good.
static bool goDecode(L3Call& call, const L3Type& type, void* record)
{
  RtxContext* pctxt = call.pctxt;
  const RtxBuffer& buffer = pctxt->buffer;
  size_t end = buffer.size * 8;
  if (call.regions) end = call.regions->byteIndex * 8 + 8 - call.regions->bitOffset;
  size_t pos = cursor(pctxt);
  // A region that promises more than the buffer has is for the walk to report.
  if (end > buffer.size * 8 || pos > end) return false;
  pos = type.decodeDirect({buffer.data, buffer.size, &call}, pos, end, record);
  if (pos == kL3GaveUp) return false;
  l3MoveTo(pctxt->buffer, pos);
  return true;
}

// Runs the direct encoder and, if it is good, moves the cursor and sets the open tail flag.
static bool goEncode(L3Call& call, const L3Type& type, void* record)
{
  RtxContext* pctxt = call.pctxt;
  const RtxBuffer& buffer = pctxt->buffer;
  L3Sink out{buffer.data, buffer.size * 8, &call, (pctxt->flags & RTX_OPENTAIL_FLAG) != 0};
  size_t pos = cursor(pctxt);
  if (pos > out.end) return false;
  pos = type.encodeDirect(out, pos, record);
  if (pos == kL3GaveUp) return false;
  l3MoveTo(pctxt->buffer, pos);
  setTail(pctxt, out.tail);
  return true;
}

// Is nothing observed, found or open that a call without names and regions could not keep up? `regions` counts those
// that would bound the call.
static bool isClear(const RtxContext& context, size_t regions)
{
  const RtxBuffer& buffer = context.buffer;
  bool stream = context.pStream && !(context.flags & RTX_FLAG_BUFFER_MODE);
  return !(rtxErrLeft(context) | regions) && !l3IsSlow() && !stream && !context.pBitFldList &&
         buffer.byteIndex <= buffer.size && buffer.bitOffset == 8;
}

// Makes a call that is a trial from its beginning. It has no names until something needs them.
static void beginTrial(L3Call& call, RtxContext* pctxt, const L3Type& type)
{
  l3Fresh(call, pctxt);
  call.mode = kL3Trial;
  call.tried = &type;
}

// Gives the trial its first name, for coders that push names of their own.
static void needNames(L3Call& call)
{
  if (call.names) return;
  call.base = {l3NameOf(*call.tried), nullptr, 0, 0, 0};
  call.names = &call.base;
}

// Remembers a block of the heap that goes away with the trial. One too many stays until the job ends.
static void hold(L3Call& call, void* storage)
{
  if (call.held < L3Call::kMaxHeld) call.holds[call.held++] = storage;
}

// Ends the run of heap blocks that the trial takes off the front of the heap's free element. It must be ended before
// anybody else asks the heap for anything, since until then the heap knows nothing of them. The trial may still be
// given up, so that the blocks are remembered one by one.
static void endRun(L3Call& call)
{
  if (!call.run.next) return;
  // Blocks lie one behind the other, each with its size in front.
  for (RtxMemElem* elem = call.run.first; elem != call.run.next; elem += elem->nunits) hold(call, elem + 1);
  rtxMemRunClose(call.run);
}

// A block that the run has no room for.
[[gnu::cold, gnu::noinline]] static void* allocateAlone(L3Call& call, size_t octets)
{
  endRun(call);
  void* storage = rtxMemHeapAlloc(&call.pctxt->pMemHeap, octets);
  if (storage) hold(call, storage);
  return storage;
}

// The first request of a trial opens the run; most messages fit in it, and pay a few stores for each block.
void* l3DirectRoom(L3Call& call, size_t octets)
{
  const RtxMemHeap* heap = call.pctxt->pMemHeap;
  if (!call.run.next && (!heap || !rtxMemRunOpen(call.run, heap))) return allocateAlone(call, octets);
  void* storage = rtxMemRunAlloc(call.run, octets);
  return storage ? storage : allocateAlone(call, octets);
}

// A block of another size, in place if it is the run's last one. Null, with everything as before, if memory is out.
static void* reallocate(L3Call& call, void* before, size_t octets)
{
  if (call.run.next && rtxMemRunResize(call.run, before, octets)) return before;
  endRun(call);
  void* storage = rtxMemHeapRealloc(&call.pctxt->pMemHeap, before, octets);
  // An unknown element of an entry has noted where the entry lies.
  if (call.unknown && storage != before) call.mode = kL3GivenUp;
  // The block may have moved: the trial frees the new one.
  for (unsigned i = call.held; storage && i-- > 0;)
    if (call.holds[i] == before) call.holds[i] = storage;
  return storage;
}

// Frees what the trial has allocated; the blocks of an open run all at once.
static void releaseHeld(L3Call& call)
{
  if (call.run.next) rtxMemRunDrop(call.run);
  while (call.held) rtxMemHeapFreePtr(&call.pctxt->pMemHeap, call.holds[--call.held]);
}

// Would the walk over this type have a region around an early return within? A message has one, and so has an element
// that begins with its length. Without one, nobody takes the region that is left open for its own.
static bool hasRegion(const L3Type& type)
{
  if (!type.rowCount) return false;
  bool length = type.rows[0].op == kL3Length && !(type.flags & kL3EarlyReturn);
  return type.message || length || type.rows[type.rowCount - 1].op == kL3Body;
}

// Called with the cursor at `end`. The region is noted, and goes to the real stack once the trial is good.
size_t l3DirectLeave(const L3Source& in, size_t pos, size_t end, size_t outer)
{
  L3Call& call = *in.call;
  if (!hasRegion(*call.tried) || call.left == L3Call::kMaxLeft) return kL3GaveUp;
  if (!call.left) call.ends[0] = outer;
  call.ends[++call.left] = end;
  return pos;
}

// Leaves on the context's stack what the walk leaves there: callers see it. All but the last region are pushed, since
// the coder around has closed that one for its own (L3Call.ends).
[[gnu::cold]] static void pushLeft(L3Call& call)
{
  endRun(call);
  // More is to come behind what is left, if this type lies within another one: the real stacks are worked on from here.
  if ((call.names && call.names->outer) || call.regions) l3ToLists(call);
  RtxContext* pctxt = call.pctxt;
  size_t pos = cursor(pctxt);
  for (unsigned i = 0; i < call.left && !call.failed; ++i) {
    l3MoveTo(pctxt->buffer, call.ends[i]);
    call.failed = rtxCtxtPushContainerBytes(pctxt, 0) < 0;
  }
  l3MoveTo(pctxt->buffer, pos);
}

using Go = bool (*)(L3Call& call, const L3Type& type, void* record);

// Puts back what a trial may have changed beside the record.
[[gnu::cold]] static void giveUp(L3Call& call, const RtxBuffer& before, uint32_t flags)
{
  call.keepTypeName = false;
  rtxErrResetErrInfo(call.pctxt);
  releaseHeld(call);
  call.pctxt->buffer = before;
  call.pctxt->flags = flags;
}

// One trial inside a call. Its names and regions are restored even if it was good, for a coder by hand may have left
// some linked.
template <Go go> static bool runTrial(L3Call& call, const L3Type& type, void* record)
{
  RtxContext* pctxt = call.pctxt;
  RtxBuffer before = pctxt->buffer;
  uint32_t flags = pctxt->flags;
  L3Name* names = call.names;
  L3Region* regions = call.regions;
  bool doubtful = call.doubtful;
  // A buffer that has to grow is the walk's: a refused growth leaves it with a wrong size, which could not be put back.
  pctxt->buffer.dynamic = 0;
  call.mode = kL3Trial;
  call.held = call.left = 0;
  call.unknown = 0;
  call.tried = &type;
  bool good = go(call, type, record) && wentWell(call, 0);
  pctxt->buffer.dynamic = before.dynamic;
  call.mode = good ? kL3MayTry : kL3Walk;
  call.names = names;
  call.regions = regions;
  if (good && call.left) pushLeft(call);
  if (good && call.run.next) rtxMemRunClose(call.run);
  if (good && call.unknown && !l3KeepNoted(call)) call.failed = true;
  if (good) return true;
  // The walk counts the octets of lists anew, and has its own doubts.
  call.listOctets = 0;
  call.doubtful = doubtful;
  giveUp(call, before, flags);
  return false;
}

// A trial, or a part of the one that is under way.
template <Go go> static bool directly(L3Call& call, const L3Type& type, void* record)
{
  // A probe needs the names of what fails, which a direct coder does not have.
  if (call.probe) return false;
  if (!call.onTrial()) return mayTry(call, go == goEncode) && runTrial<go>(call, type, record);
  bool good = go(call, type, record);
  // The walk around this coder may ask the heap for something next.
  endRun(call);
  if (!good) call.mode = kL3GivenUp;
  return good;
}

// Keeps what a whole call has noted. The call may still be given up.
[[gnu::cold]] static void keepNoted(L3Call& call, const void* root)
{
  call.root = root;
  endRun(call);
  if (!l3KeepNoted(call)) call.failed = true;
}

// A question that a type does not ask (a null function) is answered with yes.
static bool decodesPlain(const L3Plain& plain, const uint8_t* octets, size_t left, void* record)
{
  return !plain.decodes || plain.decodes(octets, left, record);
}

static bool decodedPlain(const L3Plain& plain, void* record)
{
  return !plain.decoded || plain.decoded(record);
}

static bool encodesPlain(const L3Plain& plain, const void* record)
{
  return !plain.encodes || plain.encodes(record);
}

// The whole call as one trial. Everything that could be observed is asked first (isClear), so that the trial itself
// asks nothing.
int l3DecAtOnce(RtxContext* pctxt, const L3Type& type, void* record)
{
  if (!isClear(*pctxt, pctxt->containerStack.dlist.count)) return l3DecByRows(pctxt, type, record, kL3MayTry);
  RtxBuffer& buffer = pctxt->buffer;
  const uint8_t* data = buffer.data;
  size_t start = buffer.byteIndex, octets = buffer.size;
  const L3Plain* plain = type.hand ? type.hand->plain : nullptr;
  if (plain && !decodesPlain(*plain, data + start, octets - start, record))
    return l3DecByRows(pctxt, type, record, kL3MayTry);
  L3Call call;
  beginTrial(call, pctxt, type);
  uint32_t flags = pctxt->flags;
  size_t pos = type.decodeDirect({data, octets, &call}, start * 8, octets * 8, record);
  // Octets behind the message are kept, if the caller wants that; the walk does it.
  bool surplus = pos >> 3 < octets && l3KeepsFlag(pctxt);
  if (pos != kL3GaveUp && wentWell(call, 0) && !surplus && (!plain || decodedPlain(*plain, record))) {
    l3MoveTo(pctxt->buffer, pos);
    if (call.left) pushLeft(call);
    if (call.unknown) keepNoted(call, record);
    if (!call.failed) {
      if (call.run.next) rtxMemRunClose(call.run);
      return 0;
    }
    // There was no memory for a region to be left open or an element to be kept. The stack was empty before (isClear).
    rtxCtxtPopAllContainers(pctxt);
  }
  // Of its buffer a decoding moves the cursor alone, so that the start is all there is to put back.
  RtxBuffer before = buffer;
  before.byteIndex = start;
  before.bitOffset = 8;
  giveUp(call, before, flags);
  return l3DecByRows(pctxt, type, record, kL3Walk);
}

// The mirror of l3DecAtOnce. Regions that an early return of a decoder has left open do not concern an encoder.
int l3EncAtOnce(RtxContext* pctxt, const L3Type& type, void* record)
{
  const L3Plain* plain = type.hand ? type.hand->plain : nullptr;
  if (plain && !encodesPlain(*plain, record)) return l3EncByRows(pctxt, type, record, kL3MayTry);
  if (!isClear(*pctxt, 0) || l3HasKept(pctxt)) return l3EncByRows(pctxt, type, record, kL3MayTry);
  L3Call call;
  beginTrial(call, pctxt, type);
  RtxBuffer before = pctxt->buffer;
  uint32_t flags = pctxt->flags;
  // As in runTrial.
  pctxt->buffer.dynamic = 0;
  L3Sink out{before.data, before.size * 8, &call, (flags & RTX_OPENTAIL_FLAG) != 0};
  size_t pos = type.encodeDirect(out, before.byteIndex * 8, record);
  pctxt->buffer.dynamic = before.dynamic;
  if (pos != kL3GaveUp && wentWell(call, 0)) {
    l3MoveTo(pctxt->buffer, pos);
    setTail(pctxt, out.tail);
    return 0;
  }
  giveUp(call, before, flags);
  return l3EncByRows(pctxt, type, record, kL3Walk);
}

bool l3DecDirectly(L3Call& call, const L3Type& type, void* record)
{
  return type.decodeDirect && directly<goDecode>(call, type, record);
}

bool l3EncDirectly(L3Call& call, const L3Type& type, void* record)
{
  return type.encodeDirect && directly<goEncode>(call, type, record);
}

// The context's cursor and a region are what coders by hand and walks go by, so both are set for the time of the call.
size_t l3DirectType(const L3Source& in, size_t pos, size_t end, const L3Type& type, void* value)
{
  L3Call& call = *in.call;
  endRun(call);
  needNames(call);
  L3Region region{end >> 3, static_cast<uint16_t>(8 - (end & 7)), call.regions};
  call.regions = &region;
  l3MoveTo(call.pctxt->buffer, pos);
  int status = l3DecType(call, type, value);
  call.regions = region.outer;
  pos = cursor(call.pctxt);
  if (call.doubtful && l3KeepsFlag(call.pctxt)) return kL3GaveUp; // the walk keeps what has raised the doubt
  return wentWell(call, status) && pos <= end ? pos : kL3GaveUp;
}

// The same for an encoder, with the open tail flag.
size_t l3DirectPutType(L3Sink& out, size_t pos, const L3Type& type, void* value)
{
  L3Call& call = *out.call;
  RtxContext* pctxt = call.pctxt;
  needNames(call);
  l3MoveTo(pctxt->buffer, pos);
  setTail(pctxt, out.tail);
  int status = l3EncType(call, type, value);
  pos = cursor(pctxt);
  out.tail = (pctxt->flags & RTX_OPENTAIL_FLAG) != 0;
  return wentWell(call, status) && pos <= out.end ? pos : kL3GaveUp;
}

// If the rows can decode these octets, the type's own direct coder goes on in the same trial, without names and
// regions.
size_t l3DirectPlain(const L3Source& in, size_t pos, size_t end, const L3Type& type, void* value)
{
  const L3Plain& plain = *type.hand->plain;
  bool rows = !(pos & 7) && decodesPlain(plain, in.data + (pos >> 3), (end - pos) >> 3, value);
  if (!rows) return l3DirectType(in, pos, end, type, value);
  pos = type.decodeDirect(in, pos, end, value);
  return pos != kL3GaveUp && decodedPlain(plain, value) ? pos : kL3GaveUp;
}

size_t l3DirectPutPlain(L3Sink& out, size_t pos, const L3Type& type, void* value)
{
  bool rows = encodesPlain(*type.hand->plain, value);
  return rows ? type.encodeDirect(out, pos, value) : l3DirectPutType(out, pos, type, value);
}

// Storage is taken only for octets that are there.
bool l3DirectHeap(const L3Source& in, size_t pos, size_t end, size_t octets, uint32_t& numocts, uint8_t*& data)
{
  if ((pos & 7) || octets > (end - pos) >> 3) return false;
  numocts = static_cast<uint32_t>(octets);
  data = nullptr;
  if (!octets) return true;
  data = static_cast<uint8_t*>(l3DirectRoom(*in.call, octets));
  return data && l3Octets(in, pos, end, data, octets);
}

// As in decBitString there is one octet more than whole octets of bits.
bool l3DirectBits(const L3Source& in, size_t pos, size_t end, uint32_t& numbits, uint8_t*& data)
{
  size_t bits = end - pos;
  numbits = static_cast<uint32_t>(bits);
  data = nullptr;
  if (!bits) return true;
  data = static_cast<uint8_t*>(l3DirectRoom(*in.call, bits / 8 + 1));
  if (!data) return false;
  memset(data, 0, bits / 8 + 1);
  l3MoveTo(in.call->pctxt->buffer, pos);
  return rtxDecBitsToByteArray(in.call->pctxt, data, bits / 8 + 1, bits) >= 0;
}

bool l3DirectText(const L3Source& in, size_t pos, size_t end, size_t octets, bool labels, char*& text)
{
  if ((pos & 7) || octets > (end - pos) >> 3) return false;
  text = static_cast<char*>(l3DirectRoom(*in.call, octets + 1));
  uint8_t* copy = reinterpret_cast<uint8_t*>(text);
  if (!text || !l3Octets(in, pos, end, copy, octets)) return false;
  text[octets] = 0;
  if (l3DirectKeeps(in) && !l3TextComesBack(copy, octets, labels)) return false;
  if (labels) l3JoinLabels(text, octets);
  return true;
}

// Lists that take more than this are left to the walk, which decides what is out of proportion and may need the memory
// a second time.
bool l3DirectGrow(const L3Source& in, void** entries, size_t count, size_t& capacity, size_t entrySize)
{
  // Most lists never grow beyond the first piece of 8 entries, or 2 where entries are large.
  static constexpr size_t kFirst = 8, kFirstOctets = 512;
  L3Call& call = *in.call;
  if (capacity)
    capacity *= 2;
  else
    capacity = entrySize * kFirst <= kFirstOctets ? kFirst : 2;
  size_t size = capacity * entrySize;
  call.listOctets += size;
  if (call.listOctets > kL3ListBase + kL3TrialFactor * in.octets) return false;
  void* grown = count ? reallocate(call, *entries, size) : l3DirectRoom(call, size);
  if (!grown) return false;
  *entries = grown;
  return true;
}

void l3DirectCut(const L3Source& in, void** entries, size_t count, size_t capacity, size_t entrySize)
{
  // In octets; below that the shrinking costs more than the rest is worth.
  static constexpr size_t kWorthwhile = 512;
  if (!count || (capacity - count) * entrySize < kWorthwhile) return;
  L3Call& call = *in.call;
  void* cut = reallocate(call, *entries, count * entrySize);
  if (cut) *entries = cut;
}

bool l3DirectSurplus(const L3Source& in, size_t pos, size_t end)
{
  size_t left = end - pos;
  return left >= 8 || l3BitsAt(in.data, in.octets, pos >> 3, pos & 7, static_cast<unsigned>(left));
}

size_t l3DirectLate(const L3Source& in, size_t pos, size_t end, unsigned octets)
{
  if (l3DirectKeeps(in)) return kL3GaveUp;
  bool room = octets == kL3ByLength ? l3SkipLength(in, pos, end) : l3Skip(pos, end, octets);
  return room ? pos : kL3GaveUp;
}

// Forms as in unknownBits and decUnknown. Where the walk would do more than pass over the element, it has to do it.
size_t l3DirectUnknown(const L3Source& in, size_t pos, size_t end, unsigned iei, const L3Type& type, const void* record,
                       unsigned order)
{
  if (l3DirectKeeps(in)) return l3NoteUnknown(*in.call, type, record, order, pos, end, static_cast<uint8_t>(iei));
  if (iei & 0x80) return pos;
  if (iei >= 0x78 && l3DirectStandard(in)) return kL3GaveUp; // the length may have two octets
  return (iei & 0x0F) && l3SkipLength(in, pos, end) ? pos : kL3GaveUp;
}

uint64_t l3TakeEdge(const uint8_t* data, size_t octets, size_t pos, unsigned bits)
{
  return l3BitsAt(data, octets, pos >> 3, pos & 7, bits);
}

void l3PutEdge(uint8_t* data, size_t pos, unsigned bits, uint64_t value)
{
  l3PutBitsAt(data + (pos >> 3), pos & 7, bits, value);
}

// Writes a name with dots as labels, each behind its length (encLabels).
static bool putLabels(L3Sink& out, size_t& pos, const char* text)
{
  if (strlen(text) > 254) return false;
  for (bool more = *text; more; ++text) {
    size_t label = strcspn(text, ".");
    if (!l3Put<8>(out.data, pos, out.end, label)) return false;
    if (!l3PutOctets(out.data, pos, out.end, reinterpret_cast<const uint8_t*>(text), label)) return false;
    text += label;
    more = *text == '.';
  }
  return true;
}

size_t l3DirectPutText(L3Sink& out, size_t pos, const char* text, bool labels)
{
  bool good = labels ? putLabels(out, pos, text)
                     : l3PutOctets(out.data, pos, out.end, reinterpret_cast<const uint8_t*>(text), strlen(text));
  return good ? pos : kL3GaveUp;
}

bool l3DirectPutBits(L3Sink& out, size_t pos, const uint8_t* data, uint32_t numbits)
{
  if (!numbits) return true;
  if (!data || numbits > out.end - pos) return false;
  l3MoveTo(out.call->pctxt->buffer, pos);
  return rtxEncBitsFromByteArray(out.call->pctxt, data, numbits) >= 0;
}

void l3DirectPatch(uint8_t* data, size_t start, unsigned bits, uint32_t length)
{
  if (bits == 16 && !(start & 7)) {
    rtxStoreOctets<2>(data + (start >> 3) - 2, length);
    return;
  }
  // Bit by bit from the last one back: a length of 4 bits that ends at bit 8 is the low half of octet 0.
  for (unsigned i = 0; i < bits; ++i) {
    size_t at = start - 1 - i;
    uint8_t mask = static_cast<uint8_t>(0x80U >> (at & 7));
    uint8_t& octet = data[at >> 3];
    octet = static_cast<uint8_t>((length >> i & 1) ? octet | mask : octet & ~mask);
  }
}
