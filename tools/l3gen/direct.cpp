// The half of the direct coders that decoding and encoding share: which types can have one, where in its octet each
// type begins and ends, and the C++ expressions for members, conditions and ranges. direct.h describes what is written.
#include "direct.h"

#include <algorithm>

namespace l3gen {

// Numbers that one load can serve. Bits relative to the padding are left to the walk, which knows the place in the
// octet.
static bool fits(const Scalar& scalar)
{
  return scalar.kind != WhatKind::Unary && !scalar.padded && scalar.bits <= 56;
}

// The ways to end a list that the writers know.
static bool ends(const Often& often)
{
  return often.end == kL3NoList || often.end == kL3WhileRoom || often.end == kL3Times || often.end == kL3MoreBit ||
         often.end == kL3WhileExt;
}

// The contents that the writers know. Strings in an array (`max`) are fine, bit strings in one are not.
static bool whatFits(const What& what)
{
  switch (what.kind) {
    case WhatKind::BitString:
      return what.from == kL3Rest && !what.max;
    case WhatKind::Chars:
    case WhatKind::Unary:
      return false;
    case WhatKind::Octets:
      return what.from != kL3ByField || what.count.fieldAlone();
    case WhatKind::Bits:
    case WhatKind::Type:
      return !scalarOf(what) || fits(*scalarOf(what));
    default:
      return what.select != kL3SelectCode &&
             std::all_of(what.alternatives.begin(), what.alternatives.end(),
                         [](const Row& row) { return whatFits(row.what) && ends(row.often); });
  }
}

// Every form that the writers know is named here; a type with any other is left to the walk, which is right if not as
// fast. So a new form of row needs no change in the direct coders.
static bool rowFits(const Row& row)
{
  // Quirk words that the writers heed, or that change nothing for them.
  static const std::vector<std::string> words = {"name-as",     "untagged",  "full-length",
                                                 "zero-widens", "iei-again", "private"};
  for (auto& [word, value] : row.words)
    if (std::find(words.begin(), words.end(), word) == words.end()) return false;
  if (!ends(row.often) || !whatFits(row.what) || row.argument || row.bias || row.often.count.ofAround()) return false;
  bool known = row.given != kL3GivenWith && (row.lead == kL3NoLead || row.lead == kL3LeadBit || row.lead == kL3LeadExt);
  return known && row.mark != Mark::Tail && row.mark != Mark::Padding && row.mark != Mark::EndLength;
}

// Numbers need none: they are part of what holds them. Counted types would need the count as an argument, and parts
// that count by a field of the record around need the walk to find it (Type::lends).
bool hasDirect(const Type& type)
{
  bool kind = type.kind == Kind::Record || type.kind == Kind::Message || type.kind == Kind::Pdu ||
              (type.kind == Kind::Bare && !scalarOf(type));
  if (!kind || type.directByHand || type.counted || type.lends || type.has("walk") || type.restOctets) return false;
  return std::all_of(type.rows.begin(), type.rows.end(), rowFits);
}

// The coders of such a form are by hand and call what is generated for its body, l3DirectDecBody_... .
bool hasBodyDirect(const Type& type)
{
  return type.kind == Kind::Pdu && type.directByHand;
}

// `type A B`: A's value is a B, and B's coders do for it.
static bool isAlias(const Type& type)
{
  if (type.kind != Kind::Bare || type.rows.size() != 1 || !type.decodeFile.empty() || !type.encodeFile.empty())
    return false;
  const Row& row = type.rows[0];
  return row.what.kind == WhatKind::Type && !row.what.rest && row.often.end == kL3NoList && !row.range;
}

const Type& aliased(const Type& type)
{
  return isAlias(type) ? aliased(*type.rows[0].what.type) : type;
}

// A length of whole octets in front: what stands behind it ends at an octet, whatever it is.
static bool hasLength(const Type& type)
{
  if (type.rows.empty() || type.rows[0].mark != Mark::Length) return false;
  return !type.rows[0].countsBits && !type.rows[0].fromOctet && type.rows[0].number % 8 == 0;
}

// Messages, forms and elements with a length begin with an octet. A type that is reached at different places begins
// anywhere; if it has whole octets, its coders are written for an octet's start, and other places are left to the walk.
int beginsAt(const Type& type)
{
  if (type.kind == Kind::Message || type.kind == Kind::Pdu || hasLength(type) || type.beginsAt == Type::kNotReached)
    return 0;
  auto bits = fixedBits(type);
  bool octets = bits && *bits && *bits % 8 == 0;
  return type.beginsAt < 0 && octets ? 0 : type.beginsAt;
}

DirectWriter::DirectWriter(const Type& t) : type(t), used(l3gen::beginsAt(t)) {}

// By the best that is known: what `ends N` says, a length in front, where the type's coder ends, or its size in bits.
void DirectWriter::movedOver(const Type& named)
{
  const Type& t = aliased(named);
  // A coder by hand ends where the rows of its type do if these are what it mostly does.
  bool byHand = !t.plainByHand && (!t.decodeFile.empty() || !t.encodeFile.empty());
  if (t.directByHand)
    used = used == 0 ? t.endsAt : -1;
  else if (!byHand && hasDirect(t) && hasLength(t))
    used = 0;
  else if (!byHand && hasDirect(t) && !fixedBits(t) && used == 0)
    used = t.endsAt;
  else
    moved(fixedBits(t));
}

// Once two places differ the type stays at -1, so that layOutOctets comes to an end.
void DirectWriter::reached(Type& named) const
{
  Type* type = &named;
  while (isAlias(*type)) type = type->rows[0].what.type;
  if (type->beginsAt == Type::kNotReached)
    type->beginsAt = used;
  else if (type->beginsAt != used)
    type->beginsAt = -1;
}

// Where a type ends depends on where the types in it end, and where it begins on those that hold it. So every type is
// first taken to end with an octet, and all are gone through anew until nothing changes: each pass writes all coders,
// whose writers note where types are reached (reached) and where they end.
void layOutOctets(Model& model)
{
  for (bool changed = true; changed;) {
    changed = false;
    for (auto& type : model.types) {
      if (!hasDirect(*type)) continue;
      int began = beginsAt(*type), end = decodeEndsAt(*type, 0);
      if (began) decodeEndsAt(*type, began), encodeEndsAt(*type, began);
      // Both directions have to end alike, since one `endsAt` serves both.
      if (end != encodeEndsAt(*type, 0)) end = -1;
      changed = changed || end != type->endsAt || began != beginsAt(*type);
      type->endsAt = end;
    }
  }
}

// Reckoned for an entry that begins with an octet, the only place from which Type::endsAt is known.
bool keepsPlace(const What& what)
{
  if (what.kind == WhatKind::Octets || what.kind == WhatKind::Text) return true;
  if (auto scalar = scalarOf(what)) return scalar->bits % 8 == 0;
  if (what.kind != WhatKind::Type) return false;
  DirectWriter trial(*what.type);
  trial.used = 0;
  trial.movedOver(*what.type);
  return trial.used == 0;
}

// Types without direct coders, or with a coder by hand in this direction, go through the engine in the middle of the
// trial. Behind `plain by hand` the engine asks the file first whether the rows are enough (l3DirectPlain).
std::string directCall(const Type& named, const std::string& pointer, bool encoder)
{
  const Type& type = aliased(named);
  bool byHand = !(encoder ? type.encodeFile : type.decodeFile).empty();
  bool direct = type.directByHand || (hasDirect(type) && !byHand);
  const char *side = encoder ? "Enc" : "Dec", *put = encoder ? "Put" : "",
             *at = encoder ? "sink, pos" : "source, pos, end";
  const char *f = type.full.c_str(), *p = pointer.c_str();
  return direct ? format("l3Direct%s_%s(%s, %s)", side, f, at, p)
                : format("l3Direct%s%s(%s, l3_%s, %s)", put, type.plainByHand ? "Plain" : "Type", at, f, p);
}

std::vector<const Row*> plainRows(const Type& type)
{
  std::vector<const Row*> rows;
  for (auto& row : type.rows)
    if (row.mark != Mark::Group && !row.isIei() && row.given != kL3ByHand) rows.push_back(&row);
  return rows;
}

std::vector<const Row*> optionRows(const Type& type)
{
  std::vector<const Row*> rows;
  for (auto& row : type.rows)
    if (row.isIei()) rows.push_back(&row);
  return rows;
}

// A record of plain numbers alone, itself or through records of that kind. It has no presence bits to clear and nothing
// to give up for but the numbers' values, so its leaves can stand in the coder of what holds it.
static bool isFlat(const Type& type)
{
  const Type& t = aliased(type);
  if (t.kind != Kind::Record || t.hasStandard() || !hasDirect(t) || !t.decodeFile.empty() || !t.encodeFile.empty() ||
      t.mBits)
    return false;
  return std::all_of(t.rows.begin(), t.rows.end(), [](const Row& row) {
    bool plain = row.plain() && row.often.end == kL3NoList;
    bool scalar = scalarOf(row.what) && fits(*scalarOf(row.what));
    bool record = row.what.kind == WhatKind::Type && !row.what.rest && isFlat(*row.what.type);
    return plain && (scalar || record);
  });
}

// For a number one leaf, for a flat record those of its rows, else none.
std::vector<Leaf> leavesOf(const What& what, const std::optional<Range>& range, const std::string& member)
{
  if (auto scalar = scalarOf(what)) {
    if (!fits(*scalar)) return {};
    return {Leaf{member, *scalar, range ? range : scalar->range, storeOf(what)}};
  }
  std::vector<Leaf> leaves;
  if (what.kind != WhatKind::Type || what.rest || !isFlat(*what.type)) return leaves;
  for (auto& row : aliased(*what.type).rows)
    for (auto& leaf : leavesOf(row.what, row.range, member + "." + row.member)) leaves.push_back(leaf);
  return leaves;
}

std::vector<Leaf> takeLeaves(const Type& type, const std::vector<const Row*>& rows, size_t& at)
{
  std::vector<Leaf> leaves;
  for (; at < rows.size(); ++at) {
    const Row& row = *rows[at];
    if (!row.plain() || row.often.end != kL3NoList) break;
    auto more = leavesOf(row.what, row.range, memberOf(type, row));
    if (more.empty()) break;
    leaves.insert(leaves.end(), more.begin(), more.end());
  }
  return leaves;
}

unsigned bitsOf(const std::vector<Leaf>& leaves)
{
  unsigned bits = 0;
  for (auto& leaf : leaves) bits += leaf.scalar.bits;
  return bits;
}

// The record of a flag, as a path; empty if it is no flag that has an octet of its own at a place that is known.
static std::string flagRecord(const Leaf& leaf)
{
  const Scalar& scalar = leaf.scalar;
  bool flag = scalar.bits == 1 && leaf.store == 1 && !leaf.range && !scalar.range && !scalar.named;
  bool placed = !leaf.member.compare(0, 2, "r.") && leaf.member.find_first_of("[(") == std::string::npos;
  return flag && placed ? leaf.member.substr(0, leaf.member.rfind('.')) : "";
}

size_t flagsAt(const std::vector<Leaf>& leaves, size_t at)
{
  std::string record = flagRecord(leaves[at]);
  size_t end = at;
  while (!record.empty() && end < leaves.size() && end - at < 8 && flagRecord(leaves[end]) == record) ++end;
  return end - at < 4 ? 0 : end - at;
}

std::string flagsOf(const Type& type, const std::vector<Leaf>& leaves, size_t at, size_t count)
{
  const char* f = type.full.c_str();
  return format("%zu, offsetof(%s, %s) - offsetof(%s, %s)", count, f, leaves[at + count - 1].member.c_str() + 2, f,
                leaves[at].member.c_str() + 2);
}

std::vector<Leaf> extended(const Type& type, const Row& row, const std::string& bit)
{
  if (row.lead != kL3LeadExt || ownBits(row) || row.often.end != kL3NoList) return {};
  auto leaves = leavesOf(row.what, row.range, memberOf(type, row));
  if (!leaves.empty()) leaves.insert(leaves.begin(), Leaf{bit, {WhatKind::Flag, 1, nullptr, {}}, {}, 1});
  return leaves;
}

// Ends where a field would begin with a new octet: that octet may be missing while this one is there.
size_t sharedOctet(const DirectWriter& w, const std::vector<const Row*>& rows, size_t at, std::vector<Leaf>& leaves)
{
  size_t end = at;
  for (; w.used >= 0 && end < rows.size(); ++end) {
    const Row& row = *rows[end];
    bool fixed = row.room && row.given == kL3GivenAlways && row.lead == kL3NoLead && row.often.end == kL3NoList;
    bool shares = end == at || (static_cast<unsigned>(w.used) + bitsOf(leaves)) % 8;
    int mark = rows[at]->mBit + static_cast<int>(end - at); // presence bits side by side are tested at once
    shares = shares && row.groupBit < 0 && row.mBit == mark && end - at < 16;
    auto more = fixed && shares ? leavesOf(row.what, row.range, memberOf(w.type, row)) : std::vector<Leaf>{};
    if (more.empty()) break;
    leaves.insert(leaves.end(), more.begin(), more.end());
  }
  return end - at < 2 ? at : end;
}

// A leaf has at most 56 bits (fits), so each fits into a piece.
std::vector<std::vector<Leaf>> pieces(const std::vector<Leaf>& leaves)
{
  std::vector<std::vector<Leaf>> out;
  for (auto& leaf : leaves) {
    if (out.empty() || bitsOf(out.back()) + leaf.scalar.bits > 56) out.emplace_back();
    out.back().push_back(leaf);
  }
  return out;
}

// A type that is one thing is `r` itself; a nameless choice has t and u in `r`.
std::string memberOf(const Type& type, const Row& row)
{
  bool bare = type.kind == Kind::Bare || type.has("bare");
  return bare ? "r" : row.member.empty() ? "r" : "r." + row.member;
}

// As a number of 32 bits: fields that select, count or are tested have no more (checkNumber in check.cpp).
std::string fieldOf(const Type& type, const std::string& name)
{
  std::string path = "r";
  findField(type, name, &path);
  return "static_cast<uint32_t>(" + path + ")";
}

// A term of a condition: true if the field has one of the values. `a=1,4..6` gives
//
//   (!(static_cast<uint32_t>(r.a) != 1U) || !(static_cast<uint32_t>(r.a) - 4U > 2U))
static std::string termOf(const Type& type, const Term& term)
{
  std::string any, field = fieldOf(type, term.field);
  for (auto& value : term.values)
    any += (any.empty() ? "" : " || ") + std::string(term.negate ? "" : "!") + "(" + outside(value, field) + ")";
  return "(" + any + ")";
}

// All terms have to hold; a row without a condition is always there.
std::string conditionOf(const Type& type, const Row& row)
{
  std::string all;
  for (auto& term : row.cond) all += (all.empty() ? "" : " && ") + termOf(type, term);
  return all.empty() ? "true" : all;
}

// Several fields are joined bit by bit in their order: (a << 3 | b) for a field b of 3 bits on the wire.
std::string selectorOf(const Type& type, const What& what)
{
  std::string out;
  for (auto& field : what.fields) {
    const Row* row = findField(type, field);
    unsigned bits = row->mark == Mark::Length ? row->number : scalarOf(row->what)->bits;
    out = out.empty() ? fieldOf(type, field) : format("(%s << %u | ", out.c_str(), bits) + fieldOf(type, field) + ")";
  }
  return out;
}

// One comparison of unsigned numbers: below lo, the difference wraps around and is above hi - lo as well.
std::string outside(const Range& range, const std::string& value)
{
  const char* v = value.c_str();
  if (range.lo == range.hi) return format("%s != %uU", v, range.lo);
  if (!range.lo) return format("%s > %uU", v, range.hi);
  return format("%s - %uU > %uU", v, range.lo, range.hi - range.lo);
}

// Values of `names` are all legal, and so are those of an enumeration that is open in this direction.
std::string outside(const Scalar& scalar, const std::optional<Range>& range, const std::string& value, bool encoder)
{
  std::string out;
  if (range) out = outside(*range, value);
  bool open =
      !scalar.named || scalar.named->kind == Kind::Names || scalar.named->has(encoder ? "open-encode" : "open-decode");
  if (open) return out;
  if (!out.empty()) out += " || ";
  return out + "!l3IsMember(l3enum_" + scalar.named->full + ", " + value + ")";
}

// The values of an alternative, `case 1U:` or `case 4U ... 6U:`, or `default:`.
std::string casesOf(const Row& alternative)
{
  if (alternative.other) return "default:\n";
  std::string out;
  for (auto& v : alternative.values)
    out += v.lo == v.hi ? format("case %uU:\n", v.lo) : format("case %uU ... %uU:\n", v.lo, v.hi);
  return out;
}

// Something with members, which is cleared before it is decoded. A type of text by hand with `rest` is none.
bool isRecord(const What& what)
{
  return what.kind == WhatKind::Type && !what.rest && !scalarOf(what);
}

bool ownBits(const Row& row)
{
  const What& what = row.what;
  bool list = what.type && !what.type->rows.empty() && what.type->rows.back().often.end == kL3WhileExt;
  return row.given == kL3GivenMore && (list || row.often.end == kL3WhileExt);
}

// `case` and `default` stand one step further out than what is in them.
std::string indented(const std::string& lines)
{
  std::string out;
  size_t depth = 0;
  for (size_t at = 0; at < lines.size();) {
    size_t end = lines.find('\n', at);
    std::string line = lines.substr(at, end - at);
    at = end + 1;
    if (line.starts_with("}") && depth) --depth;
    bool label = line.starts_with("case ") || line.starts_with("default:");
    if (!line.empty()) out += std::string(2 * depth - (label && depth ? 2 : 0), ' ') + line;
    out += "\n";
    if (line.ends_with("{")) ++depth;
  }
  return out;
}

// All direct coders of a module, in one direction. Those of bodies come last.
std::string writeDirect(Model& model, const Module& module, bool encoder)
{
  std::string out;
  for (auto& type : model.types)
    if (type->module == &module && hasDirect(*type) && type->coders[encoder] == type.get())
      out += encoder ? encodeDirect(*type) : decodeDirect(*type);
  for (auto& type : model.types)
    if (type->module == &module && hasBodyDirect(*type))
      out += encoder ? encodeBodyDirect(*type) : decodeBodyDirect(*type);
  return out;
}

} // namespace l3gen
