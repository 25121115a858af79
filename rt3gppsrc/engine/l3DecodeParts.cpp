// Lists, choices and message bodies: the parts of a record whose content is decided while decoding. The walk
// (l3DecMember) calls them for rows of these kinds, and each of them calls the walk again for what it has inside.
#include <cstring>

#include "rt3gppsrc/engine/l3Decode.h"
#include "rt3gppsrc/engine/l3Kept.h"
#include "rt3gppsrc/engine/l3Padding.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxDiagBitTrace.h"
#include "velnor3gpp/rtxMemHeap.h"

// A list under decoding. Inline entries go straight into the record; others into one heap array that grows by doubling.
struct ListWalk {
  const L3Type& type;
  const L3Row& row;
  const L3List& info;
  uint8_t* record;
  // Where the entries stand: inline, or the heap array, or null as long as there is none.
  uint8_t* entries;
  // Entries read, also those that had no place.
  size_t count;
  // Entries that have room there.
  size_t capacity;
  // Storage of one entry, for those beyond an inline array's end. They are read, so that what follows can be read, and
  // lost.
  uint8_t* spare;
  // The last element that was kept before the list, or null; those of its entries stand behind it.
  const L3Kept* keptBefore;
};

static const char* moduleOf(const ListWalk& walk)
{
  return walk.type.module->decoder;
}

// The capacity to grow to: twice the entries, but not beyond what the standard allows. Beyond that a list grows only in
// proportion to the input, since an entry can take two thousand octets of memory for five on the wire. What the
// standard allows takes nothing from other lists (L3Call.listOctets). The same capacity again says: there is no more
// room.
static size_t nextCapacity(L3Call& call, const ListWalk& walk)
{
  const L3List& info = walk.info;
  size_t capacity = walk.capacity ? walk.capacity * 2 : 2;
  size_t most = info.ranged ? info.hi : 0;
  if (walk.capacity < most && capacity > most) capacity = most;
  if (capacity <= most) return capacity;
  // On a stream the buffer holds only a part; the octets read so far count as the input.
  size_t input = l3BitPos(call.pctxt) / 8;
  if (input < call.pctxt->buffer.size) input = call.pctxt->buffer.size;
  call.listOctets += capacity * info.elemSize;
  bool fits = call.listOctets <= kL3ListBase + kL3ListFactor * input;
  return fits ? capacity : walk.capacity;
}

// Storage for one more entry, or null if there is no memory for it.
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
  // Kept elements are found by the address of their entry, which has moved.
  if (walk.entries) l3MoveKept(call.pctxt, walk.keptBefore, walk.entries, walk.count * info.elemSize, grown);
  walk.entries = static_cast<uint8_t*>(grown);
  walk.capacity = capacity;
  return walk.entries + walk.count * info.elemSize;
}

// Decodes one entry under its name, "elem[3]".
static int decEntry(L3Call& call, ListWalk& walk)
{
  uint8_t* entry = nextEntry(call, walk);
  if (!entry) return l3Fail(call, moduleOf(walk), RTX_E_NO_MEMORY, walk.row.line);
  const L3Row& elem = walk.info.elem;
  // Cheaper than an initialising walk, and as good: presence, counts and pointers of all kinds are 0.
  if (elem.op == kL3Record) memset(entry, 0, walk.info.elemSize);
  L3Name frame;
  int status = l3PushEntry(call, frame, elem.name, static_cast<uint32_t>(walk.count));
  if (status < 0) return l3Fail(call, moduleOf(walk), status, walk.row.line);
  size_t before = l3BitPos(call.pctxt);
  int running = 0;
  status = l3DecMember(call, walk.type, elem, entry, running);
  // A string cut short ends the list. A probe is told at once, while the entry's name is there.
  if (status >= 0 && running < 0) {
    if (call.probe) l3NoteProbe(call, running); // while the entry's name is there to be told
    status = running;
  }
  if (status < 0) return status;
  // An entry that has taken no bits leaves the region as full as it was: such a list would never end.
  if (l3BitPos(call.pctxt) == before && walk.info.end == kL3WhileRoom)
    return l3Fail(call, moduleOf(walk), RTX_E_BAD_LENGTH, walk.row.line); // an entry of nothing would never end
  l3PopEntry(call);
  ++walk.count;
  return 0;
}

