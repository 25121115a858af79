// Promises: one failure makes one record with its places and its deepest path, and the record says so in words.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>

#include "bench.h"
#include "velnor3gpp/rtContext.h"
#include "velnor3gpp/rtxStatus.h"
#include "velnor3gpp/rtxStrings.h"

namespace {

struct Error : testing::Test {
  Bench ctxt;
  void SetUp() override { rtFreeContext(rtNewContext()); } // which adds the messages of the upper layer
  // What the last record says; of the status with the parameters that were added before.
  std::string lastWords(size_t room = 300)
  {
    auto text = std::make_unique<char[]>(room); // of its exact size, so that a checked run sees a write past it
    strncpy(text.get(), "untouched", room - 1);
    return rtxErrFmtMsg(ctxt.lastError(), text.get(), room);
  }
  std::string words(int status)
  {
    rtxErrSetNewData(&ctxt, status, "m", 1);
    return lastWords();
  }
};

TEST_F(Error, OneFailureKeepsOneRecordAndFatalOnesAddUp)
{
  rtxErrSetNonFatal(&ctxt);
  EXPECT_EQ(0, rtxErrGetStatus(&ctxt) + rtxErrCheckNonFatal(&ctxt) + rtxErrGetLastError(&ctxt));
  for (const char* name : {"Msg", "a", "b"}) rtxCtxtPushElemName(&ctxt, name);
  for (const char* module : {static_cast<const char*>(nullptr), ""}) rtxErrSetData(&ctxt, RTX_E_CONSTRAINT, module, 9);
  for (int level = 1; level <= 9; level++) {
    EXPECT_EQ(RTX_E_CONSTRAINT, rtxErrSetData(&ctxt, RTX_E_CONSTRAINT, "module", level));
    rtxCtxtPopElemName(&ctxt);
  }
  ASSERT_EQ(1U, rtxErrGetErrorCnt(&ctxt));
  EXPECT_EQ(8, ctxt.lastError()->stkx);
  EXPECT_EQ(8U, ctxt.lastError()->stack[7].line);
  EXPECT_STREQ("Msg.a.b", ctxt.lastError()->elemName);

  rtxErrSetNonFatal(&ctxt);
  EXPECT_EQ(RTX_E_CONSTRAINT, rtxErrCheckNonFatal(&ctxt));
  EXPECT_EQ(0, rtxErrSetData(&ctxt, RTX_E_CONSTRAINT, "m", 2)) << "joins the record that is not fatal";
  EXPECT_EQ(RTX_E_UNKNOWN_IE, rtxErrSetData(&ctxt, RTX_E_UNKNOWN_IE, "m", 3));
  EXPECT_EQ(RTX_E_MULTIPLE, rtxErrCheckNonFatal(&ctxt));
  EXPECT_EQ(RTX_E_MULTIPLE, rtxErrSetNewData(&ctxt, RTX_E_UNKNOWN_IE, "m", 4)) << "the same status, but two failures";
  EXPECT_EQ(RTX_E_CONSTRAINT, rtxErrGetFirstError(&ctxt));
  EXPECT_EQ(RTX_E_UNKNOWN_IE, rtxErrGetLastError(&ctxt));
  rtxErrResetLastErrors(&ctxt, 1);
  EXPECT_EQ(RTX_E_UNKNOWN_IE, rtxErrGetStatus(&ctxt));
  rtxErrResetLastErrors(&ctxt, 5);
  EXPECT_EQ(0U, rtxErrGetErrorCnt(&ctxt));
  rtxCtxtPushTypeName(&ctxt, "Msg");
  ctxt.flags |= RTX_FLAG_CLOSING;
  rtxErrSetData(&ctxt, RTX_E_GENERAL, "m", 1);
  EXPECT_EQ(0, ctxt.lastError()->stkx) << "no place nor path once the context closes";
  EXPECT_EQ(nullptr, ctxt.lastError()->elemName);
}

TEST_F(Error, TakesFiveParametersOfEveryKind)
{
  const uint16_t wide[] = {'A', 0xE9, 0x20AC, 0xD83D, 0xDE00, 0xD83D, 0};
  Octets octets{'w', 'x', 'y', 'z'};
  EXPECT_EQ(1, rtxErrAddIntParm(&ctxt, INT32_MIN));
  EXPECT_EQ(1, rtxErrAddUIntParm(&ctxt, UINT32_MAX));
  EXPECT_EQ(1, rtxErrAddInt64Parm(&ctxt, INT64_MIN));
  EXPECT_EQ(1, rtxErrAddUInt64Parm(&ctxt, UINT64_MAX));
  EXPECT_EQ(1, rtxErrAddDoubleParm(&ctxt, -0.5));
  EXPECT_EQ(0, rtxErrAddStrParm(&ctxt, "sixth") + rtxErrAddStrnParm(&ctxt, "sixth", 2));
  EXPECT_EQ(0, rtxErrAddUniStrParm(&ctxt, wide) + rtxErrAddElemNameParm(&ctxt));
  EXPECT_EQ("Read error -2147483648 4294967295 -9223372036854775808 18446744073709551615 -5.000000E-01",
            words(RTX_E_READ));
  rtxErrAddSizeParm(&ctxt, 12);
  rtxErrAddStrParm(&ctxt, nullptr);
  rtxErrAddStrnParm(&ctxt, "abc", 2);
  rtxErrAddStrnParm(&ctxt, "abc", 200);
  rtxErrAddStrnParm(&ctxt, nullptr, 3);
  EXPECT_EQ("Read error 12 (null) ab abc (null)", words(RTX_E_READ));
  rtxErrAddUniStrParm(&ctxt, wide);
  rtxErrAddUniStrParm(&ctxt, nullptr);
  rtxErrAddElemNameParm(&ctxt);
  EXPECT_EQ("Read error A\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80?  ?", words(RTX_E_READ));
  rtxErrAddCtxtBufParm(&ctxt);
  for (size_t index : {2, 9}) {
    ctxt.bind(octets);
    ctxt.buffer.byteIndex = index;
    rtxErrAddCtxtBufParm(&ctxt);
  }
  EXPECT_EQ("Read error (null) yz ", words(RTX_E_READ)) << "no further than the buffer's end";
  EXPECT_EQ("Element with identifier 300 is an invalid option in choice", words(rtxErrInvUIntOpt(&ctxt, 300)));
  rtxErrReset(&ctxt);
  EXPECT_EQ(RTX_E_TOO_BIG, rtxErrSetData(&ctxt, RTX_E_TOO_BIG, "m", 1));
  EXPECT_EQ(2, ctxt.lastError()->parmcount) << "the first report passes through both ways";
  rtxErrSetData(&ctxt, RTX_E_TOO_BIG, "m", 2);
  EXPECT_EQ(1, ctxt.lastError()->parmcount) << "each level names its element anew";
}

TEST_F(Error, CopiesAreDeepAndFreedParametersStayFreed)
{
  Bench other;
  rtxErrSetData(&other, RTX_E_READ, "old", 1);
  rtxCtxtPushTypeName(&ctxt, "SomeLongerTypeName");
  rtxErrAddStrParm(&ctxt, "value");
  rtxErrSetData(&ctxt, RTX_E_CONSTRAINT, "m", 5);
  rtxErrSetNonFatal(&ctxt);
  rtxErrAddStrParm(&ctxt, "collected");
  ASSERT_EQ(0, rtxErrCopy(&other, &ctxt));
  rtxErrFreeParms(&ctxt);
  EXPECT_EQ(1U, rtxErrGetErrorCnt(&ctxt));
  EXPECT_EQ(0, rtxErrGetLastError(&ctxt) + ctxt.reservedErr.parmcount);
  char* texts[8]; // These take over the freed storage, which the reset must then leave alone.
  for (char*& text : texts) text = rtxStrdup(&ctxt, "0123456789ABCDEF");
  rtxErrReset(&ctxt);
  for (char* text : texts) EXPECT_EQ(1, rtxMemHeapCheckPtr(&ctxt.pMemHeap, text));
  EXPECT_EQ(RTX_E_CONSTRAINT, rtxErrGetStatus(&other)) << "a copy counts as fatal";
  EXPECT_STREQ("value", other.lastError()->parms[0]);
  EXPECT_EQ(5U, other.lastError()->stack[0].line);
  EXPECT_STREQ("collected", other.reservedErr.parms[0]);
  EXPECT_EQ(0, rtxErrAppend(&other, &other));
  EXPECT_EQ(2U, rtxErrGetErrorCnt(&other));
}

// Memory running out must itself be reported, any number of times, by the record that needs none.
TEST_F(Error, WithoutMemoryTheReservedRecordReports)
{
  for (int round = 0; round < 3; round++) {
    failing::allow(0);
    EXPECT_EQ(RTX_E_NO_MEMORY, rtxErrSetData(&ctxt, RTX_E_BAD_VALUE, "m", 1)) << "this failure itself is lost";
    EXPECT_EQ(0U, rtxErrGetErrorCnt(&ctxt));
    EXPECT_EQ(RTX_E_NO_MEMORY, rtxErrSetData(&ctxt, RTX_E_NO_MEMORY, "m", 2));
    EXPECT_EQ(RTX_E_NO_MEMORY, rtxErrSetNewData(&ctxt, RTX_E_NO_MEMORY, "m", 3));
    ASSERT_EQ(1U, rtxErrGetErrorCnt(&ctxt));
    char text[100];
    EXPECT_STREQ("ERROR: Status -10\nNo dynamic memory available\nStack trace:\n  Module: m Line 2\n",
                 rtxErrGetTextBuf(&ctxt, text, sizeof text));
    EXPECT_EQ(nullptr, rtxErrGetText(&ctxt, nullptr, nullptr));
    rtxErrLogUsingCB(
        &ctxt, [](const char* said, void*) { EXPECT_STREQ("ERROR : no memory available", said); }, nullptr);
    EXPECT_EQ(RTX_E_NO_MEMORY, rtxErrSetNewData(&ctxt, RTX_E_NO_MEMORY, "m", 4)) << "listed already";
    failing::allow(-1);
    if (round == 0) rtxErrSetNewData(&ctxt, RTX_E_READ, "m", 5); // One more behind the reserved record.
    EXPECT_EQ(round == 0 ? 2U : 1U, rtxErrGetErrorCnt(&ctxt));
    EXPECT_EQ(0, round == 1 ? rtxErrResetLastErrors(&ctxt, 1) : rtxErrReset(&ctxt));
    EXPECT_EQ(0U, rtxErrGetErrorCnt(&ctxt));
    rtxMemFree(&ctxt);
  }
}

TEST_F(Error, SaysEveryStatusAsWritten)
{
  std::ifstream file(VELNOR_TEST_DATA "/errorTexts.txt");
  for (std::string line, parm; std::getline(file, line); rtxErrReset(&ctxt)) {
    const size_t sign = line.find(" =");
    std::istringstream row(line.substr(0, sign));
    int status;
    if (!(row >> status)) continue;
    while (row >> parm) rtxErrAddStrParm(&ctxt, parm.c_str());
    EXPECT_EQ(line.substr(sign + 2), words(status).insert(0, words(status).empty() ? "" : " ")) << line;
  }
}

// Every status, with none to five parameters, cut at every size: the cut text is the start of the whole one.
TEST_F(Error, CutsEveryMessageWithinItsBuffer)
{
  for (int status = -1; status >= -121; status--)
    for (int parms = 0; parms <= 5 && status != RTX_E_MULTIPLE; parms++) {
      for (int i = 0; i < parms; i++) rtxErrAddStrParm(&ctxt, ("p" + std::to_string(i)).c_str());
      const std::string whole = words(status);
      EXPECT_EQ(std::string::npos, whole.find("%s"));
      const bool known = whole != "unrecognized completion status";
      for (int i = 0; i < parms && known; i++)
        EXPECT_NE(std::string::npos, whole.find("p" + std::to_string(i))) << status;
      for (size_t size = 1; size <= whole.size() + 2; size++) {
        const std::string part = lastWords(size);
        EXPECT_EQ(whole.substr(0, part.size()), part) << status;
        EXPECT_EQ(size > whole.size() + 1 ? whole : part, part) << "one octet to spare is enough";
      }
      rtxErrReset(&ctxt);
    }
  rtxErrAddStrParm(&ctxt, "12345");
  EXPECT_EQ("HTTP error: 12345", words(RTX_E_HTTP));
  EXPECT_EQ("HTTP error: ", lastWords(18)) << "17 characters would just fit";
}

const char* const kWhole = "ERROR: Status -16\nValue constraint violation: field f, value 1\nElement name: Msg.f\n"
                           "Stack trace:\n  Module: outer Line 2\n  Module: inner Line 1\n"
                           "ERROR: Status -43\nInvalid message buffer\nElement name: Msg.f\n";

TEST_F(Error, TextsShowTheOutermostPlaceFirstAndEndAtThePieceThatDoesNotFit)
{
  rtxCtxtPushTypeName(&ctxt, "Msg");
  rtxCtxtPushElemName(&ctxt, "f");
  rtxErrAddStrParm(&ctxt, "f");
  rtxErrAddIntParm(&ctxt, 1);
  rtxErrSetData(&ctxt, RTX_E_CONSTRAINT, "inner", 1);
  rtxErrSetData(&ctxt, RTX_E_CONSTRAINT, "outer", 2);
  rtxErrSetNewData(&ctxt, RTX_E_BAD_MESSAGE_BUFFER, nullptr, 3);
  const std::string whole = kWhole;
  size_t size = 0;
  EXPECT_EQ(whole, rtxErrGetText(&ctxt, nullptr, &size));
  EXPECT_EQ(200U + 400 + 25 + 200 + 25, size);
  for (size = 1; size <= whole.size() + 1; size++) {
    auto cut = std::make_unique<char[]>(size);
    const std::string part = rtxErrGetText(&ctxt, cut.get(), &size);
    EXPECT_EQ(whole.substr(0, part.size()), part);
    EXPECT_EQ(size == whole.size() + 1, part == whole);
    EXPECT_LT(strlen(rtxErrGetMsgTextBuf(&ctxt, cut.get(), size)), size);
  }
  char text[400];
  EXPECT_STREQ("", rtxErrGetTextBuf(&ctxt, text, 14));
  EXPECT_STREQ("ERROR: Status -16\n", rtxErrGetTextBuf(&ctxt, text, 20));
  for (auto get : {rtxErrGetTextBuf, rtxErrGetMsgTextBuf}) EXPECT_EQ(nullptr, get(&ctxt, text, 0));
  for (auto get : {rtxErrGetTextBuf, rtxErrGetMsgTextBuf}) EXPECT_EQ(nullptr, get(&ctxt, nullptr, 5));
  EXPECT_STREQ("Value constraint violation: field f, value 1\nInvalid message buffer\n",
               rtxErrGetMsgTextBuf(&ctxt, text, sizeof text));
  EXPECT_STREQ("Element: Msg.f\nValue constraint violation: field f, value 1\nElement: Msg.f\nInvalid message buffer",
               rtxErrGetMsgText(&ctxt));
  testing::internal::CaptureStdout();
  rtxErrPrint(&ctxt);
  std::string printed = testing::internal::GetCapturedStdout();
  for (const char* place : {"outer, L", "inner, L"}) printed.erase(printed.find(place) + 5, 1);
  EXPECT_EQ(whole, printed);
  EXPECT_EXIT(rtxErrAssertionFailed("x > 0", 5, "file"), testing::ExitedWithCode(255), "");
  std::string logged;
  rtxErrLogUsingCB(
      &ctxt, [](const char* said, void* arg) { *static_cast<std::string*>(arg) = said; }, &logged);
  EXPECT_EQ(whole, logged);
  EXPECT_EQ(0, rtxErrGetStatus(&ctxt));
}

TEST_F(Error, LongMessagesFitTheirHeapStringButNotTheScratch)
{
  char text[400];
  for (int i = 0; i < 5; i++) rtxErrAddStrParm(&ctxt, std::string(100, 'x').c_str());
  rtxErrSetData(&ctxt, RTX_E_NO_MEMORY, "m", 1);
  EXPECT_EQ(27U + 505, strlen(rtxErrGetMsgText(&ctxt)));
  rtxErrGetMsgTextBuf(&ctxt, text, sizeof text);
  EXPECT_EQ(27U + 101 + 1, strlen(text)) << "a second parameter would overrun the scratch of 200";
  rtxErrReset(&ctxt);
  EXPECT_STREQ("", rtxErrGetMsgText(&ctxt));
  EXPECT_STREQ("", rtxErrGetText(&ctxt, nullptr, nullptr));
}

// The tables are the process's own; these take ranges that nothing else uses.
TEST_F(Error, TakesFiveTablesOnce)
{
  static const char* const kRows[4][2] = {{"first of %s", nullptr}, {"second", ""}, {"third", ""}, {"sixth", ""}};
  for (int i = 0; i < 4; i++) EXPECT_EQ(i < 3, rtxErrAddErrorTableEntry(kRows[i], -1000 * i - 1000, -1000 * i - 1002));
  EXPECT_EQ(0, rtxErrAddErrorTableEntry(kRows[0], -1000, -1002));
  EXPECT_EQ("first of ?", words(-1000));
  for (int status : {-999, -1001, -1002}) EXPECT_EQ("unrecognized completion status", words(status)) << status;
}

} // namespace
