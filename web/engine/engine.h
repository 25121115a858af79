// The library as the page calls it: one session, functions that take and give numbers, and text in one place. Octets
// and text that the page hands over stand in the room; what a call has to tell is its text, until the next call.
#ifndef VELNOR3GPP_WEB_ENGINE_H
#define VELNOR3GPP_WEB_ENGINE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "velnor3gpp/velnor3gpp.h"

// What the page calls, by its own name.
#define PAGE_CALL(name) extern "C" __attribute__((export_name(#name), used))

struct Engine {
  velnor3gpp_Session* session = nullptr;
  std::vector<uint8_t> room;
  std::string text;
};

// The only one; it is made by the first call.
Engine& engine();
// The octets that the page laid into the room.
std::string_view roomText(size_t count);
// A string of JSON with its quotes. What is no ASCII becomes a question mark: names and words of the library have none.
std::string quoted(std::string_view text);

#endif
