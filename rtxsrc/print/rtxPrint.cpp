// The print family for standard output, without a context. Each function chooses the target and the form; the words are
// written in rtxPrintForms.cpp. The indentation is one for the process and is not locked.
#include "velnor3gpp/rtxPrint.h"

#include "rtxsrc/print/rtxPrintForms.h"

void rtxPrintIndent()
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtxSinkIndent(sink);
  rtxSinkDone(sink);
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
  return rtxPrintForm(rtxSinkOfStdout(), rtxFormAssign, name, value != 0 ? "true" : "false");
}

int rtxPrintInteger(const char* name, int32_t value)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtxFormInteger, name, value);
}

int rtxPrintInt64(const char* name, int64_t value)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtxFormInteger, name, value);
}

int rtxPrintUnsigned(const char* name, uint32_t value)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtxFormUnsigned, name, value);
}

int rtxPrintUInt64(const char* name, uint64_t value)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtxFormUnsigned, name, value);
}

int rtxPrintHexStr(const char* name, size_t octets, const uint8_t* data)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtxFormHex, name, octets, data, true);
}

int rtxPrintHexStrPlain(const char* name, size_t octets, const uint8_t* data)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtxFormHexPlain, name, octets, data);
}

int rtxPrintHexStrNoAscii(const char* name, size_t octets, const uint8_t* data)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtxFormHex, name, octets, data, false);
}

int rtxPrintHexBinary(const char* name, size_t octets, const uint8_t* data)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtxFormHexBinary, name, octets, data);
}

int rtxPrintCharStr(const char* name, const char* value)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtxFormQuoted, name, value);
}

int rtxPrintUTF8CharStr(const char* name, const char* value)
{
  return rtxPrintCharStr(name, value);
}

int rtxPrintUnicodeCharStr(const char* name, const uint16_t* chars, int count)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtxFormUnicode, name, chars, count);
}

int rtxPrintReal(const char* name, double value)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtxFormReal, name, value, 12);
}

int rtxPrintNull(const char* name)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtxFormAssign, name, "<null>");
}

int rtxPrintNVP(const char* name, const RtxNameValuePair* pair)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtxFormPair, name, pair);
}

int rtxPrintUnicodeCharStr64(const char* name, const uint16_t* chars, int64_t count)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtxFormUnicode, name, chars, count);
}

int rtxPrintArrayNVP(const char* name, size_t index, const RtxNameValuePair* pair)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtxFormArrayPair, name, index, pair);
}

int rtxPrintIpv4Addr(const char* name, size_t octets, const uint8_t* data)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtxFormIpv4, name, octets, data);
}

int rtxPrintIpv6Addr(const char* name, size_t octets, const uint8_t* data)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtxFormIpv6, name, octets, data);
}

int rtxPrintTBCDStr(const char* name, size_t octets, const uint8_t* data)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtxFormTbcd, name, octets, data);
}

int rtxPrintText(const char* name, size_t octets, const uint8_t* data)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtxFormText, name, octets, data);
}

int rtxPrintFile(const char* filename)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  int status = rtxFormFile(sink, filename, true);
  rtxSinkDone(sink);
  return status;
}
