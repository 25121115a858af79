// Messages a second of `velnor3gpp filter`, of processor time, from a file into nothing: the 5GS mix of the corpus with
// a key in front of each message, as JSON and as values, by one worker. The rate is that of the best of five runs.
//   filterRate PROGRAM [LEAST]   ends with 1 if a rate is less
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "bench/common/messages.h"

namespace {

constexpr size_t kLines = 200000;
constexpr int kRuns = 5;

// The mix in lines, over and over.
std::string writeLines(const Mix& mix)
{
  char name[] = "/tmp/filterRateXXXXXX";
  if (int fd = mkstemp(name); fd >= 0) close(fd);
  std::ofstream out(name);
  for (size_t i = 0; i < kLines; ++i) {
    out << "key" << i << '\t';
    char digits[3];
    for (uint8_t octet : mix.messages[i % mix.messages.size()].octets) {
      snprintf(digits, sizeof digits, "%02x", octet);
      out << digits;
    }
    out << '\n';
  }
  if (!out.flush()) giveUp("the lines cannot be written");
  return name;
}

// Processor seconds of one run.
double secondsOf(const char* program, const std::string& input, const std::vector<const char*>& options)
{
  std::vector<const char*> words = {program, "filter"};
  words.insert(words.end(), options.begin(), options.end());
  words.push_back(nullptr);
  pid_t pid = fork();
  if (pid == 0) {
    int in = open(input.c_str(), O_RDONLY), out = open("/dev/null", O_WRONLY);
    if (in < 0 || dup2(in, 0) < 0 || dup2(out, 1) < 0 || dup2(out, 2) < 0) _exit(126);
    execv(program, const_cast<char**>(words.data()));
    _exit(127);
  }
  int status = 0;
  rusage used = {};
  if (wait4(pid, &status, 0, &used) < 0 || status != 0) giveUp("the filter has failed");
  auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  };
  return seconds(used.ru_utime) + seconds(used.ru_stime);
}

} // namespace

int main(int argc, char** argv)
{
  if (argc < 2) giveUp("usage: filterRate PROGRAM [LEAST]");
  double least = argc > 2 ? atof(argv[2]) : 0;
  const char* slack = getenv("VELNOR_SPEED_SLACK");
  if (slack) least /= std::max(1.0, atof(slack));
  Mix mix = readMix("5gs", "ts24501.tsv");
  std::string input = writeLines(mix);
  bool good = true;
  const std::vector<const char*> kJson = {}, kValues = {"--field", "message", "--field", "status"},
                                 kNames = {"--names"};
  for (const auto& [what, options] : {std::pair{"json", kJson}, {"names", kNames}, {"values", kValues}}) {
    double best = 1e9;
    for (int run = 0; run < kRuns; ++run) best = std::min(best, secondsOf(argv[1], input, options));
    double rate = static_cast<double>(kLines) / best;
    printf("%-8s %8.0f messages/s per core (%zu messages of %.1f octets)\n", what, rate, mix.messages.size(),
           mix.meanOctets());
    good = good && rate >= least;
  }
  unlink(input.c_str());
  return good ? 0 : 1;
}
