// The parts of the direct coders that are not worth a copy at each place, and the way into a try and out of it.
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
// not keep up.
static bool mayTry(const L3Call& call, bool encoder)
{
  const RtxContext& context = *call.pctxt;
  const RtxBuffer& buffer = context.buffer;
  bool clean = !context.errInfo.count && !context.reservedErr.parmcount && !context.reservedErr.elemName;
  bool sound = buffer.byteIndex <= buffer.size && buffer.bitOffset >= 1 && buffer.bitOffset <= 8;
  bool open = !encoder && context.containerStack.dlist.head; // as an early return has left it
  if (encoder && l3HasKept(&context)) return false;          // a direct coder does not look for what was kept
  return call.mode == kL3MayTry && !open && clean && sound && !call.failed;
}

static size_t cursor(const RtxContext* pctxt)
{
  return pctxt->buffer.byteIndex * 8 + 8 - static_cast<size_t>(pctxt->buffer.bitOffset);
}

static void setTail(RtxContext* pctxt, bool tail)
{
  pctxt->flags = tail ? pctxt->flags | RTX_OPENTAIL_FLAG : pctxt->flags & ~RTX_OPENTAIL_FLAG;
}

// A failure inside a trial shows in its status, a finding in its record.
static bool wentWell(const L3Call& call, int status)
{
  return status >= 0 && call.mode != kL3GivenUp && !call.keepTypeName && !call.pctxt->errInfo.count;
}

static bool goDecode(L3Call& call, const L3Type& type, void* record)
{
  RtxContext* pctxt = call.pctxt;
  const RtxBuffer& buffer = pctxt->buffer;
  size_t end = buffer.size * 8;
  if (call.regions) end = call.regions->byteIndex * 8 + 8 - call.regions->bitOffset;
  size_t pos = cursor(pctxt);
  if (end > buffer.size * 8 || pos > end) return false;
  pos = type.decodeDirect({buffer.data, buffer.size, &call}, pos, end, record);
  if (pos == kL3GaveUp) return false;
  l3MoveTo(pctxt->buffer, pos);
  return true;
}

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

// Is nothing observed, found or open that a call without names and regions could not keep up?
static bool isClear(const RtxContext& context)
{
  const RtxBuffer& buffer = context.buffer;
  bool stream = context.pStream && !(context.flags & RTX_FLAG_BUFFER_MODE);
  return rtxErrIsReset(context) && !l3IsSlow() && !stream && !context.pBitFldList && buffer.byteIndex <= buffer.size &&
         buffer.bitOffset == 8;
}

// A call that is a trial from its beginning.
static void beginTrial(L3Call& call, RtxContext* pctxt, const L3Type& type)
{
  l3Fresh(call, pctxt);
  call.mode = kL3Trial;
  call.tried = &type;
}

static void needNames(L3Call& call)
{
  if (call.names) return;
  call.base = {l3NameOf(*call.tried), nullptr, 0, 0, 0};
  call.names = &call.base;
}

static void hold(L3Call& call, void* storage)
{
  if (call.held < L3Call::kMaxHeld) call.holds[call.held++] = storage;
}

// Ends the run of elements, before anybody else asks the heap for anything. The trial may still be given up.
static void endRun(L3Call& call)
{
  if (!call.run.next) return;
  for (RtxMemElem* elem = call.run.first; elem != call.run.next; elem += elem->nunits) hold(call, elem + 1);
  rtxMemRunClose(call.run);
}

[[gnu::cold, gnu::noinline]] static void* allocateAlone(L3Call& call, size_t octets)
{
  endRun(call);
  void* storage = rtxMemHeapAlloc(&call.pctxt->pMemHeap, octets);
  if (storage) hold(call, storage);
  return storage;
}

