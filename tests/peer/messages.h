// Messages of the library's making, in many forms: each with its mandatory elements alone, with each optional element
// by itself, with each alternative of what it contains, and with everything at once.
#pragma once

#include <string>
#include <vector>

#include "rt3gppsrc/engine/l3Engine.h"
#include "tests/peer/tshark.h"

namespace peer {

struct Message {
  std::string name;      // "RegRequest5G"
  std::string form;      // "minimal", the optional element or alternative that it has, "full"
  unsigned type = 0;     // message type
  std::string typeField; // where the dissector shows it
  Frame frame;
  std::vector<Bits> bits; // the values that the library found in it
  std::string fault;      // what went wrong in encoding it or decoding it back
};

// A path in a record and what is set there.
struct Setting {
  std::string path, value;
};

// One optional element that full messages leave out: message or "*", element.
struct LeftOut {
  std::string message, element;
};

// All forms of all messages of all top-level forms.
std::vector<Message> allMessages(const std::vector<LeftOut>& leftOut);
// A message of its mandatory elements with some settings; false in `found` when a path leads nowhere.
Message messageWith(const std::string& name, const std::vector<Setting>& settings);

} // namespace peer
