/**
 * @file rtx3GPPArfcn.h
 * Sets of GSM channel numbers (ARFCN, 0 to 1023) and the coded value that frequency lists carry them in (TS 44.018,
 * 10.5.2.13 and Annex J). Element coders leave that value in the record as bits; the functions here turn it into an
 * array of channel numbers and back. Arrays that are made lie on the context's heap and live until it is reset. No
 * function here moves the context's cursor.
 */
#ifndef VELNOR3GPP_RTX_3GPP_ARFCN_H
#define VELNOR3GPP_RTX_3GPP_ARFCN_H

#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

/** The six formats, by the number that both coders take. */
#define RTX_3GPP_ARFCN_BITMAP_0 0        /**< Channels 124 to 1, one bit each. */
#define RTX_3GPP_ARFCN_RANGE_1024 1      /**< One bit for channel 0, then a tree of range 1023. */
#define RTX_3GPP_ARFCN_RANGE_512 2       /**< An origin of 10 bits, then a tree of range 511. */
#define RTX_3GPP_ARFCN_RANGE_256 3       /**< An origin of 10 bits, then a tree of range 255. */
#define RTX_3GPP_ARFCN_RANGE_128 4       /**< An origin of 10 bits, then a tree of range 127. */
#define RTX_3GPP_ARFCN_VARIABLE_BITMAP 5 /**< An origin of 10 bits, then one bit for each channel behind it. */

/** What makes one range format different from the others. */
typedef struct Rtx3gppRangeFormatInfo {
  const uint16_t* cumulativeBits; /**< Bits of the values of levels 1 to k, by k from 0. */
  uint16_t maxRange;              /**< Range of the tree's root: channels are numbers below it. */
  uint8_t levels;                 /**< Levels of the tree, and the width of the root's value in bits. */
  uint8_t firstValueBit;          /**< Bit at which the root's value stands, counted from the first of the value. */
  uint8_t firstOctetBits;         /**< Bits of the value in the element's octet that also holds the format. */
} Rtx3gppRangeFormatInfo;

/**
 * Turns the coded value of a frequency list into channel numbers.
 * @param pctxt the context: heap and error records.
 * @param format 0 to 5.
 * @param data the value from its first bit on, left-aligned: `(numBits + 7) / 8` octets.
 * @param numBits bits of the value: 124 in format 0, at least 1 in format 1 and 10 in the others.
 * @param pArfcns receives the array, on the context's heap. It is not sorted: falling in a bitmap 0, the origin first
 *   in a variable bitmap, otherwise the tree's order with the origin or channel 0 last.
 * @param pArfcnCount receives the number of channels; after a failure, how many the array has room for.
 * @return 0; RTX_E_BAD_VALUE for another format, a wrong number of bits or more values than the tree has places;
 *   RTX_E_NO_MEMORY; RTX_E_BAD_PARAMETER for a null pointer.
 */
VELNOR_API int rtx3GPPDecARFCN(RtxContext* pctxt, uint8_t format, const uint8_t* data, uint16_t numBits,
                               uint16_t** pArfcns, uint16_t* pArfcnCount);

/**
 * Turns channel numbers into the coded value of a frequency list.
 * @param pctxt the context: heap and error records.
 * @param arfcns channels without repetition, in any order; 1 to 124 in format 0. Not changed.
 * @param count how many channels.
 * @param format 0 to 5.
 * @param range as rtx3GPPGetARFCNRange gives it: at most 1024, 512, 256 and 128 in formats 1 to 4; sizes format 5.
 * @param origin as rtx3GPPGetARFCNRange gives it; one of the channels in formats 2 to 5.
 * @param ppData two pointers. The first is the caller's buffer of `dataSize` octets, zero in formats 1 to 4, or null:
 *   it then receives octets on the context's heap. The second is for formats 2 to 4: where the low two bits of the
 *   origin go, which is the buffer's second octet; null stands for just that octet.
 * @param dataSize octets of the caller's buffer.
 * @param pNumBits receives the bits of the value, so many that they fill whole octets with the format bits in front of
 *   them. Format 0 leaves it alone.
 * @return 0; RTX_E_ENCODE_OVERFLOW if the buffer is too small; RTX_E_BAD_VALUE for another format, a channel outside
 *   the bitmap 0, too large a range, a channel twice, or an origin that is no channel; RTX_E_INDEX_RANGE for channel 0
 *   alone in format 1 and for a channel beyond `range` in format 5; RTX_E_NO_MEMORY; RTX_E_BAD_PARAMETER for a null
 *   pointer. The buffer may be partly written then.
 */
VELNOR_API int rtx3GPPEncARFCN(RtxContext* pctxt, const uint16_t* arfcns, uint16_t count, uint8_t format,
                               uint16_t range, uint16_t origin, uint8_t** ppData, size_t dataSize, uint16_t* pNumBits);

/**
 * Finds the channel from which the others, counted upwards modulo 1024, lie in the smallest range; the first one of
 * several. `*pRange` becomes the distance of the last one and 1, or 0 without channels. The origin stays as it was if
 * no channel gives a range below 1024. Always returns 0; null pointers are passed over.
 */
VELNOR_API int rtx3GPPGetARFCNRange(const uint16_t* arfcns, uint16_t count, uint16_t* pOrigin, uint16_t* pRange);

/**
 * Works out the channel of one value of the tree, counted from the origin.
 * @param wvalues the tree's values from index 1 on; index 0 is not read.
 * @param index 1 or more.
 * @param range 1024, 512, 256 or 128.
 * @param pArfcn receives the channel, or null.
 * @return 0, or RTX_E_BAD_VALUE for another range or index 0.
 */
VELNOR_API int rtx3GPPFromRangeFormat(const uint32_t* wvalues, uint32_t index, uint32_t range, uint16_t* pArfcn);

VELNOR_END_DECLS

#endif
