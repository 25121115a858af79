// The program. It has two forms:
//
//   l3gen OUTDIR FILE.l3...     reads all definitions and writes headers, tables and functions below OUTDIR
//   l3gen --check FILE.l3...    writes nothing and tells the faults of these files as editors want them
//
// The build runs the first form with all files of src/ (cmake/Generated.cmake). The exit code is 0 if all is well, 1 if
// a definition is refused or a file cannot be written, and 2 if the arguments make no sense. The order of the phases is
// here; what each does is in model.h.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <set>
#include <sstream>

#include "model.h"

namespace fs = std::filesystem;

// Leaves a file alone whose text would be the same. Its time would change otherwise, and everything that includes it
// would be compiled again, also where a definition of another module has changed.
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

// What is below OUTDIR afterwards, for a module with the stem TS24501IES:
//
//   include/velnor3gpp/TS24501IES.h   records and prototypes, for callers
//   src/TS24501IES.cpp                operations that only jump to the engine
//   src/TS24501IESDec.cpp, ...Enc.cpp direct coders, and the operations that do more than jump
//   src/L3Tables.cpp                  the descriptors of all modules
//   src/L3TypeTable.cpp               all types with their operations, for tools and tests
//   src/L3TypeFacts.cpp               what people ask of a type, for the shared library
//   src/L3Descriptors.h               the names by which these files reach descriptors and direct coders
static bool writeAll(l3gen::Model& model, const fs::path& dir)
{
  fs::path headers = dir / "include" / "velnor3gpp", sources = dir / "src";
  fs::create_directories(headers);
  fs::create_directories(sources);
  bool ok = true;
  l3gen::layOutOctets(model);
  l3gen::findAlike(model);
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

// All modules are read before the first row, because names of lists depend on them: `M p T_B more-bit shared` in module
// U makes the list _SeqOfT_B if T is a module, perhaps of a file that is read later, else _SeqOfU_T_B (listName in
// readNested.cpp).
static l3gen::Model read(const std::vector<std::string>& files)
{
  l3gen::Model model;
  for (auto& file : files) l3gen::readModules(model, file);
  for (auto& file : files) l3gen::readFile(model, file);
  l3gen::resolve(model);
  l3gen::check(model);
  return model;
}

// An editor checks the file that is open, and its rows name types of other files: all definitions in the folders of the
// files are read with them, and their faults are told behind those of the files. The listing of a folder has the files
// themselves again, perhaps with their paths spelled otherwise; since files are told apart by name alone (Place), the
// later of two with one name is dropped.
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

// Nothing is written if anything was refused, so that a build never compiles half of a definition.
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
