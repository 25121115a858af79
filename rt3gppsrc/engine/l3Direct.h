// What the direct coders are made of. For every type whose rows allow it the generator writes, beside the tables, a
// decoder and an encoder in straight lines that know success alone: no names, no error records, one cursor in bits and
// one bound. Whatever is not plainly right (a bound, a range, an unknown value, a repeated element, no memory) makes
// them give up. The walk over the rows then does the work again from the start and says exactly what is wrong; in slow
// mode it is their oracle in the differential tests (docs/adr/0004-direct-coders.md).
//
// A direct coder gets the cursor by value and returns the new one, or kL3GaveUp. On entry pos <= end, and end is within
// the buffer; this holds after each function here, so that `end - pos` never wraps round. Functions that return false
// leave the cursor anywhere: nobody looks at it any more.
#ifndef VELNOR3GPP_L3_DIRECT_H
#define VELNOR3GPP_L3_DIRECT_H

#include <cstring>

#include "rt3gppsrc/engine/l3Bits.h"
#include "rt3gppsrc/engine/l3Call.h"

// What a decoding reads. Its cursor and the end of the innermost region, as bits from the start of the buffer, are
// arguments of every coder and never lie in memory: pos <= end <= 8 * octets always.
struct L3Source {
  const uint8_t* data;
  // Of the whole buffer: loads may touch octets behind the region, but none behind these.
  size_t octets;
  // The call around it, for storage and flags.
  L3Call* call;
};

// What an encoding writes. In the cursor's octet the bits from the cursor on are 0, and the octets behind it hold
// whatever they held.
struct L3Sink {
  uint8_t* data;
  // Of the buffer, in bits.
  size_t end;
  // The call around it.
  L3Call* call;
  // An open tail has been written: nothing may follow in its container (RTX_OPENTAIL_FLAG, kept here during the trial).
  bool tail;
};

// Returned in place of the new cursor. No buffer has so many bits.
static constexpr size_t kL3GaveUp = ~static_cast<size_t>(0);

// Small pieces that move the cursor are always part of their caller: one call that takes its address would keep it in
// memory from element to element, which costs a quarter of the time.
#define L3_INLINE [[gnu::always_inline]] inline

// Runs a type's direct coder from the cursor, if there is one and nothing speaks against it. False: cursor, flags and
// findings are as before, and the rows are to be walked; inside a trial the whole trial is then given up.
bool l3DecDirectly(L3Call& call, const L3Type& type, void* record);
bool l3EncDirectly(L3Call& call, const L3Type& type, void* record);
// A whole call, by the direct coder or else by the rows. Most calls are nothing but the first, and need no names and no
// regions, so these are not even set up.
int l3DecAtOnce(RtxContext* pctxt, const L3Type& type, void* record);
int l3EncAtOnce(RtxContext* pctxt, const L3Type& type, void* record);
// From inside a direct coder: codes a type that has a coder by hand, or only rows, within the trial.
size_t l3DirectType(const L3Source& in, size_t pos, size_t end, const L3Type& type, void* value);
size_t l3DirectPutType(L3Sink& out, size_t pos, const L3Type& type, void* value);
// The same for a type whose coder by hand mostly does what the rows say: those cases go straight through the rows.
size_t l3DirectPlain(const L3Source& in, size_t pos, size_t end, const L3Type& type, void* value);
size_t l3DirectPutPlain(L3Sink& out, size_t pos, const L3Type& type, void* value);

