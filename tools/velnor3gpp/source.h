// Where messages come from: octets on the command line, files, or standard input, one message a line.
#ifndef VELNOR3GPP_PROGRAM_SOURCE_H
#define VELNOR3GPP_PROGRAM_SOURCE_H

#include <cstdint>
#include <exception>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "lines.h"

struct LinkNames;

struct Taker {
  std::function<void(const Message&)> message;
  std::function<void(const BadLine&)> bad;
  std::function<void(size_t octets)> progress; // after each piece of a file; may be empty
  const LinkNames* links = nullptr;            // of --dlt; may be null
  // If set: of captures every frame instead of its message, and what was counted at their end.
  std::function<void(const velnor3gpp_CaptureFrame&)> frame = {};
  std::function<void(const velnor3gpp_CaptureCounts&)> ended = {};
};

// Hands every line of the inputs to `taker`, in order, and holds one line at a time; and every message of an input that
// begins as a capture does. Without inputs, standard input is
// read if it is no terminal. Throws UsageError for what is no input at all. An input that breaks off or cannot be read
// spoils no other: the first such fault comes back for the command to end with, those behind it are told at once.
[[nodiscard]] std::exception_ptr readMessages(const std::vector<std::string>& inputs, const Taker& taker);
// Throws the fault, if there is one.
void endWith(const std::exception_ptr& broken);
// Reads a capture whose first octets are given to its end, if it is one; false otherwise.
using TakeCapture = std::function<bool(const std::string& name, int descriptor, std::string_view first)>;

// The same for any text: the lines, without what ends them. Lines that are too long come with `whole` false.
[[nodiscard]] std::exception_ptr
readLines(std::vector<std::string> inputs,
          const std::function<void(const std::string& place, std::string_view line, bool whole)>& take,
          const std::function<void(size_t octets)>& progress, const TakeCapture& capture = {}, size_t most = kMostLine);

// The line and a caret under the column, as lines that stand below what is said of it. Of a long line the part around
// the column is shown; what is no printing character stands as a dot. Empty for column 0.
std::string caretUnder(std::string_view line, size_t column);
// Lines that tell of a line without a message in the place of one.
std::string textOf(const BadLine& bad);
// The same as an object of JSON in a line.
std::string errorObject(const BadLine& bad);

#endif
