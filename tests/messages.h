// Octets to try the coders on: the sample of every type, and the rows of the message corpus; and how tables are read.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/outcome.h"

// A struct of the small interface, which begins with its size.
template <class T> T sized()
{
  T value = {};
  value.size = sizeof value;
  return value;
}

struct TestMessage {
  std::string name;
  const L3TypeEntry* entry;
  Octets octets;
};

inline std::vector<std::string> split(const std::string& text, char by)
{
  std::vector<std::string> parts;
  std::istringstream in(text);
  for (std::string part; std::getline(in, part, by);) parts.push_back(part);
  return parts;
}

// The rows of a table, each of so many cells, without comments (#) and a line of titles that begins with "id".
inline std::vector<std::vector<std::string>> readTable(const std::filesystem::path& file, size_t columns)
{
  std::vector<std::vector<std::string>> rows;
  std::ifstream in(file);
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == '#' || line.starts_with("id\t")) continue;
    rows.push_back(split(line, '\t'));
    rows.back().resize(columns);
  }
  return rows;
}

inline Octets sampleOf(const L3TypeEntry& entry)
{
  Octets octets;
  auto sample = [&entry](RtxContext* ctxt) { return sampleValue(entry, ctxt); };
  if (entry.encode) encodeOutcome(entry, sample, 1 << 16, {}, &octets);
  return octets;
}

// How much more than usual a long run shall try.
inline unsigned effort()
{
  const char* text = getenv("VELNOR_TEST_EFFORT");
  return text ? unsigned(atoi(text)) : 1;
}

// Which of many cases a long test takes. Builds that run slowly (sanitizers, coverage) have a budget of cases, so that
// their time stays where it is when types are added: they take every n-th. Tests begin at different turns, so that one
// takes what another passes over. Without a budget they take all.
inline bool isTaken(size_t index, [[maybe_unused]] size_t count, [[maybe_unused]] size_t turn)
{
#ifdef VELNOR_TEST_BUDGET
  const size_t budget = VELNOR_TEST_BUDGET * effort(), step = count / budget + 1;
  return index % step == turn % step;
#else
  return index < count;
#endif
}

// The types that a long test takes: no two coders by hand are alike, so they are always among them.
inline std::vector<const L3TypeEntry*> takenTypes(size_t turn)
{
  std::vector<const L3TypeEntry*> types;
  for (size_t i = 0; i < l3TypeCount; ++i)
    if (l3TypeTable[i].type->hand || isTaken(i, l3TypeCount, turn)) types.push_back(&l3TypeTable[i]);
  return types;
}

inline void addSample(std::vector<TestMessage>& messages, const L3TypeEntry& entry)
{
  if (entry.decode) messages.push_back({entry.type->fullName.get(), &entry, sampleOf(entry)});
}

// The samples of all types that can be decoded.
inline std::vector<TestMessage> sampleMessages()
{
  std::vector<TestMessage> messages;
  for (size_t i = 0; i < l3TypeCount; ++i) addSample(messages, l3TypeTable[i]);
  return messages;
}

inline std::vector<TestMessage> takenSamples(size_t turn)
{
  std::vector<TestMessage> messages;
  for (const L3TypeEntry* entry : takenTypes(turn)) addSample(messages, *entry);
  return messages;
}

// The rows of all tables in a folder that have the columns id, source, form and hex, and whose form is a type.
inline std::vector<TestMessage> corpusMessages(const std::string& folder)
{
  std::vector<TestMessage> messages;
  std::error_code missing;
  for (auto& file : std::filesystem::directory_iterator(folder, missing)) {
    if (file.path().extension() != ".tsv") continue;
    for (auto& row : readTable(file.path(), 4)) {
      const L3TypeEntry* entry = l3FindType(row[2].c_str());
      if (entry && entry->decode) messages.push_back({row[0], entry, octetsOfHex(row[3])});
    }
  }
  return messages;
}

// Is it a message of EPS whose code the decoder does not verify, though the encoder makes one: of types 5 to 11?
inline bool isSignedAnew(const Octets& octets)
{
  return !octets.empty() && (octets[0] & 15) == 7 && octets[0] >> 4 >= 5 && octets[0] >> 4 < 12;
}

inline std::vector<TestMessage> takenCorpus(const std::string& folder, size_t turn)
{
  std::vector<TestMessage> messages;
  const std::vector<TestMessage> all = corpusMessages(folder);
  for (size_t i = 0; i < all.size(); ++i)
    if (isTaken(i, all.size(), turn)) messages.push_back(all[i]);
  return messages;
}
