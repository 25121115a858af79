// The non-imperative part of a message: optional elements by IEI (TS 24.007, 11.2.4). First occurrence wins, order is
// strict, and an element out of its turn is skipped by its form alone.
#include "rt3gppsrc/engine/l3Decode.h"
#include "rt3gppsrc/engine/l3Kept.h"
#include "rt3gppsrc/engine/l3Padding.h"
#include "velnor3gpp/rtx3GPP.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxDiagBitTrace.h"

struct TailWalk {
  const L3Type& type;
  const L3Message& message;
  uint8_t* record;
  unsigned order;               // position of the last element taken, or kept because it cannot be read
  uint8_t previous;             // IEI of the turn before
  uint8_t locked;               // codeset by locking shift
  const void* behind = nullptr; // what stands in the record of all that came: the last element's row, or the message
  L3End end = {};
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
  if (l3Keeps(call) && l3KeepsNothing(call)) return l3RefuseTrial(call, RTX_E_GENERAL);
  if (entry.skip == kL3SkipLength) return skipByLength(call, walk);
  return entry.skip == kL3SkipFixed ? skipOctets(call, walk, entry.skipOctets) : 0;
}

size_t l3BitsBefore(const L3Call& call, const L3End& end)
{
  const RtxBuffer& buffer = call.pctxt->buffer;
  size_t all = buffer.size * 8, at = l3BitPos(call.pctxt);
  size_t stop = end.region ? end.octet * 8 + 8 - end.bitOffset : all;
  if (stop > all) stop = all;
  return at < stop ? stop - at : 0;
}

bool l3SeeLength(const L3Call& call, unsigned bits, size_t left, size_t& octets)
{
  uint64_t length = 0;
  if (bits > left || !l3SeeBits(call.pctxt->buffer, bits, length)) return false;
  octets = static_cast<size_t>(length) + bits / 8;
  return octets <= left / 8;
}

// The bits of an element from the cursor behind its identifier on; false where its framing cannot be followed. Those
// from 0x80 on have one octet in all, those of EPS and 5GS from 0x78 to 0x7F a length of two octets where it fits
// (7A 00 03 01 02 03), others one of one octet (TS 24.007, 11.2.4).
static bool unknownBits(const L3Call& call, const TailWalk& walk, uint8_t iei, bool half, size_t left, size_t& bits)
{
  size_t octets = 0;
  bits = half ? 4 : 0;
  if (half || iei & 0x80) return bits <= left;
  bool wide = walk.message.wide && iei >= 0x78 && l3SeeLength(call, 16, left, octets);
  if (!wide && !l3SeeLength(call, 8, left, octets)) return false;
  bits = octets * 8;
  return true;
}

