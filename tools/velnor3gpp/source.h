// Where messages come from: octets on the command line, files, or standard input, one message a line.
#ifndef VELNOR3GPP_PROGRAM_SOURCE_H
#define VELNOR3GPP_PROGRAM_SOURCE_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "usage.h"

struct Message {
  std::string place; // "file:line", or "arguments"
  std::vector<uint8_t> octets;
  Direction direction = Direction::kUnknown; // if the line begins with "up" or "down"
  Channel channel = Channel::kUnknown;       // if the line begins with one
  std::string type;                          // if the line names one
};

// Hands every message of the inputs to `take`. A line that holds no octets is named on standard error and counted.
// Returns the number of such lines. Throws UsageError for what is no input at all.
size_t readMessages(const std::vector<std::string>& inputs, const std::function<void(const Message&)>& take);

#endif
