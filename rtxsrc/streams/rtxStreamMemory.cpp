// The memory kind of stream: the context's buffer is the stream. Reading moves byteIndex, writing stores there and
// grows the buffer if it is the stream's own. So nothing is copied and nothing drains; what the stream adds to a plain
// buffer is the interface of streams, the count of octets and hexadecimal text.
//
// A buffer of the stream's own comes from the system side of the heap and outlives rtxMemReset. One of the caller's is
// only bound, and closing takes it off the context.
#include "velnor3gpp/rtxStreamMemory.h"

#include <algorithm>
#include <cstring>

#include "rtxsrc/errors/rtxReport.h"
#include "rtxsrc/streams/rtxStreamInternal.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStatus.h"
#include "velnor3gpp/rtxStreamFile.h"

static const char* const kModule = "rtxStreamMemory";

/** First size of a growing buffer, and what each growth adds beyond the need, in octets. */
static constexpr size_t kGrowth = 512;

/** What a memory stream needs beyond the common record. */
struct MemoryStream {
  RtxContext* pctxt; /**< Whose buffer the octets are. */
  uint8_t attached;  /**< 1 if the buffer is the caller's, 0 if it is the stream's own and grows. */
  size_t markIndex;  /**< `byteIndex` at the mark. */
};

static MemoryStream* memoryOf(RtxStream* pStream)
{
  return static_cast<MemoryStream*>(pStream->extra);
}

// Octets read count as processed, unless the core counts them because they pass through the context's buffer.
static void countProcessed(RtxStream* pStream, size_t count)
{
  if ((pStream->flags & RTX_STREAM_CTXTBUF) == 0) pStream->bytesProcessed += count;
}

// 0 also for a cursor that was set behind the end.
static size_t leftIn(const RtxBuffer* buffer)
{
  return buffer->byteIndex < buffer->size ? buffer->size - buffer->byteIndex : 0;
}

// The next character of hexadecimal text, -1 at the end.
static int nextOfBuffer(void* source)
{
  auto* buffer = static_cast<RtxBuffer*>(source);
  return leftIn(buffer) > 0 ? buffer->data[buffer->byteIndex++] : -1;
}

// The target may be part of the buffer, so memmove.
static int64_t memoryRead(RtxStream* pStream, uint8_t* pbuf, size_t size)
{
  RtxContext* pctxt = memoryOf(pStream)->pctxt;
  RtxBuffer* buffer = &pctxt->buffer;
  if ((pStream->flags & RTX_STREAM_HEX) != 0) {
    int64_t got = rtxReadHexText(pctxt, nextOfBuffer, buffer, pbuf, size);
    if (got > 0) countProcessed(pStream, static_cast<size_t>(got));
    return got;
  }
  size_t count = std::min(size, leftIn(buffer));
  if (count == 0) return 0;
  std::memmove(pbuf, buffer->data + buffer->byteIndex, count);
  buffer->byteIndex += count;
  countProcessed(pStream, count);
  return static_cast<int64_t>(count);
}

// Room for `needed` octets at the cursor. The quarter of SIZE_MAX keeps the sum of three from wrapping.
static int growFor(RtxContext* pctxt, size_t needed)
{
  RtxBuffer* buffer = &pctxt->buffer;
  if (needed <= leftIn(buffer)) return 0;
  if (!buffer->dynamic) return rtxReport(pctxt, RTX_E_ENCODE_OVERFLOW, kModule, __LINE__);
  bool fits = buffer->byteIndex <= SIZE_MAX / 4 && needed <= SIZE_MAX / 4;
  size_t size = fits ? buffer->byteIndex + needed + kGrowth : SIZE_MAX;
  bool system = (pctxt->flags & RTX_FLAG_SYSMEM_BUFFER) != 0;
  void* data = nullptr;
  if (fits && system) data = rtxMemHeapSysRealloc(&pctxt->pMemHeap, buffer->data, size);
  if (fits && !system) data = rtxMemHeapRealloc(&pctxt->pMemHeap, buffer->data, size);
  if (data == nullptr) return rtxReport(pctxt, RTX_E_NO_MEMORY, kModule, __LINE__);
  buffer->data = static_cast<uint8_t*>(data);
  buffer->size = size;
  return 0;
}