void* l3DirectRoom(L3Call& call, size_t octets)
{
  const RtxMemHeap* heap = call.pctxt->pMemHeap;
  if (!call.run.next && (!heap || !rtxMemRunOpen(call.run, heap))) return allocateAlone(call, octets);
  void* storage = rtxMemRunAlloc(call.run, octets);
  return storage ? storage : allocateAlone(call, octets);
}

// Null, with everything as before, if memory is out.
static void* reallocate(L3Call& call, void* before, size_t octets)
{
  if (call.run.next && rtxMemRunResize(call.run, before, octets)) return before;
  endRun(call);
  void* storage = rtxMemHeapRealloc(&call.pctxt->pMemHeap, before, octets);
  for (unsigned i = call.held; storage && i-- > 0;)
    if (call.holds[i] == before) call.holds[i] = storage;
  return storage;
}

static void releaseHeld(L3Call& call)
{
  if (call.run.next) rtxMemRunDrop(call.run);
  while (call.held) rtxMemHeapFreePtr(&call.pctxt->pMemHeap, call.holds[--call.held]);
}

// A message has the region around an early return within, and so has an element that begins with its length.
static bool hasRegion(const L3Type& type)
{
  if (!type.rowCount) return false;
  bool length = type.rows[0].op == kL3Length && !(type.flags & kL3EarlyReturn);
  return type.message || length || type.rows[type.rowCount - 1].op == kL3Body;
}

size_t l3DirectLeave(const L3Source& in, size_t pos, size_t end, size_t outer)
{
  L3Call& call = *in.call;
  if (!hasRegion(*call.tried) || call.left == L3Call::kMaxLeft) return kL3GaveUp;
  if (!call.left) call.ends[0] = outer;
  call.ends[++call.left] = end;
  return pos;
}

// What the walk leaves behind is left here as well: callers see it on the context's stack.
[[gnu::cold]] static void pushLeft(L3Call& call)
{
  endRun(call);
  if ((call.names && call.names->outer) || call.regions) l3ToLists(call); // more is to come, behind what is left
  RtxContext* pctxt = call.pctxt;
  size_t pos = cursor(pctxt);
  for (unsigned i = 0; i < call.left && !call.failed; ++i) {
    l3MoveTo(pctxt->buffer, call.ends[i]);
    call.failed = rtxCtxtPushContainerBytes(pctxt, 0) < 0;
  }
  l3MoveTo(pctxt->buffer, pos);
}

using Go = bool (*)(L3Call& call, const L3Type& type, void* record);

[[gnu::cold]] static void giveUp(L3Call& call, const RtxBuffer& before, uint32_t flags)
{
  call.keepTypeName = false;
  rtxErrResetErrInfo(call.pctxt);
  releaseHeld(call);
  call.pctxt->buffer = before;
  call.pctxt->flags = flags;
}

template <Go go> static bool runTrial(L3Call& call, const L3Type& type, void* record)
{
  RtxContext* pctxt = call.pctxt;
  RtxBuffer before = pctxt->buffer;
  uint32_t flags = pctxt->flags;
  L3Name* names = call.names;
  L3Region* regions = call.regions;
  pctxt->buffer.dynamic = 0; // a buffer that has to grow is the walk's: a refused growth leaves it with a wrong size
  call.mode = kL3Trial;
  call.held = call.left = 0;
  call.tried = &type;
  bool good = go(call, type, record) && wentWell(call, 0);
  pctxt->buffer.dynamic = before.dynamic;
  call.mode = good ? kL3MayTry : kL3Walk;
  call.names = names;
  call.regions = regions;
  if (good && call.left) pushLeft(call);
  if (good && call.run.next) rtxMemRunClose(call.run);
  if (good) return true;
  call.listOctets = 0;
  giveUp(call, before, flags);
  return false;
}

template <Go go> static bool directly(L3Call& call, const L3Type& type, void* record)
{
  if (call.probe) return false; // it needs the names
  if (!call.onTrial()) return mayTry(call, go == goEncode) && runTrial<go>(call, type, record);
  bool good = go(call, type, record);
  endRun(call); // what the walk around asks the heap for comes next
  if (!good) call.mode = kL3GivenUp;
  return good;
}

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

