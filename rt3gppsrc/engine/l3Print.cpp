// The printing walk: the text of a record in definition order, under the names that the coders push. It may be given
// any record, also one that a failed decoding has left or that a caller has filled wrongly, so it trusts no count
// beyond an inline array's end and follows no null pointer. It writes to the sink of the context's stream and owns
// nothing.
//
//   identity {                  printRecord: a record under its name
//      spare = 0                printUnsigned
//      typeOfIdent = suci       printEnumerated
//   }
#include "rt3gppsrc/engine/l3Engine.h"
#include "rt3gppsrc/engine/l3Enum.h"
#include "rt3gppsrc/engine/l3Kept.h"
#include "rt3gppsrc/engine/l3Record.h"
#include "rtsrc/rtPrintForms.h"
#include "rtxsrc/bits/rtxBigEndian.h"

// Types within types. No message comes near; a record that leads to itself by a pointer would have no end.
static constexpr unsigned kMaxDepth = 64;
// Entry names are cut to this, terminator included.
static constexpr size_t kEntryNameSize = 512;
// At most so much of an array of characters is printed.
static constexpr size_t kTextArraySize = 256;
// The name of what prints no line of its own.
static constexpr RtxPiece kNoName(nullptr, 0);

// What the walk carries along.
struct PrintWalk {
  RtxPrintSink sink;
  unsigned depth;
  // The context if elements are kept in it, else null: one test for a row then, instead of three searches.
  const RtxContext* kept;
  // The context, which tells the form of types; may be null.
  const RtxContext* context;
};

static void printType(PrintWalk& walk, const L3Type& type, RtxPiece name, const uint8_t* value);
static void printElement(PrintWalk& walk, const L3Row& row, RtxPiece name, const uint8_t* record);

// A row without a name takes the given one.
static RtxPiece nameOf(const L3Row& row, RtxPiece given)
{
  return row.name ? RtxPiece(row.name, row.nameLength) : given;
}

// A line for something that has no content, or is missing: `identity = <null>`.
static void printNull(PrintWalk& walk, RtxPiece name)
{
  rtxSinkIndent(walk.sink);
  rtxFormAssign(walk.sink, name, "<null>");
}

static void printUnsigned(PrintWalk& walk, RtxPiece name, uint64_t value)
{
  rtxSinkIndent(walk.sink);
  rtxFormUnsigned(walk.sink, name, value);
}

// The name of the value, or else a number where any number is legal and ??? where none other is.
static void printEnumerated(PrintWalk& walk, const L3Row& row, RtxPiece name, const uint8_t* member)
{
  const L3Enum& set = *static_cast<const L3Enum*>(row.info);
  uint64_t raw = l3Load(member, row.store);
  // An enumeration's member has 32 bits and a sign; an open one is an unsigned integer.
  int64_t value = set.printOpen ? static_cast<int64_t>(raw) : static_cast<int32_t>(raw);
  const RtxEnumItem* item = l3EnumItem(set, value);
  if (!item && set.printOpen) return printUnsigned(walk, name, raw);
  rtxSinkIndent(walk.sink);
  rtxFormAssign(walk.sink, name, item ? RtxPiece(item->name, item->namelen) : RtxPiece("???"));
}

// 16-bit characters (UCS2), most significant octet first: 00 41 is A. An odd last octet is no character.
static void printWide(PrintWalk& walk, RtxPiece name, size_t octets, const uint8_t* data)
{
  rtxSinkPut(walk.sink, {name, " = '"});
  for (size_t i = 0; i + 1 < octets; i += 2)
    rtxFormWideChar(walk.sink, static_cast<uint32_t>(rtxLoadOctets<2>(data + i)), 4);
  rtxSinkWrite(walk.sink, "'\n", 2);
}

// Counted values, wherever they stand.
struct Held {
  uint64_t count;
  const uint8_t* data;
};

// The counted values of a member: inline, where a count above `cap` is taken for `cap`, or on the heap, where a null
// pointer has none.
template <typename Heap> static Held heldValues(const uint8_t* member, uint32_t cap, size_t dataOffset)
{
  if (cap) return {member[0] < cap ? member[0] : cap, member + dataOffset};
  auto [count, data] = l3LoadShape<Heap>(member);
  return {data ? count : 0, data};
}

// Hexadecimal, or characters where the row says so.
static void printOctets(PrintWalk& walk, const L3Row& row, RtxPiece name, const uint8_t* member)
{
  const L3Octets& info = *static_cast<const L3Octets*>(row.info);
  Held octets = {info.fixed, member};
  if (info.from != kL3Fixed) octets = heldValues<L3HeapOctets>(member, info.cap, info.dataOffset);
  rtxSinkIndent(walk.sink);
  if (row.flags & kL3Wide) return printWide(walk, name, static_cast<size_t>(octets.count), octets.data);
  rtxFormHex(walk.sink, name, static_cast<size_t>(octets.count), octets.data, true);
}