// In hexadecimal text an octet takes two characters; the ending zero of each pair is not stored.
static int memoryWrite(RtxStream* pStream, const uint8_t* data, size_t count)
{
  RtxContext* pctxt = memoryOf(pStream)->pctxt;
  RtxBuffer* buffer = &pctxt->buffer;
  bool hex = (pStream->flags & RTX_STREAM_HEX) != 0;
  if (data == nullptr && count > 0) return rtxReport(pctxt, RTX_E_BAD_PARAMETER, kModule, __LINE__);
  if (hex && count > SIZE_MAX / 2) return rtxReport(pctxt, RTX_E_NO_MEMORY, kModule, __LINE__);
  int status = growFor(pctxt, hex ? count * 2 : count);
  if (status < 0 || count == 0) return status;
  if (!hex) {
    std::memcpy(buffer->data + buffer->byteIndex, data, count);
    buffer->byteIndex += count;
    return 0;
  }
  for (size_t i = 0; i < count; ++i, buffer->byteIndex += 2) {
    char text[3];
    rtxByteToHexChar(data[i], text, sizeof text);
    std::memcpy(buffer->data + buffer->byteIndex, text, 2);
  }
  return 0;
}

// Both failures leave the cursor where it is: at the end of the octets, or in front of fewer than `count`.
static int memorySkip(RtxStream* pStream, size_t count)
{
  RtxContext* pctxt = memoryOf(pStream)->pctxt;
  size_t left = leftIn(&pctxt->buffer);
  if (count == 0) return 0;
  if (left == 0) return rtxReport(pctxt, RTX_E_END_OF_BUFFER, kModule, __LINE__);
  if (count > left) return rtxReport(pctxt, RTX_E_ENCODE_OVERFLOW, kModule, __LINE__);
  pctxt->buffer.byteIndex += count;
  countProcessed(pStream, count);
  return 0;
}

// The position as a byteIndex, and the count of octets as it was.
static int memoryMark(RtxStream* pStream, size_t limit)
{
  MemoryStream* memory = memoryOf(pStream);
  bool buffered = (pStream->flags & RTX_STREAM_CTXTBUF) != 0;
  memory->markIndex = memory->pctxt->buffer.byteIndex;
  pStream->readAheadLimit = limit;
  pStream->markedBytesProcessed = pStream->bytesProcessed + (buffered ? memory->markIndex : 0);
  return 0;
}

// Back to the mark; a second reset without a mark goes to the start, since the mark is given up.
static int memoryReset(RtxStream* pStream)
{
  MemoryStream* memory = memoryOf(pStream);
  memory->pctxt->buffer.byteIndex = memory->markIndex;
  memory->markIndex = 0;
  pStream->bytesProcessed = pStream->markedBytesProcessed;
  pStream->readAheadLimit = RTX_STREAM_READ_AHEAD_MAX;
  pStream->flags |= RTX_STREAM_AT_MARK;
  return 0;
}

static int memoryGetPos(RtxStream* pStream, size_t* pPos)
{
  *pPos = memoryOf(pStream)->pctxt->buffer.byteIndex;
  return 0;
}

// Any position is accepted, also one behind the end: reads find nothing there, and a growing buffer grows over the gap.
static int memorySetPos(RtxStream* pStream, size_t pos)
{
  memoryOf(pStream)->pctxt->buffer.byteIndex = pos;
  pStream->bytesProcessed = pos;
  return 0;
}

static int memoryClose(RtxStream* pStream)
{
  MemoryStream* memory = memoryOf(pStream);
  RtxContext* pctxt = memory->pctxt;
  // The stream's own buffer is freed; a caller's is taken off later, by the core.
  if (!memory->attached) rtxStreamReplaceBuffer(pctxt);
  rtxMemHeapSysFreePtr(&pctxt->pMemHeap, memory);
  pStream->extra = nullptr;
  return 0;
}

