// Fields of 1 to 56 bits at a place in a buffer: one load and one store, which the walk over rows, the direct coders
// and the coders by hand share, and above them the same with the cursor of a context's buffer. The first bit of a field
// is its most significant one, and an octet's first bit is its top bit.
//
// Nothing here reports. A function that returns false has changed nothing, and its caller takes the slow way (the
// public bit functions), which says what is missing. The limit of 56 comes from the load: of the 64 bits from an octet
// on, up to 8 may be taken.
//
// A cursor is RtxBuffer.byteIndex and bitOffset: the octet, and how many of its bits are left, from 8 (none taken) to
// 1. A caller's buffer may also say 0, the place behind an octet's last bit; it is the same as 8 in the next octet.
#ifndef VELNOR3GPP_L3_BITS_H
#define VELNOR3GPP_L3_BITS_H

#include "rtxsrc/bits/rtxBigEndian.h"
#include "velnor3gpp/rtxTypes.h"

// The 1 to 56 bits at octet `at`, behind `used` bits of it (0 to 8): in 5A 3C, with 4 used, 8 bits are A3. `octets` is
// the size of the buffer; the load reads nothing behind it. On entry at < octets, and the bits are known to be there.
//
//   5A 3C .. = 0101 1010 0011 1100 ...   << 4  ->  1010 0011 1100 ...   >> 56  ->  1010 0011 = A3
inline uint64_t l3BitsAt(const uint8_t* data, size_t octets, size_t at, unsigned used, unsigned bits)
{
  return rtxLoadWindow(data, octets, at) << used >> (64 - bits);
}

// Puts 1 to 56 bits behind `used` bits of the octet at `at`. Those used bits stay, the bits behind the field in its
// last octet become 0, and no further octet is touched: A3 behind 4 bits of 5F 77 gives 5A 30. The caller has room for
// (used + bits + 7) / 8 octets. A field is always written in the order of the wire, so what becomes 0 is not written
// yet.
inline void l3PutBitsAt(uint8_t* at, unsigned used, unsigned bits, uint64_t value)
{
  uint64_t word = value << (64 - bits) >> used;
  // FF00 >> used is a mask of the used bits: with 4 used, FF0, of which the octet F0 counts.
  if (used) word |= static_cast<uint64_t>(*at & (0xFF00U >> used & 0xFF)) << 56;
  rtxStoreFirst(at, word, (used + bits + 7) / 8);
}

// Bits of the cursor's octet that are taken: 0 to 8.
inline unsigned l3UsedBits(const RtxBuffer& buffer)
{
  return 8U - static_cast<unsigned>(buffer.bitOffset);
}

// Puts the cursor at a bit, counted from the start of the buffer: bit 12 is octet 1 with 4 bits left.
inline void l3MoveTo(RtxBuffer& buffer, size_t position)
{
  buffer.byteIndex = position / 8;
  buffer.bitOffset = static_cast<int16_t>(8 - position % 8);
}

// Moves the cursor over bits that are known to be there.
inline void l3PassBits(RtxBuffer& buffer, unsigned bits)
{
  unsigned used = l3UsedBits(buffer) + bits;
  buffer.byteIndex += used / 8;
  buffer.bitOffset = static_cast<int16_t>(8 - used % 8);
}

// Octets from the cursor's on, a begun one included. A decoder may have put the cursor behind the end, by a length that
// runs past it; there are none then.
inline size_t l3UnreadOctets(const RtxBuffer& buffer)
{
  return buffer.byteIndex < buffer.size ? buffer.size - buffer.byteIndex : 0;
}

// Looks at the next 1 to 56 bits without moving. False if they are not all there.
inline bool l3SeeBits(const RtxBuffer& buffer, unsigned bits, uint64_t& value)
{
  unsigned used = l3UsedBits(buffer);
  if (used + bits > l3UnreadOctets(buffer) * 8) return false;
  value = l3BitsAt(buffer.data, buffer.size, buffer.byteIndex, used, bits);
  return true;
}

// Reads the next 1 to 56 bits. False, with the cursor as it was, if they are not all there.
inline bool l3TakeBits(RtxBuffer& buffer, unsigned bits, uint64_t& value)
{
  if (!l3SeeBits(buffer, bits, value)) return false;
  l3PassBits(buffer, bits);
  return true;
}

// Writes 1 to 56 bits at the cursor. False, with nothing written, if the buffer has no room for them.
inline bool l3PutBits(RtxBuffer& buffer, unsigned bits, uint64_t value)
{
  unsigned used = l3UsedBits(buffer);
  if ((used + bits + 7) / 8 > l3UnreadOctets(buffer)) return false;
  l3PutBitsAt(buffer.data + buffer.byteIndex, used, bits, value);
  l3PassBits(buffer, bits);
  return true;
}

#endif
