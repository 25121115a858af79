// Guards: the states of the security record, what each refused call leaves behind, and that no key outlives it.
#include <cstring>
#include <map>

#include "tests/security/security.h"
#include "velnor3gpp/rtxMemHeap.h"

namespace {

const Octets kKeyA = octetsOfHex("2b7e151628aed2a6abf7158809cf4f3c");
const Octets kKeyB = octetsOfHex("d3c5d592327fb11c4035c6680af8c6d1");

struct NasSecurity : testing::Test {
  SecureContext ctxt;
  uint32_t mac = 7;
  Octets data = kKeyA, none;

  // A call with its status and the newest error record: "status parameter parameter".
  std::string told(int status)
  {
    if (status == 0) return "0";
    const auto& info = *static_cast<RtxErrInfo*>(ctxt.errInfo.tail->data);
    std::string text = std::to_string(info.status);
    EXPECT_TRUE(status == info.status || status == RTX_E_MULTIPLE) << status;
    for (int i = 0; i < info.parmcount; i++) text += std::string(" ") + info.parms[i];
    rtxErrReset(&ctxt);
    return text;
  }
  std::string assign(uint32_t integrityAlg, uint32_t cipherAlg)
  {
    return told(rtx3gppAssignAlgorithmKeys(&ctxt, kKeyA.data(), kKeyB.data(), integrityAlg, cipherAlg));
  }
  std::string code(size_t length = 3) { return told(rtx3gppComputeMAC(&ctxt, kKeyA.data(), length, &mac)); }
  std::string cipher(Octets& octets) { return told(rtx3gppCipher(&ctxt, octets.data(), octets.size())); }
};

TEST_F(NasSecurity, NullAlgorithmsTakeNoMemoryAndWithoutARecordEveryServiceFails)
{
  EXPECT_EQ(0u, ctxt.pSecurity->count + ctxt.pSecurity->bearer + ctxt.pSecurity->direction);
  EXPECT_EQ(0, rtx3gppComputeMAC(&ctxt, nullptr, UINT64_MAX, &mac));
  EXPECT_EQ(0u, mac);
  EXPECT_EQ("0", cipher(data));
  EXPECT_EQ(kKeyA, data);
  rtx3gppSecFree(&ctxt);
  EXPECT_EQ(nullptr, ctxt.pSecurity);
  EXPECT_EQ("-71", assign(0, 0));
  EXPECT_EQ("-71", cipher(none)); // before the length is looked at
  EXPECT_EQ("-71", code());
  rtx3gppSecFree(&ctxt);
  EXPECT_EQ("-71", told(RTX_E_NO_SECURITY));
}

TEST_F(NasSecurity, OtherAlgorithmsAreRefusedByTheirWord)
{
  Rtx3gppSecContext* sec = ctxt.pSecurity;
  for (uint32_t alg : {1u, 3u, 4294967295u}) {
    EXPECT_EQ("-60 integrity algorithm " + std::to_string(alg), assign(alg, alg));
    EXPECT_EQ("-60 cipher algorithm " + std::to_string(alg), assign(0, alg));
    EXPECT_EQ(0u, sec->integrityAlg + sec->cipherAlg);
    EXPECT_EQ(nullptr, sec->integrityKey);
  }
  sec->integrityAlg = sec->cipherAlg = 3;
  EXPECT_EQ("-60 integrity algorithm 3", code());
  EXPECT_EQ("-60 encryption algorithm 3", cipher(data));
  EXPECT_EQ("0", cipher(none)); // no octets: the algorithm does not matter
  EXPECT_EQ(RTX_E_NOT_SUPPORTED, rtx3gppComputeMAC(&ctxt, kKeyA.data(), 3, &mac));
  EXPECT_EQ(RTX_E_MULTIPLE, rtx3gppCipher(&ctxt, data.data(), data.size())); // a new record each
}

TEST_F(NasSecurity, ReassignmentWipesWhatTheNewAlgorithmsDoNotNeed)
{
  ASSERT_EQ("0", assign(2, 2));
  Rtx3gppSecContext* sec = ctxt.pSecurity;
  const uint8_t* subkeys = sec->cmacSubkeys;
  const uint32_t* schedules = sec->keySchedules;
  ASSERT_EQ("0", assign(0, 2));
  EXPECT_EQ(nullptr, sec->cmacSubkeys);
  EXPECT_EQ(schedules, sec->keySchedules);
  EXPECT_EQ(Octets(24), Octets(subkeys, subkeys + 24)); // the heap has its link in the last eight octets
  ASSERT_EQ("0", assign(0, 0));
  EXPECT_EQ(nullptr, sec->keySchedules);
  EXPECT_EQ(kKeyB.data(), sec->cipherKey); // pointers are kept, never the octets
}

TEST_F(NasSecurity, RefusedReassignmentEndsTheKeyedState)
{
  ASSERT_EQ("0", assign(2, 2));
  EXPECT_EQ("-60 integrity algorithm 1", assign(1, 2));
  EXPECT_EQ(2u, ctxt.pSecurity->integrityAlg);
  EXPECT_EQ("-47 cmacSubkeys", code());
  EXPECT_EQ("0", cipher(data)); // its schedule is untouched
  EXPECT_EQ("-60 cipher algorithm 1", assign(0, 1));
  EXPECT_EQ("-47 keySchedules", cipher(data));
  EXPECT_EQ("0", assign(2, 2)); // and a good one begins it anew
  EXPECT_EQ("0", code());
  EXPECT_EQ(RTX_E_NO_MEMORY, rtx3gppComputeMAC(&ctxt, kKeyA.data(), UINT64_MAX - 3, &mac));
  EXPECT_EQ(0, rtx3gppSecInitialize(&ctxt)); // a fresh record replaces the old one
  EXPECT_EQ(nullptr, ctxt.pSecurity->keySchedules);
}

// ---- A heap whose system memory the test owns ----

std::map<void*, size_t> liveMemory;
Octets returnedMemory; // what every released block held at that moment
int allocationsLeft = -1;

void* watchedMalloc(size_t size)
{
  if (allocationsLeft == 0) return nullptr;
  if (allocationsLeft > 0) allocationsLeft--;
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

// Whether any eight octets of `secret` stand together in live or returned heap memory.
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

// With memory that goes back to the system piece by piece, and with the heap's own blocks. Every allocation fails in
// turn: the status says so, and the context goes on to the use whose keys are looked for.
TEST(NasSecurityMemory, RunsOutWithoutHarmAndHoldsNoKeysAfterSecFree)
{
  for (uint32_t flags : {uint32_t{RT_MH_USE_SYSMEM}, 0U}) {
    RtxContext ctxt;
    ASSERT_EQ(0, rtxInitContextExt(&ctxt, watchedMalloc, nullptr, watchedFree));
    rtxMemHeapSetFlags(&ctxt.pMemHeap, flags);
    int failures = 0, status = -1;
    for (; status != 0 && failures < 10; failures += status != 0) {
      allocationsLeft = failures;
      status = use(&ctxt);
      allocationsLeft = -1;
      EXPECT_TRUE(status == 0 || status == RTX_E_NO_MEMORY) << status;
      if (status != 0) rtx3gppSecFree(&ctxt);
      rtxErrReset(&ctxt);
    }
    EXPECT_EQ(flags ? 4 : 1, failures); // record, schedules, subkeys and work buffer lie apart, or in one block
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
