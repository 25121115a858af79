// Records as nobody would send them, built along the descriptors: any presence, count, tag and value, but every pointer
// is null or leads to as many octets as its count says, and an array of characters ends. What a caller of an encoder
// can get wrong without breaking C's own rules.
#pragma once

#include <cstring>

#include "rt3gppsrc/engine/l3Engine.h"
#include "rt3gppsrc/engine/l3Record.h"
#include "velnor3gpp/rtxMemHeap.h"

// Draws from octets, or from a sequence by seed when they are used up.
class Draw {
public:
  Draw(const uint8_t* data, size_t size) : data(data), left(size), seeded(false) {}
  explicit Draw(uint64_t seed) : state(seed * 0x9E3779B97F4A7C15ULL + 1), seeded(true) {}
  uint32_t octet()
  {
    if (seeded) {
      state ^= state << 13;
      state ^= state >> 7;
      state ^= state << 17;
      return uint32_t(state >> 24) & 0xFF;
    }
    if (!left) return 0;
    --left;
    return *data++;
  }
  uint32_t below(uint32_t bound) { return bound < 2 ? 0 : (octet() << 8 | octet()) % bound; }
  uint64_t word()
  {
    uint64_t value = 0;
    for (int i = 0; i < 8; ++i) value = value << 8 | octet();
    return value;
  }
  bool usedUp() const { return !seeded && !left; }

private:
  const uint8_t* data = nullptr;
  size_t left = 0;
  uint64_t state = 0;
  bool seeded;
};

class ArbitraryRecord {
public:
  // Of `damage` decisions, one breaks a bound; 0: none does.
  ArbitraryRecord(RtxContext* ctxt, Draw& draw, unsigned damage) : ctxt(ctxt), draw(draw), damage(damage) {}

  void* make(const L3Type& type)
  {
    auto* value = static_cast<uint8_t*>(allocate(type.size));
    if (value) fill(type, value);
    return value;
  }

private:
  static constexpr unsigned kMaxDepth = 12;
  RtxContext* ctxt;
  Draw& draw;
  unsigned damage;
  unsigned depth = 0;
  size_t budget = 1 << 18; // octets in all

  void* allocate(size_t size)
  {
    if (size > budget) return nullptr;
    budget -= size;
    return rtxMemHeapAllocZ(&ctxt->pMemHeap, size ? size : 1);
  }
  bool breaks() { return damage && draw.below(damage) == 0; }

  void fill(const L3Type& type, uint8_t* value)
  {
    if (depth == kMaxDepth) return;
    ++depth;
    L3TextForm text = l3TextForm(type);
    if (text == L3TextForm::pointer) fillText(value);
    if (text == L3TextForm::array) fillCharacters(value, type.size);
    if (text == L3TextForm::none) {
      for (unsigned i = 0; i < type.mOctets; ++i) value[i] = uint8_t(draw.octet());
      fillRows(type.rows, type.rowCount, value);
      if (type.message) fillRows(type.message->options, type.message->count, value);
    }
    --depth;
  }

  void fillRows(const L3Row* rows, size_t count, uint8_t* record)
  {
    for (const L3Row* row = rows; row < rows + count; ++row)
      if (row->op != kL3Release) fillElement(*row, record);
  }

  void fillElement(const L3Row& row, uint8_t* record)
  {
    uint8_t* member = record + row.offset;
    switch (row.op) {
      case kL3UInt:
      case kL3Bool:
      case kL3Enumerated:
      case kL3Unary:
        return l3Store(member, row.store, scalar(row));
      case kL3Octets:
        return fillOctets(*static_cast<const L3Octets*>(row.info), member);
      case kL3BitString:
        return fillBits(*static_cast<const L3BitString*>(row.info), member);
      case kL3Text:
        if (size_t cap = static_cast<const L3Text*>(row.info)->cap) return fillCharacters(member, cap);
        return fillText(member);
      case kL3Record:
      case kL3TextType:
        return fill(*row.type, member);
      case kL3List:
        return fillList(*static_cast<const L3List*>(row.info), member);
      case kL3Choice:
        return fillChoice(*static_cast<const L3Choice*>(row.info), row, record);
      case kL3Body:
        return fillBody(*static_cast<const L3Body*>(row.info), member, record);
      case kL3Length:
        if (static_cast<const L3Length*>(row.info)->member) l3Store(member, row.store, draw.word());
        return;
      default:
        return;
    }
  }

  uint64_t scalar(const L3Row& row)
  {
    if (breaks()) return draw.word();
    uint64_t value = draw.word() & (row.bits >= 64 ? ~0ULL : (1ULL << row.bits) - 1);
    if (row.op == kL3Enumerated) {
      const L3Enum& set = *static_cast<const L3Enum*>(row.info);
      return set.rows ? uint32_t(set.table[value % set.rows].value) : value;
    }
    bool outside = row.flags & kL3Ranged && (value < row.lo || value > row.hi);
    return outside ? row.lo : value;
  }

