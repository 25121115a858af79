// What the program reads: octets in hexadecimal and key files.
#include "fuzz/harness.h"

#include <sstream>

#include "tools/velnor3gpp/form.h"
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
  if (hex.octets.empty()) return;
  try {
    formsOf(hex.octets, Direction::kUnknown, Channel::kUnknown);
  } catch (const UsageError&) { // a message of no known protocol
  }
}

// Counts never run backwards, unless there is one for all messages.
static void checkCounts(Keys& keys, const Octets& input)
{
  for (size_t i = 0; i < input.size() && i < 20 && !keys.count; ++i) {
    uint32_t last = keys.nextCount[0], next = countFor(keys, Direction::kUp, input[i], 8);
    promise((next & 0xFF) == input[i], "a count without the sequence number");
    promise(next >= last || last > UINT32_MAX - 256, "a count runs backwards");
    noteCount(keys, Direction::kUp, next);
  }
}

// A file is read or refused with its name.
void checkKeys(const L3TypeEntry&, Octets input)
{
  std::istringstream in(std::string(input.begin(), input.end()));
  Keys keys;
  try {
    readKeys(in, "name", keys);
    checkCounts(keys, input);
  } catch (const UsageError& error) {
    promise(std::string(error.what()).find("name") != std::string::npos, "a refusal without the file's name");
  }
}
