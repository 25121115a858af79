// What a sample decides about the fields that other elements depend on (l3SampleFields.h). Nothing knows what a field
// is for, so values are searched: the least one that the field can hold and that gives what is wanted. Searches are
// bounded by kMaxTries, as a field may have 32 bits.
#include "rt3gppsrc/engine/l3SampleFields.h"

// The most values that a search tries: all of 16 bits.
static constexpr uint64_t kMaxTries = 0x10000;

static constexpr unsigned kMaxSettled = sizeof L3SampleRecord::settled / sizeof L3SampleRecord::settled[0];

bool l3IsSettled(const L3SampleRecord& sample, uint32_t offset)
{
  for (unsigned i = 0; i < sample.settledCount; ++i)
    if (sample.settled[i] == offset) return true;
  return false;
}

// Must the field keep its value? If the table of settled fields is full, every field must: one that is not remembered
// could be changed again behind the back of an element that relies on it.
static bool isFixed(const L3SampleRecord& sample, const L3Field& field)
{
  return sample.settledCount == kMaxSettled || l3IsSettled(sample, field.offset);
}

// Remembers that somebody relies on the field.
static void settle(L3SampleRecord& sample, const L3Field& field)
{
  if (!isFixed(sample, field)) sample.settled[sample.settledCount++] = field.offset;
}

// The row whose member stands at the offset, which may lie in a record within the record; null if it is none of the
// rows.
static const L3Row* findIn(const L3Row* rows, size_t count, uint32_t offset)
{
  for (const L3Row* row = rows; row < rows + count; ++row) {
    bool scalar = row->op <= kL3Enumerated || row->op == kL3Unary || row->op == kL3Length;
    if (scalar && row->offset == offset) return row;
    bool inside = row->op == kL3Record && offset >= row->offset && offset - row->offset < row->type->size;
    if (!inside) continue;
    if (const L3Row* found = findIn(row->type->rows, row->type->rowCount, offset - row->offset)) return found;
  }
  return nullptr;
}

// The same among the mandatory rows and, in a message, the optional ones.
static const L3Row* findRow(const L3Type& type, const L3Field& field)
{
  const L3Row* found = findIn(type.rows, type.rowCount, field.offset);
  if (found || !type.message) return found;
  return findIn(type.message->options, type.message->count, field.offset);
}

// Can the field hold the value, and will it be encoded? It must fit the field's width, its range and its enumeration. A
// length cannot be chosen: it follows from the content.
static bool canHold(const L3SampleRecord& sample, const L3Field& field, uint64_t value)
{
  if (field.bits < 64 && value >> field.bits) return false;
  const L3Row* row = findRow(sample.type, field);
  if (!row) return true;
  if (row->op == kL3Length) return false;
  if (l3IsOutside(*row, value)) return false;
  return row->op != kL3Enumerated || l3IsMember(*static_cast<const L3Enum*>(row->info), value);
}

// Spare bits are 0 in a sample, since that is what the standard asks a sender for.
static bool startsWithSpare(const char* name)
{
  return name && strncmp(name, "spare", 5) == 0;
}

// 1 where it is legal: unlike 0 it shows a field that has been left out, or has been read at a wrong place.
uint64_t l3SampleValue(const L3Row& row)
{
  if (row.op == kL3Enumerated) {
    const L3Enum& set = *static_cast<const L3Enum*>(row.info);
    if (l3IsMember(set, 1) || !set.rows) return 1;
    return static_cast<uint32_t>(set.table[set.table[0].transformedIdx].value);
  }
  if (row.flags & kL3Ranged) return l3RangeOf(row).lo;
  return startsWithSpare(row.name) ? 0 : 1;
}

// The field's value as it stands in the record.
static uint64_t fieldValue(const L3SampleRecord& sample, const L3Field& field)
{
  return l3Load(sample.record + field.offset, field.store);
}

// If no value fits, the field keeps the one it has, and the caller lives with that.
uint64_t l3SettleCount(L3SampleRecord& sample, const L3Field& field, uint64_t lo, uint64_t hi)
{
  if (!isFixed(sample, field))
    for (uint64_t value = lo; value <= hi && value - lo < kMaxTries; ++value)
      if (canHold(sample, field, value)) {
        l3Store(sample.record + field.offset, field.store, value);
        break;
      }
  settle(sample, field);
  return fieldValue(sample, field);
}

// The terms from `first` on that are alternatives of each other (same `any` number), as a condition of their own.
static L3Cond groupAt(const L3Cond& cond, unsigned first)
{
  unsigned end = first;
  while (end < cond.count && cond.terms[end].any == cond.terms[first].any) ++end;
  return {cond.terms.from(first), static_cast<uint16_t>(end - first)};
}

// Do all groups of terms hold that name the field? Others are the business of their own fields.
static bool holdsFor(const L3SampleRecord& sample, const L3Cond& cond, const L3Field& field)
{
  for (unsigned i = 0; i < cond.count;) {
    L3Cond group = groupAt(cond, i);
    bool named = false;
    for (unsigned k = 0; k < group.count; ++k) named = named || group.terms[k].field.offset == field.offset;
    if (named && !l3Holds(group, sample.record)) return false;
    i += group.count;
  }
  return true;
}

// Is the field a length?
static bool isLength(const L3SampleRecord& sample, const L3Field& field)
{
  const L3Row* row = findRow(sample.type, field);
  return row && row->op == kL3Length;
}

