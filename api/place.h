// A node of the walk with what the library knows of it besides.
#ifndef VELNOR3GPP_API_PLACE_H
#define VELNOR3GPP_API_PLACE_H

#include "velnor3gpp/velnor3gpp.h"

struct L3Type;

struct Place {
  velnor3gpp_Node node;
  const char* pushed;    // its name in element paths
  const uint8_t* member; // of a number, its octets in the record
  uint8_t store;         // how many
  const L3Type* type;    // or null
  const uint8_t* record; // of a record
  bool hidden;           // it lies in something that tells of a person
};

inline const Place& placeOf(const velnor3gpp_Node* node)
{
  return *reinterpret_cast<const Place*>(node);
}

#endif
