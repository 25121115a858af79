// What the engine keeps during one top-level call: element names and length regions as linked frames on the C++ stack.
// They go to the context's real stacks (list mode) only when somebody can see them: at the first failure or finding,
// with a stream, and where a rule leaves entries behind. On success nothing touches the heap. The bit trace takes its
// paths from the frames (l3TraceField).
// A stack entry that memory lacks for marks the call as failed: the stacks are then left alone, and the call ends -10.
#ifndef VELNOR3GPP_L3_CALL_H
#define VELNOR3GPP_L3_CALL_H

#include "rt3gppsrc/engine/l3Record.h"
#include "rtxsrc/heap/rtxMemHeapInline.h"
#include "velnor3gpp/rtxContainer.h"
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxStatus.h"

struct L3Probe;

struct L3Name {
  const char* name;
  L3Name* outer;
  uint32_t index; // of an array entry
  uint8_t kind;   // 0 type, 1 element, 2 array entry
  uint16_t end;   // characters of the path up to and with this name in L3Call.lastPath; 0: not written there yet
};

struct L3Region {
  size_t byteIndex; // end of the region, as a cursor
  uint16_t bitOffset;
  L3Region* outer;
};

// What a call may do, and where its names and regions stand. A call begins as kL3MayTry, with a trace as kL3Walk or,
// with a stream or in slow mode, as kL3Observed; it never comes back from a later mode but from a trial.
enum L3Mode : uint8_t {
  kL3MayTry,   // frames, nothing seen; a direct coder may be tried
  kL3Trial,    // inside a direct coder: nothing is reported, whoever fails or finds anything gives up
  kL3GivenUp,  // a trial that ends as soon as its coders return
  kL3Walk,     // frames, nothing seen; a trial was given up, so no other is begun
  kL3Listed,   // names and regions stand on the real stacks; fields are still read and written inline
  kL3Observed, // the same, and each field goes through the public bit functions, where trace and stream see it
};

// What a call begins with as zeros: it lies together, so that a few stores set it up.
struct L3CallState {
  L3Region* regions;
  L3Mode mode;
  bool keepTypeName; // an early return leaves the type name behind
  bool ended;        // the coder has come to its end, and its status tells what was found on the way
  bool failed;       // memory was out where nobody could return it
  bool inBody;       // inside a message of a top-level form
  bool traced;       // the bit trace is on: each field leaves an entry
  unsigned left;     // of L3Call.ends
  unsigned held;     // of L3Call.holds
  size_t earlier;    // error records older than the innermost message inside a message
  size_t listOctets; // allocated for entries of lists so far
  size_t argument;   // the count for the next type whose decoder takes one
  // The record under the coder, and the one that it stands in: counts may be fields of that one.
  const void* record;
  const void* around;
  // With RTX_FLAG_KEEP_ELEMENTS: the value that the call decodes, and the trial of an element under way, or null.
  const void* root;
  L3Probe* probe;
};

struct L3Call : L3CallState {
  RtxContext* pctxt;
  L3Name* names;       // null in a trial from the beginning of the call, until it comes to what needs them
  const L3Type* tried; // what the trial decodes
  L3Name base;         // of such a trial
  // The bit position behind the last part that padding follows, for what stands there instead.
  static constexpr size_t kNotPadded = SIZE_MAX;
  size_t padded;
  const char* lastPath; // of the trace's last entry, which owns it; the names of all frames that have an end begin it
  // Nothing is observed: several fields may be read or written in one step.
  bool plain() const { return mode != kL3Observed && !traced; }
  // Fields are read and written inline, with an entry in the trace if there is one.
  bool inlined() const { return mode != kL3Observed; }
  bool listed() const { return mode >= kL3Listed; }
  bool onTrial() const { return mode == kL3Trial || mode == kL3GivenUp; }
  // Regions that early returns of a trial have left open. The next region to close is taken for the last of them, so
  // that one fewer stays behind: ends[0] is the end of the region around them.
  static constexpr unsigned kMaxLeft = 8;
  size_t ends[kMaxLeft + 1];
  // What a trial has on the heap, to be released when it is given up: the elements of an open run, and others, of which
  // what finds no place here stays there.
  static constexpr unsigned kMaxHeld = 16;
  void* holds[kMaxHeld];
  RtxMemRun run;
};

// Findings that a call records beside a decoded value; further ones are passed over, so that no message of many small
// faults outgrows the memory bound.
inline constexpr size_t kL3MaxFindings = 16;

// What the entries of all lists of one call may take, each step of their growth counted: so many octets, and so many
// more for each octet of the input. Lists are not refused what the standard's bounds give them; no real message has
// others that come near, but one of entries that hold next to nothing would.
inline constexpr size_t kL3ListBase = 4096, kL3ListFactor = 40, kL3TrialFactor = 32;

