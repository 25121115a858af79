// Promise: a stream calls what its kind has, in order; what the kind lacks or fails at comes out as the status that
// says so, reported once.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>

#include "codecBench.h"
#include "velnor3gpp/rtxMemBuf.h"
#include "velnor3gpp/rtxStatus.h"
#include "velnor3gpp/rtxStream.h"

namespace {

std::string gCalls;
int gFailAt = -1; // the call that fails, counted from 0

int called(const char* name)
{
  gCalls += gCalls.empty() ? name : std::string(" ") + name;
  return gFailAt >= 0 && gFailAt-- == 0 ? RTX_E_READ : 0;
}

// A kind that has everything and gives one octet at a time.
void bindPuppet(RtxContext* pctxt, bool lacksAll)
{
  ASSERT_EQ(rtxStreamInit(pctxt), 0);
  RtxStream& stream = *pctxt->pStream;
  stream.flags = RTX_STREAM_READ | RTX_STREAM_WRITE;
  gCalls.clear();
  gFailAt = -1;
  if (lacksAll) return;
  stream.read = [](RtxStream*, uint8_t* pbuf, size_t) -> int64_t {
    *pbuf = 7;
    int status = called("read");
    return status < 0 ? status : 1;
  };
  stream.write = [](RtxStream*, const uint8_t*, size_t) { return called("write"); };
  stream.flush = [](RtxStream*) { return called("flush"); };
  stream.close = [](RtxStream*) { return called("close"); };
  stream.skip = [](RtxStream*, size_t count) { return called(("skip" + std::to_string(count)).c_str()); };
  stream.mark = [](RtxStream*, size_t limit) { return called(("mark" + std::to_string(limit)).c_str()); };
  stream.reset = [](RtxStream*) { return called("reset"); };
  stream.getPos = [](RtxStream*, size_t* pPos) { return *pPos = 5, called("getPos"); };
  stream.setPos = [](RtxStream*, size_t pos) { return called(("setPos" + std::to_string(pos)).c_str()); };
}

uint8_t gOctets[8];
size_t gPosition;

struct Operation {
  std::function<int64_t(RtxContext*)> call;
  const char* calls;   // what it calls of the kind
  int64_t lacking = 0; // its status where the kind lacks that
  int64_t unbound = 0; // its status without a stream
  const char* parm = nullptr;
  size_t pending = 0; // position that a mark has yet to go to
};

const Operation kOperations[] = {
    {[](RtxContext* c) { return rtxStreamMark(c, 9); }, "mark9", -60, -20, "stream mark/reset"},
    {[](RtxContext* c) { return rtxStreamMark(c, 9); }, "reset skip4 mark9", -60, -20, "stream mark/reset", 4},
    {[](RtxContext* c) { return rtxStreamReset(c); }, "reset", -60, -20, "stream mark/reset"},
    {[](RtxContext* c) { return rtxStreamGetPos(c, &gPosition); }, "getPos", -60, -20, "stream get position"},
    {[](RtxContext* c) { return rtxStreamSetPos(c, 3); }, "setPos3", -60, -20, "stream set position"},
    {[](RtxContext* c) { return rtxStreamSkip(c, 6); }, "skip6", -22, -20},
    {[](RtxContext* c) { return std::min<int64_t>(0, rtxStreamRead(c, gOctets, 3)); }, "read read read", -22, -22},
    {[](RtxContext* c) { return std::min<int64_t>(0, rtxStreamReadDirect(c, gOctets, 3)); }, "read", -22, -22},
    {[](RtxContext* c) { return rtxStreamWrite(c, gOctets, 2); }, "write", -22, -22},
    {[](RtxContext* c) { return rtxStreamFlush(c); }, "flush", 0, -20},
    {[](RtxContext* c) { return rtxStreamClose(c); }, "flush close", 0, 0},
};

std::string firstWords(const std::string& words, int count)
{
  size_t end = 0;
  for (; count > 0 && end != std::string::npos; --count) end = words.find(' ', end + 1);
  return words.substr(0, end);
}

int reported(RtxContext* pctxt, const char* parm)
{
  auto* info = pctxt->errInfo.tail != nullptr ? static_cast<RtxErrInfo*>(pctxt->errInfo.tail->data) : nullptr;
  if (info != nullptr && parm != nullptr) {
    EXPECT_STREQ(info->parms[0], parm);
  }
  EXPECT_LE(rtxErrGetErrorCnt(pctxt), 1U);
  return info != nullptr ? info->status : 0;
}

} // namespace

