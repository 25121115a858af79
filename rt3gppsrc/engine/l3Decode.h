// The decoding half of the engine: primitives that coders by hand use as well, and the parts of the walk over rows,
// which stand in several files. Every function returns 0 or a negative status. One that fails leaves its names and
// regions as they are: they tell where the decoding failed, and the context's reset takes them away.
//
// Three words recur in the arguments. `record` is the record that holds the member, not the member. `member` is the
// place of the value in it, `store` its octets. `running` is the status of a string that could not be read whole:
// decoding goes on with it (l3DecodeStrings.cpp), and a list or message asks for it where it has to stop.
#ifndef VELNOR3GPP_L3_DECODE_H
#define VELNOR3GPP_L3_DECODE_H

#include "rt3gppsrc/engine/l3Bits.h"
#include "rt3gppsrc/engine/l3Call.h"

// Decodes a value of the type inside a call, by its hand-written coder or by its rows.
int l3DecType(L3Call& call, const L3Type& type, void* value);
// A whole call, without the short way of l3DecAtOnce. `mode` is the least one: kL3Walk where a trial has been given up,
// so that no other is begun.
int l3DecByRows(RtxContext* pctxt, const L3Type& type, void* value, L3Mode mode);
// The rows of a type, without its hand-written coder: what such a coder calls to do the plain part.
int l3DecRows(L3Call& call, const L3Type& type, void* record);

// Reads a bit that leads something, under the trace label. A shortage is left to the caller to report.
int l3DecBit(L3Call& call, const char* label, uint8_t& bit);
// Reads whole octets from a cursor at any bit to `dst`, which has room for them. A shortage is not reported at this
// level: the status is the caller's to keep (see l3DecodeStrings.cpp).
int l3DecOctets(L3Call& call, uint8_t* dst, size_t octets);
// Length-prefixed labels, in place, to one text with dots: 03 61 62 63 01 64 becomes "abc.d". text[count] is there for
// the ending zero.
void l3JoinLabels(char* text, size_t count);
// Do the octets of a text, or of its labels, come back from the text that is made of them?
bool l3TextComesBack(const uint8_t* octets, size_t count, bool labels);
// Whole octets left in the innermost region or, where none is open, in the buffer. A region may promise more than the
// buffer holds, so nobody allocates by this number alone.
size_t l3RoomOctets(const L3Call& call);

// What a failing decoder owes its record: members that it has not come to hold no pointer, count or selector of an
// earlier use, or a caller who prints or frees the record would follow them. Success costs nothing. l3InitRest does it
// for the rows from a position on, l3InitMember for one row that failed before it stored anything. Where a type may end
// before its last row, numbers behind the end are cleared as well: they are printed.
enum class L3Numbers : uint8_t { leave, clear };
void l3InitRest(const L3Type& type, unsigned from, void* record, L3Numbers numbers = L3Numbers::leave);
void l3InitMember(const L3Row& row, void* record);

// Parts of the walk. Each decodes the content of one row, whose name has been pushed.
int l3DecMember(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int& running);
int l3DecString(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int& running);
int l3DecList(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int& running);
int l3DecChoice(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int& running);
int l3DecBody(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record);
// The optional elements of a message, up to `end`.
int l3DecOptions(L3Call& call, const L3Type& type, uint8_t* record, const L3End& end);
// Passes over unknown elements to the end of the region, reporting a failure at the line.
int l3SkipTail(L3Call& call, const L3Type& type, bool shifts, uint16_t line);

// The same where elements that cannot be read are kept (l3Kept.h); `end` is that of the message.
int l3DecMemberKeeping(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int& running,
                       const L3End& end);
int l3KeepTail(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record);
// Keeps what stands behind the whole value, which began at octet `start` of the buffer.
int l3KeepEnd(L3Call& call, const L3Type& type, void* value, size_t start);
// Bits that the standard's form alone has. No member holds them; they are kept if they are not 0.
int l3DecExtra(L3Call& call, const L3Type& type, const L3Row& row, const void* record);
// Bits from the cursor to the end of a message, or to the end of the buffer if that comes first.
size_t l3BitsBefore(const L3Call& call, const L3End& end);
// The octets of an element that begins with a length of `bits` bits (8 or 16), the length included. Looks ahead only.
// False if they are not all within the next `left` bits.
bool l3SeeLength(const L3Call& call, unsigned bits, size_t left, size_t& octets);

// Octets still unread in the buffer, from the cursor's octet on.
inline size_t l3Unread(const RtxContext* pctxt)
{
  return l3UnreadOctets(pctxt->buffer);
}

// Looks at the next 1 to 24 bits without moving, also on a stream, which it refills. False if they are not all there.
bool l3LookAhead(L3Call& call, unsigned bits, uint32_t& ahead);

// Reads 1 to 64 bits into a member of `store` octets, under the trace label: inline where nothing can be observed,
// through the public bit functions otherwise. A label that begins with 'B' ("BOOLEAN") makes it a single bit.
int l3DecBitsSlow(L3Call& call, uint8_t* member, unsigned bits, uint8_t store, const char* label);
inline int l3DecBits(L3Call& call, uint8_t* member, unsigned bits, uint8_t store, const char* label)
{
  uint64_t value = 0;
  if (!call.plain() || bits > 56 || !l3TakeBits(call.pctxt->buffer, bits, value))
    return l3DecBitsSlow(call, member, bits, store, label);
  l3Store(member, store, value);
  return 0;
}

// Reports a failure of a hand-written coder of the type: at the row that has the name, or with null at the type's
// block.
int l3DecFailed(L3Call& call, const L3Type& type, const char* name, int status);

// l3DecBits under the name of an element: what most rows of a hand-written coder are.
inline int l3DecNamed(L3Call& call, const L3Type& type, const char* name, uint8_t* member, unsigned bits, uint8_t store)
{
  L3Name frame;
  l3PushName(call, frame, name);
  int status = l3DecBits(call, member, bits, store, "INTEGER");
  if (status < 0) return l3DecFailed(call, type, name, status);
  l3PopName(call);
  return status;
}

#endif
