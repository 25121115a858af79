/**
 * @file rtxCheckBuffer.h
 * Room in the octet buffer: whether the input still holds octets and whether the output takes more, with refilling,
 * growing and draining where the buffer allows. The bit readers and writers call these at need. The cursor moves only
 * when output has gone to a stream; a failure leaves it where it was.
 */
#ifndef VELNOR3GPP_RTX_CHECK_BUFFER_H
#define VELNOR3GPP_RTX_CHECK_BUFFER_H

#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

/** Makes sure that `nbytes` octets stand at the cursor, the current one counted, refilling from a stream.
 *  RTX_E_END_OF_BUFFER if not, RTX_E_END_OF_FILE if a stream that works through the buffer ended. */
VELNOR_API int rtxCheckInputBuffer(struct RtxContext* pctxt, size_t nbytes);
/** Makes sure that `nbytes` octets fit at the cursor; a begun octet counts as one more. A growing buffer grows.
 *  RTX_E_ENCODE_OVERFLOW if a fixed buffer is full, or RTX_E_NO_MEMORY. */
VELNOR_API int rtxCheckOutputBuffer(struct RtxContext* pctxt, size_t nbytes);
/** Makes room for `nbytes` octets at the cursor: drains into a stream, else at least doubles a growing buffer. On
 *  RTX_E_NO_MEMORY the old octets stand but `buffer.size` already shows the size that was refused. */
VELNOR_API int rtxExpandOutputBuffer(struct RtxContext* pctxt, size_t nbytes);
/** The form for text writers: flushes a stream, else at least triples a growing buffer. RTX_E_ENCODE_OVERFLOW, or
 *  RTX_E_NO_MEMORY, after which the context has no buffer. */
VELNOR_API int rtxCheckBuffer(struct RtxContext* pctxt, size_t nbytes);
/** Writes the whole octets of the buffer to the stream; a begun octet moves to the front and stays pending. */
VELNOR_API int rtxFlushOutputBuffer(struct RtxContext* pctxt);
/** Returns 1 if the buffer can drain: there is a stream, no memory stream, that holds no mark within the buffer. */
VELNOR_API int rtxIsOutputBufferFlushable(struct RtxContext* pctxt);

VELNOR_END_DECLS

#endif
