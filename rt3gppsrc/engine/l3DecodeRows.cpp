// The walk over the rows of a record, decoding, and the entries of exported decoders. The walk answers the questions
// that a row asks, one small function each: is the element there, what leads it, what bounds it, and what a breach of
// the bounds means. What an element is (a string, a list, a choice) stands in l3DecodeParts.cpp and
// l3DecodeStrings.cpp.
//
// The walk is the one statement of what rows mean. The direct coders (l3Direct.h) are faster and know success alone:
// when one gives up, the walk does the work again and says what is wrong. So the walk must get to the same record.
#include <cstring>

#include "rt3gppsrc/engine/l3Decode.h"
#include "rt3gppsrc/engine/l3Direct.h"
#include "rt3gppsrc/engine/l3Engine.h"
#include "rt3gppsrc/engine/l3Kept.h"
#include "rt3gppsrc/engine/l3Padding.h"
#include "rtxsrc/errors/rtxReport.h"
#include "velnor3gpp/rtx3GPP.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxDiagBitTrace.h"

// Lengths inside lengths within one record. l3gen refuses a definition with more; the deepest known has two.
static constexpr unsigned kMaxRegions = 4;

// What the walk over one record remembers between its rows.
// What the walk over one record remembers between its rows. Its regions are frames of the call (L3Call.regions) as
// well.
struct RowWalk {
  const L3Type& type;
  // The record under the walk; presence bits stand at its start.
  uint8_t* record;
  // Of each open region: the row of its length, its frame, and its end as a bit position.
  const L3Row* lengths[kMaxRegions];
  L3Region frames[kMaxRegions];
  size_t ends[kMaxRegions];
  // How many are open.
  unsigned regions;
  // Status of the last element: 0, or of a string that could not be read whole. The record's decoder returns it.
  int running;
  // The last extension bit: 0 while the group goes on.
  uint8_t extBit;
  // A release group did not fit: all later ones are left out.
  bool barred;
  // An early return has ended the record.
  bool done;
  // The record is a message whose unreadable elements are kept.
  bool keeps;
  // Where the message ends; only for messages.
  L3End messageEnd;
  // Frames and ends are written when a region opens: clearing them first would cost more than most records.
  RowWalk(const L3Type& t, uint8_t* r)
      : type(t), record(r), regions(0), running(0), extBit(1), barred(false), done(false), keeps(false), messageEnd{}
  {
  }
};

// Has an element been read beyond the end of its region? Inside, each read is bounded by the buffer alone, so that this
// test after each element is what keeps an element from taking its neighbour's octets.
static bool overrun(const L3Call& call, const RowWalk& walk)
{
  return walk.regions && l3BitPos(call.pctxt) > walk.ends[walk.regions - 1];
}

static const char* moduleOf(const L3Type& type)
{
  return type.module->decoder;
}

// A region that was left behind: -66.
static int reportOverrun(L3Call& call, const RowWalk& walk, uint16_t line)
{
  return l3Fail(call, moduleOf(walk.type), RTX_E_BAD_LENGTH, line);
}

// Reads an enumeration and tests that the value is a member. `reported` tells that the error record of a strange value
// has been made, at the enumeration's own block, with the value as parameter. In a trial that record goes away with the
// trial.
static int decEnumerated(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* member, bool& reported)
{
  const L3Enum& set = *static_cast<const L3Enum*>(row.info);
  const char* label = set.printOpen ? "INTEGER" : "ENUMERATED";
  int status = row.flags & kL3LH ? l3DecPadded(call, member, row.bits, row.store, label)
                                 : l3DecBits(call, member, row.bits, row.store, label);
  if (status < 0 || set.openDecode) return status;
  uint32_t value = static_cast<uint32_t>(l3Load(member, row.store));
  if (l3IsMember(set, value)) return status;
  reported = true;
  l3ToLists(call);
  rtxErrAddUIntParm(call.pctxt, value);
  const L3Type& leaf = row.type ? *row.type : type;
  return rtxReport(call.pctxt, RTX_E_ENUM_VALUE, moduleOf(leaf), leaf.line);
}

