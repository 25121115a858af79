// Guards: no key outlives its use.
#include <cstring>
#include <map>

#include "tests/security/security.h"
#include "velnor3gpp/rtxMemHeap.h"

namespace {

const Octets kKeyA = octetsOfHex("2b7e151628aed2a6abf7158809cf4f3c");
const Octets kKeyB = octetsOfHex("d3c5d592327fb11c4035c6680af8c6d1");

TEST(NasSecurityMemory, ReassignmentWipesWhatTheNewAlgorithmsDoNotNeed)
{
  SecureContext ctxt;
  ASSERT_EQ(0, rtx3gppAssignAlgorithmKeys(&ctxt, kKeyA.data(), kKeyB.data(), 2, 2));
  Rtx3gppSecContext* sec = ctxt.pSecurity;
  const uint8_t* subkeys = sec->cmacSubkeys;
  const uint32_t* schedules = sec->keySchedules;
  ASSERT_EQ(0, rtx3gppAssignAlgorithmKeys(&ctxt, kKeyA.data(), kKeyB.data(), 0, 2));
  EXPECT_EQ(nullptr, sec->cmacSubkeys);
  EXPECT_EQ(schedules, sec->keySchedules);
  EXPECT_EQ(Octets(24), Octets(subkeys, subkeys + 24)); // the heap has its link in the last eight octets
  ASSERT_EQ(0, rtx3gppAssignAlgorithmKeys(&ctxt, kKeyA.data(), kKeyB.data(), 0, 0));
  EXPECT_EQ(nullptr, sec->keySchedules);
  EXPECT_EQ(kKeyB.data(), sec->cipherKey); // pointers are kept, never the octets
}

std::map<void*, size_t> liveMemory;
Octets returnedMemory; // what every released block held at that moment

void* watchedMalloc(size_t size)
{
  void* memory = std::calloc(1, size); // cleared, so that nothing older is found in it
  liveMemory[memory] = size;
  return memory;
}

void watchedFree(void* memory)
{
  const uint8_t* at = static_cast<uint8_t*>(memory);
  if (memory) returnedMemory.insert(returnedMemory.end(), at, at + liveMemory[memory]);
  liveMemory.erase(memory);
  std::free(memory);
}

// Whether any eight octets of `secret` stand together in live or returned heap
// memory.
bool foundInMemory(const Octets& secret)
{
  Octets all = returnedMemory;
  for (const auto& [memory, size] : liveMemory)
    all.insert(all.end(), static_cast<uint8_t*>(memory), static_cast<uint8_t*>(memory) + size);
  for (size_t i = 0; i + 8 <= secret.size(); i++)
    if (memmem(all.data(), all.size(), secret.data() + i, 8)) return true;
  return false;
}

int use(RtxContext* ctxt)
{
  uint32_t mac = 0;
  int status = rtx3gppSecInitialize(ctxt);
  if (status == 0) status = rtx3gppAssignAlgorithmKeys(ctxt, kKeyA.data(), kKeyB.data(), 2, 2);
  return status == 0 ? rtx3gppComputeMAC(ctxt, kKeyB.data(), 16, &mac) : status;
}

// With memory that goes back to the system piece by piece, and with the heap's
// own blocks.
TEST(NasSecurityMemory, HoldsNoKeysAfterSecFree)
{
  for (uint32_t flags : {uint32_t{RT_MH_USE_SYSMEM}, 0U}) {
    RtxContext ctxt;
    ASSERT_EQ(0, rtxInitContextExt(&ctxt, watchedMalloc, nullptr, watchedFree));
    rtxMemHeapSetFlags(&ctxt.pMemHeap, flags);
    ASSERT_EQ(0, use(&ctxt));
    const uint8_t* schedules = reinterpret_cast<const uint8_t*>(ctxt.pSecurity->keySchedules);
    const uint8_t* subkeys = ctxt.pSecurity->cmacSubkeys;
    const Octets made[] = {{schedules, schedules + 176}, {schedules + 176, schedules + 352}, {subkeys, subkeys + 32}};
    for (const Octets& secret : made) EXPECT_TRUE(foundInMemory(secret)) << "the search itself misses what is there";
    rtx3gppSecFree(&ctxt);
    for (const Octets& secret : made) EXPECT_FALSE(foundInMemory(secret));
    EXPECT_FALSE(foundInMemory(kKeyA));
    rtxFreeContext(&ctxt);
    returnedMemory.clear();
  }
}

} // namespace
