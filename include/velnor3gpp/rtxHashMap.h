/**
 * @file rtxHashMap.h
 * A hash map from pointers to pointers. Buckets and entries come from the heap of the context that is passed in; keys
 * and values are the caller's and must outlive the entry.
 */
#ifndef VELNOR3GPP_RTX_HASH_MAP_H
#define VELNOR3GPP_RTX_HASH_MAP_H

#include "velnor3gpp/rtxDList.h"

VELNOR_BEGIN_DECLS

/** Returns the 32-bit hash of a key. */
typedef uint32_t (*RtxHashFunc)(const void* key);
/** Returns nonzero if both keys are equal. */
typedef int (*RtxHashEqualsFunc)(const void* a, const void* b);

/** Hash of a terminated string: from 5381 on, 33 times the hash plus each octet. */
VELNOR_API uint32_t rtxUTF8StrHash(const void* key);

/** One entry. */
typedef struct RtxHashMapEntry {
  void* key;                    /**< The key. */
  void* value;                  /**< The value. */
  uint32_t hash;                /**< The key's mixed hash. */
  struct RtxHashMapEntry* next; /**< Next entry of the bucket, or null. */
} RtxHashMapEntry;

/** The map. */
typedef struct RtxHashMap {
  uint32_t tableLength;         /**< Buckets, a prime. */
  RtxHashMapEntry** table;      /**< Heads of the buckets. */
  uint32_t entryCount;          /**< Entries. */
  uint32_t loadLimit;           /**< Entries above which the table grows. */
  uint32_t primeIndex;          /**< Index of `tableLength` in the row of primes. */
  RtxHashFunc hashFunc;         /**< Hash of a key. */
  RtxHashEqualsFunc equalsFunc; /**< Equality of keys. */
} RtxHashMap;

/** Makes the caller's map empty with the first prime of buckets above `initialSize`. Null functions
 *  take the key's address for its identity.
 *  Returns 0 or RTX_E_NO_MEMORY. */
VELNOR_API int rtxHashMapInit(struct RtxContext* pctxt, RtxHashMap* pMap, uint32_t initialSize, RtxHashFunc hashFunc,
                              RtxHashEqualsFunc equalsFunc);
/** Makes such a map on the context's heap; null when out of memory. */
VELNOR_API RtxHashMap* rtxHashMapNew(struct RtxContext* pctxt, uint32_t initialSize, RtxHashFunc hashFunc,
                                     RtxHashEqualsFunc equalsFunc);
/** Makes `pDest`, which holds nothing, a map with the entries of `pSrc`; keys and values are shared. Returns 0 or
 *  RTX_E_NO_MEMORY with nothing held. */
VELNOR_API int rtxHashMapCopy(struct RtxContext* pctxt, const RtxHashMap* pSrc, RtxHashMap* pDest);
/** Frees entries and table, not the keys and values nor the record. */
VELNOR_API void rtxHashMapFree(struct RtxContext* pctxt, RtxHashMap* pMap);
/** Adds an entry without looking for the key; it hides an older one. Returns 0 or RTX_E_NO_MEMORY. */
VELNOR_API int rtxHashMapInsert(struct RtxContext* pctxt, RtxHashMap* pMap, void* key, void* value);
/** Replaces the value of a key, or adds an entry. Returns 0 or RTX_E_NO_MEMORY. */
VELNOR_API int rtxHashMapPut(struct RtxContext* pctxt, RtxHashMap* pMap, void* key, void* value);
/** Returns 1 if the key is present and stores its value if `pValue` is given; else 0. */
VELNOR_API int rtxHashMapSearch(const RtxHashMap* pMap, void* key, void** pValue);
/** Removes the newest entry of a key and stores its value if `pValue` is given. Returns 1, or 0 if absent. */
VELNOR_API int rtxHashMapRemove(struct RtxContext* pctxt, RtxHashMap* pMap, void* key, void** pValue);
/** Inserts all keys into `pList`, from the highest to the lowest by `compare`. Returns 0 or RTX_E_NO_MEMORY. */
VELNOR_API int rtxHashMapSort(struct RtxContext* pctxt, const RtxHashMap* pMap, RtxDList* pList,
                              RtxDListCompareFunc compare);

VELNOR_END_DECLS

#endif
