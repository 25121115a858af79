// The record as text, by the engine's printer, and the bit trace of the message as text or as a page of HTML. Both
// print to the context's stream; what comes out is collected in the session's text, which the caller gets a pointer to
// and which holds until the next text of this session.
#include <stdio.h>

#include "api/session.h"
#include "rtxsrc/trace/rtxTraceWalk.h"
#include "velnor3gpp/rtxDiagBitTrace.h"
#include "velnor3gpp/rtxPrintStream.h"

namespace {

struct Output {
  velnor3gpp_Session& session;
  size_t length;
  bool failed;
};

} // namespace

// Takes a piece of what is printed: counts its characters, makes room, and formats it there. A failure to get memory is
// remembered, since a printer has no status to return.
static void takePiece(void* arg, const char* format, va_list args)
{
  Output& out = *static_cast<Output*>(arg);
  va_list again;
  va_copy(again, args);
  int count = vsnprintf(nullptr, 0, format, again);
  va_end(again);
  if (out.failed || count < 0) return;
  size_t more = static_cast<size_t>(count);
  char* text = velnor3gpp_room(&out.session, out.length + more + 1);
  out.failed = !text;
  if (!text) return;
  vsnprintf(text + out.length, more + 1, format, args);
  out.length += more;
}

// Terminates what was written and hands it out.
static int finish(Output& out, const char** text, size_t* count)
{
  char* first = velnor3gpp_room(&out.session, out.length + 1);
  if (out.failed || !first) return RTX_E_NO_MEMORY;
  if (!out.length) first[0] = 0;
  *text = first;
  *count = out.length;
  return 0;
}

// The context's own print stream is replaced while the record is printed and released afterwards.
int velnor3gpp_toText(velnor3gpp_Session* session, const char** text, size_t* count)
{
  if (!session || !text || !count) return RTX_E_NULL_POINTER;
  *text = nullptr;
  *count = 0;
  if (!hasRecord(*session)) return RTX_E_BAD_PARAMETER;
  Output out = {*session, 0, false};
  if (rtxSetPrintStream(&session->ctxt, takePiece, &out) < 0) return RTX_E_NO_MEMORY;
  const L3Type& type = typeOf(*session->known);
  l3Print(&session->ctxt, type, l3NameOf(type), session->record);
  rtxPrintStreamRelease(&session->ctxt);
  return finish(out, text, count);
}

// The list is printed from its first field, even if it has been printed before.
static void putTrace(RtxContext& ctxt, unsigned flags)
{
  RtxBitFieldList* list = ctxt.pBitFldList;
  list->pLastPrinted = nullptr; // a print before this one does not shorten it
  RtxTraceData data;
  if (!(flags & VELNOR3GPP_HTML)) return rtxDiagBitTracePrint(list, nullptr);
  if (!rtxTraceFindData(&ctxt, &data)) return;
  RtxPrintSink sink = rtxSinkOfStream(&ctxt);
  rtxTracePutPage(sink, list, nullptr, data);
  rtxSinkDone(sink);
}

// The trace comes from the second decoding that also gives positions.
int velnor3gpp_trace(velnor3gpp_Session* session, unsigned flags, const char** text, size_t* count)
{
  if (!session || !text || !count) return RTX_E_NULL_POINTER;
  *text = nullptr;
  *count = 0;
  if (!positionsOf(*session)) return RTX_E_BAD_PARAMETER;
  Output out = {*session, 0, false};
  if (rtxSetPrintStream(&session->slow, takePiece, &out) < 0) return RTX_E_NO_MEMORY;
  putTrace(session->slow, flags);
  rtxPrintStreamRelease(&session->slow);
  return finish(out, text, count);
}