int l3DecAtOnce(RtxContext* pctxt, const L3Type& type, void* record)
{
  if (!isClear(*pctxt)) return l3DecByRows(pctxt, type, record, kL3MayTry);
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
  bool surplus = pos >> 3 < octets && l3KeepsFlag(pctxt); // the walk keeps it
  if (pos != kL3GaveUp && wentWell(call, 0) && !surplus && (!plain || decodedPlain(*plain, record))) {
    l3MoveTo(pctxt->buffer, pos);
    if (call.left) pushLeft(call);
    if (!call.failed) {
      if (call.run.next) rtxMemRunClose(call.run);
      return 0;
    }
    rtxCtxtPopAllContainers(pctxt); // there were none
  }
  RtxBuffer before = buffer; // of which a decoding moves the cursor alone
  before.byteIndex = start;
  before.bitOffset = 8;
  giveUp(call, before, flags);
  return l3DecByRows(pctxt, type, record, kL3Walk);
}

int l3EncAtOnce(RtxContext* pctxt, const L3Type& type, void* record)
{
  const L3Plain* plain = type.hand ? type.hand->plain : nullptr;
  if (plain && !encodesPlain(*plain, record)) return l3EncByRows(pctxt, type, record, kL3MayTry);
  if (!isClear(*pctxt) || l3HasKept(pctxt)) return l3EncByRows(pctxt, type, record, kL3MayTry);
  L3Call call;
  beginTrial(call, pctxt, type);
  RtxBuffer before = pctxt->buffer;
  uint32_t flags = pctxt->flags;
  pctxt->buffer.dynamic = 0; // as in runTrial
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
  return wentWell(call, status) && pos <= end ? pos : kL3GaveUp;
}

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

bool l3DirectHeap(const L3Source& in, size_t pos, size_t end, size_t octets, uint32_t& numocts, uint8_t*& data)
{
  if ((pos & 7) || octets > (end - pos) >> 3) return false;
  numocts = static_cast<uint32_t>(octets);
  data = nullptr;
  if (!octets) return true;
  data = static_cast<uint8_t*>(l3DirectRoom(*in.call, octets));
  return data && l3Octets(in, pos, end, data, octets);
}

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
  if (!text || !l3Octets(in, pos, end, reinterpret_cast<uint8_t*>(text), octets)) return false;
  text[octets] = 0;
  if (labels) l3JoinLabels(text, octets);
  return true;
}

// Lists that take more than this are left to the walk, which decides what is out of proportion and may need the memory
// a second time.
bool l3DirectGrow(const L3Source& in, void** entries, size_t count, size_t& capacity, size_t entrySize)
{
  static constexpr size_t kFirst = 8, kFirstOctets = 512; // most lists never grow
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
  static constexpr size_t kWorthwhile = 512; // octets; below that the shrinking costs more than the rest is worth
  if (!count || (capacity - count) * entrySize < kWorthwhile) return;
  L3Call& call = *in.call;
  void* cut = reallocate(call, *entries, count * entrySize);
  if (cut) *entries = cut;
}

size_t l3DirectUnknown(const L3Source& in, size_t pos, size_t end, unsigned iei, bool half)
{
  bool wide = iei >= 0x78 && l3DirectStandard(in); // the length may have two octets
  if (l3DirectKeeps(in) || (wide && !half && !(iei & 0x80))) return kL3GaveUp;
  if (half || (iei & 0x80)) return pos;
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

// Labels of a name with dots, each behind its length.
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
  for (unsigned i = 0; i < bits; ++i) {
    size_t at = start - 1 - i;
    uint8_t mask = static_cast<uint8_t>(0x80U >> (at & 7));
    uint8_t& octet = data[at >> 3];
    octet = static_cast<uint8_t>((length >> i & 1) ? octet | mask : octet & ~mask);
  }
}
