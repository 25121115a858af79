// Running the generator on definitions that a test writes.
#pragma once

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

namespace fs = std::filesystem;

// A folder of its own that goes with the test.
struct Folder {
  fs::path path;
  Folder()
  {
    std::string name = (fs::temp_directory_path() / "l3genXXXXXX").string();
    path = mkdtemp(name.data());
  }
  ~Folder()
  {
    std::error_code ignored;
    fs::remove_all(path, ignored);
  }
};

inline std::string readAll(const fs::path& path)
{
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

struct Outcome {
  int exit = -1; // -1: ended by a signal
  std::string words;
};

// Runs the generator with the given arguments behind the output folder.
inline Outcome generate(const fs::path& out, const std::string& files)
{
  fs::path words = out.string() + ".err";
  std::string command = "'" L3GEN "' '" + out.string() + "' " + files + " 2>'" + words.string() + "'";
  int status = std::system(command.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readAll(words)};
}

inline Outcome generateText(const Folder& folder, const std::string& text)
{
  fs::path file = folder.path / "case.l3";
  std::ofstream(file, std::ios::binary) << text;
  return generate(folder.path / "out", "'" + file.string() + "'");
}

// Every file below a folder with its content.
inline std::map<std::string, std::string> contents(const fs::path& folder)
{
  std::map<std::string, std::string> files;
  for (auto& entry : fs::recursive_directory_iterator(folder))
    if (entry.is_regular_file()) files[fs::relative(entry.path(), folder).string()] = readAll(entry.path());
  return files;
}