// Storage on the heap, 1 octet or more, that goes away if the trial is given up; null without memory.
void* l3DirectRoom(L3Call& call, size_t octets);
// Octets and texts on the heap. They are copied from the cursor, which the caller moves behind them; `octets` may be
// any number that the input has claimed.
bool l3DirectHeap(const L3Source& in, size_t pos, size_t end, size_t octets, uint32_t& numocts, uint8_t*& data);
bool l3DirectText(const L3Source& in, size_t pos, size_t end, size_t octets, bool labels, char*& text);
// All bits up to the region's end, on the heap.
bool l3DirectBits(const L3Source& in, size_t pos, size_t end, uint32_t& numbits, uint8_t*& data);
// Room for entry number `count` of a list on the heap that is full. False without memory, or if the list gets out of
// proportion to the input.
bool l3DirectGrow(const L3Source& in, void** entries, size_t count, size_t& capacity, size_t entrySize);
// Gives back what the list has too much.
void l3DirectCut(const L3Source& in, void** entries, size_t count, size_t capacity, size_t entrySize);
// Leaves the region that ends at `end` open behind a release group that ends with it (`!early-return`). `outer` is the
// end of the region around it.
size_t l3DirectLeave(const L3Source& in, size_t pos, size_t end, size_t outer);
// Is there anything to keep between the cursor and the end of a region of whole octets? What fills the last octet up is
// none (keepSurplus). On entry pos < end.
[[gnu::cold]] bool l3DirectSurplus(const L3Source& in, size_t pos, size_t end);
// Passes over an element out of its turn: so many octets, or by its length octet.
inline constexpr unsigned kL3ByLength = ~0U;
[[gnu::cold]] size_t l3DirectLate(const L3Source& in, size_t pos, size_t end, unsigned octets);
// Passes over an unknown element of the type's message, whose identifier, a whole octet, has been read; gives up if it
// asks for comprehension. `order` is the element in front of it, as in the message's table from 1, or 0.
[[gnu::cold]] size_t l3DirectUnknown(const L3Source& in, size_t pos, size_t end, unsigned iei, const L3Type& type,
                                     const void* record, unsigned order);
// Any field: those that straddle octets, or stand among the last of the buffer. Out of line, since it is seldom needed.
uint64_t l3TakeEdge(const uint8_t* data, size_t octets, size_t pos, unsigned bits);
void l3PutEdge(uint8_t* data, size_t pos, unsigned bits, uint64_t value);
// A text, or its labels, from the cursor.
size_t l3DirectPutText(L3Sink& out, size_t pos, const char* text, bool labels);
bool l3DirectPutBits(L3Sink& out, size_t pos, const uint8_t* data, uint32_t numbits);
// Writes a length of `bits` bits over the place that ends at bit `start`.
void l3DirectPatch(uint8_t* data, size_t start, unsigned bits, uint32_t length);

// Takes 1 to 56 bits. False if the region does not have them.
template <unsigned bits> L3_INLINE bool l3Take(const L3Source& in, size_t& pos, size_t end, uint64_t& value)
{
  static_assert(bits >= 1 && bits <= 56);
  if (__builtin_expect(bits > end - pos, 0)) return false;
  size_t at = pos >> 3;
  unsigned used = pos & 7;
  // The field lies within one octet: 3 bits behind 2 of 5A (01 011 010) are 011.
  if (bits <= 8 && used + bits <= 8) {
    value = (static_cast<unsigned>(in.data[at]) >> (8 - used - bits)) & ((1U << bits) - 1);
  } else if (__builtin_expect(at + 8 <= in.octets, 1)) {
    // There are 8 octets from here, so the load needs no test for the buffer's end.
    value = l3BitsAt(in.data + at, 8, 0, used, bits);
  } else {
    value = l3TakeEdge(in.data, in.octets, pos, bits);
  }
  pos += bits;
  return true;
}

// Takes 1 to 56 bits from a cursor that is known, from the types before it, to have used so many bits of its octet. The
// load, shift and mask are constants then: 3 bits behind 2 are one octet >> 3 & 7.
template <unsigned bits, unsigned used>
L3_INLINE bool l3TakeAt(const L3Source& in, size_t& pos, size_t end, uint64_t& value)
{
  constexpr unsigned octets = (used + bits + 7) / 8;
  if (__builtin_expect(bits > end - pos, 0)) return false;
  value = rtxLoadOctets<octets>(in.data + (pos >> 3)) >> (8 * octets - used - bits) & (~0ULL >> (64 - bits));
  pos += bits;
  return true;
}