static void printBits(PrintWalk& walk, const L3Row& row, RtxPiece name, const uint8_t* member)
{
  const L3BitString& info = *static_cast<const L3BitString*>(row.info);
  Held bits = {info.capBits, member};
  if (info.from != kL3Fixed) bits = heldValues<L3HeapBits>(member, info.capBits, info.dataOffset);
  rtxSinkIndent(walk.sink);
  rtFormBitStrBrace(walk.sink, name, {static_cast<size_t>(bits.count), bits.data}, nullptr, RtBitStyle::stream);
}

static void printText(PrintWalk& walk, RtxPiece name, RtxPiece text)
{
  rtxSinkIndent(walk.sink);
  rtxFormQuoted(walk.sink, name, text);
}

// An array of characters need not hold its end.
static void printTextArray(PrintWalk& walk, RtxPiece name, const uint8_t* array, size_t size)
{
  const char* text = reinterpret_cast<const char*>(array);
  printText(walk, name, {text, strnlen(text, size < kTextArraySize ? size : kTextArraySize - 1)});
}

static void printTextMember(PrintWalk& walk, const L3Row& row, RtxPiece name, const uint8_t* member)
{
  size_t cap = static_cast<const L3Text*>(row.info)->cap;
  if (cap)
    printTextArray(walk, name, member, cap);
  else
    printText(walk, name, l3LoadShape<const char*>(member));
}

// The name of a list's entry, "elem[3]". The prefix "elem[" is written once, and the index behind it for each entry.
struct EntryName {
  char chars[kEntryNameSize];
  size_t prefix; // characters that stay
};

// Appends what fits and returns the new length; one character is left for the end.
static size_t appendText(EntryName& name, size_t at, RtxPiece text)
{
  size_t room = kEntryNameSize - 1 - at, length = text.length < room ? text.length : room;
  memcpy(name.chars + at, text.chars, length);
  return at + length;
}

static RtxPiece withIndex(EntryName& name, uint64_t index)
{
  RtxNumText digits;
  return {name.chars, appendText(name, appendText(name, name.prefix, rtxDecimalU(digits, index)), "]")};
}

// The entries, each under the list's name with its index. An empty list prints nothing.
static void printList(PrintWalk& walk, const L3Row& row, RtxPiece name, const uint8_t* member)
{
  const L3List& info = *static_cast<const L3List*>(row.info);
  Held entries = heldValues<L3HeapList>(member, info.cap, info.elemOffset);
  if (!entries.count) return;
  EntryName entryName;
  entryName.prefix = appendText(entryName, appendText(entryName, 0, name), "[");
  for (uint64_t i = 0; i < entries.count; ++i, entries.data += info.elemSize)
    printElement(walk, info.elem, withIndex(entryName, i), entries.data);
}

// Braces under the choice's name, and within them the chosen alternative. A nameless choice prints its alternative
// alone. A tag that no alternative has prints nothing inside.
static void printChoice(PrintWalk& walk, const L3Row& row, RtxPiece name, const uint8_t* record)
{
  const L3Choice& choice = *static_cast<const L3Choice*>(row.info);
  if (name.chars) rtxFormOpenBrace(walk.sink, name);
  const L3Alternative* chosen = l3ChosenAlternative(choice, row, record);
  if (chosen) printElement(walk, chosen->row, nameOf(chosen->row, kNoName), record);
  if (name.chars) rtxFormCloseBrace(walk.sink);
}

// The message of a form, or <null> for one without a body.
static void printBody(PrintWalk& walk, const L3Row& row, RtxPiece name, const uint8_t* record)
{
  const L3Body& body = *static_cast<const L3Body*>(row.info);
  uint32_t tag = static_cast<uint32_t>(l3Load(record + row.offset, 4));
  rtxFormOpenBrace(walk.sink, name);
  for (unsigned i = 0; i < body.count; ++i) {
    const L3BodyRow& message = body.rows[i];
    if (message.tag != tag) continue;
    const uint8_t* value = l3BodyValue(body, message, record);
    if (value)
      printType(walk, *message.type, message.objName(), value);
    else
      printNull(walk, message.objName());
    break;
  }
  rtxFormCloseBrace(walk.sink);
}

