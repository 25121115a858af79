// Where printed text goes: the print stream of the context, else that of the process, else standard output. A print
// stream is a callback and its argument. The library's own three callbacks are recognised and served without the call,
// which is what makes printing to a string or file fast; any other gets format and arguments.
#include "velnor3gpp/rtxPrintStream.h"

#include <string.h>

#include "rtxsrc/print/rtxPrintSink.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStatus.h"

static const char* const kModule = "rtxPrintStream";

// Process-wide settings, documented as written without a lock.
static RtxPrintStream globalStream = {nullptr, nullptr};
static uint16_t streamIndent = 0; // of the stream functions called without a context
static uint16_t stdoutIndent = 0; // of the functions that print to standard output

// The record comes from the system side of the heap, so it outlives rtxMemReset; rtxFreeContext releases it.
int rtxSetPrintStream(RtxContext* pctxt, rtxPrintCallback callback, void* pUserData)
{
  if (callback == nullptr) return rtxErrSetData(pctxt, RTX_E_BAD_PARAMETER, kModule, __LINE__);
  rtxPrintStreamRelease(pctxt);
  void* record = rtxMemHeapSysAlloc(&pctxt->pMemHeap, sizeof(RtxPrintStream));
  if (record == nullptr) return rtxErrSetData(pctxt, RTX_E_NO_MEMORY, kModule, __LINE__);
  pctxt->pPrintStream = static_cast<RtxPrintStream*>(record);
  *pctxt->pPrintStream = {callback, pUserData};
  pctxt->indent = 0;
  return 0;
}

int rtxSetGlobalPrintStream(rtxPrintCallback callback, void* pUserData)
{
  if (callback == nullptr) return RTX_E_BAD_PARAMETER;
  globalStream = {callback, pUserData};
  return 0;
}

int rtxPrintStreamRelease(RtxContext* pctxt)
{
  if (pctxt == nullptr) return RTX_E_BAD_PARAMETER;
  if (pctxt->pPrintStream != nullptr) rtxMemHeapSysFreePtr(&pctxt->pMemHeap, pctxt->pPrintStream);
  pctxt->pPrintStream = nullptr;
  return 0;
}

// The target that does what the callback would do. The comparison is by address.
static RtxPrintSink sinkOfCallback(const RtxPrintStream& stream)
{
  RtxPrintSink sink;
  if (stream.pfCallback == rtxPrintStreamToStringCB) {
    sink.kind = RtxSinkKind::text;
    sink.pText = static_cast<RtxPrintToStringBuffer*>(stream.pUserData);
  } else if (stream.pfCallback == rtxPrintStreamToFileCB) {
    sink.file = static_cast<FILE*>(stream.pUserData);
  } else if (stream.pfCallback == rtxPrintStreamToStdoutCB) {
    sink.file = stdout;
  } else {
    sink.kind = RtxSinkKind::callback;
    sink.stream = stream;
  }
  return sink;
}

// Standard output is flushed, so that text of the program's own printf stays in order with it.
static RtxPrintSink routedSink(const RtxContext* pctxt)
{
  if (pctxt != nullptr && pctxt->pPrintStream != nullptr) return sinkOfCallback(*pctxt->pPrintStream);
  if (globalStream.pfCallback != nullptr) return sinkOfCallback(globalStream);
  RtxPrintSink sink = rtxSinkOfFile(stdout);
  sink.flush = true;
  return sink;
}

// Each context has its own indentation, which rtxSetPrintStream resets; calls without a context share one.
RtxPrintSink rtxSinkOfStream(RtxContext* pctxt)
{
  RtxPrintSink sink = routedSink(pctxt);
  sink.indent = pctxt != nullptr ? &pctxt->indent : &streamIndent;
  return sink;
}

// Not flushed, unlike the standard output of a print stream (routedSink).
RtxPrintSink rtxSinkOfStdout()
{
  RtxPrintSink sink = rtxSinkOfFile(stdout);
  sink.indent = &stdoutIndent;
  return sink;
}

int rtxPrintToStream(RtxContext* pctxt, const char* format, ...)
{
  va_list args;
  va_start(args, format);
  int status = rtxDiagToStream(pctxt, format, args);
  va_end(args);
  return status;
}

// The caller's format goes to the target as it is: one call of a callback, one vsnprintf into a string.
int rtxDiagToStream(RtxContext* pctxt, const char* format, va_list args)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtxSinkFormat(sink, format, args);
  return rtxSinkDone(sink);
}

void rtxPrintStreamToStdoutCB(void*, const char* format, va_list args)
{
  (void)vprintf(format, args);
}

void rtxPrintStreamToFileCB(void* pUserData, const char* format, va_list args)
{
  (void)vfprintf(static_cast<FILE*>(pUserData), format, args);
}

// vsnprintf cuts at the room and ends the text; its result would be the length without the cut.
void rtxPrintStreamToStringCB(void* pUserData, const char* format, va_list args)
{
  RtxPrintToStringBuffer* text = static_cast<RtxPrintToStringBuffer*>(pUserData);
  if (text->buffer == nullptr || text->bufSize <= text->curPos) return;
  char* start = text->buffer + text->curPos;
  size_t room = text->bufSize - text->curPos;
  if (vsnprintf(start, room, format, args) < 0) return;
  text->curPos += strlen(start);
}
