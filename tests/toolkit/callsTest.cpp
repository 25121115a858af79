// Guards: what each coding helper gives for good and bad input, how far it moves and what it leaves in its caller's
// memory. Every line of calls.txt is one call; tests/calls.h says how to read it.
#include "tests/calls.h"
#include "tests/outcome.h"
#include "velnor3gpp/rtBCD.h"
#include "velnor3gpp/rtx3GPP.h"
#include "velnor3gpp/rtxContainer.h"
#include "velnor3gpp/rtxEnum.h"
#include "velnor3gpp/rtxTBCD.h"

namespace {

using calls::failure;

// The frequency short list's selector: 0, 100, 101, 110, 111 (TS 44.018, 10.5.2.14).
constexpr Rtx3gppAltDetmntNode kShortList[] = {
    {0, 0, 0, 1, 0}, {0, 2, 0, 3, 0}, {0, 0, 0x80000000, 0, 0xA0000000}, {0, 0, 0xC0000000, 0, 0xE0000000}};
// Trees that end in a refusal, go on from their last node, lead outside, and tell a bit that equals the padding.
constexpr Rtx3gppAltDetmntNode kRefused[] = {{0, -1, 0, 0, 0}}, kLoop[] = {{0, 1, 0, 0, 0}, {0, 1, 0, 0, 0}},
                               kOutside[] = {{0, 7, 0, 0, 0}, {0, 0, 0, 0, 0}}, kRelative[] = {{1, 0, 10, 0, 20}};
// Names that are prefixes of each other, so that length decides, in the order of octets.
constexpr RtxEnumItem kNames[] = {{"A", 4, 1, 4}, {"a", -7, 1, 1}, {"ab", 0, 2, 3}, {"abc", -1, 3, 0}, {"b", -9, 1, 2}};
constexpr RtxEnumItemU32 kUnsigned[] = {{"high", 0xFFFFFFFFU, 4, 1}, {"low", 0, 3, 0}};
constexpr RtxBigEnumItem kBig[] = {{"x", INT64_MIN, 1}, {"y", 5, 1}};
constexpr RtxNumRange kRanges[] = {{-5, -3}, {0, 0}, {2, 4}, {9, 9}};
constexpr RtxNumRange64 kRanges64[] = {{-5, -3}, {0, 0}, {2, 4}, {9, 9}};
constexpr RtxNumRangeU32 kTop[] = {{0x80000000U, UINT32_MAX}};
constexpr RtxNumRangeU64 kTop64[] = {{UINT64_C(1) << 63, UINT64_MAX}};

const calls::Names kValues = {{"shortList", kShortList}, {"refused", kRefused},   {"loop", kLoop},
                              {"outside", kOutside},     {"relative", kRelative}, {"names", kNames},
                              {"unsigned", kUnsigned},   {"big", kBig},           {"ranges", kRanges},
                              {"ranges64", kRanges64},   {"top", kTop},           {"top64", kTop64}};

// What a function gives in the system's memory, which is its caller's to free.
template <char* (*function)(const uint8_t*)> std::string owned(const uint8_t* octets)
{
  std::unique_ptr<char, decltype(&free)> text(function(octets), free);
  return text ? calls::quoted(text.get()) : "null";
}

template <class Value> std::string held(int status, const Value& value)
{
  return std::to_string(status) + (status > 0 ? " " + hexText(Octets(value.data, value.data + value.numocts)) : "");
}

std::string dynBCD(RtxContext* pctxt, const char* digits)
{
  RtxDynOctStr value = {};
  return held(rtStringToDynBCD(pctxt, digits, &value), value);
}

std::string dynBCD64(RtxContext* pctxt, const char* digits)
{
  RtxDynOctStr64 value = {};
  return held(rtStringToDynBCD64(pctxt, digits, &value, 0), value);
}

const calls::Functions kFunctions = {
    // selectors, counters, identities and tails
    CALL(rtx3GPPDecAltDetmnt), CALL(rtx3GPPEncAltDetmnt), CALL(rtx3GPPDecVarAltDetmnt), CALL(rtx3GPPDecIntAsBits),
    CALL(rtx3GPPEncIntAsBits), CALL(rtx3GPPDecIntAsBitsPattern), CALL(rtx3GPPEncIntAsBitsPattern),
    CALL(rtx3GPPEnc_MCC_MNC), CALL(rtx3GPPDec_MCC_MNC), CALL(rtx3GPPEncMobileIdentityType1),
    CALL(rtx3GPPDecMobileIdentityType1), CALL(rtx3GPPEncGSMCharStr), CALL(rtx3GPPDecGSMCharStr),
    CALL(rtx3GPPDecL3NonImperative), CALL(rtxCtxtPushContainerBits), CALL(rtxDiagCtxtBitFieldListInit), CALL(traceOf),
    CALL(failure),
    // digits
    CALL(rtStringToTBCD), CALL(rtTBCDToString), CALL(rtxTBCDBinToChar), CALL(rtxTBCDCharToBin),
    CALL(rtxEncQ825TBCDString), CALL(rtxDecQ825TBCDString), CALL(rtxQ825TBCDToString), CALL(rtStringToBCD),
    CALL(rtBCDToString), CALL(dynBCD), CALL(dynBCD64), CALL(rtStringToPLMNidentity), CALL(rtStringToPGWPLMNidentity),
    CALL(owned<rtGetMCCFromPLMNidentity>), CALL(owned<rtGetMNCFromPLMNidentity>),
    CALL(owned<rtGetMNCFromPGWPLMNidentity>),
    // enumerations
    CALL(rtxLookupEnum), CALL(rtxLookupEnumByValue), CALL(rtxLookupEnumU32), CALL(rtxLookupEnumU32ByValue),
    CALL(rtxLookupBigEnum), CALL(rtxLookupBigEnumByValue), CALL(rtxTestNumericEnum), CALL(rtxTestNumericEnumU32),
    CALL(rtxTestNumericEnum64), CALL(rtxTestNumericEnumU64)};

TEST(Toolkit, CallsGiveWhatTheirLinesSay)
{
  calls::check("calls.txt", kFunctions, kValues);
}

TEST(Toolkit, NumbersNeedATarget)
{
  Bench bench;
  EXPECT_EQ(rtStringToDynBCD64(&bench, "1", nullptr, 0), RTX_E_BAD_PARAMETER);
}

} // namespace
