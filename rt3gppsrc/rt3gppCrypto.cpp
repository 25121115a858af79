// The modes of operation around AES-128 (CMAC and counter mode, by SP 800-38B and SP 800-38A), and the choice of the
// way in which blocks are computed. rt3gppNasSec.cpp calls this file; the ways are rt3gppCryptoPlain.cpp,
// rt3gppCryptoNi.cpp and rt3gppCryptoArm.cpp. All memory is the caller's. What is derived from a key is wiped before a
// function returns.
#include "rt3gppsrc/rt3gppCrypto.h"

#include <string.h>

#include "velnor3gpp/rtxError.h"

namespace {

// One setting for the process, written by rtx3gppAesForce only, which tests and measurements call.
AesChoice forcedChoice = AesChoice::automatic;

// Asked anew for each operation: the answer costs a load or two, and a forced way holds from the next operation on.
const AesPath* aesPath()
{
  const AesPath* instructions = forcedChoice == AesChoice::plain ? nullptr : rtx3gppAesInstructions();
  return instructions ? instructions : rtx3gppAesPlain();
}

// Doubling in GF(2^128): one bit to the left, and 0x87 into the last octet if a bit fell out. `-(bit) & 0x87` is 0 or
// 0x87 without a branch, since the block is derived from the key.
void doubleBlock(const uint8_t* in, uint8_t* out)
{
  const uint8_t reduction = static_cast<uint8_t>(-(in[0] >> 7) & 0x87);
  for (size_t i = 0; i + 1 < kAesBlockOctets; i++) out[i] = static_cast<uint8_t>(in[i] << 1 | in[i + 1] >> 7);
  out[kAesBlockOctets - 1] = static_cast<uint8_t>(in[kAesBlockOctets - 1] << 1 ^ reduction);
}

// A counter of 12 bits in 01 2F FF steps to 01 20 00: the last octet first, and the lower half of the one before it.
void incrementAtEnd(uint8_t* block, size_t blockBytes, size_t bitsWide)
{
  size_t pos = blockBytes;
  for (; bitsWide >= 8; bitsWide -= 8) {
    if (++block[--pos] != 0) return;
  }
  if (bitsWide == 0) return;
  const unsigned mask = (1U << bitsWide) - 1;
  uint8_t& shared = block[pos - 1];
  shared = static_cast<uint8_t>((shared & ~mask) | ((shared + 1U) & mask));
}

// A counter of 12 bits in FF E7 .. steps to FF F7 ..: its last bit has the value 0x10 in the second octet. The carry
// goes to the left and falls out of the first octet.
void incrementAtFront(uint8_t* block, size_t bitsWide)
{
  size_t pos = (bitsWide - 1) / 8;
  unsigned sum = block[pos] + (0x80U >> ((bitsWide - 1) % 8));
  block[pos] = static_cast<uint8_t>(sum);
  while (sum > 0xFF && pos > 0) {
    sum = block[--pos] + 1U;
    block[pos] = static_cast<uint8_t>(sum);
  }
}

} // namespace

// Nothing is changed where the instructions are asked for and not there.
int rtx3gppAesForce(AesChoice choice)
{
  if (choice == AesChoice::instructions && !rtx3gppAesInstructions()) return 0;
  forcedChoice = choice;
  return 1;
}

void rtx3gppAesEncrypt(const uint32_t* schedule, const uint8_t* in, uint8_t* out, size_t msgBytes)
{
  if (msgBytes % kAesBlockOctets != 0) rtxErrAssertionFailed("msgBytes % 16 == 0", __LINE__, "rt3gppCrypto");
  aesPath()->encrypt(schedule, in, out, msgBytes / kAesBlockOctets);
}

// K1 is the doubled encryption of a block of zeros, K2 is K1 doubled.
void rtx3gppCmacSubkeys(const uint32_t* schedule, uint8_t* subkeys)
{
  uint8_t base[kAesBlockOctets] = {};
  rtx3gppAesEncrypt(schedule, base, base, sizeof base);
  doubleBlock(base, subkeys);
  doubleBlock(subkeys, subkeys + kAesBlockOctets);
  rtx3gppWipe(base, sizeof base);
}

// A last block of 16 octets is combined with K1; a shorter one, or none, is padded with 80 00 ... and combined with K2.
void rtx3gppCmac(const uint32_t* schedule, const uint8_t* subkeys, const uint8_t* message, size_t length, uint8_t* tag)
{
  const size_t before = length == 0 ? 0 : (length - 1) / kAesBlockOctets; // blocks before the last one
  const size_t rest = length - before * kAesBlockOctets;
  uint8_t last[kAesBlockOctets] = {};
  if (rest > 0) memcpy(last, message + before * kAesBlockOctets, rest);
  const bool padded = rest < kAesBlockOctets;
  if (padded) last[rest] = 0x80;
  rtx3gppXor(last, padded ? subkeys + kAesBlockOctets : subkeys, last, sizeof last);
  aesPath()->chain(schedule, message, before, last, tag);
  rtx3gppWipe(last, sizeof last); // a short message would show the subkey in it
}

void rtx3gppCounterMode(const uint32_t* schedule, uint8_t* counter, uint8_t* data, size_t length)
{
  aesPath()->counterMode(schedule, counter, data, length);
}

void rtx3gppAesExpandKey(uint32_t* schedule, const uint8_t* key)
{
  aesPath()->expandKey(schedule, key);
}

// A width of 0 would be a mistake of ours, hence the assertion.
void rtx3gppIncrementCounter(uint8_t* block, size_t blockBytes, size_t bitsWide, CounterPlace place)
{
  if (bitsWide == 0) rtxErrAssertionFailed("bitsWide > 0", __LINE__, "rt3gppCrypto");
  if (place == CounterPlace::atEnd)
    incrementAtEnd(block, blockBytes, bitsWide);
  else
    incrementAtFront(block, bitsWide);
}

// Eight octets at a time; memcpy, because neither pointer need be aligned.
void rtx3gppXor(const uint8_t* first, const uint8_t* second, uint8_t* result, size_t length)
{
  for (; length >= sizeof(uint64_t); length -= sizeof(uint64_t)) {
    uint64_t a, b;
    memcpy(&a, first, sizeof a);
    memcpy(&b, second, sizeof b);
    a ^= b;
    memcpy(result, &a, sizeof a);
    first += sizeof a, second += sizeof a, result += sizeof a;
  }
  for (size_t i = 0; i < length; i++) result[i] = first[i] ^ second[i];
}

// The empty statement claims to read the memory, so that the compiler cannot drop the stores as useless.
void rtx3gppWipe(void* memory, size_t octets)
{
  if (octets == 0) return;
#if defined(__GNUC__)
  memset(memory, 0, octets);
  __asm__ volatile("" : : "r"(memory) : "memory");
#else
  for (volatile uint8_t* at = static_cast<uint8_t*>(memory); octets > 0; octets--) *at++ = 0;
#endif
}
