// Entries of the bit trace while names are frames. A field's path is that of the field before it as far as both lie in
// the same elements, so only the names pushed since are written: "PDU.data.u.obj_RegRequest5G." is copied in one piece.
#include <cstring>

#include "rt3gppsrc/engine/l3Call.h"
#include "rtxsrc/print/rtxPrintSink.h"
#include "rtxsrc/trace/rtxTraceEntry.h"

// Names that one field adds to the path of the field before it; a type lies within few others.
static constexpr unsigned kMostNew = 32;

struct NewNames {
  L3Name* frame[kMostNew]; // from the innermost out
  size_t length[kMostNew]; // of their names alone
  unsigned count = 0;
  size_t known = 0; // characters of the path before them
};

// Characters of an index with its brackets.
static size_t indexLength(const L3Name& frame)
{
  RtxNumText number;
  return frame.kind == 2 ? rtxDecimalU(number, frame.index).length + 2 : 0;
}

// Gives each new frame its end. False if the path is too long for that, or has too many new names: not with any type
// that there is.
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
    end += names.length[i] + indexLength(*names.frame[i]) + (end ? 1 : 0);
    if (end > UINT16_MAX) return false;
    names.frame[i]->end = static_cast<uint16_t>(end);
  }
  return true;
}

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

// A path that did not come to be is none that later ones could begin with.
static void forget(const NewNames& names)
{
  for (unsigned i = 0; i < names.count; ++i) names.frame[i]->end = 0;
}

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
