#include "rt3gppsrc/engine/l3Record.h"

void l3ClearLong(void* at, size_t octets)
{
  memset(at, 0, octets);
}

uint32_t l3JoinFields(const L3Field* fields, unsigned count, const uint8_t* record)
{
  uint32_t value = 0;
  for (unsigned i = 0; i < count; ++i)
    value =
        (i ? value << fields[i].bits : 0) | static_cast<uint32_t>(l3Load(record + fields[i].offset, fields[i].store));
  return value;
}

size_t l3CountBy(const L3Count& count, const uint8_t* record)
{
  // A part that is decoded for itself has no record around it.
  uint64_t field = record ? l3Load(record + count.field.offset, count.field.store) : 0;
  if (count.sizes) return field < count.sizeCount ? count.sizes[field] : 0;
  int64_t value = count.sign * static_cast<int64_t>(field) + count.bias;
  return value < 0 ? 0 : static_cast<size_t>(value);
}

L3Type l3Slice(const L3Type& type, unsigned from, unsigned count)
{
  L3Type slice = type;
  slice.rows = type.rows.from(from);
  slice.rowCount = static_cast<uint16_t>(count);
  slice.decodeDirect = nullptr; // they are for all rows
  slice.encodeDirect = nullptr;
  return slice;
}

static bool termHolds(const L3Term& term, const uint8_t* record)
{
  uint32_t value = static_cast<uint32_t>(l3Load(record + term.field.offset, term.field.store));
  return (value >= term.lo && value <= term.hi) != (term.negate != 0);
}

// Terms of one number stand together: one of them must hold.
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

const L3Alternative* l3FindByTag(const L3Choice& choice, uint32_t tag)
{
  for (unsigned i = 0; i < choice.count; ++i)
    if (choice.alternatives[i].tag == tag) return &choice.alternatives[i];
  return nullptr;
}
