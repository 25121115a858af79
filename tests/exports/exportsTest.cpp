// Guards what a stranger links against and includes: the exported names, and headers that stand alone in C99 and C++.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fnmatch.h>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

std::string outputOf(const std::string& command)
{
  std::string text;
  FILE* pipe = popen((command + " 2>&1").c_str(), "r");
  if (!pipe) return "cannot run " + command;
  char piece[4096];
  for (size_t n; (n = fread(piece, 1, sizeof piece, pipe)) > 0;) text.append(piece, n);
  bool good = pclose(pipe) == 0;
  return good || !text.empty() ? text : "failed: " + command;
}

std::string readAll(const fs::path& name)
{
  std::ostringstream text;
  text << std::ifstream(name).rdbuf();
  return text.str();
}

std::set<std::string> exportedNames()
{
  std::set<std::string> names;
  std::istringstream lines(outputOf(std::string(VELNOR_NM) + " -D --defined-only " + VELNOR_LIBRARY));
  for (std::string address, kind, name; lines >> address >> kind >> name;) names.insert(name);
  return names;
}

// The name patterns of the version script's global part.
std::vector<std::string> families()
{
  std::string text = readAll(VELNOR_EXPORTS);
  text = text.substr(text.find("global:") + 7, text.find("local:") - text.find("global:") - 7);
  std::regex pattern("[A-Za-z0-9_*]+");
  return {std::sregex_token_iterator(text.begin(), text.end(), pattern), std::sregex_token_iterator()};
}

std::vector<fs::path> headers()
{
  std::vector<fs::path> found;
  for (const char* root : {VELNOR_INCLUDE, VELNOR_GENERATED_INCLUDE})
    for (const auto& entry : fs::directory_iterator(fs::path(root) / "velnor3gpp"))
      if (entry.path().extension() == ".h") found.push_back(entry.path());
  return found;
}

// Names that a header declares VELNOR_API, functions and data.
std::vector<std::string> declaredNames(const fs::path& header)
{
  std::regex comment("/\\*[^*]*\\*+([^/*][^*]*\\*+)*/");
  std::regex directive("\n#[^\n]*");
  std::string text = std::regex_replace(std::regex_replace(readAll(header), comment, ""), directive, "\n");
  std::regex pattern("VELNOR_API[^;(\\[]*?([A-Za-z_][A-Za-z_0-9]*)\\s*[(;\\[]");
  std::vector<std::string> names;
  for (std::sregex_iterator it(text.begin(), text.end(), pattern), end; it != end; ++it) names.push_back((*it)[1]);
  return names;
}

std::string compile(const std::string& compiler, const std::string& options, const fs::path& header)
{
  std::string source = "#include <velnor3gpp/" + header.filename().string() + ">\nint used;\n";
  return outputOf("printf '" + source + "' | " + compiler + " " + options +
                  " -Wall -pedantic -Werror -fsyntax-only -I" VELNOR_INCLUDE " -I" VELNOR_GENERATED_INCLUDE " -");
}

} // namespace

TEST(Exports, OnlyNamesOfTheKnownFamiliesAreVisible)
{
  std::vector<std::string> patterns = families();
  std::set<std::string> names = exportedNames();
  ASSERT_GT(patterns.size(), 10U);
  ASSERT_TRUE(names.count("rtxInitContext")) << "nm lists no names";
  for (const std::string& name : names) {
    bool known = false;
    for (const std::string& pattern : patterns) known = known || fnmatch(pattern.c_str(), name.c_str(), 0) == 0;
    EXPECT_TRUE(known) << name;
  }
}

TEST(Exports, EveryDeclaredOperationIsThere)
{
  std::set<std::string> names = exportedNames();
  size_t declared = 0;
  for (const fs::path& header : headers())
    for (const std::string& name : declaredNames(header)) {
      ++declared;
      EXPECT_TRUE(names.count(name)) << name << " of " << header;
    }
  EXPECT_GT(declared, 300U);
}

TEST(Exports, EveryHeaderStandsAlone)
{
  for (const fs::path& header : headers()) {
    EXPECT_EQ(compile(VELNOR_CC, "-std=c99 -x c", header), "") << header;
    EXPECT_EQ(compile(VELNOR_CXX, "-std=c++20 -x c++", header), "") << header;
  }
}

// The README shows the example as it is built here.
TEST(Exports, TheExampleOfTheReadmeWorks)
{
  EXPECT_NE(readAll(fs::path(VELNOR_ROOT) / "README.md").find(readAll(fs::path(VELNOR_ROOT) / "examples/decode.c")),
            std::string::npos);
  std::string text = outputOf(VELNOR_EXAMPLE);
  EXPECT_NE(text.find("obj_IdentityRequest5G"), std::string::npos) << text;
}
