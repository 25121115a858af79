// What the direct coders are made of. For every type whose rows allow it the generator writes, beside the tables, a
// decoder and an encoder in straight lines that know success alone: no names, no error records, one cursor in bits and
// one bound. Whatever is not plainly right (a bound, a range, an unknown value, a repeated element, no memory) makes
// them give up (false); the walk over the rows then does the work again from the start and says exactly what is wrong.
// The walk in slow mode is their oracle in the differential tests.
#ifndef VELNOR3GPP_L3_DIRECT_H
#define VELNOR3GPP_L3_DIRECT_H

#include <cstring>

#include "rt3gppsrc/engine/l3Call.h"
#include "rtxsrc/bits/rtxBigEndian.h"

// A decoding under way: bit positions from the start of the buffer; pos <= end <= 8 * octets always.
struct L3DirectIn {
  const uint8_t* data;
  size_t pos;
  size_t end;    // of the innermost region
  size_t octets; // of the buffer
  L3Call* call;
};

// An encoding under way: the bits from `pos` to the next octet are 0, those behind it whatever they were.
struct L3DirectOut {
  uint8_t* data;
  size_t pos;
  size_t end; // of the buffer
  bool tail;  // an open tail was written: nothing may follow in its container
  L3Call* call;
};

// Runs a type's direct coder from the cursor, if there is one and nothing speaks against it. False: the cursor, the
// flags and the findings are as before, and the rows are to be walked; inside a trial the whole trial is then given up.
bool l3DecDirectly(L3Call& call, const L3Type& type, void* record);
bool l3EncDirectly(L3Call& call, const L3Type& type, void* record);
// From inside a direct coder: a type with a coder by hand, or one that has only rows.
bool l3DirectType(L3DirectIn& in, const L3Type& type, void* value);
bool l3DirectPutType(L3DirectOut& out, const L3Type& type, void* value);

// Octets of a record that need no clearing; the last of a row of gaps is empty and stands at the record's end.
struct L3Gap {
  uint32_t offset, size;
};

// Storage of a message body, cleared but for the entries of its lists: of 15 KB some hundred octets remain to be
// cleared.
bool l3DirectBody(L3DirectIn& in, const L3Gap* gaps, void*& message);
// Octets and texts on the heap.
bool l3DirectHeap(L3DirectIn& in, size_t octets, uint32_t& numocts, uint8_t*& data);
// All bits to the region's end, on the heap.
bool l3DirectBits(L3DirectIn& in, uint32_t& numbits, uint8_t*& data);
bool l3DirectText(L3DirectIn& in, size_t octets, bool labels, char*& text);
// Room for entry number `count` of a list on the heap.
bool l3DirectGrow(L3DirectIn& in, void** entries, size_t count, size_t& capacity, size_t entrySize);
void l3DirectCut(L3DirectIn& in, void** entries, size_t count, size_t capacity, size_t entrySize);
// Leaves the innermost region open behind a release group that ends with it; `outer` is the end of the one around it.
bool l3DirectLeave(L3DirectIn& in, size_t outer);
// Passes over an element out of its turn, by its size or by its length octet.
bool l3DirectSkip(L3DirectIn& in, size_t octets);
bool l3DirectSkipLength(L3DirectIn& in);
// Passes over an unknown element; false if it asks for comprehension.
bool l3DirectUnknown(L3DirectIn& in, unsigned iei, bool half);
// Any fields that straddle octets, or stand among the last of the buffer.
bool l3TakeEdge(L3DirectIn& in, unsigned bits, uint64_t& value);
void l3PutEdge(L3DirectOut& out, unsigned bits, uint64_t value);
bool l3DirectPutText(L3DirectOut& out, const char* text, bool labels);
bool l3DirectPutBits(L3DirectOut& out, const uint8_t* data, uint32_t numbits);
// Writes a length of `bits` bits over the place before `start`.
void l3DirectPatch(L3DirectOut& out, size_t start, unsigned bits, uint32_t length);

// Takes 1 to 56 bits.
template <unsigned bits> inline bool l3Take(L3DirectIn& in, uint64_t& value)
{
  static_assert(bits >= 1 && bits <= 56);
  if (__builtin_expect(bits > in.end - in.pos, 0)) return false;
  size_t at = in.pos >> 3;
  unsigned used = in.pos & 7;
  if (bits <= 8 && used + bits <= 8) {
    value = (static_cast<unsigned>(in.data[at]) >> (8 - used - bits)) & ((1U << bits) - 1);
  } else if (__builtin_expect(at + 8 <= in.octets, 1)) {
    value = (rtxLoadOctets<8>(in.data + at) << used) >> (64 - bits);
  } else if (in.octets >= 8) {
    // Among the last octets of the buffer: the load ends with it.
    uint64_t word = rtxLoadOctets<8>(in.data + in.octets - 8);
    value = (word << (8 * (at + 8 - in.octets) + used)) >> (64 - bits);
  } else {
    return l3TakeEdge(in, bits, value);
  }
  in.pos += bits;
  return true;
}

