// Elements that a decoder could not read, kept as they came so that an encoder puts them back (RTX_FLAG_KEEP_ELEMENTS).
// The list hangs on an extension slot of the context and lies on its heap, so it ends with the job; an entry takes some
// eighty octets and those of its element. An entry is found again by the record that it belongs to and the row that it
// stands behind. Nothing is kept from a stream: what has been read of one is gone.
#ifndef VELNOR3GPP_L3_KEPT_H
#define VELNOR3GPP_L3_KEPT_H

#include "rt3gppsrc/engine/l3Call.h"

// Where in the record's octets it stands.
enum L3KeptAt : uint8_t {
  kL3KeptBehind,  // behind the element of the row, or where the anchor is a message, in front of all with an identifier
  kL3KeptInstead, // in place of a mandatory element
  kL3KeptInside,  // at the end of the region of the row, a length
  kL3KeptEnd,     // behind everything
};

// Why it was not read.
enum L3KeptWhy : uint8_t {
  kL3KeptUnknown,
  kL3KeptRepeated,
  kL3KeptOutOfTurn,
  kL3KeptUnreadable, // `status` and `path` tell what is wrong inside
  kL3KeptSurplus,    // no element is known to be there
  kL3KeptPadding,    // octets 0x2B behind everything
};

struct L3Kept {
  L3Kept* next;
  const void* root;   // the value that the call decoded
  const void* record; // what it belongs to
  const void* anchor; // an L3Row, or the L3Message of the record
  const char* path;   // of the failure inside the element, or ""
  size_t position;    // its first bit, from the start of the input
  uint32_t bits;      // with its identifier and length
  uint32_t before;    // of what stands behind everything: the octets of the value before it
  int16_t status;
  uint8_t iei;
  uint8_t ieiBits; // 8, 4 or 0: none
  L3KeptAt at;
  L3KeptWhy why;

  uint8_t* octets() { return reinterpret_cast<uint8_t*>(this + 1); }
  const uint8_t* octets() const { return reinterpret_cast<const uint8_t*>(this + 1); }
};

struct L3KeptList {
  int (*release)(RtxContext* pctxt); // as the extension slots have it; null
  L3Kept* first;
  L3Kept* last;
  size_t count;
};

// What is known of an element before it is kept.
struct L3KeptFacts {
  const void* record;
  const void* anchor;
  size_t position; // where it begins; it ends at the cursor or behind
  uint8_t iei, ieiBits;
  L3KeptAt at;
  L3KeptWhy why;
  int status;
  const char* path;
};

inline L3KeptList* l3KeptOf(const RtxContext* pctxt)
{
  return static_cast<L3KeptList*>(pctxt->extInfo[RTX_CTXT_KEPT_SLOT]);
}

inline bool l3KeepsFlag(const RtxContext* pctxt)
{
  return pctxt->flags & RTX_FLAG_KEEP_ELEMENTS;
}

// Is a value outside the standard's range no reason to refuse an encoding? Decoders take it with a remark.
inline bool l3TakesAll(const L3Call& call)
{
  return l3KeepsFlag(call.pctxt);
}

// Are elements kept in this call?
inline bool l3Keeps(const L3Call& call)
{
  return l3KeepsFlag(call.pctxt) && (!call.pctxt->pStream || call.pctxt->flags & RTX_FLAG_BUFFER_MODE);
}

// Is this a trial that is to be given up where something would have to be kept?
inline bool l3KeepsNothing(const L3Call& call)
{
  return call.onTrial() && !call.probe;
}

// May an encoder have something to put back?
inline bool l3HasKept(const RtxContext* pctxt)
{
  return l3KeptOf(pctxt) && l3KeepsFlag(pctxt);
}

// Keeps the bits from `facts.position` to `end` and moves the cursor there, with an entry in the bit trace for what it
// has not passed yet. 0, or a status with the failure recorded.
int l3Keep(L3Call& call, const L3Type& type, uint16_t line, const L3KeptFacts& facts, size_t end);
// Adds an entry of `bits` bits for a record that no decoder made; null without memory.
L3Kept* l3AddKept(RtxContext* pctxt, const L3KeptFacts& facts, const uint8_t* octets, size_t bits);
// Forgets what a former decoding of the value kept.
void l3ForgetKept(RtxContext* pctxt, const void* root);
// Follows entries of a list that have moved.
void l3MoveKept(RtxContext* pctxt, const void* from, size_t octets, const void* to);
// The entry behind `after` (null: the first) at this place of the record; null if there is none.
const L3Kept* l3NextKept(const RtxContext* pctxt, const L3Kept* after, const void* record, const void* anchor,
                         L3KeptAt at);
inline const L3Kept* l3FirstKept(const RtxContext* pctxt, const void* record, const void* anchor, L3KeptAt at)
{
  return l3HasKept(pctxt) ? l3NextKept(pctxt, nullptr, record, anchor, at) : nullptr;
}
// Writes what stood behind the whole value, which began at an octet. Of padding an encoder has written some by itself.
int l3PutKeptEnd(L3Call& call, const L3Type& type, const void* value, size_t start);
// Writes all that stands at this place of the record.
int l3PutKept(L3Call& call, const L3Type& type, uint16_t line, const void* record, const void* anchor, L3KeptAt at);
// "unknown 0x7A", "unreadable 0x79: -2 at taiList": what stands for it in a text. Its characters, without the end.
inline constexpr size_t kL3KeptName = 256;
size_t l3KeptName(const L3Kept& kept, char (&name)[kL3KeptName]);

// Bits of the length that the row's value begins with, 8 or 16; 0 if it begins otherwise.
unsigned l3LeadingLength(const L3Row& row);

// A decoding that leaves no trace where it fails.
struct L3Probe {
  bool again;   // it was read, but not all that it leaves behind was left: decode it once more
  bool refused; // it cannot be tried
  int status;   // of the failure
  char path[160];
};

enum L3Probed { kL3Read, kL3NotTold, kL3Unreadable, kL3NoMemory };

// Decodes the content of a row from the cursor. kL3Read: done. kL3NotTold: nothing happened, and an ordinary decoding
// tells what there is to tell. kL3Unreadable: `probe` tells why, and nothing else happened. kL3NoMemory: the call ends.
L3Probed l3ProbeMember(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, L3Probe& probe);
// What gives up on trial tells it here.
void l3NoteProbe(L3Call& call, int status);
// Ends a trial whose octets cannot be tried: what is deciphered where it stands.
int l3RefuseTrial(L3Call& call, int status);

#endif
