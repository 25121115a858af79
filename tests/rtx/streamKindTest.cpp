// Promise: a stream calls what its kind has, in order; what the kind lacks or fails at comes out as the status that
// says so, reported once.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>

#include "tests/bench.h"
#include "velnor3gpp/rtxMemBuf.h"
#include "velnor3gpp/rtxStatus.h"
#include "velnor3gpp/rtxStream.h"

namespace {

std::string gCalls;
int gFailAt; // the call that fails, counted from 0

int called(const std::string& name)
{
  gCalls += gCalls.empty() ? name : " " + name;
  return gFailAt >= 0 && gFailAt-- == 0 ? RTX_E_READ : 0;
}

// A kind that has everything and gives one octet at a time, or lacks everything.
void bindPuppet(RtxContext* pctxt, bool lacksAll, int failAt)
{
  ASSERT_EQ(rtxStreamInit(pctxt), 0);
  RtxStream& stream = *pctxt->pStream;
  stream.flags = RTX_STREAM_READ | RTX_STREAM_WRITE;
  gCalls.clear();
  gFailAt = failAt;
  if (lacksAll) return;
  stream.read = [](RtxStream*, uint8_t*, size_t) -> int64_t { return called("read") < 0 ? RTX_E_READ : 1; };
  stream.write = [](RtxStream*, const uint8_t*, size_t) { return called("write"); };
  stream.flush = [](RtxStream*) { return called("flush"); };
  stream.close = [](RtxStream*) { return called("close"); };
  stream.skip = [](RtxStream*, size_t count) { return called("skip" + std::to_string(count)); };
  stream.mark = [](RtxStream*, size_t limit) { return called("mark" + std::to_string(limit)); };
  stream.reset = [](RtxStream*) { return called("reset"); };
  stream.getPos = [](RtxStream*, size_t*) { return called("getPos"); };
  stream.setPos = [](RtxStream*, size_t pos) { return called("setPos" + std::to_string(pos)); };
}

uint8_t gOctets[8];
size_t gPosition;
RtxMemBuf gCapture;

const struct {
  std::function<int64_t(RtxContext*)> call;
  const char* calls; // what it calls of the kind
  int lacking;       // its status where the kind lacks that
  int unbound;       // its status without a stream
  const char* parm = nullptr;
  size_t pending = 0; // position that a mark has yet to go to
} kOperations[] = {
    {[](RtxContext* c) { return rtxStreamMark(c, 9); }, "mark9", -60, -20, "stream mark/reset"},
    {[](RtxContext* c) { return rtxStreamMark(c, 9); }, "reset skip4 mark9", -60, -20, "stream mark/reset", 4},
    {[](RtxContext* c) { return rtxStreamReset(c); }, "reset", -60, -20, "stream mark/reset"},
    {[](RtxContext* c) { return rtxStreamGetPos(c, &gPosition); }, "getPos", -60, -20, "stream get position"},
    {[](RtxContext* c) { return rtxStreamSetPos(c, 3); }, "setPos3", -60, -20, "stream set position"},
    {[](RtxContext* c) { return rtxStreamSkip(c, 6); }, "skip6", -22, -20},
    {[](RtxContext* c) { return std::min<int64_t>(0, rtxStreamRead(c, gOctets, 3)); }, "read read read", -22, -22},
    {[](RtxContext* c) { return std::min<int64_t>(0, rtxStreamReadDirect(c, gOctets, 3)); }, "read", -22, -22},
    {[](RtxContext* c) { return rtxStreamWrite(c, gOctets, 2); }, "write", -22, -22},
    {[](RtxContext* c) { // the kind knows where the octets are, the capture has nothing of them
       if (c->pStream != nullptr) rtxMemBufInit(c, c->pStream->pCapture = &gCapture, 0);
       return rtxStreamWrite(c, nullptr, 2);
     },
     "write", -22, -22},
    {[](RtxContext* c) { return rtxStreamFlush(c); }, "flush", 0, -20},
    {[](RtxContext* c) { return rtxStreamClose(c); }, "flush close", 0, 0},
};

// The status must be the result's, reported once, with its parameter.
void expectReported(Bench& bench, int64_t result, int status, const char* parm)
{
  EXPECT_EQ(result, status);
  EXPECT_EQ(rtxErrGetErrorCnt(&bench), status < 0 ? 1U : 0U);
  EXPECT_EQ(rtxErrGetLastError(&bench), status);
  if (status < 0 && parm != nullptr) EXPECT_STREQ(bench.lastError()->parms[0], parm);
}

} // namespace

TEST(StreamKind, CallsInOrderStopsAtTheFirstFailureAndTellsWhatIsLacking)
{
  for (const auto& operation : kOperations) {
    SCOPED_TRACE(operation.calls);
    const std::string calls = operation.calls;
    const auto count = std::count(calls.begin(), calls.end(), ' ') + 1;
    size_t end = 0; // of the calls up to the one that fails
    for (int failAt = -1; failAt < count; ++failAt) {
      Bench bench;
      bindPuppet(&bench, false, failAt);
      bench.pStream->nextMarkOffset = operation.pending;
      expectReported(bench, operation.call(&bench), failAt < 0 ? 0 : RTX_E_READ, nullptr);
      if (failAt >= 0) end = calls.find(' ', end + 1);
      bool whole = failAt < 0 || calls == "flush close"; // what is open is closed in any case
      EXPECT_EQ(gCalls, whole ? calls : calls.substr(0, end)) << failAt;
      gFailAt = -1;
    }
    Bench lacking, unbound;
    expectReported(unbound, operation.call(&unbound), operation.unbound, nullptr);
    bindPuppet(&lacking, true, -1);
    expectReported(lacking, operation.call(&lacking), operation.lacking, operation.parm);
  }
}