// Reads an integer or a flag, in the way that its flags ask for.
static int decNumber(L3Call& call, const L3Row& row, uint8_t* member)
{
  if (row.op == kL3Unary) return l3DecUnary(call, *static_cast<const L3Unary*>(row.info), member);
  if (row.flags & kL3LH) return l3DecPadded(call, member, row.bits, row.store, "INTEGER");
  return l3DecBits(call, member, row.bits, row.store, row.op == kL3Bool ? "BOOLEAN" : "INTEGER");
}

// Reads a number, flag or enumeration into its member.
static int decScalar(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* member)
{
  bool reported = false;
  int status =
      row.op == kL3Enumerated ? decEnumerated(call, type, row, member, reported) : decNumber(call, row, member);
  if (status < 0) {
    // The named type of the row (`TypeOfIdentity`) is a level of its own in the error record, as if its decoder had
    // been called.
    if (row.type && !reported) status = l3Fail(call, moduleOf(*row.type), status, row.type->line);
    // In the decoder of the enumeration itself (row.type is null) the level has been recorded already.
    return row.type || !reported ? l3Fail(call, moduleOf(type), status, row.line) : status;
  }
  // A value outside its range stays in the record; the decoding goes on.
  if (row.flags & kL3Ranged) {
    uint64_t value = l3Load(member, row.store);
    if (l3IsOutside(row, value)) l3NoteRange(call, moduleOf(type), row.line, value);
  }
  return status;
}

// Decodes the content of a row, without its name and without what leads it.
int l3DecMember(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int& running)
{
  running = 0;
  int status = 0;
  switch (row.op) {
    case kL3UInt:
    case kL3Bool:
    case kL3Enumerated:
    case kL3Unary:
      return decScalar(call, type, row, record + row.offset);
    case kL3Octets:
    case kL3BitString:
    case kL3Text:
      return l3DecString(call, type, row, record, running);
    case kL3Record:
    case kL3TextType:
      // The decoder of the type takes a count, which a field of this record tells.
      if (row.info) call.argument = l3CountOf(call, *static_cast<const L3Count*>(row.info), record);
      status = l3DecType(call, *row.type, record + row.offset);
      break;
    case kL3List:
      return l3DecList(call, type, row, record, running);
    case kL3Choice:
      return l3DecChoice(call, type, row, record, running);
    case kL3Body:
      return l3DecBody(call, type, row, record);
    case kL3Extra:
      return l3DecExtra(call, type, row, record);
    case kL3Tail:
      if (l3Keeps(call)) return l3KeepTail(call, type, row, record);
      return l3SkipTail(call, type, row.bits != 0, row.line);
    default:
      return 0;
  }
  return status < 0 ? l3Fail(call, moduleOf(type), status, row.line) : status;
}

// Behind the last octet that is known of a group, octets are read and dropped until one ends it. In 05 7F 83 with one
// known octet, 05 has more behind it, 7F too, and 83 (top bit 1) is the last.
static int dropExtension(L3Call& call, RowWalk& walk, const L3Row& row)
{
  while (walk.extBit == 0) {
    uint8_t octet = 0;
    int status = l3DecBits(call, &octet, 8, 1, "INTEGER");
    if (status < 0) return l3Fail(call, moduleOf(walk.type), status, row.line);
    walk.extBit = octet >> 7;
    call.doubtful = true;
  }
  return 0;
}