// One element, by what it is. Without a name there is no line and no brace, but what lies inside is printed.
static void printElement(PrintWalk& walk, const L3Row& row, RtxPiece name, const uint8_t* record)
{
  const uint8_t* member = record + row.offset;
  if (!name.chars && row.op != kL3Record && row.op != kL3Choice) return;
  switch (row.op) {
    case kL3UInt:
    case kL3Unary:
      return printUnsigned(walk, name, l3Load(member, row.store));
    case kL3Bool:
      rtxSinkIndent(walk.sink);
      return rtxFormAssign(walk.sink, name, *member ? "true" : "false");
    case kL3Enumerated:
      return printEnumerated(walk, row, name, member);
    case kL3Octets:
      return printOctets(walk, row, name, member);
    case kL3BitString:
      return printBits(walk, row, name, member);
    case kL3Text:
      return printTextMember(walk, row, name, member);
    case kL3Record:
    case kL3TextType:
      return printType(walk, *row.type, name, member);
    case kL3List:
      return printList(walk, row, name, member);
    case kL3Choice:
      return printChoice(walk, row, name, record);
    case kL3Body:
      return printBody(walk, row, name, record);
    case kL3Length:
      if (static_cast<const L3Length*>(row.info)->member) printUnsigned(walk, name, l3Load(member, row.store));
      return;
    case kL3Nothing:
      return printNull(walk, name);
    case kL3Release:
    case kL3EndLength:
    case kL3Extra:
    case kL3Tail:
      return;
  }
}

// What is kept at a place of the record, a line for each: `unknown 0x34 = 0x3402f0f0`. True if there is any.
static bool printKept(PrintWalk& walk, const void* record, const void* anchor, L3KeptAt at)
{
  const L3Kept* kept = walk.kept ? l3NextKept(walk.kept, nullptr, record, anchor, at) : nullptr;
  bool any = kept;
  for (; kept; kept = l3NextKept(walk.kept, kept, record, anchor, at)) {
    if (kept->why == kL3KeptPadding) continue; // it says nothing
    char name[kL3KeptName];
    size_t length = l3KeptName(*kept, name);
    rtxSinkIndent(walk.sink);
    rtxFormHex(walk.sink, {name, length}, (kept->bits + 7) / 8, kept->octets(), true);
  }
  return any;
}

// A row, if it is there. A release group's row has no member.
static void printRow(PrintWalk& walk, const L3Row& row, RtxPiece name, const uint8_t* record)
{
  if (row.op != kL3Release && l3IsPresent(row, record)) printElement(walk, row, nameOf(row, name), record);
}

// What is kept in place of an element is printed instead of it.
[[gnu::cold]] static void printRowAndKept(PrintWalk& walk, const L3Row& row, RtxPiece name, const uint8_t* record)
{
  if (printKept(walk, record, &row, kL3KeptInstead)) return;
  printRow(walk, row, name, record);
  printKept(walk, record, &row, kL3KeptOver);
  printKept(walk, record, &row, kL3KeptInside);
  printKept(walk, record, &row, kL3KeptBehind);
}

// Rows in order; `name` is the one that a bare type's row takes.
static void printRows(PrintWalk& walk, const L3Row* rows, size_t count, RtxPiece name, const uint8_t* record)
{
  for (const L3Row* row = rows; row < rows + count; ++row)
    if (walk.kept) // seldom: three questions for each row are a third of the printing
      printRowAndKept(walk, *row, name, record);
    else
      printRow(walk, *row, name, record);
}

// A record in braces. A bare type has none: its row takes the record's name.
static void printRecord(PrintWalk& walk, const L3Type& type, RtxPiece name, const uint8_t* record)
{
  bool bare = l3IsBare(type);
  bool braces = name.chars && !bare;
  if (braces) rtxFormOpenBrace(walk.sink, name);
  printRows(walk, type.rows, type.rowCount, bare ? name : kNoName, record);
  // What came before the first optional element.
  if (walk.kept && type.message) printKept(walk, record, type.message, kL3KeptBehind);
  if (type.message) printRows(walk, type.message->options, type.message->count, kNoName, record);
  if (braces) rtxFormCloseBrace(walk.sink);
}

// A value of any type: a text, nothing, or a record.
static void printType(PrintWalk& walk, const L3Type& named, RtxPiece name, const uint8_t* value)
{
  const L3Type& type = named.standard && walk.context ? l3FormOf(named, walk.context) : named;
  L3TextForm text = l3TextForm(type);
  // A text or an empty type without a name has no line.
  if (!name.chars && (text != L3TextForm::none || l3IsEmpty(type))) return;
  if (text == L3TextForm::pointer) return printText(walk, name, l3LoadShape<const char*>(value));
  if (text == L3TextForm::array) return printTextArray(walk, name, value, type.size);
  if (l3IsEmpty(type)) return printNull(walk, name);
  if (walk.depth == kMaxDepth) return;
  ++walk.depth;
  printRecord(walk, type, name, value);
  --walk.depth;
}

// The type's form is asked of the context, which a caller may leave out.
int l3Print(RtxContext* pctxt, const L3Type& type, const char* name, const void* value)
{
  PrintWalk walk{rtxSinkOfStream(pctxt), 0, pctxt && l3HasKept(pctxt) ? pctxt : nullptr, pctxt};
  if (value)
    printType(walk, type, name ? RtxPiece(name) : kNoName, static_cast<const uint8_t*>(value));
  else
    printNull(walk, name);
  printKept(walk, value, &type, kL3KeptOverAll);
  printKept(walk, value, &type, kL3KeptEnd);
  rtxSinkDone(walk.sink);
  return 0;
}
