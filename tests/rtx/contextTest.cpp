// Promises: a context can be set up and ended, with nothing left over, also without memory, and shares what it should.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tests/bench.h"
#include "velnor3gpp/rtContext.h"
#include "velnor3gpp/rtxCheckBuffer.h"
#include "velnor3gpp/rtxDList.h"
#include "velnor3gpp/rtxStatus.h"
#include "velnor3gpp/rtxStream.h"
#include "velnor3gpp/rtxStreamMemory.h"
#include "velnor3gpp/rtxStrings.h"

namespace {

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
  rtxFreeContext(&ctxt);
  EXPECT_EQ(nullptr, ctxt.pMemHeap);
}

// What is no context holds no list for an error record: it is refused without being looked into.
TEST(Context, BindingABufferToNoContextIsRefused)
{
  uint8_t octets[4] = {};
  EXPECT_EQ(RTX_E_NO_CONTEXT, rtxInitContextBuffer(nullptr, octets, 4));
  EXPECT_EQ(RTX_E_NO_CONTEXT, rtxCtxtSetBufPtr(nullptr, octets, 4));
  for (int fill : {0, 0xA5}) { // zeroed or freed; never initialised
    RtxContext ctxt, before;
    memset(&ctxt, fill, sizeof ctxt);
    memset(&before, fill, sizeof before);
    EXPECT_EQ(RTX_E_NO_CONTEXT, rtxInitContextBuffer(&ctxt, octets, 4));
    EXPECT_EQ(RTX_E_NO_CONTEXT, rtxCtxtSetBufPtr(&ctxt, octets, 4));
    EXPECT_EQ(0, memcmp(&before, &ctxt, sizeof ctxt));
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

TEST(Context, AnEndedJobLeavesNoPointerToWhatItGaveBack)
{
  for (auto end : {rtxMemReset, rtxMemFree}) {
    Bench bench;
    ASSERT_EQ(0, rtxInitContextBuffer(&bench, nullptr, 20));
    bench.pSecurity = static_cast<Rtx3gppSecContext*>(rtxMemHeapAlloc(&bench.pMemHeap, 8));
    end(&bench);
    EXPECT_EQ(nullptr, bench.pSecurity);
    EXPECT_TRUE(bench.buffer.data == nullptr && bench.buffer.size == 0) << "no coder may write there";
    EXPECT_TRUE(end != rtxMemFree || rtxMemHeapIsEmpty(&bench.pMemHeap));
  }
}

TEST(Context, ABufferOfSystemMemoryThatCannotGrowIsGivenBack)
{
  const long before = failing::inUse;
  {
    Bench bench;
    ASSERT_EQ(0, rtxStreamMemoryCreateWriter(&bench, nullptr, 16));
    failing::allow(0);
    EXPECT_EQ(RTX_E_NO_MEMORY, rtxCheckBuffer(&bench, 1000));
    EXPECT_TRUE(bench.buffer.data == nullptr && bench.buffer.size == 0);
  }
  EXPECT_EQ(before, failing::inUse);
}

} // namespace
