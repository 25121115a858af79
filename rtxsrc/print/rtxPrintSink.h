// One target for all printed text: a print stream's callback, a C file, a cut or an all-or-nothing string. The text
// forms of rtxPrintForms.h are written once, on this target; the exported families only choose it. Text gathers in a
// window, which is the caller's string itself or room within the target, and leaves it when the window is full or the
// printing is done: that makes a piece of text cost a comparison and a copy. A callback that the library does not know
// gets whole lines. A target lives for one print call, is ended by rtxSinkDone, and owns nothing.
#ifndef VELNOR_RTX_PRINT_SINK_H
#define VELNOR_RTX_PRINT_SINK_H

#include <stdio.h>
#include <string.h>

#include "velnor3gpp/rtxPrintStream.h"

enum class RtxSinkKind : uint8_t {
  text,     // RtxPrintToStringBuffer: overlong text is cut without notice
  append,   // caller's string: a piece that does not fit ends the printing with RTX_E_ENCODE_OVERFLOW
  file,     // C file
  callback, // print callback that the library does not know
};

// A callback gets longer lines in parts.
inline constexpr size_t kSinkRoom = 1024;

struct RtxPrintSink {
  RtxSinkKind kind = RtxSinkKind::file;
  bool flush = false;         // flush the file when the printing is done
  int status = 0;             // of an append sink
  uint16_t* indent = nullptr; // indentation in columns that goes with this target
  char* at = nullptr;         // the window: where the next character goes, and its end; both null until text comes
  char* end = nullptr;
  FILE* file = nullptr;
  RtxPrintToStringBuffer text = {nullptr, 0, 0}; // append: the caller's string
  RtxPrintToStringBuffer* pText = nullptr;       // text: the caller's record
  RtxPrintStream stream = {nullptr, nullptr};
  char room[kSinkRoom]; // the window of a file or a callback; not cleared, most printing uses little of it
};

// Some characters and their count, which a compiler knows of literals. A null string prints as "(null)".
struct RtxPiece {
  const char* chars;
  size_t length;
  RtxPiece(const char* text) : chars(text != nullptr ? text : "(null)"), length(strlen(chars)) {}
  constexpr RtxPiece(const char* text, size_t count) : chars(text), length(count) {}
};

// Target of the context's print functions; the context may be null.
RtxPrintSink rtxSinkOfStream(RtxContext* pctxt);

// Target of the functions without a context: standard output and its own indentation.
RtxPrintSink rtxSinkOfStdout();

RtxPrintSink rtxSinkOfFile(FILE* file);

// Appends to a terminated string of `size` characters' capacity. Null, no room, or no terminator: the status is set.
RtxPrintSink rtxSinkOfString(char* buffer, size_t size, uint16_t* indent);

// Writes a piece that the window has no room for, or the first one.
void rtxSinkOverflow(RtxPrintSink& sink, const char* chars, size_t length);

// Whether the window takes so many characters and the end of a string behind them.
inline bool rtxSinkHasRoom(const RtxPrintSink& sink, size_t length)
{
  return length < static_cast<size_t>(sink.end - sink.at);
}

// Copies a piece that fits. Most are names and numbers of a few characters, for which a call takes longer than the
// copying: two copies that overlap cover every length from 8 to 16 ("integrity": "integrit" and "ntegrity").
inline void rtxSinkCopy(RtxPrintSink& sink, const char* chars, size_t length)
{
  if (length > 16) {
    memcpy(sink.at, chars, length);
  } else if (length >= 8) {
    memcpy(sink.at, chars, 8);
    memcpy(sink.at + length - 8, chars + length - 8, 8);
  } else {
    for (size_t i = 0; i < length; i++) sink.at[i] = chars[i];
  }
  sink.at += length;
}

inline void rtxSinkWrite(RtxPrintSink& sink, const char* chars, size_t length)
{
  if (!rtxSinkHasRoom(sink, length)) return rtxSinkOverflow(sink, chars, length);
  rtxSinkCopy(sink, chars, length);
}

// Writes pieces one behind the other, with one test for the room of all.
template <size_t count> inline void rtxSinkPut(RtxPrintSink& sink, const RtxPiece (&pieces)[count])
{
  size_t all = 0;
  for (const RtxPiece& piece : pieces) all += piece.length;
  if (rtxSinkHasRoom(sink, all)) {
    for (const RtxPiece& piece : pieces) rtxSinkCopy(sink, piece.chars, piece.length);
  } else {
    for (const RtxPiece& piece : pieces) rtxSinkWrite(sink, piece.chars, piece.length);
  }
}

// Formats as one piece, on a target that has taken nothing yet: a callback gets format and arguments as they are.
void rtxSinkFormat(RtxPrintSink& sink, const char* format, va_list args) RTX_PRINTF_LIKE(2, 0);

// Writes the indentation.
void rtxSinkIndent(RtxPrintSink& sink);
// The same for callers who print it by itself: to a callback blank by blank.
void rtxSinkBlanks(RtxPrintSink& sink);
void rtxSinkIndentMore(RtxPrintSink& sink);
void rtxSinkIndentLess(RtxPrintSink& sink);

// Ends the printing: hands over what the window holds, flushes if need be, returns the status.
int rtxSinkDone(RtxPrintSink& sink);

// Number texts in a scratch of their own, terminated.
struct RtxNumText {
  char chars[24];
};
RtxPiece rtxDecimal(RtxNumText& scratch, int64_t value);
RtxPiece rtxDecimalU(RtxNumText& scratch, uint64_t value);

// Lower-case hexadecimal of at least `digits` digits.
RtxPiece rtxHexNumber(RtxNumText& scratch, uint64_t value, unsigned digits);

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
