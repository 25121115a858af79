// The independent dissector: messages go to it in one capture file, and the fields it finds come back by message.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace peer {

using Octets = std::vector<uint8_t>;

// One message, by the name of the dissector that is to read it. `toNetwork` where a message reads otherwise by
// direction.
struct Frame {
  std::string dissector;
  Octets octets;
  bool toNetwork = false;
};

// What it found in one frame: for every field asked for, all values in order.
using Found = std::map<std::string, std::vector<std::string>>;

// Bits of a message that the dissector shows as one value, from its first bit on.
struct Bits {
  size_t from, to;
  std::string name;
};

bool hasTshark();
// One run over all frames; an empty list when it failed.
std::vector<Found> dissect(const std::vector<Frame>& frames, const std::vector<std::string>& fields);
// Every value smaller or other than whole octets, in each frame.
std::vector<std::vector<Bits>> dissectBits(const std::vector<Frame>& frames);
// What it complained of in a frame: malformed, unknown or left over octets; empty if nothing.
std::string complaints(const Found& found);
extern const std::vector<std::string> kComplaintFields;

} // namespace peer
