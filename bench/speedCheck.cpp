// Holds the ratios of limits.txt: coding, printing and protecting against the floor of the same mix, both measured in
// turns in the same run, as near minima of many short bursts, so that a loaded or slower machine moves both. The least
// of all may be no time: clocks of virtual machines stand still now and then. A ratio that is over its limit is
// measured again, longer, before it counts. VELNOR_SPEED_SLACK widens all limits by a factor, for machines that are
// shared or unlike the one of the limits.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <vector>

#include "bench/common/work.h"

namespace {

constexpr double kBurstNs = 60000;
constexpr unsigned kBursts = 500;
constexpr int kTries = 5;

// Near the least time per message; of printing, per line.
struct Pair {
  double floor = 0, job = 0;
};

// All but a fiftieth are as long or longer.
double nearLeast(std::vector<double>& times)
{
  auto at = times.begin() + static_cast<long>(times.size() / 50);
  std::nth_element(times.begin(), at, times.end());
  return *at;
}

Pair measure(const Work& floor, const Work& job, unsigned bursts)
{
  std::vector<double> floors, jobs;
  for (unsigned i = 0; i < bursts; ++i) {
    floors.push_back(leastTime(floor, 1, kBurstNs));
    jobs.push_back(leastTime(job, 1, kBurstNs));
  }
  Pair least = {nearLeast(floors), nearLeast(jobs)};
  if (job.lines) least.job *= static_cast<double>(job.messages) / static_cast<double>(job.lines);
  return least;
}

bool holds(const std::string& name, double limit)
{
  Work floor = namedWork(name.substr(0, name.find('/')) + "/floor"), job = namedWork(name);
  Pair pair;
  for (int tries = 1; tries <= kTries; ++tries) {
    pair = measure(floor, job, kBursts * static_cast<unsigned>(tries));
    if (pair.job / pair.floor <= limit) break;
  }
  bool good = pair.job / pair.floor <= limit;
  printf("%-24s floor %9.1f ns, job %10.1f ns, ratio %6.2f of %6.2f%s\n", name.c_str(), pair.floor, pair.job,
         pair.job / pair.floor, limit, good ? "" : "  OVER THE LIMIT");
  return good;
}

} // namespace

int main(int argc, char** argv)
{
  std::ifstream in(argc > 1 ? argv[1] : "");
  const char* wider = getenv("VELNOR_SPEED_SLACK");
  double slack = wider ? std::max(1.0, atof(wider)) : 1;
  bool good = true;
  size_t checked = 0;
  for (std::string line; std::getline(in, line);) {
    std::stringstream fields(line.substr(0, line.find('#')));
    std::string name;
    double limit = 0;
    if (!(fields >> name)) continue;
    if (!(fields >> limit)) giveUp("no limit in: " + line);
    good = holds(name, limit * slack) && good;
    ++checked;
  }
  if (!checked) giveUp("usage: speedCheck LIMITS");
  return good ? 0 : 1;
}
