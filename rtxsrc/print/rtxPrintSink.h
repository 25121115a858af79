// One target for all printed text: a print stream's callback, a C file, a cut or an all-or-nothing string. The text
// forms of rtxPrintForms.h are written once, on this target; the exported families only choose it. A callback that the
// library knows is served directly, without formatting; any other gets each piece of text in one call, as the text
// forms divide it. A target lives for one print call and owns nothing.
#ifndef VELNOR_RTX_PRINT_SINK_H
#define VELNOR_RTX_PRINT_SINK_H

#include <stdio.h>

#include <initializer_list>

#include "velnor3gpp/rtxPrintStream.h"

enum class RtxSinkKind : uint8_t {
  text,     // RtxPrintToStringBuffer: overlong text is cut without notice
  append,   // caller's string: a piece that does not fit ends the printing with RTX_E_ENCODE_OVERFLOW
  file,     // C file
  callback, // print callback that the library does not know
};

struct RtxPrintSink {
  RtxSinkKind kind = RtxSinkKind::file;
  bool flush = false;         // flush the file when the printing is done
  int status = 0;             // of an append sink
  uint16_t* indent = nullptr; // indentation in columns that goes with this target
  FILE* file = nullptr;
  RtxPrintToStringBuffer text = {nullptr, 0, 0}; // append: the caller's string
  RtxPrintToStringBuffer* pText = nullptr;       // text: the caller's record
  RtxPrintStream stream = {nullptr, nullptr};
};

// Target of the context's print functions; the context may be null.
RtxPrintSink rtxSinkOfStream(RtxContext* pctxt);

// Target of the functions without a context: standard output and its own indentation.
RtxPrintSink rtxSinkOfStdout();

RtxPrintSink rtxSinkOfFile(FILE* file);

// Appends to a terminated string of `size` characters' capacity. Null, no room, or no terminator: the status is set.
RtxPrintSink rtxSinkOfString(char* buffer, size_t size, uint16_t* indent);

// Writes `length` characters as one piece.
void rtxSinkWrite(RtxPrintSink& sink, const char* chars, size_t length);

// Writes strings one behind the other as one piece; at most eight. A null string prints as "(null)".
void rtxSinkPut(RtxPrintSink& sink, std::initializer_list<const char*> strings);

// Formats as one piece: for forms that are not worth their own formatting.
void rtxSinkFormat(RtxPrintSink& sink, const char* format, va_list args) RTX_PRINTF_LIKE(2, 0);

// Writes the indentation, to a callback blank by blank.
void rtxSinkIndent(RtxPrintSink& sink);
void rtxSinkIndentMore(RtxPrintSink& sink);
void rtxSinkIndentLess(RtxPrintSink& sink);

// Ends the printing: flushes if need be, returns the status.
int rtxSinkDone(RtxPrintSink& sink);

// Number texts in a scratch of their own.
struct RtxNumText {
  char chars[24];
};
const char* rtxDecimal(RtxNumText& scratch, int64_t value);
const char* rtxDecimalU(RtxNumText& scratch, uint64_t value);

// Lower-case hexadecimal of at least `digits` digits.
const char* rtxHexNumber(RtxNumText& scratch, uint64_t value, unsigned digits);

// Two hexadecimal digits of an octet, unterminated.
inline void rtxHexPair(char* dst, uint8_t octet, const char* digits = "0123456789abcdef")
{
  dst[0] = digits[octet >> 4];
  dst[1] = digits[octet & 15];
}

// The character itself from 32 to 126, else a dot.
inline char rtxDumpChar(uint8_t octet)
{
  return octet >= 32 && octet <= 126 ? static_cast<char>(octet) : '.';
}

#endif
