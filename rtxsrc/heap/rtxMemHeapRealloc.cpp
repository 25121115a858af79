// Resizing: in place within a block where the neighbour allows it, by the system for raw blocks, else by moving.
// Growing buffers (dynamic output, RtxMemBuf, print text) live by it. When it fails, the old element stays as it is and
// the caller still owns it.
#include <stdlib.h>

#include "rtxsrc/heap/rtxMemHeapInternal.h"

namespace {

const char kModule[] = "rtxMemHeapRealloc";

constexpr size_t kMaxInBlock = 0x7FFF0; // From this size on a block element moves to a raw block.

// Octets that may be copied from an element. It can be up to 15 more than were asked for, never more than are there.
size_t dataSize(RtxMemElem* elem)
{
  return (elem->flags & kMemElemRaw) != 0 ? rtxMemRawOf(elem)->size : (elem->nunits - 1U) * kMemUnit;
}

// A saved element survives the reset, and so must its copy. The count of the block is what lets the reset skip blocks
// without saved elements. No function of this library sets the flag; realloc, free and reset only keep to it.
void moveSavedFlag(RtxMemElem* from, RtxMemElem* to)
{
  if ((from->flags & kMemElemSaved) == 0) return;
  from->flags &= static_cast<uint8_t>(~kMemElemSaved);
  to->flags |= kMemElemSaved;
  if ((from->flags & kMemElemRaw) == 0) rtxMemBlockOf(from)->nsaved--;
  if ((to->flags & kMemElemRaw) == 0) rtxMemBlockOf(to)->nsaved++;
}

// Allocates anew and copies; the old element loses one reference. If others still hold it, it stays, and the caller
// alone has the copy.
void* moveElem(RtxMemHeap** ppHeap, RtxMemElem* elem, size_t size)
{
  void* fresh = rtxMemHeapAlloc(ppHeap, size);
  if (fresh == nullptr) return nullptr;
  const size_t oldSize = dataSize(elem);
  memcpy(fresh, elem + 1, oldSize < size ? oldSize : size);
  moveSavedFlag(elem, rtxMemElemOf(fresh));
  rtxMemHeapAutoPtrUnref(ppHeap, elem + 1);
  return fresh;
}

// The size field does not follow a raw block that grows; it must not stay above one that shrinks, for it tells how
// much may be copied and wiped.
void* reallocRaw(RtxMemHeap** ppHeap, RtxMemRawBlk* raw, size_t size)
{
  RtxMemHeap* heap = *ppHeap;
  if (size > SIZE_MAX - sizeof *raw) return nullptr;
  // An allocator without realloc. The system's realloc must not see its pointers.
  if (heap->mallocFunc != nullptr && heap->reallocFunc == nullptr) return moveElem(ppHeap, &raw->elem, size);
  const size_t total = size + sizeof *raw;
  // Under RT_MH_ZERO_ON_FREE this is a gap: the allocator may move the block and leave its old octets as they are, and
  // of a block that has grown only the first `size` octets are wiped in the end. Whoever needs them wiped allocates
  // anew.
  void* memory = heap->reallocFunc != nullptr ? heap->reallocFunc(raw, total) : realloc(raw, total);
  if (memory == nullptr) return nullptr;
  RtxMemRawBlk* moved = static_cast<RtxMemRawBlk*>(memory);
  // The neighbours still point to where the block was.
  rtxMemRawLinks(moved->prev)[0] = moved;
  rtxMemRawLinks(moved->next)[1] = moved;
  rtxMemWidenRange(heap, moved, total);
  if (size < moved->size) moved->size = size;
  return moved + 1;
}

// Moves the boundary between `elem` and the free element behind it, whose link at the far end stays. Elements of 4 and
// 6 units that become 6 and 4:
//
// before  E E E E F . . . . L     E element, F header of the free element, L its link
// after   E E E E E E F . . L
void shiftBoundary(RtxMemBlock* block, RtxMemElem* elem, unsigned nunits)
{
  RtxMemElem* next = elem + elem->nunits;
  RtxMemElem* after = next + next->nunits;
  const unsigned freeSize = elem->nunits + next->nunits - nunits;
  elem->nunits = static_cast<uint16_t>(nunits);
  rtxMemSetElem(elem + nunits, freeSize, nunits, elem->beginOff + nunits, kMemElemFree, 0);
  after->prevOff = static_cast<uint16_t>(freeSize);
  // Only shrinking can raise the bound: before growing it was set to unknown.
  rtxMemRaiseMaxFree(block, freeSize);
}

// Cuts the tail behind `nunits` units off as a free element of its own.
void cutTail(RtxMemBlock* block, RtxMemElem* elem, unsigned nunits)
{
  const unsigned freeSize = elem->nunits - nunits;
  RtxMemElem* next = elem + elem->nunits;
  elem->nunits = static_cast<uint16_t>(nunits);
  rtxMemSetElem(elem + nunits, freeSize, nunits, elem->beginOff + nunits, kMemElemFree, 0);
  next->prevOff = static_cast<uint16_t>(freeSize);
  rtxMemLinkAfterRover(block, elem->beginOff + nunits + freeSize - 1);
  rtxMemRaiseMaxFree(block, freeSize);
}

// Gives units back. One unit that has no free neighbour stays with the element: it could not hold header and link.
// RT_MH_ZERO_ON_FREE does not wipe these units; they keep their octets until they are given away
// again or the block goes.
void shrink(RtxMemBlock* block, RtxMemElem* elem, unsigned nunits)
{
  if ((elem[elem->nunits].flags & kMemElemFree) != 0)
    shiftBoundary(block, elem, nunits);
  else if (elem->nunits - nunits >= kMemMinElem)
    cutTail(block, elem, nunits);
}

// Takes units from the free element behind, if there is one and the two together are enough.
bool growInPlace(RtxMemBlock* block, RtxMemElem* elem, unsigned nunits)
{
  RtxMemElem* next = elem + elem->nunits;
  const unsigned both = elem->nunits + next->nunits;
  if ((next->flags & kMemElemFree) == 0 || both < nunits) return false;
  if (both - nunits >= kMemMinElem) {
    shiftBoundary(block, elem, nunits);
    return true;
  }
  // At most one unit would remain free, which cannot be: the element takes the neighbour whole.
  rtxMemUnlinkFree(block, elem->beginOff + both - 1);
  elem->nunits = static_cast<uint16_t>(both);
  elem[both].prevOff = static_cast<uint16_t>(both);
  return true;
}

void* reallocInBlock(RtxMemHeap** ppHeap, RtxMemElem* elem, size_t size)
{
  RtxMemBlock* block = rtxMemBlockOf(elem);
  const unsigned nunits = rtxMemUnitsFor(size);
  if (nunits < elem->nunits)
    shrink(block, elem, nunits);
  else if (nunits > elem->nunits) {
    // The neighbour may have been the largest free element.
    block->maxFreeElem = kMemMaxFreeUnknown;
    if (!growInPlace(block, elem, nunits)) return moveElem(ppHeap, elem, size);
  }
  return elem + 1;
}

} // namespace

