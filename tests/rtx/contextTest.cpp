// Promises: a context can be set up, run any number of jobs and ended, with nothing left over, also without memory.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "tests/rtx/failingAllocator.h"
#include "velnor3gpp/rtContext.h"
#include "velnor3gpp/rtxContainer.h"
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxDList.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxPrintStream.h"
#include "velnor3gpp/rtxStream.h"
#include "velnor3gpp/rtxStrings.h"

namespace {

struct Context : RtxContext {
  Context() { EXPECT_EQ(0, rtxInitContext(this)); }
  ~Context() { rtxFreeContext(this); }
  Context(const Context&) = delete;
};

std::string namesOf(const RtxContext& ctxt)
{
  std::string names;
  for (const RtxDListNode* node = ctxt.elemNameStack.head; node != nullptr; node = node->next)
    names += std::string(names.empty() ? "" : ".") + static_cast<const char*>(node->data);
  return names;
}

TEST(Context, LivesFromInitToFree)
{
  RtxContext ctxt = {};
  EXPECT_EQ(RTX_E_NO_CONTEXT, rtxCheckContext(&ctxt));
  EXPECT_EQ(RTX_E_NO_CONTEXT, rtxCheckContext(nullptr));
  memset(&ctxt, 0xA5, sizeof ctxt);
  ASSERT_EQ(0, rtxInitContext(&ctxt));
  EXPECT_EQ(0, rtxCheckContext(&ctxt));
  EXPECT_EQ(8, ctxt.buffer.bitOffset);
  EXPECT_EQ(0U, ctxt.flags);
  EXPECT_EQ(&ctxt, ctxt.containerStack.pctxt);
  rtxFreeContext(&ctxt);
  EXPECT_EQ(0U, ctxt.initCode);
  EXPECT_EQ(nullptr, ctxt.pMemHeap);
  rtFreeContext(&ctxt);
  rtFreeContext(nullptr);
}

TEST(Context, BindsTheCallersBufferOrMakesItsOwn)
{
  Context ctxt;
  uint8_t octets[4] = {};
  ctxt.buffer.byteIndex = 3;
  ctxt.buffer.bitOffset = 2;
  ASSERT_EQ(0, rtxInitContextBuffer(&ctxt, nullptr, 0));
  EXPECT_EQ(1024U, ctxt.buffer.size);
  EXPECT_EQ(0U, ctxt.buffer.byteIndex);
  EXPECT_EQ(8, ctxt.buffer.bitOffset);
  EXPECT_EQ(1, ctxt.buffer.dynamic);
  memset(ctxt.buffer.data, 1, 1024);
  ctxt.state = 7;
  ASSERT_EQ(0, rtxCtxtSetBufPtr(&ctxt, octets, sizeof octets));
  EXPECT_EQ(octets, ctxt.buffer.data);
  EXPECT_EQ(0, ctxt.buffer.dynamic);
  EXPECT_EQ(0, ctxt.state);
  EXPECT_EQ(RTX_FLAG_BUFFER_MODE, ctxt.flags);
}

TEST(Context, ReportsABufferBoundToADeadContext)
{
  RtxContext ctxt;
  rtxPreInitContext(&ctxt);
  ctxt.initCode = 0;
  uint8_t octet = 0;
  EXPECT_EQ(RTX_E_NO_CONTEXT, rtxCtxtSetBufPtr(&ctxt, &octet, 1));
  ASSERT_EQ(1U, rtxErrGetErrorCnt(&ctxt));
  EXPECT_EQ(2, static_cast<RtxErrInfo*>(ctxt.errInfo.head->data)->stkx);
  EXPECT_EQ(0U, ctxt.flags & RTX_FLAG_BUFFER_MODE);
  rtxFreeContext(&ctxt);
}

// A buffer under a stream must outlive a reset of the heap, and go back once whichever way it is given up.
TEST(Context, GivesABufferedStreamSystemMemory)
{
  for (int ending = 0; ending < 3; ending++) {
    failing::setUp(0, false);
    RtxContext ctxt;
    ASSERT_EQ(0, rtxInitContextExt(&ctxt, failing::mallocFunc, failing::reallocFunc, failing::freeFunc));
    ASSERT_EQ(0, rtxStreamInit(&ctxt));
    ctxt.pStream->flags = RTX_STREAM_CTXTBUF;
    ASSERT_EQ(0, rtxInitContextBuffer(&ctxt, nullptr, 43));
    EXPECT_NE(0U, ctxt.flags & RTX_FLAG_SYSMEM_BUFFER);
    rtxMemReset(&ctxt);
    memset(ctxt.buffer.data, 1, 43);
    uint8_t octet = 0;
    if (ending == 0) rtxMemFree(&ctxt);
    if (ending == 1) rtxCtxtSetBufPtr(&ctxt, &octet, 1);
    EXPECT_EQ(ending == 2, (ctxt.flags & RTX_FLAG_SYSMEM_BUFFER) != 0);
    rtxFreeContext(&ctxt);
    EXPECT_EQ(0, failing::inUse) << ending;
  }
}

TEST(Context, LeavesTheBufferToAStreamThatBringsItsOwn)
{
  Context ctxt;
  ASSERT_EQ(0, rtxStreamInit(&ctxt));
  ASSERT_EQ(0, rtxInitContextBuffer(&ctxt, nullptr, 9));
  EXPECT_EQ(nullptr, ctxt.buffer.data);
  EXPECT_EQ(9U, ctxt.buffer.size);
}

TEST(Context, KeepsTheOutermostTypeName)
{
  Context ctxt;
  rtxCtxtPushTypeName(&ctxt, "Outer");
  rtxCtxtPushTypeName(&ctxt, "Inner");
  EXPECT_EQ("Outer", namesOf(ctxt));
  EXPECT_EQ(0, ctxt.level);
  rtxCtxtPushElemName(&ctxt, "elem");
  EXPECT_EQ(nullptr, rtxCtxtPopTypeName(&ctxt));
  EXPECT_EQ("Outer.elem", namesOf(ctxt));
  EXPECT_EQ(1, ctxt.level);
  EXPECT_STREQ("elem", rtxCtxtPopElemName(&ctxt));
  EXPECT_STREQ("Outer", rtxCtxtPopTypeName(&ctxt));
  EXPECT_EQ(nullptr, rtxCtxtPopTypeName(&ctxt));
}

TEST(Context, CountsLevelsOnlyForPlainNames)
{
  Context ctxt;
  EXPECT_EQ(nullptr, rtxCtxtPopElemName(&ctxt));
  EXPECT_EQ(255, ctxt.level);
  char name[] = "copied";
  EXPECT_EQ(0, rtxCtxtPushElemNameCopy(&ctxt, name));
  name[0] = 'X';
  EXPECT_EQ(0, rtxCtxtPushArrayElemName(&ctxt, "list", 4294967296U));
  EXPECT_EQ("copied.list[4294967296]", namesOf(ctxt));
  EXPECT_EQ(0, ctxt.level);
  EXPECT_EQ(1, rtxCtxtPopArrayElemName(&ctxt));
  rtxCtxtPopElemNameCopy(&ctxt);
  rtxCtxtPopElemNameCopy(&ctxt);
  EXPECT_EQ(0, rtxCtxtPopArrayElemName(&ctxt));
  EXPECT_EQ("", namesOf(ctxt));
  EXPECT_EQ(254, ctxt.level);
}

// Fills a context with everything that a failed job leaves behind.
void leaveAMess(RtxContext* ctxt)
{
  rtxInitContextBuffer(ctxt, nullptr, 10);
  rtxCtxtPushTypeName(ctxt, "Type");
  rtxCtxtPushElemNameCopy(ctxt, "elem");
  rtxCtxtPushArrayElemName(ctxt, "array", 3);
  rtxCtxtPushContainerBytes(ctxt, 5);
  rtxErrAddIntParm(ctxt, 1);
  rtxErrSetData(ctxt, RTX_E_CONSTRAINT, "m", 1);
  rtxErrAddStrParm(ctxt, "not yet reported");
}

TEST(Context, EndsAJobCompletely)
{
  Context ctxt;
  for (int job = 0; job < 4; job++) {
    leaveAMess(&ctxt);
    const bool release = job % 2 == 0;
    if (release)
      rtxMemFree(&ctxt);
    else
      rtxMemReset(&ctxt);
    EXPECT_EQ(0, rtxErrGetStatus(&ctxt));
    EXPECT_EQ("", namesOf(ctxt));
    EXPECT_EQ(nullptr, rtxStackPeek(&ctxt.containerStack));
    EXPECT_EQ(0, ctxt.reservedErr.parmcount);
    EXPECT_EQ(job + 1, ctxt.level) << "the nesting level is no part of the job";
    if (release) {
      EXPECT_EQ(nullptr, ctxt.buffer.data);
      EXPECT_TRUE(rtxMemHeapIsEmpty(&ctxt.pMemHeap));
    }
  }
}

TEST(Context, ForgetsSecurityAndTraceWithTheirMemory)
{
  Context ctxt;
  ctxt.pSecurity = static_cast<Rtx3gppSecContext*>(rtxMemHeapAlloc(&ctxt.pMemHeap, 8));
  ctxt.pBitFldList = static_cast<RtxBitFieldList*>(rtxMemHeapAlloc(&ctxt.pMemHeap, 8));
  rtxMemFree(&ctxt);
  EXPECT_EQ(nullptr, ctxt.pSecurity);
  EXPECT_EQ(nullptr, ctxt.pBitFldList);
}

struct TestExtension {
  int (*release)(RtxContext*);
  int* releases;
};

int releaseExtension(RtxContext* ctxt)
{
  for (void* slot : ctxt->extInfo)
    if (slot != nullptr && static_cast<TestExtension*>(slot)->releases != nullptr)
      ++*static_cast<TestExtension*>(slot)->releases;
  return 0;
}

RtxContext* gHooked = nullptr;

TEST(Context, ReleasesItsExtensionsAndCallsTheHook)
{
  RtxContext ctxt;
  ASSERT_EQ(0, rtxInitContext(&ctxt));
  int releases = 0;
  for (int i = 0; i < 4; i += 3) { // First and last slot; the last one without an operation.
    TestExtension* ext = static_cast<TestExtension*>(rtxMemHeapSysAlloc(&ctxt.pMemHeap, sizeof(TestExtension)));
    *ext = {i == 0 ? releaseExtension : nullptr, &releases};
    ctxt.extInfo[i] = ext;
  }
  rtxErrSetData(&ctxt, RTX_E_GENERAL, "m", 1);
  ctxt.pFreeHook = [](RtxContext* hooked) { gHooked = hooked; };
  rtxFreeContext(&ctxt);
  EXPECT_EQ(2, releases) << "one call, at which both records still stand";
  EXPECT_EQ(&ctxt, gHooked);
  EXPECT_EQ(RTX_CTXT_INIT_CODE, ctxt.initCode) << "the hook stands in for clearing it";
  EXPECT_EQ(nullptr, ctxt.pMemHeap);
}

TEST(Context, CopiesTheCursorButNoMarks)
{
  Context from;
  Context to;
  uint8_t octets[3] = {};
  rtxCtxtSetBufPtr(&from, octets, sizeof octets);
  from.buffer.byteIndex = 2;
  from.buffer.bitOffset = 5;
  from.buffer.aligned = 1;
  from.buffer.markByteIndex = 9;
  rtxCopyContext(&to, &from);
  EXPECT_EQ(0, memcmp(&from.buffer, &to.buffer, offsetof(RtxBuffer, markByteIndex)));
  EXPECT_EQ(0U, to.buffer.markByteIndex);
  EXPECT_EQ(from.flags, to.flags);
  EXPECT_NE(from.pMemHeap, to.pMemHeap);
}

TEST(Context, SharesTheHeapWithSubContexts)
{
  RtxContext* parent = rtNewContext();
  ASSERT_NE(nullptr, parent);
  parent->buffer.aligned = 1;
  RtxContext sub;
  ASSERT_EQ(0, rtInitSubContext(&sub, parent));
  EXPECT_EQ(parent->pMemHeap, sub.pMemHeap);
  EXPECT_EQ(1, sub.buffer.aligned);
  EXPECT_EQ(1, sub.buffer.dynamic);
  char* text = rtxStrdup(&sub, "text of the sub-context");
  rtFreeContext(&sub);
  EXPECT_STREQ("text of the sub-context", text);
  Context other;
  rtxCtxtSetMemHeap(&other, parent);
  rtFreeContext(parent);
  EXPECT_STREQ("text of the sub-context", text) << "the last context keeps the heap";
}

TEST(Context, NewContextIsAllOrNothing)
{
  rtxMemSetAllocFuncs(failing::mallocFunc, failing::reallocFunc, failing::freeFunc);
  for (long at = 1; at <= 2; at++) { // The heap, then the information record.
    failing::setUp(at, false);
    EXPECT_EQ(nullptr, rtNewContext());
    EXPECT_EQ(0, failing::inUse);
  }
  failing::setUp(3, true);
  RtxContext* ctxt = rtNewContext();
  ASSERT_NE(nullptr, ctxt);
  EXPECT_EQ(RTX_FLAG_CTXT_MALLOCED, ctxt->flags);
  rtFreeContext(ctxt);
  EXPECT_EQ(0, failing::inUse);
  rtxMemSetAllocFuncs(nullptr, nullptr, nullptr);
}

TEST(Context, HoldsAnInformationRecord)
{
  Context ctxt;
  ASSERT_EQ(0, rtCtxtInitASN1Info(&ctxt));
  RtASN1Info* info = static_cast<RtASN1Info*>(ctxt.extInfo[RT_CTXT_ASN1_SLOT]);
  rtxDListAppend(&ctxt, &info->eventHandlers, info);
  EXPECT_EQ(0, info->reset(&ctxt));
  EXPECT_EQ(0U, info->eventHandlers.count);
  auto release = info->release;
  rtxMemHeapSysFreePtr(&ctxt.pMemHeap, info);
  ctxt.extInfo[RT_CTXT_ASN1_SLOT] = nullptr;
  EXPECT_EQ(RTX_E_NO_CONTEXT, release(&ctxt));
}

TEST(Context, WritesItsIndentation)
{
  Context ctxt;
  uint8_t octets[130];
  rtxCtxtSetBufPtr(&ctxt, octets, sizeof octets);
  ctxt.indent = 101;
  EXPECT_EQ(33, rtxGetIndentLevels(&ctxt));
  EXPECT_EQ(0, rtxWriteIndent(&ctxt));
  EXPECT_EQ("\n" + std::string(101, ' '), std::string(reinterpret_cast<char*>(octets), ctxt.buffer.byteIndex));
  EXPECT_EQ(' ', ctxt.lastChar);
  rtxCtxtSetFlag(&ctxt, RTX_FLAG_NO_INDENT);
  EXPECT_EQ(0, rtxWriteIndent(&ctxt));
  EXPECT_EQ(102U, ctxt.buffer.byteIndex);
  EXPECT_EQ(RTX_FLAG_BUFFER_MODE, rtxCtxtClearFlag(&ctxt, RTX_FLAG_NO_INDENT));
  EXPECT_EQ(RTX_E_ENCODE_OVERFLOW, rtxWriteIndent(&ctxt)) << "28 octets are left";
}

TEST(Context, ServesOneThreadEach)
{
  Context source;
  source.threadWord = 77;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; t++)
    threads.emplace_back([&source] {
      RtxContext ctxt;
      ASSERT_EQ(0, rtxInitThreadContext(&ctxt, &source));
      EXPECT_EQ(77U, ctxt.threadWord);
      leaveAMess(&ctxt);
      EXPECT_NE(nullptr, rtxErrGetText(&ctxt, nullptr, nullptr));
      rtxFreeContext(&ctxt);
    });
  for (std::thread& thread : threads) thread.join();
}

