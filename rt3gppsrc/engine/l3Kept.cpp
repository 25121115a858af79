#include "rt3gppsrc/engine/l3Kept.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "rt3gppsrc/engine/l3Decode.h"
#include "rt3gppsrc/engine/l3Encode.h"
#include "rtxsrc/errors/rtxErrorInternal.h"
#include "velnor3gpp//rtxBitDecode.h"
#include "velnor3gpp/rtxDiagBitTrace.h"
#include "velnor3gpp/rtxMemHeap.h"

static L3KeptList* listFor(RtxContext* pctxt)
{
  void*& slot = pctxt->extInfo[RTX_CTXT_KEPT_SLOT];
  if (!slot) slot = rtxMemHeapAllocZ(&pctxt->pMemHeap, sizeof(L3KeptList));
  return static_cast<L3KeptList*>(slot);
}

L3Kept* l3AddKept(RtxContext* pctxt, const L3KeptFacts& facts, const uint8_t* octets, size_t bits)
{
  L3KeptList* list = listFor(pctxt);
  size_t count = (bits + 7) / 8, length = facts.path ? strlen(facts.path) : 0;
  if (!list || bits > UINT32_MAX) return nullptr;
  void* memory = rtxMemHeapAlloc(&pctxt->pMemHeap, sizeof(L3Kept) + count + (length ? length + 1 : 0));
  if (!memory) return nullptr;
  L3Kept* kept = static_cast<L3Kept*>(memory);
  char* path = reinterpret_cast<char*>(kept->octets() + count);
  *kept = {nullptr,
           nullptr,
           facts.record,
           facts.anchor,
           length ? path : "",
           facts.position,
           static_cast<uint32_t>(bits),
           0,
           static_cast<int16_t>(facts.status),
           facts.iei,
           facts.ieiBits,
           facts.at,
           facts.why};
  if (count && octets) memcpy(kept->octets(), octets, count);
  if (length) memcpy(path, facts.path, length + 1);
  (list->last ? list->last->next : list->first) = kept;
  list->last = kept;
  ++list->count;
  return kept;
}

// The octets of a buffer from any bit on, the first bit on top.
static void copyBits(const RtxBuffer& buffer, size_t from, size_t bits, uint8_t* to)
{
  for (size_t at = 0; at < bits; at += 8) {
    unsigned some = bits - at < 8 ? static_cast<unsigned>(bits - at) : 8;
    uint64_t octet = l3BitsAt(buffer.data, buffer.size, (from + at) / 8, (from + at) % 8, some);
    *to++ = static_cast<uint8_t>(octet << (8 - some));
  }
}

int l3Keep(L3Call& call, const L3Type& type, uint16_t line, const L3KeptFacts& facts, size_t end)
{
  RtxContext* pctxt = call.pctxt;
  L3Kept* kept = l3AddKept(pctxt, facts, nullptr, end - facts.position);
  if (!kept) return l3Fail(call, type.module->decoder, RTX_E_NO_MEMORY, line);
  kept->root = call.root;
  copyBits(pctxt->buffer, facts.position, kept->bits, kept->octets());
  if (call.traced && l3BitPos(pctxt) < end) {
    char name[kL3KeptName];
    L3Name frame;
    l3KeptName(*kept, name);
    if (int status = l3PushName(call, frame, name); status < 0) return l3Fail(call, type.module->decoder, status, line);
    l3TraceField(call, "OCTET STRING");
    l3MoveTo(pctxt->buffer, end);
    rtxDiagSetBitFldCount(pctxt->pBitFldList);
    l3PopName(call);
  }
  l3MoveTo(pctxt->buffer, end);
  return 0;
}

// Entries behind a place in the list are forgotten; null: all.
static void cut(RtxContext* pctxt, L3Kept* last, size_t count)
{
  L3KeptList* list = l3KeptOf(pctxt);
  if (!list) return;
  L3Kept* next = last ? last->next : list->first;
  (last ? last->next : list->first) = nullptr;
  list->last = last;
  list->count = count;
  while (next) {
    L3Kept* kept = next;
    next = kept->next;
    rtxMemHeapFreePtr(&pctxt->pMemHeap, kept);
  }
}

