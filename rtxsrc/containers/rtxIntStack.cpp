// The growing stack of integers, on the heap of a context. Pushing doubles it; it never shrinks. The elements are
// `data[0]` to `data[index - 1]`, the last one is the top. Callers pop by
// counting `index` down.
#include "velnor3gpp/rtxIntStack.h"

#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStatus.h"

static bool resize(RtxIntStack* pStack, size_t size)
{
  if (size > SIZE_MAX / sizeof(int32_t)) return false;
  RtxMemHeap** ppHeap = &pStack->pctxt->pMemHeap;
  const size_t octets = size * sizeof(int32_t);
  void* memory =
      pStack->data == nullptr ? rtxMemHeapAlloc(ppHeap, octets) : rtxMemHeapRealloc(ppHeap, pStack->data, octets);
  if (memory == nullptr) return false;
  pStack->data = static_cast<int32_t*>(memory);
  pStack->size = size;
  return true;
}

int rtxIntStackInit(RtxContext* pctxt, RtxIntStack* pStack, size_t size)
{
  *pStack = {pctxt, nullptr, 0, 0};
  return resize(pStack, size != 0 ? size : RTX_INT_STACK_SIZE) ? 0 : RTX_E_NO_MEMORY;
}

int rtxIntStackPush(RtxIntStack* pStack, int32_t value)
{
  if (pStack->index == pStack->size) {
    // A stack that was never given storage starts with the default size.
    const size_t size = pStack->size != 0 ? pStack->size : RTX_INT_STACK_SIZE / 2;
    if (size > SIZE_MAX / 2 || !resize(pStack, size * 2)) return RTX_E_NO_MEMORY;
  }
  pStack->data[pStack->index++] = value;
  return 0;
}