// One job in which every operation that can allocate does. Every failure must be told as "no memory" by the operation
// itself and must leave the lists whole.
void runJob(RtxContext* ctxt, RtxContext* other)
{
  auto allowed = [](int status) { return status == 0 || status == RTX_E_NO_MEMORY; };
  EXPECT_TRUE(allowed(rtxCtxtPushTypeName(ctxt, "Type")));
  EXPECT_TRUE(allowed(rtxCtxtPushElemName(ctxt, "elem")));
  EXPECT_TRUE(allowed(rtxCtxtPushElemNameCopy(ctxt, "copy")));
  EXPECT_TRUE(allowed(rtxCtxtPushArrayElemName(ctxt, "array", 1)));
  EXPECT_TRUE(allowed(rtxInitContextBuffer(ctxt, nullptr, 20)));
  const uint16_t wide[] = {'w', 0};
  rtxErrReset(ctxt);
  const int stored = rtxErrAddElemNameParm(ctxt) + rtxErrAddStrnParm(ctxt, "abc", 2) + rtxErrAddUniStrParm(ctxt, wide);
  EXPECT_EQ(stored, ctxt->reservedErr.parmcount);
  int status = rtxErrSetData(ctxt, RTX_E_TOO_BIG, "inner", 1);
  EXPECT_TRUE(status == RTX_E_TOO_BIG || status == RTX_E_NO_MEMORY) << status;
  status = rtxErrSetNewData(ctxt, RTX_E_NO_MEMORY, "outer", 2);
  EXPECT_TRUE(status == RTX_E_MULTIPLE || status == RTX_E_NO_MEMORY) << status;
  EXPECT_EQ(rtxErrGetErrorCnt(ctxt) == 0, status == RTX_E_NO_MEMORY && rtxErrGetLastError(ctxt) == 0);
  rtxErrGetText(ctxt, nullptr, nullptr);
  rtxErrGetMsgText(ctxt);
  const size_t before = rtxErrGetErrorCnt(ctxt);
  status = rtxErrCopy(other, ctxt);
  EXPECT_EQ(status == 0 ? before : 0U, rtxErrGetErrorCnt(other));
  status = rtxErrAppend(ctxt, ctxt);
  EXPECT_TRUE(status == 0 ? rtxErrGetErrorCnt(ctxt) == 2 * before : status == RTX_E_NO_MEMORY);
  size_t walked = 0;
  for (RtxDListNode* node = ctxt->errInfo.head; node != nullptr && walked < 100; node = node->next) walked++;
  EXPECT_EQ(walked, rtxErrGetErrorCnt(ctxt));
}

