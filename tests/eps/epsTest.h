// What the tests of the EPS forms share: a context with keys, and messages to and from octets.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "tests/printed.h"
#include "velnor3gpp/TS24301Msgs.h"
#include "velnor3gpp/rt3gppNasSec.h"
#include "velnor3gpp/rtxContainer.h"
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStatus.h"

using Octets = std::vector<uint8_t>;

inline const uint8_t kIntegrityKey[16] = {0x2B, 0xD6, 0x45, 0x9F, 0x82, 0xC4, 0x40, 0xE0,
                                          0x95, 0x2C, 0x49, 0x10, 0x48, 0x05, 0xFF, 0x48};
inline const uint8_t kCipherKey[16] = {0xD3, 0xC5, 0xD5, 0x92, 0x32, 0x7F, 0xB1, 0x1C,
                                       0x40, 0x35, 0xC6, 0x68, 0x0A, 0xF8, 0xC6, 0xD1};

// A context for one message. With a security record unless told otherwise.
class EpsContext {
public:
  enum Security { none, null, aes };
  explicit EpsContext(Security security = aes, uint32_t count = 5)
  {
    EXPECT_EQ(rtxInitContext(&ctxt), 0);
    if (security == none) return;
    rtx3gppSecInitialize(&ctxt);
    uint32_t algorithm = security == aes ? RTX_3GPP_ALG_AES : RTX_3GPP_ALG_NULL;
    EXPECT_EQ(rtx3gppAssignAlgorithmKeys(&ctxt, kIntegrityKey, kCipherKey, algorithm, algorithm), 0);
    ctxt.pSecurity->count = count;
  }
  ~EpsContext() { rtxFreeContext(&ctxt); }
  EpsContext(const EpsContext&) = delete;
  operator RtxContext*() { return &ctxt; }
  RtxContext* operator->() { return &ctxt; }

  // Binds exactly these octets, so that a sanitizer sees any access beyond them.
  void bind(const Octets& octets)
  {
    data.reset(new uint8_t[octets.size()]);
    std::copy(octets.begin(), octets.end(), data.get());
    rtxCtxtSetBufPtr(&ctxt, data.get(), octets.size());
  }
  int decode(const Octets& octets, TS24301Msg_PDU& pdu)
  {
    memset(&pdu, 0xA5, sizeof pdu);
    bind(octets);
    return NASDec_TS24301Msg_PDU(&ctxt, &pdu);
  }
  int encode(TS24301Msg_PDU& pdu, Octets& octets)
  {
    octets.assign(1024, 0);
    rtxCtxtSetBufPtr(&ctxt, octets.data(), octets.size());
    int status = NASEnc_TS24301Msg_PDU(&ctxt, &pdu);
    octets.resize(ctxt.buffer.byteIndex);
    return status;
  }
  // The code over octets of a message, by the operation itself.
  uint32_t codeOf(const Octets& octets, size_t from, size_t to)
  {
    uint32_t code = 0;
    EXPECT_EQ(rtx3gppComputeMAC(&ctxt, octets.data() + from, to - from, &code), 0);
    return code;
  }
  // Status and parameters of the last error record.
  std::string lastError() const
  {
    if (!ctxt.errInfo.tail) return "";
    const RtxErrInfo& record = *static_cast<const RtxErrInfo*>(ctxt.errInfo.tail->data);
    std::string text = std::to_string(record.status);
    for (unsigned i = 0; i < record.parmcount; ++i) text += std::string(" ") + record.parms[i];
    return text;
  }

private:
  RtxContext ctxt;
  std::unique_ptr<uint8_t[]> data;
};

// An identity request and an ESM information request.
inline const Octets kIdentityRequest = {0x07, 0x55, 0x01};
inline const Octets kInformationRequest = {0x02, 0x05, 0xD9};

// A plain message put behind a security header: the record, encoded under the context's algorithms.
inline Octets protect(EpsContext& ctxt, uint8_t secHdrType, const Octets& plain)
{
  TS24301Msg_PDU pdu;
  Octets octets;
  EXPECT_EQ(ctxt.decode(plain, pdu), 0);
  pdu.m.secHdrPresent = 1;
  pdu.secHdr = {static_cast<TS24007L3_SecHdrType>(secHdrType), 7, 0, 0x2A};
  EXPECT_EQ(ctxt.encode(pdu, octets), 0);
  return octets;
}
