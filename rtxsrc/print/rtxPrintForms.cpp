// The text form of each kind of value: "name = value" and a line feed, with the exceptions that rtxPrintForms.h names.
// The exported print families (to standard output, to a stream, to a string) call these with their own target, so a
// form is written once. Octets are printed as they are given; nothing here decides whether a record is valid.
#include "rtxsrc/print/rtxPrintForms.h"

#include <string.h>

#include "velnor3gpp/rtxStatus.h"

// Above this many octets an octet string prints as a dump.
static const size_t kHexLineOctets = 32;

void rtxFormAssign(RtxPrintSink& sink, RtxPiece name, RtxPiece value)
{
  rtxSinkPut(sink, {name, " = ", value, "\n"});
}

void rtxFormQuoted(RtxPrintSink& sink, RtxPiece name, RtxPiece value)
{
  rtxSinkPut(sink, {name, " = '", value, "'\n"});
}

void rtxFormInteger(RtxPrintSink& sink, RtxPiece name, int64_t value)
{
  RtxNumText number;
  rtxFormAssign(sink, name, rtxDecimal(number, value));
}

void rtxFormUnsigned(RtxPrintSink& sink, RtxPiece name, uint64_t value)
{
  RtxNumText number;
  rtxFormAssign(sink, name, rtxDecimalU(number, value));
}

// 40 characters hold a sign, the point, an exponent and far more digits than callers ask for.
void rtxFormReal(RtxPrintSink& sink, const char* name, double value, int digits)
{
  char text[40];
  (void)snprintf(text, sizeof text, "%.*g", digits, value);
  rtxFormAssign(sink, name, text);
}

// Two digits an octet, 32 octets at a time: the scratch does not grow with the string.
static void putOctets(RtxPrintSink& sink, size_t octets, const uint8_t* data)
{
  char text[64];
  for (size_t at = 0; at < octets;) {
    size_t n = octets - at < sizeof text / 2 ? octets - at : sizeof text / 2;
    for (size_t i = 0; i < n; i++) rtxHexPair(text + 2 * i, data[at + i]);
    rtxSinkWrite(sink, text, 2 * n);
    at += n;
  }
}

void rtxFormHexPlain(RtxPrintSink& sink, RtxPiece name, size_t octets, const uint8_t* data)
{
  rtxSinkPut(sink, {name, " = 0x"});
  if (data != nullptr) putOctets(sink, octets, data);
  rtxSinkWrite(sink, "\n", 1);
}

// Up to 32 octets stand in the line of the name, more in a dump below it.
void rtxFormHex(RtxPrintSink& sink, RtxPiece name, size_t octets, const uint8_t* data, bool ascii)
{
  if (octets <= kHexLineOctets) return rtxFormHexPlain(sink, name, octets, data);
  rtxSinkPut(sink, {name, " =\n"});
  rtxDump(sink, data, octets, 1, ascii);
}

void rtxFormHexDump(RtxPrintSink& sink, const char* name, size_t octets, const uint8_t* data)
{
  rtxSinkPut(sink, {name, " =\n"});
  rtxDump(sink, data, octets, 1, false);
}

// Count and octets of a binary string as two members of a record.
void rtxFormHexBinary(RtxPrintSink& sink, const char* name, size_t octets, const uint8_t* data)
{
  RtxNumText number;
  rtxSinkPut(sink, {name, ".numocts = ", rtxDecimalU(number, octets), "\n"});
  rtxSinkPut(sink, {name, ".data = \n"});
  rtxDump(sink, data, octets, 1, true);
}

void rtxFormWideChar(RtxPrintSink& sink, uint32_t character, unsigned digits)
{
  RtxNumText number;
  char plain = static_cast<char>(character);
  if (character >= 32 && character <= 126) return rtxSinkWrite(sink, &plain, 1);
  rtxSinkPut(sink, {"0x", rtxHexNumber(number, character, digits)});
}

void rtxFormUnicode(RtxPrintSink& sink, const char* name, const uint16_t* chars, int64_t count)
{
  if (chars == nullptr) return;
  rtxSinkPut(sink, {name, " = '"});
  for (int64_t i = 0; count < 0 ? chars[i] != 0 : i < count; i++) rtxFormWideChar(sink, chars[i], 4);
  rtxSinkWrite(sink, "'\n", 2);
}

