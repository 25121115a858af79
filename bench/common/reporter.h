// What all benchmark programs share: each benchmark runs several short repetitions, and their minimum is reported, with
// its ratio to the floor of the same mix (the benchmark of the same name but for the last part, "floor", run before).
#ifndef VELNOR_BENCH_REPORTER_H
#define VELNOR_BENCH_REPORTER_H

#include <benchmark/benchmark.h>

#include "bench/common/work.h"

// Registers a work, which is made when its turn comes. The mix outlives the run.
void addWork(const Mix& mix, const char* what, Work (*make)(const Mix&));
// Any other benchmark, with the same repetitions; it reports its time by `setTimes`.
benchmark::internal::Benchmark* addMeasured(const std::string& name, std::function<void(benchmark::State&)> run);
void setTimes(benchmark::State& state, size_t messages, size_t octets);
// Runs what is registered and prints the minima; the arguments are Google Benchmark's.
int runAll(int argc, char** argv);

#endif
