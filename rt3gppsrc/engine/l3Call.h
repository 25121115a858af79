// What the engine keeps during one top-level call. Every exported coder makes an L3Call on its stack and hands it to
// all coders inside, those by hand included; it ends with the call.
//
// Element names and length regions are linked frames on the C++ stack, one in each function that opens one. They go to
// the context's real stacks (l3ToLists) only when somebody can see them: at the first failure or finding, with a
// stream, and where a rule leaves entries behind. On success nothing touches the heap
// (docs/adr/0002-names-and-regions-by-frame.md). The bit trace takes its paths from the frames (l3TraceField).
//
// If there is no memory for an entry of the real stacks, the call is marked as failed: from then on nothing is pushed
// or popped, since the stacks no longer match the frames, and the call ends with -10.
#ifndef VELNOR3GPP_L3_CALL_H
#define VELNOR3GPP_L3_CALL_H

#include "rt3gppsrc/engine/l3Record.h"
#include "rtxsrc/heap/rtxMemHeapInline.h"
#include "velnor3gpp/rtxContainer.h"
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxStatus.h"

struct L3Probe;

// A name on the element path, in the frame of the function that pushed it.
struct L3Name {
  const char* name;
  L3Name* outer;
  // Of an array entry: 2 in "elem[2]".
  uint32_t index;
  // 0: the type of the call. 1: an element. 2: an array entry. The real stack pushes them by three different functions.
  uint8_t kind;
  // Characters of the path up to and with this name in L3Call.lastPath; 0: the name has not been written there yet.
  uint16_t end;
};

// A region that a length has opened, in the frame of the walk over its record. An element inside that has gone beyond
// its end fails with -66.
struct L3Region {
  // The end, as a cursor: octet and bits left in it (8: the region ends at the octet's start).
  size_t byteIndex;
  uint16_t bitOffset;
  L3Region* outer;
};

// What a call may do, and where its names and regions stand. A call begins as kL3MayTry, with a trace as kL3Walk or,
// with a stream or in slow mode, as kL3Observed. It never goes back to an earlier mode, except out of a trial or probe.
//
//   kL3MayTry -> kL3Trial -> kL3MayTry        all went well
//                         -> kL3Walk          the trial was given up; the rows are walked
//   kL3Walk   -> kL3Listed                    first failure or finding
enum L3Mode : uint8_t {
  kL3MayTry, // frames, nothing seen; a direct coder may be tried
  // Inside a direct coder or a probe. Nothing is reported: whoever fails or finds anything gives up.
  kL3Trial,
  // A trial whose result is no longer wanted; it ends as soon as its coders return.
  kL3GivenUp,
  kL3Walk,     // frames, nothing seen; no trial is begun: one was given up, or a trace is on
  kL3Listed,   // names and regions stand on the real stacks; fields are still read and written inline
  kL3Observed, // the same, and each field goes through the public bit functions, where trace and stream see it
};

// An unknown element that a trial has passed over; the members are those of L3Kept.
struct L3Unknown {
  const void* record;
  const void* anchor;
  size_t start, end; // bit positions
  uint8_t iei, ieiBits;
};

// The part of a call that begins as zeros. It lies together, so that a few stores set it up.
struct L3CallState {
  // The innermost open region, or null. It is not kept up once the real stacks are (L3Mode).
  L3Region* regions;
  L3Mode mode;
  // An early return leaves the name of the type on the stack.
  bool keepTypeName;
  // The coder has come to its end, and a negative status only tells what was found on the way: the names are taken
  // away.
  bool ended;
  // There was no memory where nobody could return that: the call ends with -10.
  bool failed;
  bool inBody; // inside a message of a top-level form
  bool traced; // the bit trace is on: each field leaves an entry
  // What has been decoded may hold bits that no member of the record holds (l3Kept.h, l3KeepUnusual).
  bool doubtful;
  // How many of L3Call.unknowns are in use.
  uint8_t unknown;
  // How many regions early returns of a trial have left open; their ends are in L3Call.ends.
  unsigned left;
  // How many of L3Call.holds are in use.
  unsigned held;
  // Error records that are older than the innermost message inside a message, and so are not its own findings.
  size_t earlier;
  // Octets allocated so far for entries of lists, each step of growth counted (kL3ListBase).
  size_t listOctets;
  // The count for the next type whose decoder takes one.
  size_t argument;
  // The record under the coder, and the one that it stands in: a count may be a field of that one (`..FIELD`).
  const void* record;
  const void* around;
  // With RTX_FLAG_KEEP_ELEMENTS: the value that the call decodes, and the probe of an element that is under way, or
  // null.
  const void* root;
  L3Probe* probe;
};

