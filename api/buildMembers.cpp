// Members of a record by their names, for build.cpp: which row a name leads to, which members are missing, which choice
// contradicts its record, and what a wrong name may have meant. Reads the tables and the record, stores nothing.
#include "api/build.h"

// Rows that are no elements: a length that no member keeps, the end of its region, the begin of a release group, a
// tail, bits of the standard's form alone.
static bool isMark(const L3Row& row)
{
  if (row.op == kL3Length) return !static_cast<const L3Length*>(row.info)->member;
  return row.op == kL3EndLength || row.op == kL3Release || row.op == kL3Tail || row.op == kL3Extra;
}

// Does the name lead to this row, or to something that a nameless row holds? A nameless record's members and a nameless
// choice's alternatives are members of the record around them, as the walk tells them.
static bool matches(const L3Row& row, uint8_t* record, unsigned index, const char* key, size_t length, Member& member)
{
  if (isMark(row)) return false;
  if (row.name) {
    if (!isKey(row, key, length)) return false;
    member = {&row, nullptr, 0, index, record};
    return true;
  }
  if (row.op == kL3Record) {
    // Its members are those of the record around it; the index stays that of the row that holds them.
    if (!findMember(*row.type, record + row.offset, key, length, 0, member)) return false;
    member.index = index;
    return true;
  }
  if (row.op != kL3Choice) return false;
  const L3Choice& choice = *static_cast<const L3Choice*>(row.info);
  for (unsigned i = 0; i < choice.count; ++i) {
    const L3Alternative& alternative = choice.alternatives[i];
    if (!isKey(alternative.row, key, length)) continue;
    member = {&alternative.row, &row, alternative.tag, index, record};
    return true;
  }
  return false;
}

// Optional elements stand in a table of their own and are counted behind the rows.
static unsigned optionsOf(const L3Type& type)
{
  return type.message ? type.message->count : 0;
}

// Rows and options, bounded by what `Frame::seen` has bits for.
static unsigned membersOf(const L3Type& type)
{
  unsigned count = type.rowCount + optionsOf(type);
  return count < kMaxRows ? count : kMaxRows;
}

// The row of an index that membersOf bounds.
static const L3Row& rowAt(const L3Type& type, unsigned index)
{
  return index < type.rowCount ? type.rows[index] : type.message->options[index - type.rowCount];
}

// Looks from row `from` on and then from the first: members mostly come in their order, so that the first look finds
// them.
bool findMember(const L3Type& type, uint8_t* record, const char* key, size_t length, unsigned from, Member& member)
{
  unsigned count = membersOf(type);
  for (unsigned i = 0; i < count; ++i) {
    unsigned index = from + i < count ? from + i : from + i - count;
    if (matches(rowAt(type, index), record, index, key, length, member)) return true;
  }
  return false;
}

// Is the row the message type or discriminator of a body that is there? Naming the message has set it.
static bool followsFromBody(const L3Type& type, const L3Row& row, const uint8_t* record)
{
  for (const L3Row* other = type.rows; other < type.rows + type.rowCount; ++other) {
    if (other->op != kL3Body || !l3Load(record + other->offset, 4)) continue;
    const L3Body& body = *static_cast<const L3Body*>(other->info);
    if (row.offset == body.msgType.offset) return true;
    if (body.discriminator.store && row.offset == body.discriminator.offset) return true;
  }
  return false;
}

// Does the header name another message than this one? A message has a second type where the standard differs.
static bool isOtherMessage(const L3Body& body, const L3BodyRow& message, const uint8_t* record, const L3Row& row)
{
  if (row.offset == body.msgType.offset) return !message.hasType(l3Load(record + row.offset, body.msgType.store));
  const L3Field& discriminator = body.discriminator;
  if (!discriminator.store || row.offset != discriminator.offset) return false;
  return l3Load(record + discriminator.offset, discriminator.store) != body.discriminatorOf(message);
}

const L3Row* contradictedHeader(const Frame& frame, const L3Body& body, const L3BodyRow& message)
{
  unsigned count = membersOf(*frame.type);
  for (unsigned i = 0; i < count; ++i) {
    const L3Row& row = rowAt(*frame.type, i);
    if (row.op != kL3Body && frame.seen[i / 64] >> (i % 64) & 1 && isOtherMessage(body, message, frame.at, row))
      return &row;
  }
  return nullptr;
}

static bool isSpare(const L3Row& row)
{
  return row.name && strncmp(row.name, "spare", 5) == 0;
}

// May the row have no value? Lengths are worked out by encoders, spare bits are 0, an absent element is no element.
static bool mayBeLeftOut(const L3Type& type, const L3Row& row, const uint8_t* record)
{
  if (isMark(row) || row.op == kL3Length || row.op == kL3Nothing || isSpare(row)) return true;
  if (!l3IsPresent(row, record)) return true;
  if (row.op == kL3Record && l3IsEmpty(*row.type) && l3TextForm(*row.type) == L3TextForm::none) return true;
  return followsFromBody(type, row, record);
}