// Gives a field the least value with which its groups of terms hold; if there is none, the value it had. A length may
// take any value here, although it cannot keep it (l3SettleCondition).
static void searchField(L3SampleRecord& sample, const L3Cond& cond, const L3Field& field)
{
  if (isFixed(sample, field) || holdsFor(sample, cond, field)) return;
  uint64_t before = fieldValue(sample, field);
  bool length = isLength(sample, field);
  for (uint64_t value = 0; value < kMaxTries; ++value) {
    if (!length && !canHold(sample, field, value)) continue;
    l3Store(sample.record + field.offset, field.store, value);
    if (holdsFor(sample, cond, field)) return;
  }
  l3Store(sample.record + field.offset, field.store, before);
}

bool l3SettleCondition(L3SampleRecord& sample, const L3Cond& cond)
{
  for (unsigned i = 0; i < cond.count && !l3Holds(cond, sample.record); ++i)
    searchField(sample, cond, cond.terms[i].field);
  bool holds = l3Holds(cond, sample.record);
  // An element that is there from a length on makes the length so by its own octets. The encoder works the length out,
  // so the value of the search goes away again.
  for (unsigned i = 0; i < cond.count; ++i) {
    const L3Field& field = cond.terms[i].field;
    if (isLength(sample, field))
      l3Store(sample.record + field.offset, field.store, 0);
    else
      settle(sample, field);
  }
  return holds;
}

// The part of a joined selector value that belongs to one field: the counterpart of l3JoinFields. Of 1101 with fields
// of 1 and 3 bits, field 0 has 1 and field 1 has 101. The first field takes all bits above the others.
static uint64_t partOf(const L3Choice& choice, unsigned index, uint64_t value)
{
  for (unsigned i = choice.fieldCount; i-- > index + 1U;) value >>= choice.fields[i].bits;
  if (index == 0) return value;
  return value & ((1ULL << choice.fields[index].bits) - 1);
}

// Can the fields have the parts of this selector value? Settled fields must have them already.
static bool canSelect(const L3SampleRecord& sample, const L3Choice& choice, uint64_t value)
{
  for (unsigned i = 0; i < choice.fieldCount; ++i) {
    const L3Field& field = choice.fields[i];
    uint64_t part = partOf(choice, i, value);
    bool fits = isFixed(sample, field) ? fieldValue(sample, field) == part : canHold(sample, field, part);
    if (!fits) return false;
  }
  return true;
}

// The first value that selects the alternative and can be had. For `else` all values are tried from 0 on, since it
// takes what the others leave.
static bool findSelector(const L3SampleRecord& sample, const L3Choice& choice, const L3Alternative& alternative,
                         uint64_t& value)
{
  uint64_t lo = alternative.other ? 0 : alternative.lo;
  uint64_t hi = alternative.other ? kMaxTries : alternative.hi;
  for (value = lo; value <= hi && value - lo < kMaxTries; ++value)
    if (l3FindBySelector(choice, static_cast<uint32_t>(value)) == &alternative && canSelect(sample, choice, value))
      return true;
  return false;
}

// The first alternative that the fields can select; with `withContent` those that hold nothing are passed over, because
// a sample is to show as much as it can.
static const L3Alternative* selectByFields(L3SampleRecord& sample, const L3Choice& choice, bool withContent)
{
  for (unsigned i = 0; i < choice.count; ++i) {
    const L3Alternative& alternative = choice.alternatives[i];
    uint64_t value = 0;
    if (withContent && alternative.row.op == kL3Nothing) continue;
    if (!findSelector(sample, choice, alternative, value)) continue;
    for (unsigned k = 0; k < choice.fieldCount; ++k) {
      const L3Field& field = choice.fields[k];
      l3Store(sample.record + field.offset, field.store, partOf(choice, k, value));
      settle(sample, field);
    }
    return &alternative;
  }
  return nullptr;
}

// A selector on the wire is free, so the first alternative with content is taken.
const L3Alternative* l3SettleChoice(L3SampleRecord& sample, const L3Choice& choice)
{
  if (choice.from == kL3SelectFields) {
    const L3Alternative* found = selectByFields(sample, choice, true);
    return found ? found : selectByFields(sample, choice, false);
  }
  for (unsigned i = 0; i < choice.count; ++i)
    if (choice.alternatives[i].row.op != kL3Nothing) return &choice.alternatives[i];
  return choice.count ? &choice.alternatives[0] : nullptr;
}

// May the header field have this value? A form without the field (store 0) asks for nothing.
static bool agrees(const L3SampleRecord& sample, const L3Field& field, uint64_t value)
{
  return !field.store || !isFixed(sample, field) || fieldValue(sample, field) == value;
}

// The first message that agrees with what is settled; with `withRecord` one that has a body.
static const L3BodyRow* findBody(const L3SampleRecord& sample, const L3Body& body, bool withRecord)
{
  for (const L3BodyRow* row = body.rows; row < body.rows + body.count; ++row) {
    if (withRecord && !row->type) continue;
    bool same = agrees(sample, body.discriminator, body.discriminatorOf(*row));
    if (same && agrees(sample, body.msgType, row->msgType)) return row;
  }
  return nullptr;
}

// Gives a header field its value and settles it, if there is such a field.
static void settleAs(L3SampleRecord& sample, const L3Field& field, uint64_t value)
{
  if (!field.store) return;
  l3Store(sample.record + field.offset, field.store, value);
  settle(sample, field);
}

const L3BodyRow* l3SettleBody(L3SampleRecord& sample, const L3Body& body)
{
  const L3BodyRow* row = findBody(sample, body, true);
  if (!row) row = findBody(sample, body, false);
  if (!row) return nullptr;
  settleAs(sample, body.discriminator, body.discriminatorOf(*row));
  settleAs(sample, body.msgType, row->msgType);
  return row;
}
