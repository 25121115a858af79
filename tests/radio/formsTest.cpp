// The forms of radio resource messages from a caller's side: the pseudo length that the
// encoder counts, and numbers that no message has.
#include <gtest/gtest.h>

#include "tests/messages.h"
#include "velnor3gpp/TS44018Msgs.h"

namespace {

using Form = TS44018Msg_L2_PSEUDO_LEN_PDU;

// A paging request for nobody, with rest octets of padding.
struct Paging {
  OutcomeContext ctxt;
  Form pdu;
  TS44018Msg_PagingRequestType1 body;
  TS44018IE_P1_Rest_Octets rest;

  Paging()
  {
    asn1Init_TS44018Msg_L2_PSEUDO_LEN_PDU(&pdu);
    asn1Init_TS44018Msg_PagingRequestType1(&body);
    asn1Init_TS44018IE_P1_Rest_Octets(&rest);
    pdu.l2PseudoLen.fixed_bits = 1;
    pdu.l3HdrOpts.t = TS24007L3_L3HdrOptions_t_skipInd;
    pdu.l3HdrOpts.u.skipInd = 0;
    body.pageMode = {};
    body.channelsNeededForMobiles1And2 = {};
    body.mobileIdentity1.t = TS24008IE_MobileIdentity_t_none;
  }
  std::string encoded(int wanted = 0)
  {
    Octets octets(64);
    ctxt.bind(octets.data(), octets.size());
    int status = NASEnc_TS44018Msg_L2_PSEUDO_LEN_PDU(ctxt, &pdu);
    EXPECT_EQ(status, wanted);
    octets.resize(octetsDone(ctxt));
    return hexText(octets);
  }
};

// The length is the body's, in the octets and in the record, whatever stood there and however often it is written.
TEST(RadioForms, ThePseudoLengthIsCountedEachTime)
{
  Paging paging;
  asn1SetTC_TS44018Msg_L2_PSEUDO_LEN_PDU_obj_PagingRequestType1(paging.ctxt, &paging.pdu, &paging.body);
  asn1SetTC_TS44018Msg_L2_PSEUDO_LEN_PDU_restOctets_obj_PagingRequestType1(paging.ctxt, &paging.pdu, &paging.rest);
  paging.pdu.l2PseudoLen.pseudo_length = 200;
  std::string first = paging.encoded();
  uint8_t length = paging.pdu.l2PseudoLen.pseudo_length;
  EXPECT_GT(length, 3);
  EXPECT_EQ(first.substr(0, 2), hexText({uint8_t(length << 2 | 1)}));
  EXPECT_EQ(paging.encoded(), first);
  EXPECT_EQ(paging.pdu.l2PseudoLen.pseudo_length, length);
}

// A number of no message is lost in the body, and ends without an error record in the rest octets and other forms.
TEST(RadioForms, BadNumbers)
{
  Paging paging;
  asn1SetTC_TS44018Msg_L2_PSEUDO_LEN_PDU_restOctets_obj_SystemInformationType5(paging.ctxt, &paging.pdu);
  paging.pdu.data.t = 37;
  EXPECT_EQ(paging.encoded(), "09061D");
  paging.pdu.restOctets.t = 0;
  paging.encoded(RTX_E_INVALID_CHOICE);
  EXPECT_EQ(paging.ctxt->errInfo.count, 0U);

  TS44018Msg_DL_DCCH_PDU dedicated = {};
  dedicated.l3HdrOpts.t = TS24007L3_L3HdrOptions_t_skipInd;
  dedicated.protoDiscr = TS24007L3_ProtoDiscr_rrMgmt;
  Octets octets(64);
  paging.ctxt.bind(octets.data(), octets.size());
  EXPECT_EQ(NASEnc_TS44018Msg_DL_DCCH_PDU(paging.ctxt, &dedicated), RTX_E_INVALID_CHOICE);
  EXPECT_EQ(paging.ctxt->errInfo.count, 0U);
}

} // namespace
