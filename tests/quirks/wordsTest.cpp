// Every quirk word can be looked up: the generator's list, the definitions and the document name the same words.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using Words = std::set<std::string>;

std::string textOf(const fs::path& path)
{
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

void collect(const std::string& text, const char* pattern, Words& words)
{
  std::regex word(pattern);
  for (std::sregex_iterator it(text.begin(), text.end(), word), end; it != end; ++it) words.insert((*it)[1]);
}

const fs::path kRoot = fs::path(VELNOR_TEST_DATA) / ".." / "..";

TEST(QuirkWords, EachHasAParagraph)
{
  Words listed, described, used;
  std::string reader = textOf(kRoot / "tools/l3gen/readWhat.cpp");
  size_t begin = reader.find("kWords = {");
  ASSERT_NE(begin, std::string::npos);
  collect(reader.substr(begin, reader.find("};", begin) - begin), "\"([a-z-]+)\"", listed);
  collect(textOf(kRoot / "docs/quirks.md"), "\n## `!([a-z-]+)[ `]", described);
  EXPECT_GE(listed.size(), 18U);
  EXPECT_EQ(listed, described);
  for (auto& file : fs::directory_iterator(kRoot / "src")) collect(textOf(file.path()), "\\s!([a-z-]+)", used);
  collect(textOf(fs::path(VELNOR_TEST_DATA) / "quirks.l3"), "\\s!([a-z-]+)", used);
  EXPECT_EQ(used, described); // what is not used is not tested
}

} // namespace
