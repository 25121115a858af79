// Bits that mean something relative to the padding of rest octets (TS 44.018, 10.5.2): L is the padding's bit at the
// position in the octet, H the other. Codes that tell alternatives and counted runs of bits are built from them.
#ifndef VELNOR3GPP_L3_PADDING_H
#define VELNOR3GPP_L3_PADDING_H

#include "rt3gppsrc/engine/l3Call.h"

// A repeated octet's bits at the next 1 to 32 positions, right-aligned.
inline uint32_t l3PatternAhead(const RtxContext* pctxt, uint8_t pattern, unsigned bits)
{
  unsigned shift = (8U - static_cast<unsigned>(pctxt->buffer.bitOffset) + bits) & 7;
  uint32_t word = pattern * 0x01010101U;
  word = word << shift | word >> ((32 - shift) & 31);
  return word & (0xFFFFFFFFU >> (32 - bits));
}

inline uint32_t l3PaddingAhead(const RtxContext* pctxt, unsigned bits)
{
  return l3PatternAhead(pctxt, 0x2B, bits);
}

// A number of 1 to 32 bits relative to the padding, as l3DecBits and l3EncBits do plain ones.
int l3DecPadded(L3Call& call, uint8_t* member, unsigned bits, uint8_t store, const char* label);
int l3EncPadded(L3Call& call, uint64_t value, unsigned bits, const char* label);
// The code of an alternative: the value that the alternatives of the choice are told by.
int l3DecCode(L3Call& call, const L3Choice& choice, uint32_t& value);
int l3EncCode(L3Call& call, const L3Code& code);
// A run of equal bits and the bit that ends it.
int l3DecUnary(L3Call& call, const L3Unary& unary, uint8_t* member);
int l3EncUnary(L3Call& call, const L3Unary& unary, uint8_t count);
// Fills the octet with padding; at its start, a whole octet. A full buffer is recorded and nothing else: what says
// something has been written. Without memory for a larger buffer it fails.
int l3PadRest(L3Call& call, const L3Type& type);

#endif
