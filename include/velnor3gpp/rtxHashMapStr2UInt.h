/**
 * @file rtxHashMapStr2UInt.h
 * A hash map from terminated strings to unsigned 32-bit integers. Buckets and entries come from the heap of the context
 * that is passed in; keys are not copied and must outlive the entry.
 */
#ifndef VELNOR3GPP_RTX_HASH_MAP_STR2UINT_H
#define VELNOR3GPP_RTX_HASH_MAP_STR2UINT_H

#include "velnor3gpp/rtxHashMap.h"

VELNOR_BEGIN_DECLS

/** One entry. */
typedef struct RtxHashMapStr2UIntEntry {
  const char* key;                      /**< The key. */
  uint32_t value;                       /**< The value. */
  uint32_t hash;                        /**< The key's mixed hash. */
  struct RtxHashMapStr2UIntEntry* next; /**< Next entry of the bucket, or null. */
} RtxHashMapStr2UIntEntry;

/** The map. */
typedef struct RtxHashMapStr2UInt {
  uint32_t tableLength;            /**< Buckets, a prime. */
  RtxHashMapStr2UIntEntry** table; /**< Heads of the buckets. */
  uint32_t entryCount;             /**< Entries. */
  uint32_t loadLimit;              /**< Entries above which the table grows. */
  uint32_t primeIndex;             /**< Index of `tableLength` in the row of primes. */
  RtxHashFunc hashFunc;            /**< Hash of a key. */
  RtxHashEqualsFunc equalsFunc;    /**< Equality of keys. */
} RtxHashMapStr2UInt;

/** Makes the caller's map empty with the first prime of buckets above `initialSize`. Null functions
 *  hash and compare the strings.
 *  Returns 0 or RTX_E_NO_MEMORY. */
VELNOR_API int rtxHashMapStr2UIntInit(struct RtxContext* pctxt, RtxHashMapStr2UInt* pMap, uint32_t initialSize,
                                      RtxHashFunc hashFunc, RtxHashEqualsFunc equalsFunc);
/** Makes such a map on the context's heap; null when out of memory. */
VELNOR_API RtxHashMapStr2UInt* rtxHashMapStr2UIntNew(struct RtxContext* pctxt, uint32_t initialSize,
                                                     RtxHashFunc hashFunc, RtxHashEqualsFunc equalsFunc);
/** Makes `pDest`, which holds nothing, a map with the entries of `pSrc`; keys and values are shared. Returns 0 or
 *  RTX_E_NO_MEMORY with nothing held. */
VELNOR_API int rtxHashMapStr2UIntCopy(struct RtxContext* pctxt, const RtxHashMapStr2UInt* pSrc,
                                      RtxHashMapStr2UInt* pDest);
/** Frees entries and table, not the keys and values nor the record. */
VELNOR_API void rtxHashMapStr2UIntFree(struct RtxContext* pctxt, RtxHashMapStr2UInt* pMap);
/** Adds an entry without looking for the key; it hides an older one. Returns 0 or RTX_E_NO_MEMORY. */
VELNOR_API int rtxHashMapStr2UIntInsert(struct RtxContext* pctxt, RtxHashMapStr2UInt* pMap, const char* key,
                                        uint32_t value);
/** Replaces the value of a key, or adds an entry. Returns 0 or RTX_E_NO_MEMORY. */
VELNOR_API int rtxHashMapStr2UIntPut(struct RtxContext* pctxt, RtxHashMapStr2UInt* pMap, const char* key,
                                     uint32_t value);
/** Returns 1 if the key is present and stores its value if `pValue` is given; else 0. */
VELNOR_API int rtxHashMapStr2UIntSearch(const RtxHashMapStr2UInt* pMap, const char* key, uint32_t* pValue);
/** Removes the newest entry of a key and stores its value if `pValue` is given. Returns 1, or 0 if absent. */
VELNOR_API int rtxHashMapStr2UIntRemove(struct RtxContext* pctxt, RtxHashMapStr2UInt* pMap, const char* key,
                                        uint32_t* pValue);
/** Inserts all keys into `pList`, from the highest to the lowest by `compare`. Returns 0 or RTX_E_NO_MEMORY. */
VELNOR_API int rtxHashMapStr2UIntSort(struct RtxContext* pctxt, const RtxHashMapStr2UInt* pMap, RtxDList* pList,
                                      RtxDListCompareFunc compare);

VELNOR_END_DECLS

#endif
