// Any record into the encoder, fast and slow: it fails or gives octets that the decoder takes without fault. The octets
// behind the type's two and one for the damage draw the record along the descriptor.
#include "fuzz/harness.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  const L3TypeEntry* entry = takeType(data, size, true);
  if (!entry || !size) return 0;
  unsigned damage = data[0] & 3 ? 4U << (data[0] & 7) : 0;
  size_t capacity = data[0] & 0x80 ? size : 4096;
  auto make = [&](RtxContext* ctxt) {
    Draw draw(data + 1, size - 1);
    return arbitraryRecord(ctxt, *entry->type, draw, damage);
  };
  Setting setting;
  setting.trace = data[0] & 0x40;
  setting.pieces = true;
  Octets octets;
  std::string fast = encodeOutcome(*entry, make, capacity, setting, &octets);
  setting.slow = true;
  setting.pieces = false;
  std::string slow = encodeOutcome(*entry, make, capacity, setting);
  promise(fast == slow,
          [&] { return std::string(entry->type->fullName) + " is\n" + fast + "fast and\n" + slow + "slow"; });
  if (!octets.empty() && entry->decode) decodeOutcome(*entry, octets, {});
  return 0;
}

std::vector<Octets> fuzzSeeds()
{
  std::vector<Octets> seeds;
  for (size_t i = 0; i < l3TypeCount; ++i) {
    Draw draw(i);
    Octets seed = {uint8_t(i >> 8), uint8_t(i), uint8_t(draw.octet())};
    for (unsigned k = 0; k < 200; ++k) seed.push_back(uint8_t(draw.octet()));
    seeds.push_back(std::move(seed));
  }
  return seeds;
}
