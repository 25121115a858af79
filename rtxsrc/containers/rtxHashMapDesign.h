/**
 * @file rtxHashMapDesign.h
 * The one design of the three hash maps, over the type of the map record. Only their source includes it. Every entry
 * keeps its mixed hash, so that growth hashes nothing again and a search compares keys on equal hashes alone.
 */
#ifndef VELNOR3GPP_RTXSRC_RTX_HASH_MAP_DESIGN_H
#define VELNOR3GPP_RTXSRC_RTX_HASH_MAP_DESIGN_H

#include <type_traits>

#include "velnor3gpp/rtxHashMap.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStatus.h"

// Table lengths. Each is about twice the one before, so that growth moves every entry only a few times in all.
constexpr uint32_t kHashPrimes[] = {53,        97,        193,       389,       769,       1543,     3079,
                                    6151,      12289,     24593,     49157,     98317,     196613,   393241,
                                    786433,    1572869,   3145739,   6291469,   12582917,  25165843, 50331653,
                                    100663319, 201326611, 402653189, 805306457, 1610612741};
constexpr uint32_t kHashPrimeCount = sizeof kHashPrimes / sizeof kHashPrimes[0];

// The ceiling of 0.65 times the table length, in integers.
inline uint32_t rtxHashLoadLimit(uint32_t tableLength)
{
  return static_cast<uint32_t>((uint64_t{tableLength} * 65 + 99) / 100);
}

// Lets every bit of a hash reach the low ones: the bucket is the remainder of a division, and callers' hashes may
// differ in their high bits alone.
inline uint32_t rtxHashMix(uint32_t h)
{
  h += ~(h << 9);
  h ^= (h >> 14) | (h << 18);
  h *= 17;
  h ^= (h >> 10) | (h << 22);
  return h;
}

// What a map record is made of.
template <class Map> using RtxHashEntry = std::remove_pointer_t<std::remove_pointer_t<decltype(Map::table)>>;
template <class Map> using RtxHashKey = decltype(RtxHashEntry<Map>::key);
template <class Map> using RtxHashValue = decltype(RtxHashEntry<Map>::value);

// The heads of `length` empty chains.
template <class Map> RtxHashEntry<Map>** rtxHashNewTable(RtxContext* pctxt, uint32_t length)
{
  const size_t heads = length;
  if (heads > SIZE_MAX / sizeof(void*)) return nullptr; // where a size has 32 bits
  return static_cast<RtxHashEntry<Map>**>(rtxMemHeapAllocZ(&pctxt->pMemHeap, heads * sizeof(void*)));
}

template <class Map>
int rtxHashInit(RtxContext* pctxt, Map* map, uint32_t initialSize, RtxHashFunc hashFunc, RtxHashEqualsFunc equalsFunc)
{
  *map = {};
  uint32_t index = 0;
  while (index < kHashPrimeCount && kHashPrimes[index] <= initialSize) index++;
  // A size beyond the last prime gets the smallest table, which grows as entries come.
  map->primeIndex = index < kHashPrimeCount ? index : 0;
  map->tableLength = kHashPrimes[map->primeIndex];
  map->loadLimit = rtxHashLoadLimit(map->tableLength);
  map->hashFunc = hashFunc;
  map->equalsFunc = equalsFunc;
  map->table = rtxHashNewTable<Map>(pctxt, map->tableLength);
  return map->table != nullptr ? 0 : RTX_E_NO_MEMORY;
}

template <class Map>
Map* rtxHashNew(RtxContext* pctxt, uint32_t initialSize, RtxHashFunc hashFunc, RtxHashEqualsFunc equalsFunc)
{
  Map* map = static_cast<Map*>(rtxMemHeapAlloc(&pctxt->pMemHeap, sizeof(Map)));
  if (map == nullptr || rtxHashInit(pctxt, map, initialSize, hashFunc, equalsFunc) == 0) return map;
  rtxMemHeapFreePtr(&pctxt->pMemHeap, map);
  return nullptr;
}

// Frees entries and table. Keys and values are the caller's.
template <class Map> void rtxHashFree(RtxContext* pctxt, Map* map)
{
  for (uint32_t i = 0; map->table != nullptr && i < map->tableLength; i++) {
    for (RtxHashEntry<Map>*entry = map->table[i], *next; entry != nullptr; entry = next) {
      next = entry->next;
      rtxMemHeapFreePtr(&pctxt->pMemHeap, entry);
    }
  }
  if (map->table != nullptr) rtxMemHeapFreePtr(&pctxt->pMemHeap, map->table);
  *map = {};
}

// A copy of `from` at a chain's end; null when out of memory.
template <class Map> RtxHashEntry<Map>* rtxHashCloneEntry(RtxContext* pctxt, const RtxHashEntry<Map>* from)
{
  using Entry = RtxHashEntry<Map>;
  Entry* entry = static_cast<Entry*>(rtxMemHeapAlloc(&pctxt->pMemHeap, sizeof(Entry)));
  if (entry == nullptr) return nullptr;
  *entry = *from;
  entry->next = nullptr;
  return entry;
}

