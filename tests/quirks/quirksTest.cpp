// What a quirk word bends, beside the plain case, where octets do not show it: quirks.vec of tests/vectors has the
// rest. The types are those of quirks.l3.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include "L3Descriptors.h"
#include "tests/outcome.h"
#include "velnor3gpp/Quirks.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

// A length of 300 octets: whole, or cut to its low octet in octets and record.
TEST(Quirks, FullLengthIsNotCut)
{
  Octets contents(300), octets(2 * 302);
  OutcomeContext ctxt;
  ctxt.bind(octets.data(), octets.size());
  Quirks_Whole bent = {0, {300, contents.data()}};
  Quirks_Cut plain = {0, {300, contents.data()}};
  ASSERT_EQ(NASEnc_Quirks_Whole(ctxt, &bent), 0);
  ASSERT_EQ(NASEnc_Quirks_Cut(ctxt, &plain), 0);
  EXPECT_EQ(octets[0] << 8 | octets[1], 300);
  EXPECT_EQ(octets[302] << 8 | octets[303], 300 & 0xFF);
  EXPECT_EQ(bent.length, 300);
  EXPECT_EQ(plain.length, 300 & 0xFF);
}

// Functions that the rule gives to a plain type and a word takes away, or gives against the rule.
TEST(Quirks, WordsTakeAndGiveFunctions)
{
  const std::string kKinds[] = {"NASDec_", "NASEnc_", "asn1PrtToStrm_", "asn1Init_", "asn1Test_"};
  const std::pair<std::string, std::string> kMissing[] = {
      {"Plain", ""},           {"NoEncoder", "NASEnc_"},  {"NoPrinter", "asn1PrtToStrm_"},
      {"NoInit", "asn1Init_"}, {"NoSample", "asn1Test_"}, {"Plain_octet3", "asn1Test_"},
      {"Plain_octet4", ""}};
  for (auto& [type, missing] : kMissing)
    for (const std::string& kind : kKinds) {
      std::string name = kind + "Quirks_" + type;
      EXPECT_EQ(dlsym(RTLD_DEFAULT, name.c_str()) == nullptr, kind == missing) << name;
    }
  EXPECT_TRUE(dlsym(RTLD_DEFAULT, "asn1PrtToStrm_TS24301Msg_RemoteUEReportResp_")); // null-suffix
}

// What follows a locking shift belongs to another codeset: the element is passed over, and nobody need understand what
// is unknown. A non-locking shift covers one element of a tail and none of a loop; a shift down changes nothing.
TEST(Quirks, ShiftsMoveToOtherCodesets)
{
  const struct {
    Octets octets;
    const L3Type &bent, &plain;
    int bentStatus, plainStatus;
    bool bentOne, plainOne; // is the element there?
  } kCases[] = {
      {{0x21, 1, 9}, l3_Quirks_Shifted, l3_Quirks_Unshifted, 0, 0, true, true},
      {{0x95, 0x21, 1, 9}, l3_Quirks_Shifted, l3_Quirks_Unshifted, 0, 0, false, true},
      {{0x95, 0x90, 0x21, 1, 9}, l3_Quirks_Shifted, l3_Quirks_Unshifted, 0, 0, false, true},
      {{0x9D, 0x21, 1, 9}, l3_Quirks_Shifted, l3_Quirks_Unshifted, 0, 0, true, true},
      {{0x10, 1, 9}, l3_Quirks_Shifted, l3_Quirks_Unshifted, RTX_E_UNKNOWN_IE, RTX_E_UNKNOWN_IE, false, false},
      {{0x95, 0x10, 1, 9}, l3_Quirks_Shifted, l3_Quirks_Unshifted, 0, RTX_E_UNKNOWN_IE, false, false},
      {{0x95, 0x07, 1, 9}, l3_Quirks_ShiftedTail, l3_Quirks_UnshiftedTail, 0, RTX_E_NOT_SUPPORTED, false, false},
      {{0x9D, 0x07, 1, 9}, l3_Quirks_ShiftedTail, l3_Quirks_UnshiftedTail, 0, RTX_E_NOT_SUPPORTED, false, false},
  };
  for (auto& tested : kCases)
    for (bool bends : {true, false}) {
      const L3TypeEntry entry = entryOf(bends ? tested.bent : tested.plain);
      SCOPED_TRACE(entry.type->fullName + (" " + hexText(tested.octets)));
      Decoding decoding(entry, tested.octets);
      EXPECT_EQ(decoding.status, bends ? tested.bentStatus : tested.plainStatus);
      if (decoding.status < 0) continue;
      EXPECT_EQ(decoding.text().find("one") != std::string::npos, bends ? tested.bentOne : tested.plainOne);
    }
}

} // namespace
