// Making, configuring and releasing heaps, and the system side of their memory.
#include <stdlib.h>

#include "rtxsrc/heap/rtxMemHeapInternal.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

const char kModule[] = "rtxMemHeap";

uint32_t gDefBlkSize = 4096;
RtxMallocFunc gMallocFunc = nullptr;
RtxReallocFunc gReallocFunc = nullptr;
RtxFreeFunc gFreeFunc = nullptr;

void emptyRing(RtxMemHeap* heap)
{
  heap->phead = heap;
  heap->ptail = heap;
  heap->curBlock = nullptr;
  heap->minAddr = nullptr;
  heap->maxAddr = nullptr;
}

void makeStatic(RtxMemHeap* heap, void* buffer, size_t size)
{
  heap->flags = RT_MH_OWN_DESCRIPTOR | RT_MH_STATIC;
  heap->phead = buffer;
  heap->ptail = reinterpret_cast<void*>(size);
  heap->curBlock = nullptr;
}

} // namespace

uint32_t rtxMemGetDefBlkSize()
{
  return gDefBlkSize;
}

void rtxMemSetDefBlkSize(uint32_t size)
{
  gDefBlkSize = size;
}

void rtxMemSetAllocFuncs(RtxMallocFunc mallocFunc, RtxReallocFunc reallocFunc, RtxFreeFunc freeFunc)
{
  gMallocFunc = mallocFunc;
  gReallocFunc = reallocFunc;
  gFreeFunc = freeFunc;
}

void* rtxMemSysMalloc(const RtxMemHeap* heap, size_t size)
{
  return heap->mallocFunc != nullptr ? heap->mallocFunc(size) : malloc(size);
}

void rtxMemSysFree(const RtxMemHeap* heap, void* ptr)
{
  if (heap->freeFunc != nullptr)
    heap->freeFunc(ptr);
  else
    free(ptr);
}

void rtxMemWipe(void* ptr, size_t size)
{
  memset(ptr, 0, size);
#if defined(__GNUC__)
  __asm__ __volatile__("" : : "r"(ptr) : "memory");
#endif
}

int rtxMemHeapCreateExt(RtxMemHeap** ppHeap, RtxMallocFunc mallocFunc, RtxReallocFunc reallocFunc, RtxFreeFunc freeFunc)
{
  if (ppHeap == nullptr) return RTX_E_BAD_PARAMETER;
  void* memory = mallocFunc != nullptr ? mallocFunc(sizeof(RtxMemHeap)) : malloc(sizeof(RtxMemHeap));
  if (memory == nullptr) return RTX_E_NO_MEMORY;
  memset(memory, 0, sizeof(RtxMemHeap));
  RtxMemHeap* heap = static_cast<RtxMemHeap*>(memory);
  emptyRing(heap);
  heap->flags = RT_MH_OWN_DESCRIPTOR;
  heap->refCnt = 1;
  heap->defBlkSize = gDefBlkSize;
  heap->mallocFunc = mallocFunc;
  heap->reallocFunc = reallocFunc;
  heap->freeFunc = freeFunc;
  *ppHeap = heap;
  return 0;
}

int rtxMemHeapCreate(RtxMemHeap** ppHeap)
{
  const int status = rtxMemHeapCreateExt(ppHeap, gMallocFunc, gReallocFunc, gFreeFunc);
  if (status == 0) (*ppHeap)->code = static_cast<uint32_t>(rand());
  return status;
}

int rtxMemStaticHeapCreate(RtxMemHeap** ppHeap, void* buffer, size_t size)
{
  const int status = rtxMemHeapCreateExt(ppHeap, gMallocFunc, gReallocFunc, gFreeFunc);
  if (status == 0) makeStatic(*ppHeap, buffer, size);
  return status;
}

int rtxMemHeapConvertStatic(RtxMemHeap** ppHeap, void* buffer, size_t size)
{
  if (ppHeap == nullptr || *ppHeap == nullptr || (*ppHeap)->refCnt >= 2) return RTX_E_BAD_PARAMETER;
  rtxMemHeapFreeAll(ppHeap);
  makeStatic(*ppHeap, buffer, size);
  return 0;
}

void rtxMemHeapAddRef(RtxMemHeap** ppHeap)
{
  if (ppHeap != nullptr && *ppHeap != nullptr) (*ppHeap)->refCnt++;
}

