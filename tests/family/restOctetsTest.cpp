// Promises of rest octets (TS 44.018, 10.5.2): padding is parts that are absent, and an end at any octet is an end.
#include <gtest/gtest.h>

#include "rt3gppsrc/engine/l3Record.h"
#include "tests/descriptors.h"
#include "tests/messages.h"

namespace {

std::vector<const L3TypeEntry*> restOctets()
{
  std::vector<const L3TypeEntry*> types;
  for (size_t i = 0; i < l3TypeCount; ++i)
    if (l3TypeTable[i].type->flags & kL3RestOctets) types.push_back(&l3TypeTable[i]);
  return types;
}

// The parts of a record that a bit relative to the padding leads.
template <typename Use> void eachLed(const L3Type& type, Use use)
{
  for (const L3Row* row = type.rows; row < type.rows + type.rowCount; ++row)
    if (row->lead == kL3LeadLH) use(*row);
}

TEST(RestOctets, AreThirtyThree)
{
  EXPECT_EQ(restOctets().size(), 33U);
}

// Are all bits in front of parts relative to the padding?
bool isRelative(const L3Type& type)
{
  return std::all_of(type.rows.get(), type.rows + type.rowCount, [](const L3Row& row) {
    return row.lead == kL3LeadLH || row.flags & kL3LH || (row.op == kL3Record && isRelative(*row.type));
  });
}

// What is only padding has no parts, and no parts are only padding, where no plain bits stand among them.
TEST(RestOctets, OfPaddingHaveNoParts)
{
  size_t relative = 0;
  for (const L3TypeEntry* entry : restOctets())
    for (size_t size = 0; size <= 23 && isRelative(*entry->type); ++size) {
      Decoding padding(*entry, Octets(size, 0x2B));
      ASSERT_EQ(padding.status, 0) << entry->type->fullName << " " << size << "\n" << padding.state();
      const void* record = padding.record.get();
      eachLed(*entry->type, [&](const L3Row& row) {
        EXPECT_FALSE(l3HasBit(record, row.mBit)) << entry->type->fullName << "." << row.name;
      });
      Octets back(64);
      ASSERT_EQ(encodeInto(back, padding.ctxt, *entry, padding.record.get()), 0) << entry->type->fullName;
      ++relative;
      EXPECT_EQ(back, Octets(back.size(), 0x2B)) << entry->type->fullName;
    }
  EXPECT_EQ(relative, 12U * 24);
}

// An end between octets is no failure but within a part, and what stands in front of it is read as it is. Nothing of
// what the record held before shows behind it.
TEST(RestOctets, EndWhereTheirOctetsEnd)
{
  for (const L3TypeEntry* entry : restOctets()) {
    Octets octets = sampleOf(*entry);
    for (size_t size = 0; size < octets.size(); ++size) {
      Octets front(octets.begin(), octets.begin() + ptrdiff_t(size));
      Decoding cut(*entry, front), used(*entry, front, {.fill = 0xA5});
      EXPECT_TRUE(cut.status == 0 || cut.status == RTX_E_END_OF_BUFFER) << entry->type->fullName << " " << size << "\n"
                                                                        << cut.state();
      std::string expected = cut.status == 0 ? cut.text() : used.text();
      EXPECT_EQ(used.text(), expected) << entry->type->fullName << " " << size;
    }
  }
}

} // namespace
