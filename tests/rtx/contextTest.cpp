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
  EXPECT_EQ(RTX_E_NO_CONTEXT, rtxCheckContext(nullptr));
  memset(&ctxt, 0xA5, sizeof ctxt);
  ASSERT_EQ(0, rtxInitContext(&ctxt));
  EXPECT_EQ(0, rtxCheckContext(&ctxt));
  ctxt.threadWord = 77;
  ASSERT_EQ(0, rtxInitThreadContext(&thread, &ctxt));
  EXPECT_EQ(77U, thread.threadWord);
  rtxFreeContext(&thread);
  ASSERT_EQ(0, rtxInitContextBuffer(&ctxt, nullptr, 0));
  EXPECT_EQ(1024U, ctxt.buffer.size);
  ASSERT_EQ(0, rtxCtxtSetBufPtr(&ctxt, octets, sizeof octets));
  EXPECT_EQ(octets, ctxt.buffer.data);
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

TEST(Context, EndsAJobCompletely)
{
  Bench bench;
  for (int job = 0; job < 4; job++) {
    rtxInitContextBuffer(&bench, nullptr, 10);
    rtxCtxtPushElemNameCopy(&bench, "elem");
    rtxCtxtPushArrayElemName(&bench, "array", 3);
    rtxCtxtPushContainerBytes(&bench, 5);
    rtxErrAddIntParm(&bench, 1);
    rtxErrSetData(&bench, RTX_E_CONSTRAINT, "m", 1);
    rtxErrAddStrParm(&bench, "not yet reported");
    const bool release = job % 2 == 0;
    release ? rtxMemFree(&bench) : rtxMemReset(&bench);
    EXPECT_EQ(0, rtxErrGetStatus(&bench));
    EXPECT_EQ("", namesOf(bench));
    EXPECT_EQ(0, bench.reservedErr.parmcount);
    EXPECT_EQ(job + 1, bench.level) << "the nesting level is no part of the job";
    if (!release) continue;
    EXPECT_EQ(nullptr, bench.buffer.data);
    EXPECT_TRUE(rtxMemHeapIsEmpty(&bench.pMemHeap));
  }
}

RtxContext* gHooked = nullptr;
int gReleases = 0;

TEST(Context, ReleasesItsExtensionsAndCallsTheHook)
{
  struct Extension {
    int (*release)(RtxContext*);
  };
  RtxContext ctxt;
  gReleases = 0;
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
  EXPECT_EQ(nullptr, ctxt.pMemHeap);
}

TEST(Context, SharesCursorAndHeapWithOthers)
{
  Octets octets(3);
  Bench from(octets), to, other;
  from.moveTo(19);
  from.buffer.aligned = 1;
  from.buffer.markByteIndex = 9;
  rtxCopyContext(&to, &from);
  EXPECT_EQ(0, memcmp(&from.buffer, &to.buffer, offsetof(RtxBuffer, markByteIndex)));
  EXPECT_EQ(0U, to.buffer.markByteIndex) << "a mark is not copied";

  RtxContext sub, *parent = rtNewContext();
  parent->buffer.aligned = 1;
  ASSERT_EQ(0, rtInitSubContext(&sub, parent));
  EXPECT_EQ(1, sub.buffer.aligned);
  EXPECT_EQ(1, sub.buffer.dynamic);
  char* text = rtxStrdup(&sub, "text of the sub-context");
  rtFreeContext(&sub);
  rtxCtxtSetMemHeap(&other, parent);
  rtFreeContext(parent);
  EXPECT_STREQ("text of the sub-context", text) << "the last context keeps the heap";
}

TEST(Context, NewContextIsAllOrNothingAndHoldsAnInformationRecord)
{
  rtxMemSetAllocFuncs(failing::mallocFunc, failing::reallocFunc, failing::freeFunc);
  for (long at = 1; at <= 3; at++) { // The heap, then the information record.
    failing::setUp(at, false);
    RtxContext* ctxt = rtNewContext();
    ASSERT_EQ(at == 3, ctxt != nullptr);
    if (ctxt == nullptr) continue;
    EXPECT_EQ(RTX_FLAG_CTXT_MALLOCED, ctxt->flags);
    RtASN1Info* info = static_cast<RtASN1Info*>(ctxt->extInfo[RT_CTXT_ASN1_SLOT]);
    failing::allow(-1);
    rtxDListAppend(ctxt, &info->eventHandlers, info);
    EXPECT_EQ(0, info->reset(ctxt));
    EXPECT_EQ(0U, info->eventHandlers.count);
    ctxt->extInfo[RT_CTXT_ASN1_SLOT] = nullptr;
    EXPECT_EQ(RTX_E_NO_CONTEXT, info->release(ctxt));
    ctxt->extInfo[RT_CTXT_ASN1_SLOT] = info;
    rtFreeContext(ctxt);
    EXPECT_EQ(0, failing::inUse);
  }
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
  EXPECT_EQ(102U, bench.buffer.byteIndex);
  EXPECT_EQ(RTX_FLAG_BUFFER_MODE, rtxCtxtClearFlag(&bench, RTX_FLAG_NO_INDENT));
  EXPECT_EQ(RTX_E_ENCODE_OVERFLOW, rtxWriteIndent(&bench)) << "28 octets are left";
}

// One job in which every operation that can allocate does. Every failure must be told as "no memory" by the operation
// itself and must leave the lists whole.
void runJob(RtxContext* ctxt, RtxContext* other)
{
  for (int status : {rtxCtxtPushTypeName(ctxt, "Type"), rtxCtxtPushElemNameCopy(ctxt, "copy"),
                     rtxCtxtPushArrayElemName(ctxt, "array", 1), rtxInitContextBuffer(ctxt, nullptr, 20),
                     rtxCtxtPushContainerBytes(ctxt, 3)})
    EXPECT_TRUE(status == 0 || status == RTX_E_NO_MEMORY);
  const uint16_t wide[] = {'w', 0};
  rtxErrReset(ctxt);
  const int stored = rtxErrAddElemNameParm(ctxt) + rtxErrAddStrnParm(ctxt, "abc", 2) + rtxErrAddUniStrParm(ctxt, wide);
  EXPECT_EQ(stored, ctxt->reservedErr.parmcount);
  int status = rtxErrSetData(ctxt, RTX_E_TOO_BIG, "inner", 1);
  EXPECT_TRUE(status == RTX_E_TOO_BIG || status == RTX_E_NO_MEMORY) << status;
  status = rtxErrSetNewData(ctxt, RTX_E_NO_MEMORY, "outer", 2);
  EXPECT_TRUE(status == RTX_E_MULTIPLE || status == RTX_E_NO_MEMORY) << status;
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
  for (int kind = 0; kind < 4; kind++) {
    long calls = 4;
    for (long at = 1; at <= calls; at++) {
      SCOPED_TRACE(at);
      failing::setUp(at, kind % 2 == 1);
      {
        Bench ctxt, other;
        // Every piece from the system, or only the blocks.
        for (Bench* bench : {&ctxt, &other}) rtxMemHeapSetFlags(&bench->pMemHeap, kind < 2 ? 0 : RT_MH_USE_SYSMEM);
        if (ctxt.pMemHeap != nullptr && other.pMemHeap != nullptr) {
          runJob(&ctxt, &other);
          rtxMemReset(&ctxt);
          runJob(&ctxt, &other);
          calls = failing::calls;
        }
      }
      ASSERT_EQ(0, failing::inUse);
    }
  }
}

} // namespace
