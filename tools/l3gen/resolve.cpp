// Resolving and laying out: names to types and fields, presence bits, extension groups, runs; and the refusals of what
// contradicts itself.
#include <algorithm>
#include <functional>
#include <set>

#include "model.h"

namespace l3gen {

static Type* find(Model& model, const Type& from, const std::string& name)
{
  auto it = model.byName.find(name);
  if (it == model.byName.end()) it = model.byName.find(from.module->name + "_" + name);
  return it == model.byName.end() ? nullptr : it->second;
}

static const Row* rowNamed(const Type& type, const std::string& name)
{
  for (auto& row : type.rows)
    if (row.name == name || row.member == name) return &row;
  return nullptr;
}

// `octet1.eBit` is a field of the record `octet1`.
const Row* findField(const Type& type, const std::string& name, std::string* path)
{
  size_t dot = name.find('.');
  const Row* row = rowNamed(type, name.substr(0, dot));
  if (!row) return nullptr;
  if (path) *path += (path->empty() ? "" : ".") + row->member;
  if (dot == std::string::npos) return row;
  bool record = row->what.type && row->when == When::Always && row->often.end == End::None;
  return record ? findField(*row->what.type, name.substr(dot + 1), path) : nullptr;
}

// The name that is pushed and printed where it is not the member's.
static void takePrintedName(Row& row)
{
  auto as = row.words.find("name-as");
  if (as != row.words.end()) row.name = as->second;
}

static void resolveWhat(Model& model, Type& owner, Row& row)
{
  What& what = row.what;
  if (what.kind == WhatKind::Type) {
    what.type = find(model, owner, what.typeName);
    if (!what.type) refuse(row.place, "an unknown type '" + what.typeName + "'");
    if (what.rest && what.type->kind != Kind::Text) refuse(row.place, "'rest' is for string types");
  }
  for (auto& alternative : what.alternatives) {
    alternative.member = cName(alternative.name);
    takePrintedName(alternative);
    resolveWhat(model, owner, alternative);
  }
}

std::optional<Scalar> scalarOf(const What& what)
{
  if (what.kind == WhatKind::Bits) return Scalar{WhatKind::Bits, what.bits, nullptr, {}};
  if (what.kind == WhatKind::Flag) return Scalar{WhatKind::Flag, 1, nullptr, {}};
  if (what.kind == WhatKind::Type && what.type && !what.rest) return scalarOf(*what.type);
  return {};
}

static std::optional<Scalar> scalarAt(const Type& type, int depth)
{
  if (depth > 16) refuse(type.place, "'" + type.name + "' is defined by itself");
  if (type.kind == Kind::Enum || type.kind == Kind::Names)
    return Scalar{WhatKind::Bits, type.bits, const_cast<Type*>(&type), {}};
  bool bare = type.kind == Kind::Bare && type.rows.size() == 1 && type.rows[0].often.end == End::None;
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

static std::optional<uint32_t> fixedBits(const Row& row)
{
  bool always = row.when == When::Always || row.when == When::Iei;
  if (!always || row.often.end != End::None) return {};
  switch (row.what.kind) {
    case WhatKind::Bits:
    case WhatKind::Flag:
      return row.what.bits;
    case WhatKind::Octets:
      if (row.what.from == From::Fixed) return row.what.octets * 8;
      return {};
    case WhatKind::Type:
      return fixedBits(*row.what.type);
    case WhatKind::Nothing:
      return 0U;
    default:
      return {};
  }
}

std::optional<uint32_t> fixedBits(const Type& type)
{
  if (type.kind == Kind::Enum || type.kind == Kind::Names) return type.bits;
  if (type.form.starts_with("TV ")) return static_cast<uint32_t>(std::stoul(type.form.substr(3))) * 8;
  if (!type.decodeFile.empty() || type.kind == Kind::Text || type.kind == Kind::Pdu) return {};
  uint32_t sum = 0;
  for (auto& row : type.rows) {
    auto bits = fixedBits(row);
    if (!bits) return {};
    sum += *bits;
  }
  return sum;
}

// The length that an element begins with: its width in bits, or 0.
static unsigned leadingLength(const What& what)
{
  if (what.kind == WhatKind::Octets || what.kind == WhatKind::Text) return what.from == From::Own ? what.bits : 0;
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
  if (type.rows.empty()) return 0;
  return type.rows[0].when == When::Length ? type.rows[0].number : leadingLength(type.rows[0].what);
}

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

static bool needsInit(const What& what, const Often& often)
{
  if (often.end != End::None) return true;
  switch (what.kind) {
    case WhatKind::Octets:
      return what.from != From::Fixed;
    case WhatKind::BitString:
    case WhatKind::Text:
    case WhatKind::Choice:
    case WhatKind::Body:
      return true;
    case WhatKind::Type:
      return needsInit(*what.type);
    default:
      return false;
  }
}

bool needsInit(const Type& type)
{
  if (type.kind == Kind::Enum || type.kind == Kind::Names) return false;
  if (type.mBits) return true;
  // Spare bits start as 0, and so do extension bits.
  return std::any_of(type.rows.begin(), type.rows.end(), [](const Row& row) {
    bool zero = row.name.starts_with("spare") || row.name == "ext";
    return zero || needsInit(row.what, row.often);
  });
}

// `use` gets the type and whether it stands behind a pointer only, as messages do.
static void collectUses(const What& what, bool pointed, const std::function<void(Type*, bool)>& use)
{
  if (what.type) use(what.type, pointed);
  for (auto& alternative : what.alternatives) collectUses(alternative.what, what.kind == WhatKind::Body, use);
}

// Types of a module so that each stands behind those that it holds by value.
std::vector<Type*> inDependencyOrder(Model& model, const Module& module)
{
  std::vector<Type*> order;
  std::map<Type*, int> state;
  std::function<void(Type*, bool)> visit = [&](Type* type, bool pointed) {
    int& mark = state[type];
    if (mark == 2 || (mark == 1 && pointed)) return;
    if (mark == 1) refuse(type->place, "'" + type->name + "' holds itself");
    mark = 1;
    for (auto& row : type->rows) collectUses(row.what, false, visit);
    state[type] = 2;
    if (type->module == &module) order.push_back(type);
  };
  for (auto& type : model.types)
    if (type->module == &module) visit(type.get(), false);
  return order;
}

static bool hasBit(When when)
{
  switch (when) {
    case When::Room:
    case When::OptBit:
    case When::RoomOptBit:
    case When::If:
    case When::RoomExt:
    case When::More:
    case When::Iei:
    case When::ByHand:
      return true;
    default:
      return false;
  }
}

static int giveBit(Type& type, const std::string& name)
{
  std::string base = cName(name) + "Present", given = base;
  for (int k = 2; std::find(type.mNames.begin(), type.mNames.end(), given) != type.mNames.end(); ++k)
    given = base + std::to_string(k);
  type.mNames.push_back(given);
  return type.mBits++;
}

static void layOutBits(Type& type)
{
  int group = -1;
  bool release = false;
  for (auto& row : type.rows) {
    if (row.when == When::Group || row.when == When::Release) {
      group = row.mBit = giveBit(type, row.name);
      release = row.when == When::Release;
      continue;
    }
    if (row.when == When::EndRelease) {
      group = -1;
      release = false;
      continue;
    }
    row.groupBit = group;
    row.inRelease = release;
    if (hasBit(row.when)) row.mBit = giveBit(type, row.name.empty() ? "value" : row.name);
  }
}

static bool runnable(const Row& row)
{
  return row.when == When::Always && row.often.end == End::None && !row.range && scalarOf(row.what) &&
         !scalarOf(row.what)->range && scalarOf(row.what)->bits <= 32;
}

static void layOutRuns(Type& type)
{
  auto& rows = type.rows;
  for (size_t i = 0; i < rows.size();) {
    size_t end = i;
    unsigned bits = 0;
    while (end < rows.size() && runnable(rows[end]) && rows[end].inRelease == rows[i].inRelease &&
           bits + scalarOf(rows[end].what)->bits <= 56)
      bits += scalarOf(rows[end++].what)->bits;
    if (end - i >= 2) {
      rows[i].runRows = static_cast<unsigned>(end - i);
      rows[i].runBits = bits;
    }
    i = end > i ? end : i + 1;
  }
}

static bool isExt(const Row& row)
{
  return row.when == When::Ext || row.when == When::RoomExt || row.when == When::More;
}

static void layOutExt(Type& type)
{
  for (size_t i = 0; i < type.rows.size(); ++i) {
    Row& row = type.rows[i];
    if (row.when == When::More && (i == 0 || !isExt(type.rows[i - 1])))
      refuse(row.place, "a 'more' row needs an 'ext' row before it");
    row.extLast = isExt(row) && (i + 1 == type.rows.size() || type.rows[i + 1].when != When::More);
  }
}

static void checkField(const Type& type, const Row& row, const std::string& name)
{
  const Row* field = findField(type, name);
  if (!field) refuse(row.place, "'" + name + "' is no element of this record");
  if (rowNamed(type, name.substr(0, name.find('.'))) >= &row) refuse(row.place, "'" + name + "' comes later");
  bool number = field->when == When::Length || (scalarOf(field->what) && field->often.end == End::None);
  if (!number) refuse(row.place, "'" + name + "' is no number");
}

static void checkChoice(const Type& type, const Row& row)
{
  const What& what = row.what;
  for (auto& field : what.fields) checkField(type, row, field);
  if (what.alternatives.empty()) refuse(row.place, "a choice without alternatives");
  std::set<std::string> names;
  std::vector<Range> taken;
  for (auto& alternative : what.alternatives) {
    if (!names.insert(alternative.member).second && what.kind == WhatKind::Choice)
      refuse(alternative.place, "'" + alternative.name + "' twice in one choice");
    if (alternative.often.end == End::Times) checkField(type, row, alternative.often.field);
    if (alternative.what.from == From::Field && !alternative.what.field.empty())
      checkField(type, row, alternative.what.field);
    for (auto& value : alternative.values) {
      for (auto& other : taken)
        if (value.lo <= other.hi && other.lo <= value.hi) refuse(alternative.place, "a selector value twice");
      taken.push_back(value);
    }
  }
}

static void checkRow(const Type& type, const Row& row)
{
  for (auto& term : row.cond) checkField(type, row, term.field);
  if (row.often.end == End::Times) checkField(type, row, row.often.field);
  if (!row.what.field.empty()) checkField(type, row, row.what.field);
  if (row.what.kind == WhatKind::Choice || row.what.kind == WhatKind::Body) checkChoice(type, row);
  if (row.when == When::Iei && type.kind != Kind::Message) refuse(row.place, "an IEI outside a message");
  if (row.half) {
    auto bits = row.what.kind == WhatKind::Type && !row.what.type->decodeFile.empty() ? std::optional<uint32_t>(4)
                                                                                      : fixedBits(row);
    if (!bits || *bits != 4) refuse(row.place, "a half-octet IEI needs an element of 4 bits");
  }
}

static void checkType(const Type& type)
{
  std::set<std::string> members;
  bool options = false;
  unsigned lengths = 0;
  for (auto& row : type.rows) {
    bool mark = row.when == When::Group || row.when == When::Release || row.when == When::EndRelease;
    if (row.when == When::Release && !lengths) refuse(row.place, "a release group outside a length");
    if (mark) continue;
    if (!row.member.empty() && !members.insert(row.member).second)
      refuse(row.place, "'" + row.name + "' twice in one record");
    lengths += row.when == When::Length;
    if (lengths > 4) refuse(row.place, "more than four lengths in one record");
    options = options || row.when == When::Iei;
    if (options && row.when != When::Iei) refuse(row.place, "a row behind the optional elements");
    checkRow(type, row);
  }
  bool empty = type.rows.empty() && type.values.empty();
  if (empty && type.kind != Kind::Message) refuse(type.place, "'" + type.name + "' has no rows");
  if (type.mBits > 512) refuse(type.place, "more than 512 presence bits");
  if (!type.decodeFile.empty() || type.form.empty()) return;
  refuse(type.place, "a form is for hand-coded elements");
}

static void nameMembers(Type& type)
{
  for (auto& row : type.rows) {
    row.member = row.name.empty() ? "" : cName(row.name);
    takePrintedName(row);
    if (row.what.kind == WhatKind::Choice && row.words.count("untagged")) row.what.untagged = true;
  }
}

// A type named after another type and one of its elements is a part of it: its sample stands in the sample of the
// whole.
static void markParts(Model& model)
{
  for (auto& type : model.types) {
    if (type->kind == Kind::Pdu) continue;
    for (size_t at = type->name.find('_'); at != std::string::npos; at = type->name.find('_', at + 1))
      if (model.byName.count(type->module->name + "_" + type->name.substr(0, at))) type->words["no-sample"] = "";
  }
}

void resolve(Model& model)
{
  markParts(model);
  for (auto& type : model.types) {
    nameMembers(*type);
    for (auto& row : type->rows) resolveWhat(model, *type, row);
  }
  for (auto& type : model.types) scalarOf(*type);
  for (auto& module : model.modules) inDependencyOrder(model, *module);
  for (auto& type : model.types) {
    layOutBits(*type);
    layOutRuns(*type);
    layOutExt(*type);
  }
  for (auto& type : model.types) checkType(*type);
}

} // namespace l3gen
