// The text form of the bit trace. For each entry it prints a head line, the offsets, and the bits with the octets that
// they are part of. It remembers the last entry it has printed, so that a program may print while it decodes: the next
// call goes on behind that.
#include "rtxsrc/print/rtxPrintSink.h"
#include "rtxsrc/trace/rtxTraceWalk.h"
#include "velnor3gpp/rtxDiag.h"

static const size_t kHeadSize = 800;

// Positions print as signed numbers, as on the page.
static RtxPiece signedText(RtxNumText& number, size_t value)
{
  return rtxDecimal(number, static_cast<ptrdiff_t>(value));
}

// The columns of a finished line, each at its full width.
static void putLine(void* arg, const RtxBitLine& line)
{
  rtxSinkPut(*static_cast<RtxPrintSink*>(arg), {{line.bits, RTX_BIT_LINE_BITS},
                                                "    ",
                                                {line.hex, RTX_BIT_LINE_HEX},
                                                "    ",
                                                {line.chars, RTX_BIT_LINE_CHARS},
                                                "\n"});
}

static void printFields(RtxPrintSink& sink, RtxBitFieldList* pList, const char* varname, const RtxTraceData& data);

// The entries of an open type, over the octets from the field's own on.
static void printOpenType(RtxPrintSink& sink, const RtxBitField& field, const char* varname, const RtxTraceData& data)
{
  size_t from = field.bitOffset / 8 < data.size ? field.bitOffset / 8 : data.size;
  rtxSinkPut(sink, {"*** Open Type Data ***\n"});
  printFields(sink, field.openTypeFields, varname, {data.octets + from, data.size - from});
  rtxSinkPut(sink, {"***\n"});
}

// One entry: its head, its three positions, its lines and an empty line.
static void printEntry(RtxPrintSink& sink, RtxBitLine& line, const RtxTraceEntry& entry, const char* varname,
                       const RtxTraceData& data)
{
  char head[kHeadSize];
  RtxNumText offset, count, next;
  rtxTraceHead(head, sizeof head, entry.field, varname);
  rtxSinkPut(sink, {head, "\n"});
  rtxSinkPut(sink, {"bit offset: ", signedText(offset, entry.field.bitOffset),
                    "\tbit count: ", signedText(count, entry.field.bitCount),
                    "\tnext bit offset: ", signedText(next, entry.nextOffset), "\n"});
  rtxBitLineField(line, data, entry.field, entry.nextOffset, {putLine, &sink});
  rtxSinkPut(sink, {"\n"});
  if (entry.field.openTypeFields != nullptr) printOpenType(sink, entry.field, varname, data);
}

// The entries behind the last one printed, up to the end of the list as it is now.
static void printFields(RtxPrintSink& sink, RtxBitFieldList* pList, const char* varname, const RtxTraceData& data)
{
  RtxTraceWalk walk;
  RtxSListNode* first = pList->pLastPrinted != nullptr ? pList->pLastPrinted->next : pList->fieldList.head;
  // Remembered as printed, so that it is not shown again if the trace ends with it.
  if (rtxTraceStart(walk, first)) {
    RtxNumText bits;
    rtxSinkPut(sink, {"bit adjustment set to ", signedText(bits, walk.adjustment), "\n"});
    pList->pLastPrinted = first;
  }
  for (; walk.node != nullptr; walk.node = walk.node->next) {
    printEntry(sink, pList->lineBuf, rtxTraceEntryAt(walk), varname, data);
    pList->pLastPrinted = walk.node;
  }
}

// Under a stream the octets are those that its capture has kept; without a capture only an error is printed.
void rtxDiagBitTracePrint(RtxBitFieldList* pList, const char* varname)
{
  if (pList == nullptr || pList->fieldList.pctxt == nullptr) return;
  RtxContext* pctxt = pList->fieldList.pctxt;
  RtxTraceData data;
  if (!rtxTraceFindData(pctxt, &data)) {
    rtxDiagStream(pctxt, "~E ERROR: capture buffer was not assigned to stream\n");
    return;
  }
  RtxPrintSink sink = rtxSinkOfStream(pctxt);
  printFields(sink, pList, varname, data);
  rtxSinkDone(sink);
}
