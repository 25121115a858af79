// The sample walk: a value of a type with every element present that can be, such that it encodes and decodes to
// itself. The walk keeps count of the bits that the value will take on the wire, for lengths bound it: what no longer
// fits stays absent, and a string or list is drawn out where an element must have a least length.
#include "rt3gppsrc/engine/l3Engine.h"
#include "rt3gppsrc/engine/l3Padding.h"
#include "rt3gppsrc/engine/l3SampleFields.h"
#include "velnor3gpp/rtxMemHeap.h"

static constexpr unsigned kMaxDepth = 64;
static constexpr unsigned kMaxRegions = 4;
static constexpr uint8_t kOctets[] = {0x21, 0x43, 0x65, 0x87, 0xA9, 0x10, 0x32, 0x54};

struct SampleWalk {
  RtxContext* pctxt;
  size_t bits;     // on the wire so far
  size_t limit;    // where the innermost region must end at the latest
  size_t grow;     // octets by which the next open string or list of the region is drawn out
  size_t argument; // the count for the next type whose decoder takes one
  unsigned depth;
  bool failed;                     // out of memory, or types within types without end
  const uint8_t* record = nullptr; // the one under the walk
  const uint8_t* around = nullptr; // the one that it stands in
};

static bool sampleType(SampleWalk& walk, const L3Type& type, uint8_t* value);
static void sampleElement(SampleWalk& walk, L3SampleRecord& sample, const L3Row& row);

static void* allocate(SampleWalk& walk, size_t octets)
{
  void* memory = rtxMemHeapAllocZ(&walk.pctxt->pMemHeap, octets ? octets : 1);
  if (!memory) walk.failed = true;
  return memory;
}

static void fill(uint8_t* dst, size_t octets)
{
  for (size_t i = 0; i < octets; ++i) dst[i] = kOctets[i % sizeof kOctets];
}

// Octets to draw an open element out by, at most `room`.
static size_t takeGrowth(SampleWalk& walk, size_t room)
{
  size_t growth = walk.grow < room ? walk.grow : room;
  walk.grow -= growth;
  return growth;
}

static size_t clamp(size_t value, size_t lo, size_t hi)
{
  if (value < lo) value = lo;
  return value > hi ? hi : value;
}

static size_t maxOfBits(unsigned bits)
{
  return bits >= 32 ? UINT32_MAX : (size_t{1} << bits) - 1;
}

// Octets of a string on the wire: as near to `wish` as its range and its count field allow.
struct StringSize {
  L3CountFrom from;
  uint8_t lengthBits;
  const L3Field& field;
  size_t lo, hi;
};

static size_t sizeString(SampleWalk& walk, L3SampleRecord& sample, const StringSize& size, size_t wish)
{
  size_t hi = size.hi;
  if (size.from == kL3OwnLength && hi > maxOfBits(size.lengthBits)) hi = maxOfBits(size.lengthBits);
  size_t count = clamp(wish, size.lo, hi);
  if (size.from == kL3ByField)
    count = clamp(static_cast<size_t>(l3SettleCount(sample, size.field, count, hi)), 0, hi);
  else
    count += takeGrowth(walk, hi - count);
  if (size.from == kL3Rest) sample.closed = true;
  walk.bits += count * 8 + (size.from == kL3OwnLength ? size.lengthBits : 0);
  return count;
}

// What a count comes to once its field has the least value that gives `wish` or more. A field of the record around has
// its value already.
static size_t settleCount(SampleWalk& walk, L3SampleRecord& sample, const L3Count& count, size_t wish, size_t most)
{
  if (count.argument) return walk.argument;
  if (count.ofAround) return l3CountBy(count, walk.around);
  int64_t field = count.sizes ? 1 : (static_cast<int64_t>(wish) - count.bias) * count.sign;
  l3SettleCount(sample, count.field, field < 0 ? 0 : static_cast<uint64_t>(field), most);
  return l3CountBy(count, sample.record);
}

static void sampleOctets(SampleWalk& walk, L3SampleRecord& sample, const L3Row& row)
{
  const L3Octets& info = *static_cast<const L3Octets*>(row.info);
  uint8_t* member = sample.record + row.offset;
  if (info.from == kL3Fixed) {
    fill(member, info.fixed);
    walk.bits += size_t{info.fixed} * 8;
    return;
  }
  size_t most = info.cap ? info.cap : 0xFFFF;
  size_t hi = info.ranged && info.hi < most ? info.hi : most;
  size_t lo = info.ranged ? info.lo : 0, count = 0;
  if (info.from == kL3ByField) {
    count = clamp(settleCount(walk, sample, info.count, clamp(1, lo, hi), hi), 0, hi);
    walk.bits += count * 8;
  } else {
    count = sizeString(walk, sample, {info.from, info.lengthBits, info.count.field, lo, hi}, 1);
  }
  uint8_t* data = info.cap ? member + info.dataOffset : static_cast<uint8_t*>(allocate(walk, count));
  if (!data) return;
  fill(data, count);
  if (info.cap)
    member[0] = static_cast<uint8_t>(count);
  else
    l3StoreOctets(member, {static_cast<uint32_t>(count), data});
}

