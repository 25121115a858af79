// Parts of a hand-made coder: a type or a row of octets under its element name, which stays pushed on failure. A
// failure is reported for the row of `record` that has this name, as the engine would report it.
#ifndef VELNOR3GPP_NAMED_PARTS_H
#define VELNOR3GPP_NAMED_PARTS_H

#include "rt3gppsrc/engine/l3Decode.h"
#include "rt3gppsrc/engine/l3Encode.h"

// Takes the name off again, or reports the failure.
inline int endDecPart(L3Call& call, const L3Type& record, const char* name, int status)
{
  if (status < 0) return l3DecFailed(call, record, name, status);
  l3PopName(call);
  return status;
}

inline int endEncPart(L3Call& call, const L3Type& record, const char* name, int status)
{
  if (status < 0) return l3EncFailed(call, record, name, status);
  l3PopName(call);
  return status;
}

inline int decPart(L3Call& call, const L3Type& record, const char* name, const L3Type& type, void* part)
{
  L3Name frame;
  l3PushName(call, frame, name);
  return endDecPart(call, record, name, l3DecType(call, type, part));
}

inline int encPart(L3Call& call, const L3Type& record, const char* name, const L3Type& type, void* part)
{
  L3Name frame;
  l3PushName(call, frame, name);
  return endEncPart(call, record, name, l3EncType(call, type, part));
}

template <size_t Count> int decFixed(L3Call& call, const L3Type& record, const char* name, uint8_t (&octets)[Count])
{
  L3Name frame;
  l3PushName(call, frame, name);
  return endDecPart(call, record, name, l3DecOctets(call, octets, Count));
}

template <size_t Count>
int encFixed(L3Call& call, const L3Type& record, const char* name, const uint8_t (&octets)[Count])
{
  L3Name frame;
  l3PushName(call, frame, name);
  return endEncPart(call, record, name, l3EncOctets(call, octets, Count));
}

#endif
