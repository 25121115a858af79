// The non-imperative part of a message: optional elements, found by their identifiers (TS 24.007, 11.2.4). The walk
// over the rows calls l3DecOptions behind the last mandatory element. The order of the message's table is strict: an
// element is decoded only if it stands behind the one decoded last. One that comes too late or again has lost its turn
// and is passed over by its form alone (TS 24.008, 8.6.2 and 8.6.3).
//
// A second loop does the same for a caller who wants back what could not be read (RTX_FLAG_KEEP_ELEMENTS): it looks
// ahead for where an element ends, and keeps what it cannot read (l3Kept.h). Without the flag no element costs more for
// it.
#include "rt3gppsrc/engine/l3Decode.h"
#include "rt3gppsrc/engine/l3Direct.h"
#include "rt3gppsrc/engine/l3Kept.h"
#include "rt3gppsrc/engine/l3Padding.h"
#include "velnor3gpp/rtx3GPP.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxDiagBitTrace.h"

// The walk over the optional elements of one message.
struct TailWalk {
  const L3Type& type;
  const L3Message& message;
  uint8_t* record;
  // Position of the last element taken, or kept because it could not be read; 0 at first.
  unsigned order;
  // Identifier of the turn before. An unknown element that asks for comprehension is remarked once if it comes twice
  // running.
  uint8_t previous;
  // The codeset of the last locking shift, 0 at first. In another codeset every element is unknown.
  uint8_t locked;
  // What stands in the record of all that came before: the row of the last element, or the message. Kept elements are
  // put back behind it.
  const void* behind = nullptr;
  // Where the message ends.
  L3End end = {};
};

// Reads an identifier. Of an octet whose upper half is one of the message's half-octet identifiers, only that half is
// taken: B3 in a message with an element 0xB- gives 0xB, and the cursor stands before the 3, which is the value.
static int readIei(L3Call& call, const TailWalk& walk, uint8_t& iei, bool& half)
{
  RtxBuffer& buffer = call.pctxt->buffer;
  int status = l3DecBits(call, &iei, 8, 1, "IEI");
  if (status < 0) return status;
  half = walk.message.halves >> (iei >> 4) & 1;
  if (!half) return 0;
  // Back to the octet's start and over its upper half. The trace has an entry of 8 bits already; its end is set anew.
  --buffer.byteIndex;
  iei = static_cast<uint8_t>(iei >> 4);
  l3PassBits(buffer, 4);
  if (call.pctxt->pBitFldList) rtxDiagSetBitFldCount(call.pctxt->pBitFldList);
  return 0;
}

// The element at a position is there, and the extension group with it, if it belongs to one. Its turn is over.
static void take(TailWalk& walk, const L3Row& row, unsigned position)
{
  l3SetBit(walk.record, row.mBit);
  if (row.groupBit != kL3NoBit) l3SetBit(walk.record, row.groupBit);
  walk.order = position;
}

// Decodes an element whose turn it is.
static int decOption(L3Call& call, TailWalk& walk, unsigned position)
{
  const L3Row& row = walk.message.options[position - 1];
  const char* module = walk.type.module->decoder;
  L3Name frame;
  int running = 0;
  int status = l3PushRow(call, module, row, frame);
  if (status < 0) return status;
  status = l3DecMember(call, walk.type, row, walk.record, running);
  // A string that could not be read whole lets a record go on; an optional element ends the message with it.
  if (status >= 0 && running < 0) status = l3Fail(call, module, running, row.line);
  if (status < 0) return status;
  take(walk, row, position);
  l3PopName(call);
  return 0;
}

// Passes over whole octets. What is not all there is left to the public function, which reports -2.
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

// Passes over a value by the length octet in front of it.
static int skipByLength(L3Call& call, const TailWalk& walk)
{
  uint8_t length = 0;
  int status = l3DecBits(call, &length, 8, 1, "INTEGER");
  if (status < 0) return l3Fail(call, walk.type.module->decoder, status, walk.type.line);
  return skipOctets(call, walk, length);
}

