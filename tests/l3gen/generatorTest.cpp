// The generator on files: the same text each time, nothing written without need, and a definition that contradicts
// itself is refused with its file and line, never half generated.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <chrono>
#include <cstdlib>
#include <map>

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
    std::string said = (folder / "words").string();
    int status = std::system((L3GEN " '" + (folder / out).string() + "' " + files + " 2>" + said).c_str());
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

// Comments and constants as a caller reads them: tests/golden/l3gen/Words.h is the header of words.l3.
TEST_F(Generator, WritesCommentsAndConstantsBesideTheRecords)
{
  ASSERT_EQ(generate("out", VELNOR_TEST_DATA "/words/words.l3"), 0) << words;
  std::string header = fileText(folder / "out/include/velnor3gpp/Words.h");
  EXPECT_EQ(header, goldenText(VELNOR_TEST_DATA "/../golden/l3gen/Words.h", header));
}

// The blocks of refused.txt: lines led by ">" are the refusals, the others the definitions behind the module line.
TEST_F(Generator, RefusesWithFileLineAndReason)
{
  std::istringstream lines(fileText(VELNOR_TEST_DATA "/refused.txt") + "\n");
  std::string definition, expected;
  unsigned refused = 0;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("> ")) expected += "case.l3:" + line.substr(2) + "\n";
    if (!line.empty() && !line.starts_with("> ") && !line.starts_with("#")) definition += line + "\n";
    if (!line.empty() || definition.empty()) continue;
    std::ofstream(folder / "case.l3") << "module T file T spec \"TS 00.001\"\n" << definition;
    EXPECT_EQ(generate("out", (folder / "case.l3").string()), 1) << definition;
    EXPECT_EQ(words, expected) << definition;
    EXPECT_FALSE(fs::exists(folder / "out")) << "half generated: " << definition;
    definition = expected = "";
    ++refused;
  }
  EXPECT_GT(refused, 50U);
}

} // namespace
