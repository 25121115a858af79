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
static Octets protectedOctets(const Octets& plain, size_t codeAt, uint8_t choice)
{
  uint8_t type = choice & 2 ? 2 : 1;
  Octets octets = codeAt == 1 ? Octets{uint8_t(type << 4 | 7)} : Octets{0x7E, type};
  octets.insert(octets.end(), {0, 0, 0, 0, kCount});
  octets.insert(octets.end(), plain.begin(), plain.end());
  OutcomeContext ctxt;
  setSecurity(ctxt, choice);
  uint32_t code = 0;
  if (type == 2) rtx3gppCipher(ctxt, &octets[codeAt + 5], plain.size());
  rtx3gppComputeMAC(ctxt, &octets[codeAt + 4], plain.size() + 1, &code);
  for (int i = 0; i < 4; ++i) octets[codeAt + size_t(i)] = uint8_t(code >> (24 - 8 * i));
  return octets;
}

void checkProtected(const L3TypeEntry& entry, Octets input)
{
  uint8_t choice = takeFirst(input);
  if (input.empty()) return;
  auto decoding = [&](const Octets& octets) {
    return Decoding(entry, octets, {}, [&](RtxContext* ctxt) { setSecurity(ctxt, choice); });
  };
  Decoding plain = decoding(input);
  bool eps = entry.type->fullName.get() == std::string("TS24301Msg_PDU");
  bool isPlain = eps ? input[0] == 7 : input.size() > 1 && input[0] == 0x7E && (input[1] & 0x0F) == 0;
  if (plain.status < 0 || !isPlain) return;
  size_t codeAt = eps ? 1 : 2;
  Octets octets = protectedOctets(input, codeAt, choice);
  Decoding inside = decoding(octets);
  promise(inside.status >= 0, [&] { return "a protected message fails:\n" + inside.state(); });
  auto bodyOf = [](const std::string& text) { return text.substr(std::min(text.find("data {"), text.size())); };
  promiseSame(entry, "under protection", bodyOf(plain.text()), bodyOf(inside.text()));
  if (!(choice & 4)) return;
  // One octet of code, number or content is another: the code is wrong.
  size_t at = codeAt + (choice * 7U + octets.size()) % (octets.size() - codeAt);
  octets[at] = uint8_t(octets[at] ^ 1U << (choice & 7));
  promise(decoding(octets).status < 0, [&] { return "octet " + std::to_string(at) + " changed unnoticed"; });
}
