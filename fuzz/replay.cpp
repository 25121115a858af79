// Runs the fuzz targets without libFuzzer, with any compiler: over their seeds, over each seed changed a little, and
// over what was found before.
//   fuzz-replay TARGET [ROUNDS] [FILE...]   ROUNDS changed inputs (3000), or only the files
//   fuzz-replay --write FOLDER              the seeds as files, in a folder for each target
//   fuzz-replay --list                      the names of the targets
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <unistd.h>

#include "fuzzTargets.h"
#include "tests/arbitraryRecord.h"

namespace fs = std::filesystem;
using Octets = std::vector<uint8_t>;

#define DECLARE(name)                                                                                                  \
  extern "C" int name##TestOneInput(const uint8_t* data, size_t size);                                                 \
  std::vector<Octets> name##Seeds();
VELNOR_FUZZ_TARGETS(DECLARE)

struct Target {
  const char* name;
  int (*run)(const uint8_t* data, size_t size);
  std::vector<Octets> (*seeds)();
};

#define ENTRY(name) {#name, name##TestOneInput, name##Seeds},
static const Target kTargets[] = {VELNOR_FUZZ_TARGETS(ENTRY)};

static const Octets* gInput;

// A promise was broken: the input goes to standard error, to be kept as a finding.
static void showInput(int signal)
{
  static const char kDigits[] = "0123456789abcdef";
  ssize_t written = write(2, "input: ", 7);
  for (uint8_t octet : *gInput) {
    char pair[2] = {kDigits[octet >> 4], kDigits[octet & 15]};
    written += write(2, pair, 2);
  }
  written += write(2, "\n", 1);
  _exit(written ? 128 + signal : 1);
}

static void run(const Target& target, const Octets& input)
{
  gInput = &input;
  target.run(input.data(), input.size());
}

static Octets contentOf(const fs::path& path)
{
  std::ifstream in(path, std::ios::binary);
  return Octets(std::istreambuf_iterator<char>(in), {});
}

static Octets changed(Octets input, const Octets& other, Draw& draw)
{
  for (unsigned i = 0; i <= draw.below(4); ++i) {
    size_t at = draw.below(uint32_t(input.size()) + 1), from = draw.below(uint32_t(other.size()) + 1);
    switch (draw.below(4)) {
      case 0:
        if (at < input.size()) input[at] = uint8_t(draw.octet());
        break;
      case 1:
        if (at < input.size()) input[at] = uint8_t(input[at] ^ 1U << draw.below(8));
        break;
      case 2:
        input.resize(at);
        break;
      default:
        input.insert(input.begin() + long(at), other.begin() + long(from), other.end());
    }
  }
  if (input.size() > 1024) input.resize(1024);
  return input;
}

static int runTarget(const Target& target, unsigned rounds)
{
  std::vector<Octets> seeds = target.seeds();
  fs::path findings = fs::path(VELNOR_FINDINGS) / target.name;
  if (fs::is_directory(findings))
    for (auto& file : fs::directory_iterator(findings)) seeds.push_back(contentOf(file.path()));
  seeds.push_back({});
  for (const Octets& seed : seeds) run(target, seed);
  Draw draw(rounds);
  for (unsigned i = 0; i < rounds; ++i)
    run(target, changed(seeds[draw.below(uint32_t(seeds.size()))], seeds[draw.below(uint32_t(seeds.size()))], draw));
  printf("%s: %zu inputs and %u changed ones\n", target.name, seeds.size(), rounds);
  return 0;
}

static int writeSeeds(const fs::path& folder)
{
  for (const Target& target : kTargets) {
    fs::create_directories(folder / target.name);
    size_t number = 0;
    for (const Octets& seed : target.seeds()) {
      std::ofstream out(folder / target.name / ("seed" + std::to_string(number++)), std::ios::binary);
      out.write(reinterpret_cast<const char*>(seed.data()), long(seed.size()));
    }
  }
  return 0;
}

static int runFiles(const Target& target, int count, char** names)
{
  for (int i = 0; i < count; ++i) {
    Octets content = contentOf(names[i]);
    run(target, content);
  }
  return 0;
}

int main(int argc, char** argv)
{
  std::string name = argc > 1 ? argv[1] : "";
  if (name == "--write" && argc == 3) return writeSeeds(argv[2]);
  if (name == "--list") {
    for (const Target& target : kTargets) printf("%s\n", target.name);
    return 0;
  }
  for (int signal : {SIGABRT, SIGSEGV, SIGBUS, SIGFPE}) std::signal(signal, showInput);
  for (const Target& target : kTargets) {
    if (name != target.name) continue;
    bool files = argc > 2 && fs::exists(argv[2]);
    return files ? runFiles(target, argc - 2, argv + 2) : runTarget(target, argc > 2 ? unsigned(atoi(argv[2])) : 3000);
  }
  fprintf(stderr, "usage: fuzz-replay TARGET [ROUNDS | FILE...]\n       fuzz-replay --write FOLDER\ntargets:");
  for (const Target& target : kTargets) fprintf(stderr, " %s", target.name);
  fprintf(stderr, "\n");
  return 2;
}
