// The decoding half of the engine: primitives for hand-written coders and the walk over rows. Every function returns
// 0 or a negative status; on failure names and regions stay, for they are the message.
#ifndef VELNOR3GPP_L3_DECODE_H
#define VELNOR3GPP_L3_DECODE_H

#include "rt3gppsrc/engine/l3Bits.h"
#include "rt3gppsrc/engine/l3Call.h"

// Decodes a value of the type inside a call.
int l3DecType(L3Call& call, const L3Type& type, void* value);
// A whole call that is not done at once, from this mode on.
int l3DecByRows(RtxContext* pctxt, const L3Type& type, void* value, L3Mode mode);
// The rows of a type, without its hand-written coder: what such a coder calls to do the plain part.
int l3DecRows(L3Call& call, const L3Type& type, void* record);

// Reads a bit that leads something. A shortage is left to the caller to report.
int l3DecBit(L3Call& call, const char* label, uint8_t& bit);
// Reads whole octets from a cursor at any bit. A shortage is not reported at this level: the status is the caller's to
// keep (see l3DecodeStrings.cpp).
int l3DecOctets(L3Call& call, uint8_t* dst, size_t octets);
// Length-prefixed labels, in place, to one text with dots; text[count] is there for the end.
void l3JoinLabels(char* text, size_t count);
// Octets left to read: those of the region, or of the buffer; never more than the buffer holds are worth storing.
size_t l3RoomOctets(const L3Call& call);

// What a failing decoder owes its record: members that it has not come to hold no pointer, count or selector of earlier
// use. The rows from a position on, and one row that failed before it stored anything. Costs nothing on success.
// Where a type may end before its last row, numbers behind the end are 0: they are printed.
enum class L3Numbers : uint8_t { leave, clear };
void l3InitRest(const L3Type& type, unsigned from, void* record, L3Numbers numbers = L3Numbers::leave);
void l3InitMember(const L3Row& row, void* record);

// Parts of the walk, in files of their own.
int l3DecMember(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int& running);
int l3DecString(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int& running);
int l3DecList(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int& running);
int l3DecChoice(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int& running);
int l3DecBody(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record);
int l3DecOptions(L3Call& call, const L3Type& type, uint8_t* record, const L3End& end);
// Passes over unknown elements to the end of the region, reporting a failure at the line.
int l3SkipTail(L3Call& call, const L3Type& type, bool shifts, uint16_t line);

// The same for what is to be kept; and octets behind the whole value.
int l3KeepTail(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record);
int l3KeepEnd(L3Call& call, const L3Type& type, void* value, size_t start);
// Bits of the standard's form that no member keeps.
int l3DecExtra(L3Call& call, const L3Type& type, const L3Row& row, const void* record);
// Bits from the cursor to the end of a message, within the buffer.
size_t l3BitsBefore(const L3Call& call, const L3End& end);
// The octets of an element that a length of 8 or 16 bits begins, with that length; false where they are not all there.
bool l3SeeLength(const L3Call& call, unsigned bits, size_t left, size_t& octets);

// Octets still unread in the buffer, from the cursor's octet on.
inline size_t l3Unread(const RtxContext* pctxt)
{
  return l3UnreadOctets(pctxt->buffer);
}

// Looks at the next 1 to 24 bits without a step, also on a stream. False if they are not all there.
bool l3LookAhead(L3Call& call, unsigned bits, uint32_t& ahead);

// Reads 1 to 64 bits into a member of `store` octets, under the trace label: inline where nothing can be observed,
// through the public bit functions otherwise.
int l3DecBitsSlow(L3Call& call, uint8_t* member, unsigned bits, uint8_t store, const char* label);
inline int l3DecBits(L3Call& call, uint8_t* member, unsigned bits, uint8_t store, const char* label)
{
  uint64_t value = 0;
  if (!call.plain() || bits > 56 || !l3TakeBits(call.pctxt->buffer, bits, value))
    return l3DecBitsSlow(call, member, bits, store, label);
  l3Store(member, store, value);
  return 0;
}

// A failure of a hand-written coder of the type: of the row that has the name, or with null of the type itself.
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
