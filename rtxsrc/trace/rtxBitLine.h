// The print line of the bit trace: it takes bits one by one, shows whole octets in hexadecimal and as characters, and
// persists between fields, so that a line goes on where the last field stopped. What went before shows as dashes.
#ifndef VELNOR_RTX_BIT_LINE_H
#define VELNOR_RTX_BIT_LINE_H

#include "velnor3gpp/rtxDiagBitTrace.h"

// The octets that a trace shows.
struct RtxTraceData {
  const uint8_t* octets;
  size_t size;
};

// Receives each finished line; all three columns have their full width.
struct RtxBitLineTarget {
  void (*put)(void* arg, const RtxBitLine& line);
  void* arg;
};

// Empties the line: the next bit is the first of an octet.
void rtxBitLineInit(RtxBitLine& line);

// Writes the lines of one field: `bitCount` bits at `bitOffset`, then the gap up to `nextOffset` as skipped bits.
void rtxBitLineField(RtxBitLine& line, const RtxTraceData& data, const RtxBitField& field, size_t nextOffset,
                     const RtxBitLineTarget& target);

#endif
