// What the elements of a sample hold: numbers, strings, lists, choices and messages, each with as many octets or
// entries as its bounds and the region around it ask for.
#include "rt3gppsrc/engine/l3Engine.h"
#include "rt3gppsrc/engine/l3SampleWalk.h"
#include "velnor3gpp/rtxMemHeap.h"

static constexpr uint8_t kOctets[] = {0x21, 0x43, 0x65, 0x87, 0xA9, 0x10, 0x32, 0x54};

// Cleared storage on the context's heap, never of 0 octets. Without memory the walk is marked as failed, and null
// returned.
void* l3SampleRoom(L3SampleWalk& walk, size_t octets)
{
  void* memory = rtxMemHeapAllocZ(&walk.pctxt->pMemHeap, octets ? octets : 1);
  if (!memory) walk.failed = true;
  return memory;
}

// Octets that differ from their neighbours, so that a shifted copy shows.
static void fill(uint8_t* dst, size_t octets)
{
  for (size_t i = 0; i < octets; ++i) dst[i] = kOctets[i % sizeof kOctets];
}

// Takes octets from those by which the region's content has to grow (L3SampleWalk.grow), at most `room`.
static size_t takeGrowth(L3SampleWalk& walk, size_t room)
{
  size_t growth = walk.grow < room ? walk.grow : room;
  walk.grow -= growth;
  return growth;
}

// The value nearest to `value` from lo to hi.
static size_t clamp(size_t value, size_t lo, size_t hi)
{
  if (value < lo) value = lo;
  return value > hi ? hi : value;
}

// What bounds the octets of a string on the wire.
struct StringSize {
  L3CountFrom from;
  uint8_t lengthBits;
  const L3Field& field;
  size_t lo, hi;
};

// The octets that a string gets: as near to `wish` as its range and its count field allow. A count field is settled
// first and then tells; other strings may be drawn out to fill a region up to its least length.
static size_t sizeString(L3SampleWalk& walk, L3SampleRecord& sample, const StringSize& size, size_t wish)
{
  size_t hi = size.hi;
  if (size.from == kL3OwnLength && hi > l3MaxOfBits(size.lengthBits)) hi = l3MaxOfBits(size.lengthBits);
  size_t count = clamp(wish, size.lo, hi);
  if (size.from == kL3ByField)
    count = clamp(static_cast<size_t>(l3SettleCount(sample, size.field, count, hi)), 0, hi);
  else
    count += takeGrowth(walk, hi - count);
  // It runs to the region's end, so nothing can follow it.
  if (size.from == kL3Rest) sample.closed = true;
  walk.bits += count * 8 + (size.from == kL3OwnLength ? size.lengthBits : 0);
  return count;
}

// What a count comes to once its field has the least value that gives `wish` or more. A field of the record around has
// its value already, and so has a count that the decoder is given.
static size_t settleCount(L3SampleWalk& walk, L3SampleRecord& sample, const L3Count& count, size_t wish, size_t most)
{
  if (count.argument) return walk.argument;
  if (count.ofAround) return l3CountBy(count, walk.around);
  // The formula solved for the field: with `times numElems +1` a wish of 3 entries asks for numElems 2.
  int64_t field = count.sizes ? 1 : (static_cast<int64_t>(wish) - count.bias) * count.sign;
  l3SettleCount(sample, count.field, field < 0 ? 0 : static_cast<uint64_t>(field), most);
  return l3CountBy(count, sample.record);
}

// A string of octets, of one octet where nothing asks for more.
static void sampleOctets(L3SampleWalk& walk, L3SampleRecord& sample, const L3Row& row)
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
  uint8_t* data = info.cap ? member + info.dataOffset : static_cast<uint8_t*>(l3SampleRoom(walk, count));
  if (!data) return;
  fill(data, count);
  if (info.cap)
    member[0] = static_cast<uint8_t>(count);
  else
    l3StoreOctets(member, {static_cast<uint32_t>(count), data});
}

// Bits that a field counts: as many as the least value of the field from 1 on gives. Those in the last octet are 1, and
// behind them are 0s.
static void sampleCountedBits(L3SampleWalk& walk, L3SampleRecord& sample, const L3Row& row, const L3BitString& info)
{
  uint8_t* member = sample.record + row.offset;
  size_t wish = static_cast<size_t>(1 + info.count.bias);
  size_t count = settleCount(walk, sample, info.count, wish, l3MaxOfBits(info.count.field.bits));
  if (info.capBits) count = clamp(count, 0, info.capBits);
  walk.bits += count;
  uint8_t* data = info.capBits ? member + info.dataOffset : static_cast<uint8_t*>(l3SampleRoom(walk, count / 8 + 1));
  if (!data) return;
  // With 3 bits FF << 5 is E0: three 1s on top.
  if (count) data[(count - 1) / 8] = static_cast<uint8_t>(0xFF << (7 - (count - 1) % 8));
  if (info.capBits)
    member[0] = static_cast<uint8_t>(count);
  else
    l3StoreOctets(member, {static_cast<uint32_t>(count), data});
}

