// The places of a session's record that kept elements can belong to, by their path and by their address: callers name a
// place by the one, the engine by the other. One walk over the record lists them, so that neither many places nor many
// kept elements make a search long. The list lies on the job's heap.
#ifndef VELNOR3GPP_API_KEPT_PLACES_H
#define VELNOR3GPP_API_KEPT_PLACES_H

#include "api/place.h"
#include "api/session.h"

// A node of the walk, a record or what records lie in. A bare type that is told as its only element is a place of its
// own, which that element lies in under the same path.
struct KeptPlace {
  uint64_t hash;         // of its path
  const L3Type* type;    // of the record or bare type, or null: a list or choice
  const uint8_t* record; // its value, or null
  const char* name;      // in what it lies in; null: an entry, the whole, or the path of that
  uint32_t nameLength;
  uint32_t index;  // of an entry
  uint32_t around; // the place it lies in; of the whole, itself
  uint32_t next;   // one of the same chain, before this one, or kNone
  bool bare;
  bool samePath; // as what it lies in

  static constexpr uint32_t kNone = UINT32_MAX;
};

struct KeptPlaces {
  KeptPlace* all; // in the order of the walk
  size_t count, capacity;
  uint32_t open;    // the innermost one that has begun
  uint32_t* chains; // by the hash of the path: the last one of each chain
  size_t chainCount;
  uint32_t* byAddress; // those with a value, in the order of its address
  size_t valueCount;
};

// The places of the session's record; null without memory.
KeptPlaces* keptPlacesOf(velnor3gpp_Session& session);
// The last one that has the path, a bare type or not; or null.
const KeptPlace* placeByPath(const KeptPlaces& places, const char* path, bool bare);
// The one whose value begins at or closest before `address`, or null.
const KeptPlace* placeAtOrBefore(const KeptPlaces& places, const void* address);
// What the place lies in, or null.
const KeptPlace* placeAround(const KeptPlaces& places, const KeptPlace& place);
// Writes the path as velnor3gpp_nodePath does.
size_t placePath(const KeptPlaces& places, const KeptPlace& place, char* text, size_t room);

#endif
