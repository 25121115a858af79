// Values of a record from numbers, flags and text, for build.cpp. Each is tested against what its member can hold
// before it is stored: the bits of a number, the room of an array, the characters of a string. What the standard allows
// beyond that is the encoder's to test. Texts on the heap are copies, so the source may go.
#include <stdio.h>

#include "api/build.h"
#include "rt3gppsrc/engine/l3Enum.h"

// Reports a value of the wrong kind: what it is, and what to write.
static int wrong(velnor3gpp_Session& session, const char* is, const char* write)
{
  return buildFailed(session, RTX_E_INVALID_FOR_TYPE, "is %s; write %s", is, write);
}

// Reports a value that its slot cannot take, in the words of JSON, which nearly all sources are.
int refuseKind(velnor3gpp_Session& session, const Slot& slot, const char* is)
{
  // A slot with a type is text, nothing at all, or a record.
  if (slot.type) {
    if (l3TextForm(*slot.type) != L3TextForm::none) return wrong(session, is, "a string of text");
    return wrong(session, is, l3IsEmpty(*slot.type) ? "true" : "an object");
  }
  switch (slot.row->op) {
    case kL3Bool:
      return wrong(session, is, l3IsFlag(*slot.row) ? "true or false" : "a whole number");
    case kL3Octets:
      return wrong(session, is, "a string of hexadecimal digits");
    case kL3BitString:
      return wrong(session, is, "a string of 0 and 1");
    case kL3Text:
      return wrong(session, is, "a string of text");
    case kL3List:
      return wrong(session, is, "an array");
    case kL3Choice:
    case kL3Body:
      return wrong(session, is, "an object of one member, the alternative");
    case kL3Nothing:
      return wrong(session, is, "true");
    default:
      return wrong(session, is, "a whole number");
  }
}

// Lengths that the record keeps are numbers too: they may be given, and encoders set them anew.
static bool isNumber(const Slot& slot)
{
  if (!slot.row) return false;
  L3Op op = slot.row->op;
  if (op == kL3Bool) return !l3IsFlag(*slot.row);
  return op == kL3UInt || op == kL3Enumerated || op == kL3Unary || op == kL3Length;
}

// Stores a number that fits into the bits of the element, which may be fewer than those of its member: 3 bits take 0 to
// 7.
int storeNumber(velnor3gpp_Session& session, const Slot& slot, uint64_t number)
{
  if (!isNumber(slot)) return refuseKind(session, slot, "a number");
  const L3Row& row = *slot.row;
  unsigned width = row.op == kL3Unary ? 8 : row.bits; // a unary number counts its bits up to 255
  if (width < 64 && number >> width) {
    unsigned long long most = (1ULL << width) - 1;
    return buildFailed(session, RTX_E_TOO_BIG, "is %llu; it takes 0 to %llu (%u bits)",
                       static_cast<unsigned long long>(number), most, width);
  }
  l3Store(slot.at + row.offset, row.store, number);
  return 0;
}

// Is the slot an element without a value, which is `true` where it is there?
static bool isNothing(const Slot& slot)
{
  if (slot.row) return slot.row->op == kL3Nothing;
  return l3IsEmpty(*slot.type) && l3TextForm(*slot.type) == L3TextForm::none;
}

// `false` for an element without a value is refused: it would say that the element is there and is not.
int storeFlag(velnor3gpp_Session& session, const Slot& slot, uint64_t flag)
{
  if (isNothing(slot)) return flag ? 0 : wrong(session, "false", "true, or take it out");
  if (!slot.row || !l3IsFlag(*slot.row)) return refuseKind(session, slot, "a flag");
  slot.at[slot.row->offset] = flag != 0;
  return 0;
}