// Takes 1 to 56 bits from a cursor that is known to have used so many bits of its octet.
template <unsigned bits, unsigned used> inline bool l3TakeAt(L3DirectIn& in, uint64_t& value)
{
  constexpr unsigned octets = (used + bits + 7) / 8;
  if (__builtin_expect(bits > in.end - in.pos, 0)) return false;
  value = rtxLoadOctets<octets>(in.data + (in.pos >> 3)) >> (8 * octets - used - bits) & (~0ULL >> (64 - bits));
  in.pos += bits;
  return true;
}

template <typename Member> inline void l3Set(Member& member, uint64_t value)
{
  member = static_cast<Member>(value);
}

// A member as the unsigned number that is written: an enumeration's is of 32 bits.
template <typename Member> inline uint64_t l3Number(Member member)
{
  if constexpr (__is_enum(Member))
    return static_cast<uint32_t>(member);
  else
    return member;
}

inline bool l3IsMember(const L3Enum& set, uint64_t value)
{
  return value < 256 && (set.members[value >> 5] >> (value & 31) & 1);
}

// Opens a region of so many bits; one that leaves its container is for the walk to report.
inline bool l3Open(L3DirectIn& in, size_t bits, size_t& outer)
{
  outer = in.end;
  if (bits > in.end - in.pos) return false;
  in.end = in.pos + bits;
  return true;
}

// Is a release group there? One that does not fit bars all behind it.
inline bool l3Enter(const L3DirectIn& in, unsigned release, unsigned fit, bool& barred)
{
  unsigned limit = in.call->pctxt->specRelease;
  if (barred || in.pos == in.end || (limit && limit < release)) return false;
  barred = fit > in.end - in.pos;
  return !barred;
}

// What is left in a region is passed over.
inline void l3Shut(L3DirectIn& in, size_t outer)
{
  in.pos = in.end;
  in.end = outer;
}

inline bool l3Octets(L3DirectIn& in, uint8_t* dst, size_t octets)
{
  if ((in.pos & 7) || octets > (in.end - in.pos) >> 3) return false;
  memcpy(dst, in.data + (in.pos >> 3), octets);
  in.pos += octets * 8;
  return true;
}

inline bool l3DirectFits(L3DirectOut& out, size_t bits)
{
  return bits <= out.end - out.pos;
}

// Puts 1 to 56 bits; writes no octet that they do not touch.
template <unsigned bits> inline bool l3Put(L3DirectOut& out, uint64_t value)
{
  static_assert(bits >= 1 && bits <= 56);
  if (__builtin_expect(bits > out.end - out.pos, 0)) return false;
  unsigned used = out.pos & 7;
  uint8_t* at = out.data + (out.pos >> 3);
  if (bits % 8 == 0 && used == 0) {
    rtxStoreOctets<(bits + 7) / 8>(at, value);
  } else if (used + bits <= 8) {
    *at = static_cast<uint8_t>((used ? *at & (0xFF00U >> used) : 0) | (value << (8 - used - bits)));
  } else {
    l3PutEdge(out, bits, value);
  }
  out.pos += bits;
  return true;
}

// The same at a cursor that is known to have used so many bits of its octet.
template <unsigned bits, unsigned used> inline bool l3PutAt(L3DirectOut& out, uint64_t value)
{
  constexpr unsigned octets = (used + bits + 7) / 8;
  if (__builtin_expect(bits > out.end - out.pos, 0)) return false;
  uint8_t* at = out.data + (out.pos >> 3);
  uint64_t word = value << (8 * octets - used - bits);
  if constexpr (used != 0) word |= static_cast<uint64_t>(*at & (0xFF00U >> used)) << (8 * (octets - 1));
  rtxStoreOctets<octets>(at, word);
  out.pos += bits;
  return true;
}

inline bool l3PutOctets(L3DirectOut& out, const uint8_t* src, size_t octets)
{
  if ((out.pos & 7) || octets > (out.end - out.pos) >> 3) return false;
  if (octets) memcpy(out.data + (out.pos >> 3), src, octets);
  out.pos += octets * 8;
  return true;
}

// Closes a value behind a length that counts octets: up to the next octet, or at an open tail exactly there.
inline bool l3Align(L3DirectOut& out)
{
  if (out.tail && (out.pos & 7)) return false;
  out.tail = false;
  out.pos = (out.pos + 7) & ~static_cast<size_t>(7);
  return true;
}

// The length of what was written from `start` on, patched in front of it and given back as the record keeps it.
template <unsigned bits, unsigned unit, bool whole> inline bool l3Close(L3DirectOut& out, size_t start, size_t& count)
{
  if (unit == 8 && !l3Align(out)) return false;
  count = (out.pos - start) / unit;
  if (bits == 16 && !whole) count &= 0xFF; // a fixed trait of the encoders
  size_t written = count & ((1ULL << bits) - 1);
  if (bits == 8 && !(start & 7))
    out.data[(start >> 3) - 1] = static_cast<uint8_t>(written);
  else
    l3DirectPatch(out, start, bits, static_cast<uint32_t>(written));
  return unit == 8 || count == written;
}

#endif
