// Runs the built program as a user does: arguments and standard input in, output, errors and exit code out.
#ifndef VELNOR3GPP_TEST_RUN_PROGRAM_H
#define VELNOR3GPP_TEST_RUN_PROGRAM_H

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

struct Outcome {
  int code = -1;
  std::string out;
  std::string err;
};

// A directory of its own for each test, gone afterwards.
struct Workplace {
  std::filesystem::path dir;
  Workplace()
  {
    char name[] = "/tmp/velnor3gppXXXXXX";
    dir = mkdtemp(name);
  }
  ~Workplace() { std::filesystem::remove_all(dir); }
  std::string path(const std::string& name) const { return (dir / name).string(); }
  std::string file(const std::string& name, const std::string& content) const
  {
    std::ofstream(dir / name, std::ios::binary) << content;
    return path(name);
  }
};

inline std::string readAll(const std::string& name)
{
  std::ostringstream text;
  text << std::ifstream(name, std::ios::binary).rdbuf();
  return text.str();
}

inline std::string quoted(const std::string& word)
{
  std::string text = "'";
  for (char c : word) text += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return text + "'";
}

inline Outcome runProgram(const std::vector<std::string>& words, const std::string& input = "")
{
  Workplace place;
  std::string command = quoted(VELNOR_PROGRAM);
  for (const std::string& word : words) command += " " + quoted(word);
  command += " <" + place.file("in", input) + " >" + place.path("out") + " 2>" + place.path("err");
  int status = system(command.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readAll(place.path("out")), readAll(place.path("err"))};
}

inline size_t countOf(const std::string& text, const std::string& part)
{
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

inline ::testing::AssertionResult holds(const std::string& text, const std::string& part)
{
  if (text.find(part) != std::string::npos) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "no '" << part << "' in:\n" << text;
}

#endif
