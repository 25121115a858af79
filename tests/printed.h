// What the printing walk writes, as a string.
#pragma once

#include <cstdarg>
#include <cstdio>
#include <string>

#include "rt3gppsrc/engine/l3Engine.h"
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxPrintStream.h"

inline void appendPrinted(void* text, const char* format, va_list args)
{
  va_list again;
  va_copy(again, args);
  auto length = size_t(vsnprintf(nullptr, 0, format, again));
  va_end(again);
  auto& whole = *static_cast<std::string*>(text);
  size_t start = whole.size();
  whole.resize(start + length + 1);
  vsnprintf(&whole[start], length + 1, format, args);
  whole.pop_back();
}

// Into a buffer that grows until the text fits: many thousand records are printed in a run.
inline std::string printed(const L3Type& type, const char* name, const void* value, uint32_t flags = 0)
{
  static thread_local std::string buffer(1 << 14, 0);
  for (;;) {
    RtxPrintToStringBuffer text = {buffer.data(), buffer.size(), 0};
    RtxContext ctxt;
    rtxInitContext(&ctxt);
    ctxt.flags |= flags;
    rtxSetPrintStream(&ctxt, rtxPrintStreamToStringCB, &text);
    l3Print(&ctxt, type, name, value);
    rtxFreeContext(&ctxt);
    if (text.curPos + 1 < buffer.size()) return buffer.substr(0, text.curPos);
    buffer.resize(2 * buffer.size());
  }
}
