#include "bench/common/work.h"

#include <time.h>

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxDiagBitTrace.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxPrintStream.h"

static constexpr size_t kRoom = 70000; // above the longest message
static constexpr size_t kTextRoom = 16 << 20;

static std::atomic<size_t> gAllocations, gOctets;

static void* countedMalloc(size_t size)
{
  ++gAllocations;
  gOctets += size;
  return malloc(size);
}

static void* countedRealloc(void* ptr, size_t size)
{
  ++gAllocations;
  gOctets += size;
  return realloc(ptr, size);
}

size_t systemAllocations()
{
  return gAllocations;
}

void countAllocations(bool on)
{
  rtxMemSetAllocFuncs(on ? countedMalloc : nullptr, on ? countedRealloc : nullptr, on ? free : nullptr);
}

// A context with a record; its allocations are counted.
struct Job {
  RtxContext context;
  Octets record;
  Job(size_t recordOctets, bool keeps) : record(recordOctets)
  {
    rtxInitContextExt(&context, countedMalloc, countedRealloc, free);
    if (keeps) rtxCtxtSetFlag(&context, RTX_FLAG_KEEP_ELEMENTS);
  }
  ~Job()
  {
    context.pSecurity = nullptr; // another context's
    rtxFreeContext(&context);
  }
  Job(const Job&) = delete;
  int decode(const Message& message)
  {
    rtxCtxtSetBufPtr(&context, const_cast<uint8_t*>(message.octets.data()), message.octets.size());
    return message.type->decode(&context, record.data());
  }
  int encode(const Message& message, Octets& out)
  {
    rtxCtxtSetBufPtr(&context, out.data(), out.size());
    return message.type->encode(&context, record.data());
  }
};

using Jobs = std::vector<std::unique_ptr<Job>>;

// One job for all messages.
static std::shared_ptr<Job> jobFor(const Mix& mix)
{
  size_t size = 0;
  for (auto& message : mix.messages) size = std::max<size_t>(size, message.type->type->size);
  return std::make_shared<Job>(size, mix.keeps);
}

// A job with the record of each message.
static std::shared_ptr<Jobs> decoded(const Mix& mix)
{
  auto jobs = std::make_shared<Jobs>();
  for (auto& message : mix.messages) {
    Message copy = message;
    auto& job = jobs->emplace_back(std::make_unique<Job>(message.type->type->size, mix.keeps));
    if (message.keys) job->context.pSecurity = message.keys->context.pSecurity;
    if (job->decode(copy) != 0) giveUp(mix.name + ": a message does not decode");
  }
  return jobs;
}

static void keep(int status)
{
  asm volatile("" : : "r"(status) : "memory");
}

static Work workOf(const Mix& mix, std::function<void()> round)
{
  round();
  return {mix.messages.size(), 0, std::move(round)};
}

Work floorWork(const Mix& mix)
{
  return workOf(mix, [&mix, copy = Octets(kRoom)]() mutable {
    unsigned sum = 0;
    for (auto& message : mix.messages) {
      memcpy(copy.data(), message.octets.data(), message.octets.size());
      for (size_t i = 0; i < message.octets.size(); ++i) {
        sum += copy[i];
        asm volatile("" : "+r"(sum) : : "memory"); // each octet by itself, not sixteen at once
      }
    }
  });
}

template <class Reset> static Work decoding(const Mix& mix, Reset reset)
{
  auto job = jobFor(mix);
  return workOf(mix, [&mix, job, reset] {
    for (auto& message : mix.messages) {
      keep(job->decode(message));
      reset(&job->context);
    }
  });
}

Work decodeWork(const Mix& mix)
{
  return decoding(mix, [](RtxContext* pctxt) { rtxMemReset(pctxt); });
}

Work encodeWork(const Mix& mix)
{
  auto jobs = decoded(mix);
  auto out = std::make_shared<Octets>(kRoom);
  return workOf(mix, [&mix, jobs, out] {
    for (size_t i = 0; i < jobs->size(); ++i) keep((*jobs)[i]->encode(mix.messages[i], *out));
  });
}

static Work slowly(Work work)
{
  auto fast = work.round;
  work.round = [fast] {
    l3SetSlowMode(true);
    fast();
    l3SetSlowMode(false);
  };
  return work;
}

Work decodeSlowWork(const Mix& mix)
{
  return slowly(decodeWork(mix));
}

Work encodeSlowWork(const Mix& mix)
{
  return slowly(encodeWork(mix));
}

