// The library and an independent dissector read the same in every message: what is encoded here is known there to the
// last octet, under the same type, with the same values. tests/peer/*.tsv hold what differs, and why.
#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>

#include "tests/peer/messages.h"

namespace {

using namespace peer;

std::vector<std::vector<std::string>> readTable(const char* file, size_t columns)
{
  std::ifstream in(std::string(VELNOR_TEST_DATA) + "/" + file);
  std::vector<std::vector<std::string>> rows;
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream cells(line);
    rows.emplace_back();
    for (std::string cell; std::getline(cells, cell, '\t');) rows.back().push_back(cell);
    EXPECT_EQ(rows.back().size(), columns) << line;
    rows.back().resize(columns);
  }
  return rows;
}

std::string hexOf(const Octets& octets)
{
  std::string text;
  for (uint8_t octet : octets) text += {"0123456789abcdef"[octet >> 4], "0123456789abcdef"[octet & 15]};
  return text;
}

std::vector<Frame> framesOf(const std::vector<Message>& messages)
{
  std::vector<Frame> frames;
  for (const Message& message : messages) frames.push_back(message.frame);
  return frames;
}

bool matches(const std::string& pattern, const std::string& name)
{
  return pattern == "*" || pattern == name;
}

// Values found here and there that share bits, but neither lies within the other: a width or a place is wrong.
std::string crossings(const Message& message, const std::vector<Bits>& shown)
{
  std::string text;
  for (const Bits& theirs : shown)
    for (const Bits& ours : message.bits) {
      bool apart = ours.to <= theirs.from || theirs.to <= ours.from;
      bool within =
          (theirs.from <= ours.from && ours.to <= theirs.to) || (ours.from <= theirs.from && theirs.to <= ours.to);
      if (!apart && !within) text += theirs.name + " crosses " + ours.name + "; ";
    }
  return text;
}

// Every message in all its forms, and each element by itself. An element stands in the table exactly if the dissector
// complains of it, or finds values at other bits, wherever it stands alone.
TEST(Peer, ReadsEveryMessage)
{
  if (!hasTshark()) GTEST_SKIP() << "tshark is not on the PATH";
  std::vector<LeftOut> leftOut;
  for (auto& row : readTable("unread.tsv", 3)) leftOut.push_back({row[0], row[1]});
  auto messages = allMessages(leftOut);
  std::vector<std::string> fields = kComplaintFields;
  for (const Message& message : messages)
    if (std::find(fields.begin(), fields.end(), message.typeField) == fields.end()) fields.push_back(message.typeField);
  auto found = dissect(framesOf(messages), fields);
  auto shown = dissectBits(framesOf(messages));
  ASSERT_EQ(found.size(), messages.size());
  ASSERT_EQ(shown.size(), messages.size());
  std::vector<unsigned> needed(leftOut.size());
  for (size_t i = 0; i < messages.size(); ++i) {
    const Message& message = messages[i];
    SCOPED_TRACE(message.name + " " + message.form + " " + hexOf(message.frame.octets));
    EXPECT_EQ(message.fault, "");
    bool listed = false;
    for (size_t k = 0; k < leftOut.size(); ++k) {
      if (!matches(leftOut[k].message, message.name) || !matches(leftOut[k].element, message.form)) continue;
      listed = true;
      ++needed[k];
    }
    std::string differs = complaints(found[i]) + crossings(message, shown[i]);
    EXPECT_EQ(listed, !differs.empty()) << differs;
    if (listed) continue;
    auto& types = found[i][message.typeField];
    EXPECT_TRUE(!types.empty() && std::stoul(types[0], nullptr, 0) == message.type) << (types.empty() ? "" : types[0]);
  }
  for (size_t k = 0; k < leftOut.size(); ++k)
    EXPECT_GT(needed[k], 0U) << leftOut[k].message << " " << leftOut[k].element;
}

// "path=value;path=value"
std::vector<Setting> readSettings(const std::string& text)
{
  std::vector<Setting> settings;
  std::istringstream parts(text);
  for (std::string part; std::getline(parts, part, ';');) {
    size_t equals = part.find('=');
    settings.push_back({part.substr(0, equals), part.substr(equals + 1)});
  }
  return settings;
}

// A field, and which of its values.
std::pair<std::string, size_t> readField(const std::string& text)
{
  size_t mark = text.find('#');
  return {text.substr(0, mark), mark == std::string::npos ? 0 : std::stoul(text.substr(mark + 1))};
}

// Values set in records here are the values shown there.
TEST(Peer, ShowsTheSameValues)
{
  if (!hasTshark()) GTEST_SKIP() << "tshark is not on the PATH";
  auto rows = readTable("values.tsv", 3);
  std::vector<Message> messages;
  std::vector<std::string> fields = kComplaintFields;
  for (auto& row : rows) {
    messages.push_back(messageWith(row[0], readSettings(row[1])));
    for (auto& shown : readSettings(row[2]))
      if (auto name = readField(shown.path).first; std::find(fields.begin(), fields.end(), name) == fields.end())
        fields.push_back(name);
  }
  auto found = dissect(framesOf(messages), fields);
  ASSERT_EQ(found.size(), messages.size());
  for (size_t i = 0; i < rows.size(); ++i) {
    SCOPED_TRACE(rows[i][0] + " " + rows[i][1] + " " + hexOf(messages[i].frame.octets));
    EXPECT_EQ(messages[i].fault, "");
    EXPECT_EQ(complaints(found[i]), "");
    for (auto& shown : readSettings(rows[i][2])) {
      auto [name, index] = readField(shown.path);
      auto& values = found[i][name];
      EXPECT_EQ(index < values.size() ? values[index] : "nothing", shown.value) << shown.path;
    }
  }
}

} // namespace
