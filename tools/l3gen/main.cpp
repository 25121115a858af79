// l3gen OUTDIR FILE.l3...: reads the definitions and writes headers, tables and functions. Files whose content is
// unchanged are left alone, so that nothing is compiled without need.
#include <filesystem>
#include <fstream>
#include <iostream>
#include <set>
#include <sstream>
#include <tuple>

#include "model.h"

namespace fs = std::filesystem;

static bool writeIfChanged(const fs::path& path, const std::string& text)
{
  std::ifstream in(path, std::ios::binary);
  std::stringstream old;
  if (in) old << in.rdbuf();
  if (in && old.str() == text) return true;
  std::ofstream out(path, std::ios::binary);
  out << text;
  return static_cast<bool>(out.flush());
}

static bool writeAll(l3gen::Model& model, const fs::path& dir)
{
  fs::path headers = dir / "include" / "velnor3gpp", sources = dir / "src";
  fs::create_directories(headers);
  fs::create_directories(sources);
  bool ok = true;
  for (auto& module : model.modules) {
    ok &= writeIfChanged(headers / (module->stem + ".h"), l3gen::writeHeader(model, *module));
    ok &= writeIfChanged(sources / (module->stem + ".cpp"), l3gen::writeTables(model, *module));
    ok &= writeIfChanged(sources / (module->stem + "Dec.cpp"), l3gen::writeCoders(model, *module, false));
    ok &= writeIfChanged(sources / (module->stem + "Enc.cpp"), l3gen::writeCoders(model, *module, true));
  }
  ok &= writeIfChanged(sources / "L3TypeTable.cpp", l3gen::writeTypeTable(model));
  ok &= writeIfChanged(sources / "L3TypeFacts.cpp", l3gen::writeTypeFacts(model));
  ok &= writeIfChanged(sources / "L3Descriptors.h", l3gen::writeDescriptors(model));
  return ok;
}

static int tellRefusals(const l3gen::Model& model)
{
  std::set<std::tuple<std::string, int, std::string>> lines;
  for (auto& r : model.refusals) lines.emplace(r.place.file, r.place.line, r.words);
  for (auto& [file, line, words] : lines) std::cerr << file << ":" << line << ": " << words << "\n";
  return 1;
}

int main(int argc, char** argv)
{
  if (argc < 2) {
    std::cerr << "usage: l3gen OUTDIR FILE.l3...\n";
    return 2;
  }
  l3gen::Model model;
  for (int i = 2; i < argc; ++i) l3gen::readModules(model, argv[i]);
  for (int i = 2; i < argc; ++i) l3gen::readFile(model, argv[i]);
  if (model.refusals.empty()) l3gen::resolve(model);
  if (model.refusals.empty()) l3gen::check(model);
  if (!model.refusals.empty()) return tellRefusals(model);
  try {
    if (writeAll(model, argv[1])) return 0;
  } catch (const fs::filesystem_error&) {
  }
  std::cerr << argv[1] << ": cannot be written\n";
  return 1;
}
