// The singly linked list, on a context's heap or on malloc: the bit trace keeps its entries on one. A list without a
// context lives on malloc, so it survives the reset of every heap, and its caller has to free it.
#include "velnor3gpp/rtxSList.h"

#include <stdlib.h>

#include "velnor3gpp/rtxMemHeap.h"

// Frees what allocFor or the caller has allocated for this list.
static void freeFor(const RtxSList* pList, void* ptr)
{
  if (pList->pctxt != nullptr)
    rtxMemHeapFreePtr(&pList->pctxt->pMemHeap, ptr);
  else
    free(ptr);
}

static void* allocFor(RtxContext* pctxt, size_t size)
{
  return pctxt != nullptr ? rtxMemHeapAlloc(&pctxt->pMemHeap, size) : malloc(size);
}

static RtxSList* createFor(RtxContext* pctxt)
{
  RtxSList* list = static_cast<RtxSList*>(allocFor(pctxt, sizeof(RtxSList)));
  if (list != nullptr) rtxSListInitEx(pctxt, list);
  return list;
}

void rtxSListInit(RtxSList* pList)
{
  rtxSListInitEx(nullptr, pList);
}

// Makes the list empty without freeing what is on it; a null context chooses malloc.
void rtxSListInitEx(RtxContext* pctxt, RtxSList* pList)
{
  *pList = {0, nullptr, nullptr, pctxt};
}

RtxSList* rtxSListCreate()
{
  return createFor(nullptr);
}

RtxSList* rtxSListCreateEx(RtxContext* pctxt)
{
  return createFor(pctxt);
}

// The tail is kept so that appending does not walk the list.
RtxSListNode* rtxSListAppend(RtxSList* pList, void* pData)
{
  RtxSListNode* node = static_cast<RtxSListNode*>(allocFor(pList->pctxt, sizeof(RtxSListNode)));
  if (node == nullptr) return nullptr;
  *node = {pData, nullptr};
  if (pList->tail != nullptr)
    pList->tail->next = node;
  else
    pList->head = node;
  pList->tail = node;
  pList->count++;
  return node;
}

int rtxSListFind(const RtxSList* pList, const void* pData)
{
  for (const RtxSListNode* node = pList->head; node != nullptr; node = node->next) {
    if (node->data == pData) return 1;
  }
  return 0;
}

// Takes off the first node with that data pointer; the data stays.
void rtxSListRemove(RtxSList* pList, const void* pData)
{
  RtxSListNode* prev = nullptr;
  RtxSListNode* node = pList->head;
  while (node != nullptr && node->data != pData) {
    prev = node;
    node = node->next;
  }
  if (node == nullptr) return;
  if (prev != nullptr)
    prev->next = node->next;
  else
    pList->head = node->next;
  // Otherwise the next append would write to the node that is freed here.
  if (pList->tail == node) pList->tail = prev;
  pList->count--;
  freeFor(pList, node);
}

// Data is freed only if the caller says that it came from where the nodes do. The list is empty afterwards and may be
// used again.
static void freeList(RtxSList* pList, bool withData)
{
  for (RtxSListNode *node = pList->head, *next; node != nullptr; node = next) {
    next = node->next;
    if (withData) freeFor(pList, node->data);
    freeFor(pList, node);
  }
  rtxSListInitEx(pList->pctxt, pList);
}

void rtxSListFree(RtxSList* pList)
{
  freeList(pList, false);
}

void rtxSListFreeAll(RtxSList* pList)
{
  freeList(pList, true);
}
