/**
 * @file rtxMemHeap.h
 * The memory heap of a context. Decoders take records, strings and list nodes from it and never free them one by one:
 * one rtxMemHeapReset or rtxMemHeapFreeAll at the end of a job returns them all. The heap owns every octet it hands
 * out. Each function takes the address of a heap pointer; since the first member of a context is its heap pointer,
 * `&pctxt->pMemHeap` and the context are the same address. A heap that does not exist yet is created by the first
 * allocation. A heap serves one thread at a time; the process-wide settings are to be made before threads start.
 * Out of memory is a null result here and leaves no error record, except where a function says otherwise.
 */
#ifndef VELNOR3GPP_RTX_MEM_HEAP_H
#define VELNOR3GPP_RTX_MEM_HEAP_H

#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

/** An allocator: returns at least `size` octets, aligned for any type, or null. */
typedef void* (*RtxMallocFunc)(size_t size);
/** A reallocator with the contract of realloc. */
typedef void* (*RtxReallocFunc)(void* ptr, size_t size);
/** The release that goes with them. */
typedef void (*RtxFreeFunc)(void* ptr);

struct RtxMemBlock;

/** A heap. In a static heap `phead` is the caller's buffer, `ptail` its capacity, `curBlock` the octets used so far. */
typedef struct RtxMemHeap {
  void* phead;                  /**< Next raw block; the heap itself is the sentinel of the ring. */
  void* ptail;                  /**< Previous raw block, or the heap itself. */
  struct RtxMemBlock* curBlock; /**< The block at which the next search starts, or null. */
  void* minAddr;                /**< Lowest address of any block since the heap was last emptied. */
  void* maxAddr;                /**< Address of the last octet of the highest block. */
  uint32_t property4;           /**< Stored for the caller. */
  uint32_t defBlkSize;          /**< Size of a new block in octets. */
  uint32_t refCnt;              /**< Contexts that share the heap. */
  uint32_t flags;               /**< RT_MH_... bits. */
  RtxMallocFunc mallocFunc;     /**< Allocator, or null for malloc. */
  RtxReallocFunc reallocFunc;   /**< Reallocator, or null for realloc. */
  RtxFreeFunc freeFunc;         /**< Release, or null for free. */
  uint32_t code;                /**< Guard value that every block carries. */
} RtxMemHeap;

/** Bits of RtxMemHeap.flags. */
#define RT_MH_FREE_EMPTY_BLOCKS 0x00000001U /**< Give a wholly free block back to the system at once. */
#define RT_MH_VALIDATE_PTR 0x00000002U      /**< Free and realloc look the pointer up first. */
#define RT_MH_CHECK_HEAP 0x00000004U        /**< Every operation runs rtxMemHeapCheck first. */
#define RT_MH_ZERO_ON_FREE 0x00000040U      /**< Zero what is freed. */
#define RT_MH_OWN_DESCRIPTOR 0x10000000U    /**< The heap frees its own record. */
#define RT_MH_USE_SYSMEM 0x20000000U        /**< Every allocation is a raw block. */
#define RT_MH_STATIC 0x40000000U            /**< Static heap. */

/** Properties of rtxMemHeapSetProperty. */
#define RTX_MEM_PROP_DEF_BLK_SIZE 1U /**< Size of a new block in octets. */
#define RTX_MEM_PROP_SET_FLAGS 2U    /**< Flags to set. */
#define RTX_MEM_PROP_CLEAR_FLAGS 3U  /**< Flags to clear. */
#define RTX_MEM_PROP_USER 4U         /**< `property4`. */

/** Flags of rtxMemAllocArray2. */
#define RTX_MEM_ARRAY_ZERO 0x80U    /**< Zero the array. */
#define RTX_MEM_ARRAY_SYSMEM 0x100U /**< Take it from the system allocator, to be freed by rtxMemHeapSysFreePtr. */

