// Declarations of the public headers: records, enumerations, and the constants of a type. write.cpp calls
// writeDefinition for every type. The layout of a record is a promise to callers: members stand in the order of the
// rows, and `m`, the presence bits, comes first.
//
//   element SNSSAI length 8 in 1..255          typedef struct TS24501IE_SNSSAI {
//     M                   sst   SST              struct { unsigned char sdPresent : 1; ... } m;
//     room if length!=2   sd    SD               uint8_t length;
//                                                TS24501IE_SST sst;
//                                                TS24501IE_SD sd;
//
// Constants cost nothing: they are enumerators of enumerations without a name, so that C99 takes them as bounds of
// arrays and behind `case`. A constant begins with the name of the type and of the members that lead to what it is for;
// what has no name adds nothing:
//
//   TS24501IE_NSSAI_contents_capacity         the room of its list contents
//   TS24501IE_MobileIdentity_t_suci           t stands in the record itself
//   TS24501IE_ECSAddress_address_t_fqdn       t stands in its member address
//   TS24501Msg_PDU_msgType_RegRequest5G       a value of its member msgType
#include "header.h"

namespace l3gen {

namespace {

// The type under the writer, and what the names of constants begin with at this place in it.
struct Scope {
  const Type& type;
  std::string name;

  // The scope of a member. A nameless one, as the choice of a `choice` block is, keeps that of what it stands in.
  Scope within(const std::string& member) const { return {type, member.empty() ? name : name + "_" + member}; }
  std::string capacity() const { return capacityName(name); }
};

} // namespace

static std::string pad(int indent)
{
  return std::string(static_cast<size_t>(indent), ' ');
}

// One declaration with its semicolon, indentation and comment.
static std::string line(int indent, const std::string& declaration, const std::string& words)
{
  return commented(indent, pad(indent) + declaration + ";", words);
}

std::string capacityName(const std::string& scope)
{
  return scope + "_capacity";
}

// A string with a count of its own; octets and bits of a fixed size are plain arrays.
static bool isString(const What& what)
{
  bool string = what.kind == WhatKind::BitString || what.kind == WhatKind::Octets;
  return string && what.from != kL3Fixed;
}

static std::string declare(const What& what, const std::string& name, const Scope& scope, int indent);

// A string of octets or bits with its count. Up to 255 octets may stand in the record, where a count of 8 bits is
// enough:
//
//   octets rest max 4      struct { uint8_t numocts; uint8_t data[A_x_capacity]; } x
//   octets rest            struct { uint32_t numocts; uint8_t* data; } x
static std::string declareString(const What& what, const std::string& name, const Scope& scope, int indent)
{
  bool bits = what.kind == WhatKind::BitString;
  std::string count = std::string(what.max ? "uint8_t" : "uint32_t") + (bits ? " numbits" : " numocts");
  std::string room = bits ? "(" + scope.capacity() + " + 7) / 8" : scope.capacity();
  std::string data = what.max ? "uint8_t data[" + room + "]" : "uint8_t* data";
  return pad(indent) + "struct {\n" + line(indent + 2, count, sizeWords(what, scope.name)) +
         line(indent + 2, data, contentWords(what)) + pad(indent) + "} " + name;
}

// What stands in a member's place, with the comments of its inside and without a semicolon. For a list:
//
//   SNSSAI while-room 1..16          struct { uint8_t n; SNSSAI elem[A_x_capacity]; } x
//   SNSSAI while-room 1..16 heap     struct { uint64_t n; SNSSAI *elem; } x
static std::string declareElement(const Row& row, const std::string& name, const Scope& scope, int indent)
{
  if (row.often.end == kL3NoList) return declare(row.what, name, scope, indent);
  bool bounded = row.often.bounded(), fixed = row.what.kind == WhatKind::Octets && row.what.from == kL3Fixed;
  // Octets of a fixed size are arrays, so a pointer to entries of that kind needs its parentheses.
  std::string entry = bounded ? "elem[" + scope.capacity() + "]" : fixed ? "(*elem)" : "*elem";
  std::string entries = declare(row.what, entry, scope.within("elem"), indent + 2) + ";";
  return pad(indent) + "struct {\n" +
         line(indent + 2, bounded ? "uint8_t n" : "uint64_t n", entryCountWords(row.often, scope.name)) +
         commented(indent + 2, entries, entriesWords(scope.type, row)) + pad(indent) + "} " + name;
}

// The number of the alternative, which stands in front of its union.
static std::string declareTag(const What& what, const Scope& scope, int indent)
{
  return line(indent, "uint32_t t", tagWords(scope.type, what, scope.name));
}

// The messages of a form: t, and a union of pointers of which `any` is the one for callers who do not care which
// message it is. A message without a body (`-`) has a number and no member.
static std::string declareBody(const What& what, const std::string& name, const Scope& scope, int indent)
{
  std::string out = pad(indent) + "struct {\n" + declareTag(what, scope, indent + 2) + pad(indent + 2) + "union {\n" +
                    line(indent + 4, "void* any", "The message, whichever it is.");
  for (auto& row : what.alternatives)
    if (row.what.type)
      out += line(indent + 4, row.what.type->full + (row.inlined ? " obj_" : "* obj_") + row.member,
                  alternativeWords(scope.type, what, row));
  return out + line(indent + 2, "} u", unionWords(what)) + pad(indent) + "} " + name;
}

static std::string declareMember(const Row& row, const Scope& scope, int indent, const std::string& words);

// The members of the alternatives. C has no empty union, so one gets a member that means nothing.
static std::string declareUnion(const What& what, const Scope& scope, int indent)
{
  std::string members;
  for (auto& alternative : what.alternatives)
    members += declareMember(alternative, scope, indent + 2, alternativeWords(scope.type, what, alternative));
  if (members.empty()) members = line(indent + 2, "uint8_t none", "Unused: no alternative has a content.");
  return pad(indent) + "union {\n" + members + pad(indent) + "}";
}

// `struct { uint32_t t; union { ... } u; } name`, or with `!untagged` the union alone under this name.
static std::string declareChoice(const What& what, const std::string& name, const Scope& scope, int indent)
{
  if (what.untagged) return declareUnion(what, scope, indent) + " " + name;
  return pad(indent) + "struct {\n" + declareTag(what, scope, indent + 2) +
         commented(indent + 2, declareUnion(what, scope, indent + 2) + " u;", unionWords(what)) + pad(indent) + "} " +
         name;
}

// The declaration of one thing under a name. `name` may carry the bounds of an array or a pointer, `elem[16]`.
static std::string declare(const What& what, const std::string& name, const Scope& scope, int indent)
{
  std::string p = pad(indent);
  switch (what.kind) {
    case WhatKind::Bits:
      return p + format("uint%u_t ", storeForBits(what.bits) * 8) + name;
    case WhatKind::Flag:
    case WhatKind::Unary:
      return p + "uint8_t " + name;
    case WhatKind::Octets:
      if (!isString(what)) return p + "uint8_t " + name + format("[%u]", what.octets);
      return declareString(what, name, scope, indent);
    case WhatKind::BitString:
      if (!isString(what)) return p + "uint8_t " + name + format("[%u]", (what.max + 7) / 8);
      return declareString(what, name, scope, indent);
    case WhatKind::Text:
      return p + "char* " + name;
    case WhatKind::Chars:
      return p + "char " + name + format("[%u]", what.octets);
    case WhatKind::Type:
      return p + what.type->full + " " + name;
    case WhatKind::Choice:
      return declareChoice(what, name, scope, indent);
    case WhatKind::Body:
      return declareBody(what, name, scope, indent);
    default:
      return "";
  }
}

// A member with its comment, or nothing where the record has none for the row: marks, nameless lengths, `-`.
static std::string declareMember(const Row& row, const Scope& scope, int indent, const std::string& words)
{
  if (!row.isElement() && row.mark != Mark::Length) return "";
  if (row.mark == Mark::Length)
    return row.member.empty() ? ""
                              : line(indent, format("uint%u_t ", storeForBits(row.number) * 8) + row.member, words);
  if (row.what.kind == WhatKind::Nothing && row.often.end == kL3NoList) return "";
  return commented(indent, declareElement(row, row.member, scope.within(row.member), indent) + ";", words);
}

// The bits of `m` for compilers that begin at the most significant bit of an octet, so that both layouts have the same
// octets: one line for each octet, and the unused bits of the last one first.
//
//   unsigned char : 5, mappedSDPresent : 1, mappedSSTPresent : 1, sdPresent : 1;
static std::string fromTheTop(const std::vector<std::string>& names)
{
  std::string out;
  for (size_t first = 0; first < names.size(); first += 8) {
    size_t count = std::min<size_t>(8, names.size() - first);
    std::string bits = count < 8 ? format(" : %zu", 8 - count) : "";
    for (size_t i = count; i-- > 0;) bits += (bits.empty() ? " " : ", ") + names[first + i] + " : 1";
    out += "    unsigned char" + bits + ";\n";
  }
  return out;
}

// The bits of `m`, the first one in the lowest bit: the engine finds bit n in octet n / 8 by its number.
static std::string writePresence(const Type& type)
{
  if (!type.mBits) return "";
  std::string out = "  struct {\n#ifndef RTX_HIGH_BIT_FIRST\n";
  for (int bit = 0; bit < type.mBits; ++bit)
    out += line(4, "unsigned char " + type.mNames[static_cast<size_t>(bit)] + " : 1", presenceWords(type, bit));
  return out + "#else\n" + fromTheTop(type.mNames) + "#endif\n" +
         line(2, "} m", "Presence bits: 1 if the element is there.");
}

// `type NSSAIs NSSAI while-room 1..8`: a typedef of what the only element is. The last row is that element; the first
// may be its length, which the record does not keep.
static std::string writeBare(const Type& type)
{
  return "typedef " + declareElement(type.rows.back(), type.full, {type, type.full}, 0) + ";\n";
}

// A nameless choice puts t and u straight into the record; every other row with content is one member.
static std::string writeRecord(const Type& type)
{
  std::string members;
  Scope scope = {type, type.full};
  for (auto& row : type.rows) {
    bool nameless = row.member.empty() && row.what.kind == WhatKind::Choice;
    if (nameless)
      members +=
          declareTag(row.what, scope, 2) + commented(2, declareUnion(row.what, scope, 2) + " u;", unionWords(row.what));
    else
      members += declareMember(row, scope, 2, memberWords(type, row));
  }
  if (members.empty() && !type.mBits) members = line(2, "uint8_t none", "Unused: the record has no elements.");
  return "typedef struct " + type.full + " {\n" + writePresence(type) + members + "} " + type.full + ";\n";
}

// An enumeration without a name: constants, each with its comment.
namespace {

struct Constants {
  std::string list;

