// The walk over the rows of a record, encoding, and the entry of exported encoders. It mirrors l3DecodeRows.cpp.
// Whether an element is there is the caller's word: its presence bit, or a condition on fields where it has none. The
// encoder refuses what a decoder would only remark (a value outside its range), unless everything is to be kept.
#include <cstring>

#include "rt3gppsrc/engine/l3Direct.h"
#include "rt3gppsrc/engine/l3Encode.h"
#include "rt3gppsrc/engine/l3Engine.h"
#include "rt3gppsrc/engine/l3Kept.h"
#include "rt3gppsrc/engine/l3Padding.h"
#include "rtxsrc/errors/rtxReport.h"

// As many as l3gen lets stand inside each other.
static constexpr unsigned kMaxRegions = 4;

// A length that has been written as 0 and whose content is being written.
struct OpenLength {
  const L3Row* row;
  size_t start; // bit position behind the length
};

static const char* moduleOf(const L3Type& type)
{
  return type.module->encoder;
}

// Writes an enumeration. `leaf` is the type that reports a value which is no member: the enumeration's own block.
static int encEnumerated(L3Call& call, const L3Type& leaf, const L3Row& row, uint64_t value, bool& reported)
{
  const L3Enum& set = *static_cast<const L3Enum*>(row.info);
  bool open = set.openEncode || (set.openDecode && l3TakesAll(call));
  if (!open && !l3IsMember(set, value)) {
    reported = true;
    l3ToLists(call);
    rtxErrAddUIntParm(call.pctxt, static_cast<uint32_t>(value));
    return rtxReport(call.pctxt, RTX_E_ENUM_VALUE, moduleOf(leaf), leaf.line);
  }
  const char* label = set.printOpen ? "INTEGER" : "ENUMERATED";
  return row.flags & kL3LH ? l3EncPadded(call, value, row.bits, label) : l3EncBits(call, value, row.bits, label);
}

// Writes an integer or a flag. A number that has more bits than its field is refused, since the octets would hold
// another.
static int encNumber(L3Call& call, const L3Type& leaf, const L3Row& row, uint64_t value, bool& reported)
{
  bool ranged = l3IsOutside(row, value) && !l3TakesAll(call);
  bool narrow = row.op == kL3UInt && row.bits < row.store * 8U && value >> row.bits;
  reported = ranged || narrow;
  if (reported) return l3FailRange(call, moduleOf(leaf), row.type ? leaf.line : row.line, value);
  if (row.op == kL3Unary) return l3EncUnary(call, *static_cast<const L3Unary*>(row.info), static_cast<uint8_t>(value));
  if (row.flags & kL3LH) return l3EncPadded(call, value, row.bits, "INTEGER");
  return l3EncBits(call, value, row.bits, row.op == kL3Bool ? "BOOLEAN" : "INTEGER");
}

// Writes a number, flag or enumeration, and reports it at two levels if the row has a named type (decScalar).
static int encScalar(L3Call& call, const L3Type& type, const L3Row& row, const uint8_t* member)
{
  const L3Type& leaf = row.type ? *row.type : type;
  uint64_t value = l3Load(member, row.store);
  bool reported = false;
  int status = row.op == kL3Enumerated ? encEnumerated(call, leaf, row, value, reported)
                                       : encNumber(call, leaf, row, value, reported);
  if (status >= 0) return status;
  if (row.type && !reported) status = l3Fail(call, moduleOf(leaf), status, leaf.line);
  // In the encoder of the type itself the level has been recorded already.
  return row.type || !reported ? l3Fail(call, moduleOf(type), status, row.line) : status;
}

