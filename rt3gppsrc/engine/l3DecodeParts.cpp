// Lists, choices and message bodies: the parts of a record whose content is decided while decoding.
#include <cstring>

#include "rt3gppsrc/engine/l3Decode.h"
#include "rt3gppsrc/engine/l3Kept.h"
#include "rt3gppsrc/engine/l3Padding.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxDiagBitTrace.h"
#include "velnor3gpp/rtxMemHeap.h"

// A list under decoding: inline entries go to the record, others to one array that grows by doubling.
struct ListWalk {
  const L3Type& type;
  const L3Row& row;
  const L3List& info;
  uint8_t* record;
  uint8_t* entries;
  size_t count;
  size_t capacity;
  uint8_t* spare; // one entry's storage, for those behind an inline array's end
};

static const char* moduleOf(const ListWalk& walk)
{
  return walk.type.module->decoder;
}

// Twice the entries, but not beyond what the standard allows, and beyond that only in proportion to the input: records
// of two thousand octets can stand for five on the wire. What the standard allows takes nothing from other lists. The
// same capacity again: there is no more room. On a stream the octets read so far count as the input.
static size_t nextCapacity(L3Call& call, const ListWalk& walk)
{
  const L3List& info = walk.info;
  size_t capacity = walk.capacity ? walk.capacity * 2 : 2;
  size_t most = info.ranged ? info.hi : 0;
  if (walk.capacity < most && capacity > most) capacity = most;
  if (capacity <= most) return capacity;
  size_t input = l3BitPos(call.pctxt) / 8;
  if (input < call.pctxt->buffer.size) input = call.pctxt->buffer.size;
  call.listOctets += capacity * info.elemSize;
  bool fits = call.listOctets <= kL3ListBase + kL3ListFactor * input;
  return fits ? capacity : walk.capacity;
}

// Room for one more entry. Entries behind an inline array's end are decoded into spare storage and not kept.
static uint8_t* nextEntry(L3Call& call, ListWalk& walk)
{
  const L3List& info = walk.info;
  if (walk.count < walk.capacity) return walk.entries + walk.count * info.elemSize;
  RtxMemHeap** heap = &call.pctxt->pMemHeap;
  if (info.cap) {
    if (!walk.spare) walk.spare = static_cast<uint8_t*>(rtxMemHeapAlloc(heap, info.elemSize));
    return walk.spare;
  }
  size_t capacity = nextCapacity(call, walk);
  if (capacity == walk.capacity) return nullptr;
  void* grown = walk.entries ? rtxMemHeapRealloc(heap, walk.entries, capacity * info.elemSize)
                             : rtxMemHeapAlloc(heap, capacity * info.elemSize);
  if (!grown) return nullptr;
  if (walk.entries) l3MoveKept(call.pctxt, walk.entries, walk.count * info.elemSize, grown);
  walk.entries = static_cast<uint8_t*>(grown);
  walk.capacity = capacity;
  return walk.entries + walk.count * info.elemSize;
}

static int decEntry(L3Call& call, ListWalk& walk)
{
  uint8_t* entry = nextEntry(call, walk);
  if (!entry) return l3Fail(call, moduleOf(walk), RTX_E_NO_MEMORY, walk.row.line);
  const L3Row& elem = walk.info.elem;
  if (elem.op == kL3Record) memset(entry, 0, walk.info.elemSize); // cheaper than a walk, and as good as initialised
  L3Name frame;
  int status = l3PushEntry(call, frame, elem.name, static_cast<uint32_t>(walk.count));
  if (status < 0) return l3Fail(call, moduleOf(walk), status, walk.row.line);
  size_t before = l3BitPos(call.pctxt);
  int running = 0;
  status = l3DecMember(call, walk.type, elem, entry, running);
  if (status >= 0 && running < 0) {
    if (call.probe) l3NoteProbe(call, running); // while the entry's name is there to be told
    status = running;
  }
  if (status < 0) return status;
  if (l3BitPos(call.pctxt) == before && walk.info.end == kL3WhileRoom)
    return l3Fail(call, moduleOf(walk), RTX_E_BAD_LENGTH, walk.row.line); // an entry of nothing would never end
  l3PopEntry(call);
  ++walk.count;
  return 0;
}

// The bit, as it stands ahead, that ends a list of leading bits.
static uint32_t bitThatEnds(const L3Call& call, const L3ListTraits& traits)
{
  return traits.padded ? l3PaddingAhead(call.pctxt, 1) : !traits.before;
}

