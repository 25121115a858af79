// Entries of the bit trace while names are frames. A field's path is that of the field before it as far as both lie in
// the same elements, so the beginning ("PDU.data.u.obj_RegRequest5G.") is copied in one piece, and only the names that
// were pushed since are written. Each frame remembers where its name ends in the path (L3Name.end); a frame of 0 is
// new.
//
// With the real stacks the trace joins all names for each field, which took twice the instructions
// (docs/adr/0002-names-and-regions-by-frame.md).
#include <cstring>

#include "rt3gppsrc/engine/l3Call.h"
#include "rtxsrc/print/rtxPrintSink.h"
#include "rtxsrc/trace/rtxTraceEntry.h"

// Names that one field may add to the path of the field before it. No type comes near; more are left to the real
// stacks.
static constexpr unsigned kMostNew = 32;

// The names that have to be written.
struct NewNames {
  // From the innermost out.
  L3Name* frame[kMostNew];
  // Characters of each name, without index and dot.
  size_t length[kMostNew];
  // How many.
  unsigned count = 0;
  // Characters of the path in front of them, as the last entry has it.
  size_t known = 0;
};

// Characters of an index with its brackets: 4 for "[12]". Other names have none.
static size_t indexLength(const L3Name& frame)
{
  RtxNumText number;
  return frame.kind == 2 ? rtxDecimalU(number, frame.index).length + 2 : 0;
}

// Finds the new frames and gives each its end. False if the path is too long for an end of 16 bits, or has too many new
// names; no type that there is has either.
static bool measure(const L3Call& call, NewNames& names)
{
  L3Name* frame = call.names;
  for (; frame && !frame->end; frame = frame->outer) {
    if (names.count == kMostNew) return false;
    names.length[names.count] = frame->name ? strlen(frame->name) : 0;
    names.frame[names.count++] = frame;
  }
  size_t end = names.known = frame ? frame->end : 0;
  for (unsigned i = names.count; i-- > 0;) {
    // A dot stands in front of every name but the first.
    end += names.length[i] + indexLength(*names.frame[i]) + (end ? 1 : 0);
    if (end > UINT16_MAX) return false;
    names.frame[i]->end = static_cast<uint16_t>(end);
  }
  return true;
}

// Writes "[12]" and returns the place behind it.
static char* putIndex(char* at, uint32_t index)
{
  RtxNumText number;
  RtxPiece digits = rtxDecimalU(number, index);
  *at++ = '[';
  memcpy(at, digits.chars, digits.length);
  at += digits.length;
  *at++ = ']';
  return at;
}

// Writes the new names behind the known part, from the outermost in.
static void writeNames(const NewNames& names, char* path)
{
  char* at = path + names.known;
  for (unsigned i = names.count; i-- > 0;) {
    const L3Name& frame = *names.frame[i];
    if (at > path) *at++ = '.';
    if (names.length[i]) memcpy(at, frame.name, names.length[i]);
    at += names.length[i];
    if (frame.kind == 2) at = putIndex(at, frame.index);
  }
  *at = 0;
}

// If an entry could not be made, there is no path that later ones could begin with: its frames count as new again.
static void forget(const NewNames& names)
{
  for (unsigned i = 0; i < names.count; ++i) names.frame[i]->end = 0;
}

// The trace owns the path; L3Call.lastPath only points to it. Entries are not freed while a call runs.
void l3TraceFieldOn(L3Call& call, const char* label)
{
  NewNames names;
  bool framed = !call.listed() && measure(call, names);
  if (!framed) {
    l3ToLists(call);
    rtxDiagNewBitField(call.pctxt->pBitFldList, label);
    return;
  }
  char* path = rtxTraceAppend(call.pctxt->pBitFldList, call.names->end, label);
  if (!path) return forget(names);
  if (names.known) memcpy(path, call.lastPath, names.known);
  writeNames(names, path);
  call.lastPath = path;
}

// Their memory goes with the job: L3Call.lastPath may point to it. The entries have not been printed yet, since nobody
// prints during a call.
void l3TraceCut(RtxBitFieldList& trace, size_t end)
{
  RtxSList& list = trace.fieldList;
  RtxSListNode* last = nullptr;
  size_t stay = 0, count = 0;
  // An earlier job may have left entries of higher bits in front.
  for (RtxSListNode* node = list.head; node; node = node->next) {
    ++count;
    if (static_cast<const RtxBitField*>(node->data)->bitOffset >= end) continue;
    last = node;
    stay = count;
  }
  (last ? last->next : list.head) = nullptr;
  list.count = stay;
  list.tail = last;
}
