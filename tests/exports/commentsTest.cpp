// Guards what a reader of a generated header relies on: every member, presence bit and constant says what it is, and a
// count that may be larger than its array names the room of the array.
#include <gtest/gtest.h>

#include <regex>

#include "tests/fileText.h"

namespace fs = std::filesystem;

namespace {

struct Declaration {
  std::string line;
  std::string comment; // beside it, or above it
};

// Whatever stands within braces. A record within a record has its comment above it or where it ends.
std::vector<Declaration> declarations(const std::string& header)
{
  std::vector<Declaration> found;
  std::vector<std::string> open; // the comments above the records that a line lies in
  std::istringstream in(header);
  std::string above;
  bool again = false; // the same bits for machines that lay them the other way round
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with("#")) again = line == "#else";
    if (line.starts_with("#") || again) continue;
    const size_t beside = line.find("/**< ");
    const bool continues = !above.empty() && above.find("*/") == std::string::npos;
    if (continues || (beside == std::string::npos && line.find("/** ") != std::string::npos)) {
      above += line;
      continue;
    }
    std::string comment = beside == std::string::npos ? above : line.substr(beside);
    above.clear();
    if (line.find('{') != std::string::npos) {
      open.push_back(comment);
      continue;
    }
    if (line.find('}') != std::string::npos) {
      if (comment.empty()) comment = open.back();
      open.pop_back();
    }
    if (!open.empty()) found.push_back({line.substr(0, beside), comment});
  }
  return found;
}

TEST(Comments, StandAtEveryMemberAndConstant)
{
  const std::regex array(" (elem|data)\\["), count("uint8_t (n|numocts|numbits);");
  size_t members = 0, arrays = 0, counted = 0;
  for (const auto& file : fs::directory_iterator(VELNOR_GENERATED_INCLUDE "/velnor3gpp")) {
    std::string header = fileText(file.path());
    header = header.substr(header.find("VELNOR_BEGIN_DECLS"));
    for (const Declaration& member : declarations(header.substr(header.find('\n')))) {
      EXPECT_GT(member.comment.size(), 10U) << file.path() << ": " << member.line;
      ++members;
      const bool bounded = std::regex_search(member.line, array), counts = std::regex_search(member.line, count);
      const std::string& says = bounded ? member.line : member.comment;
      EXPECT_TRUE(!(bounded || counts) || says.find("_capacity") != std::string::npos) << member.line;
      arrays += bounded;
      counted += counts;
    }
  }
  EXPECT_GT(members, 5000U);
  EXPECT_GT(arrays, 40U);
  EXPECT_EQ(arrays, counted);
}

} // namespace
