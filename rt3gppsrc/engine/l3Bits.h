// Fields of up to 56 bits at a place in a buffer: one load and one store for the walk over rows, the direct coders and
// the coders by hand, and one cursor over them for those that work on the context's buffer. Nothing here reports: what
// is not all there is left as it was, and the caller takes the road that says what is missing.
#ifndef VELNOR3GPP_L3_BITS_H
#define VELNOR3GPP_L3_BITS_H

#include "rtxsrc/bits/rtxBigEndian.h"
#include "velnor3gpp/rtxTypes.h"

// Of an octet of which `used` bits are taken (0 to 8), the 1 to 56 bits behind them: in 5A 3C, 4 used, 8 bits are A3.
// The octet is one of the buffer's, and the bits are known to be there.
inline uint64_t l3BitsAt(const uint8_t* data, size_t octets, size_t at, unsigned used, unsigned bits)
{
  return rtxLoadWindow(data, octets, at) << used >> (64 - bits);
}

// Puts 1 to 56 bits there. The bits behind them in their last octet become 0, and no further octet is touched.
inline void l3PutBitsAt(uint8_t* at, unsigned used, unsigned bits, uint64_t value)
{
  uint64_t word = value << (64 - bits) >> used;
  if (used) word |= static_cast<uint64_t>(*at & (0xFF00U >> used & 0xFF)) << 56;
  rtxStoreFirst(at, word, (used + bits + 7) / 8);
}

// Bits of the cursor's octet that are taken, 0 to 8.
inline unsigned l3UsedBits(const RtxBuffer& buffer)
{
  return 8U - static_cast<unsigned>(buffer.bitOffset);
}

// Puts the cursor at a bit, counted from the start of the buffer.
inline void l3MoveTo(RtxBuffer& buffer, size_t position)
{
  buffer.byteIndex = position / 8;
  buffer.bitOffset = static_cast<int16_t>(8 - position % 8);
}

// Moves over bits that are known to be there.
inline void l3PassBits(RtxBuffer& buffer, unsigned bits)
{
  unsigned used = l3UsedBits(buffer) + bits;
  buffer.byteIndex += used / 8;
  buffer.bitOffset = static_cast<int16_t>(8 - used % 8);
}

// Octets from the cursor's on.
inline size_t l3UnreadOctets(const RtxBuffer& buffer)
{
  return buffer.byteIndex < buffer.size ? buffer.size - buffer.byteIndex : 0;
}

// Looks at the next 1 to 56 bits without a step.
inline bool l3SeeBits(const RtxBuffer& buffer, unsigned bits, uint64_t& value)
{
  unsigned used = l3UsedBits(buffer);
  if (used + bits > l3UnreadOctets(buffer) * 8) return false;
  value = l3BitsAt(buffer.data, buffer.size, buffer.byteIndex, used, bits);
  return true;
}

inline bool l3TakeBits(RtxBuffer& buffer, unsigned bits, uint64_t& value)
{
  if (!l3SeeBits(buffer, bits, value)) return false;
  l3PassBits(buffer, bits);
  return true;
}

inline bool l3PutBits(RtxBuffer& buffer, unsigned bits, uint64_t value)
{
  unsigned used = l3UsedBits(buffer);
  if ((used + bits + 7) / 8 > l3UnreadOctets(buffer)) return false;
  l3PutBitsAt(buffer.data + buffer.byteIndex, used, bits, value);
  l3PassBits(buffer, bits);
  return true;
}

#endif
