// What the elements of a type are, by its rows and without a record: velnor3gpp_describe tells them step by step,
// as visit.cpp tells the values of a record. JSON schemas (json/schema.cpp) and explanations are made of it.
// Types of the table of types are told by reference, so that each is described once; parts of a type are told in
// place. Nothing is allocated.
#include "api/session.h"

static constexpr unsigned kMaxDepth = 64;

namespace {

// How an element is called by the one it lies in. Without a name (`has` false) its content belongs to that one.
struct Name {
  const char* text;
  uint32_t length;
  bool has; // an element of its own, be it an entry or the whole
  int identifier = -1;
  const L3Type* type = nullptr; // that has nothing but this element
  int release = 0;              // of the group that it is in
  uint8_t width = 0;            // of a number in the standard's form
};

// One description under way. The first negative answer of the caller's function ends it and becomes the status.
struct Describe {
  velnor3gpp_DescribeFunc tell;
  void* arg;
  unsigned depth;
  int status;
};

} // namespace

static void describeType(Describe& walk, const L3Type& type, const Name& name, bool optional, bool whole);
static void describeRow(Describe& walk, const L3Row& row, const Name& name, bool optional);
static void describeMembers(Describe& walk, const L3Type& type, const Name& name, bool optional);

// A member of the kind with nothing else known of it; strings and lists have no bound unless one is set.
static velnor3gpp_Member memberOf(const Name& name, velnor3gpp_Kind kind, bool optional)
{
  velnor3gpp_Member member = {};
  member.size = sizeof member;
  member.kind = kind;
  member.name = name.text;
  member.nameLength = name.length;
  member.optional = optional;
  member.most = SIZE_MAX;
  member.identifier = name.identifier;
  member.release = name.release;
  if (name.type) member.is = publicType(factsOf(*name.type));
  return member;
}

// Hands a member to the caller, unless an earlier answer has ended the description.
static void tell(Describe& walk, const velnor3gpp_Member& member)
{
  if (walk.status >= 0) {
    int answer = walk.tell(&member, walk.arg);
    if (answer < 0) walk.status = answer;
  }
}

// Tells that a record, list or choice begins or ends.
static void step(Describe& walk, velnor3gpp_Member& member, velnor3gpp_Step step)
{
  member.step = step;
  tell(walk, member);
}

// The row's own name; a row without one, such as the content of a bare type, goes by the given name.
static Name nameOf(const L3Row& row, const Name& given)
{
  if (!row.name) return given;
  const char* key = l3KeyOf(row);
  return {key, static_cast<uint32_t>(strlen(key)), true, given.identifier, nullptr};
}

// Lengths and spare bits may be left out of a record that is built: encoders work them out, and spare bits are 0.
static void describeNumber(Describe& walk, const L3Row& row, const Name& name, bool optional, velnor3gpp_Kind kind)
{
  velnor3gpp_Member member = memberOf(name, kind, optional);
  if (row.type) member.is = publicType(factsOf(*row.type));
  member.width = row.op == kL3Unary ? uint8_t{8} : row.bits;
  if (member.width < name.width) member.width = name.width;
  bool spare = row.name && strncmp(row.name, "spare", 5) == 0;
  member.omissible = row.op == kL3Length || spare;
  tell(walk, member);
}

// `most` is 0 where a string has no bound.
static void describeString(Describe& walk, const Name& name, bool optional, velnor3gpp_Kind kind, size_t least,
                           size_t most)
{
  velnor3gpp_Member member = memberOf(name, kind, optional);
  member.least = least;
  member.most = most ? most : SIZE_MAX;
  tell(walk, member);
}

// An array of characters holds an ending zero too, so its text is one shorter. 0 stays 0: no array, no bound.
static size_t charactersIn(size_t cap)
{
  return cap ? cap - 1 : 0;
}

// Octets have a fixed count, or one of 0 to the room of their array, or no bound on the heap.
static void describeOctets(Describe& walk, const L3Row& row, const Name& name, bool optional)
{
  const L3Octets& info = *static_cast<const L3Octets*>(row.info);
  bool fixed = info.from == kL3Fixed;
  describeString(walk, name, optional, VELNOR3GPP_OCTETS, fixed ? info.fixed : 0, fixed ? info.fixed : info.cap);
}

// Bits, in the same three ways.
static void describeBits(Describe& walk, const L3Row& row, const Name& name, bool optional)
{
  const L3BitString& info = *static_cast<const L3BitString*>(row.info);
  describeString(walk, name, optional, VELNOR3GPP_BITS, info.from == kL3Fixed ? info.capBits : 0, info.capBits);
}

