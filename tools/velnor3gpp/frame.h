// What all commands share: how one is added, how it ends, and how it says what is wrong.
//
// A command is one file with one function `void addNAME(Command& app, Program& program)`. It makes the command with
// `newCommand` (arguments.h), adds its options to a record that the callback shares, and sets `program.code` in the
// callback. main.cpp has the table of these functions. Faults are thrown: main turns each into one line and an exit
// code.
#ifndef VELNOR3GPP_PROGRAM_FRAME_H
#define VELNOR3GPP_PROGRAM_FRAME_H

#include <chrono>
#include <string>

#include "arguments.h"
#include "faults.h"
#include "output.h"

// Exit codes. The program never ends by a signal that its output brings about.
inline constexpr int kExitDone = 0;
inline constexpr int kExitBadMessage = 1; // only where a command is asked to tell so (--fail-on-error)
inline constexpr int kExitUsage = 2;
inline constexpr int kExitDamaged = 3; // a capture or charging file that cannot be read to its end
inline constexpr int kExitIo = 74;     // input or output failed

// What a run is about.
struct Program {
  Output& out;          // standard output; main flushes it at the end
  int code = kExitDone; // set by the command
};

// Writes a line to standard error, behind what is written to `out`: "velnor3gpp: TEXT", with control characters of the
// text as "\x1b". Lines that stand `below` it, a caret under the fault, end with a line feed each.
void complain(Output& out, const std::string& text, const std::string& below = "");
// The same where nothing was written yet.
void complain(const std::string& text, const std::string& below = "");

// A string of JSON with its quotes. What is no UTF-8 becomes U+FFFD.
std::string jsonString(std::string_view text);

// How far a long run has come, on standard error where that is a terminal and standard output is none: after the first
// second, and then four times a second.
class Progress {
public:
  explicit Progress(const Output& out);
  void show(size_t octets, size_t messages);
  void clear(); // takes the line away

private:
  bool on;
  bool shown = false;
  std::chrono::steady_clock::time_point next;
};

// Text in lines of so many characters at most, but for longer words.
std::string filled(const std::string& text, size_t width);

// "1 octet", "2 octets".
std::string counted(size_t count, const char* what);

#endif
