#include "velnor3gpp/rtxPrint.h"

#include "rtxsrc/rtxPrintForms.h"

void rtxPrintIndent()
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtxSinkIndent(sink);
}

void rtxPrintIncrIndent()
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtxSinkIndentMore(sink);
}

void rtxPrintDecrIndent()
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtxSinkIndentLess(sink);
}

int rtxPrintBoolean(const char* name, int value)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtxFormAssign(sink, name, value != 0 ? "true" : "false");
  return rtxSinkDone(sink);
}

int rtxPrintInteger(const char* name, int32_t value)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtxFormInteger(sink, name, value);
  return rtxSinkDone(sink);
}

int rtxPrintInt64(const char* name, int64_t value)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtxFormInteger(sink, name, value);
  return rtxSinkDone(sink);
}

int rtxPrintUnsigned(const char* name, uint32_t value)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtxFormUnsigned(sink, name, value);
  return rtxSinkDone(sink);
}

int rtxPrintUInt64(const char* name, uint64_t value)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtxFormUnsigned(sink, name, value);
  return rtxSinkDone(sink);
}

int rtxPrintHexStr(const char* name, size_t octets, const uint8_t* data)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtxFormHex(sink, name, octets, data, true);
  return rtxSinkDone(sink);
}

int rtxPrintHexStrPlain(const char* name, size_t octets, const uint8_t* data)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtxFormHexPlain(sink, name, octets, data);
  return rtxSinkDone(sink);
}

int rtxPrintHexStrNoAscii(const char* name, size_t octets, const uint8_t* data)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtxFormHex(sink, name, octets, data, false);
  return rtxSinkDone(sink);
}

int rtxPrintHexBinary(const char* name, size_t octets, const uint8_t* data)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtxFormHexBinary(sink, name, octets, data);
  return rtxSinkDone(sink);
}

int rtxPrintCharStr(const char* name, const char* value)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtxFormQuoted(sink, name, value);
  return rtxSinkDone(sink);
}

int rtxPrintUTF8CharStr(const char* name, const char* value)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtxFormQuoted(sink, name, value);
  return rtxSinkDone(sink);
}

int rtxPrintUnicodeCharStr(const char* name, const uint16_t* chars, int count)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtxFormUnicode(sink, name, chars, count);
  return rtxSinkDone(sink);
}

int rtxPrintReal(const char* name, double value)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtxFormReal(sink, name, value, 12);
  return rtxSinkDone(sink);
}

int rtxPrintNull(const char* name)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtxFormAssign(sink, name, "<null>");
  return rtxSinkDone(sink);
}

int rtxPrintNVP(const char* name, const RtxNameValuePair* pair)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtxFormPair(sink, name, pair);
  return rtxSinkDone(sink);
}

int rtxPrintUnicodeCharStr64(const char* name, const uint16_t* chars, int64_t count)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtxFormUnicode(sink, name, chars, count);
  return rtxSinkDone(sink);
}

int rtxPrintArrayNVP(const char* name, size_t index, const RtxNameValuePair* pair)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtxFormArrayPair(sink, name, index, pair);
  return rtxSinkDone(sink);
}

int rtxPrintIpv4Addr(const char* name, size_t octets, const uint8_t* data)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtxFormIpv4(sink, name, octets, data);
  return rtxSinkDone(sink);
}

int rtxPrintIpv6Addr(const char* name, size_t octets, const uint8_t* data)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtxFormIpv6(sink, name, octets, data);
  return rtxSinkDone(sink);
}

int rtxPrintTBCDStr(const char* name, size_t octets, const uint8_t* data)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtxFormTbcd(sink, name, octets, data);
  return rtxSinkDone(sink);
}

int rtxPrintText(const char* name, size_t octets, const uint8_t* data)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtxFormText(sink, name, octets, data);
  return rtxSinkDone(sink);
}

int rtxPrintFile(const char* filename)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  return rtxFormFile(sink, filename, true);
}
