// Guards: the states of the security record, what each refused call leaves behind, and that no key outlives it.
#include <cstring>
#include <map>

#include "tests/security/securityTest.h"

namespace {

const Octets kKeyA = octetsOf("2b7e151628aed2a6abf7158809cf4f3c");
const Octets kKeyB = octetsOf("d3c5d592327fb11c4035c6680af8c6d1");

struct NasSecurity : testing::Test, SecureContext {
  int assign(uint32_t integrityAlg, uint32_t cipherAlg)
  {
    return rtx3gppAssignAlgorithmKeys(&ctxt, kKeyA.data(), kKeyB.data(), integrityAlg, cipherAlg);
  }
  int code(uint32_t* pMac, size_t length = 3) { return rtx3gppComputeMAC(&ctxt, kKeyA.data(), length, pMac); }
  int cipher(Octets& data) { return rtx3gppCipher(&ctxt, data.data(), data.size()); }
  // The newest error record as "status parameter parameter", and none afterwards.
  std::string takeError()
  {
    std::string text = "none";
    if (ctxt.errInfo.tail) {
      const RtxErrInfo* info = static_cast<RtxErrInfo*>(ctxt.errInfo.tail->data);
      text = std::to_string(info->status);
      for (int i = 0; i < info->parmcount; i++) text += std::string(" ") + info->parms[i];
    }
    rtxErrReset(&ctxt);
    return text;
  }
};

} // namespace

TEST_F(NasSecurity, NullAlgorithmsChangeNothingAndTakeNoMemory)
{
  EXPECT_EQ(0u, ctxt.pSecurity->count + ctxt.pSecurity->bearer + ctxt.pSecurity->direction);
  uint32_t mac = 7;
  EXPECT_EQ(0, rtx3gppComputeMAC(&ctxt, nullptr, UINT64_MAX, &mac));
  EXPECT_EQ(0u, mac);
  Octets data = kKeyA;
  EXPECT_EQ(0, cipher(data));
  EXPECT_EQ(kKeyA, data);
}

TEST_F(NasSecurity, WithoutARecordEveryServiceFails)
{
  rtx3gppSecFree(&ctxt);
  EXPECT_EQ(nullptr, ctxt.pSecurity);
  uint32_t mac = 0;
  Octets none;
  EXPECT_EQ(RTX_E_NO_SECURITY, assign(0, 0));
  EXPECT_EQ("-71", takeError());
  EXPECT_EQ(RTX_E_NO_SECURITY, cipher(none)); // before the length is looked at
  EXPECT_EQ(RTX_E_NO_SECURITY, code(&mac));
  EXPECT_EQ(RTX_E_NO_SECURITY, rtxErrGetStatus(&ctxt)); // one failure, not several
  takeError();
  rtx3gppSecFree(&ctxt);
  EXPECT_EQ("-71", takeError());
}

TEST_F(NasSecurity, OtherAlgorithmsAreRefusedByTheirWord)
{
  for (uint32_t alg : {1u, 3u, 4294967295u}) {
    EXPECT_EQ(RTX_E_NOT_SUPPORTED, assign(alg, alg));
    EXPECT_EQ("-60 integrity algorithm " + std::to_string(alg), takeError());
    EXPECT_EQ(RTX_E_NOT_SUPPORTED, assign(0, alg));
    EXPECT_EQ("-60 cipher algorithm " + std::to_string(alg), takeError());
    EXPECT_EQ(0u, ctxt.pSecurity->integrityAlg + ctxt.pSecurity->cipherAlg);
    EXPECT_EQ(nullptr, ctxt.pSecurity->integrityKey);
  }
  uint32_t mac = 0;
  Octets data = kKeyA, none;
  ctxt.pSecurity->integrityAlg = ctxt.pSecurity->cipherAlg = 3;
  EXPECT_EQ(RTX_E_NOT_SUPPORTED, code(&mac));
  EXPECT_EQ(RTX_E_MULTIPLE, cipher(data)); // a new record each
  EXPECT_EQ("-60 encryption algorithm 3", takeError());
  EXPECT_EQ(0, cipher(none)); // no octets: the algorithm does not matter
}

TEST_F(NasSecurity, ReassignmentWipesWhatTheNewAlgorithmsDoNotNeed)
{
  ASSERT_EQ(0, assign(2, 2));
  Rtx3gppSecContext* sec = ctxt.pSecurity;
  const uint8_t* subkeys = sec->cmacSubkeys;
  const uint32_t* schedules = sec->keySchedules;
  const Octets cipherSchedule(reinterpret_cast<const uint8_t*>(schedules + 44),
                              reinterpret_cast<const uint8_t*>(schedules + 88));
  ASSERT_EQ(0, assign(2, 0)); // the cipher's schedule stays as it was
  EXPECT_EQ(subkeys, sec->cmacSubkeys);
  EXPECT_EQ(0, std::memcmp(schedules + 44, cipherSchedule.data(), cipherSchedule.size()));
  ASSERT_EQ(0, assign(0, 2));
  EXPECT_EQ(nullptr, sec->cmacSubkeys);
  EXPECT_EQ(schedules, sec->keySchedules);
  EXPECT_EQ(Octets(24), Octets(subkeys, subkeys + 24)); // the heap has its link in the last eight octets
  ASSERT_EQ(0, assign(0, 0));
  EXPECT_EQ(nullptr, sec->keySchedules);
  EXPECT_EQ(kKeyB.data(), sec->cipherKey); // pointers are kept, never the octets
}

