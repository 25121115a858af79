// What the printing walk writes, as a string.
#pragma once

#include <string>

#include "rt3gppsrc/engine/l3Engine.h"
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxPrintStream.h"

inline std::string printed(const L3Type& type, const char* name, const void* value)
{
  std::string text(1 << 16, 0);
  RtxPrintToStringBuffer sink = {text.data(), text.size(), 0};
  RtxContext ctxt;
  rtxInitContext(&ctxt);
  rtxSetPrintStream(&ctxt, rtxPrintStreamToStringCB, &sink);
  l3Print(&ctxt, type, name, value);
  rtxFreeContext(&ctxt);
  text.resize(sink.curPos);
  return text;
}
