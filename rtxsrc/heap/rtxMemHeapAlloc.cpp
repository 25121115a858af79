// Allocation: the search for a free element, new blocks, raw blocks and the static mode. Callers come through
// rtxMemHeapAlloc, or through the fast paths of rtxMemHeapInline.h, which leave to this file what they cannot serve.
// Nothing here reports to a context except rtxMemAllocArray2: a null pointer is the whole answer, and the caller knows
// which element it was for.
//
// A request is served by the first of these that can:
//
// 1. the free element at the rover of the current block (rtxMemHeapAllocFast),
// 2. a free element of any block, beginning at the current one (allocFromBlocks),
// 3. a new block (allocNewBlock).
//
// Above 524256 octets, or under RT_MH_USE_SYSMEM, it gets a raw block of its own instead (rawAlloc).
#include "rtxsrc/heap/rtxMemHeapInternal.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

const char kModule[] = "rtxMemHeapAlloc";

// First fit from the rover. Returns the link's unit offset, or 0 with the block's bound set to what it really has, so
// that the next search for as much passes the block over. The list head is part of the ring; it has size 0 and never
// fits.
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

// Takes a free element out of the ring as it is. Header and border behind it already say its size.
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

// One step of best fit: the next free element serves if it fits more closely than the first one found. One step costs
// little and keeps large elements whole for longer; a full best fit would read every free element.
void* takeFit(RtxMemBlock* block, unsigned linkOff, unsigned need)
{
  unsigned size = rtxMemFreeSizeAt(block, linkOff);
  const unsigned nextOff = rtxMemLinkAt(block, linkOff)->nextFree;
  const unsigned nextSize = rtxMemFreeSizeAt(block, nextOff);
  // The largest element may be the one that is cut now. To look for the next largest would cost more than to search
  // once.
  block->maxFreeElem = kMemMaxFreeUnknown;
  block->freeElemOff = static_cast<uint16_t>(linkOff);
  if (nextSize >= need && nextSize < size) {
    linkOff = nextOff;
    size = nextSize;
  }
  // An element that would begin before unit 1 means that somebody wrote over the header behind it.
  if (size >= linkOff) rtxErrAssertionFailed("tmpval < 65535UL", __LINE__, kModule);
  // One unit cannot be a free element (header and link are two), so it stays with the element that is given away.
  return size - need < kMemMinElem ? takeWhole(block, linkOff, size) : rtxMemCutFront(block, linkOff, size, need);
}

// Goes once around the ring of blocks. The block that serves becomes the current one, where the next request begins.
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

// Octets of a new block that can hold an element of `need` units: whole multiples of the default size. 48 octets are
// the fixed fields and the end border (32) and the list head with the start border (16). For the largest element, 65533
// units, they add up to just kMemMaxBlockSize, so the cap never cuts below what is required.
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

// Puts the block before the current one in the ring and makes it current, so that the next requests use up its rest.
void linkBlock(RtxMemHeap* heap, RtxMemBlock* block)
{
  RtxMemBlock* cur = heap->curBlock;
  block->next = cur != nullptr ? cur : block;
  block->prev = cur != nullptr ? cur->prev : block;
  block->prev->next = block;
  block->next->prev = block;
  heap->curBlock = block;
}

// Lays out one allocated element of `need` units and, if two units or more are left, a free one behind it. A single
// unit left over joins the allocated element. A block of 10 units with need 4 becomes
//
// unit  0          list head: guard value, ring of free links (both 9)
// unit  1          start border; prevOff 0, so that the list head has size 0
// unit  2          header of the allocated element: nunits 4, prevOff 1, beginOff 2
// units 3 to 5     its data
// unit  6          header of the free element: nunits 4, prevOff 4, beginOff 6
// units 7 and 8    unused
// unit  9          link of the free element: next 0, previous 0
// unit  10         end border: prevOff 4, nunits 0
//
// The borders are never free, so that joining neighbours stops there without a test.
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

// Gets a block from the system and gives its first element away.
void* allocNewBlock(RtxMemHeap* heap, unsigned need)
{
  const size_t nunits = (newBlockSize(heap, need) - kMemBlockOverhead) / kMemUnit;
  // Rounded down to whole units, so that rtxMemBlockOctets gives back what was asked for.
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

// A block of its own from the system, linked at the end of the heap's ring of raw blocks. The header tells it from a
// block element by its flag; the guard value stands in the first four octets, where a block element has its sizes.
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
  // beginOff stays 0, so rtxMemAccepts finds the guard value in the header itself.
  memcpy(&raw->elem, &heap->code, sizeof heap->code);
  raw->next = heap;
  raw->prev = heap->ptail;
  rtxMemRawLinks(heap->ptail)[0] = raw;
  heap->ptail = raw;
  return raw + 1;
}

// A static heap hands its buffer out octet by octet, without header or rounding: what alignment a caller needs it gets
// only by the sizes it asks for. Nothing is freed one by one.
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
  // The heap of a context is made by its first allocation.
  if (*ppHeap == nullptr && rtxMemHeapCreate(ppHeap) != 0) return nullptr;
  RtxMemHeap* heap = *ppHeap;
  if (rtxMemIsStatic(heap)) return staticAlloc(heap, size);
  if ((heap->flags & RT_MH_CHECK_HEAP) != 0) rtxMemHeapCheck(ppHeap, kModule, __LINE__);
  // A size above 16 bits of units never comes to rtxMemUnitsFor, whose result would wrap.
  if ((heap->flags & RT_MH_USE_SYSMEM) != 0 || size > kMemMaxBlockElem) return rawAlloc(heap, size);
  const unsigned need = rtxMemUnitsFor(size);
  void* ptr = allocFromBlocks(heap, need);
  return ptr != nullptr ? ptr : allocNewBlock(heap, need);
}

} // namespace

// The range only grows: between two blocks it covers memory of others, which is why rtxMemAccepts looks for the guard
// too.
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

// Only the last element of a static heap can change its size, since others follow directly behind an earlier one.
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

// The heap pointer is the first member of the context, so its address is that of the context, to which a failure is
// reported.
void* rtxMemAllocArray2(RtxMemHeap** ppHeap, size_t count, size_t size, uint32_t flags)
{
  if (ppHeap == nullptr) return nullptr;
  RtxContext* pctxt = reinterpret_cast<RtxContext*>(ppHeap);
  const size_t product = count * size;
  // `size` 0 with a count is refused as too big by the first comparison.
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
