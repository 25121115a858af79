// The stream core: binding, closing and writing. A stream is a record of operations that a kind (file, memory, or the
// caller's own) has filled in; the readers and writers of rtxsrc/bits come here when the context's buffer is empty or
// full. The core books what passes (ioBytes, bytesProcessed), copies it to the capture and keeps the buffer in step; it
// never seeks.
//
// Record and `extra` come from the system side of the heap, since a stream lives on while rtxMemReset ends one job
// after the other.
#include "velnor3gpp/rtxStream.h"

#include "rtxsrc/errors/rtxReport.h"
#include "rtxsrc/streams/rtxStreamBinding.h"
#include "rtxsrc/streams/rtxStreamInternal.h"
#include "velnor3gpp/rtxCheckBuffer.h"
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxMemBuf.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStatus.h"

static const char* const kModule = "rtxStream";

// The record alone; `extra` is freed by the kind's close.
static void freeStream(RtxContext* pctxt)
{
  rtxMemHeapSysFreePtr(&pctxt->pMemHeap, pctxt->pStream);
  pctxt->pStream = nullptr;
}

// One context has one stream, so an older one is closed first, which may write what it holds.
int rtxStreamInit(RtxContext* pctxt)
{
  if (pctxt->pStream != nullptr) {
    int status = rtxStreamRelease(pctxt);
    if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
  }
  pctxt->pStream = static_cast<RtxStream*>(rtxMemHeapSysAllocZ(&pctxt->pMemHeap, sizeof(RtxStream)));
  if (pctxt->pStream == nullptr) return rtxReport(pctxt, RTX_E_NO_MEMORY, kModule, __LINE__);
  pctxt->flags &= ~RTX_FLAG_BUFFER_MODE;
  return 0;
}

int rtxStreamInitKind(RtxContext* pctxt, size_t size)
{
  int status = rtxStreamInit(pctxt);
  if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
  pctxt->pStream->extra = rtxMemHeapSysAllocZ(&pctxt->pMemHeap, size);
  if (pctxt->pStream->extra != nullptr) return 0;
  // The record has no direction yet, so this frees it without closing it.
  rtxStreamRelease(pctxt);
  return rtxReport(pctxt, RTX_E_NO_MEMORY, kModule, __LINE__);
}

// Writes what a writer still holds. A growing buffer that the stream has not taken over yet is drained as well; in
// buffer mode the octets there are none of the stream's.
static int writePending(RtxContext* pctxt)
{
  RtxBuffer* buffer = &pctxt->buffer;
  RtxStream* pStream = pctxt->pStream;
  if ((pctxt->flags & RTX_FLAG_BUFFER_MODE) != 0) return pStream->flush != nullptr ? pStream->flush(pStream) : 0;
  // A begun octet goes out as a whole one, its rest 0: nothing will complete it now.
  if (buffer->data != nullptr && buffer->bitOffset != 8 && buffer->bitOffset != 0) {
    ++buffer->byteIndex;
    buffer->bitOffset = 8;
  }
  bool notTaken = (pStream->flags & RTX_STREAM_CTXTBUF) == 0 && pStream->id != RTX_STREAM_ID_MEMORY;
  int status = notTaken && buffer->dynamic && buffer->data != nullptr ? rtxFlushOutputBuffer(pctxt) : 0;
  if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
  return rtxStreamFlush(pctxt);
}

// Takes the buffer off the context, since the octets in it were those of the stream. A caller's buffer is only unbound.
static void dropBuffer(RtxContext* pctxt)
{
  RtxBuffer* buffer = &pctxt->buffer;
  bool owned = buffer->dynamic && (pctxt->pStream->flags & RTX_STREAM_CTXTBUF) != 0;
  if (buffer->data == nullptr) return;
  // A buffer that came from the heap goes with the heap.
  if (owned && (pctxt->flags & RTX_FLAG_SYSMEM_BUFFER) != 0) {
    rtxMemHeapSysFreePtr(&pctxt->pMemHeap, buffer->data);
    pctxt->flags &= ~RTX_FLAG_SYSMEM_BUFFER;
  }
  rtxStreamClearBuffer(pctxt);
}

// Everything is released even if flushing or closing fails: what has failed is not tried again. Flushing failed first,
// so its status is the one returned.
int rtxStreamClose(RtxContext* pctxt)
{
  RtxStream* pStream = pctxt->pStream;
  if (pStream == nullptr) return 0;
  if (pStream->close == nullptr) {
    freeStream(pctxt);
    return 0;
  }
  if (!rtxStreamIsOpened(pctxt)) return rtxErrSetNewData(pctxt, RTX_E_NO_CONTEXT, kModule, __LINE__);
  int flushed = rtxStreamIsWritable(pctxt) ? writePending(pctxt) : 0;
  int closed = pStream->close(pStream);
  dropBuffer(pctxt);
  pStream->flags = 0;
  freeStream(pctxt);
  int status = flushed < 0 ? flushed : closed;
  return status < 0 ? rtxReport(pctxt, status, kModule, __LINE__) : 0;
}

