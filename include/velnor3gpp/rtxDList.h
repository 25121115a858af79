/**
 * @file rtxDList.h
 * The doubly linked list, the collector for repeated elements and the stack. Nodes come from the heap of the context
 * that is passed in and go with it; a list never owns its data, only rtxDListFreeAll frees data too. The records
 * RtxDList, RtxDListNode and RtxStack stand in rtxTypes.h. Nothing here leaves an error record unless it says so.
 */
#ifndef VELNOR3GPP_RTX_DLIST_H
#define VELNOR3GPP_RTX_DLIST_H

#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

/** Compares two entries: below 0, 0 or above 0 as `a` ranks before, with or after `b`. */
typedef int (*RtxDListCompareFunc)(const void* a, const void* b);
/** Returns nonzero if the entry `data` meets the criterion `arg`. */
typedef int (*RtxDListMatchFunc)(const void* data, const void* arg);

/** Makes the list empty without freeing anything. */
VELNOR_API void rtxDListInit(RtxDList* pList);
/** Appends `pData`, which is not copied. Returns the node, null when out of memory. */
VELNOR_API RtxDListNode* rtxDListAppend(struct RtxContext* pctxt, RtxDList* pList, void* pData);
/** Appends the caller's node and returns it. */
VELNOR_API RtxDListNode* rtxDListAppendNode(RtxDList* pList, RtxDListNode* pNode);
/** Appends a copy of `length` characters, terminated, that lies directly behind its node. Null when out of memory. */
VELNOR_API RtxDListNode* rtxDListAppendCharArray(struct RtxContext* pctxt, RtxDList* pList, size_t length,
                                                 const char* pData);
/** Appends a node for each of `count` elements of `elemSize` octets; the data stay in the caller's array.
 *  Returns 0 or RTX_E_NO_MEMORY, with the nodes made so far on the list. */
VELNOR_API int rtxDListAppendArray(struct RtxContext* pctxt, RtxDList* pList, void* pArray, size_t count,
                                   size_t elemSize);
/** The same with a copy of each element directly behind its node. */
VELNOR_API int rtxDListAppendArrayCopy(struct RtxContext* pctxt, RtxDList* pList, const void* pArray, size_t count,
                                       size_t elemSize);
/** Inserts `pData` so that it gets the index `index`. Null when out of memory or if `index` exceeds the count. */
VELNOR_API RtxDListNode* rtxDListInsert(struct RtxContext* pctxt, RtxDList* pList, size_t index, void* pData);
/** Inserts the caller's node: 0 is the head, the count the tail. Null if `index` exceeds the count. */
VELNOR_API RtxDListNode* rtxDListInsertNode(RtxDList* pList, size_t index, RtxDListNode* pNode);
/** Inserts `pData` before `pNode` of the list. Null when out of memory. */
VELNOR_API RtxDListNode* rtxDListInsertBefore(struct RtxContext* pctxt, RtxDList* pList, RtxDListNode* pNode,
                                              void* pData);
/** Inserts `pData` after `pNode` of the list. Null when out of memory. */
VELNOR_API RtxDListNode* rtxDListInsertAfter(struct RtxContext* pctxt, RtxDList* pList, RtxDListNode* pNode,
                                             void* pData);
/** Inserts `pData` into an ascending list: behind an equal tail, but before an equal entry elsewhere. */
VELNOR_API RtxDListNode* rtxDListInsertSorted(struct RtxContext* pctxt, RtxDList* pList, void* pData,
                                              RtxDListCompareFunc compare);
/** The same with the caller's node, whose `data` is set. */
VELNOR_API RtxDListNode* rtxDListInsertNodeSorted(RtxDList* pList, RtxDListNode* pNode, RtxDListCompareFunc compare);

/** Returns the node at `index`, null past the end. */
VELNOR_API RtxDListNode* rtxDListFindByIndex(const RtxDList* pList, size_t index);
/** Returns the first node that holds the pointer `data`, or null. */
VELNOR_API RtxDListNode* rtxDListFindByData(const RtxDList* pList, const void* data);
/** Returns the index of the first node that holds the pointer `data`, or -1. */
VELNOR_API int rtxDListFindIndexByData(const RtxDList* pList, const void* data);
/** Returns the data of the first entry for which `match(data, arg)` is not 0, or null. */
VELNOR_API void* rtxDListFindFirstData(const RtxDList* pList, RtxDListMatchFunc match, const void* arg);

