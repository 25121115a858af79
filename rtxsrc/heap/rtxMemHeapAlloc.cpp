// Allocation: the search for a free element, new blocks, raw blocks and the static mode.
#include "rtxsrc/heap/rtxMemHeapInternal.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

const char kModule[] = "rtxMemHeapAlloc";

// First fit from the rover. Returns the link's unit offset, or 0 with the block's bound set to what it really has.
unsigned findFit(RtxMemBlock* block, unsigned need)
{
  const unsigned start = block->freeElemOff;
  unsigned off = start;
  unsigned largest = 0;
  do {
    const unsigned size = rtxMemFreeSizeAt(block, off);
    if (size >= need) return off;
    if (size > largest) largest = size;
    off = rtxMemLinkAt(block, off)->nextFree;
  } while (off != start);
  block->maxFreeElem = static_cast<uint16_t>(largest);
  return 0;
}

void* takeWhole(RtxMemBlock* block, unsigned linkOff, unsigned size)
{
  const unsigned off = linkOff + 1 - size;
  rtxMemUnlinkFree(block, linkOff);
  RtxMemElem* elem = rtxMemElemAt(block, off);
  elem->beginOff = static_cast<uint16_t>(off);
  elem->flags = 0;
  elem->refcnt = 1;
  return elem + 1;
}

// One step of best fit: the next free element serves if it fits more closely than the first one found.
void* takeFit(RtxMemBlock* block, unsigned linkOff, unsigned need)
{
  unsigned size = rtxMemFreeSizeAt(block, linkOff);
  const unsigned nextOff = rtxMemLinkAt(block, linkOff)->nextFree;
  const unsigned nextSize = rtxMemFreeSizeAt(block, nextOff);
  block->maxFreeElem = kMemMaxFreeUnknown;
  block->freeElemOff = static_cast<uint16_t>(linkOff);
  if (nextSize >= need && nextSize < size) {
    linkOff = nextOff;
    size = nextSize;
  }
  if (size >= linkOff) rtxErrAssertionFailed("tmpval < 65535UL", __LINE__, kModule);
  return size - need < kMemMinElem ? takeWhole(block, linkOff, size) : rtxMemCutFront(block, linkOff, size, need);
}

void* allocFromBlocks(RtxMemHeap* heap, unsigned need)
{
  RtxMemBlock* block = heap->curBlock;
  if (block == nullptr) return nullptr;
  do {
    const unsigned linkOff = need > block->maxFreeElem ? 0 : findFit(block, need);
    if (linkOff != 0) {
      heap->curBlock = block;
      return takeFit(block, linkOff, need);
    }
    block = block->next;
  } while (block != heap->curBlock);
  return nullptr;
}

// Octets of a new block that can hold an element of `need` units: whole multiples of the default size.
size_t newBlockSize(const RtxMemHeap* heap, unsigned need)
{
  const size_t required = need * kMemUnit + 48;
  const size_t step = heap->defBlkSize;
  size_t size = required;
  if (step > required)
    size = step;
  else if (step != 0)
    size = (required + step - 1) / step * step;
  return size < kMemMaxBlockSize ? size : kMemMaxBlockSize;
}

void linkBlock(RtxMemHeap* heap, RtxMemBlock* block)
{
  RtxMemBlock* cur = heap->curBlock;
  block->next = cur != nullptr ? cur : block;
  block->prev = cur != nullptr ? cur->prev : block;
  block->prev->next = block;
  block->next->prev = block;
  heap->curBlock = block;
}

// Lays out one allocated element of `need` units and, if two units or more are left, a free one behind it.
void* layOutBlock(RtxMemBlock* block, unsigned need)
{
  unsigned left = block->nunits - need - kMemFirstElem;
  if (left == 1) {
    need++;
    left = 0;
  }
  const unsigned linkOff = left != 0 ? block->nunits - 1U : 0;
  block->maxFreeElem = static_cast<uint16_t>(left);
  block->freeElemOff = static_cast<uint16_t>(linkOff);
  block->head.nextFree = block->head.prevFree = static_cast<uint16_t>(linkOff);
  rtxMemSetElem(rtxMemElemAt(block, 1), 0, 0, 0, 0, 0);
  RtxMemElem* elem = rtxMemElemAt(block, kMemFirstElem);
  rtxMemSetElem(elem, need, 1, kMemFirstElem, 0, 1);
  if (left != 0) {
    rtxMemSetElem(elem + need, left, need, kMemFirstElem + need, kMemElemFree, 0);
    *rtxMemLinkAt(block, linkOff) = {0, 0, 0};
  }
  rtxMemSetElem(rtxMemElemAt(block, block->nunits), 0, left != 0 ? left : need, 0, 0, 0);
  return elem + 1;
}

void* allocNewBlock(RtxMemHeap* heap, unsigned need)
{
  const size_t nunits = (newBlockSize(heap, need) - kMemBlockOverhead) / kMemUnit;
  const size_t size = nunits * kMemUnit + kMemBlockOverhead;
  void* memory = rtxMemSysMalloc(heap, size);
  if (memory == nullptr) return nullptr;
  RtxMemBlock* block = static_cast<RtxMemBlock*>(memory);
  linkBlock(heap, block);
  rtxMemWidenRange(heap, memory, size);
  block->nunits = static_cast<uint16_t>(nunits);
  block->nsaved = 0;
  block->head.code = heap->code;
  return layOutBlock(block, need);
}

