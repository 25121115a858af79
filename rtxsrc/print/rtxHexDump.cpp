// Hex dumps: octets in units, 16 to a line, beside them the characters. For programs and for octet strings that are too
// long for one line (rtxFormHex). A last line that is not full looks like this in units of 1:
//
// 7e 00 5b 01                                      ~.[.
//
// The columns are 48 and 16 wide for every unit, so lines of one dump stand below each other.
#include "velnor3gpp/rtxHexDump.h"

#include <string.h>

#include "rtxsrc/print/rtxPrintForms.h"
#include "velnor3gpp/rtxStatus.h"

// One line under construction: the hex column, a blank, the text column and a line feed.
struct DumpLine {
  static const size_t kHexWidth = 48;
  static const size_t kTextWidth = 16;
  char chars[kHexWidth + 1 + kTextWidth + 1];
};

static const size_t kLineOctets = 16;

// The layout: octets in a unit, octets in a full line.
struct DumpShape {
  size_t unit;
  size_t lineOctets;
};

// Units of 1 to 4 octets. A unit of 0, or one longer than a line, means 4, and so does any other above 4; but then the
// line holds as many units as would fit of the given length: unit 8 gives two units of 4, 8 octets a line.
static DumpShape shapeOf(size_t unit)
{
  if (unit == 0 || unit > kLineOctets) unit = 4;
  size_t units = kLineOctets / unit;
  if (unit > 4) unit = 4;
  return {unit, units * unit};
}

// In units of 2 the octets 1 and 2 stand at columns 2 and 5: a unit takes its digits and a blank.
static void fillLine(DumpLine& line, const uint8_t* data, size_t octets, size_t unit)
{
  memset(line.chars, ' ', sizeof line.chars);
  for (size_t i = 0; i < octets; i++) {
    rtxHexPair(line.chars + i / unit * (2 * unit + 1) + i % unit * 2, data[i]);
    line.chars[DumpLine::kHexWidth + 1 + i] = rtxDumpChar(data[i]);
  }
}

// Only a line that the data did not fill loses the trailing blanks of its text column.
static void writeLine(RtxPrintSink& sink, DumpLine& line, bool ascii, bool full)
{
  size_t length = ascii ? sizeof line.chars - 1 : DumpLine::kHexWidth;
  while (ascii && !full && length > DumpLine::kHexWidth + 1 && line.chars[length - 1] == ' ') length--;
  line.chars[length] = '\n';
  rtxSinkWrite(sink, line.chars, length + 1);
}

void rtxDump(RtxPrintSink& sink, const uint8_t* data, size_t octets, size_t unit, bool ascii)
{
  if (data == nullptr) return;
  DumpShape shape = shapeOf(unit);
  DumpLine line;
  while (octets > 0) {
    size_t n = octets < shape.lineOctets ? octets : shape.lineOctets;
    fillLine(line, data, n, shape.unit);
    writeLine(sink, line, ascii, n == shape.lineOctets);
    data += n;
    octets -= n;
  }
}

// What all exported functions of this file do, each with its own target.
static int dumpTo(RtxPrintSink sink, const uint8_t* data, size_t octets, size_t unit, bool ascii)
{
  rtxDump(sink, data, octets, unit, ascii);
  return rtxSinkDone(sink);
}

int rtxHexDump(const uint8_t* data, size_t octets)
{
  return rtxHexDumpEx(data, octets, 1);
}

int rtxHexDumpEx(const uint8_t* data, size_t octets, size_t unit)
{
  return dumpTo(rtxSinkOfStdout(), data, octets, unit, true);
}

int rtxHexDumpToStream(RtxContext* pctxt, const uint8_t* data, size_t octets)
{
  return rtxHexDumpToStreamEx(pctxt, data, octets, 1);
}

int rtxHexDumpToStreamEx(RtxContext* pctxt, const uint8_t* data, size_t octets, size_t unit)
{
  return dumpTo(rtxSinkOfStream(pctxt), data, octets, unit, true);
}

int rtxHexDumpToStreamExNoAscii(RtxContext* pctxt, const uint8_t* data, size_t octets, size_t unit)
{
  return dumpTo(rtxSinkOfStream(pctxt), data, octets, unit, false);
}

int rtxHexDumpToFile(FILE* file, const uint8_t* data, size_t octets)
{
  return rtxHexDumpToFileEx(file, data, octets, 1);
}

int rtxHexDumpToFileEx(FILE* file, const uint8_t* data, size_t octets, size_t unit)
{
  return dumpTo(rtxSinkOfFile(file), data, octets, unit, true);
}

int rtxHexDumpToFileExNoAscii(FILE* file, const uint8_t* data, size_t octets, size_t unit)
{
  return dumpTo(rtxSinkOfFile(file), data, octets, unit, false);
}

static FILE* openFile(const char* filename, const char* mode)
{
  return filename != nullptr ? fopen(filename, mode) : nullptr;
}

// A write that failed shows at the latest when the file is closed.
static int closeWritten(FILE* file)
{
  bool failed = ferror(file) != 0;
  if (fclose(file) != 0) failed = true;
  return failed ? RTX_E_WRITE : 0;
}

static int dumpToNamedFile(const char* filename, const uint8_t* data, size_t octets, bool ascii)
{
  FILE* file = openFile(filename, "w");
  if (file == nullptr) return RTX_E_FILE_OPEN;
  dumpTo(rtxSinkOfFile(file), data, octets, 1, ascii);
  return closeWritten(file);
}

int rtxHexDumpToNamedFile(const char* filename, const uint8_t* data, size_t octets)
{
  return dumpToNamedFile(filename, data, octets, true);
}

int rtxHexDumpToNamedFileNoAscii(const char* filename, const uint8_t* data, size_t octets)
{
  return dumpToNamedFile(filename, data, octets, false);
}

// Whole lines at a time, so that only the last piece can end within a line.
static int dumpContents(FILE* in, FILE* out)
{
  uint8_t piece[64 * kLineOctets];
  size_t n;
  while ((n = fread(piece, 1, sizeof piece, in)) > 0) rtxHexDumpToFile(out, piece, n);
  return ferror(in) != 0 ? RTX_E_READ : 0;
}

// The input's status comes first: an output that was closed well may still be incomplete.
int rtxHexDumpFileContentsToFile(const char* inFilename, const char* outFilename)
{
  FILE* in = openFile(inFilename, "rb");
  if (in == nullptr) return RTX_E_FILE_OPEN;
  FILE* out = openFile(outFilename, "w");
  int status = out != nullptr ? dumpContents(in, out) : RTX_E_FILE_OPEN;
  int closed = out != nullptr ? closeWritten(out) : 0;
  (void)fclose(in);
  return status < 0 ? status : closed;
}

int rtxHexDumpToString(const uint8_t* data, size_t octets, char* buffer, size_t size)
{
  return rtxHexDumpToStringEx(data, octets, buffer, size, 1);
}

int rtxHexDumpToStringEx(const uint8_t* data, size_t octets, char* buffer, size_t size, size_t unit)
{
  // The dump begins the string, it does not continue it.
  if (buffer != nullptr && size > 0) buffer[0] = 0;
  return dumpTo(rtxSinkOfString(buffer, size, nullptr), data, octets, unit, true);
}
