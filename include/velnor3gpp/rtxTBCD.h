/**
 * @file rtxTBCD.h
 * Telephony BCD: digits in half-octets, the low half first, 15 as filler. The alphabet is 0 to 9, then `*`, `#`, `a`,
 * `b`, `c`. The functions with a context work on its octets and stand at an octet boundary; the others work on the
 * caller's memory and allocate nothing.
 */
#ifndef VELNOR3GPP_RTX_TBCD_H
#define VELNOR3GPP_RTX_TBCD_H

#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

/** The half-octet that stands for no digit. */
#define RTX_TBCD_FILLER 15

/** Gives the half-octet of a character; the zero character is the filler. Returns 0, or RTX_E_BAD_CHAR. */
VELNOR_API int rtxTBCDCharToBin(char digit, uint8_t* pnibble);

/** Gives the character of a half-octet: zero for the filler, the value plus `0` above it. Returns 0. */
VELNOR_API int rtxTBCDBinToChar(uint8_t nibble, char* pdigit);

/**
 * Writes zero-ended digits two to an octet, a last lone digit with filler. Null or empty writes nothing.
 * RTX_E_BAD_CHAR for a character without a half-octet: the octets before it are written.
 */
VELNOR_API int rtxEncQ825TBCDString(RtxContext* pctxt, const char* digits);

/**
 * Reads `numocts` octets as digits into `dest` of `destsize` octets, at least 2 x `numocts` + 1 (else
 * RTX_E_ENCODE_OVERFLOW), and ends them with a zero. A filler is stored as a zero where it stands.
 */
VELNOR_API int rtxDecQ825TBCDString(RtxContext* pctxt, size_t numocts, char* dest, size_t destsize);

/**
 * Turns `numocts` octets into zero-ended digits up to the first filler. Returns 0, RTX_E_TOO_BIG without room for the
 * ending zero, RTX_E_NULL_POINTER for null memory.
 */
VELNOR_API int rtxQ825TBCDToString(size_t numocts, const uint8_t* src, char* dest, size_t destsize);

VELNOR_END_DECLS

#endif