// The bit that ends a list of leading bits: L, which is the padding's bit at this place, or the other one than leads.
static uint32_t bitThatEnds(const L3Call& call, const L3ListTraits& traits)
{
  return traits.padded ? l3PaddingAhead(call.pctxt, 1) : !traits.before;
}

// A list whose entries are led by a bit each: 1 A 1 B 0. The end of the input ends it as the last bit would.
static int decMoreBit(L3Call& call, ListWalk& walk)
{
  for (;;) {
    uint8_t bit = 0;
    if (call.inlined() ? !l3Unread(call.pctxt) : rtxPeekByte(call.pctxt, nullptr) <= 0) {
      call.doubtful = true; // an encoder writes the last bit all the same
      return 0;
    }
    uint32_t ends = bitThatEnds(call, l3Traits(walk.info.end));
    int status = l3DecBit(call, "ext bit", bit);
    if (status < 0) return l3Fail(call, moduleOf(walk), status, walk.row.line);
    if (bit == ends) return 0;
    if (status = decEntry(call, walk); status < 0) return status;
  }
}

// A list whose entries are led by extension bits: 0 A 1 B. It has one entry at least.
static int decWhileExt(L3Call& call, ListWalk& walk)
{
  for (uint8_t bit = 0; !bit;) {
    int status = l3DecBit(call, "ext bit", bit);
    if (status < 0) return l3Fail(call, moduleOf(walk), status, walk.row.line);
    if (status = decEntry(call, walk); status < 0) return status;
  }
  return 0;
}

// A list that ends where the next bits are 0. They are read ahead by the public functions and, if they are not 0, read
// again as part of the entry.
static int decUntilZero(L3Call& call, ListWalk& walk)
{
  while (l3HasRoom(call)) {
    uint32_t ahead = 0;
    l3ToLists(call);
    bool whole = l3BitPos(call.pctxt) % 8 == 0;
    int status = rtxDecBits(call.pctxt, &ahead, walk.info.zeroBits);
    if (status < 0) return l3Fail(call, moduleOf(walk), status, walk.row.line);
    if (!ahead && whole) call.doubtful = true; // an encoder writes the end inside an octet alone
    if (!ahead) return 0;
    rtxMoveBitCursor(call.pctxt, -static_cast<int>(walk.info.zeroBits));
    if (status = decEntry(call, walk); status < 0) return status;
  }
  return 0;
}

// Reads the entries up to whatever ends the list.
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

// Encoders count entries in 8 bits.
static constexpr size_t kMostEncoded = 255;

// Puts the list into its member. A heap array is cut to its entries: what doubling took too much goes back to the heap.
static void storeList(L3Call& call, ListWalk& walk, uint8_t* member)
{
  // `n` counts the entries that came, in 8 bits. It may be more than the array holds, so printers and encoders compare
  // it with the array's size.
  if (walk.count > (walk.info.cap ? walk.info.cap : kMostEncoded)) call.doubtful = true;
  if (walk.info.cap) {
    member[0] = static_cast<uint8_t>(walk.count);
    return;
  }
  if (walk.count && walk.count < walk.capacity) {
    void* cut = rtxMemHeapRealloc(&call.pctxt->pMemHeap, walk.entries, walk.count * walk.info.elemSize);
    if (cut) l3MoveKept(call.pctxt, walk.keptBefore, walk.entries, walk.count * walk.info.elemSize, cut);
    if (cut) walk.entries = static_cast<uint8_t*>(cut);
  }
  struct {
    uint64_t n;
    uint8_t* elem;
  } value = {walk.count, walk.count ? walk.entries : nullptr};
  memcpy(member, &value, sizeof value);
}