TEST(StreamKind, CallsInOrderAndStopsAtTheFirstFailure)
{
  for (const Operation& operation : kOperations) {
    std::string calls = operation.calls;
    for (int failAt = -1; failAt <= std::count(calls.begin(), calls.end(), ' '); ++failAt) {
      Bench bench;
      bindPuppet(&bench, false);
      bench.pStream->nextMarkOffset = operation.pending;
      gFailAt = failAt;
      SCOPED_TRACE(calls + " " + std::to_string(failAt));
      EXPECT_EQ(operation.call(&bench), failAt < 0 ? 0 : RTX_E_READ);
      EXPECT_EQ(reported(&bench, nullptr), failAt < 0 ? 0 : RTX_E_READ);
      bool whole = failAt < 0 || calls == "flush close"; // what is open is closed in any case
      EXPECT_EQ(gCalls, whole ? calls : firstWords(calls, failAt + 1));
      if (bench.pStream != nullptr) bench.pStream->close = nullptr;
    }
  }
}

TEST(StreamKind, WhatIsLackingHasItsStatus)
{
  for (const Operation& operation : kOperations) {
    Bench lacking, unbound;
    SCOPED_TRACE(operation.calls);
    EXPECT_EQ(operation.call(&unbound), operation.unbound);
    EXPECT_EQ(reported(&unbound, nullptr), operation.unbound);
    bindPuppet(&lacking, true);
    EXPECT_EQ(operation.call(&lacking), operation.lacking);
    EXPECT_EQ(reported(&lacking, operation.parm), operation.lacking);
  }
}

TEST(StreamKind, PendingPositionCaptureAndBuffer)
{
  Bench bench;
  bindPuppet(&bench, false);
  bench.pStream->nextMarkOffset = 4;
  EXPECT_EQ(rtxStreamGetPos(&bench, &gPosition), 0);
  EXPECT_EQ(gPosition, 4U);
  EXPECT_EQ(gCalls, "") << "the pending position is the answer";
  RtxMemBuf capture;
  rtxMemBufInit(&bench, &capture, 16);
  ASSERT_EQ(rtxStreamSetCapture(&bench, &capture), 0);
  ASSERT_EQ(rtxStreamSkip(&bench, 2), 0);
  EXPECT_EQ(gCalls, "read read") << "a capture has no gaps";
  EXPECT_EQ(capture.usedcnt, 2U);
  gFailAt = 1;
  EXPECT_EQ(rtxStreamSkip(&bench, 3), RTX_E_READ);
  rtxErrReset(&bench);
  ASSERT_EQ(rtxStreamInitCtxtBuf(&bench), 0);
  rtxStreamRemoveCtxtBuf(&bench);
  EXPECT_EQ(bench.buffer.data, nullptr);
  EXPECT_EQ(bench.buffer.size + bench.buffer.byteIndex + bench.pStream->bufSize, 0U);
  EXPECT_EQ((bench.pStream->flags & RTX_STREAM_CTXTBUF) | (bench.flags & RTX_FLAG_SYSMEM_BUFFER), 0U);
  bench.pStream->id = RTX_STREAM_ID_DIRECT_BUFFER;
  EXPECT_EQ(rtxStreamInitCtxtBuf(&bench), RTX_E_NOT_SUPPORTED);
}
