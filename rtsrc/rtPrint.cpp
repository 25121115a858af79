#include "velnor3gpp/rtPrint.h"

#include "rtsrc/rtPrintForms.h"

// The arcs in use, never more than the record holds.
static size_t arcCount(const RtObjId& value)
{
  return value.count < RT_MAX_ARCS ? value.count : RT_MAX_ARCS;
}

int rtPrintBitStr(const char* name, size_t numbits, const uint8_t* data, const char* separator)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtFormBitStr(sink, name, {numbits, data}, nullptr, separator, RtBitStyle::direct);
  return rtxSinkDone(sink);
}

int rtPrintBitStrExt(const char* name, size_t numbits, const uint8_t* data, uint32_t extdata, const char* separator)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtFormBitStr(sink, name, {numbits, data}, &extdata, separator, RtBitStyle::direct);
  return rtxSinkDone(sink);
}

int rtPrintBitStrBin(const char* name, size_t numbits, const uint8_t* data, const char* separator)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtFormBitStrBin(sink, name, {numbits, data}, separator);
  return rtxSinkDone(sink);
}

int rtPrintBitStrNamed(const char* name, size_t numbits, const uint8_t* data, const RtBitName* names,
                       const char* separator)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtFormBitStrNamed(sink, name, {numbits, data}, names, separator);
  return rtxSinkDone(sink);
}

int rtPrintBitStrNamedExt(const char* name, size_t numbits, const uint8_t* data, uint32_t extdata,
                          const RtBitName* names, const char* separator)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  (void)extdata;
  rtFormBitStrNamed(sink, name, {numbits, data}, names, separator);
  return rtxSinkDone(sink);
}

int rtPrintBitStrBraceText(const char* name, size_t numbits, const uint8_t* data, const char* separator)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  (void)separator;
  rtFormBitStrBrace(sink, name, {numbits, data}, nullptr, RtBitStyle::direct);
  return rtxSinkDone(sink);
}

int rtPrintBitStrBraceTextExt(const char* name, size_t numbits, const uint8_t* data, uint32_t extdata,
                              const char* separator)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  (void)separator;
  rtFormBitStrBrace(sink, name, {numbits, data}, &extdata, RtBitStyle::direct);
  return rtxSinkDone(sink);
}

int rtPrintOctStr(const char* name, size_t numocts, const uint8_t* data, const char* separator)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtFormCounted(sink, name, "numocts", numocts, data, 1, separator);
  return rtxSinkDone(sink);
}

int rtPrintOpenType(const char* name, size_t numocts, const uint8_t* data, const char* separator)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtFormCounted(sink, name, "numocts", numocts, data, 1, separator);
  return rtxSinkDone(sink);
}

int rtPrint16BitCharStr(const char* name, size_t nchars, const uint16_t* data, const char* separator)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtFormCounted(sink, name, "nchars", nchars, data, 2, separator);
  return rtxSinkDone(sink);
}

int rtPrint32BitCharStr(const char* name, size_t nchars, const uint32_t* data, const char* separator)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtFormCounted(sink, name, "nchars", nchars, data, 4, separator);
  return rtxSinkDone(sink);
}

int rtPrintUnicodeCharStr(const char* name, const uint16_t* chars, int count)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtxFormUnicode(sink, name, chars, count);
  return rtxSinkDone(sink);
}

int rtPrintUnivCharStr(const char* name, size_t nchars, const uint32_t* chars)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtFormUniv(sink, name, nchars, chars);
  return rtxSinkDone(sink);
}

int rtPrintDateTime(const char* name, const RtxDateTime* value)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtFormDateTime(sink, name, value);
  return rtxSinkDone(sink);
}

int rtPrintOIDValue(const RtObjId* value)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtFormOIDArcs(sink, arcCount(*value), value->arcs);
  return rtxSinkDone(sink);
}

int rtPrintOID(const char* name, const RtObjId* value)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtFormOID(sink, name, arcCount(*value), value->arcs);
  return rtxSinkDone(sink);
}

int rtPrintOID2(const char* name, size_t count, const uint32_t* arcs)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtFormOID(sink, name, count, arcs);
  return rtxSinkDone(sink);
}

int rtPrintOID64(const char* name, const RtObjId64* value)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtFormOID64(sink, name, value);
  return rtxSinkDone(sink);
}

int rtPrintOIDStr(const char* name, const char* text)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  rtFormOIDStr(sink, name, text);
  return rtxSinkDone(sink);
}