// Reads a length and opens its region, to the end of the record or to its `end-len`.
static int decLength(L3Call& call, RowWalk& walk, const L3Row& row)
{
  const L3Length& info = *static_cast<const L3Length*>(row.info);
  L3Name frame;
  if (int status = l3PushRow(call, moduleOf(walk.type), row, frame); status < 0) return status;
  uint16_t value = 0;
  uint8_t* member = reinterpret_cast<uint8_t*>(&value);
  int status = l3DecBits(call, member, info.bits, 2, "INTEGER");
  // 00 02: the first octet is the upper half of a length of 16 bits, so the second one is the length.
  bool widened = info.zeroWidens && !value;
  if (status >= 0 && widened) status = l3DecBits(call, member, 8, 2, "INTEGER");
  if (status < 0) return l3Fail(call, moduleOf(walk.type), status, row.line);
  if (info.member) l3Store(walk.record + row.offset, row.store, value);
  // A length may share its octet with an element that it does not count (TS 24.501, 9.11.3.46): in 31 01 a length of 3
  // is followed by a cause of 4 bits, and its region begins with 01. `lead` is the bits up to there.
  size_t start = l3BitPos(call.pctxt);
  size_t lead = info.fromOctet ? (8 - start % 8) % 8 : 0;
  size_t counted = (static_cast<size_t>(value) + info.bias) * info.unitBits;
  // An encoder writes the low 8 bits of a length of 16 (l3EncClose), begins what a length in octets counts with an
  // octet (align), and cuts nothing off for a length of 0 (cutToLength).
  bool low = info.bits == 16 && !info.keepWhole && value > 255;
  bool slanted = info.unitBits == 8 && info.bits % 8 && (start + lead) % 8;
  bool uncut = walk.type.flags & kL3EndsAnywhere && !value;
  if (widened || low || slanted || uncut) call.doubtful = true;
  walk.ends[walk.regions] = start + lead + counted;
  walk.lengths[walk.regions] = &row;
  if (info.ranged && (value < info.lo || value > info.hi)) l3NoteRange(call, moduleOf(walk.type), row.line, value);
  // The region is as long in octets or in bits; the real stack has a function for either.
  bool bits = info.unitBits == 1 || lead;
  status = l3PushRegion(call, walk.frames[walk.regions], bits ? lead + counted : counted / 8, bits);
  if (status < 0) return l3Fail(call, moduleOf(walk.type), status, row.line);
  ++walk.regions;
  if (row.name) l3PopName(call);
  return 0;
}

// Is the element there? Reads the bit that leads it. 1 or 0, or a negative status. The name has been pushed, so that
// the trace shows the bit under it. An extension bit is remembered for the next row and tells nothing of this one.
static int isThere(L3Call& call, RowWalk& walk, const L3Row& row)
{
  if (row.lead == kL3NoLead || row.flags & kL3ExtList) return 1;
  const L3LeadTraits& traits = l3Traits(row.lead);
  // The bit that says "absent": L, which is the padding's bit at this place, or 0. It is looked up before the cursor
  // moves.
  uint8_t absent = traits.padded ? static_cast<uint8_t>(l3PaddingAhead(call.pctxt, 1)) : 0;
  uint8_t bit = 0;
  int status = l3DecBit(call, traits.label, bit);
  if (status < 0) return l3Fail(call, moduleOf(walk.type), status, row.line);
  if (traits.optional) return bit != absent;
  walk.extBit = bit;
  return 1;
}

// Does anything but a leading bit say that the element is absent? Nothing has been read of it yet.
static bool passedOver(L3Call& call, const RowWalk& walk, const L3Row& row)
{
  if (row.room && !l3HasRoom(call)) {
    // An encoder writes the bit all the same, unless it cuts the record to its length (cutToLength).
    const L3LeadTraits& traits = l3Traits(row.lead);
    bool bit = traits.optional || traits.padded;
    if (bit && !(walk.type.flags & kL3EndsAnywhere)) call.doubtful = true;
    return true;
  }
  switch (row.given) {
    case kL3GivenIf:
    case kL3GivenWhen:
      return !l3Holds(*row.cond, walk.record);
    case kL3GivenMore:
      return walk.extBit != 0;
    case kL3GivenWith:
      return !l3HasBit(walk.record, row.mBit);
    case kL3ByHand:
      return true;
    default:
      return false;
  }
}

