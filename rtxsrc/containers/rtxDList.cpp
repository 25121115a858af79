// The doubly linked list: nodes, insertion, search and release. Error records, element names, regions and the decoders'
// lists of elements stand on it. A node lies on the heap of the context that appended it; the data that it points to is
// the caller's, except where it was copied: then it lies directly behind its node and goes with it.
//
// node    data | next | prev
// copy    data | next | prev | the octets    data points just behind the node
#include "velnor3gpp/rtxDList.h"

#include <limits.h>
#include <string.h>

#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStatus.h"

// A node with `extra` octets directly behind it, which go with the node.
static RtxDListNode* newNode(RtxContext* pctxt, size_t extra)
{
  if (extra > SIZE_MAX - sizeof(RtxDListNode)) return nullptr;
  void* memory = rtxMemHeapAlloc(&pctxt->pMemHeap, sizeof(RtxDListNode) + extra);
  RtxDListNode* node = static_cast<RtxDListNode*>(memory);
  if (node != nullptr) node->data = node + 1;
  return node;
}

// A node that points to the caller's data.
static RtxDListNode* newNodeFor(RtxContext* pctxt, void* pData)
{
  RtxDListNode* node = newNode(pctxt, 0);
  if (node != nullptr) node->data = pData;
  return node;
}

// Links the node before `next`; null `next` is the end of the list.
// The node's links are set whatever they were, so the caller need not clear it.
static RtxDListNode* linkBefore(RtxDList* pList, RtxDListNode* next, RtxDListNode* node)
{
  RtxDListNode* prev = next != nullptr ? next->prev : pList->tail;
  node->prev = prev;
  node->next = next;
  if (prev != nullptr)
    prev->next = node;
  else
    pList->head = node;
  if (next != nullptr)
    next->prev = node;
  else
    pList->tail = node;
  pList->count++;
  return node;
}

void rtxDListInit(RtxDList* pList)
{
  if (pList != nullptr) *pList = {0, nullptr, nullptr};
}

RtxDListNode* rtxDListAppend(RtxContext* pctxt, RtxDList* pList, void* pData)
{
  RtxDListNode* node = newNodeFor(pctxt, pData);
  return node != nullptr ? linkBefore(pList, nullptr, node) : nullptr;
}

// The node is the caller's: it must not be freed by rtxDListFreeNode unless it came from the heap.
RtxDListNode* rtxDListAppendNode(RtxDList* pList, RtxDListNode* pNode)
{
  return linkBefore(pList, nullptr, pNode);
}

// Copies `length` characters, which need no ending zero; the copy gets one.
RtxDListNode* rtxDListAppendCharArray(RtxContext* pctxt, RtxDList* pList, size_t length, const char* pData)
{
  if (length == SIZE_MAX) return nullptr;
  RtxDListNode* node = newNode(pctxt, length + 1);
  if (node == nullptr) return nullptr;
  char* copy = static_cast<char*>(node->data);
  if (length != 0) memcpy(copy, pData, length);
  copy[length] = '\0';
  return linkBefore(pList, nullptr, node);
}

// The entries point into the array, which has to stay as long as the list. On failure those appended so far remain.
int rtxDListAppendArray(RtxContext* pctxt, RtxDList* pList, void* pArray, size_t count, size_t elemSize)
{
  uint8_t* elem = static_cast<uint8_t*>(pArray);
  for (size_t i = 0; i < count; i++, elem += elemSize) {
    if (rtxDListAppend(pctxt, pList, elem) == nullptr) return RTX_E_NO_MEMORY;
  }
  return 0;
}

// Each entry is a copy of its own, behind its node, so the array may go at once.
int rtxDListAppendArrayCopy(RtxContext* pctxt, RtxDList* pList, const void* pArray, size_t count, size_t elemSize)
{
  const uint8_t* elem = static_cast<const uint8_t*>(pArray);
  for (size_t i = 0; i < count; i++, elem += elemSize) {
    RtxDListNode* node = newNode(pctxt, elemSize);
    if (node == nullptr) return RTX_E_NO_MEMORY;
    if (elemSize != 0) memcpy(node->data, elem, elemSize);
    linkBefore(pList, nullptr, node);
  }
  return 0;
}

// The index is compared before a node is made, so that a refusal allocates nothing.
RtxDListNode* rtxDListInsert(RtxContext* pctxt, RtxDList* pList, size_t index, void* pData)
{
  if (index > pList->count) return nullptr;
  RtxDListNode* node = newNodeFor(pctxt, pData);
  return node != nullptr ? rtxDListInsertNode(pList, index, node) : nullptr;
}

