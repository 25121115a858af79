// The target of printed text: how each kind takes what its window has no room for. The fast way of a piece is inline in
// rtxPrintSink.h (compare, copy); this file is called for the first piece, when the window is full, and at the end.
// Nothing here fails for want of memory, since nothing is allocated.
#include "rtxsrc/print/rtxPrintSink.h"

#include "velnor3gpp/rtxStatus.h"

static const char kDigits[] = "0123456789abcdef";
static const char kBlanks[] = "                                                                ";
static const size_t kBlankCount = sizeof kBlanks - 1;

// A callback takes a format and its arguments, as vprintf does.
static void callBack(RtxPrintSink& sink, const char* format, ...) RTX_PRINTF_LIKE(2, 3);
static void callBack(RtxPrintSink& sink, const char* format, ...)
{
  va_list args;
  va_start(args, format);
  sink.stream.pfCallback(sink.stream.pUserData, format, args);
  va_end(args);
}

// The window of a file or callback keeps one character back, for the end of a string: rtxSinkHasRoom asks for less than
// what is left, so deliverLines can put a zero behind any line.
static void openRoom(RtxPrintSink& sink)
{
  sink.at = sink.room;
  sink.end = sink.room + kSinkRoom;
}

// From now on no piece has room, so the text stays cut where it is.
static void closeWindow(RtxPrintSink& sink)
{
  sink.end = sink.at;
}

// Calls back with each whole line of the window. What follows the last line feed stays, unless it fills the window or
// the printing is done.
static void deliverLines(RtxPrintSink& sink, bool all)
{
  char* from = sink.room;
  while (from < sink.at) {
    size_t left = static_cast<size_t>(sink.at - from);
    const void* feed = memchr(from, '\n', left);
    if (feed == nullptr && !all && from > sink.room) break;
    size_t length = feed != nullptr ? static_cast<size_t>(static_cast<const char*>(feed) - from) + 1 : left;
    // The zero that ends the line takes the place of the next line's first character, which comes back afterwards.
    char next = from[length];
    from[length] = 0;
    callBack(sink, "%s", from);
    from[length] = next;
    from += length;
  }
  size_t rest = static_cast<size_t>(sink.at - from);
  memmove(sink.room, from, rest);
  sink.at = sink.room + rest;
}

// Takes from the window of a file or callback what can go.
static void emptyRoom(RtxPrintSink& sink, bool all)
{
  if (sink.at == nullptr) return openRoom(sink);
  if (sink.kind == RtxSinkKind::callback) return deliverLines(sink, all);
  (void)fwrite(sink.room, 1, static_cast<size_t>(sink.at - sink.room), sink.file);
  sink.at = sink.room;
}

// In parts, so that a piece may be longer than the window.
static void fillRoom(RtxPrintSink& sink, const char* chars, size_t length)
{
  while (length > 0) {
    if (!rtxSinkHasRoom(sink, 1)) emptyRoom(sink, false);
    size_t room = static_cast<size_t>(sink.end - sink.at) - 1;
    size_t part = length < room ? length : room;
    rtxSinkCopy(sink, chars, part);
    chars += part;
    length -= part;
  }
}

// As formatting does, this ends the text also where nothing of the piece fits.
static void cutText(RtxPrintSink& sink, const char* chars, size_t length)
{
  const RtxPrintToStringBuffer& text = *sink.pText;
  if (text.buffer == nullptr || text.bufSize <= text.curPos) return;
  // The first piece: the window is what is left of the caller's string.
  if (sink.at == nullptr) {
    sink.at = text.buffer + text.curPos;
    sink.end = text.buffer + text.bufSize;
  }
  size_t room = sink.end > sink.at ? static_cast<size_t>(sink.end - sink.at) - 1 : 0;
  if (length > room) {
    rtxSinkCopy(sink, chars, room);
    return closeWindow(sink);
  }
  rtxSinkCopy(sink, chars, length);
}

// A caller's string takes a piece whole or not at all. After the first that does not fit nothing is added, and the
// status tells so.
static void appendText(RtxPrintSink& sink, const char* chars, size_t length)
{
  if (sink.status != 0) return;
  if (sink.at == nullptr) {
    sink.at = sink.text.buffer + sink.text.curPos;
    sink.end = sink.text.buffer + sink.text.bufSize;
  }
  if (rtxSinkHasRoom(sink, length)) return rtxSinkCopy(sink, chars, length);
  sink.status = RTX_E_ENCODE_OVERFLOW;
  closeWindow(sink);
}

