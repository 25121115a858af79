// What a quirk word bends, beside the plain case, where octets do not show it: quirks.vec of tests/vectors has the
// rest. The types are the library's or those of quirks.l3.
#include <gtest/gtest.h>

#include "tests/outcome.h"
#include "velnor3gpp/Quirks.h"
#include "velnor3gpp/TS24008IES.h"
#include "velnor3gpp/TS24301Msgs.h"
#include "velnor3gpp/TS24501IES.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

// A context over octets.
struct Bench {
  OutcomeContext ctxt{Setting()};
  Octets octets;
  explicit Bench(const Octets& input) : octets(input) { ctxt.bind(octets.data(), octets.size()); }
  operator RtxContext*() { return ctxt; }
};

template <typename Value> bool shows(const char* type, const Value& value, const char* part)
{
  return printed(*l3FindType(type)->type, "x", &value).find(part) != std::string::npos;
}

// A changed selector changes the meaning of an untagged union; a tag stays as it was.
TEST(Quirks, UntaggedChoiceIsToldByItsField)
{
  Bench bent({0x11, 0xF1, 0x80, 0x00}), plain({5, 1, 10, 0, 0, 1});
  TS24008IE_MSRACapValuePartStruct untagged;
  ASSERT_EQ(NASDec_TS24008IE_MSRACapValuePartStruct(bent, &untagged), 0);
  EXPECT_TRUE(shows("TS24008IE_MSRACapValuePartStruct", untagged, "accessCapability {"));
  memset(&untagged.accessCapOrTech, 0, sizeof untagged.accessCapOrTech);
  untagged.accessTechType = 15;
  EXPECT_TRUE(shows("TS24008IE_MSRACapValuePartStruct", untagged, "additionalAccessTech {"));
  TS24501IE_N3IWFAddress tagged;
  ASSERT_EQ(NASDec_TS24501IE_N3IWFAddress(plain, &tagged), 0);
  tagged.type = TS24501IE_N3IWFAddressTypes(2);
  EXPECT_TRUE(shows("TS24501IE_N3IWFAddress", tagged, "entryIpv4 = "));
}

// The name of the function is the bend; what it does is what the table's printer does.
TEST(Quirks, NullSuffixNamesAPrinter)
{
  TS24301Msg_RemoteUEReportResp none = {};
  std::string text;
  Bench bench({});
  rtxSetPrintStream(bench, appendPrinted, &text);
  EXPECT_EQ(asn1PrtToStrm_TS24301Msg_RemoteUEReportResp_(bench, "x", &none), 0);
  EXPECT_EQ(text, "x = <null>\n");
}

TEST(Quirks, NoDecoderLeavesEncoderAndPrinter)
{
  for (std::string name :
       {"PartialTrkAreaIdent0", "PartialTrkAreaIdent1", "PartialTrkAreaIdent2", "TrackingAreaIdent"}) {
    const L3TypeEntry& entry = *l3FindType(("TS24301IE_" + name).c_str());
    EXPECT_EQ(entry.decode != nullptr, name == "TrackingAreaIdent");
    EXPECT_TRUE(entry.encode && entry.print) << name;
  }
}

// A length of 300 octets: whole, or cut to its low octet in octets and record.
TEST(Quirks, FullLengthIsNotCut)
{
  Octets contents(300);
  Bench bench(Octets(2 * 302));
  Quirks_Whole bent = {0, {300, contents.data()}};
  Quirks_Cut plain = {0, {300, contents.data()}};
  ASSERT_EQ(NASEnc_Quirks_Whole(bench, &bent), 0);
  ASSERT_EQ(NASEnc_Quirks_Cut(bench, &plain), 0);
  EXPECT_EQ(bench.octets[0] << 8 | bench.octets[1], 300);
  EXPECT_EQ(bench.octets[302] << 8 | bench.octets[303], 300 & 0xFF);
  EXPECT_EQ(bent.length, 300);
  EXPECT_EQ(plain.length, 300 & 0xFF);
}