const L3Row* missingMember(const Frame& frame, unsigned& at)
{
  for (unsigned count = membersOf(*frame.type); at < count;) {
    unsigned i = at++;
    const L3Row& row = rowAt(*frame.type, i);
    if (frame.seen[i / 64] >> (i % 64) & 1 || mayBeLeftOut(*frame.type, row, frame.at)) continue;
    if (row.name || row.op == kL3Choice) return &row;
  }
  return nullptr;
}

// The alternative that the selecting members tell, or null.
static const L3Alternative* toldAlternative(const L3Choice& choice, const uint8_t* record)
{
  return l3FindBySelector(choice, l3JoinFields(choice.fields, choice.fieldCount, record));
}

// Has the choice another number than its selecting members tell? An encoder goes by those members and would take the
// octets of one alternative for the pointers of another: `codingScheme` 0 beside `ucs2`. Members that tell no
// alternative go with a choice that has none.
static bool isContradicted(const L3Row& row, const uint8_t* record)
{
  const L3Choice& choice = *static_cast<const L3Choice*>(row.info);
  if (choice.from != kL3SelectFields || !choice.tagged) return false;
  const L3Alternative* told = toldAlternative(choice, record);
  return (told ? told->tag : 0) != static_cast<uint32_t>(l3Load(record + row.offset, 4));
}

const L3Row* contradictedChoice(const Frame& frame)
{
  // A choice without a number: the alternative that was named against the one that the members tell. Two alternatives
  // of one type at one place are the same to an encoder.
  if (frame.untagged) {
    const L3Alternative* told = toldAlternative(*static_cast<const L3Choice*>(frame.untagged->info), frame.at);
    bool same = told && told->row.type == frame.taken->type && told->row.offset == frame.taken->offset;
    if (!same) return frame.untagged;
  }
  unsigned count = membersOf(*frame.type);
  for (unsigned i = 0; i < count; ++i) {
    const L3Row& row = rowAt(*frame.type, i);
    if (row.op == kL3Choice && frame.seen[i / 64] >> (i % 64) & 1 && isContradicted(row, frame.at)) return &row;
  }
  return nullptr;
}

// ASCII alone: names of members have nothing else.
static char lower(char c)
{
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

// The least count of insertions, deletions and changes that turn one name into the other, whatever their case: the
// usual table of a row for each character, of which one row is kept. Names above 63 characters are far from everything.
static constexpr size_t kFar = 64;
static size_t distance(const char* a, size_t lengthA, const char* b)
{
  uint8_t row[kFar];
  size_t lengthB = strlen(b);
  if (lengthA >= kFar || lengthB >= kFar) return kFar;
  for (size_t j = 0; j <= lengthB; ++j) row[j] = static_cast<uint8_t>(j);
  for (size_t i = 1; i <= lengthA; ++i) {
    uint8_t diagonal = row[0]++; // row[j] of the row before, at j - 1
    for (size_t j = 1; j <= lengthB; ++j) {
      uint8_t changed = static_cast<uint8_t>(diagonal + (lower(a[i - 1]) != lower(b[j - 1])));
      diagonal = row[j];
      uint8_t least = row[j] < row[j - 1] ? row[j] : row[j - 1];
      row[j] = static_cast<uint8_t>(least + 1 < changed ? least + 1 : changed);
    }
  }
  return row[lengthB];
}

namespace {

// The search for a name: what was written, and the nearest name so far with its distance.
struct Nearest {
  const char* key;
  size_t length;
  const char* found;
  size_t far;
};

} // namespace

// Keeps the name if it is nearer than those before it.
static void consider(Nearest& nearest, const char* name)
{
  if (!name) return;
  size_t far = distance(nearest.key, nearest.length, name);
  if (far >= nearest.far) return;
  nearest.far = far;
  nearest.found = name;
}

// The names of a choice's alternatives.
static void considerAlternatives(Nearest& nearest, const L3Row& row)
{
  const L3Choice& choice = *static_cast<const L3Choice*>(row.info);
  for (unsigned i = 0; i < choice.count; ++i) consider(nearest, l3KeyOf(choice.alternatives[i].row));
}

// A name is near if fewer than two and a third of its characters differ: "tpyeOfIdent" is near to "typeOfIdent", "x" to
// nothing of more than two characters.
const char* nearestKey(const Frame& frame, const char* key, size_t length)
{
  Nearest nearest = {key, length, nullptr, length < kFar ? 2 + length / 3 : 0};
  if (frame.kind == FrameKind::choice) considerAlternatives(nearest, *frame.row);
  if (frame.kind == FrameKind::body) {
    const L3Body& body = *static_cast<const L3Body*>(frame.row->info);
    for (const L3BodyRow* row = body.rows; row < body.rows + body.count; ++row) consider(nearest, row->name());
  }
  for (unsigned i = 0; frame.kind == FrameKind::record && i < membersOf(*frame.type); ++i) {
    const L3Row& row = rowAt(*frame.type, i);
    if (isMark(row)) continue;
    if (row.name)
      consider(nearest, l3KeyOf(row));
    else if (row.op == kL3Choice)
      considerAlternatives(nearest, row);
  }
  return nearest.found;
}
