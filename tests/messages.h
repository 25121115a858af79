// Octets to try the coders on: the sample of every type, and the rows of the message corpus.
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

inline Octets octetsOfHex(const std::string& hex)
{
  Octets octets;
  for (size_t i = 0; i + 1 < hex.size(); i += 2) octets.push_back(uint8_t(std::stoul(hex.substr(i, 2), nullptr, 16)));
  return octets;
}

inline Octets sampleOf(const L3TypeEntry& entry)
{
  Octets octets;
  if (!entry.encode) return octets;
  auto sample = [&entry](RtxContext* ctxt) { return entry.sample ? entry.sample(ctxt) : l3Sample(ctxt, *entry.type); };
  encodeOutcome(entry, sample, 1 << 16, {}, &octets);
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

// The rows of all tables in a folder that have the columns id, form and hex, and whose form is a type of the library.
inline std::vector<TestMessage> corpusMessages(const std::string& folder)
{
  std::vector<TestMessage> messages;
  std::error_code missing;
  for (auto& file : std::filesystem::directory_iterator(folder, missing)) {
    std::ifstream in(file.path());
    std::string line, id, source, form, hex;
    while (file.path().extension() == ".tsv" && std::getline(in, line)) {
      std::istringstream columns(line);
      std::getline(columns, id, '\t');
      std::getline(columns, source, '\t');
      std::getline(columns, form, '\t');
      std::getline(columns, hex, '\t');
      const L3TypeEntry* entry = l3FindType(form.c_str());
      if (entry && entry->decode) messages.push_back({id, entry, octetsOfHex(hex)});
    }
  }
  return messages;
}
