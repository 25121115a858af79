// The service request: no message type, a code of 16 bits, told by the value of its first half-octet alone.
#include "tests/eps/epsTest.h"
#include "velnor3gpp/rtxDiagBitTrace.h"

namespace {

// A service request with key set 3 and sequence number 7, under the context's algorithms.
Octets serviceRequest(EpsContext& ctxt)
{
  TS24301Msg_ServiceRequest request{};
  request.secHdr = 12;
  request.protoDiscr = TS24007L3_ProtoDiscr_epsMobMgmt;
  request.ksiAndSequenceNumber = {3, 7};
  TS24301Msg_PDU pdu{};
  asn1SetTC_TS24301Msg_PDU_obj_ServiceRequest(ctxt, &pdu, &request);
  pdu.m.secHdrPresent = 1;
  pdu.secHdr.protoDiscr = 7;
  pdu.secHdr.secHdrType = TS24007L3_SecHdrType_secHdrForSvcReq;
  Octets octets;
  EXPECT_EQ(ctxt.encode(pdu, octets), 0);
  EXPECT_EQ(request.shortMAC[0] << 8 | request.shortMAC[1], octets[2] << 8 | octets[3]);
  return octets;
}

void expectRecord(const TS24301Msg_PDU& pdu, uint8_t lowHalf)
{
  EXPECT_EQ(pdu.m.secHdrPresent, 1);
  EXPECT_EQ(pdu.secHdr.secHdrType, TS24007L3_SecHdrType_secHdrForSvcReq);
  EXPECT_EQ(pdu.secHdr.protoDiscr, 7);
  EXPECT_EQ(pdu.secHdr.msgAuthCode, 0U);
  EXPECT_EQ(pdu.secHdr.seqNumber, 0);
  EXPECT_EQ(pdu.l3HdrOpts.t, 1U);
  EXPECT_EQ(pdu.l3HdrOpts.u.skipInd, 0);
  EXPECT_EQ(pdu.protoDiscr, TS24007L3_ProtoDiscr_epsMobMgmt);
  EXPECT_EQ(pdu.msgType, 0);
  ASSERT_EQ(pdu.data.t, 23U);
  EXPECT_EQ(pdu.data.u.obj_ServiceRequest->protoDiscr, lowHalf);
}

// The code is the low half of the long one, over the first two octets and the caller's count.
TEST(ServiceRequest, RightCode)
{
  EpsContext ctxt;
  Octets octets = serviceRequest(ctxt);
  ASSERT_EQ(octets.size(), 4U);
  EXPECT_EQ(octets[0], 0xC7);
  EXPECT_EQ(octets[1], 0x67);
  EXPECT_EQ(ctxt.codeOf(octets, 0, 2) & 0xFFFF, uint32_t(octets[2] << 8 | octets[3]));
  EXPECT_EQ(ctxt->elemNameStack.count, 1U);

  EpsContext receiver;
  TS24301Msg_PDU pdu;
  EXPECT_EQ(receiver.decode(octets, pdu), 0);
  expectRecord(pdu, 7);
  EXPECT_EQ(pdu.data.u.obj_ServiceRequest->ksiAndSequenceNumber.ksi, 3);
  EXPECT_EQ(pdu.data.u.obj_ServiceRequest->ksiAndSequenceNumber.seqNo, 7);
  EXPECT_EQ(receiver->elemNameStack.count, 1U); // the type name stays
}

// A wrong code is a finding with the whole record, and names the computed code first.
TEST(ServiceRequest, WrongCode)
{
  EpsContext sender;
  Octets octets = serviceRequest(sender);
  unsigned right = unsigned(octets[2] << 8 | octets[3]);
  octets[3] ^= 1;
  unsigned wrong = right ^ 1;
  EpsContext ctxt, otherCount(EpsContext::aes, 6);
  TS24301Msg_PDU pdu;
  EXPECT_EQ(ctxt.decode(octets, pdu), RTX_E_BAD_MAC);
  EXPECT_EQ(ctxt.lastError(), "-70 " + std::to_string(right) + " " + std::to_string(wrong));
  expectRecord(pdu, 7);
  octets[3] ^= 1;
  EXPECT_EQ(otherCount.decode(octets, pdu), RTX_E_BAD_MAC);
}

TEST(ServiceRequest, NullAlgorithmAndNoSecurity)
{
  TS24301Msg_PDU pdu;
  EpsContext zero(EpsContext::null), other(EpsContext::null), bare(EpsContext::none);
  EXPECT_EQ(zero.decode({0xC7, 0x67, 0, 0}, pdu), 0);
  EXPECT_EQ(other.decode({0xC7, 0x67, 1, 0}, pdu), RTX_E_BAD_MAC);
  expectRecord(pdu, 7);
  EXPECT_EQ(bare.decode({0xC7, 0x67, 0, 0}, pdu), RTX_E_NO_SECURITY);
  EXPECT_EQ(pdu.data.t, 23U);
}

TEST(ServiceRequest, CutShort)
{
  EpsContext sender;
  Octets whole = serviceRequest(sender);
  for (size_t cut = 0; cut < whole.size(); ++cut) {
    EpsContext ctxt;
    TS24301Msg_PDU pdu;
    EXPECT_EQ(ctxt.decode(Octets(whole.begin(), whole.begin() + long(cut)), pdu), RTX_E_END_OF_BUFFER) << cut;
    EXPECT_EQ(pdu.m.secHdrPresent, cut ? 1 : 0) << cut;
  }
}

// Bearer identities 12 to 15 stand where a service request has its 12: the value decides before the discriminator.
TEST(ServiceRequest, BearerIdentitiesTakeItsPath)
{
  for (uint8_t high = 0; high < 16; ++high) {
    EpsContext ctxt(EpsContext::null);
    TS24301Msg_PDU pdu;
    int status = ctxt.decode({uint8_t(high << 4 | 2), 0x05, 0xD9, 0x00}, pdu);
    SCOPED_TRACE(int(high));
    if (high < 12) {
      EXPECT_EQ(status, 0);
      EXPECT_EQ(pdu.m.secHdrPresent, 0);
      EXPECT_EQ(pdu.data.t, 44U);
      EXPECT_EQ(pdu.l3HdrOpts.t, 3U);
      EXPECT_EQ(int(pdu.l3HdrOpts.u.epsBearerIdent), high);
    } else {
      EXPECT_EQ(status, RTX_E_BAD_MAC); // D9 00 is not the code
      expectRecord(pdu, 2);
      EXPECT_EQ(pdu.data.u.obj_ServiceRequest->secHdr, high);
    }
  }
  EpsContext ctxt(EpsContext::null);
  TS24301Msg_PDU pdu;
  EXPECT_EQ(ctxt.decode({0xCD, 0x05, 0, 0}, pdu), RTX_E_ENUM_VALUE); // 13 is no discriminator
}

// Behind the normal header, type 0 is a message like any other; it carries a form of its own and no code is tested.
TEST(ServiceRequest, BehindThePlainHeader)
{
  EpsContext ctxt(EpsContext::none);
  TS24301Msg_PDU pdu;
  const Octets octets = {0x07, 0x00, 0xC7, 0x67, 0x12, 0x34};
  EXPECT_EQ(ctxt.decode(octets, pdu), 0);
  EXPECT_EQ(pdu.m.secHdrPresent, 0);
  ASSERT_EQ(pdu.data.t, 23U);
  EXPECT_EQ(pdu.data.u.obj_ServiceRequest->shortMAC[1], 0x34);
  Octets again;
  EXPECT_EQ(ctxt.encode(pdu, again), 0);
  EXPECT_EQ(again, octets);
}

TEST(ServiceRequest, HeaderAndMessageMustAgree)
{
  EpsContext ctxt;
  TS24301Msg_PDU pdu;
  ASSERT_EQ(ctxt.decode(kIdentityRequest, pdu), 0);
  pdu.m.secHdrPresent = 1;
  pdu.secHdr = {TS24007L3_SecHdrType_secHdrForSvcReq, 7, 0, 0};
  Octets octets;
  EXPECT_EQ(ctxt.encode(pdu, octets), RTX_E_INVALID_CHOICE);
  EXPECT_EQ(ctxt.lastError(), "-9");
}

// Looking ahead leaves no trace; a service request leaves none at all, another message its fields.
TEST(ServiceRequest, LeavesNoTrace)
{
  EpsContext ctxt(EpsContext::null), other(EpsContext::null);
  TS24301Msg_PDU pdu;
  ctxt.bind({0xC7, 0x67, 0, 0});
  rtxDiagCtxtBitFieldListInit(ctxt);
  EXPECT_EQ(NASDec_TS24301Msg_PDU(ctxt, &pdu), 0);
  EXPECT_EQ(ctxt->pBitFldList->fieldList.count, 0U);
  other.bind({0x02, 0x05, 0xD9});
  rtxDiagCtxtBitFieldListInit(other);
  EXPECT_EQ(NASDec_TS24301Msg_PDU(other, &pdu), 0);
  EXPECT_EQ(other->pBitFldList->fieldList.count, 4U);
  EXPECT_EQ(other->pBitFldList->disabledCnt, 0);
}

} // namespace
