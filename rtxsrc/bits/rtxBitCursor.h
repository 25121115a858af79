/**
 * @file rtxBitCursor.h
 * The arithmetic of the bit cursor, inline for the readers and writers. Phase is the number of bits already consumed in
 * the current octet, 0 to 7; the bit offsets 8 and 0 both mean none.
 */
#ifndef VELNOR3GPP_RTX_BIT_CURSOR_H
#define VELNOR3GPP_RTX_BIT_CURSOR_H

#include "velnor3gpp/rtxTypes.h"

/** The low `n` bits of an octet. */
static constexpr uint8_t kLowBits[9] = {0x00, 0x01, 0x03, 0x07, 0x0F, 0x1F, 0x3F, 0x7F, 0xFF};

// bitOffset 8 gives phase 0, 5 gives 3, 1 gives 7.
static inline unsigned rtxCursorPhase(const RtxBuffer* buffer)
{
  return (8U - static_cast<unsigned>(buffer->bitOffset)) & 7U;
}

/** Puts the cursor `bits` bits behind the start of the current octet. */
static inline void rtxCursorAdvance(RtxBuffer* buffer, size_t bits)
{
  buffer->byteIndex += bits / 8;
  buffer->bitOffset = static_cast<int16_t>(8 - bits % 8);
}

/**
 * Has every bit of so many octets a number? Where a size has 32 bits, buffers of 512 MiB and more are refused, so that
 * positions in bits do not wrap.
 */
static inline bool rtxBitsAreCountable(size_t octets)
{
  return sizeof(size_t) >= 8 || octets <= SIZE_MAX / 8;
}

/** Octets that a field of `nbits` bits touches when it starts at `phase`; does not overflow. */
// 10 bits from phase 7 on touch 1 + (7 + 2 + 7) / 8 = 3 octets. Whole octets are counted apart, because phase + nbits
// could wrap.
static inline size_t rtxOctetsTouched(unsigned phase, size_t nbits)
{
  return nbits / 8 + (phase + nbits % 8 + 7) / 8;
}

#endif
