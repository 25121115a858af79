// The generator on damaged definitions: it refuses with a place, or it writes, and writes the same a second time.
#include "fuzz/harness.h"

#include <sys/mman.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "tools/l3gen/model.h"

// The definitions as a file that the generator can open.
class DefinitionFile {
public:
  DefinitionFile(const uint8_t* data, size_t size) : descriptor(memfd_create("definitions", 0))
  {
    promise(descriptor >= 0 && write(descriptor, data, size) == ssize_t(size), "no file in memory");
  }
  ~DefinitionFile() { close(descriptor); }
  DefinitionFile(const DefinitionFile&) = delete;
  std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor); }

private:
  int descriptor;
};

static std::string written(const std::string& path)
{
  l3gen::Model model;
  l3gen::readFile(model, path);
  if (model.refusals.empty()) l3gen::resolve(model);
  if (model.refusals.empty()) l3gen::check(model);
  std::string text;
  for (auto& refusal : model.refusals) {
    promise(!refusal.words.empty() && !refusal.place.file.empty(), "a refusal without words or place");
    text += refusal.words + std::to_string(refusal.place.line);
  }
  if (!model.refusals.empty()) return text;
  for (auto& module : model.modules) {
    text += l3gen::writeHeader(model, *module) + l3gen::writeTables(model, *module);
    text += l3gen::writeCoders(model, *module, false) + l3gen::writeCoders(model, *module, true);
  }
  return text + l3gen::writeTypeTable(model) + l3gen::writeDescriptors(model);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  if (size > 20000) return 0;
  DefinitionFile file(data, size);
  promise(written(file.path()) == written(file.path()), "two runs over the same definitions differ");
  return 0;
}

// Files in pieces: a whole module is slow to read, and most of its rows are alike.
static void addPieces(const std::filesystem::path& path, std::vector<Octets>& seeds)
{
  std::ifstream in(path);
  std::string module, piece, line;
  while (std::getline(in, line)) {
    if (line.rfind("module ", 0) == 0) module = line + "\n";
    piece += line + "\n";
    if (!line.empty() || piece.size() < 1500) continue;
    seeds.emplace_back(piece.begin(), piece.end());
    piece = module;
  }
  seeds.emplace_back(piece.begin(), piece.end());
}

std::vector<Octets> fuzzSeeds()
{
  std::vector<Octets> seeds;
  for (auto& file : std::filesystem::directory_iterator(VELNOR_DEFINITION_FOLDER)) addPieces(file.path(), seeds);
  return seeds;
}
