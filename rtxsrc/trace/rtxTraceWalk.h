// What the text and the HTML form of the bit trace have in common: the octets that a trace shows, the walk over its
// entries and the head line of an entry.
#ifndef VELNOR_RTX_TRACE_WALK_H
#define VELNOR_RTX_TRACE_WALK_H

#include "rtxsrc/print/rtxPrintSink.h"
#include "rtxsrc/trace/rtxBitLine.h"

// Whether the context's buffer holds all octets that were coded: no stream, or one that works in memory.
bool rtxTraceInBuffer(const RtxContext* pctxt);

// Finds the octets to print: those of the buffer, or those that the stream kept. False if the stream kept none.
bool rtxTraceFindData(RtxContext* pctxt, RtxTraceData* data);

// Stands at one entry of a trace. Offsets have the adjustment of the bit-adjustment entry at the start added.
struct RtxTraceWalk {
  RtxSListNode* node; // the entry, or null at the end
  size_t adjustment;  // bits
};

// An entry as it prints.
struct RtxTraceEntry {
  RtxBitField field; // with its offset adjusted
  size_t nextOffset; // of the entry that follows; 0 for the last
};

// Starts at a node. A bit-adjustment entry there (no name, no bits) is passed over: true.
bool rtxTraceStart(RtxTraceWalk& walk, RtxSListNode* node);

// The entry at which the walk stands; there must be one.
RtxTraceEntry rtxTraceEntryAt(const RtxTraceWalk& walk);

// The head line: variable name, element path and label, cut to `size` - 1 characters.
void rtxTraceHead(char* head, size_t size, const RtxBitField& field, const char* varname);

// Writes the page of a trace.
void rtxTracePutPage(RtxPrintSink& sink, const RtxBitFieldList* pList, const char* varname, const RtxTraceData& data);

#endif
