// Promises that hold for every type of the library: a new type is under them as soon as its rows exist.
#include <gtest/gtest.h>

#include <cstring>
#include <set>

#include "tests/descriptors.h"
#include "tests/family/laws.h"

namespace {

void forAllTypes(void (*law)(const Subject&))
{
  for (size_t i = 0; i < l3TypeCount; ++i) {
    SCOPED_TRACE(l3TypeTable[i].type->fullName);
    law(subjectOf(l3TypeTable[i]));
  }
}

TEST(FamilyLaws, SampleRepeats)
{
  forAllTypes(checkSampleRepeats);
}
TEST(FamilyLaws, RoundTrip)
{
  forAllTypes(checkRoundTrip);
}
TEST(FamilyLaws, Truncations)
{
  forAllTypes(checkTruncations);
}
TEST(FamilyLaws, AllocationFailures)
{
  forAllTypes(checkAllocationFailures);
}
TEST(FamilyLaws, InitialisedRecordsPrint)
{
  forAllTypes(checkInitialised);
}

// The table holds the types of the definitions, in an order in which each is found.
TEST(FamilyLaws, TypesAreFound)
{
#ifdef VELNOR_HAS_TYPES
  EXPECT_GT(l3TypeCount, 0U);
#endif
  for (size_t i = 0; i < l3TypeCount; ++i) EXPECT_EQ(l3FindType(l3TypeTable[i].type->fullName), &l3TypeTable[i]);
  EXPECT_EQ(l3FindType("TS24501IE_"), nullptr);
  EXPECT_EQ(l3FindType("~"), nullptr);
  EXPECT_EQ(l3FindType(nullptr), nullptr);
}

void collectEnums(const L3Row& row, std::set<const L3Enum*>& enums)
{
  if (row.op == kL3Enumerated) enums.insert(static_cast<const L3Enum*>(row.info));
  if (row.op == kL3List) collectEnums(static_cast<const L3List*>(row.info)->elem, enums);
  if (row.op != kL3Choice) return;
  const L3Choice& choice = *static_cast<const L3Choice*>(row.info);
  for (unsigned i = 0; i < choice.count; ++i) collectEnums(choice.alternatives[i].row, enums);
}

std::set<const L3Enum*> allEnums()
{
  std::set<const L3Enum*> enums;
  for (size_t i = 0; i < l3TypeCount; ++i) {
    const L3Type& type = *l3TypeTable[i].type;
    for (unsigned k = 0; k < type.rowCount; ++k) collectEnums(type.rows[k], enums);
    for (unsigned k = 0; type.message && k < type.message->count; ++k) collectEnums(type.message->options[k], enums);
  }
  return enums;
}

std::string expectedText(const L3Enum& set, uint32_t value)
{
  for (unsigned i = 0; i < set.rows; ++i)
    if (uint32_t(set.table[i].value) == value) return std::string("x = ") + set.table[i].name + "\n";
  return set.printOpen ? "x = " + std::to_string(value) + "\n" : "x = ???\n";
}

// Every value that a field can have prints by its name or as a stranger; members are the values with names.
TEST(FamilyLaws, EnumerationsPrintEveryValue)
{
  for (const L3Enum* set : allEnums()) {
    SCOPED_TRACE(set->table[0].name);
    const L3Row rows[] = {enumRow(nullptr, 0, *set)};
    L3Type type = typeOf("Enum", rows, 4, kL3Bare);
    for (uint32_t value = 0; value < (1U << set->bits) && value < 256; ++value) {
      EXPECT_EQ(textOf(type, &value), expectedText(*set, value));
      bool member = set->members[value >> 5] >> (value & 31) & 1;
      bool named = expectedText(*set, value) != (set->printOpen ? "x = " + std::to_string(value) + "\n" : "x = ???\n");
      EXPECT_EQ(member, named) << value;
    }
    uint32_t stranger = 0x80000001;
    EXPECT_EQ(textOf(type, &stranger), expectedText(*set, stranger));
  }
}

} // namespace