void rtxSinkOverflow(RtxPrintSink& sink, const char* chars, size_t length)
{
  switch (sink.kind) {
    case RtxSinkKind::text:
      return cutText(sink, chars, length);
    case RtxSinkKind::append:
      return appendText(sink, chars, length);
    case RtxSinkKind::file:
    case RtxSinkKind::callback:
      return fillRoom(sink, chars, length);
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
  size_t left = *sink.indent;
  if (left <= kBlankCount && rtxSinkHasRoom(sink, kBlankCount)) {
    // More than is wanted, in copies of a fixed size; what follows overwrites the rest.
    for (size_t i = 0; i < left; i += 16) memcpy(sink.at + i, kBlanks, 16);
    sink.at += left;
    return;
  }
  for (size_t n; left > 0; left -= n) {
    n = left < kBlankCount ? left : kBlankCount;
    rtxSinkWrite(sink, kBlanks, n);
  }
}

void rtxSinkBlanks(RtxPrintSink& sink)
{
  if (sink.kind != RtxSinkKind::callback) return rtxSinkIndent(sink);
  for (size_t left = *sink.indent; left > 0; left--) callBack(sink, " ");
}

void rtxSinkIndentMore(RtxPrintSink& sink)
{
  *sink.indent = static_cast<uint16_t>(*sink.indent + 3);
}

void rtxSinkIndentLess(RtxPrintSink& sink)
{
  *sink.indent = static_cast<uint16_t>(*sink.indent > 3 ? *sink.indent - 3 : 0);
}

// A string is ended in place, and its record told how far it goes; a file and a callback get what the window still
// holds.
int rtxSinkDone(RtxPrintSink& sink)
{
  bool string = sink.kind == RtxSinkKind::text || sink.kind == RtxSinkKind::append;
  if (sink.at != nullptr) {
    if (!string) emptyRoom(sink, true);
    if (string) *sink.at = 0;
    if (sink.kind == RtxSinkKind::text) sink.pText->curPos = static_cast<size_t>(sink.at - sink.pText->buffer);
  }
  if (sink.flush) (void)fflush(sink.file);
  return sink.status;
}

RtxPrintSink rtxSinkOfFile(FILE* file)
{
  RtxPrintSink sink;
  sink.file = file;
  return sink;
}

// strnlen, since the string may lack its ending zero: then it counts as full.
RtxPrintSink rtxSinkOfString(char* buffer, size_t size, uint16_t* indent)
{
  RtxPrintSink sink;
  sink.kind = RtxSinkKind::append;
  sink.indent = indent;
  sink.text = {buffer, size, buffer != nullptr ? strnlen(buffer, size) : 0};
  if (buffer == nullptr || sink.text.curPos >= size) sink.status = RTX_E_ENCODE_OVERFLOW;
  return sink;
}

// The digits that stand at the end of a scratch.
static RtxPiece digitsFrom(const RtxNumText& scratch, const char* first)
{
  return {first, static_cast<size_t>(scratch.chars + sizeof scratch.chars - 1 - first)};
}

// Digits are written from the end of the scratch to the front; 20 are the most that 64 bits give.
RtxPiece rtxDecimalU(RtxNumText& scratch, uint64_t value)
{
  char* p = scratch.chars + sizeof scratch.chars - 1;
  *p = 0;
  for (; value > UINT32_MAX; value /= 10) *--p = kDigits[value % 10];
  uint32_t low = static_cast<uint32_t>(value); // which divides in half the time
  do {
    *--p = kDigits[low % 10];
    low /= 10;
  } while (low > 0);
  return digitsFrom(scratch, p);
}

RtxPiece rtxDecimal(RtxNumText& scratch, int64_t value)
{
  if (value >= 0) return rtxDecimalU(scratch, static_cast<uint64_t>(value));
  // Negated as an unsigned number, since the smallest has no positive counterpart.
  RtxPiece digits = rtxDecimalU(scratch, 0 - static_cast<uint64_t>(value));
  // The scratch has room in front of 20 digits and the zero: 24 characters.
  char* sign = scratch.chars + (digits.chars - scratch.chars) - 1;
  *sign = '-';
  return digitsFrom(scratch, sign);
}

RtxPiece rtxHexNumber(RtxNumText& scratch, uint64_t value, unsigned digits)
{
  char* p = scratch.chars + sizeof scratch.chars - 1;
  *p = 0;
  for (unsigned n = 0; n < digits || value > 0; n++) {
    *--p = kDigits[value & 15];
    value >>= 4;
  }
  return digitsFrom(scratch, p);
}