TEST(Context, SurvivesEveryRefusedAllocation)
{
  for (bool forGood : {false, true})
    for (bool allSystem : {false, true}) {
      long calls = 1;
      for (long at = 1; at <= calls; at++) {
        SCOPED_TRACE(at);
        failing::setUp(at, forGood);
        RtxContext ctxts[2];
        for (RtxContext& ctxt : ctxts) {
          int status = rtxInitContextExt(&ctxt, failing::mallocFunc, failing::reallocFunc, failing::freeFunc);
          EXPECT_TRUE(status == 0 || status == RTX_E_NO_MEMORY);
          if (allSystem) rtxMemHeapSetFlags(&ctxt.pMemHeap, RT_MH_USE_SYSMEM);
        }
        if (ctxts[0].pMemHeap != nullptr && ctxts[1].pMemHeap != nullptr) {
          runJob(&ctxts[0], &ctxts[1]);
          rtxMemReset(&ctxts[0]);
          runJob(&ctxts[0], &ctxts[1]);
          EXPECT_TRUE(rtCtxtInitASN1Info(&ctxts[0]) == 0 || failing::calls >= at);
          calls = failing::calls;
        } else {
          calls++;
        }
        for (RtxContext& ctxt : ctxts) rtxFreeContext(&ctxt);
        ASSERT_EQ(0, failing::inUse);
      }
      EXPECT_GT(calls, 3);
    }
}

} // namespace
