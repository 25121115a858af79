// The hash maps from pointers to pointers and from strings to integers: one shape under three families of exported
// names.
#include "velnor3gpp/rtxHashMap.h"

#include <string.h>

#include "rtxsrc/containers/rtxHashMapDesign.h"
#include "velnor3gpp/rtxHashMapStr2Int.h"
#include "velnor3gpp/rtxHashMapStr2UInt.h"

// Both halves of the address count. That its low bits are mostly 0 does not matter: rtxHashMix spreads them.
static uint32_t hashAddress(const void* key)
{
  const uint64_t address = reinterpret_cast<uintptr_t>(key);
  return static_cast<uint32_t>(address ^ (address >> 32));
}

static int equalAddresses(const void* a, const void* b)
{
  return a == b;
}

// h * 33 + octet from 5381 on. It is exported, so its values are part of the interface.
uint32_t rtxUTF8StrHash(const void* key)
{
  uint32_t h = 5381;
  for (const uint8_t* at = static_cast<const uint8_t*>(key); *at != 0; at++) h = h * 33 + *at;
  return h;
}

static int equalStrings(const void* a, const void* b)
{
  return strcmp(static_cast<const char*>(a), static_cast<const char*>(b)) == 0;
}

// A macro, since nothing else puts exported names together. `hash` and `equals` serve a map that is given none.
// NOLINTBEGIN(bugprone-macro-parentheses): types take no parentheses
#define EXPORT_HASH_MAP(name, Map, Key, Value, hash, equals)                                                           \
  int name##Init(RtxContext* pctxt, Map* pMap, uint32_t size, RtxHashFunc hashFunc, RtxHashEqualsFunc equalsFunc)      \
  {                                                                                                                    \
    return rtxHashInit(pctxt, pMap, size, hashFunc ? hashFunc : (hash), equalsFunc ? equalsFunc : (equals));           \
  }                                                                                                                    \
  Map* name##New(RtxContext* pctxt, uint32_t size, RtxHashFunc hashFunc, RtxHashEqualsFunc equalsFunc)                 \
  {                                                                                                                    \
    return rtxHashNew<Map>(pctxt, size, hashFunc ? hashFunc : (hash), equalsFunc ? equalsFunc : (equals));             \
  }                                                                                                                    \
  int name##Copy(RtxContext* pctxt, const Map* pSrc, Map* pDest)                                                       \
  {                                                                                                                    \
    return rtxHashCopy(pctxt, pSrc, pDest);                                                                            \
  }                                                                                                                    \
  void name##Free(RtxContext* pctxt, Map* pMap)                                                                        \
  {                                                                                                                    \
    rtxHashFree(pctxt, pMap);                                                                                          \
  }                                                                                                                    \
  int name##Insert(RtxContext* pctxt, Map* pMap, Key key, Value value)                                                 \
  {                                                                                                                    \
    return rtxHashInsert(pctxt, pMap, key, value);                                                                     \
  }                                                                                                                    \
  int name##Put(RtxContext* pctxt, Map* pMap, Key key, Value value)                                                    \
  {                                                                                                                    \
    return rtxHashPut(pctxt, pMap, key, value);                                                                        \
  }                                                                                                                    \
  int name##Search(const Map* pMap, Key key, Value* pValue)                                                            \
  {                                                                                                                    \
    return rtxHashSearch(pMap, key, pValue);                                                                           \
  }                                                                                                                    \
  int name##Remove(RtxContext* pctxt, Map* pMap, Key key, Value* pValue)                                               \
  {                                                                                                                    \
    return rtxHashRemove(pctxt, pMap, key, pValue);                                                                    \
  }                                                                                                                    \
  int name##Sort(RtxContext* pctxt, const Map* pMap, RtxDList* pList, RtxDListCompareFunc compare)                     \
  {                                                                                                                    \
    return rtxHashSort(pctxt, pMap, pList, compare);                                                                   \
  }

// NOLINTEND(bugprone-macro-parentheses)

using Pointer = void*;
EXPORT_HASH_MAP(rtxHashMap, RtxHashMap, Pointer, Pointer, hashAddress, equalAddresses)
EXPORT_HASH_MAP(rtxHashMapStr2Int, RtxHashMapStr2Int, const char*, int32_t, rtxUTF8StrHash, equalStrings)
EXPORT_HASH_MAP(rtxHashMapStr2UInt, RtxHashMapStr2UInt, const char*, uint32_t, rtxUTF8StrHash, equalStrings)
