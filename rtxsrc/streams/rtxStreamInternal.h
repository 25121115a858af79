/**
 * @file rtxStreamInternal.h
 * What the stream core and the kinds share: emptying the context's buffer, the capture, and which streams have a buffer
 * of the context before them.
 */
#ifndef VELNOR3GPP_RTX_STREAM_INTERNAL_H
#define VELNOR3GPP_RTX_STREAM_INTERNAL_H

#include "velnor3gpp/rtxStream.h"

/** RtxBuffer.markByteIndex without a mark. */
static constexpr size_t kRtxNoMark = SIZE_MAX;

/** True if reads take their octets from the context's buffer: it is in use, and the kind does not buffer itself. */
static inline bool rtxStreamIsBuffered(const RtxStream* pStream)
{
  return (pStream->flags & RTX_STREAM_CTXTBUF) != 0 && pStream->id != RTX_STREAM_ID_DIRECT_BUFFER &&
         pStream->id != RTX_STREAM_ID_CONTEXT_BUFFER;
}

/** Forgets the octets of the context's buffer but keeps its storage. */
static inline void rtxStreamEmptyBuffer(RtxContext* pctxt)
{
  pctxt->buffer.byteIndex = 0;
  pctxt->buffer.size = 0;
  pctxt->buffer.markByteIndex = kRtxNoMark;
}

/** Takes the buffer off the context; freeing it is the caller's business. */
static inline void rtxStreamClearBuffer(RtxContext* pctxt)
{
  rtxStreamEmptyBuffer(pctxt);
  pctxt->buffer.data = nullptr;
  pctxt->buffer.bitOffset = 8;
  pctxt->buffer.dynamic = 0;
}

/**
 * Gives the context a stream with `size` zeroed octets of its kind's own at `extra`. Returns 0, or a status, reported.
 */
int rtxStreamInitKind(RtxContext* pctxt, size_t size);

/** Takes the context's buffer off to make place for a stream's own; a system allocation is freed. */
void rtxStreamReplaceBuffer(RtxContext* pctxt);

/** Appends octets that passed the stream to its capture, if it has one. */
int rtxStreamCapture(RtxContext* pctxt, const uint8_t* data, size_t count);

/**
 * Reads up to `size` octets of hexadecimal text, character by character from `next`, which gives -1 at the end. Returns
 * their number; RTX_E_BAD_HEX, reported, for another character or a single last digit.
 */
int64_t rtxReadHexText(RtxContext* pctxt, int (*next)(void* source), void* source, uint8_t* pbuf, size_t size);

#endif