  void fillOctets(const L3Octets& info, uint8_t* member)
  {
    uint32_t count = info.from == kL3Fixed ? info.fixed : draw.below(breaks() ? 70000 : 40);
    if (info.ranged && !breaks()) count = count < info.lo ? info.lo : count > info.hi ? info.hi : count;
    if (info.from == kL3Fixed || info.cap) {
      if (info.cap) member[0] = uint8_t(count > info.cap && !breaks() ? info.cap : count);
      uint32_t kept = info.cap && count > info.cap ? info.cap : count;
      for (uint32_t i = 0; i < kept; ++i) member[(info.cap ? info.dataOffset : 0) + i] = uint8_t(draw.octet());
      return;
    }
    l3StoreOctets(member, {count, octets(count)});
  }

  uint8_t* octets(uint32_t count)
  {
    if (breaks()) return nullptr;
    auto* data = static_cast<uint8_t*>(allocate(count));
    for (uint32_t i = 0; data && i < count && i < 64; ++i) data[i] = uint8_t(draw.octet());
    return data;
  }

  void fillBits(const L3BitString& info, uint8_t* member)
  {
    uint32_t bits = draw.below(info.capBits && !breaks() ? info.capBits + 1 : 400);
    if (!info.capBits) return l3StoreOctets(member, {bits, octets((bits + 7) / 8)});
    member[0] = uint8_t(bits);
    for (uint32_t i = 0; i < (info.capBits + 7) / 8; ++i) member[info.dataOffset + i] = uint8_t(draw.octet());
  }

  char character() { return breaks() ? char(1 + draw.below(255)) : "0123456789.ab#*f"[draw.below(16)]; }

  void fillCharacters(uint8_t* array, size_t size)
  {
    size_t length = draw.below(uint32_t(size));
    for (size_t i = 0; i < length; ++i) array[i] = uint8_t(character());
    array[length] = 0;
  }

  void fillText(uint8_t* member)
  {
    size_t length = draw.below(breaks() ? 400 : 20);
    auto* text = breaks() ? nullptr : static_cast<char*>(allocate(length + 1));
    for (size_t i = 0; text && i < length; ++i) text[i] = character();
    l3StorePointer(member, text);
  }

  void fillList(const L3List& info, uint8_t* member)
  {
    uint32_t most = info.ranged && info.hi < 40 ? info.hi : 4;
    uint32_t count = draw.below(breaks() ? 300 : (most < 4 ? most : 4) + 1);
    if (info.ranged && count < info.lo && info.lo < 40 && !breaks()) count = info.lo;
    uint8_t* entries = member + info.elemOffset;
    uint32_t kept = count;
    if (info.cap) {
      kept = count < info.cap ? count : info.cap;
      member[0] = uint8_t(breaks() ? count : kept);
    } else {
      entries = breaks() ? nullptr : static_cast<uint8_t*>(allocate(size_t{count} * info.elemSize));
      l3StoreList(member, count, entries);
    }
    for (uint32_t i = 0; entries && i < kept; ++i) fillElement(info.elem, entries + i * size_t{info.elemSize});
  }

  // The union holds what the encoder will take it for.
  void fillChoice(const L3Choice& choice, const L3Row& row, uint8_t* record)
  {
    const L3Alternative* chosen = &choice.alternatives[draw.below(choice.count)];
    uint32_t tag = chosen->tag;
    if (choice.from == kL3SelectFields) {
      chosen = l3FindBySelector(choice, l3JoinFields(choice.fields, choice.fieldCount, record));
      tag = chosen ? chosen->tag : 0;
    } else if (breaks()) {
      tag = uint32_t(draw.word());
      chosen = l3FindByTag(choice, tag);
    }
    if (choice.tagged) l3Store(record + row.offset, 4, tag);
    if (chosen) chosen = choice.tagged ? l3FindByTag(choice, tag) : chosen;
    if (chosen) fillElement(chosen->row, record);
  }

  void fillBody(const L3Body& body, uint8_t* member, uint8_t* record)
  {
    const L3BodyRow& message = body.rows[draw.below(body.count)];
    bool known = !breaks();
    l3Store(member, 4, known ? message.tag : 0xFFFFFF);
    l3StorePointer(record + body.pointerOffset,
                   known && message.type && depth < kMaxDepth && !breaks() ? make(*message.type) : nullptr);
  }
};

inline void* arbitraryRecord(RtxContext* ctxt, const L3Type& type, Draw& draw, unsigned damage)
{
  return ArbitraryRecord(ctxt, draw, damage).make(type);
}
