// The reading side of the stream core: reads, skips, and the context's buffer that stands before most kinds. The buffer
// holds a window of the input that moves on:
//
// input    | passed (bytesProcessed)  | buffer 0 ... byteIndex ... size |  not read yet
//                                     | read      | at hand            |
//
// So bytesProcessed + byteIndex is the position. A refill moves the octets from byteIndex on to the front, which makes
// every pointer into the buffer invalid; under a mark (RTX_STREAM_MARKED) those from the mark on stay, and the buffer
// grows instead.
//
// A read of more than the buffer's first capacity goes to the caller's octets directly, unless there is a mark, so that
// the buffer does not grow with the lengths of the input.
#include <algorithm>
#include <cstring>

#include "rtxsrc/errors/rtxReport.h"
#include "rtxsrc/streams/rtxStreamBinding.h"
#include "rtxsrc/streams/rtxStreamInternal.h"
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStatus.h"
#include "velnor3gpp/rtxStream.h"

static const char* const kModule = "rtxStreamRead";

// Open for reading, by a kind that has the operation.
static bool canRead(RtxContext* pctxt)
{
  return rtxStreamIsReadable(pctxt) && pctxt->pStream->read != nullptr;
}

// One call of the kind, booked and captured. The context-buffer kind reads what was booked before.
static int64_t readOnce(RtxContext* pctxt, uint8_t* pbuf, size_t size)
{
  RtxStream* pStream = pctxt->pStream;
  int64_t got = pStream->read(pStream, pbuf, size);
  if (got < 0) return rtxReport(pctxt, static_cast<int>(got), kModule, __LINE__);
  if (pStream->id != RTX_STREAM_ID_CONTEXT_BUFFER) pStream->ioBytes += static_cast<size_t>(got);
  int status = rtxStreamCapture(pctxt, pbuf, static_cast<size_t>(got));
  return status < 0 ? status : got;
}

// Calls the kind until `minSize` octets are there or it has no more. A kind may give fewer than it is asked for, as
// pipes and terminals do; 0 is the end.
static int64_t readUntil(RtxContext* pctxt, uint8_t* pbuf, size_t minSize, size_t bufSize)
{
  size_t count = 0;
  while (count < minSize) {
    int64_t got = readOnce(pctxt, pbuf + count, bufSize - count);
    if (got < 0) return rtxReport(pctxt, static_cast<int>(got), kModule, __LINE__);
    if (got == 0) break;
    count += static_cast<size_t>(got);
  }
  return static_cast<int64_t>(count);
}

// What the buffer has of `count` octets.
static size_t takeFromBuffer(RtxContext* pctxt, uint8_t* pbuf, size_t count)
{
  RtxBuffer* buffer = &pctxt->buffer;
  count = std::min(count, rtxBufferLeft(pctxt));
  if (count == 0) return 0;
  std::memcpy(pbuf, buffer->data + buffer->byteIndex, count);
  buffer->byteIndex += count;
  return count;
}

// More than a buffer's worth: past the buffer, which is used up. A mark within it is gone with that; the kind's own
// mark stands.
static int64_t readPastBuffer(RtxContext* pctxt, uint8_t* pbuf, size_t minSize, size_t bufSize)
{
  pctxt->pStream->bytesProcessed += pctxt->buffer.size;
  rtxStreamEmptyBuffer(pctxt);
  int64_t got = readUntil(pctxt, pbuf, minSize, bufSize);
  if (got > 0) pctxt->pStream->bytesProcessed += static_cast<size_t>(got);
  return got;
}

static int64_t readRest(RtxContext* pctxt, uint8_t* pbuf, size_t minSize, size_t bufSize)
{
  // Octets that a mark holds in the buffer must stay there.
  bool marked = (pctxt->pStream->flags & RTX_STREAM_MARKED) != 0;
  if (minSize > RTX_STREAM_CTXTBUF_SIZE && !marked) return readPastBuffer(pctxt, pbuf, minSize, bufSize);
  int status = rtxStreamLoadInputBuffer(pctxt, minSize);
  if (status < 0) return status;
  return static_cast<int64_t>(takeFromBuffer(pctxt, pbuf, minSize));
}

