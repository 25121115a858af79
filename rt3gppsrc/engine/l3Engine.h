// The engine's face: what generated code, tools and tests call. The rule that all protocol types follow stands once, in
// this directory; a type is a descriptor (l3Types.h), and each exported function of a type is one line that calls an
// entry here with it. Coders by hand (src2) do not enter here: they run inside a call, with the call record (l3Call.h)
// and the primitives of l3Decode.h and l3Encode.h.
//
// The files, in the order in which a decoding meets them: l3Direct (the fast way for what is plainly right),
// l3DecodeRows (the walk), l3DecodeParts and l3DecodeStrings (what a row can be), l3DecodeMessage (optional elements),
// l3DecodePrimitives (fields), l3Call (names, regions, errors). Encoding mirrors it. l3Kept keeps what cannot be read,
// for l3DecodeKeeping and l3DecodeMessage; l3Unusual what was read and would come back otherwise. l3Padding knows rest
// octets; l3Print, l3Init and l3Sample walk the same rows for their own ends.
#ifndef VELNOR3GPP_L3_ENGINE_H
#define VELNOR3GPP_L3_ENGINE_H

#include "rt3gppsrc/engine/l3Types.h"

// Entry of an exported decoder: decodes from the context's cursor. `value` points to the value, also for scalars.
// Returns 0 or a negative status; with RTX_E_ENUM_VALUE and the like an error record tells module, line and element
// path. Strings and lists of the value lie on the context's heap.
int l3Decode(RtxContext* pctxt, const L3Type& type, void* value);
// The same for a type whose decoder takes the count of its bits or entries.
int l3DecodeCounted(RtxContext* pctxt, const L3Type& type, void* value, size_t count);
// Entry of an exported encoder: writes the value at the context's cursor. The record is not const, because lengths that
// it keeps are stored in it.
int l3Encode(RtxContext* pctxt, const L3Type& type, void* value);
// Prints the value to the context's stream under the given name. Always 0, so that a damaged record prints what it can.
int l3Print(RtxContext* pctxt, const L3Type& type, const char* name, const void* value);
// Clears presence, selectors, counts and pointers; numbers stay as they are. 0, or -47 for a null record.
int l3Init(const L3Type& type, void* value);
// A new sample value on the context's heap that encodes and decodes to itself, or null without memory.
void* l3Sample(RtxContext* pctxt, const L3Type& type);
// Makes a PDU record hold the given message: sets discriminator, message type and `t`, and puts `message` into `u`.
// This is the body of the exported setters. A body that stands in the record itself is copied from `message`; otherwise
// the record keeps the pointer, and the caller keeps the message alive.
void l3SetBody(const L3Type& pdu, void* record, const L3BodyRow& row, void* message);
// The same by numbers: the row of the form that is a body, and the message among its rows.
void l3SetBodyOf(const L3Type& pdu, void* record, unsigned row, unsigned message, void* value);
// The type of a full name ("TS24501IE_SNSSAI"), or null. Not part of the shared library (l3FindType.cpp).
const L3TypeEntry* l3FindType(const char* fullName);

// Slow mode, the oracle of the differential tests: real stacks from the start, and no direct coders. It is process-wide
// and not synchronised, so tests alone set it, between calls.
void l3SetSlowMode(bool on);

#endif
