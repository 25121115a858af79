// Guards: codes and ciphering equal libcrypto's for any key, count, bearer, direction and length, on both ways.
#include <openssl/evp.h>

#include "tests/security/security.h"

namespace {

constexpr int kCases = 20'000;
constexpr int kLongEvery = 1'024;
constexpr size_t kLongest = 70'000;

uint32_t referenceCode(const Octets& key, Octets message)
{
  uint8_t tag[16];
  EVP_Q_mac(nullptr, "CMAC", nullptr, "AES-128-CBC", nullptr, key.data(), key.size(), message.data(), message.size(),
            tag, sizeof tag, nullptr);
  return uint32_t(tag[0]) << 24 | uint32_t(tag[1]) << 16 | uint32_t(tag[2]) << 8 | tag[3];
}

void referenceCipher(const Octets& key, const Octets& counter, uint8_t* octets, size_t length)
{
  static EVP_CIPHER_CTX* const cipher = EVP_CIPHER_CTX_new();
  int size = 0;
  EVP_EncryptInit_ex(cipher, EVP_aes_128_ctr(), nullptr, key.data(), counter.data());
  EVP_EncryptUpdate(cipher, octets, &size, octets, int(length));
}

TEST(SecurityAgainstLibcrypto, RandomCases)
{
  std::mt19937 random(20240611);
  SecureContext ctxt;
  for (int i = 0; i < kCases; i++) {
    rtx3gppAesForce(i % 2 ? AesChoice::plain : AesChoice::automatic);
    const Octets integrityKey = randomOctets(random, 16), cipherKey = randomOctets(random, 16);
    ASSERT_EQ(0, rtx3gppAssignAlgorithmKeys(&ctxt, integrityKey.data(), cipherKey.data(), 2, 2));
    const Octets input = randomOctets(random, i % kLongEvery == 0 ? random() % kLongest : random() % 180);
    const uint32_t count = uint32_t(random());
    const uint8_t bearer = random() % 32, direction = random() % 2;
    ctxt.set(count, bearer, direction);
    Octets prefix = {uint8_t(count >> 24), uint8_t(count >> 16), uint8_t(count >> 8), uint8_t(count),
                     uint8_t(bearer * 8 + direction * 4)};
    prefix.resize(8);
    Octets ours = input, theirs = input, message = prefix;
    message.insert(message.end(), input.begin(), input.end());
    uint32_t code = 0;
    ASSERT_EQ(0, rtx3gppComputeMAC(&ctxt, input.data(), input.size(), &code));
    ASSERT_EQ(referenceCode(integrityKey, message), code) << "case " << i << ", " << input.size() << " octets";
    ASSERT_EQ(0, rtx3gppCipher(&ctxt, ours.data(), ours.size()));
    prefix.resize(16);
    referenceCipher(cipherKey, prefix, theirs.data(), theirs.size());
    ASSERT_TRUE(ours == theirs) << "case " << i << ", " << input.size() << " octets";
  }
  rtx3gppAesForce(AesChoice::automatic);
}

} // namespace