// The buffer's octets come first in the input, so they are taken first.
static int64_t readBuffered(RtxContext* pctxt, uint8_t* pbuf, size_t minSize, size_t bufSize)
{
  // rtxStreamRead2 has refused that as bad input.
  if (minSize > bufSize) rtxErrAssertionFailed("nocts <= bufSize", __LINE__, kModule);
  size_t count = takeFromBuffer(pctxt, pbuf, minSize);
  if (count < minSize) {
    int64_t got = readRest(pctxt, pbuf + count, minSize - count, bufSize - count);
    if (got < 0) return rtxReport(pctxt, static_cast<int>(got), kModule, __LINE__);
    count += static_cast<size_t>(got);
  }
  if (count > 0) pctxt->lastChar = pbuf[count - 1];
  return static_cast<int64_t>(count);
}

int64_t rtxStreamRead2(RtxContext* pctxt, uint8_t* pbuf, size_t minSize, size_t bufSize)
{
  if (!canRead(pctxt)) return rtxErrSetNewData(pctxt, RTX_E_NO_CONTEXT, kModule, __LINE__);
  if (bufSize == 0) return 0;
  if (minSize > bufSize) return rtxReport(pctxt, RTX_E_ENCODE_OVERFLOW, kModule, __LINE__);
  if (rtxStreamIsBuffered(pctxt->pStream)) return readBuffered(pctxt, pbuf, minSize, bufSize);
  return readUntil(pctxt, pbuf, minSize, bufSize);
}

int64_t rtxStreamRead(RtxContext* pctxt, uint8_t* pbuf, size_t size)
{
  return rtxStreamRead2(pctxt, pbuf, size, size);
}

// Past the buffer: the caller has to know that nothing is left in it.
int64_t rtxStreamReadDirect(RtxContext* pctxt, uint8_t* pbuf, size_t size)
{
  if (!canRead(pctxt)) return rtxErrSetNewData(pctxt, RTX_E_NO_CONTEXT, kModule, __LINE__);
  return readOnce(pctxt, pbuf, size);
}

// Passes over octets by reading them, for a capture that must not have gaps.
static int readOver(RtxContext* pctxt, size_t count)
{
  uint8_t scratch[RTX_STREAM_CTXTBUF_SIZE];
  while (count > 0) {
    int64_t got = readOnce(pctxt, scratch, std::min(count, sizeof scratch));
    if (got < 0) return static_cast<int>(got);
    if (got == 0) return rtxReport(pctxt, RTX_E_END_OF_BUFFER, kModule, __LINE__);
    count -= static_cast<size_t>(got);
  }
  return 0;
}

// Passes over octets in the source itself; they count as read.
static int skipSource(RtxContext* pctxt, size_t count)
{
  RtxStream* pStream = pctxt->pStream;
  if (pStream->pCapture != nullptr && pStream->read != nullptr) return readOver(pctxt, count);
  int status = pStream->skip(pStream, count);
  if (status < 0) return status;
  pStream->ioBytes += count;
  return 0;
}

// Under a mark within the buffer all octets from it on must stay there.
static int skipKeeping(RtxContext* pctxt, size_t count)
{
  RtxBuffer* buffer = &pctxt->buffer;
  int status = rtxStreamLoadInputBuffer(pctxt, count);
  if (status < 0) return status;
  if (rtxBufferLeft(pctxt) < count) return rtxReport(pctxt, RTX_E_END_OF_BUFFER, kModule, __LINE__);
  buffer->byteIndex += count;
  return 0;
}

static int skipBuffered(RtxContext* pctxt, size_t count)
{
  RtxStream* pStream = pctxt->pStream;
  RtxBuffer* buffer = &pctxt->buffer;
  size_t left = rtxBufferLeft(pctxt);
  // The octets are in the buffer already. They were booked when they were read and are booked once more here: that is
  // how rtxStreamGetIOBytes counts.
  if (count <= left) {
    buffer->byteIndex += count;
    pStream->ioBytes += count;
    return 0;
  }
  if ((pStream->flags & RTX_STREAM_MARKED) != 0) return skipKeeping(pctxt, count);
  pStream->bytesProcessed += buffer->size;
  rtxStreamEmptyBuffer(pctxt);
  int status = skipSource(pctxt, count - left);
  if (status < 0) return status;
  pStream->bytesProcessed += count - left;
  return 0;
}