// A call that has done nothing yet; it has no names.
inline void l3Fresh(L3Call& call, RtxContext* pctxt)
{
  l3Clear<sizeof(L3CallState)>(static_cast<L3CallState*>(&call));
  call.pctxt = pctxt;
  call.names = nullptr;
  call.tried = nullptr;
  call.run.next = nullptr;
  call.padded = L3Call::kNotPadded;
}
// Opens a call for a type of this name; the frame is the caller's.
void l3Begin(L3Call& call, RtxContext* pctxt, L3Name& frame, const char* typeName);
extern bool gL3SlowMode; // for all threads; set by l3SetSlowMode
inline bool l3IsSlow()
{
  return gL3SlowMode;
}
// Ends a call: takes the type name away where its coder came to its end. Gives the status to return.
int l3End(L3Call& call, int status, const char* module, uint16_t line);
// Puts all frames on the real stacks; from here on the real stacks are worked on.
void l3ToLists(L3Call& call);
// The status of a coder that has come to its end: what it found on the way, with its names taken away.
inline int l3Ended(L3Call& call, int status)
{
  call.ended = status < 0;
  return status;
}
// Reports a failure of the type's coder at a row and gives the status to return.
int l3Fail(L3Call& call, const char* module, int status, uint16_t line);
// The same with a new error record.
int l3FailNew(L3Call& call, const char* module, int status, uint16_t line);
// The line of the row that has the name, be it an alternative, or else of the block: what a hand-written coder is at.
uint16_t l3LineOf(const L3Type& type, const char* name);
// A value outside its range: -16 with element path and value, non-fatal on decoding.
void l3NoteRange(L3Call& call, const char* module, uint16_t line, uint64_t value);
int l3FailRange(L3Call& call, const char* module, uint16_t line, uint64_t value);
// Records a fatal finding that does not stop the decoding; its parameters stand already.
void l3Note(L3Call& call, const char* module, int status, uint16_t line);
// Begins the trace's entry of a field, if there is a trace. The caller ends it by rtxDiagSetBitFldCount.
void l3TraceFieldOn(L3Call& call, const char* label);
inline void l3TraceField(L3Call& call, const char* label)
{
  if (call.traced) l3TraceFieldOn(call, label);
}
// May a finding be recorded, or are there too many?
inline bool l3MayNote(const L3Call& call)
{
  return call.pctxt->errInfo.count < kL3MaxFindings;
}
// The forms on the real stacks.
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

inline int l3PushName(L3Call& call, L3Name& frame, const char* name)
{
  if (call.listed()) return l3PushNameSlow(call, name);
  frame = {name, call.names, 0, 1, 0};
  call.names = &frame;
  return 0;
}

// The name of a row, if it has one; the module is the coder's that reports.
inline int l3PushRow(L3Call& call, const char* module, const L3Row& row, L3Name& frame)
{
  if (!row.name) return 0;
  int status = l3PushName(call, frame, row.name);
  return status < 0 ? l3Fail(call, module, status, row.line) : 0;
}

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

// Bits from the start of the input, of which a stream's buffer holds only a part.
inline size_t l3BitPos(RtxContext* pctxt)
{
  if (pctxt->pStream) return rtxCtxtGetBitOffset(pctxt);
  return pctxt->buffer.byteIndex * 8 + 8 - static_cast<size_t>(pctxt->buffer.bitOffset);
}

// Opens a region of so many octets or bits from the cursor.
inline int l3PushRegion(L3Call& call, L3Region& frame, size_t count, bool bits)
{
  if (call.listed()) return l3PushRegionSlow(call, count, bits);
  size_t end = l3BitPos(call.pctxt) + (bits ? count : count * 8);
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

// Do bits remain in the innermost region, or in the buffer where none is open?
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

// Where a message ends: at the region that was innermost when it began or, if none was open, where the octets end. Its
// elements may leave regions of their own open (an early return), so the innermost region says nothing about it later.
struct L3End {
  bool region;
  size_t octet; // from the start of the input
  uint16_t bitOffset;
};

L3End l3InnermostEnd(const L3Call& call);
// Do bits remain before that end?
bool l3HasRoomBefore(const L3Call& call, const L3End& end);

// Bits left in the innermost region; 0 when the cursor is past its end.
size_t l3RoomBits(const L3Call& call);

// What a count comes to, by the record's field or because the decoder has been given it.
inline size_t l3CountOf(const L3Call& call, const L3Count& count, const uint8_t* record)
{
  if (count.argument) return call.argument;
  return l3CountBy(count, count.ofAround ? static_cast<const uint8_t*>(call.around) : record);
}

#endif
