// A session that reads and writes JSON.
#pragma once

#include "tests/facade/session.h"
#include "velnor3gpp/velnor3gppJson.h"

inline std::string repeated(const std::string& text, size_t count)
{
  std::string all;
  for (size_t i = 0; i < count; ++i) all += text;
  return all;
}

struct JsonSession : TestSession {
  std::string json(unsigned flags = 0)
  {
    const char* text = nullptr;
    size_t count = 0;
    int status = velnor3gpp_toJson(session, flags, &text, &count);
    return status < 0 ? "status " + std::to_string(status) : std::string(text, count);
  }
  int read(const std::string& text, const L3TypeEntry* entry = nullptr)
  {
    return velnor3gpp_fromJson(session, entry ? typeOf(entry) : nullptr, text.data(), text.size());
  }
};