// Passes over a known element that has lost its turn: by its length octet or by its fixed size. For other forms nothing
// is read, as callers know it: the value of a TLV-E is then taken for identifiers, and behind a half-octet element the
// next identifier is read from the middle of the octet.
static int skipKnown(L3Call& call, const TailWalk& walk, const L3Iei& entry)
{
  if (l3Keeps(call) && l3KeepsNothing(call)) return l3RefuseTrial(call, RTX_E_GENERAL);
  if (entry.skip == kL3SkipLength) return skipByLength(call, walk);
  return entry.skip == kL3SkipFixed ? skipOctets(call, walk, entry.skipOctets) : 0;
}

// A region may end behind the buffer, by a length that promises too much, so the nearer of the two ends counts.
size_t l3BitsBefore(const L3Call& call, const L3End& end)
{
  const RtxBuffer& buffer = call.pctxt->buffer;
  size_t all = buffer.size * 8, at = l3BitPos(call.pctxt);
  // A region's end is kept as octet and bits left in it: octet 4 with 8 bits left is bit 32, with 3 left bit 37.
  size_t stop = end.region ? end.octet * 8 + 8 - end.bitOffset : all;
  if (stop > all) stop = all;
  return at < stop ? stop - at : 0;
}

bool l3SeeLength(const L3Call& call, unsigned bits, size_t left, size_t& octets)
{
  uint64_t length = 0;
  if (bits > left || !l3SeeBits(call.pctxt->buffer, bits, length)) return false;
  // 02 0A 0B: a length octet of 2 makes an element of 3 octets.
  octets = static_cast<size_t>(length) + bits / 8;
  return octets <= left / 8;
}

// The bits of an unknown element from behind its identifier on; false if its end cannot be told. An identifier from 80
// on is an element of one octet; from 78 to 7F an element of EPS and 5GS has a length of two octets where that fits
// into what is left (7A 00 03 01 02 03); all others have a length of one octet (TS 24.007, 11.2.4).
static bool unknownBits(const L3Call& call, const L3Message& message, uint8_t iei, bool half, size_t left, size_t& bits)
{
  size_t octets = 0;
  bits = half ? 4 : 0;
  if (half || iei & 0x80) return bits <= left;
  bool wide = message.wide && iei >= 0x78 && l3SeeLength(call, 16, left, octets);
  if (!wide && !l3SeeLength(call, 8, left, octets)) return false;
  bits = octets * 8;
  return true;
}

// Passes over an unknown element. One whose identifier ends in 0 asks for comprehension: the message is read to its
// end, but fails with -67. `active` is the codeset in which the element stands.
static int decUnknown(L3Call& call, TailWalk& walk, uint8_t iei, bool half, uint8_t active)
{
  if (l3Keeps(call) && l3KeepsNothing(call)) return l3RefuseTrial(call, RTX_E_GENERAL);
  if (half || (iei & 0x80)) return 0;
  size_t bits = 0;
  bool standard = call.pctxt->flags & RTX_FLAG_STANDARD_FORMS;
  bool framed = standard && unknownBits(call, walk.message, iei, half, l3BitsBefore(call, walk.end), bits);
  if (int status = framed ? skipOctets(call, walk, bits / 8) : skipByLength(call, walk); status < 0) return status;
  // The low half decides, as in 10, 20 or 70; the half that the general rule asks about is the high one
  // (rtx3GPPDecL3NonImperative). Setup asks in codeset 0 alone (shifts == 2): networks may send it elements of their
  // own.
  bool required = !(iei & 0x0F) && !(active && walk.message.shifts == 2);
  if (!required || iei == walk.previous) return 0;
  // If there are too many findings already, this one is left out; but a message fails by it, so it is recorded if
  // nothing else has made the message fail.
  if (!l3MayNote(call) && rtxErrGetStatus(call.pctxt) < 0) return 0;
  rtxErrAddIntParm(call.pctxt, iei);
  l3Note(call, walk.type.module->decoder, RTX_E_UNKNOWN_IE, walk.type.line);
  return 0;
}