// One call. Members outside L3CallState are set one by one (l3Fresh), or written before they are read.
struct L3Call : L3CallState {
  RtxContext* pctxt;
  // The innermost name. Null in a call that is a trial from its beginning, until something needs names (needNames).
  L3Name* names;
  // What the trial decodes.
  const L3Type* tried;
  // The first name of such a trial.
  L3Name base;
  // The bit position behind the last part that padding follows. Kept octets that stood in place of the padding go
  // there. An encoder notes where its padding ends, too.
  static constexpr size_t kNotPadded = SIZE_MAX;
  size_t padded, paddedEnd;
  // Encoding by the walk: how many of the context's kept entries stand at the records that are being walked, so not in
  // what these hold (l3EncRows).
  size_t keptAround;
  // The path of the trace's last entry, which owns it. The names of all frames that have an end make up its beginning.
  const char* lastPath;
  // Nothing is observed: several fields may be read or written in one step.
  bool plain() const { return mode != kL3Observed && !traced; }
  // Fields are read and written inline, with an entry in the trace if there is one.
  bool inlined() const { return mode != kL3Observed; }
  // Names and regions stand on the context's real stacks.
  bool listed() const { return mode >= kL3Listed; }
  // A failure is not reported but given up.
  bool onTrial() const { return mode == kL3Trial || mode == kL3GivenUp; }
  // Ends of the regions that early returns of a trial have left open, as bit positions. The coder around an early
  // return closes the region opened last, which is the one left behind and not its own, so one fewer stays open:
  // ends[0] is the end of the region around them.
  static constexpr unsigned kMaxLeft = 8;
  size_t ends[kMaxLeft + 1];
  // Heap blocks that a trial has allocated, to be freed if it is given up: those of an open run of the heap, and up to
  // 16 others. Further ones stay until the job ends.
  static constexpr unsigned kMaxHeld = 16;
  void* holds[kMaxHeld];
  // Unknown elements that a trial has passed over and that are kept once it is good (l3KeepNoted). A message with more
  // of them is left to the walk.
  static constexpr unsigned kMaxUnknown = 8;
  L3Unknown unknowns[kMaxUnknown];
  RtxMemRun run;
};

// Findings that a call records beside a decoded value. Further ones are passed over, so that a message of many small
// faults does not outgrow the memory bound.
inline constexpr size_t kL3MaxFindings = 16;

// What the entries of all lists of one call may take, each step of their growth counted: 4096 octets, and 40 more for
// each octet of the input. What the standard's bounds allow a list is never refused. No real message has other lists
// that come near; a forged one could, since an entry can take 2,000 octets of memory for 5 of input. Trials stop at 32,
// so that the walk, which does the work again, has memory left for it.
inline constexpr size_t kL3ListBase = 4096, kL3ListFactor = 40, kL3TrialFactor = 32;

// Makes a call that has done nothing yet; it has no names.
inline void l3Fresh(L3Call& call, RtxContext* pctxt)
{
  l3Clear<sizeof(L3CallState)>(static_cast<L3CallState*>(&call));
  call.pctxt = pctxt;
  call.names = nullptr;
  call.tried = nullptr;
  call.run.next = nullptr;
  call.padded = L3Call::kNotPadded;
}
// Opens a call for a type of this name. The frame is the caller's and has to live as long as the call.
void l3Begin(L3Call& call, RtxContext* pctxt, L3Name& frame, const char* typeName);
extern bool gL3SlowMode; // for all threads; set by l3SetSlowMode
inline bool l3IsSlow()
{
  return gL3SlowMode;
}
// Ends a call: takes the type name away where its coder came to its end, and leaves it where it failed, since the names
// are part of the message. Returns the status for the caller.
int l3End(L3Call& call, int status, const char* module, uint16_t line);
// Puts all frames on the real stacks, which are worked on from here. Coders by hand call it before a public function
// that reads names or regions, or that can fail. Does nothing if it has been done, or in a trial.
void l3ToLists(L3Call& call);
// The status of a coder that has come to its end. A negative one tells what it found on the way; the names go all the
// same.
inline int l3Ended(L3Call& call, int status)
{
  call.ended = status < 0;
  return status;
}
// Reports a failure of the type's coder at a row and returns the status to pass on. Coders around add a level each to
// the same error record.
int l3Fail(L3Call& call, const char* module, int status, uint16_t line);
// The same with an error record of its own, beside one that may be there already.
int l3FailNew(L3Call& call, const char* module, int status, uint16_t line);
// The line of the row that has the name, alternatives of choices included, or else of the block: where a hand-written
// coder is at.
uint16_t l3LineOf(const L3Type& type, const char* name);
// A value outside its range: -16 with element path and value. A decoder notes it as non-fatal and goes on
// (l3NoteRange); an encoder fails (l3FailRange).
void l3NoteRange(L3Call& call, const char* module, uint16_t line, uint64_t value);
int l3FailRange(L3Call& call, const char* module, uint16_t line, uint64_t value);
// Records a fatal finding that does not stop the decoding, such as an unknown element that asks for comprehension. Its
// parameters have been added before.
void l3Note(L3Call& call, const char* module, int status, uint16_t line);
// Begins the trace's entry of a field. The caller ends it by rtxDiagSetBitFldCount once the field has been passed.
void l3TraceFieldOn(L3Call& call, const char* label);
inline void l3TraceField(L3Call& call, const char* label)
{
  if (call.traced) l3TraceFieldOn(call, label);
}
// Takes the last entries off the trace, those that begin at a bit or behind it, since what they tell has been taken
// back.
void l3TraceCut(RtxBitFieldList& trace, size_t end);
// May one more finding be recorded?
inline bool l3MayNote(const L3Call& call)
{
  return call.pctxt->errInfo.count < kL3MaxFindings;
}
// What the functions below do once names and regions stand on the real stacks.
int l3PushNameSlow(L3Call& call, const char* name);
int l3PushEntrySlow(L3Call& call, const char* name, uint32_t index);
int l3PushRegionSlow(L3Call& call, size_t count, bool bits);
void l3PopNameSlow(L3Call& call);
void l3PopEntrySlow(L3Call& call);
void l3PopRegionSlow(L3Call& call);
bool l3HasRoomSlow(const RtxContext* pctxt);

