// Elements that are kept as they came (l3Kept.h): the list on the context, putting them back on encoding, and the probe
// that finds out whether an element can be read. Decoders call l3Keep and l3ProbeMember, encoders l3PutKept. A caller
// who has not set RTX_FLAG_KEEP_ELEMENTS pays for a test of the flag and no more.
#include "rt3gppsrc/engine/l3Kept.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "rt3gppsrc/engine/l3Decode.h"
#include "rt3gppsrc/engine/l3Direct.h"
#include "rt3gppsrc/engine/l3Encode.h"
#include "rtxsrc/errors/rtxErrorInternal.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxDiagBitTrace.h"
#include "velnor3gpp/rtxMemHeap.h"

// The context's list, made with the first entry; null without memory. It lies on the job's heap, so that nobody frees
// it.
static L3KeptList* listFor(RtxContext* pctxt)
{
  void*& slot = pctxt->extInfo[RTX_CTXT_KEPT_SLOT];
  if (!slot) slot = rtxMemHeapAllocZ(&pctxt->pMemHeap, sizeof(L3KeptList));
  return static_cast<L3KeptList*>(slot);
}

// As many entries are found as fast by going through the list.
static constexpr size_t kFewKept = 8;

// Addresses end in zeros and lie at equal distances; the multiplier spreads them.
static L3KeptChain& chainOf(const L3KeptList& list, const void* record)
{
  uint64_t spread = reinterpret_cast<uintptr_t>(record) * 0x9E3779B97F4A7C15ULL;
  return list.chains[(spread >> 32) & (list.chainCount - 1)];
}

static void enchain(L3KeptList& list, L3Kept& kept)
{
  if (!list.chains) return;
  L3KeptChain& chain = chainOf(list, kept.record);
  kept.nextInChain = nullptr;
  kept.previousInChain = chain.last;
  (chain.last ? chain.last->nextInChain : chain.first) = &kept;
  chain.last = &kept;
}

static void unchain(L3KeptList& list, L3Kept& kept)
{
  if (!list.chains) return;
  L3KeptChain& chain = chainOf(list, kept.record);
  (kept.previousInChain ? kept.previousInChain->nextInChain : chain.first) = kept.nextInChain;
  (kept.nextInChain ? kept.nextInChain->previousInChain : chain.last) = kept.previousInChain;
}

// Twice as many chains as entries, whose count is a power of two, the new entry's among them. Without memory the old
// ones grow longer.
static void makeChains(RtxContext* pctxt, L3KeptList& list)
{
  size_t count = list.count * 2;
  void* memory = rtxMemHeapAllocZ(&pctxt->pMemHeap, count * sizeof(L3KeptChain));
  if (!memory) return enchain(list, *list.last);
  if (list.chains) rtxMemHeapFreePtr(&pctxt->pMemHeap, list.chains);
  list.chains = static_cast<L3KeptChain*>(memory);
  list.chainCount = count;
  for (L3Kept* kept = list.first; kept; kept = kept->next) enchain(list, *kept);
}

// The first entry that can belong to the record, and the one behind it.
static const L3Kept* firstOf(const L3KeptList& list, const void* record)
{
  return list.chains ? chainOf(list, record).first : list.first;
}

static const L3Kept* nextOf(const L3KeptList& list, const L3Kept& kept)
{
  return list.chains ? kept.nextInChain : kept.next;
}

// One heap block: the entry, its octets, the regular ones, its path.
L3Kept* l3AddKept(RtxContext* pctxt, const L3KeptFacts& facts, const uint8_t* octets, size_t bits)
{
  L3KeptList* list = listFor(pctxt);
  size_t count = (bits + 7) / 8, length = facts.path ? strlen(facts.path) : 0, regular = facts.regularCount;
  // The entry counts in 32 bits.
  if (!list || bits > UINT32_MAX || regular > UINT32_MAX) return nullptr;
  void* memory = rtxMemHeapAlloc(&pctxt->pMemHeap, sizeof(L3Kept) + count + regular + (length ? length + 1 : 0));
  if (!memory) return nullptr;
  L3Kept* kept = static_cast<L3Kept*>(memory);
  char* path = reinterpret_cast<char*>(kept->octets() + count + regular);
  *kept = {nullptr,
           nullptr,
           nullptr,
           nullptr,
           facts.record,
           facts.anchor,
           length ? path : "",
           facts.position,
           static_cast<uint32_t>(bits),
           0,
           static_cast<uint32_t>(regular),
           static_cast<int16_t>(facts.status),
           facts.iei,
           facts.ieiBits,
           facts.at,
           facts.why,
           !facts.regular};
  if (count && octets) memcpy(kept->octets(), octets, count);
  if (regular) memcpy(kept->octets() + count, facts.regular, regular);
  if (length) memcpy(path, facts.path, length + 1);
  (list->last ? list->last->next : list->first) = kept;
  list->last = kept;
  ++list->count;
  bool full = list->count >= kFewKept && list->count >= list->chainCount;
  if (full && !(list->count & (list->count - 1)))
    makeChains(pctxt, *list);
  else
    enchain(*list, *kept);
  return kept;
}

