// Guards what a user of the program sees, by cases that a person can read. Every block of every .case file here is one:
//
//   file keys            makes a file for this case and those behind it, of the lines below it that begin with "| "
//   $ velnor3gpp types   a command of the shell, run in the directory of the files; if several, each does the same
//   code 1               its exit code; left out: 0; "code 2 for some" if other messages were served
//   out  TEXT            part of the standard output, of the errors (err), of the file f (in f); "not" denies any
//   out 3 times  TEXT    so many times
//   only err  TEXT       the whole of it, without the last line feed; TEXT may be missing
//   2 $ COMMAND => TEXT  a case of its own: exit code and part of the errors, or of the output with exit code 0; behind
//                        " => " again, other lines of the forms above
//
// "\n" in a text is a line feed, "\t" a TAB. A call that cannot be served (code 2) says so in one line and prints
// nothing else, and the keys of key files are never shown.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cstdlib>
#include <regex>
#include <set>

#include "tests/fileText.h"

namespace {

namespace fs = std::filesystem;

// KiB of addresses that a command needs at most. Sanitizers have memory of their own.
#if defined __SANITIZE_ADDRESS__ || defined __SANITIZE_THREAD__
constexpr char kRoom[] = "unlimited";
#else
constexpr char kRoom[] = "200000";
#endif

struct Case {
  std::string place;
  std::vector<std::string> commands, expectations;
  int code = 0;
  bool forAll = true;
};

// Runs the cases of one file, in a directory of their own that is gone afterwards.
class CaseFile : public testing::TestWithParam<std::string> {
protected:
  fs::path dir;

  void SetUp() override
  {
    char name[] = "/tmp/velnor3gppXXXXXX";
    dir = mkdtemp(name);
    umask(077); // key files are made as they should be
    setenv("PATH", (fs::path(VELNOR_PROGRAM).parent_path().string() + ":" + getenv("PATH")).c_str(), 1);
    setenv("SAMPLES", VELNOR_SAMPLES, 1);
    setenv("ROOM", kRoom, 1);
  }
  void TearDown() override { fs::remove_all(dir); }

  // "[not] out|err|in FILE [N times] TEXT" or "only out|err TEXT".
  void expect(const std::string& line)
  {
    static const std::regex kForm("(not |only )?(out|err|in (\\S+))( (\\d+) times)? *(.*)");
    std::smatch words;
    ASSERT_TRUE(std::regex_match(line, words, kForm)) << line;
    std::string text = fileText(dir / (words[3].matched ? words[3].str() : words[2].str()));
    std::string part = std::regex_replace(words[6].str(), std::regex("\\\\n"), "\n");
    part = std::regex_replace(part, std::regex("\\\\t"), "\t");
    if (words[1] == "only ")
      EXPECT_EQ(text, part.empty() ? "" : part + "\n");
    else if (words[5].matched || words[1] == "not ")
      EXPECT_EQ(countOf(text, part), words[5].matched ? std::stoul(words[5]) : 0) << line << "\n" << text;
    else
      EXPECT_NE(text.find(part), std::string::npos) << line << "\n" << text;
  }

  void run(const Case& tested)
  {
    EXPECT_FALSE(tested.commands.empty() && !tested.expectations.empty()) << tested.place << ": nothing is run for it";
    for (const std::string& command : tested.commands) {
      SCOPED_TRACE(tested.place + ": " + command);
      int status = system(("cd " + dir.string() + "; { " + command + "\n} >out 2>err </dev/null").c_str());
      EXPECT_TRUE(WIFEXITED(status));
      EXPECT_EQ(WEXITSTATUS(status), tested.code) << fileText(dir / "err");
      for (const std::string& line : tested.expectations) expect(line);
      for (const char* line : {"not err 2bd6459f", "not err d3c5d592"}) expect(line);
      if (tested.code != 2) continue;
      if (!tested.forAll) continue;
      expect("only out");
      // One line, with a caret under the fault or without.
      std::string err = fileText(dir / "err");
      EXPECT_TRUE(std::regex_match(err, std::regex("velnor3gpp: .*\n(  .*\n)*"))) << err;
    }
  }

  // Takes a line of a block; files are made at once.
  void take(Case& tested, const std::string& line, fs::path& file)
  {
    std::string rest = line.substr(std::min(line.size(), line.find(' ') + 1));
    if (isdigit(uint8_t(line[0]))) {
      std::vector<std::string> parts;
      for (size_t at = 0, end = 0; end != std::string::npos; at = end + 4)
        end = line.find(" => ", at), parts.push_back(line.substr(at, end - at));
      const int code = line[0] - '0';
      parts[1] = (code ? "err " : "out ") + parts[1];
      run({tested.place + " " + line, {parts[0].substr(4)}, {parts.begin() + 1, parts.end()}, code});
    } else if (line.rfind("| ", 0) == 0)
      std::ofstream(file, std::ios::app) << rest << "\n";
    else if (line.rfind("file ", 0) == 0)
      std::ofstream(file = dir / rest);
    else if (line.rfind("$ ", 0) == 0)
      tested.commands.push_back(rest);
    else if (line.rfind("code ", 0) == 0) {
      tested.code = std::stoi(rest);
      tested.forAll = rest.find(" for some") == std::string::npos;
    } else
      tested.expectations.push_back(line);
  }
};

std::vector<std::string> caseFiles()
{
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(VELNOR_TEST_DATA))
    if (entry.path().extension() == ".case") names.push_back(entry.path().stem());
  return names;
}

