// Every quirk word can be looked up: the generator's list, the definitions and the document name the same words. Every
// word of the language stands in a definition that the laws of all types run over, or in one made for a test.
#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "tests/fileText.h"

namespace {

namespace fs = std::filesystem;
using Words = std::set<std::string>;

void collect(const std::string& text, const char* pattern, Words& words)
{
  std::regex word(pattern);
  for (std::sregex_iterator it(text.begin(), text.end(), word), end; it != end; ++it) words.insert((*it)[1]);
}

const fs::path kRoot = fs::path(VELNOR_TEST_DATA) / ".." / "..";

TEST(QuirkWords, EachHasAParagraph)
{
  Words listed, described, used;
  std::string reader = fileText(kRoot / "tools/l3gen/readWhat.cpp");
  size_t begin = reader.find("kWords = {");
  ASSERT_NE(begin, std::string::npos);
  collect(reader.substr(begin, reader.find("};", begin) - begin), "\"([a-z-]+)\"", listed);
  collect(fileText(kRoot / "docs/quirks.md"), "\n## `!([a-z-]+)[ `]", described);
  EXPECT_GE(listed.size(), 18U);
  EXPECT_EQ(listed, described);
  for (auto& file : fs::directory_iterator(kRoot / "src")) collect(fileText(file.path()), "\\s!([a-z-]+)", used);
  collect(fileText(fs::path(VELNOR_TEST_DATA) / "quirks.l3"), "\\s!([a-z-]+)", used);
  EXPECT_EQ(used, described); // what is not used is not tested
}

// Words that stand in a definition; comments do not count.
Words wordsOfDefinitions(const fs::path& folder)
{
  Words words;
  for (auto& file : fs::recursive_directory_iterator(folder))
    if (file.path().extension() == ".l3")
      collect(std::regex_replace(fileText(file.path()), std::regex("(^|\n)#[^\n]*"), "\n"), "(\\S+)", words);
  return words;
}

TEST(RowForms, EachIsUsed)
{
  Words known, used = wordsOfDefinitions(kRoot / "src");
  used.merge(wordsOfDefinitions(kRoot / "tests"));
  for (const char* file : {"read.cpp", "readRow.cpp", "readWhat.cpp"}) {
    std::string reader = fileText(kRoot / "tools/l3gen" / file);
    collect(reader, "accept\\(\"([^\"]+)\"\\)", known);
    collect(reader, "(?:word|block|word\\([0-9]\\)|list\\[0\\]) == \"([^\"]+)\"", known);
    std::smatch list;
    for (std::regex set("std::set<std::string> (?!k)\\w+ = \\{([^}]*)\\}"); std::regex_search(reader, list, set);
         reader = list.suffix())
      collect(list[1], "\"([^\"]+)\"", known);
  }
  EXPECT_GE(known.size(), 60U);
  for (const std::string& word : known) EXPECT_TRUE(used.count(word)) << "no definition uses " << word;
}

} // namespace
