// Room in the context's buffer: the one place that refills input and makes space for output. The readers and writers of
// rtxsrc/bits come here when the octets they need are not in the buffer. What happens then depends on who owns it:
//
// a buffer of the caller's     reading fails with RTX_E_END_OF_BUFFER, writing with RTX_E_ENCODE_OVERFLOW
// a growing buffer (dynamic)   is at least doubled when written to
// one in front of a stream     is refilled from it, or drained to it
//
// All sizes are octets from byteIndex on, and are compared with what is left, so that none wraps.
#include "velnor3gpp/rtxCheckBuffer.h"

#include <cstring>

#include "rtxsrc/bits/rtxBitCursor.h"
#include "rtxsrc/errors/rtxReport.h"
#include "rtxsrc/streams/rtxStreamBinding.h"
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStatus.h"

static const char* const kModule = "rtxCheckBuffer";

// A cursor behind the end has no octets, not even for `nbytes` 0.
static bool bufferHolds(const RtxContext* pctxt, size_t nbytes)
{
  const RtxBuffer& buffer = pctxt->buffer;
  return buffer.byteIndex <= buffer.size && nbytes <= buffer.size - buffer.byteIndex;
}

// Makes `nbytes` octets available at the cursor. Where the input ends before, the status tells a stream's end from a
// buffer's.
int rtxCheckInputBuffer(RtxContext* pctxt, size_t nbytes)
{
  int shortfall = RTX_E_END_OF_BUFFER;
  if (rtxHasBufferedStream(pctxt)) {
    int status = rtxStreamLoadInputBuffer(pctxt, nbytes);
    if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
    shortfall = RTX_E_END_OF_FILE;
  }
  if (bufferHolds(pctxt, nbytes)) return 0;
  return rtxReport(pctxt, shortfall, kModule, __LINE__);
}

int rtxCheckOutputBuffer(RtxContext* pctxt, size_t nbytes)
{
  // Behind a begun octet `nbytes` whole ones touch one more. SIZE_MAX stays as it is, since the sum would wrap to 0.
  size_t begun = pctxt->buffer.bitOffset != 8 && nbytes != SIZE_MAX ? 1 : 0;
  if (bufferHolds(pctxt, nbytes + begun)) return 0;
  int status = rtxExpandOutputBuffer(pctxt, nbytes + begun);
  return status < 0 ? rtxReport(pctxt, status, kModule, __LINE__) : 0;
}

// Writes the whole octets to the stream and brings the octet after them, which may be begun, to the front.
static int drain(RtxContext* pctxt)
{
  RtxBuffer& buffer = pctxt->buffer;
  // Octets written across a begun one may leave the cursor behind the end.
  size_t whole = buffer.byteIndex < buffer.size ? buffer.byteIndex : buffer.size;
  int status = rtxStreamWrite(pctxt, buffer.data, whole);
  if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
  // The bits that the next field will join.
  if (whole < buffer.size) buffer.data[0] = buffer.data[whole];
  pctxt->pStream->bytesProcessed += whole;
  buffer.byteIndex = 0;
  return 0;
}

// Makes the stream work through the context's buffer, if it is not of a kind that never does. Output is gathered there
// from then on, and a growing buffer that a writer filled before is drained like any other.
static int adoptBuffer(RtxContext* pctxt)
{
  RtxStream* pStream = pctxt->pStream;
  if ((pStream->flags & RTX_STREAM_OWN_BUFFER) != 0) return 0;
  pStream->flags |= RTX_STREAM_CTXTBUF;
  if (pctxt->buffer.data == nullptr) {
    int status = rtxInitContextBuffer(pctxt, nullptr, RTX_STREAM_CTXTBUF_SIZE);
    if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
  }
  pStream->bufSize = pctxt->buffer.size;
  return 0;
}

// Null also for a size whose bits cannot be counted. A buffer must go back to the allocator it came from, which the
// flag tells.
static uint8_t* reallocBuffer(RtxContext* pctxt, size_t size)
{
  if (!rtxBitsAreCountable(size)) return nullptr;
  bool system = (pctxt->flags & RTX_FLAG_SYSMEM_BUFFER) != 0;
  void* data = system ? rtxMemHeapSysRealloc(&pctxt->pMemHeap, pctxt->buffer.data, size)
                      : rtxMemHeapRealloc(&pctxt->pMemHeap, pctxt->buffer.data, size);
  return static_cast<uint8_t*>(data);
}

