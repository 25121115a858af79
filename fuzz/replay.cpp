// Runs the fuzz targets without libFuzzer, with any compiler: over their seeds, over what was found before, and over
// both changed a little.
//   fuzz-replay TARGET [ROUNDS | FILE...]   ROUNDS changed inputs (3000), or only the files
//   fuzz-replay --write FOLDER              the seeds as files, in a folder for each target
//   fuzz-replay --list                      the names of the targets
#include <unistd.h>

#include <csignal>

#include "fuzz/harness.h"
#include "tests/fileText.h"

namespace fs = std::filesystem;

static const Octets* gInput;

// Shows the input on standard error, to be kept as a finding.
static void showInput(int signal)
{
  fprintf(stderr, "input: ");
  for (uint8_t octet : *gInput) fprintf(stderr, "%02x", octet);
  fprintf(stderr, "\n");
  _exit(128 + signal);
}

static void run(const FuzzTarget& target, const Octets& input)
{
  gInput = &input;
  runTarget(target, input);
}

static void runSeeds(const FuzzTarget& target, unsigned rounds)
{
  std::vector<Octets> seeds = seedsOf(target);
  std::error_code missing;
  for (auto& file : fs::directory_iterator(fs::path(VELNOR_FINDINGS) / target.name, missing))
    seeds.push_back(octetsOfText(fileText(file.path())));
  seeds.push_back({});
  for (const Octets& seed : seeds) run(target, seed);
  Draw draw(rounds);
  auto any = [&]() -> const Octets& { return seeds[draw.below(uint32_t(seeds.size()))]; };
  for (unsigned i = 0; i < rounds; ++i) run(target, changed(any(), any(), draw, 1024));
  printf("%s: %zu inputs and %u changed ones\n", target.name, seeds.size(), rounds);
}

static void writeSeeds(const FuzzTarget& target, const fs::path& folder)
{
  fs::create_directories(folder);
  size_t number = 0;
  for (const Octets& seed : seedsOf(target))
    std::ofstream(folder / ("seed" + std::to_string(number++)), std::ios::binary)
        << std::string(seed.begin(), seed.end());
}

int main(int argc, char** argv)
{
  std::string name = argc > 1 ? argv[1] : "";
  for (const FuzzTarget& target : fuzzTargets())
    if (name == "--list")
      printf("%s\n", target.name);
    else if (name == "--write" && argc == 3)
      writeSeeds(target, fs::path(argv[2]) / target.name);
  if (name == "--list" || name == "--write") return 0;
  const FuzzTarget* target = findTarget(name);
  if (!target) return fprintf(stderr, "no such target; fuzz-replay --list names them\n"), 2;
  for (int signal : {SIGABRT, SIGSEGV, SIGBUS, SIGFPE}) std::signal(signal, showInput);
  bool files = argc > 2 && fs::exists(argv[2]);
  if (!files) runSeeds(*target, argc > 2 ? unsigned(atoi(argv[2])) : 3000);
  for (int i = 2; i < argc && files; ++i) run(*target, octetsOfText(fileText(argv[i])));
}