// The copy keeps table length and bucket order, so that both maps answer alike.
template <class Map> int rtxHashCopy(RtxContext* pctxt, const Map* from, Map* to)
{
  *to = *from;
  to->table = rtxHashNewTable<Map>(pctxt, from->tableLength);
  if (to->table == nullptr) {
    *to = {};
    return RTX_E_NO_MEMORY;
  }
  for (uint32_t i = 0; i < from->tableLength; i++) {
    RtxHashEntry<Map>** tail = &to->table[i];
    for (const RtxHashEntry<Map>* entry = from->table[i]; entry != nullptr; entry = entry->next) {
      *tail = rtxHashCloneEntry<Map>(pctxt, entry);
      if (*tail == nullptr) {
        rtxHashFree(pctxt, to);
        return RTX_E_NO_MEMORY;
      }
      tail = &(*tail)->next;
    }
  }
  return 0;
}

// Takes the next prime and moves all entries. A refusal leaves the table as it is: only the chains grow longer.
template <class Map> void rtxHashGrow(RtxContext* pctxt, Map* map)
{
  if (map->primeIndex + 1 >= kHashPrimeCount) return;
  const uint32_t length = kHashPrimes[map->primeIndex + 1];
  RtxHashEntry<Map>** table = rtxHashNewTable<Map>(pctxt, length);
  if (table == nullptr) return;
  for (uint32_t i = 0; i < map->tableLength; i++) {
    for (RtxHashEntry<Map>*entry = map->table[i], *next; entry != nullptr; entry = next) {
      next = entry->next;
      entry->next = table[entry->hash % length];
      table[entry->hash % length] = entry;
    }
  }
  rtxMemHeapFreePtr(&pctxt->pMemHeap, map->table);
  map->table = table;
  map->tableLength = length;
  map->primeIndex++;
  map->loadLimit = rtxHashLoadLimit(length);
}

// Puts an entry in front of its chain, without a look whether the key is there: the newest of equal keys is found.
template <class Map> int rtxHashInsert(RtxContext* pctxt, Map* map, RtxHashKey<Map> key, RtxHashValue<Map> value)
{
  using Entry = RtxHashEntry<Map>;
  // Grown before the entry is made: the bucket depends on the length.
  if (++map->entryCount > map->loadLimit) rtxHashGrow(pctxt, map);
  Entry* entry = static_cast<Entry*>(rtxMemHeapAlloc(&pctxt->pMemHeap, sizeof(Entry)));
  if (entry == nullptr) {
    map->entryCount--;
    return RTX_E_NO_MEMORY;
  }
  const uint32_t hash = rtxHashMix(map->hashFunc(key));
  Entry** head = &map->table[hash % map->tableLength];
  *entry = {key, value, hash, *head};
  *head = entry;
  return 0;
}

// The link that holds the entry of `key`, or the null link at its bucket's end.
template <class Map> RtxHashEntry<Map>** rtxHashFind(const Map* map, RtxHashKey<Map> key)
{
  const uint32_t hash = rtxHashMix(map->hashFunc(key));
  RtxHashEntry<Map>** link = &map->table[hash % map->tableLength];
  while (*link != nullptr && ((*link)->hash != hash || map->equalsFunc(key, (*link)->key) == 0)) link = &(*link)->next;
  return link;
}

// Replaces the value of a key that is there, otherwise inserts it.
template <class Map> int rtxHashPut(RtxContext* pctxt, Map* map, RtxHashKey<Map> key, RtxHashValue<Map> value)
{
  RtxHashEntry<Map>* entry = *rtxHashFind(map, key);
  if (entry == nullptr) return rtxHashInsert(pctxt, map, key, value);
  entry->value = value;
  return 0;
}

template <class Map> int rtxHashSearch(const Map* map, RtxHashKey<Map> key, RtxHashValue<Map>* pValue)
{
  const RtxHashEntry<Map>* entry = *rtxHashFind(map, key);
  if (entry == nullptr) return 0;
  if (pValue != nullptr) *pValue = entry->value;
  return 1;
}

// Takes one entry out; an older one of an equal key is found from then on.
template <class Map> int rtxHashRemove(RtxContext* pctxt, Map* map, RtxHashKey<Map> key, RtxHashValue<Map>* pValue)
{
  RtxHashEntry<Map>** link = rtxHashFind(map, key);
  RtxHashEntry<Map>* entry = *link;
  if (entry == nullptr) return 0;
  if (pValue != nullptr) *pValue = entry->value;
  *link = entry->next;
  map->entryCount--;
  rtxMemHeapFreePtr(&pctxt->pMemHeap, entry);
  return 1;
}

// Inserts in front of the first entry that the key is not below: the greatest key comes first.
inline RtxDListNode* rtxHashInsertKey(RtxContext* pctxt, RtxDList* pList, void* key, RtxDListCompareFunc compare)
{
  RtxDListNode* at = pList->head;
  while (at != nullptr && compare(key, at->data) < 0) at = at->next;
  return at != nullptr ? rtxDListInsertBefore(pctxt, pList, at, key) : rtxDListAppend(pctxt, pList, key);
}

// The list gets the keys themselves, not copies.
template <class Map> int rtxHashSort(RtxContext* pctxt, const Map* map, RtxDList* pList, RtxDListCompareFunc compare)
{
  for (uint32_t i = 0; i < map->tableLength; i++) {
    for (const RtxHashEntry<Map>* entry = map->table[i]; entry != nullptr; entry = entry->next) {
      void* key = const_cast<void*>(static_cast<const void*>(entry->key));
      if (rtxHashInsertKey(pctxt, pList, key, compare) == nullptr) return RTX_E_NO_MEMORY;
    }
  }
  return 0;
}

#endif
