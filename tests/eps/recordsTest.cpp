// What the encoders of TS 24.301 make of records that no octets give: changed after decoding or filled by hand. The
// octets of elements and messages, protected ones among them, stand in tests/vectors.
#include <gtest/gtest.h>

#include "tests/outcome.h"
#include "velnor3gpp/TS24301IES.h"
#include "velnor3gpp/TS24301Msgs.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

const Octets kIdentityRequest = {0x07, 0x55, 0x01};

class EpsRecords : public testing::Test {
protected:
  OutcomeContext ctxt{Setting()}; // of the null algorithms
  Octets octets;
  TS24301Msg_PDU pdu;

  int decode(const Octets& input)
  {
    rtxErrReset(ctxt);
    octets = input;
    ctxt.bind(octets.data(), octets.size());
    return NASDec_TS24301Msg_PDU(ctxt, &pdu);
  }
  template <class T> int encode(int (*encoder)(RtxContext*, T*), T& value)
  {
    rtxErrReset(ctxt);
    octets.assign(256, 0);
    ctxt.bind(octets.data(), octets.size());
    int status = encoder(ctxt, &value);
    octets.resize(status < 0 ? 0 : ctxt->buffer.byteIndex);
    return status;
  }
  int encode() { return encode(NASEnc_TS24301Msg_PDU, pdu); }
  void setHeader(int type, uint8_t discriminator)
  {
    pdu.m.secHdrPresent = 1;
    pdu.secHdr = {static_cast<TS24007L3_SecHdrType>(type), discriminator, 0, 0};
  }
};

// Unlike with 5GS, the presence bit alone does not sign: type and discriminator of the header must agree.
TEST_F(EpsRecords, SignedOnlyBehindAHeader)
{
  for (auto [type, discriminator] : {std::pair{0, 7}, {1, 2}, {12, 2}}) {
    ASSERT_EQ(decode(kIdentityRequest), 0);
    setHeader(type, uint8_t(discriminator));
    EXPECT_EQ(encode(), 0);
    EXPECT_EQ(octets, kIdentityRequest);
  }
}

// A message number or direction without a row is a plain status; a signed message forgets even that.
TEST_F(EpsRecords, UnknownAlternative)
{
  ASSERT_EQ(decode(kIdentityRequest), 0);
  for (uint32_t t : {0U, 58U}) {
    pdu.data.t = t;
    EXPECT_EQ(encode(), RTX_E_INVALID_CHOICE);
    EXPECT_EQ(ctxt->errInfo.count + ctxt->elemNameStack.count, 0U);
  }
  setHeader(1, 7);
  EXPECT_EQ(encode(), 0);
  EXPECT_EQ(octets.size(), 8U); // header, discriminator and type
  ASSERT_EQ(decode({0x07, 0x45, 0x02, 0x53, 0x02}), 0);
  pdu.data.u.obj_DetachRequest->t = 3;
  EXPECT_EQ(encode(), RTX_E_INVALID_CHOICE);
}

// The caller gives key set and sequence number; the encoder writes the code into octets and record.
TEST_F(EpsRecords, ServiceRequestGetsItsCode)
{
  TS24301Msg_ServiceRequest request = {};
  request.secHdr = 12;
  request.protoDiscr = TS24007L3_ProtoDiscr_epsMobMgmt;
  request.ksiAndSequenceNumber = {3, 7};
  request.shortMAC[0] = request.shortMAC[1] = 0x55;
  pdu = {};
  asn1SetTC_TS24301Msg_PDU_obj_ServiceRequest(ctxt, &pdu, &request);
  setHeader(TS24007L3_SecHdrType_secHdrForSvcReq, 7);
  EXPECT_EQ(encode(), 0);
  EXPECT_EQ(octets, (Octets{0xC7, 0x67, 0, 0}));
  EXPECT_EQ(request.shortMAC[0] + request.shortMAC[1], 0);
  EXPECT_EQ(ctxt->elemNameStack.count, 1U); // the type name stays
  pdu.data.u.obj_ServiceRequest = nullptr;
  EXPECT_EQ(encode(), RTX_E_NULL_POINTER);
  ASSERT_EQ(decode(kIdentityRequest), 0);
  setHeader(TS24007L3_SecHdrType_secHdrForSvcReq, 7); // which is not the message's
  EXPECT_EQ(encode(), RTX_E_INVALID_CHOICE);
}

// Looking ahead leaves no trace; a service request leaves none at all, another message its fields.
TEST_F(EpsRecords, LookingAheadLeavesNoTrace)
{
  for (unsigned fields : {0U, 4U}) {
    OutcomeContext traced(Setting{.trace = true});
    octets = fields ? Octets{0x02, 0x05, 0xD9} : Octets{0xC7, 0x67, 0, 0};
    traced.bind(octets.data(), octets.size());
    EXPECT_EQ(NASDec_TS24301Msg_PDU(traced, &pdu), 0);
    EXPECT_EQ(traced->pBitFldList->fieldList.count, fields);
    EXPECT_EQ(traced->pBitFldList->disabledCnt, fields ? 0 : 1);
  }
}

// The record tells after encoding what was written in front of the digits.
TEST_F(EpsRecords, DigitsFillTheFirstOctet)
{
  TS24301IE_EPSMobileIdentity identity = {};
  identity.typeOfIdent = TS24301IE_EPSMobileIdentity_typeOfIdent_imsi;
  strcpy(identity.u.imsi, "90170");
  EXPECT_EQ(encode(NASEnc_TS24301IE_EPSMobileIdentity, identity), 0);
  EXPECT_EQ(octets, (Octets{3, 0x99, 0x10, 0x07}));
  EXPECT_EQ(identity.length, 3);
  EXPECT_EQ(identity.filler, 9);
  EXPECT_EQ(identity.oddEvenInd, 1);
  memset(identity.u.imsi, '1', sizeof identity.u.imsi); // no end
  EXPECT_EQ(encode(NASEnc_TS24301IE_EPSMobileIdentity, identity), RTX_E_CONSTRAINT);
  identity.typeOfIdent = static_cast<TS24301IE_EPSMobileIdentity_typeOfIdent>(2);
  EXPECT_EQ(encode(NASEnc_TS24301IE_EPSMobileIdentity, identity), RTX_E_INVALID_CHOICE);
}

// The count of an entry follows from its codes and goes back into the record; an entry of nothing is refused.
TEST_F(EpsRecords, TrackingAreasAreCounted)
{
  TS24301IE_TrackingAreaIdentListItem entry = {};
  TS24301IE_TrackingAreaIdentList list = {};
  list.idents.n = 1;
  list.idents.elem = &entry;
  EXPECT_EQ(encode(NASEnc_TS24301IE_TrackingAreaIdentList, list), RTX_E_CONSTRAINT);
  auto& codes = entry.elements.u.partTrkIdentList0;
  entry.elements.t = 1;
  entry.numElements = 9;
  codes.mcc_mnc = {"001", "01"};
  codes.tacs.n = 2;
  codes.tacs.elem[1][1] = 5;
  EXPECT_EQ(encode(NASEnc_TS24301IE_TrackingAreaIdentList, list), 0);
  EXPECT_EQ(octets, (Octets{8, 1, 0x00, 0xF1, 0x10, 0, 0, 0, 5}));
  EXPECT_EQ(entry.numElements, 1);
}

} // namespace
