// Promises: a context can be set up, run any number of jobs and ended, with nothing left over, also without memory.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "bench.h"
#include "velnor3gpp/rtContext.h"
#include "velnor3gpp/rtxContainer.h"
#include "velnor3gpp/rtxDList.h"
#include "velnor3gpp/rtxStatus.h"
#include "velnor3gpp/rtxStream.h"
#include "velnor3gpp/rtxStrings.h"

namespace {

std::string namesOf(const RtxContext& ctxt)
{
  std::string names;
  for (const RtxDListNode* node = ctxt.elemNameStack.head; node != nullptr; node = node->next)
    names += std::string(names.empty() ? "" : ".") + static_cast<const char*>(node->data);
  return names;
}

TEST(Context, LivesFromInitToFree)
{
  RtxContext ctxt = {}, thread;
  uint8_t octets[4] = {};
  EXPECT_EQ(RTX_E_NO_CONTEXT, rtxCheckContext(&ctxt));
  memset(&ctxt, 0xA5, sizeof ctxt);
  ASSERT_EQ(0, rtxInitContext(&ctxt));
  EXPECT_EQ(0, rtxCheckContext(&ctxt));
  ctxt.threadWord = 77;
  ASSERT_EQ(0, rtxInitThreadContext(&thread, &ctxt));
  EXPECT_EQ(77U, thread.threadWord);
  rtxFreeContext(&thread);
  ASSERT_EQ(0, rtxCtxtSetBufPtr(&ctxt, octets, sizeof octets));
  EXPECT_EQ(RTX_FLAG_BUFFER_MODE, ctxt.flags);
  ASSERT_EQ(0, rtxStreamInit(&ctxt));
  ASSERT_EQ(0, rtxInitContextBuffer(&ctxt, nullptr, 9));
  EXPECT_EQ(octets, ctxt.buffer.data) << "a stream brings its own buffer";
  ctxt.pStream->flags = RTX_STREAM_CTXTBUF;
  ASSERT_EQ(0, rtxInitContextBuffer(&ctxt, nullptr, 43));
  rtxMemReset(&ctxt);
  memset(ctxt.buffer.data, 1, 43); // A buffer under a stream outlives a reset of the heap, and goes back once.
  EXPECT_NE(0U, ctxt.flags & RTX_FLAG_SYSMEM_BUFFER);
  rtxMemFree(&ctxt);
  EXPECT_EQ(0U, ctxt.flags & RTX_FLAG_SYSMEM_BUFFER);
  ctxt.initCode = 0;
  EXPECT_EQ(RTX_E_NO_CONTEXT, rtxCtxtSetBufPtr(&ctxt, octets, 1));
  EXPECT_EQ(2, static_cast<RtxErrInfo*>(ctxt.errInfo.head->data)->stkx);
  ctxt.initCode = RTX_CTXT_INIT_CODE;
  rtxFreeContext(&ctxt);
  EXPECT_EQ(nullptr, ctxt.pMemHeap);
}

TEST(Context, KeepsTheOutermostTypeNameAndCountsLevels)
{
  Bench bench;
  char name[] = "copied";
  rtxCtxtPushTypeName(&bench, "Outer");
  rtxCtxtPushTypeName(&bench, "Inner");
  rtxCtxtPushElemName(&bench, "elem");
  EXPECT_EQ(nullptr, rtxCtxtPopTypeName(&bench));
  EXPECT_EQ(0, rtxCtxtPushElemNameCopy(&bench, name));
  name[0] = 'X';
  EXPECT_EQ(0, rtxCtxtPushArrayElemName(&bench, "list", 4294967296U));
  EXPECT_EQ("Outer.elem.copied.list[4294967296]", namesOf(bench));
  EXPECT_EQ(2, bench.level) << "of the plain and the array name";
  EXPECT_EQ(1, rtxCtxtPopArrayElemName(&bench));
  rtxCtxtPopElemNameCopy(&bench);
  EXPECT_STREQ("elem", rtxCtxtPopElemName(&bench));
  EXPECT_STREQ("Outer", rtxCtxtPopTypeName(&bench));
  EXPECT_EQ(0, rtxCtxtPopArrayElemName(&bench));
  EXPECT_EQ(nullptr, rtxCtxtPopElemName(&bench));
  EXPECT_EQ(254, bench.level) << "pops of nothing count as well";
}

RtxContext* gHooked = nullptr;
int gReleases = 0;

TEST(Context, ReleasesItsExtensionsAndCallsTheHook)
{
  struct Extension {
    int (*release)(RtxContext*);
  };
  RtxContext ctxt;
  ASSERT_EQ(0, rtxInitContext(&ctxt));
  for (int slot : {0, 3}) { // First and last; the last one without an operation.
    ctxt.extInfo[slot] = rtxMemHeapSysAllocZ(&ctxt.pMemHeap, sizeof(Extension));
    if (slot == 0) static_cast<Extension*>(ctxt.extInfo[0])->release = [](RtxContext*) { return ++gReleases; };
  }
  ctxt.pFreeHook = [](RtxContext* hooked) { gHooked = hooked; };
  rtxFreeContext(&ctxt);
  EXPECT_EQ(1, gReleases);
  EXPECT_EQ(&ctxt, gHooked);
  EXPECT_EQ(RTX_CTXT_INIT_CODE, ctxt.initCode) << "the hook stands in for clearing it";
}

TEST(Context, SharesCursorAndHeapWithOthers)
{
  Octets octets(3);
  Bench from(octets), to, other;
  from.moveTo(19);
  from.buffer.markByteIndex = 9;
  rtxCopyContext(&to, &from);
  EXPECT_EQ(0, memcmp(&from.buffer, &to.buffer, offsetof(RtxBuffer, markByteIndex)));
  EXPECT_EQ(0U, to.buffer.markByteIndex) << "a mark is not copied";

  RtxContext sub, *parent = rtNewContext();
  parent->buffer.aligned = 1;
  ASSERT_EQ(0, rtInitSubContext(&sub, parent));
  EXPECT_EQ(2, sub.buffer.aligned + sub.buffer.dynamic);
  char* text = rtxStrdup(&sub, "text of the sub-context");
  rtFreeContext(&sub);
  rtxCtxtSetMemHeap(&other, parent);
  rtFreeContext(parent);
  EXPECT_STREQ("text of the sub-context", text) << "the last context keeps the heap";
}

TEST(Context, NewContextIsAllOrNothingAndHoldsAnInformationRecord)
{
  rtxMemSetAllocFuncs(failing::mallocFunc, failing::reallocFunc, failing::freeFunc);
  for (long at : {1, 2}) { // the heap, the information record
    failing::setUp(at, false);
    EXPECT_EQ(nullptr, rtNewContext());
  }
  RtxContext* ctxt = rtNewContext();
  RtASN1Info* info = static_cast<RtASN1Info*>(ctxt->extInfo[RT_CTXT_ASN1_SLOT]);
  rtxDListAppend(ctxt, &info->eventHandlers, info);
  EXPECT_EQ(0, info->reset(ctxt));
  EXPECT_EQ(0U, info->eventHandlers.count);
  rtFreeContext(ctxt);
  EXPECT_EQ(0, failing::inUse);
  rtxMemSetAllocFuncs(nullptr, nullptr, nullptr);
}

TEST(Context, WritesItsIndentation)
{
  Octets octets(130);
  Bench bench(octets);
  bench.indent = 101;
  EXPECT_EQ(33, rtxGetIndentLevels(&bench));
  EXPECT_EQ(0, rtxWriteIndent(&bench));
  EXPECT_EQ("\n" + std::string(101, ' '), std::string(octets.begin(), octets.begin() + 102));
  rtxCtxtSetFlag(&bench, RTX_FLAG_NO_INDENT);
  EXPECT_EQ(0, rtxWriteIndent(&bench));
  EXPECT_EQ(RTX_FLAG_BUFFER_MODE, rtxCtxtClearFlag(&bench, RTX_FLAG_NO_INDENT));
  EXPECT_EQ(RTX_E_ENCODE_OVERFLOW, rtxWriteIndent(&bench)) << "28 octets are left";
}

// Whichever allocation is refused, a copy of the errors is whole or empty, and the end of the job leaves nothing of it.
void runJob(RtxContext* ctxt, RtxContext* other, bool release)
{
  for (int status : {rtxCtxtPushTypeName(ctxt, "Type"), rtxCtxtPushElemNameCopy(ctxt, "copy"),
                     rtxCtxtPushArrayElemName(ctxt, "array", 1), rtxInitContextBuffer(ctxt, nullptr, 20),
                     rtxCtxtPushContainerBytes(ctxt, 3), rtxErrReset(ctxt)})
    EXPECT_TRUE(status == 0 || status == RTX_E_NO_MEMORY);
  EXPECT_EQ(rtxErrAddStrnParm(ctxt, "abc", 2), ctxt->reservedErr.parmcount);
  int status = rtxErrSetData(ctxt, RTX_E_TOO_BIG, "inner", 1);
  EXPECT_TRUE(status == RTX_E_TOO_BIG || status == RTX_E_NO_MEMORY) << status;
  status = rtxErrSetNewData(ctxt, RTX_E_NO_MEMORY, "outer", 2);
  EXPECT_TRUE(status == RTX_E_MULTIPLE || status == RTX_E_NO_MEMORY) << status;
  rtxErrGetMsgText(ctxt);
  const size_t before = rtxErrGetErrorCnt(ctxt);
  status = rtxErrCopy(other, ctxt);
  EXPECT_EQ(status == 0 ? before : 0U, rtxErrGetErrorCnt(other));
  status = rtxErrAppend(ctxt, ctxt);
  EXPECT_TRUE(status == 0 ? rtxErrGetErrorCnt(ctxt) == 2 * before : status == RTX_E_NO_MEMORY);
  ctxt->pSecurity = reinterpret_cast<Rtx3gppSecContext*>(rtxMemHeapAlloc(&ctxt->pMemHeap, 8));
  release ? rtxMemFree(ctxt) : rtxMemReset(ctxt);
  EXPECT_EQ(0, rtxErrGetStatus(ctxt) + ctxt->reservedErr.parmcount);
  EXPECT_EQ("", namesOf(*ctxt));
  EXPECT_EQ(nullptr, ctxt->pSecurity);
  EXPECT_TRUE(ctxt->buffer.data == nullptr && ctxt->buffer.size == 0) << "no coder may write there";
  EXPECT_TRUE(!release || rtxMemHeapIsEmpty(&ctxt->pMemHeap));
}

TEST(Context, SurvivesEveryRefusedAllocation)
{
  long calls = 4;
  for (long at = 1; at <= calls; at++) {
    SCOPED_TRACE(at);
    failing::setUp(at, at % 2 == 0);
    {
      Bench ctxt, other;
      for (Bench* bench : {&ctxt, &other}) rtxMemHeapSetFlags(&bench->pMemHeap, RT_MH_USE_SYSMEM);
      if (ctxt.pMemHeap == nullptr || other.pMemHeap == nullptr) continue;
      for (bool release : {false, true}) runJob(&ctxt, &other, release);
      calls = failing::calls;
    }
    ASSERT_EQ(0, failing::inUse);
  }
}

} // namespace
