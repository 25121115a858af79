// The print family for standard output, ASN.1 kinds of value. Each function chooses the target and the form; the words
// are written in rtPrintForms.cpp. Arguments without a name are those that the interface has and the form does not
// show.
#include "velnor3gpp/rtPrint.h"

#include "rtsrc/rtPrintForms.h"

int rtPrintBitStr(const char* name, size_t numbits, const uint8_t* data, const char* separator)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtFormBitStr, name, RtBits{numbits, data}, nullptr, separator,
                      RtBitStyle::direct);
}

int rtPrintBitStrExt(const char* name, size_t numbits, const uint8_t* data, uint32_t extdata, const char* separator)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtFormBitStr, name, RtBits{numbits, data}, &extdata, separator,
                      RtBitStyle::direct);
}

int rtPrintBitStrBin(const char* name, size_t numbits, const uint8_t* data, const char* separator)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtFormBitStrBin, name, RtBits{numbits, data}, separator);
}

int rtPrintBitStrNamed(const char* name, size_t numbits, const uint8_t* data, const RtBitName* names,
                       const char* separator)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtFormBitStrNamed, name, RtBits{numbits, data}, names, separator);
}

int rtPrintBitStrNamedExt(const char* name, size_t numbits, const uint8_t* data, uint32_t, const RtBitName* names,
                          const char* separator)
{
  return rtPrintBitStrNamed(name, numbits, data, names, separator);
}

int rtPrintBitStrBraceText(const char* name, size_t numbits, const uint8_t* data, const char*)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtFormBitStrBrace, name, RtBits{numbits, data}, nullptr, RtBitStyle::direct);
}

int rtPrintBitStrBraceTextExt(const char* name, size_t numbits, const uint8_t* data, uint32_t extdata, const char*)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtFormBitStrBrace, name, RtBits{numbits, data}, &extdata, RtBitStyle::direct);
}

int rtPrintOctStr(const char* name, size_t numocts, const uint8_t* data, const char* separator)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtFormCounted, name, "numocts", numocts, data, 1U, separator);
}

int rtPrintOpenType(const char* name, size_t numocts, const uint8_t* data, const char* separator)
{
  return rtPrintOctStr(name, numocts, data, separator);
}

int rtPrint16BitCharStr(const char* name, size_t nchars, const uint16_t* data, const char* separator)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtFormCounted, name, "nchars", nchars, data, 2U, separator);
}

int rtPrint32BitCharStr(const char* name, size_t nchars, const uint32_t* data, const char* separator)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtFormCounted, name, "nchars", nchars, data, 4U, separator);
}

int rtPrintUnicodeCharStr(const char* name, const uint16_t* chars, int count)
{
  return rtxPrintUnicodeCharStr(name, chars, count);
}

int rtPrintUnivCharStr(const char* name, size_t nchars, const uint32_t* chars)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtFormUniv, name, nchars, chars);
}

int rtPrintDateTime(const char* name, const RtxDateTime* value)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtFormDateTime, name, value);
}

int rtPrintOIDValue(const RtObjId* value)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtFormOIDValue, value);
}

int rtPrintOID(const char* name, const RtObjId* value)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtFormObjId, name, value);
}

int rtPrintOID2(const char* name, size_t count, const uint32_t* arcs)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtFormOID, name, count, arcs);
}

int rtPrintOID64(const char* name, const RtObjId64* value)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtFormOID64, name, value);
}

int rtPrintOIDStr(const char* name, const char* text)
{
  return rtxPrintForm(rtxSinkOfStdout(), rtFormOIDStr, name, text);
}
