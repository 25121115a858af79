// Whichever allocation fails, once or for good: the call ends with want of memory or as it would have without the
// failure, nothing leaks, and the context serves the next job.
#include <gtest/gtest.h>

#include "tests/messages.h"
#include "tests/robustness/countedHeap.h"

namespace {

// A context whose every allocation is one of the system.
struct Context : RtxContext {
  explicit Context(bool trace)
  {
    rtxInitContextExt(this, heap::allocate, heap::grow, heap::release);
    rtxMemHeapSetFlags(&pMemHeap, RT_MH_USE_SYSMEM);
    rtx3gppSecInitialize(this);
    if (trace) rtxDiagCtxtBitFieldListInit(this);
  }
  ~Context() { rtxFreeContext(this); }
  Context(const Context&) = delete;
  void nextJob()
  {
    rtxMemFree(this);
    rtxCtxtClearFlag(this, RTX_OPENTAIL_FLAG); // an encoder leaves it as it stands
    rtx3gppSecInitialize(this);
  }
};

// What is made ready while nothing fails, what is done, and what then stands in its value.
struct Job {
  std::function<void*(RtxContext*)> prepare;
  std::function<int(RtxContext*, void*&)> run;
  std::function<std::string(RtxContext*, void*)> tell;
};

struct Ending {
  int status;
  std::string text; // errors and value
  size_t allocations;
};

Ending endingOf(RtxContext* ctxt, const Job& job, size_t failFrom, size_t failures)
{
  void* value = job.prepare(ctxt);
  heap::refuse(failFrom, failures);
  int status = job.run(ctxt, value);
  heap::refuseNothing();
  Ending ending = {status, "", heap::made};
  // Paths and parameters may fall to the failure, the records may not.
  for (const RtxDListNode* node = ctxt->errInfo.head; node; node = node->next) {
    const RtxErrInfo& rec = *static_cast<const RtxErrInfo*>(node->data);
    ending.text += std::to_string(rec.status) + (rec.fatal ? "\n" : " (not fatal)\n");
  }
  if (status >= 0) ending.text += job.tell(ctxt, value);
  return ending;
}

// Failures that the message has by itself go with one more for the memory.
bool endedWell(const Ending& ending, const Ending& expected)
{
  if (ending.status == RTX_E_NO_MEMORY) return true;
  if (expected.status < 0) return ending.status < 0;
  return ending.status == expected.status && ending.text == expected.text;
}

// False after a failure.
bool endsWell(const Job& job, bool trace)
{
  size_t live = heap::live;
  Ending expected = endingOf(std::make_unique<Context>(trace).get(), job, SIZE_MAX, 0);
  for (size_t failures : {size_t{1}, SIZE_MAX})
    for (size_t from = 0; from < expected.allocations; ++from) {
      Context ctxt(trace);
      Ending ending = endingOf(&ctxt, job, from, failures);
      EXPECT_TRUE(endedWell(ending, expected))
          << from << " of " << expected.allocations << (failures == 1 ? " once: " : " for good: ") << ending.status
          << " for " << expected.status << "\n"
          << ending.text << "for\n"
          << expected.text;
      ctxt.nextJob();
      Ending again = endingOf(&ctxt, job, SIZE_MAX, 0);
      EXPECT_EQ(again.status, expected.status) << from;
      EXPECT_EQ(again.text, expected.text) << from;
      if (testing::Test::HasFailure()) return false;
    }
  EXPECT_EQ(heap::live, live) << "leaked";
  return !testing::Test::HasFailure();
}

Job decoding(const TestMessage& message)
{
  const L3TypeEntry& entry = *message.entry;
  auto octets = std::make_shared<Octets>();
  auto record = std::make_shared<std::unique_ptr<uint64_t[]>>();
  auto prepare = [=, &message, &entry](RtxContext* ctxt) -> void* {
    *octets = message.octets;
    octets->push_back(0); // a null pointer would ask for a buffer
    rtxCtxtSetBufPtr(ctxt, octets->data(), message.octets.size());
    *record = recordStorage(*entry.type, 0);
    return record->get();
  };
  auto run = [&entry](RtxContext* ctxt, void* value) { return entry.decode(ctxt, value); };
  return {prepare, run, [&entry](RtxContext*, void* value) { return printed(*entry.type, "x", value); }};
}

// Into a buffer that grows.
Job encoding(const L3TypeEntry& entry)
{
  auto prepare = [&entry](RtxContext* ctxt) {
    void* value = sampleValue(entry, ctxt);
    rtxCtxtSetBufPtr(ctxt, nullptr, 1);
    return value;
  };
  auto run = [&entry](RtxContext* ctxt, void* value) { return entry.encode(ctxt, value); };
  auto tell = [](RtxContext* ctxt, void*) {
    return hexText(Octets(ctxt->buffer.data, ctxt->buffer.data + ctxt->buffer.byteIndex));
  };
  return {prepare, run, tell};
}

Job sampling(const L3TypeEntry& entry)
{
  auto run = [&entry](RtxContext* ctxt, void*& value) {
    value = sampleValue(entry, ctxt);
    return value ? 0 : RTX_E_NO_MEMORY;
  };
  return {[](RtxContext*) { return nullptr; }, run,
          [&entry](RtxContext*, void* value) { return printed(*entry.type, "x", value); }};
}

TEST(AllocationFailure, DecodingSamplesAndTheCorpus)
{
  auto messages = sampleMessages();
  for (TestMessage& message : corpusMessages(VELNOR_TEST_DATA "/../corpus/data"))
    if (message.octets.size() < 200) messages.push_back(std::move(message));
  for (const TestMessage& message : messages)
    for (bool trace : {false, true}) {
      SCOPED_TRACE(message.name);
      if (trace && message.octets.size() >= 60) continue;
      if (!endsWell(decoding(message), trace)) return;
    }
}

TEST(AllocationFailure, BuildingAndEncodingSamples)
{
  for (size_t i = 0; i < l3TypeCount; ++i) {
    SCOPED_TRACE(l3TypeTable[i].type->fullName);
    if (!endsWell(sampling(l3TypeTable[i]), false)) return;
    if (l3TypeTable[i].encode && !endsWell(encoding(l3TypeTable[i]), i % 2)) return;
  }
}

} // namespace