/** The octets of one open extension element, as they stood in the message. */
typedef struct RtxOpenElem {
  uint32_t numocts;    /**< Octets in `data`. */
  const uint8_t* data; /**< The octets, from the heap. */
} RtxOpenElem;

/** Makes an empty heap from the process-wide allocator and default block size. Returns 0, RTX_E_BAD_PARAMETER for a
 *  null argument or RTX_E_NO_MEMORY. */
VELNOR_API int rtxMemHeapCreate(RtxMemHeap** ppHeap);
/** The same with allocator functions of its own (null: malloc, realloc, free) and the guard value 0. */
VELNOR_API int rtxMemHeapCreateExt(RtxMemHeap** ppHeap, RtxMallocFunc mallocFunc, RtxReallocFunc reallocFunc,
                                   RtxFreeFunc freeFunc);
/** Makes a static heap that hands out the caller's `size` octets one after the other. The buffer stays the caller's
 *  and must outlive the heap. Statuses as rtxMemHeapCreate. */
VELNOR_API int rtxMemStaticHeapCreate(RtxMemHeap** ppHeap, void* buffer, size_t size);
/** Empties a heap that nobody shares and makes it a static one. RTX_E_BAD_PARAMETER if there is none or it is shared.
 */
VELNOR_API int rtxMemHeapConvertStatic(RtxMemHeap** ppHeap, void* buffer, size_t size);
/** One more context uses the heap. */
VELNOR_API void rtxMemHeapAddRef(RtxMemHeap** ppHeap);
/** One context less uses the heap; the last one frees everything and nulls the pointer. */
VELNOR_API void rtxMemHeapRelease(RtxMemHeap** ppHeap);

/** Allocates `size` octets, 8-aligned (a static heap packs without alignment). Null when out of memory. A size of 0
 *  gives an element of 8 octets. */
VELNOR_API void* rtxMemHeapAlloc(RtxMemHeap** ppHeap, size_t size);
/** The same, zeroed. */
VELNOR_API void* rtxMemHeapAllocZ(RtxMemHeap** ppHeap, size_t size);
/** Resizes an element; the contents up to the smaller size stay. A null `ptr` allocates, a `size` of 0 frees and
 *  returns null. On null otherwise the old element stands. Null for a static heap. */
VELNOR_API void* rtxMemHeapRealloc(RtxMemHeap** ppHeap, void* ptr, size_t size);
/** Static heaps only: resizes the latest allocation in place. Null if `ptr` is not the latest, if it does not fit, and
 *  also if the sizes are equal. */
VELNOR_API void* rtxMemHeapReallocStatic(RtxMemHeap** ppHeap, void* ptr, size_t oldSize, size_t newSize);
/** Drops one reference of an element and frees it with the last. Nothing on a static heap. Returns what
 *  rtxMemHeapAutoPtrUnref returns, or 0 if there is no heap or a static one. */
VELNOR_API int rtxMemHeapFreePtr(RtxMemHeap** ppHeap, void* ptr);
/** Adds a reference to an element and returns `ptr`; null if it is free or has 255 references. */
VELNOR_API void* rtxMemHeapAutoPtrRef(RtxMemHeap** ppHeap, void* ptr);
/** Drops a reference. Returns the references left, 0 when freed (or free before), RTX_E_NULL_POINTER for a null
 *  argument, RTX_E_NO_MEMORY for a pointer that is not of this heap. */
VELNOR_API int rtxMemHeapAutoPtrUnref(RtxMemHeap** ppHeap, void* ptr);
/** Returns the references of an element (0 to 255), or a status as rtxMemHeapAutoPtrUnref. */
VELNOR_API int rtxMemHeapAutoPtrGetRefCount(RtxMemHeap** ppHeap, void* ptr);
/** Returns 1 if `ptr` is the data of an element in use, by walking the whole heap; else 0. */
VELNOR_API int rtxMemHeapCheckPtr(RtxMemHeap** ppHeap, const void* ptr);
/** Gives all storage back to the system. */
VELNOR_API void rtxMemHeapFreeAll(RtxMemHeap** ppHeap);
/** Frees everything that is not marked as saved, but keeps the blocks for the next job. */
VELNOR_API void rtxMemHeapReset(RtxMemHeap** ppHeap);
/** Returns 1 if there is no heap or it holds no storage. */
VELNOR_API int rtxMemHeapIsEmpty(RtxMemHeap** ppHeap);

