// What the program reads: octets in hexadecimal and key files.
#include "fuzz/harness.h"

#include <sstream>

#include "tools/velnor3gpp/frame.h"
#include "tools/velnor3gpp/hex.h"
#include "tools/velnor3gpp/keys.h"

// Each fault has a column within the text, and what was read reads the same when written down.
void checkHex(const L3TypeEntry&, Octets input)
{
  HexText hex = readHex(std::string(input.begin(), input.end()));
  if (hex.column)
    return promise(hex.column <= input.size() + 1 && !hex.problem.empty(), "a fault without a place in the text");
  promise(hex.octets.size() <= input.size(), "more octets than characters");
  HexText again = readHex(octetText(hex.octets.data(), hex.octets.size()));
  promise(again.octets == hex.octets && !again.column, "octets read otherwise when written down");
}

// A file is read or refused with its name.
void checkKeys(const L3TypeEntry&, Octets input)
{
  std::istringstream in(std::string(input.begin(), input.end()));
  Keys keys;
  try {
    readKeys(in, "name", keys);
  } catch (const UsageError& error) {
    promise(std::string(error.what()).find("name") != std::string::npos, "a refusal without the file's name");
  }
}
