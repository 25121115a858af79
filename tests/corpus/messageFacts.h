// What a corpus says of a message, against what is printed of it.
#pragma once

#include <algorithm>

#ifndef VELNOR_CORPUS
#define VELNOR_CORPUS VELNOR_TEST_DATA "/data"
#endif

#include "tests/messages.h"

struct CorpusRow {
  std::string id, source, form, hex, object, wellformed, facts, note, direction, kind;
};

inline std::vector<CorpusRow> readCorpus(const std::string& file)
{
  std::vector<CorpusRow> rows;
  for (auto& cells : readTable(VELNOR_CORPUS "/" + file, 10))
    rows.push_back(
        {cells[0], cells[1], cells[2], cells[3], cells[4], cells[5], cells[6], cells[7], cells[8], cells[9]});
  return rows;
}

// A protected message and its keys.
struct ProtectedRow {
  std::string id;
  const L3TypeEntry* type;
  Octets octets, integrityKey, cipherKey;
  uint32_t integrityAlgorithm, cipherAlgorithm, count;
  uint8_t bearer, direction;
  bool verifies;
  Octets inner;
  uint32_t flags;
};

inline ProtectedRow protectedRow(const std::vector<std::string>& cells)
{
  auto number = [&cells](size_t column) { return uint32_t(std::stoul(cells[column])); };
  auto key = [&cells](size_t column) {
    return octetsOfHex(cells[column] + std::string(32 - cells[column].size(), '0'));
  };
  bool fromMobile = cells[14].find("ueOrig.") != std::string::npos;
  return {cells[0],
          l3FindType(cells[2].c_str()),
          octetsOfHex(cells[3]),
          key(4),
          key(5),
          number(6),
          number(7),
          number(8),
          uint8_t(number(9)),
          uint8_t(number(10)),
          cells[11] == "ok",
          octetsOfHex(cells[12]),
          fromMobile ? RTX_FLAG_MOBILE_ORIGINATED : 0U};
}

inline std::vector<ProtectedRow> protectedRows()
{
  std::vector<ProtectedRow> rows;
  for (auto& cells : readTable(VELNOR_CORPUS "/security.tsv", 16)) rows.push_back(protectedRow(cells));
  return rows;
}

// Flags are numbers in the facts.
inline std::string plainValue(std::string value)
{
  std::erase(value, '\'');
  return value == "true" ? "1" : value == "false" ? "0" : value;
}

// One printed line: its own name, the names of the braces around it, its value.
struct PrintedLine {
  std::vector<std::string> around;
  std::string name, value;
};

inline std::vector<PrintedLine> readPrint(const std::string& print)
{
  std::vector<PrintedLine> lines;
  std::vector<std::string> around;
  for (std::string text : split(print, '\n')) {
    text.erase(0, text.find_first_not_of(' '));
    size_t equals = text.find(" = ");
    if (text == "}")
      around.pop_back();
    else if (equals != std::string::npos && text.ends_with(',')) // a string of more than one line
      around.push_back(text.substr(0, equals));
    else if (equals != std::string::npos)
      lines.push_back({around, text.substr(0, equals), text.substr(equals + 3)});
    else if (text.ends_with(" {"))
      around.push_back(text.substr(0, text.size() - 2));
  }
  return lines;
}

// A name holds for itself and for entries of a list of that name.
inline bool namedAs(const std::string& shown, const std::string& name)
{
  return shown == name || (shown.starts_with(name + "[") && shown.ends_with("]"));
}

// Does a line lead along the names of the fact, others between them or not, to its value?
inline bool factHolds(const std::vector<PrintedLine>& lines, const std::string& fact)
{
  size_t equals = fact.find('=');
  auto path = split(fact.substr(0, equals), '.');
  std::string name = path.back(), value = plainValue(fact.substr(equals + 1));
  path.pop_back();
  return std::any_of(lines.begin(), lines.end(), [&](const PrintedLine& line) {
    size_t next = 0;
    for (auto& around : line.around) next += next < path.size() && namedAs(around, path[next]);
    return namedAs(line.name, name) && plainValue(line.value) == value && next == path.size();
  });
}
