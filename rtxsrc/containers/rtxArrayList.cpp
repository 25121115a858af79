// The paged array list. Insertion and removal shift the slots behind; a segment that becomes empty goes. Segments are
// nodes of a list with `segmentSize` pointers directly behind each, so item 10 of segments of 4 is slot 2 of the third.
// Items that stay keep their slot while the list grows at its end, which a single growing array could not promise. The
// items are the caller's.
#include "velnor3gpp/rtxArrayList.h"

#include <limits.h>

#include "velnor3gpp/rtxDList.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStatus.h"

// A place in the list: stepping from slot to slot costs no search.
struct Cursor {
  RtxDListNode* segment;
  size_t slot;
};

static void** slotAt(const Cursor& at)
{
  return static_cast<void**>(at.segment->data) + at.slot;
}

// Walks the segments; `index` is below the count.
static Cursor cursorAt(const RtxArrayList* pList, size_t index)
{
  return {rtxDListFindByIndex(&pList->segments, index / pList->segmentSize), index % pList->segmentSize};
}

// Behind the last slot of the last segment there is no segment: callers count the items and do not follow it.
static Cursor nextOf(const RtxArrayList* pList, Cursor at)
{
  if (++at.slot < pList->segmentSize) return at;
  return {at.segment->next, 0};
}

// The octets of a segment are compared before they are computed, since the caller chose its size.
static bool addSegment(RtxContext* pctxt, RtxArrayList* pList)
{
  if (pList->segmentSize > (SIZE_MAX - sizeof(RtxDListNode)) / sizeof(void*)) return false;
  const size_t octets = sizeof(RtxDListNode) + pList->segmentSize * sizeof(void*);
  RtxDListNode* node = static_cast<RtxDListNode*>(rtxMemHeapAlloc(&pctxt->pMemHeap, octets));
  if (node == nullptr) return false;
  node->data = node + 1;
  rtxDListAppendNode(&pList->segments, node);
  return true;
}

static bool isEqual(const RtxArrayList* pList, const void* a, const void* b)
{
  return pList->equalsFunc != nullptr ? pList->equalsFunc(a, b) != 0 : a == b;
}

void rtxArrayListInit(RtxArrayList* pList, size_t segmentSize)
{
  *pList = {};
  pList->segmentSize = segmentSize != 0 ? segmentSize : RTX_ARRAY_LIST_SEGMENT_SIZE;
}

RtxArrayList* rtxNewArrayList(RtxContext* pctxt, size_t segmentSize)
{
  RtxArrayList* list = static_cast<RtxArrayList*>(rtxMemHeapAlloc(&pctxt->pMemHeap, sizeof(RtxArrayList)));
  if (list != nullptr) rtxArrayListInit(list, segmentSize);
  return list;
}

void rtxFreeArrayList(RtxContext* pctxt, RtxArrayList* pList)
{
  rtxDListFreeNodes(pctxt, &pList->segments);
  pList->count = 0;
  rtxArrayListInitIter(pList, 0);
}

// Returns the index of the item, which is why the count is bounded by INT_MAX.
int rtxArrayListAdd(RtxContext* pctxt, RtxArrayList* pList, void* pItem)
{
  if (pList->count >= INT_MAX) return RTX_E_NO_MEMORY;
  if (pList->count == pList->segments.count * pList->segmentSize && !addSegment(pctxt, pList)) return RTX_E_NO_MEMORY;
  static_cast<void**>(pList->segments.tail->data)[pList->count % pList->segmentSize] = pItem;
  return static_cast<int>(pList->count++);
}

void* rtxArrayListRemove(RtxContext* pctxt, RtxArrayList* pList, const void* pItem)
{
  const int index = rtxArrayListIndexOf(pList, pItem);
  return index < 0 ? nullptr : rtxArrayListRemoveIndexed(pctxt, pList, static_cast<size_t>(index));
}

// Each item behind the removed one moves a slot to the front.
void* rtxArrayListRemoveIndexed(RtxContext* pctxt, RtxArrayList* pList, size_t index)
{
  if (index >= pList->count) return nullptr;
  Cursor at = cursorAt(pList, index);
  void* removed = *slotAt(at);
  for (size_t left = pList->count - index - 1; left != 0; left--) {
    const Cursor next = nextOf(pList, at);
    *slotAt(at) = *slotAt(next);
    at = next;
  }
  pList->count--;
  // The last segment has lost its only item.
  if (pList->count % pList->segmentSize == 0) rtxDListFreeNode(pctxt, &pList->segments, pList->segments.tail);
  // The iterator may stand in the segment that went; it looks its own up again.
  pList->iterSegment = nullptr;
  return removed;
}

// A slot is added at the end first, so that a refusal leaves the list as it was.
int rtxArrayListInsert(RtxContext* pctxt, RtxArrayList* pList, void* pItem, size_t index)
{
  if (index > pList->count) return RTX_E_INDEX_RANGE;
  const int status = rtxArrayListAdd(pctxt, pList, pItem);
  if (status < 0) return status;
  Cursor at = cursorAt(pList, index);
  for (size_t left = pList->count - index; left != 0; left--, at = nextOf(pList, at)) {
    void* shifted = *slotAt(at);
    *slotAt(at) = pItem;
    pItem = shifted;
  }
  return 0;
}

void* rtxArrayListReplace(RtxArrayList* pList, void* pItem, size_t index)
{
  if (index >= pList->count) return nullptr;
  void** slot = slotAt(cursorAt(pList, index));
  void* old = *slot;
  *slot = pItem;
  return old;
}

void* rtxArrayListGetIndexed(const RtxArrayList* pList, size_t index)
{
  return index < pList->count ? *slotAt(cursorAt(pList, index)) : nullptr;
}

int rtxArrayListIndexOf(const RtxArrayList* pList, const void* pItem)
{
  Cursor at = {pList->segments.head, 0};
  for (size_t i = 0; i < pList->count; i++, at = nextOf(pList, at)) {
    if (isEqual(pList, *slotAt(at), pItem)) return static_cast<int>(i);
  }
  return -1;
}

void rtxArrayListInitIter(RtxArrayList* pList, size_t index)
{
  pList->iterIndex = index;
  pList->iterSegment = nullptr;
}

int rtxArrayListHasNextItem(const RtxArrayList* pList)
{
  return pList->iterIndex < pList->count;
}

// The segment of the next item is remembered, so that a walk over all items does not search from the front each time.
void* rtxArrayListNextItem(RtxArrayList* pList)
{
  if (!rtxArrayListHasNextItem(pList)) return nullptr;
  Cursor at = {pList->iterSegment, pList->iterIndex % pList->segmentSize};
  if (at.segment == nullptr) at = cursorAt(pList, pList->iterIndex);
  void* item = *slotAt(at);
  pList->iterSegment = nextOf(pList, at).segment;
  pList->iterIndex++;
  return item;
}