void l3ForgetKept(RtxContext* pctxt, const void* root)
{
  L3KeptList* list = l3KeptOf(pctxt);
  L3Kept *stays = nullptr, *next = list->first;
  list->first = list->last = nullptr;
  list->count = 0;
  while (next) {
    L3Kept* kept = next;
    next = kept->next;
    if (kept->root == root) {
      rtxMemHeapFreePtr(&pctxt->pMemHeap, kept);
      continue;
    }
    kept->next = nullptr;
    (stays ? stays->next : list->first) = kept;
    list->last = stays = kept;
    ++list->count;
  }
}

void l3MoveKept(RtxContext* pctxt, const void* from, size_t octets, const void* to)
{
  uintptr_t begin = reinterpret_cast<uintptr_t>(from);
  L3KeptList* list = l3KeptOf(pctxt);
  for (L3Kept* kept = list && from != to ? list->first : nullptr; kept; kept = kept->next) {
    size_t offset = reinterpret_cast<uintptr_t>(kept->record) - begin;
    if (offset < octets) kept->record = static_cast<const uint8_t*>(to) + offset;
  }
}

const L3Kept* l3NextKept(const RtxContext* pctxt, const L3Kept* after, const void* record, const void* anchor,
                         L3KeptAt at)
{
  const L3Kept* kept = after ? after->next : l3KeptOf(pctxt)->first;
  while (kept && !(kept->record == record && kept->anchor == anchor && kept->at == at)) kept = kept->next;
  return kept;
}

static int putBits(L3Call& call, const L3Kept& kept)
{
  const uint8_t* octets = kept.octets();
  size_t whole = kept.bits / 8;
  unsigned over = kept.bits % 8;
  int status = 0;
  if (call.pctxt->buffer.bitOffset == 8) {
    if (whole) status = l3EncOctets(call, octets, whole);
  } else {
    for (size_t i = 0; i < whole && status >= 0; ++i) status = l3EncBits(call, octets[i], 8, "OCTET STRING");
  }
  if (status >= 0 && over)
    status = l3EncBits(call, static_cast<uint64_t>(octets[whole]) >> (8 - over), over, "OCTET STRING");
  return status;
}

// An encoder has filled the octet with padding behind the last part. What stood there instead takes its place: from
// the part on where it began inside an octet (00 03: three bits, then 0s), else from the next octet on.
static void takePlaceOfPadding(L3Call& call, const L3Kept& kept)
{
  RtxBuffer& buffer = call.pctxt->buffer;
  size_t from = call.padded, end = l3BitPos(call.pctxt);
  if (from == L3Call::kNotPadded || call.pctxt->pStream || end != (from / 8 + 1) * 8) return;
  if (kept.bits % 8 == 0) from = (from + 7) / 8 * 8;
  if (from >= end) return;
  l3MoveTo(buffer, from);
  buffer.data[from / 8] = static_cast<uint8_t>(buffer.data[from / 8] & ~((1U << buffer.bitOffset) - 1));
  call.padded = L3Call::kNotPadded;
}

int l3PutKept(L3Call& call, const L3Type& type, uint16_t line, const void* record, const void* anchor, L3KeptAt at)
{
  for (const L3Kept* kept = l3FirstKept(call.pctxt, record, anchor, at); kept;
       kept = l3NextKept(call.pctxt, kept, record, anchor, at)) {
    char name[kL3KeptName];
    L3Name frame;
    l3KeptName(*kept, name);
    if (at == kL3KeptBehind) takePlaceOfPadding(call, *kept);
    int status = l3PushName(call, frame, name);
    if (status >= 0) status = putBits(call, *kept);
    if (status < 0) return l3Fail(call, type.module->encoder, status, line);
    l3PopName(call);
  }
  return 0;
}

