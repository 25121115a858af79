#include "velnor3gpp/rtPrintToString.h"

#include "rtsrc/rtPrintForms.h"

// Process-wide, documented as not locked.
static uint16_t stringIndent = 0;

static RtxPrintSink sinkOf(char* buffer, size_t size)
{
  return rtxSinkOfString(buffer, size, &stringIndent);
}

// The arcs in use, never more than the record holds.
static size_t arcCount(const RtObjId& value)
{
  return value.count < RT_MAX_ARCS ? value.count : RT_MAX_ARCS;
}

int rtPrintToString(const char* text, char* buffer, size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtxSinkPut(sink, {text});
  return rtxSinkDone(sink);
}

int rtPrintToStringIndent(char* buffer, size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtxSinkIndent(sink);
  return rtxSinkDone(sink);
}

void rtPrintToStringIncrIndent()
{
  RtxPrintSink sink = sinkOf(nullptr, 0);
  rtxSinkIndentMore(sink);
}

void rtPrintToStringDecrIndent()
{
  RtxPrintSink sink = sinkOf(nullptr, 0);
  rtxSinkIndentLess(sink);
}

void rtPrintToStringResetIndent()
{
  stringIndent = 0;
}

int rtPrintToStringOpenBrace(const char* name, char* buffer, size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtxFormOpenBrace(sink, name);
  return rtxSinkDone(sink);
}

int rtPrintToStringCloseBrace(char* buffer, size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtxFormCloseBrace(sink);
  return rtxSinkDone(sink);
}

int rtPrintToStringBoolean(const char* name, int value, char* buffer, size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtxFormAssign(sink, name, value != 0 ? "TRUE" : "FALSE");
  return rtxSinkDone(sink);
}

int rtPrintToStringInteger(const char* name, int32_t value, char* buffer, size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtxFormInteger(sink, name, value);
  return rtxSinkDone(sink);
}

int rtPrintToStringInt64(const char* name, int64_t value, char* buffer, size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtxFormInteger(sink, name, value);
  return rtxSinkDone(sink);
}

int rtPrintToStringUnsigned(const char* name, uint32_t value, char* buffer, size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtxFormUnsigned(sink, name, value);
  return rtxSinkDone(sink);
}

int rtPrintToStringUInt64(const char* name, uint64_t value, char* buffer, size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtxFormUnsigned(sink, name, value);
  return rtxSinkDone(sink);
}

int rtPrintToStringReal(const char* name, double value, char* buffer, size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtxFormReal(sink, name, value, 6);
  return rtxSinkDone(sink);
}

int rtPrintToStringNull(const char* name, char* buffer, size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtxFormAssign(sink, name, "<null>");
  return rtxSinkDone(sink);
}

int rtPrintToStringCharStr(const char* name, const char* value, char* buffer, size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtxFormQuoted(sink, name, value);
  return rtxSinkDone(sink);
}

int rtPrintToStringUTF8Str(const char* name, const char* value, char* buffer, size_t size)
{
  return rtPrintToStringCharStr(name, value, buffer, size);
}

int rtPrintToStringHexStr(const char* name, size_t octets, const uint8_t* data, char* buffer, size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtxFormHexPlain(sink, name, octets, data);
  return rtxSinkDone(sink);
}

int rtPrintToStringHexBinary(const char* name, size_t octets, const uint8_t* data, char* buffer, size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtxFormHexBinary(sink, name, octets, data);
  return rtxSinkDone(sink);
}

int rtPrintToStringNVP(const char* name, const RtxNameValuePair* pair, char* buffer, size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtxFormPair(sink, name, pair);
  return rtxSinkDone(sink);
}

int rtPrintToStringBitStr(const char* name, size_t numbits, const uint8_t* data, const char* separator, char* buffer,
                          size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtFormBitStr(sink, name, {numbits, data}, nullptr, separator, RtBitStyle::stream);
  return rtxSinkDone(sink);
}

int rtPrintToStringBitStrExt(const char* name, size_t numbits, const uint8_t* data, uint32_t extdata,
                             const char* separator, char* buffer, size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtFormBitStr(sink, name, {numbits, data}, &extdata, separator, RtBitStyle::stream);
  return rtxSinkDone(sink);
}

