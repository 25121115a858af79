// Every change of a definition shows: what each type's octets are and what becomes of damaged ones stands in a table
// for each module. A row that no longer holds is a change to be looked at in a diff; `VELNOR_GOLDEN=write test-golden`
// in the environment of the build writes the tables anew.
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <set>

#include "tests/golden/row.h"

namespace {

// The row of a machine whose pointers have fewer bits than those of the table's: records are no larger there, and
// everything else is the same.
std::string ofTheTable(std::string row, const std::string& stored)
{
  auto cells = split(row, '\t'), expected = split(stored, '\t');
  if (sizeof(void*) >= 8 || expected.size() < 2) return row;
  EXPECT_LE(std::stoul(cells[1]), std::stoul(expected[1])) << cells[0];
  return row.replace(cells[0].size() + 1, cells[1].size(), expected[1]);
}

std::string moduleOf(const L3TypeEntry& entry)
{
  return split(entry.type->fullName.get(), '_')[0];
}

std::set<std::string> modules()
{
  std::set<std::string> names;
  for (size_t i = 0; i < l3TypeCount; ++i) names.insert(moduleOf(l3TypeTable[i]));
  return names;
}

class Golden : public testing::TestWithParam<std::string> {};

TEST_P(Golden, TypesAreWhatTheyWere)
{
  std::string file = VELNOR_TEST_DATA "/" + GetParam() + ".tsv";
  std::vector<const L3TypeEntry*> types;
  for (size_t i = 0; i < l3TypeCount; ++i)
    if (moduleOf(l3TypeTable[i]) == GetParam()) types.push_back(&l3TypeTable[i]);
  const char* mode = getenv("VELNOR_GOLDEN");
  if (mode && std::string(mode) == "write") {
    std::ofstream out(file);
    out << "# type\toctets in memory\tleast sample\tfull sample\ttaken of damaged\tdigest\n";
    for (const L3TypeEntry* entry : types) out << rowOf(*entry) << "\n";
  }
  std::map<std::string, std::string> stored; // rows by type
  std::ifstream in(file);
  for (std::string line; std::getline(in, line);)
    if (line[0] != '#') stored[line.substr(0, line.find('\t'))] = line;
  for (const L3TypeEntry* entry : types) {
    const std::string& row = stored[entry->type->fullName.get()];
    EXPECT_EQ(row, ofTheTable(rowOf(*entry), row)) << entry->type->fullName;
    stored.erase(entry->type->fullName.get());
    if (HasFailure() && GTEST_FLAG_GET(fail_fast)) return;
  }
  for (auto& [type, row] : stored) ADD_FAILURE() << type << " is gone";
}

INSTANTIATE_TEST_SUITE_P(Modules, Golden, testing::ValuesIn(modules()), [](auto& tested) { return tested.param; });

} // namespace
