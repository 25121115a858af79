#include "filterRun.h"

#include <algorithm>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "output.h"

namespace {

// Thrown inside a worker when another one has failed.
struct Stopped {};

} // namespace

FilterRun::FilterRun(const FilterOptions& wanted, FilterInput& from, Write write)
    : options(wanted), input(from), sink(std::move(write))
{
}

void FilterRun::stop(std::exception_ptr why)
{
  std::lock_guard lock(mutex);
  stopped = true;
  if (!firstFault) firstFault = std::move(why);
  turnChanged.notify_all();
}

// A fault of the input ends the input: what was read before is answered all the same.
bool FilterRun::take(std::string& block, size_t& turn)
{
  std::lock_guard lock(reading);
  if (inputEnded) return false;
  try {
    inputEnded = !input.next(block);
  } catch (...) {
    inputEnded = true;
    std::lock_guard faultLock(mutex);
    if (!firstFault) firstFault = std::current_exception();
  }
  turn = turnsTaken;
  turnsTaken += !inputEnded;
  return !inputEnded;
}

void FilterRun::waitFor(std::unique_lock<std::mutex>& lock, size_t turn)
{
  turnChanged.wait(lock, [&] { return stopped || turnNow == turn; });
  if (stopped) throw Stopped();
}

void FilterRun::hand(size_t turn, std::string_view text, const FilterCounts& answered)
{
  std::unique_lock lock(mutex);
  waitFor(lock, turn);
  total.in += answered.in;
  total.bad += answered.bad;
  lock.unlock(); // nobody else writes before this turn is over
  size_t taken = answered.in;
  std::exception_ptr fault;
  try {
    sink(text);
  } catch (const OutputError& error) { // whoever read has whole lines all the same
    fault = std::current_exception();
    taken = static_cast<size_t>(std::count(text.begin(), text.end() - static_cast<ptrdiff_t>(error.left), '\n'));
  }
  lock.lock();
  total.out += taken;
  if (fault) std::rethrow_exception(fault);
}

void FilterRun::finish(size_t turn)
{
  std::unique_lock lock(mutex);
  waitFor(lock, turn);
  ++turnNow;
  turnChanged.notify_all();
}

void FilterRun::work()
{
  try {
    FilterWork worker(options);
    std::string block;
    for (size_t turn = 0; take(block, turn);) {
      worker.answer(block, [&](std::string_view text, const FilterCounts& answered) { hand(turn, text, answered); });
      finish(turn);
    }
  } catch (const Stopped&) {
  } catch (...) {
    stop(std::current_exception());
  }
}

void FilterRun::run(unsigned workers)
{
  std::vector<std::thread> others;
  try {
    while (others.size() + 1 < workers) others.emplace_back([this] { work(); });
  } catch (const std::system_error&) { // the system gives no more threads: fewer do the same
  }
  work();
  for (std::thread& other : others) other.join();
}
