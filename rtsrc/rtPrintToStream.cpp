// The print family for the print stream of a context, ASN.1 kinds of value. Each function chooses the target and the
// form; the words are written in rtPrintForms.cpp. Arguments without a name are those that the interface has and the
// form does not show.
#include "velnor3gpp/rtPrintToStream.h"

#include "rtsrc/rtPrintForms.h"
#include "velnor3gpp/rtxPrintToStream.h"

int rtPrintToStreamBitStr(RtxContext* pctxt, const char* name, size_t numbits, const uint8_t* data,
                          const char* separator)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtFormBitStr, name, RtBits{numbits, data}, nullptr, separator,
                      RtBitStyle::stream);
}

int rtPrintToStreamBitStrExt(RtxContext* pctxt, const char* name, size_t numbits, const uint8_t* data, uint32_t extdata,
                             const char* separator)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtFormBitStr, name, RtBits{numbits, data}, &extdata, separator,
                      RtBitStyle::stream);
}

int rtPrintToStreamBitStrBin(RtxContext* pctxt, const char* name, size_t numbits, const uint8_t* data,
                             const char* separator)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtFormBitStrBin, name, RtBits{numbits, data}, separator);
}

int rtPrintToStreamBitStrNamed(RtxContext* pctxt, const char* name, size_t numbits, const uint8_t* data,
                               const RtBitName* names, const char* separator)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtFormBitStrNamed, name, RtBits{numbits, data}, names, separator);
}

int rtPrintToStreamBitStrNamedExt(RtxContext* pctxt, const char* name, size_t numbits, const uint8_t* data, uint32_t,
                                  const RtBitName* names, const char* separator)
{
  return rtPrintToStreamBitStrNamed(pctxt, name, numbits, data, names, separator);
}

int rtPrintToStreamBitStrBraceText(RtxContext* pctxt, const char* name, size_t numbits, const uint8_t* data,
                                   const char*)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtFormBitStrBrace, name, RtBits{numbits, data}, nullptr,
                      RtBitStyle::stream);
}

int rtPrintToStreamBitStrBraceTextExt(RtxContext* pctxt, const char* name, size_t numbits, const uint8_t* data,
                                      uint32_t extdata, const char*)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtFormBitStrBrace, name, RtBits{numbits, data}, &extdata,
                      RtBitStyle::stream);
}

int rtPrintToStreamOctStr(RtxContext* pctxt, const char* name, size_t numocts, const uint8_t* data,
                          const char* separator)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtFormCounted, name, "numocts", numocts, data, 1U, separator);
}

int rtPrintToStreamOpenType(RtxContext* pctxt, const char* name, size_t numocts, const uint8_t* data,
                            const char* separator)
{
  return rtPrintToStreamOctStr(pctxt, name, numocts, data, separator);
}

int rtPrintToStream16BitCharStr(RtxContext* pctxt, const char* name, size_t nchars, const uint16_t* data,
                                const char* separator)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtFormCounted, name, "nchars", nchars, data, 2U, separator);
}

int rtPrintToStream32BitCharStr(RtxContext* pctxt, const char* name, size_t nchars, const uint32_t* data,
                                const char* separator)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtFormCounted, name, "nchars", nchars, data, 4U, separator);
}

int rtPrintToStreamUnicodeCharStr(RtxContext* pctxt, const char* name, const uint16_t* chars, int count)
{
  return rtxPrintToStreamUnicodeCharStr(pctxt, name, chars, count);
}

int rtPrintToStreamUnivCharStr(RtxContext* pctxt, const char* name, size_t nchars, const uint32_t* chars)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtFormUniv, name, nchars, chars);
}

int rtPrintToStreamDateTime(RtxContext* pctxt, const char* name, const RtxDateTime* value)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtFormDateTime, name, value);
}

int rtPrintToStreamOIDValue(RtxContext* pctxt, const RtObjId* value)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtFormOIDValue, value);
}

int rtPrintToStreamOID(RtxContext* pctxt, const char* name, const RtObjId* value)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtFormObjId, name, value);
}

int rtPrintToStreamOID2(RtxContext* pctxt, const char* name, size_t count, const uint32_t* arcs)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtFormOID, name, count, arcs);
}

int rtPrintToStreamOID64(RtxContext* pctxt, const char* name, const RtObjId64* value)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtFormOID64, name, value);
}

int rtPrintToStreamOIDStr(RtxContext* pctxt, const char* name, const char* text)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtFormOIDStr, name, text);
}

int rtPrintToStreamIpv4Addr(RtxContext* pctxt, const char* name, size_t octets, const uint8_t* data)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtxFormIpv4, name, octets, data);
}

int rtPrintToStreamIpv6Addr(RtxContext* pctxt, const char* name, size_t octets, const uint8_t* data)
{
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtxFormIpv6, name, octets, data);
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
  return rtxPrintForm(rtxSinkOfStream(pctxt), rtxFormText, name, octets, data);
}
