// What the generator works out from forms.l3: types whose octets are those of tests/golden/l3gen/Forms.tsv, and records
// that C callers rely on.
#include <gtest/gtest.h>

#include "L3Descriptors.h"
#include "tests/fileText.h"
#include "tests/golden/row.h"
#include "velnor3gpp/Forms.h"

namespace {

const L3Type* const kTypes[] = {&l3_Forms_Inner,    &l3_Forms_Either,      &l3_Forms_Bits,          &l3_Forms_Runs,
                                &l3_Forms_Selected, &l3_Forms_Seven,       &l3_Forms_Extended,      &l3_Forms_Optional,
                                &l3_Forms_Cause,    &l3_Forms_PDU,         &l3_Forms_Relative,      &l3_Forms_Coded,
                                &l3_Forms_Tree,     &l3_Forms_Counted,     &l3_Forms_Rest_Octets,   &l3_Forms_Nested,
                                &l3_Forms_Behind,   &l3_Forms_Behind_list, &l3_Forms_Behind_octets, &l3_Forms_Sized,
                                &l3_Forms_Joined};

// The second body has the messages of the first, and setters of its own.
TEST(Layout, TwoBodiesOfAMessageAreSetApart)
{
  Forms_Doubled pdu = {};
  Forms_Optional body = {};
  Forms_Relative rest = {};
  asn1SetTC_Forms_Doubled_rest_obj_Optional(nullptr, &pdu, &rest);
  EXPECT_EQ(pdu.type, 2);
  EXPECT_EQ(pdu.data.t, 0U);
  EXPECT_EQ(pdu.rest.u.obj_Optional, &rest);
  asn1SetTC_Forms_Doubled_obj_Optional(nullptr, &pdu, &body);
  EXPECT_EQ(pdu.data.u.obj_Optional, &body);
  asn1SetTC_Forms_Doubled_rest_obj_Cause(nullptr, &pdu);
  EXPECT_EQ(pdu.rest.t, 2U);
}

TEST(Layout, TypesAreWhatTheyWere)
{
  std::string rows;
  for (const L3Type* type : kTypes) rows += rowOf(entryOf(*type)) + "\n";
  EXPECT_EQ(rows, goldenText(VELNOR_TEST_DATA "/../golden/l3gen/Forms.tsv", rows));
}

// Names that C does not have, sizes of enumerations, and presence bits in their order.
TEST(Layout, RecordsAreThoseOfC)
{
  Forms_Runs runs = {};
  EXPECT_EQ(runs.for_ + runs.x2nd, 0);
  EXPECT_EQ(Forms_Colour_green_ish + Forms_Colour_delete_, 11);
  EXPECT_EQ(sizeof(Forms_Colour), 4U);
  EXPECT_EQ(sizeof(Forms_Count), 1U);
  Forms_Bits bits = {};
  auto octet = [&bits] { return *reinterpret_cast<const uint8_t*>(&bits.m); };
  bits.m.firstPresent = bits.m.secondPresent = bits.m.thirdPresent = 1;
  EXPECT_EQ(octet(), 0x15);
  bits.m.latePresent = bits.m.release5Present = bits.m.last_onePresent = 1;
  EXPECT_EQ(octet(), 0x3F);
}

// The setter stores what selects the message, and the record is the message's only element where it is bare.
TEST(Layout, SettersSelectTheirMessage)
{
  Forms_PDU pdu;
  memset(&pdu, 0xEE, sizeof pdu);
  Forms_Cause cause = 4;
  asn1SetTC_Forms_PDU_obj_Cause(nullptr, &pdu, &cause);
  EXPECT_EQ(pdu.discr << 16 | pdu.type << 8 | int(pdu.data.t), 0x070301);
  EXPECT_EQ(*pdu.data.u.obj_Cause, 4);
  asn1SetTC_Forms_PDU_obj_Empty(nullptr, &pdu);
  EXPECT_EQ(pdu.discr << 16 | pdu.type << 8 | int(pdu.data.t), 0x080103);
  asn1SetTC_Forms_PDU_obj_Level(nullptr, &pdu, 0xFF);
  EXPECT_EQ(pdu.discr << 16 | pdu.type << 8 | int(pdu.data.t), 0x080304);
  EXPECT_EQ(pdu.data.u.obj_Level, 0xFF);
}

// Three discriminators share a message type; two of the bodies stand in the record itself, and one of them is a number
// that the rows do not fill an octet with. Each way of coding tells them apart, and none takes a message of another's.
TEST(Layout, BodiesOfOneMessageType)
{
  const L3TypeEntry entry = entryOf(l3_Forms_PDU);
  auto printed = [&entry](Octets octets) {
    Decoding fast(entry, octets), slow(entry, octets, {.slow = true});
    EXPECT_EQ(fast.status, slow.status);
    EXPECT_EQ(fast.text(), slow.text());
    return fast.status < 0 ? std::to_string(fast.status) : fast.text();
  };
  EXPECT_NE(printed({7, 3, 9}).find(" cause = 9\n"), std::string::npos);
  EXPECT_NE(printed({8, 3, 9}).find("obj_Level = 9\n"), std::string::npos);
  EXPECT_NE(printed({8, 3, 0xFF}).find("obj_Level = all\n"), std::string::npos);
  EXPECT_NE(printed({9, 3, 0x2F}).find("obj_Shade = green-ish\n"), std::string::npos);
  EXPECT_EQ(printed({9, 3, 0x4F}), std::to_string(RTX_E_ENUM_VALUE));
  EXPECT_EQ(printed({8, 2, 9}), std::to_string(RTX_E_INVALID_CHOICE));
  EXPECT_EQ(printed({8, 3}), std::to_string(RTX_E_END_OF_BUFFER));
}

// The generated tables drive the engine.
TEST(Layout, SamplesComeBack)
{
  for (const L3Type* type : kTypes) {
    OutcomeContext ctxt;
    L3TypeEntry entry = entryOf(*type);
    Octets octets;
    EXPECT_EQ(roundTripFault(entry, ctxt, sampleValue(entry, ctxt), octets), "") << type->fullName;
  }
}

} // namespace
