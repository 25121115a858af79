// The initialising walk of the exported initialisers: presence, selectors, counts, pointers and spare bits become 0,
// and everything else stays as it was. A caller then fills what it wants to send. A shorter walk does the same to what
// a failing decoder has not come to, so that its record can be printed (l3InitRest, l3InitMember).
#include "rt3gppsrc/engine/l3Decode.h"
#include "rt3gppsrc/engine/l3Engine.h"
#include "rt3gppsrc/engine/l3Record.h"

static void initType(const L3Type& type, uint8_t* value);

// An array without a count has nothing to clear.
static void initOctets(const L3Row& row, uint8_t* member)
{
  const L3Octets& info = *static_cast<const L3Octets*>(row.info);
  if (info.from == kL3Fixed) return;
  if (info.cap)
    member[0] = 0;
  else
    l3StoreOctets(member, {0, nullptr});
}

static void initBits(const L3Row& row, uint8_t* member)
{
  const L3BitString& info = *static_cast<const L3BitString*>(row.info);
  if (info.from == kL3Fixed) return;
  if (info.capBits)
    member[0] = 0;
  else
    l3StoreOctets(member, {0, nullptr}); // numbits and data lie alike
}

static void initList(const L3Row& row, uint8_t* member)
{
  if (static_cast<const L3List*>(row.info)->cap)
    member[0] = 0;
  else
    l3StoreList(member, 0, nullptr);
}

// Nothing is chosen: `t` is 0, and the union, whatever it holds, is 0 throughout.
static void initChoice(const L3Row& row, uint8_t* record)
{
  const L3Choice& choice = *static_cast<const L3Choice*>(row.info);
  if (choice.tagged) l3Store(record + row.offset, 4, 0);
  if (choice.unionSize) memset(record + choice.unionOffset, 0, choice.unionSize);
}

// Spare bits and extension bits have a value to begin with, 0; other numbers are the caller's to set. A row's name
// tells: "spare", "spare2", "ext".
static void initNumber(const L3Row& row, uint8_t* member)
{
  bool spare = row.name && (strncmp(row.name, "spare", 5) == 0 || strcmp(row.name, "ext") == 0);
  if (spare) l3Store(member, row.store, 0);
}

// One row, by what its member needs.
static void initElement(const L3Row& row, uint8_t* record)
{
  uint8_t* member = record + row.offset;
  switch (row.op) {
    case kL3UInt:
    case kL3Bool:
      return initNumber(row, member);
    case kL3Octets:
      return initOctets(row, member);
    case kL3BitString:
      return initBits(row, member);
    case kL3Text:
      if (static_cast<const L3Text*>(row.info)->cap)
        member[0] = 0; // an array of characters: the empty text
      else
        l3StorePointer(member, nullptr);
      return;
    case kL3Record:
    case kL3TextType:
      return initType(*row.type, member);
    case kL3List:
      return initList(row, member);
    case kL3Choice:
      return initChoice(row, record);
    case kL3Body:
      l3Store(member, 4, 0);
      return l3StorePointer(record + static_cast<const L3Body*>(row.info)->pointerOffset, nullptr);
    default:
      return;
  }
}

// A string type is its pointer. A record begins with its presence bits; the optional elements of a message have members
// too.
static void initType(const L3Type& type, uint8_t* value)
{
  L3TextForm text = l3TextForm(type);
  if (text == L3TextForm::pointer) l3StorePointer(value, nullptr);
  // An array of digits has no count; its text is the caller's to write.
  if (text != L3TextForm::none) return;
  if (type.mOctets) memset(value, 0, type.mOctets);
  for (const L3Row* row = type.rows; row < type.rows + type.rowCount; ++row) initElement(*row, value);
  if (!type.message) return;
  const L3Row* options = type.message->options;
  for (const L3Row* row = options; row < options + type.message->count; ++row) initElement(*row, value);
}

int l3Init(const L3Type& type, void* value)
{
  if (!value) return RTX_E_NULL_POINTER;
  initType(type, static_cast<uint8_t*>(value));
  return 0;
}

// Numbers: l3Init leaves them alone, and where a record was cut short they become 0.
static bool isNumber(const L3Row& row)
{
  return row.op == kL3UInt || row.op == kL3Bool || row.op == kL3Enumerated || row.op == kL3Unary ||
         (row.op == kL3Length && static_cast<const L3Length*>(row.info)->member);
}

// A member that a failing decoder has not come to. An array of characters is ended at once, since encoders and printers
// read one up to its end.
static void initUnread(const L3Row& row, uint8_t* record, L3Numbers numbers)
{
  uint8_t* member = record + row.offset;
  if (isNumber(row)) {
    if (numbers == L3Numbers::clear) l3Store(member, row.store, 0);
    return;
  }
  if (row.op == kL3Record || row.op == kL3TextType) {
    if (l3TextForm(*row.type) == L3TextForm::array) member[0] = 0;
    if (row.type->mOctets) memset(member, 0, row.type->mOctets);
    return l3InitRest(*row.type, 0, member, numbers);
  }
  bool array = row.op == kL3Text && static_cast<const L3Text*>(row.info)->cap;
  if (array)
    member[0] = 0;
  else
    initElement(row, record);
}

// The rows from position `from` on. Elements with a presence bit are not there: the bit has been cleared, and is only
// set behind them. What a coder by hand decodes is its own to clear.
void l3InitRest(const L3Type& type, unsigned from, void* record, L3Numbers numbers)
{
  if (l3TextForm(type) == L3TextForm::pointer) l3StorePointer(static_cast<uint8_t*>(record), nullptr);
  for (const L3Row* row = type.rows + from; row < type.rows + type.rowCount; ++row)
    if (row->mBit == kL3NoBit && row->given != kL3ByHand) initUnread(*row, static_cast<uint8_t*>(record), numbers);
}

// A member whose decoding has failed before anything was stored.
void l3InitMember(const L3Row& row, void* record)
{
  initUnread(row, static_cast<uint8_t*>(record), L3Numbers::leave);
}