// Bits that a field counts: as few as the field allows, one where it may.
static void sampleCountedBits(SampleWalk& walk, L3SampleRecord& sample, const L3Row& row, const L3BitString& info)
{
  uint8_t* member = sample.record + row.offset;
  size_t wish = static_cast<size_t>(1 + info.count.bias);
  size_t count = settleCount(walk, sample, info.count, wish, maxOfBits(info.count.field.bits));
  if (info.capBits) count = clamp(count, 0, info.capBits);
  walk.bits += count;
  uint8_t* data = info.capBits ? member + info.dataOffset : static_cast<uint8_t*>(allocate(walk, count / 8 + 1));
  if (!data) return;
  if (count) data[(count - 1) / 8] = static_cast<uint8_t>(0xFF << (7 - (count - 1) % 8));
  if (info.capBits)
    member[0] = static_cast<uint8_t>(count);
  else
    l3StoreOctets(member, {static_cast<uint32_t>(count), data});
}

// Bits up to the end of an octet, so that nothing is padded behind them.
static void sampleBits(SampleWalk& walk, L3SampleRecord& sample, const L3Row& row)
{
  const L3BitString& info = *static_cast<const L3BitString*>(row.info);
  uint8_t* member = sample.record + row.offset;
  if (info.from == kL3ByField) return sampleCountedBits(walk, sample, row, info);
  if (info.from == kL3Fixed) {
    member[(info.capBits - 1) / 8] = static_cast<uint8_t>(0xFF << (7 - (info.capBits - 1) % 8));
    walk.bits += info.capBits;
    return;
  }
  size_t count = sample.closed ? 0 : 8 - walk.bits % 8;
  count += takeGrowth(walk, info.capBits ? (info.capBits - clamp(count, 0, info.capBits)) / 8 : 0xFF) * 8;
  if (info.capBits) count = clamp(count, 0, info.capBits);
  sample.closed = true;
  walk.bits += count;
  uint8_t* data = info.capBits ? member + info.dataOffset : static_cast<uint8_t*>(allocate(walk, count / 8 + 1));
  if (!data) return;
  fill(data, count / 8);
  if (count % 8) data[count / 8] = static_cast<uint8_t>(0xA5 << (8 - count % 8));
  if (info.capBits)
    member[0] = static_cast<uint8_t>(count);
  else
    l3StoreOctets(member, {static_cast<uint32_t>(count), data});
}

static void writeText(char* text, size_t length, bool labels)
{
  static const char kText[] = "internet";
  for (size_t i = 0; i < length; ++i) text[i] = labels && i % 60 == 59 ? '.' : kText[i % (sizeof kText - 1)];
}

// Digits: a network's codes by name, else as many digits of an identity as there is room for with the ending zero.
static const char* digitsFor(const char* name, size_t room)
{
  if (name && strcmp(name, "mcc") == 0) return "428";
  if (name && strcmp(name, "mnc") == 0) return "99";
  return room > 16 ? "0010101234567890" : "001010123456789";
}

static void writeDigits(const char* name, char* text, size_t room)
{
  const char* digits = digitsFor(name, room);
  size_t length = strnlen(digits, room - 1);
  memcpy(text, digits, length);
  text[length] = 0;
}

// Each place of an array but the ending zero takes half an octet on the wire: an MCC and an MNC three octets together.
static size_t digitBits(size_t room)
{
  return (room - 1) * 4;
}

static void sampleTextType(SampleWalk& walk, const L3Type& type, const char* name, uint8_t* value)
{
  if (l3TextForm(type) == L3TextForm::array) {
    writeDigits(name, reinterpret_cast<char*>(value), type.size);
    walk.bits += (digitBits(type.size) + 7) / 8 * 8;
    return;
  }
  static constexpr size_t kRoom = 9; // eight digits end with an octet in any packing, and take eight octets at most
  char* text = static_cast<char*>(allocate(walk, kRoom));
  if (!text) return;
  writeDigits(name, text, kRoom);
  walk.bits += (kRoom - 1) * 8;
  l3StorePointer(value, text);
}

static void sampleText(SampleWalk& walk, L3SampleRecord& sample, const L3Row& row)
{
  const L3Text& info = *static_cast<const L3Text*>(row.info);
  char* array = reinterpret_cast<char*>(sample.record + row.offset);
  if (info.cap) {
    writeDigits(row.name, array, info.cap);
    walk.bits += digitBits(info.cap);
    return;
  }
  size_t lo = info.ranged ? info.lo : 0, hi = info.ranged ? info.hi : 0xFF;
  size_t count = sizeString(walk, sample, {info.from, info.lengthBits, info.field, lo, hi}, 8);
  size_t length = info.labels && count ? count - 1 : count;
  char* text = static_cast<char*>(allocate(walk, length + 1));
  if (!text) return;
  writeText(text, length, info.labels);
  l3StorePointer(sample.record + row.offset, text);
}

