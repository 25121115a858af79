// Measures NAS security over one message of 100 octets: code and ciphering together, alone, and the set-up of keys.
#include "bench/common/reporter.h"
#include "rt3gppsrc/rt3gppCrypto.h"
#include "velnor3gpp/rt3gppNasSec.h"
#include "velnor3gpp/rtxContext.h"

namespace {

constexpr uint8_t kKeys[32] = {0x2b, 0x7e, 0x15, 0x16, 0x28, 0xae, 0xd2, 0xa6, 0xab, 0xf7, 0x15,
                               0x88, 0x09, 0xcf, 0x4f, 0x3c, 0xd3, 0xc5, 0xd5, 0x92, 0x32, 0x7f,
                               0xb1, 0x1c, 0x40, 0x35, 0xc6, 0x68, 0x0a, 0xf8, 0xc6, 0xd1};

struct Signer {
  RtxContext ctxt{};
  uint8_t message[100] = {};
  uint32_t code = 0;
  Signer()
  {
    rtxInitContext(&ctxt);
    rtx3gppSecInitialize(&ctxt);
    assign();
  }
  ~Signer() { rtxFreeContext(&ctxt); }
  int assign() { return rtx3gppAssignAlgorithmKeys(&ctxt, kKeys, kKeys + 16, 2, 2); }
  int sign() { return rtx3gppComputeMAC(&ctxt, message, sizeof message, &code); }
  int cipher() { return rtx3gppCipher(&ctxt, message, sizeof message); }
};

template <typename Work> void measure(benchmark::State& state, AesChoice choice, Work work)
{
  if (!rtx3gppAesForce(choice)) return state.SkipWithError("not on this processor");
  Signer keyed;
  int status = 0;
  for (auto _ : state) {
    status |= work(keyed);
    benchmark::DoNotOptimize(keyed.code);
    benchmark::ClobberMemory();
  }
  if (status != 0) state.SkipWithError("an operation failed");
  setTimes(state, static_cast<size_t>(state.iterations()), 0);
  state.counters["octets"] = sizeof keyed.message;
  rtx3gppAesForce(AesChoice::automatic);
}

void add(const char* name, AesChoice choice, int (*work)(Signer&))
{
  addMeasured(name, [=](benchmark::State& state) { measure(state, choice, work); });
}

void addAll(AesChoice choice, const char* both, const char* sign, const char* cipher, const char* assign)
{
  add(both, choice, [](Signer& k) { return k.sign() | k.cipher(); });
  add(sign, choice, [](Signer& k) { return k.sign(); });
  add(cipher, choice, [](Signer& k) { return k.cipher(); });
  add(assign, choice, [](Signer& k) { return k.assign(); });
}

} // namespace

int main(int argc, char** argv)
{
  addAll(AesChoice::instructions, "security/instructions/both/100", "security/instructions/code/100",
         "security/instructions/cipher/100", "security/instructions/assign");
  addAll(AesChoice::plain, "security/plain/both/100", "security/plain/code/100", "security/plain/cipher/100",
         "security/plain/assign");
  return runAll(argc, argv);
}