  void add(const std::string& name, const std::string& value, const std::string& words)
  {
    list += commented(2, "  " + name + " = " + value + ",", words);
  }
  std::string written(const std::string& words) const
  {
    return list.empty() ? "" : commentLines(0, words) + "enum {\n" + list + "};\n";
  }
};

} // namespace

static void addCapacities(Constants& constants, const Row& row, const Scope& scope);

// The rooms of what an element holds, those within its alternatives among them.
static void addCapacities(Constants& constants, const What& what, const Scope& scope)
{
  if (isString(what) && what.max)
    constants.add(scope.capacity(), std::to_string(what.max), capacityWords(what, Often()));
  if (what.kind == WhatKind::Choice)
    for (auto& alternative : what.alternatives) addCapacities(constants, alternative, scope.within(alternative.member));
}

static void addCapacities(Constants& constants, const Row& row, const Scope& scope)
{
  if (row.often.bounded())
    constants.add(scope.capacity(), std::to_string(row.often.range->hi), capacityWords(row.what, row.often));
  addCapacities(constants, row.what, row.often.end == kL3NoList ? scope : scope.within("elem"));
}

// The numbers of alternatives. One without a name has its number instead: A_x_t_2. Without t in the record there is
// nothing that could have these values.
static std::string tagConstants(const What& what, const Scope& scope, const std::string& member)
{
  Constants constants;
  if (what.untagged) return "";
  for (size_t i = 0; i < what.alternatives.size(); ++i) {
    const Row& row = what.alternatives[i];
    unsigned tag = tagOf(what, row);
    std::string name = row.member.empty() ? std::to_string(tag) : row.member;
    constants.add(scope.name + "_t_" + name, std::to_string(tag), tagConstantWords(scope.type, what, row));
  }
  return constants.written(tagConstantsWords(scope.type, member));
}

// Under the name of the field that holds them, TS24501Msg_PDU_msgType_RegRequest5G = 0x41.
static std::string messageTypes(const Type& pdu, const What& what)
{
  Constants constants;
  const std::string& field = what.fields.back();
  for (auto& row : what.alternatives)
    constants.add(pdu.full + "_" + cName(field) + "_" + row.member, format("0x%02X", row.msgType),
                  messageTypeWords(pdu, what, row));
  return constants.written("Values of " + field + " in " + pdu.full + ".");
}

// In front of the record, since its arrays have these constants as bounds: first all sizes of arrays, then the numbers
// of each choice and body.
static std::string writeConstants(const Type& type)
{
  Constants capacities;
  std::string tags;
  auto bodies = bodiesOf(type);
  const Row* first = bodies.empty() ? nullptr : bodies[0]; // a second one has the same messages
  for (auto& row : type.rows) {
    Scope scope = Scope{type, type.full}.within(row.member);
    if (row.mark != Mark::Length) addCapacities(capacities, row, scope);
    if (row.what.kind == WhatKind::Choice || row.what.kind == WhatKind::Body)
      tags += tagConstants(row.what, scope, row.member);
    if (&row == first) tags += messageTypes(type, row.what);
  }
  return capacities.written("Sizes of the arrays in " + type.full + ".") + tags;
}

// The values carry the type's name, because enumerators of C have one scope: TS24501IE_TypeOfIdentity_suci = 1.
static std::string writeEnum(const Type& type)
{
  std::string out = "typedef enum {\n";
  for (auto& [name, value] : type.values)
    out += commented(2, format("  %s_%s = %d,", type.full.c_str(), cName(name).c_str(), value), enumeratorWords(name));
  // Whatever the wire holds is a value of the C type, and the type has 32 bits.
  out += commented(2, "  " + type.full + "_any32 = 0x7FFFFFFF", "Not a value: it makes the type 32 bits wide.");
  return out + "} " + type.full + ";\n";
}

std::string writeDefinition(const Type& type)
{
  std::string comment = commentLines(0, typeWords(type));
  if (type.kind == Kind::Enum) return comment + writeEnum(type);
  if (type.kind == Kind::Names)
    return comment + format("typedef uint%u_t ", storeForBits(type.bits) * 8) + type.full + ";\n";
  bool bare = type.kind == Kind::Bare || type.kind == Kind::Text || type.has("bare");
  return writeConstants(type) + comment + (bare ? writeBare(type) : writeRecord(type));
}

} // namespace l3gen
