// Whichever allocation fails, once or for good: the call ends with want of memory or as it would have without the
// failure, the record can be printed and encoded, nothing leaks, and the context serves the next job.
#include <gtest/gtest.h>

#include <set>

#include "tests/bench.h"
#include "tests/messages.h"
#include "velnor3gpp/TS24501Msgs.h"

namespace {

// A context whose every allocation is one of the system, or whose blocks go back to it as soon as they are empty.
struct Context : RtxContext {
  explicit Context(bool trace, uint32_t heapFlags = RT_MH_USE_SYSMEM)
  {
    rtxInitContextExt(this, failing::mallocFunc, failing::reallocFunc, failing::freeFunc);
    rtxMemHeapSetFlags(&pMemHeap, heapFlags);
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

// A message to decode; or a sample, to be built or, that done, to be encoded into a buffer that grows.
struct Job {
  const L3TypeEntry& entry;
  enum { kDecode, kBuild, kEncode } what;
  Octets message = {};
  uint32_t flags = 0;

  int run(RtxContext* ctxt, void*& value) const
  {
    if (what == kDecode) return entry.decode(ctxt, value);
    if (what == kEncode) return entry.encode(ctxt, value);
    value = sampleValue(entry, ctxt);
    return value ? 0 : RTX_E_NO_MEMORY;
  }
};

struct Ending {
  int status;
  std::string text; // errors and value
  long allocations;
};

// The job with one allocation refused, counted from 1, or all from there on.
Ending endingOf(RtxContext* ctxt, const Job& job, long refused, bool forGood)
{
  Octets message = job.message;
  message.push_back(0); // a null pointer would ask for a buffer
  auto record = recordStorage(*job.entry.type, 0xA5);
  void* value = job.what == Job::kEncode ? sampleValue(job.entry, ctxt) : record.get();
  if (job.what == Job::kDecode) rtxCtxtSetBufPtr(ctxt, message.data(), job.message.size());
  if (job.what == Job::kEncode) rtxCtxtSetBufPtr(ctxt, nullptr, 1);
  ctxt->flags = (ctxt->flags & ~(RTX_FLAG_KEEP_ELEMENTS | RTX_FLAG_STANDARD_FORMS)) | job.flags;
  failing::setUp(refused, forGood);
  int status = job.run(ctxt, value);
  Ending ending = {status, "", failing::calls};
  failing::allow(-1);
  // Paths and parameters may fall to the failure, the records may not.
  for (const RtxDListNode* node = ctxt->errInfo.head; node; node = node->next) {
    const RtxErrInfo& rec = *static_cast<const RtxErrInfo*>(node->data);
    ending.text += std::to_string(rec.status) + (rec.fatal ? "\n" : " (not fatal)\n");
  }
  const uint8_t* encoded = ctxt->buffer.data;
  if (status >= 0)
    ending.text += job.what == Job::kEncode ? hexText(Octets(encoded, encoded + ctxt->buffer.byteIndex))
                                            : printed(*job.entry.type, "x", value);
  if (job.what == Job::kDecode) useRecord(job.entry, ctxt, value);
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
bool endsWell(const Job& job, bool trace, uint32_t heapFlags = RT_MH_USE_SYSMEM)
{
  Ending expected = endingOf(std::make_unique<Context>(trace, heapFlags).get(), job, 0, false);
  for (bool forGood : {false, true})
    for (long refused = 1; refused <= expected.allocations; ++refused) {
      Context ctxt(trace, heapFlags);
      Ending ending = endingOf(&ctxt, job, refused, forGood);
      EXPECT_TRUE(endedWell(ending, expected))
          << refused << " of " << expected.allocations << (forGood ? " for good: " : " once: ") << ending.status
          << " for " << expected.status << "\n"
          << ending.text << "for\n"
          << expected.text;
      ctxt.nextJob();
      Ending again = endingOf(&ctxt, job, 0, false);
      EXPECT_EQ(again.status, expected.status) << refused;
      EXPECT_EQ(again.text, expected.text) << refused;
      if (testing::Test::HasFailure()) return false;
    }
  EXPECT_EQ(failing::inUse, 0) << "leaked";
  return !testing::Test::HasFailure();
}

TEST(AllocationFailure, DecodingSamplesAndTheCorpus)
{
  auto messages = takenSamples(2);
  for (TestMessage& message : takenCorpus(VELNOR_TEST_DATA "/../corpus/data", 2))
    if (message.octets.size() < 200) messages.push_back(std::move(message));
  for (const TestMessage& message : messages)
    for (bool trace : {false, true}) {
      SCOPED_TRACE(message.name);
      if (trace && message.octets.size() >= 60) continue;
      const Job job = {*message.entry, Job::kDecode, message.octets};
      if (!endsWell(job, trace)) return;
      if (!trace && message.octets.size() < 60 && !endsWell(job, trace, RT_MH_FREE_EMPTY_BLOCKS)) return;
    }
}

TEST(AllocationFailure, KeepingElements)
{
  for (auto& row : readTable(VELNOR_TEST_DATA "/../corpus/data/standard.tsv", 4)) {
    SCOPED_TRACE(row[0]);
    const L3TypeEntry& entry = *l3FindType(row[2].c_str());
    Job job = {entry, Job::kDecode, octetsOfHex(row[3]), RTX_FLAG_KEEP_ELEMENTS | RTX_FLAG_STANDARD_FORMS};
    if (!endsWell(job, false) || !endsWell(job, true)) return;
  }
}

// A trial of the direct coder gives back what it took. Where the walk over the rows then stops earlier than the trial
// did, the record led to that storage.
TEST(AllocationFailure, NoMessageOutlivesItsStorageInTheRecord)
{
  static std::set<void*> live; // pieces handed out
  auto take = [](size_t size) { return *live.insert(failing::mallocFunc(size)).first; };
  auto giveBack = [](void* piece) {
    live.erase(piece);
    failing::freeFunc(piece);
  };
  for (const char* hex : {"7e00680100082e0501c1ffff91a1", "7e00410179000d0100f110f0ff00000000002031ff00"})
    for (long refused = 1; refused < 20; ++refused)
      for (bool forGood : {false, true}) {
        Octets octets = octetsOfHex(hex);
        RtxContext ctxt;
        rtxInitContextExt(&ctxt, take, nullptr, giveBack);
        rtxMemHeapSetFlags(&ctxt.pMemHeap, RT_MH_USE_SYSMEM);
        rtxCtxtSetBufPtr(&ctxt, octets.data(), octets.size());
        failing::setUp(refused, forGood);
        TS24501Msg_PDU pdu = {};
        int status = NASDec_TS24501Msg_PDU(&ctxt, &pdu);
        failing::allow(-1);
        const void* message = pdu.data.u.any;
        auto holds = [message](void* piece) { return uintptr_t(message) - uintptr_t(piece) < 64; };
        EXPECT_TRUE(!message || std::any_of(live.begin(), live.end(), holds)) << hex << " " << refused << " " << status;
        rtxFreeContext(&ctxt);
      }
}

TEST(AllocationFailure, BuildingAndEncodingSamples)
{
  bool trace = false;
  for (const L3TypeEntry* entry : takenTypes(2)) {
    SCOPED_TRACE(entry->type->fullName);
    if (!endsWell({*entry, Job::kBuild}, false)) return;
    trace = !trace;
    if (entry->encode && !endsWell({*entry, Job::kEncode}, trace)) return;
  }
}

} // namespace
