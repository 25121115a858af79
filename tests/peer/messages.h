// Messages of the library's making, in many forms: each with its mandatory elements alone, with each optional element
// by itself, with each alternative of what it contains, and with everything at once.
#pragma once

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

// The fields of a decoding with the trace on.
std::vector<Bits> tracedBits(const RtxContext& ctxt);

// A path in a record and what is set there.
struct Place {
  std::string path, value;
};

// Says whether full messages leave out an element, or take one that they leave out by itself ("full+" and its name).
using LeavesOut = std::function<bool(const std::string& message, const std::string& element)>;

// All forms of all messages of all top-level forms.
std::vector<Message> allMessages(const LeavesOut& leavesOut);
// A message of its mandatory elements with some settings; its fault tells paths that lead nowhere.
Message messageWith(const std::string& name, const std::vector<Place>& places);

} // namespace peer