/** Sets one RTX_MEM_PROP_... from the uint32_t at `pValue`. Unknown properties are ignored. */
VELNOR_API void rtxMemHeapSetProperty(RtxMemHeap** ppHeap, uint32_t property, const void* pValue);
/** Sets flags; returns the new flags, 0 if there is no heap. */
VELNOR_API uint32_t rtxMemHeapSetFlags(RtxMemHeap** ppHeap, uint32_t flags);
/** Clears flags; returns the new flags, 0 if there is no heap. */
VELNOR_API uint32_t rtxMemHeapClearFlags(RtxMemHeap** ppHeap, uint32_t flags);
/** Returns the size of a new block in octets, the process-wide one if there is no heap. */
VELNOR_API uint32_t rtxMemHeapGetDefBlkSize(RtxMemHeap** ppHeap);

/** Allocates from the heap's allocator directly, past the heap: the caller frees it by rtxMemHeapSysFreePtr. */
VELNOR_API void* rtxMemHeapSysAlloc(RtxMemHeap** ppHeap, size_t size);
/** The same, zeroed. */
VELNOR_API void* rtxMemHeapSysAllocZ(RtxMemHeap** ppHeap, size_t size);
/** Resizes system memory. Null also if the heap has an allocator but no reallocator. */
VELNOR_API void* rtxMemHeapSysRealloc(RtxMemHeap** ppHeap, void* ptr, size_t size);
/** Frees system memory; null is allowed. */
VELNOR_API void rtxMemHeapSysFreePtr(RtxMemHeap** ppHeap, void* ptr);

/** Allocates `count` times `size` octets, RTX_MEM_ARRAY_... flags. `ppHeap` must be a context's: on failure the result
 *  is null and RTX_E_TOO_BIG or RTX_E_NO_MEMORY is reported there. */
VELNOR_API void* rtxMemAllocArray2(RtxMemHeap** ppHeap, size_t count, size_t size, uint32_t flags);
/** Frees a list of RtxOpenElem: the octets, the elements and the nodes. The list is empty afterwards. */
VELNOR_API void rtxMemFreeOpenSeqExt(RtxMemHeap** ppHeap, RtxDList* pList);

/** Walks the whole heap. On the first fault it prints a report that names `file` and `line` and ends the process. */
VELNOR_API void rtxMemHeapCheck(RtxMemHeap** ppHeap, const char* file, int line);
/** Prints all blocks and elements to the process's print stream. */
VELNOR_API void rtxMemHeapPrint(RtxMemHeap** ppHeap);
/** The same with the free list of each block. */
VELNOR_API void rtxMemHeapPrintWithFree(RtxMemHeap** ppHeap);
/** Called for a pointer that is no element of the heap; ends the process. */
VELNOR_API void rtxMemHeapInvalidPtrHook(RtxMemHeap** ppHeap, const void* ptr);

/** The process-wide size of a new block in octets, 4096 at start. */
VELNOR_API uint32_t rtxMemGetDefBlkSize(void);
/** Sets it for heaps made from now on. */
VELNOR_API void rtxMemSetDefBlkSize(uint32_t size);
/** Sets the allocator of heaps made by rtxMemHeapCreate from now on; null members mean malloc, realloc and free. */
VELNOR_API void rtxMemSetAllocFuncs(RtxMallocFunc mallocFunc, RtxReallocFunc reallocFunc, RtxFreeFunc freeFunc);

VELNOR_END_DECLS

#endif
