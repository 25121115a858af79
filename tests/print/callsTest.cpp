// Guards the bit trace: its entries and its text line by line; and the
// switches, levels and forms of the diagnostic print. Each line of calls.txt is
// a call.
#include "tests/calls.h"
#include "tests/outcome.h"
#include "tests/print/PrintCapture.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxDiag.h"

namespace {

// What a call prints through the context's stream.
template <auto print, class... Arguments> std::string streamed(RtxContext* pctxt, Arguments... arguments)
{
  Pieces pieces;
  if (rtxSetPrintStream(pctxt, Pieces::callback, &pieces) < 0) return "no stream";
  print(pctxt, arguments...);
  rtxPrintStreamRelease(pctxt);
  return pieces.text();
}

// What it prints to standard output.
template <auto print, class... Arguments> std::string shown(RtxContext* pctxt, Arguments... arguments)
{
  testing::internal::CaptureStdout();
  print(pctxt, arguments...);
  fflush(stdout);
  return calls::quoted(testing::internal::GetCapturedStdout());
}

template <void (*print)(RtxContext*, const char*, ...)> void marks(RtxContext* pctxt)
{
  for (const char* mark : {"~E,", "~e,", "~W,", "~w,", "~I,", "~i,", "~D,", "~d,", "~x,", "~,", "plain,"})
    print(pctxt, mark);
}

// An operation on the context's list of fields.
template <auto operate, class... Arguments> auto onFields(RtxContext* pctxt, Arguments... arguments)
{
  return operate(pctxt->pBitFldList, arguments...);
}

// One field as a coder notes it.
void field(RtxContext* pctxt, const char* name, const char* suffix, int32_t bits)
{
  if (name != nullptr) rtxCtxtPushElemName(pctxt, name);
  rtxDiagNewBitField(pctxt->pBitFldList, suffix);
  rtxSkipBits(pctxt, bits);
  rtxDiagSetBitFldCount(pctxt->pBitFldList);
  if (name != nullptr) rtxCtxtPopElemName(pctxt);
}

// Lets the last field say something else.
void bend(RtxContext* pctxt, size_t bitOffset, size_t bitCount)
{
  const RtxSListNode* last = pctxt->pBitFldList != nullptr ? pctxt->pBitFldList->fieldList.tail : nullptr;
  if (last == nullptr) return;
  static_cast<RtxBitField*>(last->data)->bitOffset = bitOffset;
  static_cast<RtxBitField*>(last->data)->bitCount = bitCount;
}

void trace(RtxContext* pctxt, const char* name)
{
  rtxDiagBitTracePrint(pctxt->pBitFldList, name);
}

const calls::Functions kFunctions = {
    // the bit trace
    CALL(rtxDiagCtxtBitFieldListInit), CALL(rtxCtxtPushTypeName), CALL(rtxCtxtPushElemName), CALL(rtxSkipBits),
    CALL(field), CALL(bend), CALL(traceOf), CALL_AS("trace", streamed<trace, const char*>),
    CALL_AS("newField", onFields<rtxDiagNewBitField, const char*>),
    CALL_AS("setCount", onFields<rtxDiagSetBitFldCount>), CALL_AS("setOffset", onFields<rtxDiagSetBitFldOffset>),
    CALL_AS("setSuffix", onFields<rtxDiagSetBitFldNameSuffix, const char*>),
    CALL_AS("setDisabled", onFields<rtxDiagSetBitFldDisabled, int>),
    CALL_AS("appendName", onFields<rtxDiagBitFldAppendNamePart, const char*>),
    CALL_AS("insertLength", onFields<rtxDiagInsBitFieldLen>),
    // diagnostics
    CALL(rtxSetDiag), CALL(rtxSetGlobalDiag), CALL(rtxDiagEnabled), CALL(rtxDiagSetTraceLevel),
    CALL(rtxDiagTraceLevelEnabled), CALL_AS("marks", streamed<marks<rtxDiagStream>>),
    CALL_AS("shownMarks", shown<marks<rtxDiagPrint>>),
    CALL_AS("dump", streamed<rtxDiagStreamHexDump, const uint8_t*, size_t>),
    CALL_AS("shownDump", shown<rtxDiagHexDump, const uint8_t*, size_t>),
    CALL_AS("characters", streamed<rtxDiagStreamPrintChars, const char*, size_t>),
    CALL_AS("shownCharacters", shown<rtxDiagPrintChars, const char*, size_t>),
    CALL_AS("bits", streamed<rtxDiagStreamPrintBits, const char*, const uint8_t*, size_t, size_t>)};

TEST(PrintCalls, GiveWhatTheirLinesSay)
{
  calls::check("calls.txt", kFunctions);
}

} // namespace
