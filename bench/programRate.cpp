// Messages a second of the program, of processor time, from a file into nothing: the 5GS mix of the corpus through the
// filter, with a key in front of each message, as JSON and as values, by one worker, and as text, alone and with its
// trace, and as the view; and the same messages from a capture (GSMTAP over UDP and Ethernet) as JSON, as text and into
// a capture, as they are and redacted. The rate is that of the best of five runs.
//   programRate PROGRAM   ends with 1 if a rate is less than its limit
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "bench/common/messages.h"
#include "tests/capture/captures.h"

namespace {

constexpr int kRuns = 5;

// One kind of run.
struct Work {
  const char* name;
  std::vector<const char*> words; // behind the program's name
  size_t messages;
  double least; // a second; a quarter to 0.4 of what an optimised build shows
  bool capture = false;
};

const Work kWorks[] = {
    {"json", {"filter"}, 200000, 200000},
    {"names", {"filter", "--names"}, 200000, 200000},
    {"values", {"filter", "--field", "message", "--field", "status"}, 200000, 200000},
    {"text", {"decode"}, 20000, 60000},
    {"view", {"decode", "--view"}, 10000, 12000},
    {"trace", {"decode", "--trace"}, 5000, 20000},
    {"packets to json", {"decode", "--json", "-"}, 300000, 100000, true},
    {"packets to text", {"decode", "-"}, 50000, 50000, true},
    {"packets to capture", {"capture", "-", "-"}, 300000, 300000, true},
    {"packets redacted", {"capture", "--redact", "-", "-"}, 100000, 30000, true},
};

// Frame by frame, behind the header of the file.
void writeCapture(std::ofstream& out, const Mix& mix, const Work& work)
{
  auto write = [&](const Octets& octets) {
    out.write(reinterpret_cast<const char*>(octets.data()), static_cast<std::streamsize>(octets.size()));
  };
  const Octets head = captures::pcap({{1, {}}});
  write({head.begin(), head.end() - 16});
  for (size_t i = 0; i < work.messages; ++i) {
    const auto& octets = mix.messages[i % mix.messages.size()].octets;
    const Octets packet = captures::udp(captures::gsmtap3(0x0504, 0, Octets(octets.begin(), octets.end())));
    const Octets file = captures::pcap({{1, captures::ethernet(captures::ipv4(packet))}});
    write({file.begin() + static_cast<std::ptrdiff_t>(head.size()) - 16, file.end()});
  }
}

// The mix in lines, over and over.
void writeLines(std::ofstream& out, const Mix& mix, const Work& work)
{
  for (size_t i = 0; i < work.messages; ++i) {
    if (strcmp(work.words[0], "filter") == 0) out << "key" << i << '\t';
    char digits[3];
    for (uint8_t octet : mix.messages[i % mix.messages.size()].octets) {
      snprintf(digits, sizeof digits, "%02x", octet);
      out << digits;
    }
    out << '\n';
  }
}

std::string writeInput(const Mix& mix, const Work& work)
{
  char name[] = "/tmp/programRateXXXXXX";
  if (int fd = mkstemp(name); fd >= 0) close(fd);
  std::ofstream out(name);
  (work.capture ? writeCapture : writeLines)(out, mix, work);
  if (!out.flush()) giveUp("the lines cannot be written");
  return name;
}

// Processor seconds of one run.
double secondsOf(const char* program, const std::string& input, const Work& work)
{
  std::vector<const char*> words = {program};
  words.insert(words.end(), work.words.begin(), work.words.end());
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
  if (wait4(pid, &status, 0, &used) < 0 || status != 0) giveUp("the program has failed");
  auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  };
  return seconds(used.ru_utime) + seconds(used.ru_stime);
}

} // namespace

int main(int argc, char** argv)
{
  if (argc != 2) giveUp("usage: programRate PROGRAM");
  const char* given = getenv("VELNOR_SPEED_SLACK");
  double slack = given ? std::max(1.0, atof(given)) : 1;
  Mix mix = readMix("5gs", "ts24501.tsv");
  bool good = true;
  for (const Work& work : kWorks) {
    std::string input = writeInput(mix, work);
    double best = 1e9;
    for (int run = 0; run < kRuns; ++run) best = std::min(best, secondsOf(argv[1], input, work));
    unlink(input.c_str());
    double rate = static_cast<double>(work.messages) / best;
    printf("%-18s %8.0f messages/s per core (%zu messages of %.1f octets)\n", work.name, rate, mix.messages.size(),
           mix.meanOctets());
    good = good && rate >= work.least / slack;
  }
  return good ? 0 : 1;
}
