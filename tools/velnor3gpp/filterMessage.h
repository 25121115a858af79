// One record of the filter's input: its key, which comes back as it is, and the octets of its message, or what is wrong
// with it. Nothing that a record holds ends the program.
#ifndef VELNOR3GPP_PROGRAM_FILTER_MESSAGE_H
#define VELNOR3GPP_PROGRAM_FILTER_MESSAGE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "filterInput.h"
#include "velnor3gpp/velnor3gpp.h"

// What belongs to a message that is not in order.
struct FilterFault {
  int status = 0;          // of rtxStatus.h; 0: in order
  size_t octet = SIZE_MAX; // of the message, or SIZE_MAX
  std::string_view path;   // of the element or member, or empty
};

struct FilterMessage {
  bool hasKey = false;
  std::string_view key;   // a part of the record
  bool keyIsJson = false; // a value as it stood in JSON, quotes and all
  std::vector<uint8_t> octets;
  velnor3gpp_Direction direction = VELNOR3GPP_DIRECTION_UNKNOWN; // if the record tells it
  const velnor3gpp_Type* type = nullptr;                         // the same
  FilterFault fault;
};

// Reads a line without its end. Room of the message before is used again.
void readFilterLine(std::string_view line, FilterFormat format, unsigned keyColumns, FilterMessage& message);
// Takes a frame off the front of what is left of a block.
void readFilterFrame(std::string_view& block, FilterMessage& message);
// Reads octets in hexadecimal, as the command line takes them, into the message.
void readFilterHex(std::string_view text, FilterMessage& message);
// Reads an object of JSON with "octets" and, if it likes, "key", "dir" and "as". Other members are passed over, also
// the "type" that this program writes: of a message that was ciphered it is the header's alone.
void readFilterJson(std::string_view line, FilterMessage& message);

#endif
