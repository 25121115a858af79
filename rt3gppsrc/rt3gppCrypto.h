/**
 * @file rt3gppCrypto.h
 * The block cipher work of NAS security: AES-128 encryption, AES-CMAC and counter mode over whole octets. All memory
 * is the caller's and nothing is allocated. Two ways lead to the same octets: one with the processor's AES
 * instructions, one with plain logic; neither has a branch or an address that depends on a key or on data. There is no
 * decryption, no other key length and no other cipher. Nothing here is exported.
 */
#ifndef VELNOR3GPP_RT3GPP_CRYPTO_H
#define VELNOR3GPP_RT3GPP_CRYPTO_H

#include <stddef.h>
#include <stdint.h>

/* Whether the instructions of ARMv8 can be had function by function: from older clangs they cannot. */
#if defined(__aarch64__) && (defined(__linux__) || defined(__APPLE__)) &&                                              \
    (!defined(__clang__) || __clang_major__ >= 16 || defined(__ARM_FEATURE_AES))
#define VELNOR_AES_ARM 1
#endif

constexpr size_t kAesBlockOctets = 16;
constexpr size_t kAesRounds = 10;
constexpr size_t kAesScheduleWords = 4 * (kAesRounds + 1);
constexpr size_t kCmacSubkeyOctets = 2 * kAesBlockOctets;
/** One way to compute AES-128. A schedule is 44 words, each with four octets of FIPS 197's key schedule big-endian. */
struct AesPath {
  /** Encrypts `blocks` blocks, each by itself. `out` may be `in`. */
  void (*encrypt)(const uint32_t* schedule, const uint8_t* in, uint8_t* out, size_t blocks);
  /** Chains `blocks` blocks of `message` and then the block `last` into `tag`: XORs in a block, encrypts, goes on. */
  void (*chain)(const uint32_t* schedule, const uint8_t* message, size_t blocks, const uint8_t* last, uint8_t* tag);
  /** XORs the keystream from `counter` over `length` octets in place; the block after those used is left there. */
  void (*counterMode)(const uint32_t* schedule, uint8_t* counter, uint8_t* data, size_t length);
  /** FIPS 197, 5.2: 16 octets of key to a schedule. */
  void (*expandKey)(uint32_t* schedule, const uint8_t* key);
};

/** The last octet of each round's constant (FIPS 197, 5.2). */
constexpr uint8_t kAesRoundConstants[kAesRounds] = {0x01, 0x02, 0x04, 0x08, 0x10, 0x20, 0x40, 0x80, 0x1B, 0x36};

/** Which way the operations below take. */
enum class AesChoice { automatic, plain, instructions };

/** The way with plain logic. It is there on every host. */
const AesPath* rtx3gppAesPlain();
/** The way with AES instructions, or null where this processor has none. */
const AesPath* rtx3gppAesInstructions();
/** Forces a way for the whole process; for tests and measurements, while no other thread computes. 0 if it is not
 * there. */
int rtx3gppAesForce(AesChoice choice);

/** FIPS 197, 5.2: 16 octets of key to 44 words. */
void rtx3gppAesExpandKey(uint32_t* schedule, const uint8_t* key);
/** AES-128 over whole blocks, each by itself; asserts that `msgBytes` is a multiple of 16. `out` may be `in`. */
void rtx3gppAesEncrypt(const uint32_t* schedule, const uint8_t* in, uint8_t* out, size_t msgBytes);
/** SP 800-38B, 6.1: the subkeys K1 and K2, 16 octets each. */
void rtx3gppCmacSubkeys(const uint32_t* schedule, uint8_t* subkeys);
/** SP 800-38B, 6.2: the tag of 16 octets over `length` octets. */
void rtx3gppCmac(const uint32_t* schedule, const uint8_t* subkeys, const uint8_t* message, size_t length, uint8_t* tag);
/** XORs the keystream from `counter` (16 octets, the low 64 bits count, stepped on) over `length` octets in place. */
void rtx3gppCounterMode(const uint32_t* schedule, uint8_t* counter, uint8_t* data, size_t length);

/** Where a counter lies in its block. */
enum class CounterPlace {
  atFront, /**< The first `bitsWide` bits, which need not be whole octets. */
  atEnd    /**< The last `bitsWide` bits. */
};
/** Adds 1 to the counter in a block, modulo its width; the other bits stay. Asserts that `bitsWide` is above 0. */
void rtx3gppIncrementCounter(uint8_t* block, size_t blockBytes, size_t bitsWide, CounterPlace place);
/** result = first XOR second. `result` may be either. */
void rtx3gppXor(const uint8_t* first, const uint8_t* second, uint8_t* result, size_t length);
/** Fills memory with zeros in a way that the compiler keeps although nobody reads them. Null is allowed with 0 octets.
 */
void rtx3gppWipe(void* memory, size_t octets);

#endif
