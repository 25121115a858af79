// Key files as the program reads them: a file is read or refused with its name, and counts never run backwards.
#include <sstream>

#include "fuzz/harness.h"

#include "tools/velnor3gpp/keys.h"

static void checkCounts(Keys& keys, const uint8_t* data, size_t size)
{
  if (keys.count) return; // one for all messages
  uint32_t last = keys.nextCount[0];
  for (size_t i = 0; i < size && i < 20; ++i) {
    uint32_t next = countFor(keys, Direction::kUp, data[i], 8);
    promise((next & 0xFF) == data[i], "a count without the sequence number");
    promise(next >= last || last > UINT32_MAX - 256, "a count runs backwards");
    noteCount(keys, Direction::kUp, next);
    last = next;
  }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  std::istringstream in(std::string(data, data + size));
  Keys keys;
  try {
    readKeys(in, "name", keys);
    checkCounts(keys, data, size);
  } catch (const UsageError& error) {
    promise(std::string(error.what()).find("name") != std::string::npos, "a refusal without the file's name");
  }
  return 0;
}

std::vector<Octets> fuzzSeeds()
{
  std::vector<Octets> seeds;
  for (const char* counts : {"count 5\n", "uplink-count 250\ndownlink-count = 0\n"}) {
    std::string text = "# one connection\nintegrity-algorithm 2\nciphering-algorithm 2 # AES\n"
                       "integrity-key 0102030405060708090a0b0c0d0e0f10\n"
                       "ciphering-key 0102030405060708090a0b0c0d0e0f10\nbearer 1\n" +
                       std::string(counts);
    seeds.emplace_back(text.begin(), text.end());
  }
  return seeds;
}