// The position of an identifier in the message's table, 0 if it is unknown. Several elements may share one
// (`!iei-again`: two bearer capabilities in a Setup): the first whose turn has not passed, or the last one when all
// turns have passed.
static unsigned findPosition(const TailWalk& walk, uint8_t iei)
{
  unsigned position = walk.message.byValue[iei];
  while (position && position <= walk.order && walk.message.ieis[position - 1].nextSame)
    position = walk.message.ieis[position - 1].nextSame;
  return position;
}

// One element: a shift, an unknown one, one whose turn it is, or one that has lost its turn.
static int decTurn(L3Call& call, TailWalk& walk, uint8_t iei, bool half)
{
  uint8_t active = walk.locked;
  if (walk.message.shifts && !half && (iei >> 4) == 9) {
    // A locking shift, 90 to 97, with the new codeset in its low bits; it can only go up (TS 24.008, 10.5.4.2). A
    // non-locking shift, 98 to 9F, would hold for the next element; this loop passes over it without effect, as callers
    // know it.
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

// Passes over whatever follows the last mandatory element, by the general rule. The public function reads the real
// stacks.
int l3SkipTail(L3Call& call, const L3Type& type, bool shifts, uint16_t line)
{
  if (!l3HasRoom(call)) return 0;
  if (l3Keeps(call) && l3KeepsNothing(call)) return l3RefuseTrial(call, RTX_E_GENERAL);
  l3ToLists(call);
  int status = rtx3GPPDecL3NonImperative(call.pctxt, shifts);
  return status < 0 ? l3Fail(call, type.module->decoder, status, line) : 0;
}

// The status of the records that this message has added. A finding from before it, such as a wrong code of the message
// around it, is not its own: if it were returned here, the outer message would end before its remaining elements.
static int ownStatus(const L3Call& call)
{
  const RtxDList& records = call.pctxt->errInfo;
  const RtxDListNode* node = records.head;
  for (size_t i = 0; i < call.earlier && node; ++i) node = node->next;
  for (; node; node = node->next)
    if (static_cast<const RtxErrInfo*>(node->data)->fatal) return rtxErrGetStatus(call.pctxt);
  return 0;
}

// An element that chooses among the alternatives of another one can be missing. Its member is then made 0, which
// chooses none here; otherwise the choice would go by whatever the record held before (element 7B of a registration
// request without a container type).
static void clearSelecting(const L3Message& message, uint8_t* record)
{
  for (unsigned i = 0; i < message.selectingCount; ++i)
    l3Store(record + message.selecting[i].offset, message.selecting[i].store, 0);
}

// The bits of a known element from behind its identifier on, found by looking ahead alone. False if its form does not
// tell (a type without length or fixed size), or if the bits are not all there.
static bool knownBits(const L3Call& call, const TailWalk& walk, unsigned position, size_t left, size_t& bits)
{
  const L3Row& row = walk.message.options[position - 1];
  const L3Iei& entry = walk.message.ieis[position - 1];
  unsigned length = entry.skip == kL3SkipLength ? 8 : l3LeadingLength(row);
  size_t octets = 0;
  if (entry.half) {
    bits = 4;
  } else if (length) {
    if (!l3SeeLength(call, length, left, octets)) return false;
    bits = octets * 8;
  } else {
    if (entry.skip != kL3SkipFixed && row.op != kL3Nothing) return false;
    bits = entry.skipOctets * 8U;
  }
  return bits <= left;
}

// Keeps an element from `facts.position` to `bits` behind the cursor, at its place behind what the record has.
static int keepElement(L3Call& call, const TailWalk& walk, const L3KeptFacts& facts, size_t bits)
{
  L3KeptFacts all = facts;
  all.record = walk.record;
  all.anchor = walk.behind;
  all.at = kL3KeptBehind;
  return l3Keep(call, walk.type, walk.type.line, all, l3BitPos(call.pctxt) + bits);
}

// What is known of an element by its identifier. Octets from 80 on are elements of one octet: the identifier is taken
// to be their upper half (9A is "0x9"), except that a known one has its identifier set by the caller.
static L3KeptFacts factsOf(size_t start, uint8_t iei, bool half, L3KeptWhy why)
{
  bool short1 = half || iei & 0x80;
  return {nullptr,
          nullptr,
          start,
          static_cast<uint8_t>(short1 && !half ? iei >> 4 : iei),
          static_cast<uint8_t>(short1 ? 4 : 8),
          kL3KeptBehind,
          why,
          0,
          nullptr};
}

// An element whose turn it is, where elements are kept. It is probed first: if it is sound, it is done; if it can
// neither be read nor be kept (its end cannot be told), the ordinary way reports what is wrong. One that cannot be read
// has had its turn all the same, so that a second one of its kind is not taken for it.
static int takeOrKeep(L3Call& call, TailWalk& walk, unsigned position, size_t start, uint8_t iei)
{
  const L3Row& row = walk.message.options[position - 1];
  size_t bits = 0, content = l3BitPos(call.pctxt);
  L3Doubt doubt(call);
  L3Probe probe;
  L3Probed probed = kL3NotTold;
  if (knownBits(call, walk, position, l3BitsBefore(call, walk.end), bits))
    probed = l3ProbeMember(call, walk.type, row, walk.record, probe);
  if (probed == kL3NoMemory) return l3Fail(call, walk.type.module->decoder, RTX_E_NO_MEMORY, row.line);
  if (probed == kL3Unreadable) {
    bool half = walk.message.ieis[position - 1].half;
    // The probe has left parts of the element in the record; pointers and counts among them must not be followed.
    l3InitMember(row, walk.record);
    call.doubtful = false;
    walk.order = position;
    L3KeptFacts facts = factsOf(start, iei, half, kL3KeptUnreadable);
    if (!half) {
      facts.iei = iei;
      facts.ieiBits = 8;
    }
    facts.status = probe.status;
    facts.path = probe.path;
    return keepElement(call, walk, facts, bits);
  }
  walk.behind = &row;
  int status = 0;
  if (probed == kL3NotTold)
    status = decOption(call, walk, position);
  else
    take(walk, row, position);
  if (status < 0 || !call.doubtful) return status;
  return l3KeepUnusual(call, walk.type, row, walk.record, content);
}

// Keeps an unknown element. If it asks for comprehension, that is remarked, but does not fail the message: the caller
// gets it back and can judge.
static int keepUnknown(L3Call& call, TailWalk& walk, size_t start, uint8_t iei, bool half, uint8_t active, size_t bits)
{
  int status = keepElement(call, walk, factsOf(start, iei, half, kL3KeptUnknown), bits);
  if (status < 0 || half || iei & 0xF0 || (active && walk.message.shifts == 2) || iei == walk.previous) return status;
  if (!l3MayNote(call)) return 0;
  size_t before = call.pctxt->errInfo.count;
  rtxErrAddIntParm(call.pctxt, iei);
  l3Note(call, walk.type.module->decoder, RTX_E_UNKNOWN_IE, walk.type.line);
  // As in l3NoteRange: only a new record may be marked.
  if (call.pctxt->errInfo.count > before) rtxErrSetNonFatal(call.pctxt);
  return 0;
}

// As keepUnknown, which remarks what asks for comprehension. The direct coder is that of the library's form; the
// standard's form has other rows to stand behind.
size_t l3NoteUnknown(L3Call& call, const L3Type& type, const void* record, unsigned order, size_t pos, size_t end,
                     uint8_t iei)
{
  const L3Message& message = *type.message;
  size_t bits = 0;
  l3MoveTo(call.pctxt->buffer, pos);
  if (call.unknown == L3Call::kMaxUnknown || !(iei & 0xF0) || &l3FormOf(type, call.pctxt) != &type) return kL3GaveUp;
  if (!unknownBits(call, message, iei, false, end - pos, bits)) return kL3GaveUp;
  L3KeptFacts facts = factsOf(pos - 8, iei, false, kL3KeptUnknown);
  const void* behind = &message;
  if (order) behind = &message.options[order - 1];
  call.unknowns[call.unknown++] = {record, behind, facts.position, pos + bits, facts.iei, facts.ieiBits};
  return pos + bits;
}

// decTurn where elements are kept. Shifts are kept too, as unknown elements, so that an encoder puts them back. What
// cannot be framed goes the ordinary way.
static int decTurnKeeping(L3Call& call, TailWalk& walk, size_t start, uint8_t iei, bool half)
{
  uint8_t active = walk.locked;
  bool shift = walk.message.shifts && !half && (iei >> 4) == 9;
  if (shift && !(iei & 8) && (iei & 7) > walk.locked) walk.locked = iei & 7;
  unsigned position = active || shift || !walk.message.byValue ? 0 : findPosition(walk, iei);
  // The table finds a whole octet 0D for the half octet 0xD-. Here that is an unknown element.
  if (position && walk.message.ieis[position - 1].half != half) position = 0;
  size_t bits = 0, left = l3BitsBefore(call, walk.end);
  if (position > walk.order) return takeOrKeep(call, walk, position, start, iei);
  bool framed =
      position ? knownBits(call, walk, position, left, bits) : unknownBits(call, walk.message, iei, half, left, bits);
  if (!framed && position) {
    const L3Iei& entry = walk.message.ieis[position - 1];
    if (entry.skip == kL3SkipLength || entry.skip == kL3SkipFixed) return skipKnown(call, walk, entry);
    bits = 0; // nothing is passed over (skipKnown), so that the identifier alone is kept
  }
  if (!framed && !position) {
    call.doubtful = true; // it leads behind the message: octets that are there are passed over
    return decUnknown(call, walk, iei, half, active);
  }
  if (!position) return keepUnknown(call, walk, start, iei, half, active, bits);
  L3KeptFacts facts = factsOf(start, iei, half, kL3KeptOutOfTurn);
  if (!half) facts.iei = iei, facts.ieiBits = 8;
  // It came before, or it came too late: two words for what is kept.
  if (l3HasBit(walk.record, walk.message.options[position - 1].mBit)) facts.why = kL3KeptRepeated;
  return keepElement(call, walk, facts, bits);
}

// The loop of l3DecOptions where elements are kept.
static int decAllKeeping(L3Call& call, TailWalk& walk)
{
  while (l3HasRoomBefore(call, walk.end)) {
    uint8_t iei = 0;
    bool half = false;
    size_t start = l3BitPos(call.pctxt);
    int status = readIei(call, walk, iei, half);
    if (status == RTX_E_END_OF_BUFFER) break;
    if (status < 0) return l3Fail(call, walk.type.module->decoder, status, walk.type.line);
    if (status = decTurnKeeping(call, walk, start, iei, half); status < 0) return status;
    walk.previous = iei;
  }
  return call.pctxt->errInfo.count > call.earlier ? l3Ended(call, ownStatus(call)) : 0;
}

int l3KeepRest(L3Call& call, const L3Type& type, const void* record, const void* anchor, L3KeptAt at, const L3End& end)
{
  size_t left = l3BitsBefore(call, end);
  const RtxBuffer& buffer = call.pctxt->buffer;
  size_t start = l3BitPos(call.pctxt), from = start;
  unsigned fill = static_cast<unsigned>(8 - start % 8) % 8;
  if (fill > left) fill = static_cast<unsigned>(left);
  if (fill) {
    uint32_t expected = call.padded == start ? l3PaddingAhead(call.pctxt, fill) : 0;
    if (l3BitsAt(buffer.data, buffer.size, start / 8, start % 8, fill) == expected) from += fill;
  }
  // Nothing but filling is left.
  if (from == start + left) return 0;
  L3KeptFacts facts = {record, anchor, from, 0, 0, at, kL3KeptSurplus, 0, nullptr};
  return l3Keep(call, type, type.line, facts, start + left);
}

// l3DecOptions where elements are kept.
static int decOptionsKeeping(L3Call& call, const L3Type& type, uint8_t* record, const L3End& end)
{
  const L3Message& message = *type.message;
  if (!message.count && !message.tail) return l3KeepRest(call, type, record, &message, kL3KeptBehind, end);
  TailWalk walk{type, message, record, 0, 0, 0, &message, end};
  clearSelecting(message, record);
  return decAllKeeping(call, walk);
}

// A row `tail`: unknown elements to the end of the region, each kept by itself, by the loop of a message without any
// elements of its own.
int l3KeepTail(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record)
{
  if (l3KeepsNothing(call)) return l3RefuseTrial(call, RTX_E_GENERAL);
  L3Message none = {};
  none.shifts = row.bits != 0;
  TailWalk walk{type, none, record, 0, 0, 0, &row, l3InnermostEnd(call)};
  return decAllKeeping(call, walk);
}

// 0 is what the encoder writes for these bits, so only another value has to be kept.
int l3DecExtra(L3Call& call, const L3Type& type, const L3Row& row, const void* record)
{
  uint32_t value = 0;
  size_t start = l3BitPos(call.pctxt);
  int status = l3DecBits(call, reinterpret_cast<uint8_t*>(&value), row.bits, 4, "INTEGER");
  if (status < 0) return l3Fail(call, type.module->decoder, status, row.line);
  if (!value || !l3Keeps(call)) return 0;
  if (l3KeepsNothing(call)) return l3RefuseTrial(call, RTX_E_GENERAL);
  L3KeptFacts facts = {record, &row, start, 0, 0, kL3KeptInstead, kL3KeptSurplus, 0, nullptr};
  return l3Keep(call, type, row.line, facts, start + row.bits);
}

// Are these whole octets of padding, 2B 2B 2B?
static bool isPadding(const L3Kept& kept)
{
  if (kept.bits % 8) return false;
  size_t i = 0;
  while (i < kept.bits / 8 && kept.octets()[i] == 0x2B) ++i;
  return i == kept.bits / 8;
}

// A block of a broadcast channel is filled with 2B to its fixed size. If a record grows, its padding may shrink; so
// octets of 2B are remembered as padding, with the size of the value in front of them.
int l3KeepEnd(L3Call& call, const L3Type& type, void* value, size_t start)
{
  const L3KeptList* list = l3KeptOf(call.pctxt);
  const L3Kept* last = list ? list->last : nullptr;
  int status = l3KeepRest(call, type, value, &type, kL3KeptEnd, {});
  list = l3KeptOf(call.pctxt);
  if (status < 0 || !list || list->last == last) return status;
  L3Kept& kept = *list->last;
  kept.before = static_cast<uint32_t>(kept.position / 8 - start);
  if (isPadding(kept)) kept.why = kL3KeptPadding;
  return 0;
}

// The loop over the optional elements. It ends where the message does, which need not be where the buffer does: a
// message may be an element of another one.
int l3DecOptions(L3Call& call, const L3Type& type, uint8_t* record, const L3End& end)
{
  if (l3Keeps(call) && !l3KeepsNothing(call)) return decOptionsKeeping(call, type, record, end);
  if (!type.message->count) return type.message->tail ? l3SkipTail(call, type, type.message->shifts, type.line) : 0;
  TailWalk walk{type, *type.message, record, 0, 0, 0, nullptr, end};
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