/** Takes a node of the list off it and frees nothing. */
VELNOR_API void rtxDListRemove(RtxDList* pList, RtxDListNode* pNode);
/** Takes a node of the list off it and frees the node, not its data. */
VELNOR_API void rtxDListFreeNode(struct RtxContext* pctxt, RtxDList* pList, RtxDListNode* pNode);
/** Frees all nodes, not their data, and empties the list. */
VELNOR_API void rtxDListFreeNodes(struct RtxContext* pctxt, RtxDList* pList);
/** Frees all nodes and their data, which must come from the heap, and empties the list. */
VELNOR_API void rtxDListFreeAll(struct RtxContext* pctxt, RtxDList* pList);

/** Copies the entries, `elemSize` octets each, into one array. `*ppArray` is used if `*pElemCount` tells that it has
 *  room; else a new one comes from the heap. Returns the count, or RTX_E_NO_MEMORY, which is reported. */
VELNOR_API int rtxDListToArray(struct RtxContext* pctxt, const RtxDList* pList, void** ppArray, uint32_t* pElemCount,
                               size_t elemSize);
/** The same with an array of the data pointers. */
VELNOR_API int rtxDListToPointerArray(struct RtxContext* pctxt, const RtxDList* pList, void*** ppArray,
                                      uint32_t* pElemCount);
/** Joins the entries, terminated strings, with `sep` between them into a heap string. A result without characters is
 *  null. Returns 0 or RTX_E_NO_MEMORY. */
VELNOR_API int rtxDListToUTF8Str(struct RtxContext* pctxt, const RtxDList* pList, char** ppStr, char sep);

/** Collects elements whose number is not known beforehand. The caller writes element `n` of `*ppArray` and counts
 *  `n` up; whenever `n` equals `nMax`, and so before the first one, it calls rtxDListBufExpand. */
typedef struct RtxDListBuf {
  size_t n;            /**< Elements in the current segment. */
  size_t nMax;         /**< Elements that the current segment holds. */
  size_t nAll;         /**< Elements in the full segments before it; after rtxDListBufToArray all elements. */
  size_t firstSegSize; /**< Elements that the first segment holds. */
  size_t elemSize;     /**< Octets of an element. */
  RtxDList segments;   /**< The full segments, each of double the size of the one before. */
  void** ppArray;      /**< The caller's array pointer: the current segment, at last the whole array. */
} RtxDListBuf;

/** Sets the collector up and nulls `*ppArray`. */
VELNOR_API void rtxDListBufInit(RtxDListBuf* pBuf, size_t firstSegSize, void** ppArray, size_t elemSize);
/** Puts the full segment aside and allocates the next. Returns 0 or RTX_E_NO_MEMORY, with nothing changed. */
VELNOR_API int rtxDListBufExpand(struct RtxContext* pctxt, RtxDListBuf* pBuf);
/** Makes one array of exactly the collected elements in `*ppArray`; null if there are none. Returns 0 or
 *  RTX_E_NO_MEMORY. */
VELNOR_API int rtxDListBufToArray(struct RtxContext* pctxt, RtxDListBuf* pBuf);

/** Makes an empty stack on the context's heap; null when out of memory. */
VELNOR_API RtxStack* rtxStackCreate(struct RtxContext* pctxt);
/** Makes the caller's stack empty and binds it to the context. */
VELNOR_API void rtxStackInit(struct RtxContext* pctxt, RtxStack* pStack);
/** Pushes a pointer. Returns 0, RTX_E_NO_MEMORY, or RTX_E_NULL_POINTER for a null stack. */
VELNOR_API int rtxStackPush(RtxStack* pStack, void* pData);
/** Takes the top off and returns it; null if the stack is empty. */
VELNOR_API void* rtxStackPop(RtxStack* pStack);
/** Returns the top; null if the stack is empty. */
VELNOR_API void* rtxStackPeek(const RtxStack* pStack);

VELNOR_END_DECLS

#endif
