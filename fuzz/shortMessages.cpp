// The control and relay layers of the short message service. The first octet chooses the form.
#include "fuzz/harness.h"

static const char* const kForms[] = {"TS24011Msg_CP_PDU", "TS24011Msg_RP_PDU"};
static constexpr size_t kFormCount = sizeof kForms / sizeof kForms[0];

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  if (!size) return 0;
  if (const L3TypeEntry* entry = typeOrNull(kForms[data[0] % kFormCount])) checkMessage(*entry, data + 1, size - 1);
  return 0;
}

std::vector<Octets> fuzzSeeds()
{
  std::vector<Octets> seeds;
  for (size_t i = 0; i < kFormCount; ++i)
    for (Octets& octets : seedsOf(kForms[i])) {
      octets.insert(octets.begin(), uint8_t(i));
      seeds.push_back(std::move(octets));
    }
  return seeds;
}
