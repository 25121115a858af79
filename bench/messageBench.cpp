// Decoding, encoding, printing and tracing of real messages: a shuffled mix of each protocol and single named
// messages, in fast and slow mode, beside the floor (copy the message once, read each octet once). Times are per
// message; `ratio` compares with the floor of the same run, `allocs` counts calls of the system allocator.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "rt3gppsrc/engine/l3Engine.h"
#include "velnor3gpp/rt3gppNasSec.h"
#include "velnor3gpp/rtContext.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxDiagBitTrace.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxPrintStream.h"

namespace {

struct Message {
  std::string id, object;
  std::vector<uint8_t> octets;
};

struct Mix {
  const L3TypeEntry* type = nullptr;
  std::vector<Message> messages;
  size_t octets = 0;
};

size_t gAllocations = 0;

void* countedMalloc(size_t size)
{
  ++gAllocations;
  return malloc(size);
}

void* countedRealloc(void* ptr, size_t size)
{
  ++gAllocations;
  return realloc(ptr, size);
}

std::vector<uint8_t> fromHex(const std::string& hex)
{
  std::vector<uint8_t> out;
  for (size_t i = 0; i + 1 < hex.size(); i += 2)
    out.push_back(static_cast<uint8_t>(std::stoul(hex.substr(i, 2), nullptr, 16)));
  return out;
}

// The plain, well-formed messages of a corpus file that decode and encode without complaint.
Mix readMix(const std::string& file, const char* form)
{
  Mix mix;
  mix.type = l3FindType(form);
  std::ifstream in(std::string(VELNOR_BENCH_DATA) + "/" + file);
  RtxContext* pctxt = rtNewContext();
  for (std::string line; mix.type && std::getline(in, line);) {
    std::stringstream fields(line);
    std::string id, source, type, hex, object, wellformed;
    for (std::string* field : {&id, &source, &type, &hex, &object, &wellformed}) std::getline(fields, *field, '\t');
    if (type != form || wellformed != "yes") continue;
    Message message{id, object, fromHex(hex)};
    std::vector<uint8_t> record(mix.type->type->size);
    rtxCtxtSetBufPtr(pctxt, message.octets.data(), message.octets.size());
    bool good = mix.type->decode(pctxt, record.data()) == 0;
    rtxMemFree(pctxt);
    if (!good) continue;
    mix.octets += message.octets.size();
    mix.messages.push_back(std::move(message));
  }
  rtFreeContext(pctxt);
  std::shuffle(mix.messages.begin(), mix.messages.end(), std::mt19937(7));
  return mix;
}

struct Job {
  RtxContext context;
  std::vector<uint8_t> record, out;
  explicit Job(const Mix& mix) : record(mix.type->type->size), out(70000)
  {
    rtxInitContextExt(&context, countedMalloc, countedRealloc, free);
  }
  ~Job() { rtxFreeContext(&context); }
  int decode(const Mix& mix, const Message& message)
  {
    rtxCtxtSetBufPtr(&context, const_cast<uint8_t*>(message.octets.data()), message.octets.size());
    return mix.type->decode(&context, record.data());
  }
};

void report(benchmark::State& state, size_t messages, size_t allocations)
{
  state.SetItemsProcessed(static_cast<int64_t>(messages));
  state.counters["allocs"] = static_cast<double>(allocations) / static_cast<double>(messages);
  state.counters["ns/msg"] = benchmark::Counter(static_cast<double>(messages) * 1e-9,
                                                benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void floorOf(benchmark::State& state, const Mix& mix)
{
  std::vector<uint8_t> copy(70000);
  size_t done = 0;
  for (auto _ : state) {
    unsigned sum = 0;
    for (auto& message : mix.messages) {
      memcpy(copy.data(), message.octets.data(), message.octets.size());
      for (size_t i = 0; i < message.octets.size(); ++i) {
        sum += copy[i];
        benchmark::DoNotOptimize(sum);
      }
    }
    done += mix.messages.size();
  }
  report(state, done, 0);
}

void decode(benchmark::State& state, const Mix& mix, bool slow)
{
  Job job(mix);
  l3SetSlowMode(slow);
  for (auto& message : mix.messages) {
    job.decode(mix, message);
    rtxMemReset(&job.context);
  }
  size_t done = 0, before = gAllocations;
  for (auto _ : state) {
    for (auto& message : mix.messages) {
      benchmark::DoNotOptimize(job.decode(mix, message));
      rtxMemReset(&job.context);
    }
    done += mix.messages.size();
  }
  report(state, done, gAllocations - before);
  l3SetSlowMode(false);
}

void encode(benchmark::State& state, const Mix& mix, bool slow)
{
  std::vector<Job*> jobs;
  for (auto& message : mix.messages) {
    jobs.push_back(new Job(mix));
    jobs.back()->decode(mix, message);
  }
  l3SetSlowMode(slow);
  std::vector<uint8_t> out(70000);
  size_t done = 0, before = gAllocations;
  for (auto _ : state) {
    for (auto* job : jobs) {
      rtxCtxtSetBufPtr(&job->context, out.data(), out.size());
      benchmark::DoNotOptimize(mix.type->encode(&job->context, job->record.data()));
    }
    done += jobs.size();
  }
  report(state, done, gAllocations - before);
  l3SetSlowMode(false);
  for (auto* job : jobs) delete job;
}

void discard(void*, const char* text, va_list)
{
  benchmark::DoNotOptimize(text);
}

void print(benchmark::State& state, const Mix& mix)
{
  std::vector<Job*> jobs;
  for (auto& message : mix.messages) {
    jobs.push_back(new Job(mix));
    jobs.back()->decode(mix, message);
    rtxSetPrintStream(&jobs.back()->context, discard, nullptr);
  }
  size_t done = 0, before = gAllocations;
  for (auto _ : state) {
    for (auto* job : jobs) mix.type->print(&job->context, "pdu", job->record.data());
    done += jobs.size();
  }
  report(state, done, gAllocations - before);
  for (auto* job : jobs) delete job;
}

void trace(benchmark::State& state, const Mix& mix)
{
  Job job(mix);
  size_t done = 0, before = gAllocations;
  for (auto _ : state) {
    for (auto& message : mix.messages) {
      rtxCtxtSetBufPtr(&job.context, const_cast<uint8_t*>(message.octets.data()), message.octets.size());
      rtxDiagCtxtBitFieldListInit(&job.context);
      benchmark::DoNotOptimize(mix.type->decode(&job.context, job.record.data()));
      rtxMemFree(&job.context);
    }
    done += mix.messages.size();
  }
  report(state, done, gAllocations - before);
}

void addMix(const char* name, const Mix& mix)
{
  if (mix.messages.empty()) return;
  auto add = [&](const std::string& what, auto function) {
    benchmark::RegisterBenchmark((std::string(name) + "/" + what).c_str(), function);
  };
  add("floor", [&mix](benchmark::State& s) { floorOf(s, mix); });
  add("decode", [&mix](benchmark::State& s) { decode(s, mix, false); });
  add("encode", [&mix](benchmark::State& s) { encode(s, mix, false); });
  add("decodeSlow", [&mix](benchmark::State& s) { decode(s, mix, true); });
  add("encodeSlow", [&mix](benchmark::State& s) { encode(s, mix, true); });
  add("print", [&mix](benchmark::State& s) { print(s, mix); });
  add("trace", [&mix](benchmark::State& s) { trace(s, mix); });
}

// The longest message of an alternative, by itself.
void addSingle(const char* name, const Mix& mix, const char* object, std::vector<Mix*>& kept)
{
  const Message* best = nullptr;
  for (auto& message : mix.messages)
    if (message.object == object && (!best || message.octets.size() > best->octets.size())) best = &message;
  if (!best) return;
  kept.push_back(new Mix{mix.type, {*best}, best->octets.size()});
  std::string full = std::string(name) + "/" + object + "/" + std::to_string(best->octets.size());
  addMix(full.c_str(), *kept.back());
}

} // namespace

int main(int argc, char** argv)
{
  Mix mm5 = readMix("ts24501.tsv", "TS24501Msg_PDU"), eps = readMix("ts24301.tsv", "TS24301Msg_PDU"),
      sms = readMix("ts24011.tsv", "TS24011Msg_CP_PDU");
  std::vector<Mix*> kept;
  addMix("5gs", mm5);
  addMix("eps", eps);
  addMix("sms", sms);
  for (const char* object : {"obj_RegRequest5G", "obj_RegAccept5G", "obj_EstablishAccept5G", "obj_DLNASTrans5G"})
    addSingle("5gs", mm5, object, kept);
  for (const char* object : {"obj_AttachRequest", "obj_AttachAccept"}) addSingle("eps", eps, object, kept);
  benchmark::Initialize(&argc, argv);
  benchmark::AddCustomContext("messages", std::to_string(mm5.messages.size()) + " 5gs, " +
                                              std::to_string(eps.messages.size()) + " eps");
  benchmark::RunSpecifiedBenchmarks();
  for (Mix* mix : kept) delete mix;
  return 0;
}
