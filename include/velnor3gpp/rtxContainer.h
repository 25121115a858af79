/**
 * @file rtxContainer.h
 * Regions and positions. A region, called a container in the names, records where the innermost length-delimited
 * element ends; coders ask it before they read more. It does not guard the reads. Regions come from the context's heap
 * and stand on its container stack from the push to the pop, or to rtxErrReset. With no region open, the whole message
 * is the region. A position is a count of bits from the start of the input.
 */
#ifndef VELNOR3GPP_RTX_CONTAINER_H
#define VELNOR3GPP_RTX_CONTAINER_H

#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

/** An open region: the cursor at its end. */
typedef struct RtxContainer {
  size_t byteIndex;   /**< The octet in which it ends; on a buffered stream counted from the start of the input. */
  uint16_t bitOffset; /**< `buffer.bitOffset` at the end. */
} RtxContainer;

/** Opens a region that ends `nbytes` octets from the cursor; it may reach past the input. 0 or RTX_E_NO_MEMORY. */
VELNOR_API int rtxCtxtPushContainerBytes(struct RtxContext* pctxt, size_t nbytes);
/** Opens a region that ends `nbits` bits from the cursor. 0 or RTX_E_NO_MEMORY. */
VELNOR_API int rtxCtxtPushContainerBits(struct RtxContext* pctxt, size_t nbits);
/** Closes and frees the innermost region; with none, nothing. */
VELNOR_API void rtxCtxtPopContainer(struct RtxContext* pctxt);
/** Closes and frees all regions. */
VELNOR_API void rtxCtxtPopAllContainers(struct RtxContext* pctxt);
/** Returns 1 if bits remain in the innermost region; with none open, if octets remain in the input. */
VELNOR_API int rtxCtxtContainerHasRemBits(struct RtxContext* pctxt);
/** Returns 1 if the cursor stands exactly at the end of the innermost region. */
VELNOR_API int rtxCtxtContainerEnd(struct RtxContext* pctxt);
/** Returns the bits that remain in the innermost region; a cursor past its end gives a huge value. */
VELNOR_API size_t rtxCtxtGetContainerRemBits(struct RtxContext* pctxt);

/** Returns the position of the cursor in bits. */
VELNOR_API size_t rtxCtxtGetBitOffset(struct RtxContext* pctxt);
/** Sets the cursor to a position in bits, also past the end. RTX_E_NOT_SUPPORTED on a stream. */
VELNOR_API int rtxCtxtSetBitOffset(struct RtxContext* pctxt, size_t offset);
/** Returns the octets that the context's stream has passed; without a stream, `byteIndex`. */
VELNOR_API size_t rtxCtxtGetIOByteCount(struct RtxContext* pctxt);
/** Stores the position of the cursor in bits. RTX_E_TOO_BIG, with 0 stored and no error record, if it does not fit. */
VELNOR_API int rtxCtxtMarkBitPos(struct RtxContext* pctxt, size_t* pMark);
/** Returns to a position of rtxCtxtMarkBitPos. RTX_E_NOT_SUPPORTED on a stream. */
VELNOR_API int rtxCtxtResetToBitPos(struct RtxContext* pctxt, size_t mark);
/** Stores the position in octets and makes a stream keep what follows. RTX_E_MARK_UNSUPPORTED if it cannot. */
VELNOR_API int rtxMarkPos(struct RtxContext* pctxt, size_t* pPos);
/** Returns to a position of rtxMarkPos; the bit offset stays. RTX_E_BAD_PARAMETER on a stream without a mark. */
VELNOR_API int rtxResetToPos(struct RtxContext* pctxt, size_t pos);

VELNOR_END_DECLS

#endif
