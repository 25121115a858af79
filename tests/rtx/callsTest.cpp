// Promises: no reader, writer or string function goes beyond its memory, and what it cannot do is told; a region ends
// exactly where it was said to; one failure makes one record with its places and its deepest path, which says so in
// words. Each line of calls.txt is a call.
#include "tests/calls.h"
#include "velnor3gpp/rtContext.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxBitEncode.h"
#include "velnor3gpp/rtxCheckBuffer.h"
#include "velnor3gpp/rtxContainer.h"
#include "velnor3gpp/rtxStrings.h"

namespace {

// Half a pair of surrogates at the end.
const uint16_t kWide[] = {'A', 0xE9, 0x20AC, 0xD83D, 0xDE00, 0xD83D, 0};

// Its sign alone is promised.
int compared(const char* s1, const char* s2, size_t n)
{
  const int difference = rtxUTF8Strncmp(s1, s2, n);
  return (difference > 0) - (difference < 0);
}

std::string path(RtxContext* pctxt)
{
  std::string names;
  for (const RtxDListNode* node = pctxt->elemNameStack.head; node != nullptr; node = node->next)
    names += std::string(names.empty() ? "" : ".") + static_cast<const char*>(node->data);
  return names;
}

// Is something left of the region, does it end here, and how many bits are left?
std::string region(RtxContext* pctxt)
{
  return std::to_string(rtxCtxtContainerHasRemBits(pctxt)) + " " + std::to_string(rtxCtxtContainerEnd(pctxt)) + " " +
         std::to_string(rtxCtxtGetContainerRemBits(pctxt));
}

int level(RtxContext* pctxt)
{
  return pctxt->level;
}

size_t size(RtxContext* pctxt)
{
  return pctxt->buffer.size;
}

void indent(RtxContext* pctxt, uint8_t blanks)
{
  pctxt->indent = blanks;
}

// Reads that must fail.
std::string behind(RtxContext* pctxt)
{
  std::string statuses;
  for (int status : {rtxDecBit(pctxt, nullptr), rtxDecBits(pctxt, nullptr, 9), rtxReadBytes(pctxt, nullptr, 1)})
    statuses += " " + std::to_string(status);
  return statuses;
}

// Octets that are not copied where the buffer has them.
std::string inPlace(RtxContext* pctxt, size_t nbytes)
{
  const uint8_t* expected = pctxt->buffer.data + pctxt->buffer.byteIndex;
  uint8_t* place = nullptr;
  int allocated = 1, status = rtxReadBytesDynamic(pctxt, &place, nbytes, &allocated);
  return std::to_string(status) + (place == expected && allocated == 0 ? " in place" : "");
}

const RtxErrInfo& lastError(RtxContext* pctxt)
{
  static const RtxErrInfo none = {};
  const RtxErrInfo* error = static_cast<Bench*>(pctxt)->lastError();
  return error != nullptr ? *error : none;
}

// The last record: status, path and places.
std::string error(RtxContext* pctxt)
{
  const RtxErrInfo& last = lastError(pctxt);
  std::string text = std::to_string(last.status) + " at " + (last.elemName != nullptr ? last.elemName : "-");
  for (int i = 0; i < last.stkx; i++)
    text += std::string(" ") + last.stack[i].module + ":" + std::to_string(last.stack[i].line);
  return text;
}

std::string parameters(RtxContext* pctxt)
{
  return std::to_string(lastError(pctxt).parmcount);
}

// What a record of the status says with these parameters, separated by blanks, behind those that it has.
std::string says(RtxContext* pctxt, int status, const char* parms)
{
  std::istringstream more(parms);
  for (std::string parm; more >> parm;) rtxErrAddStrParm(pctxt, parm.c_str());
  rtxErrSetNewData(pctxt, status, "m", 1);
  char text[300] = "untouched";
  rtxErrFmtMsg(static_cast<Bench*>(pctxt)->lastError(), text, sizeof text);
  return text;
}

const calls::Functions kFunctions = {
    // reading and writing
    CALL(rtxDecBits), CALL(rtxDecBitsToByte), CALL(rtxDecBitsToUInt16), CALL(rtxDecBitsToUInt64),
    CALL(rtxDecBitsToByteArray), CALL(rtxDecUInt16), CALL(rtxDecUInt32), CALL(rtxDecUInt64), CALL(rtxDecInt8),
    CALL(rtxDecInt16), CALL(rtxDecInt32), CALL(rtxDecInt64), CALL(rtxPeekBits), CALL(rtxReadBytes),
    CALL(rtxReadBytesSafe), CALL(rtxSkipBits), CALL(rtxSkipBytes), CALL(rtxMoveBitCursor), CALL(rtxCheckInputBuffer),
    CALL(behind), CALL(rtxPeekBit), CALL(rtxPeekByte), CALL(rtxPeekBytes), CALL(inPlace), CALL(rtxEncBits),
    CALL(rtxEncBitsFromSize), CALL(rtxEncBitsFromByteArray), CALL(rtxEncBitsPattern), CALL(rtxEncUInt32),
    CALL(rtxMergeBits), CALL(rtxWriteBytes), CALL(indent), CALL(rtxGetIndentLevels), CALL(rtxWriteIndent),
    CALL(rtxCtxtSetFlag), CALL(rtxCtxtClearFlag), CALL(rtxCheckOutputBuffer), CALL(rtxCheckBuffer),
    CALL(rtxCtxtSetBitOffset), CALL(size), CALL(rtxCtxtMarkBitPos), CALL(rtxCtxtResetToBitPos), CALL(rtxMarkPos),
    CALL(rtxResetToPos), CALL(rtxCtxtGetIOByteCount),
    // names and regions
    CALL(rtxCtxtPushTypeName), CALL(rtxCtxtPopTypeName), CALL(rtxCtxtPushElemName), CALL(rtxCtxtPopElemName),
    CALL(rtxCtxtPushElemNameCopy), CALL(rtxCtxtPopElemNameCopy), CALL(rtxCtxtPushArrayElemName),
    CALL(rtxCtxtPopArrayElemName), CALL(rtxCtxtPushContainerBytes), CALL(rtxCtxtPushContainerBits),
    CALL(rtxCtxtPopContainer), CALL(rtxCtxtPopAllContainers), CALL(rtxCtxtContainerHasRemBits),
    CALL(rtxCtxtContainerEnd), CALL(rtxCtxtGetContainerRemBits), CALL(rtxMemFree), CALL(path), CALL(region),
    CALL(level),
    // failures
    CALL(rtxErrSetData), CALL(rtxErrSetNewData), CALL(rtxErrSetNonFatal), CALL(rtxErrGetStatus),
    CALL(rtxErrCheckNonFatal), CALL(rtxErrGetFirstError), CALL(rtxErrGetLastError), CALL(rtxErrGetErrorCnt),
    CALL(rtxErrResetLastErrors), CALL(rtxErrAddIntParm), CALL(rtxErrAddUIntParm), CALL(rtxErrAddInt64Parm),
    CALL(rtxErrAddUInt64Parm), CALL(rtxErrAddSizeParm), CALL(rtxErrAddDoubleParm), CALL(rtxErrAddStrParm),
    CALL(rtxErrAddStrnParm), CALL(rtxErrAddUniStrParm), CALL(rtxErrAddElemNameParm), CALL(rtxErrAddCtxtBufParm),
    CALL(rtxErrInvUIntOpt), CALL(rtxErrGetMsgText), CALL(error), CALL(parameters), CALL(says),
    // strings
    CALL(rtxStrcpy), CALL(rtxStrncpy), CALL(rtxStrcat), CALL(rtxStrJoin), CALL(rtxStrDynJoin), CALL(rtxStrdup),
    CALL(rtxUTF8Strdup), CALL(compared), CALL(rtxUTF8LenBytes), CALL(rtxUCSToCStr), CALL(rtxUIntToCharStr),
    CALL(rtxUInt64ToCharStr), CALL(rtxSizeToCharStr), CALL(rtxCharStrToUInt)};

TEST(RunTime, CallsGiveWhatTheirLinesSay)
{
  rtFreeContext(rtNewContext()); // which adds the messages of the upper layer
  calls::check("calls.txt", kFunctions, {{"wide", kWide}});
}

} // namespace
