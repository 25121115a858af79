/**
 * @file rtBCD.h
 * Digit strings in memory, for applications that build values by hand: telephony BCD (low half-octet first), plain
 * packed BCD (high half-octet first) and the three octets of a PLMN identity. Nothing here touches a context's octets;
 * what is allocated, and by whom it is freed, stands at each function.
 */
#ifndef VELNOR3GPP_RT_BCD_H
#define VELNOR3GPP_RT_BCD_H

#include "velnor3gpp/rtxOctStr.h"
#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

/**
 * Packs digits as telephony BCD, low half first, into `dest` of `destsize` octets, which is first filled with 0xFF.
 * The first character without a half-octet, or a full target, silently ends the string.
 * Returns the octets used, or RTX_E_BAD_PARAMETER for null memory or size 0.
 */
VELNOR_API int rtStringToTBCD(const char* str, uint8_t* dest, size_t destsize);

/**
 * Unpacks `numocts` octets of telephony BCD; fillers vanish wherever they stand. The ending zero is written only if
 * room remains, and digits that do not fit are dropped. Returns `dest`, or null for null memory, a size or count of 0,
 * or a count that overflows.
 */
VELNOR_API char* rtTBCDToString(size_t numocts, const uint8_t* src, char* dest, size_t destsize);

/**
 * As rtStringToTBCD with `isTBCD` set; else packs plain BCD, high half first: 0 to 9, then A to E in either case.
 * Any other character ends the string.
 */
VELNOR_API int rtStringToBCD(const char* str, uint8_t* dest, size_t destsize, int isTBCD);

/** As rtTBCDToString with `isTBCD` set; else unpacks plain BCD up to the first half-octet of 10 or above. */
VELNOR_API char* rtBCDToString(size_t numocts, const uint8_t* src, char* dest, size_t destsize, int isTBCD);

/**
 * As rtStringToBCD into octets from the context's heap. `data` is stored whatever the result, `numocts` on success.
 * Returns the octets used, RTX_E_BAD_PARAMETER for a null argument, RTX_E_NO_MEMORY.
 */
VELNOR_API int rtStringToDynBCD64(RtxContext* pctxt, const char* str, RtxDynOctStr64* pvalue, int isTBCD);

/** As rtStringToDynBCD64 for plain BCD and a 32-bit count. */
VELNOR_API int rtStringToDynBCD(RtxContext* pctxt, const char* str, RtxDynOctStr* pvalue);

/**
 * Packs an MCC of 3 and an MNC of 2 or 3 decimal digits into the first three octets of `dest`, the third MNC digit in
 * the last high half (TS 25.413, 9.2.3.55). Returns 0, or RTX_E_BAD_PARAMETER.
 */
VELNOR_API int rtStringToPLMNidentity(const char* mcc, const char* mnc, uint8_t* dest, size_t destsize);

/** As rtStringToPLMNidentity, with the third MNC digit in the high half of the second octet (TS 24.008, 10.5.1.3). */
VELNOR_API int rtStringToPGWPLMNidentity(const char* mcc, const char* mnc, uint8_t* dest, size_t destsize);

/** Returns the 3 MCC digits of three octets as a new string that the caller frees with free(), or null. */
VELNOR_API char* rtGetMCCFromPLMNidentity(const uint8_t* octets);

/** Returns the 2 or 3 MNC digits in the order of rtStringToPLMNidentity; the caller frees them with free(). Or null. */
VELNOR_API char* rtGetMNCFromPLMNidentity(const uint8_t* octets);

/** Returns the 2 or 3 MNC digits in the order of rtStringToPGWPLMNidentity; freed with free(). Or null. */
VELNOR_API char* rtGetMNCFromPGWPLMNidentity(const uint8_t* octets);

VELNOR_END_DECLS

#endif