int rtxStreamSkip(RtxContext* pctxt, size_t count)
{
  if (!rtxStreamIsReadable(pctxt)) return rtxReport(pctxt, RTX_E_BAD_PARAMETER, kModule, __LINE__);
  RtxStream* pStream = pctxt->pStream;
  if (pStream->skip == nullptr) return rtxErrSetNewData(pctxt, RTX_E_NO_CONTEXT, kModule, __LINE__);
  int status = rtxStreamIsBuffered(pStream) ? skipBuffered(pctxt, count) : skipSource(pctxt, count);
  return status < 0 ? rtxReport(pctxt, status, kModule, __LINE__) : 0;
}

// A buffer of the heap goes with the heap.
void rtxStreamReplaceBuffer(RtxContext* pctxt)
{
  if (pctxt->buffer.dynamic && (pctxt->flags & RTX_FLAG_SYSMEM_BUFFER) != 0) {
    rtxMemHeapSysFreePtr(&pctxt->pMemHeap, pctxt->buffer.data);
  }
  pctxt->flags &= ~RTX_FLAG_SYSMEM_BUFFER;
  rtxStreamClearBuffer(pctxt);
}

// Puts a buffer of 43 octets before the stream. A reader's is empty and knows no end of the input yet.
int rtxStreamInitCtxtBuf(RtxContext* pctxt)
{
  RtxStream* pStream = pctxt->pStream;
  if (pStream == nullptr) return rtxErrSetNewData(pctxt, RTX_E_NO_CONTEXT, kModule, __LINE__);
  // Octets that are bound already would be lost.
  if (pctxt->buffer.data != nullptr) {
    rtxErrAddStrParm(pctxt, "context buffer pointer already set");
    return rtxReport(pctxt, RTX_E_GENERAL, kModule, __LINE__);
  }
  if (pStream->id == RTX_STREAM_ID_DIRECT_BUFFER || pStream->id == RTX_STREAM_ID_CONTEXT_BUFFER) {
    rtxErrAddStrParm(pctxt, "init context buffer on already buffered stream");
    return rtxReport(pctxt, RTX_E_NOT_SUPPORTED, kModule, __LINE__);
  }
  pStream->flags |= RTX_STREAM_CTXTBUF;
  int status = rtxInitContextBuffer(pctxt, nullptr, RTX_STREAM_CTXTBUF_SIZE);
  if (status < 0) {
    pStream->flags &= static_cast<uint16_t>(~RTX_STREAM_CTXTBUF);
    return rtxReport(pctxt, status, kModule, __LINE__);
  }
  pStream->bufSize = RTX_STREAM_CTXTBUF_SIZE;
  if (!rtxStreamIsReadable(pctxt)) return 0;
  rtxStreamEmptyBuffer(pctxt);
  // No limit of the input is known.
  pStream->endOffset = SIZE_MAX;
  return 0;
}

void rtxStreamRemoveCtxtBuf(RtxContext* pctxt)
{
  RtxStream* pStream = pctxt->pStream;
  if (pStream == nullptr || (pStream->flags & RTX_STREAM_CTXTBUF) == 0) return;
  pStream->flags &= static_cast<uint16_t>(~RTX_STREAM_CTXTBUF);
  pStream->bufSize = 0;
  rtxStreamReplaceBuffer(pctxt);
}

// Brings the octets from offset `from` on to the front of the buffer; those before it have passed. A mark within the
// buffer is no longer where it was.
static void moveToFront(RtxContext* pctxt, size_t from)
{
  RtxBuffer* buffer = &pctxt->buffer;
  from = std::min(from, buffer->size);
  if (buffer->size > from) std::memmove(buffer->data, buffer->data + from, buffer->size - from);
  pctxt->pStream->bytesProcessed += from;
  // A cursor behind the octets stays as far behind their end.
  buffer->byteIndex -= std::min(from, buffer->byteIndex);
  buffer->size -= from;
  buffer->markByteIndex = kRtxNoMark;
}

