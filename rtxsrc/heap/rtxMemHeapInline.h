/**
 * @file rtxMemHeapInline.h
 * The layout of the heap's storage and the fast paths of allocation, for the heap's own sources and for coders that
 * allocate in a loop or in a run. A block is a row of elements, each an 8-octet header and its data, counted in units
 * of 8 octets from unit 0 of the block. A free element keeps its list links in its own last unit, so that the `prevOff`
 * of the following header is at once the free element's size, and cutting an element off its front leaves the links
 * alone.
 */
#ifndef VELNOR3GPP_RTXSRC_RTX_MEM_HEAP_INLINE_H
#define VELNOR3GPP_RTXSRC_RTX_MEM_HEAP_INLINE_H

#include <string.h>

#include "velnor3gpp/rtxMemHeap.h"

constexpr size_t kMemUnit = 8;
constexpr unsigned kMemFirstElem = 2; // Unit of a block's first element, behind list head and start border.
constexpr unsigned kMemMinElem = 2;   // A free element needs a header and a link.
// As a bound of a block: above every size, so each search has to look.
constexpr uint16_t kMemMaxFreeUnknown = 65535;
constexpr size_t kMemMaxBlockElem = 65532 * kMemUnit; // Largest data of a block element in octets.
// A block of 65535 units, the most that 16 bits count, with its overhead.
constexpr size_t kMemMaxBlockSize = 524312;
constexpr size_t kMemBlockOverhead = 32; // Octets of a block beside its units: fixed fields and end border.

// Flags of an element: in the free ring; kept by the reset; alone in a block of the system.
constexpr uint8_t kMemElemFree = 0x01;
constexpr uint8_t kMemElemSaved = 0x02;
constexpr uint8_t kMemElemRaw = 0x04;

// Header directly before the data. Of a raw element the first four octets are the guard value.
struct RtxMemElem {
  uint16_t nunits;   // Size in units with this header.
  uint16_t prevOff;  // Units back to the previous header.
  uint16_t beginOff; // Units from unit 0; free elements need none.
  uint8_t flags;
  uint8_t refcnt;
};

// Unit 0 of a block (with the guard value) and the last unit of each free element: a ring of unit offsets.
struct RtxMemFreeLink {
  uint32_t code;
  uint16_t nextFree;
  uint16_t prevFree;
};

struct RtxMemBlock {
  RtxMemBlock* next;
  RtxMemBlock* prev;
  uint16_t freeElemOff; // The rover: unit of the link at which searching starts, 0 for the list head.
  uint16_t maxFreeElem; // No free element is larger, in units.
  uint16_t nunits;
  uint16_t nsaved;
  RtxMemFreeLink head;
};

struct RtxMemRawBlk {
  void* next; // The heap record is the sentinel of this ring, its first two members are the same links.
  void* prev;
  size_t size; // Octets that are surely there, for copying.
  RtxMemElem elem;
};

static_assert(sizeof(RtxMemElem) == kMemUnit && sizeof(RtxMemFreeLink) == kMemUnit);
static_assert(sizeof(void*) != 8 || (offsetof(RtxMemBlock, head) == 24 && sizeof(RtxMemRawBlk) == 32));

// Headers and links share one numbering: unit 0 is the list head of the block.
inline RtxMemElem* rtxMemElemAt(RtxMemBlock* block, size_t unit)
{
  return reinterpret_cast<RtxMemElem*>(reinterpret_cast<uint8_t*>(&block->head) + unit * kMemUnit);
}

inline RtxMemFreeLink* rtxMemLinkAt(RtxMemBlock* block, size_t unit)
{
  return reinterpret_cast<RtxMemFreeLink*>(reinterpret_cast<uint8_t*>(&block->head) + unit * kMemUnit);
}

// Size in units of the free element whose link stands at `unit`; 0 for the list head, by the start border. A link is
// the last unit of its element, so the header behind it has that size as its way back.
inline unsigned rtxMemFreeSizeAt(RtxMemBlock* block, size_t unit)
{
  return rtxMemElemAt(block, unit + 1)->prevOff;
}

// Units that an element for `size` octets takes, header included: 1 to 8 octets take 2, 9 octets 3. No octets take 2 as
// well, so that every element can become free. Sizes above kMemMaxBlockElem do not come here.
inline unsigned rtxMemUnitsFor(size_t size)
{
  return size == 0 ? kMemMinElem : static_cast<unsigned>((size + kMemUnit - 1) / kMemUnit) + 1;
}

inline void rtxMemSetElem(RtxMemElem* elem, unsigned nunits, unsigned prevOff, unsigned beginOff, uint8_t flags,
                          uint8_t refcnt)
{
  *elem = {static_cast<uint16_t>(nunits), static_cast<uint16_t>(prevOff), static_cast<uint16_t>(beginOff), flags,
           refcnt};
}

// Cuts `need` units off the front of the free element whose link stands at `linkOff`; at least two must remain. The
// link stays where it is, so the free ring is not touched. prevOff of the new element is that of the free one and stays
// too.
inline void* rtxMemCutFront(RtxMemBlock* block, unsigned linkOff, unsigned size, unsigned need)
{
  const unsigned off = linkOff + 1 - size;
  RtxMemElem* elem = rtxMemElemAt(block, off);
  elem->nunits = static_cast<uint16_t>(need);
  elem->beginOff = static_cast<uint16_t>(off);
  elem->flags = 0;
  elem->refcnt = 1;
  rtxMemSetElem(elem + need, size - need, need, off + need, kMemElemFree, 0);
  rtxMemElemAt(block, linkOff + 1)->prevOff = static_cast<uint16_t>(size - need);
  return elem + 1;
}