// Stores a number in a member of any width, an enumeration's included.
template <typename Member> inline void l3Set(Member& member, uint64_t value)
{
  member = static_cast<Member>(value);
}

// A member as the unsigned number that is written. An enumeration's member has 32 bits and a sign; the walk reads it
// without the sign, too (l3Load).
template <typename Member> inline uint64_t l3Number(Member member)
{
  if constexpr (__is_enum(Member))
    return static_cast<uint32_t>(member);
  else
    return member;
}

// Four to eight flags that stand side by side in the record, an octet each, as so many bits: 01 00 01 01 is 1011. All
// are read at once, and a product brings bit 8 * i of the word to bit i of its highest octet (of four flags: of its
// highest four bits). No two summands share a bit, so nothing is carried. Octets other than 0 and 1 go to `over`: the
// walk writes them as 1 or refuses them. `distance` is that of the last flag from the first.
template <unsigned flags, size_t distance> L3_INLINE uint64_t l3Flags(const uint8_t* first, uint64_t& over)
{
  static_assert(distance == flags - 1 && flags >= 4 && flags <= 8);
  uint64_t octets = rtxLoadOctets<flags>(first);
  over |= octets & ~0x0101010101010101U;
  if constexpr (flags == 4) return static_cast<uint32_t>(octets * 0x10204080U) >> 28;
  return octets * 0x0102040810204080U >> 56;
}

// The way back. Up to seven bits are copied to the octets of a word, each copy seven bits above the one before, so that
// octet i begins with bit i. Copies of eight bits would overlap: there octet i keeps bit i of its own copy alone, and
// 0x7F carries it to the octet's highest bit.
template <unsigned flags, size_t distance> L3_INLINE void l3SetFlags(uint8_t* first, uint64_t bits)
{
  static_assert(distance == flags - 1 && flags >= 4 && flags <= 8);
  if constexpr (flags == 4) {
    rtxStoreOctets<flags>(first, bits * 0x00204081U & 0x01010101U);
  } else if constexpr (flags < 8) {
    rtxStoreOctets<flags>(first, bits * 0x0002040810204081U & 0x0101010101010101U);
  } else {
    uint64_t octets = (bits * 0x0101010101010101U) & 0x8040201008040201U;
    rtxStoreOctets<flags>(first, (octets + 0x7F7F7F7F7F7F7F7FU) >> 7 & 0x0101010101010101U);
  }
}

// So many presence bits of a record, from number `first` on, which is the lowest one of the result.
template <unsigned first, unsigned count> L3_INLINE unsigned l3Marks(const void* record)
{
  static_assert(count >= 1 && count <= 16);
  const uint8_t* at = static_cast<const uint8_t*>(record) + first / 8;
  unsigned marks = 0;
  for (unsigned i = 0; i < (first % 8 + count + 7) / 8; ++i) marks |= static_cast<unsigned>(at[i]) << (8 * i);
  return marks >> (first % 8) & ((1U << count) - 1);
}

// Opens a region of so many bits; `outer` keeps the end of the one around. A region that would leave its container is
// for the walk to report.
L3_INLINE bool l3Open(size_t pos, size_t& end, size_t bits, size_t& outer)
{
  outer = end;
  if (bits > end - pos) return false;
  end = pos + bits;
  return true;
}

// Closes a region: what is left in it is passed over.
L3_INLINE void l3Shut(size_t& pos, size_t& end, size_t outer)
{
  pos = end;
  end = outer;
}

// Is a release group there, with `left` bits left in the region? One that does not fit bars all behind it
// (enterRelease).
L3_INLINE bool l3Enter(const L3Source& in, size_t left, unsigned release, unsigned fit, bool& barred)
{
  unsigned limit = in.call->pctxt->specRelease;
  if (barred || !left || (limit && limit < release)) return false;
  barred = fit > left;
  return !barred;
}

