// NAS security as callers see it (TS 24.301 and TS 24.501, 4.4.3; TS 33.401, annex B): the record of one
// connection, its keys, and the two services over a span of octets. The top-level coders of EPS and 5GS call the
// services (src2/NasProtection.cpp), applications the rest. The record, subkeys and schedules are blocks of the
// context's heap and are wiped before they are freed; the keys themselves stay the caller's. Nothing here
// changes count, bearer or direction.
#include "velnor3gpp/rt3gppNasSec.h"

#include <string.h>

#include "rt3gppsrc/rt3gppCrypto.h"
#include "rtxsrc/bits/rtxBigEndian.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

constexpr const char* kModule = "rt3gppNasSec";
// Two schedules in one block: integrity first, cipher behind it.
constexpr size_t kScheduleOctets = 2 * kAesScheduleWords * sizeof(uint32_t);
// Octets of COUNT, BEARER, DIRECTION and zeros in front of the message that the code covers.
constexpr size_t kMacPrefixOctets = 8;

// Reports an algorithm that is not there, with its kind and number: -60.
int notSupported(RtxContext* pctxt, const char* what, uint32_t algorithm, int line)
{
  rtxErrAddStrParm(pctxt, what);
  rtxErrAddUIntParm(pctxt, algorithm);
  return rtxErrSetNewData(pctxt, RTX_E_NOT_SUPPORTED, kModule, line);
}

// A key that the caller did not give, or material that a failed assignment has wiped while the old algorithm still
// stands.
int keysGone(RtxContext* pctxt, const char* what, int line)
{
  rtxErrAddStrParm(pctxt, what);
  return rtxErrSetData(pctxt, RTX_E_NULL_POINTER, kModule, line);
}

// Wipes key material before the heap can give its octets to somebody else.
template <typename T> void wipeAndFree(RtxContext* pctxt, T*& memory, size_t octets)
{
  if (!memory) return;
  rtx3gppWipe(memory, octets);
  rtxMemHeapFreePtr(&pctxt->pMemHeap, memory);
  memory = nullptr;
}

// Allocates what is not there yet, so that assigning keys again for each message takes no further memory.
template <typename T> int allocateOnce(RtxContext* pctxt, T*& memory, size_t octets)
{
  if (!memory) memory = static_cast<T*>(rtxMemHeapAllocZ(&pctxt->pMemHeap, octets));
  return memory ? 0 : rtxErrSetData(pctxt, RTX_E_NO_MEMORY, kModule, __LINE__);
}

// A cipher that goes to null while integrity stays with AES keeps its old schedule: the block
// of both is wiped as a whole.
void wipeUnused(RtxContext* pctxt, uint32_t integrityAlg, uint32_t cipherAlg)
{
  if (integrityAlg == RTX_3GPP_ALG_AES) return;
  Rtx3gppSecContext* sec = pctxt->pSecurity;
  wipeAndFree(pctxt, sec->cmacSubkeys, kCmacSubkeyOctets);
  if (cipherAlg != RTX_3GPP_ALG_AES) wipeAndFree(pctxt, sec->keySchedules, kScheduleOctets);
}

// Makes schedule and subkeys of the integrity key. The record names the new algorithm only when both keys are in order.
int prepareIntegrity(RtxContext* pctxt, const uint8_t* key, uint32_t algorithm)
{
  if (algorithm == RTX_3GPP_ALG_NULL) return 0;
  if (algorithm != RTX_3GPP_ALG_AES) return notSupported(pctxt, "integrity algorithm", algorithm, __LINE__);
  if (!key) return keysGone(pctxt, "integrityKey", __LINE__);
  Rtx3gppSecContext* sec = pctxt->pSecurity;
  int status = allocateOnce(pctxt, sec->keySchedules, kScheduleOctets);
  if (status < 0) return status;
  rtx3gppAesExpandKey(sec->keySchedules, key);
  status = allocateOnce(pctxt, sec->cmacSubkeys, kCmacSubkeyOctets);
  if (status < 0) return status;
  rtx3gppCmacSubkeys(sec->keySchedules, sec->cmacSubkeys);
  return 0;
}

// The record keeps its old algorithms after a failure. Codes under the new key would then pass for codes under the old
// one, so the new key goes again.
int dropIntegrity(RtxContext* pctxt, int status)
{
  Rtx3gppSecContext* sec = pctxt->pSecurity;
  wipeAndFree(pctxt, sec->cmacSubkeys, kCmacSubkeyOctets);
  if (sec->keySchedules) rtx3gppWipe(sec->keySchedules, kScheduleOctets / 2);
  return status;
}

// Makes the schedule of the ciphering key, behind that of the integrity key.
int prepareCipher(RtxContext* pctxt, const uint8_t* key, uint32_t algorithm)
{
  if (algorithm == RTX_3GPP_ALG_NULL) return 0;
  if (algorithm != RTX_3GPP_ALG_AES) return notSupported(pctxt, "cipher algorithm", algorithm, __LINE__);
  if (!key) return keysGone(pctxt, "cipherKey", __LINE__);
  Rtx3gppSecContext* sec = pctxt->pSecurity;
  const int status = allocateOnce(pctxt, sec->keySchedules, kScheduleOctets);
  if (status < 0) return status;
  rtx3gppAesExpandKey(sec->keySchedules + kAesScheduleWords, key);
  return 0;
}

