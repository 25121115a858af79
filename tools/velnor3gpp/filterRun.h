// The workers of a filter: each takes a block, answers it, and hands its answers over when those of all blocks before
// are written. So the output is the same for any number of workers.
#ifndef VELNOR3GPP_PROGRAM_FILTER_RUN_H
#define VELNOR3GPP_PROGRAM_FILTER_RUN_H

#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>

#include "filterWork.h"

class FilterRun {
public:
  using Write = std::function<void(std::string_view text)>;

  // `write` gets whole lines, in order, by one thread at a time. It hands them on or throws OutputError.
  FilterRun(const FilterOptions& options, FilterInput& input, Write write);
  // Works to the end of the input, or until reading or writing fails.
  void run(unsigned workers);
  const FilterCounts& counts() const { return total; }
  // What ended the run before its time, or null.
  std::exception_ptr fault() const { return firstFault; }

private:
  bool take(std::string& block, size_t& turn);
  void work();
  void waitFor(std::unique_lock<std::mutex>& lock, size_t turn);
  void hand(size_t turn, std::string_view text, const FilterCounts& answered);
  void finish(size_t turn);
  void stop(std::exception_ptr why);

  const FilterOptions& options;
  FilterInput& input;
  Write sink;
  std::mutex reading; // held while a block is read
  bool inputEnded = false;
  size_t turnsTaken = 0;
  std::mutex mutex; // for what stands below
  std::condition_variable turnChanged;
  size_t turnNow = 0;
  bool stopped = false; // nothing more can be written
  FilterCounts total;
  std::exception_ptr firstFault;
};

#endif