// Where printed text goes.
struct Text {
  Octets room;
  RtxPrintToStringBuffer sink{};
  explicit Text(size_t size) : room(size) { begin(); }
  void begin() { sink = {reinterpret_cast<char*>(room.data()), room.size(), 0}; }
  size_t lines() const { return static_cast<size_t>(std::count(room.begin(), room.begin() + sink.curPos, '\n')); }
};

static void formatPiece(void* user, const char* format, va_list args)
{
  auto* sink = static_cast<RtxPrintToStringBuffer*>(user);
  int length = vsnprintf(sink->buffer + sink->curPos, sink->bufSize - sink->curPos, format, args);
  if (length > 0) sink->curPos += static_cast<size_t>(length);
}

static Work printThrough(const Mix& mix, rtxPrintCallback callback)
{
  auto jobs = decoded(mix);
  auto text = std::make_shared<Text>(kTextRoom);
  for (auto& job : *jobs) rtxSetPrintStream(&job->context, callback, &text->sink);
  auto round = [&mix, jobs, text](bool forEach) {
    for (size_t i = 0; i < jobs->size(); ++i) {
      if (forEach) text->begin();
      mix.messages[i].type->print(&(*jobs)[i]->context, "pdu", (*jobs)[i]->record.data());
    }
  };
  text->begin();
  round(false);
  size_t lines = text->lines();
  Work work = workOf(mix, [round] { round(true); });
  work.lines = lines;
  return work;
}

Work printWork(const Mix& mix)
{
  return printThrough(mix, rtxPrintStreamToStringCB);
}

Work printCallbackWork(const Mix& mix)
{
  return printThrough(mix, formatPiece);
}

Work traceWork(const Mix& mix)
{
  auto job = jobFor(mix);
  return workOf(mix, [&mix, job] {
    for (auto& message : mix.messages) {
      rtxCtxtSetBufPtr(&job->context, const_cast<uint8_t*>(message.octets.data()), message.octets.size());
      rtxDiagCtxtBitFieldListInit(&job->context);
      keep(message.type->decode(&job->context, job->record.data()));
      rtxMemFree(&job->context);
    }
  });
}

Work freshWork(const Mix& mix)
{
  auto record = jobFor(mix);
  return workOf(mix, [&mix, record] {
    for (auto& message : mix.messages) {
      RtxContext context;
      rtInitContext(&context);
      rtxCtxtSetBufPtr(&context, const_cast<uint8_t*>(message.octets.data()), message.octets.size());
      keep(message.type->decode(&context, record->record.data()));
      rtxFreeContext(&context);
    }
  });
}

// Deciphering is done in place, so each round works on a copy.
Work unprotectWork(const Mix& mix)
{
  auto job = jobFor(mix);
  auto copy = std::make_shared<Octets>(kRoom);
  return workOf(mix, [&mix, job, copy] {
    for (auto& message : mix.messages) {
      memcpy(copy->data(), message.octets.data(), message.octets.size());
      job->context.pSecurity = message.keys->context.pSecurity;
      rtxCtxtSetBufPtr(&job->context, copy->data(), message.octets.size());
      keep(message.type->decode(&job->context, job->record.data()));
      rtxMemReset(&job->context);
    }
  });
}

Work protectWork(const Mix& mix)
{
  return encodeWork(mix); // with keys in each context
}

Work decodeAnyWork(const Mix& mix)
{
  return decoding(mix, [](RtxContext* pctxt) {
    rtxErrReset(pctxt);
    rtxMemReset(pctxt);
  });
}

size_t heapOctets(const Message& message)
{
  Job job(message.type->type->size, false);
  size_t before = gOctets;
  Message copy = message;
  if (message.keys) job.context.pSecurity = message.keys->context.pSecurity;
  job.decode(copy);
  return gOctets - before;
}

double threadTime()
{
  timespec now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

static double timeOf(const Work& work, unsigned rounds)
{
  double start = threadTime();
  for (unsigned i = 0; i < rounds; ++i) work.round();
  return threadTime() - start;
}

unsigned roundsFor(const Work& work, double ns)
{
  double once = std::max(std::min(timeOf(work, 1), timeOf(work, 1)), 10.0);
  return std::max(1U, static_cast<unsigned>(ns / once));
}

double leastTime(const Work& work, unsigned bursts, double burstNs)
{
  unsigned rounds = roundsFor(work, burstNs);
  double least = timeOf(work, rounds);
  for (unsigned i = 1; i < bursts; ++i) least = std::min(least, timeOf(work, rounds));
  return least / rounds / static_cast<double>(work.messages);
}
