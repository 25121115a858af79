#include "job.h"

#include <algorithm>

#include "velnor3gpp/rt3gppNasSec.h"
#include "velnor3gpp/rtContext.h"
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxDiagBitTrace.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxStatus.h"

Job::Job()
{
  if (rtInitContext(&ctxt) < 0) throw std::bad_alloc();
}

Job::~Job()
{
  if (ctxt.pSecurity) rtx3gppSecFree(&ctxt);
  rtFreeContext(&ctxt);
}

static Finding findingOf(RtxErrInfo& info)
{
  char words[1024] = "";
  rtxErrFmtMsg(&info, words, sizeof words);
  return {info.status, words, info.elemName ? info.elemName : ""};
}

static Finding bareFinding(int status)
{
  RtxErrInfo info{};
  info.status = static_cast<int16_t>(status);
  return findingOf(info);
}

// Without keys a code that differs, or cannot be computed, tells nothing about the message.
static bool isAboutKeys(const Job& job, int status)
{
  return job.check == Check::kNoKeys && (status == RTX_E_BAD_MAC || status == RTX_E_NO_SECURITY);
}

static void collectFindings(Job& job, int status)
{
  bool excused = false;
  for (RtxDListNode* node = job.ctxt.errInfo.head; node; node = node->next) {
    RtxErrInfo& info = *static_cast<RtxErrInfo*>(node->data);
    if (!info.fatal)
      job.remarks.push_back(findingOf(info));
    else if (isAboutKeys(job, info.status))
      excused = true;
    else if (info.status != RTX_E_MULTIPLE) // says no more than that there are others
      job.failures.push_back(findingOf(info));
  }
  if (status < 0 && job.failures.empty() && !excused) job.failures.push_back(bareFinding(status));
}

static bool hasError(const RtxContext& ctxt, int status)
{
  for (RtxDListNode* node = ctxt.errInfo.head; node; node = node->next)
    if (static_cast<RtxErrInfo*>(node->data)->status == status) return true;
  return false;
}

static Check checkOf(const Job& job, const Keys* keys)
{
  if (!job.protection.present) return Check::kPlain;
  if (!job.protection.checkable) return Check::kNotCovered;
  if (!keys) return Check::kNoKeys;
  if (hasError(job.ctxt, RTX_E_BAD_MAC)) return Check::kFailed;
  if (!keys->integrityAlg) return Check::kNullAlg;
  for (int status : {RTX_E_NO_MEMORY, RTX_E_NOT_SUPPORTED, RTX_E_NULL_POINTER, RTX_E_NO_SECURITY})
    if (hasError(job.ctxt, status)) return Check::kNotReached; // perhaps the code could not be computed
  return job.usedOctets >= job.protection.inner ? Check::kVerified : Check::kNotReached;
}

// Null algorithms stand in for missing keys: whoever wants to read a message does not care that it cannot be verified.
static int setSecurity(Job& job, const JobOrder& order, uint32_t count)
{
  int status = rtx3gppSecInitialize(&job.ctxt);
  if (status < 0) return status;
  Rtx3gppSecContext& security = *job.ctxt.pSecurity;
  security.direction = job.direction == Direction::kDown;
  security.bearer = order.keys && order.keys->bearer ? *order.keys->bearer : job.protection.bearer;
  security.count = count;
  if (!order.keys) return 0;
  const Keys& keys = *order.keys;
  return rtx3gppAssignAlgorithmKeys(&job.ctxt, keys.integrityKey.data(), keys.cipherKey.data(), keys.integrityAlg,
                                    keys.cipherAlg);
}

static int runDecoder(Job& job, const JobOrder& order, uint32_t count)
{
  RtxContext* pctxt = &job.ctxt;
  int status = order.trace ? rtxDiagCtxtBitFieldListInit(pctxt) : 0;
  if (status >= 0) status = setSecurity(job, order, count);
  if (status >= 0) status = rtxCtxtSetBufPtr(pctxt, job.octets.data(), job.octets.size());
  if (status < 0) return status;
  if (job.direction == Direction::kUp) rtxCtxtSetFlag(pctxt, RTX_FLAG_MOBILE_ORIGINATED);
  pctxt->specRelease = order.release;
  return job.entry->decode(pctxt, job.record.data());
}

