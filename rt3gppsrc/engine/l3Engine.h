// The engine: the family rule of all protocol types, once. Generated one-line functions call the entries here with a
// descriptor; hand-written coders use the call record and the primitives of l3Decode.h and l3Encode.h.
#ifndef VELNOR3GPP_L3_ENGINE_H
#define VELNOR3GPP_L3_ENGINE_H

#include "rt3gppsrc/engine/l3Types.h"

// Entry of an exported decoder or encoder. `value` points to the value, also for scalars.
int l3Decode(RtxContext* pctxt, const L3Type& type, void* value);
// The same for a type whose decoder takes the count of its bits or entries.
int l3DecodeCounted(RtxContext* pctxt, const L3Type& type, void* value, size_t count);
int l3Encode(RtxContext* pctxt, const L3Type& type, void* value);
// Prints the value under the given name. Always 0.
int l3Print(RtxContext* pctxt, const L3Type& type, const char* name, const void* value);
// Clears presence, selectors, counts and pointers. 0, or -47 for a null record.
int l3Init(const L3Type& type, void* value);
// A new sample value on the context's heap, or null.
void* l3Sample(RtxContext* pctxt, const L3Type& type);
// Makes a PDU record of the given message row: the body of the exported setters. A body that stands in the record
// itself is copied from `message`.
void l3SetBody(const L3Type& pdu, void* record, const L3BodyRow& row, void* message);
// The same, of a row that is a body, for one of its messages.
void l3SetBodyOf(const L3Type& pdu, void* record, unsigned row, unsigned message, void* value);
// The descriptor of a type by its full name, or null.
const L3TypeEntry* l3FindType(const char* fullName);

// Slow mode, the oracle of differential tests: real stacks from the start, and no direct coders. Process-wide, set by
// tests only.
void l3SetSlowMode(bool on);

#endif
