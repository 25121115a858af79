// The walk over a record by the rows of its type, told node by node: the one place that turns records into named
// values. JSON, kept elements, redaction and positions are consumers of it (docs/adr/0007); the printer has a walk of
// its own. The walk trusts no count beyond an inline array's end and follows no null pointer, since callers fill
// records by hand. Nothing is allocated: nodes are on the stack and live while their visitor, or one of what lies in
// them, runs.
//
//   ENTER record, ENTER mobileId, VALUE length, ENTER imsi ..., LEAVE mobileId, LEAVE record
#include "api/place.h"
#include "api/positions.h"
#include "api/session.h"
#include "rt3gppsrc/engine/l3Enum.h"
#include "rt3gppsrc/engine/l3Kept.h"

static constexpr unsigned kMaxDepth = 64;
static constexpr size_t kMaxText = 255; // characters of a text in an array

namespace {

using Node = velnor3gpp_Node;

// named: by a key. entry: of a list, by its index. whole: the record that the walk began with. none: it has no name,
// and its content belongs to what it lies in.
enum class NameKind : uint8_t { named, entry, whole, none };

// How an element is called by the one it lies in. Without a name its content belongs to that one.
struct Name {
  const char* key;    // among the members
  const char* pushed; // in element paths
  uint32_t length;    // of the key
  uint32_t index;
  NameKind kind;
  const L3Type* type = nullptr; // that has nothing but this element
  // The bare type that is told as this element, with its length, and its value. Null: there is none.
  const L3Type* bare = nullptr;
  const uint8_t* value = nullptr;
};

// One walk. A negative answer of the visitor becomes `status` and ends it; a positive one to
// ENTER passes over the content.
struct Walk {
  velnor3gpp_VisitFunc visit;
  void* arg;
  Positions* positions; // or null
  unsigned depth;
  int status;
  unsigned hidden; // with `persons`: types and rows around that tell of one
  const L3Row* row;
  bool names;
  bool persons; // whether to tell what is private
  const RtxContext* ctxt;
};

// Values that a record counts, wherever they are: bits, octets, characters or entries.
struct Held {
  uint64_t count;
  const uint8_t* data;
};

} // namespace

static void visitType(Walk& walk, const Place* parent, const L3Type& type, const Name& name, const uint8_t* value);
static void visitElement(Walk& walk, const Place* parent, const L3Row& row, const Name& name, const uint8_t* record);

// A row without a name takes the given one.
static Name nameOf(const L3Row& row, const Name& given)
{
  if (!row.name) return given;
  const char* key = l3KeyOf(row);
  size_t length = key == row.name ? row.nameLength : strlen(key);
  return {key, row.name, static_cast<uint32_t>(length), 0, NameKind::named};
}

// Makes a node with its name and no value. Every member is set here, so that no node tells what the one before had.
static void begin(Place& place, const Place* parent, const Name& name, velnor3gpp_Kind kind)
{
  Node& node = place.node;
  node.size = sizeof node;
  node.parent = parent ? &parent->node : nullptr;
  node.name = name.key;
  node.nameLength = name.length;
  node.index = name.index;
  node.step = VELNOR3GPP_VALUE;
  node.kind = kind;
  node.width = 0;
  node.number = 0;
  node.data = nullptr;
  node.count = 0;
  node.valueName = nullptr;
  node.bitOffset = 0;
  node.bits = 0;
  place.pushed = name.pushed;
  place.member = nullptr;
  place.record = nullptr;
  place.store = 0;
  place.type = name.type;
  place.bare = name.bare;
  place.value = name.value;
}

// Hands a node to the visitor, with its position where they are asked for. The end of a record has none of its own.
static int tell(Walk& walk, Place& place)
{
  if (walk.positions && place.node.step != VELNOR3GPP_LEAVE) locate(*walk.positions, place);
  place.hidden = walk.hidden != 0;
  place.row = walk.row;
  int answer = walk.visit(&place.node, walk.arg);
  if (answer < 0) walk.status = answer;
  return answer;
}

