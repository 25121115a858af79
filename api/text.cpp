// The record as text, by the engine's printer, and the bit trace of the message as text or as a page of HTML. Both
// print into the session's text, which the caller gets a pointer to and which holds until the next text of this
// session.
#include <algorithm>

#include "api/session.h"
#include "rtxsrc/trace/rtxTraceWalk.h"
#include "velnor3gpp/rtxDiagBitTrace.h"
#include "velnor3gpp/rtxPrintStream.h"

using Print = void (*)(RtxContext& ctxt, const velnor3gpp_Session& session, unsigned flags);

// Prints into the session's room, and once more into twice the room where the text has filled it: printing into a
// string costs a sixth of what a callback takes that formats each line. The context's own print stream is set aside
// meanwhile.
static int printed(velnor3gpp_Session& session, RtxContext& ctxt, Print print, unsigned flags, const char** text,
                   size_t* count)
{
  static constexpr size_t kFirst = 8192; // most messages print less
  RtxPrintStream* own = ctxt.pPrintStream;
  uint16_t indent = ctxt.indent;
  int status = 0;
  for (size_t size = std::max(session.text.size, kFirst);; size *= 2) {
    RtxPrintToStringBuffer target = {velnor3gpp_room(&session, size), size, 0};
    RtxPrintStream stream = {rtxPrintStreamToStringCB, &target};
    if (!target.buffer) {
      status = RTX_E_NO_MEMORY;
      break;
    }
    target.buffer[0] = 0;
    ctxt.pPrintStream = &stream;
    ctxt.indent = 0;
    print(ctxt, session, flags);
    if (target.curPos + 1 == size) continue;
    *text = target.buffer;
    *count = target.curPos;
    break;
  }
  ctxt.pPrintStream = own;
  ctxt.indent = indent;
  return status;
}

static void putRecord(RtxContext& ctxt, const velnor3gpp_Session& session, unsigned)
{
  const L3Type& type = typeOf(*session.known);
  l3Print(&ctxt, type, l3NameOf(type), session.record);
}

int velnor3gpp_toText(velnor3gpp_Session* session, const char** text, size_t* count)
{
  if (!session || !text || !count) return RTX_E_NULL_POINTER;
  *text = nullptr;
  *count = 0;
  if (!hasRecord(*session)) return RTX_E_BAD_PARAMETER;
  return printed(*session, session->ctxt, putRecord, 0, text, count);
}

// The list is printed from its first field, even if it has been printed before.
static void putTrace(RtxContext& ctxt, const velnor3gpp_Session&, unsigned flags)
{
  RtxBitFieldList* list = ctxt.pBitFldList;
  list->pLastPrinted = nullptr; // a print before this one does not shorten it
  rtxBitLineInit(list->lineBuf);
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
  return printed(*session, session->slow, putTrace, flags, text, count);
}