// Encodes the content of a row, without its name and without what leads it.
int l3EncMember(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int& running)
{
  running = 0;
  int status = 0;
  switch (row.op) {
    case kL3UInt:
    case kL3Bool:
    case kL3Enumerated:
    case kL3Unary:
      return encScalar(call, type, row, record + row.offset);
    case kL3Octets:
    case kL3BitString:
    case kL3Text:
      return l3EncString(call, type, row, record, running);
    case kL3Record:
    case kL3TextType:
      status = l3EncType(call, *row.type, record + row.offset);
      break;
    case kL3List:
      return l3EncList(call, type, row, record);
    case kL3Choice:
      return l3EncChoice(call, type, row, record, running);
    case kL3Body:
      return l3EncBody(call, type, row, record);
    case kL3Extra:
      // No member holds these bits; kept ones have been put back instead (encElement).
      status = l3EncBits(call, 0, row.bits, "INTEGER");
      break;
    default:
      return 0;
  }
  return status < 0 ? l3Fail(call, moduleOf(type), status, row.line) : status;
}

// Is the element there? Elements that only coders by hand set are left to these.
static bool isPresent(const L3Row& row, const uint8_t* record)
{
  if (row.given == kL3ByHand) return false;
  if (row.given == kL3GivenWhen) return l3Holds(*row.cond, record);
  if (row.mBit == kL3NoBit) return true;
  // A group that is not there has no members, whatever their bits say.
  if (row.groupBit != kL3NoBit && !l3HasBit(record, row.groupBit)) return false;
  return l3HasBit(record, row.mBit);
}

// The extension bit of a row: 0 if the next row of its group is there, else 1. A row that has an extension bit and is
// not the last of its group always has a row behind it.
static unsigned extBit(const L3Row& row, const uint8_t* record)
{
  if (row.flags & kL3ExtLast) return 1;
  const L3Row& next = (&row)[1];
  return !(next.given == kL3GivenMore && isPresent(next, record));
}

// Writes what leads the element: an optional bit, which tells whether it is there, or an extension bit, which only an
// element that is there has. A `while-ext` list writes its own.
static int encLead(L3Call& call, const L3Row& row, const uint8_t* record, bool present)
{
  const L3LeadTraits& traits = l3Traits(row.lead);
  if (traits.padded) return l3EncPadded(call, present, 1, traits.label);
  if (traits.optional) return l3EncBits(call, present, 1, traits.label);
  if (row.lead == kL3NoLead || !present || (row.flags & kL3ExtList)) return 0;
  return l3EncBits(call, extBit(row, record), 1, traits.label);
}

// A value relative to the padding that is absent leaves its place to the padding (L bits), so that what follows stands
// at its own place.
static bool leavesPadding(const L3Row& row, bool present)
{
  return !present && row.room && row.lead == kL3NoLead && row.flags & kL3LH;
}

// The content of a row, or the octets that came if they were unusual.
static int encContent(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int& running)
{
  if (l3HasKept(call.pctxt)) return l3EncMemberKept(call, type, row, record, running);
  return l3EncMember(call, type, row, record, running);
}

// One row: what was kept in its place, or its lead and its content.
static int encElement(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int& running)
{
  if (l3FirstKept(call.pctxt, record, &row, kL3KeptInstead))
    return l3PutKept(call, type, row.line, record, &row, kL3KeptInstead);
  if (row.op == kL3Tail) return l3PutKept(call, type, row.line, record, &row, kL3KeptBehind);
  bool present = isPresent(row, record);
  L3Name frame;
  if (int status = l3PushRow(call, moduleOf(type), row, frame); status < 0) return status;
  int status = encLead(call, row, record, present);
  if (status < 0) return l3Fail(call, moduleOf(type), status, row.line);
  if (present)
    if (status = encContent(call, type, row, record, running); status < 0) return status;
  if (leavesPadding(row, present))
    if (status = l3EncPadded(call, 0, row.bits, "ENUMERATED"); status < 0)
      return l3Fail(call, moduleOf(type), status, row.line);
  if (row.name) l3PopName(call);
  return 0;
}

// Writes a length of 0, which l3EncClose patches.
static int encLength(L3Call& call, const L3Type& type, const L3Row& row)
{
  const L3Length& info = *static_cast<const L3Length*>(row.info);
  L3Name frame;
  if (int status = l3PushRow(call, moduleOf(type), row, frame); status < 0) return status;
  int status = l3EncBits(call, 0, info.bits, "INTEGER");
  if (status < 0) return l3Fail(call, moduleOf(type), status, row.line);
  if (row.name) l3PopName(call);
  return 0;
}

