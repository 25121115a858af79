/**
 * @file rtxDynPtrArray.h
 * A growing array of pointers on a context's heap. The pointers stored are the caller's.
 */
#ifndef VELNOR3GPP_RTX_DYN_PTR_ARRAY_H
#define VELNOR3GPP_RTX_DYN_PTR_ARRAY_H

#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

/** The array. */
typedef struct RtxDynPtrArray {
  uint16_t capacity; /**< Slots allocated. */
  uint16_t count;    /**< Slots used. */
  void** data;       /**< The slots. */
} RtxDynPtrArray;

/** Allocates `initialCapacity` slots, 4 for 0. Returns 0 or RTX_E_NO_MEMORY, which is reported. */
VELNOR_API int rtxDynPtrArrayInit(struct RtxContext* pctxt, RtxDynPtrArray* pArray, uint16_t initialCapacity);
/** Appends a pointer, doubling the slots when they are full. When that is refused, or 65535 are in use, the capacity
 *  becomes 0 and RTX_E_NO_MEMORY is reported and returned; the pointers already stored stay. */
VELNOR_API int rtxDynPtrArrayAppend(struct RtxContext* pctxt, RtxDynPtrArray* pArray, void* ptr);

VELNOR_END_DECLS

#endif
