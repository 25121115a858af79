// The commands of the program. Each returns its exit code: 0, or 1 when a message failed; what the user can mend is
// thrown as UsageError.
#ifndef VELNOR3GPP_PROGRAM_COMMANDS_H
#define VELNOR3GPP_PROGRAM_COMMANDS_H

#include <string>
#include <vector>

struct Options {
  std::vector<std::string> inputs;
  std::string as;        // full name of a type, or empty
  std::string direction; // "up", "down" or empty
  std::string channel;   // "bcch", "ccch", "dcch", "sacch", "short" or empty
  std::string keyFile;
  std::string htmlFile;
  unsigned release = 0;
  bool trace = false;
  bool reencode = false;
  // types
  std::string part;
  bool formsOnly = false;
};

int decodeCommand(const Options& options);
int roundtripCommand(const Options& options);
int typesCommand(const Options& options);

#endif
