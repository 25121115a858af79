// The stack: a list whose head is the top. Open regions stand on one (RtxContext.containerStack). The data is the
// caller's; the nodes lie on the heap of the context that the stack was initialised with.
#include "velnor3gpp/rtxDList.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStatus.h"

RtxStack* rtxStackCreate(RtxContext* pctxt)
{
  RtxStack* stack = static_cast<RtxStack*>(rtxMemHeapAlloc(&pctxt->pMemHeap, sizeof(RtxStack)));
  if (stack != nullptr) rtxStackInit(pctxt, stack);
  return stack;
}

// Forgets what is on it without freeing it: rtxMemFree uses that when the heap goes.
void rtxStackInit(RtxContext* pctxt, RtxStack* pStack)
{
  pStack->pctxt = pctxt;
  rtxDListInit(&pStack->dlist);
}

// The stack owns the node only: popping frees that and gives the data back.
int rtxStackPush(RtxStack* pStack, void* pData)
{
  if (pStack == nullptr) return RTX_E_NULL_POINTER;
  return rtxDListInsert(pStack->pctxt, &pStack->dlist, 0, pData) != nullptr ? 0 : RTX_E_NO_MEMORY;
}

void* rtxStackPop(RtxStack* pStack)
{
  if (pStack == nullptr || pStack->dlist.head == nullptr) return nullptr;
  void* data = pStack->dlist.head->data;
  rtxDListFreeNode(pStack->pctxt, &pStack->dlist, pStack->dlist.head);
  return data;
}

// The newest entry, which stays.
void* rtxStackPeek(const RtxStack* pStack)
{
  return pStack != nullptr && pStack->dlist.head != nullptr ? pStack->dlist.head->data : nullptr;
}
