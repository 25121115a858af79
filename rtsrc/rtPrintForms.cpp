// The text forms of the ASN.1 kinds of value: bit strings, counted characters, object identifiers. The three families
// (standard output, stream, string) call these with their own target. A bit string of 20 bits prints its last octet bit
// by bit, with "x" for what does not belong to it:
//
// stream   ab cd 1110xxxx
// direct   0xAB 0xCD 1110xxxx
#include "rtsrc/rtPrintForms.h"

#include <string.h>

// From this many bits up the data of a bit string stands on lines of its own.
static const size_t kInlineBits = 64;
static const size_t kLineOctets = 16;
// The longest line: sixteen octets as "0xAB " or fifteen and eight single bits.
static const size_t kBitLineSize = kLineOctets * 5 + 9;

// Eight characters: the first `count` bits from the top, "x" for the rest.
static char* putPartialOctet(char* at, uint8_t octet, size_t count)
{
  for (size_t i = 0; i < 8; i++) *at++ = i >= count ? 'x' : (octet >> (7 - i) & 1) != 0 ? '1' : '0';
  return at;
}

// Two digits, in the direct style with "0x" and capitals. Returns where the text goes on.
static char* putOctet(char* at, uint8_t octet, RtBitStyle style)
{
  bool direct = style == RtBitStyle::direct;
  if (direct) {
    *at++ = '0';
    *at++ = 'x';
  }
  rtxHexPair(at, octet, direct ? "0123456789ABCDEF" : "0123456789abcdef");
  return at + 2;
}

// Formats the next line and takes its bits off. A last octet that is not full goes into the line only if there is a
// place for it; otherwise it has a line of its own.
static const char* nextLine(char* line, RtBits& bits, RtBitStyle style)
{
  char* at = line;
  size_t octets = bits.count / 8 < kLineOctets ? bits.count / 8 : kLineOctets;
  for (size_t i = 0; i < octets; i++) {
    if (i > 0) *at++ = ' ';
    at = putOctet(at, *bits.data++, style);
  }
  bits.count -= octets * 8;
  if (octets < kLineOctets && bits.count > 0) {
    if (octets > 0) *at++ = ' ';
    at = putPartialOctet(at, *bits.data, bits.count);
    bits.count = 0;
  }
  *at = 0;
  return line;
}

// Bits without octets are none, whatever count the caller gave.
static size_t countOf(const RtBits& bits)
{
  return bits.data != nullptr ? bits.count : 0;
}

static void putBitCount(RtxPrintSink& sink, const char* name, const RtBits& bits, const char* separator)
{
  RtxNumText number;
  rtxSinkPut(sink, {name, separator, "numbits = ", rtxDecimalU(number, bits.count), "\n"});
}

// More than eight octets begin on a line of their own.
static void putDirectData(RtxPrintSink& sink, RtBits bits)
{
  char line[kBitLineSize];
  if (bits.count / 8 > 8) rtxSinkWrite(sink, "\n", 1);
  for (bool first = true; bits.count > 0; first = false)
    rtxSinkPut(sink, {first ? "" : "\n", nextLine(line, bits, RtBitStyle::direct)});
}

static void putData(RtxPrintSink& sink, const char* name, RtBits bits, const char* separator, RtBitStyle style)
{
  char line[kBitLineSize];
  if (countOf(bits) == 0) return rtxSinkPut(sink, {name, separator, "data = NULL\n"});
  if (style == RtBitStyle::direct) {
    rtxSinkPut(sink, {name, separator, "data = "});
    putDirectData(sink, bits);
    return rtxSinkWrite(sink, "\n", 1);
  }
  if (bits.count < kInlineBits)
    return rtxSinkPut(sink, {name, separator, "data = ", nextLine(line, bits, style), "\n"});
  rtxSinkPut(sink, {name, separator, "data =\n"});
  while (bits.count > 0) rtxSinkPut(sink, {nextLine(line, bits, style), "\n"});
}

void rtFormBitStr(RtxPrintSink& sink, const char* name, RtBits bits, const uint32_t* extdata, const char* separator,
                  RtBitStyle style)
{
  RtxNumText number;
  putBitCount(sink, name, bits, separator);
  putData(sink, name, bits, separator, style);
  if (extdata != nullptr) rtxSinkPut(sink, {name, separator, "extdata = 0x", rtxHexNumber(number, *extdata, 1), "\n"});
}

// Bit 0 is the most significant of the first octet. A name for a bit behind the end is not set.
static bool isSet(const RtBits& bits, size_t bit)
{
  return bit < countOf(bits) && (bits.data[bit / 8] >> (7 - bit % 8) & 1) != 0;
}

void rtFormBitStrBin(RtxPrintSink& sink, const char* name, RtBits bits, const char* separator)
{
  putBitCount(sink, name, bits, separator);
  rtxSinkPut(sink, {name, separator, "data = "});
  for (size_t i = 0; i < countOf(bits); i++) rtxSinkWrite(sink, isSet(bits, i) ? "1" : "0", 1);
  rtxSinkWrite(sink, "\n", 1);
}

