#include "rtxsrc/print/rtxPrintSink.h"

#include <string.h>

#include "velnor3gpp/rtxStatus.h"

static const char kDigits[] = "0123456789abcdef";

// The remaining room of a cut string, terminator excluded.
static size_t textRoom(const RtxPrintToStringBuffer& text)
{
  return text.buffer != nullptr && text.bufSize > text.curPos ? text.bufSize - text.curPos - 1 : 0;
}

static void copyText(RtxPrintToStringBuffer& text, const char* chars, size_t length)
{
  memcpy(text.buffer + text.curPos, chars, length);
  text.curPos += length;
  text.buffer[text.curPos] = 0;
}

static void appendText(RtxPrintSink& sink, const char* chars, size_t length)
{
  if (sink.status != 0) return;
  if (length > textRoom(sink.text)) {
    sink.status = RTX_E_ENCODE_OVERFLOW;
    return;
  }
  copyText(sink.text, chars, length);
}

// As formatting does, this ends the text also where nothing of the piece fits.
static void cutText(RtxPrintToStringBuffer& text, const char* chars, size_t length)
{
  size_t room = textRoom(text);
  if (text.buffer != nullptr && text.bufSize > text.curPos) copyText(text, chars, length < room ? length : room);
}

static void callBack(RtxPrintSink& sink, const char* format, ...) RTX_PRINTF_LIKE(2, 3);
static void callBack(RtxPrintSink& sink, const char* format, ...)
{
  va_list args;
  va_start(args, format);
  sink.stream.pfCallback(sink.stream.pUserData, format, args);
  va_end(args);
}

void rtxSinkWrite(RtxPrintSink& sink, const char* chars, size_t length)
{
  switch (sink.kind) {
    case RtxSinkKind::text:
      return cutText(*sink.pText, chars, length);
    case RtxSinkKind::append:
      return appendText(sink, chars, length);
    case RtxSinkKind::file:
      (void)fwrite(chars, 1, length, sink.file);
      return;
    case RtxSinkKind::callback:
      return callBack(sink, "%.*s", static_cast<int>(length), chars);
  }
}

static void callBackStrings(RtxPrintSink& sink, std::initializer_list<const char*> strings)
{
  const char* s[8] = {"", "", "", "", "", "", "", ""};
  size_t n = 0;
  for (const char* string : strings) {
    if (n < 8) s[n++] = string != nullptr ? string : "(null)";
  }
  if (n == 1) return callBack(sink, "%s", s[0]);
  callBack(sink, "%s%s%s%s%s%s%s%s", s[0], s[1], s[2], s[3], s[4], s[5], s[6], s[7]);
}

void rtxSinkPut(RtxPrintSink& sink, std::initializer_list<const char*> strings)
{
  if (sink.kind == RtxSinkKind::callback) return callBackStrings(sink, strings);
  for (const char* string : strings) {
    if (string == nullptr) string = "(null)";
    rtxSinkWrite(sink, string, strlen(string));
  }
}

void rtxSinkFormat(RtxPrintSink& sink, const char* format, va_list args)
{
  switch (sink.kind) {
    case RtxSinkKind::text:
      return rtxPrintStreamToStringCB(sink.pText, format, args);
    case RtxSinkKind::append:
      return; // no form of the string family needs it
    case RtxSinkKind::file:
      (void)vfprintf(sink.file, format, args);
      return;
    case RtxSinkKind::callback:
      return sink.stream.pfCallback(sink.stream.pUserData, format, args);
  }
}

void rtxSinkIndent(RtxPrintSink& sink)
{
  static const char kBlanks[] = "                                                                ";
  size_t step = sink.kind == RtxSinkKind::callback ? 1 : sizeof kBlanks - 1;
  for (size_t left = *sink.indent; left > 0;) {
    size_t n = left < step ? left : step;
    rtxSinkWrite(sink, kBlanks, n);
    left -= n;
  }
}

void rtxSinkIndentMore(RtxPrintSink& sink)
{
  *sink.indent = static_cast<uint16_t>(*sink.indent + 3);
}

void rtxSinkIndentLess(RtxPrintSink& sink)
{
  *sink.indent = static_cast<uint16_t>(*sink.indent > 3 ? *sink.indent - 3 : 0);
}

int rtxSinkDone(RtxPrintSink& sink)
{
  if (sink.flush) (void)fflush(sink.file);
  return sink.status;
}

RtxPrintSink rtxSinkOfFile(FILE* file)
{
  RtxPrintSink sink;
  sink.file = file;
  return sink;
}

RtxPrintSink rtxSinkOfString(char* buffer, size_t size, uint16_t* indent)
{
  RtxPrintSink sink;
  sink.kind = RtxSinkKind::append;
  sink.indent = indent;
  sink.text = {buffer, size, buffer != nullptr ? strnlen(buffer, size) : 0};
  if (buffer == nullptr || sink.text.curPos >= size) sink.status = RTX_E_ENCODE_OVERFLOW;
  return sink;
}

const char* rtxDecimalU(RtxNumText& scratch, uint64_t value)
{
  char* p = scratch.chars + sizeof scratch.chars - 1;
  *p = 0;
  do {
    *--p = kDigits[value % 10];
    value /= 10;
  } while (value > 0);
  return p;
}

const char* rtxDecimal(RtxNumText& scratch, int64_t value)
{
  if (value >= 0) return rtxDecimalU(scratch, static_cast<uint64_t>(value));
  const char* digits = rtxDecimalU(scratch, 0 - static_cast<uint64_t>(value));
  size_t at = static_cast<size_t>(digits - scratch.chars) - 1;
  scratch.chars[at] = '-';
  return scratch.chars + at;
}

const char* rtxHexNumber(RtxNumText& scratch, uint64_t value, unsigned digits)
{
  char* p = scratch.chars + sizeof scratch.chars - 1;
  *p = 0;
  for (unsigned n = 0; n < digits || value > 0; n++) {
    *--p = kDigits[value & 15];
    value >>= 4;
  }
  return p;
}
