// Elements that a decoder could not read, kept as they came so that an encoder puts them back (RTX_FLAG_KEEP_ELEMENTS):
// who changes one field of a message and sends it on must not lose what the library does not know.
//
// The list hangs on an extension slot of the context and lies on its heap, so it ends with the job; an entry takes some
// hundred octets and those of its element. An entry is found again by the address of the record that it belongs to and
// the row that it stands behind, so it does not follow a record that a caller copies. Printers, walks and encoders ask
// at each row of each record; in a long list chains by the record's address answer them. Nothing is kept from a stream:
// what has been read of one is gone.
#ifndef VELNOR3GPP_L3_KEPT_H
#define VELNOR3GPP_L3_KEPT_H

#include "rt3gppsrc/engine/l3Call.h"

// Where it stands in the octets of its record.
enum L3KeptAt : uint8_t {
  // Behind the element of the row. Where the anchor is a message: in front of all elements with an identifier.
  kL3KeptBehind,
  // In place of a mandatory element.
  kL3KeptInstead,
  // At the end of the region of the row, which is a length.
  kL3KeptInside,
  // Behind the whole value.
  kL3KeptEnd,
  // Over what an encoder writes for the element of the row, behind its identifier.
  kL3KeptOver,
  // Over what an encoder writes for the whole value.
  kL3KeptOverAll,
};

// Why it was not read. The words of l3KeptName stand in this order.
enum L3KeptWhy : uint8_t {
  // No element of the message has this identifier (TS 24.008, 8.6.1).
  kL3KeptUnknown,
  // The element is there already; the first one counts (TS 24.008, 8.6.3).
  kL3KeptRepeated,
  // An element behind it in the message's table has been read (TS 24.008, 8.6.2).
  kL3KeptOutOfTurn,
  // Its content is wrong; `status` and `path` tell how.
  kL3KeptUnreadable,
  // No element is known to be there.
  kL3KeptSurplus,
  // Octets 2B behind everything.
  kL3KeptPadding,
  // It was read, but holds bits that no member of the record holds.
  kL3KeptUnusual,
};

// One entry; its octets stand behind it in the same block, then the regular ones, then the path, if there is one.
struct L3Kept {
  L3Kept* next;
  // The neighbours in its chain, if the list has chains.
  L3Kept *nextInChain, *previousInChain;
  // The value that the call decoded.
  const void* root;
  // The record it belongs to.
  const void* record;
  // What it stands at: an L3Row, the L3Message of the record, or behind everything the L3Type.
  const void* anchor;
  // Path of the failure inside the element, or "".
  const char* path;
  // Its first bit, from the start of the input.
  size_t position;
  // Its length, with identifier and length octets.
  uint32_t bits;
  // kL3KeptEnd: the octets of the value before it.
  uint32_t before;
  // kL3KeptOver, kL3KeptOverAll: how many octets an encoder writes by itself.
  uint32_t regularCount;
  // Of the failure, or 0.
  int16_t status;
  // The identifier.
  uint8_t iei;
  // 8, 4, or 0 if it has none.
  uint8_t ieiBits;
  L3KeptAt at;
  L3KeptWhy why;
  // An encoder writes nothing by itself, since it refuses the value.
  bool refused;

  uint8_t* octets() { return reinterpret_cast<uint8_t*>(this + 1); }
  const uint8_t* octets() const { return reinterpret_cast<const uint8_t*>(this + 1); }
  const uint8_t* regular() const { return octets() + (bits + 7) / 8; }
};

// Entries whose records have addresses in common, in the order of the list.
struct L3KeptChain {
  L3Kept *first, *last;
};

// The entries of a context, in the order of the input.
struct L3KeptList {
  // The first member of whatever hangs on an extension slot: a function that releases it, or null. Here it is null,
  // since the heap's end releases the list.
  int (*release)(RtxContext* pctxt);
  L3Kept* first;
  L3Kept* last;
  size_t count;
  // A power of two of chains, or none in a short list and without memory.
  L3KeptChain* chains;
  size_t chainCount;
};

