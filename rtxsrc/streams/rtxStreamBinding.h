/**
 * @file rtxStreamBinding.h
 * The one test by which the run-time tells a stream from a plain buffer. It stands inline because the bit writers ask
 * it on every field; it never looks into the stream beyond its kind.
 */
#ifndef VELNOR3GPP_RTX_STREAM_BINDING_H
#define VELNOR3GPP_RTX_STREAM_BINDING_H

#include "velnor3gpp/rtxStream.h"

/** True if coding runs on a stream: one is bound and the context is not in buffer mode. */
static inline bool rtxHasStream(const RtxContext* pctxt)
{
  return pctxt->pStream != nullptr && (pctxt->flags & RTX_FLAG_BUFFER_MODE) == 0;
}

/** True if coding runs on a stream that works through the context's buffer. */
static inline bool rtxHasBufferedStream(const RtxContext* pctxt)
{
  return rtxHasStream(pctxt) && (pctxt->pStream->flags & RTX_STREAM_CTXTBUF) != 0;
}

/** True if coding runs on a memory stream, whose octets are the context's buffer. */
static inline bool rtxHasMemoryStream(const RtxContext* pctxt)
{
  return rtxHasStream(pctxt) && pctxt->pStream->id == RTX_STREAM_ID_MEMORY;
}

/** Tells a stream that works through the context's buffer what that holds now, also in buffer mode: it fills the buffer
 *  up to there. */
static inline void rtxTellCapacity(RtxContext* pctxt, size_t size)
{
  RtxStream* pStream = pctxt->pStream;
  if (pStream != nullptr && (pStream->flags & RTX_STREAM_CTXTBUF) != 0) pStream->bufSize = size;
}

/** Octets from the current one to the end of the buffer; 0 when the cursor stands past it. */
static inline size_t rtxBufferLeft(const RtxContext* pctxt)
{
  const RtxBuffer* buffer = &pctxt->buffer;
  return buffer->byteIndex < buffer->size ? buffer->size - buffer->byteIndex : 0;
}

#endif
