// What decoding and encoding of channel numbers share: the range formats as constant records, and the tree's shape.
// rtx3GPPArfcn.cpp defines the records and explains the tree; nothing here is exported.
#ifndef VELNOR3GPP_RT3GPPSRC_RTX_3GPP_ARFCN_H
#define VELNOR3GPP_RT3GPPSRC_RTX_3GPP_ARFCN_H

#include <bit>

#include "velnor3gpp/rtx3GPPArfcn.h"

// Channel numbers are counted modulo 1024, so that a range may run over from 1023 to 0.
inline constexpr unsigned kArfcnMask = 1023;

// The origin of formats 2 to 5 takes 10 bits: an octet and the top two bits of the next one.
inline constexpr unsigned kOriginBits = 10;

// The record of format 1, 2, 3 or 4.
const Rtx3gppRangeFormatInfo& rtx3GPPRangeFormat(unsigned format);

// The greatest power of 2 that is not above a number, which is not 0.
inline uint32_t greatestPower(uint32_t number)
{
  return std::bit_floor(number);
}

#endif