// COUNT, BEARER and DIRECTION, with which both algorithms begin (TS 33.401, B.1.3 and B.2.3): 4 octets, 5 bits, 1 bit,
// and zeros. Count 5, bearer 1, downlink: 00 00 00 05 0C 00 00 00, where 0C is 00001 1 00.
void writePrefix(const Rtx3gppSecContext* sec, uint8_t* prefix)
{
  rtxStoreOctets<4>(prefix, sec->count);
  prefix[4] = static_cast<uint8_t>(sec->bearer << 3 | sec->direction << 2);
  memset(prefix + 5, 0, kMacPrefixOctets - 5);
}

// Computes the code: the first 32 bits of the CMAC. `work` holds the message behind eight octets of room for the
// prefix, `octets` counts both.
int codeOf(RtxContext* pctxt, uint8_t* work, size_t octets, uint32_t* pMac)
{
  const Rtx3gppSecContext* sec = pctxt->pSecurity;
  if (!sec->keySchedules || !sec->cmacSubkeys) return keysGone(pctxt, "cmacSubkeys", __LINE__);
  uint8_t tag[kAesBlockOctets];
  writePrefix(sec, work);
  rtx3gppCmac(sec->keySchedules, sec->cmacSubkeys, work, octets, tag);
  *pMac = static_cast<uint32_t>(rtxLoadOctets<4>(tag));
  return 0;
}

// Copies the message behind the prefix, because CMAC takes one span of octets, and the octets in front of the caller's
// message are the message's own header.
int computeAesMac(RtxContext* pctxt, const uint8_t* octets, uint64_t length, uint32_t* pMac)
{
  // A length without room for the prefix is more than any heap has, so the heap refuses it.
  const size_t need = length > SIZE_MAX - kMacPrefixOctets ? SIZE_MAX : static_cast<size_t>(length) + kMacPrefixOctets;
  uint8_t* work = static_cast<uint8_t*>(rtxMemAllocArray2(&pctxt->pMemHeap, need, 1, 0));
  if (!work) return rtxErrSetData(pctxt, RTX_E_NO_MEMORY, kModule, __LINE__);
  if (length > 0) memcpy(work + kMacPrefixOctets, octets, need - kMacPrefixOctets);
  const int status = codeOf(pctxt, work, need, pMac);
  rtxMemHeapFreePtr(&pctxt->pMemHeap, work);
  return status;
}

} // namespace

// An older record is not freed: it may be one that was lent to this context (rt3gppNasSec.h).
int rtx3gppSecInitialize(RtxContext* pctxt)
{
  Rtx3gppSecContext* sec = nullptr;
  const int status = allocateOnce(pctxt, sec, sizeof *sec);
  if (status < 0) return status;
  pctxt->pSecurity = sec;
  return 0;
}

// What the new algorithms do not need is wiped first; the record gets the algorithms last, when nothing can fail any
// more.
int rtx3gppAssignAlgorithmKeys(RtxContext* pctxt, const uint8_t* integrityKey, const uint8_t* cipherKey,
                               uint32_t integrityAlg, uint32_t cipherAlg)
{
  Rtx3gppSecContext* sec = pctxt->pSecurity;
  if (!sec) return rtxErrSetData(pctxt, RTX_E_NO_SECURITY, kModule, __LINE__);
  wipeUnused(pctxt, integrityAlg, cipherAlg);
  int status = prepareIntegrity(pctxt, integrityKey, integrityAlg);
  if (status >= 0) status = prepareCipher(pctxt, cipherKey, cipherAlg);
  if (status < 0) return integrityAlg == RTX_3GPP_ALG_AES ? dropIntegrity(pctxt, status) : status;
  sec->cipherKey = cipherKey;
  sec->integrityKey = integrityKey;
  sec->cipherAlg = cipherAlg;
  sec->integrityAlg = integrityAlg;
  return 0;
}

int rtx3gppComputeMAC(RtxContext* pctxt, const uint8_t* octets, uint64_t length, uint32_t* pMac)
{
  const Rtx3gppSecContext* sec = pctxt->pSecurity;
  if (!sec) return rtxErrSetData(pctxt, RTX_E_NO_SECURITY, kModule, __LINE__);
  if (sec->integrityAlg == RTX_3GPP_ALG_AES) return computeAesMac(pctxt, octets, length, pMac);
  if (sec->integrityAlg != RTX_3GPP_ALG_NULL)
    return notSupported(pctxt, "integrity algorithm", sec->integrityAlg, __LINE__);
  *pMac = 0;
  return 0;
}

int rtx3gppCipher(RtxContext* pctxt, uint8_t* octets, uint64_t length)
{
  const Rtx3gppSecContext* sec = pctxt->pSecurity;
  if (!sec) return rtxErrSetData(pctxt, RTX_E_NO_SECURITY, kModule, __LINE__);
  if (length == 0 || sec->cipherAlg == RTX_3GPP_ALG_NULL) return 0;
  if (sec->cipherAlg != RTX_3GPP_ALG_AES) return notSupported(pctxt, "encryption algorithm", sec->cipherAlg, __LINE__);
  if (!sec->keySchedules) return keysGone(pctxt, "keySchedules", __LINE__);
  uint8_t counter[kAesBlockOctets] = {};
  writePrefix(sec, counter);
  rtx3gppCounterMode(sec->keySchedules + kAesScheduleWords, counter, octets, static_cast<size_t>(length));
  return 0;
}

// Assigning null algorithms wipes and frees subkeys and schedules; without a record it leaves its error record behind.
void rtx3gppSecFree(RtxContext* pctxt)
{
  rtx3gppAssignAlgorithmKeys(pctxt, nullptr, nullptr, RTX_3GPP_ALG_NULL, RTX_3GPP_ALG_NULL);
  if (!pctxt->pSecurity) return;
  rtxMemHeapFreePtr(&pctxt->pMemHeap, pctxt->pSecurity);
  pctxt->pSecurity = nullptr;
}