int rtPrintToStringBitStrBin(const char* name, size_t numbits, const uint8_t* data, const char* separator, char* buffer,
                             size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtFormBitStrBin(sink, name, {numbits, data}, separator);
  return rtxSinkDone(sink);
}

int rtPrintToStringBitStrNamed(const char* name, size_t numbits, const uint8_t* data, const RtBitName* names,
                               const char* separator, char* buffer, size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtFormBitStrNamed(sink, name, {numbits, data}, names, separator);
  return rtxSinkDone(sink);
}

int rtPrintToStringBitStrNamedExt(const char* name, size_t numbits, const uint8_t* data, uint32_t extdata,
                                  const RtBitName* names, const char* separator, char* buffer, size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  (void)extdata;
  rtFormBitStrNamed(sink, name, {numbits, data}, names, separator);
  return rtxSinkDone(sink);
}

int rtPrintToStringBitStrBraceText(const char* name, size_t numbits, const uint8_t* data, const char* separator,
                                   char* buffer, size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  (void)separator;
  rtFormBitStrBrace(sink, name, {numbits, data}, nullptr, RtBitStyle::stream);
  return rtxSinkDone(sink);
}

int rtPrintToStringBitStrBraceTextExt(const char* name, size_t numbits, const uint8_t* data, uint32_t extdata,
                                      const char* separator, char* buffer, size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  (void)separator;
  rtFormBitStrBrace(sink, name, {numbits, data}, &extdata, RtBitStyle::stream);
  return rtxSinkDone(sink);
}

int rtPrintToStringOctStr(const char* name, size_t numocts, const uint8_t* data, const char* separator, char* buffer,
                          size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtFormCounted(sink, name, "numocts", numocts, data, 1, separator);
  return rtxSinkDone(sink);
}

int rtPrintToStringOpenType(const char* name, size_t numocts, const uint8_t* data, const char* separator, char* buffer,
                            size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtFormCounted(sink, name, "numocts", numocts, data, 1, separator);
  return rtxSinkDone(sink);
}

int rtPrintToString16BitCharStr(const char* name, size_t nchars, const uint16_t* data, const char* separator,
                                char* buffer, size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtFormCounted(sink, name, "nchars", nchars, data, 2, separator);
  return rtxSinkDone(sink);
}

int rtPrintToString32BitCharStr(const char* name, size_t nchars, const uint32_t* data, const char* separator,
                                char* buffer, size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtFormCounted(sink, name, "nchars", nchars, data, 4, separator);
  return rtxSinkDone(sink);
}

int rtPrintToStringUnicodeCharStr(const char* name, const uint16_t* chars, int count, char* buffer, size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtxFormUnicode(sink, name, chars, count);
  return rtxSinkDone(sink);
}

int rtPrintToStringUnivCharStr(const char* name, size_t nchars, const uint32_t* chars, char* buffer, size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtFormUniv(sink, name, nchars, chars);
  return rtxSinkDone(sink);
}

int rtPrintToStringDateTime(const char* name, const RtxDateTime* value, char* buffer, size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtFormDateTime(sink, name, value);
  return rtxSinkDone(sink);
}

int rtPrintToStringOIDValue(const RtObjId* value, char* buffer, size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtFormOIDArcs(sink, arcCount(*value), value->arcs);
  return rtxSinkDone(sink);
}

int rtPrintToStringOID(const char* name, const RtObjId* value, char* buffer, size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtFormOID(sink, name, arcCount(*value), value->arcs);
  return rtxSinkDone(sink);
}

int rtPrintToStringOID2(const char* name, size_t count, const uint32_t* arcs, char* buffer, size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtFormOID(sink, name, count, arcs);
  return rtxSinkDone(sink);
}

int rtPrintToStringOID64(const char* name, const RtObjId64* value, char* buffer, size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtFormOID64(sink, name, value);
  return rtxSinkDone(sink);
}

int rtPrintToStringOIDStr(const char* name, const char* text, char* buffer, size_t size)
{
  RtxPrintSink sink = sinkOf(buffer, size);
  rtFormOIDStr(sink, name, text);
  return rtxSinkDone(sink);
}
