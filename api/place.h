// A node of the walk (visit.cpp) with what the library knows of it besides. Every node that a visitor gets is the first
// member of a Place, so that code inside the library may look at the rest: redacting at `hidden`, `row` and `member`,
// kept elements at types and values, positions at `pushed`. Callers of the library see the node alone. It lives during
// the visit.
#ifndef VELNOR3GPP_API_PLACE_H
#define VELNOR3GPP_API_PLACE_H

#include "velnor3gpp/velnor3gpp.h"

struct L3Row;
struct L3Type;

// A flag of velnor3gpp_visit besides the public ones: `row` and `hidden` are told, which other visitors need not pay
// for.
constexpr unsigned kVisitPersons = 1U << 31;

struct Place {
  velnor3gpp_Node node;
  const char* pushed;    // its name in element paths
  uint32_t pathEnd;      // with positions: the length of its path
  const uint8_t* member; // of a number, its octets in the record
  uint8_t store;         // how many
  const L3Type* type;    // or null
  const uint8_t* record; // of a record
  const L3Type* bare;    // the bare type that is told as this node, or null
  const uint8_t* value;  // of the bare type
  const L3Row* row;      // with kVisitPersons: that told it, or null
  bool hidden;           // with kVisitPersons: it lies in something that tells of a person
};

// Only for nodes that the walk has made; a caller's own node is no Place.
inline const Place& placeOf(const velnor3gpp_Node* node)
{
  return *reinterpret_cast<const Place*>(node);
}

#endif