// Copies bits from any position of a buffer to whole octets, the first bit on top. The last octet is filled up with 0s:
// the 12 bits from bit 4 of 5A 3C on are A3 C0.
static void copyBits(const RtxBuffer& buffer, size_t from, size_t bits, uint8_t* to)
{
  for (size_t at = 0; at < bits; at += 8) {
    unsigned some = bits - at < 8 ? static_cast<unsigned>(bits - at) : 8;
    uint64_t octet = l3BitsAt(buffer.data, buffer.size, (from + at) / 8, (from + at) % 8, some);
    *to++ = static_cast<uint8_t>(octet << (8 - some));
  }
}

// Keeps the bits of the input from `facts.position` to `end`; null without memory.
static L3Kept* keepBits(const L3Call& call, const L3KeptFacts& facts, size_t end)
{
  RtxContext* pctxt = call.pctxt;
  L3Kept* kept = l3AddKept(pctxt, facts, nullptr, end - facts.position);
  if (!kept) return nullptr;
  kept->root = call.root;
  copyBits(pctxt->buffer, facts.position, kept->bits, kept->octets());
  return kept;
}

// The cursor may stand behind the identifier already; what it has passed is in the trace, the rest gets an entry here.
int l3Keep(L3Call& call, const L3Type& type, uint16_t line, const L3KeptFacts& facts, size_t end)
{
  RtxContext* pctxt = call.pctxt;
  L3Kept* kept = keepBits(call, facts, end);
  if (!kept) return l3Fail(call, type.module->decoder, RTX_E_NO_MEMORY, line);
  // The entry's name is what is printed for the element ("unknown 0x7A"). It may end with this function: the trace has
  // copied it to its path.
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

// Takes all entries behind one off the list (null: all entries) and frees them; `count` is how many stay.
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
    unchain(*list, *kept);
    rtxMemHeapFreePtr(&pctxt->pMemHeap, kept);
  }
}

bool l3KeepNoted(L3Call& call)
{
  const L3KeptList* list = l3KeptOf(call.pctxt);
  L3Kept* last = list ? list->last : nullptr;
  size_t before = list ? list->count : 0;
  for (unsigned i = 0; i < call.unknown; ++i) {
    const L3Unknown& seen = call.unknowns[i];
    L3KeptFacts facts = {seen.record,   seen.anchor,    seen.start, seen.iei, seen.ieiBits,
                         kL3KeptBehind, kL3KeptUnknown, 0,          nullptr};
    if (keepBits(call, facts, seen.end)) continue;
    cut(call.pctxt, last, before);
    return false;
  }
  return true;
}

// Takes the entries off the list that `goes` names; the others stay in their order.
template <typename Goes> static void drop(RtxContext* pctxt, L3KeptList& list, Goes goes)
{
  L3Kept *stays = nullptr, *next = list.first;
  list.first = list.last = nullptr;
  list.count = 0;
  while (next) {
    L3Kept* kept = next;
    next = kept->next;
    if (goes(*kept)) {
      unchain(list, *kept);
      rtxMemHeapFreePtr(&pctxt->pMemHeap, kept);
      continue;
    }
    kept->next = nullptr;
    (stays ? stays->next : list.first) = kept;
    list.last = stays = kept;
    ++list.count;
  }
}

// A context can hold several decoded values at a time.
void l3ForgetKept(RtxContext* pctxt, const void* root)
{
  drop(pctxt, *l3KeptOf(pctxt), [root](const L3Kept& kept) { return kept.root == root; });
}

