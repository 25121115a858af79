// Session messages of the 5GS NAS by themselves.
#include "fuzz/harness.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  static const L3TypeEntry* entry = typeOrNull("TS24501Msg_PDU_SM");
  if (entry) checkMessage(*entry, data, size);
  return 0;
}

std::vector<Octets> fuzzSeeds()
{
  return seedsOf("TS24501Msg_PDU_SM");
}