RtxDListNode* rtxDListInsertNode(RtxDList* pList, size_t index, RtxDListNode* pNode)
{
  if (index > pList->count) return nullptr;
  if (index == 0) return linkBefore(pList, pList->head, pNode);
  if (index == pList->count) return linkBefore(pList, nullptr, pNode);
  // The index is 1 to count - 1 here, so there is a node before it.
  return linkBefore(pList, rtxDListFindByIndex(pList, index - 1)->next, pNode);
}

RtxDListNode* rtxDListInsertBefore(RtxContext* pctxt, RtxDList* pList, RtxDListNode* pNode, void* pData)
{
  RtxDListNode* node = newNodeFor(pctxt, pData);
  return node != nullptr ? linkBefore(pList, pNode, node) : nullptr;
}

RtxDListNode* rtxDListInsertAfter(RtxContext* pctxt, RtxDList* pList, RtxDListNode* pNode, void* pData)
{
  RtxDListNode* node = newNodeFor(pctxt, pData);
  return node != nullptr ? linkBefore(pList, pNode->next, node) : nullptr;
}

RtxDListNode* rtxDListInsertSorted(RtxContext* pctxt, RtxDList* pList, void* pData, RtxDListCompareFunc compare)
{
  RtxDListNode* node = newNodeFor(pctxt, pData);
  return node != nullptr ? rtxDListInsertNodeSorted(pList, node, compare) : nullptr;
}

// The tail is asked first, since entries mostly come in order; an equal entry elsewhere is found before its equal. The
// loop ends at the tail at the latest, which is greater.
RtxDListNode* rtxDListInsertNodeSorted(RtxDList* pList, RtxDListNode* pNode, RtxDListCompareFunc compare)
{
  if (pList->tail == nullptr || compare(pNode->data, pList->tail->data) >= 0) return linkBefore(pList, nullptr, pNode);
  RtxDListNode* at = pList->head;
  while (compare(pNode->data, at->data) > 0) at = at->next;
  return linkBefore(pList, at, pNode);
}

RtxDListNode* rtxDListFindByIndex(const RtxDList* pList, size_t index)
{
  if (index >= pList->count) return nullptr;
  RtxDListNode* node = pList->head;
  while (index-- != 0 && node != nullptr) node = node->next;
  return node;
}

// Compares pointers, not what they point to.
RtxDListNode* rtxDListFindByData(const RtxDList* pList, const void* data)
{
  RtxDListNode* node = pList->head;
  while (node != nullptr && node->data != data) node = node->next;
  return node;
}

// -1 also for an entry whose index no int can hold.
int rtxDListFindIndexByData(const RtxDList* pList, const void* data)
{
  int index = 0;
  for (const RtxDListNode* node = pList->head; node != nullptr && index < INT_MAX; node = node->next, index++) {
    if (node->data == data) return index;
  }
  return -1;
}

void* rtxDListFindFirstData(const RtxDList* pList, RtxDListMatchFunc match, const void* arg)
{
  for (const RtxDListNode* node = pList->head; node != nullptr; node = node->next) {
    if (match(node->data, arg) != 0) return node->data;
  }
  return nullptr;
}

// Takes the node off without freeing it. Its own links stay as they were.
void rtxDListRemove(RtxDList* pList, RtxDListNode* pNode)
{
  if (pNode->prev != nullptr)
    pNode->prev->next = pNode->next;
  else
    pList->head = pNode->next;
  if (pNode->next != nullptr)
    pNode->next->prev = pNode->prev;
  else
    pList->tail = pNode->prev;
  pList->count--;
}

void rtxDListFreeNode(RtxContext* pctxt, RtxDList* pList, RtxDListNode* pNode)
{
  rtxDListRemove(pList, pNode);
  rtxMemHeapFreePtr(&pctxt->pMemHeap, pNode);
}

// With an emptied heap the nodes are gone already and must not be read. Data directly behind its node is part of that
// and is not freed apart.
static void freeList(RtxContext* pctxt, RtxDList* pList, bool withData)
{
  if (!rtxMemHeapIsEmpty(&pctxt->pMemHeap)) {
    for (RtxDListNode *node = pList->head, *next; node != nullptr; node = next) {
      next = node->next;
      if (withData && node->data != node + 1) rtxMemHeapFreePtr(&pctxt->pMemHeap, node->data);
      rtxMemHeapFreePtr(&pctxt->pMemHeap, node);
    }
  }
  rtxDListInit(pList);
}

void rtxDListFreeNodes(RtxContext* pctxt, RtxDList* pList)
{
  freeList(pctxt, pList, false);
}

void rtxDListFreeAll(RtxContext* pctxt, RtxDList* pList)
{
  freeList(pctxt, pList, true);
}
