// The growing pointer array, on the heap of a context. Count and capacity have 16 bits: 65535 pointers are the most it
// holds. The pointers are the caller's.
#include "velnor3gpp/rtxDynPtrArray.h"

#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStatus.h"

static const char kModule[] = "rtxDynPtrArray";
static constexpr uint16_t kFirstCapacity = 4;

// Reports, and marks the array by capacity 0; what it holds stays readable.
static int refuse(RtxContext* pctxt, RtxDynPtrArray* pArray, int line)
{
  pArray->capacity = 0;
  return rtxErrSetData(pctxt, RTX_E_NO_MEMORY, kModule, line);
}

// A capacity of 0 means the default. Without memory the array is empty and may still be appended to later.
int rtxDynPtrArrayInit(RtxContext* pctxt, RtxDynPtrArray* pArray, uint16_t initialCapacity)
{
  pArray->count = 0;
  pArray->capacity = initialCapacity != 0 ? initialCapacity : kFirstCapacity;
  pArray->data = static_cast<void**>(rtxMemHeapAlloc(&pctxt->pMemHeap, pArray->capacity * sizeof(void*)));
  return pArray->data != nullptr ? 0 : refuse(pctxt, pArray, __LINE__);
}

// A capacity of 0 is that of an array that was once refused, or never initialised: it starts again from what it holds.
static uint32_t nextCapacity(const RtxDynPtrArray* pArray)
{
  if (pArray->capacity == 0 && pArray->count == 0) return kFirstCapacity;
  const uint32_t twice = 2U * (pArray->capacity != 0 ? pArray->capacity : pArray->count);
  return twice < UINT16_MAX ? twice : UINT16_MAX;
}

// Doubles the capacity; the array and what it holds stay as they were if that is refused.
static bool grow(RtxContext* pctxt, RtxDynPtrArray* pArray)
{
  const uint32_t capacity = nextCapacity(pArray);
  // All 65535 places are used.
  if (capacity <= pArray->count) return false;
  RtxMemHeap** ppHeap = &pctxt->pMemHeap;
  const size_t octets = capacity * sizeof(void*);
  void* grown =
      pArray->data == nullptr ? rtxMemHeapAlloc(ppHeap, octets) : rtxMemHeapRealloc(ppHeap, pArray->data, octets);
  if (grown == nullptr) return false;
  pArray->data = static_cast<void**>(grown);
  pArray->capacity = static_cast<uint16_t>(capacity);
  return true;
}

int rtxDynPtrArrayAppend(RtxContext* pctxt, RtxDynPtrArray* pArray, void* ptr)
{
  if (pArray->count >= pArray->capacity && !grow(pctxt, pArray)) return refuse(pctxt, pArray, __LINE__);
  pArray->data[pArray->count++] = ptr;
  return 0;
}
