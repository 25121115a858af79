// Guards: codes and ciphering equal libcrypto's for any key, count, bearer, direction and length, on both ways.
#include <openssl/evp.h>

#include <algorithm>
#include <cstring>

#include "tests/security/securityTest.h"

namespace {

constexpr int kCases = 1'000'000;
constexpr int kCasesPerKey = 25;
constexpr int kLongEvery = 8'192;
constexpr size_t kLongest = 70'000;

// libcrypto's AES-128-CMAC and counter mode under one pair of keys at a time.
class Reference {
  EVP_MAC* algorithm = EVP_MAC_fetch(nullptr, "CMAC", nullptr);
  EVP_MAC_CTX* mac = EVP_MAC_CTX_new(algorithm);
  EVP_CIPHER_CTX* cipher = EVP_CIPHER_CTX_new();

public:
  ~Reference()
  {
    EVP_CIPHER_CTX_free(cipher);
    EVP_MAC_CTX_free(mac);
    EVP_MAC_free(algorithm);
  }
  void setKeys(const Octets& integrityKey, const Octets& cipherKey)
  {
    char name[] = "AES-128-CBC";
    const OSSL_PARAM parameters[] = {OSSL_PARAM_construct_utf8_string("cipher", name, 0), OSSL_PARAM_construct_end()};
    EVP_MAC_init(mac, integrityKey.data(), integrityKey.size(), parameters);
    EVP_EncryptInit_ex(cipher, EVP_aes_128_ctr(), nullptr, cipherKey.data(), nullptr);
  }
  uint32_t code(const uint8_t* prefix, const uint8_t* octets, size_t length)
  {
    uint8_t tag[16];
    size_t size = 0;
    EVP_MAC_init(mac, nullptr, 0, nullptr);
    EVP_MAC_update(mac, prefix, 8);
    EVP_MAC_update(mac, octets, length);
    EVP_MAC_final(mac, tag, &size, sizeof tag);
    return uint32_t(tag[0]) << 24 | uint32_t(tag[1]) << 16 | uint32_t(tag[2]) << 8 | tag[3];
  }
  void xorKeystream(const uint8_t* counter, uint8_t* octets, size_t length)
  {
    int size = 0;
    EVP_EncryptInit_ex(cipher, nullptr, nullptr, nullptr, counter);
    EVP_EncryptUpdate(cipher, octets, &size, octets, int(length));
  }
};

} // namespace

TEST(SecurityAgainstLibcrypto, MillionRandomCases)
{
  std::mt19937_64 random(20240611);
  Reference reference;
  SecureContext secure;
  RtxContext* pctxt = &secure.ctxt;
  const Octets pool = randomOctets(random, 2 * kLongest);
  Octets ours(kLongest), theirs(kLongest), integrityKey, cipherKey;
  for (int i = 0; i < kCases; i++) {
    if (i % kCasesPerKey == 0) {
      rtx3gppAesForce(i % (10 * kCasesPerKey) == 0 ? AesChoice::plain : AesChoice::automatic);
      integrityKey = randomOctets(random, 16), cipherKey = randomOctets(random, 16);
      ASSERT_EQ(0, rtx3gppAssignAlgorithmKeys(pctxt, integrityKey.data(), cipherKey.data(), 2, 2));
      reference.setKeys(integrityKey, cipherKey);
    }
    const size_t length = i % kLongEvery == 0 ? random() % (kLongest + 1) : random() % 180;
    const uint8_t* input = pool.data() + random() % kLongest;
    secure.set(uint32_t(random()), random() % 32, random() % 2);
    const uint32_t count = pctxt->pSecurity->count;
    const uint8_t prefix[16] = {uint8_t(count >> 24), uint8_t(count >> 16), uint8_t(count >> 8), uint8_t(count),
                                uint8_t(pctxt->pSecurity->bearer * 8 + pctxt->pSecurity->direction * 4)};
    uint32_t code = 0;
    ASSERT_EQ(0, rtx3gppComputeMAC(pctxt, input, length, &code));
    ASSERT_EQ(reference.code(prefix, input, length), code) << "case " << i << ", " << length << " octets";
    std::copy_n(input, length, ours.begin());
    std::copy_n(input, length, theirs.begin());
    ASSERT_EQ(0, rtx3gppCipher(pctxt, ours.data(), length));
    reference.xorKeystream(prefix, theirs.data(), length);
    ASSERT_EQ(0, std::memcmp(ours.data(), theirs.data(), length)) << "case " << i << ", " << length << " octets";
  }
  rtx3gppAesForce(AesChoice::automatic);
}

// libcrypto counts in 128 bits, so what lies behind the wrap is asked of it with a counter of its own.
TEST(SecurityAgainstLibcrypto, CounterWrapsInTheLowHalf)
{
  std::mt19937_64 random(7);
  const Octets key = randomOctets(random, 16);
  Reference reference;
  reference.setKeys(key, key);
  uint32_t schedule[kAesScheduleWords];
  rtx3gppAesExpandKey(schedule, key.data());
  onEveryPath([&] {
    for (uint8_t before = 1; before <= 20; before++) { // blocks before the wrap
      Octets counter = randomOctets(random, 8), wrapped = counter, ours = randomOctets(random, 333), theirs = ours;
      counter.resize(16, 0xFF), wrapped.resize(16, 0x00);
      counter[15] = uint8_t(0x100 - before);
      reference.xorKeystream(counter.data(), theirs.data(), before * 16u);
      reference.xorKeystream(wrapped.data(), theirs.data() + before * 16u, theirs.size() - before * 16u);
      rtx3gppCounterMode(schedule, counter.data(), ours.data(), ours.size());
      ASSERT_EQ(theirs, ours) << int(before) << " blocks before the wrap";
      wrapped[15] = uint8_t(21 - before);
      ASSERT_EQ(wrapped, counter);
    }
  });
}