// Serves a request from the free element at the current block's rover, as nearly every one is. Null means only that
// rtxMemHeapAlloc has to look further; a result and its heap are those of rtxMemHeapAlloc.
inline void* rtxMemHeapAllocFast(RtxMemHeap* heap, size_t size)
{
  RtxMemBlock* block = heap->curBlock;
  if ((heap->flags & (RT_MH_STATIC | RT_MH_CHECK_HEAP | RT_MH_USE_SYSMEM)) != 0 || block == nullptr) return nullptr;
  const size_t units = size / kMemUnit + (size % kMemUnit != 0) + (size == 0) + 1; // rtxMemUnitsFor of any size
  const unsigned linkOff = block->freeElemOff;
  const unsigned freeSize = rtxMemFreeSizeAt(block, linkOff); // never above the block's bound
  if (freeSize < units + kMemMinElem || freeSize >= linkOff) return nullptr;
  const unsigned need = static_cast<unsigned>(units);
  const unsigned nextSize = rtxMemFreeSizeAt(block, rtxMemLinkAt(block, linkOff)->nextFree);
  if (nextSize >= need && nextSize < freeSize) return nullptr; // The smaller neighbour fits better.
  block->maxFreeElem = kMemMaxFreeUnknown;
  return rtxMemCutFront(block, linkOff, freeSize, need);
}

// A run of elements that are cut one behind the other off the front of a block's only free element. That element is
// told of them once, at the end: until then the heap serves nobody else.
struct RtxMemRun {
  RtxMemElem* next;  // the header of the next element, or null: not open
  RtxMemElem* limit; // the last place for the header of what remains free
  RtxMemElem head;   // of the next element, but for its size
  RtxMemElem* first; // where the run began
};

// False if the heap is of a special kind (one that zeroes what is freed could not, of a run that is dropped), has no
// block or more than one free element in it.
inline bool rtxMemRunOpen(RtxMemRun& run, const RtxMemHeap* heap)
{
  const uint32_t special = RT_MH_STATIC | RT_MH_CHECK_HEAP | RT_MH_USE_SYSMEM | RT_MH_ZERO_ON_FREE;
  RtxMemBlock* block = heap->curBlock;
  if ((heap->flags & special) != 0 || block == nullptr) return false;
  const unsigned linkOff = block->freeElemOff;
  const unsigned size = rtxMemFreeSizeAt(block, linkOff);
  const RtxMemFreeLink* link = rtxMemLinkAt(block, linkOff);
  if (size >= linkOff || (link->nextFree | link->prevFree) != 0) return false; // the list head's place is 0
  const unsigned off = linkOff + 1 - size;
  run.first = run.next = rtxMemElemAt(block, off);
  run.limit = run.next + size - kMemMinElem;
  rtxMemSetElem(&run.head, 0, run.next->prevOff, off, 0, 1);
  return true;
}

// An element for 1 octet or more from an open run; null if it does not fit.
inline void* rtxMemRunAlloc(RtxMemRun& run, size_t size)
{
  const size_t units = size / kMemUnit + (size % kMemUnit != 0) + 1;
  RtxMemElem* elem = run.next;
  if (units > static_cast<size_t>(run.limit - elem)) return nullptr;
  *elem = run.head;
  elem->nunits = run.head.prevOff = static_cast<uint16_t>(units);
  run.head.beginOff = static_cast<uint16_t>(run.head.beginOff + units);
  run.next = elem + units;
  return elem + 1;
}

// Gives the run's last element another size, in place. False if `ptr` is not that element, or it does not fit.
inline bool rtxMemRunResize(RtxMemRun& run, const void* ptr, size_t size)
{
  RtxMemElem* last = run.next - run.head.prevOff;
  if (run.next == run.first || ptr != last + 1) return false;
  const size_t units = size / kMemUnit + (size % kMemUnit != 0) + 1;
  if (units > static_cast<size_t>(run.limit - last)) return false;
  last->nunits = run.head.prevOff = static_cast<uint16_t>(units);
  run.head.beginOff = static_cast<uint16_t>(last->beginOff + units);
  run.next = last + units;
  return true;
}

// Ends a run: what it has not taken is the free element again.
inline void rtxMemRunClose(RtxMemRun& run)
{
  const size_t left = static_cast<size_t>(run.limit - run.next) + kMemMinElem;
  rtxMemSetElem(run.next, static_cast<unsigned>(left), run.head.prevOff, run.head.beginOff, kMemElemFree, 0);
  run.next[left].prevOff = static_cast<uint16_t>(left);
  run.next = nullptr;
}

// Ends a run and frees all its elements at once.
inline void rtxMemRunDrop(RtxMemRun& run)
{
  rtxMemSetElem(&run.head, 0, run.first->prevOff, run.first->beginOff, 0, 1); // as the first element has kept them
  run.next = run.first;
  rtxMemRunClose(run);
}

#endif
