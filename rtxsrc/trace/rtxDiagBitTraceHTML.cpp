// The HTML form of the bit trace: one page with two rows for each entry, the head and then bits, hexadecimal digits and
// characters side by side. It shows the whole trace each time and leaves the state of the text form alone.
#include <stdio.h>
#include <string.h>

#include "rtxsrc/print/rtxPrintSink.h"
#include "rtxsrc/trace/rtxTraceWalk.h"

static const size_t kHeadSize = 401;

// Blanks among the characters count, so the cells keep white space as it stands: the line feeds break the lines in
// place of the "br", and the margin takes back the line feed behind "code".
static const char kPageStart[] =
    R"(<!DOCTYPE html PUBLIC "-//W3C//DTD HTML 4.01 Transitional//EN">
<html>
<head>
<META http-equiv="Content-Type" content="text/html; charset=utf-8">
<title>EXI 1.0 Encoding</title>
<style type="text/css">
body { margin: 2em auto; max-width: 960px; padding: 0 1em; background: #fafafa; color: #222;
  font-family: "Segoe UI", "Helvetica Neue", Arial, sans-serif }
h1 { font-size: 150%; font-weight: 600; margin: 0 0 1em 0 }
table { border-collapse: collapse; border: 1px solid #bbb; background: white; width: 100% }
td { border: 1px solid #ddd; padding: 6px 12px; vertical-align: top; line-height: 1.5 }
code { font-family: "DejaVu Sans Mono", Menlo, Consolas, monospace }
div.exampleInner pre { margin-left: 1em; margin-top: 0; margin-bottom: 0 }
div.exampleOuter { border: 4px double gray; margin: 0; padding: 0 }
div.exampleInner { background-color: #d5dee3; border-top: 4px double #d3d3d3; border-bottom: 4px double #d3d3d3;
  margin: 0; padding: 4px }
div.exampleWrapper { margin: 4px }
div.exampleHeader { font-weight: bold; margin: 4px }
tr.silver td { background: silver }
tr.bold td { font-weight: bold }
td code { display: block; white-space: pre-wrap; margin-top: -1.5em }
td code br { display: none }
td.xml { background: gray; color: white; font-weight: bold; font-size: 100%; overflow-wrap: anywhere }
@media print { body { margin: 0; max-width: none } td { break-inside: avoid } }
</style>
</head>
)"
    "<body>\n\n<h1><a name=\"title\" id=\"title\"></a>EXI 1.0 Encoding</h1>\n"
    "<table border=\"1\" width=\"800\"><thead>\n";

static const char kPageEnd[] = "</table>\n</body>\n</html>\n";

// Names and characters come from the message and from callers, so none may end a tag or begin one.
static void putEscaped(RtxPrintSink& sink, const char* text)
{
  static const char kSpecial[] = "&<>\"";
  static const char* const kEntities[] = {"&amp;", "&lt;", "&gt;", "&quot;"};
  for (; *text != 0; text++) {
    const char* special = strchr(kSpecial, *text);
    if (special != nullptr)
      rtxSinkPut(sink, {kEntities[special - kSpecial]});
    else
      rtxSinkWrite(sink, text, 1);
  }
}

// Positions print as signed numbers, as in the text form.
static RtxPiece signedText(RtxNumText& number, size_t value)
{
  return rtxDecimal(number, static_cast<ptrdiff_t>(value));
}

// The path and the three positions, across all columns.
static void putHeadRow(RtxPrintSink& sink, const RtxTraceEntry& entry, const char* varname)
{
  char head[kHeadSize];
  RtxNumText offset, count, next;
  rtxTraceHead(head, sizeof head, entry.field, varname);
  rtxSinkPut(sink, {"<tr>\n<td colspan=\"3\" class=\"xml\">\n<code>\n"});
  putEscaped(sink, head);
  rtxSinkPut(sink, {"<br/>\nbit offset: ", signedText(offset, entry.field.bitOffset),
                    " bit count: ", signedText(count, entry.field.bitCount),
                    " next bit offset: ", signedText(next, entry.nextOffset), "</td>\n</tr>\n\n"});
}

enum class Column { bits, hex, chars };

// One cell under construction: it takes one column of each line.
struct Cell {
  RtxPrintSink& sink;
  Column column;
  size_t lines;
};

// The target of one cell: of every line it takes one column.
static void putCellLine(void* arg, const RtxBitLine& line)
{
  Cell& cell = *static_cast<Cell*>(arg);
  if (cell.lines++ > 0) rtxSinkPut(cell.sink, {"<br/>\n"});
  switch (cell.column) {
    case Column::bits:
      return putEscaped(cell.sink, line.bits);
    case Column::hex:
      return putEscaped(cell.sink, line.hex);
    case Column::chars:
      return putEscaped(cell.sink, line.chars);
  }
}

// The lines run once for each cell, each time from the same state, so that none need be kept.
static void putCell(RtxPrintSink& sink, Column column, const char* width, RtxBitLine& line, const RtxTraceData& data,
                    const RtxTraceEntry& entry)
{
  Cell cell = {sink, column, 0};
  rtxSinkPut(sink, {"<td align=\"left\" width=\"", width, "\"><code>\n"});
  rtxBitLineField(line, data, entry.field, entry.nextOffset, {putCellLine, &cell});
  if (cell.lines > 0) {
    rtxSinkPut(sink, {"\n"});
  } else if (column == Column::hex) {
    rtxSinkPut(sink, {"&nbsp;\n"});
  }
  rtxSinkPut(sink, {"</code></td>\n"});
}

// Each cell gets its own copy of the line as it stood before, and the first advances the one that goes on.
static void putBitsRow(RtxPrintSink& sink, RtxBitLine& line, const RtxTraceData& data, const RtxTraceEntry& entry)
{
  RtxBitLine forHex = line;
  RtxBitLine forChars = line;
  rtxSinkPut(sink, {"<tr>\n"});
  putCell(sink, Column::bits, "60%", line, data, entry);
  putCell(sink, Column::hex, "25%", forHex, data, entry);
  putCell(sink, Column::chars, "15%", forChars, data, entry);
  rtxSinkPut(sink, {"</tr>\n\n"});
}

// Open types are not shown on the page; their octets are part of the entry that holds them.
void rtxTracePutPage(RtxPrintSink& sink, const RtxBitFieldList* pList, const char* varname, const RtxTraceData& data)
{
  RtxTraceWalk walk;
  RtxBitLine line; // of its own: a text print that goes on later keeps its line
  rtxBitLineInit(line);
  rtxSinkPut(sink, {kPageStart});
  for (rtxTraceStart(walk, pList->fieldList.head); walk.node != nullptr; walk.node = walk.node->next) {
    RtxTraceEntry entry = rtxTraceEntryAt(walk);
    putHeadRow(sink, entry, varname);
    putBitsRow(sink, line, data, entry);
  }
  rtxSinkPut(sink, {kPageEnd});
}

// No name, or the name "stdout", means standard output.
static FILE* openPage(const char* filename)
{
  if (filename == nullptr || filename[0] == 0 || strcmp(filename, "stdout") == 0) return stdout;
  FILE* file = fopen(filename, "w");
  if (file == nullptr) (void)printf("could not open %s for write access\n", filename);
  return file;
}

// A page that could not be opened is told on standard output; the function has no status.
void rtxDiagBitTracePrintHTML(const char* filename, RtxBitFieldList* pList, const char* varname)
{
  if (pList == nullptr || pList->fieldList.pctxt == nullptr) return;
  RtxTraceData data;
  if (!rtxTraceFindData(pList->fieldList.pctxt, &data)) {
    (void)printf("ERROR: capture buffer was not assigned to stream\n");
    return;
  }
  FILE* file = openPage(filename);
  if (file == nullptr) return;
  RtxPrintSink sink = rtxSinkOfFile(file);
  rtxTracePutPage(sink, pList, varname, data);
  rtxSinkDone(sink);
  if (file != stdout) (void)fclose(file);
}
