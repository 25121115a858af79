// Session messages of the EPS NAS by themselves.
#include "fuzz/harness.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  static const L3TypeEntry* entry = typeOrNull("TS24301Msg_PDU_SM");
  if (entry) checkMessage(*entry, data, size);
  return 0;
}

std::vector<Octets> fuzzSeeds()
{
  return seedsOf("TS24301Msg_PDU_SM");
}
