// Making, configuring and releasing heaps, and the system side of their memory. Each context has one heap, from which
// all that a job makes is taken: records, error texts, names, list nodes. Contexts that share a heap
// (rtxCtxtSetMemHeap) count their references to it. Nothing here hands out an element: that is rtxMemHeapAlloc.cpp.
//
// A heap is not locked. The four settings below belong to the process: they are read when a heap is made, so they have
// to be set before other threads make contexts.
#include <stdlib.h>

#include "rtxsrc/heap/rtxMemHeapInternal.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

const char kModule[] = "rtxMemHeap";

// Octets of a new block for heaps made from now on. One block of 4 KiB holds what most messages need.
uint32_t gDefBlkSize = 4096;
// Null means malloc, realloc and free. A heap keeps its own copy, so that what it took from one allocator never goes
// back to another.
RtxMallocFunc gMallocFunc = nullptr;
RtxReallocFunc gReallocFunc = nullptr;
RtxFreeFunc gFreeFunc = nullptr;

// An empty heap is its own neighbour in the ring of raw blocks. Without an address range rtxMemAccepts refuses every
// pointer.
void emptyRing(RtxMemHeap* heap)
{
  heap->phead = heap;
  heap->ptail = heap;
  heap->curBlock = nullptr;
  heap->minAddr = nullptr;
  heap->maxAddr = nullptr;
}

// Turns the record into that of a static heap, which hands out the caller's buffer and never frees it. The three
// members of a ring that it does not need hold its state: `phead` the buffer, `ptail` its size in octets, `curBlock`
// the octets used. All other flags are cleared.
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

// What the heap gets from the system goes through these two, also its own record.
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

// The empty assembly statement claims to read the octets. A memset of memory that is freed next is dead to the compiler
// otherwise, and keys would stay in free memory.
void rtxMemWipe(void* ptr, size_t size)
{
  memset(ptr, 0, size);
#if defined(__GNUC__)
  __asm__ __volatile__("" : : "r"(ptr) : "memory");
#endif
}

// The guard value of such a heap is 0. It still tells elements from most foreign pointers, but not one heap from
// another.
int rtxMemHeapCreateExt(RtxMemHeap** ppHeap, RtxMallocFunc mallocFunc, RtxReallocFunc reallocFunc, RtxFreeFunc freeFunc)
{
  if (ppHeap == nullptr) return RTX_E_BAD_PARAMETER;
  // There is no heap yet to ask, so the functions are called directly.
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

// The guard value is random, so that an element of another heap is refused when it is freed here by mistake.
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

// What the heap holds is freed first. A heap with a second owner is refused, since that one still uses its elements.
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

// The last owner frees everything. The pointer of the caller is set to null only then: with owners left it stays.
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
  // The buffer is the caller's; it is only counted as unused.
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

// The value is copied, since a caller may point to it through a pointer that is not aligned for 32 bits.
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

// The four functions below reach the heap's allocator past the heap. The heap does not know what they return, so
// nothing frees it with the heap: the caller does, with rtxMemHeapSysFreePtr.
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
  // An allocator without realloc cannot resize: the size of the old octets is not known here, so they cannot be copied,
  // and the system's realloc must not see a pointer that is not its own.
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
