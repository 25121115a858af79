/**
 * @file rtxSList.h
 * A singly linked list. A list that is bound to a context takes its nodes from the context's heap, one without from
 * malloc. The list never owns its data; only rtxSListFreeAll frees data too.
 */
#ifndef VELNOR3GPP_RTX_SLIST_H
#define VELNOR3GPP_RTX_SLIST_H

#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

/** One node. */
typedef struct RtxSListNode {
  void* data;                /**< The entry. */
  struct RtxSListNode* next; /**< Towards the tail, null at the tail. */
} RtxSListNode;

/** The list. */
typedef struct RtxSList {
  size_t count;             /**< Entries on the list. */
  RtxSListNode* head;       /**< First entry or null. */
  RtxSListNode* tail;       /**< Last entry or null. */
  struct RtxContext* pctxt; /**< The context whose heap serves the nodes, or null for malloc. */
} RtxSList;

/** Makes the caller's list empty, with nodes from malloc. */
VELNOR_API void rtxSListInit(RtxSList* pList);
/** Makes the caller's list empty, with nodes from the context's heap. */
VELNOR_API void rtxSListInitEx(struct RtxContext* pctxt, RtxSList* pList);
/** Makes an empty list by malloc, to be freed by free; null when out of memory. */
VELNOR_API RtxSList* rtxSListCreate(void);
/** Makes an empty list on the context's heap; null when out of memory. */
VELNOR_API RtxSList* rtxSListCreateEx(struct RtxContext* pctxt);
/** Appends `pData`, which is not copied. Returns the node, null when out of memory. */
VELNOR_API RtxSListNode* rtxSListAppend(RtxSList* pList, void* pData);
/** Returns 1 if the pointer `pData` is on the list, else 0. */
VELNOR_API int rtxSListFind(const RtxSList* pList, const void* pData);
/** Takes the first node that holds `pData` off and frees the node. Nothing if there is none. */
VELNOR_API void rtxSListRemove(RtxSList* pList, const void* pData);
/** Frees the nodes, not the data nor the list record, and empties the list. */
VELNOR_API void rtxSListFree(RtxSList* pList);
/** Frees nodes and data, which must come from where the nodes come from, and empties the list. */
VELNOR_API void rtxSListFreeAll(RtxSList* pList);

VELNOR_END_DECLS

#endif