// Tells that a record, list or choice begins. False: its content is not wanted, or the walk has ended.
static bool enter(Walk& walk, Place& place)
{
  place.node.step = VELNOR3GPP_ENTER;
  return tell(walk, place) == 0;
}

// Tells the end, also of one whose content was not wanted.
static void leave(Walk& walk, Place& place)
{
  place.node.step = VELNOR3GPP_LEAVE;
  if (walk.status >= 0) tell(walk, place);
}

// A number with its width in bits; `member` and `store` lead to it in the record, for those who change it.
static void visitNumber(Walk& walk, const Place* parent, const Name& name, velnor3gpp_Kind kind, uint8_t width,
                        uint64_t number, const uint8_t* member = nullptr, uint8_t store = 0)
{
  Place place;
  begin(place, parent, name, kind);
  place.node.width = width;
  place.node.number = number;
  place.member = member;
  place.store = store;
  tell(walk, place);
}

// A number or flag of a row, with what it means, which is looked up only where names are asked for.
static void visitNumber(Walk& walk, const Place* parent, const L3Row& row, const Name& name, const uint8_t* member)
{
  Place place;
  begin(place, parent, name, l3IsFlag(row) ? VELNOR3GPP_FLAG : VELNOR3GPP_NUMBER);
  place.node.width = row.op == kL3Unary ? uint8_t{8} : row.bits;
  place.node.number = row.op == kL3Bool ? *member != 0 : l3Load(member, row.store);
  if (row.op != kL3Bool) {
    place.member = member;
    place.store = row.store;
  }
  if (walk.names) place.node.valueName = l3MeaningOf(row, place.node.number);
  tell(walk, place);
}

// A number with the name of its value, likewise.
static void visitEnumerated(Walk& walk, const Place* parent, const L3Row& row, const Name& name, const uint8_t* member)
{
  Place place;
  begin(place, parent, name, VELNOR3GPP_ENUMERATED);
  place.node.width = row.bits;
  place.node.number = l3Load(member, row.store);
  if (walk.names) {
    const L3Enum& set = *static_cast<const L3Enum*>(row.info);
    // Closed enumerations are of 32 bits with a sign, as their C type is.
    uint64_t raw = place.node.number;
    place.node.valueName =
        l3EnumTitle(set, set.printOpen ? static_cast<int64_t>(raw) : static_cast<int64_t>(static_cast<int32_t>(raw)));
  }
  tell(walk, place);
}

// Octets, bits or text: a pointer into the record and a count of octets, bits or characters.
static void visitString(Walk& walk, const Place* parent, const Name& name, velnor3gpp_Kind kind, Held held)
{
  Place place;
  begin(place, parent, name, kind);
  place.node.data = held.data;
  place.node.count = static_cast<size_t>(held.count);
  tell(walk, place);
}

// Counted values of a record: inline, where the array holds no more than `cap`, or on the heap.
template <typename Heap> static Held heldValues(const uint8_t* member, uint32_t cap, size_t dataOffset)
{
  // A count above the array's room, which a caller may have written, is cut to it.
  if (cap) return {member[0] < cap ? member[0] : cap, member + dataOffset};
  auto [count, data] = l3LoadShape<Heap>(member);
  return {data ? count : 0, data};
}

// Octets of a fixed count, of an inline array, or on the heap.
static Held octetsOf(const L3Octets& info, const uint8_t* member)
{
  if (info.from == kL3Fixed) return {info.fixed, member};
  return heldValues<L3HeapOctets>(member, info.cap, info.dataOffset);
}

// Bits, in the same three ways; the count is one of bits.
static Held bitsOf(const L3BitString& info, const uint8_t* member)
{
  if (info.from == kL3Fixed) return {info.capBits, member};
  return heldValues<L3HeapBits>(member, info.capBits, info.dataOffset);
}

