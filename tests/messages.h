// Octets to try the coders on: the sample of every type, and the rows of the message corpus; and how tables are read.
#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/outcome.h"

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

// The samples of all types that can be decoded.
inline std::vector<TestMessage> sampleMessages()
{
  std::vector<TestMessage> messages;
  for (size_t i = 0; i < l3TypeCount; ++i)
    if (l3TypeTable[i].decode)
      messages.push_back({l3TypeTable[i].type->fullName, &l3TypeTable[i], sampleOf(l3TypeTable[i])});
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
