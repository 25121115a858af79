// EPS elements that rows cannot say: the mobile identity and the entries of a list of tracking areas.
#include "tests/eps/epsTest.h"
#include "velnor3gpp/TS24301IES.h"

namespace {

using Identity = TS24301IE_EPSMobileIdentity;
using List = TS24301IE_TrackingAreaIdentList;

template <class T> int decode(EpsContext& ctxt, int (*decoder)(RtxContext*, T*), const Octets& octets, T& value)
{
  memset(&value, 0xA5, sizeof value);
  ctxt.bind(octets);
  return decoder(ctxt, &value);
}

template <class T> Octets encode(EpsContext& ctxt, int (*encoder)(RtxContext*, T*), T& value)
{
  Octets octets(256, 0);
  rtxCtxtSetBufPtr(ctxt, octets.data(), octets.size());
  int status = encoder(ctxt, &value);
  octets.resize(status < 0 ? 0 : ctxt->buffer.byteIndex);
  return octets;
}

TEST(EpsIdentity, DigitsBothWays)
{
  struct Case {
    Octets octets;
    uint32_t t;
    const char* digits;
  };
  const Case cases[] = {{{0x08, 0x09, 0x10, 0x10, 0x21, 0x43, 0x65, 0x87, 0x09}, 1, "001011234567890"},
                        {{0x08, 0x01, 0x10, 0x10, 0x21, 0x43, 0x65, 0x87, 0xF9}, 1, "00101123456789"},
                        {{0x08, 0x3B, 0x29, 0x53, 0x08, 0x00, 0x00, 0x00, 0x10}, 2, "392358000000001"}};
  for (const Case& c : cases) {
    EpsContext ctxt;
    Identity identity;
    ASSERT_EQ(decode(ctxt, NASDec_TS24301IE_EPSMobileIdentity, c.octets, identity), 0) << c.digits;
    EXPECT_EQ(identity.t, c.t);
    EXPECT_STREQ(identity.u.imsi, c.digits);
    EXPECT_EQ(encode(ctxt, NASEnc_TS24301IE_EPSMobileIdentity, identity), c.octets);
  }
}

// The record tells after encoding what was written in front of the digits.
TEST(EpsIdentity, EncoderFillsTheFirstOctet)
{
  EpsContext ctxt;
  Identity identity{};
  identity.typeOfIdent = TS24301IE_EPSMobileIdentity_typeOfIdent_imsi;
  strcpy(identity.u.imsi, "90170");
  EXPECT_EQ(encode(ctxt, NASEnc_TS24301IE_EPSMobileIdentity, identity), (Octets{3, 0x99, 0x10, 0x07}));
  EXPECT_EQ(identity.length, 3);
  EXPECT_EQ(identity.filler, 9);
  EXPECT_EQ(identity.oddEvenInd, 1);
  memset(identity.u.imsi, '1', sizeof identity.u.imsi); // no end
  EXPECT_TRUE(encode(ctxt, NASEnc_TS24301IE_EPSMobileIdentity, identity).empty());
  EXPECT_EQ(ctxt.lastError().substr(0, 3), "-16");
}

TEST(EpsIdentity, BadLengthsAndTypes)
{
  struct Case {
    Octets octets;
    int status;
  };
  const Case cases[] = {{{0x00, 0xF6, 0, 0}, RTX_E_BAD_LENGTH}, // ends inside its first octet
                        {{0x05, 0xF6, 0, 0xF1, 0x10, 0x80, 1, 1, 1, 2, 3, 4}, RTX_E_BAD_LENGTH}, // shorter than a GUTI
                        {{0x01, 0x02}, RTX_E_ENUM_VALUE},                                        // no such type
                        {{0x0B, 0xF6, 0, 0xF1, 0x10}, RTX_E_END_OF_BUFFER},
                        {{0x0A, 0x09, 1, 2, 3, 4, 5, 6, 7, 8, 9}, RTX_E_TOO_BIG}}; // 19 digits
  for (const Case& c : cases) {
    EpsContext ctxt;
    Identity identity;
    EXPECT_EQ(decode(ctxt, NASDec_TS24301IE_EPSMobileIdentity, c.octets, identity), c.status) << int(c.octets[0]);
  }
  // A longer element than its identity is skipped to its end, with a note on the length.
  EpsContext ctxt;
  Identity identity;
  EXPECT_EQ(decode(ctxt, NASDec_TS24301IE_EPSMobileIdentity, {0x0C, 0xF6, 0, 0xF1, 0x10, 0x80, 1, 1, 1, 2, 3, 4, 9},
                   identity),
            0);
  EXPECT_EQ(ctxt->buffer.byteIndex, 13U);
  EXPECT_EQ(rtxErrCheckNonFatal(ctxt), RTX_E_CONSTRAINT);
}

// The three kinds of entry, in one list; counts on the wire are one less than the entries.
TEST(EpsTrackingAreas, AllKindsOfEntry)
{
  const Octets octets = {27,   0x02, 0x00, 0xF1, 0x10, 0, 1, 0, 3, 0, 7, // three codes
                         0x23, 0x00, 0xF1, 0x10, 0,    9,                // a row from 9
                         0x40, 0x00, 0xF1, 0x10, 0,    5,                // one identity
                         0x00, 0x00, 0xF1, 0x10};
  Octets whole = octets;
  whole.insert(whole.end(), {0xFF, 0xFE});
  whole[0] = uint8_t(whole.size() - 1);
  EpsContext ctxt;
  List list;
  ASSERT_EQ(decode(ctxt, NASDec_TS24301IE_TrackingAreaIdentList, whole, list), 0);
  ASSERT_EQ(list.idents.n, 4U);
  EXPECT_EQ(list.idents.elem[0].elements.u.partTrkIdentList0.tacs.n, 3);
  EXPECT_EQ(list.idents.elem[0].elements.u.partTrkIdentList0.tacs.elem[2][1], 7);
  EXPECT_EQ(list.idents.elem[1].elements.t, 2U);
  EXPECT_EQ(list.idents.elem[1].elements.u.partTrkIdentList1.tac[1], 9);
  EXPECT_EQ(list.idents.elem[1].numElements, 3);
  EXPECT_EQ(list.idents.elem[2].elements.u.partTrkIdentList2.n, 1U);
  EXPECT_EQ(encode(ctxt, NASEnc_TS24301IE_TrackingAreaIdentList, list), whole);
  // The count follows from the entries, but for a row of codes, which has none.
  list.idents.elem[0].numElements = 9;
  EXPECT_EQ(encode(ctxt, NASEnc_TS24301IE_TrackingAreaIdentList, list), whole);
  EXPECT_EQ(list.idents.elem[0].numElements, 2);
}

TEST(EpsTrackingAreas, FaultyEntries)
{
  struct Case {
    Octets octets;
    int status;
  };
  const Case cases[] = {{{6, 0x60, 0x00, 0xF1, 0x10, 0, 1}, RTX_E_INVALID_CHOICE}, // fourth kind
                        {{6, 0x1F, 0x00, 0xF1, 0x10, 0, 1}, RTX_E_END_OF_BUFFER},  // 32 codes announced
                        {{6, 0x41, 0x00, 0xF1, 0x10, 0, 1, 0, 0xF1, 0x10, 0, 2}, RTX_E_BAD_LENGTH}};
  for (const Case& c : cases) {
    EpsContext ctxt;
    List list;
    EXPECT_EQ(decode(ctxt, NASDec_TS24301IE_TrackingAreaIdentList, c.octets, list), c.status) << int(c.octets[1]);
  }
  EpsContext ctxt;
  TS24301IE_TrackingAreaIdentListItem nothing{};
  List list{};
  list.idents.n = 1;
  list.idents.elem = &nothing;
  EXPECT_TRUE(encode(ctxt, NASEnc_TS24301IE_TrackingAreaIdentList, list).empty()); // an entry of nothing
  EXPECT_EQ(ctxt.lastError().substr(0, 3), "-16");
}

} // namespace
