/**
 * @file rtxDynBitSet.h
 * A set of bit indexes from 0 to 65535 that grows as bits are set. Bit 0 is the most significant bit of the first
 * octet. The octets come from the heap of the context that is passed in.
 */
#ifndef VELNOR3GPP_RTX_DYN_BIT_SET_H
#define VELNOR3GPP_RTX_DYN_BIT_SET_H

#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

/** Growth step in octets when none is told. */
#define RTX_DYN_BIT_SET_SEGMENT_SIZE 16

/** The set. */
typedef struct RtxDynBitSet {
  uint16_t nbytes;  /**< Octets allocated. */
  uint16_t maxbit;  /**< One past the highest bit ever set; 65535 also stands for bit 65535. */
  uint16_t segsize; /**< Growth step in octets. */
  uint8_t* data;    /**< The octets, or null. */
} RtxDynBitSet;

/** Makes the set empty. A step of 0 means 16. Allocates nothing. Returns 0. */
VELNOR_API int rtxDynBitSetInit(struct RtxContext* pctxt, RtxDynBitSet* pBitSet, uint16_t segsize);
/** Frees the octets and empties the set. */
VELNOR_API void rtxDynBitSetFree(struct RtxContext* pctxt, RtxDynBitSet* pBitSet);
/** Makes `pDest`, which holds nothing, a copy of `pSrc`. Returns 0 or RTX_E_NO_MEMORY. */
VELNOR_API int rtxDynBitSetCopy(struct RtxContext* pctxt, const RtxDynBitSet* pSrc, RtxDynBitSet* pDest);
/** Sets a bit. Returns 0, RTX_E_INDEX_RANGE above 65535, or RTX_E_NO_MEMORY. */
VELNOR_API int rtxDynBitSetSetBit(struct RtxContext* pctxt, RtxDynBitSet* pBitSet, uint32_t bitIndex);
/** Clears a bit; one beyond the capacity is clear already. Returns 0 or RTX_E_INDEX_RANGE. */
VELNOR_API int rtxDynBitSetClearBit(RtxDynBitSet* pBitSet, uint32_t bitIndex);
/** Returns 1 if the bit is set, else 0. */
VELNOR_API int rtxDynBitSetTestBit(const RtxDynBitSet* pBitSet, uint32_t bitIndex);
/** Sets or clears a bit by `value`. Statuses as rtxDynBitSetSetBit. */
VELNOR_API int rtxDynBitSetSetBitToValue(struct RtxContext* pctxt, RtxDynBitSet* pBitSet, uint32_t bitIndex, int value);
/** Moves the bits from `bitIndex` on up by one and puts `value` there. Statuses as rtxDynBitSetSetBit; also
 *  RTX_E_INDEX_RANGE if bit 65535 is set. */
VELNOR_API int rtxDynBitSetInsertBit(struct RtxContext* pctxt, RtxDynBitSet* pBitSet, uint32_t bitIndex, int value);
/** Prints the bits up to `maxbit` as 0 and 1 and a line feed to the process's print stream. */
VELNOR_API void rtxDynBitSetPrint(const RtxDynBitSet* pBitSet);

VELNOR_END_DECLS

#endif
