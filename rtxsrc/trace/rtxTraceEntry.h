// A trace entry whose path its maker writes: coders that keep their element names elsewhere than on the context's stack
// make their entries here.
#ifndef VELNOR_RTX_TRACE_ENTRY_H
#define VELNOR_RTX_TRACE_ENTRY_H

#include <stddef.h>

#include "velnor3gpp/rtxDiagBitTrace.h"

// Appends an entry at the current position. Returns the room for a path of so many characters and its terminator, which
// the caller fills, or null if the trace is off, disabled or out of memory.
char* rtxTraceAppend(RtxBitFieldList* pList, size_t pathLength, const char* label);

#endif
