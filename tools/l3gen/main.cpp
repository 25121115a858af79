// l3gen OUTDIR FILE.l3...: reads the definitions and writes headers, tables and functions. Files whose content is
// unchanged are left alone, so that nothing is compiled without need.
// l3gen --check FILE.l3...: writes nothing and tells the faults as editors want them.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <set>
#include <sstream>

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
  l3gen::layOutOctets(model);
  for (auto& module : model.modules) {
    ok &= writeIfChanged(headers / (module->stem + ".h"), l3gen::writeHeader(model, *module));
    ok &= writeIfChanged(sources / (module->stem + ".cpp"), l3gen::writeJumps(model, *module));
    ok &= writeIfChanged(sources / (module->stem + "Dec.cpp"), l3gen::writeCoders(model, *module, false));
    ok &= writeIfChanged(sources / (module->stem + "Enc.cpp"), l3gen::writeCoders(model, *module, true));
  }
  ok &= writeIfChanged(sources / "L3Tables.cpp", l3gen::writeTables(model));
  ok &= writeIfChanged(sources / "L3TypeTable.cpp", l3gen::writeTypeTable(model));
  ok &= writeIfChanged(sources / "L3TypeFacts.cpp", l3gen::writeTypeFacts(model));
  ok &= writeIfChanged(sources / "L3Descriptors.h", l3gen::writeDescriptors(model));
  return ok;
}

static l3gen::Model read(const std::vector<std::string>& files)
{
  l3gen::Model model;
  for (auto& file : files) l3gen::readModules(model, file);
  for (auto& file : files) l3gen::readFile(model, file);
  l3gen::resolve(model);
  l3gen::check(model);
  return model;
}

// Types name types of other files: all definitions in the folders of the files are read as well.
static int checkAlone(std::vector<std::string> files)
{
  for (auto& folder : std::set<fs::path>(files.begin(), files.end())) {
    std::error_code none;
    for (auto& entry : fs::directory_iterator(folder.has_parent_path() ? folder.parent_path() : ".", none))
      if (entry.path().extension() == ".l3") files.push_back(entry.path().string());
  }
  auto sameFile = [](const std::string& a, const std::string& b) {
    return fs::path(a).filename() == fs::path(b).filename();
  };
  for (size_t i = 0; i < files.size(); ++i)
    files.erase(std::remove_if(files.begin() + static_cast<long>(i) + 1, files.end(),
                               [&](const std::string& other) { return sameFile(files[i], other); }),
                files.end());
  l3gen::Model model = read(files);
  std::cerr << l3gen::tellFaults(model, files);
  return model.refusals.empty() ? 0 : 1;
}

int main(int argc, char** argv)
{
  if (argc < 2 || (argc < 3 && argv[1] == std::string("--check"))) {
    std::cerr << "usage: l3gen OUTDIR FILE.l3...\n       l3gen --check FILE.l3...\n";
    return 2;
  }
  std::vector<std::string> files(argv + 2, argv + argc);
  if (argv[1] == std::string("--check")) return checkAlone(files);
  l3gen::Model model = read(files);
  if (!model.refusals.empty()) {
    std::cerr << l3gen::tellRefusals(model);
    return 1;
  }
  try {
    if (writeAll(model, argv[1])) return 0;
  } catch (const fs::filesystem_error&) {
  }
  std::cerr << argv[1] << ": cannot be written\n";
  return 1;
}