// A name or a value that is null shows as "(null)" (RtxPiece).
void rtxFormPair(RtxPrintSink& sink, const char* name, const RtxNameValuePair* pair)
{
  rtxSinkPut(sink, {name, ".name  = '", pair->name, "'\n"});
  rtxSinkPut(sink, {name, ".value = '", pair->value, "'\n"});
}

void rtxFormArrayPair(RtxPrintSink& sink, const char* name, size_t index, const RtxNameValuePair* pair)
{
  RtxNumText number;
  RtxPiece at = rtxDecimalU(number, index);
  rtxSinkPut(sink, {name, "[", at, "].name  = '", pair->name, "'\n"});
  rtxSinkPut(sink, {name, "[", at, "].value = '", pair->value, "'\n"});
}

int rtxFormFile(RtxPrintSink& sink, const char* filename, bool addLineFeed)
{
  FILE* file = filename != nullptr ? fopen(filename, "r") : nullptr;
  if (file == nullptr) return RTX_E_FILE_OPEN;
  char piece[1024];
  // A line of more than 1023 characters comes in several pieces, each with its line feed if those are added.
  while (fgets(piece, sizeof piece, file) != nullptr) rtxSinkPut(sink, {piece, addLineFeed ? "\n" : ""});
  (void)fclose(file);
  return 0;
}

// All octets with points between, however many there are; four for an address.
void rtxFormIpv4(RtxPrintSink& sink, const char* name, size_t octets, const uint8_t* data)
{
  RtxNumText number;
  rtxSinkPut(sink, {name, " = "});
  for (size_t i = 0; data != nullptr && i < octets; i++)
    rtxSinkPut(sink, {i > 0 ? "." : "", rtxDecimalU(number, data[i])});
  rtxSinkWrite(sink, "\n", 1);
}

// Octets without leading zeros, a colon behind every second one: 20 01 0D B8 is "201:db8:". This is a form of these
// texts, not an address by RFC 5952.
void rtxFormIpv6(RtxPrintSink& sink, const char* name, size_t octets, const uint8_t* data)
{
  RtxNumText number;
  rtxSinkPut(sink, {name, " = "});
  for (size_t i = 0; data != nullptr && i < octets; i++)
    rtxSinkPut(sink, {rtxHexNumber(number, data[i], 1), i % 2 == 1 ? ":" : ""});
  rtxSinkWrite(sink, "\n", 1);
}

// The filler has no character.
static void putTbcdDigit(RtxPrintSink& sink, unsigned nibble)
{
  static const char kDigits[] = "0123456789*#abc";
  if (nibble < 15) rtxSinkWrite(sink, kDigits + nibble, 1);
}

void rtxFormTbcd(RtxPrintSink& sink, const char* name, size_t octets, const uint8_t* data)
{
  rtxSinkPut(sink, {name, " = "});
  for (size_t i = 0; data != nullptr && i < octets; i++) {
    putTbcdDigit(sink, data[i] & 15);
    putTbcdDigit(sink, data[i] >> 4);
  }
}

// Octets outside 32 to 126 are left out, so the text cannot end the line or move the cursor of a terminal.
void rtxFormText(RtxPrintSink& sink, const char* name, size_t octets, const uint8_t* data)
{
  rtxSinkPut(sink, {name, " = "});
  for (size_t i = 0; data != nullptr && i < octets; i++) {
    char character = static_cast<char>(data[i]);
    if (data[i] >= 32 && data[i] <= 126) rtxSinkWrite(sink, &character, 1);
  }
  rtxSinkWrite(sink, "\n", 1);
}

// The braces are the two forms that write the indentation themselves and change it.
void rtxFormOpenBrace(RtxPrintSink& sink, RtxPiece name)
{
  rtxSinkIndent(sink);
  rtxSinkPut(sink, {name, " {\n"});
  rtxSinkIndentMore(sink);
}

void rtxFormCloseBrace(RtxPrintSink& sink)
{
  rtxSinkIndentLess(sink);
  rtxSinkIndent(sink);
  rtxSinkWrite(sink, "}\n", 2);
}