// The end of the input ends a list of leading bits as a 0 would.
static int decMoreBit(L3Call& call, ListWalk& walk)
{
  for (;;) {
    uint8_t bit = 0;
    if (call.inlined() ? !l3Unread(call.pctxt) : rtxPeekByte(call.pctxt, nullptr) <= 0) return 0;
    uint32_t ends = bitThatEnds(call, l3Traits(walk.info.end));
    int status = l3DecBit(call, "ext bit", bit);
    if (status < 0) return l3Fail(call, moduleOf(walk), status, walk.row.line);
    if (bit == ends) return 0;
    if (status = decEntry(call, walk); status < 0) return status;
  }
}

static int decWhileExt(L3Call& call, ListWalk& walk)
{
  for (uint8_t bit = 0; !bit;) {
    int status = l3DecBit(call, "ext bit", bit);
    if (status < 0) return l3Fail(call, moduleOf(walk), status, walk.row.line);
    if (status = decEntry(call, walk); status < 0) return status;
  }
  return 0;
}

static int decUntilZero(L3Call& call, ListWalk& walk)
{
  while (l3HasRoom(call)) {
    uint32_t ahead = 0;
    l3ToLists(call);
    int status = rtxDecBits(call.pctxt, &ahead, walk.info.zeroBits);
    if (status < 0) return l3Fail(call, moduleOf(walk), status, walk.row.line);
    if (!ahead) return 0;
    rtxMoveBitCursor(call.pctxt, -static_cast<int>(walk.info.zeroBits));
    if (status = decEntry(call, walk); status < 0) return status;
  }
  return 0;
}

static int decEntries(L3Call& call, ListWalk& walk)
{
  const L3List& info = walk.info;
  if (l3Traits(info.end).led) return decMoreBit(call, walk);
  if (info.end == kL3WhileExt) return decWhileExt(call, walk);
  if (info.end == kL3UntilZero) return decUntilZero(call, walk);
  if (info.end == kL3WhileRoom) {
    while (l3HasRoom(call))
      if (int status = decEntry(call, walk); status < 0) return status;
    return 0;
  }
  size_t want = l3CountOf(call, info.times, walk.record);
  for (size_t i = 0; i < want; ++i)
    if (int status = decEntry(call, walk); status < 0) return status;
  return 0;
}

static void storeList(L3Call& call, ListWalk& walk, uint8_t* member)
{
  if (walk.info.cap) {
    member[0] = static_cast<uint8_t>(walk.count);
    return;
  }
  if (walk.count && walk.count < walk.capacity) {
    void* cut = rtxMemHeapRealloc(&call.pctxt->pMemHeap, walk.entries, walk.count * walk.info.elemSize);
    if (cut) l3MoveKept(call.pctxt, walk.entries, walk.count * walk.info.elemSize, cut);
    if (cut) walk.entries = static_cast<uint8_t*>(cut);
  }
  struct {
    uint64_t n;
    uint8_t* elem;
  } value = {walk.count, walk.count ? walk.entries : nullptr};
  memcpy(member, &value, sizeof value);
}

int l3DecList(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int&)
{
  const L3List& info = *static_cast<const L3List*>(row.info);
  uint8_t* member = record + row.offset;
  ListWalk walk{type, row, info, record, nullptr, 0, 0, nullptr};
  if (info.cap) {
    walk.entries = member + info.elemOffset;
    walk.capacity = info.cap;
  }
  int status = decEntries(call, walk);
  if (status < 0) {
    walk.count = walk.count < walk.capacity ? walk.count : walk.capacity;
    storeList(call, walk, member);
    return status;
  }
  storeList(call, walk, member);
  if (info.ranged && (walk.count < info.lo || walk.count > info.hi))
    l3NoteRange(call, type.module->decoder, row.line, walk.count);
  return 0;
}

static int readSelector(L3Call& call, const L3Type& type, const L3Row& row, const L3Choice& choice,
                        const uint8_t* record, uint32_t& value)
{
  if (choice.from == kL3SelectFields) {
    value = l3JoinFields(choice.fields, choice.fieldCount, record);
    return 0;
  }
  uint32_t word = 0;
  int status;
  if (choice.from == kL3SelectCode) {
    status = l3DecCode(call, choice, value);
  } else if (choice.from == kL3SelectBits) {
    status = l3DecBits(call, reinterpret_cast<uint8_t*>(&word), choice.bits, 4, "choice selector");
    value = word;
  } else {
    uint64_t ahead = 0;
    bool seen = call.inlined() && l3SeeBits(call.pctxt->buffer, choice.bits, ahead);
    if (!seen) l3ToLists(call);
    status = seen ? 0 : rtxPeekBits(call.pctxt, &word, choice.bits);
    if (seen) word = static_cast<uint32_t>(ahead);
    value = word & choice.mask;
  }
  return status < 0 ? l3Fail(call, type.module->decoder, status, row.line) : 0;
}

