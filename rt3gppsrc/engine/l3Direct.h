// What the direct coders are made of. For every type whose rows allow it the generator writes, beside the tables, a
// decoder and an encoder in straight lines that know success alone: no names, no error records, one cursor in bits and
// one bound. Whatever is not plainly right (a bound, a range, an unknown value, a repeated element, no memory) makes
// them give up (false); the walk over the rows then does the work again from the start and says exactly what is wrong.
// The walk in slow mode is their oracle in the differential tests.
#ifndef VELNOR3GPP_L3_DIRECT_H
#define VELNOR3GPP_L3_DIRECT_H

#include <cstring>

#include "rt3gppsrc/engine/l3Bits.h"
#include "rt3gppsrc/engine/l3Call.h"

// What a decoding reads. Its cursor and the end of the innermost region, as bits from the start of the buffer, are
// arguments of every coder and never lie in memory: pos <= end <= 8 * octets always.
struct L3Source {
  const uint8_t* data;
  size_t octets; // of the buffer
  L3Call* call;
};

// What an encoding writes: the bits from the cursor to the next octet are 0, those behind it whatever they were.
struct L3Sink {
  uint8_t* data;
  size_t end; // of the buffer, in bits
  L3Call* call;
  bool tail; // an open tail was written: nothing may follow in its container
};

// Returned in place of the new cursor.
static constexpr size_t kL3GaveUp = ~static_cast<size_t>(0);

// Small pieces that move the cursor are always part of their caller: one call that takes its address would keep it in
// memory from element to element, which costs a quarter of the time.
#define L3_INLINE [[gnu::always_inline]] inline

// Runs a type's direct coder from the cursor, if there is one and nothing speaks against it. False: the cursor, the
// flags and the findings are as before, and the rows are to be walked; inside a trial the whole trial is then given up.
bool l3DecDirectly(L3Call& call, const L3Type& type, void* record);
bool l3EncDirectly(L3Call& call, const L3Type& type, void* record);
// A whole call, by the direct coder or else by the rows: most calls are nothing but the first, and need no names or
// regions.
int l3DecAtOnce(RtxContext* pctxt, const L3Type& type, void* record);
int l3EncAtOnce(RtxContext* pctxt, const L3Type& type, void* record);
// From inside a direct coder: a type with a coder by hand, or one that has only rows.
size_t l3DirectType(const L3Source& in, size_t pos, size_t end, const L3Type& type, void* value);
size_t l3DirectPutType(L3Sink& out, size_t pos, const L3Type& type, void* value);
// The same for a type whose coder by hand mostly does what the rows say: those cases go straight through the rows.
size_t l3DirectPlain(const L3Source& in, size_t pos, size_t end, const L3Type& type, void* value);
size_t l3DirectPutPlain(L3Sink& out, size_t pos, const L3Type& type, void* value);

// Storage on the heap, 1 octet or more, that goes away with the trial; null: no memory.
void* l3DirectRoom(L3Call& call, size_t octets);
// Octets and texts on the heap; the caller moves the cursor behind them.
bool l3DirectHeap(const L3Source& in, size_t pos, size_t end, size_t octets, uint32_t& numocts, uint8_t*& data);
bool l3DirectText(const L3Source& in, size_t pos, size_t end, size_t octets, bool labels, char*& text);
// All bits to the region's end, on the heap.
bool l3DirectBits(const L3Source& in, size_t pos, size_t end, uint32_t& numbits, uint8_t*& data);
// Room for entry number `count` of a list on the heap, which has none.
bool l3DirectGrow(const L3Source& in, void** entries, size_t count, size_t& capacity, size_t entrySize);
void l3DirectCut(const L3Source& in, void** entries, size_t count, size_t capacity, size_t entrySize);
// Leaves the region that ends at `end` open behind a release group that ends with it; `outer` is the end of the one
// around it.
size_t l3DirectLeave(const L3Source& in, size_t pos, size_t end, size_t outer);
// Passes over an unknown element; gives up if it asks for comprehension.
size_t l3DirectUnknown(const L3Source& in, size_t pos, size_t end, unsigned iei, bool half);
// Any fields that straddle octets, or stand among the last of the buffer.
uint64_t l3TakeEdge(const uint8_t* data, size_t octets, size_t pos, unsigned bits);
void l3PutEdge(uint8_t* data, size_t pos, unsigned bits, uint64_t value);
size_t l3DirectPutText(L3Sink& out, size_t pos, const char* text, bool labels);
bool l3DirectPutBits(L3Sink& out, size_t pos, const uint8_t* data, uint32_t numbits);
// Writes a length of `bits` bits over the place before `start`.
void l3DirectPatch(uint8_t* data, size_t start, unsigned bits, uint32_t length);

// Takes 1 to 56 bits.
template <unsigned bits> L3_INLINE bool l3Take(const L3Source& in, size_t& pos, size_t end, uint64_t& value)
{
  static_assert(bits >= 1 && bits <= 56);
  if (__builtin_expect(bits > end - pos, 0)) return false;
  size_t at = pos >> 3;
  unsigned used = pos & 7;
  if (bits <= 8 && used + bits <= 8) {
    value = (static_cast<unsigned>(in.data[at]) >> (8 - used - bits)) & ((1U << bits) - 1);
  } else if (__builtin_expect(at + 8 <= in.octets, 1)) {
    value = l3BitsAt(in.data + at, 8, 0, used, bits); // without the tests for the buffer's end
  } else {
    value = l3TakeEdge(in.data, in.octets, pos, bits);
  }
  pos += bits;
  return true;
}

