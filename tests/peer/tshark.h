// The independent dissector: messages go to it in one capture file, and what it finds comes back by message.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "tests/outcome.h"

namespace peer {

// One message, by the name of the dissector that is to read it. `toNetwork` where a message reads otherwise by
// direction.
struct Frame {
  std::string dissector;
  Octets octets;
  bool toNetwork = false;
};

// Bits of a message that are one value, from its first bit on.
struct Bits {
  size_t from, to;
  std::string name;
};

// What it found in one frame: all values of each field in order, and those smaller or other than whole octets.
struct Found {
  std::map<std::string, std::vector<std::string>> values;
  std::vector<Bits> bits;
  std::string complaints; // malformed, unknown or left over octets; empty if nothing
};

// An empty list when it failed.
std::vector<Found> dissect(const std::vector<Frame>& frames);

} // namespace peer
