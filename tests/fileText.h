// A file of a test, whole.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

inline std::string fileText(const std::filesystem::path& name)
{
  std::ostringstream text;
  text << std::ifstream(name, std::ios::binary).rdbuf();
  return text.str();
}

// What a golden file holds, which `VELNOR_GOLDEN=write` writes anew: a change is to be looked at in a diff.
inline std::string goldenText(const std::filesystem::path& file, const std::string& now)
{
  const char* mode = getenv("VELNOR_GOLDEN");
  if (mode && std::string(mode) == "write") std::ofstream(file) << now;
  return fileText(file);
}
