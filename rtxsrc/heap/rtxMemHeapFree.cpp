// References and release: single elements with their coalescing, raw blocks and whole blocks. A pointer is freed when
// its last reference goes; most have one. A pointer that is not the heap's is refused (rtxMemAccepts), so a record that
// the caller filled from other memory can be freed through the same functions.
#include "rtxsrc/heap/rtxMemHeapInternal.h"
#include "velnor3gpp/rtxDiag.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

const char kModule[] = "rtxMemHeapFree";

// The link at `oldOff` gives its place in the ring to the one at `newOff`. A free element that grows at its end needs
// it, since its link stands in its last unit.
void replaceLink(RtxMemBlock* block, unsigned oldOff, unsigned newOff)
{
  const uint16_t next = rtxMemLinkAt(block, oldOff)->nextFree;
  const uint16_t prev = rtxMemLinkAt(block, oldOff)->prevFree;
  rtxMemLinkAt(block, newOff)->nextFree = next;
  rtxMemLinkAt(block, newOff)->prevFree = prev;
  rtxMemLinkAt(block, prev)->nextFree = static_cast<uint16_t>(newOff);
  rtxMemLinkAt(block, next)->prevFree = static_cast<uint16_t>(newOff);
  if (block->freeElemOff == oldOff) block->freeElemOff = static_cast<uint16_t>(newOff);
}

// All but the header, which is still needed. Kept out of line because few heaps ask for it.
[[gnu::noinline]] void zeroElem(RtxMemElem* elem)
{
  rtxMemWipe(elem + 1, (elem->nunits - 1U) * kMemUnit);
  rtxDiagStream(nullptr, "~I rtxMemHeapZeroElem: zeroed out memory element %p (%p)\n", static_cast<void*>(elem),
                static_cast<void*>(elem + 1));
}

// Joins the element with its free neighbours and keeps the free ring; returns the joined size in units. Of the links
// that the two neighbours have at their ends, the last one stays:
//
// prev free, next free   prev's link leaves the ring, next's link serves the whole
// prev free              prev's link moves to the last unit of `elem`
// next free              next's link serves the whole, nothing to do
// neither                a new link in the last unit of `elem`
unsigned joinFree(RtxMemBlock* block, RtxMemElem* elem)
{
  RtxMemElem* prev = elem - elem->prevOff;
  RtxMemElem* next = elem + elem->nunits;
  const bool prevFree = (prev->flags & kMemElemFree) != 0;
  const bool nextFree = (next->flags & kMemElemFree) != 0;
  const unsigned off = elem->beginOff;
  RtxMemElem* first = prevFree ? prev : elem;
  RtxMemElem* after = nextFree ? next + next->nunits : next;
  // What stands before the first element is the start border, which is never free: somebody has written over it.
  if (prevFree && off == kMemFirstElem) rtxErrAssertionFailed("pFreeLink != 0", __LINE__, kModule);

  if (prevFree && nextFree)
    rtxMemUnlinkFree(block, off - 1);
  else if (prevFree)
    replaceLink(block, off - 1, off + elem->nunits - 1U);
  else if (!nextFree)
    rtxMemLinkAfterRover(block, off + elem->nunits - 1U);
  const unsigned size = static_cast<unsigned>(after - first);
  // Also where `elem` is now inside the joined element: a second free of the same pointer then changes nothing.
  elem->flags = kMemElemFree;
  first->nunits = after->prevOff = static_cast<uint16_t>(size);
  return size;
}

// Frees an element of a block; under RT_MH_FREE_EMPTY_BLOCKS the block goes too when it was the last one in it.
void freeBlockElem(RtxMemHeap* heap, RtxMemElem* elem)
{
  RtxMemBlock* block = rtxMemBlockOf(elem);
  if ((elem->flags & kMemElemSaved) != 0) block->nsaved--;
  if ((heap->flags & RT_MH_ZERO_ON_FREE) != 0) zeroElem(elem);
  const unsigned size = joinFree(block, elem);
  rtxMemRaiseMaxFree(block, size);
  if (size + kMemFirstElem == block->nunits && (heap->flags & RT_MH_FREE_EMPTY_BLOCKS) != 0) {
    rtxMemBlockRelease(heap, block);
  }
}

// RTX_E_NO_MEMORY is the published answer to a pointer that is not the heap's.
int checkArguments(RtxMemHeap** ppHeap, const void* ptr)
{
  if (ppHeap == nullptr || *ppHeap == nullptr || ptr == nullptr) return RTX_E_NULL_POINTER;
  return rtxMemAccepts(*ppHeap, ptr) ? 0 : RTX_E_NO_MEMORY;
}