// The value of a hexadecimal digit in either case, or -1.
static int digitOf(char c)
{
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Digits into octets that are 0: each digit shifts the one before to the upper half. "4B" is 4, then 4B.
static int unhex(velnor3gpp_Session& session, const char* text, size_t count, uint8_t* octets)
{
  for (size_t i = 0; i < count; ++i) {
    int digit = digitOf(text[i]);
    if (digit < 0) return buildFailed(session, RTX_E_BAD_HEX, "character %zu is no hexadecimal digit", i + 1);
    octets[i / 2] = static_cast<uint8_t>(octets[i / 2] << 4 | digit);
  }
  return 0;
}

// Octets: into an array of a fixed size, into one with a count of 8 bits in front, or onto the heap.
static int storeOctets(velnor3gpp_Session& session, const L3Octets& info, uint8_t* member, const char* text,
                       size_t characters)
{
  size_t count = characters / 2; // of octets
  if (characters % 2) return buildFailed(session, RTX_E_BAD_HEX, "has an odd number of hexadecimal digits");
  if (info.from == kL3Fixed) {
    if (count == info.fixed) return unhex(session, text, characters, member);
    return buildFailed(session, RTX_E_CONSTRAINT, "has %zu octets; it takes %u", count, info.fixed);
  }
  if (info.cap && count > info.cap)
    return buildFailed(session, RTX_E_TOO_BIG, "has %zu octets; it takes at most %u", count, info.cap);
  uint8_t* data = info.cap ? member + info.dataOffset : static_cast<uint8_t*>(buildAlloc(session, count));
  if (!data) return RTX_E_NO_MEMORY;
  if (info.cap)
    member[0] = static_cast<uint8_t>(count);
  else
    l3StoreOctets(member, {static_cast<uint32_t>(count), data});
  return unhex(session, text, characters, data);
}

// Bits into octets that are 0, the first on top: "101" is A0.
static int takeBits(velnor3gpp_Session& session, const char* text, size_t count, uint8_t* octets)
{
  for (size_t i = 0; i < count; ++i) {
    if (text[i] != '0' && text[i] != '1')
      return buildFailed(session, RTX_E_BAD_BIT_STRING, "character %zu is neither 0 nor 1", i + 1);
    if (text[i] == '1') octets[i / 8] = static_cast<uint8_t>(octets[i / 8] | 0x80 >> i % 8);
  }
  return 0;
}

// A bit string, in the same three ways as octets.
static int storeBits(velnor3gpp_Session& session, const L3BitString& info, uint8_t* member, const char* text,
                     size_t count)
{
  if (info.from == kL3Fixed) {
    if (count == info.capBits) return takeBits(session, text, count, member);
    return buildFailed(session, RTX_E_CONSTRAINT, "has %zu bits; it takes %u", count, info.capBits);
  }
  if (info.capBits && count > info.capBits)
    return buildFailed(session, RTX_E_TOO_BIG, "has %zu bits; it takes at most %u", count, info.capBits);
  uint8_t* data = info.capBits ? member + info.dataOffset : static_cast<uint8_t*>(buildAlloc(session, count / 8 + 1));
  if (!data) return RTX_E_NO_MEMORY;
  if (info.capBits)
    member[0] = static_cast<uint8_t>(count);
  else
    l3StoreOctets(member, {static_cast<uint32_t>(count), data}); // numbits and data lie alike
  return takeBits(session, text, count, data);
}

// Characters into an array of `cap`, which must have room for an ending zero, or with `cap` 0 onto the
// heap. A zero inside would end the text early on the heap; an array has its digits behind a zero written
// all the same (see visit.cpp).
static int storeChars(velnor3gpp_Session& session, uint8_t* member, size_t cap, const char* text, size_t count)
{
  if (!cap && count && memchr(text, 0, count)) return buildFailed(session, RTX_E_BAD_CHAR, "holds a character 0");
  if (cap && count >= cap) // the last place is the end's
    return buildFailed(session, RTX_E_STRING_TOO_LONG, "has %zu characters; it takes at most %zu", count, cap - 1);
  uint8_t* to = cap ? member : static_cast<uint8_t*>(buildAlloc(session, count + 1));
  if (!to) return RTX_E_NO_MEMORY;
  if (count) memcpy(to, text, count);
  if (!cap) l3StorePointer(member, to);
  return 0;
}

// A string where a number belongs. JSON writes numbers above 53 bits as text, because readers hold them as floating
// point. Any other string is refused, with the number in the message if it is the name of a value.
static int storeNumberText(velnor3gpp_Session& session, const Slot& slot, const char* text, size_t count)
{
  const L3Row& row = *slot.row;
  uint64_t value = 0;
  // Up to 19 digits, which are below 2^64 whatever they are.
  bool wide = row.bits > 53 && count && count < 20;
  for (size_t i = 0; wide && i < count; ++i) {
    wide = text[i] >= '0' && text[i] <= '9';
    value = value * 10 + static_cast<uint64_t>(text[i] - '0');
  }
  if (wide) return storeNumber(session, slot, value); // tests the member's width
  if (row.op != kL3Enumerated) return wrong(session, "a string", "a whole number");
  const L3Enum& set = *static_cast<const L3Enum*>(row.info);
  for (unsigned i = 0; i < set.rows; ++i)
    if (set.table[i].namelen == count && strncmp(set.table[i].name, text, count) == 0)
      return buildFailed(session, RTX_E_INVALID_FOR_TYPE, "is a name; write its number, %d",
                         static_cast<int>(set.table[i].value));
  return wrong(session, "a string", "the number of a value");
}

// A string: a text type, octets in hexadecimal, bits, or a number of more than 53 bits.
int storeText(velnor3gpp_Session& session, const Slot& slot, const char* text, size_t count)
{
  if (!text && count) return buildFailed(session, RTX_E_NULL_POINTER, "has no characters");
  if (slot.type) {
    L3TextForm form = l3TextForm(*slot.type);
    if (form == L3TextForm::none) return refuseKind(session, slot, "a string");
    return storeChars(session, slot.at, form == L3TextForm::array ? slot.type->size : 0, text, count);
  }
  const L3Row& row = *slot.row;
  uint8_t* member = slot.at + row.offset;
  if (row.op == kL3Octets) return storeOctets(session, *static_cast<const L3Octets*>(row.info), member, text, count);
  if (row.op == kL3BitString)
    return storeBits(session, *static_cast<const L3BitString*>(row.info), member, text, count);
  if (row.op == kL3Text) return storeChars(session, member, static_cast<const L3Text*>(row.info)->cap, text, count);
  return isNumber(slot) ? storeNumberText(session, slot, text, count) : refuseKind(session, slot, "a string");
}