// The alternative that the selector tells, under its name; null with the failure reported.
static const L3Alternative* decAlternative(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record,
                                           L3Name& frame, int& status)
{
  const L3Choice& choice = *static_cast<const L3Choice*>(row.info);
  uint32_t value = 0;
  status = readSelector(call, type, row, choice, record, value);
  if (status < 0) return nullptr;
  const L3Alternative* alternative = l3FindBySelector(choice, value);
  status = alternative ? l3PushName(call, frame, alternative->row.name) : RTX_E_INVALID_CHOICE;
  if (status >= 0) return alternative;
  status = l3Fail(call, type.module->decoder, status, row.line);
  return nullptr;
}

int l3DecChoice(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int& running)
{
  const L3Choice& choice = *static_cast<const L3Choice*>(row.info);
  L3Name frame;
  int status = 0;
  const L3Alternative* alternative = decAlternative(call, type, row, record, frame, status);
  if (!alternative) {
    l3InitMember(row, record);
    return status;
  }
  if (choice.tagged) l3Store(record + row.offset, 4, alternative->tag);
  if (alternative->row.op == kL3Record) memset(record + alternative->row.offset, 0, alternative->row.type->size);
  status = l3DecMember(call, type, alternative->row, record, running);
  if (status < 0) return status;
  l3PopName(call);
  return 0;
}

// The row of the message table, or null with the status that tells why.
static const L3BodyRow* findBody(L3Call& call, const L3Type& type, const L3Row& row, const uint8_t* record, int& status)
{
  const L3Body& body = *static_cast<const L3Body*>(row.info);
  uint64_t discriminator =
      body.discriminator.store ? l3Load(record + body.discriminator.offset, body.discriminator.store) : 0;
  uint64_t msgType = l3Load(record + body.msgType.offset, body.msgType.store);
  bool known =
      body.onlyDiscriminator == kL3NoLimit ? !body.discriminator.store : discriminator == body.onlyDiscriminator;
  bool column = body.discriminator.store && body.onlyDiscriminator == kL3NoLimit;
  for (unsigned position = body.byType && msgType < 256 ? body.byType[msgType] : 0; position;) {
    const L3BodyRow& found = body.rows[position - 1];
    if (column ? found.discriminator == discriminator : known) return &found;
    position = found.next;
  }
  for (unsigned i = 0; i < body.count; ++i) {
    bool same = column ? body.rows[i].discriminator == discriminator : known;
    known = known || same;
    if (same && body.rows[i].msgType == msgType) return &body.rows[i];
  }
  if (call.pctxt->flags & RTX_FLAG_STANDARD_FORMS && msgType)
    for (unsigned i = 0; i < body.count; ++i)
      if (body.rows[i].standardType == msgType && (!column || body.rows[i].discriminator == discriminator))
        return &body.rows[i];
  l3ToLists(call);
  status = RTX_E_INVALID_CHOICE;
  if (known) status = rtxErrInvUIntOpt(call.pctxt, static_cast<uint32_t>(msgType));
  status = rtxErrSetNewData(call.pctxt, status, type.module->decoder, row.line);
  return nullptr;
}

// The outermost message answers for all that has been found so far, one inside another for its own findings.
static int decMessage(L3Call& call, const L3Type& type, void* message)
{
  bool inBody = call.inBody;
  size_t earlier = call.earlier;
  if (inBody) call.earlier = call.pctxt->errInfo.count;
  call.inBody = true;
  int status = l3DecType(call, type, message);
  call.inBody = inBody;
  call.earlier = earlier;
  return status;
}

int l3DecBody(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record)
{
  const L3Body& body = *static_cast<const L3Body*>(row.info);
  int status = 0;
  const L3BodyRow* found = findBody(call, type, row, record, status);
  if (found) l3Store(record + row.offset, 4, found->tag);
  if (found && !found->type) return 0;
  void* message = record + body.pointerOffset;
  if (!found || !found->inlined) {
    message = found ? rtxMemHeapAlloc(&call.pctxt->pMemHeap, found->type->size) : nullptr;
    memcpy(record + body.pointerOffset, &message, sizeof message); // also null: an earlier pointer leads nowhere
    if (!found) return status;
    if (!message) return l3Fail(call, type.module->decoder, RTX_E_NO_MEMORY, row.line);
    memset(message, 0, found->type->size);
  }
  L3Name frame;
  status = l3PushName(call, frame, found->elemName);
  if (status < 0) return l3Fail(call, type.module->decoder, status, row.line);
  status = decMessage(call, *found->type, message);
  if (status < 0) return l3Fail(call, type.module->decoder, status, row.line);
  l3PopName(call);
  return 0;
}
