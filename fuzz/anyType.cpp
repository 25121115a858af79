// Every type of the library by itself.
#include "fuzz/harness.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  if (const L3TypeEntry* entry = takeType(data, size)) checkMessage(*entry, data, size);
  return 0;
}

std::vector<Octets> fuzzSeeds()
{
  return seedsOfAllTypes();
}
