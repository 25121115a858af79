// Guards: no key outlives its use.
#include <pthread.h>

#include <algorithm>
#include <cstring>
#include <functional>
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
Octets returnedMemory; // what every released block held at that moment, and what the calls left on their stack

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

// What a caller does, one after the other: two keys, 32 octets in a row; a code over less than a block and over
// several; a ciphering of less than a block and one that takes eight blocks at once and then one.
int use(RtxContext* ctxt, int step, const uint8_t* keys)
{
  uint32_t mac = 0;
  uint8_t octets[17 * kAesBlockOctets] = {};
  if (step == 0) return rtx3gppSecInitialize(ctxt);
  if (step == 1) return rtx3gppAssignAlgorithmKeys(ctxt, keys, keys + kAesBlockOctets, 2, 2);
  const size_t lengths[] = {sizeof octets, 3, sizeof octets, 3, 9 * kAesBlockOctets};
  const size_t length = lengths[step - 2];
  return step < 4 ? rtx3gppComputeMAC(ctxt, octets, length, &mac) : rtx3gppCipher(ctxt, octets, length);
}

// What is made of the keys: the subkeys, and the schedules as words, as the octets in order, and with each key in all
// four places of a wide register.
std::vector<Octets> madeOfKeys(const Rtx3gppSecContext& security)
{
  const uint8_t* words = reinterpret_cast<const uint8_t*>(security.keySchedules);
  std::vector<Octets> made = {
      {security.cmacSubkeys, security.cmacSubkeys + 32}, {words, words + 176}, {words + 176, words + 352}};
  for (size_t i : {1, 2}) {
    made.push_back(made[i]);
    for (size_t word = 0; word < 176; word += 4) std::reverse(&made.back()[word], &made.back()[word] + 4);
  }
  for (size_t i : {3, 4}) {
    Octets wide;
    for (size_t key = 0; key < 176; key += kAesBlockOctets)
      for (int place = 0; place < 4; ++place) wide.insert(wide.end(), &made[i][key], &made[i][key] + kAesBlockOctets);
    made.push_back(wide);
  }
  return made;
}

// Runs something on a stack of its own, which is then searched like the memory.
void runOnStack(const std::function<void()>& work)
{
  alignas(4096) static uint8_t stack[1 << 16];
  memset(stack, 0, sizeof stack);
  pthread_attr_t attributes;
  pthread_t thread;
  pthread_attr_init(&attributes);
  ASSERT_EQ(0, pthread_attr_setstack(&attributes, stack, sizeof stack));
  auto call = [](void* what) -> void* {
    (*static_cast<const std::function<void()>*>(what))();
    return nullptr;
  };
  ASSERT_EQ(0, pthread_create(&thread, &attributes, call, const_cast<std::function<void()>*>(&work)));
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
  returnedMemory.insert(returnedMemory.end(), stack, stack + sizeof stack);
}

// With memory that goes back to the system piece by piece and with the heap's own blocks, in both ways of AES. Each
// time with other keys: a thread begins with the registers of the one that made it, which has searched for the keys
// before.
TEST(NasSecurityMemory, HoldsNoKeysOnHeapOrStackAfterSecFree)
{
  std::mt19937 random(1);
  for (AesChoice choice : {AesChoice::plain, AesChoice::instructions})
    for (uint32_t flags : {uint32_t{RT_MH_USE_SYSMEM}, 0U}) {
      const Octets keys = randomOctets(random, 2 * kAesBlockOctets);
      if (!rtx3gppAesForce(choice)) continue;
      SCOPED_TRACE(choice == AesChoice::plain ? "plain logic" : "AES instructions");
      RtxContext ctxt;
      ASSERT_EQ(0, rtxInitContextExt(&ctxt, watchedMalloc, nullptr, watchedFree));
      rtxMemHeapSetFlags(&ctxt.pMemHeap, flags);
      for (int step = 0; step < 7; ++step) {
        int status = -1;
        runOnStack([&] { status = use(&ctxt, step, keys.data()); });
        ASSERT_EQ(0, status);
      }
      const std::vector<Octets> made = madeOfKeys(*ctxt.pSecurity);
      for (size_t i : {0, 1, 2}) EXPECT_TRUE(foundInMemory(made[i])) << "the search itself misses what is there";
      rtx3gppSecFree(&ctxt);
      for (size_t i = 0; i < made.size(); ++i) EXPECT_FALSE(foundInMemory(made[i])) << i;
      rtxFreeContext(&ctxt);
      returnedMemory.clear();
    }
  rtx3gppAesForce(AesChoice::automatic);
}

} // namespace