// Sets the presence bit of an element, and of its group. A release group counts as there only once it has been left.
static void markPresent(RowWalk& walk, const L3Row& row)
{
  l3SetBit(walk.record, row.mBit);
  if (row.groupBit != kL3NoBit && !(row.flags & kL3InRelease)) l3SetBit(walk.record, row.groupBit);
}

// Decodes the content of an element that is there.
static int decContent(L3Call& call, RowWalk& walk, const L3Row& row)
{
  if (walk.keeps) return l3DecMemberKeeping(call, walk.type, row, walk.record, walk.running, walk.messageEnd);
  return l3DecMember(call, walk.type, row, walk.record, walk.running);
}

// One row: is it there, its name, what leads it, its content, its presence bit.
static int decElement(L3Call& call, RowWalk& walk, const L3Row& row)
{
  if (row.op == kL3Length) return decLength(call, walk, row);
  if (passedOver(call, walk, row)) return 0;
  L3Name frame;
  int there = l3PushRow(call, moduleOf(walk.type), row, frame);
  if (there >= 0) there = isThere(call, walk, row);
  // A record that is printed after the failure must not lead to what an earlier use left in this member.
  if (there < 0) {
    l3InitMember(row, walk.record);
    return there;
  }
  if (there) {
    int status = decContent(call, walk, row);
    if (status < 0) return status;
    // The list has read its own extension bits to the last one; the group is over.
    if (row.flags & kL3ExtList) walk.extBit = 1;
    if (row.mBit != kL3NoBit) markPresent(walk, row);
  }
  if (row.flags & kL3ExtLast)
    if (int status = dropExtension(call, walk, row); status < 0) return status;
  if (row.name) l3PopName(call);
  return 0;
}

// Enters a release group (0) or passes over it: the number of its rows to skip. It is passed over if the input has
// ended, if the caller is held to an older release, or if it or an earlier group did not fit.
static unsigned enterRelease(const L3Call& call, RowWalk& walk, const L3Row& row)
{
  const L3Release& info = *static_cast<const L3Release*>(row.info);
  uint16_t limit = call.pctxt->specRelease;
  if (walk.barred || !l3HasRoom(call) || (limit && limit < info.release)) return info.rows;
  if (info.fitBits > l3RoomBits(call)) {
    walk.barred = true;
    return info.rows;
  }
  return 0;
}

// Behind the last row of a release group: sets its presence bit. With `!early-return` a group that ends exactly where
// the region does ends the decoding at once, and leaves region and type name on the stacks, where callers have always
// seen them.
static void leaveRelease(L3Call& call, RowWalk& walk, const L3Row& row)
{
  l3SetBit(walk.record, row.groupBit);
  if (!(walk.type.flags & kL3EarlyReturn) || !walk.regions) return;
  if (l3BitPos(call.pctxt) != walk.ends[walk.regions - 1]) return;
  l3ToLists(call);
  // A probe leaves nothing behind. It asks to be done once more, outside, where the region can stay.
  if (call.probe && call.onTrial()) {
    call.probe->again = true;
    while (walk.regions--) l3PopRegion(call);
    walk.regions = 0;
  } else if (call.onTrial()) {
    call.mode = kL3GivenUp; // a trial leaves nothing behind
  }
  // Within another record there is no type name of its own to leave.
  if (call.pctxt->elemNameStack.count == 1) call.keepTypeName = true;
  walk.done = true;
}