void* rawAlloc(RtxMemHeap* heap, size_t size)
{
  if (size > SIZE_MAX - sizeof(RtxMemRawBlk)) return nullptr;
  // An element without octets gets one, so that its address lies within the heap's range too.
  const size_t total = (size != 0 ? size : 1) + sizeof(RtxMemRawBlk);
  void* memory = rtxMemSysMalloc(heap, total);
  if (memory == nullptr) return nullptr;
  RtxMemRawBlk* raw = static_cast<RtxMemRawBlk*>(memory);
  rtxMemWidenRange(heap, memory, total);
  raw->size = size;
  raw->elem = {0, 0, 0, kMemElemRaw, 1};
  memcpy(&raw->elem, &heap->code, sizeof heap->code);
  raw->next = heap;
  raw->prev = heap->ptail;
  rtxMemRawLinks(heap->ptail)[0] = raw;
  heap->ptail = raw;
  return raw + 1;
}

// A static heap hands its buffer out octet by octet, without header or rounding.
void* staticAlloc(RtxMemHeap* heap, size_t size)
{
  if (size > rtxMemStaticLeft(heap)) return nullptr;
  const size_t used = rtxMemStaticUsed(heap);
  rtxMemSetStaticUsed(heap, used + size);
  return static_cast<uint8_t*>(heap->phead) + used;
}

// Kept out of rtxMemHeapAlloc, whose fast path then saves no registers.
[[gnu::noinline]] void* allocGeneral(RtxMemHeap** ppHeap, size_t size)
{
  if (*ppHeap == nullptr && rtxMemHeapCreate(ppHeap) != 0) return nullptr;
  RtxMemHeap* heap = *ppHeap;
  if (rtxMemIsStatic(heap)) return staticAlloc(heap, size);
  if ((heap->flags & RT_MH_CHECK_HEAP) != 0) rtxMemHeapCheck(ppHeap, kModule, __LINE__);
  if ((heap->flags & RT_MH_USE_SYSMEM) != 0 || size > kMemMaxBlockElem) return rawAlloc(heap, size);
  const unsigned need = rtxMemUnitsFor(size);
  void* ptr = allocFromBlocks(heap, need);
  return ptr != nullptr ? ptr : allocNewBlock(heap, need);
}

} // namespace

void rtxMemWidenRange(RtxMemHeap* heap, void* start, size_t size)
{
  uint8_t* last = static_cast<uint8_t*>(start) + size - 1;
  if (heap->minAddr == nullptr || static_cast<uint8_t*>(heap->minAddr) > start) heap->minAddr = start;
  if (heap->maxAddr == nullptr || static_cast<uint8_t*>(heap->maxAddr) < last) heap->maxAddr = last;
}

void* rtxMemHeapAlloc(RtxMemHeap** ppHeap, size_t size)
{
  if (ppHeap == nullptr) return nullptr;
  void* ptr = *ppHeap != nullptr ? rtxMemHeapAllocFast(*ppHeap, size) : nullptr;
  return ptr != nullptr ? ptr : allocGeneral(ppHeap, size);
}

void* rtxMemHeapAllocZ(RtxMemHeap** ppHeap, size_t size)
{
  void* ptr = rtxMemHeapAlloc(ppHeap, size);
  if (ptr != nullptr) memset(ptr, 0, size);
  return ptr;
}

void* rtxMemHeapReallocStatic(RtxMemHeap** ppHeap, void* ptr, size_t oldSize, size_t newSize)
{
  if (ppHeap == nullptr || *ppHeap == nullptr) return nullptr;
  RtxMemHeap* pMemHeap = *ppHeap;
  if (!rtxMemIsStatic(pMemHeap)) rtxErrAssertionFailed("pMemHeap->flags & RT_MH_STATIC", __LINE__, kModule);
  if (ptr == nullptr) return rtxMemHeapAlloc(ppHeap, newSize);
  const size_t used = rtxMemStaticUsed(pMemHeap);
  if (oldSize > used || ptr != static_cast<uint8_t*>(pMemHeap->phead) + (used - oldSize)) return nullptr;
  if (oldSize == newSize) return nullptr; // Callers rely on it: an unchanged size is not a resize.
  if (newSize > oldSize && newSize - oldSize > rtxMemStaticLeft(pMemHeap)) return nullptr;
  rtxMemSetStaticUsed(pMemHeap, used - oldSize + newSize);
  return ptr;
}

void* rtxMemAllocArray2(RtxMemHeap** ppHeap, size_t count, size_t size, uint32_t flags)
{
  if (ppHeap == nullptr) return nullptr;
  RtxContext* pctxt = reinterpret_cast<RtxContext*>(ppHeap);
  const size_t product = count * size;
  if (product < count || (size != 0 && product / size != count)) {
    rtxErrSetData(pctxt, RTX_E_TOO_BIG, kModule, __LINE__);
    return nullptr;
  }
  const bool sysMem = (flags & RTX_MEM_ARRAY_SYSMEM) != 0;
  void* ptr = sysMem ? rtxMemHeapSysAlloc(ppHeap, product) : rtxMemHeapAlloc(ppHeap, product);
  if (ptr == nullptr)
    rtxErrSetData(pctxt, RTX_E_NO_MEMORY, kModule, __LINE__);
  else if ((flags & RTX_MEM_ARRAY_ZERO) != 0)
    memset(ptr, 0, product);
  return ptr;
}
