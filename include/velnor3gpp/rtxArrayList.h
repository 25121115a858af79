/**
 * @file rtxArrayList.h
 * A list with access by index: pointers in segments of equal size. Segments come from the heap of the context that
 * is passed in; the pointers stored are the caller's.
 */
#ifndef VELNOR3GPP_RTX_ARRAY_LIST_H
#define VELNOR3GPP_RTX_ARRAY_LIST_H

#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

/** Slots of a segment when none is told. */
#define RTX_ARRAY_LIST_SEGMENT_SIZE 10

/** Returns nonzero if both entries are equal. */
typedef int (*RtxArrayListEqualsFunc)(const void* a, const void* b);

/** The list. Element i lies in segment i / segmentSize, slot i mod segmentSize, directly behind the segment's node. */
typedef struct RtxArrayList {
  RtxDList segments;                 /**< The segments; the node's `data` points to its slots. */
  size_t segmentSize;                /**< Slots of a segment. */
  size_t count;                      /**< Elements. */
  size_t iterIndex;                  /**< Iterator: index of the next item. */
  RtxDListNode* iterSegment;         /**< Iterator: segment of the next item, null to look it up. */
  RtxArrayListEqualsFunc equalsFunc; /**< For rtxArrayListIndexOf; null compares the pointers. */
} RtxArrayList;

/** Makes the caller's list empty. A segment size of 0 means 10. */
VELNOR_API void rtxArrayListInit(RtxArrayList* pList, size_t segmentSize);
/** Makes an empty list on the context's heap; null when out of memory. */
VELNOR_API RtxArrayList* rtxNewArrayList(struct RtxContext* pctxt, size_t segmentSize);
/** Frees the segments and empties the list; its record and the items stay. */
VELNOR_API void rtxFreeArrayList(struct RtxContext* pctxt, RtxArrayList* pList);
/** Appends an item. Returns its index or RTX_E_NO_MEMORY. */
VELNOR_API int rtxArrayListAdd(struct RtxContext* pctxt, RtxArrayList* pList, void* pItem);
/** Removes the first item that equals `pItem` and returns it; null if there is none. */
VELNOR_API void* rtxArrayListRemove(struct RtxContext* pctxt, RtxArrayList* pList, const void* pItem);
/** Removes the item at `index` and returns it; null past the end. */
VELNOR_API void* rtxArrayListRemoveIndexed(struct RtxContext* pctxt, RtxArrayList* pList, size_t index);
/** Inserts an item before the one at `index`; `index` may equal the count. Returns 0, RTX_E_INDEX_RANGE or
 *  RTX_E_NO_MEMORY. */
VELNOR_API int rtxArrayListInsert(struct RtxContext* pctxt, RtxArrayList* pList, void* pItem, size_t index);
/** Puts `pItem` at `index` and returns what stood there; null past the end. */
VELNOR_API void* rtxArrayListReplace(RtxArrayList* pList, void* pItem, size_t index);
/** Returns the item at `index`; null past the end. */
VELNOR_API void* rtxArrayListGetIndexed(const RtxArrayList* pList, size_t index);
/** Returns the index of the first item that equals `pItem`, or -1. */
VELNOR_API int rtxArrayListIndexOf(const RtxArrayList* pList, const void* pItem);
/** Sets the list's iterator on the item at `index`. */
VELNOR_API void rtxArrayListInitIter(RtxArrayList* pList, size_t index);
/** Returns 1 if the iterator has an item left. */
VELNOR_API int rtxArrayListHasNextItem(const RtxArrayList* pList);
/** Returns the iterator's item and moves on; null at the end. */
VELNOR_API void* rtxArrayListNextItem(RtxArrayList* pList);

VELNOR_END_DECLS

#endif
