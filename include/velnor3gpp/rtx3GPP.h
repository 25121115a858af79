/**
 * @file rtx3GPP.h
 * Coding helpers that many layer-3 elements share: selectors and counters relative to the padding pattern 0x2B of
 * TS 44.018, the tail of unknown information elements, PLMN pairs, IMSI-like identities and the GSM default alphabet.
 * All work at the cursor of the context and report failures there; none allocates. Digits are characters, not numbers.
 */
#ifndef VELNOR3GPP_RTX_3GPP_H
#define VELNOR3GPP_RTX_3GPP_H

#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

/** A node of a prefix tree of selector codes, node 0 being the root. */
typedef struct Rtx3gppAltDetmntNode {
  uint8_t useLH;   /**< Not 0: the bit tells whether the bit read equals the padding bit at its position. */
  int32_t next0;   /**< For bit 0: index of the next node; 0 marks a leaf, a negative index an invalid code. */
  uint32_t value0; /**< For bit 0: the result at a leaf, by custom the code left-justified. */
  int32_t next1;   /**< For bit 1: as `next0`. */
  uint32_t value1; /**< For bit 1: as `value0`. */
} Rtx3gppAltDetmntNode;

/**
 * Reads a selector of `nbits` bits, at most 32. `mask`, left-justified to the selector, marks the bits that are L (0)
 * or H (1) relative to the padding; 0 reads plain bits. A null `pvalue` skips.
 */
VELNOR_API int rtx3GPPDecAltDetmnt(RtxContext* pctxt, uint32_t* pvalue, uint32_t nbits, uint32_t mask);

/** Writes a selector as rtx3GPPDecAltDetmnt reads it. */
VELNOR_API int rtx3GPPEncAltDetmnt(RtxContext* pctxt, uint32_t value, uint32_t nbits, uint32_t mask);

/**
 * Reads a selector of variable length through a prefix tree with nodes 0 to `maxNode`. RTX_E_INVALID_CHOICE for a
 * negative index, RTX_E_INDEX_RANGE for a walk past the last node.
 */
VELNOR_API int rtx3GPPDecVarAltDetmnt(RtxContext* pctxt, uint32_t* pvalue, const Rtx3gppAltDetmntNode* nodes,
                                      uint32_t maxNode);

/** Counts the bits equal to `bit` up to the first other one, which is read too. RTX_E_TOO_BIG above 255. */
VELNOR_API int rtx3GPPDecIntAsBits(RtxContext* pctxt, uint8_t* pcount, uint8_t bit);

/**
 * Writes `count` times `bit`, any non-zero value being 1, then one bit that is 1 unless `bit` is 255: the octet's
 * complement is what is written as a bit. Only counts of 0-bits can therefore be read back.
 */
VELNOR_API int rtx3GPPEncIntAsBits(RtxContext* pctxt, uint8_t count, uint8_t bit);

/** Counts the bits equal to the bits of `pattern` at their position in the octet, as rtx3GPPDecIntAsBits does. */
VELNOR_API int rtx3GPPDecIntAsBitsPattern(RtxContext* pctxt, uint8_t* pcount, uint8_t pattern);

/** Writes `count` bits of `pattern` as their position in the octet has them, then one that differs from it. */
VELNOR_API int rtx3GPPEncIntAsBitsPattern(RtxContext* pctxt, uint8_t count, uint8_t pattern);

/**
 * Reads and drops information elements to the end of the open region or the octets (TS 24.007, 11.2.4). With
 * `shiftsAllowed`, codeset shifts are followed (TS 24.008, 10.5.4.2). RTX_E_NOT_SUPPORTED for an element of codeset 0
 * that asks for comprehension.
 */
VELNOR_API int rtx3GPPDecL3NonImperative(RtxContext* pctxt, uint8_t shiftsAllowed);

/**
 * Writes the three octets of a PLMN (TS 24.008, 10.5.1.3). `mcc` and `mnc` are arrays of at least 3 characters; a zero
 * in `mnc[2]` makes a 2-digit MNC. RTX_E_BAD_CHAR for a character that is no digit, `*`, `#`, `a`, `b` or `c`.
 */
VELNOR_API int rtx3GPPEnc_MCC_MNC(RtxContext* pctxt, const char* mcc, const char* mnc);

/** Reads the three octets of a PLMN into two zero-ended arrays of 4 characters; filler becomes a zero. */
VELNOR_API int rtx3GPPDec_MCC_MNC(RtxContext* pctxt, char* mcc, char* mnc);

/**
 * Writes an identity of zero-ended digits with its length octet: first digit, odd flag, `identType` in 3 bits, then
 * the digits by pairs (TS 24.008, 10.5.1.4). RTX_E_BAD_PARAMETER for null digits, RTX_E_BAD_CHAR.
 */
VELNOR_API int rtx3GPPEncMobileIdentityType1(RtxContext* pctxt, uint8_t identType, const char* digits);

/**
 * Reads the digits of an identity after its first octet, of which the caller has taken `digit1` (0 to 9) and `odd`;
 * `length` is the value of the length octet. Stores zero-ended digits in `dest` of `destsize` octets, RTX_E_TOO_BIG
 * if they do not fit or the length is 0, RTX_E_BAD_CHAR for a bad first digit. One octet is read even at length 1.
 */
VELNOR_API int rtx3GPPDecMobileIdentityType1(RtxContext* pctxt, uint8_t length, uint8_t odd, uint8_t digit1, char* dest,
                                             size_t destsize);

/**
 * Writes zero-ended ASCII text as packed 7-bit characters (TS 23.038, 6.1.2.1) at an octet boundary. A character of the
 * extension table leaves its escape alone on the wire; one outside the alphabet becomes `?`. Null writes nothing.
 */
VELNOR_API int rtx3GPPEncGSMCharStr(RtxContext* pctxt, const char* str);

/**
 * Reads `nchars` packed 7-bit characters from an octet boundary into `dest` of `destsize` octets, as ISO 8859-1 and
 * without an ending zero. An escape counts and stores nothing. The eighth character of seven octets always comes with
 * the seventh. RTX_E_ENCODE_OVERFLOW for a full target, RTX_E_END_OF_BUFFER.
 */
VELNOR_API int rtx3GPPDecGSMCharStr(RtxContext* pctxt, char* dest, size_t destsize, size_t nchars);

/** Characters that the digit strings of TS 24.008 may hold, for applications that check theirs. */
extern VELNOR_API const char* const gs_TS24008IES_IMSI_CharSet;
extern VELNOR_API const char* const gs_TS24008IES_IMEI_CharSet;        /**< As of an IMSI. */
extern VELNOR_API const char* const gs_TS24008IES_IMEISV_CharSet;      /**< As of an IMSI. */
extern VELNOR_API const char* const gs_TS24008IES_TBCDString_CharSet;  /**< Telephony BCD. */
extern VELNOR_API const char* const gs_TS24008IES_TBCDString3_CharSet; /**< Telephony BCD. */

VELNOR_END_DECLS

#endif
