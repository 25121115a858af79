// Bits that mean something relative to the padding of rest octets (TS 44.018, 10.5.2). The padding is the octet 2B,
// 0010 1011, over and over. A bit is L if it equals the padding's bit at the same place in the octet, and H if it
// differs, so that octets nobody has written, all 2B, read as "L L L ...": nothing is there. At an octet's start the
// bits 10 are H, L (1 differs from 0, 0 equals 0).
//
// Numbers of such bits, codes that tell alternatives and counted runs of bits are built from them.
#ifndef VELNOR3GPP_L3_PADDING_H
#define VELNOR3GPP_L3_PADDING_H

#include "rt3gppsrc/engine/l3Call.h"

// A repeated octet's bits at the next 1 to 32 positions from the cursor, right-aligned. With 2B and 3 bits of the octet
// taken, the next 4 are 0101: 001[0 101]1.
inline uint32_t l3PatternAhead(const RtxContext* pctxt, uint8_t pattern, unsigned bits)
{
  // The word is the octet four times over. It is rotated left until the last of the wanted bits is its lowest bit.
  unsigned shift = (8U - static_cast<unsigned>(pctxt->buffer.bitOffset) + bits) & 7;
  uint32_t word = pattern * 0x01010101U;
  word = word << shift | word >> ((32 - shift) & 31);
  return word & (0xFFFFFFFFU >> (32 - bits));
}

// The padding's bits at the next 1 to 32 positions.
inline uint32_t l3PaddingAhead(const RtxContext* pctxt, unsigned bits)
{
  return l3PatternAhead(pctxt, 0x2B, bits);
}

// A number of 1 to 32 bits relative to the padding, as l3DecBits and l3EncBits code plain ones. The record holds a 1
// for each H.
int l3DecPadded(L3Call& call, uint8_t* member, unsigned bits, uint8_t store, const char* label);
int l3EncPadded(L3Call& call, uint64_t value, unsigned bits, const char* label);
// The code of an alternative of a choice: the value by which the alternatives are told apart.
int l3DecCode(L3Call& call, const L3Choice& choice, uint32_t& value);
int l3EncCode(L3Call& call, const L3Code& code);
// A run of equal bits and the bit that ends it; the member, of one octet, holds the length of the run.
int l3DecUnary(L3Call& call, const L3Unary& unary, uint8_t* member);
int l3EncUnary(L3Call& call, const L3Unary& unary, uint8_t count);
// Fills the octet with padding; at an octet's start, a whole octet of it. If the buffer is full, that is recorded and
// nothing else: all that says something has been written. It fails only if a growing buffer gets no memory.
int l3PadRest(L3Call& call, const L3Type& type);

#endif
