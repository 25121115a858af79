// How values lie in records: members and presence bits, the shapes that the descriptors imply, and what earlier members
// tell of later ones. Decoder, encoder, printer, initialiser and sample builder share it. Nothing here allocates, reads
// the wire or knows of a call. Members are read and written by offset, so no function here needs the type of a record;
// a wrong offset would corrupt memory, which is why only l3gen writes them.
#ifndef VELNOR3GPP_L3_RECORD_H
#define VELNOR3GPP_L3_RECORD_H

#include <cstddef>
#include <cstring>

#include "rt3gppsrc/engine/l3Types.h"

// Octets, bits and entries on the heap, as they stand in a record. These are layouts of the public records, so members
// and their order are fixed.
struct L3HeapOctets {
  uint32_t numocts;
  uint8_t* data;
};

struct L3HeapBits {
  uint32_t numbits;
  uint8_t* data;
};

struct L3HeapList {
  uint64_t n;
  uint8_t* elem;
};

// Clears by memset; out of line, so that l3Clear of a large record is one call.
void l3ClearLong(void* at, size_t octets);

// Clears so many octets, up to 256 by stores of their own. Compilers turn memset of more than 96 octets, in code that
// they take for seldom used, into an instruction that repeats, which is slower to begin than these stores are to end
// (165 instructions a message against 99; docs/adr/0004-direct-coders.md).
template <size_t octets> [[gnu::always_inline]] inline void l3Clear(void* at)
{
  static constexpr size_t kInline = 256;
  // The address may be any: a record need not be aligned to 16 octets, nor hold words.
  using Wide [[gnu::vector_size(16), gnu::aligned(1), gnu::may_alias]] = uint64_t;
  using Half [[gnu::aligned(1), gnu::may_alias]] = uint64_t;
  uint8_t* to = static_cast<uint8_t*>(at);
  if constexpr (octets > kInline) {
    l3ClearLong(at, octets);
  } else if constexpr (octets > 16) {
    *reinterpret_cast<Wide*>(to) = Wide{};
    l3Clear<octets - 16>(to + 16);
  } else if constexpr (octets == 16) {
    *reinterpret_cast<Wide*>(to) = Wide{};
  } else if constexpr (octets >= 8) {
    *reinterpret_cast<Half*>(to) = 0;
    l3Clear<octets - 8>(to + 8);
  } else {
    memset(to, 0, octets);
  }
}

// Presence bits lie in the member `m` at the record's start, the lowest bit of each octet first: bit 10 is 04 in the
// second octet.
inline bool l3HasBit(const void* record, uint16_t bit)
{
  return (static_cast<const uint8_t*>(record)[bit >> 3] >> (bit & 7)) & 1;
}

inline void l3SetBit(void* record, uint16_t bit)
{
  static_cast<uint8_t*>(record)[bit >> 3] =
      static_cast<uint8_t>(static_cast<uint8_t*>(record)[bit >> 3] | (1U << (bit & 7)));
}

// Does the closed enumeration have the value? Members lie from 0 to 255; see L3Enum.members.
inline bool l3IsMember(const L3Enum& set, uint64_t value)
{
  return value < 256 && (set.members[value >> 5] >> (value & 31) & 1);
}

// The range of a row that has kL3Ranged.
inline const L3Range& l3RangeOf(const L3Row& row)
{
  return *static_cast<const L3Range*>(row.info);
}

// Is the value outside the range that the row may have?
inline bool l3IsOutside(const L3Row& row, uint64_t value)
{
  return row.flags & kL3Ranged && (value < l3RangeOf(row).lo || value > l3RangeOf(row).hi);
}

// An integer member of 1, 2, 4 or 8 octets, in the machine's order. It is copied, since it may lie at any address.
inline uint64_t l3Load(const uint8_t* member, uint8_t store)
{
  if (store == 1) return *member;
  uint64_t value = 0;
  if (store == 2) {
    uint16_t half;
    __builtin_memcpy(&half, member, sizeof half);
    value = half;
  } else if (store == 4) {
    uint32_t word;
    __builtin_memcpy(&word, member, sizeof word);
    value = word;
  } else {
    __builtin_memcpy(&value, member, sizeof value);
  }
  return value;
}

// Its counterpart: stores the low octets of the value. An enumeration's member is of 4 octets.
inline void l3Store(uint8_t* member, uint8_t store, uint64_t value)
{
  if (store == 1) {
    *member = static_cast<uint8_t>(value);
  } else if (store == 2) {
    uint16_t half = static_cast<uint16_t>(value);
    __builtin_memcpy(member, &half, sizeof half);
  } else if (store == 4) {
    uint32_t word = static_cast<uint32_t>(value);
    __builtin_memcpy(member, &word, sizeof word);
  } else {
    __builtin_memcpy(member, &value, sizeof value);
  }
}

