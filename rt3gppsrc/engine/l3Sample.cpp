// The sample walk: a value of a type with every element present that can be, such that it encodes and decodes to
// itself. Callers get it as a template to edit (`velnor3gpp template`), and tests as a value of every type.
//
// The walk goes over the rows as an encoder would and keeps count of the bits that the value will take on the wire,
// since lengths bound it: what no longer fits stays absent, and a string or list is drawn out where an element must
// have a least length. What other elements depend on is settled in l3SampleFields.cpp; what an element holds stands in
// l3SampleMembers.cpp.
#include "rt3gppsrc/engine/l3Engine.h"
#include "rt3gppsrc/engine/l3SampleWalk.h"

// Types within types. Deeper ones fail; no type comes near.
static constexpr unsigned kMaxDepth = 64;
// Lengths inside lengths, as l3gen bounds them.
static constexpr unsigned kMaxRegions = 4;

// Does a bit in front of the element tell whether it is there?
static bool isOptBit(const L3Row& row)
{
  return l3Traits(row.lead).optional;
}

// Does an extension bit lead it?
static bool isExt(const L3Row& row)
{
  return row.lead == kL3LeadExt;
}

// Can the element be there, by what has been decided before it? A condition is made to hold if its fields are free.
static bool mayBePresent(L3SampleRecord& sample, const L3Row& row)
{
  if (row.room && sample.closed) return false;
  switch (row.given) {
    case kL3GivenIf:
    case kL3GivenWhen:
      return l3SettleCondition(sample, *row.cond);
    case kL3GivenMore:
      return !sample.extClosed;
    case kL3GivenWith:
      return l3HasBit(sample.record, row.mBit);
    case kL3ByHand:
      // Elements that only coders by hand set stay out, but for the security header of a form.
      return sample.type.flags & kL3IsPdu;
    default:
      return true;
  }
}

// The bits in front of an element. A `while-ext` list counts its own.
static size_t leadBits(const L3Row& row)
{
  bool bit = isOptBit(row) || (isExt(row) && !(row.flags & kL3ExtList));
  return bit ? 1 : 0;
}

// Takes a presence bit back.
static void clearBit(uint8_t* record, uint16_t bit)
{
  if (bit != kL3NoBit) record[bit >> 3] = static_cast<uint8_t>(record[bit >> 3] & ~(1U << (bit & 7)));
}

// Leaves an element out, with `before` the bits in front of it. What would follow it in the region or in its extension
// group cannot be there either.
static void leaveOut(L3SampleWalk& walk, L3SampleRecord& sample, const L3Row& row, size_t before)
{
  walk.bits = before + (isOptBit(row) ? 1 : 0);
  clearBit(sample.record, row.mBit);
  if (row.room) sample.closed = true;
  if (isExt(row)) sample.extClosed = true;
}

// A message's security header repeats the discriminator of the plain header behind it (TS 24.501, 9.1.1): both have the
// same enumeration, by which they are found.
static void repeatDiscriminator(const L3SampleRecord& sample, const L3Row& header)
{
  const L3Row* plain = nullptr;
  for (const L3Row* row = sample.type.rows; row < sample.type.rows + sample.type.rowCount; ++row)
    if (row->op == kL3Enumerated && !plain) plain = row;
  if (!plain || header.op != kL3Record) return;
  for (const L3Row* row = header.type->rows; row < header.type->rows + header.type->rowCount; ++row)
    if (row->op == kL3Enumerated && row->info == plain->info)
      l3Store(sample.record + header.offset + row->offset, row->store,
              l3Load(sample.record + plain->offset, plain->store));
}

// One row. An element that can be left out is, if it does not fit into the region around it any more.
static void sampleRow(L3SampleWalk& walk, L3SampleRecord& sample, const L3Row& row, size_t before)
{
  if (!mayBePresent(sample, row)) {
    if (row.given != kL3ByHand && row.given != kL3GivenWith) leaveOut(walk, sample, row, before);
    return;
  }
  if (isExt(row)) sample.extClosed = false;
  walk.bits += leadBits(row);
  bool closed = sample.closed;
  l3SampleElement(walk, sample, row);
  if (row.given == kL3ByHand) repeatDiscriminator(sample, row);
  // A mandatory element stays, whatever the region says.
  if (row.mBit == kL3NoBit) return;
  if (walk.bits > walk.limit) {
    sample.closed = closed;
    return leaveOut(walk, sample, row, before);
  }
  l3SetBit(sample.record, row.mBit);
  if (row.groupBit != kL3NoBit) l3SetBit(sample.record, row.groupBit);
}

// A release group is there whole or not at all, and without it the groups behind it are not there either. Its row
// stands before its members' rows.
static void sampleRelease(L3SampleWalk& walk, L3SampleRecord& sample, const L3Row& group)
{
  size_t before = walk.bits;
  const L3Row* end = &group + 1 + static_cast<const L3Release*>(group.info)->rows;
  if (sample.closed) return;
  l3SetBit(sample.record, group.mBit);
  for (const L3Row* row = &group + 1; row < end; ++row) sampleRow(walk, sample, *row, walk.bits);
  if (walk.bits <= walk.limit) return;
  walk.bits = before;
  sample.closed = true;
  for (const L3Row* row = &group; row < end; ++row) clearBit(sample.record, row->mBit);
}

// The region of a length: where its content begins, in bits, and what bounded the content around it.
struct SampleRegion {
  const L3Length* info;
  size_t start;
  size_t outer; // the limit of what lies around it
};