void rtFormBitStrNamed(RtxPrintSink& sink, const char* name, RtBits bits, const RtBitName* names, const char* separator)
{
  const char* comma = "";
  putBitCount(sink, name, bits, separator);
  rtxSinkPut(sink, {name, separator, "data = "});
  for (; names != nullptr && names->name != nullptr; names++) {
    if (!isSet(bits, names->bit)) continue;
    rtxSinkPut(sink, {comma, names->name});
    comma = ", ";
  }
  rtxSinkWrite(sink, "\n", 1);
}

static void putBraceLines(RtxPrintSink& sink, RtBits bits, const uint32_t* extdata, RtBitStyle style)
{
  char line[kBitLineSize];
  RtxNumText number;
  while (bits.count > 0) {
    rtxSinkIndent(sink);
    rtxSinkPut(sink, {"   ", nextLine(line, bits, style), "\n"});
  }
  if (extdata != nullptr) {
    rtxSinkIndent(sink);
    rtxSinkPut(sink, {"   0x", rtxHexNumber(number, *extdata, 1), "\n"});
  }
  rtxSinkIndent(sink);
  rtxSinkWrite(sink, "}\n", 2);
}

void rtFormBitStrBrace(RtxPrintSink& sink, RtxPiece name, RtBits bits, const uint32_t* extdata, RtBitStyle style)
{
  char line[kBitLineSize];
  RtxNumText number, ext;
  if (countOf(bits) == 0) return rtxSinkPut(sink, {name, " = { 0 }\n"});
  RtxPiece count = rtxDecimalU(number, bits.count);
  if (bits.count >= kInlineBits) {
    rtxSinkPut(sink, {name, " = { ", count, ",\n"});
    return putBraceLines(sink, bits, extdata, style);
  }
  const char* data = nextLine(line, bits, style);
  if (extdata == nullptr) return rtxSinkPut(sink, {name, " = { ", count, ", ", data, " }\n"});
  rtxSinkPut(sink, {name, " = { ", count, ", ", data, ", 0x", rtxHexNumber(ext, *extdata, 1), " }\n"});
}

void rtFormCounted(RtxPrintSink& sink, const char* name, const char* label, size_t count, const void* data, size_t unit,
                   const char* separator)
{
  RtxNumText number;
  rtxSinkPut(sink, {name, separator, label, " = ", rtxDecimalU(number, count), "\n"});
  rtxSinkPut(sink, {name, separator, "data = \n"});
  rtxDump(sink, static_cast<const uint8_t*>(data), count * unit, unit, true);
}

void rtFormUniv(RtxPrintSink& sink, const char* name, size_t count, const uint32_t* chars)
{
  rtxSinkPut(sink, {name, " = '"});
  for (size_t i = 0; chars != nullptr && i < count; i++) rtxFormWideChar(sink, chars[i], 8);
  rtxSinkWrite(sink, "'\n", 2);
}

// The longest text has 49 characters. Without a record there is none.
void rtFormDateTime(RtxPrintSink& sink, const char* name, const RtxDateTime* value)
{
  char text[50];
  if (rtxDateTimeToString(value, text, sizeof text) < 0) text[0] = 0;
  rtxFormAssign(sink, name, text);
}

void rtFormOIDArcs(RtxPrintSink& sink, size_t count, const uint32_t* arcs)
{
  RtxNumText number;
  rtxSinkPut(sink, {"{ "});
  for (size_t i = 0; arcs != nullptr && i < count; i++)
    rtxSinkPut(sink, {rtxDecimal(number, static_cast<int32_t>(arcs[i])), " "});
  rtxSinkWrite(sink, "}\n", 2);
}

void rtFormOID(RtxPrintSink& sink, const char* name, size_t count, const uint32_t* arcs)
{
  rtxSinkPut(sink, {name, " = "});
  rtFormOIDArcs(sink, count, arcs);
}

// The count may come from anywhere, so it is bounded by the array.
void rtFormOIDValue(RtxPrintSink& sink, const RtObjId* value)
{
  rtFormOIDArcs(sink, value->count < RT_MAX_ARCS ? value->count : RT_MAX_ARCS, value->arcs);
}

void rtFormObjId(RtxPrintSink& sink, const char* name, const RtObjId* value)
{
  rtxSinkPut(sink, {name, " = "});
  rtFormOIDValue(sink, value);
}

void rtFormOID64(RtxPrintSink& sink, const char* name, const RtObjId64* value)
{
  RtxNumText number;
  rtxSinkPut(sink, {name, " = "});
  rtxSinkPut(sink, {"{ "});
  for (size_t i = 0; i < value->count && i < RT_MAX_ARCS; i++)
    rtxSinkPut(sink, {rtxDecimal(number, static_cast<int64_t>(value->arcs[i])), " "});
  rtxSinkWrite(sink, "}\n", 2);
}

void rtFormOIDStr(RtxPrintSink& sink, const char* name, const char* text)
{
  rtxSinkPut(sink, {name, " = "});
  if (text == nullptr) return rtxSinkPut(sink, {"(null)\n"});
  rtxSinkPut(sink, {"{ "});
  rtxSinkPut(sink, {text, " }\n"});
}
