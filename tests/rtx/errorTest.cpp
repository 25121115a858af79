// Promises: one failure makes one record with its places and its deepest path, and the record says so in words.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>

#include "tests/bench.h"
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
  std::string logged()
  {
    std::string text;
    rtxErrLogUsingCB(
        &ctxt, [](const char* said, void* to) { *static_cast<std::string*>(to) = said; }, &text);
    return text;
  }
  std::string words(int status)
  {
    rtxErrSetNewData(&ctxt, status, "m", 1);
    return lastWords();
  }
};

TEST_F(Error, CopiesAreDeepAndFreedParametersStayFreed)
{
  Bench other;
  rtxMemHeapSetFlags(&other.pMemHeap, RT_MH_USE_SYSMEM);
  rtxErrSetData(&other, RTX_E_READ, "old", 1);
  rtxCtxtPushTypeName(&ctxt, "SomeLongerTypeName");
  rtxErrAddStrParm(&ctxt, "value");
  rtxErrSetData(&ctxt, RTX_E_CONSTRAINT, "m", 5);
  rtxErrSetNonFatal(&ctxt);
  rtxErrAddStrParm(&ctxt, "collected");
  failing::allow(2);
  EXPECT_EQ(RTX_E_NO_MEMORY, rtxErrAppend(&other, &ctxt));
  long allowed = 0; // A copy is whole or empty.
  for (; failing::allow(allowed), rtxErrCopy(&other, &ctxt) != 0; allowed++) EXPECT_EQ(0U, rtxErrGetErrorCnt(&other));
  EXPECT_GT(allowed, 3);
  failing::allow(-1);
  void* path = ctxt.lastError()->elemName;
  EXPECT_EQ(1, rtxMemHeapCheckPtr(&ctxt.pMemHeap, path));
  rtxErrFreeParms(&ctxt);
  EXPECT_EQ(0, rtxMemHeapCheckPtr(&ctxt.pMemHeap, path));
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
    for (int line : {2, 3}) EXPECT_EQ(RTX_E_NO_MEMORY, rtxErrSetNewData(&ctxt, RTX_E_NO_MEMORY, "m", line));
    char text[100];
    EXPECT_STREQ("ERROR: Status -10\nNo dynamic memory available\nStack trace:\n  Module: m Line 2\n",
                 rtxErrGetTextBuf(&ctxt, text, sizeof text));
    EXPECT_EQ(nullptr, rtxErrGetText(&ctxt, nullptr, nullptr));
    EXPECT_EQ("ERROR : no memory available", logged());
    EXPECT_EQ(RTX_E_NO_MEMORY, rtxErrSetNewData(&ctxt, RTX_E_NO_MEMORY, "m", 4)) << "listed already";
    failing::allow(-1);
    if (round == 0) rtxErrSetNewData(&ctxt, RTX_E_READ, "m", 5); // One more behind the reserved record.
    EXPECT_EQ(round == 0 ? 2U : 1U, rtxErrGetErrorCnt(&ctxt));
    EXPECT_EQ(0, round == 1 ? rtxErrResetLastErrors(&ctxt, 1) : rtxErrReset(&ctxt));
    EXPECT_EQ(0U, rtxErrGetErrorCnt(&ctxt));
    rtxMemFree(&ctxt);
  }
}

TEST_F(Error, TextsShowTheOutermostPlaceFirstAndEndAtThePieceThatDoesNotFit)
{
  const std::string whole = "ERROR: Status -16\nValue constraint violation: field f, value 1\nElement name: Msg.f\n"
                            "Stack trace:\n  Module: outer Line 2\n  Module: inner Line 1\n"
                            "ERROR: Status -43\nInvalid message buffer\nElement name: Msg.f\n";
  rtxCtxtPushTypeName(&ctxt, "Msg");
  rtxCtxtPushElemName(&ctxt, "f");
  rtxErrAddStrParm(&ctxt, "f");
  rtxErrAddIntParm(&ctxt, 1);
  rtxErrSetData(&ctxt, RTX_E_CONSTRAINT, "inner", 1);
  rtxErrSetData(&ctxt, RTX_E_CONSTRAINT, "outer", 2);
  rtxErrSetNewData(&ctxt, RTX_E_BAD_MESSAGE_BUFFER, nullptr, 3);
  size_t size = 0;
  EXPECT_EQ(whole, rtxErrGetText(&ctxt, nullptr, &size));
  EXPECT_EQ(200U + 400 + 25 + 200 + 25, size);
  for (size = 1; size <= whole.size() + 1; size++) {
    auto cut = std::make_unique<char[]>(size);
    const std::string part = rtxErrGetText(&ctxt, cut.get(), &size);
    EXPECT_EQ(whole.substr(0, part.size()), part);
    EXPECT_EQ(size == whole.size() + 1, part == whole);
    EXPECT_LT(strlen(rtxErrGetMsgTextBuf(&ctxt, cut.get(), size)), size);
    EXPECT_LT(lastWords(size).size(), size);
  }
  char text[400];
  EXPECT_STREQ("ERROR: Status -16\n", rtxErrGetTextBuf(&ctxt, text, 20));
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
  EXPECT_EQ(whole, logged());
  rtxErrReset(&ctxt);
  const std::string parm(100, 'x');
  for (int i = 0; i < 5; i++) rtxErrAddStrParm(&ctxt, parm.c_str());
  rtxErrSetNewData(&ctxt, RTX_E_READ, "m", 1);
  EXPECT_EQ("Read error " + parm + "\n", rtxErrGetMsgTextBuf(&ctxt, text, sizeof text)) << "two overrun the scratch";
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