// Sorts the cases that neither raw blocks nor elements of a block can do in place.
void* rtxMemHeapRealloc(RtxMemHeap** ppHeap, void* ptr, size_t size)
{
  if (ppHeap == nullptr || *ppHeap == nullptr) return nullptr;
  if (ptr == nullptr) return rtxMemHeapAlloc(ppHeap, size);
  // As realloc of old: size 0 frees.
  if (size == 0) {
    rtxMemHeapFreePtr(ppHeap, ptr);
    return nullptr;
  }
  if (rtxMemIsStatic(*ppHeap)) return nullptr;
  rtxMemCheckBefore(ppHeap, ptr, kModule, __LINE__);
  // To free a foreign pointer is harmless; to resize one is not, since its size is unknown.
  if (!rtxMemAccepts(*ppHeap, ptr)) rtxMemHeapInvalidPtrHook(ppHeap, ptr);
  RtxMemElem* elem = rtxMemElemOf(ptr);
  if (elem->refcnt == 0 || (elem->flags & kMemElemFree) != 0) return nullptr;
  const bool raw = (elem->flags & kMemElemRaw) != 0;
  // An element with several owners must not move under the others.
  if (elem->refcnt > 1 || (!raw && size >= kMaxInBlock)) return moveElem(ppHeap, elem, size);
  return raw ? reallocRaw(ppHeap, rtxMemRawOf(elem), size) : reallocInBlock(ppHeap, elem, size);
}
