// The library and an independent dissector read the same in every message: what is encoded here is known there to the
// last octet, under the same type, with the same values. tests/peer/*.tsv hold what differs, and why.
#include <fnmatch.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>

#include "tests/fileText.h"
#include "tests/messages.h"
#include "tests/peer/messages.h"

namespace {

using namespace peer;

class Peer : public testing::Test {
protected:
  void SetUp() override
  {
    if (!hasTools()) GTEST_SKIP() << "tshark is not on the PATH";
  }
  static std::vector<std::vector<std::string>> table(const std::string& file, size_t columns = 3)
  {
    return readTable(VELNOR_TEST_DATA "/" + file, columns);
  }
};

std::vector<Found> dissected(const std::vector<Message>& messages, bool turned = false)
{
  std::vector<Frame> frames;
  for (const Message& message : messages) {
    frames.push_back(message.frame);
    frames.back().toNetwork ^= turned;
  }
  return dissect(frames);
}

// Values found here and there that share bits, but neither lies within the other: a width or a place is wrong.
std::string crossings(const Message& message, const std::vector<Bits>& shown)
{
  std::string text;
  for (const Bits& theirs : shown)
    for (const Bits& ours : message.bits) {
      if (theirs.name == "gsm_a.rr.format_id") continue; // of a frequency list: bits in two octets, with others between
      bool apart = ours.to <= theirs.from || theirs.to <= ours.from;
      bool within =
          (theirs.from <= ours.from && ours.to <= theirs.to) || (ours.from <= theirs.from && theirs.to <= ours.to);
      if (!apart && !within) text += theirs.name + " crosses " + ours.name + "; ";
    }
  return text;
}

std::string differences(const Message& message, const Found& found)
{
  return found.complaints + crossings(message, found.bits);
}

// Letters and digits alone, behind the last dot, without the dissector's number of a bit ("_b3") and what tells the
// algorithms of 5GS.
std::string plain(std::string name)
{
  if (name.size() > 3 && name.substr(name.size() - 3, 2) == "_b") name.resize(name.size() - 3);
  std::string text;
  for (char c : name.substr(name.rfind('.') + 1))
    if (isalnum(uint8_t(c))) text += char(tolower(c));
  for (const char* word : {"128", "5g"})
    for (size_t at; (at = text.find(word)) != std::string::npos;) text.erase(at, strlen(word));
  return text;
}

std::string digits(std::string name)
{
  std::erase_if(name, [](char c) { return !isdigit(uint8_t(c)); });
  return name;
}

// Does one name abbreviate the other?
bool shortens(const std::string& part, const std::string& whole)
{
  size_t found = 0;
  for (char c : whole) found += found < part.size() && part[found] == c;
  return part.size() > 4 && found == part.size();
}

// Does one name contain or abbreviate the other, with the same numbers? "psi-9" is "el_psi_9", "delayClass" is
// "delay_cls", but "a5-1" is not "a5_2_sup".
bool soundAlike(const std::string& ours, const std::string& theirs)
{
  const std::string a = plain(ours), b = plain(theirs);
  auto within = [](const std::string& part, const std::string& whole) {
    return part.size() > 1 && whole.find(part) != std::string::npos;
  };
  if (within("spare", a) && within("spare", b)) return true;
  return digits(a) == digits(b) && (within(a, b) || within(b, a) || shortens(a, b) || shortens(b, a));
}

// The name behind the last dot; of a plain value the one in front of it.
std::string ownName(const std::string& path)
{
  const std::string holder = path.ends_with(".value") ? path.substr(0, path.rfind('.')) : path;
  return holder.substr(holder.rfind('.') + 1);
}

// The element here and the field there that stand at the same bits and do not sound alike.
using Names = std::set<std::vector<std::string>>;

void addNames(Names& names, const Message& message, const std::vector<Bits>& shown)
{
  for (const Bits& theirs : shown)
    for (const Bits& ours : message.bits)
      if (ours.from == theirs.from && ours.to == theirs.to && theirs.name != "gsm_a.common.elem_id" &&
          !soundAlike(ownName(ours.name), theirs.name))
        names.insert({ownName(ours.name), theirs.name});
}

using Match = bool(const std::vector<std::string>& row, const std::vector<std::string>& other);

void expectEach(const Names& from, const Names& in, Match* matches, const char* what)
{
  for (auto& row : from)
    if (std::none_of(in.begin(), in.end(), [&](auto& other) { return matches(row, other); }))
      ADD_FAILURE() << what << "\n" << row[0] << "\t" << row[1];
}

// Cells of the table may have wildcards.
bool isMeant(const std::vector<std::string>& known, const std::vector<std::string>& found)
{
  return !fnmatch(known[0].c_str(), found[0].c_str(), 0) && !fnmatch(known[1].c_str(), found[1].c_str(), 0);
}

// Every message in all its forms, and each element by itself. An element stands in the table exactly if the dissector
// complains of it, or finds values at other bits, wherever it stands alone. What stands at the same bits has names that
// sound alike, or that the other table holds beside each other.
TEST_F(Peer, ReadsEveryMessage)
{
  std::vector<std::pair<std::string, std::string>> unread; // messages and elements
  for (auto& row : table("unread.tsv"))
    for (auto& message : split(row[0], ' '))
      for (auto& element : split(row[1], ' ')) unread.emplace_back(message, element);
  std::vector<unsigned> needed(unread.size());
  auto matches = [](const std::string& pattern, const std::string& name) { return pattern == "*" || pattern == name; };
  auto leavesOut = [&](const std::string& message, const std::string& element) {
    return std::any_of(unread.begin(), unread.end(),
                       [&](auto& row) { return matches(row.first, message) && row.second == element; });
  };
  auto messages = allMessages(leavesOut);
  // The dissector expects some elements in one direction only, which records do not tell.
  auto found = dissected(messages), turned = dissected(messages, true);
  ASSERT_TRUE(found.size() == messages.size() && turned.size() == messages.size());
  Names names;
  for (size_t i = 0; i < messages.size(); ++i) {
    const Message& message = messages[i];
    SCOPED_TRACE(message.name + " " + message.form + " " + hexText(message.frame.octets));
    EXPECT_EQ(message.fault, "");
    bool listed = false;
    for (size_t k = 0; k < unread.size(); ++k)
      if (matches(unread[k].first, message.name) && matches(unread[k].second, message.form)) listed = ++needed[k];
    Found& read = differences(message, found[i]).empty() ? found[i] : turned[i];
    EXPECT_EQ(listed, !differences(message, read).empty()) << differences(message, found[i]);
    if (listed) continue;
    addNames(names, message, read.bits);
    auto& types = read.values[message.typeField];
    EXPECT_TRUE(!types.empty() && std::stoul(types[0], nullptr, 0) == message.type) << (types.empty() ? "" : types[0]);
  }
  for (size_t k = 0; k < unread.size(); ++k) EXPECT_GT(needed[k], 0U) << unread[k].first << " " << unread[k].second;
  auto rows = table("names.tsv", 2);
  const Names known(rows.begin(), rows.end());
  expectEach(known, names, isMeant, "in names.tsv, but not found:");
  auto isKnown = [](auto& found, auto& row) { return isMeant(row, found); };
  expectEach(names, known, isKnown, "other names than in names.tsv:");
}

// "path=value;path=value"
std::vector<Place> readPlaces(const std::string& text)
{
  std::vector<Place> places;
  for (const std::string& part : split(text, ';')) {
    size_t equals = part.find('=');
    places.push_back({part.substr(0, equals), part.substr(equals + 1)});
  }
  return places;
}

// Is every value where it belongs? "field#1" is the second of that name.
void expectValues(Found& found, const std::string& expected)
{
  for (auto& place : readPlaces(expected)) {
    auto field = split(place.path, '#');
    size_t index = field.size() > 1 ? std::stoul(field[1]) : 0;
    auto& values = found.values[field[0]];
    EXPECT_EQ(index < values.size() ? values[index] : "nothing", place.value) << place.path;
  }
}

// Values set in records here are the values shown there.
TEST_F(Peer, ShowsTheSameValues)
{
  auto rows = table("values.tsv");
  std::vector<Message> messages;
  for (auto& row : rows) messages.push_back(messageWith(row[0], readPlaces(row[1])));
  auto found = dissected(messages);
  ASSERT_EQ(found.size(), messages.size());
  for (size_t i = 0; i < rows.size(); ++i) {
    SCOPED_TRACE(rows[i][0] + " " + rows[i][1] + " " + hexText(messages[i].frame.octets));
    EXPECT_EQ(messages[i].fault, "");
    EXPECT_EQ(found[i].complaints, "");
    expectValues(found[i], rows[i][2]);
  }
}

// The dissector by which a form is read.
const char* dissectorOf(const std::string& form)
{
  if (form == "TS24501Msg_PDU") return "nas-5gs";
  if (form == "TS24301Msg_PDU") return "nas-eps_plain";
  return form == "TS44018Msg_L2_PSEUDO_LEN_PDU" ? "gsm_a_ccch" : "gsm_a_dtap";
}

// The first cells of the documents' table of standard forms.
std::vector<std::string> documentedRows()
{
  std::string page = fileText(VELNOR_TEST_DATA "/../../docs/quirks.md");
  size_t begin = page.find("\n# Standard forms"), end = page.find("\n# Kept elements");
  EXPECT_TRUE(begin < end && end != std::string::npos);
  std::vector<std::string> cells;
  for (auto& line : split(page.substr(begin, end - begin), '\n'))
    if (line.starts_with("| ") && !line.starts_with("| Row")) cells.push_back(line.substr(0, line.find(" | ", 2)));
  EXPECT_GT(cells.size(), 15U);
  return cells;
}

// Messages of the standard's form are read there as they are here, with the standard's forms on: the values of the
// table, and all others at bits that fit into each other. What the dissector does not know it complains of, so that a
// newer one that knows it is noticed. Every row of the documents' table has its message.
TEST_F(Peer, ReadsTheStandardsForms)
{
  auto rows = table("standard.tsv", 5);
  std::vector<Frame> frames;
  for (auto& row : rows) frames.push_back({dissectorOf(row[1]), octetsOfHex(row[3]), row[2] == "up"});
  auto found = dissect(frames);
  ASSERT_EQ(found.size(), rows.size());
  for (size_t i = 0; i < rows.size(); ++i) {
    SCOPED_TRACE(rows[i][0] + " " + rows[i][3]);
    uint32_t direction = rows[i][2] == "up" ? RTX_FLAG_MOBILE_ORIGINATED : 0U;
    Decoding decoding(*l3FindType(rows[i][1].c_str()), frames[i].octets,
                      {.trace = true, .flags = RTX_FLAG_KEEP_ELEMENTS | RTX_FLAG_STANDARD_FORMS | direction});
    EXPECT_EQ(decoding.status, 0) << decoding.state();
    if (rows[i][4][0] == '!') {
      EXPECT_NE(found[i].complaints.find(rows[i][4].substr(1)), std::string::npos) << found[i].complaints;
      continue;
    }
    Message message{"", "", 0, "", frames[i], tracedBits(*decoding.ctxt), ""};
    EXPECT_EQ(differences(message, found[i]), "");
    expectValues(found[i], rows[i][4]);
  }
  for (auto& line : documentedRows())
    EXPECT_TRUE(std::any_of(rows.begin(), rows.end(), [&](auto& row) {
      return line.find(row[0]) != std::string::npos;
    })) << line;
}

} // namespace
