// The second phase: names become types and fields, and what a definition leaves out is worked out. `resolve` at the end
// of the file calls the steps in the order in which they need each other:
//
//   markParts, markLender    read names alone
//   nameMembers              C names, by which fields are found from here on
//   resolveWhat              What::type; codes of choices (codes.cpp)
//   setAside                 from here on every type that is left names types that exist
//   scalarOf, checkHolding   refuse what is defined by itself or holds itself: later functions go down without a limit
//   layOut                   presence bits and the ends of extension groups
//
// The rest of the file answers questions about types that check.cpp and the writers ask: how many bits, which number,
// which length in front, in which order. It changes nothing.
#include <algorithm>
#include <functional>
#include <set>

#include "model.h"

namespace l3gen {

// The type that a name means in this module: `T_B` as it stands, or `B` of the same module.
static Type* find(Model& model, const Type& from, const std::string& name)
{
  auto it = model.byName.find(name);
  if (it == model.byName.end()) it = model.byName.find(from.module->name + "_" + name);
  return it == model.byName.end() ? nullptr : it->second;
}

// By the element's name or by its C name, so that `if a-b=1` and `if a_b=1` both find `a-b`.
const Row* rowNamed(const Type& type, const std::string& name)
{
  for (auto& row : type.rows)
    if (row.name == name || row.member == name) return &row;
  return nullptr;
}

// `..n` in a nested record is a field of the record around it.
const Type* holderOf(const Type& type, std::string& name)
{
  if (!name.starts_with("..")) return &type;
  name = name.substr(2);
  return type.around;
}

// `octet1.eBit` is the field eBit of the member octet1. The member has to be always there and single: the C expression
// r.octet1.eBit must mean something whatever has been decoded.
const Row* findField(const Type& type, const std::string& name, std::string* path)
{
  size_t dot = name.find('.');
  const Row* row = rowNamed(type, name.substr(0, dot));
  if (!row) return nullptr;
  if (path) *path += (path->empty() ? "" : ".") + row->member;
  if (dot == std::string::npos) return row;
  bool record = row->what.type && row->plain() && row->often.end == kL3NoList;
  return record ? findField(*row->what.type, name.substr(dot + 1), path) : nullptr;
}

// For rows such as these, where the first element may be missing although the second one asks for it:
//
//   0x12  kind      Kind
//   0x34  content   choice by kind
std::vector<std::string> selectingOptions(const Type& type)
{
  std::vector<std::string> names;
  for (auto& row : type.rows)
    for (auto& field : row.what.fields) {
      const Row* selecting = row.isIei() ? findField(type, field) : nullptr;
      bool known = std::find(names.begin(), names.end(), field) != names.end();
      if (selecting && selecting->isIei() && !known) names.push_back(field);
    }
  return names;
}

// Finds the type of an element and, through recursion, of its alternatives. Faults are noted and not thrown, so that
// the other alternatives are looked at as well.
static void resolveWhat(Model& model, Type& owner, Row& row)
{
  What& what = row.what;
  // innerType has turned every `record` with parts into a type. One that is left has none, or its parts were refused;
  // then the block is blamed already.
  if (what.kind == WhatKind::Nested && !blamed(model, row.place))
    model.refusals.push_back({row.place, "a record without rows"});
  if (what.kind == WhatKind::Type) {
    what.type = find(model, owner, what.typeName);
    // The name belongs to a block whose first line was refused: this block cannot be looked at either, but is not at
    // fault.
    if (!what.type && couldBeUnread(model, *owner.module, what.typeName))
      blame(model, row.place);
    else if (!what.type)
      model.refusals.push_back({row.place, "an unknown type '" + what.typeName + "'"});
    if (what.type && row.standard.kind == Standard::Part)
      // `standard part A..B`: the type whose rows are taken has to have a descriptor of these rows.
      what.type->parts.insert({row.standard.part.lo, row.standard.part.hi});
    if (what.rest && what.type && what.type->kind != Kind::Text)
      model.refusals.push_back({row.place, "'rest' is for string types"});
  }
  if (what.select == kL3SelectCode) try {
      layOutCodes(what);
    } catch (const Refusal& r) {
      model.refusals.push_back(r);
    }
  for (auto& alternative : what.alternatives) resolveWhat(model, owner, alternative);
}

// `TYPE rest` is a string, whatever its type is.
std::optional<Scalar> scalarOf(const What& what)
{
  if (what.kind == WhatKind::Bits) return Scalar{WhatKind::Bits, what.bits, nullptr, {}, what.padded, what.meanings};
  if (what.kind == WhatKind::Unary) return Scalar{WhatKind::Unary, what.bits, nullptr, {}};
  if (what.kind == WhatKind::Flag) return Scalar{WhatKind::Flag, 1, nullptr, {}, false, what.meanings};
  if (what.kind == WhatKind::Type && what.type && !what.rest) return scalarOf(*what.type);
  return {};
}

// Follows aliases, `type A B` and `type B bits 4`. A type that is defined by itself would be followed for ever, so more
// than 16 aliases in a row are taken for one.
static std::optional<Scalar> scalarAt(const Type& type, int depth)
{
  if (depth > 16) refuse(type.place, "'" + type.name + "' is defined by itself");
  if (type.kind == Kind::Enum || type.kind == Kind::Names)
    return Scalar{WhatKind::Bits, type.bits, const_cast<Type*>(&type), {}, type.padded};
  // A type with a length in front has two rows and is no number, neither is a list.
  bool bare = type.kind == Kind::Bare && type.rows.size() == 1 && type.rows[0].often.end == kL3NoList;
  if (!bare) return {};
  const What& what = type.rows[0].what;
  std::optional<Scalar> scalar;
  if (what.kind == WhatKind::Type && !what.rest)
    scalar = scalarAt(*what.type, depth + 1);
  else if (what.kind != WhatKind::Type)
    scalar = scalarOf(what);
  if (scalar && type.rows[0].range) scalar->range = type.rows[0].range;
  return scalar;
}

std::optional<Scalar> scalarOf(const Type& type)
{
  return scalarAt(type, 0);
}

// For an optional element these are the bits of its value, without its IEI. A row on a condition has no fixed size.
std::optional<uint32_t> fixedBits(const Row& row)
{
  bool always = row.plain() || row.isIei();
  if (!always || row.often.end != kL3NoList) return {};
  switch (row.what.kind) {
    case WhatKind::Bits:
    case WhatKind::Flag:
      return row.what.bits;
    case WhatKind::Octets:
      if (row.what.from == kL3Fixed) return row.what.octets * 8;
      return {};
    case WhatKind::BitString:
      if (row.what.from == kL3Fixed) return row.what.max;
      return {};
    case WhatKind::Type:
      return fixedBits(*row.what.type);
    case WhatKind::Nothing:
      return 0U;
    default:
      return {};
  }
}

// What is coded by hand is not known from its rows, but `form TV 2` says it. The size of rest octets varies, and so may
// that of a type that the standard has in another form.
std::optional<uint32_t> fixedBits(const Type& type)
{
  if (type.kind == Kind::Enum || type.kind == Kind::Names) return type.bits;
  if (type.form.starts_with("TV ")) return static_cast<uint32_t>(std::stoul(type.form.substr(3))) * 8;
  if (!type.decodeFile.empty() || type.kind == Kind::Text || type.kind == Kind::Pdu) return {};
  if (type.restOctets || type.hasStandard()) return {};
  uint32_t sum = 0;
  for (auto& row : type.rows) {
    auto bits = fixedBits(row);
    if (!bits) return {};
    sum += *bits;
  }
  return sum;
}

// A choice begins with a length if all its alternatives begin with one of the same width.
static unsigned leadingLength(const What& what)
{
  if (what.kind == WhatKind::Octets || what.kind == WhatKind::Text) return what.from == kL3OwnLength ? what.bits : 0;
  if (what.kind == WhatKind::Choice) {
    unsigned same = what.alternatives.empty() ? 0 : leadingLength(what.alternatives[0].what);
    for (auto& alternative : what.alternatives)
      if (leadingLength(alternative.what) != same) same = 0;
    return same;
  }
  if (what.kind != WhatKind::Type) return 0;
  const Type& type = *what.type;
  if (type.form == "TLV") return 8;
  if (type.form == "TLV-E") return 16;
  return leadingLength(type);
}

// `element A length 8` has its length as the first row; else what its first row is may begin with one.
unsigned leadingLength(const Type& type)
{
  if (type.rows.empty()) return 0;
  return type.rows[0].mark == Mark::Length ? type.rows[0].number : leadingLength(type.rows[0].what);
}

// An element that comes out of its turn is passed over by an octet of length in front or by its fixed size; anything
// else, a length of 16 bits and a half octet among it, is not passed over (docs/definition-language.md, Messages).
std::string skipForm(const Row& row, uint32_t& octets)
{
  octets = 0;
  if (row.half) return "nothing";
  unsigned length = leadingLength(row.what);
  if (length == 8) return "length";
  if (length) return "nothing";
  if (row.what.kind == WhatKind::Type && row.what.type->form.starts_with("TV ")) {
    octets = static_cast<uint32_t>(std::stoul(row.what.type->form.substr(3)));
    return octets ? "fixed" : "nothing";
  }
  auto bits = fixedBits(row);
  octets = bits ? *bits / 8 : 0;
  return octets ? "fixed" : "nothing";
}

// Pointers, counts of lists and the numbers t of choices are read by encoders and printers, so a record that has them
// must not be used before they are set.
static bool needsInit(const What& what, const Often& often)
{
  if (often.end != kL3NoList) return true;
  switch (what.kind) {
    case WhatKind::Octets:
      return what.from != kL3Fixed && !what.max; // a bounded string is only its count and its octets
    case WhatKind::BitString:
      return what.from != kL3Fixed && !what.max;
    case WhatKind::Text:
    case WhatKind::Chars:
    case WhatKind::Choice:
    case WhatKind::Body:
      return true;
    case WhatKind::Type:
      return needsInit(*what.type);
    default:
      return false;
  }
}

// An initialiser is exported for these types (`exports` in operations.cpp).
bool needsInit(const Type& type)
{
  if (type.kind == Kind::Enum || type.kind == Kind::Names) return false;
  if (type.kind == Kind::Text && type.rows[0].what.kind == WhatKind::Chars) return false;
  if (type.mBits || type.counted) return true;
  // Spare bits start as 0, and so do extension bits.
  return std::any_of(type.rows.begin(), type.rows.end(), [](const Row& row) {
    // Spare bits start as 0, and so do extension bits that a row spells out under the name `ext`.
    bool zero = scalarOf(row.what) && (row.name.starts_with("spare") || row.name == "ext");
    return zero || needsInit(row.what, row.often);
  });
}

// check.cpp sees to it that they are the last rows.
std::vector<const Row*> bodiesOf(const Type& type)
{
  std::vector<const Row*> bodies;
  for (auto& row : type.rows)
    if (row.what.kind == WhatKind::Body) bodies.push_back(&row);
  return bodies;
}

// A choice holds its alternatives by value, a body points to them.
void collectUses(const What& what, bool pointed, const std::function<void(Type*, bool)>& use)
{
  if (what.type) use(what.type, pointed);
  for (auto& alternative : what.alternatives) collectUses(alternative.what, what.kind == WhatKind::Body, use);
}

// Depth first. `open` has the types on the way down: one that is met again holds itself. `sound` has those that have
// been gone through, so that each is visited once over the whole model.
static void visitHeld(Type& type, std::set<Type*>& open, std::set<Type*>& sound)
{
  if (sound.count(&type)) return;
  if (!open.insert(&type).second) refuse(type.place, "'" + type.name + "' holds itself");
  auto use = [&](Type* held, bool pointed) {
    if (!pointed) visitHeld(*held, open, sound);
  };
  for (auto& row : type.rows) collectUses(row.what, false, use);
  sound.insert(&type);
}

// No type may lie inside itself, not even through a list.
static void checkHolding(Type& type, std::set<Type*>& sound)
{
  std::set<Type*> open;
  visitHeld(type, open, sound);
}

// Types of a module so that each stands behind those that it holds by value.
// Depth first, a type behind all that it uses. state: 0 not met, 1 on the way down, 2 done. A type may be met again on
// the way down only through a pointer, for which the forward declaration of its struct suffices (writeHeader).
std::vector<Type*> inDependencyOrder(Model& model, const Module& module)
{
  std::vector<Type*> order;
  std::map<Type*, int> state;
  std::function<void(Type*, bool)> visit = [&](Type* type, bool pointed) {
    int& mark = state[type];
    if (mark == 2 || (mark == 1 && pointed)) return;
    mark = 1;
    for (auto& row : type->rows) collectUses(row.what, false, visit);
    state[type] = 2;
    if (type->module == &module) order.push_back(type);
  };
  for (auto& type : model.types)
    if (type->module == &module) visit(type.get(), false);
  return order;
}

// The traits in l3Forms.h say which answers to "when is it there?" have a presence bit.
static bool hasBit(const Row& row)
{
  return row.isElement() && (row.room || l3Traits(row.given).hasBit || l3Traits(row.lead).optional);
}

// The next bit of `m`, and its name: sdPresent, or sdPresent2 if two members give the same.
static int giveBit(Type& type, const std::string& name)
{
  std::string base = cName(name) + "Present", given = base;
  for (int k = 2; std::find(type.mNames.begin(), type.mNames.end(), given) != type.mNames.end(); ++k)
    given = base + std::to_string(k);
  type.mNames.push_back(given);
  return type.mBits++;
}

// Gives out the presence bits in the order of the rows. A group's bit comes before those of its members:
//
//   M      a   bits 8
//   room   b   bits 8       bPresent     bit 0
//   group  g                gPresent     bit 1
//   0x12   c   bits 8       cPresent     bit 2, groupBit 1
static void layOutBits(Type& type)
{
  int group = -1, before = -1;
  bool release = false;
  for (auto& row : type.rows) {
    if (row.mark == Mark::Group || row.mark == Mark::Release) {
      group = row.mBit = giveBit(type, row.name);
      release = row.mark == Mark::Release;
      continue;
    }
    // Only release groups are closed by a row of their own; an extension group goes on to the next one or to the end.
    if (row.mark == Mark::EndRelease) {
      group = -1;
      release = false;
      continue;
    }
    row.groupBit = group;
    row.inRelease = release;
    // It shares the bit of the row before it: two fields behind one bit.
    if (row.given == kL3GivenWith) row.mBit = before;
    if (hasBit(row)) row.mBit = giveBit(type, row.name.empty() ? "value" : row.name);
    before = row.mBit;
  }
}

static bool isExt(const Row& row)
{
  return row.lead == kL3LeadExt;
}

// `ext` and the `more` rows behind it are a chain. Its last row is marked, because there a decoder drops the further
// octets that a later edition of the standard has added.
static void layOutExt(Type& type)
{
  for (size_t i = 0; i < type.rows.size(); ++i) {
    Row& row = type.rows[i];
    if (row.given == kL3GivenMore && (i == 0 || !isExt(type.rows[i - 1])))
      refuse(row.place, "a 'more' row needs an 'ext' row before it");
    row.extLast = isExt(row) && (i + 1 == type.rows.size() || type.rows[i + 1].given != kL3GivenMore);
  }
}

// The C name comes from the name as written, before `!name-as` puts another one in its place for pushing and printing.
static void nameMember(Row& row)
{
  row.member = row.name.empty() ? "" : cName(row.name);
  auto as = row.words.find("name-as");
  if (as != row.words.end()) row.name = as->second;
}

// From here on rowNamed finds rows by their C names as well.
static void nameMembers(Type& type)
{
  for (auto& row : type.rows) {
    nameMember(row);
    for (auto& alternative : row.what.alternatives) nameMember(alternative);
  }
}

// A type named after another type and one of its elements, as MMCapability_octet4 beside MMCapability is, is a part of
// it, and so is a list that is named after its entries: no sample builder is exported for them, since the sample of the
// whole has theirs. Names decide, whether the reader made the type or a block with such a name did.
static void markParts(Model& model)
{
  for (auto& type : model.types) {
    if (type->kind == Kind::Pdu) continue;
    if (type->name.starts_with("_SeqOf")) type->words["no-sample"] = "";
    for (size_t at = type->name.find('_'); at != std::string::npos; at = type->name.find('_', at + 1))
      if (model.byName.count(type->module->name + "_" + type->name.substr(0, at))) type->words["no-sample"] = "";
  }
}

// What needs all rows of a type, and of no other.
static void layOut(Type& type)
{
  layOutBits(type);
  layOutExt(type);
}

// A record whose parts count by its fields (`..n`) is told so. Only the walk leads them to the field (L3Call::around),
// so the record gets no direct coder.
static void markLender(Model& model, const Type& type, const Row& row)
{
  bool borrows = row.what.count.ofAround() || row.often.count.ofAround() || (row.argument && row.argument->ofAround());
  auto lender = borrows && type.around ? model.byName.find(type.around->full) : model.byName.end();
  if (lender != model.byName.end()) lender->second->lends = true; // a refused block has no name
  for (auto& alternative : row.what.alternatives) markLender(model, type, alternative);
}

void resolve(Model& model)
{
  // What the reader refused is known to be faulty before the first type is looked at.
  for (auto& refusal : model.refusals) blame(model, refusal.place);
  markParts(model);
  for (auto& type : model.types)
    for (auto& row : type->rows) markLender(model, *type, row);
  for (auto& type : model.types) {
    nameMembers(*type);
    for (auto& row : type->rows) resolveWhat(model, *type, row);
  }
  setAside(model);
  // The result is of no interest: it refuses types that are defined by themselves.
  forTypes(model, [](Type& type) { scalarOf(type); });
  std::set<Type*> sound;
  forTypes(model, [&](Type& type) { checkHolding(type, sound); });
  forTypes(model, layOut);
}

} // namespace l3gen