static int decUnknown(L3Call& call, TailWalk& walk, uint8_t iei, bool half, uint8_t active)
{
  if (l3Keeps(call) && l3KeepsNothing(call)) return l3RefuseTrial(call, RTX_E_GENERAL);
  if (half || (iei & 0x80)) return 0;
  size_t bits = 0;
  bool standard = call.pctxt->flags & RTX_FLAG_STANDARD_FORMS;
  bool framed = standard && unknownBits(call, walk, iei, half, l3BitsBefore(call, walk.end), bits);
  if (int status = framed ? skipOctets(call, walk, bits / 8) : skipByLength(call, walk); status < 0) return status;
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
  if (l3Keeps(call) && l3KeepsNothing(call)) return l3RefuseTrial(call, RTX_E_GENERAL);
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

static int keepElement(L3Call& call, const TailWalk& walk, const L3KeptFacts& facts, size_t bits)
{
  L3KeptFacts all = facts;
  all.record = walk.record;
  all.anchor = walk.behind;
  all.at = kL3KeptBehind;
  return l3Keep(call, walk.type, walk.type.line, all, l3BitPos(call.pctxt) + bits);
}

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

// An element whose turn it is. One that cannot be read has had its turn all the same.
static int takeOrKeep(L3Call& call, TailWalk& walk, unsigned position, size_t start, uint8_t iei)
{
  const L3Row& row = walk.message.options[position - 1];
  size_t bits = 0;
  L3Probe probe;
  L3Probed probed = kL3NotTold;
  if (knownBits(call, walk, position, l3BitsBefore(call, walk.end), bits))
    probed = l3ProbeMember(call, walk.type, row, walk.record, probe);
  if (probed == kL3NoMemory) return l3Fail(call, walk.type.module->decoder, RTX_E_NO_MEMORY, row.line);
  if (probed == kL3Unreadable) {
    bool half = walk.message.ieis[position - 1].half;
    l3InitMember(row, walk.record);
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
  if (probed == kL3NotTold) return decOption(call, walk, position);
  l3SetBit(walk.record, row.mBit);
  if (row.groupBit != kL3NoBit) l3SetBit(walk.record, row.groupBit);
  walk.order = position;
  return 0;
}

// What asks for comprehension is kept as well, with a remark.
static int keepUnknown(L3Call& call, TailWalk& walk, size_t start, uint8_t iei, bool half, uint8_t active, size_t bits)
{
  int status = keepElement(call, walk, factsOf(start, iei, half, kL3KeptUnknown), bits);
  if (status < 0 || half || iei & 0xF0 || (active && walk.message.shifts == 2) || iei == walk.previous) return status;
  if (!l3MayNote(call)) return 0;
  size_t before = call.pctxt->errInfo.count;
  rtxErrAddIntParm(call.pctxt, iei);
  l3Note(call, walk.type.module->decoder, RTX_E_UNKNOWN_IE, walk.type.line);
  if (call.pctxt->errInfo.count > before) rtxErrSetNonFatal(call.pctxt);
  return 0;
}

static int decTurnKeeping(L3Call& call, TailWalk& walk, size_t start, uint8_t iei, bool half)
{
  uint8_t active = walk.locked;
  bool shift = walk.message.shifts && !half && (iei >> 4) == 9;
  if (shift && !(iei & 8) && (iei & 7) > walk.locked) walk.locked = iei & 7;
  unsigned position = active || shift || !walk.message.byValue ? 0 : findPosition(walk, iei);
  if (position && walk.message.ieis[position - 1].half != half) position = 0;
  size_t bits = 0, left = l3BitsBefore(call, walk.end);
  if (position > walk.order) return takeOrKeep(call, walk, position, start, iei);
  bool framed = position ? knownBits(call, walk, position, left, bits) : unknownBits(call, walk, iei, half, left, bits);
  if (!framed && position) return skipKnown(call, walk, walk.message.ieis[position - 1]);
  if (!framed) return decUnknown(call, walk, iei, half, active);
  if (!position) return keepUnknown(call, walk, start, iei, half, active, bits);
  L3KeptFacts facts = factsOf(start, iei, half, kL3KeptOutOfTurn);
  if (!half) facts.iei = iei, facts.ieiBits = 8;
  if (l3HasBit(walk.record, walk.message.options[position - 1].mBit)) facts.why = kL3KeptRepeated;
  return keepElement(call, walk, facts, bits);
}

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

// Behind a message that has no more elements, octets of whatever kind. Bits that fill an octet are among them unless
// they are what an encoder fills it with: padding behind rest octets, else 0.
static int keepRest(L3Call& call, const L3Type& type, const void* record, const void* anchor, L3KeptAt at, size_t left)
{
  const RtxBuffer& buffer = call.pctxt->buffer;
  size_t start = l3BitPos(call.pctxt), from = start;
  unsigned fill = static_cast<unsigned>(8 - start % 8) % 8;
  if (fill > left) fill = static_cast<unsigned>(left);
  if (fill) {
    uint32_t expected = call.padded == start ? l3PaddingAhead(call.pctxt, fill) : 0;
    if (l3BitsAt(buffer.data, buffer.size, start / 8, start % 8, fill) == expected) from += fill;
  }
  if (from == start + left) return 0;
  L3KeptFacts facts = {record, anchor, from, 0, 0, at, kL3KeptSurplus, 0, nullptr};
  return l3Keep(call, type, type.line, facts, start + left);
}

static int decOptionsKeeping(L3Call& call, const L3Type& type, uint8_t* record, const L3End& end)
{
  const L3Message& message = *type.message;
  if (!message.count && !message.tail)
    return keepRest(call, type, record, &message, kL3KeptBehind, l3BitsBefore(call, end));
  TailWalk walk{type, message, record, 0, 0, 0, &message, end};
  clearSelecting(message, record);
  return decAllKeeping(call, walk);
}

int l3KeepTail(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record)
{
  if (l3KeepsNothing(call)) return l3RefuseTrial(call, RTX_E_GENERAL);
  L3Message none = {};
  none.shifts = row.bits != 0;
  TailWalk walk{type, none, record, 0, 0, 0, &row, l3InnermostEnd(call)};
  return decAllKeeping(call, walk);
}

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

static bool isPadding(const L3Kept& kept)
{
  if (kept.bits % 8) return false;
  size_t i = 0;
  while (i < kept.bits / 8 && kept.octets()[i] == 0x2B) ++i;
  return i == kept.bits / 8;
}

int l3KeepEnd(L3Call& call, const L3Type& type, void* value, size_t start)
{
  const L3KeptList* list = l3KeptOf(call.pctxt);
  const L3Kept* last = list ? list->last : nullptr;
  int status = keepRest(call, type, value, &type, kL3KeptEnd, l3BitsBefore(call, {}));
  list = l3KeptOf(call.pctxt);
  if (status < 0 || !list || list->last == last) return status;
  L3Kept& kept = *list->last;
  kept.before = static_cast<uint32_t>(kept.position / 8 - start);
  if (isPadding(kept)) kept.why = kL3KeptPadding;
  return 0;
}

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
