// Guards: every row of a sorted table is found by name and by value, and nothing else is.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>

#include "velnor3gpp/rtxEnum.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

// Names that are prefixes of each other, so that length decides, in the order of octets.
constexpr RtxEnumItem kRows[] = {{"A", 4, 1, 4}, {"a", -7, 1, 1}, {"ab", 0, 2, 3}, {"abc", -1, 3, 0}, {"b", -9, 1, 2}};

TEST(EnumLookup, FindsEachRowAndNothingElse)
{
  for (uint16_t rows = 0; rows <= 5; rows++) {
    for (int i = 0; i < 5; i++) {
      int found = i < rows ? i : RTX_E_ENUM_VALUE;
      EXPECT_EQ(rtxLookupEnum(kRows[i].name, kRows[i].namelen, kRows, rows), found);
      EXPECT_EQ(rtxLookupEnum(kRows[i].name, RTX_ENUM_MEASURE, kRows, rows), found);
      EXPECT_EQ(rtxLookupEnumByValue(kRows[i].value, kRows, rows), found);
    }
  }
  for (const char* name : {"", "B", "abd", "abcd", "aa", "c"})
    EXPECT_EQ(rtxLookupEnum(name, strlen(name), kRows, 5), RTX_E_ENUM_VALUE) << name;
  EXPECT_EQ(rtxLookupEnum("abc", 2, kRows, 5), 2);
  EXPECT_EQ(rtxLookupEnum("abcd", 3, kRows, 5), 3);
  EXPECT_EQ(rtxLookupEnum("ab\0c", 4, kRows, 5), RTX_E_ENUM_VALUE);
  EXPECT_EQ(rtxLookupEnum(nullptr, RTX_ENUM_MEASURE, kRows, 5), RTX_E_ENUM_VALUE);
  EXPECT_EQ(rtxLookupEnumByValue(1, kRows, 5), RTX_E_ENUM_VALUE);
}

TEST(EnumLookup, ServesUnsignedAndLargeRows)
{
  constexpr RtxEnumItemU32 unsignedRows[] = {{"high", 0xFFFFFFFFU, 4, 1}, {"low", 0, 3, 0}};
  EXPECT_EQ(rtxLookupEnumU32("low", 3, unsignedRows, 2), 1);
  EXPECT_EQ(rtxLookupEnumU32ByValue(0xFFFFFFFFU, unsignedRows, 2), 0);
  EXPECT_EQ(rtxLookupEnumU32ByValue(1, unsignedRows, 2), RTX_E_ENUM_VALUE);
  constexpr RtxBigEnumItem bigRows[] = {{"x", INT64_MIN, 1}, {"y", 5, 1}};
  EXPECT_EQ(rtxLookupBigEnum("y", RTX_ENUM_MEASURE, bigRows, 2), 1);
  EXPECT_EQ(rtxLookupBigEnumByValue("x", bigRows, 2), 0);
  EXPECT_EQ(rtxLookupBigEnumByValue("xy", bigRows, 2), RTX_E_ENUM_VALUE);
}

TEST(EnumRanges, AgreeWithTheListOfTheirValues)
{
  constexpr RtxNumRange ranges[] = {{-5, -3}, {0, 0}, {2, 4}, {9, 9}};
  constexpr RtxNumRange64 ranges64[] = {{-5, -3}, {0, 0}, {2, 4}, {9, 9}};
  for (uint16_t count = 0; count <= 4; count++) {
    for (int value = -8; value < 12; value++) {
      bool in = false;
      for (int i = 0; i < count; i++) in |= value >= ranges[i].lower && value <= ranges[i].upper;
      EXPECT_EQ(rtxTestNumericEnum(value, ranges, count), in ? 0 : RTX_E_ENUM_VALUE) << value;
      EXPECT_EQ(rtxTestNumericEnum64(value, ranges64, count), in ? 0 : RTX_E_ENUM_VALUE) << value;
    }
  }
  constexpr RtxNumRangeU32 top[] = {{0x80000000U, UINT_MAX}};
  constexpr RtxNumRangeU64 top64[] = {{0x8000000000000000U, UINT64_MAX}};
  for (uint64_t value : {uint64_t{1}, uint64_t{0x7FFFFFFF}, uint64_t{0x80000000}, uint64_t{UINT_MAX}}) {
    int status = value < 0x80000000 ? RTX_E_ENUM_VALUE : 0;
    EXPECT_EQ(rtxTestNumericEnumU32(uint32_t(value), top, 1), status);
    EXPECT_EQ(rtxTestNumericEnumU64(value << 32, top64, 1), status);
  }
}

} // namespace