// What a growing buffer gets for `nbytes` at the cursor, at least. A cursor set past the end needs the gap as well. At
// least the size it has, so that octets written one by one are not copied each time.
static size_t growthFor(const RtxBuffer& buffer, size_t nbytes)
{
  size_t gap = buffer.byteIndex > buffer.size ? buffer.byteIndex - buffer.size : 0;
  size_t need = nbytes > SIZE_MAX - gap ? SIZE_MAX : nbytes + gap;
  return buffer.size > need ? buffer.size : need;
}

// Drains if there is a stream to drain to, and grows if that was not enough.
int rtxExpandOutputBuffer(RtxContext* pctxt, size_t nbytes)
{
  RtxBuffer& buffer = pctxt->buffer;
  if (rtxHasStream(pctxt) && !rtxHasMemoryStream(pctxt)) {
    int status = adoptBuffer(pctxt);
    if (status < 0) return status;
    if (rtxIsOutputBufferFlushable(pctxt) && buffer.byteIndex > 0) status = drain(pctxt);
    if (status < 0) return status;
    if (bufferHolds(pctxt, nbytes)) return 0;
  }
  if (!buffer.dynamic) return rtxErrSetNewData(pctxt, RTX_E_ENCODE_OVERFLOW, kModule, __LINE__);
  size_t more = growthFor(buffer, nbytes);
  if (more == 0) return 0; // A size of 0 would free what there is.
  if (more > SIZE_MAX - buffer.size) return rtxReport(pctxt, RTX_E_NO_MEMORY, kModule, __LINE__);
  // The refused size stays in the buffer when the growth fails. Callers must not write any more then.
  buffer.size += more;
  uint8_t* data = reallocBuffer(pctxt, buffer.size);
  if (data == nullptr) return rtxReport(pctxt, RTX_E_NO_MEMORY, kModule, __LINE__);
  buffer.data = data;
  rtxTellCapacity(pctxt, buffer.size);
  return 0;
}

// The older form for writers of text: it flushes the stream as a whole and at least triples a growing buffer.
int rtxCheckBuffer(RtxContext* pctxt, size_t nbytes)
{
  RtxBuffer& buffer = pctxt->buffer;
  size_t begun = buffer.bitOffset != 8 && nbytes != SIZE_MAX ? 1 : 0;
  if (bufferHolds(pctxt, nbytes + begun)) return 0;
  if (rtxHasStream(pctxt)) {
    int status = rtxStreamFlush(pctxt);
    if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
    if (bufferHolds(pctxt, nbytes)) return 0;
  }
  if (!buffer.dynamic) return rtxErrSetNewData(pctxt, RTX_E_ENCODE_OVERFLOW, kModule, __LINE__);
  size_t more = growthFor(buffer, nbytes);
  // Bounds the sum of two sizes and the growth below SIZE_MAX: half and half at most.
  bool fits = buffer.size <= SIZE_MAX / 4 && more <= SIZE_MAX / 2;
  // System memory, which a stream's buffer is, would break the heap's own realloc.
  uint8_t* grown = fits ? reallocBuffer(pctxt, more + 2 * buffer.size) : nullptr;
  // The buffer is unbound on failure. Heap octets go with the heap, but nobody else knows those of the system.
  if (grown == nullptr && (pctxt->flags & RTX_FLAG_SYSMEM_BUFFER) != 0)
    rtxMemHeapSysFreePtr(&pctxt->pMemHeap, buffer.data);
  buffer.data = grown;
  buffer.size = grown != nullptr ? more + 2 * buffer.size : 0;
  rtxTellCapacity(pctxt, buffer.size);
  return grown != nullptr ? 0 : rtxErrSetNewData(pctxt, RTX_E_NO_MEMORY, kModule, __LINE__);
}

int rtxFlushOutputBuffer(RtxContext* pctxt)
{
  // A memory stream's octets are the buffer itself: there is nowhere to drain them to.
  if (pctxt->buffer.byteIndex == 0 || rtxHasMemoryStream(pctxt)) return 0;
  return drain(pctxt);
}

int rtxIsOutputBufferFlushable(RtxContext* pctxt)
{
  if (!rtxHasStream(pctxt) || rtxHasMemoryStream(pctxt)) return 0;
  return (pctxt->pStream->flags & RTX_STREAM_MARKED) == 0;
}
