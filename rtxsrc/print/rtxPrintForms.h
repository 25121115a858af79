// The text form of each kind of value, once for all print families. Each writes to the given target and leaves the
// indentation to the caller.
#ifndef VELNOR_RTX_PRINT_FORMS_H
#define VELNOR_RTX_PRINT_FORMS_H

#include "rtxsrc/print/rtxPrintSink.h"
#include "velnor3gpp/rtxPrint.h"

// Prints one form to a target and ends the printing: all that a function of a print family does.
template <typename... Wanted, typename... Given>
int rtxPrintForm(RtxPrintSink sink, void (*form)(RtxPrintSink&, Wanted...), Given... given)
{
  form(sink, given...);
  return rtxSinkDone(sink);
}

// name = value
void rtxFormAssign(RtxPrintSink& sink, RtxPiece name, RtxPiece value);
// name = 'value'
void rtxFormQuoted(RtxPrintSink& sink, RtxPiece name, RtxPiece value);
void rtxFormInteger(RtxPrintSink& sink, RtxPiece name, int64_t value);
void rtxFormUnsigned(RtxPrintSink& sink, RtxPiece name, uint64_t value);
// A double with the given number of significant digits.
void rtxFormReal(RtxPrintSink& sink, const char* name, double value, int digits);
// name = 0x and the octets, however many.
void rtxFormHexPlain(RtxPrintSink& sink, RtxPiece name, size_t octets, const uint8_t* data);
// The same up to 32 octets, a dump above.
void rtxFormHex(RtxPrintSink& sink, RtxPiece name, size_t octets, const uint8_t* data, bool ascii);
// name = and a dump without a text column, at any length.
void rtxFormHexDump(RtxPrintSink& sink, const char* name, size_t octets, const uint8_t* data);
void rtxFormHexBinary(RtxPrintSink& sink, const char* name, size_t octets, const uint8_t* data);
// 16-bit characters; a negative count runs to the first zero. Nothing for a null string.
void rtxFormUnicode(RtxPrintSink& sink, const char* name, const uint16_t* chars, int64_t count);
void rtxFormPair(RtxPrintSink& sink, const char* name, const RtxNameValuePair* pair);
void rtxFormArrayPair(RtxPrintSink& sink, const char* name, size_t index, const RtxNameValuePair* pair);
// Copies the lines of a file; RTX_E_FILE_OPEN if it cannot be opened.
int rtxFormFile(RtxPrintSink& sink, const char* filename, bool addLineFeed);
void rtxFormIpv4(RtxPrintSink& sink, const char* name, size_t octets, const uint8_t* data);
void rtxFormIpv6(RtxPrintSink& sink, const char* name, size_t octets, const uint8_t* data);
// Digits, low nibble first, filler passed over, and no line feed.
void rtxFormTbcd(RtxPrintSink& sink, const char* name, size_t octets, const uint8_t* data);
// The octets from 32 to 126 and no others.
void rtxFormText(RtxPrintSink& sink, const char* name, size_t octets, const uint8_t* data);
void rtxFormOpenBrace(RtxPrintSink& sink, RtxPiece name);
void rtxFormCloseBrace(RtxPrintSink& sink);

// One character of a wide string: itself from 32 to 126, else 0x and at least `digits` hexadecimal digits.
void rtxFormWideChar(RtxPrintSink& sink, uint32_t character, unsigned digits);

// A hex dump in units of 1 to 4 octets, with or without the text column.
void rtxDump(RtxPrintSink& sink, const uint8_t* data, size_t octets, size_t unit, bool ascii);

#endif
