// The sample walk: a value of a type with every element present that can be, such that it encodes and decodes to
// itself. The walk keeps count of the bits that the value will take on the wire, for lengths bound it: what no longer
// fits stays absent, and a string or list is drawn out where an element must have a least length.
#include "rt3gppsrc/engine/l3Engine.h"
#include "rt3gppsrc/engine/l3SampleWalk.h"

static constexpr unsigned kMaxDepth = 64;
static constexpr unsigned kMaxRegions = 4;

static bool isOptBit(const L3Row& row)
{
  return l3Traits(row.lead).optional;
}

static bool isExt(const L3Row& row)
{
  return row.lead == kL3LeadExt;
}

// Can the element be there, by what has been decided before it?
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
      return sample.type.flags & kL3IsPdu; // the security header
    default:
      return true;
  }
}

static size_t leadBits(const L3Row& row)
{
  bool bit = isOptBit(row) || (isExt(row) && !(row.flags & kL3ExtList));
  return bit ? 1 : 0;
}

static void clearBit(uint8_t* record, uint16_t bit)
{
  if (bit != kL3NoBit) record[bit >> 3] = static_cast<uint8_t>(record[bit >> 3] & ~(1U << (bit & 7)));
}

// Leaves an element out: what would follow it in the region or group cannot be there either.
static void leaveOut(L3SampleWalk& walk, L3SampleRecord& sample, const L3Row& row, size_t before)
{
  walk.bits = before + (isOptBit(row) ? 1 : 0);
  clearBit(sample.record, row.mBit);
  if (row.room) sample.closed = true;
  if (isExt(row)) sample.extClosed = true;
}

// A message's security header repeats the discriminator of the plain header behind it.
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
  if (row.mBit == kL3NoBit) return;
  if (walk.bits > walk.limit) {
    sample.closed = closed;
    return leaveOut(walk, sample, row, before);
  }
  l3SetBit(sample.record, row.mBit);
  if (row.groupBit != kL3NoBit) l3SetBit(sample.record, row.groupBit);
}

// A release group is there whole or not at all, and so are the groups behind it; its row stands before its members'.
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

// The region of a length: where it began and how long it may be.
struct SampleRegion {
  const L3Length* info;
  size_t start;
  size_t outer; // the limit of what lies around it
};

static size_t mostOf(const L3Length& info)
{
  size_t most = l3MaxOfBits(info.bits) + info.bias;
  if (info.bits == 16 && !info.keepWhole) most = 0xFF; // an encoder keeps the low octet only
  return info.ranged && info.hi < most ? info.hi : most;
}

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
  if (info.unitBits == 8) walk.bits = (walk.bits + 7) / 8 * 8;
  size_t least = ((info.ranged ? info.lo : 0) + info.bias) * size_t{info.unitBits};
  size_t length = walk.bits - region.start;
  walk.limit = region.outer;
  return length < least ? (least - length + 7) / 8 : 0;
}

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

// One pass over the record; tells the octets that it is too short by.
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

// A form's message decides its header, so it is settled before the header's rows.
static void settleBodies(L3SampleRecord& sample)
{
  for (const L3Row* row = sample.type.rows; row < sample.type.rows + sample.type.rowCount; ++row)
    if (row->op == kL3Body) l3SettleBody(sample, *static_cast<const L3Body*>(row->info));
}

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
