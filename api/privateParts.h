// Which octets of a value that is private in part are: an address in front of its mask, the content of a protocol
// configuration option. Nothing here changes them.
#ifndef VELNOR3GPP_API_PRIVATEPARTS_H
#define VELNOR3GPP_API_PRIVATEPARTS_H

#include "api/place.h"
#include "rt3gppsrc/engine/l3Types.h"

// The walk shows values as constants, because most visitors only read. The record belongs to the session, so writing to
// it is sound.
inline uint8_t* writable(const uint8_t* data)
{
  return const_cast<uint8_t*>(data);
}

// What is done with a part: octets, digits two in an octet, a message. A null one is not called.
struct PartActions {
  using Action = void (*)(uint8_t* octets, size_t count, void* arg);
  Action octets, digits, message;
  void* arg = nullptr;
};

// How private the value is, by its own row and what is around it.
L3Privacy privacyOf(const Place& place);
// Calls for each private part of a node of octets; `option` is the number told before it (kL3PrivateOption).
void eachPrivatePart(const Place& place, uint64_t option, const PartActions& actions);

#endif