void rtxMemHeapRelease(RtxMemHeap** ppHeap)
{
  if (ppHeap == nullptr || *ppHeap == nullptr) return;
  RtxMemHeap* heap = *ppHeap;
  if (--heap->refCnt != 0) return;
  rtxMemHeapFreeAll(ppHeap);
  if ((heap->flags & RT_MH_OWN_DESCRIPTOR) != 0) rtxMemSysFree(heap, heap);
  *ppHeap = nullptr;
}

void rtxMemHeapFreeAll(RtxMemHeap** ppHeap)
{
  if (ppHeap == nullptr || *ppHeap == nullptr) return;
  RtxMemHeap* heap = *ppHeap;
  if (rtxMemIsStatic(heap)) return rtxMemSetStaticUsed(heap, 0);
  if ((heap->flags & RT_MH_CHECK_HEAP) != 0) rtxMemHeapCheck(ppHeap, kModule, __LINE__);
  while (heap->phead != heap) rtxMemRawRelease(heap, static_cast<RtxMemRawBlk*>(heap->phead));
  while (heap->curBlock != nullptr) rtxMemBlockRelease(heap, heap->curBlock);
  emptyRing(heap);
}

int rtxMemHeapIsEmpty(RtxMemHeap** ppHeap)
{
  if (ppHeap == nullptr || *ppHeap == nullptr) return 1;
  const RtxMemHeap* heap = *ppHeap;
  return heap->curBlock == nullptr && (rtxMemIsStatic(heap) || heap->phead == heap);
}

void rtxMemHeapSetProperty(RtxMemHeap** ppHeap, uint32_t property, const void* pValue)
{
  if (ppHeap == nullptr || *ppHeap == nullptr || pValue == nullptr) return;
  uint32_t value;
  memcpy(&value, pValue, sizeof value);
  switch (property) {
    case RTX_MEM_PROP_DEF_BLK_SIZE:
      (*ppHeap)->defBlkSize = value;
      break;
    case RTX_MEM_PROP_SET_FLAGS:
      (*ppHeap)->flags |= value;
      break;
    case RTX_MEM_PROP_CLEAR_FLAGS:
      (*ppHeap)->flags &= ~value;
      break;
    case RTX_MEM_PROP_USER:
      (*ppHeap)->property4 = value;
      break;
    default:
      break;
  }
}

uint32_t rtxMemHeapSetFlags(RtxMemHeap** ppHeap, uint32_t flags)
{
  if (ppHeap == nullptr || *ppHeap == nullptr) return 0;
  return (*ppHeap)->flags |= flags;
}

uint32_t rtxMemHeapClearFlags(RtxMemHeap** ppHeap, uint32_t flags)
{
  if (ppHeap == nullptr || *ppHeap == nullptr) return 0;
  return (*ppHeap)->flags &= ~flags;
}

uint32_t rtxMemHeapGetDefBlkSize(RtxMemHeap** ppHeap)
{
  return ppHeap == nullptr || *ppHeap == nullptr ? gDefBlkSize : (*ppHeap)->defBlkSize;
}

void* rtxMemHeapSysAlloc(RtxMemHeap** ppHeap, size_t size)
{
  if (ppHeap == nullptr) return nullptr;
  if (*ppHeap == nullptr && rtxMemHeapCreate(ppHeap) != 0) return nullptr;
  return rtxMemSysMalloc(*ppHeap, size);
}

void* rtxMemHeapSysAllocZ(RtxMemHeap** ppHeap, size_t size)
{
  void* ptr = rtxMemHeapSysAlloc(ppHeap, size);
  if (ptr != nullptr) memset(ptr, 0, size);
  return ptr;
}

void* rtxMemHeapSysRealloc(RtxMemHeap** ppHeap, void* ptr, size_t size)
{
  const RtxMemHeap* heap = ppHeap != nullptr ? *ppHeap : nullptr;
  if (heap == nullptr) return realloc(ptr, size);
  if (heap->reallocFunc != nullptr) return heap->reallocFunc(ptr, size);
  return heap->mallocFunc != nullptr ? nullptr : realloc(ptr, size);
}

void rtxMemHeapSysFreePtr(RtxMemHeap** ppHeap, void* ptr)
{
  if (ptr == nullptr) return;
  if (ppHeap == nullptr || *ppHeap == nullptr)
    free(ptr);
  else
    rtxMemSysFree(*ppHeap, ptr);
}
