// The EPS top-level form: headers, security and what differs from the 5GS form.
#include "tests/eps/epsTest.h"

namespace {

// The header has 6 octets; the code covers all from the fifth on and is put behind the first; types 2 and 4 cipher
// what is behind the header.
TEST(EpsSecurity, SpansOfTheHeader)
{
  for (uint8_t type = 1; type <= 5; ++type) {
    SCOPED_TRACE(int(type));
    EpsContext sender;
    Octets octets = protect(sender, type, kIdentityRequest);
    ASSERT_EQ(octets.size(), 6 + kIdentityRequest.size());
    EXPECT_EQ(octets[0], type << 4 | 7);
    EXPECT_EQ(octets[5], 0x2A);
    uint32_t code = uint32_t(octets[1]) << 24 | uint32_t(octets[2]) << 16 | uint32_t(octets[3]) << 8 | octets[4];
    EXPECT_EQ(code, sender.codeOf(octets, 5, octets.size()));
    bool plain = std::equal(kIdentityRequest.begin(), kIdentityRequest.end(), octets.begin() + 6);
    EXPECT_EQ(plain, type != 2 && type != 4);

    EpsContext receiver;
    TS24301Msg_PDU pdu;
    EXPECT_EQ(receiver.decode(octets, pdu), 0);
    EXPECT_EQ(pdu.secHdr.secHdrType, int(type));
    EXPECT_EQ(pdu.secHdr.msgAuthCode, code);
    ASSERT_EQ(pdu.data.t, 18U);
  }
}

// A wrong code is found for types 1 to 4, with the record complete; type 5 is signed but not verified.
TEST(EpsSecurity, WrongCodeByType)
{
  for (uint8_t type = 1; type <= 5; ++type) {
    SCOPED_TRACE(int(type));
    EpsContext sender, receiver;
    Octets octets = protect(sender, type, kIdentityRequest);
    octets[4] ^= 0x80;
    TS24301Msg_PDU pdu;
    EXPECT_EQ(receiver.decode(octets, pdu), type == 5 ? 0 : RTX_E_BAD_MAC);
    uint32_t right = receiver.codeOf(octets, 5, octets.size());
    // Deciphering has changed the buffer and not these octets, which are what was received.
    std::string words = "-70 " + std::to_string(right ^ 0x80) + " " + std::to_string(right);
    EXPECT_EQ(receiver.lastError(), type == 5 ? "" : words);
    EXPECT_EQ(pdu.data.t, 18U);
  }
}

TEST(EpsSecurity, HeaderTypesWithoutMeaningAreRefused)
{
  for (uint8_t type = 6; type <= 11; ++type) {
    EpsContext ctxt;
    TS24301Msg_PDU pdu;
    EXPECT_EQ(ctxt.decode({uint8_t(type << 4 | 7), 0, 0, 0, 0, 0, 0x07, 0x55, 0x01}, pdu), RTX_E_ENUM_VALUE) << type;
    EXPECT_EQ(pdu.m.secHdrPresent, 0);
  }
}

// Without security state the code is a finding; a ciphered message ends there.
TEST(EpsSecurity, NoSecurityState)
{
  EpsContext signedOnly(EpsContext::none), ciphered(EpsContext::none), partly(EpsContext::none);
  TS24301Msg_PDU pdu;
  Octets octets = {0x17, 0, 0, 0, 0, 0, 0x07, 0x55, 0x01};
  EXPECT_EQ(signedOnly.decode(octets, pdu), RTX_E_NO_SECURITY);
  EXPECT_EQ(pdu.data.t, 18U);
  octets[0] = 0x27;
  EXPECT_LT(ciphered.decode(octets, pdu), 0);
  octets[0] = 0x57;
  EXPECT_EQ(partly.decode(octets, pdu), 0);
}

// Unlike with 5GS, the presence bit alone does not sign: type and discriminator of the header must agree.
TEST(EpsSecurity, SignsOnlyBehindAHeader)
{
  struct Case {
    int type;
    uint8_t discriminator;
  };
  for (Case c : {Case{0, 7}, Case{1, 2}, Case{12, 2}}) {
    EpsContext ctxt;
    TS24301Msg_PDU pdu;
    Octets octets;
    ASSERT_EQ(ctxt.decode(kIdentityRequest, pdu), 0);
    pdu.m.secHdrPresent = 1;
    pdu.secHdr = {static_cast<TS24007L3_SecHdrType>(c.type), c.discriminator, 0, 0};
    EXPECT_EQ(ctxt.encode(pdu, octets), 0);
    EXPECT_EQ(octets, kIdentityRequest);
  }
}

// A message number without a row is a plain status; a signed message forgets even that.
TEST(EpsPdu, UnknownAlternative)
{
  EpsContext ctxt;
  TS24301Msg_PDU pdu;
  Octets octets;
  ASSERT_EQ(ctxt.decode(kIdentityRequest, pdu), 0);
  for (uint32_t t : {0U, 58U}) {
    pdu.data.t = t;
    EXPECT_EQ(ctxt.encode(pdu, octets), RTX_E_INVALID_CHOICE);
    EXPECT_EQ(ctxt->errInfo.count, 0U);
  }
  pdu.m.secHdrPresent = 1;
  pdu.secHdr = {TS24007L3_SecHdrType_integProt, 7, 0, 1};
  EXPECT_EQ(ctxt.encode(pdu, octets), 0);
  EXPECT_EQ(octets.size(), 8U); // header, discriminator and type
}

// The first half-octet means what the discriminator behind it says, also where the message is then refused.
TEST(EpsPdu, FirstHalfOctet)
{
  struct Case {
    uint8_t octet;
    int status;
    uint32_t t;
  };
  const Case cases[] = {{0x52, 0, 3},
                        {0x12, 0, 3},
                        {0x07, RTX_E_INVALID_CHOICE, 4},
                        {0x99, RTX_E_INVALID_CHOICE, 2},
                        {0x35, RTX_E_INVALID_CHOICE, 1},
                        {0x0D, RTX_E_ENUM_VALUE, 1}};
  for (const Case& c : cases) {
    SCOPED_TRACE(int(c.octet));
    EpsContext ctxt;
    TS24301Msg_PDU pdu;
    EXPECT_EQ(ctxt.decode({c.octet, 0x05, 0xD9}, pdu), c.status);
    EXPECT_EQ(pdu.l3HdrOpts.t, c.t);
    if (c.t == 2) {
      EXPECT_EQ(pdu.l3HdrOpts.u.transId.flag, 1);
      EXPECT_EQ(pdu.l3HdrOpts.u.transId.value, 1);
    }
  }
}

// A bearer identity outside its enumeration is taken as it comes and refused on the way out.
TEST(EpsPdu, BearerIdentityIsTestedOnEncodingOnly)
{
  EpsContext ctxt;
  TS24301Msg_PDU pdu;
  Octets octets;
  ASSERT_EQ(ctxt.decode({0x12, 0x05, 0xD9}, pdu), 0);
  EXPECT_EQ(ctxt.encode(pdu, octets), RTX_E_ENUM_VALUE);
}

// Families of message types do not mix.
TEST(EpsPdu, TypesBelongToTheirDiscriminator)
{
  TS24301Msg_PDU pdu;
  EpsContext session, mobility;
  EXPECT_EQ(session.decode({0x52, 0x05, 0x55, 0x01}, pdu), RTX_E_INVALID_CHOICE);
  EXPECT_EQ(session.lastError(), "-9 85");
  EXPECT_EQ(mobility.decode({0x07, 0xD9}, pdu), RTX_E_INVALID_CHOICE);
}

// The octets of both directions are told apart by the context alone.
TEST(EpsDetach, DirectionComesFromTheContext)
{
  const Octets octets = {0x07, 0x45, 0x01, 0x0B, 0xF6, 0x00, 0xF1, 0x10, 0x80, 0x01, 0x01, 0xC0, 0x00, 0x00, 0x01};
  const Octets fromNetwork = {0x07, 0x45, 0x02, 0x53, 0x02};
  EpsContext uplink, downlink;
  TS24301Msg_PDU pdu;
  Octets again;
  uplink->flags |= RTX_FLAG_MOBILE_ORIGINATED;
  ASSERT_EQ(uplink.decode(octets, pdu), 0);
  EXPECT_EQ(pdu.data.u.obj_DetachRequest->t, 1U);
  EXPECT_EQ(pdu.data.u.obj_DetachRequest->u.ueOrig.gUTIOrIMSI.u.guti.mmeCode, 1);
  EXPECT_EQ(uplink.encode(pdu, again), 0);
  EXPECT_EQ(again, octets);
  ASSERT_EQ(downlink.decode(fromNetwork, pdu), 0);
  EXPECT_EQ(pdu.data.u.obj_DetachRequest->t, 2U);
  EXPECT_EQ(pdu.data.u.obj_DetachRequest->u.ueTerm.emmCause, 2);
  EXPECT_EQ(downlink.encode(pdu, again), 0);
  EXPECT_EQ(again, fromNetwork);
  pdu.data.u.obj_DetachRequest->t = 3;
  EXPECT_EQ(downlink.encode(pdu, again), RTX_E_INVALID_CHOICE);
}

// An attach accept with a GUTI behind the ESM message: a wrong code of the whole does not end it at the inner message.
TEST(EpsContainer, WrongCodeLeavesNothingOut)
{
  EpsContext ctxt(EpsContext::null);
  const Octets octets = {0x17, 1,    2,    3,    4,    5,    0x07, 0x42, 0x01, 0x49, 0x06, 0x20, 0x09,
                         0xF1, 0x07, 0x00, 0x01, 0x00, 0x03, 0x52, 0x05, 0xC2, 0x50, 0x0B, 0xF6, 0x09,
                         0xF1, 0x07, 0x00, 0x02, 0x01, 0xEA, 0x00, 0xDA, 0x62, 0x53, 0x12};
  TS24301Msg_PDU pdu;
  EXPECT_EQ(ctxt.decode(octets, pdu), RTX_E_BAD_MAC);
  ASSERT_EQ(pdu.data.t, 1U);
  const TS24301Msg_AttachAccept& accept = *pdu.data.u.obj_AttachAccept;
  EXPECT_EQ(accept.m.gutiPresent, 1);
  EXPECT_EQ(accept.m.emmCausePresent, 1);
  EXPECT_EQ(accept.emmCause, 18);
}

// The length of a container has 16 bits; the encoder keeps the low 8 of them.
TEST(EpsContainer, LengthIsCutToEightBits)
{
  EpsContext ctxt;
  Octets data(300, 0x55), octets(512, 0);
  TS24301Msg_ESMDataTransport transport{};
  transport.userDataContainer.contents = {200, data.data()};
  TS24301Msg_ESMMessageContainer container{};
  container.pduSm.l3HdrOpts.t = 3;
  container.pduSm.l3HdrOpts.u.epsBearerIdent = TS24007L3_EPSBearerIdentity_id5;
  asn1SetTC_TS24301Msg_PDU_SM_obj_ESMDataTransport(ctxt, &container.pduSm, &transport);
  for (size_t size : {200U, 300U}) {
    transport.userDataContainer.contents.numocts = uint32_t(size);
    rtxCtxtSetBufPtr(ctxt, octets.data(), octets.size());
    EXPECT_EQ(NASEnc_TS24301Msg_ESMMessageContainer(ctxt, &container), 0);
    EXPECT_EQ(container.length, (size + 5) & 0xFF);
    EXPECT_EQ(octets[0], 0);
    EXPECT_EQ(octets[1], container.length);
  }
}

} // namespace