// Binds a stream of this kind; its buffer is bound by the caller.
static int bindMemory(RtxContext* pctxt, uint16_t flags, bool attached)
{
  int status = rtxStreamInitKind(pctxt, sizeof(MemoryStream));
  if (status < 0) return status;
  RtxStream* pStream = pctxt->pStream;
  *memoryOf(pStream) = {.pctxt = pctxt, .attached = attached, .markIndex = 0};
  pStream->read = memoryRead;
  pStream->write = memoryWrite;
  pStream->close = memoryClose;
  pStream->skip = memorySkip;
  pStream->mark = memoryMark;
  pStream->reset = memoryReset;
  pStream->getPos = memoryGetPos;
  pStream->setPos = memorySetPos;
  pStream->id = RTX_STREAM_ID_MEMORY;
  pStream->flags = static_cast<uint16_t>(flags | RTX_STREAM_AT_MARK);
  return 0;
}

static bool hasDirection(uint16_t flags)
{
  return (flags & (RTX_STREAM_READ | RTX_STREAM_WRITE)) != 0;
}

// The caller's octets: read from, or written to as far as they reach. They must outlive the stream.
int rtxStreamMemoryAttach(RtxContext* pctxt, uint8_t* data, size_t size, uint16_t flags)
{
  if (data == nullptr || size == 0 || !hasDirection(flags)) {
    return rtxReport(pctxt, RTX_E_BAD_PARAMETER, kModule, __LINE__);
  }
  int status = bindMemory(pctxt, flags, true);
  if (status < 0) return status;
  // The buffer that was bound before makes place. It is freed if it is system memory.
  rtxStreamReplaceBuffer(pctxt);
  pctxt->buffer.data = data;
  pctxt->buffer.size = size;
  return 0;
}

// A stream with octets of its own. A reader of that kind has none, so that its first read is at the end.
static int createMemory(RtxContext* pctxt, size_t size, uint16_t flags)
{
  int status = bindMemory(pctxt, flags, false);
  if (status < 0) return status;
  rtxStreamReplaceBuffer(pctxt);
  if ((flags & RTX_STREAM_WRITE) == 0) return 0;
  if (size == 0) size = kGrowth;
  pctxt->buffer.data = static_cast<uint8_t*>(rtxMemHeapSysAlloc(&pctxt->pMemHeap, size));
  if (pctxt->buffer.data == nullptr) {
    rtxStreamClose(pctxt);
    return rtxReport(pctxt, RTX_E_NO_MEMORY, kModule, __LINE__);
  }
  pctxt->buffer.size = size;
  pctxt->buffer.dynamic = 1;
  pctxt->flags |= RTX_FLAG_SYSMEM_BUFFER;
  return 0;
}

int rtxStreamMemoryCreate(RtxContext* pctxt, uint16_t flags)
{
  if (!hasDirection(flags)) return rtxReport(pctxt, RTX_E_BAD_PARAMETER, kModule, __LINE__);
  return createMemory(pctxt, pctxt->buffer.size, flags);
}

int rtxStreamMemoryCreateReader(RtxContext* pctxt, uint8_t* data, size_t size)
{
  return rtxStreamMemoryAttach(pctxt, data, size, RTX_STREAM_READ);
}

int rtxStreamMemoryCreateWriter(RtxContext* pctxt, uint8_t* data, size_t size)
{
  if (data != nullptr) return rtxStreamMemoryAttach(pctxt, data, size, RTX_STREAM_WRITE);
  return createMemory(pctxt, size, RTX_STREAM_WRITE);
}

// The octets written so far, a begun one included, or read so far. The pointer is good until the next write.
uint8_t* rtxStreamMemoryGetBuffer(RtxContext* pctxt, size_t* pSize)
{
  const RtxBuffer* buffer = &pctxt->buffer;
  if (pctxt->pStream == nullptr || pctxt->pStream->id != RTX_STREAM_ID_MEMORY) return nullptr;
  bool begun = rtxStreamIsWritable(pctxt) && buffer->bitOffset != 8 && buffer->bitOffset != 0;
  if (pSize != nullptr) *pSize = buffer->byteIndex + (begun ? 1 : 0);
  return buffer->data;
}

// Writes over the octets from the start; a growing buffer keeps its size.
int rtxStreamMemoryResetWriter(RtxContext* pctxt)
{
  bool writer = rtxStreamIsWritable(pctxt) && pctxt->pStream->id == RTX_STREAM_ID_MEMORY;
  if (!writer) return rtxReport(pctxt, RTX_E_NO_CONTEXT, kModule, __LINE__);
  pctxt->buffer.byteIndex = 0;
  return 0;
}
