// Records as nobody would send them, built along the descriptors: any presence, count, tag and value, but every pointer
// is null or leads to as many octets as its count says, and an array of characters ends. What a caller of an encoder
// can get wrong without breaking C's own rules.
#pragma once

#include "tests/recordWalk.h"

// Draws from octets, or from a sequence by seed when there are none.
class Draw {
public:
  Draw(const uint8_t* data, size_t size) : data(data), left(size), seeded(false) {}
  explicit Draw(uint64_t seed) : state(seed * 0x9E3779B97F4A7C15ULL + 1), seeded(true) {}
  uint32_t octet()
  {
    if (!seeded) return left ? (--left, *data++) : 0;
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    return uint32_t(state >> 24) & 0xFF;
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

// Some octets of the input are others, gone, or come from another input.
inline Octets changed(Octets input, const Octets& other, Draw& draw, size_t most)
{
  for (unsigned i = 0; i <= draw.below(4); ++i) {
    size_t at = draw.below(uint32_t(input.size()) + 1), from = draw.below(uint32_t(other.size()) + 1);
    unsigned way = draw.below(4);
    if (way == 0)
      input.insert(input.begin() + long(at), other.begin() + long(from), other.end());
    else if (way == 1)
      input.resize(at);
    else if (at < input.size())
      input[at] = uint8_t(way == 2 ? draw.octet() : input[at] ^ 1U << draw.below(8));
  }
  input.resize(std::min(input.size(), most));
  return input;
}

class ArbitraryRecord {
public:
  // Of `damage` decisions, one breaks a bound; 0: none does.
  ArbitraryRecord(RtxContext* ctxt, Draw& draw, unsigned damage) : ctxt(ctxt), draw(draw), damage(damage) {}

  void* make(const L3Type& type)
  {
    uint8_t* value = allocate(type.size);
    if (!value || fillText(type, value)) return value;
    drawPresence(type, value);
    eachPresent(type, value, [this](const L3Row& row, uint8_t* record) { return fill(row, record), true; });
    return value;
  }

private:
  RtxContext* ctxt;
  Draw& draw;
  unsigned damage;
  size_t budget = 1 << 18; // octets in all

  uint8_t* allocate(size_t size)
  {
    if (size > budget) return nullptr;
    budget -= size;
    return zeroed(ctxt, size);
  }
  bool breaks() { return damage && draw.below(damage) == 0; }
  char character() { return breaks() ? char(1 + draw.below(255)) : "0123456789.ab#*f"[draw.below(16)]; }

  void drawPresence(const L3Type& type, uint8_t* value)
  {
    for (unsigned i = 0; i < type.mOctets; ++i) value[i] = uint8_t(draw.octet());
  }

  // The element, before those inside it.
  void fill(const L3Row& row, uint8_t* record)
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
        return fillText(member, static_cast<const L3Text*>(row.info)->cap);
      case kL3Record:
      case kL3TextType:
        if (!fillText(*row.type, member)) drawPresence(*row.type, member);
        return;
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
    return l3IsOutside(row, value) ? l3RangeOf(row).lo : value;
  }

  // A null pointer has a count all the same.
  uint8_t* octets(uint32_t count)
  {
    uint8_t* data = breaks() ? nullptr : allocate(count);
    for (uint32_t i = 0; data && i < count && i < 64; ++i) data[i] = uint8_t(draw.octet());
    return data;
  }

  void fillOctets(const L3Octets& info, uint8_t* member)
  {
    uint32_t count = info.from == kL3Fixed ? info.fixed : draw.below(breaks() ? 70000 : 40);
    if (info.ranged && !breaks()) count = std::clamp(count, info.lo, std::max(info.lo, info.hi));
    bool counted = info.from != kL3Fixed;
    if (counted && !info.cap) return l3StoreOctets(member, {count, octets(count)});
    uint32_t kept = counted ? std::min(count, info.cap) : count;
    if (counted) member[0] = uint8_t(breaks() ? count : kept);
    for (uint32_t i = 0; i < kept; ++i) member[(counted ? info.dataOffset : 0) + i] = uint8_t(draw.octet());
  }

  void fillBits(const L3BitString& info, uint8_t* member)
  {
    uint32_t bits = draw.below(info.capBits && !breaks() ? info.capBits + 1 : 400);
    if (!info.capBits) return l3StoreOctets(member, {bits, octets((bits + 7) / 8)});
    bool counted = info.from != kL3Fixed;
    if (counted) member[0] = uint8_t(bits);
    uint8_t* data = member + (counted ? info.dataOffset : 0);
    for (uint32_t i = 0; i < (info.capBits + 7) / 8; ++i) data[i] = uint8_t(draw.octet());
  }

  // An array of `cap` characters, or a pointer.
  void fillText(uint8_t* member, size_t cap)
  {
    size_t length = draw.below(cap ? uint32_t(cap) : breaks() ? 400 : 20);
    uint8_t* text = cap ? member : breaks() ? nullptr : allocate(length + 1);
    for (size_t i = 0; text && i < length; ++i) text[i] = uint8_t(character());
    if (!cap) l3StorePointer(member, text);
  }

  // Is the type one text?
  bool fillText(const L3Type& type, uint8_t* value)
  {
    L3TextForm form = l3TextForm(type);
    if (form != L3TextForm::none) fillText(value, form == L3TextForm::array ? type.size : 0);
    return form != L3TextForm::none;
  }

  void fillList(const L3List& info, uint8_t* member)
  {
    uint32_t most = info.ranged ? std::min(info.hi, 4U) : 4;
    uint32_t count = draw.below(breaks() ? 300 : most + 1);
    if (info.ranged && info.lo < 40 && !breaks()) count = std::max(count, info.lo);
    if (info.cap) {
      member[0] = uint8_t(std::min(count, info.cap));
    } else {
      uint8_t* entries = breaks() ? nullptr : allocate(size_t{count} * info.elemSize);
      l3StoreList(member, entries || breaks() ? count : 0, entries);
    }
  }

  // The union holds what the encoder will take it for.
  void fillChoice(const L3Choice& choice, const L3Row& row, uint8_t* record)
  {
    uint32_t tag = choice.alternatives[draw.below(choice.count)].tag;
    if (choice.from == kL3SelectFields) {
      auto* selected = l3FindBySelector(choice, l3JoinFields(choice.fields, choice.fieldCount, record));
      tag = selected ? selected->tag : 0;
    } else if (breaks()) {
      tag = uint32_t(draw.word());
    }
    if (choice.tagged) l3Store(record + row.offset, 4, tag);
  }

  void fillBody(const L3Body& body, uint8_t* member, uint8_t* record)
  {
    const L3BodyRow& message = body.rows[draw.below(body.count)];
    bool known = !breaks();
    l3Store(member, 4, known ? message.tag : 0xFFFFFF);
    void* value = known && message.type && !breaks() ? make(*message.type) : nullptr;
    if (known && message.inlined && value)
      memcpy(record + body.pointerOffset, value, message.type->size);
    else
      l3StorePointer(record + body.pointerOffset, value);
  }
};

inline void* arbitraryRecord(RtxContext* ctxt, const L3Type& type, Draw& draw, unsigned damage)
{
  return ArbitraryRecord(ctxt, draw, damage).make(type);
}