// A failing coder leaves its frames linked on purpose: they have been put on the real stacks by then, and nobody
// follows the links any more.
#if defined(__GNUC__) && !defined(__clang__) && __GNUC__ >= 12
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdangling-pointer"
#endif

// Puts an element's name on the path. The frame is a local of the caller, which pops it before it returns with success
// and leaves it when it fails.
inline int l3PushName(L3Call& call, L3Name& frame, const char* name)
{
  if (call.listed()) return l3PushNameSlow(call, name);
  frame = {name, call.names, 0, 1, 0};
  call.names = &frame;
  return 0;
}

// The name of a row, if it has one; the module is that of the coder that reports. The caller pops it only if row.name.
inline int l3PushRow(L3Call& call, const char* module, const L3Row& row, L3Name& frame)
{
  if (!row.name) return 0;
  int status = l3PushName(call, frame, row.name);
  return status < 0 ? l3Fail(call, module, status, row.line) : 0;
}

// An entry of a list: "elem[3]".
inline int l3PushEntry(L3Call& call, L3Name& frame, const char* name, uint32_t index)
{
  if (call.listed()) return l3PushEntrySlow(call, name, index);
  frame = {name, call.names, index, 2, 0};
  call.names = &frame;
  return 0;
}

#if defined(__GNUC__) && !defined(__clang__) && __GNUC__ >= 12
#pragma GCC diagnostic pop
#endif

inline void l3PopName(L3Call& call)
{
  if (call.listed())
    l3PopNameSlow(call);
  else
    call.names = call.names->outer;
}

inline void l3PopEntry(L3Call& call)
{
  if (call.listed())
    l3PopEntrySlow(call);
  else
    call.names = call.names->outer;
}

// The cursor in bits from the start of the input. Of a stream the buffer holds only a part, so the context counts
// there.
inline size_t l3BitPos(RtxContext* pctxt)
{
  if (pctxt->pStream) return rtxCtxtGetBitOffset(pctxt);
  return pctxt->buffer.byteIndex * 8 + 8 - static_cast<size_t>(pctxt->buffer.bitOffset);
}

// Opens a region of so many octets or bits from the cursor. It may end behind the buffer: the read that gets there
// fails.
inline int l3PushRegion(L3Call& call, L3Region& frame, size_t count, bool bits)
{
  if (call.listed()) return l3PushRegionSlow(call, count, bits);
  size_t end = l3BitPos(call.pctxt) + (bits ? count : count * 8);
  if (end > call.pctxt->buffer.size * 8) call.doubtful = true;
  // Bit 20 is octet 2 with 4 bits left.
  frame = {end / 8, static_cast<uint16_t>(8 - end % 8), call.regions};
  call.regions = &frame;
  return 0;
}

inline void l3PopRegion(L3Call& call)
{
  if (call.listed())
    l3PopRegionSlow(call);
  else
    call.regions = call.regions->outer;
}

// Do bits remain in the innermost region or, where none is open, in the buffer?
inline bool l3HasRoom(const L3Call& call)
{
  const RtxBuffer& buffer = call.pctxt->buffer;
  if (call.listed() || !call.regions) {
    if (call.plain() && !call.pctxt->containerStack.dlist.head) return buffer.byteIndex < buffer.size;
    return l3HasRoomSlow(call.pctxt);
  }
  const L3Region& region = *call.regions;
  return region.byteIndex > buffer.byteIndex ||
         (region.byteIndex == buffer.byteIndex && buffer.bitOffset > static_cast<int>(region.bitOffset));
}

// Where a message ends: at the region that was innermost when it began or, if none was open, where the octets end. It
// is noted at the beginning, since elements of the message may leave regions of their own open (an early return).
struct L3End {
  bool region;
  // From the start of the input.
  size_t octet;
  uint16_t bitOffset;
};

// The end of the region that is innermost now.
L3End l3InnermostEnd(const L3Call& call);
// Do bits remain before that end?
bool l3HasRoomBefore(const L3Call& call, const L3End& end);

// Bits left in the innermost region; 0 if the cursor is past its end.
size_t l3RoomBits(const L3Call& call);

// What a count comes to: what the decoder was given, or else by the field of the record or of the one around it.
inline size_t l3CountOf(const L3Call& call, const L3Count& count, const uint8_t* record)
{
  if (count.argument) return call.argument;
  return l3CountBy(count, count.ofAround ? static_cast<const uint8_t*>(call.around) : record);
}

#endif
