// Whichever allocation fails, once or for good: the call ends with want of memory or as it would have without the
// failure, nothing leaks, and the context serves the next job.
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/messages.h"

namespace {

size_t gMade = 0, gFailFrom = SIZE_MAX, gFailures = 0, gLive = 0;

bool refused()
{
  size_t index = gMade++;
  return index >= gFailFrom && index - gFailFrom < gFailures;
}

void* countedMalloc(size_t size)
{
  void* memory = refused() ? nullptr : malloc(size);
  if (memory) ++gLive;
  return memory;
}

void* countedRealloc(void* old, size_t size)
{
  void* memory = refused() ? nullptr : realloc(old, size);
  if (memory && !old) ++gLive;
  return memory;
}

void countedFree(void* memory)
{
  if (memory) --gLive;
  free(memory);
}

// A context whose every allocation is one of the system.
class Context {
public:
  explicit Context(bool trace)
  {
    gFailFrom = SIZE_MAX;
    rtxInitContextExt(&ctxt, countedMalloc, countedRealloc, countedFree);
    rtxMemHeapSetFlags(&ctxt.pMemHeap, RT_MH_USE_SYSMEM);
    rtx3gppSecInitialize(&ctxt);
    if (trace) rtxDiagCtxtBitFieldListInit(&ctxt);
  }
  ~Context() { rtxFreeContext(&ctxt); }
  Context(const Context&) = delete;
  RtxContext* operator->() { return &ctxt; }
  operator RtxContext*() { return &ctxt; }
  void nextJob()
  {
    rtxMemFree(&ctxt);
    rtxCtxtClearFlag(&ctxt, RTX_OPENTAIL_FLAG); // an encoder leaves it as it stands
    rtx3gppSecInitialize(&ctxt);
  }

private:
  RtxContext ctxt;
};

struct Ending {
  int status;
  std::string text; // errors and record
};

using Job = std::function<Ending(Context&)>;

// Paths and parameters may fall to the failure, the records may not.
std::string findingsOf(const RtxContext* ctxt)
{
  std::string text;
  for (const RtxDListNode* node = ctxt->errInfo.head; node; node = node->next) {
    const RtxErrInfo& rec = *static_cast<const RtxErrInfo*>(node->data);
    text += std::to_string(rec.status) + (rec.fatal ? "\n" : " (not fatal)\n");
  }
  return text;
}

// Failures that the message has by itself go with one more for the memory.
bool endedWell(const Ending& ending, const Ending& expected)
{
  if (ending.status == RTX_E_NO_MEMORY) return true;
  if (expected.status < 0) return ending.status < 0;
  return ending.status == expected.status && ending.text == expected.text;
}

void checkJob(const Job& job, bool trace)
{
  size_t live = gLive;
  Ending expected;
  size_t count;
  {
    Context ctxt(trace);
    gMade = 0;
    expected = job(ctxt);
    count = gMade;
  }
  for (size_t failures : {size_t{1}, SIZE_MAX})
    for (size_t from = 0; from < count; ++from) {
      Context ctxt(trace);
      gMade = 0;
      gFailFrom = from;
      gFailures = failures;
      Ending ending = job(ctxt);
      gFailFrom = SIZE_MAX;
      EXPECT_TRUE(endedWell(ending, expected)) << from << " of " << count << (failures == 1 ? " once: " : " for good: ")
                                               << ending.status << " for " << expected.status << "\n"
                                               << ending.text << "for\n"
                                               << expected.text;
      ctxt.nextJob();
      Ending again = job(ctxt);
      EXPECT_EQ(again.status, expected.status) << from;
      EXPECT_EQ(again.text, expected.text) << from;
      if (testing::Test::HasFailure()) return;
    }
  EXPECT_EQ(gLive, live) << "leaked";
}

Job decoding(const TestMessage& message)
{
  return [&message](Context& ctxt) -> Ending {
    Octets octets = message.octets;
    octets.push_back(0); // a null pointer would ask for a buffer
    size_t fail = gFailFrom;
    gFailFrom = SIZE_MAX;
    rtxCtxtSetBufPtr(ctxt, octets.data(), message.octets.size());
    auto record = recordStorage(*message.entry->type, 0);
    gFailFrom = fail;
    int status = message.entry->decode(ctxt, record.get());
    gFailFrom = SIZE_MAX;
    return {status, findingsOf(ctxt) + (status < 0 ? "" : printed(*message.entry->type, "x", record.get()))};
  };
}

// The sample into a buffer that grows.
Job encoding(const L3TypeEntry& entry)
{
  return [&entry](Context& ctxt) -> Ending {
    size_t fail = gFailFrom, made = gMade;
    gFailFrom = SIZE_MAX;
    void* value = entry.sample ? entry.sample(ctxt) : l3Sample(ctxt, *entry.type);
    rtxCtxtSetBufPtr(ctxt, nullptr, 1);
    gFailFrom = fail;
    gMade = made;
    int status = entry.encode(ctxt, value);
    gFailFrom = SIZE_MAX;
    const RtxBuffer& buffer = ctxt->buffer;
    std::string octets(buffer.data, buffer.data + buffer.byteIndex);
    return {status, findingsOf(ctxt) + (status < 0 ? "" : octets)};
  };
}

void checkDecodings(const std::vector<TestMessage>& messages)
{
  for (const TestMessage& message : messages)
    for (bool trace : {false, true}) {
      SCOPED_TRACE(message.name);
      checkJob(decoding(message), trace && message.octets.size() < 60);
      if (testing::Test::HasFailure()) return;
    }
}

TEST(AllocationFailure, DecodingSamples)
{
  checkDecodings(sampleMessages());
}

TEST(AllocationFailure, DecodingTheCorpus)
{
  std::vector<TestMessage> messages;
  for (TestMessage& message : corpusMessages(VELNOR_TEST_DATA "/../corpus/data"))
    if (message.octets.size() < 200) messages.push_back(std::move(message));
  checkDecodings(messages);
}

TEST(AllocationFailure, EncodingSamples)
{
  for (size_t i = 0; i < l3TypeCount; ++i) {
    SCOPED_TRACE(l3TypeTable[i].type->fullName);
    if (l3TypeTable[i].encode) checkJob(encoding(l3TypeTable[i]), i % 2);
    if (testing::Test::HasFailure()) return;
  }
}

// A finding costs as many allocations as its record has strings; none of them may get lost with it.
TEST(AllocationFailure, FindingsInDamagedSamples)
{
  for (const TestMessage& sample : sampleMessages()) {
    TestMessage damaged = sample;
    for (uint8_t& octet : damaged.octets) {
      uint8_t old = octet;
      octet = 0;
      if (sample.octets.size() < 40) checkJob(decoding(damaged), false);
      octet = old;
      if (testing::Test::HasFailure()) {
        ADD_FAILURE() << sample.name;
        return;
      }
    }
  }
}

} // namespace