// Keeps what a region has behind the last element that is known of it. Less than an octet is kept only if it is not 0,
// since an encoder fills up with 0s by itself.
static int keepSurplus(L3Call& call, const RowWalk& walk, size_t end, uint16_t line)
{
  const RtxBuffer& buffer = call.pctxt->buffer;
  size_t start = l3BitPos(call.pctxt);
  // A region of octets that ends inside an octet belongs to a structure of bits; nothing is kept there, nor behind the
  // input.
  bool inside = static_cast<const L3Length*>(walk.lengths[walk.regions]->info)->unitBits == 8 && end % 8;
  if (end > buffer.size * 8 || inside) {
    call.doubtful = true;
    return 0;
  }
  if (end - start < 8 &&
      !l3BitsAt(buffer.data, buffer.size, start / 8, start % 8, static_cast<unsigned>(end - start))) {
    // It does not where the length counts bits.
    if (static_cast<const L3Length*>(walk.lengths[walk.regions]->info)->unitBits == 1) call.doubtful = true;
    return 0;
  }
  if (l3KeepsNothing(call)) return l3RefuseTrial(call, RTX_E_GENERAL);
  L3KeptFacts facts = {walk.record, walk.lengths[walk.regions], start, 0, 0, kL3KeptInside, kL3KeptSurplus, 0, nullptr};
  return l3Keep(call, walk.type, line, facts, end);
}

// Closes the innermost region: what is left in it is passed over, since a later release may have put more there.
static int closeRegion(L3Call& call, RowWalk& walk, uint16_t line)
{
  RtxContext* pctxt = call.pctxt;
  size_t end = walk.ends[--walk.regions];
  if (l3BitPos(pctxt) > end) return reportOverrun(call, walk, line);
  if (l3Keeps(call) && l3BitPos(pctxt) < end)
    if (int status = keepSurplus(call, walk, end, line); status < 0) return status;
  if (call.inlined()) {
    l3MoveTo(pctxt->buffer, end);
  } else if (int status = rtxCtxtSetBitOffset(pctxt, end); status < 0) {
    return l3Fail(call, moduleOf(walk.type), status, line);
  }
  l3PopRegion(call);
  return 0;
}

// The end of a record closes what is still open. The status may be that of a string that was cut short.
static int closeRegions(L3Call& call, RowWalk& walk)
{
  while (walk.regions)
    if (int status = closeRegion(call, walk, walk.type.line); status < 0) return status;
  return l3Ended(call, walk.running);
}

// Is this the last row of its release group? Groups that follow each other are told apart by the kL3Release row
// between.
static bool lastOfRelease(const L3Type& type, const L3Row* row)
{
  const L3Row* next = row + 1;
  return (row->flags & kL3InRelease) && (next == type.rows + type.rowCount || !(next->flags & kL3InRelease));
}

// Rest octets end wherever their octets do (TS 44.018, 10.5.2). The names of the type and of the part that would follow
// stay on the stack, as callers know it.
static bool endsHere(L3Call& call, const RowWalk& walk, const L3Row& row)
{
  if (!(walk.type.flags & kL3RestOctets) || l3HasRoom(call)) return false;
  l3ToLists(call);
  call.keepTypeName = true;
  call.doubtful = true; // an encoder ends them with padding
  if (row.name) l3PushNameSlow(call, row.name);
  return true;
}

// In the standard's form a capability ends wherever its length says: mobiles of an older release send less. What they
// do not send is 0 in the record.
static bool isCutOff(L3Call& call, const L3Type& type, const L3Row& row, void* record)
{
  if (!(type.flags & kL3EndsAnywhere) || l3HasRoom(call)) return false;
  // An encoder leaves out a group that is not whole, and cuts nothing off where no length says so.
  if (row.flags & kL3InRelease || !l3InnermostEnd(call).region) call.doubtful = true;
  l3InitRest(type, static_cast<unsigned>(&row - type.rows), record, L3Numbers::clear);
  return true;
}

