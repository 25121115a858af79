// The hash map from strings to signed integers.
#include "velnor3gpp/rtxHashMapStr2Int.h"

#include "rtxsrc/rtxHashMapDesign.h"

template <> struct RtxHashMapParts<RtxHashMapStr2Int> {
  using Entry = RtxHashMapStr2IntEntry;
};

static RtxHashFunc hashOr(RtxHashFunc hashFunc)
{
  return hashFunc != nullptr ? hashFunc : rtxUTF8StrHash;
}

static RtxHashEqualsFunc equalsOr(RtxHashEqualsFunc equalsFunc)
{
  return equalsFunc != nullptr ? equalsFunc : rtxHashStrEquals;
}

int rtxHashMapStr2IntInit(RtxContext* pctxt, RtxHashMapStr2Int* pMap, uint32_t initialSize, RtxHashFunc hashFunc,
                          RtxHashEqualsFunc equalsFunc)
{
  return rtxHashInit(pctxt, pMap, initialSize, hashOr(hashFunc), equalsOr(equalsFunc));
}

RtxHashMapStr2Int* rtxHashMapStr2IntNew(RtxContext* pctxt, uint32_t initialSize, RtxHashFunc hashFunc,
                                        RtxHashEqualsFunc equalsFunc)
{
  return rtxHashNew<RtxHashMapStr2Int>(pctxt, initialSize, hashOr(hashFunc), equalsOr(equalsFunc));
}

int rtxHashMapStr2IntCopy(RtxContext* pctxt, const RtxHashMapStr2Int* pSrc, RtxHashMapStr2Int* pDest)
{
  return rtxHashCopy(pctxt, pSrc, pDest);
}

void rtxHashMapStr2IntFree(RtxContext* pctxt, RtxHashMapStr2Int* pMap)
{
  rtxHashFree(pctxt, pMap);
}

int rtxHashMapStr2IntInsert(RtxContext* pctxt, RtxHashMapStr2Int* pMap, const char* key, int32_t value)
{
  return rtxHashInsert(pctxt, pMap, key, value);
}

int rtxHashMapStr2IntPut(RtxContext* pctxt, RtxHashMapStr2Int* pMap, const char* key, int32_t value)
{
  return rtxHashPut(pctxt, pMap, key, value);
}

int rtxHashMapStr2IntSearch(const RtxHashMapStr2Int* pMap, const char* key, int32_t* pValue)
{
  return rtxHashSearch(pMap, key, pValue);
}

int rtxHashMapStr2IntRemove(RtxContext* pctxt, RtxHashMapStr2Int* pMap, const char* key, int32_t* pValue)
{
  return rtxHashRemove(pctxt, pMap, key, pValue);
}

int rtxHashMapStr2IntSort(RtxContext* pctxt, const RtxHashMapStr2Int* pMap, RtxDList* pList,
                          RtxDListCompareFunc compare)
{
  return rtxHashSort(pctxt, pMap, pList, compare);
}