TEST_F(NasSecurity, RefusedReassignmentEndsTheKeyedState)
{
  uint32_t mac = 0;
  Octets data = kKeyA;
  ASSERT_EQ(0, assign(2, 2));
  EXPECT_EQ(RTX_E_NOT_SUPPORTED, assign(1, 2));
  takeError();
  EXPECT_EQ(2u, ctxt.pSecurity->integrityAlg);
  EXPECT_EQ(nullptr, ctxt.pSecurity->cmacSubkeys);
  EXPECT_EQ(RTX_E_NULL_POINTER, code(&mac));
  EXPECT_EQ("-47 cmacSubkeys", takeError());
  EXPECT_EQ(0, cipher(data)); // its schedule is untouched
  EXPECT_EQ(RTX_E_NOT_SUPPORTED, assign(0, 1));
  takeError();
  EXPECT_EQ(RTX_E_NULL_POINTER, cipher(data));
  EXPECT_EQ("-47 keySchedules", takeError());
  EXPECT_EQ(0, assign(2, 2)); // and a good one begins it anew
  EXPECT_EQ(0, code(&mac));
  EXPECT_EQ(0, rtx3gppSecInitialize(&ctxt)); // a fresh record replaces the old one
  EXPECT_EQ(nullptr, ctxt.pSecurity->keySchedules);
}

// ---- A heap whose system memory the test owns ----

namespace {

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

struct WatchedHeap : testing::Test {
  RtxContext ctxt{};
  void start(uint32_t heapFlags)
  {
    allocationsLeft = -1;
    returnedMemory.clear();
    ASSERT_EQ(0, rtxInitContextExt(&ctxt, watchedMalloc, nullptr, watchedFree));
    rtxMemHeapSetFlags(&ctxt.pMemHeap, heapFlags);
  }
  void TearDown() override { rtxFreeContext(&ctxt); }
  int assign() { return rtx3gppAssignAlgorithmKeys(&ctxt, kKeyA.data(), kKeyB.data(), 2, 2); }
  void useAndFree()
  {
    ASSERT_EQ(0, rtx3gppSecInitialize(&ctxt));
    ASSERT_EQ(0, assign());
    uint32_t mac = 0;
    Octets data(100);
    ASSERT_EQ(0, rtx3gppComputeMAC(&ctxt, data.data(), data.size(), &mac));
    ASSERT_EQ(0, rtx3gppCipher(&ctxt, data.data(), data.size()));
    const Rtx3gppSecContext* sec = ctxt.pSecurity;
    const uint8_t* schedules = reinterpret_cast<const uint8_t*>(sec->keySchedules);
    const Octets made[] = {Octets(schedules, schedules + 176), Octets(schedules + 176, schedules + 352),
                           Octets(sec->cmacSubkeys, sec->cmacSubkeys + 32)};
    for (const Octets& secret : made) EXPECT_TRUE(foundInMemory(secret)) << "the search itself misses what is there";
    rtx3gppSecFree(&ctxt);
    for (const Octets& secret : made) EXPECT_FALSE(foundInMemory(secret));
    EXPECT_FALSE(foundInMemory(kKeyA) || foundInMemory(kKeyB));
  }
};

} // namespace

TEST_F(WatchedHeap, PoolHoldsNoKeyMaterialAfterSecFree)
{
  start(0);
  useAndFree();
}

TEST_F(WatchedHeap, SystemMemoryGoesBackWithoutKeyMaterial)
{
  start(RT_MH_USE_SYSMEM);
  useAndFree();
}

// Every allocation fails in turn: the status says so, and the context can go on.
TEST_F(WatchedHeap, RunsOutOfMemoryWithoutHarm)
{
  start(RT_MH_USE_SYSMEM);
  uint32_t mac = 0;
  int failures = 0;
  for (int status = -1; status != 0; failures += status != 0) {
    ASSERT_LT(failures, 10);
    rtxErrReset(&ctxt);
    allocationsLeft = failures;
    status = rtx3gppSecInitialize(&ctxt);
    if (status == 0) status = assign();
    if (status == 0) status = rtx3gppComputeMAC(&ctxt, kKeyB.data(), 16, &mac);
    allocationsLeft = -1;
    EXPECT_TRUE(status == 0 || status == RTX_E_NO_MEMORY) << status;
    if (status != 0) rtx3gppSecFree(&ctxt);
  }
  EXPECT_EQ(4, failures); // record, schedules, subkeys, work buffer
  rtxErrReset(&ctxt);
  EXPECT_EQ(RTX_E_NO_MEMORY, rtx3gppComputeMAC(&ctxt, kKeyB.data(), UINT64_MAX - 3, &mac));
}
