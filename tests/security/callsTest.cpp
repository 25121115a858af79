// Guards: the published vectors come out exactly in both ways of computing AES,
// counters wrap in their width, and what each refused call of NAS security
// leaves behind. Each line of calls.txt is a call.
#include "tests/calls.h"
#include "rt3gppsrc/rt3gppCrypto.h"
#include "velnor3gpp/rt3gppNasSec.h"

namespace {

using calls::failure;

const Octets kKey = octetsOfHex("2b7e151628aed2a6abf7158809cf4f3c");
const Octets kOther = octetsOfHex("d3c5d592327fb11c4035c6680af8c6d1");

struct Schedule {
  uint32_t words[kAesScheduleWords];
  explicit Schedule(const Octets& key) { rtx3gppAesExpandKey(words, key.data()); }
};

std::string block(Octets key, Octets octets)
{
  rtx3gppAesEncrypt(Schedule(key).words, octets.data(), octets.data(), octets.size());
  return hexText(octets);
}

std::string counterMode(Octets key, Octets counter, Octets octets)
{
  rtx3gppCounterMode(Schedule(key).words, counter.data(), octets.data(), octets.size());
  return hexText(octets);
}

std::string cmac(Octets key, Octets message)
{
  const Schedule schedule(key);
  uint8_t subkeys[kCmacSubkeyOctets];
  Octets tag(kAesBlockOctets);
  rtx3gppCmacSubkeys(schedule.words, subkeys);
  rtx3gppCmac(schedule.words, subkeys, message.data(), message.size(), tag.data());
  return hexText(tag);
}

template <CounterPlace place> std::string counter(Octets octets, size_t bits)
{
  rtx3gppIncrementCounter(octets.data(), octets.size(), bits, place);
  return hexText(octets);
}

int begin(RtxContext* pctxt, const Octets& key, uint32_t count, uint8_t bearer, uint8_t direction)
{
  int status = rtx3gppSecInitialize(pctxt);
  if (status < 0) return status;
  pctxt->pSecurity->count = count;
  pctxt->pSecurity->bearer = bearer;
  pctxt->pSecurity->direction = direction;
  return rtx3gppAssignAlgorithmKeys(pctxt, key.data(), key.data(), 2, 2);
}

std::string ciphered(RtxContext* pctxt, Octets key, uint32_t count, uint8_t bearer, uint8_t direction, Octets octets)
{
  int status = begin(pctxt, key, count, bearer, direction);
  if (status == 0) status = rtx3gppCipher(pctxt, octets.data(), octets.size());
  return status < 0 ? std::to_string(status) : hexText(octets);
}

std::string coded(RtxContext* pctxt, Octets key, uint32_t count, uint8_t bearer, uint8_t direction, Octets octets)
{
  uint32_t code = 0;
  int status = begin(pctxt, key, count, bearer, direction);
  if (status == 0) status = rtx3gppComputeMAC(pctxt, octets.data(), octets.size(), &code);
  Bits bits;
  bits.add(code, 32);
  return status < 0 ? std::to_string(status) : hexText(bits.octets());
}

// The algorithms, and what is made of their keys.
std::string algorithms(RtxContext* pctxt)
{
  const Rtx3gppSecContext* security = pctxt->pSecurity;
  if (security == nullptr) return "no record";
  return std::to_string(security->integrityAlg) + " " + std::to_string(security->cipherAlg) +
         (security->cmacSubkeys != nullptr ? " subkeys" : "") + (security->keySchedules != nullptr ? " schedules" : "");
}

void setAlgorithms(RtxContext* pctxt, uint32_t integrityAlg, uint32_t cipherAlg)
{
  if (pctxt->pSecurity == nullptr) return;
  pctxt->pSecurity->integrityAlg = integrityAlg;
  pctxt->pSecurity->cipherAlg = cipherAlg;
}

const calls::Functions kFunctions = {
    // algorithms
    CALL(block), CALL(counterMode), CALL(cmac), CALL_AS("counterAtFront", counter<CounterPlace::atFront>),
    CALL_AS("counterAtEnd", counter<CounterPlace::atEnd>), CALL(ciphered), CALL(coded), CALL(algorithms),
    CALL(setAlgorithms),
    // calls of a user
    CALL(failure), CALL(rtx3gppSecInitialize), CALL(rtx3gppAssignAlgorithmKeys), CALL(rtx3gppComputeMAC),
    CALL(rtx3gppCipher), CALL(rtx3gppSecFree), CALL(rtxErrReset)};

TEST(NasSecurity, CallsGiveWhatTheirLinesSayBothWays)
{
  for (AesChoice choice : {AesChoice::plain, AesChoice::instructions}) {
    if (!rtx3gppAesForce(choice)) continue;
    SCOPED_TRACE(choice == AesChoice::plain ? "plain logic" : "AES instructions");
    calls::check("calls.txt", kFunctions, {{"key", kKey.data()}, {"other", kOther.data()}});
  }
  rtx3gppAesForce(AesChoice::automatic);
}

// What one way makes of a key and of so many octets: the schedule, the octets ciphered, the counter behind them.
std::string work(AesChoice choice, const Octets& key, Octets counter, Octets octets)
{
  rtx3gppAesForce(choice);
  const Schedule schedule(key);
  rtx3gppCounterMode(schedule.words, counter.data(), octets.data(), octets.size());
  rtx3gppAesForce(AesChoice::automatic);
  std::string words(reinterpret_cast<const char*>(schedule.words), sizeof schedule.words);
  return hexText(Octets(words.begin(), words.end())) + " " + hexText(octets) + " " + hexText(counter);
}

// Strides of 16 and of 8 blocks, and what is left of them, with a counter whose low 64 bits wrap at any block.
TEST(NasSecurity, BothWaysAgreeAtEveryLength)
{
  if (!rtx3gppAesInstructions()) GTEST_SKIP() << "no AES instructions";
  std::mt19937 random(33401);
  for (size_t length = 0; length <= 600; length++) {
    const Octets key = randomOctets(random, 16), octets = randomOctets(random, length);
    Octets counter = randomOctets(random, 16);
    for (size_t i = 8; i < 15; i++) counter[i] = 0xFF;
    counter[15] = uint8_t(0xFF - random() % 40);
    ASSERT_EQ(work(AesChoice::plain, key, counter, octets), work(AesChoice::instructions, key, counter, octets));
  }
}

TEST(NasSecurity, WrongSizesEndInAnAssertion)
{
  uint32_t schedule[kAesScheduleWords] = {};
  uint8_t octets[2 * kAesBlockOctets] = {};
  EXPECT_EXIT(rtx3gppAesEncrypt(schedule, octets, octets, 17), testing::ExitedWithCode(255), "");
  EXPECT_EXIT(rtx3gppIncrementCounter(octets, 16, 0, CounterPlace::atEnd), testing::ExitedWithCode(255), "");
}

} // namespace