int l3PutKeptEnd(L3Call& call, const L3Type& type, const void* value, size_t start)
{
  const L3Kept* kept = l3FirstKept(call.pctxt, value, &type, kL3KeptEnd);
  if (!kept) return 0;
  takePlaceOfPadding(call, *kept);
  if (kept->why != kL3KeptPadding) {
    int status = putBits(call, *kept);
    return status < 0 ? l3Fail(call, type.module->encoder, status, type.line) : 0;
  }
  // A record that has grown takes the place of padding: a block keeps its size.
  const RtxBuffer& buffer = call.pctxt->buffer;
  size_t count = kept->bits / 8, stands = start + kept->before, grown = 0;
  if (stands < buffer.byteIndex) grown = buffer.byteIndex - stands;
  if (grown >= count) return 0;
  int status = l3EncOctets(call, kept->octets() + grown, count - grown);
  return status < 0 ? l3Fail(call, type.module->encoder, status, type.line) : 0;
}

// Appends what has room and returns the new length, which never reaches the end: a text that is cut would otherwise
// count as if it stood there whole.
[[gnu::format(printf, 4, 5)]] static size_t append(char* text, size_t room, size_t at, const char* format, ...)
{
  va_list arguments;
  va_start(arguments, format);
  int length = vsnprintf(text + at, room - at, format, arguments);
  va_end(arguments);
  size_t fits = room - 1 - at;
  return at + (length >= 0 && static_cast<size_t>(length) < fits ? static_cast<size_t>(length) : fits);
}

// The name is cut where its room ends: a caller may have given the element a fault of any length (velnor3gpp_keep).
size_t l3KeptName(const L3Kept& kept, char (&name)[kL3KeptName])
{
  static const char* const kWords[] = {"unknown", "repeated", "out of turn", "unreadable", "surplus", "padding"};
  size_t at = append(name, sizeof name, 0, "%s", kWords[kept.why]);
  if (kept.ieiBits == 8) at = append(name, sizeof name, at, " 0x%02X", kept.iei);
  if (kept.ieiBits && kept.ieiBits != 8) at = append(name, sizeof name, at, " 0x%X", kept.iei);
  const char* element = nullptr;
  if (kept.at == kL3KeptInstead) element = static_cast<const L3Row*>(kept.anchor)->name;
  if (element) at = append(name, sizeof name, at, " %.80s", element);
  if (kept.why != kL3KeptUnreadable) return at;
  at = append(name, sizeof name, at, ": %d", kept.status);
  return *kept.path ? append(name, sizeof name, at, " at %s", kept.path) : at;
}

unsigned l3LeadingLength(const L3Row& row)
{
  if (row.op == kL3Record || row.op == kL3TextType) {
    if (!row.type->rowCount) return 0;
    return l3LeadingLength(row.type->rows[0]);
  }
  if (row.op == kL3Length) {
    const L3Length& info = *static_cast<const L3Length*>(row.info);
    bool whole = info.unitBits == 8 && !info.fromOctet && !info.bias && (info.bits == 8 || info.bits == 16);
    return whole ? info.bits : 0;
  }
  if (row.op == kL3Octets) {
    const L3Octets& info = *static_cast<const L3Octets*>(row.info);
    return info.from == kL3OwnLength && info.lengthBits % 8 == 0 ? info.lengthBits : 0;
  }
  if (row.op != kL3Choice) return 0;
  const L3Choice& choice = *static_cast<const L3Choice*>(row.info);
  if (choice.from != kL3SelectFields || !choice.count) return 0;
  unsigned bits = l3LeadingLength(choice.alternatives[0].row);
  for (unsigned i = 1; i < choice.count; ++i)
    if (l3LeadingLength(choice.alternatives[i].row) != bits) return 0;
  return bits;
}

// The names inside the element as paths have them: without what marks a message or an entry.
static size_t joinNames(const L3Name* frame, char* path, size_t room)
{
  if (!frame || !frame->outer) return 0;
  size_t at = joinNames(frame->outer, path, room);
  const char* name = frame->name ? frame->name : "";
  if (frame->kind == 2) return append(path, room, at, "[%u]", static_cast<unsigned>(frame->index));
  if (strncmp(name, "u.obj_", 6) == 0)
    name += 6;
  else if (strncmp(name, "u.", 2) == 0)
    name += 2;
  size_t length = strlen(name) + (at ? 1 : 0);
  if (length >= room - at) return at;
  snprintf(path + at, room - at, "%s%s", at ? "." : "", name);
  return at + length;
}

