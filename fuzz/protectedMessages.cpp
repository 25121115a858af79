// Messages under NAS security with keys. A plain message that was protected here is verified, deciphered and comes out
// as it was, and does not if an octet is another; a message with any header is decoded without fault. The first octet
// tells header type, direction and algorithms.
#include "fuzz/harness.h"

static const uint8_t kIntegrityKey[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
static const uint8_t kCipherKey[16] = {16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1};
static constexpr uint8_t kCount = 5;

static void setSecurity(RtxContext* ctxt, uint8_t choice)
{
  rtx3gppAssignAlgorithmKeys(ctxt, kIntegrityKey, kCipherKey, choice & 4 ? 2 : 0, choice & 8 ? 2 : 0);
  ctxt->pSecurity->direction = choice >> 4 & 1;
  ctxt->pSecurity->bearer = choice >> 5 & 1;
  ctxt->pSecurity->count = kCount;
}

// Puts a header in front, ciphers and signs as a sender does (TS 24.501, 4.4; TS 24.301, 4.4). The code begins at
// `codeAt`.
static Octets protectedOctets(const uint8_t* plain, size_t size, size_t codeAt, uint8_t choice)
{
  uint8_t type = choice & 2 ? 2 : 1;
  Octets octets = codeAt == 1 ? Octets{uint8_t(type << 4 | 7)} : Octets{0x7E, type};
  octets.insert(octets.end(), {0, 0, 0, 0, kCount});
  octets.insert(octets.end(), plain, plain + size);
  OutcomeContext ctxt;
  setSecurity(ctxt, choice);
  uint32_t code = 0;
  if (type == 2) rtx3gppCipher(ctxt, &octets[codeAt + 5], size);
  rtx3gppComputeMAC(ctxt, &octets[codeAt + 4], size + 1, &code);
  for (int i = 0; i < 4; ++i) octets[codeAt + size_t(i)] = uint8_t(code >> (24 - 8 * i));
  return octets;
}

void checkProtected(const L3TypeEntry& entry, const uint8_t* data, size_t size)
{
  if (size < 2) return;
  uint8_t choice = *data++;
  auto decoding = [&](const uint8_t* octets, size_t count) {
    return Decoding(entry, octets, count, {}, [&](RtxContext* ctxt) { setSecurity(ctxt, choice); });
  };
  Decoding plain = decoding(data, --size);
  bool eps = entry.type->fullName == std::string("TS24301Msg_PDU");
  bool isPlain = eps ? data[0] == 7 : size > 1 && data[0] == 0x7E && (data[1] & 0x0F) == 0;
  if (plain.status < 0 || !isPlain) return;
  size_t codeAt = eps ? 1 : 2;
  Octets octets = protectedOctets(data, size, codeAt, choice);
  Decoding inside = decoding(octets.data(), octets.size());
  promise(inside.status >= 0, [&] { return "a protected message fails:\n" + stateOf(inside.ctxt, inside.status); });
  auto bodyOf = [](const std::string& text) { return text.substr(std::min(text.find("data {"), text.size())); };
  promiseSame(entry, "under protection", bodyOf(plain.text()), bodyOf(inside.text()));
  if (!(choice & 4)) return;
  // One octet of code, number or content is another: the code is wrong.
  size_t at = codeAt + (choice * 7U + octets.size()) % (octets.size() - codeAt);
  octets[at] = uint8_t(octets[at] ^ 1U << (choice & 7));
  promise(decoding(octets.data(), octets.size()).status < 0,
          [&] { return "octet " + std::to_string(at) + " changed unnoticed"; });
}