// What is known of an element before it is kept; the members are those of L3Kept.
struct L3KeptFacts {
  const void* record;
  const void* anchor;
  // Where it begins. It ends at the cursor or behind it.
  size_t position;
  uint8_t iei, ieiBits;
  L3KeptAt at;
  L3KeptWhy why;
  int status;
  const char* path;
  // kL3KeptOver, kL3KeptOverAll: what an encoder writes by itself; null if it refuses the value.
  const uint8_t* regular = nullptr;
  size_t regularCount = 0;
};

// The context's list, or null if nothing has been kept.
inline L3KeptList* l3KeptOf(const RtxContext* pctxt)
{
  return static_cast<L3KeptList*>(pctxt->extInfo[RTX_CTXT_KEPT_SLOT]);
}

// Has the caller asked for it?
inline bool l3KeepsFlag(const RtxContext* pctxt)
{
  return pctxt->flags & RTX_FLAG_KEEP_ELEMENTS;
}

// May a value outside the standard's range be encoded? A decoder takes it with a remark, so who keeps everything wants
// it back.
inline bool l3TakesAll(const L3Call& call)
{
  return l3KeepsFlag(call.pctxt);
}

// Are elements kept in this call?
inline bool l3Keeps(const L3Call& call)
{
  return l3KeepsFlag(call.pctxt) && (!call.pctxt->pStream || call.pctxt->flags & RTX_FLAG_BUFFER_MODE);
}

// Is this a trial of a direct coder, which has to be given up where something would have to be kept? A probe can keep.
inline bool l3KeepsNothing(const L3Call& call)
{
  return call.onTrial() && !call.probe;
}

// May an encoder have something to put back?
inline bool l3HasKept(const RtxContext* pctxt)
{
  const L3KeptList* list = l3KeptOf(pctxt);
  return list && list->count && l3KeepsFlag(pctxt); // a list stays, empty, where a doubt came to nothing
}

// Keeps the bits from `facts.position` to `end` and moves the cursor to `end`, with an entry in the bit trace for what
// the cursor has not passed yet. Returns 0, or a status with the failure recorded.
int l3Keep(L3Call& call, const L3Type& type, uint16_t line, const L3KeptFacts& facts, size_t end);
// Notes an unknown element for a trial of the type's message that keeps elements. The cursor stands at `pos`, behind
// the identifier, which is a whole octet; `order` is the element in front of it (l3DirectUnknown). Returns where it
// ends, or kL3GaveUp if the walk would do more or could not tell its end.
size_t l3NoteUnknown(L3Call& call, const L3Type& type, const void* record, unsigned order, size_t pos, size_t end,
                     uint8_t iei);
// Keeps what a trial has noted. False without memory; then nothing of it is kept.
bool l3KeepNoted(L3Call& call);
// Keeps what stands behind a message or value that has no more elements, octets of whatever kind. Bits that fill the
// last octet are part of it only if they differ from what an encoder would write there: padding behind rest octets,
// else 0.
int l3KeepRest(L3Call& call, const L3Type& type, const void* record, const void* anchor, L3KeptAt at, const L3End& end);
// Adds an entry of `bits` bits that do not come from the cursor: octets that a caller brings for a record of its own,
// or bits that a coder by hand has read in another place. Null without memory.
L3Kept* l3AddKept(RtxContext* pctxt, const L3KeptFacts& facts, const uint8_t* octets, size_t bits);
// Forgets what an earlier decoding into the same value kept. On entry the context has a list.
void l3ForgetKept(RtxContext* pctxt, const void* root);
// Forgets what stood over values.
void l3DropUnusual(RtxContext* pctxt);
// The last entry so far, or null.
inline const L3Kept* l3LastKept(const RtxContext* pctxt)
{
  const L3KeptList* list = l3KeptOf(pctxt);
  return list ? list->last : nullptr;
}
// Follows entries of records that have been moved: `octets` octets of them went from `from` to `to`. Their entries
// stand behind `before` (null: anywhere).
void l3MoveKept(RtxContext* pctxt, const L3Kept* before, const void* from, size_t octets, const void* to);
// The entry behind `after` (null: the first one) at this place of the record, or null. On entry the context has a list.
const L3Kept* l3NextKept(const RtxContext* pctxt, const L3Kept* after, const void* record, const void* anchor,
                         L3KeptAt at);
