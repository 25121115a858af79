// What a quirk word bends, beside the plain case, where octets do not show it: quirks.vec of tests/vectors has the
// rest. The types are those of quirks.l3.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include "L3Descriptors.h"
#include "tests/calls.h"
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
      {"Plain_octet4", ""},    {"Bounded", "asn1Init_"},  {"BoundedInit", ""}};
  for (auto& [type, missing] : kMissing)
    for (const std::string& kind : kKinds) {
      std::string name = kind + "Quirks_" + type;
      if (type == "NoSample" && kind == "asn1PrtToStrm_") name += "_"; // null-suffix
      EXPECT_EQ(dlsym(RTLD_DEFAULT, name.c_str()) == nullptr, kind == missing) << name;
    }
}

TEST(Quirks, AWalkedTypeHasNoDirectCoders)
{
  EXPECT_FALSE(l3_Quirks_Walked.decodeDirect || l3_Quirks_Walked.encodeDirect);
  EXPECT_TRUE(l3_Quirks_Direct.decodeDirect && l3_Quirks_Direct.encodeDirect);
}

TEST(Quirks, SettersReturnTheRecord)
{
  Quirks_Returned record = {};
  Quirks_Unshifted message = {};
  EXPECT_EQ(asn1SetTC_Quirks_Returned_obj_Unshifted(nullptr, &record, &message), &record);
  EXPECT_EQ(record.data.u.obj_Unshifted, &message);
  EXPECT_EQ(asn1SetTC_Quirks_Returned_obj_Empty(nullptr, &record), &record);
  EXPECT_EQ(record.data.t, 3U); // number-gaps
}

// Whether the one element is there.
std::string decoded(const L3Type* type, Octets octets)
{
  const L3TypeEntry entry = entryOf(*type);
  Decoding decoding(entry, octets);
  if (decoding.status < 0) return std::to_string(decoding.status);
  return decoding.text().find("one") != std::string::npos ? "with" : "without";
}

TEST(Quirks, ShiftsMoveToOtherCodesets)
{
  calls::check("calls.txt", {CALL(decoded)},
               {{"Shifted", &l3_Quirks_Shifted},
                {"Asked", &l3_Quirks_Asked},
                {"Unshifted", &l3_Quirks_Unshifted},
                {"ShiftedTail", &l3_Quirks_ShiftedTail},
                {"UnshiftedTail", &l3_Quirks_UnshiftedTail}});
}

} // namespace
