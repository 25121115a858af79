// The hash map from strings to unsigned integers.
#include "velnor3gpp/rtxHashMapStr2UInt.h"

#include "rtxsrc/rtxHashMapDesign.h"

template <> struct RtxHashMapParts<RtxHashMapStr2UInt> {
  using Entry = RtxHashMapStr2UIntEntry;
};

static RtxHashFunc hashOr(RtxHashFunc hashFunc)
{
  return hashFunc != nullptr ? hashFunc : rtxUTF8StrHash;
}

static RtxHashEqualsFunc equalsOr(RtxHashEqualsFunc equalsFunc)
{
  return equalsFunc != nullptr ? equalsFunc : rtxHashStrEquals;
}

int rtxHashMapStr2UIntInit(RtxContext* pctxt, RtxHashMapStr2UInt* pMap, uint32_t initialSize, RtxHashFunc hashFunc,
                           RtxHashEqualsFunc equalsFunc)
{
  return rtxHashInit(pctxt, pMap, initialSize, hashOr(hashFunc), equalsOr(equalsFunc));
}

RtxHashMapStr2UInt* rtxHashMapStr2UIntNew(RtxContext* pctxt, uint32_t initialSize, RtxHashFunc hashFunc,
                                          RtxHashEqualsFunc equalsFunc)
{
  return rtxHashNew<RtxHashMapStr2UInt>(pctxt, initialSize, hashOr(hashFunc), equalsOr(equalsFunc));
}

int rtxHashMapStr2UIntCopy(RtxContext* pctxt, const RtxHashMapStr2UInt* pSrc, RtxHashMapStr2UInt* pDest)
{
  return rtxHashCopy(pctxt, pSrc, pDest);
}

void rtxHashMapStr2UIntFree(RtxContext* pctxt, RtxHashMapStr2UInt* pMap)
{
  rtxHashFree(pctxt, pMap);
}

int rtxHashMapStr2UIntInsert(RtxContext* pctxt, RtxHashMapStr2UInt* pMap, const char* key, uint32_t value)
{
  return rtxHashInsert(pctxt, pMap, key, value);
}

int rtxHashMapStr2UIntPut(RtxContext* pctxt, RtxHashMapStr2UInt* pMap, const char* key, uint32_t value)
{
  return rtxHashPut(pctxt, pMap, key, value);
}

int rtxHashMapStr2UIntSearch(const RtxHashMapStr2UInt* pMap, const char* key, uint32_t* pValue)
{
  return rtxHashSearch(pMap, key, pValue);
}

int rtxHashMapStr2UIntRemove(RtxContext* pctxt, RtxHashMapStr2UInt* pMap, const char* key, uint32_t* pValue)
{
  return rtxHashRemove(pctxt, pMap, key, pValue);
}

int rtxHashMapStr2UIntSort(RtxContext* pctxt, const RtxHashMapStr2UInt* pMap, RtxDList* pList,
                           RtxDListCompareFunc compare)
{
  return rtxHashSort(pctxt, pMap, pList, compare);
}
