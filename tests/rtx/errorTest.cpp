// Promises: one failure makes one record with its places and its deepest path, and the record says so in words.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "tests/rtx/failingAllocator.h"
#include "velnor3gpp/rtContext.h"
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxDList.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxStrings.h"

namespace {

struct Error : testing::Test {
  RtxContext ctxt;
  void SetUp() override { ASSERT_EQ(0, rtInitContext(&ctxt)); }
  void TearDown() override { rtFreeContext(&ctxt); }
  RtxErrInfo* last() { return static_cast<RtxErrInfo*>(ctxt.errInfo.tail->data); }
  // The words of a status with the parameters that were added before.
  std::string words(int status)
  {
    rtxErrSetNewData(&ctxt, status, "m", 1);
    char text[300] = "untouched";
    return rtxErrFmtMsg(last(), text, sizeof text);
  }
};

TEST_F(Error, OneFailureKeepsOneRecordOnItsWayOut)
{
  EXPECT_EQ(0, rtxErrGetStatus(&ctxt));
  EXPECT_EQ(0, rtxErrCheckNonFatal(&ctxt));
  rtxErrSetNonFatal(&ctxt);
  rtxCtxtPushTypeName(&ctxt, "Msg");
  rtxCtxtPushElemName(&ctxt, "a");
  rtxCtxtPushElemName(&ctxt, "b");
  EXPECT_EQ(RTX_E_BAD_VALUE, rtxErrSetData(&ctxt, RTX_E_BAD_VALUE, nullptr, 7));
  EXPECT_EQ(RTX_E_BAD_VALUE, rtxErrSetData(&ctxt, RTX_E_BAD_VALUE, "", 8));
  for (int level = 1; level <= 9; level++) {
    EXPECT_EQ(RTX_E_BAD_VALUE, rtxErrSetData(&ctxt, RTX_E_BAD_VALUE, "module", level));
    rtxCtxtPopElemName(&ctxt);
  }
  ASSERT_EQ(1U, rtxErrGetErrorCnt(&ctxt));
  EXPECT_EQ(8, last()->stkx);
  EXPECT_EQ(1U, last()->stack[0].line);
  EXPECT_EQ(8U, last()->stack[7].line);
  EXPECT_STREQ("Msg.a.b", last()->elemName);
}

TEST_F(Error, FatalRecordsAddUp)
{
  rtxErrSetNewData(&ctxt, RTX_E_CONSTRAINT, "m", 1);
  rtxErrSetNonFatal(&ctxt);
  EXPECT_EQ(0, rtxErrGetStatus(&ctxt));
  EXPECT_EQ(RTX_E_CONSTRAINT, rtxErrCheckNonFatal(&ctxt));
  EXPECT_EQ(0, rtxErrSetData(&ctxt, RTX_E_CONSTRAINT, "m", 2)) << "joins the record that is not fatal";
  EXPECT_EQ(RTX_E_UNKNOWN_IE, rtxErrSetData(&ctxt, RTX_E_UNKNOWN_IE, "m", 3));
  EXPECT_EQ(RTX_E_MULTIPLE, rtxErrCheckNonFatal(&ctxt));
  EXPECT_EQ(RTX_E_MULTIPLE, rtxErrSetNewData(&ctxt, RTX_E_UNKNOWN_IE, "m", 4)) << "the same status, but two failures";
  EXPECT_EQ(3U, rtxErrGetErrorCnt(&ctxt));
  EXPECT_EQ(RTX_E_CONSTRAINT, rtxErrGetFirstError(&ctxt));
  EXPECT_EQ(RTX_E_UNKNOWN_IE, rtxErrGetLastError(&ctxt));
  rtxErrResetLastErrors(&ctxt, 1);
  EXPECT_EQ(RTX_E_UNKNOWN_IE, rtxErrGetStatus(&ctxt));
  rtxErrResetLastErrors(&ctxt, 5);
  EXPECT_EQ(0U, rtxErrGetErrorCnt(&ctxt));
  EXPECT_EQ(0, rtxErrGetLastError(&ctxt));
}

TEST_F(Error, NoPlaceNorPathOnceTheContextCloses)
{
  rtxCtxtPushTypeName(&ctxt, "Msg");
  ctxt.flags |= RTX_FLAG_CLOSING;
  rtxErrSetData(&ctxt, RTX_E_GENERAL, "m", 1);
  EXPECT_EQ(0, last()->stkx);
  EXPECT_EQ(nullptr, last()->elemName);
}

TEST_F(Error, TakesFiveParametersOfEveryKind)
{
  const uint16_t wide[] = {'A', 0xE9, 0x20AC, 0xD83D, 0xDE00, 0xD83D, 0};
  EXPECT_EQ(1, rtxErrAddIntParm(&ctxt, INT32_MIN));
  EXPECT_EQ(1, rtxErrAddUIntParm(&ctxt, UINT32_MAX));
  EXPECT_EQ(1, rtxErrAddInt64Parm(&ctxt, INT64_MIN));
  EXPECT_EQ(1, rtxErrAddUInt64Parm(&ctxt, UINT64_MAX));
  EXPECT_EQ(1, rtxErrAddDoubleParm(&ctxt, -0.5));
  EXPECT_EQ(0, rtxErrAddStrParm(&ctxt, "sixth"));
  EXPECT_EQ(0, rtxErrAddStrnParm(&ctxt, "sixth", 2));
  EXPECT_EQ(0, rtxErrAddUniStrParm(&ctxt, wide));
  EXPECT_EQ(
      "No dynamic memory available -2147483648 4294967295 -9223372036854775808 18446744073709551615 -5.000000E-01",
      words(RTX_E_NO_MEMORY));
  EXPECT_EQ(0, ctxt.reservedErr.parmcount);
  rtxErrAddSizeParm(&ctxt, 12);
  rtxErrAddStrParm(&ctxt, nullptr);
  rtxErrAddStrnParm(&ctxt, "abc", 2);
  rtxErrAddStrnParm(&ctxt, "abc", 200);
  rtxErrAddStrnParm(&ctxt, nullptr, 3);
  EXPECT_EQ("Read error 12 (null) ab abc (null)", words(RTX_E_READ));
  rtxErrAddUniStrParm(&ctxt, wide);
  rtxErrAddUniStrParm(&ctxt, nullptr);
  rtxErrAddElemNameParm(&ctxt);
  EXPECT_EQ("Write error A\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80?  ?", words(RTX_E_WRITE));
  EXPECT_EQ(RTX_E_INVALID_CHOICE, rtxErrInvUIntOpt(&ctxt, 300));
  EXPECT_EQ("Element with identifier 300 is an invalid option in choice", words(RTX_E_INVALID_CHOICE));
}

// The octets lie in an allocation of their exact size, so that a checked run sees a read past them.
TEST_F(Error, QuotesTheBufferNoFurtherThanItsEnd)
{
  auto octets = std::make_unique<uint8_t[]>(4);
  memcpy(octets.get(), "wxyz", 4);
  rtxErrAddCtxtBufParm(&ctxt);
  rtxCtxtSetBufPtr(&ctxt, octets.get(), 4);
  ctxt.buffer.byteIndex = 2;
  rtxErrAddCtxtBufParm(&ctxt);
  ctxt.buffer.byteIndex = 9;
  rtxErrAddCtxtBufParm(&ctxt);
  EXPECT_EQ("Read error (null) yz ", words(RTX_E_READ));
}

TEST_F(Error, AValueTooBigNamesItsElement)
{
  rtxCtxtPushTypeName(&ctxt, "Msg");
  rtxCtxtPushElemName(&ctxt, "width");
  EXPECT_EQ("Value will not fit in target variable: element 'Msg.width'", words(RTX_E_TOO_BIG));
  rtxErrSetData(&ctxt, RTX_E_TOO_BIG, "m", 2);
  EXPECT_EQ(1, last()->parmcount) << "each level names it anew";
  rtxErrReset(&ctxt);
  EXPECT_EQ(RTX_E_TOO_BIG, rtxErrSetData(&ctxt, RTX_E_TOO_BIG, "m", 1));
  EXPECT_EQ(2, last()->parmcount) << "the first report passes through both ways";
}

TEST_F(Error, FreedParametersStayFreed)
{
  rtxCtxtPushTypeName(&ctxt, "SomeLongerTypeName");
  rtxErrAddStrParm(&ctxt, "parameter");
  rtxErrSetData(&ctxt, RTX_E_CONSTRAINT, "m", 1);
  rtxErrAddStrParm(&ctxt, "collected");
  rtxErrFreeParms(&ctxt);
  EXPECT_EQ(1U, rtxErrGetErrorCnt(&ctxt));
  EXPECT_EQ(0, rtxErrGetLastError(&ctxt));
  EXPECT_EQ(0, ctxt.reservedErr.parmcount);
  char* texts[8]; // These take over the freed storage, which the reset must then leave alone.
  for (char*& text : texts) text = rtxStrdup(&ctxt, "0123456789ABCDEF");
  rtxErrReset(&ctxt);
  for (char* text : texts) EXPECT_EQ(1, rtxMemHeapCheckPtr(&ctxt.pMemHeap, text));
  EXPECT_EQ(RTX_E_GENERAL, rtxErrSetData(&ctxt, RTX_E_GENERAL, "m", 2));
}

TEST_F(Error, CopiesAreDeep)
{
  RtxContext other;
  ASSERT_EQ(0, rtxInitContext(&other));
  rtxErrSetData(&other, RTX_E_READ, "old", 1);
  rtxCtxtPushTypeName(&ctxt, "Msg");
  rtxErrAddStrParm(&ctxt, "value");
  rtxErrSetData(&ctxt, RTX_E_CONSTRAINT, "m", 5);
  rtxErrSetNonFatal(&ctxt);
  rtxErrAddStrParm(&ctxt, "collected");
  ASSERT_EQ(0, rtxErrCopy(&other, &ctxt));
  EXPECT_EQ(0, rtxErrCopy(&other, &other));
  rtxErrReset(&ctxt);
  ASSERT_EQ(1U, rtxErrGetErrorCnt(&other));
  EXPECT_EQ(RTX_E_CONSTRAINT, rtxErrGetStatus(&other)) << "a copy counts as fatal";
  const RtxErrInfo* rec = static_cast<RtxErrInfo*>(other.errInfo.head->data);
  EXPECT_STREQ("value", rec->parms[0]);
  EXPECT_STREQ("Msg", rec->elemName);
  EXPECT_EQ(5U, rec->stack[0].line);
  EXPECT_STREQ("collected", other.reservedErr.parms[0]);
  EXPECT_EQ(0, rtxErrAppend(&other, &other));
  EXPECT_EQ(2U, rtxErrGetErrorCnt(&other));
  rtxFreeContext(&other);
}

// Memory running out must itself be reported, any number of times, by the record that needs none.
TEST(ErrorWithoutMemory, IsReportedByTheReservedRecord)
{
  failing::setUp(0, false);
  RtxContext ctxt;
  ASSERT_EQ(0, rtxInitContextExt(&ctxt, failing::mallocFunc, failing::reallocFunc, failing::freeFunc));
  for (int round = 0; round < 3; round++) {
    failing::setUp(1, true);
    EXPECT_EQ(RTX_E_NO_MEMORY, rtxErrSetData(&ctxt, RTX_E_BAD_VALUE, "m", 1)) << "this failure itself is lost";
    EXPECT_EQ(0U, rtxErrGetErrorCnt(&ctxt));
    EXPECT_EQ(RTX_E_NO_MEMORY, rtxErrSetData(&ctxt, RTX_E_NO_MEMORY, "m", 2));
    EXPECT_EQ(RTX_E_NO_MEMORY, rtxErrSetNewData(&ctxt, RTX_E_NO_MEMORY, "m", 3));
    ASSERT_EQ(1U, rtxErrGetErrorCnt(&ctxt));
    EXPECT_EQ(&ctxt.reservedErr, ctxt.errInfo.head->data);
    EXPECT_EQ(1, ctxt.reservedErr.stkx) << "a round starts from nothing";
    char text[100];
    EXPECT_STREQ("ERROR: Status -10\nNo dynamic memory available\nStack trace:\n  Module: m Line 2\n",
                 rtxErrGetTextBuf(&ctxt, text, sizeof text));
    EXPECT_EQ(nullptr, rtxErrGetText(&ctxt, nullptr, nullptr));
    rtxErrLogUsingCB(
        &ctxt, [](const char* said, void*) { EXPECT_STREQ("ERROR : no memory available", said); }, nullptr);
    EXPECT_EQ(RTX_E_NO_MEMORY, rtxErrSetNewData(&ctxt, RTX_E_NO_MEMORY, "m", 4)) << "listed already";
    ASSERT_EQ(1U, rtxErrGetErrorCnt(&ctxt));
    failing::setUp(0, false);
    if (round == 0) rtxErrSetNewData(&ctxt, RTX_E_READ, "m", 5); // One more behind the reserved record.
    EXPECT_EQ(round == 0 ? 2U : 1U, rtxErrGetErrorCnt(&ctxt));
    EXPECT_EQ(0, round == 1 ? rtxErrResetLastErrors(&ctxt, 1) : rtxErrReset(&ctxt));
    EXPECT_EQ(0U, rtxErrGetErrorCnt(&ctxt));
    rtxMemFree(&ctxt);
  }
  rtxFreeContext(&ctxt);
  EXPECT_EQ(0, failing::inUse);
}

TEST_F(Error, SaysEveryStatusInWords)
{
  rtxErrAddStrParm(&ctxt, "Cause.causeValue");
  rtxErrAddIntParm(&ctxt, 200);
  EXPECT_EQ("Value constraint violation: field Cause.causeValue, value 200", words(RTX_E_CONSTRAINT));
  EXPECT_EQ("Value constraint violation: field ?, value ?", words(RTX_E_CONSTRAINT));
  rtxErrAddStrParm(&ctxt, "44");
  EXPECT_EQ("Unknown information element received, ID = %d 44", words(RTX_E_UNKNOWN_IE));
  EXPECT_EQ("Error returned from MBEDTLS function %d, status = %d", words(RTX_E_TLS));
  EXPECT_EQ("Error condition returned from XML parser:\n?", words(RTX_E_XML_PARSER));
  EXPECT_EQ("Decode \"?\" for element \"?.?\" failed", words(RTX_E_ELEMENT_DECODE));
  EXPECT_EQ("Invalid number of occurences of element ? (?)", words(RTX_E_OCCURRENCES));
  EXPECT_EQ("", words(RTX_E_UNNAMED_40));
  EXPECT_EQ("Operation was aborted as requested", words(RTX_E_ABORTED));
  EXPECT_EQ("Invalid object identifier", words(RTX_E_BAD_OID));
  EXPECT_EQ("Encoding has bad alignment", words(RTX_E_BAD_ALIGNMENT));
  EXPECT_EQ("Value is not correctly fragmented as required by encoding rules", words(RTX_E_FRAGMENTATION));
  EXPECT_EQ("untouched", words(RTX_E_MULTIPLE));
  EXPECT_EQ("normal completion status", words(0));
  for (int status : {-77, -84, -98, -99, -120, -198, -199, -200, -500, -32768})
    EXPECT_EQ("unrecognized completion status", words(status)) << status;
}

// Every status, with none to five parameters, cut at every size: the cut text is the start of the whole one.
TEST_F(Error, CutsEveryMessageWithinItsBuffer)
{
  for (int status = 0; status >= -121; status--)
    for (uint8_t parms = 0; parms <= 6; parms++) {
      if (status == RTX_E_MULTIPLE) continue;
      char values[6][3] = {"p0", "p1", "p2", "p3", "p4", "p5"};
      RtxErrInfo rec = {};
      rec.status = static_cast<int16_t>(status);
      rec.parmcount = parms;
      for (int i = 0; i < RTX_ERR_MAX_PARMS; i++) rec.parms[i] = values[i];
      char text[300];
      const std::string whole = rtxErrFmtMsg(&rec, text, sizeof text);
      EXPECT_EQ(std::string::npos, whole.find("%s"));
      if (whole != "unrecognized completion status" && status != 0) {
        EXPECT_EQ(std::min<int>(parms, RTX_ERR_MAX_PARMS), rec.parmcount);
        for (int i = 0; i < rec.parmcount; i++) EXPECT_NE(std::string::npos, whole.find(values[i])) << status;
      }
      for (size_t size = 1; size <= whole.size() + 2; size++) {
        auto cut = std::make_unique<char[]>(size);
        const std::string part = rtxErrFmtMsg(&rec, cut.get(), size);
        EXPECT_EQ(whole.substr(0, part.size()), part) << status;
        EXPECT_LE(part.size(), size - 1);
      }
    }
}

TEST_F(Error, DropsAParameterThatReachesTheLimit)
{
  rtxErrAddStrParm(&ctxt, "12345");
  rtxErrSetData(&ctxt, RTX_E_HTTP, "m", 1); // "HTTP error: %s"
  char text[40];
  EXPECT_STREQ("HTTP error: ", rtxErrFmtMsg(last(), text, 18)) << "17 characters would just fit";
  EXPECT_STREQ("HTTP error: 12345", rtxErrFmtMsg(last(), text, 19));
  EXPECT_EQ(nullptr, rtxErrFmtMsg(last(), text, 0));
  EXPECT_EQ(nullptr, rtxErrFmtMsg(last(), nullptr, 9));
  EXPECT_EQ(nullptr, rtxErrFmtMsg(nullptr, text, 9));
}

struct ErrorText : Error {
  const std::string whole = "ERROR: Status -16\nValue constraint violation: field f, value 1\nElement name: Msg.f\n"
                            "Stack trace:\n  Module: outer Line 2\n  Module: inner Line 1\n"
                            "ERROR: Status -43\nInvalid message buffer\nElement name: Msg.f\n";
  void SetUp() override
  {
    Error::SetUp();
    rtxCtxtPushTypeName(&ctxt, "Msg");
    rtxCtxtPushElemName(&ctxt, "f");
    rtxErrAddStrParm(&ctxt, "f");
    rtxErrAddIntParm(&ctxt, 1);
    rtxErrSetData(&ctxt, RTX_E_CONSTRAINT, "inner", 1);
    rtxErrSetData(&ctxt, RTX_E_CONSTRAINT, "outer", 2);
    rtxErrSetNewData(&ctxt, RTX_E_BAD_MESSAGE_BUFFER, nullptr, 3);
  }
};

TEST_F(ErrorText, ShowsTheOutermostPlaceFirst)
{
  size_t size = 0;
  EXPECT_EQ(whole, rtxErrGetText(&ctxt, nullptr, &size));
  EXPECT_EQ(200U + 400 + 25 + 200 + 25, size);
  std::string logged;
  rtxErrLogUsingCB(
      &ctxt, [](const char* said, void* arg) { *static_cast<std::string*>(arg) = said; }, &logged);
  EXPECT_EQ(whole, logged);
  EXPECT_EQ(2U, rtxErrGetErrorCnt(&ctxt));
  EXPECT_EQ(0, rtxErrGetStatus(&ctxt));
}

TEST_F(ErrorText, EndsAtTheFirstPieceThatDoesNotFit)
{
  char text[400];
  EXPECT_STREQ("", rtxErrGetTextBuf(&ctxt, text, 14));
  EXPECT_STREQ("ERROR: Status ", rtxErrGetTextBuf(&ctxt, text, 15));
  EXPECT_STREQ("ERROR: Status -16\n", rtxErrGetTextBuf(&ctxt, text, 20));
  for (size_t size = 1; size <= whole.size() + 1; size++) {
    auto cut = std::make_unique<char[]>(size);
    const std::string part = rtxErrGetText(&ctxt, cut.get(), &size);
    EXPECT_EQ(whole.substr(0, part.size()), part);
    EXPECT_EQ(size == whole.size() + 1, part == whole);
    rtxErrGetMsgTextBuf(&ctxt, cut.get(), size);
    EXPECT_LT(strlen(cut.get()), size);
  }
  EXPECT_EQ(nullptr, rtxErrGetTextBuf(&ctxt, text, 0));
  EXPECT_EQ(nullptr, rtxErrGetTextBuf(&ctxt, nullptr, 5));
  EXPECT_EQ(nullptr, rtxErrGetMsgTextBuf(&ctxt, text, 0));
  EXPECT_EQ(nullptr, rtxErrGetMsgTextBuf(&ctxt, nullptr, 5));
}

TEST_F(ErrorText, GivesTheMessagesAlone)
{
  char text[400];
  EXPECT_STREQ("Value constraint violation: field f, value 1\nInvalid message buffer\n",
               rtxErrGetMsgTextBuf(&ctxt, text, sizeof text));
  EXPECT_STREQ("Element: Msg.f\nValue constraint violation: field f, value 1\nElement: Msg.f\nInvalid message buffer",
               rtxErrGetMsgText(&ctxt));
  rtxErrReset(&ctxt);
  for (int i = 0; i < 5; i++) rtxErrAddStrParm(&ctxt, std::string(100, 'x').c_str());
  rtxErrSetData(&ctxt, RTX_E_NO_MEMORY, "m", 1);
  EXPECT_EQ(27U + 505, strlen(rtxErrGetMsgText(&ctxt))) << "the heap string has room for all of it";
  rtxErrGetMsgTextBuf(&ctxt, text, sizeof text);
  EXPECT_EQ(27U + 101 + 1, strlen(text)) << "a second parameter would overrun the scratch of 200";
  rtxErrReset(&ctxt);
  EXPECT_STREQ("", rtxErrGetMsgText(&ctxt));
  EXPECT_STREQ("", rtxErrGetText(&ctxt, nullptr, nullptr));
}

TEST_F(ErrorText, PrintsToTheStandardOutput)
{
  testing::internal::CaptureStdout();
  rtxErrPrint(&ctxt);
  EXPECT_EQ("ERROR: Status -16\nValue constraint violation: field f, value 1\nElement name: Msg.f\n"
            "Stack trace:\n  Module: outer, Line 2\n  Module: inner, Line 1\n"
            "ERROR: Status -43\nInvalid message buffer\nElement name: Msg.f\n",
            testing::internal::GetCapturedStdout());
  EXPECT_EXIT(rtxErrAssertionFailed("x > 0", 5, "file"), testing::ExitedWithCode(255), "");
}

// The tables are the process's own; these take ranges that nothing else uses.
TEST_F(Error, TakesFiveTablesOnce)
{
  static const char* const kRows[3][2] = {{"first of %s", nullptr}, {"second", ""}, {"third", ""}};
  EXPECT_EQ(1, rtxErrAddErrorTableEntry(kRows[0], -1000, -1002));
  EXPECT_EQ(0, rtxErrAddErrorTableEntry(kRows[0], -1000, -1002));
  EXPECT_EQ(1, rtxErrAddErrorTableEntry(kRows[1], -2000, -2002));
  EXPECT_EQ(1, rtxErrAddErrorTableEntry(kRows[2], -3000, -3002)) << "with the two of the library";
  static const char* const kSixth[1] = {"sixth"};
  EXPECT_EQ(0, rtxErrAddErrorTableEntry(kSixth, -4000, -4001));
  EXPECT_EQ("first of ?", words(-1000));
  EXPECT_EQ("unrecognized completion status", words(-1001)) << "a row without words";
  EXPECT_EQ("unrecognized completion status", words(-1002));
  EXPECT_EQ("unrecognized completion status", words(-999));
}

} // namespace