// Copies octets. A cursor inside an octet is left to the walk.
L3_INLINE bool l3Octets(const L3Source& in, size_t& pos, size_t end, uint8_t* dst, size_t octets)
{
  if ((pos & 7) || octets > (end - pos) >> 3) return false;
  memcpy(dst, in.data + (pos >> 3), octets);
  pos += octets * 8;
  return true;
}

// Does the caller want to keep what cannot be read? The walk does that.
L3_INLINE bool l3DirectKeeps(const L3Source& in)
{
  return in.call->pctxt->flags & RTX_FLAG_KEEP_ELEMENTS;
}

// Does the caller ask for the standard's forms? A direct coder has the library's own form and leaves others to the
// walk.
L3_INLINE bool l3DirectStandard(const L3Source& in)
{
  return in.call->pctxt->flags & RTX_FLAG_STANDARD_FORMS;
}

L3_INLINE bool l3DirectStandard(const L3Sink& out)
{
  return out.call->pctxt->flags & RTX_FLAG_STANDARD_FORMS;
}

// Passes over so many octets of an element out of its turn.
L3_INLINE bool l3Skip(size_t& pos, size_t end, size_t octets)
{
  if (octets > (end - pos) >> 3) return false;
  pos += octets * 8;
  return true;
}

// Passes over an element by its length octet: 02 0A 0B is three octets.
L3_INLINE bool l3SkipLength(const L3Source& in, size_t& pos, size_t end)
{
  uint64_t length = 0;
  return l3Take<8>(in, pos, end, length) && l3Skip(pos, end, static_cast<size_t>(length));
}

// Puts 1 to 56 bits. It writes no octet that they do not touch, and leaves 0s behind them in their last octet.
template <unsigned bits> L3_INLINE bool l3Put(uint8_t* data, size_t& pos, size_t end, uint64_t value)
{
  static_assert(bits >= 1 && bits <= 56);
  if (__builtin_expect(bits > end - pos, 0)) return false;
  unsigned used = pos & 7;
  uint8_t* at = data + (pos >> 3);
  if (bits % 8 == 0 && used == 0) {
    rtxStoreOctets<(bits + 7) / 8>(at, value);
  } else if (used + bits <= 8) {
    // The used bits stay, the rest of the octet is new: 3 bits 011 behind 2 of 40 (01) give 01 011 000, 58. An octet of
    // which nothing is used is not read, as it has never been written.
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

// Writes octets. A cursor inside an octet is left to the walk. A null source is fine for none.
L3_INLINE bool l3PutOctets(uint8_t* data, size_t& pos, size_t end, const uint8_t* src, size_t octets)
{
  if ((pos & 7) || octets > (end - pos) >> 3) return false;
  if (octets) memcpy(data + (pos >> 3), src, octets);
  pos += octets * 8;
  return true;
}

// Ends the content of a length that counts octets: at the next octet or, behind an open tail, exactly there, since an
// open tail that ends inside an octet is for the walk to report.
L3_INLINE bool l3Align(L3Sink& out, size_t& pos)
{
  if (out.tail && (pos & 7)) return false;
  out.tail = false;
  pos = (pos + 7) & ~static_cast<size_t>(7);
  return true;
}

// The length of what was written from `start` on, patched in front of it and given to the caller as the record keeps
// it. `unit` is 8 or 1 bits. False if a count of bits does not fit the length; of a count of octets that does not fit,
// the low bits are written, as the walk does (l3EncClose).
template <unsigned bits, unsigned unit, bool whole>
L3_INLINE bool l3Close(L3Sink& out, size_t& pos, size_t start, size_t& count)
{
  // Octets that are counted from inside an octet do not end at an octet's start; the walk knows how (align).
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
