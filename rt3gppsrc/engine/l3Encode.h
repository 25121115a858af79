// The encoding half of the engine: primitives that coders by hand use as well, and the parts of the walk over rows. A
// length stands before its content, whose size is not known yet, so it is written as 0 and patched when the content is
// there; a record that has a member for it gets the number too. Arguments and results are as in l3Decode.h.
#ifndef VELNOR3GPP_L3_ENCODE_H
#define VELNOR3GPP_L3_ENCODE_H

#include "rt3gppsrc/engine/l3Bits.h"
#include "rt3gppsrc/engine/l3Call.h"

// Encodes a value of the type inside a call, by its hand-written coder or by its rows.
int l3EncType(L3Call& call, const L3Type& type, void* value);
// A whole call, without the short way of l3EncAtOnce; `mode` is the least one (l3DecByRows).
int l3EncByRows(RtxContext* pctxt, const L3Type& type, void* value, L3Mode mode);
// The rows of a type, without its hand-written coder.
int l3EncRows(L3Call& call, const L3Type& type, void* record);
// Reports a failure of a hand-written coder of the type: at the row that has the name, or with null at the type's
// block.
int l3EncFailed(L3Call& call, const L3Type& type, const char* name, int status);

// Writes the low 1 to 64 bits of a value under the trace label.
int l3EncBits(L3Call& call, uint64_t value, unsigned bits, const char* label);
// The same under the name of an element of the type. A value that needs more than `bits` bits fails with -16, but only
// in a member that could hold more than that: of a value as wide as its member nothing is cut.
int l3EncNamed(L3Call& call, const L3Type& type, const char* name, uint64_t value, unsigned bits, uint8_t store);
// Writes octets at a cursor at any bit.
int l3EncOctets(L3Call& call, const uint8_t* src, size_t octets);
// Sets the open tail flag: the octets just written run to the end of their container. Nothing can follow them there,
// since a decoder would take it for more of them. The container's length, when it is closed, clears the flag.
void l3OpenTail(L3Call& call);
// Writes a length of `bits` bits over the place that ends at bit position `end`, and leaves the bits beside it alone: a
// length of 4 bits that ends at bit 8 is the lower half of octet 0. The cursor stays.
int l3PatchLength(L3Call& call, size_t end, unsigned bits, uint32_t length);
// Closes the region of a length row whose content began at bit position `start`: fills the last octet, patches the
// length in front of `start`, and stores the number in the record.
int l3EncClose(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, size_t start);

// Parts of the walk. Each encodes the content of one row, whose name has been pushed.
int l3EncMember(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int& running);
int l3EncString(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int& running);
int l3EncList(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record);
int l3EncChoice(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int& running);
int l3EncBody(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record);
int l3EncOptions(L3Call& call, const L3Type& type, uint8_t* record, int running);

#endif
