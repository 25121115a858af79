// The print family for the print stream of a context. Each function chooses the target and the form; the words are
// written in rtxPrintForms.cpp. A null context prints to the process's print stream.
#include "velnor3gpp/rtxPrintToStream.h"

#include "rtxsrc/print/rtxPrintForms.h"
#include "velnor3gpp/rtxStrings.h"

// To a callback that the library does not know the blanks go one by one (rtxSinkBlanks).
int rtxPrintToStreamIndent(RtxContext* pctxt)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtxSinkBlanks);
}

int rtxPrintToStreamIncrIndent(RtxContext* pctxt)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtxSinkIndentMore);
}

int rtxPrintToStreamDecrIndent(RtxContext* pctxt)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtxSinkIndentLess);
}

int rtxPrintToStreamResetIndent(RtxContext* pctxt)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  *sink.indent = 0;
  return rtxSinkDone(sink);
}

int rtxPrintToStreamOpenBrace(RtxContext* pctxt, const char* name)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtxFormOpenBrace, name);
}

int rtxPrintToStreamCloseBrace(RtxContext* pctxt)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtxFormCloseBrace);
}

int rtxPrintToStreamBoolean(RtxContext* pctxt, const char* name, int value)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtxFormAssign, name, value != 0 ? "true" : "false");
}

int rtxPrintToStreamInteger(RtxContext* pctxt, const char* name, int32_t value)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtxFormInteger, name, value);
}

int rtxPrintToStreamInt64(RtxContext* pctxt, const char* name, int64_t value)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtxFormInteger, name, value);
}

int rtxPrintToStreamUnsigned(RtxContext* pctxt, const char* name, uint32_t value)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtxFormUnsigned, name, value);
}

int rtxPrintToStreamUInt64(RtxContext* pctxt, const char* name, uint64_t value)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtxFormUnsigned, name, value);
}

int rtxPrintToStreamHexStr(RtxContext* pctxt, const char* name, size_t octets, const uint8_t* data)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtxFormHex, name, octets, data, true);
}

int rtxPrintToStreamHexStrPlain(RtxContext* pctxt, const char* name, size_t octets, const uint8_t* data)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtxFormHexPlain, name, octets, data);
}

int rtxPrintToStreamHexStrNoAscii(RtxContext* pctxt, const char* name, size_t octets, const uint8_t* data)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtxFormHexDump, name, octets, data);
}

int rtxPrintToStreamHexBinary(RtxContext* pctxt, const char* name, size_t octets, const uint8_t* data)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtxFormHexBinary, name, octets, data);
}

int rtxPrintToStreamCharStr(RtxContext* pctxt, const char* name, const char* value)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtxFormQuoted, name, value);
}

int rtxPrintToStreamUTF8CharStr(RtxContext* pctxt, const char* name, const char* value)
{
  return rtxPrintToStreamCharStr(pctxt, name, value);
}

int rtxPrintToStreamUnicodeCharStr(RtxContext* pctxt, const char* name, const uint16_t* chars, int count)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtxFormUnicode, name, chars, count);
}

int rtxPrintToStreamReal(RtxContext* pctxt, const char* name, double value)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtxFormReal, name, value, 6);
}

int rtxPrintToStreamNull(RtxContext* pctxt, const char* name)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtxFormAssign, name, "<null>");
}

int rtxPrintToStreamNVP(RtxContext* pctxt, const char* name, const RtxNameValuePair* pair)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtxFormPair, name, pair);
}

int rtxPrintToStreamFile(RtxContext* pctxt, const char* filename)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  int status = rtxFormFile(sink, filename, false);
  rtxSinkDone(sink);
  return status;
}

// Writes "name[index]". A name that does not fit is cut after the last whole part.
const char* rtxGetArrayElemName(char* dst, size_t dstSize, const char* name, size_t index)
{
  char digits[32];
  if (rtxSizeToCharStr(index, digits, sizeof digits, 0) < 0) return nullptr;
  return rtxStrJoin(dst, dstSize, name, "[", digits, "]", nullptr);
}