void l3DropUnusual(RtxContext* pctxt)
{
  if (L3KeptList* list = l3KeptOf(pctxt))
    drop(pctxt, *list, [](const L3Kept& kept) { return kept.why == kL3KeptUnusual; });
}

// Addresses are compared as numbers: `from` may be freed by now. An address before `from` gives an offset that wraps
// round to more than `octets`.
void l3MoveKept(RtxContext* pctxt, const L3Kept* before, const void* from, size_t octets, const void* to)
{
  uintptr_t begin = reinterpret_cast<uintptr_t>(from);
  L3KeptList* list = l3KeptOf(pctxt);
  if (!list || from == to) return;
  for (L3Kept* kept = before ? before->next : list->first; kept; kept = kept->next) {
    size_t offset = reinterpret_cast<uintptr_t>(kept->record) - begin;
    if (offset >= octets) continue;
    unchain(*list, *kept);
    kept->record = static_cast<const uint8_t*>(to) + offset;
    enchain(*list, *kept);
  }
}

const L3Kept* l3NextKept(const RtxContext* pctxt, const L3Kept* after, const void* record, const void* anchor,
                         L3KeptAt at)
{
  const L3KeptList& list = *l3KeptOf(pctxt);
  const L3Kept* kept = after ? nextOf(list, *after) : firstOf(list, record);
  while (kept && !(kept->record == record && kept->anchor == anchor && kept->at == at)) kept = nextOf(list, *kept);
  return kept;
}

static bool isAmong(const void* anchor, const L3Run<L3Row>& rows, size_t count)
{
  uintptr_t at = reinterpret_cast<uintptr_t>(anchor), first = reinterpret_cast<uintptr_t>(&rows[0]);
  return at - first < count * sizeof(L3Row);
}

size_t l3CountKept(const RtxContext* pctxt, const L3Type& type, const void* record)
{
  size_t count = 0;
  const L3Message* message = type.message;
  const L3KeptList& list = *l3KeptOf(pctxt);
  for (const L3Kept* kept = firstOf(list, record); kept; kept = nextOf(list, *kept)) {
    if (kept->record != record) continue;
    bool row = isAmong(kept->anchor, type.rows, type.rowCount);
    bool option = message && isAmong(kept->anchor, message->options, message->count);
    count += row || option || kept->anchor == message || kept->anchor == &type;
  }
  return count;
}

// Writes the bits of an entry. At an octet's start whole octets are one write and one entry of the trace.
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
  // The last octet has its bits on top: of A3 C0 with 12 bits, C0 >> 4 is the C to write.
  if (status >= 0 && over)
    status = l3EncBits(call, static_cast<uint64_t>(octets[whole]) >> (8 - over), over, "OCTET STRING");
  return status;
}

// An encoder has filled the octet behind the last part with padding before it comes to what was kept there, which takes
// the place of that padding: from the part on if it began inside an octet (00 03: three bits, then 0s), else from the
// next octet on. The padding's bits are cleared again, since the bits behind a cursor are 0 while an encoder writes.
static void takePlaceOfPadding(L3Call& call, const L3Kept& kept)
{
  RtxBuffer& buffer = call.pctxt->buffer;
  size_t from = call.padded, end = l3BitPos(call.pctxt);
  // Nothing was padded here, or it has been written out to a stream.
  if (from == L3Call::kNotPadded || call.pctxt->pStream || end != call.paddedEnd) return;
  if (kept.bits % 8 == 0) from = (from + 7) / 8 * 8;
  if (from >= end) return;
  l3MoveTo(buffer, from);
  // Keeps the bits above the cursor: with 5 bits left, 1 << 5 less 1 is 1F, the bits to clear.
  buffer.data[from / 8] = static_cast<uint8_t>(buffer.data[from / 8] & ~((1U << buffer.bitOffset) - 1));
  memset(buffer.data + from / 8 + 1, 0, end / 8 - from / 8 - 1);
  call.padded = L3Call::kNotPadded;
}

