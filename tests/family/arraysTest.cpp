// Promise: an array of a record is the end of what is read of it. A decoded count may be larger, as more entries can
// come than the standard allows; nobody behind the decoder follows it.
#include <gtest/gtest.h>

#include <optional>

#include "tests/descriptors.h"
#include "tests/messages.h"
#include "tests/recordWalk.h"

namespace {

// An array in a record and its count, an octet.
struct Array {
  size_t count, data, end; // offsets
  unsigned room;           // entries, octets or bits
};

std::optional<Array> arrayOf(const L3Row& row)
{
  auto array = [&row](size_t from, size_t octets, uint32_t room) -> std::optional<Array> {
    if (!room || room >= 255) return {};
    return Array{row.offset, row.offset + from, row.offset + from + octets, room};
  };
  if (row.op == kL3List) {
    const L3List& info = *static_cast<const L3List*>(row.info);
    return array(info.elemOffset, info.cap * info.elemSize, info.cap);
  }
  if (row.op == kL3BitString) {
    const L3BitString& info = *static_cast<const L3BitString*>(row.info);
    if (info.from == kL3Fixed) return {};
    return array(info.dataOffset, (info.capBits + 7) / 8, info.capBits);
  }
  if (row.op != kL3Octets) return {};
  const L3Octets& info = *static_cast<const L3Octets*>(row.info);
  return info.from == kL3Fixed ? std::nullopt : array(info.dataOffset, info.cap, info.cap);
}

// The row as all of a type, always there.
L3Row standingAlone(L3Row row)
{
  if (!row.name) row.name = textOf("array");
  row.given = kL3GivenAlways;
  row.lead = kL3NoLead;
  row.room = 0;
  row.cond = {};
  row.mBit = row.groupBit = kL3NoBit;
  return row;
}

// What printer and encoder make of an array of zeros with a count, in front of octets of one value.
std::string usesOf(const L3Row (&alone)[1], const Array& array, unsigned count, uint8_t canary)
{
  constexpr size_t kBehind = 1 << 16; // enough for 255 entries of any list
  L3Type type = typeOf("Canary", alone, array.end);
  OutcomeContext ctxt;
  Octets record(array.end + kBehind, canary), octets(1 << 12);
  std::fill(record.begin(), record.begin() + ptrdiff_t(array.end), uint8_t{0});
  record[array.count] = uint8_t(count);
  std::string text = printed(type, "x", record.data());
  int status = encodeInto(octets, ctxt, entryOf(type), record.data());
  EXPECT_LT(status, 0) << count;
  return text + stateOf(ctxt, status);
}

TEST(Arrays, NothingBehindThemIsPrintedOrEncoded)
{
  size_t arrays = 0;
  for (size_t i = 0; i < l3TypeCount; ++i)
    eachRow(*l3TypeTable[i].type, [&](const L3Row& row) {
      std::optional<Array> array = arrayOf(row);
      if (!array) return;
      ++arrays;
      const L3Row alone[] = {standingAlone(row)};
      for (unsigned count : {array->room + 1, 255U})
        EXPECT_EQ(usesOf(alone, *array, count, 0x41), usesOf(alone, *array, count, 0xC5))
            << l3TypeTable[i].type->fullName << "." << alone[0].name;
    });
  EXPECT_GT(arrays, 40U);
}

// The direct coders as well: a sample whose count is above the room of its array is refused.
TEST(Arrays, CountsAboveTheRoomAreRefusedOnEncoding)
{
  for (size_t i = 0; i < l3TypeCount; ++i) {
    const L3TypeEntry& entry = l3TypeTable[i];
    OutcomeContext ctxt;
    auto* value = static_cast<uint8_t*>(entry.encode ? sampleValue(entry, ctxt) : nullptr);
    std::vector<std::pair<uint8_t*, unsigned>> counts;
    if (value)
      eachPresent(*entry.type, value, [&counts](const L3Row& row, uint8_t* record) {
        if (std::optional<Array> array = arrayOf(row)) counts.emplace_back(record + array->count, array->room);
        return true;
      });
    for (auto& [count, room] : counts)
      for (unsigned above : {room + 1, 255U}) {
        const uint8_t was = *count;
        Octets octets(1 << 16);
        *count = uint8_t(above);
        EXPECT_LT(encodeInto(octets, ctxt, entry, value), 0) << entry.type->fullName << " " << above;
        *count = was;
        rtxErrReset(ctxt);
      }
  }
}

} // namespace
