/**
 * @file rtxMemHeapInternal.h
 * What the sources of the heap share among themselves: the test of a pointer, the release of blocks, and the calls of
 * the heap's allocator. Nothing outside rtxMemHeap*.cpp includes it.
 */
#ifndef VELNOR3GPP_RTXSRC_RTX_MEM_HEAP_INTERNAL_H
#define VELNOR3GPP_RTXSRC_RTX_MEM_HEAP_INTERNAL_H

#include "rtxsrc/heap/rtxMemHeapInline.h"

// The link words of a raw block or of the heap record: [0] next, [1] previous.
inline void** rtxMemRawLinks(void* rawOrHeap)
{
  return static_cast<void**>(rawOrHeap);
}

// A static heap has no blocks: see makeStatic in rtxMemHeap.cpp for what its members hold.
inline bool rtxMemIsStatic(const RtxMemHeap* heap)
{
  return (heap->flags & RT_MH_STATIC) != 0;
}

// In a static heap the octets used stand in the pointer `curBlock`, the capacity in `ptail`.
inline size_t rtxMemStaticUsed(const RtxMemHeap* heap)
{
  return reinterpret_cast<size_t>(heap->curBlock);
}

inline size_t rtxMemStaticLeft(const RtxMemHeap* heap)
{
  return reinterpret_cast<size_t>(heap->ptail) - rtxMemStaticUsed(heap);
}

inline void rtxMemSetStaticUsed(RtxMemHeap* heap, size_t used)
{
  heap->curBlock = reinterpret_cast<RtxMemBlock*>(used);
}

// Octets that the block had from the system.
inline size_t rtxMemBlockOctets(const RtxMemBlock* block)
{
  return block->nunits * kMemUnit + kMemBlockOverhead;
}

// The header of the data at `ptr`, which rtxMemAccepts has accepted.
inline RtxMemElem* rtxMemElemOf(void* ptr)
{
  return static_cast<RtxMemElem*>(ptr) - 1;
}

// The block of an element that is not raw. `beginOff` leads back to unit 0, the list head.
inline RtxMemBlock* rtxMemBlockOf(RtxMemElem* elem)
{
  return reinterpret_cast<RtxMemBlock*>(reinterpret_cast<uint8_t*>(elem - elem->beginOff) -
                                        offsetof(RtxMemBlock, head));
}

inline RtxMemRawBlk* rtxMemRawOf(RtxMemElem* elem)
{
  return reinterpret_cast<RtxMemRawBlk*>(reinterpret_cast<uint8_t*>(elem) - offsetof(RtxMemRawBlk, elem));
}

// The guard value of a raw block stands where other headers have nunits and prevOff.
inline uint32_t rtxMemRawCode(const RtxMemRawBlk* raw)
{
  uint32_t code;
  memcpy(&code, &raw->elem, sizeof code);
  return code;
}

// Memory of the heap's own allocator, malloc and free if it has none. The size is in octets.
void* rtxMemSysMalloc(const RtxMemHeap* heap, size_t size);
void rtxMemSysFree(const RtxMemHeap* heap, void* ptr);
// Zeroes octets that are about to be given away, so that the compiler cannot drop it.
void rtxMemWipe(void* ptr, size_t size);

// True if `ptr` lies within the heap's storage and its guard is the heap's. Reads no octet below the lowest block: the
// guard of either kind of storage stands 24 octets behind its start at the least. `beginOff` of a foreign pointer can
// be anything, so it is compared with what lies below `ptr` before it is followed. The range covers what lies between
// two blocks as well; there, only the guard value tells that the pointer is foreign.
inline bool rtxMemAccepts(const RtxMemHeap* heap, const void* ptr)
{
  const uintptr_t low = reinterpret_cast<uintptr_t>(heap->minAddr);
  const uintptr_t at = reinterpret_cast<uintptr_t>(ptr);
  if (low == 0 || at < low || at > reinterpret_cast<uintptr_t>(heap->maxAddr)) return false;
  if (at - low < sizeof(RtxMemRawBlk)) return false;
  const uint8_t* header = static_cast<const uint8_t*>(ptr) - sizeof(RtxMemElem);
  uint16_t beginOff;
  memcpy(&beginOff, header + offsetof(RtxMemElem, beginOff), sizeof beginOff);
  if (at - low - sizeof(RtxMemRawBlk) < beginOff * kMemUnit) return false;
  uint32_t code;
  memcpy(&code, header - beginOff * kMemUnit, sizeof code);
  return code == heap->code;
}

// Makes the address range of the heap cover new storage of `size` octets.
void rtxMemWidenRange(RtxMemHeap* heap, void* start, size_t size);

// What free and realloc do first under RT_MH_CHECK_HEAP and RT_MH_VALIDATE_PTR. `module` and `line` name the caller in
// the report.
void rtxMemCheckBefore(RtxMemHeap** ppHeap, const void* ptr, const char* module, int line);

// Takes a raw block off the ring; releases one with its memory; releases a block whatever is in it.
void rtxMemRawUnlink(RtxMemRawBlk* raw);
void rtxMemRawRelease(RtxMemHeap* heap, RtxMemRawBlk* raw);
void rtxMemBlockRelease(RtxMemHeap* heap, RtxMemBlock* block);

// Print one raw block, block or element in the words of the heap's listing (rtxMemHeapPrint.cpp).
void rtxMemPrintRaw(const RtxMemRawBlk* raw);
void rtxMemPrintBlock(const RtxMemBlock* block);
void rtxMemPrintElem(const RtxMemBlock* block, const RtxMemElem* elem);

// Free-list steps on unit offsets of links. A newly freed element goes behind the rover, so that it is the second that
// a request looks at and serves if it fits more closely.
inline void rtxMemLinkAfterRover(RtxMemBlock* block, unsigned linkOff)
{
  RtxMemFreeLink* rover = rtxMemLinkAt(block, block->freeElemOff);
  RtxMemFreeLink* link = rtxMemLinkAt(block, linkOff);
  link->nextFree = rover->nextFree;
  link->prevFree = block->freeElemOff;
  rtxMemLinkAt(block, rover->nextFree)->prevFree = static_cast<uint16_t>(linkOff);
  rover->nextFree = static_cast<uint16_t>(linkOff);
}

// Takes a link off the ring; the rover moves on if it stands there.
void rtxMemUnlinkFree(RtxMemBlock* block, unsigned linkOff);
// Keeps the bound true when an element of `nunits` has become free. kMemMaxFreeUnknown is above every size and stays.
inline void rtxMemRaiseMaxFree(RtxMemBlock* block, unsigned nunits)
{
  if (nunits > block->maxFreeElem) block->maxFreeElem = static_cast<uint16_t>(nunits);
}

#endif
