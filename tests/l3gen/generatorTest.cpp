// The generator on files: the same text each time, nothing written without need, and a definition that contradicts
// itself is refused with its file and line, never half generated.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <chrono>
#include <cstdlib>
#include <map>
#include <set>

#include "tests/fileText.h"

namespace fs = std::filesystem;

namespace {

class Generator : public testing::Test {
protected:
  fs::path folder;
  std::string words; // what the last run said
  void SetUp() override
  {
    std::string name = (fs::temp_directory_path() / "l3genXXXXXX").string();
    folder = mkdtemp(name.data());
  }
  void TearDown() override { fs::remove_all(folder); }
  // The exit code; -1: ended by a signal.
  int generate(const std::string& out, const std::string& files)
  {
    return run("'" + (folder / out).string() + "' " + files);
  }
  int run(const std::string& arguments)
  {
    std::string said = (folder / "words").string();
    int status = std::system((L3GEN " " + arguments + " 2>" + said).c_str());
    words = fileText(said);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  std::map<std::string, std::string> written(const std::string& out) const
  {
    std::map<std::string, std::string> files;
    for (auto& entry : fs::recursive_directory_iterator(folder / out))
      if (entry.is_regular_file()) files[fs::relative(entry.path(), folder / out)] = fileText(entry.path());
    return files;
  }
};

TEST_F(Generator, WritesTheSameTextEachTime)
{
  ASSERT_EQ(generate("a", L3_DEFINITIONS "/*.l3"), 0) << words;
  ASSERT_EQ(generate("b", L3_DEFINITIONS "/*.l3"), 0);
  EXPECT_GT(written("a").size(), 10U);
  EXPECT_EQ(written("a"), written("b"));
}

// A file whose content would be the same keeps its time, so that nothing is compiled without need.
TEST_F(Generator, LeavesUnchangedFilesAlone)
{
  fs::path header = folder / "out/include/velnor3gpp/Forms.h";
  ASSERT_EQ(generate("out", VELNOR_TEST_DATA "/forms.l3"), 0);
  fs::last_write_time(header, fs::file_time_type::clock::now() - std::chrono::hours(1));
  auto past = fs::last_write_time(header);
  ASSERT_EQ(generate("out", VELNOR_TEST_DATA "/forms.l3"), 0);
  EXPECT_EQ(fs::last_write_time(header), past);
  std::ofstream(header, std::ios::app) << "\n";
  ASSERT_EQ(generate("out", VELNOR_TEST_DATA "/forms.l3"), 0);
  EXPECT_GT(fs::last_write_time(header), past);
}

// The lines of comments, each once: those of operations are the same for each type.
std::string commentsOf(const std::string& header)
{
  std::istringstream lines(header);
  std::set<std::string> seen;
  std::string comments;
  bool open = false;
  for (std::string line; std::getline(lines, line);) {
    open = open || line.find("/**") != std::string::npos;
    if (open && seen.insert(line).second) comments += line + "\n";
    open = open && line.find("*/") == std::string::npos;
  }
  return comments;
}

// Comments and constants as a caller reads them: tests/golden/l3gen/Words.txt has those of the header of words.l3.
TEST_F(Generator, WritesCommentsAndConstantsBesideTheRecords)
{
  ASSERT_EQ(generate("out", VELNOR_TEST_DATA "/words/words.l3"), 0) << words;
  std::string header = fileText(folder / "out/include/velnor3gpp/Words.h");
  EXPECT_EQ(commentsOf(header), goldenText(VELNOR_TEST_DATA "/../golden/l3gen/Words.txt", commentsOf(header)));
}

// Coders serve a type that differs from another in names alone, whatever holds it. A range, another width, a member of
// another size in the record, or entries in place of one make a coder of their own.
TEST_F(Generator, TypesThatDifferInNamesAloneShareTheirCoders)
{
  std::ofstream(folder / "alike.l3") << R"(module Alike file Alike spec "TS 00.001"
enum Kind bits 4  [1]
  one = 1
element First [1]
  M  kind  bits 4
  M  size  bits 4
element Same [1]
  M  unused  bits 4
  M  value   bits 4
element Ranged [1]
  M  kind  bits 4
  M  size  bits 4 in 1..3
element Wider [1]
  M  kind  bits 3
  M  size  bits 5
element Named [1]
  M  kind  Kind
  M  size  bits 4
element Held length 8 [1]
  M  entries  First while-room 1..2
element HeldToo length 8 [1]
  M  parts  Same while-room 1..2
element HeldMore length 8 [1]
  M  parts  Same while-room 1..3
)";
  ASSERT_EQ(generate("out", (folder / "alike.l3").string()), 0) << words;
  std::istringstream lines(fileText(folder / "out/src/L3Descriptors.h"));
  std::string shared;
  for (std::string line; std::getline(lines, line);)
    if (line.find("auto& l3Direct") != std::string::npos) shared += line.substr(line.find('&') + 2) + "\n";
  EXPECT_EQ(shared, "l3DirectDec_Alike_Same = l3DirectDec_Alike_First;\n"
                    "l3DirectEnc_Alike_Same = l3DirectEnc_Alike_First;\n"
                    "l3DirectDec_Alike_HeldToo = l3DirectDec_Alike_Held;\n"
                    "l3DirectEnc_Alike_HeldToo = l3DirectEnc_Alike_Held;\n");
}

// Of refused.txt lines led by ">" are the refusals, those below them the definitions behind the module line; rows that
// come first belong to an element A.
TEST_F(Generator, RefusesWithFileLineAndReason)
{
  std::istringstream lines(fileText(VELNOR_TEST_DATA "/refused.txt") + "> \n");
  std::string definition, expected;
  unsigned refused = 0;
  for (std::string line; std::getline(lines, line);) {
    if (line.empty() || line.starts_with("#")) continue;
    if (line.starts_with("> ") && !definition.empty()) {
      std::ofstream(folder / "case.l3") << "module T file T spec \"TS 00.001\"\n" << definition;
      EXPECT_EQ(generate("out", (folder / "case.l3").string()), 1) << definition;
      EXPECT_EQ(words, expected) << definition;
      EXPECT_FALSE(fs::exists(folder / "out")) << "half generated: " << definition;
      definition = expected = "";
      ++refused;
    }
    if (line.starts_with("> "))
      expected += "case.l3:" + line.substr(2) + "\n";
    else
      definition += (definition.empty() && line[0] == ' ' ? "element A [1]\n" : "") + line + "\n";
  }
  EXPECT_GT(refused, 50U);
}

// One file with a fault of each step, each in a block of its own; a block of another file that is refused; and blocks
// that are right but for the names that these would have given. Each fault is told, once, and nothing else.
TEST_F(Generator, ChecksAFileForAnEditorAndTellsEveryFault)
{
  std::ofstream(folder / "a.l3") << "module A file A spec \"TS 00.001\"\n"
                                    "element Lost\n"
                                    "  M x bits 8x\n"
                                    "    M deeper bits 4\n"
                                    "element Row [1]\n"
                                    "  M x bits 4 often\n"
                                    "  M inner record\n"
                                    "    M lost  B_Odd_part\n"
                                    "element Name [1]\n"
                                    "  M y B_Missing\n"
                                    "  M z Row\n"
                                    "element Loop [1]\n"
                                    "  M l Loop\n"
                                    "element Order [1]\n"
                                    "  if late x bits 8\n"
                                    "  M late bits 8 in 0..256\n"
                                    "element Good [1]\n"
                                    "  M x Lost\n"
                                    "  M y Lost_inner\n";
  std::ofstream(folder / "b.l3") << "module B file B spec \"TS 00.002\"\nelement Odd bits [1]\n  M x bits 8\n"
                                 << "enum E [1]\n  a = 0x\n";
  std::string a = (folder / "a.l3").string(), b = (folder / "b.l3").string();
  EXPECT_EQ(run("--check " + a), 1);
  EXPECT_EQ(words, a + ":2:13: error: a block needs its clause in brackets at the end\n" + //
                       a + ":3:12: error: not a number: '8x'\n" +                          //
                       a + ":6:14: error: not understood: 'often'\n" +                     //
                       a + ":10:7: error: an unknown type 'B_Missing'\n" +                 //
                       a + ":12:9: error: 'Loop' holds itself\n" +                         //
                       a + ":15:6: error: 'late' comes later\n" +                          //
                       a + ":16:3: error: 0 to 256 does not fit in 8 bits\n" +             //
                       b + ":2:13: error: not understood: 'bits'\n" +                      //
                       b + ":4:11: error: expected bits and a width\n" +                   //
                       b + ":5:7: error: not a number: '0x'\n");
  std::ofstream(folder / "a.l3") << "modul A file A\nelement X [1]\n  M y Z\n";
  EXPECT_EQ(run("--check " + a), 1);
  EXPECT_TRUE(words.starts_with(a + ":1:1: error: ")) << words;
  EXPECT_EQ(run("--check " L3_DEFINITIONS "/TS24501IES.l3"), 0) << words;
  EXPECT_EQ(words, "");
  EXPECT_EQ(run("--check " + (folder / "none.l3").string()), 1);
  EXPECT_EQ(words.find(" error: cannot be read"), (folder / "none.l3").string().size() + 5) << words;
  EXPECT_EQ(run("--check " + folder.string()), 1) << "a folder";
}

} // namespace