static void makeRecord(Job& job, const L3TypeEntry& entry)
{
  job.entry = &entry;
  job.record.assign(entry.type->size / sizeof(std::max_align_t) + 1, std::max_align_t{});
  if (entry.init) entry.init(job.record.data());
}

static bool isSealed(const Job& job, const JobOrder& order)
{
  return job.protection.ciphered && !order.keys && !looksPlain(*job.entry->type, job.octets, job.protection);
}

// Without integrity protection only the deciphered message itself tells which direction was right.
static bool isRight(const Job& job)
{
  return job.check == Check::kVerified || (job.check == Check::kNullAlg && job.failures.empty());
}

static std::unique_ptr<Job> decodeOnce(const std::vector<uint8_t>& octets, const JobOrder& order, Direction direction)
{
  auto job = std::make_unique<Job>();
  job->octets = octets;
  job->direction = direction;
  makeRecord(*job, *order.entry);
  job->protection = protectionOf(*order.entry->type, octets);
  job->headerOnly = isSealed(*job, order);
  if (job->headerOnly) makeRecord(*job, entryNamed(job->protection.header));
  const Protection& p = job->protection;
  uint32_t count = order.keys && p.present ? countFor(*order.keys, direction, p.sequence, p.sequenceBits) : 0;
  int status = runDecoder(*job, order, count);
  job->usedOctets = std::min(job->ctxt.buffer.byteIndex, octets.size()); // a length can lead behind the end
  job->missingOctets = job->ctxt.buffer.byteIndex - job->usedOctets;
  job->check = checkOf(*job, order.keys);
  collectFindings(*job, status);
  if (job->headerOnly) job->failures.push_back({RTX_E_NO_SECURITY, "ciphered, and no keys are given", ""});
  if (isRight(*job)) noteCount(*order.keys, direction, count);
  return job;
}

std::unique_ptr<Job> decodeMessage(const std::vector<uint8_t>& octets, const JobOrder& order)
{
  bool tryBoth = order.direction == Direction::kUnknown && order.keys &&
                 (order.keys->integrityAlg || order.keys->cipherAlg) &&
                 protectionOf(*order.entry->type, octets).checkable;
  if (!tryBoth) return decodeOnce(octets, order, order.direction);
  std::unique_ptr<Job> up = decodeOnce(octets, order, Direction::kUp);
  if (isRight(*up)) return up;
  std::unique_ptr<Job> down = decodeOnce(octets, order, Direction::kDown);
  return isRight(*down) ? std::move(down) : std::move(up);
}

Encoded encodeAgain(Job& job)
{
  RtxContext* pctxt = &job.ctxt;
  Encoded encoded;
  job.failures.clear();
  job.remarks.clear();
  rtxErrReset(pctxt);
  pctxt->pBitFldList = nullptr;
  if (!job.entry->encode) {
    encoded.failures.push_back({RTX_E_NOT_SUPPORTED, "the type has no encoder", ""});
    return encoded;
  }
  int status = rtxCtxtSetBufPtr(pctxt, nullptr, 0);
  if (status >= 0) status = job.entry->encode(pctxt, job.record.data());
  collectFindings(job, status);
  encoded.failures = std::move(job.failures);
  const RtxBuffer& buffer = pctxt->buffer;
  size_t count = buffer.byteIndex + (buffer.bitOffset != 8);
  if (encoded.failures.empty()) encoded.octets.assign(buffer.data, buffer.data + count);
  // The library ends with the octet that it has reached; the block goes on to its end with the same padding.
  if (encoded.failures.empty() && fillsBlock(*job.entry->type))
    encoded.octets.resize(std::max(encoded.octets.size(), job.octets.size()), 0x2B);
  return encoded;
}