// A record without a direction was never opened, so its kind has nothing to close.
int rtxStreamRelease(RtxContext* pctxt)
{
  if (pctxt->pStream == nullptr) return 0;
  if (rtxStreamIsOpened(pctxt)) return rtxStreamClose(pctxt);
  freeStream(pctxt);
  return 0;
}

int rtxStreamIsOpened(RtxContext* pctxt)
{
  return pctxt->pStream != nullptr && (pctxt->pStream->flags & (RTX_STREAM_READ | RTX_STREAM_WRITE)) != 0;
}

int rtxStreamIsReadable(RtxContext* pctxt)
{
  return pctxt->pStream != nullptr && (pctxt->pStream->flags & RTX_STREAM_READ) != 0;
}

int rtxStreamIsWritable(RtxContext* pctxt)
{
  return pctxt->pStream != nullptr && (pctxt->pStream->flags & RTX_STREAM_WRITE) != 0;
}

// The capture is the caller's buffer and grows with all that passes. Without memory for it the read or write fails.
int rtxStreamCapture(RtxContext* pctxt, const uint8_t* data, size_t count)
{
  RtxMemBuf* pCapture = pctxt->pStream->pCapture;
  if (pCapture == nullptr || count == 0) return 0;
  int status = rtxMemBufAppend(pCapture, data, count);
  return status < 0 ? rtxReport(pctxt, status, kModule, __LINE__) : 0;
}

// Past the buffer: drain gives it the buffer's own octets, writeThrough those that follow an empty buffer.
int rtxStreamWrite(RtxContext* pctxt, const uint8_t* data, size_t count)
{
  RtxStream* pStream = pctxt->pStream;
  if (!rtxStreamIsWritable(pctxt) || pStream->write == nullptr) {
    return rtxErrSetNewData(pctxt, RTX_E_NO_CONTEXT, kModule, __LINE__);
  }
  const uint8_t* octets = data;
  size_t known = count;
  if (data == nullptr) { // The kind knows where they are; the buffer shows what it has of them.
    known = count < rtxBufferLeft(pctxt) ? count : rtxBufferLeft(pctxt);
    octets = known > 0 ? pctxt->buffer.data + pctxt->buffer.byteIndex : nullptr;
  }
  int status = pStream->write(pStream, data, count);
  if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
  pStream->ioBytes += count;
  // A kind of the caller's own may return how many octets it has passed on; those of the library return 0.
  pStream->bytesProcessed += static_cast<size_t>(status);
  return rtxStreamCapture(pctxt, octets, known);
}

// Whole octets only: a begun one stays at the front of the buffer.
int rtxStreamFlush(RtxContext* pctxt)
{
  if (!rtxStreamIsWritable(pctxt)) return rtxReport(pctxt, RTX_E_BAD_PARAMETER, kModule, __LINE__);
  RtxStream* pStream = pctxt->pStream;
  int status = (pStream->flags & RTX_STREAM_CTXTBUF) != 0 ? rtxFlushOutputBuffer(pctxt) : 0;
  if (status == 0 && pStream->flush != nullptr) status = pStream->flush(pStream);
  return status < 0 ? rtxReport(pctxt, status, kModule, __LINE__) : 0;
}

int rtxStreamGetIOBytes(RtxContext* pctxt, size_t* pCount)
{
  if (pctxt->pStream == nullptr) return rtxErrSetNewData(pctxt, RTX_E_NO_CONTEXT, kModule, __LINE__);
  *pCount = pctxt->pStream->ioBytes;
  return 0;
}

int rtxStreamSetCapture(RtxContext* pctxt, RtxMemBuf* pMemBuf)
{
  RtxStream* pStream = pctxt->pStream;
  const RtxBuffer* buffer = &pctxt->buffer;
  if (pStream == nullptr) return rtxErrSetNewData(pctxt, RTX_E_NO_CONTEXT, kModule, __LINE__);
  pStream->pCapture = pMemBuf;
  // What these two have was in the buffer before the capture began, and no read will bring it again.
  if (pStream->id != RTX_STREAM_ID_MEMORY && pStream->id != RTX_STREAM_ID_CONTEXT_BUFFER) return 0;
  // A position may have been set behind the end.
  bool within = rtxStreamIsWritable(pctxt) && buffer->byteIndex < buffer->size;
  return rtxStreamCapture(pctxt, buffer->data, within ? buffer->byteIndex : buffer->size);
}

RtxMemBuf* rtxStreamGetCapture(RtxContext* pctxt)
{
  return pctxt->pStream != nullptr ? pctxt->pStream->pCapture : nullptr;
}
