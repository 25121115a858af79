// What a quirk word bends, beside the plain case: one test for each word that a definition uses.
#include <gtest/gtest.h>

#include <cstring>

#include "rt3gppsrc/engine/l3Engine.h"
#include "tests/printed.h"
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

} // namespace