// Bits to the region's end reach to the end of an octet here, so that nothing is padded behind them: padding would be
// read as more of them.
static void sampleBits(L3SampleWalk& walk, L3SampleRecord& sample, const L3Row& row)
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
  uint8_t* data = info.capBits ? member + info.dataOffset : static_cast<uint8_t*>(l3SampleRoom(walk, count / 8 + 1));
  if (!data) return;
  fill(data, count / 8);
  if (count % 8) data[count / 8] = static_cast<uint8_t>(0xA5 << (8 - count % 8));
  if (info.capBits)
    member[0] = static_cast<uint8_t>(count);
  else
    l3StoreOctets(member, {static_cast<uint32_t>(count), data});
}

// "internetinternet...". Labels have at most 63 characters (RFC 1035, 2.3.4), so a dot comes after every 59.
static void writeText(char* text, size_t length, bool labels)
{
  static const char kText[] = "internet";
  for (size_t i = 0; i < length; ++i) text[i] = labels && i % 60 == 59 ? '.' : kText[i % (sizeof kText - 1)];
}

// Digits: a network's codes by their names, else as many digits of an identity as there is room for with the ending
// zero (the test network 001-01).
static const char* digitsFor(const char* name, size_t room)
{
  if (name && strcmp(name, "mcc") == 0) return "428";
  if (name && strcmp(name, "mnc") == 0) return "99";
  return room > 16 ? "0010101234567890" : "001010123456789";
}

// The array is filled from the left; what does not fit is left out.
static void writeDigits(const char* name, char* text, size_t room)
{
  const char* digits = digitsFor(name, room);
  size_t length = strnlen(digits, room - 1);
  memcpy(text, digits, length);
  text[length] = 0;
}

// Each place of an array but the ending zero takes half an octet on the wire: an MCC (4 places) and an MNC (4 places)
// take 24 bits together.
static size_t digitBits(size_t room)
{
  return (room - 1) * 4;
}

// A string type coded by hand: digits, in its own array or on the heap.
void l3SampleTextType(L3SampleWalk& walk, const L3Type& type, const char* name, uint8_t* value)
{
  if (l3TextForm(type) == L3TextForm::array) {
    writeDigits(name, reinterpret_cast<char*>(value), type.size);
    walk.bits += (digitBits(type.size) + 7) / 8 * 8;
    return;
  }
  // Eight digits and the ending zero: they end with an octet in any packing, and take eight octets at most.
  static constexpr size_t kRoom = 9;
  char* text = static_cast<char*>(l3SampleRoom(walk, kRoom));
  if (!text) return;
  writeDigits(name, text, kRoom);
  walk.bits += (kRoom - 1) * 8;
  l3StorePointer(value, text);
}

// A text that rows code.
static void sampleText(L3SampleWalk& walk, L3SampleRecord& sample, const L3Row& row)
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
  // On the wire the first label has a length octet more than the text has characters.
  size_t length = info.labels && count ? count - 1 : count;
  char* text = static_cast<char*>(l3SampleRoom(walk, length + 1));
  if (!text) return;
  writeText(text, length, info.labels);
  l3StorePointer(sample.record + row.offset, text);
}

// Is it a text that rows do not tell how to code?
bool l3IsHandText(const L3Type& type)
{
  return l3TextForm(type) != L3TextForm::none && (type.hand || !type.rowCount);
}

// How many entries a list begins with, at most `most`. Where a field counts them, it is settled and tells.
static size_t leastEntries(L3SampleWalk& walk, L3SampleRecord& sample, const L3List& info, size_t most)
{
  size_t least = clamp(info.ranged ? info.lo : 1, 1, most);
  if (info.end != kL3Times) return least;
  return clamp(settleCount(walk, sample, info.times, least, most), 0, most);
}

// One entry. It is a record of its own for what is settled: fields of one entry say nothing of the next.
static void sampleEntry(L3SampleWalk& walk, const L3Type& type, const L3List& info, uint8_t* entry)
{
  const L3Type& entryType = info.elem.type ? *info.elem.type : type;
  L3SampleRecord sample{entryType, entry, {}, 0, false, false};
  // The bit in front of it.
  if (l3Traits(info.end).led || info.end == kL3WhileExt) ++walk.bits;
  l3SampleElement(walk, sample, info.elem);
}

