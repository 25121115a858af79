// The reset between two jobs: what is not saved becomes free, the blocks stay. So a context that codes one message
// after the other asks the system for memory only until its blocks are as large as its largest message needs. Every
// pointer from before is invalid then, except saved ones.
#include "rtxsrc/heap/rtxMemHeapInternal.h"

namespace {

const char kModule[] = "rtxMemHeapReset";

// A block without saved elements becomes one free element. Headers inside it are left as they are; nobody looks at them
// any more. The link at the last unit points to the list head (0) in both directions, and the list head to it.
inline void emptyBlock(RtxMemBlock* block)
{
  const unsigned nunits = block->nunits;
  const unsigned size = nunits - kMemFirstElem;
  rtxMemSetElem(rtxMemElemAt(block, kMemFirstElem), size, 1, kMemFirstElem, kMemElemFree, 0);
  rtxMemElemAt(block, nunits)->prevOff = static_cast<uint16_t>(size);
  block->maxFreeElem = static_cast<uint16_t>(size);
  block->freeElemOff = block->head.nextFree = block->head.prevFree = static_cast<uint16_t>(nunits - 1);
  *rtxMemLinkAt(block, nunits - 1) = {0, 0, 0};
}

// Of many blocks most have not been used since: reading that costs less than writing it again, since the writing would
// pull their pages into the cache as changed.
void clearBlock(RtxMemBlock* block)
{
  const unsigned nunits = block->nunits;
  const unsigned size = nunits - kMemFirstElem;
  const bool asReset = block->maxFreeElem == size && block->freeElemOff == nunits - 1;
  const RtxMemElem& first = *rtxMemElemAt(block, kMemFirstElem);
  if (asReset && (first.flags & kMemElemFree) != 0 && rtxMemFreeSizeAt(block, nunits - 1) == size) return;
  emptyBlock(block);
}

// Makes the units from `begin` up to `end` one free element at the tail of the ring. `prevOff` is the size of what
// stands before it. The first run found also becomes the rover.
void addRun(RtxMemBlock* block, unsigned begin, unsigned end, unsigned prevOff)
{
  const unsigned size = end - begin;
  const uint16_t linkOff = static_cast<uint16_t>(end - 1);
  rtxMemSetElem(rtxMemElemAt(block, begin), size, prevOff, begin, kMemElemFree, 0);
  rtxMemElemAt(block, end)->prevOff = static_cast<uint16_t>(size);
  const uint16_t last = block->head.prevFree;
  *rtxMemLinkAt(block, linkOff) = {0, 0, last};
  rtxMemLinkAt(block, last)->nextFree = linkOff;
  block->head.prevFree = linkOff;
  if (block->freeElemOff == 0) block->freeElemOff = linkOff;
  rtxMemRaiseMaxFree(block, size);
}

// Every run between saved elements becomes one free element; the last saved one is met when `nsaved` are counted, and
// all behind it is one run. The walk reads only the size of each element, which is right for free ones too.
void keepSaved(RtxMemBlock* block)
{
  unsigned off = kMemFirstElem, begin = kMemFirstElem, prevOff = 1;
  block->freeElemOff = block->maxFreeElem = block->head.nextFree = block->head.prevFree = 0;
  for (unsigned met = 0; met < block->nsaved && off < block->nunits;) {
    RtxMemElem* elem = rtxMemElemAt(block, off);
    const unsigned size = elem->nunits;
    if ((elem->flags & kMemElemSaved) != 0) {
      if (begin < off)
        addRun(block, begin, off, prevOff);
      else
        elem->prevOff = static_cast<uint16_t>(prevOff);
      met++;
      begin = off + size;
      prevOff = size;
    }
    off += size;
  }
  if (begin < block->nunits) addRun(block, begin, block->nunits, prevOff);
}

// Elements that the reset frees are wiped too; those that are saved are not.
void wipeUnsaved(RtxMemBlock* block)
{
  for (unsigned off = kMemFirstElem; off < block->nunits; off += rtxMemElemAt(block, off)->nunits) {
    RtxMemElem* elem = rtxMemElemAt(block, off);
    if ((elem->flags & (kMemElemSaved | kMemElemFree)) == 0) rtxMemWipe(elem + 1, (elem->nunits - 1U) * kMemUnit);
  }
}

// Nothing is wiped before rtxMemBlockRelease, which wipes the block as a whole.
void resetBlock(RtxMemHeap* heap, RtxMemBlock* block)
{
  if (block->nsaved == 0 && (heap->flags & RT_MH_FREE_EMPTY_BLOCKS) != 0) return rtxMemBlockRelease(heap, block);
  if ((heap->flags & RT_MH_ZERO_ON_FREE) != 0) wipeUnsaved(block);
  if (block->nsaved == 0)
    clearBlock(block);
  else
    keepSaved(block);
}

void resetRawBlocks(RtxMemHeap* heap)
{
  for (void *at = heap->phead, *next; at != heap; at = next) {
    // Read before the block is freed.
    next = rtxMemRawLinks(at)[0];
    RtxMemRawBlk* raw = static_cast<RtxMemRawBlk*>(at);
    if ((raw->elem.flags & kMemElemSaved) == 0) rtxMemRawRelease(heap, raw);
  }
}

} // namespace

// Kept out of rtxMemHeapReset, which then saves no registers for what most heaps need.
[[gnu::noinline]] static void resetGeneral(RtxMemHeap** ppHeap)
{
  RtxMemHeap* heap = *ppHeap;
  if (rtxMemIsStatic(heap)) return rtxMemSetStaticUsed(heap, 0);
  if ((heap->flags & RT_MH_CHECK_HEAP) != 0) rtxMemHeapCheck(ppHeap, kModule, __LINE__);
  resetRawBlocks(heap);
  RtxMemBlock* block = heap->curBlock;
  if (block == nullptr) return;
  // The ring shrinks while blocks are released, so the end is told by the block that was last at the start, and
  // compared before that block itself may go.
  for (RtxMemBlock *last = block->prev, *next;; block = next) {
    next = block->next;
    const bool done = block == last;
    resetBlock(heap, block);
    if (done) return;
  }
}

// One block, nothing saved, nothing from the system, is what most heaps are.
void rtxMemHeapReset(RtxMemHeap** ppHeap)
{
  if (ppHeap == nullptr || *ppHeap == nullptr) return;
  RtxMemHeap* heap = *ppHeap;
  const uint32_t special = RT_MH_STATIC | RT_MH_CHECK_HEAP | RT_MH_FREE_EMPTY_BLOCKS | RT_MH_ZERO_ON_FREE;
  if ((heap->flags & special) != 0 || heap->phead != heap || heap->curBlock == nullptr) return resetGeneral(ppHeap);
  RtxMemBlock* block = heap->curBlock;
  if (block->next != block || block->nsaved != 0) return resetGeneral(ppHeap);
  emptyBlock(block);
}