// Goes to where an entry begins that stood behind everything. What stood there ended with an octet, so the count of its
// bits tells where in an octet it began: 12 bits behind the fourth bit. The bits that an encoder has filled up with 0s
// to the end of its octet are taken back, or written if it has not.
static int goToStart(L3Call& call, const L3Kept& kept)
{
  takePlaceOfPadding(call, kept);
  RtxBuffer& buffer = call.pctxt->buffer;
  unsigned left = static_cast<unsigned>(buffer.bitOffset) % 8, wanted = kept.bits % 8;
  if (left && !wanted) return l3EncBits(call, 0, left, "OCTET STRING");
  bool filled = !left && wanted && buffer.byteIndex && !call.pctxt->pStream;
  if (!filled || buffer.data[buffer.byteIndex - 1] & ((1U << wanted) - 1)) return 0;
  l3MoveTo(buffer, buffer.byteIndex * 8 - wanted);
  return 0;
}

// An entry is written under the name that it had in the trace, so that a failure tells which one did not fit.
int l3PutKept(L3Call& call, const L3Type& type, uint16_t line, const void* record, const void* anchor, L3KeptAt at)
{
  for (const L3Kept* kept = l3FirstKept(call.pctxt, record, anchor, at); kept;
       kept = l3NextKept(call.pctxt, kept, record, anchor, at)) {
    char name[kL3KeptName];
    L3Name frame;
    l3KeptName(*kept, name);
    int status = l3PushName(call, frame, name);
    if (status >= 0 && at == kL3KeptBehind && kept->why == kL3KeptSurplus) status = goToStart(call, *kept);
    if (status >= 0) status = putBits(call, *kept);
    if (status < 0) return l3Fail(call, type.module->encoder, status, line);
    l3PopName(call);
  }
  return 0;
}

// How many octets of padding a value takes that has grown: a block of a broadcast channel has a fixed size. The padding
// stood behind `before` octets of the value, which begins at octet `start`.
static size_t takenOf(const L3Kept& kept, const RtxBuffer& buffer, size_t start)
{
  size_t stood = start + kept.before, count = kept.bits / 8;
  if (buffer.byteIndex <= stood) return 0;
  return buffer.byteIndex - stood < count ? buffer.byteIndex - stood : count;
}

// What stood behind the value is written as it came; only padding is adapted to what the value has become.
int l3PutKeptEnd(L3Call& call, const L3Type& type, const void* value, size_t start)
{
  const L3Kept* kept = l3FirstKept(call.pctxt, value, &type, kL3KeptEnd);
  if (!kept) return 0;
  int status = goToStart(call, *kept);
  if (status >= 0 && kept->why == kL3KeptPadding) {
    size_t taken = takenOf(*kept, call.pctxt->buffer, start);
    status = l3EncOctets(call, kept->octets() + taken, kept->bits / 8 - taken);
  } else if (status >= 0) {
    status = putBits(call, *kept);
  }
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
  static const char* const kWords[] = {"unknown", "repeated", "out of turn", "unreadable",
                                       "surplus", "padding",  "unusual"};
  size_t at = append(name, sizeof name, 0, "%s", kWords[kept.why]);
  if (kept.ieiBits == 8) at = append(name, sizeof name, at, " 0x%02X", kept.iei);
  if (kept.ieiBits && kept.ieiBits != 8) at = append(name, sizeof name, at, " 0x%X", kept.iei);
  const char* element = nullptr;
  if (kept.at == kL3KeptInstead || kept.at == kL3KeptOver) element = static_cast<const L3Row*>(kept.anchor)->name;
  if (kept.at == kL3KeptOverAll) element = "octets";
  if (element) at = append(name, sizeof name, at, " %.80s", element);
  if (kept.why != kL3KeptUnreadable) return at;
  at = append(name, sizeof name, at, ": %d", kept.status);
  return *kept.path ? append(name, sizeof name, at, " at %s", kept.path) : at;
}

