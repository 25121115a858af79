#include "bench/common/reporter.h"

#include <algorithm>
#include <cstdio>
#include <map>

static constexpr int kRepetitions = 15;
static constexpr double kSeconds = 0.004; // of a repetition

static double least(const std::vector<double>& values)
{
  return *std::min_element(values.begin(), values.end());
}

benchmark::internal::Benchmark* addMeasured(const std::string& name, std::function<void(benchmark::State&)> run)
{
  return benchmark::RegisterBenchmark(name.c_str(), std::move(run))
      ->Repetitions(kRepetitions)
      ->MinTime(kSeconds)
      ->ComputeStatistics("min", least)
      ->ReportAggregatesOnly();
}

void setTimes(benchmark::State& state, size_t messages, size_t octets)
{
  double all = static_cast<double>(messages);
  state.counters["ns"] = benchmark::Counter(all * 1e-9, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  state.counters["octets"] = static_cast<double>(octets) / all;
}

static void run(benchmark::State& state, const Mix& mix, Work (*make)(const Mix&))
{
  Work work = make(mix);
  work.round();
  size_t rounds = 0, before = systemAllocations();
  for (auto _ : state) {
    work.round();
    ++rounds;
  }
  size_t messages = rounds * work.messages;
  double allocations = static_cast<double>(systemAllocations() - before);
  setTimes(state, messages, 0);
  state.counters["octets"] = mix.meanOctets();
  state.counters["allocs"] = allocations / static_cast<double>(messages);
  if (work.lines) state.counters["lines"] = static_cast<double>(work.lines) / static_cast<double>(work.messages);
}

void addWork(const Mix& mix, const char* what, Work (*make)(const Mix&))
{
  addMeasured(mix.name + "/" + what, [&mix, make](benchmark::State& state) { run(state, mix, make); });
}

namespace {

class MinimaReporter : public benchmark::BenchmarkReporter {
public:
  bool ReportContext(const Context&) override
  {
    printf("%-44s %10s %8s %9s %8s %7s\n", "minimum over repetitions", "ns", "octets", "of floor", "ns/line", "allocs");
    return true;
  }
  void ReportRuns(const std::vector<Run>& runs) override
  {
    for (auto& run : runs) {
      if (run.error_occurred) printf("%-44s %s\n", run.benchmark_name().c_str(), run.error_message.c_str());
      if (run.aggregate_name == "min" && run.counters.count("ns")) print(run);
    }
  }

private:
  static double counter(const Run& run, const char* name)
  {
    auto found = run.counters.find(name);
    return found == run.counters.end() ? 0 : found->second.value;
  }
  void print(const Run& run)
  {
    const std::string& name = run.run_name.function_name;
    double ns = counter(run, "ns"), lines = counter(run, "lines");
    size_t slash = name.rfind('/');
    std::string group = name.substr(0, slash);
    if (name.substr(slash + 1) == "floor") floors[group] = ns;
    printf("%-44s %10.1f %8.1f ", name.c_str(), ns, counter(run, "octets"));
    if (floors.count(group))
      printf("%9.2f ", ns / floors[group]);
    else
      printf("%9s ", "");
    if (lines > 0)
      printf("%8.1f ", ns / lines);
    else
      printf("%8s ", "");
    printf("%7.3f  %s\n", counter(run, "allocs"), run.report_label.c_str());
    fflush(stdout);
  }
  std::map<std::string, double> floors;
};

} // namespace

int runAll(int argc, char** argv)
{
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  MinimaReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
