// The print family that appends to a caller's zero-ended string. A text that does not fit ends the printing with
// RTX_E_ENCODE_OVERFLOW, and what was printed before stays, ended by a zero. The forms are those of rtxPrintForms.cpp
// and rtPrintForms.cpp; the string has to be ended before the first call, since each call looks for its end.
#include "velnor3gpp/rtPrintToString.h"

#include "rtsrc/rtPrintForms.h"
#include "velnor3gpp/rtxStatus.h"

// Process-wide, documented as not locked.
static uint16_t stringIndent = 0;

static RtxPrintSink sinkOf(char* buffer, size_t size)
{
  return rtxSinkOfString(buffer, size, &stringIndent);
}

int rtPrintToString(const char* text, char* buffer, size_t size)
{
  if (text == nullptr) return RTX_E_ENCODE_OVERFLOW;
  RtxPrintSink sink = sinkOf(buffer, size);
  rtxSinkPut(sink, {text});
  return rtxSinkDone(sink);
}

int rtPrintToStringIndent(char* buffer, size_t size)
{
  return rtxPrintForm(sinkOf(buffer, size), rtxSinkIndent);
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
  return rtxPrintForm(sinkOf(buffer, size), rtxFormOpenBrace, name);
}

int rtPrintToStringCloseBrace(char* buffer, size_t size)
{
  return rtxPrintForm(sinkOf(buffer, size), rtxFormCloseBrace);
}

int rtPrintToStringBoolean(const char* name, int value, char* buffer, size_t size)
{
  return rtxPrintForm(sinkOf(buffer, size), rtxFormAssign, name, value != 0 ? "TRUE" : "FALSE");
}

int rtPrintToStringInteger(const char* name, int32_t value, char* buffer, size_t size)
{
  return rtxPrintForm(sinkOf(buffer, size), rtxFormInteger, name, value);
}

int rtPrintToStringInt64(const char* name, int64_t value, char* buffer, size_t size)
{
  return rtxPrintForm(sinkOf(buffer, size), rtxFormInteger, name, value);
}

int rtPrintToStringUnsigned(const char* name, uint32_t value, char* buffer, size_t size)
{
  return rtxPrintForm(sinkOf(buffer, size), rtxFormUnsigned, name, value);
}

int rtPrintToStringUInt64(const char* name, uint64_t value, char* buffer, size_t size)
{
  return rtxPrintForm(sinkOf(buffer, size), rtxFormUnsigned, name, value);
}

int rtPrintToStringReal(const char* name, double value, char* buffer, size_t size)
{
  return rtxPrintForm(sinkOf(buffer, size), rtxFormReal, name, value, 6);
}

int rtPrintToStringNull(const char* name, char* buffer, size_t size)
{
  return rtxPrintForm(sinkOf(buffer, size), rtxFormAssign, name, "<null>");
}

int rtPrintToStringCharStr(const char* name, const char* value, char* buffer, size_t size)
{
  return rtxPrintForm(sinkOf(buffer, size), rtxFormQuoted, name, value);
}

int rtPrintToStringUTF8Str(const char* name, const char* value, char* buffer, size_t size)
{
  return rtPrintToStringCharStr(name, value, buffer, size);
}

int rtPrintToStringHexStr(const char* name, size_t octets, const uint8_t* data, char* buffer, size_t size)
{
  return rtxPrintForm(sinkOf(buffer, size), rtxFormHexPlain, name, octets, data);
}

int rtPrintToStringHexBinary(const char* name, size_t octets, const uint8_t* data, char* buffer, size_t size)
{
  return rtxPrintForm(sinkOf(buffer, size), rtxFormHexBinary, name, octets, data);
}

int rtPrintToStringNVP(const char* name, const RtxNameValuePair* pair, char* buffer, size_t size)
{
  return rtxPrintForm(sinkOf(buffer, size), rtxFormPair, name, pair);
}

int rtPrintToStringBitStr(const char* name, size_t numbits, const uint8_t* data, const char* separator, char* buffer,
                          size_t size)
{
  return rtxPrintForm(sinkOf(buffer, size), rtFormBitStr, name, RtBits{numbits, data}, nullptr, separator,
                      RtBitStyle::stream);
}

int rtPrintToStringBitStrExt(const char* name, size_t numbits, const uint8_t* data, uint32_t extdata,
                             const char* separator, char* buffer, size_t size)
{
  return rtxPrintForm(sinkOf(buffer, size), rtFormBitStr, name, RtBits{numbits, data}, &extdata, separator,
                      RtBitStyle::stream);
}

