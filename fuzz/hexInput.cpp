// Octets in hexadecimal as the program reads them: each fault has a column within the text, and what was read reads the
// same when written down.
#include "fuzz/harness.h"

#include "tools/velnor3gpp/form.h"
#include "tools/velnor3gpp/hex.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  std::string text(data, data + size);
  HexText hex = readHex(text);
  if (hex.column) {
    promise(hex.column <= size + 1 && !hex.problem.empty(), "a fault without a place in the text");
    return 0;
  }
  promise(hex.octets.size() <= size, "more octets than characters");
  HexText again = readHex(octetText(hex.octets.data(), hex.octets.size()));
  promise(again.octets == hex.octets && !again.column, "octets read otherwise when written down");
  if (hex.octets.empty()) return 0;
  try {
    formOf(hex.octets, Direction::kUnknown);
  } catch (const UsageError&) { // a message of no known protocol
  }
  return 0;
}

std::vector<Octets> fuzzSeeds()
{
  std::vector<Octets> seeds;
  for (const char* text : {"7e 00 41", "0x7E:0x00:41", "7e0041, 79", "7E 0", "7g", "", "0x", "::", "7e\t00\r\n"})
    seeds.emplace_back(text, text + strlen(text));
  return seeds;
}