// The characters of an array up to the last that is not zero; it need not hold an end. A filler among the digits of a
// network code is a zero with digits behind it: MCC and MNC of FF F1 10 are "\0\0" "1" and "01". The digits behind it
// belong to the value, because encoders write them.
static size_t arrayLength(const uint8_t* array, size_t cap)
{
  size_t length = cap <= kMaxText ? cap : kMaxText;
  while (length && !array[length - 1]) --length;
  return length;
}

// A text in an array of `cap`, or with `cap` 0 behind a pointer, which may be null.
static Held textOf(const uint8_t* member, size_t cap)
{
  if (cap) return {arrayLength(member, cap), member};
  const char* text = l3LoadShape<const char*>(member);
  return {text ? strlen(text) : 0, reinterpret_cast<const uint8_t*>(text)};
}

// A list and its entries, which have an index for a name.
static void visitList(Walk& walk, const Place* parent, const L3Row& row, const Name& name, const uint8_t* member)
{
  const L3List& info = *static_cast<const L3List*>(row.info);
  Held entries = heldValues<L3HeapList>(member, info.cap, info.elemOffset);
  Place place;
  begin(place, parent, name, VELNOR3GPP_LIST);
  place.node.count = static_cast<size_t>(entries.count);
  if (enter(walk, place))
    for (uint64_t i = 0; i < entries.count && walk.status >= 0; ++i, entries.data += info.elemSize)
      visitElement(walk, &place, info.elem, {nullptr, "elem", 0, static_cast<uint32_t>(i), NameKind::entry},
                   entries.data);
  leave(walk, place);
}

// A choice under its name, with the chosen alternative in it. Without a name the alternative is told in its place.
static void visitChoice(Walk& walk, const Place* parent, const L3Row& row, const Name& name, const uint8_t* record)
{
  const L3Choice& choice = *static_cast<const L3Choice*>(row.info);
  const L3Alternative* chosen = l3ChosenAlternative(choice, row, record);
  if (name.kind == NameKind::none) {
    if (chosen) visitElement(walk, parent, chosen->row, nameOf(chosen->row, name), record);
    return;
  }
  Place place;
  begin(place, parent, name, VELNOR3GPP_CHOICE);
  if (enter(walk, place) && chosen) visitElement(walk, &place, chosen->row, nameOf(chosen->row, name), record);
  leave(walk, place);
}

// The message of a body; one without content is nothing but its name.
static void visitMessage(Walk& walk, const Place& body, const L3Body& info, const L3BodyRow& message,
                         const uint8_t* record)
{
  Name name = {message.name(), message.elemName, static_cast<uint32_t>(strlen(message.name())), 0, NameKind::named};
  const uint8_t* value = l3BodyValue(info, message, record);
  if (value)
    visitType(walk, &body, *message.type, name, value);
  else if (!message.type)
    visitNumber(walk, &body, name, VELNOR3GPP_NOTHING, 0, 0);
}

// The body of a form. A number that no message has leaves it empty.
static void visitBody(Walk& walk, const Place* parent, const L3Row& row, const Name& name, const uint8_t* record)
{
  const L3Body& body = *static_cast<const L3Body*>(row.info);
  const L3BodyRow* message = l3MessageIn(body, l3Load(record + row.offset, 4));
  Place place;
  begin(place, parent, name, VELNOR3GPP_CHOICE);
  if (enter(walk, place) && message) visitMessage(walk, place, body, *message, record);
  leave(walk, place);
}

// The element is the whole of this type, so the type names it: a bare type has no node of its own.
static Name ofType(Name name, const L3Type& type)
{
  name.type = &type;
  return name;
}

