// What a quirk word bends, beside the plain case: one test for each word, on types of the library or of quirks.l3.
#include <gtest/gtest.h>

#include <cstring>

#include "L3Descriptors.h"
#include "rt3gppsrc/engine/l3Engine.h"
#include "tests/printed.h"
#include "velnor3gpp/Quirks.h"
#include "velnor3gpp/TS24007L3.h"
#include "velnor3gpp/TS24008IES.h"
#include "velnor3gpp/TS24011Msgs.h"
#include "velnor3gpp/TS24301IES.h"
#include "velnor3gpp/TS24301Msgs.h"
#include "velnor3gpp/TS24501IES.h"
#include "velnor3gpp/rtxContainer.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

// A context over octets, to decode or to encode into.
struct Bench {
  RtxContext ctxt;
  uint8_t octets[32] = {};
  explicit Bench(std::initializer_list<uint8_t> input)
  {
    rtxInitContext(&ctxt);
    std::copy(input.begin(), input.end(), octets);
    rtxCtxtSetBufPtr(&ctxt, octets, input.size());
  }
  explicit Bench(size_t capacity)
  {
    rtxInitContext(&ctxt);
    rtxCtxtSetBufPtr(&ctxt, octets, capacity);
  }
  ~Bench() { rtxFreeContext(&ctxt); }
  Bench(const Bench&) = delete;
  operator RtxContext*() { return &ctxt; }
  std::string failedAt() const
  {
    const RtxDListNode* node = ctxt.errInfo.head;
    const char* name = node ? static_cast<const RtxErrInfo*>(node->data)->elemName : nullptr;
    return name ? name : "";
  }
};

template <typename Value> std::string printedAs(const char* type, const Value& value)
{
  const L3TypeEntry* entry = l3FindType(type);
  return entry ? printed(*entry->type, "x", &value) : std::string("no type ") + type;
}

bool holds(const std::string& text, const char* part)
{
  return text.find(part) != std::string::npos;
}

TEST(Quirks, OpenDecodeTakesStrangeValues)
{
  TS24008IE_Signal open;
  Bench bent({9});
  EXPECT_EQ(NASDec_TS24008IE_Signal(bent, &open), 0);
  EXPECT_EQ(static_cast<int>(open), 9);
  EXPECT_STREQ(TS24008IE_Signal_ToString(open), "_UNKNOWN_");
  TS24008IE_RejectCauseValue closed;
  Bench plain({9});
  EXPECT_EQ(NASDec_TS24008IE_RejectCauseValue(plain, &closed), RTX_E_ENUM_VALUE);
}

// Open on decoding alone is closed on encoding.
TEST(Quirks, OpenEncodeWritesStrangeValues)
{
  Bench bent(8), plain(8);
  EXPECT_EQ(NASEnc_TS24008IE_TFTParamId(bent, static_cast<TS24008IE_TFTParamId>(9)), 0);
  EXPECT_EQ(bent.octets[0], 9);
  EXPECT_EQ(NASEnc_TS24008IE_Signal(plain, static_cast<TS24008IE_Signal>(9)), RTX_E_ENUM_VALUE);
}

// One cause octet, then an element that nobody knows.
TEST(Quirks, NoTailLeavesWhatFollows)
{
  Bench bent({17, 0x5C, 0x01, 0x00}), plain({17, 0x5C, 0x01, 0x00});
  TS24011Msg_CPERROR error;
  EXPECT_EQ(NASDec_TS24011Msg_CPERROR(bent, &error), 0);
  EXPECT_EQ(rtxCtxtGetBitOffset(bent), 8U);
  TS24301Msg_EMMStatus status;
  NASDec_TS24301Msg_EMMStatus(plain, &status);
  EXPECT_EQ(rtxCtxtGetBitOffset(plain), 32U);
}

