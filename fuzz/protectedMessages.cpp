// Messages under NAS security with keys. A plain message that was protected here is verified, deciphered and comes out
// as it was; a message with any header is decoded without fault. The first octet chooses system, header type, direction
// and algorithms.
#include "fuzz/harness.h"

static const uint8_t kIntegrityKey[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
static const uint8_t kCipherKey[16] = {16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1};

static constexpr uint8_t kCount = 5;

static void setSecurity(RtxContext* ctxt, uint8_t choice, uint8_t count)
{
  rtx3gppAssignAlgorithmKeys(ctxt, kIntegrityKey, kCipherKey, choice & 4 ? 2 : 0, choice & 8 ? 2 : 0);
  ctxt->pSecurity->direction = choice >> 4 & 1;
  ctxt->pSecurity->bearer = choice >> 5 & 1;
  ctxt->pSecurity->count = count;
}

// Puts a header in front, ciphers and signs as a sender does (TS 24.501, 4.4; TS 24.301, 4.4).
static Octets protectedOctets(const Octets& plain, bool eps, uint8_t choice)
{
  uint8_t type = choice & 2 ? 2 : 1;
  Octets octets = eps ? Octets{uint8_t(type << 4 | 7)} : Octets{0x7E, type};
  size_t codeAt = octets.size();
  octets.insert(octets.end(), {0, 0, 0, 0, kCount});
  octets.insert(octets.end(), plain.begin(), plain.end());
  Setting setting;
  OutcomeContext ctxt(setting);
  setSecurity(ctxt, choice, kCount);
  uint32_t code = 0;
  if (type == 2) rtx3gppCipher(ctxt, &octets[codeAt + 5], plain.size());
  rtx3gppComputeMAC(ctxt, &octets[codeAt + 4], plain.size() + 1, &code);
  for (int i = 0; i < 4; ++i) octets[codeAt + size_t(i)] = uint8_t(code >> (24 - 8 * i));
  return octets;
}

static std::string decodeWithKeys(const L3TypeEntry& entry, Octets octets, uint8_t choice, int& status)
{
  Setting setting;
  OutcomeContext ctxt(setting);
  size_t size = octets.size();
  octets.push_back(0);
  ctxt.bind(octets.data(), size);
  setSecurity(ctxt, choice, kCount);
  auto record = recordStorage(*entry.type, 0);
  status = entry.decode(ctxt, record.get());
  return printed(*entry.type, "x", record.get());
}

static std::string bodyOf(const std::string& text)
{
  size_t at = text.find("data {");
  return at == std::string::npos ? "" : text.substr(at);
}

// One octet of code, number or content is another: the code is wrong.
static void checkTampered(const L3TypeEntry& entry, Octets octets, bool eps, uint8_t choice)
{
  size_t codeAt = eps ? 1 : 2, at = codeAt + (choice * 7U + octets.size()) % (octets.size() - codeAt);
  octets[at] = uint8_t(octets[at] ^ 1U << (choice & 7));
  int status = 0;
  decodeWithKeys(entry, octets, choice, status);
  promise(status < 0, [&] { return "octet " + std::to_string(at) + " changed unnoticed"; });
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  if (size < 2 || size > 1000) return 0;
  uint8_t choice = data[0];
  bool eps = choice & 1;
  const L3TypeEntry* entry = typeOrNull(eps ? "TS24301Msg_PDU" : "TS24501Msg_PDU");
  if (!entry) return 0;
  Octets octets(data + 1, data + size);
  int status = 0;
  decodeWithKeys(*entry, octets, choice, status);
  bool plain = eps ? (octets[0] & 0xF0) == 0 && (octets[0] & 0x0F) == 7
                   : octets.size() > 1 && octets[0] == 0x7E && (octets[1] & 0x0F) == 0;
  if (!plain) return 0;
  std::string text = decodeWithKeys(*entry, octets, choice, status);
  if (status < 0) return 0;
  std::string inside = decodeWithKeys(*entry, protectedOctets(octets, eps, choice), choice, status);
  promise(status >= 0, [&] { return "a protected message fails with " + std::to_string(status) + "\n" + text; });
  promise(bodyOf(inside) == bodyOf(text),
          [&] { return "a message changes under protection:\n" + text + "to\n" + inside; });
  if (choice & 4) checkTampered(*entry, protectedOctets(octets, eps, choice), eps, choice);
  return 0;
}

std::vector<Octets> fuzzSeeds()
{
  std::vector<Octets> seeds;
  for (bool eps : {false, true})
    for (const Octets& octets : seedsOf(eps ? "TS24301Msg_PDU" : "TS24501Msg_PDU"))
      for (uint8_t choice : {0x00, 0x0E, 0x3C}) {
        Octets seed = {uint8_t(choice | eps)};
        seed.insert(seed.end(), octets.begin(), octets.end());
        seeds.push_back(std::move(seed));
      }
  return seeds;
}
