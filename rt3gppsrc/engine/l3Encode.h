// The encoding half of the engine: primitives for hand-written coders and the walk over rows. Lengths are written as 0,
// patched when the content is known, and stored in the record.
#ifndef VELNOR3GPP_L3_ENCODE_H
#define VELNOR3GPP_L3_ENCODE_H

#include "rt3gppsrc/engine/l3Bits.h"
#include "rt3gppsrc/engine/l3Call.h"

// Encodes a value of the type inside a call; `value` points to it, also for scalars.
int l3EncType(L3Call& call, const L3Type& type, void* value);
// A whole call that is not done at once, from this mode on.
int l3EncByRows(RtxContext* pctxt, const L3Type& type, void* value, L3Mode mode);
// The rows of a type, without its hand-written coder.
int l3EncRows(L3Call& call, const L3Type& type, void* record);
// A failure of a hand-written coder of the type: of the row that has the name, or with null of the type itself.
int l3EncFailed(L3Call& call, const L3Type& type, const char* name, int status);

// Writes the low 1 to 64 bits of a value under the trace label.
int l3EncBits(L3Call& call, uint64_t value, unsigned bits, const char* label);
// The same under the name of an element of the type, with the range test of a field narrower than its member.
int l3EncNamed(L3Call& call, const L3Type& type, const char* name, uint64_t value, unsigned bits, uint8_t store);
int l3EncOctets(L3Call& call, const uint8_t* src, size_t octets);
// Sets the open tail flag: the octets just written run to the end of their container.
void l3OpenTail(L3Call& call);
// Writes a length of `bits` bits over the place that ends at the bit position `end`, without touching its neighbours.
int l3PatchLength(L3Call& call, size_t end, unsigned bits, uint32_t length);
// Closes a value of a length of `bits` bits that began at the bit position `start`: alignment, length, patch.
int l3EncClose(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, size_t start);

// Parts of the walk, in files of their own.
int l3EncMember(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int& running);
int l3EncString(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int& running);
int l3EncList(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record);
int l3EncChoice(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int& running);
int l3EncBody(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record);
int l3EncOptions(L3Call& call, const L3Type& type, uint8_t* record, int running);

#endif