// Follows the type to its first row: a length in octets, octets with a length of their own, or a choice all of whose
// alternatives begin with the same length.
unsigned l3LeadingLength(const L3Row& row)
{
  if (row.op == kL3Record || row.op == kL3TextType) {
    if (!row.type->rowCount) return 0;
    return l3LeadingLength(row.type->rows[0]);
  }
  if (row.op == kL3Length) {
    const L3Length& info = *static_cast<const L3Length*>(row.info);
    // Only a plain length tells the end: one that counts from another octet, or with a bias, does not count what
    // follows it.
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

// Writes the names inside the element as paths have them, from the outermost in: "taiList[2].tac", without what marks
// a message ("u.obj_") or an alternative ("u."). Returns the characters written. What has no room is left out.
static size_t joinNames(const L3Name* frame, char* path, size_t room)
{
  // The outermost frame is the probe's own and has no name.
  if (!frame || !frame->outer) return 0;
  size_t at = joinNames(frame->outer, path, room);
  const char* name = frame->name ? frame->name : "";
  // An entry is its index behind the list's name; its own name, "elem", is no part of a path.
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

// Only the first failure is noted: the ones that follow are the same one on its way out.
void l3NoteProbe(L3Call& call, int status)
{
  L3Probe& probe = *call.probe;
  if (probe.status) return;
  probe.status = status;
  probe.path[0] = 0;
  joinNames(call.names, probe.path, sizeof probe.path);
}

// The mode ends the trial of a direct coder; `refused` tells a probe that the failure says nothing about the octets.
int l3RefuseTrial(L3Call& call, int status)
{
  if (call.probe) call.probe->refused = true;
  call.mode = kL3GivenUp;
  return status;
}

namespace {

// What a probe may change, as it was before. The call is put back in any case, the input only if the element is to be
// decoded again or kept.
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

  // The call, and what the context collects beside the value: findings, parameters, names.
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

  // Cursor and flags, and what was kept inside the element.
  void restoreInput() const
  {
    call.argument = argument;
    call.pctxt->buffer = buffer;
    call.pctxt->flags = flags;
    cut(call.pctxt, last, kept);
  }
};

} // namespace

// Runs the ordinary walk as a trial. It has a frame and a region of its own instead of the call's, so that the path
// begins at the element, and so that nothing inside is put on the real stacks.
static int runProbe(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, L3Probe& probe)
{
  L3End end = l3InnermostEnd(call);
  const RtxBuffer& buffer = call.pctxt->buffer;
  // Where no region is open, the end of the buffer takes its place.
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
  // The element would leave a name or region behind, which it can only do outside the probe.
  if (call.keepTypeName) probe.again = true;
  // Something gave up without a status of its own.
  return call.mode == kL3GivenUp && status >= 0 ? RTX_E_GENERAL : status;
}

// Most elements are sound, and a direct coder says so faster than a probe, also where the direct coder of the message
// has given up. It takes an element only if nothing of it is to be kept.
static bool readDirectly(L3Call& call, const L3Row& row, uint8_t* record)
{
  bool free = call.mode == kL3MayTry || call.mode == kL3Walk;
  if (!free || call.traced || call.probe || row.op != kL3Record || row.info) return false;
  const L3Type& type = l3FormOf(*row.type, call.pctxt);
  // What mostly does as the rows say has a direct coder of the rows alone.
  if (!type.decodeDirect || (type.hand && type.hand->plain)) return false;
  L3Mode mode = call.mode;
  call.mode = kL3MayTry;
  bool read = l3DecDirectly(call, type, record + row.offset);
  call.mode = mode;
  return read;
}

// Probes may stand inside each other: a message inside a message has elements of its own. Only the outermost one has
// anything done again, so that the work does not double with each level.
L3Probed l3ProbeMember(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, L3Probe& probe)
{
  probe.again = probe.refused = false;
  probe.status = 0;
  probe.path[0] = 0;
  // The trial around has ended already; it is only returning.
  if (call.mode == kL3GivenUp) return kL3NotTold;
  if (readDirectly(call, row, record)) return kL3Read;
  Before before(call);
  int status = runProbe(call, type, row, record, probe);
  if (status < 0 && !probe.status) probe.status = status;
  // A record that was added is a finding, so the element was not read without a word.
  bool read = status >= 0 && call.pctxt->errInfo.count == before.found;
  before.restoreCall();
  // The outermost probe does it again.
  if (read && before.probe) before.probe->again |= probe.again;
  if (read && (before.probe || !(probe.again || before.traced))) return kL3Read;
  // It is read once more, with the trace on and with its findings, or kept.
  before.restoreInput();
  if (probe.refused && before.probe) l3RefuseTrial(call, probe.status);
  if (!read && probe.status == RTX_E_NO_MEMORY) return kL3NoMemory;
  return read || probe.refused ? kL3NotTold : kL3Unreadable;
}
