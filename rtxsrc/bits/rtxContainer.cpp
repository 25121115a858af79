// Length regions and positions. A region ("container") is the part of the octets that a length has opened: a coder
// pushes it with the length, reads elements while rtxCtxtContainerHasRemBits, and pops it. Regions are records on the
// heap of the context, the innermost at the head of containerStack; rtxErrReset takes away those that a failure left
// open. The engine uses frames on its own stack until a failure, a stream or slow mode needs these
// (docs/adr/0002-names-and-regions-by-frame.md).
//
// A region names its end, not its length, as a cursor. Six octets pushed at byteIndex 3, bitOffset 4 end at byteIndex
// 9, bitOffset 4. Nothing here limits reads to the region: the coder asks.
#include "velnor3gpp/rtxContainer.h"

#include "rtxsrc/bits/rtxBitCursor.h"
#include "rtxsrc/errors/rtxReport.h"
#include "rtxsrc/streams/rtxStreamBinding.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxDList.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStatus.h"

static const char* const kModule = "rtxContainer";

/** RtxBuffer.markByteIndex without a mark. */
static constexpr size_t kNoMark = SIZE_MAX;

// The current octet. Under a stream that works through the buffer the octets move in it, so they count from the start
// of the input.
static size_t currentOctet(const RtxContext* pctxt)
{
  return pctxt->buffer.byteIndex + (rtxHasBufferedStream(pctxt) ? pctxt->pStream->bytesProcessed : 0);
}

// The region that was opened last, or null with none open: then the end of the input is the end.
static const RtxContainer* innermost(const RtxContext* pctxt)
{
  const RtxDListNode* node = pctxt->containerStack.dlist.head;
  return node != nullptr ? static_cast<const RtxContainer*>(node->data) : nullptr;
}

// A length that does not fit ends behind everything, instead of wrapping to a place in front of the cursor.
static size_t addOctets(size_t octet, size_t more)
{
  return more > SIZE_MAX - octet ? SIZE_MAX : octet + more;
}

// Puts a region with the given end on the stack. If there is no memory for its stack entry, the record is freed again.
static int pushContainer(RtxContext* pctxt, size_t byteIndex, int bitOffset)
{
  auto* region = static_cast<RtxContainer*>(rtxMemHeapAlloc(&pctxt->pMemHeap, sizeof(RtxContainer)));
  if (region == nullptr) return rtxErrSetNewData(pctxt, RTX_E_NO_MEMORY, kModule, __LINE__);
  region->byteIndex = byteIndex;
  region->bitOffset = static_cast<uint16_t>(bitOffset);
  int status = rtxStackPush(&pctxt->containerStack, region);
  if (status == 0) return 0;
  rtxMemHeapFreePtr(&pctxt->pMemHeap, region);
  return rtxErrSetNewData(pctxt, status, kModule, __LINE__);
}

int rtxCtxtPushContainerBytes(RtxContext* pctxt, size_t nbytes)
{
  return pushContainer(pctxt, addOctets(currentOctet(pctxt), nbytes), pctxt->buffer.bitOffset);
}

int rtxCtxtPushContainerBits(RtxContext* pctxt, size_t nbits)
{
  size_t octet = addOctets(currentOctet(pctxt), nbits / 8);
  // Bits left in the end octet: at bitOffset 3, a region of 5 bits would end at -2, so it ends in the next octet, at 6.
  int offset = pctxt->buffer.bitOffset - static_cast<int>(nbits % 8);
  if (offset >= 1) return pushContainer(pctxt, octet, offset);
  return pushContainer(pctxt, addOctets(octet, 1), offset + 8);
}

void rtxCtxtPopContainer(RtxContext* pctxt)
{
  void* region = rtxStackPop(&pctxt->containerStack);
  if (region != nullptr) rtxMemHeapFreePtr(&pctxt->pMemHeap, region);
}

void rtxCtxtPopAllContainers(RtxContext* pctxt)
{
  while (pctxt->containerStack.dlist.head != nullptr) rtxCtxtPopContainer(pctxt);
}

// 1 while the cursor is in front of the region's end. A larger bit offset is nearer to the octet's start, so it is in
// front of a smaller one.
int rtxCtxtContainerHasRemBits(RtxContext* pctxt)
{
  const RtxContainer* region = innermost(pctxt);
  // A stream's buffer can be empty while its input goes on, so the look ahead refills it.
  if (region == nullptr) return rtxPeekByte(pctxt, nullptr) > 0;
  size_t octet = currentOctet(pctxt);
  if (region->byteIndex != octet) return region->byteIndex > octet;
  return pctxt->buffer.bitOffset > static_cast<int>(region->bitOffset);
}

// 1 only at the very end of the region: a cursor that has gone beyond it is not at its end.
int rtxCtxtContainerEnd(RtxContext* pctxt)
{
  const RtxContainer* region = innermost(pctxt);
  if (region == nullptr) return pctxt->buffer.byteIndex == pctxt->buffer.size;
  return region->byteIndex == currentOctet(pctxt) && static_cast<int>(region->bitOffset) == pctxt->buffer.bitOffset;
}

// In bits. The sum wraps below 0 if the cursor is behind the end, so callers ask rtxCtxtContainerHasRemBits first.
size_t rtxCtxtGetContainerRemBits(RtxContext* pctxt)
{
  const RtxContainer* region = innermost(pctxt);
  const RtxBuffer* buffer = &pctxt->buffer;
  size_t octets = region != nullptr ? region->byteIndex - currentOctet(pctxt) : buffer->size - buffer->byteIndex;
  size_t endOffset = region != nullptr ? region->bitOffset : 8;
  return octets * 8 - endOffset + static_cast<size_t>(buffer->bitOffset);
}

