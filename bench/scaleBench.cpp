// How the cost grows: messages of 16 octets to 64 KiB made of many small units, of one payload, and of containers in
// containers; lists of 1 to 255 entries; messages that fail beside good ones; all types in turn and a cold cache; two
// threads beside one.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>

#include "bench/common/reporter.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxError.h"

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start)
{
  return std::chrono::duration<double>(Clock::now() - start).count();
}

void addCoding(const Mix& mix)
{
  addWork(mix, "floor", floorWork);
  addWork(mix, "decode", decodeWork);
  if (encodes(mix)) addWork(mix, "encode", encodeWork);
}

std::vector<Mix> grown()
{
  std::vector<Mix> out;
  for (size_t size = 16; size <= 65536; size *= 4) {
    std::string octets = std::to_string(size);
    out.push_back(made("units/" + octets, manyUnits(size)));
    out.push_back(made("payload/" + octets, onePayload(size)));
    out.push_back(made("nested/" + octets, nestedUnits(size)));
  }
  for (size_t count : {1, 2, 4, 8, 16, 32, 64, 128, 255})
    out.push_back(made("entries/" + std::to_string(count), manyEntries(count, 8)));
  return out;
}

// A registration request, and what becomes of it when something is wrong.
std::vector<Mix> failing(const Mix& good)
{
  std::vector<Mix> out;
  auto add = [&](const char* name, auto change) {
    Mix& mix = out.emplace_back(good);
    mix.name = std::string("failing/") + name;
    change(mix.messages[0].octets);
  };
  auto append = [](Octets more) {
    return [more](Octets& octets) { octets.insert(octets.end(), more.begin(), more.end()); };
  };
  add("good", [](Octets&) {});
  add("truncated", [](Octets& octets) { octets.pop_back(); });
  add("value", [](Octets& octets) { octets[3] &= 0xF8; });
  add("repeated", append({0x10, 0x01, 0x00, 0x10, 0x01, 0x00}));
  add("unknown", append({0x6D, 0x01, 0x00}));
  return out;
}

std::string statusOf(const Message& message)
{
  RtxContext* pctxt = rtNewContext();
  Octets record(message.type->type->size);
  rtxCtxtSetBufPtr(pctxt, const_cast<uint8_t*>(message.octets.data()), message.octets.size());
  int status = message.type->decode(pctxt, record.data());
  rtFreeContext(pctxt);
  return std::to_string(status);
}

// The sample of every type that codes, each once: what a cache sees that has just held something else.
Mix everyType()
{
  Mix mix{"types", {}};
  for (size_t i = 0; i < l3TypeCount; ++i) {
    const L3TypeEntry& entry = l3TypeTable[i];
    if (!entry.decode || !entry.encode || !entry.sample) continue;
    RtxContext* pctxt = rtNewContext();
    Octets out(70000), record(entry.type->size + 8);
    void* sample = entry.sample(pctxt);
    rtxCtxtSetBufPtr(pctxt, out.data(), out.size());
    bool good = sample && entry.encode(pctxt, sample) == 0;
    out.resize(pctxt->buffer.byteIndex);
    rtxCtxtSetBufPtr(pctxt, out.data(), out.size());
    good = good && !out.empty() && entry.decode(pctxt, record.data()) == 0;
    if (good) mix.messages.push_back({&entry, "", out, nullptr});
    rtFreeContext(pctxt);
  }
  return mix;
}

// The same messages, each many times before the next.
Mix oneByOne(const Mix& mix, size_t times)
{
  Mix out{"typesOneByOne", {}};
  for (auto& message : mix.messages) out.messages.insert(out.messages.end(), times, message);
  return out;
}

// Every message behind 4 MiB that something else has touched; only the decoding is timed.
void decodeCold(benchmark::State& state, const Mix& mix)
{
  std::vector<Work> works;
  std::vector<Mix> alone;
  for (auto& message : mix.messages) alone.push_back({"", {message}});
  for (auto& one : alone) works.push_back(decodeWork(one));
  Octets other(4 << 20);
  for (auto _ : state) {
    double seconds = 0;
    for (auto& work : works) {
      for (size_t i = 0; i < other.size(); i += 64) ++other[i];
      auto start = Clock::now();
      work.round();
      seconds += secondsSince(start);
    }
    state.SetIterationTime(seconds);
  }
  setTimes(state, mix.messages.size() * static_cast<size_t>(state.iterations()), 0);
  state.counters["octets"] = mix.meanOctets();
}

// Time until so many threads, each with its own context, have done their rounds.
double secondsOn(unsigned threads, const Mix& mix, unsigned rounds)
{
  std::atomic<unsigned> ready{0};
  std::atomic<bool> go{false};
  auto job = [&] {
    Work work = decodeWork(mix);
    ++ready;
    while (!go) {}
    for (unsigned i = 0; i < rounds; ++i) work.round();
  };
  std::vector<std::thread> others;
  for (unsigned i = 1; i < threads; ++i) others.emplace_back(job);
  Work mine = decodeWork(mix);
  while (ready != threads - 1) {}
  auto start = Clock::now();
  go = true;
  for (unsigned i = 0; i < rounds; ++i) mine.round();
  for (auto& other : others) other.join();
  return secondsSince(start);
}

// One and two threads in turn, so that both see the machine alike; the minima are compared.
void showThreads(const Mix& mix)
{
  constexpr unsigned kRounds = 100, kTries = 200;
  double one = 1e9, two = 1e9;
  for (unsigned i = 0; i < kTries; ++i) {
    one = std::min(one, secondsOn(1, mix, kRounds));
    two = std::min(two, secondsOn(2, mix, kRounds));
  }
  double each = 1e9 / kRounds / static_cast<double>(mix.messages.size());
  printf("threads: %.1f ns a message on one, %.1f on two, together %.2f times as fast\n", one * each, two * each / 2,
         2 * one / two);
}

} // namespace

int main(int argc, char** argv)
{
  Mix mm5 = readMix("5gs", "ts24501.tsv"), types = everyType(), again = oneByOne(types, 50);
  std::vector<Mix> sizes = grown(), bad = failing(single(mm5, "", "obj_RegRequest5G", 100));
  if (argc == 2 && std::string(argv[1]) == "--threads") {
    showThreads(mm5);
    return 0;
  }
  addCoding(mm5);
  for (auto& mix : sizes) addCoding(mix);
  for (auto& mix : bad) {
    printf("%s: status %s\n", mix.name.c_str(), statusOf(mix.messages[0]).c_str());
    addWork(mix, "decode", decodeAnyWork);
  }
  addWork(types, "decode", decodeWork);
  addWork(again, "decode", decodeWork);
  addMeasured("5gs/decodeCold", [&](benchmark::State& s) { decodeCold(s, mm5); })->UseManualTime();
  return runAll(argc, argv);
}