// One row's content. What has no name and is neither record nor choice is not told.
static void visitContent(Walk& walk, const Place* parent, const L3Row& row, const Name& given, const uint8_t* record)
{
  const uint8_t* member = record + row.offset;
  if (given.kind == NameKind::none && row.op != kL3Record && row.op != kL3Choice) return;
  bool number = row.op == kL3UInt || row.op == kL3Bool || row.op == kL3Enumerated;
  const Name name = number && row.type ? ofType(given, *row.type) : given;
  switch (row.op) {
    case kL3UInt:
    case kL3Unary:
    case kL3Bool:
      return visitNumber(walk, parent, row, name, member);
    case kL3Enumerated:
      return visitEnumerated(walk, parent, row, name, member);
    case kL3Octets:
      return visitString(walk, parent, name, VELNOR3GPP_OCTETS,
                         octetsOf(*static_cast<const L3Octets*>(row.info), member));
    case kL3BitString:
      return visitString(walk, parent, name, VELNOR3GPP_BITS,
                         bitsOf(*static_cast<const L3BitString*>(row.info), member));
    case kL3Text:
      return visitString(walk, parent, name, VELNOR3GPP_TEXT,
                         textOf(member, static_cast<const L3Text*>(row.info)->cap));
    case kL3Record:
    case kL3TextType:
      return visitType(walk, parent, *row.type, name, member);
    case kL3List:
      return visitList(walk, parent, row, name, member);
    case kL3Choice:
      return visitChoice(walk, parent, row, name, record);
    case kL3Body:
      return visitBody(walk, parent, row, name, record);
    case kL3Length:
      if (static_cast<const L3Length*>(row.info)->member)
        visitNumber(walk, parent, name, VELNOR3GPP_NUMBER, row.bits, l3Load(member, row.store));
      return;
    case kL3Nothing:
      return visitNumber(walk, parent, name, VELNOR3GPP_NOTHING, 0, 0);
    case kL3Release:
    case kL3EndLength:
    case kL3Extra:
    case kL3Tail:
      return;
  }
}

// A number has its type's bits in its own row, so that the type itself is not walked.
static bool isPrivate(const L3Row& row)
{
  bool walked = row.op == kL3Record || row.op == kL3TextType;
  return row.privacy == kL3PrivateAll || (!walked && row.type && row.type->flags & kL3Private);
}

static void visitElement(Walk& walk, const Place* parent, const L3Row& row, const Name& given, const uint8_t* record)
{
  if (!walk.persons) return visitContent(walk, parent, row, given, record);
  const L3Row* around = walk.row;
  unsigned hidden = isPrivate(row) ? 1 : 0;
  walk.row = &row;
  walk.hidden += hidden;
  visitContent(walk, parent, row, given, record);
  walk.hidden -= hidden;
  walk.row = around;
}

// Rows that are there. One in whose place something was kept has no value to tell.
static void visitRows(Walk& walk, const Place* parent, const L3Row* rows, size_t count, const Name& name,
                      const uint8_t* record)
{
  for (const L3Row* row = rows; row < rows + count && walk.status >= 0; ++row)
    // A release row has nothing but the presence bit of its group.
    if (row->op != kL3Release && l3IsPresent(*row, record) && !l3FirstKept(walk.ctxt, record, row, kL3KeptInstead))
      visitElement(walk, parent, *row, nameOf(*row, name), record);
}

// Rows first, then the optional elements of a message, whose order in the record is that of the definition and not of
// the octets.
static void visitMembers(Walk& walk, const Place* parent, const L3Type& type, const Name& name, const uint8_t* record)
{
  visitRows(walk, parent, type.rows, type.rowCount, name, record);
  if (type.message) visitRows(walk, parent, type.message->options, type.message->count, name, record);
}

// A record under its name. A bare type's content, and that of a nameless record, is told in its place.
static void visitRecord(Walk& walk, const Place* parent, const L3Type& type, const Name& name, const uint8_t* record)
{
  static constexpr Name kNone = {nullptr, nullptr, 0, 0, NameKind::none};
  if (l3IsBare(type)) {
    Name inside = ofType(name, type);
    inside.bare = &type;
    inside.value = record;
    return visitMembers(walk, parent, type, inside, record);
  }
  if (name.kind == NameKind::none) return visitMembers(walk, parent, type, kNone, record);
  Place place;
  begin(place, parent, ofType(name, type), VELNOR3GPP_RECORD);
  place.record = record;
  if (enter(walk, place)) visitMembers(walk, &place, type, kNone, record);
  leave(walk, place);
}

