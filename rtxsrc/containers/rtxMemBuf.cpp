// The growing octet buffer. The captures of streams and of the bit trace are such, and callers put octets together in
// it. Its octets are the heap's, the system's or the caller's:
//
// buffer      0 ... startidx ... usedcnt ... bufsize
//             trimmed | data     | free
//
// isDynamic 1 means that the buffer owns its octets and may resize them. One that began with the caller's octets moves
// to its own when those are full, if it may grow.
#include "velnor3gpp/rtxMemBuf.h"

#include <string.h>

#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStatus.h"

static const char kModule[] = "rtxMemBuf";

// There only the latest allocation can grow, and not by rtxMemHeapRealloc.
static bool onStaticHeap(const RtxMemBuf* buf)
{
  const RtxMemHeap* heap = buf->pctxt->pMemHeap;
  return heap != nullptr && (heap->flags & RT_MH_STATIC) != 0;
}

// Fresh memory of `size` octets with the data copied in: the first allocation, or the way out of a caller's buffer.
static void* moveOut(const RtxMemBuf* buf, size_t size)
{
  RtxMemHeap** ppHeap = &buf->pctxt->pMemHeap;
  void* fresh = buf->useSysMem ? rtxMemHeapSysAlloc(ppHeap, size) : rtxMemHeapAlloc(ppHeap, size);
  if (fresh != nullptr && buf->usedcnt != 0) memcpy(fresh, buf->buffer, buf->usedcnt);
  return fresh;
}

// Octets with room for `size`, the data in them; null leaves the buffer as it is.
static void* resize(const RtxMemBuf* buf, size_t size)
{
  RtxMemHeap** ppHeap = &buf->pctxt->pMemHeap;
  if (buf->buffer == nullptr || !buf->isDynamic) return moveOut(buf, size);
  if (buf->useSysMem) return rtxMemHeapSysRealloc(ppHeap, buf->buffer, size);
  if (onStaticHeap(buf)) return rtxMemHeapReallocStatic(ppHeap, buf->buffer, buf->bufsize, size);
  return rtxMemHeapRealloc(ppHeap, buf->buffer, size);
}

void rtxMemBufInit(RtxContext* pctxt, RtxMemBuf* pMemBuf, size_t segsize)
{
  *pMemBuf = {};
  pMemBuf->pctxt = pctxt;
  pMemBuf->segsize = segsize != 0 ? segsize : RTX_MEM_BUF_SEGMENT_SIZE;
  pMemBuf->isDynamic = 1;
  pMemBuf->isExpandable = 1;
}

// Starts in the caller's octets. A segment size of 0 means that it may not grow.
void rtxMemBufInitBuffer(RtxContext* pctxt, RtxMemBuf* pMemBuf, void* buffer, size_t bufsize, size_t segsize)
{
  *pMemBuf = {};
  pMemBuf->pctxt = pctxt;
  pMemBuf->segsize = segsize;
  pMemBuf->isExpandable = segsize != 0;
  pMemBuf->buffer = static_cast<uint8_t*>(buffer);
  pMemBuf->bufsize = bufsize;
}

// Makes room for `nbytes` behind the data, in steps of the segment size. A caller can then write there itself.
int rtxMemBufPreAllocate(RtxMemBuf* pMemBuf, size_t nbytes)
{
  if (nbytes <= pMemBuf->bufsize - pMemBuf->usedcnt) return 0;
  if (!pMemBuf->isExpandable || pMemBuf->segsize == 0) {
    return rtxErrSetNewData(pMemBuf->pctxt, RTX_E_NO_MEMORY, kModule, __LINE__);
  }
  if (nbytes > SIZE_MAX - pMemBuf->usedcnt) return RTX_E_NO_MEMORY;
  size_t size = pMemBuf->usedcnt + nbytes;
  const size_t over = size % pMemBuf->segsize;
  // A static heap resizes the latest allocation only, so nothing is set aside there.
  const bool exact = onStaticHeap(pMemBuf) && !pMemBuf->useSysMem && pMemBuf->isDynamic && pMemBuf->buffer != nullptr;
  if (over != 0 && !exact) {
    if (pMemBuf->segsize - over > SIZE_MAX - size) return RTX_E_NO_MEMORY;
    size += pMemBuf->segsize - over;
  }
  void* memory = resize(pMemBuf, size);
  if (memory == nullptr) return RTX_E_NO_MEMORY;
  pMemBuf->buffer = static_cast<uint8_t*>(memory);
  pMemBuf->bufsize = size;
  pMemBuf->isDynamic = 1;
  return 0;
}

int rtxMemBufAppend(RtxMemBuf* pMemBuf, const void* data, size_t nbytes)
{
  // Octets of the buffer itself move with it.
  // A pointer below the buffer wraps to a large difference.
  const uintptr_t at = reinterpret_cast<uintptr_t>(data) - reinterpret_cast<uintptr_t>(pMemBuf->buffer);
  const bool own = pMemBuf->buffer != nullptr && at < pMemBuf->bufsize;
  const int status = rtxMemBufPreAllocate(pMemBuf, nbytes);
  if (status < 0) return status;
  if (own) data = pMemBuf->buffer + at;
  // memmove, since octets of the buffer itself may overlap their target.
  if (nbytes != 0) memmove(pMemBuf->buffer + pMemBuf->usedcnt, data, nbytes);
  pMemBuf->usedcnt += nbytes;
  return 0;
}

