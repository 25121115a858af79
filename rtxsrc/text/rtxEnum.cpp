// Lookups in enumeration tables. One search serves the row forms, which differ only in the type of the value. By name
// the tables are searched in halves, so their rows have to be in the order of strncmp and then of length; by value they
// are walked, since that order is another. They return the row's index or RTX_E_ENUM_VALUE and report nothing: the
// caller knows the type.
#include "velnor3gpp/rtxEnum.h"

#include <string.h>

#include "velnor3gpp/rtxStatus.h"
#include "velnor3gpp/rtxStrings.h"

// Callers hold these layouts in constant tables of their own.
static_assert(sizeof(RtxEnumItem) == sizeof(void*) + 8 && sizeof(RtxEnumItemU32) == sizeof(RtxEnumItem));
static_assert(sizeof(void*) != 8 || sizeof(RtxBigEnumItem) == 24);

namespace {

// The order of the tables: "bar" stands before "barn", with which it agrees for 3 characters.
template <typename Row> int compareName(const Row& row, const char* name, size_t namelen)
{
  int order = rtxUTF8Strncmp(row.name, name, namelen);
  if (order != 0) return order;
  return (row.namelen > namelen) - (row.namelen < namelen);
}

// A name need not end with a zero if its length is given.
template <typename Row> int findName(const char* name, size_t namelen, const Row* table, uint16_t rows)
{
  if (!name || !table) return RTX_E_ENUM_VALUE;
  if (namelen == RTX_ENUM_MEASURE) namelen = rtxUTF8LenBytes(name);
  int low = 0;
  int high = rows - 1;
  while (low <= high) {
    int mid = low + (high - low) / 2;
    int order = compareName(table[mid], name, namelen);
    if (order == 0) return mid;
    if (order < 0)
      low = mid + 1;
    else
      high = mid - 1;
  }
  return RTX_E_ENUM_VALUE;
}

// The first row with the value is the answer; rows are in the order of names, so all are looked at.
template <typename Row, typename Value> int findValue(Value value, const Row* table, size_t rows)
{
  for (size_t i = 0; table && i < rows; i++) {
    if (table[i].value == value) return static_cast<int>(i);
  }
  return RTX_E_ENUM_VALUE;
}

// 0 if one of the ranges, which are in ascending order and do not overlap, has the value.
template <typename Range, typename Value> int testRanges(Value value, const Range* ranges, uint16_t count)
{
  int low = 0;
  int high = ranges ? count - 1 : -1;
  while (low <= high) {
    int mid = low + (high - low) / 2;
    if (value < ranges[mid].lower)
      high = mid - 1;
    else if (value > ranges[mid].upper)
      low = mid + 1;
    else
      return 0;
  }
  return RTX_E_ENUM_VALUE;
}

} // namespace

int rtxLookupEnum(const char* name, size_t namelen, const RtxEnumItem* table, uint16_t rows)
{
  return findName(name, namelen, table, rows);
}

int rtxLookupEnumU32(const char* name, size_t namelen, const RtxEnumItemU32* table, uint16_t rows)
{
  return findName(name, namelen, table, rows);
}

int rtxLookupBigEnum(const char* name, size_t namelen, const RtxBigEnumItem* table, uint16_t rows)
{
  return findName(name, namelen, table, rows);
}

int rtxLookupEnumByValue(int32_t value, const RtxEnumItem* table, size_t rows)
{
  return findValue(value, table, rows);
}

int rtxLookupEnumU32ByValue(uint32_t value, const RtxEnumItemU32* table, size_t rows)
{
  return findValue(value, table, rows);
}

// The values of such a table are themselves texts; its names are compared, in any order.
int rtxLookupBigEnumByValue(const char* name, const RtxBigEnumItem* table, size_t rows)
{
  for (size_t i = 0; name && table && i < rows; i++) {
    if (strcmp(table[i].name, name) == 0) return static_cast<int>(i);
  }
  return RTX_E_ENUM_VALUE;
}

int rtxTestNumericEnum(int32_t value, const RtxNumRange* ranges, uint16_t count)
{
  return testRanges(value, ranges, count);
}

int rtxTestNumericEnumU32(uint32_t value, const RtxNumRangeU32* ranges, uint16_t count)
{
  return testRanges(value, ranges, count);
}

int rtxTestNumericEnum64(int64_t value, const RtxNumRange64* ranges, uint16_t count)
{
  return testRanges(value, ranges, count);
}

int rtxTestNumericEnumU64(uint64_t value, const RtxNumRangeU64* ranges, uint16_t count)
{
  return testRanges(value, ranges, count);
}