// The value of a selector that several fields make together, the first on top: fields of 1 and 3 bits that hold 1 and
// 101 (binary) make 1101, which is 13.
uint32_t l3JoinFields(const L3Field* fields, unsigned count, const uint8_t* record);
// Does the condition on earlier members of the record hold?
bool l3Holds(const L3Cond& cond, const uint8_t* record);
// What a count comes to by the record's field, never below 0. A null record stands for a field of 0.
size_t l3CountBy(const L3Count& count, const uint8_t* record);
// Some of a type's rows as a type of their own, for coders by hand that do something between them. The copy lives as
// long as the caller keeps it, and it has no direct coders, since these do all rows.
L3Type l3Slice(const L3Type& type, unsigned from, unsigned count);
// The alternative for a selector value or a tag; null if there is none. `else` counts only where no other one fits.
const L3Alternative* l3FindBySelector(const L3Choice& choice, uint32_t value);
const L3Alternative* l3FindByTag(const L3Choice& choice, uint32_t tag);

// How the value of a string type lies in the record.
enum class L3TextForm : uint8_t { none, pointer, array };

// A type that is one text: a char*, or for some digit strings an array of as many characters as the type is long.
inline L3TextForm l3TextForm(const L3Type& type)
{
  if (type.flags & kL3Pointer) return L3TextForm::pointer;
  if (!(type.flags & kL3Bare)) return L3TextForm::none;
  if (!type.rowCount) return type.size ? L3TextForm::array : L3TextForm::none;
  const L3Row& row = type.rows[type.rowCount - 1];
  if (row.op != kL3Text) return L3TextForm::none;
  return static_cast<const L3Text*>(row.info)->cap ? L3TextForm::array : L3TextForm::pointer;
}

// Has the type nothing to show or code? Such a message is its type octet alone and prints as <null>.
inline bool l3IsEmpty(const L3Type& type)
{
  return !type.rowCount && !(type.message && type.message->count);
}

// The name under which a record knows its member: the pushed one, unless that is another member's (kL3OwnKey).
inline const char* l3KeyOf(const L3Row& row)
{
  return row.flags & kL3OwnKey ? row.name + row.nameLength + 1 : row.name;
}

// Is the row's value told as true or false?
inline bool l3IsFlag(const L3Row& row)
{
  return row.op == kL3Bool && !(row.flags & kL3Wide);
}

// Does the name of this type stand for its content alone, without braces and paths of its own?
inline bool l3IsBare(const L3Type& type)
{
  bool named = type.rowCount == 1 && type.rows[0].name; // one element under a name of its own, as in a 5GMM status
  return type.flags & (kL3Bare | kL3IsChoice) && !named;
}

// Reads a member of several parts. It may lie at any address in a record that a caller packs, so it is copied; a cast
// would be undefined there.
template <typename Shape> inline Shape l3LoadShape(const uint8_t* member)
{
  Shape shape;
  memcpy(&shape, member, sizeof shape);
  return shape;
}

// Stores count and pointer apart, so that the padding between them stays as the caller had it.
inline void l3StoreOctets(uint8_t* member, L3HeapOctets value)
{
  memcpy(member, &value.numocts, sizeof value.numocts);
  memcpy(member + offsetof(L3HeapOctets, data), &value.data, sizeof value.data);
}

// `n` and `elem` of a list on the heap.
inline void l3StoreList(uint8_t* member, uint64_t n, void* elem)
{
  memcpy(member, &n, sizeof n);
  memcpy(member + sizeof n, &elem, sizeof elem);
}

// A pointer member, at any address.
inline void l3StorePointer(uint8_t* member, const void* pointer)
{
  memcpy(member, &pointer, sizeof pointer);
}

// The row of the message with the number `t`, or null. A table has the numbers below 256.
inline const L3BodyRow* l3MessageIn(const L3Body& body, uint64_t tag)
{
  if (body.byTag && tag < 256 && body.byTag[tag]) return &body.rows[body.byTag[tag] - 1];
  for (unsigned i = 0; i < body.count; ++i)
    if (body.rows[i].tag == tag) return &body.rows[i];
  return nullptr;
}

// The message that a top-level form holds: in its union itself, or behind the pointer there; null if there is none. The
// record owns nothing: a decoded message lies on the context's heap, another one is the caller's.
inline uint8_t* l3BodyValue(const L3Body& body, const L3BodyRow& row, const uint8_t* record)
{
  const uint8_t* place = record + body.pointerOffset;
  if (!row.type) return nullptr;
  return row.inlined ? const_cast<uint8_t*>(place) : l3LoadShape<uint8_t*>(place);
}

// Is the element there for a printer? A group's bit comes before its members' bits: a member counts only where the
// group is there.
inline bool l3IsPresent(const L3Row& row, const uint8_t* record)
{
  if (row.given == kL3GivenWhen && !l3Holds(*row.cond, record)) return false;
  if (row.groupBit != kL3NoBit && !l3HasBit(record, row.groupBit)) return false;
  return row.mBit == kL3NoBit || l3HasBit(record, row.mBit);
}

// The alternative that a record's tag tells or, without a tag, its selecting fields; null if there is none. Selectors
// on the wire always have a tag, since nothing else in the record would remember them.
inline const L3Alternative* l3ChosenAlternative(const L3Choice& choice, const L3Row& row, const uint8_t* record)
{
  if (choice.tagged) return l3FindByTag(choice, static_cast<uint32_t>(l3Load(record + row.offset, 4)));
  if (choice.from != kL3SelectFields) return nullptr;
  return l3FindBySelector(choice, l3JoinFields(choice.fields, choice.fieldCount, record));
}

#endif
