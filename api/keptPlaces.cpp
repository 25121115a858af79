// The list of places (keptPlaces.h): a visitor fills it, then chains by the hash of the path and an order by address
// are made. A place takes some sixty octets of the job's heap.
#include "api/keptPlaces.h"

#include <string.h>

#include <algorithm>
#include <functional>

// The walk nests no deeper; each node can be two places.
static constexpr size_t kMaxDepth = 2 * 66;
static constexpr size_t kFirstCapacity = 32;

// FNV-1a, which goes on from where the path around ends.
static constexpr uint64_t kEmptyHash = 0xCBF29CE484222325ULL;
static uint64_t hashOn(uint64_t hash, const char* text, size_t count)
{
  for (size_t i = 0; i < count; ++i) hash = (hash ^ static_cast<uint8_t>(text[i])) * 0x100000001B3ULL;
  return hash;
}

// The hash of what velnor3gpp_nodePath writes: ".name" or "[2]" behind the path around.
static uint64_t hashOf(const KeptPlace& around, const velnor3gpp_Node& node)
{
  if (!node.parent) return kEmptyHash;
  if (node.name)
    return hashOn(around.hash == kEmptyHash ? kEmptyHash : hashOn(around.hash, ".", 1), node.name, node.nameLength);
  velnor3gpp_Node whole = {}, entry = {};
  entry.parent = &whole;
  entry.index = node.index;
  char text[16];
  return hashOn(around.hash, text, velnor3gpp_nodePath(&entry, text, sizeof text));
}

namespace {

struct Builder {
  RtxMemHeap** heap;
  KeptPlaces& places;
  const velnor3gpp_Session& session;
};

} // namespace

static bool grow(Builder& builder)
{
  KeptPlaces& places = builder.places;
  size_t capacity = places.capacity ? places.capacity * 2 : kFirstCapacity;
  void* memory = places.all ? rtxMemHeapRealloc(builder.heap, places.all, capacity * sizeof(KeptPlace))
                            : rtxMemHeapAlloc(builder.heap, capacity * sizeof(KeptPlace));
  if (!memory) return false;
  places.all = static_cast<KeptPlace*>(memory);
  places.capacity = capacity;
  return true;
}

// The new place is the innermost one until `leave`.
static int add(Builder& builder, const Place& node, const L3Type* type, const uint8_t* record, bool bare, bool samePath)
{
  KeptPlaces& places = builder.places;
  if (places.count == places.capacity && !grow(builder)) return RTX_E_NO_MEMORY;
  uint32_t number = static_cast<uint32_t>(places.count++);
  KeptPlace& place = places.all[number];
  const KeptPlace& around = places.all[places.open];
  uint64_t hash = samePath ? around.hash : hashOf(around, node.node);
  place = {hash,
           type,
           record,
           samePath ? nullptr : node.node.name,
           samePath ? 0 : node.node.nameLength,
           node.node.index,
           places.open,
           KeptPlace::kNone,
           bare,
           samePath};
  places.open = number;
  return 0;
}

static void leave(KeptPlaces& places)
{
  places.open = places.all[places.open].around;
}

// A value is a place if it is a bare type, or the whole: a type without members. It has no end of its own in the walk.
static int listPlace(const velnor3gpp_Node* node, void* arg)
{
  Builder& builder = *static_cast<Builder*>(arg);
  const Place& place = placeOf(node);
  bool value = node->step == VELNOR3GPP_VALUE, ends = node->step == VELNOR3GPP_LEAVE;
  int status = 0;
  if (place.bare && !ends) status = add(builder, place, place.bare, place.value, true, false);
  if (!value && !ends && status >= 0)
    status = add(builder, place, place.record ? place.type : nullptr, place.record, false, place.bare);
  bool whole = value && !place.bare && !node->parent;
  if (whole) status = add(builder, place, &typeOf(*builder.session.known), builder.session.record, false, false);
  if (status < 0) return status;
  if (ends) leave(builder.places);
  if (place.bare && (ends || value)) leave(builder.places);
  return 0;
}