// The most octets or bits that the length can say.
static size_t mostOf(const L3Length& info)
{
  size_t most = l3MaxOfBits(info.bits) + info.bias;
  if (info.bits == 16 && !info.keepWhole) most = 0xFF; // an encoder keeps the low octet only
  return info.ranged && info.hi < most ? info.hi : most;
}

// From here on nothing may grow beyond what the length can say.
static SampleRegion openRegion(L3SampleWalk& walk, const L3Length& info)
{
  walk.bits += info.bits;
  size_t start = walk.bits;
  if (info.fromOctet) start = (start + 7) / 8 * 8; // what shares the length's octet is not counted
  size_t end = start + mostOf(info) * info.unitBits, limit = walk.limit;
  if (end < walk.limit) walk.limit = end;
  return {&info, start, limit};
}

// Octets that the region lacks to its least length.
static size_t closeRegion(L3SampleWalk& walk, const SampleRegion& region)
{
  const L3Length& info = *region.info;
  // An encoder fills the last octet.
  if (info.unitBits == 8) walk.bits = (walk.bits + 7) / 8 * 8;
  size_t least = ((info.ranged ? info.lo : 0) + info.bias) * size_t{info.unitBits};
  size_t length = walk.bits - region.start;
  walk.limit = region.outer;
  return length < least ? (least - length + 7) / 8 : 0;
}

// The optional elements of a message, each behind its identifier.
static void sampleOptions(L3SampleWalk& walk, L3SampleRecord& sample, const L3Message& message)
{
  for (unsigned i = 0; i < message.count && !sample.closed; ++i) {
    size_t before = walk.bits;
    walk.bits += message.ieis[i].half ? 4 : 8;
    sampleRow(walk, sample, message.options[i], before);
    bool present = message.options[i].mBit == kL3NoBit || l3HasBit(sample.record, message.options[i].mBit);
    if (!present) walk.bits = before;
  }
}

// One pass over the record. Returns how many octets its regions lack, at most; `closed` tells whether the record takes
// all that is left of the region around it.
static size_t samplePass(L3SampleWalk& walk, L3SampleRecord& sample, bool& closed)
{
  const L3Type& type = sample.type;
  SampleRegion regions[kMaxRegions];
  unsigned opened = 0;
  size_t lack = 0;
  auto close = [&] {
    size_t more = closeRegion(walk, regions[--opened]);
    lack = more > lack ? more : lack;
  };
  for (const L3Row* row = type.rows; row < type.rows + type.rowCount && !walk.failed; ++row) {
    if (row->op == kL3Length && opened < kMaxRegions) {
      regions[opened++] = openRegion(walk, *static_cast<const L3Length*>(row->info));
      sample.closed = false;
    } else if (row->op == kL3EndLength) {
      close();
      sample.closed = false;
    } else if (row->op == kL3Release) {
      sampleRelease(walk, sample, *row);
      row += static_cast<const L3Release*>(row->info)->rows;
    } else {
      sampleRow(walk, sample, *row, walk.bits);
    }
  }
  if (type.message) sampleOptions(walk, sample, *type.message);
  closed = sample.closed && !opened;
  while (opened) close();
  return lack;
}

// A form's message decides its header, so it is settled before the header's rows are.
static void settleBodies(L3SampleRecord& sample)
{
  for (const L3Row* row = sample.type.rows; row < sample.type.rows + sample.type.rowCount; ++row)
    if (row->op == kL3Body) l3SettleBody(sample, *static_cast<const L3Body*>(row->info));
}

// Fills a value of the type. Returns whether it takes all that is left of the region around it. A record whose regions
// come out too short is filled a second time: only a whole pass shows how much its strings and lists have to grow.
bool l3SampleType(L3SampleWalk& walk, const L3Type& type, uint8_t* value)
{
  if (l3IsHandText(type)) {
    l3SampleTextType(walk, type, nullptr, value);
    return false;
  }
  if (walk.depth == kMaxDepth) walk.failed = true;
  if (walk.failed) return false;
  bool hasLength = false;
  for (const L3Row* row = type.rows; row < type.rows + type.rowCount; ++row) hasLength |= row->op == kL3Length;
  size_t limit = walk.limit, start = walk.bits, grow = walk.grow;
  size_t lack = 0;
  bool closed = false;
  const uint8_t *record = walk.record, *around = walk.around;
  // Counts may be fields of this record, or of the one around it.
  if (!(type.flags & kL3Bare)) {
    walk.around = walk.record;
    walk.record = value;
  }
  ++walk.depth;
  for (int pass = 0; pass < 2 && !walk.failed && (pass == 0 || lack); ++pass) {
    L3SampleRecord sample{type, value, {}, 0, false, false};
    memset(value, 0, type.size);
    walk.bits = start;
    walk.limit = limit;
    if (hasLength) walk.grow = lack;
    settleBodies(sample);
    lack = samplePass(walk, sample, closed);
  }
  --walk.depth;
  walk.record = record;
  walk.around = around;
  walk.limit = limit;
  if (hasLength) walk.grow = grow;
  // Coders by hand may want more than the rows say.
  if (type.hand && type.hand->settle && !walk.failed) walk.failed = !type.hand->settle(walk.pctxt, value);
  return closed;
}

void* l3Sample(RtxContext* pctxt, const L3Type& type)
{
  L3SampleWalk walk{pctxt, 0, SIZE_MAX / 16, 0, 0, 0, false};
  uint8_t* value = static_cast<uint8_t*>(l3SampleRoom(walk, type.size));
  if (value) l3SampleType(walk, type, value);
  return walk.failed ? nullptr : value;
}