// A changed selector changes the meaning of an untagged union; a tag stays as it was.
TEST(Quirks, UntaggedChoiceIsToldByItsField)
{
  Bench bent({0x11, 0xF1, 0x80, 0x00}), plain({5, 1, 10, 0, 0, 1});
  TS24008IE_MSRACapValuePartStruct untagged;
  ASSERT_EQ(NASDec_TS24008IE_MSRACapValuePartStruct(bent, &untagged), 0);
  EXPECT_TRUE(holds(printedAs("TS24008IE_MSRACapValuePartStruct", untagged), "accessCapability {"));
  memset(&untagged.accessCapOrTech, 0, sizeof untagged.accessCapOrTech);
  untagged.accessTechType = 15;
  EXPECT_TRUE(holds(printedAs("TS24008IE_MSRACapValuePartStruct", untagged), "additionalAccessTech {"));
  TS24501IE_N3IWFAddress tagged;
  ASSERT_EQ(NASDec_TS24501IE_N3IWFAddress(plain, &tagged), 0);
  tagged.type = TS24501IE_N3IWFAddressTypes(2);
  EXPECT_TRUE(holds(printedAs("TS24501IE_N3IWFAddress", tagged), "entryIpv4 = "));
}

// Both end exactly behind a release group.
TEST(Quirks, EarlyReturnLeavesRegionAndName)
{
  Bench bent({0x27, 0x18, 0x01, 0x00}), plain({7, 0, 0, 0, 0, 0, 0, 0});
  TS24008IE_AccessCapability capability;
  ASSERT_EQ(NASDec_TS24008IE_AccessCapability(bent, &capability), 0);
  EXPECT_TRUE(capability.m.release4Present);
  EXPECT_EQ(bent.ctxt.containerStack.dlist.count, 1U);
  ASSERT_EQ(bent.ctxt.elemNameStack.count, 1U);
  EXPECT_STREQ(static_cast<const char*>(bent.ctxt.elemNameStack.head->data), "AccessCapability");
  TS24008IE_MobileStationClassmark3 classmark;
  ASSERT_EQ(NASDec_TS24008IE_MobileStationClassmark3(plain, &classmark), 0);
  EXPECT_TRUE(classmark.m.release10Present);
  EXPECT_EQ(plain.ctxt.containerStack.dlist.count + plain.ctxt.elemNameStack.count, 0U);
}

TEST(Quirks, HyphenEncodeTellsTheCodersApart)
{
  Bench decoding({}), encoding(size_t{0});
  TS24007L3_MsgType_MM_CC_SS bent = {};
  EXPECT_EQ(NASDec_TS24007L3_MsgType_MM_CC_SS(decoding, &bent), RTX_E_END_OF_BUFFER);
  EXPECT_EQ(NASEnc_TS24007L3_MsgType_MM_CC_SS(encoding, &bent), RTX_E_ENCODE_OVERFLOW);
  EXPECT_EQ(decoding.failedAt(), "MsgType_MM_CC_SS.sendSeqNum");
  EXPECT_EQ(encoding.failedAt(), "MsgType-MM-CC-SS.sendSeqNum");
  Bench plainEncoding(size_t{0});
  TS24008IE_Cause_octet3 plain = {};
  EXPECT_EQ(NASEnc_TS24008IE_Cause_octet3(plainEncoding, &plain), RTX_E_ENCODE_OVERFLOW);
  EXPECT_EQ(plainEncoding.failedAt().substr(0, 13), "Cause_octet3.");
}

// The name of the function is the bend; what it does is what the table's printer does.
TEST(Quirks, NullSuffixNamesAPrinter)
{
  TS24301Msg_RemoteUEReportResp none = {};
  char text[64] = {};
  RtxPrintToStringBuffer sink = {text, sizeof text, 0};
  Bench bench({});
  rtxSetPrintStream(bench, rtxPrintStreamToStringCB, &sink);
  EXPECT_EQ(asn1PrtToStrm_TS24301Msg_RemoteUEReportResp_(bench, "x", &none), 0);
  EXPECT_EQ(std::string(text, sink.curPos), "x = <null>\n");
  EXPECT_EQ(printedAs("TS24301Msg_RemoteUEReportResp", none), "x = <null>\n");
}

TEST(Quirks, NoDecoderLeavesEncoderAndPrinter)
{
  for (const char* name : {"TS24301IE_PartialTrkAreaIdent0", "TS24301IE_PartialTrkAreaIdent1",
                           "TS24301IE_PartialTrkAreaIdent2", "TS24301IE_TrackingAreaIdent"}) {
    const L3TypeEntry* entry = l3FindType(name);
    ASSERT_NE(entry, nullptr) << name;
    EXPECT_EQ(entry->decode != nullptr, std::string(name) == "TS24301IE_TrackingAreaIdent");
    EXPECT_TRUE(entry->encode && entry->print) << name;
  }
}

