// AES-128 with the AES instructions of x86 processors. The instructions are asked for function by function, so that
// the library as a whole still runs on processors without them.
#include "rt3gppsrc/rt3gppCrypto.h"

#if defined(__x86_64__) || defined(__i386__)

#include <immintrin.h>

#include "rtxsrc/bits/rtxBigEndian.h"

// A function attribute cannot be had from an inline function, hence a macro.
#define AES_FUNCTION __attribute__((target("aes,ssse3")))

namespace {

// Kept in registers where the compiler optimises; elsewhere, or where they do not all fit, on the stack. Whoever loads
// them wipes them.
struct RoundKeys {
  __m128i round[kAesRounds + 1];
};

// The schedule's words are big-endian by value, the instructions want the octets in order.
AES_FUNCTION inline RoundKeys loadKeys(const uint32_t* schedule)
{
  const __m128i order = _mm_set_epi8(12, 13, 14, 15, 8, 9, 10, 11, 4, 5, 6, 7, 0, 1, 2, 3);
  RoundKeys keys;
  for (size_t i = 0; i <= kAesRounds; i++)
    keys.round[i] = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(schedule + 4 * i)), order);
  return keys;
}

AES_FUNCTION inline __m128i loadBlock(const uint8_t* at)
{
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
}

AES_FUNCTION inline void storeBlock(uint8_t* at, __m128i block)
{
  _mm_storeu_si128(reinterpret_cast<__m128i*>(at), block);
}

// Several blocks go through each round together, which hides the time that one instruction takes.
template <size_t lanes> AES_FUNCTION inline void encryptLanes(const RoundKeys& keys, __m128i (&block)[lanes])
{
#pragma GCC unroll 8
  for (__m128i& b : block) b = _mm_xor_si128(b, keys.round[0]);
#pragma GCC unroll 10
  for (size_t i = 1; i < kAesRounds; i++)
#pragma GCC unroll 8
    for (__m128i& b : block) b = _mm_aesenc_si128(b, keys.round[i]);
#pragma GCC unroll 8
  for (__m128i& b : block) b = _mm_aesenclast_si128(b, keys.round[kAesRounds]);
}

AES_FUNCTION void encryptBlocks(const uint32_t* schedule, const uint8_t* in, uint8_t* out, size_t blocks)
{
  RoundKeys keys = loadKeys(schedule);
  for (size_t i = 0; i < blocks; i++) {
    __m128i block[1] = {loadBlock(in + i * kAesBlockOctets)};
    encryptLanes(keys, block);
    storeBlock(out + i * kAesBlockOctets, block[0]);
  }
  rtx3gppWipe(&keys, sizeof keys);
}

AES_FUNCTION void chainBlocks(const uint32_t* schedule, const uint8_t* message, size_t blocks, const uint8_t* last,
                              uint8_t* tag)
{
  RoundKeys keys = loadKeys(schedule);
  __m128i state[1] = {_mm_setzero_si128()};
  for (size_t i = 0; i <= blocks; i++) {
    state[0] = _mm_xor_si128(state[0], loadBlock(i < blocks ? message + i * kAesBlockOctets : last));
    encryptLanes(keys, state);
  }
  storeBlock(tag, state[0]);
  rtx3gppWipe(&keys, sizeof keys);
}

struct Counter {
  uint64_t fixed; // the high 64 bits of the block, octets as they lie in memory
  uint64_t low;   // the low 64 bits as a number
};

template <size_t lanes>
AES_FUNCTION inline void keystreamLanes(const RoundKeys& keys, Counter from, uint8_t* stream, size_t blocks)
{
  __m128i block[lanes];
#pragma GCC unroll 8
  for (size_t i = 0; i < lanes; i++)
    block[i] = _mm_set_epi64x(static_cast<long long>(rtxBigEndian(from.low + i)), static_cast<long long>(from.fixed));
  encryptLanes(keys, block);
  for (size_t i = 0; i < blocks; i++) storeBlock(stream + i * kAesBlockOctets, block[i]);
}

AES_FUNCTION void makeKeystream(const uint32_t* schedule, uint8_t* counter, uint8_t* stream, size_t blocks)
{
  RoundKeys keys = loadKeys(schedule);
  Counter from;
  __builtin_memcpy(&from, counter, sizeof from);
  from.low = rtxBigEndian(from.low);
  if (blocks > kAesLanes / 2)
    keystreamLanes<kAesLanes>(keys, from, stream, blocks);
  else
    keystreamLanes<kAesLanes / 2>(keys, from, stream, blocks);
  from.low = rtxBigEndian(from.low + blocks);
  __builtin_memcpy(counter, &from, sizeof from);
  rtx3gppWipe(&keys, sizeof keys);
}

constexpr AesPath kInstructions = {encryptBlocks, chainBlocks, makeKeystream};

} // namespace

const AesPath* rtx3gppAesInstructions()
{
  return __builtin_cpu_supports("aes") && __builtin_cpu_supports("ssse3") ? &kInstructions : nullptr;
}

#else

const AesPath* rtx3gppAesInstructions()
{
  return nullptr;
}

#endif
