// Files, folders and commands of tests.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

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

// What a command says; if it ends otherwise than with 0, that behind it.
inline std::string outputOf(const std::string& command)
{
  std::string text;
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return "cannot run " + command;
  char piece[4096];
  for (size_t n; (n = fread(piece, 1, sizeof piece, pipe)) > 0;) text.append(piece, n);
  return pclose(pipe) == 0 ? text : text + "failed: " + command;
}

// Whether the dissector is there, with the tools that come with it.
inline bool hasTools()
{
  return system("command -v tshark text2pcap editcap mergecap >/dev/null 2>&1") == 0;
}

// A folder of this process's own, gone afterwards.
struct Folder : std::string {
  Folder() : std::string((std::filesystem::temp_directory_path() / "velnor3gppXXXXXX").string()) { mkdtemp(data()); }
  Folder(const Folder&) = delete;
  ~Folder() { std::filesystem::remove_all(c_str()); }
  std::string keep(const std::string& name, const std::string& content) const
  {
    std::ofstream(*this + "/" + name, std::ios::binary) << content;
    return *this + "/" + name;
  }
  std::string keep(const std::string& name, const std::vector<uint8_t>& content) const
  {
    return keep(name, std::string(content.begin(), content.end()));
  }
};

inline size_t countOf(const std::string& text, const std::string& part)
{
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}
