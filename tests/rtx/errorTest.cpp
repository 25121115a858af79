// Promises: one failure makes one record with its places and its deepest path, and the record says so in words.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <functional>
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

const uint16_t kWide[] = {'A', 0xE9, 0x20AC, 0xD83D, 0xDE00, 0xD83D, 0};

TEST_F(Error, TakesFiveParametersOfEveryKind)
{
  Octets octets{'w', 'x', 'y', 'z'};
  ctxt.bind(octets);
  ctxt.buffer.byteIndex = 2;
  const std::pair<const char*, std::function<void()>> rows[] = {
      {"-2147483648", [&] { rtxErrAddIntParm(&ctxt, INT32_MIN); }},
      {"4294967295", [&] { rtxErrAddUIntParm(&ctxt, UINT32_MAX); }},
      {"-9223372036854775808", [&] { rtxErrAddInt64Parm(&ctxt, INT64_MIN); }},
      {"18446744073709551615", [&] { rtxErrAddUInt64Parm(&ctxt, UINT64_MAX); }},
      {"-5.000000E-01", [&] { rtxErrAddDoubleParm(&ctxt, -0.5); }},
      {"12", [&] { rtxErrAddSizeParm(&ctxt, 12); }},
      {"(null)", [&] { rtxErrAddStrParm(&ctxt, nullptr); }},
      {"ab", [&] { rtxErrAddStrnParm(&ctxt, "abc", 2); }},
      {"abc (null)", [&] { rtxErrAddStrnParm(&ctxt, "abc", 9), rtxErrAddStrnParm(&ctxt, nullptr, 3); }},
      {"A\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80?", [&] { rtxErrAddUniStrParm(&ctxt, kWide); }},
      {" ?", [&] { rtxErrAddUniStrParm(&ctxt, nullptr), rtxErrAddElemNameParm(&ctxt); }},
      {"yz", [&] { rtxErrAddCtxtBufParm(&ctxt); }}, // no further than the buffer's end
  };
  for (const auto& [expected, add] : rows) {
    add();
    EXPECT_EQ(words(RTX_E_READ), std::string("Read error ") + expected);
  }
  for (int i = 1; i < 9; i++) EXPECT_EQ(rtxErrAddIntParm(&ctxt, i), i < 6);
  EXPECT_EQ("Read error 1 2 3 4 5", words(RTX_E_READ));
  EXPECT_EQ("Element with identifier 300 is an invalid option in choice", words(rtxErrInvUIntOpt(&ctxt, 300)));
  rtxErrReset(&ctxt);
  for (int parms : {2, 1}) { // The first report passes through both ways; then each level names its element anew.
    EXPECT_EQ(RTX_E_TOO_BIG, rtxErrSetData(&ctxt, RTX_E_TOO_BIG, "m", 1));
    EXPECT_EQ(parms, ctxt.lastError()->parmcount);
  }
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
