// What hand-written coders write most often: a type, or a few octets, under its element name. All coders of src2 use
// these functions, so that their errors look like those of the rows: the name is pushed before the part is coded and
// taken off behind it, it stays pushed on failure, because it is then part of the error's path, and the failure is
// reported for the row of `record` that has this name. `record` is the type under the coder, `type` that of the part.
// Values belong to the caller's record. Nothing here knows a type.
#ifndef VELNOR3GPP_NAMED_PARTS_H
#define VELNOR3GPP_NAMED_PARTS_H

#include "rt3gppsrc/engine/l3Decode.h"
#include "rt3gppsrc/engine/l3Encode.h"

// Ends a part whose name has been pushed: takes the name off, or reports the failure for the row.
inline int endDecPart(L3Call& call, const L3Type& record, const char* name, int status)
{
  if (status < 0) return l3DecFailed(call, record, name, status);
  l3PopName(call);
  return status;
}

// The same for an encoder, whose failures name the module with `Enc` behind it.
inline int endEncPart(L3Call& call, const L3Type& record, const char* name, int status)
{
  if (status < 0) return l3EncFailed(call, record, name, status);
  l3PopName(call);
  return status;
}

// Decodes one part by its own coder; `part` is the member of the record.
inline int decPart(L3Call& call, const L3Type& record, const char* name, const L3Type& type, void* part)
{
  L3Name frame;
  l3PushName(call, frame, name);
  return endDecPart(call, record, name, l3DecType(call, type, part));
}

// Encodes one part. `part` is not const: encoders store lengths and counts in the record that they write.
inline int encPart(L3Call& call, const L3Type& record, const char* name, const L3Type& type, void* part)
{
  L3Name frame;
  l3PushName(call, frame, name);
  return endEncPart(call, record, name, l3EncType(call, type, part));
}

// Octets of a fixed count, such as the four of a TMSI, into an array of the record.
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