// A list with what each of its entries is. Entries have no name, and are elements of their own all the same.
static void describeList(Describe& walk, const L3Row& row, const Name& name, bool optional)
{
  const L3List& info = *static_cast<const L3List*>(row.info);
  velnor3gpp_Member member = memberOf(name, VELNOR3GPP_LIST, optional);
  if (info.cap) member.most = info.cap;
  step(walk, member, VELNOR3GPP_ENTER);
  describeRow(walk, info.elem, {nullptr, 0, true}, false);
  step(walk, member, VELNOR3GPP_LEAVE);
}

// The alternatives of a choice, each once: one of several selector values stands in several entries of the table.
static void describeAlternatives(Describe& walk, const L3Choice& choice)
{
  for (unsigned i = 0; i < choice.count; ++i) {
    const L3Row& row = choice.alternatives[i].row;
    if (i && choice.alternatives[i - 1].tag == choice.alternatives[i].tag) continue;
    describeRow(walk, row, nameOf(row, {nullptr, 0, false}), true);
  }
}

// A choice without a name puts its alternatives among the members of the record around it.
static void describeChoice(Describe& walk, const L3Row& row, const Name& name, bool optional)
{
  const L3Choice& choice = *static_cast<const L3Choice*>(row.info);
  if (!name.has) return describeAlternatives(walk, choice);
  velnor3gpp_Member member = memberOf(name, VELNOR3GPP_CHOICE, optional);
  step(walk, member, VELNOR3GPP_ENTER);
  describeAlternatives(walk, choice);
  step(walk, member, VELNOR3GPP_LEAVE);
}

// The body of a form: its messages are alternatives under their names, those without content are nothing but the name.
static void describeBody(Describe& walk, const L3Row& row, const Name& name, bool optional)
{
  const L3Body& body = *static_cast<const L3Body*>(row.info);
  velnor3gpp_Member member = memberOf(name, VELNOR3GPP_CHOICE, optional);
  step(walk, member, VELNOR3GPP_ENTER);
  for (const L3BodyRow* message = body.rows; message < body.rows + body.count; ++message) {
    Name called = {message->name(), static_cast<uint32_t>(strlen(message->name())), true};
    if (message->type)
      describeType(walk, *message->type, called, true, false);
    else
      tell(walk, memberOf(called, VELNOR3GPP_NOTHING, true));
  }
  step(walk, member, VELNOR3GPP_LEAVE);
}

// One row. What has no name and is neither record nor choice is no element, such as a length that no member keeps.
static void describeRow(Describe& walk, const L3Row& row, const Name& name, bool optional)
{
  if (!name.has && row.op != kL3Record && row.op != kL3Choice) return;
  switch (row.op) {
    case kL3UInt:
    case kL3Unary:
      return describeNumber(walk, row, name, optional, VELNOR3GPP_NUMBER);
    case kL3Bool:
      return describeNumber(walk, row, name, optional, l3IsFlag(row) ? VELNOR3GPP_FLAG : VELNOR3GPP_NUMBER);
    case kL3Enumerated:
      return describeNumber(walk, row, name, optional, VELNOR3GPP_ENUMERATED);
    case kL3Octets:
      return describeOctets(walk, row, name, optional);
    case kL3BitString:
      return describeBits(walk, row, name, optional);
    case kL3Text:
      return describeString(walk, name, optional, VELNOR3GPP_TEXT, 0,
                            charactersIn(static_cast<const L3Text*>(row.info)->cap));
    case kL3Record:
    case kL3TextType:
      return describeType(walk, *row.type, name, optional, false);
    case kL3List:
      return describeList(walk, row, name, optional);
    case kL3Choice:
      return describeChoice(walk, row, name, optional);
    case kL3Body:
      return describeBody(walk, row, name, optional);
    case kL3Length:
      if (static_cast<const L3Length*>(row.info)->member) describeNumber(walk, row, name, optional, VELNOR3GPP_NUMBER);
      return;
    case kL3Nothing:
      return tell(walk, memberOf(name, VELNOR3GPP_NOTHING, optional));
    case kL3Release:
    case kL3EndLength:
    case kL3Extra:
    case kL3Tail:
      return;
  }
}

// The row that fills the same member in the standard's form, which may be the only one; null: none does.
static const L3Row* twinOf(const L3Type& type, const L3Row& row)
{
  if (!type.standard) return &row;
  const L3Type& other = *type.standard;
  for (const L3Row* twin = other.rows; twin < other.rows + other.rowCount; ++twin) {
    bool named = twin->name && row.name && strcmp(l3KeyOf(*twin), l3KeyOf(row)) == 0;
    if (twin->offset == row.offset && (named || twin->name == row.name) && twin->mBit == row.mBit) return twin;
  }
  return nullptr;
}

