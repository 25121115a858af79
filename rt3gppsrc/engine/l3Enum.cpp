// Names and values of enumerations (l3Enum.h). The tables are sorted by name, since names come from callers as text;
// `transformedIdx` gives the rows in the order of values.
#include "rt3gppsrc/engine/l3Enum.h"

#include <algorithm>

#include "rt3gppsrc/engine/l3Engine.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxStatus.h"

const char* l3EnumName(const L3Enum& set, int32_t value)
{
  // Values run without a gap: value - lowest is the place in the order of values. The difference is taken in 64 bits,
  // in which no two values of 32 bits can overflow.
  if (set.gapless) {
    int64_t i = static_cast<int64_t>(value) - set.table[set.table[0].transformedIdx].value;
    if (i >= 0 && i < set.rows) return set.table[set.table[i].transformedIdx].name;
    return "_UNKNOWN_";
  }
  int row = rtxLookupEnumByValue(value, set.table, set.rows);
  return row >= 0 ? set.table[row].name : "_UNKNOWN_";
}

// Halves the rows in the order of values. The value has 64 bits: a large one must not be cut to another with a name.
const RtxEnumItem* l3EnumItem(const L3Enum& set, int64_t value)
{
  size_t low = 0, high = set.rows;
  while (low < high) {
    size_t middle = low + (high - low) / 2;
    const RtxEnumItem& item = set.table[set.table[middle].transformedIdx];
    if (item.value == value) return &item;
    if (item.value < value)
      low = middle + 1;
    else
      high = middle;
  }
  return nullptr;
}

// Titles stand in the order of values: the place of the row there is the place of its title.
const char* l3EnumTitle(const L3Enum& set, int64_t value)
{
  const RtxEnumItem* item = l3EnumItem(set, value);
  for (unsigned i = 0; item && set.titles && i < set.rows; ++i)
    if (set.table + set.table[i].transformedIdx == item) return set.titles[i];
  return item ? item->name : nullptr;
}

const char* l3MeaningOf(const L3Row& row, uint64_t value)
{
  if ((row.op != kL3UInt && row.op != kL3Bool) || row.flags & kL3Ranged || !row.info) return nullptr;
  const L3Meanings& meanings = *static_cast<const L3Meanings*>(row.info);
  const L3Meaning *begin = meanings.all, *end = begin + meanings.count;
  const L3Meaning* at =
      std::lower_bound(begin, end, value, [](const L3Meaning& one, uint64_t wanted) { return one.value < wanted; });
  return at != end && at->value == value ? at->text.get() : nullptr;
}

// A name that the enumeration does not have is added to the error record, with its length, since it need not have an
// end.
int l3EnumValue(RtxContext* pctxt, const L3Type& type, const L3Enum& set, const char* name, size_t namelen, int& value)
{
  int row = rtxLookupEnum(name, namelen, set.table, set.rows);
  if (row >= 0) {
    value = set.table[row].value;
    return 0;
  }
  rtxErrAddStrnParm(pctxt, name, namelen); // the name need not have an end of its own
  return rtxErrSetData(pctxt, RTX_E_ENUM_VALUE, type.module->decoder, type.line);
}

// The engine's entry takes a value that it may write to; coders of texts read only.
int l3EncodeText(RtxContext* pctxt, const L3Type& type, const char* value)
{
  return l3Encode(pctxt, type, const_cast<char*>(value)); // text coders read only
}
