// AES-128 with the AES instructions of ARMv8 processors. They are asked for function by function, so that the library
// as a whole still runs on processors without them: rtx3gppAesInstructions asks the system. One instruction adds the
// round key before it substitutes, so the last two round keys meet at the end: AESE, AESMC nine times, then AESE and an
// exclusive or. Nothing is allocated; keys are wiped before each function returns. rt3gppCryptoNi.cpp is its pendant
// for x86.
#include "rt3gppsrc/rt3gppCrypto.h"

#if defined(VELNOR_AES_ARM)

#include <arm_neon.h>
#if defined(__linux__)
#include <sys/auxv.h>
#endif

#include "rtxsrc/bits/rtxBigEndian.h"

// A function attribute cannot be had from an inline function, hence a macro.
#if defined(__clang__)
#define AES_FUNCTION __attribute__((target("aes")))
#else
#define AES_FUNCTION __attribute__((target("+crypto")))
#endif

namespace {

constexpr size_t kLanes = 8; // blocks under way at once

// Kept in registers where the compiler optimises; elsewhere on the stack. Whoever loads them wipes them.
struct RoundKeys {
  uint8x16_t round[kAesRounds + 1];
};

// The schedule's words are big-endian by value, the instructions want the octets in order. Which octets of a loaded
// word change places depends on the machine's own order.
AES_FUNCTION inline uint8x16_t octetsOfWords(const uint32_t* words)
{
  const uint8x16_t octets = vld1q_u8(reinterpret_cast<const uint8_t*>(words));
  return std::endian::native == std::endian::little ? vrev32q_u8(octets) : octets;
}

AES_FUNCTION inline void storeWords(uint32_t* words, uint8x16_t octets)
{
  vst1q_u8(reinterpret_cast<uint8_t*>(words), std::endian::native == std::endian::little ? vrev32q_u8(octets) : octets);
}

AES_FUNCTION inline RoundKeys loadKeys(const uint32_t* schedule)
{
  RoundKeys keys;
  for (size_t i = 0; i <= kAesRounds; i++) keys.round[i] = octetsOfWords(schedule + 4 * i);
  return keys;
}

// Several blocks go through each round together, which hides the time that one instruction takes.
template <size_t lanes> AES_FUNCTION inline void encryptLanes(const RoundKeys& keys, uint8x16_t (&block)[lanes])
{
#pragma GCC unroll 10
  for (size_t i = 0; i + 1 < kAesRounds; i++)
#pragma GCC unroll 8
    for (uint8x16_t& b : block) b = vaesmcq_u8(vaeseq_u8(b, keys.round[i]));
#pragma GCC unroll 8
  for (uint8x16_t& b : block) b = veorq_u8(vaeseq_u8(b, keys.round[kAesRounds - 1]), keys.round[kAesRounds]);
}

// One block after the other: only the subkeys of CMAC are made in this way, one block each.
AES_FUNCTION void encryptBlocks(const uint32_t* schedule, const uint8_t* in, uint8_t* out, size_t blocks)
{
  RoundKeys keys = loadKeys(schedule);
  for (size_t i = 0; i < blocks; i++) {
    uint8x16_t block[1] = {vld1q_u8(in + i * kAesBlockOctets)};
    encryptLanes(keys, block);
    vst1q_u8(out + i * kAesBlockOctets, block[0]);
  }
  rtx3gppWipe(&keys, sizeof keys);
}

// Each block needs the one before, so nothing can run beside it.
AES_FUNCTION void chainBlocks(const uint32_t* schedule, const uint8_t* message, size_t blocks, const uint8_t* last,
                              uint8_t* tag)
{
  RoundKeys keys = loadKeys(schedule);
  uint8x16_t state[1] = {vdupq_n_u8(0)};
  for (size_t i = 0; i <= blocks; i++) {
    state[0] = veorq_u8(state[0], vld1q_u8(i < blocks ? message + i * kAesBlockOctets : last));
    encryptLanes(keys, state);
  }
  vst1q_u8(tag, state[0]);
  rtx3gppWipe(&keys, sizeof keys);
}

// The keystream of the blocks from `counter` on, which steps behind them.
AES_FUNCTION inline void makeLanes(const RoundKeys& keys, uint8_t* counter, uint8x16_t (&block)[kLanes])
{
  uint64_t low = rtxLoadOctets<8>(counter + 8);
#pragma GCC unroll 8
  for (size_t i = 0; i < kLanes; i++) {
    rtxStoreOctets<8>(counter + 8, low + i);
    block[i] = vld1q_u8(counter);
  }
  encryptLanes(keys, block);
  rtxStoreOctets<8>(counter + 8, low + kLanes);
}

// The octets that do not fill all lanes; the counter steps on by the blocks that were used, not by the lanes.
AES_FUNCTION inline void cipherRest(const RoundKeys& keys, uint8_t* counter, uint8_t* data, size_t length)
{
  uint8x16_t block[kLanes];
  uint8_t stream[kLanes * kAesBlockOctets];
  const uint64_t low = rtxLoadOctets<8>(counter + 8);
  makeLanes(keys, counter, block);
  for (size_t i = 0; i < kLanes; i++) vst1q_u8(stream + i * kAesBlockOctets, block[i]);
  rtx3gppXor(data, stream, data, length);
  rtxStoreOctets<8>(counter + 8, low + (length + kAesBlockOctets - 1) / kAesBlockOctets);
}

AES_FUNCTION void counterMode(const uint32_t* schedule, uint8_t* counter, uint8_t* data, size_t length)
{
  constexpr size_t kStride = kLanes * kAesBlockOctets;
  RoundKeys keys = loadKeys(schedule);
  for (; length >= kStride; length -= kStride, data += kStride) {
    uint8x16_t block[kLanes];
    makeLanes(keys, counter, block);
    for (size_t i = 0; i < kLanes; i++)
      vst1q_u8(data + i * kAesBlockOctets, veorq_u8(block[i], vld1q_u8(data + i * kAesBlockOctets)));
  }
  if (length > 0) cipherRest(keys, counter, data, length);
  rtx3gppWipe(&keys, sizeof keys);
}

// The next round key from the one before. AESE with a key of zeros shifts the rows and substitutes; where all four
// columns are the rotated last one (octets 12 13 14 15 as 13 14 15 12), shifting changes nothing. The new columns are
// a, a + b, a + b + c and a + b + c + d of the old ones, each with the substituted column added.
AES_FUNCTION inline uint8x16_t nextKey(uint8x16_t key, uint8_t constant)
{
  static const uint8_t kRotated[kAesBlockOctets] = {13, 14, 15, 12, 13, 14, 15, 12, 13, 14, 15, 12, 13, 14, 15, 12};
  static const uint8_t kFirstOfColumns[kAesBlockOctets] = {1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0};
  const uint8x16_t zero = vdupq_n_u8(0);
  const uint8x16_t substituted = vaeseq_u8(vqtbl1q_u8(key, vld1q_u8(kRotated)), zero);
  key = veorq_u8(key, vextq_u8(zero, key, 12));
  key = veorq_u8(key, vextq_u8(zero, key, 8));
  return veorq_u8(veorq_u8(key, substituted), vmulq_u8(vld1q_u8(kFirstOfColumns), vdupq_n_u8(constant)));
}

AES_FUNCTION void expandKey(uint32_t* schedule, const uint8_t* octets)
{
  uint8x16_t key = vld1q_u8(octets);
  for (size_t i = 0;; i++) {
    storeWords(schedule + 4 * i, key);
    if (i == kAesRounds) break;
    key = nextKey(key, kAesRoundConstants[i]);
  }
}

constexpr AesPath kInstructions = {encryptBlocks, chainBlocks, counterMode, expandKey};

} // namespace

const AesPath* rtx3gppAesInstructions()
{
#if defined(__linux__)
  constexpr unsigned long kAes = 1UL << 3; // HWCAP_AES of asm/hwcap.h
  return (getauxval(AT_HWCAP) & kAes) != 0 ? &kInstructions : nullptr;
#else
  return &kInstructions; // every processor that Apple's systems run on has them
#endif
}

#endif