// A failing list keeps the entries that were read whole, so that a caller can print them.
int l3DecList(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int&)
{
  const L3List& info = *static_cast<const L3List*>(row.info);
  uint8_t* member = record + row.offset;
  ListWalk walk{type, row, info, record, nullptr, 0, 0, nullptr, l3LastKept(call.pctxt)};
  if (info.cap) {
    walk.entries = member + info.elemOffset;
    walk.capacity = info.cap;
  }
  int status = decEntries(call, walk);
  if (status < 0) {
    // Entries that had no place are not in the record.
    walk.count = walk.count < walk.capacity ? walk.count : walk.capacity;
    storeList(call, walk, member);
    return status;
  }
  storeList(call, walk, member);
  // Too many or too few entries are remarked, not refused.
  if (info.ranged && (walk.count < info.lo || walk.count > info.hi))
    l3NoteRange(call, type.module->decoder, row.line, walk.count);
  return 0;
}

// Reads the number that chooses the alternative.
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
    // The next bits belong to the alternative, so the cursor stays.
    uint64_t ahead = 0;
    bool seen = call.inlined() && l3SeeBits(call.pctxt->buffer, choice.bits, ahead);
    if (!seen) l3ToLists(call);
    status = seen ? 0 : rtxPeekBits(call.pctxt, &word, choice.bits);
    if (seen) word = static_cast<uint32_t>(ahead);
    value = word & choice.mask;
  }
  return status < 0 ? l3Fail(call, type.module->decoder, status, row.line) : 0;
}

// The alternative that the selector tells, with its name pushed; null with the failure reported (-9 if no alternative
// has the selector).
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

// Decodes a choice. `t` tells the alternative in the record; the union is cleared for a record, so that its presence
// bits and pointers do not come from an earlier alternative.
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

// The row of the message, by the header fields of the record; null with the status that tells why: -9, with the message
// type as parameter if the discriminator is one that the form knows.
static const L3BodyRow* findBody(L3Call& call, const L3Type& type, const L3Row& row, const uint8_t* record, int& status)
{
  const L3Body& body = *static_cast<const L3Body*>(row.info);
  uint64_t discriminator =
      body.discriminator.store ? l3Load(record + body.discriminator.offset, body.discriminator.store) : 0;
  uint64_t msgType = l3Load(record + body.msgType.offset, body.msgType.store);
  bool known =
      body.onlyDiscriminator == kL3NoLimit ? !body.discriminator.store : discriminator == body.onlyDiscriminator;
  bool column = body.discriminator.store && body.onlyDiscriminator == kL3NoLimit;
  // The table leads to the first row with the message type; others with it, under other discriminators, are chained.
  for (unsigned position = body.byType && msgType < 256 ? body.byType[msgType] : 0; position;) {
    const L3BodyRow& found = body.rows[position - 1];
    if (column ? found.discriminator == discriminator : known) return &found;
    position = found.next;
  }
  // Message types above 255 and forms without the table.
  for (unsigned i = 0; i < body.count; ++i) {
    bool same = column ? body.rows[i].discriminator == discriminator : known;
    known = known || same;
    if (same && body.rows[i].msgType == msgType) return &body.rows[i];
  }
  // Some messages have another type in the standard than callers know (paging response, TS 44.018, 10.4).
  if (call.pctxt->flags & RTX_FLAG_STANDARD_FORMS && msgType)
    for (unsigned i = 0; i < body.count; ++i)
      if (body.rows[i].standardType == msgType && (!column || body.rows[i].discriminator == discriminator))
        return &body.rows[i];
  // The error record shows the element path.
  l3ToLists(call);
  status = RTX_E_INVALID_CHOICE;
  if (known) status = rtxErrInvUIntOpt(call.pctxt, static_cast<uint32_t>(msgType));
  status = rtxErrSetNewData(call.pctxt, status, type.module->decoder, row.line);
  return nullptr;
}

// Decodes the message. The outermost one answers for all that has been found so far, such as a wrong code found before
// it; one inside another answers for its own findings only (L3Call.earlier).
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

// Decodes the message that the header announces, into `u` itself or into storage of its own on the context's heap.
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
    // Also if it is null: a pointer that an earlier use has left must not lead anywhere.
    memcpy(record + body.pointerOffset, &message, sizeof message);
    if (!found) return status;
    if (!message) return l3Fail(call, type.module->decoder, RTX_E_NO_MEMORY, row.line);
    // The message's decoder writes only what is there.
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
