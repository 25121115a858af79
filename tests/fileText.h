// A file of a test, whole.
#pragma once

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