// Makes a record the one that its parts stand in (L3Call.record), for as long as it is under the decoder. Lists and
// choices are no records: their parts stand in the record that these are members of. A bare type is none either.
struct Enclosure {
  L3Call& call;
  const void *record, *around;
  Enclosure(L3Call& c, const L3Type& type, const void* value) : call(c), record(c.record), around(c.around)
  {
    if (type.flags & kL3Bare) return;
    call.around = call.record;
    call.record = value;
  }
  ~Enclosure()
  {
    call.record = record;
    call.around = around;
  }
  Enclosure(const Enclosure&) = delete;
};

// Reads fields that stand side by side and are always there, without names and reports, as far as they are all there
// and good: most rows of radio resource messages. Returns the first row that it has not read; if that is not the end,
// the walk reads it in the ordinary way and says what is wrong with it.
static const L3Row* takeRun(L3Call& call, const L3Row* row, const L3Row* end, uint8_t* record)
{
  RtxBuffer& buffer = call.pctxt->buffer;
  size_t at = l3BitPos(call.pctxt), room = l3RoomBits(call), last = buffer.size * 8; // a region may end behind
  // A length may have put the cursor behind the input.
  if (at > last) return row;
  if (room < last - at) last = at + room;
  for (; row < end && row->flags == kL3InRun && row->bits <= last - at; ++row) {
    uint64_t value = l3BitsAt(buffer.data, buffer.size, at / 8, at % 8, row->bits);
    if (row->op == kL3Enumerated) {
      const L3Enum& set = *static_cast<const L3Enum*>(row->info);
      if (!set.openDecode && !l3IsMember(set, value)) break;
    }
    l3Store(record + row->offset, row->store, value);
    at += row->bits;
  }
  l3MoveTo(buffer, at);
  return row;
}

// The walk over one record. It stands apart from l3DecRows, so that a direct coder does not pay for its stack frame. On
// failure everything that it has not come to is cleared (l3InitRest), so that the caller can print the record.
[[gnu::noinline]] static int walkRows(L3Call& call, const L3Type& type, void* record)
{
  RowWalk walk(type, static_cast<uint8_t*>(record));
  Enclosure enclosure(call, type, record);
  // It is noted before the rows, since one of them may leave a region open (an early return).
  L3End messageEnd = type.message ? l3InnermostEnd(call) : L3End{};
  walk.keeps = type.message && l3Keeps(call) && !l3KeepsNothing(call);
  walk.messageEnd = messageEnd;
  // Rows behind an early return are never reached, so that all of the record is cleared: presence, counts and pointers
  // of all kinds are 0. Other records need only their presence bits cleared: each row writes its own member.
  if (type.flags & kL3EarlyReturn)
    memset(record, 0, type.size);
  else if (type.mOctets)
    memset(record, 0, type.mOctets);
  const L3Row* end = type.rows + type.rowCount;
  for (const L3Row* row = type.rows; row < end; ++row) {
    if (row->flags == kL3InRun && call.plain()) {
      walk.running = 0;
      if ((row = takeRun(call, row, end, walk.record)) == end) break;
    }
    if (row->op == kL3Release) {
      row += enterRelease(call, walk, *row);
      continue;
    }
    if (row->op == kL3EndLength) {
      if (int status = closeRegion(call, walk, row->line); status < 0) return status;
      continue;
    }
    // A missing length is a failure: the structure does not even say where it ends.
    if (row->op != kL3Length && isCutOff(call, type, *row, record)) break;
    if (endsHere(call, walk, *row)) {
      l3InitRest(type, static_cast<unsigned>(row - type.rows), record, L3Numbers::clear);
      return 0;
    }
    int status = decElement(call, walk, *row);
    // The element is good by itself, but has taken octets from behind its region.
    if (status >= 0 && overrun(call, walk)) status = reportOverrun(call, walk, row->line);
    if (status < 0) {
      l3InitRest(type, static_cast<unsigned>(row + 1 - type.rows), record);
      return status;
    }
    if (row->flags & kL3InRelease && lastOfRelease(type, row)) leaveRelease(call, walk, *row);
    if (walk.done) return 0;
  }
  int status = closeRegions(call, walk);
  // What is kept behind here stood where an encoder puts padding (keepRest).
  if (type.flags & (kL3RestOctets | kL3Padded)) {
    // An encoder ends rest octets with padding, also where they had no room for it; those inside others take one octet
    // of it before them.
    size_t room = l3RoomBits(call), end = l3BitPos(call.pctxt);
    bool nested = call.padded == end;
    if (type.flags & kL3RestOctets && (!room || (nested && room < 16))) call.doubtful = true;
    call.padded = end;
  }
  if (status < 0 || !type.message) return status;
  return l3DecOptions(call, type, walk.record, messageEnd);
}