// A type, in the standard's form where the context asks for it. `hidden` counts the private types and rows around a
// value.
static void visitType(Walk& walk, const Place* parent, const L3Type& named, const Name& name, const uint8_t* value)
{
  const L3Type& type = l3FormOf(named, walk.ctxt);
  L3TextForm text = l3TextForm(type);
  unsigned hidden = type.flags & kL3Private ? 1 : 0;
  if (text != L3TextForm::none)
    return visitString(walk, parent, ofType(name, type), VELNOR3GPP_TEXT,
                       textOf(value, text == L3TextForm::array ? type.size : 0));
  if (l3IsEmpty(type)) return visitNumber(walk, parent, ofType(name, type), VELNOR3GPP_NOTHING, 0, 0);
  if (walk.depth == kMaxDepth) {
    walk.status = RTX_E_NESTING_TOO_DEEP;
    return;
  }
  ++walk.depth;
  walk.hidden += hidden; // all values inside are private, whatever their own type says
  visitRecord(walk, parent, type, name, value);
  walk.hidden -= hidden;
  --walk.depth;
}

// The type that a node is, or is all that its type has; null for a plain number of a record.
const velnor3gpp_Type* velnor3gpp_nodeType(const velnor3gpp_Node* node)
{
  const L3Type* type = node ? placeOf(node).type : nullptr;
  return type ? publicType(factsOf(*type)) : nullptr;
}

// Positions are left out where they cannot be had; the walk is the same without them.
int velnor3gpp_visit(velnor3gpp_Session* session, unsigned flags, velnor3gpp_VisitFunc visit, void* arg)
{
  if (!session || !visit) return RTX_E_NULL_POINTER;
  if (!hasRecord(*session)) return RTX_E_BAD_PARAMETER;
  Positions positions; // set where it is needed
  bool located = flags & VELNOR3GPP_POSITIONS && openPositions(positions, *session);
  Walk walk = {};
  walk.visit = visit;
  walk.arg = arg;
  walk.positions = located ? &positions : nullptr;
  walk.names = (flags & VELNOR3GPP_NAMES) != 0;
  walk.persons = (flags & kVisitPersons) != 0;
  walk.ctxt = &session->ctxt;
  const L3Type& type = typeOf(*session->known);
  visitType(walk, nullptr, type, {nullptr, l3NameOf(type), 0, 0, NameKind::whole}, session->record);
  return walk.status;
}

// Appends as much as fits in front of an ending zero, and counts the rest too, as snprintf does.
static size_t put(char* text, size_t room, size_t at, const char* chars, size_t count)
{
  for (size_t i = 0; i < count; ++i)
    if (at + i + 1 < room) text[at + i] = chars[i];
  return at + count;
}

// "[2]", written from the right.
static size_t putIndex(char* text, size_t room, size_t at, uint32_t index)
{
  char digits[12];
  size_t first = sizeof digits;
  digits[--first] = ']';
  do digits[--first] = static_cast<char>('0' + index % 10);
  while (index /= 10);
  digits[--first] = '[';
  return put(text, room, at, digits + first, sizeof digits - first);
}

// "data.RegRequest.idents[2]": the names of all nodes from the whole down to this one.
static size_t putPath(const Node* node, char* text, size_t room)
{
  if (!node->parent) return 0;
  size_t at = putPath(node->parent, text, room);
  if (!node->name) return putIndex(text, room, at, node->index);
  if (at) at = put(text, room, at, ".", 1);
  return put(text, room, at, node->name, node->nameLength);
}

// The length of the whole path, also of one that is cut to the room.
size_t velnor3gpp_nodePath(const Node* node, char* text, size_t room)
{
  if (!node) return 0;
  size_t length = putPath(node, text, room);
  if (text && room) text[length < room ? length : room - 1] = 0;
  return length;
}
