/**
 * @file rtxStreamMemory.h
 * Streams over memory. A memory stream has no buffer of its own: its octets are the context's buffer, and reading and
 * writing move the cursor there. An attached buffer stays the caller's; a growing one is released when the stream is
 * closed.
 */
#ifndef VELNOR3GPP_RTX_STREAM_MEMORY_H
#define VELNOR3GPP_RTX_STREAM_MEMORY_H

#include "velnor3gpp/rtxStream.h"

VELNOR_BEGIN_DECLS

/** Opens a stream on a fresh buffer: for writing (RTX_STREAM_WRITE) a growing one of `buffer.size` octets, 512 if that
 *  is 0; for reading (RTX_STREAM_READ) an empty one. RTX_E_BAD_PARAMETER with neither flag, or RTX_E_NO_MEMORY. */
VELNOR_API int rtxStreamMemoryCreate(struct RtxContext* pctxt, uint16_t flags);
/** Opens a stream on the caller's `size` octets, which must outlive it and do not grow. RTX_E_BAD_PARAMETER for a null
 *  buffer, a size of 0 or neither flag. */
VELNOR_API int rtxStreamMemoryAttach(struct RtxContext* pctxt, uint8_t* data, size_t size, uint16_t flags);
/** rtxStreamMemoryAttach for reading. */
VELNOR_API int rtxStreamMemoryCreateReader(struct RtxContext* pctxt, uint8_t* data, size_t size);
/** Opens for writing: on the caller's `size` octets, or with a null `data` on a growing buffer that starts with `size`
 *  octets (0: 512). */
VELNOR_API int rtxStreamMemoryCreateWriter(struct RtxContext* pctxt, uint8_t* data, size_t size);
/** Returns the stream's octets, null if the stream is no memory stream, and stores their count in `*pSize` (null
 *  allowed): those passed so far, a partial octet counted when writing. Valid until the next write or the close. */
VELNOR_API uint8_t* rtxStreamMemoryGetBuffer(struct RtxContext* pctxt, size_t* pSize);
/** Starts a memory writer over at its first octet. RTX_E_NO_CONTEXT if the stream is none. */
VELNOR_API int rtxStreamMemoryResetWriter(struct RtxContext* pctxt);

VELNOR_END_DECLS

#endif
