// References and release: single elements with their coalescing, raw blocks, whole blocks and the reset.
#include "rtxsrc/heap/rtxMemHeapInternal.h"
#include "velnor3gpp/rtxDiag.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

const char kModule[] = "rtxMemHeapFree";

// The link at `oldOff` gives its place in the ring to the one at `newOff`.
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

[[gnu::noinline]] void zeroElem(RtxMemElem* elem)
{
  rtxMemWipe(elem + 1, (elem->nunits - 1U) * kMemUnit);
  rtxDiagStream(nullptr, "~I rtxMemHeapZeroElem: zeroed out memory element %p (%p)\n", static_cast<void*>(elem),
                static_cast<void*>(elem + 1));
}

// Joins the element with its free neighbours and keeps the free ring; returns the joined size in units.
unsigned joinFree(RtxMemBlock* block, RtxMemElem* elem)
{
  RtxMemElem* prev = elem - elem->prevOff;
  RtxMemElem* next = elem + elem->nunits;
  const bool prevFree = (prev->flags & kMemElemFree) != 0;
  const bool nextFree = (next->flags & kMemElemFree) != 0;
  const unsigned off = elem->beginOff;
  RtxMemElem* first = prevFree ? prev : elem;
  RtxMemElem* after = nextFree ? next + next->nunits : next;
  if (prevFree && off == kMemFirstElem) rtxErrAssertionFailed("pFreeLink != 0", __LINE__, kModule);

  if (prevFree && nextFree)
    rtxMemUnlinkFree(block, off - 1);
  else if (prevFree)
    replaceLink(block, off - 1, off + elem->nunits - 1U);
  else if (!nextFree)
    rtxMemLinkAfterRover(block, off + elem->nunits - 1U);
  const unsigned size = static_cast<unsigned>(after - first);
  elem->flags = kMemElemFree;
  first->nunits = after->prevOff = static_cast<uint16_t>(size);
  return size;
}

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

int checkArguments(RtxMemHeap** ppHeap, const void* ptr)
{
  if (ppHeap == nullptr || *ppHeap == nullptr || ptr == nullptr) return RTX_E_NULL_POINTER;
  return rtxMemAccepts(*ppHeap, ptr) ? 0 : RTX_E_NO_MEMORY;
}

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
  if (block->freeElemOff == linkOff) block->freeElemOff = next;
}

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

void rtxMemCheckBefore(RtxMemHeap** ppHeap, const void* ptr, const char* module, int line)
{
  if (((*ppHeap)->flags & RT_MH_CHECK_HEAP) != 0) rtxMemHeapCheck(ppHeap, module, line);
  if (((*ppHeap)->flags & RT_MH_VALIDATE_PTR) != 0 && !rtxMemHeapCheckPtr(ppHeap, ptr)) {
    rtxMemHeapInvalidPtrHook(ppHeap, ptr);
  }
}

int rtxMemHeapFreePtr(RtxMemHeap** ppHeap, void* ptr)
{
  if (ppHeap == nullptr || *ppHeap == nullptr || rtxMemIsStatic(*ppHeap)) return 0;
  return unref(ppHeap, ptr);
}

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

void rtxMemFreeOpenSeqExt(RtxMemHeap** ppHeap, RtxDList* pList)
{
  if (pList == nullptr) return;
  for (RtxDListNode *node = pList->head, *next; node != nullptr; node = next) {
    next = node->next;
    RtxOpenElem* elem = static_cast<RtxOpenElem*>(node->data);
    if (elem != nullptr) rtxMemHeapFreePtr(ppHeap, const_cast<uint8_t*>(elem->data));
    rtxMemHeapFreePtr(ppHeap, elem);
    rtxMemHeapFreePtr(ppHeap, node);
  }
  *pList = {0, nullptr, nullptr};
}
