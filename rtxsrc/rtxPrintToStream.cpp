#include "velnor3gpp/rtxPrintToStream.h"

#include "rtxsrc/rtxPrintForms.h"
#include "velnor3gpp/rtxStrings.h"

int rtxPrintToStreamIndent(RtxContext* pctxt)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtxSinkIndent(sink);
  return rtxSinkDone(sink);
}

int rtxPrintToStreamIncrIndent(RtxContext* pctxt)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtxSinkIndentMore(sink);
  return rtxSinkDone(sink);
}

int rtxPrintToStreamDecrIndent(RtxContext* pctxt)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtxSinkIndentLess(sink);
  return rtxSinkDone(sink);
}

int rtxPrintToStreamResetIndent(RtxContext* pctxt)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  *sink.indent = 0;
  return rtxSinkDone(sink);
}

int rtxPrintToStreamOpenBrace(RtxContext* pctxt, const char* name)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtxFormOpenBrace(sink, name);
  return rtxSinkDone(sink);
}

int rtxPrintToStreamCloseBrace(RtxContext* pctxt)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtxFormCloseBrace(sink);
  return rtxSinkDone(sink);
}

int rtxPrintToStreamBoolean(RtxContext* pctxt, const char* name, int value)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtxFormAssign(sink, name, value != 0 ? "true" : "false");
  return rtxSinkDone(sink);
}

int rtxPrintToStreamInteger(RtxContext* pctxt, const char* name, int32_t value)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtxFormInteger(sink, name, value);
  return rtxSinkDone(sink);
}

int rtxPrintToStreamInt64(RtxContext* pctxt, const char* name, int64_t value)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtxFormInteger(sink, name, value);
  return rtxSinkDone(sink);
}

int rtxPrintToStreamUnsigned(RtxContext* pctxt, const char* name, uint32_t value)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtxFormUnsigned(sink, name, value);
  return rtxSinkDone(sink);
}

int rtxPrintToStreamUInt64(RtxContext* pctxt, const char* name, uint64_t value)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtxFormUnsigned(sink, name, value);
  return rtxSinkDone(sink);
}

int rtxPrintToStreamHexStr(RtxContext* pctxt, const char* name, size_t octets, const uint8_t* data)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtxFormHex(sink, name, octets, data, true);
  return rtxSinkDone(sink);
}

int rtxPrintToStreamHexStrPlain(RtxContext* pctxt, const char* name, size_t octets, const uint8_t* data)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtxFormHexPlain(sink, name, octets, data);
  return rtxSinkDone(sink);
}

int rtxPrintToStreamHexStrNoAscii(RtxContext* pctxt, const char* name, size_t octets, const uint8_t* data)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtxFormHexDump(sink, name, octets, data);
  return rtxSinkDone(sink);
}

int rtxPrintToStreamHexBinary(RtxContext* pctxt, const char* name, size_t octets, const uint8_t* data)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtxFormHexBinary(sink, name, octets, data);
  return rtxSinkDone(sink);
}

int rtxPrintToStreamCharStr(RtxContext* pctxt, const char* name, const char* value)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtxFormQuoted(sink, name, value);
  return rtxSinkDone(sink);
}

int rtxPrintToStreamUTF8CharStr(RtxContext* pctxt, const char* name, const char* value)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtxFormQuoted(sink, name, value);
  return rtxSinkDone(sink);
}

int rtxPrintToStreamUnicodeCharStr(RtxContext* pctxt, const char* name, const uint16_t* chars, int count)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtxFormUnicode(sink, name, chars, count);
  return rtxSinkDone(sink);
}

int rtxPrintToStreamReal(RtxContext* pctxt, const char* name, double value)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtxFormReal(sink, name, value, 6);
  return rtxSinkDone(sink);
}

int rtxPrintToStreamNull(RtxContext* pctxt, const char* name)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtxFormAssign(sink, name, "<null>");
  return rtxSinkDone(sink);
}

int rtxPrintToStreamNVP(RtxContext* pctxt, const char* name, const RtxNameValuePair* pair)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtxFormPair(sink, name, pair);
  return rtxSinkDone(sink);
}

int rtxPrintToStreamFile(RtxContext* pctxt, const char* filename)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  int status = rtxFormFile(sink, filename, false);
  rtxSinkDone(sink);
  return status;
}

const char* rtxGetArrayElemName(char* dst, size_t dstSize, const char* name, size_t index)
{
  char digits[32];
  if (rtxSizeToCharStr(index, digits, sizeof digits, 0) < 0) return nullptr;
  return rtxStrJoin(dst, dstSize, name, "[", digits, "]", nullptr);
}