int rtxMemBufSet(RtxMemBuf* pMemBuf, uint8_t value, size_t nbytes)
{
  const int status = rtxMemBufPreAllocate(pMemBuf, nbytes);
  if (status < 0) return status;
  if (nbytes != 0) memset(pMemBuf->buffer + pMemBuf->usedcnt, value, nbytes);
  pMemBuf->usedcnt += nbytes;
  return 0;
}

// Where an index stands after `nbytes` octets from `from` on are gone.
static size_t afterCut(size_t index, size_t from, size_t nbytes)
{
  if (index <= from) return index;
  return index - from < nbytes ? from : index - nbytes;
}

int rtxMemBufCut(RtxMemBuf* pMemBuf, size_t fromOffset, size_t nbytes)
{
  if (fromOffset > pMemBuf->usedcnt || nbytes > pMemBuf->usedcnt - fromOffset) {
    return rtxErrSetData(pMemBuf->pctxt, RTX_E_BAD_PARAMETER, kModule, __LINE__);
  }
  if (nbytes == 0) return 0;
  // Octets behind the cut, which move to its place.
  const size_t tail = pMemBuf->usedcnt - fromOffset - nbytes;
  memmove(pMemBuf->buffer + fromOffset, pMemBuf->buffer + fromOffset + nbytes, tail);
  pMemBuf->usedcnt -= nbytes;
  pMemBuf->startidx = afterCut(pMemBuf->startidx, fromOffset, nbytes);
  pMemBuf->readidx = afterCut(pMemBuf->readidx, fromOffset, nbytes);
  return 0;
}

static bool isSpace(uint8_t octet)
{
  return octet == ' ' || (octet >= '\t' && octet <= '\r');
}

// Drops white space at both ends without moving an octet.
void rtxMemBufTrimW(RtxMemBuf* pMemBuf)
{
  const uint8_t* data = pMemBuf->buffer;
  while (pMemBuf->startidx < pMemBuf->usedcnt && isSpace(data[pMemBuf->startidx])) pMemBuf->startidx++;
  while (pMemBuf->startidx < pMemBuf->usedcnt && isSpace(data[pMemBuf->usedcnt - 1])) pMemBuf->usedcnt--;
}

// Keeps the octets for the next use.
void rtxMemBufReset(RtxMemBuf* pMemBuf)
{
  pMemBuf->startidx = pMemBuf->usedcnt = pMemBuf->readidx = 0;
}

void rtxMemBufFree(RtxMemBuf* pMemBuf)
{
  rtxMemBufReset(pMemBuf);
  if (pMemBuf->buffer != nullptr && pMemBuf->isDynamic) {
    RtxMemHeap** ppHeap = &pMemBuf->pctxt->pMemHeap;
    if (pMemBuf->useSysMem)
      rtxMemHeapSysFreePtr(ppHeap, pMemBuf->buffer);
    else
      rtxMemHeapFreePtr(ppHeap, pMemBuf->buffer);
  }
  // Also a caller's buffer is unbound; the next append allocates.
  pMemBuf->buffer = nullptr;
  pMemBuf->bufsize = 0;
}

uint8_t* rtxMemBufGetDataExt(const RtxMemBuf* pMemBuf, size_t* pLength)
{
  if (pLength != nullptr) *pLength = rtxMemBufGetDataLen(pMemBuf);
  return pMemBuf->buffer != nullptr ? pMemBuf->buffer + pMemBuf->startidx : nullptr;
}

uint8_t* rtxMemBufGetData(const RtxMemBuf* pMemBuf, int32_t* pLength)
{
  const size_t length = rtxMemBufGetDataLen(pMemBuf);
  if (pLength != nullptr) *pLength = length < INT32_MAX ? static_cast<int32_t>(length) : INT32_MAX;
  return rtxMemBufGetDataExt(pMemBuf, nullptr);
}

size_t rtxMemBufGetDataLen(const RtxMemBuf* pMemBuf)
{
  return pMemBuf->usedcnt - pMemBuf->startidx;
}

int rtxMemBufSetExpandable(RtxMemBuf* pMemBuf, int isExpandable)
{
  const int before = pMemBuf->isExpandable;
  pMemBuf->isExpandable = isExpandable != 0;
  return before;
}

// Ignored once there are octets of its own, since they have to go back to where they came from.
int rtxMemBufSetUseSysMem(RtxMemBuf* pMemBuf, int useSysMem)
{
  const int before = pMemBuf->useSysMem;
  if (pMemBuf->buffer == nullptr || !pMemBuf->isDynamic) pMemBuf->useSysMem = useSysMem != 0;
  return before;
}
