// Mobility, call and session messages of the older core network.
#include "fuzz/harness.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  static const L3TypeEntry* entry = typeOrNull("TS24008Msg_PDU");
  if (entry) checkMessage(*entry, data, size);
  return 0;
}

std::vector<Octets> fuzzSeeds()
{
  return seedsOf("TS24008Msg_PDU");
}