TEST_P(CaseFile, HoldsToTheLetter)
{
  std::ifstream in(fs::path(VELNOR_TEST_DATA) / (GetParam() + ".case"));
  Case tested;
  fs::path file;
  size_t number = 0, commands = 0;
  for (std::string line; ++number, std::getline(in, line) || !tested.commands.empty(); line.clear()) {
    if (line.empty()) run(std::exchange(tested, {}));
    if (line.empty() || line[0] == '#') continue;
    if (tested.place.empty()) tested.place = GetParam() + ".case:" + std::to_string(number);
    take(tested, line, file);
    commands += line.find("$ ") < 3;
  }
  EXPECT_GT(commands, 5U);
}
INSTANTIATE_TEST_SUITE_P(, CaseFile, testing::ValuesIn(caseFiles()), [](auto& name) { return name.param; });

// What follows a line, up to the next blank one.
std::vector<std::string> linesBehind(const std::string& text, const std::string& title)
{
  std::istringstream in(text);
  std::vector<std::string> lines;
  bool found = false;
  for (std::string line; std::getline(in, line) && !(found && line.empty());) {
    if (found) lines.push_back(line);
    found = found || line == title;
  }
  return lines;
}

// What a command of the shell says where the samples are at hand.
std::string shell(const std::string& command)
{
  static const std::string kStart = "PATH=" + fs::path(VELNOR_PROGRAM).parent_path().string() + ":$PATH; cd " +
                                    fs::path(VELNOR_SAMPLES).parent_path().string() + "; ";
  return outputOf(kStart + "{ " + command + "\n} 2>&1 </dev/null");
}

// The program itself, and its commands.
std::vector<std::string> commandNames()
{
  std::vector<std::string> names = {""};
  for (const std::string& line : linesBehind(shell("velnor3gpp --help"), "Subcommands:"))
    names.push_back(line.substr(2, line.find(' ', 2) - 2));
  return names;
}

// Whoever copies an example from the help of a command sees it work.
TEST(Program, ExamplesOfEveryCommandRun)
{
  const std::vector<std::string> names = commandNames();
  for (const std::string& name : names) {
    size_t examples = 0;
    std::string call;
    for (const std::string& text : linesBehind(shell("velnor3gpp " + name + " -h"), "Examples:")) {
      if (text.find("# ") == 2) continue;
      call += text + "\n";
      if (text.ends_with(" |")) continue; // it goes on
      const std::string said = shell(call);
      EXPECT_TRUE(!said.empty() && said.find("failed: ") == std::string::npos) << call << "\n" << said;
      call.clear();
      ++examples;
    }
    EXPECT_EQ(examples, 3U) << name;
  }
  EXPECT_GT(names.size(), 4U);
}

// The names of options in a text, each behind `mark`.
std::set<std::string> optionsIn(const std::string& text, const std::string& mark)
{
  std::set<std::string> names;
  std::regex form(mark + "-([a-z][a-z-]*)");
  for (std::sregex_iterator at(text.begin(), text.end(), form), end; at != end; ++at) names.insert((*at)[1]);
  return names;
}

// Whoever reads the manual, or the page on the filter, reads of the options that are there, and of all of them.
TEST(Program, ManualHasTheOptionsOfEveryHelp)
{
  std::string manual = shell("velnor3gpp manual"), page = shell("cat man/velnor3gpp-filter.7");
  for (const std::string& name : commandNames()) {
    if (name.empty()) continue;
    size_t start = manual.find(".Ss " + name + "\n");
    ASSERT_NE(start, std::string::npos) << name;
    std::string section = manual.substr(start, manual.find("\nExamples:", start) - start);
    std::string help = shell("velnor3gpp " + name + " -h");
    const std::set<std::string> options = optionsIn(help.substr(0, help.find("Examples:")), "[ ,]-");
    EXPECT_EQ(optionsIn(section, "Fl "), options) << name;
    if (name != "filter") continue;
    EXPECT_EQ(optionsIn(page.substr(page.find(".Sh DESCRIPTION")), "Fl "), options) << "their list";
    for (const std::string& option : options) // of -h and -j one form each is enough
      EXPECT_TRUE(page.find(".Op Fl -" + option) < page.size() || option == "jobs" || option == "help") << option;
  }
  // Elsewhere than in an installed system the pages that these refer to are not found.
  EXPECT_EQ(shell("command -v mandoc >/dev/null || exit 0\n"
                  "{ velnor3gpp manual | mandoc -Tlint; mandoc -Tlint man/*.7; } | grep -v 'manual not found' || true"),
            "");
  EXPECT_EQ(shell("command -v mandoc >/dev/null || exit 0\n"
                  "velnor3gpp manual | mandoc -Tascii | sed \"s/.$(printf '\\010')//g\" | grep -E '.{81}' || true"),
            "");
}

} // namespace