// Takes 1 to 56 bits from a cursor that is known to have used so many bits of its octet.
template <unsigned bits, unsigned used>
L3_INLINE bool l3TakeAt(const L3Source& in, size_t& pos, size_t end, uint64_t& value)
{
  constexpr unsigned octets = (used + bits + 7) / 8;
  if (__builtin_expect(bits > end - pos, 0)) return false;
  value = rtxLoadOctets<octets>(in.data + (pos >> 3)) >> (8 * octets - used - bits) & (~0ULL >> (64 - bits));
  pos += bits;
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

// Opens a region of so many bits; one that leaves its container is for the walk to report.
L3_INLINE bool l3Open(size_t pos, size_t& end, size_t bits, size_t& outer)
{
  outer = end;
  if (bits > end - pos) return false;
  end = pos + bits;
  return true;
}

// What is left in a region is passed over.
L3_INLINE void l3Shut(size_t& pos, size_t& end, size_t outer)
{
  pos = end;
  end = outer;
}

// Is a release group there? One that does not fit bars all behind it.
L3_INLINE bool l3Enter(const L3Source& in, size_t left, unsigned release, unsigned fit, bool& barred)
{
  unsigned limit = in.call->pctxt->specRelease;
  if (barred || !left || (limit && limit < release)) return false;
  barred = fit > left;
  return !barred;
}

L3_INLINE bool l3Octets(const L3Source& in, size_t& pos, size_t end, uint8_t* dst, size_t octets)
{
  if ((pos & 7) || octets > (end - pos) >> 3) return false;
  memcpy(dst, in.data + (pos >> 3), octets);
  pos += octets * 8;
  return true;
}

// Is what cannot be read to be kept? The walk does that.
L3_INLINE bool l3DirectKeeps(const L3Source& in)
{
  return in.call->pctxt->flags & RTX_FLAG_KEEP_ELEMENTS;
}

// Are the standard's forms asked for, which the walk knows?
L3_INLINE bool l3DirectStandard(const L3Source& in)
{
  return in.call->pctxt->flags & RTX_FLAG_STANDARD_FORMS;
}

L3_INLINE bool l3DirectStandard(const L3Sink& out)
{
  return out.call->pctxt->flags & RTX_FLAG_STANDARD_FORMS;
}

// Passes over an element out of its turn, by its size or by its length octet.
L3_INLINE bool l3Skip(size_t& pos, size_t end, size_t octets)
{
  if (octets > (end - pos) >> 3) return false;
  pos += octets * 8;
  return true;
}

L3_INLINE bool l3SkipLength(const L3Source& in, size_t& pos, size_t end)
{
  uint64_t length = 0;
  return l3Take<8>(in, pos, end, length) && l3Skip(pos, end, static_cast<size_t>(length));
}

// Puts 1 to 56 bits; writes no octet that they do not touch.
template <unsigned bits> L3_INLINE bool l3Put(uint8_t* data, size_t& pos, size_t end, uint64_t value)
{
  static_assert(bits >= 1 && bits <= 56);
  if (__builtin_expect(bits > end - pos, 0)) return false;
  unsigned used = pos & 7;
  uint8_t* at = data + (pos >> 3);
  if (bits % 8 == 0 && used == 0) {
    rtxStoreOctets<(bits + 7) / 8>(at, value);
  } else if (used + bits <= 8) {
    *at = static_cast<uint8_t>((used ? *at & (0xFF00U >> used) : 0) | (value << (8 - used - bits)));
  } else {
    l3PutEdge(data, pos, bits, value);
  }
  pos += bits;
  return true;
}

// The same at a cursor that is known to have used so many bits of its octet.
template <unsigned bits, unsigned used> L3_INLINE bool l3PutAt(uint8_t* data, size_t& pos, size_t end, uint64_t value)
{
  constexpr unsigned octets = (used + bits + 7) / 8;
  if (__builtin_expect(bits > end - pos, 0)) return false;
  uint8_t* at = data + (pos >> 3);
  uint64_t word = value << (8 * octets - used - bits);
  if constexpr (used != 0) word |= static_cast<uint64_t>(*at & (0xFF00U >> used)) << (8 * (octets - 1));
  rtxStoreOctets<octets>(at, word);
  pos += bits;
  return true;
}

L3_INLINE bool l3PutOctets(uint8_t* data, size_t& pos, size_t end, const uint8_t* src, size_t octets)
{
  if ((pos & 7) || octets > (end - pos) >> 3) return false;
  if (octets) memcpy(data + (pos >> 3), src, octets);
  pos += octets * 8;
  return true;
}

// Closes a value behind a length that counts octets: up to the next octet, or at an open tail exactly there.
L3_INLINE bool l3Align(L3Sink& out, size_t& pos)
{
  if (out.tail && (pos & 7)) return false;
  out.tail = false;
  pos = (pos + 7) & ~static_cast<size_t>(7);
  return true;
}

// The length of what was written from `start` on, patched in front of it and given back as the record keeps it.
template <unsigned bits, unsigned unit, bool whole>
L3_INLINE bool l3Close(L3Sink& out, size_t& pos, size_t start, size_t& count)
{
  // Octets that are counted from inside an octet do not end at one's start: the walk knows how (l3EncClose).
  if (unit == 8 && ((bits % 8 == 0 && (start & 7)) || !l3Align(out, pos))) return false;
  count = (pos - start) / unit;
  if (bits == 16 && !whole) count &= 0xFF; // a fixed trait of the encoders
  size_t written = count & ((1ULL << bits) - 1);
  if (bits == 8 && !(start & 7))
    out.data[(start >> 3) - 1] = static_cast<uint8_t>(written);
  else
    l3DirectPatch(out.data, start, bits, static_cast<uint32_t>(written));
  return unit == 8 || count == written;
}

#endif
