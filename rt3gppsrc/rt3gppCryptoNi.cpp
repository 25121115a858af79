// AES-128 with the AES instructions of x86 processors. The instructions are asked for function by function, so
// that the library as a whole still runs on processors without them: rtx3gppAesInstructions asks the processor,
// and its functions are called only where it has them. Two ways of counter mode: eight blocks under way (AES-NI),
// and sixteen in four wide registers (VAES, AVX-512) for long messages. Nothing is allocated; keys are wiped
// before each function returns.
#include "rt3gppsrc/rt3gppCrypto.h"

// Eight registers, which is all that these processors have in 32-bit code, would leave round keys on the stack.
#if defined(__x86_64__)

#include <cpuid.h>
#include <immintrin.h>

#include "rtxsrc/bits/rtxBigEndian.h"

// A function attribute cannot be had from an inline function, hence a macro.
#define AES_FUNCTION __attribute__((target("aes,ssse3")))
#define WIDE_FUNCTION __attribute__((target("aes,vaes,avx512f,avx512bw")))

namespace {

constexpr size_t kLanes = 8; // blocks under way at once

// Kept in registers where the compiler optimises; elsewhere, or where they do not all fit, on the stack. Whoever loads
// them wipes them.
struct RoundKeys {
  __m128i round[kAesRounds + 1];
};

// The schedule's words are big-endian by value, the instructions want the octets in order: turns one into the other.
AES_FUNCTION inline __m128i swapWords(__m128i words)
{
  return _mm_shuffle_epi8(words, _mm_set_epi8(12, 13, 14, 15, 8, 9, 10, 11, 4, 5, 6, 7, 0, 1, 2, 3));
}

AES_FUNCTION inline RoundKeys loadKeys(const uint32_t* schedule)
{
  RoundKeys keys;
  for (size_t i = 0; i <= kAesRounds; i++)
    keys.round[i] = swapWords(_mm_loadu_si128(reinterpret_cast<const __m128i*>(schedule + 4 * i)));
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

// One block after the other: only the subkeys of CMAC are made in this way, one block each.
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

// Each block needs the one before, so nothing can run beside it.
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

// The counter block as two halves.
struct Counter {
  uint64_t fixed; // the high 64 bits, octets as they lie in memory
  uint64_t low;   // the low 64 bits as a number
};

size_t blocksOf(size_t length)
{
  return (length + kAesBlockOctets - 1) / kAesBlockOctets;
}

// The keystream of so many blocks from `from` on. Blocks and keys together do not fit into sixteen registers: the
// statement makes the compiler read each key from `keys` again. Otherwise it would keep copies on the stack, which
// nobody could wipe.
template <size_t lanes> AES_FUNCTION inline void makeLanes(RoundKeys& keys, Counter from, __m128i (&block)[lanes])
{
  asm volatile("" : "+m"(keys));
#pragma GCC unroll 8
  for (size_t i = 0; i < lanes; i++)
    block[i] = _mm_set_epi64x(static_cast<long long>(rtxBigEndian(from.low + i)), static_cast<long long>(from.fixed));
  encryptLanes(keys, block);
}

// The octets that do not fill all lanes. Lanes beyond them cost nothing: they run in the time that one takes.
template <size_t lanes> AES_FUNCTION inline void cipherRest(RoundKeys& keys, Counter from, uint8_t* data, size_t length)
{
  __m128i block[lanes];
  uint8_t stream[lanes * kAesBlockOctets];
  makeLanes(keys, from, block);
  for (size_t i = 0; i < lanes; i++) storeBlock(stream + i * kAesBlockOctets, block[i]);
  rtx3gppXor(data, stream, data, length);
}

// ---- Long messages on processors whose instructions take four blocks at once ----

constexpr size_t kRegisters = 4;                              // under way at once
constexpr size_t kWideBlocks = 4 * kRegisters;                // blocks of a stride
constexpr size_t kWideStride = kWideBlocks * kAesBlockOctets; // octets of a stride

struct WideKeys {
  __m512i round[kAesRounds + 1]; // each key in all four places
};

// A block in all four places.
WIDE_FUNCTION inline __m512i fourTimes(__m128i block)
{
  return _mm512_maskz_broadcast_i32x4(0xFFFF, block);
}

// XORs the keystream of 16 blocks over 256 octets.
WIDE_FUNCTION inline void cipherStride(const WideKeys& keys, Counter from, uint8_t* data)
{
  const __m512i swapLow = fourTimes(_mm_set_epi8(8, 9, 10, 11, 12, 13, 14, 15, 7, 6, 5, 4, 3, 2, 1, 0));
  const __m512i places = _mm512_set_epi64(3, 0, 2, 0, 1, 0, 0, 0); // what the low halves of the four are ahead
  __m512i block[kRegisters];
#pragma GCC unroll 4
  for (size_t i = 0; i < kRegisters; i++) {
    const __m128i first = _mm_set_epi64x(static_cast<long long>(from.low + 4 * i), static_cast<long long>(from.fixed));
    const __m512i counters = _mm512_shuffle_epi8(_mm512_add_epi64(fourTimes(first), places), swapLow);
    block[i] = _mm512_xor_si512(counters, keys.round[0]);
  }
#pragma GCC unroll 9
  for (size_t round = 1; round < kAesRounds; round++)
#pragma GCC unroll 4
    for (__m512i& b : block) b = _mm512_aesenc_epi128(b, keys.round[round]);
#pragma GCC unroll 4
  for (size_t i = 0; i < kRegisters; i++) {
    uint8_t* at = data + i * sizeof(__m512i);
    const __m512i stream = _mm512_aesenclast_epi128(block[i], keys.round[kAesRounds]);
    _mm512_storeu_si512(at, _mm512_xor_si512(stream, _mm512_loadu_si512(at)));
  }
}

// The octets behind the last stride are ciphered in a copy, so that nothing behind the message is touched.
WIDE_FUNCTION Counter cipherWide(const uint32_t* schedule, Counter from, uint8_t* data, size_t length)
{
  WideKeys keys;
#pragma GCC unroll 11
  for (size_t i = 0; i <= kAesRounds; i++)
    keys.round[i] = fourTimes(swapWords(_mm_loadu_si128(reinterpret_cast<const __m128i*>(schedule + 4 * i))));
  for (; length >= kWideStride; length -= kWideStride, data += kWideStride, from.low += kWideBlocks)
    cipherStride(keys, from, data);
  if (length > 0) {
    uint8_t rest[kWideStride] = {};
    __builtin_memcpy(rest, data, length);
    cipherStride(keys, from, rest);
    __builtin_memcpy(data, rest, length);
    from.low += blocksOf(length);
  }
  rtx3gppWipe(&keys, sizeof keys);
  return from;
}

// The processor itself is asked, because clang 14 has no name for this instruction set. It is asked once, because under
// a hypervisor the question takes longer than a message. Threads that ask at the same time get the same answer.
bool hasVectorAes()
{
  enum { unknown, no, yes };
  static int known = unknown;
  int answer = __atomic_load_n(&known, __ATOMIC_RELAXED);
  if (answer == unknown) {
    unsigned a = 0, b = 0, c = 0, d = 0;
    answer = __get_cpuid_count(7, 0, &a, &b, &c, &d) && (c & bit_VAES) ? yes : no;
    __atomic_store_n(&known, answer, __ATOMIC_RELAXED);
  }
  return answer == yes;
}

bool isWide()
{
  return hasVectorAes() && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw");
}

// ---- Messages of any length ----

// One load of the keys for the whole message, and as many blocks under way as an instruction takes cycles.
AES_FUNCTION Counter cipherNarrow(const uint32_t* schedule, Counter from, uint8_t* data, size_t length)
{
  constexpr size_t kStride = kLanes * kAesBlockOctets;
  RoundKeys keys = loadKeys(schedule);
  for (; length >= kStride; length -= kStride, data += kStride, from.low += kLanes) {
    __m128i block[kLanes];
    makeLanes(keys, from, block);
#pragma GCC unroll 8
    for (size_t i = 0; i < kLanes; i++)
      storeBlock(data + i * kAesBlockOctets, _mm_xor_si128(block[i], loadBlock(data + i * kAesBlockOctets)));
  }
  if (length > kStride / 2)
    cipherRest<kLanes>(keys, from, data, length);
  else if (length > 0)
    cipherRest<kLanes / 2>(keys, from, data, length);
  from.low += blocksOf(length);
  rtx3gppWipe(&keys, sizeof keys);
  return from;
}

// `counter` is 16 octets; its low 64 bits are a number, big-endian. It is left behind the last block used.
void counterMode(const uint32_t* schedule, uint8_t* counter, uint8_t* data, size_t length)
{
  Counter from;
  __builtin_memcpy(&from, counter, sizeof from);
  from.low = rtxBigEndian(from.low);
  const bool wide = length >= kWideStride && isWide();
  from = wide ? cipherWide(schedule, from, data, length) : cipherNarrow(schedule, from, data, length);
  from.low = rtxBigEndian(from.low);
  __builtin_memcpy(counter, &from, sizeof from);
}

// The next round key from the one before, with its octets in order. The last column goes to all four places, rotated by
// an octet (octets 12 13 14 15 as 13 14 15 12); a last round then substitutes each octet and adds the constant. It also
// shifts the rows, which changes nothing where all columns are alike. The new columns are a, a + b, a + b + c and
// a + b + c + d of the old ones, each with the substituted column added.
AES_FUNCTION inline __m128i nextKey(__m128i key, uint8_t constant)
{
  const __m128i rotated = _mm_shuffle_epi8(key, _mm_set1_epi32(0x0C0F0E0D));
  const __m128i substituted = _mm_aesenclast_si128(rotated, _mm_set1_epi32(constant));
  key = _mm_xor_si128(key, _mm_slli_si128(key, 4));
  key = _mm_xor_si128(key, _mm_slli_si128(key, 8));
  return _mm_xor_si128(key, substituted);
}

// Stores the eleven round keys as words that are big-endian by value, which is how all ways keep a schedule.
AES_FUNCTION void expandKey(uint32_t* schedule, const uint8_t* octets)
{
  __m128i key = loadBlock(octets);
  for (size_t i = 0;; i++) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(schedule + 4 * i), swapWords(key));
    if (i == kAesRounds) break;
    key = nextKey(key, kAesRoundConstants[i]);
  }
}

constexpr AesPath kInstructions = {encryptBlocks, chainBlocks, counterMode, expandKey};

} // namespace

const AesPath* rtx3gppAesInstructions()
{
  return __builtin_cpu_supports("aes") && __builtin_cpu_supports("ssse3") ? &kInstructions : nullptr;
}

#elif !defined(VELNOR_AES_ARM)

// Neither this kind of processor nor that of rt3gppCryptoArm.cpp.
const AesPath* rtx3gppAesInstructions()
{
  return nullptr;
}

#endif
