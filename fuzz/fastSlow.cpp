// The fast mode of the engine against the slow one, which has its heap in blocks, over every type and whatever the
// caller left open. An octet behind the type's two tells the setting.
#include "fuzz/harness.h"

static Setting settingOf(uint8_t octet)
{
  Setting setting;
  setting.security = octet & 1;
  setting.flags = octet & 2 ? RTX_FLAG_MOBILE_ORIGINATED : 0;
  setting.names = octet >> 2 & 3;
  setting.regions = octet >> 4 & 3;
  setting.specRelease = octet & 0x40 ? 5 : 0;
  setting.skipBits = octet & 0x80 ? 4 : 0;
  return setting;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  const L3TypeEntry* entry = takeType(data, size);
  if (!entry || !size || size > 2000) return 0;
  Setting setting = settingOf(data[0]);
  Octets octets(data + 1, data + size);
  if (octets.empty()) setting.skipBits = 0;
  setting.pieces = true;
  std::string fast = decodeOutcome(*entry, octets, setting);
  setting.slow = true;
  setting.pieces = false;
  std::string slow = decodeOutcome(*entry, octets, setting);
  promise(fast == slow,
          [&] { return std::string(entry->type->fullName) + " is\n" + fast + "fast and\n" + slow + "slow"; });
  return 0;
}

std::vector<Octets> fuzzSeeds()
{
  std::vector<Octets> seeds = seedsOfAllTypes();
  for (Octets& seed : seeds) seed.insert(seed.begin() + 2, 1);
  return seeds;
}