// The direct coder first. If a trial around this record has been given up, the walk would be for nothing.
int l3DecRows(L3Call& call, const L3Type& type, void* record)
{
  if (l3DecDirectly(call, type, record)) return 0;
  return call.mode == kL3GivenUp ? RTX_E_GENERAL : walkRows(call, type, record);
}

// A coder by hand comes before the rows. It calls l3DecRows itself for the part that rows can say.
static int decForm(L3Call& call, const L3Type& type, void* value)
{
  if (type.hand && type.hand->decode) return type.hand->decode(call, type, value);
  return l3DecRows(call, type, value);
}

// A failure on a probe leaves frames linked that are gone when their functions have returned: the names are put back
// here. (Otherwise a failure puts them on the real stacks first.)
[[gnu::noinline]] static int decFormOnProbe(L3Call& call, const L3Type& type, void* value)
{
  L3Name* names = call.names;
  int status = decForm(call, type, value);
  if (status < 0) call.names = names;
  return status;
}

// Takes the standard's form of the type, if the context asks for it.
int l3DecType(L3Call& call, const L3Type& named, void* value)
{
  const L3Type& type = l3FormOf(named, call.pctxt);
  return call.probe ? decFormOnProbe(call, type, value) : decForm(call, type, value);
}

// What stands behind the whole value, and the value itself if it has raised a doubt that no element of it has settled.
static int keepWhole(L3Call& call, const L3Type& type, void* value, size_t start)
{
  int status = l3KeepEnd(call, type, value, start);
  return status >= 0 && call.doubtful ? l3KeepUnusualAll(call, type, value, start * 8) : status;
}

// A whole call.
static int decode(RtxContext* pctxt, const L3Type& type, void* value, size_t count, L3Mode mode)
{
  L3Call call;
  L3Name frame;
  l3Begin(call, pctxt, frame, l3NameOf(type));
  call.argument = count;
  call.root = value;
  // A trial has been given up already (kL3Walk): no other one is begun.
  if (call.mode < mode) call.mode = mode;
  size_t start = pctxt->buffer.byteIndex;
  int status = l3DecType(call, type, value);
  if (status >= 0 && l3Keeps(call)) status = keepWhole(call, type, value, start);
  return l3End(call, status, moduleOf(type), type.line);
}

int l3DecByRows(RtxContext* pctxt, const L3Type& type, void* value, L3Mode mode)
{
  return decode(pctxt, type, value, 0, mode);
}

// Decoding into a value forgets what an earlier decoding of it kept. Kept out of l3Decode, which then saves no
// registers.
[[gnu::noinline]] static int decodeAfresh(RtxContext* pctxt, const L3Type& type, void* value)
{
  l3ForgetKept(pctxt, value);
  return decode(pctxt, type, value, 0, kL3MayTry);
}

int l3Decode(RtxContext* pctxt, const L3Type& type, void* value)
{
  if (l3KeptOf(pctxt)) return decodeAfresh(pctxt, type, value);
  return type.flags & kL3DecAtOnce ? l3DecAtOnce(pctxt, type, value) : decode(pctxt, type, value, 0, kL3MayTry);
}

int l3DecodeCounted(RtxContext* pctxt, const L3Type& type, void* value, size_t count)
{
  return decode(pctxt, type, value, count, kL3MayTry);
}