int rtPrintToStringBitStrBin(const char* name, size_t numbits, const uint8_t* data, const char* separator, char* buffer,
                             size_t size)
{
  return rtxPrintForm(sinkOf(buffer, size), rtFormBitStrBin, name, RtBits{numbits, data}, separator);
}

int rtPrintToStringBitStrNamed(const char* name, size_t numbits, const uint8_t* data, const RtBitName* names,
                               const char* separator, char* buffer, size_t size)
{
  return rtxPrintForm(sinkOf(buffer, size), rtFormBitStrNamed, name, RtBits{numbits, data}, names, separator);
}

int rtPrintToStringBitStrNamedExt(const char* name, size_t numbits, const uint8_t* data, uint32_t,
                                  const RtBitName* names, const char* separator, char* buffer, size_t size)
{
  return rtPrintToStringBitStrNamed(name, numbits, data, names, separator, buffer, size);
}

int rtPrintToStringBitStrBraceText(const char* name, size_t numbits, const uint8_t* data, const char*, char* buffer,
                                   size_t size)
{
  return rtxPrintForm(sinkOf(buffer, size), rtFormBitStrBrace, name, RtBits{numbits, data}, nullptr,
                      RtBitStyle::stream);
}

int rtPrintToStringBitStrBraceTextExt(const char* name, size_t numbits, const uint8_t* data, uint32_t extdata,
                                      const char*, char* buffer, size_t size)
{
  return rtxPrintForm(sinkOf(buffer, size), rtFormBitStrBrace, name, RtBits{numbits, data}, &extdata,
                      RtBitStyle::stream);
}

int rtPrintToStringOctStr(const char* name, size_t numocts, const uint8_t* data, const char* separator, char* buffer,
                          size_t size)
{
  return rtxPrintForm(sinkOf(buffer, size), rtFormCounted, name, "numocts", numocts, data, 1U, separator);
}

int rtPrintToStringOpenType(const char* name, size_t numocts, const uint8_t* data, const char* separator, char* buffer,
                            size_t size)
{
  return rtPrintToStringOctStr(name, numocts, data, separator, buffer, size);
}

int rtPrintToString16BitCharStr(const char* name, size_t nchars, const uint16_t* data, const char* separator,
                                char* buffer, size_t size)
{
  return rtxPrintForm(sinkOf(buffer, size), rtFormCounted, name, "nchars", nchars, data, 2U, separator);
}

int rtPrintToString32BitCharStr(const char* name, size_t nchars, const uint32_t* data, const char* separator,
                                char* buffer, size_t size)
{
  return rtxPrintForm(sinkOf(buffer, size), rtFormCounted, name, "nchars", nchars, data, 4U, separator);
}

int rtPrintToStringUnicodeCharStr(const char* name, const uint16_t* chars, int count, char* buffer, size_t size)
{
  return rtxPrintForm(sinkOf(buffer, size), rtxFormUnicode, name, chars, count);
}

int rtPrintToStringUnivCharStr(const char* name, size_t nchars, const uint32_t* chars, char* buffer, size_t size)
{
  return rtxPrintForm(sinkOf(buffer, size), rtFormUniv, name, nchars, chars);
}

int rtPrintToStringDateTime(const char* name, const RtxDateTime* value, char* buffer, size_t size)
{
  return rtxPrintForm(sinkOf(buffer, size), rtFormDateTime, name, value);
}

int rtPrintToStringOIDValue(const RtObjId* value, char* buffer, size_t size)
{
  return rtxPrintForm(sinkOf(buffer, size), rtFormOIDValue, value);
}

int rtPrintToStringOID(const char* name, const RtObjId* value, char* buffer, size_t size)
{
  return rtxPrintForm(sinkOf(buffer, size), rtFormObjId, name, value);
}

int rtPrintToStringOID2(const char* name, size_t count, const uint32_t* arcs, char* buffer, size_t size)
{
  return rtxPrintForm(sinkOf(buffer, size), rtFormOID, name, count, arcs);
}

int rtPrintToStringOID64(const char* name, const RtObjId64* value, char* buffer, size_t size)
{
  return rtxPrintForm(sinkOf(buffer, size), rtFormOID64, name, value);
}

int rtPrintToStringOIDStr(const char* name, const char* text, char* buffer, size_t size)
{
  return rtxPrintForm(sinkOf(buffer, size), rtFormOIDStr, name, text);
}
