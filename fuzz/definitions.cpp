// The generator on damaged definitions: it refuses with a place, or it writes, and does the same a second time.
#include "fuzz/harness.h"

#include <sys/mman.h>
#include <unistd.h>

#include "tests/fileText.h"
#include "tools/l3gen/model.h"

static std::string written(const std::string& path)
{
  l3gen::Model model;
  l3gen::readFile(model, path);
  l3gen::resolve(model);
  l3gen::check(model);
  std::string text;
  for (auto& refusal : model.refusals) {
    promise(!refusal.words.empty() && !refusal.place.file.empty(), "a refusal without words or place");
    text += refusal.words + std::to_string(refusal.place.line);
  }
  if (!model.refusals.empty()) return text;
  for (auto& module : model.modules) {
    text += l3gen::writeHeader(model, *module) + l3gen::writeJumps(model, *module);
    text += l3gen::writeCoders(model, *module, false) + l3gen::writeCoders(model, *module, true);
  }
  return text + l3gen::writeTables(model) + l3gen::writeTypeTable(model) + l3gen::writeDescriptors(model);
}

void checkDefinitions(const L3TypeEntry&, Octets input)
{
  int file = memfd_create("definitions", 0);
  promise(file >= 0 && write(file, input.data(), input.size()) == ssize_t(input.size()), "no file in memory");
  std::string path = "/proc/self/fd/" + std::to_string(file);
  promise(written(path) == written(path), "two runs over the same definitions differ");
  close(file);
}

// Files in pieces, each behind the line that names the module: a whole one is slow to read, and most of its rows are
// alike.
std::vector<Octets> definitionSeeds()
{
  std::vector<Octets> seeds;
  for (auto& file : std::filesystem::directory_iterator(VELNOR_DEFINITION_FOLDER)) {
    const std::string text = fileText(file.path());
    size_t module = text.find("module ");
    for (size_t at = 0, end = 0; at < text.size(); at = end) {
      end = std::min(text.find("\n\n", at + 1500), text.size());
      std::string piece = at ? text.substr(module, text.find('\n', module) + 1 - module) : "";
      piece += text.substr(at, end - at) + "\n";
      seeds.emplace_back(piece.begin(), piece.end());
    }
  }
  return seeds;
}
