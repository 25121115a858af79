// The hash map from pointers to pointers.
#include "velnor3gpp/rtxHashMap.h"

#include "rtxsrc/rtxHashMapDesign.h"

template <> struct RtxHashMapParts<RtxHashMap> {
  using Entry = RtxHashMapEntry;
};

static uint32_t hashAddress(const void* key)
{
  const uint64_t address = reinterpret_cast<uintptr_t>(key);
  return static_cast<uint32_t>(address ^ (address >> 32));
}

static int equalAddresses(const void* a, const void* b)
{
  return a == b;
}

static RtxHashFunc hashOr(RtxHashFunc hashFunc)
{
  return hashFunc != nullptr ? hashFunc : hashAddress;
}

static RtxHashEqualsFunc equalsOr(RtxHashEqualsFunc equalsFunc)
{
  return equalsFunc != nullptr ? equalsFunc : equalAddresses;
}

uint32_t rtxUTF8StrHash(const void* key)
{
  uint32_t h = 5381;
  for (const uint8_t* at = static_cast<const uint8_t*>(key); *at != 0; at++) h = h * 33 + *at;
  return h;
}

int rtxHashMapInit(RtxContext* pctxt, RtxHashMap* pMap, uint32_t initialSize, RtxHashFunc hashFunc,
                   RtxHashEqualsFunc equalsFunc)
{
  return rtxHashInit(pctxt, pMap, initialSize, hashOr(hashFunc), equalsOr(equalsFunc));
}

RtxHashMap* rtxHashMapNew(RtxContext* pctxt, uint32_t initialSize, RtxHashFunc hashFunc, RtxHashEqualsFunc equalsFunc)
{
  return rtxHashNew<RtxHashMap>(pctxt, initialSize, hashOr(hashFunc), equalsOr(equalsFunc));
}

int rtxHashMapCopy(RtxContext* pctxt, const RtxHashMap* pSrc, RtxHashMap* pDest)
{
  return rtxHashCopy(pctxt, pSrc, pDest);
}

void rtxHashMapFree(RtxContext* pctxt, RtxHashMap* pMap)
{
  rtxHashFree(pctxt, pMap);
}

int rtxHashMapInsert(RtxContext* pctxt, RtxHashMap* pMap, void* key, void* value)
{
  return rtxHashInsert(pctxt, pMap, key, value);
}

int rtxHashMapPut(RtxContext* pctxt, RtxHashMap* pMap, void* key, void* value)
{
  return rtxHashPut(pctxt, pMap, key, value);
}

int rtxHashMapSearch(const RtxHashMap* pMap, void* key, void** pValue)
{
  return rtxHashSearch(pMap, key, pValue);
}

int rtxHashMapRemove(RtxContext* pctxt, RtxHashMap* pMap, void* key, void** pValue)
{
  return rtxHashRemove(pctxt, pMap, key, pValue);
}

int rtxHashMapSort(RtxContext* pctxt, const RtxHashMap* pMap, RtxDList* pList, RtxDListCompareFunc compare)
{
  return rtxHashSort(pctxt, pMap, pList, compare);
}
