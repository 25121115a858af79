// Promise: a stream calls what its kind has, in order; what the kind lacks or fails at, and what no stream can do,
// comes out as the status that says so, reported once. Each line of streams.txt is a call.
#include "tests/calls.h"
#include "tests/trickle.h"
#include "velnor3gpp/rtContext.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxBitEncode.h"
#include "velnor3gpp/rtxCheckBuffer.h"
#include "velnor3gpp/rtxContainer.h"
#include "velnor3gpp/rtxDiagBitTrace.h"
#include "velnor3gpp/rtxMemBuf.h"
#include "velnor3gpp/rtxStreamFile.h"
#include "velnor3gpp/rtxStreamMemory.h"

namespace {

using calls::failure;

uint8_t gOctets[100000];
std::string gCalls;
int gFailAt; // the call that fails, counted from 0

int called(const std::string& name)
{
  gCalls += gCalls.empty() ? name : " " + name;
  return gFailAt >= 0 && gFailAt-- == 0 ? RTX_E_READ : 0;
}

// A kind that lacks everything.
int lacking(RtxContext* pctxt)
{
  int status = rtxStreamInit(pctxt);
  if (status == 0) pctxt->pStream->flags = RTX_STREAM_READ | RTX_STREAM_WRITE;
  return status;
}

// A kind that has everything and gives one octet at a time, with a mark that has yet to go to a position.
int complete(RtxContext* pctxt, int failAt, size_t pending)
{
  int status = lacking(pctxt);
  if (status < 0) return status;
  RtxStream& stream = *pctxt->pStream;
  stream.nextMarkOffset = pending;
  gCalls.clear();
  gFailAt = failAt;
  stream.read = [](RtxStream*, uint8_t*, size_t) -> int64_t { return called("read") < 0 ? RTX_E_READ : 1; };
  stream.write = [](RtxStream*, const uint8_t*, size_t) { return called("write"); };
  stream.flush = [](RtxStream*) { return called("flush"); };
  stream.close = [](RtxStream*) { return called("close"); };
  stream.skip = [](RtxStream*, size_t count) { return called("skip" + std::to_string(count)); };
  stream.mark = [](RtxStream*, size_t limit) { return called("mark" + std::to_string(limit)); };
  stream.reset = [](RtxStream*) { return called("reset"); };
  stream.getPos = [](RtxStream*, size_t*) { return called("getPos"); };
  stream.setPos = [](RtxStream*, size_t pos) { return called("setPos" + std::to_string(pos)); };
  return 0;
}

// What was called of the kind.
std::string asked(RtxContext*)
{
  return gCalls;
}

size_t bufferSize(RtxContext* pctxt)
{
  return pctxt->buffer.size;
}

size_t capacity(RtxContext* pctxt)
{
  return pctxt->pStream != nullptr ? pctxt->pStream->bufSize : 0;
}

// Begins a capture and tells what it has at once.
int capture(RtxContext* pctxt)
{
  static RtxMemBuf octets;
  rtxMemBufInit(pctxt, &octets, 0);
  int status = rtxStreamSetCapture(pctxt, &octets);
  return status < 0 ? status : static_cast<int>(octets.usedcnt);
}

// A pipe has no positions.
int pipe(RtxContext* pctxt)
{
  return rtxStreamFileAttach(pctxt, popen("true", "r"), RTX_STREAM_READ);
}

int trickle(RtxContext* pctxt)
{
  static Trickle source{Octets(99), 3};
  source.at = 0;
  int status = source.open(pctxt);
  if (status == 0) pctxt->pStream->endOffset = 4; // nothing beyond it is loaded
  return status;
}

const calls::Functions kFunctions = {
    // kinds of streams, and what is seen of them
    CALL(lacking), CALL(complete), CALL(asked), CALL(failure), CALL(bufferSize), CALL(capacity), CALL(capture),
    CALL(pipe), CALL(trickle),
    // every kind
    CALL(rtxStreamMark), CALL(rtxStreamReset), CALL(rtxStreamGetPos), CALL(rtxStreamSetPos), CALL(rtxStreamSkip),
    CALL(rtxStreamRead), CALL(rtxStreamRead2), CALL(rtxStreamReadDirect), CALL(rtxStreamWrite), CALL(rtxStreamFlush),
    CALL(rtxStreamClose), CALL(rtxStreamSetCapture), CALL(rtxStreamGetIOBytes), CALL(rtxStreamInitCtxtBuf),
    CALL(rtxStreamRemoveCtxtBuf), CALL(rtxStreamLoadInputBuffer),
    // files and memory
    CALL(rtxStreamFileOpen), CALL(rtxStreamFileAttach), CALL(rtxStreamFileCreateReader),
    CALL(rtxStreamFileCreateWriter), CALL(rtxFileOpen), CALL(rtxByteToHexChar), CALL(rtxStreamMemoryCreate),
    CALL(rtxStreamMemoryAttach), CALL(rtxStreamMemoryCreateReader), CALL(rtxStreamMemoryCreateWriter),
    CALL(rtxStreamMemoryResetWriter),
    // coding
    CALL(rtxEncBits), CALL(rtxEncBitsFromByteArray), CALL(rtxExpandOutputBuffer), CALL(rtxWriteBytes), CALL(rtxDecBit),
    CALL(rtxReadBytes), CALL(rtxSkipBytes), CALL(rtxResetToPos), CALL(rtxCtxtSetBitOffset), CALL(rtxCheckInputBuffer),
    CALL(rtxInitContextBuffer), CALL(rtxCtxtSetFlag), CALL(rtxMemFree), CALL(rtxFreeContext), CALL(rtxErrGetStatus)};

TEST(StreamCalls, GiveWhatTheirLinesSay)
{
  calls::check("streams.txt", kFunctions, {{"octets", gOctets}});
}

// Each operation without a stream, with a kind that lacks everything, with one that has everything, and with one that
// fails at each call in turn: it stops there; only what is open is closed in any case.
TEST(StreamCalls, AskTheKindInOrderUpToTheCallThatFails)
{
  const struct {
    std::function<int64_t(RtxContext*)> call;
    int64_t without, lacking, gives;
    std::vector<std::string> asks;
    size_t pending = 0; // a mark that has yet to go to a position
    bool goesOn = false;
  } operations[] = {
      {[](auto* ctxt) { return rtxStreamMark(ctxt, 9); }, -20, -60, 0, {"mark9"}},
      {[](auto* ctxt) { return rtxStreamMark(ctxt, 9); }, -20, -60, 0, {"reset", "skip4", "mark9"}, 4},
      {[](auto* ctxt) { return rtxStreamReset(ctxt); }, -20, -60, 0, {"reset"}},
      {[](auto* ctxt) { return rtxStreamGetPos(ctxt, nullptr); }, -20, -60, 0, {"getPos"}},
      {[](auto* ctxt) { return rtxStreamSetPos(ctxt, 3); }, -20, -60, 0, {"setPos3"}},
      {[](auto* ctxt) { return rtxStreamSkip(ctxt, 6); }, -20, -22, 0, {"skip6"}},
      {[](auto* ctxt) { return rtxStreamRead(ctxt, gOctets, 3); }, -22, -22, 3, {"read", "read", "read"}},
      {[](auto* ctxt) { return rtxStreamReadDirect(ctxt, gOctets, 3); }, -22, -22, 1, {"read"}},
      {[](auto* ctxt) { return rtxStreamWrite(ctxt, gOctets, 2); }, -22, -22, 0, {"write"}},
      {[](auto* ctxt) { return rtxStreamFlush(ctxt); }, -20, 0, 0, {"flush"}},
      {[](auto* ctxt) { return rtxStreamClose(ctxt); }, 0, 0, 0, {"flush", "close"}, 0, true},
  };
  for (const auto& operation : operations) {
    SCOPED_TRACE(operation.asks.back());
    Bench without, bare;
    EXPECT_EQ(operation.call(&without), operation.without);
    ASSERT_EQ(lacking(&bare), 0);
    EXPECT_EQ(operation.call(&bare), operation.lacking);
    const int calls = static_cast<int>(operation.asks.size());
    for (int failAt = -1; failAt < calls; ++failAt) {
      Bench bench;
      std::string expected;
      for (int i = 0; i < (failAt < 0 || operation.goesOn ? calls : failAt + 1); ++i)
        expected += (i > 0 ? " " : "") + operation.asks[static_cast<size_t>(i)];
      ASSERT_EQ(complete(&bench, failAt, operation.pending), 0);
      EXPECT_EQ(operation.call(&bench), failAt < 0 ? operation.gives : RTX_E_READ) << failAt;
      EXPECT_EQ(gCalls, expected);
      EXPECT_EQ(rtxErrGetErrorCnt(&bench), failAt < 0 ? 0U : 1U);
    }
  }
}

// What a job hung on the stream in the heap, the end of the job takes off; the stream then reads on without it.
TEST(StreamCalls, TheEndOfAJobTakesOffItsCapture)
{
  for (auto end : {rtxMemFree, rtxMemReset}) {
    Bench bench;
    EXPECT_EQ(all({trickle(&bench), rtxDiagCtxtBitFieldListInit(&bench), rtxDecBit(&bench, gOctets)}), 0);
    EXPECT_NE(rtxStreamGetCapture(&bench), nullptr);
    end(&bench);
    EXPECT_TRUE(bench.pBitFldList == nullptr && rtxStreamGetCapture(&bench) == nullptr);
    bench.buffer.bitOffset = 8;
    const size_t before = rtxCtxtGetBitOffset(&bench);
    bench.pStream->endOffset = SIZE_MAX;
    EXPECT_EQ(rtxReadBytes(&bench, gOctets, 20), 0);
    EXPECT_EQ(rtxCtxtGetBitOffset(&bench), before + 160);
  }
}

} // namespace
