// Types that stand within another's block. Rows that are indented deeper than an element are its parts, as the braces
// of CSN.1 hold the parts of a structure; the element's type is then named after the record and the element. All this
// is done while the rows are read: later phases see flat types that refer to each other by name
// (docs/adr/0005-nested-rows.md).
//
//   element A                            [1]
//     0/1   component-2    record
//       M     x              bits 3                     A_component_2
//     M     component-3    record more-bit
//       M     y              bits 5                     A_component_3_element, in the list
//       _SeqOf<module>_A_component_3_element
//     M     component-4    choice code
//       | 0   z              bits 6                     A_component_4
//     M     w              bits 9 more-bit own          A_w
//     M     v              length 8 B                   A_v, which is not exported
//     M     v              bitstring by y +1 own        A_v; its decoder is given the count
#include <algorithm>
#include <utility>

#include "model.h"

namespace l3gen {

// A new type of the owner's module, with the clause of the owner's block. Its place is the row that made it.
static Type* addType(Model& model, const Type& owner, const Row& row, const std::string& name, Kind kind)
{
  auto type = std::make_unique<Type>();
  type->place = row.place;
  type->kind = kind;
  type->module = owner.module;
  type->name = name;
  type->full = owner.module->name + "_" + name;
  type->clause = owner.clause;
  // Lists and choices have no fields: what stands in them lies in the record that they stand in.
  bool fields = owner.kind != Kind::Bare;
  type->around = fields ? &owner : owner.around;
  type->aroundRows = fields ? owner.rows.size() : owner.aroundRows;
  if (!model.byName.emplace(type->full, type.get()).second) refuse(row.place, "'" + name + "' is defined twice");
  model.types.push_back(std::move(type));
  return model.types.back().get();
}

// "A_component_2", or "A_component_4_z" for an alternative of the choice `within`. Hyphens become underscores here
// because the names of types are parts of C names.
static std::string innerName(const Type& owner, const Row& row, const std::string& within = "")
{
  if (row.name.empty()) refuse(row.place, "an element with a type of its own needs a name");
  std::string name = owner.name + "_" + within + (within.empty() ? "" : "_") + row.name;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

// "It is of this type", as if the row had named it. The full name is found from any module.
static What typeWhat(Type& type)
{
  What what;
  what.kind = WhatKind::Type;
  what.typeName = type.full;
  return what;
}

// Makes a type of what the row is and how often, and leaves the row as one element of that type:
//
//   M w bits 9 more-bit own        becomes        M w A_w        and        type A_w bits 9 more-bit
static Type* moveOut(Model& model, const Type& owner, Row& row, const std::string& name)
{
  Type* type = addType(model, owner, row, name, Kind::Bare);
  Row content;
  content.place = row.place;
  content.what = std::move(row.what);
  content.often = row.often;
  content.range = row.range;
  // The new type cannot see the field that counts, which stands in the record. So the count stays with the row, and the
  // decoder of the new type gets the number that it comes to as an argument.
  for (Count* count : {&content.what.count, &content.often.count})
    if (!count->field.empty()) {
      row.argument = std::exchange(*count, {});
      count->argument = true;
      type->counted = true;
    }
  type->choiceType = content.what.kind == WhatKind::Choice;
  type->rows.push_back(std::move(content));
  row.what = typeWhat(*type);
  row.often = {};
  row.range.reset();
  return type;
}

// "_SeqOf" and the full name of the entries. An entry of another module is written with that module's name in front.
static std::string listName(Model& model, const Type& owner, const std::string& entry)
{
  bool foreign = model.module(entry.substr(0, entry.find('_'))) != nullptr;
  return "_SeqOf" + (foreign ? entry : owner.module->name + "_" + entry);
}

// `record` with deeper rows: a record for the rows and, if the element is a list, a list type around it. A counted list
// takes its count from this element's record, so it is named after the element and is this element's alone; any other
// is named after its entries.
static Type* nestedRecord(Model& model, const Type& owner, Row& row, const std::string& within)
{
  std::string name = innerName(owner, row, within);
  bool list = row.often.end != kL3NoList;
  std::string inner = list ? name + "_element" : name;
  Type* record = addType(model, owner, row, inner, Kind::Record);
  row.what = typeWhat(*record);
  if (list) moveOut(model, owner, row, row.often.end == kL3Times ? name : listName(model, owner, inner));
  return record;
}

// Only `record`, and a choice whose alternatives have not begun at its own depth, can have deeper rows.
Type* innerType(Model& model, const Type& owner, Row& row, const std::string& within)
{
  if (row.what.kind == WhatKind::Nested) return nestedRecord(model, owner, row, within);
  bool choice = row.what.kind == WhatKind::Choice && row.what.alternatives.empty();
  return choice ? moveOut(model, owner, row, innerName(owner, row)) : nullptr;
}

// `M v length 8 B` becomes `M v A_v`, a part that begins with the length. Its length is written whole (`!full-length`),
// while the engine cuts other lengths of 16 bits to their lower 8 on encoding.
static void moveBehind(Model& model, const Type& owner, Row& row)
{
  Type* part = moveOut(model, owner, row, innerName(owner, row));
  part->part = true;
  Row length;
  length.place = row.place;
  length.mark = Mark::Length;
  length.number = row.behind;
  length.words["full-length"] = "";
  part->rows.insert(part->rows.begin(), length);
}

// Called for each row as soon as it is read, since deeper rows may follow.
void giveOwnType(Model& model, const Type& owner, Row& row)
{
  if (row.behind) moveBehind(model, owner, row);
  if (row.own) moveOut(model, owner, row, innerName(owner, row));
  if (!row.shared) return;
  if (row.what.kind != WhatKind::Type || row.often.end == kL3NoList)
    refuse(row.place, "'shared' is for lists of a type");
  std::string name = listName(model, owner, row.what.typeName);
  // The first row with such a list makes its type, all others use it. They must mean the same list: `more-bit` and
  // `more-bit 0` would both be _SeqOfT_B.
  auto known = model.byName.find(owner.module->name + "_" + name);
  if (known == model.byName.end()) {
    moveOut(model, owner, row, name);
    return;
  }
  if (!(known->second->rows[0].often == row.often))
    refuse(row.place, "'" + name + "' is another kind of list elsewhere");
  row.what = typeWhat(*known->second);
  row.often = {};
}

} // namespace l3gen