// What stands in a row: for a bare type, such as a list with a name, the row inside it.
static const L3Row& contentOf(const L3Row& row)
{
  return row.op == kL3Record && row.type->flags & kL3Bare ? row.type->rows[0] : row;
}

// Rest octets that ended in front of a choice have no alternative of it (`t` is 0). They end there again; any
// alternative would be something that the network did not send.
static bool endsHere(const L3Type& type, const L3Row& row, const uint8_t* record)
{
  if (!(type.flags & kL3RestOctets)) return false;
  return contentOf(row).op == kL3Choice && isPresent(row, record) && !l3Load(record + row.offset, 4);
}

// A list to the end of a message leaves no bits for what could follow it. In an enhanced measurement report one bit
// more would be one more cell: what is absent behind the bitmap is absent because the message is over, so it gets no
// bit.
static bool runsOut(const L3Row& row, const uint8_t* record)
{
  const L3Row& content = contentOf(row);
  if (content.op != kL3List || !isPresent(row, record)) return false;
  return static_cast<const L3List*>(content.info)->end == kL3WhileRoom;
}

// Rest octets get an octet of padding even where they end with one, other structures only what is left of theirs.
static int padEnd(L3Call& call, const L3Type& type, bool over)
{
  bool filled = over || call.pctxt->buffer.bitOffset % 8 == 0;
  return type.flags & kL3RestOctets || (type.flags & kL3Padded && !filled) ? l3PadRest(call, type) : 0;
}

// Can the value be written as it stands in the record, without a report?
static bool isGood(const L3Row& row, uint64_t value)
{
  if (row.op == kL3UInt) return !(value >> row.bits);
  if (row.op == kL3Bool) return true;
  const L3Enum& set = *static_cast<const L3Enum*>(row.info);
  return set.openEncode || l3IsMember(set, value);
}

// Writes fields that stand side by side and are always there, without names and reports. Returns the first row that it
// has not written: what does not fit, in its bits or in the buffer, is left to the walk.
static const L3Row* putRun(L3Call& call, const L3Row* row, const L3Row* end, const uint8_t* record)
{
  for (; row < end && row->flags == kL3InRun; ++row) {
    uint64_t value = l3Load(record + row->offset, row->store);
    if (row->op == kL3Bool) value = value != 0;
    if (!isGood(*row, value) || !l3PutBits(call.pctxt->buffer, row->bits, value)) break;
  }
  return row;
}

// The walk over one record. It stands apart from l3EncRows, so that a direct coder does not pay for its stack frame.
// `kept`: something was kept of the message.
[[gnu::noinline]] static int walkRows(L3Call& call, const L3Type& type, void* value, bool kept)
{
  uint8_t* record = static_cast<uint8_t*>(value);
  OpenLength open[kMaxRegions];
  unsigned opened = 0;
  int running = 0;
  // Nothing can stand behind what has been written (runsOut).
  bool over = false;
  // A run does not look for what was kept in place of a row.
  bool runs = call.plain() && !kept;
  const L3Row* end = type.rows + type.rowCount;
  for (const L3Row* row = type.rows; row < end; ++row) {
    if (row->flags == kL3InRun && runs) {
      running = 0;
      if ((row = putRun(call, row, end, record)) == end) break;
    }
    if (row->op == kL3Release) {
      // A release group that is absent goes with all its rows.
      if (!l3HasBit(record, row->mBit)) row += static_cast<const L3Release*>(row->info)->rows;
      continue;
    }
    if (row->op == kL3EndLength) {
      const OpenLength& closed = open[--opened];
      if (running = l3EncClose(call, type, *closed.row, record, closed.start); running < 0) return running;
      over = false; // the region was over, not the record
      continue;
    }
    if (endsHere(type, *row, record)) break;
    // An optional bit would be read as one more entry of the list.
    if (over && row->room && !isPresent(*row, record)) continue;
    over = over || runsOut(*row, record);
    int status = row->op == kL3Length ? encLength(call, type, *row) : encElement(call, type, *row, record, running);
    if (status < 0) return status;
    if (row->op == kL3Length) open[opened++] = {row, l3BitPos(call.pctxt)};
  }
  // The end of the record closes what is still open, from the inside out, so that each length counts the ones inside.
  while (opened-- > 0)
    if (running = l3EncClose(call, type, *open[opened].row, record, open[opened].start); running < 0) return running;
  if (int status = padEnd(call, type, over); status < 0) return status;
  return type.message ? l3EncOptions(call, type, record, running) : l3Ended(call, running);
}

