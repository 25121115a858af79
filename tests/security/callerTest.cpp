// Guards what the documents tell a caller to test before acting on a message, and how keys outlast a job: what status 0
// lets through is found by these tests.
#include "tests/security/security.h"
#include "velnor3gpp/TS24301Msgs.h"
#include "velnor3gpp/TS24501Msgs.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

const Octets kKey = octetsOfHex("2b7e151628aed2a6abf7158809cf4f3c");

// Header type 5 is signed by senders and not looked at by the decoder.
TEST(CallersTests, ForgedCodeOfAPartlyCipheredMessageIsFoundByComputingIt)
{
  for (bool forged : {false, true}) {
    SecureContext ctxt;
    ASSERT_EQ(0, rtx3gppAssignAlgorithmKeys(&ctxt, kKey.data(), kKey.data(), 2, 2));
    Octets octets = octetsOfHex("570000000000074411");
    uint32_t code = 0;
    ASSERT_EQ(0, rtx3gppComputeMAC(&ctxt, &octets[5], octets.size() - 5, &code));
    for (int i = 0; i < 4; ++i) octets[1 + i] = uint8_t(code >> (24 - 8 * i) ^ (forged ? 1 : 0));
    ctxt.bind(octets);
    TS24301Msg_PDU pdu;
    EXPECT_EQ(0, NASDec_TS24301Msg_PDU(&ctxt, &pdu));
    EXPECT_EQ(0U, rtxErrGetErrorCnt(&ctxt));
    EXPECT_TRUE(pdu.m.secHdrPresent && pdu.secHdr.secHdrType == TS24007L3_SecHdrType_integProtAndPartCipher);
    EXPECT_EQ(forged, code != pdu.secHdr.msgAuthCode);
  }
}

// The security record of another context's heap stays through the end of a job, one of its own goes with it. Ended
// jobs leave nothing, whether they were good or bad.
TEST(CallersTests, LentKeysOutlastAJobAndEndedJobsLeaveNothing)
{
  SecureContext keys;
  Bench ctxt;
  ASSERT_EQ(0, rtx3gppAssignAlgorithmKeys(&keys, kKey.data(), kKey.data(), 2, 0));
  Octets good = octetsOfHex("7e0100000000007e005b01");
  uint32_t code = 0;
  ASSERT_EQ(0, rtx3gppComputeMAC(&keys, &good[6], good.size() - 6, &code));
  for (int i = 0; i < 4; ++i) good[2 + i] = uint8_t(code >> (24 - 8 * i));
  const std::pair<Octets, int> messages[] = {
      {good, 0}, {octetsOfHex("7e0101020304007e005b01"), RTX_E_BAD_MAC}, {octetsOfHex("7e005b"), RTX_E_END_OF_BUFFER}};
  long inUse = 0;
  for (int round = 0; round < 1000; ++round) {
    for (const auto& [octets, status] : messages) {
      TS24501Msg_PDU pdu;
      ctxt.pSecurity = keys.pSecurity;
      ctxt.bind(octets);
      ASSERT_EQ(status, NASDec_TS24501Msg_PDU(&ctxt, &pdu));
      rtxMemReset(&ctxt);
      ASSERT_EQ(keys.pSecurity, ctxt.pSecurity);
    }
    if (round == 0) inUse = failing::inUse;
  }
  EXPECT_EQ(inUse, failing::inUse);
  ctxt.pSecurity = nullptr;
  ASSERT_EQ(0, rtx3gppSecInitialize(&ctxt));
  rtxMemReset(&ctxt);
  EXPECT_EQ(nullptr, ctxt.pSecurity);
}

} // namespace
