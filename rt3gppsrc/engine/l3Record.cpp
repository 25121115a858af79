// What earlier members of a record tell of later ones: selectors, conditions and counts, and the search for
// alternatives. Everything here reads a record that may hold anything, and so returns something for any value.
#include "rt3gppsrc/engine/l3Record.h"

void l3ClearLong(void* at, size_t octets)
{
  memset(at, 0, octets);
}

// Fields are not cut to their widths: a member that holds more joins to a value that no decoder could have read.
uint32_t l3JoinFields(const L3Field* fields, unsigned count, const uint8_t* record)
{
  uint32_t value = 0;
  for (unsigned i = 0; i < count; ++i)
    value =
        (i ? value << fields[i].bits : 0) | static_cast<uint32_t>(l3Load(record + fields[i].offset, fields[i].store));
  return value;
}

// A part that is decoded for itself has no record around it; a field of that one counts as 0.
size_t l3CountBy(const L3Count& count, const uint8_t* record)
{
  uint64_t field = record ? l3Load(record + count.field.offset, count.field.store) : 0;
  // A field beyond the table counts 0: there is no such list.
  if (count.sizes) return field < count.sizeCount ? count.sizes[field] : 0;
  int64_t value = count.sign * static_cast<int64_t>(field) + count.bias;
  return value < 0 ? 0 : static_cast<size_t>(value);
}

L3Type l3Slice(const L3Type& type, unsigned from, unsigned count)
{
  L3Type slice = type;
  slice.rows = type.rows.from(from);
  slice.rowCount = static_cast<uint16_t>(count);
  slice.decodeDirect = nullptr;
  slice.encodeDirect = nullptr;
  return slice;
}

// Outside for a negated term, inside for others.
static bool termHolds(const L3Term& term, const uint8_t* record)
{
  uint32_t value = static_cast<uint32_t>(l3Load(record + term.field.offset, term.field.store));
  return (value >= term.lo && value <= term.hi) != (term.negate != 0);
}

// Terms with the same number stand side by side and are alternatives: one of each number must hold.
bool l3Holds(const L3Cond& cond, const uint8_t* record)
{
  for (unsigned i = 0; i < cond.count;) {
    uint8_t any = cond.terms[i].any;
    bool holds = false;
    for (; i < cond.count && cond.terms[i].any == any; ++i) holds = holds || termHolds(cond.terms[i], record);
    if (!holds) return false;
  }
  return true;
}

// `else` may stand anywhere in the list, so it is remembered until no other alternative fits.
const L3Alternative* l3FindBySelector(const L3Choice& choice, uint32_t value)
{
  const L3Alternative* other = nullptr;
  for (unsigned i = 0; i < choice.count; ++i) {
    const L3Alternative& alternative = choice.alternatives[i];
    if (alternative.other)
      other = &alternative;
    else if (value >= alternative.lo && value <= alternative.hi)
      return &alternative;
  }
  return other;
}

// Entries that share a tag have the same row, so the first one does.
const L3Alternative* l3FindByTag(const L3Choice& choice, uint32_t tag)
{
  for (unsigned i = 0; i < choice.count; ++i)
    if (choice.alternatives[i].tag == tag) return &choice.alternatives[i];
  return nullptr;
}