// The walk over a record of a message of which something was kept. What stands at this record does not stand inside its
// elements, so that these may be encoded directly.
[[gnu::noinline]] static int walkRowsKept(L3Call& call, const L3Type& type, void* value)
{
  size_t outside = call.keptAround;
  call.keptAround += l3CountKept(call.pctxt, type, value);
  int status = walkRows(call, type, value, true);
  call.keptAround = outside;
  return status;
}

// The direct coder first. If a trial around this record has been given up, the walk would be for nothing.
int l3EncRows(L3Call& call, const L3Type& type, void* value)
{
  if (l3EncDirectly(call, type, value)) return 0;
  if (call.mode == kL3GivenUp) return RTX_E_GENERAL;
  return l3HasKept(call.pctxt) ? walkRowsKept(call, type, value) : walkRows(call, type, value, false);
}

// Takes the standard's form of the type, if the context asks for it. A coder by hand comes before the rows.
int l3EncType(L3Call& call, const L3Type& named, void* value)
{
  const L3Type& type = l3FormOf(named, call.pctxt);
  if (type.hand && type.hand->encode) return type.hand->encode(call, type, value);
  return l3EncRows(call, type, value);
}

// Writes the optional elements that are there, in the order of the table, each behind its identifier. What was kept
// goes back behind the element that it stood behind.
int l3EncOptions(L3Call& call, const L3Type& type, uint8_t* record, int running)
{
  const L3Message& message = *type.message;
  if (int status = l3PutKept(call, type, type.line, record, &message, kL3KeptBehind); status < 0) return status;
  for (unsigned i = 0; i < message.count; ++i) {
    const L3Row& row = message.options[i];
    // Nothing can be found behind an open tail.
    if (call.pctxt->flags & RTX_OPENTAIL_FLAG) break;
    if (!isPresent(row, record)) continue;
    L3Name frame;
    if (int status = l3PushRow(call, moduleOf(type), row, frame); status < 0) return status;
    int16_t bitOffset = call.pctxt->buffer.bitOffset;
    // An identifier at another bit would be read as something else.
    if (bitOffset != 8 && bitOffset != 0) return l3Fail(call, moduleOf(type), RTX_E_NOT_OCTET_ALIGNED, row.line);
    // A half-octet identifier is written in the upper half; its value fills the lower one.
    int status = l3EncBits(call, message.ieis[i].value, message.ieis[i].half ? 4 : 8, "iei");
    if (status < 0) return l3Fail(call, moduleOf(type), status, row.line);
    if (status = encContent(call, type, row, record, running); status < 0) return status;
    l3PopName(call);
    if (status = l3PutKept(call, type, row.line, record, &row, kL3KeptBehind); status < 0) return status;
  }
  return l3Ended(call, running);
}

// A whole call by the walk, or by a coder by hand; direct coders inside it may still be tried (kL3MayTry).
int l3EncByRows(RtxContext* pctxt, const L3Type& type, void* value, L3Mode mode)
{
  L3Call call;
  L3Name frame;
  l3Begin(call, pctxt, frame, l3EncNameOf(type));
  if (call.mode < mode) call.mode = mode;
  int status = l3HasKept(pctxt) ? l3EncTypeKept(call, type, value) : l3EncType(call, type, value);
  return l3End(call, status, moduleOf(type), type.line);
}

int l3Encode(RtxContext* pctxt, const L3Type& type, void* value)
{
  return type.flags & kL3EncAtOnce ? l3EncAtOnce(pctxt, type, value) : l3EncByRows(pctxt, type, value, kL3MayTry);
}