// Drops one reference. Returns the references left, so 0 when the element is free now or was before.
int unref(RtxMemHeap** ppHeap, void* ptr)
{
  if (ppHeap == nullptr || *ppHeap == nullptr || ptr == nullptr) return RTX_E_NULL_POINTER;
  RtxMemHeap* heap = *ppHeap;
  if ((heap->flags & (RT_MH_CHECK_HEAP | RT_MH_VALIDATE_PTR)) != 0) rtxMemCheckBefore(ppHeap, ptr, kModule, __LINE__);
  if (!rtxMemAccepts(heap, ptr)) return RTX_E_NO_MEMORY;
  RtxMemElem* elem = rtxMemElemOf(ptr);
  if (elem->refcnt == 0 || (elem->flags & kMemElemFree) != 0) return 0;
  if (--elem->refcnt != 0) return elem->refcnt;
  if ((elem->flags & kMemElemRaw) != 0)
    rtxMemRawRelease(heap, rtxMemRawOf(elem));
  else
    freeBlockElem(heap, elem);
  return 0;
}

} // namespace

void rtxMemUnlinkFree(RtxMemBlock* block, unsigned linkOff)
{
  if (linkOff == 0) rtxErrAssertionFailed("pFreeLink != 0", __LINE__, kModule);
  const uint16_t next = rtxMemLinkAt(block, linkOff)->nextFree;
  const uint16_t prev = rtxMemLinkAt(block, linkOff)->prevFree;
  rtxMemLinkAt(block, prev)->nextFree = next;
  rtxMemLinkAt(block, next)->prevFree = prev;
  // The rover must never stand on a unit that is no link. With the ring empty `next` is 0, the list head.
  if (block->freeElemOff == linkOff) block->freeElemOff = next;
}

// The heap record begins with the same two links, so the first and the last raw block need no case of their own.
void rtxMemRawUnlink(RtxMemRawBlk* raw)
{
  rtxMemRawLinks(raw->prev)[0] = raw->next;
  rtxMemRawLinks(raw->next)[1] = raw->prev;
}

void rtxMemRawRelease(RtxMemHeap* heap, RtxMemRawBlk* raw)
{
  rtxMemRawUnlink(raw);
  if ((heap->flags & RT_MH_ZERO_ON_FREE) != 0) rtxMemWipe(raw, sizeof *raw + raw->size);
  rtxMemSysFree(heap, raw);
}

// The address range is dropped with the last storage of the heap: raw blocks that remain still need it.
void rtxMemBlockRelease(RtxMemHeap* heap, RtxMemBlock* block)
{
  const bool only = block->next == block;
  block->prev->next = block->next;
  block->next->prev = block->prev;
  if (heap->curBlock == block) heap->curBlock = only ? nullptr : block->next;
  if (only && heap->phead == heap) heap->minAddr = heap->maxAddr = nullptr;
  if ((heap->flags & RT_MH_ZERO_ON_FREE) != 0) rtxMemWipe(block, rtxMemBlockOctets(block));
  rtxMemSysFree(heap, block);
}

// The hook ends the program with an assertion.
void rtxMemCheckBefore(RtxMemHeap** ppHeap, const void* ptr, const char* module, int line)
{
  if (((*ppHeap)->flags & RT_MH_CHECK_HEAP) != 0) rtxMemHeapCheck(ppHeap, module, line);
  if (((*ppHeap)->flags & RT_MH_VALIDATE_PTR) != 0 && !rtxMemHeapCheckPtr(ppHeap, ptr)) {
    rtxMemHeapInvalidPtrHook(ppHeap, ptr);
  }
}

// A static heap frees nothing one by one, so the pointer is not even looked at.
int rtxMemHeapFreePtr(RtxMemHeap** ppHeap, void* ptr)
{
  if (ppHeap == nullptr || *ppHeap == nullptr || rtxMemIsStatic(*ppHeap)) return 0;
  return unref(ppHeap, ptr);
}

// At 255 references the next one is refused, since the counter would wrap to 0 and the element would be freed under all
// of them.
void* rtxMemHeapAutoPtrRef(RtxMemHeap** ppHeap, void* ptr)
{
  if (checkArguments(ppHeap, ptr) < 0) return nullptr;
  RtxMemElem* elem = rtxMemElemOf(ptr);
  if (elem->refcnt == 0 || elem->refcnt == UINT8_MAX || (elem->flags & kMemElemFree) != 0) return nullptr;
  elem->refcnt++;
  return ptr;
}

int rtxMemHeapAutoPtrUnref(RtxMemHeap** ppHeap, void* ptr)
{
  return unref(ppHeap, ptr);
}

int rtxMemHeapAutoPtrGetRefCount(RtxMemHeap** ppHeap, void* ptr)
{
  const int status = checkArguments(ppHeap, ptr);
  return status < 0 ? status : rtxMemElemOf(ptr)->refcnt;
}

// Frees a list of open elements: the octets of each, its record, its node. Octets that point into the caller's buffer
// are not the heap's and stay.
void rtxMemFreeOpenSeqExt(RtxMemHeap** ppHeap, RtxDList* pList)
{
  if (pList == nullptr) return;
  for (RtxDListNode *node = pList->head, *next; node != nullptr; node = next) {
    // Read before the node is freed.
    next = node->next;
    RtxOpenElem* elem = static_cast<RtxOpenElem*>(node->data);
    if (elem != nullptr) rtxMemHeapFreePtr(ppHeap, const_cast<uint8_t*>(elem->data));
    rtxMemHeapFreePtr(ppHeap, elem);
    rtxMemHeapFreePtr(ppHeap, node);
  }
  *pList = {0, nullptr, nullptr};
}