// How many entries stand at this record of the type: at one of its rows, its message or its end, not in what it holds.
// On entry the context has a list.
size_t l3CountKept(const RtxContext* pctxt, const L3Type& type, const void* record);
inline const L3Kept* l3FirstKept(const RtxContext* pctxt, const void* record, const void* anchor, L3KeptAt at)
{
  return l3HasKept(pctxt) ? l3NextKept(pctxt, nullptr, record, anchor, at) : nullptr;
}
// An element of a message that has been decoded from bit `start` on, behind its identifier, and has raised a doubt
// (L3Call.doubtful): keeps its octets if an encoder would write others. Returns 0, or a status with the failure
// recorded. The doubt is gone afterwards, unless nobody could tell.
int l3KeepUnusual(L3Call& call, const L3Type& type, const L3Row& row, void* record, size_t start);
// The same for a whole value.
int l3KeepUnusualAll(L3Call& call, const L3Type& type, void* value, size_t start);
// l3EncMember and l3EncType (with what stood behind the value) where something has been kept: they write the octets
// that came, if nobody has changed the value.
int l3EncMemberKept(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int& running);
int l3EncTypeKept(L3Call& call, const L3Type& type, void* value);

// Sets the doubts of what came before aside while an element is decoded.
struct L3Doubt {
  L3Call& call;
  bool before;
  explicit L3Doubt(L3Call& c) : call(c), before(c.doubtful) { call.doubtful = false; }
  ~L3Doubt() { call.doubtful = call.doubtful || before; }
  L3Doubt(const L3Doubt&) = delete;
};

// Writes what stood behind the whole value, which began at octet `start`. Padding is shortened by what the value has
// grown.
int l3PutKeptEnd(L3Call& call, const L3Type& type, const void* value, size_t start);
// Writes all that stands at this place of the record.
int l3PutKept(L3Call& call, const L3Type& type, uint16_t line, const void* record, const void* anchor, L3KeptAt at);
// What stands for it in a text: "unknown 0x7A", "unreadable 0x79: -2 at taiList". Returns its characters, without the
// end.
inline constexpr size_t kL3KeptName = 256;
size_t l3KeptName(const L3Kept& kept, char (&name)[kL3KeptName]);

// The bits, 8 or 16, of the length in octets that the row's value begins with; 0 if it begins otherwise. Such a value
// can be passed over without reading it.
unsigned l3LeadingLength(const L3Row& row);

// A decoding on trial by the ordinary walk: where it fails, nothing is left of it but what stands here. It finds out
// whether an element can be read before anything is reported about it.
struct L3Probe {
  // It was read, but not all that it would leave behind has been left (remarks, open regions): decode it once more.
  bool again;
  // It cannot be tried, since its octets are changed where they stand (deciphering).
  bool refused;
  // Of the failure, or 0.
  int status;
  // Path of the failure inside the element.
  char path[160];
};

// What a probe comes to. kL3Read: done. kL3NotTold: nothing happened, and an ordinary decoding has to tell what there
// is to tell. kL3Unreadable: `probe` tells why, and nothing else happened. kL3NoMemory: the call has to end.
enum L3Probed { kL3Read, kL3NotTold, kL3Unreadable, kL3NoMemory };

// Decodes the content of a row from the cursor.
L3Probed l3ProbeMember(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, L3Probe& probe);
// Tells the probe under way that something gives up, with its status. The first one counts: it is the innermost.
void l3NoteProbe(L3Call& call, int status);
// Ends a trial that must not go on: of octets that are deciphered where they stand, or where something is to be kept.
int l3RefuseTrial(L3Call& call, int status);

#endif