void l3NoteProbe(L3Call& call, int status)
{
  L3Probe& probe = *call.probe;
  if (probe.status) return;
  probe.status = status;
  probe.path[0] = 0;
  joinNames(call.names, probe.path, sizeof probe.path);
}

int l3RefuseTrial(L3Call& call, int status)
{
  if (call.probe) call.probe->refused = true;
  call.mode = kL3GivenUp;
  return status;
}

namespace {

// The state that a failed probe returns to.
struct Before {
  L3Call& call;
  L3Mode mode;
  L3Name* names;
  L3Region* regions;
  bool traced, keepTypeName, ended, inBody;
  size_t earlier, found, stacked, argument;
  L3Probe* probe;
  RtxBuffer buffer;
  uint32_t flags;
  RtxBitFieldList* trace;
  L3Kept* last;
  size_t kept;

  explicit Before(L3Call& c)
      : call(c), mode(c.mode), names(c.names), regions(c.regions), traced(c.traced), keepTypeName(c.keepTypeName),
        ended(c.ended), inBody(c.inBody), earlier(c.earlier), found(c.pctxt->errInfo.count),
        stacked(c.pctxt->elemNameStack.count), argument(c.argument), probe(c.probe), buffer(c.pctxt->buffer),
        flags(c.pctxt->flags), trace(c.pctxt->pBitFldList)
  {
    const L3KeptList* list = l3KeptOf(c.pctxt);
    last = list ? list->last : nullptr;
    kept = list ? list->count : 0;
  }

  void restoreCall() const
  {
    call.mode = mode;
    call.names = names;
    call.regions = regions;
    call.traced = traced;
    call.keepTypeName = keepTypeName;
    call.ended = ended;
    call.inBody = inBody;
    call.earlier = earlier;
    call.probe = probe;
    RtxContext* pctxt = call.pctxt;
    pctxt->pBitFldList = trace;
    if (pctxt->errInfo.count > found) rtxErrResetLastErrors(pctxt, pctxt->errInfo.count - found);
    rtxErrFreeRecordParms(pctxt, &pctxt->reservedErr);
    while (pctxt->elemNameStack.count > stacked) rtxCtxtPopElemName(pctxt);
  }

  void restoreInput() const
  {
    call.argument = argument;
    call.pctxt->buffer = buffer;
    call.pctxt->flags = flags;
    cut(call.pctxt, last, kept);
  }
};

} // namespace

// Runs the ordinary walk as a trial, under frames of its own that are never seen.
static int runProbe(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, L3Probe& probe)
{
  L3End end = l3InnermostEnd(call);
  const RtxBuffer& buffer = call.pctxt->buffer;
  L3Region region = {end.region ? end.octet : buffer.size, end.region ? end.bitOffset : uint16_t{8}, nullptr};
  L3Name frame = {nullptr, nullptr, 0, 0, 0};
  int running = 0;
  call.names = &frame;
  call.regions = &region;
  call.traced = false;
  call.pctxt->pBitFldList = nullptr;
  call.probe = &probe;
  call.mode = kL3Trial;
  call.keepTypeName = false;
  int status = l3DecMember(call, type, row, record, running);
  if (status >= 0) status = running;
  if (call.keepTypeName) probe.again = true;
  return call.mode == kL3GivenUp && status >= 0 ? RTX_E_GENERAL : status;
}

L3Probed l3ProbeMember(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, L3Probe& probe)
{
  probe.again = probe.refused = false;
  probe.status = 0;
  probe.path[0] = 0;
  if (call.mode == kL3GivenUp) return kL3NotTold;
  Before before(call);
  int status = runProbe(call, type, row, record, probe);
  if (status < 0 && !probe.status) probe.status = status;
  bool read = status >= 0 && call.pctxt->errInfo.count == before.found;
  before.restoreCall();
  if (read && before.probe) before.probe->again |= probe.again; // the outermost one does it again
  if (read && (before.probe || !(probe.again || before.traced))) return kL3Read;
  before.restoreInput();
  if (probe.refused && before.probe) l3RefuseTrial(call, probe.status);
  if (!read && probe.status == RTX_E_NO_MEMORY) return kL3NoMemory;
  return read || probe.refused ? kL3NotTold : kL3Unreadable;
}