// Functions that the rule gives to a plain type and a word takes away, or gives against the rule: a missing one has no
// address.
#define QUIRKS_OPERATIONS(type)                                                                                        \
  extern "C" {                                                                                                         \
  [[gnu::weak]] int NASDec_Quirks_##type(RtxContext*, Quirks_##type*);                                                 \
  [[gnu::weak]] int NASEnc_Quirks_##type(RtxContext*, Quirks_##type*);                                                 \
  [[gnu::weak]] int asn1PrtToStrm_Quirks_##type(RtxContext*, const char*, const Quirks_##type*);                       \
  [[gnu::weak]] int asn1Init_Quirks_##type(Quirks_##type*);                                                            \
  [[gnu::weak]] Quirks_##type* asn1Test_Quirks_##type(RtxContext*);                                                    \
  }                                                                                                                    \
  std::string operations##type()                                                                                       \
  {                                                                                                                    \
    std::string there;                                                                                                 \
    if (NASDec_Quirks_##type) there += "decode ";                                                                      \
    if (NASEnc_Quirks_##type) there += "encode ";                                                                      \
    if (asn1PrtToStrm_Quirks_##type) there += "print ";                                                                \
    if (asn1Init_Quirks_##type) there += "init ";                                                                      \
    if (asn1Test_Quirks_##type) there += "sample ";                                                                    \
    return there;                                                                                                      \
  }
QUIRKS_OPERATIONS(Plain)
QUIRKS_OPERATIONS(NoEncoder)
QUIRKS_OPERATIONS(NoPrinter)
QUIRKS_OPERATIONS(NoInit)
QUIRKS_OPERATIONS(NoSample)
QUIRKS_OPERATIONS(Plain_octet3)
QUIRKS_OPERATIONS(Plain_octet4)

TEST(Quirks, WordsTakeAndGiveOperations)
{
  EXPECT_EQ(operationsPlain(), "decode encode print init sample ");
  EXPECT_EQ(operationsNoEncoder(), "decode print init sample ");
  EXPECT_EQ(operationsNoPrinter(), "decode encode init sample ");
  EXPECT_EQ(operationsNoInit(), "decode encode print sample ");
  EXPECT_EQ(operationsNoSample(), "decode encode print init ");
  EXPECT_EQ(operationsPlain_octet3(), "decode encode print init ");
  EXPECT_EQ(operationsPlain_octet4(), "decode encode print init sample ");
}

// What follows a locking shift belongs to another codeset: the element is passed over, and nobody need understand what
// is unknown. A non-locking shift covers one element of a tail and none of a loop; a shift down changes nothing.
TEST(Quirks, ShiftsMoveToOtherCodesets)
{
  const struct {
    Octets octets;
    bool bentOne, plainOne;
    int bent, plain;
  } cases[] = {
      {{0x21, 1, 9}, true, true, 0, 0},
      {{0x95, 0x21, 1, 9}, false, true, 0, 0},
      {{0x95, 0x90, 0x21, 1, 9}, false, true, 0, 0},
      {{0x9D, 0x21, 1, 9}, true, true, 0, 0},
      {{0x10, 1, 9}, false, false, RTX_E_UNKNOWN_IE, RTX_E_UNKNOWN_IE},
      {{0x95, 0x10, 1, 9}, false, false, 0, RTX_E_UNKNOWN_IE},
  };
  Quirks_Shifted shifted;
  Quirks_Unshifted unshifted;
  for (auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.octets));
    EXPECT_EQ(NASDec_Quirks_Shifted(Bench(c.octets), &shifted), c.bent);
    EXPECT_EQ(NASDec_Quirks_Unshifted(Bench(c.octets), &unshifted), c.plain);
    EXPECT_EQ(shifted.m.onePresent, c.bentOne);
    EXPECT_EQ(unshifted.m.onePresent, c.plainOne);
  }
  Quirks_ShiftedTail bent;
  Quirks_UnshiftedTail plain;
  for (uint8_t shift : {0x95, 0x9D}) {
    EXPECT_EQ(NASDec_Quirks_ShiftedTail(Bench({shift, 0x07, 1, 9}), &bent), 0);
    EXPECT_EQ(NASDec_Quirks_UnshiftedTail(Bench({shift, 0x07, 1, 9}), &plain), RTX_E_NOT_SUPPORTED);
  }
}

} // namespace