// The position in the input. The octets of a memory stream are the buffer: what the stream has counted of them lies in
// front of the cursor already.
static size_t octetsPassed(const RtxContext* pctxt)
{
  bool apart = rtxHasStream(pctxt) && (!rtxHasMemoryStream(pctxt) || rtxHasBufferedStream(pctxt));
  return pctxt->buffer.byteIndex + (apart ? pctxt->pStream->bytesProcessed : 0);
}

size_t rtxCtxtGetBitOffset(RtxContext* pctxt)
{
  return octetsPassed(pctxt) * 8 + static_cast<size_t>(8 - pctxt->buffer.bitOffset);
}

int rtxCtxtSetBitOffset(RtxContext* pctxt, size_t offset)
{
  if (rtxHasStream(pctxt)) {
    rtxErrAddStrParm(pctxt, "set bit offset in stream");
    return rtxReport(pctxt, RTX_E_NOT_SUPPORTED, kModule, __LINE__);
  }
  // rtxCursorAdvance counts from the current octet's start, so that is made octet 0.
  pctxt->buffer.byteIndex = 0;
  rtxCursorAdvance(&pctxt->buffer, offset);
  return 0;
}

// With a stream what the stream has moved, without one what the cursor has passed.
size_t rtxCtxtGetIOByteCount(RtxContext* pctxt)
{
  size_t count = pctxt->buffer.byteIndex;
  if (pctxt->pStream != nullptr) rtxStreamGetIOBytes(pctxt, &count);
  return count;
}

// A position in bits that is smaller than the one in octets has wrapped. It would lead to a wrong place, so it is
// refused.
int rtxCtxtMarkBitPos(RtxContext* pctxt, size_t* pMark)
{
  size_t position = rtxCtxtGetBitOffset(pctxt);
  bool overflow = position < octetsPassed(pctxt);
  *pMark = overflow ? 0 : position;
  return overflow ? RTX_E_TOO_BIG : 0;
}

int rtxCtxtResetToBitPos(RtxContext* pctxt, size_t mark)
{
  return rtxCtxtSetBitOffset(pctxt, mark);
}

// A stream that cannot go back itself keeps its octets in the context's buffer from the mark on. Positions then count
// from the mark.
static void markWithinBuffer(RtxContext* pctxt, size_t* pPos)
{
  RtxStream* pStream = pctxt->pStream;
  // A second mark is an offset from the first, which has to hold its octets until it is given back.
  if ((pStream->flags & RTX_STREAM_MARKED) == 0) pStream->markedBytesProcessed = pctxt->buffer.byteIndex;
  pStream->flags |= RTX_STREAM_MARKED;
  *pPos = pctxt->buffer.byteIndex - pStream->markedBytesProcessed;
}

// In octets. Three cases: a plain buffer, a stream that can go back, and a stream whose octets the buffer keeps.
int rtxMarkPos(RtxContext* pctxt, size_t* pPos)
{
  *pPos = pctxt->buffer.byteIndex;
  if (!rtxHasStream(pctxt)) return 0;
  if (rtxStreamMarkSupported(pctxt)) {
    int status = rtxStreamMark(pctxt, RTX_STREAM_READ_AHEAD_MAX);
    if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
    *pPos = currentOctet(pctxt);
    return 0;
  }
  if (!rtxHasBufferedStream(pctxt)) return rtxReport(pctxt, RTX_E_MARK_UNSUPPORTED, kModule, __LINE__);
  markWithinBuffer(pctxt, pPos);
  return 0;
}

// Goes back by the stream's own means. What its buffer held is behind the mark and worthless then.
static int resetStream(RtxContext* pctxt, size_t pos)
{
  int status = pctxt->pStream->reset(pctxt->pStream);
  if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
  if (rtxHasMemoryStream(pctxt)) {
    pctxt->buffer.byteIndex = pos;
    return 0;
  }
  pctxt->buffer.byteIndex = 0;
  pctxt->buffer.size = 0;
  pctxt->buffer.markByteIndex = kNoMark;
  return 0;
}

// Position 0 is the mark itself, and going back to it gives it up; other positions keep it.
static int resetWithinBuffer(RtxContext* pctxt, size_t pos)
{
  RtxStream* pStream = pctxt->pStream;
  if ((pStream->flags & RTX_STREAM_MARKED) == 0) {
    return rtxReport(pctxt, RTX_E_BAD_PARAMETER, kModule, __LINE__);
  }
  pctxt->buffer.byteIndex = addOctets(pStream->markedBytesProcessed, pos);
  if (pos == 0) pStream->flags &= static_cast<uint16_t>(~RTX_STREAM_MARKED);
  return 0;
}

int rtxResetToPos(RtxContext* pctxt, size_t pos)
{
  if (!rtxHasStream(pctxt)) {
    pctxt->buffer.byteIndex = pos;
    return 0;
  }
  if (!rtxStreamMarkSupported(pctxt)) return resetWithinBuffer(pctxt, pos);
  size_t passed = rtxHasBufferedStream(pctxt) ? pctxt->pStream->bytesProcessed : 0;
  // What has left the buffer can only come from the stream again; what is still in it needs only the cursor.
  if (passed >= pos) return resetStream(pctxt, pos);
  pctxt->buffer.byteIndex = pos - passed;
  return 0;
}