// At least doubles the buffer. The caller's own octets cannot grow.
static int growBuffer(RtxContext* pctxt, size_t nbytes)
{
  RtxBuffer* buffer = &pctxt->buffer;
  RtxStream* pStream = pctxt->pStream;
  if (!buffer->dynamic) return rtxErrSetNewData(pctxt, RTX_E_ENCODE_OVERFLOW, kModule, __LINE__);
  // A kind of the caller's own may have bound a buffer without telling its capacity.
  size_t capacity = std::max(pStream->bufSize, buffer->size);
  size_t more = std::max<size_t>({capacity, nbytes, 1});
  bool system = (pctxt->flags & RTX_FLAG_SYSMEM_BUFFER) != 0;
  void* data = nullptr;
  if (more <= SIZE_MAX - capacity) {
    size_t size = capacity + more;
    data = system ? rtxMemHeapSysRealloc(&pctxt->pMemHeap, buffer->data, size)
                  : rtxMemHeapRealloc(&pctxt->pMemHeap, buffer->data, size);
  }
  if (data == nullptr) return rtxReport(pctxt, RTX_E_NO_MEMORY, kModule, __LINE__);
  buffer->data = static_cast<uint8_t*>(data);
  pStream->bufSize = capacity + more;
  return 0;
}

// Is there capacity for `nbytes` from the cursor on?
static bool bufferTakes(const RtxContext* pctxt, size_t nbytes)
{
  size_t byteIndex = pctxt->buffer.byteIndex;
  size_t capacity = pctxt->pStream->bufSize;
  return byteIndex <= capacity && nbytes <= capacity - byteIndex;
}

// Moves before it grows. A cursor that was set far behind the octets can still have no room on return; fillBuffer then
// reads what the capacity takes.
static int makeInputRoom(RtxContext* pctxt, size_t nbytes)
{
  RtxStream* pStream = pctxt->pStream;
  if (bufferTakes(pctxt, nbytes)) return 0;
  if ((pStream->flags & RTX_STREAM_MARKED) == 0) {
    moveToFront(pctxt, pctxt->buffer.byteIndex);
  } else if (pStream->markedBytesProcessed != 0) {
    moveToFront(pctxt, pStream->markedBytesProcessed);
    pStream->markedBytesProcessed = 0;
  }
  return bufferTakes(pctxt, nbytes) ? 0 : growBuffer(pctxt, nbytes);
}

// Reads what is missing up to byteIndex + nbytes; a read may bring more. Fewer octets are no failure here: the caller
// compares. What lies behind endOffset is cut off again.
static int fillBuffer(RtxContext* pctxt, size_t nbytes)
{
  RtxBuffer* buffer = &pctxt->buffer;
  RtxStream* pStream = pctxt->pStream;
  if (buffer->byteIndex + nbytes > buffer->size) {
    size_t missing = buffer->byteIndex + nbytes - buffer->size;
    int64_t got = readUntil(pctxt, buffer->data + buffer->size, missing, pStream->bufSize - buffer->size);
    if (got < 0) return rtxReport(pctxt, static_cast<int>(got), kModule, __LINE__);
    buffer->size += static_cast<size_t>(got);
  }
  size_t limit = pStream->endOffset > pStream->bytesProcessed ? pStream->endOffset - pStream->bytesProcessed : 0;
  buffer->size = std::min(buffer->size, limit);
  return 0;
}

// Makes room for `nbytes` octets from the cursor on and reads until they are there or the input ends. Only what is
// missing is asked of the kind at least; it may fill the buffer.
int rtxStreamLoadInputBuffer(RtxContext* pctxt, size_t nbytes)
{
  if (pctxt == nullptr) return RTX_E_BAD_PARAMETER;
  if (pctxt->pStream == nullptr) return rtxErrSetNewData(pctxt, RTX_E_NO_CONTEXT, kModule, __LINE__);
  if (pctxt->buffer.data == nullptr) {
    int status = rtxStreamInitCtxtBuf(pctxt);
    if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
  }
  if (!canRead(pctxt)) return rtxErrSetNewData(pctxt, RTX_E_NO_CONTEXT, kModule, __LINE__);
  // The buffer reaches up to the end that was set for the input.
  if (pctxt->buffer.size + pctxt->pStream->bytesProcessed == pctxt->pStream->endOffset) {
    return rtxReport(pctxt, RTX_E_END_OF_BUFFER, kModule, __LINE__);
  }
  int status = makeInputRoom(pctxt, nbytes);
  if (status < 0) return status;
  return fillBuffer(pctxt, nbytes);
}