// Text that rows do not tell how to code.
static bool isHandText(const L3Type& type)
{
  return l3TextForm(type) != L3TextForm::none && (type.hand || !type.rowCount);
}

// How many entries a list begins with; `most` bounds it.
static size_t leastEntries(SampleWalk& walk, L3SampleRecord& sample, const L3List& info, size_t most)
{
  size_t least = clamp(info.ranged ? info.lo : 1, 1, most);
  if (info.end != kL3Times) return least;
  return clamp(settleCount(walk, sample, info.times, least, most), 0, most);
}

static void sampleEntry(SampleWalk& walk, const L3Type& type, const L3List& info, uint8_t* entry)
{
  const L3Type& entryType = info.elem.type ? *info.elem.type : type;
  L3SampleRecord sample{entryType, entry, {}, 0, false, false};
  if (l3Traits(info.end).led || info.end == kL3WhileExt) ++walk.bits;
  sampleElement(walk, sample, info.elem);
}

// Entries that end inside an octet would be followed by padding, which reads like more of them.
static size_t sampleEntries(SampleWalk& walk, const L3Type& type, const L3List& info, uint8_t* entries, size_t least,
                            size_t most)
{
  size_t target = walk.bits + takeGrowth(walk, most) * 8;
  size_t count = 0;
  while (count < least || (info.end == kL3WhileRoom && count < most && (walk.bits % 8 || walk.bits < target))) {
    sampleEntry(walk, type, info, entries + count * info.elemSize);
    ++count;
    if (walk.failed) break;
  }
  if (l3Traits(info.end).led) ++walk.bits;
  return count;
}

static void sampleList(SampleWalk& walk, L3SampleRecord& sample, const L3Row& row)
{
  const L3List& info = *static_cast<const L3List*>(row.info);
  uint8_t* member = sample.record + row.offset;
  size_t most = info.cap ? info.cap : 255;
  if (info.ranged && info.hi < most) most = info.hi;
  size_t least = leastEntries(walk, sample, info, most);
  if (info.end == kL3WhileRoom)
    most = clamp(least + 8 + walk.grow, 0, most);
  else
    most = least;
  size_t store = most * info.elemSize;
  uint8_t* entries = info.cap ? member + info.elemOffset : static_cast<uint8_t*>(allocate(walk, store));
  if (!entries) return;
  size_t count = sampleEntries(walk, sample.type, info, entries, least, most);
  if (info.end == kL3WhileRoom) sample.closed = true;
  if (info.cap)
    member[0] = static_cast<uint8_t>(count);
  else
    l3StoreList(member, count, count ? entries : nullptr);
}

// The leading bits of an element, through the records it begins with, take the value on which it is chosen.
static void forceBits(const L3Row& row, uint8_t* record, uint32_t value, uint32_t mask, unsigned& left);

static void forceRows(const L3Type& type, uint8_t* record, uint32_t value, uint32_t mask, unsigned& left)
{
  for (const L3Row* row = type.rows; row < type.rows + type.rowCount && left; ++row)
    forceBits(*row, record, value, mask, left);
}

static void forceBits(const L3Row& row, uint8_t* record, uint32_t value, uint32_t mask, unsigned& left)
{
  if (row.op == kL3Record) return forceRows(*row.type, record + row.offset, value, mask, left);
  if (row.op > kL3Enumerated) {
    left = 0;
    return;
  }
  unsigned taken = row.bits < left ? row.bits : left;
  unsigned below = row.bits - taken;
  left -= taken;
  uint64_t ones = (1ULL << taken) - 1;
  uint64_t part = (value >> left & ones) << below, partMask = (mask >> left & ones) << below;
  uint64_t before = l3Load(record + row.offset, row.store);
  l3Store(record + row.offset, row.store, (before & ~partMask) | part);
}

static void sampleChoice(SampleWalk& walk, L3SampleRecord& sample, const L3Row& row)
{
  const L3Choice& choice = *static_cast<const L3Choice*>(row.info);
  const L3Alternative* chosen = l3SettleChoice(sample, choice);
  if (!chosen) return;
  if (choice.from == kL3SelectBits) walk.bits += choice.bits;
  if (choice.from == kL3SelectCode) walk.bits += choice.codes[chosen - choice.alternatives].bits;
  if (choice.tagged) l3Store(sample.record + row.offset, 4, chosen->tag);
  sampleElement(walk, sample, chosen->row);
  unsigned left = choice.bits;
  if (choice.from == kL3SelectPeek && !chosen->other)
    forceBits(chosen->row, sample.record, chosen->lo, choice.mask, left);
}