// Chains by path, and the order of addresses.
static bool makeChains(Builder& builder)
{
  KeptPlaces& places = builder.places;
  places.chainCount = 2;
  while (places.chainCount < places.count) places.chainCount *= 2;
  size_t octets = (places.chainCount + places.count) * sizeof(uint32_t);
  places.chains = static_cast<uint32_t*>(rtxMemHeapAlloc(builder.heap, octets));
  if (!places.chains) return false;
  places.byAddress = places.chains + places.chainCount;
  std::fill_n(places.chains, places.chainCount, KeptPlace::kNone);
  for (uint32_t i = 0; i < places.count; ++i) {
    uint32_t& chain = places.chains[places.all[i].hash & (places.chainCount - 1)];
    places.all[i].next = chain;
    chain = i;
    if (places.all[i].record) places.byAddress[places.valueCount++] = i;
  }
  // A record and its first member can begin in the same place: what lies inside comes behind.
  std::sort(places.byAddress, places.byAddress + places.valueCount, [&places](uint32_t a, uint32_t b) {
    const uint8_t *first = places.all[a].record, *second = places.all[b].record;
    return first == second ? a < b : std::less<>()(first, second);
  });
  return true;
}

KeptPlaces* keptPlacesOf(velnor3gpp_Session& session)
{
  if (session.keptPlaces) return session.keptPlaces;
  RtxMemHeap** heap = &session.ctxt.pMemHeap;
  KeptPlaces* places = static_cast<KeptPlaces*>(rtxMemHeapAllocZ(heap, sizeof(KeptPlaces)));
  if (!places) return nullptr;
  Builder builder = {heap, *places, session};
  if (velnor3gpp_visit(&session, 0, listPlace, &builder) == RTX_E_NO_MEMORY || !makeChains(builder)) return nullptr;
  session.keptPlaces = places;
  return places;
}

const KeptPlace* placeByPath(const KeptPlaces& places, const char* path, bool bare)
{
  size_t length = strlen(path);
  uint64_t hash = hashOn(kEmptyHash, path, length);
  char text[1024];
  for (uint32_t i = places.chains[hash & (places.chainCount - 1)]; i != KeptPlace::kNone; i = places.all[i].next) {
    const KeptPlace& place = places.all[i];
    if (place.hash != hash || !place.type || place.bare != bare || length >= sizeof text) continue;
    if (placePath(places, place, text, sizeof text) == length && memcmp(text, path, length) == 0) return &place;
  }
  return nullptr;
}

const KeptPlace* placeAtOrBefore(const KeptPlaces& places, const void* address)
{
  const uint32_t *begin = places.byAddress, *end = begin + places.valueCount;
  const uint32_t* behind = std::upper_bound(begin, end, address, [&places](const void* at, uint32_t i) {
    return std::less<>()(at, static_cast<const void*>(places.all[i].record));
  });
  return behind == begin ? nullptr : &places.all[behind[-1]];
}

const KeptPlace* placeAround(const KeptPlaces& places, const KeptPlace& place)
{
  const KeptPlace* around = &places.all[place.around];
  return around == &place ? nullptr : around;
}

// The names of all that the place lies in, as nodes.
size_t placePath(const KeptPlaces& places, const KeptPlace& place, char* text, size_t room)
{
  velnor3gpp_Node nodes[kMaxDepth];
  size_t first = kMaxDepth;
  for (const KeptPlace* at = &place; at && first; at = placeAround(places, *at)) {
    if (at->samePath) continue;
    velnor3gpp_Node& node = nodes[--first];
    node = {};
    node.name = at->name;
    node.nameLength = at->nameLength;
    node.index = at->index;
    if (first + 1 < kMaxDepth) nodes[first + 1].parent = &node;
  }
  return velnor3gpp_nodePath(&nodes[kMaxDepth - 1], text, room);
}
