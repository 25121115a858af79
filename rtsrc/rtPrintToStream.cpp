#include "velnor3gpp/rtPrintToStream.h"

#include "rtsrc/rtPrintForms.h"

// The arcs in use, never more than the record holds.
static size_t arcCount(const RtObjId& value)
{
  return value.count < RT_MAX_ARCS ? value.count : RT_MAX_ARCS;
}

int rtPrintToStreamBitStr(RtxContext* pctxt, const char* name, size_t numbits, const uint8_t* data,
                          const char* separator)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtFormBitStr(sink, name, {numbits, data}, nullptr, separator, RtBitStyle::stream);
  return rtxSinkDone(sink);
}

int rtPrintToStreamBitStrExt(RtxContext* pctxt, const char* name, size_t numbits, const uint8_t* data, uint32_t extdata,
                             const char* separator)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtFormBitStr(sink, name, {numbits, data}, &extdata, separator, RtBitStyle::stream);
  return rtxSinkDone(sink);
}

int rtPrintToStreamBitStrBin(RtxContext* pctxt, const char* name, size_t numbits, const uint8_t* data,
                             const char* separator)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtFormBitStrBin(sink, name, {numbits, data}, separator);
  return rtxSinkDone(sink);
}

int rtPrintToStreamBitStrNamed(RtxContext* pctxt, const char* name, size_t numbits, const uint8_t* data,
                               const RtBitName* names, const char* separator)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtFormBitStrNamed(sink, name, {numbits, data}, names, separator);
  return rtxSinkDone(sink);
}

int rtPrintToStreamBitStrNamedExt(RtxContext* pctxt, const char* name, size_t numbits, const uint8_t* data,
                                  uint32_t extdata, const RtBitName* names, const char* separator)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  (void)extdata;
  rtFormBitStrNamed(sink, name, {numbits, data}, names, separator);
  return rtxSinkDone(sink);
}

int rtPrintToStreamBitStrBraceText(RtxContext* pctxt, const char* name, size_t numbits, const uint8_t* data,
                                   const char* separator)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  (void)separator;
  rtFormBitStrBrace(sink, name, {numbits, data}, nullptr, RtBitStyle::stream);
  return rtxSinkDone(sink);
}

int rtPrintToStreamBitStrBraceTextExt(RtxContext* pctxt, const char* name, size_t numbits, const uint8_t* data,
                                      uint32_t extdata, const char* separator)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  (void)separator;
  rtFormBitStrBrace(sink, name, {numbits, data}, &extdata, RtBitStyle::stream);
  return rtxSinkDone(sink);
}

int rtPrintToStreamOctStr(RtxContext* pctxt, const char* name, size_t numocts, const uint8_t* data,
                          const char* separator)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtFormCounted(sink, name, "numocts", numocts, data, 1, separator);
  return rtxSinkDone(sink);
}

int rtPrintToStreamOpenType(RtxContext* pctxt, const char* name, size_t numocts, const uint8_t* data,
                            const char* separator)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtFormCounted(sink, name, "numocts", numocts, data, 1, separator);
  return rtxSinkDone(sink);
}

int rtPrintToStream16BitCharStr(RtxContext* pctxt, const char* name, size_t nchars, const uint16_t* data,
                                const char* separator)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtFormCounted(sink, name, "nchars", nchars, data, 2, separator);
  return rtxSinkDone(sink);
}

int rtPrintToStream32BitCharStr(RtxContext* pctxt, const char* name, size_t nchars, const uint32_t* data,
                                const char* separator)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtFormCounted(sink, name, "nchars", nchars, data, 4, separator);
  return rtxSinkDone(sink);
}

int rtPrintToStreamUnicodeCharStr(RtxContext* pctxt, const char* name, const uint16_t* chars, int count)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtxFormUnicode(sink, name, chars, count);
  return rtxSinkDone(sink);
}

int rtPrintToStreamUnivCharStr(RtxContext* pctxt, const char* name, size_t nchars, const uint32_t* chars)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtFormUniv(sink, name, nchars, chars);
  return rtxSinkDone(sink);
}

int rtPrintToStreamDateTime(RtxContext* pctxt, const char* name, const RtxDateTime* value)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtFormDateTime(sink, name, value);
  return rtxSinkDone(sink);
}

int rtPrintToStreamOIDValue(RtxContext* pctxt, const RtObjId* value)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtFormOIDArcs(sink, arcCount(*value), value->arcs);
  return rtxSinkDone(sink);
}

int rtPrintToStreamOID(RtxContext* pctxt, const char* name, const RtObjId* value)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtFormOID(sink, name, arcCount(*value), value->arcs);
  return rtxSinkDone(sink);
}

int rtPrintToStreamOID2(RtxContext* pctxt, const char* name, size_t count, const uint32_t* arcs)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtFormOID(sink, name, count, arcs);
  return rtxSinkDone(sink);
}

int rtPrintToStreamOID64(RtxContext* pctxt, const char* name, const RtObjId64* value)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtFormOID64(sink, name, value);
  return rtxSinkDone(sink);
}

int rtPrintToStreamOIDStr(RtxContext* pctxt, const char* name, const char* text)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtFormOIDStr(sink, name, text);
  return rtxSinkDone(sink);
}

int rtPrintToStreamIpv4Addr(RtxContext* pctxt, const char* name, size_t octets, const uint8_t* data)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtxFormIpv4(sink, name, octets, data);
  return rtxSinkDone(sink);
}

int rtPrintToStreamIpv6Addr(RtxContext* pctxt, const char* name, size_t octets, const uint8_t* data)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtxFormIpv6(sink, name, octets, data);
  return rtxSinkDone(sink);
}

int rtPrintToStreamTBCDStr(RtxContext* pctxt, const char* name, size_t octets, const uint8_t* data)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtxFormTbcd(sink, name, octets, data);
  rtxSinkWrite(sink, "\n", 1);
  return rtxSinkDone(sink);
}

int rtPrintToStreamText(RtxContext* pctxt, const char* name, size_t octets, const uint8_t* data)
{
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  rtxFormText(sink, name, octets, data);
  return rtxSinkDone(sink);
}