static void sampleBody(SampleWalk& walk, L3SampleRecord& sample, const L3Row& row)
{
  const L3Body& body = *static_cast<const L3Body*>(row.info);
  const L3BodyRow* message = l3SettleBody(sample, body);
  if (!message) return;
  uint8_t* value = message->type ? static_cast<uint8_t*>(allocate(walk, message->type->size)) : nullptr;
  if (value) sample.closed |= sampleType(walk, *message->type, value);
  l3SetBody(sample.type, sample.record, *message, value);
}

static void sampleScalar(SampleWalk& walk, const L3SampleRecord& sample, const L3Row& row)
{
  uint8_t* member = sample.record + row.offset;
  if (!l3IsSettled(sample, row.offset)) l3Store(member, row.store, l3SampleValue(row));
  walk.bits += row.op == kL3Unary ? *member + size_t{1} : row.bits;
}

static void sampleElement(SampleWalk& walk, L3SampleRecord& sample, const L3Row& row)
{
  if (walk.failed) return;
  uint8_t* member = sample.record + row.offset;
  switch (row.op) {
    case kL3UInt:
    case kL3Bool:
    case kL3Enumerated:
    case kL3Unary:
      return sampleScalar(walk, sample, row);
    case kL3Octets:
      return sampleOctets(walk, sample, row);
    case kL3BitString:
      return sampleBits(walk, sample, row);
    case kL3Text:
      return sampleText(walk, sample, row);
    case kL3Record:
    case kL3TextType:
      if (row.info) walk.argument = settleCount(walk, sample, *static_cast<const L3Count*>(row.info), 1, 0xFF);
      if (isHandText(*row.type))
        sampleTextType(walk, *row.type, row.name, member);
      else
        sample.closed |= sampleType(walk, *row.type, member);
      sample.closed |= row.op == kL3TextType;
      return;
    case kL3List:
      return sampleList(walk, sample, row);
    case kL3Choice:
      return sampleChoice(walk, sample, row);
    case kL3Body:
      return sampleBody(walk, sample, row);
    default:
      return;
  }
}

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
static void leaveOut(SampleWalk& walk, L3SampleRecord& sample, const L3Row& row, size_t before)
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

static void sampleRow(SampleWalk& walk, L3SampleRecord& sample, const L3Row& row, size_t before)
{
  if (!mayBePresent(sample, row)) {
    if (row.given != kL3ByHand && row.given != kL3GivenWith) leaveOut(walk, sample, row, before);
    return;
  }
  if (isExt(row)) sample.extClosed = false;
  walk.bits += leadBits(row);
  bool closed = sample.closed;
  sampleElement(walk, sample, row);
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
static void sampleRelease(SampleWalk& walk, L3SampleRecord& sample, const L3Row& group)
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
  size_t most = maxOfBits(info.bits) + info.bias;
  if (info.bits == 16 && !info.keepWhole) most = 0xFF; // an encoder keeps the low octet only
  return info.ranged && info.hi < most ? info.hi : most;
}

static SampleRegion openRegion(SampleWalk& walk, const L3Length& info)
{
  walk.bits += info.bits;
  size_t start = walk.bits;
  if (info.fromOctet) start = (start + 7) / 8 * 8; // what shares the length's octet is not counted
  size_t end = start + mostOf(info) * info.unitBits, limit = walk.limit;
  if (end < walk.limit) walk.limit = end;
  return {&info, start, limit};
}

// Octets that the region lacks to its least length.
static size_t closeRegion(SampleWalk& walk, const SampleRegion& region)
{
  const L3Length& info = *region.info;
  if (info.unitBits == 8) walk.bits = (walk.bits + 7) / 8 * 8;
  size_t least = ((info.ranged ? info.lo : 0) + info.bias) * size_t{info.unitBits};
  size_t length = walk.bits - region.start;
  walk.limit = region.outer;
  return length < least ? (least - length + 7) / 8 : 0;
}

static void sampleOptions(SampleWalk& walk, L3SampleRecord& sample, const L3Message& message)
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
static size_t samplePass(SampleWalk& walk, L3SampleRecord& sample, bool& closed)
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

// Returns whether the record takes all that is left of the region around it.
static bool sampleType(SampleWalk& walk, const L3Type& type, uint8_t* value)
{
  if (isHandText(type)) {
    sampleTextType(walk, type, nullptr, value);
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
  SampleWalk walk{pctxt, 0, SIZE_MAX / 16, 0, 0, 0, false};
  uint8_t* value = static_cast<uint8_t*>(allocate(walk, type.size));
  if (value) sampleType(walk, type, value);
  return walk.failed ? nullptr : value;
}