// An element of a record's type of which the standard's form has a part alone.
static void describePart(Describe& walk, const L3Type& type, const Name& name, bool optional)
{
  velnor3gpp_Member member = memberOf(name, VELNOR3GPP_RECORD, optional);
  step(walk, member, VELNOR3GPP_ENTER);
  describeMembers(walk, type, {nullptr, 0, false}, true);
  step(walk, member, VELNOR3GPP_LEAVE);
}

// A member may lack if it has a presence bit of its own or of its group, or a condition, or in the standard's form.
static void describeRows(Describe& walk, const L3Type& type, const Name& name, bool optional)
{
  const L3Row *rows = type.rows, *groupEnd = rows;
  int release = 0;
  for (const L3Row* row = rows; row < rows + type.rowCount; ++row) {
    if (row->op == kL3Release) {
      const L3Release& group = *static_cast<const L3Release*>(row->info);
      release = group.release;
      groupEnd = row + 1 + group.rows;
    }
    // "when" conditions have no presence bit, and the element lacks all the same where they do not hold.
    bool mayLack = row->mBit != kL3NoBit || row->groupBit != kL3NoBit || row->given == kL3GivenWhen;
    Name own = nameOf(*row, name);
    if (row < groupEnd) own.release = release;
    const L3Row* twin = twinOf(type, *row);
    if (twin) own.width = twin->bits;
    mayLack = mayLack || !twin;
    if (twin && row->op == kL3Record && twin->op == kL3Record && twin->type != row->type)
      describePart(walk, *row->type, own, optional || mayLack);
    else
      describeRow(walk, *row, own, optional || mayLack);
  }
}

// Optional elements with their identifiers; one of four bits is given as it stands in its octet, 0x90 for 9-.
static void describeOptions(Describe& walk, const L3Message& message)
{
  for (unsigned i = 0; i < message.count; ++i) {
    const L3Iei& iei = message.ieis[i];
    Name name = {nullptr, 0, false};
    name.identifier = iei.half ? iei.value << 4 : iei.value;
    describeRow(walk, message.options[i], nameOf(message.options[i], name), true);
  }
}

// Rows first, then the optional elements of a message.
static void describeMembers(Describe& walk, const L3Type& type, const Name& name, bool optional)
{
  describeRows(walk, type, name, optional);
  if (type.message) describeOptions(walk, *type.message);
}

// The element is the whole of this type, so the type names it: a bare type leaves no record around it.
static Name ofType(Name name, const L3Type& type)
{
  name.type = &type;
  return name;
}

// A type under a name. `whole` is the type that was asked for: it is described, where types within it that are in the
// table are told by reference. Types cannot hold themselves, so the definitions bound the depth.
static void describeType(Describe& walk, const L3Type& type, const Name& name, bool optional, bool whole)
{
  const L3Facts* known = whole ? nullptr : factsOf(type);
  L3TextForm text = l3TextForm(type);
  if (text != L3TextForm::none)
    return describeString(walk, ofType(name, type), optional, VELNOR3GPP_TEXT, 0,
                          charactersIn(text == L3TextForm::array ? type.size : 0));
  if (l3IsEmpty(type)) return tell(walk, memberOf(ofType(name, type), VELNOR3GPP_NOTHING, optional));
  if (walk.depth == kMaxDepth) {
    walk.status = RTX_E_NESTING_TOO_DEEP;
    return;
  }
  velnor3gpp_Member member = memberOf(name, VELNOR3GPP_RECORD, optional);
  member.type = publicType(known);
  if (known && name.has) return tell(walk, member); // its own description has what is in it
  ++walk.depth;
  bool bare = l3IsBare(type), open = !bare && name.has;
  if (open) step(walk, member, VELNOR3GPP_ENTER);
  describeMembers(walk, type, bare ? ofType(name, type) : Name{nullptr, 0, false}, bare && optional);
  if (open) step(walk, member, VELNOR3GPP_LEAVE);
  --walk.depth;
}

// The whole type has no name and is told as one element.
int velnor3gpp_describe(const velnor3gpp_Type* type, velnor3gpp_DescribeFunc function, void* arg)
{
  if (!type || !function) return RTX_E_NULL_POINTER;
  Describe walk = {function, arg, 0, 0};
  describeType(walk, typeOf(*factsOf(type)), {nullptr, 0, true}, false, true);
  return walk.status;
}