// Fills entries until there are enough; a list to the region's end goes on until it ends with an octet and has taken up
// the growth. If it ended inside an octet, padding would follow, which reads like more entries.
static size_t sampleEntries(L3SampleWalk& walk, const L3Type& type, const L3List& info, uint8_t* entries, size_t least,
                            size_t most)
{
  size_t target = walk.bits + takeGrowth(walk, most) * 8;
  size_t count = 0;
  while (count < least || (info.end == kL3WhileRoom && count < most && (walk.bits % 8 || walk.bits < target))) {
    sampleEntry(walk, type, info, entries + count * info.elemSize);
    ++count;
    if (walk.failed) break;
  }
  // The bit that ends the list.
  if (l3Traits(info.end).led) ++walk.bits;
  return count;
}

// A list of any kind. Storage is for `most` entries; fewer may be used.
static void sampleList(L3SampleWalk& walk, L3SampleRecord& sample, const L3Row& row)
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
  uint8_t* entries = info.cap ? member + info.elemOffset : static_cast<uint8_t*>(l3SampleRoom(walk, store));
  if (!entries) return;
  size_t count = sampleEntries(walk, sample.type, info, entries, least, most);
  if (info.end == kL3WhileRoom) sample.closed = true;
  if (info.cap)
    member[0] = static_cast<uint8_t>(count);
  else
    l3StoreList(member, count, count ? entries : nullptr);
}

// A choice that looks ahead is decided by the leading bits of its alternative, so these take the value on which it is
// chosen: `left` bits of `value`, those in `mask`. They may lie in several members, and in records at the beginning.
static void forceBits(const L3Row& row, uint8_t* record, uint32_t value, uint32_t mask, unsigned& left);

static void forceRows(const L3Type& type, uint8_t* record, uint32_t value, uint32_t mask, unsigned& left)
{
  for (const L3Row* row = type.rows; row < type.rows + type.rowCount && left; ++row)
    forceBits(*row, record, value, mask, left);
}

// A member takes as many of the leading bits as it has. With 3 bits left, a member of 5 bits gets them on top, and its
// lower 2 bits stay as they are.
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

// A choice, with the selector that the first fitting alternative needs.
static void sampleChoice(L3SampleWalk& walk, L3SampleRecord& sample, const L3Row& row)
{
  const L3Choice& choice = *static_cast<const L3Choice*>(row.info);
  const L3Alternative* chosen = l3SettleChoice(sample, choice);
  if (!chosen) return;
  if (choice.from == kL3SelectBits) walk.bits += choice.bits;
  if (choice.from == kL3SelectCode) walk.bits += choice.codes[chosen - choice.alternatives].bits;
  if (choice.tagged) l3Store(sample.record + row.offset, 4, chosen->tag);
  l3SampleElement(walk, sample, chosen->row);
  unsigned left = choice.bits;
  if (choice.from == kL3SelectPeek && !chosen->other)
    forceBits(chosen->row, sample.record, chosen->lo, choice.mask, left);
}

// The message of a form. The header fields have been settled before their rows (settleBodies), so this finds the same
// one.
static void sampleBody(L3SampleWalk& walk, L3SampleRecord& sample, const L3Row& row)
{
  const L3Body& body = *static_cast<const L3Body*>(row.info);
  const L3BodyRow* message = l3SettleBody(sample, body);
  if (!message) return;
  uint8_t* value = message->type ? static_cast<uint8_t*>(l3SampleRoom(walk, message->type->size)) : nullptr;
  if (value) sample.closed |= l3SampleType(walk, *message->type, value);
  l3SetBody(sample.type, sample.record, *message, value);
}

// A number, unless somebody relies on it: then it has its value already.
static void sampleScalar(L3SampleWalk& walk, const L3SampleRecord& sample, const L3Row& row)
{
  uint8_t* member = sample.record + row.offset;
  if (!l3IsSettled(sample, row.offset)) l3Store(member, row.store, l3SampleValue(row));
  walk.bits += row.op == kL3Unary ? *member + size_t{1} : row.bits;
}

// One element that is to be there, by what it is; counts its bits.
void l3SampleElement(L3SampleWalk& walk, L3SampleRecord& sample, const L3Row& row)
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
      if (l3IsHandText(*row.type))
        l3SampleTextType(walk, *row.type, row.name, member);
      else
        sample.closed |= l3SampleType(walk, *row.type, member);
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