// Two members, one name in print and path: which of them is there is told by the type of address.
TEST(Quirks, NameAsIsPrintedForTheMember)
{
  TS24301IE_RemoteUECtxt context = {};
  context.addrType = TS24301IE_RemoteUEAddrType(1);
  context.addrInfoIpv4[0] = 10;
  std::string text = printedAs("TS24301IE_RemoteUECtxt", context);
  EXPECT_TRUE(holds(text, " addrInfo = 0x0a")) << text;
  EXPECT_TRUE(holds(text, " numUserIdents = 0")) << text; // the member's own name
  context.addrType = TS24301IE_RemoteUEAddrType(2);
  context.addrInfoIpv6[0] = 11;
  EXPECT_TRUE(holds(printedAs("TS24301IE_RemoteUECtxt", context), " addrInfo = 0x0b"));
}

// The same octets, and as many digits as the caller says.
TEST(Quirks, OctetsArgumentEndsTheString)
{
  for (size_t octets : {2, 3}) {
    Bench bent({0x21, 0x43, 0x65});
    TS24008IE_TBCDString text = nullptr;
    ASSERT_EQ(NASDec_TS24008IE_TBCDString(bent, &text, octets), 0);
    EXPECT_STREQ(text, octets == 2 ? "1234" : "123456");
    EXPECT_EQ(rtxCtxtGetBitOffset(bent), octets * 8);
  }
}

TEST(Quirks, SpareArgumentDropsTheLastSeptet)
{
  for (uint8_t spare : {0, 7}) {
    Bench bent({0x41, 0xE1, 0x90, 0x58, 0x34, 0x1E, 0x01});
    TS24008IE_GSMString text = nullptr;
    ASSERT_EQ(NASDec_TS24008IE_GSMString(bent, &text, 7, spare), 0);
    EXPECT_STREQ(text, spare ? "ABCDEFG" : "ABCDEFG@");
  }
}

// A length of 300 octets: whole, or cut to its low octet in octets and record.
TEST(Quirks, FullLengthIsNotCut)
{
  Bench bench({});
  uint8_t contents[300] = {}, octets[400] = {};
  Quirks_Whole bent = {0, {sizeof contents, contents}};
  Quirks_Cut plain = {0, {sizeof contents, contents}};
  rtxCtxtSetBufPtr(bench, octets, sizeof octets);
  ASSERT_EQ(NASEnc_Quirks_Whole(bench, &bent), 0);
  EXPECT_EQ(octets[0] << 8 | octets[1], 300);
  EXPECT_EQ(bent.length, 300);
  rtxCtxtSetBufPtr(bench, octets, sizeof octets);
  ASSERT_EQ(NASEnc_Quirks_Cut(bench, &plain), 0);
  EXPECT_EQ(octets[0] << 8 | octets[1], 300 & 0xFF);
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
  struct {
    std::initializer_list<uint8_t> octets;
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
  for (auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(std::vector<uint8_t>(c.octets)));
    Bench bent(c.octets), plain(c.octets);
    Quirks_Shifted shifted;
    Quirks_Unshifted unshifted;
    EXPECT_EQ(NASDec_Quirks_Shifted(bent, &shifted), c.bent);
    EXPECT_EQ(NASDec_Quirks_Unshifted(plain, &unshifted), c.plain);
    EXPECT_EQ(shifted.m.onePresent, c.bentOne);
    EXPECT_EQ(unshifted.m.onePresent, c.plainOne);
  }
  for (std::initializer_list<uint8_t> tail : {std::initializer_list<uint8_t>{0x95, 0x07, 1, 9}, {0x9D, 0x07, 1, 9}}) {
    Bench bent(tail), plain(tail);
    Quirks_ShiftedTail shifted;
    Quirks_UnshiftedTail unshifted;
    EXPECT_EQ(NASDec_Quirks_ShiftedTail(bent, &shifted), 0);
    EXPECT_EQ(NASDec_Quirks_UnshiftedTail(plain, &unshifted), RTX_E_NOT_SUPPORTED);
  }
}

} // namespace
