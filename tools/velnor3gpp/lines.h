// Messages in lines of text, wherever the text comes from: leading words, then octets in hexadecimal.
#ifndef VELNOR3GPP_PROGRAM_LINES_H
#define VELNOR3GPP_PROGRAM_LINES_H

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "velnor3gpp/velnor3gppCapture.h"

// The most octets of a message, and the longest line: as many in any usual spelling ("0x7e, " has six characters). What
// is longer is read to its end and said to be too long.
inline constexpr size_t kMostOctets = 131072;
inline constexpr size_t kMostLine = 8 * kMostOctets;

struct Message {
  std::string place; // "file:line", or "arguments"
  std::vector<uint8_t> octets;
  velnor3gpp_Direction direction = VELNOR3GPP_DIRECTION_UNKNOWN; // if the line begins with one
  velnor3gpp_Channel channel = VELNOR3GPP_CHANNEL_UNKNOWN;       // if the line begins with one
  std::string type;                                              // if the line names one
  // Of a frame of a capture: members that lead its object of JSON, and what tells its connection.
  std::string lead = {};
  const velnor3gpp_CaptureConnection* connection = nullptr;
};

// A line that is no message.
struct BadLine {
  std::string place;
  std::string problem;   // with the column
  std::string_view line; // as it stands; valid during the call
  size_t column;         // of the fault, from 1; 0: the line as a whole
};

// "column 7: PROBLEM"
std::string columnText(size_t column, const std::string& problem);
// Reads a line: calls one of both, or none for a blank line or a comment. `whole` is false if the line was too long:
// then the beginning of it is enough.
void readMessageLine(const std::string& place, std::string_view line, bool whole,
                     const std::function<void(const Message&)>& message,
                     const std::function<void(const BadLine&)>& bad);

// "--dir up" for a word that tells in front of a line what the option tells of all messages, or "".
std::string optionForLead(const std::string& word);

using TakeLine = std::function<void(const std::string& place, std::string_view line, bool whole)>;

// Cuts octets into lines. A line lies in one piece of input, or is gathered from several.
class LineCutter {
public:
  // A line has `mostOctets` without what ends it and a byte order mark before it; `before` lines come before the first.
  LineCutter(const std::string& name, const TakeLine& take, size_t mostOctets = kMostLine, size_t before = 0)
      : fileName(name), takeLine(take), most(mostOctets), number(before)
  {
  }

  void add(std::string_view piece);
  // A last line need not end.
  void finish();

private:
  void keep(std::string_view part);
  void tell(std::string_view line);

  const std::string& fileName;
  const TakeLine& takeLine;
  size_t most;
  std::string kept; // the beginning of a line that goes on
  bool tooLong = false;
  size_t number;
};

#endif
