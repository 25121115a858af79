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
    CALL(rtxDiagCtxtBitFieldListInit),
    CALL(rtxCtxtPushTypeName),
    CALL(rtxCtxtPushElemName),
    CALL(rtxSkipBits),
    CALL(field),
    CALL(bend),
    CALL(traceOf),
    {"trace", calls::calling<streamed<trace, const char*>>},
    {"newField", calls::calling<onFields<rtxDiagNewBitField, const char*>>},
    {"setCount", calls::calling<onFields<rtxDiagSetBitFldCount>>},
    {"setOffset", calls::calling<onFields<rtxDiagSetBitFldOffset>>},
    {"setSuffix", calls::calling<onFields<rtxDiagSetBitFldNameSuffix, const char*>>},
    {"setDisabled", calls::calling<onFields<rtxDiagSetBitFldDisabled, int>>},
    {"appendName", calls::calling<onFields<rtxDiagBitFldAppendNamePart, const char*>>},
    {"insertLength", calls::calling<onFields<rtxDiagInsBitFieldLen>>},
    CALL(rtxSetDiag),
    CALL(rtxSetGlobalDiag),
    CALL(rtxDiagEnabled),
    CALL(rtxDiagSetTraceLevel),
    CALL(rtxDiagTraceLevelEnabled),
    {"marks", calls::calling<streamed<marks<rtxDiagStream>>>},
    {"shownMarks", calls::calling<shown<marks<rtxDiagPrint>>>},
    {"dump", calls::calling<streamed<rtxDiagStreamHexDump, const uint8_t*, size_t>>},
    {"shownDump", calls::calling<shown<rtxDiagHexDump, const uint8_t*, size_t>>},
    {"characters", calls::calling<streamed<rtxDiagStreamPrintChars, const char*, size_t>>},
    {"shownCharacters", calls::calling<shown<rtxDiagPrintChars, const char*, size_t>>},
    {"bits", calls::calling<streamed<rtxDiagStreamPrintBits, const char*, const uint8_t*, size_t, size_t>>}};

TEST(PrintCalls, GiveWhatTheirLinesSay)
{
  calls::check("calls.txt", kFunctions);
}

} // namespace
