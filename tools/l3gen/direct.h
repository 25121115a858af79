// What the writers of the direct coders share. A direct coder is straight C++ that codes good octets only and gives up
// on anything else; the walk over the rows then does the work again (docs/adr/0004-direct-coders.md). Its building
// blocks, l3Take, l3Put and the rest, are in rt3gppsrc/engine/l3Direct.h.
//
// direct.cpp asks which types can have one and how members are named; directDecode.cpp and directEncode.cpp write the
// two directions. Both go over the rows of a type by the templates at the end of this file, which call functions of one
// name in either file (leafRun, octets, choice, length, ...): the order of rows is decided once for both directions.
//
// The rows of an identity request, `M spare bits 4` and `M identity IdentityType`, a record of 1 and 3 bits, become
//
//   // TS24501MsgsMobility.l3:314
//   if (!l3TakeAt<8, 0>(in, pos, end, w)) return kL3GaveUp;
//   l3Set(r.spare, (w >> 4 & 15U));
//   l3Set(r.identity.spare, (w >> 3 & 1U));
//   if (!l3IsMember(l3enum_TS24501IE_TypeOfIdentity, (w & 7U))) return kL3GaveUp;
//   l3Set(r.identity.typeOfIdent, (w & 7U));
//
// The names in generated code: `r` the record, `pos` and `end` the cursor and the end of the innermost region in bits
// from the start of the buffer, `w` the word that was loaded or is to be stored, `ext` the last extension bit.
#pragma once

#include "model.h"

namespace l3gen {

// One plain number of fixed width. Leaves that follow each other are loaded or stored together, whatever records they
// stand in.
struct Leaf {
  // The C++ expression that names it: "r.identity.spare".
  std::string member;
  Scalar scalar;
  std::optional<Range> range;
  // The octets of the member.
  unsigned store = 0;
};

// The text of one direct coder, and what is known at the present place in it. The most valuable of that is where the
// cursor stands within its octet: a field at a known place is read by l3TakeAt<4, 4>, with shifts by constants; at an
// unknown one by l3Take<4>, which works the shifts out whenever it runs.
struct DirectWriter {
  const Type& type;
  std::string out;
  // How many names fresh() has given out.
  unsigned names = 0;
  // How many bits of the cursor's octet are used, 0 to 7; -1: it differs from message to message.
  int used;
  // The release group that is being written, and `used` where it began.
  const Row* release = nullptr;
  int beforeRelease = -1;
  explicit DirectWriter(const Type& t);
  void line(const std::string& text) { out += text + "\n"; }
  // Writes `if (test) return kL3GaveUp;`. An empty test is always false, so nothing is written.
  void giveUpIf(const std::string& test)
  {
    if (!test.empty()) line("if (" + test + ") return kL3GaveUp;");
  }
  // A name that no other variable of the coder has: n0, choice1.
  std::string fresh(const char* stem) { return stem + std::to_string(names++); }
  // A comment that names the row which the lines to come are for: "// TS24501IES.l3:585".
  void from(const Row& row)
  {
    const std::string& file = row.place.file;
    line(format("// %s:%d", file.substr(file.rfind('/') + 1).c_str(), row.place.line));
  }
  // Calls what returns the new cursor.
  void go(const std::string& call) { giveUpIf("(pos = " + call + ") == kL3GaveUp"); }
  // The cursor has moved by so many bits, or by nobody knows how many.
  void moved(std::optional<uint32_t> bits)
  {
    used = used < 0 || !bits ? -1 : static_cast<int>((static_cast<unsigned>(used) + *bits) % 8);
  }
  // What has just been written may be passed over when it runs: `used` stays known only if it is the same both ways.
  void maybeFrom(int before) { used = used == before ? before : -1; }
  // The cursor has passed a value of the type.
  void movedOver(const Type& type);
  // A value of the type begins here. The type notes it (Type::beginsAt), so that its own coder knows where it begins.
  void reached(Type& type) const;
};

// Where a value ends in its octet, in bits used, if it began with so many; -1: not told. The coder is written for that
// and thrown away, since nothing else knows where it ends.
int decodeEndsAt(const Type& type, int began);
int encodeEndsAt(const Type& type, int began);
// How many bits of its octet are used where the type's direct coders begin; they give up anywhere else. -1: they begin
// anywhere.
int beginsAt(const Type& type);
// Does an entry of a list end where in its octet it began? Then every entry begins at the same place.
bool keepsPlace(const What& what);
// Can the type's rows be decoded and encoded in straight lines? Others are left to the walk.
bool hasDirect(const Type& type);
// Are a form's direct coders by hand? They call the generated ones of its body, l3DirectDecBody_ and l3DirectEncBody_.
bool hasBodyDirect(const Type& type);
// Codes the type's value at `pointer`: the cursor behind it, or kL3GaveUp.
std::string directCall(const Type& type, const std::string& pointer, bool encoder);
// The type that an alias ends at: the same layout, the same octets.
const Type& aliased(const Type& type);
// The rows that a coder goes through one by one, and the optional elements with IEIs behind them. Marks that code
// nothing and elements that only coders by hand know are in neither.
std::vector<const Row*> plainRows(const Type& type);
std::vector<const Row*> optionRows(const Type& type);
// The leaves of the rows from `at` on, up to the first row that is on any condition or is no number; records of nothing
// but numbers are taken with what is in them. Moves `at` behind them.
std::vector<Leaf> takeLeaves(const Type& type, const std::vector<const Row*>& rows, size_t& at);
std::vector<Leaf> leavesOf(const What& what, const std::optional<Range>& range, const std::string& member);
// The leaves in pieces that one load or store serves: 56 bits, which is what 8 octets have from any bit on.
std::vector<std::vector<Leaf>> pieces(const std::vector<Leaf>& leaves);
unsigned bitsOf(const std::vector<Leaf>& leaves);
// How many of the leaves from `at` on are flags that are read and written at once: four to eight, or 0. Fewer cost no
// more one by one. They stand side by side in the record, as in the octets.
size_t flagsAt(const std::vector<Leaf>& leaves, size_t at);
// Their count, and the distance of the last from the first: the arguments of l3Flags and l3SetFlags.
std::string flagsOf(const Type& type, const std::vector<Leaf>& leaves, size_t at, size_t count);
// An element behind its extension bit, as one run: empty if it is none. `bit` is what stands for that bit.
std::vector<Leaf> extended(const Type& type, const Row& row, const std::string& bit);
// Rows that are there while there is room and share an octet, `room a bits 4` and `room b bits 4`: in a region of whole
// octets they are there together or not at all. Gives the row behind them and their leaves, or `at` if there are not
// two.
size_t sharedOctet(const DirectWriter& w, const std::vector<const Row*>& rows, size_t at, std::vector<Leaf>& leaves);
// C++ expressions on the record `r`.
std::string memberOf(const Type& type, const Row& row);
std::string fieldOf(const Type& type, const std::string& name);
std::string conditionOf(const Type& type, const Row& row);
std::string selectorOf(const Type& type, const What& what);
// A test that is true for a value (an expression) that its enumeration or range does not have; empty if there is none.
std::string outside(const Scalar& scalar, const std::optional<Range>& range, const std::string& value, bool encoder);
std::string outside(const Range& range, const std::string& value);
std::string casesOf(const Row& alternative);
bool isRecord(const What& what);
// Does the element read and write its own extension bits? A list `while-ext` behind `more` does.
bool ownBits(const Row& row);
// Coders are written without indentation; this puts it in by the braces.
std::string indented(const std::string& lines);
std::string writeDirect(Model& model, const Module& module, bool encoder);
std::string decodeDirect(const Type& type);
std::string encodeDirect(const Type& type);
std::string decodeBodyDirect(const Type& type);
std::string encodeBodyDirect(const Type& type);

// The writers' common walks. What they call is found beside the writer: leafRun, octets, bitString, text, choice, body,
// list for elements; roomRun, length, closeLengths, conditional, enterRelease, leaveRelease for rows.
template <class Writer>
void element(Writer& w, const What& what, const Often& often, const std::optional<Range>& range,
             const std::string& member)
{
  if (often.end != kL3NoList) return list(w, what, often, range, member);
  auto leaves = leavesOf(what, range, member);
  if (!leaves.empty()) return leafRun(w, leaves);
  switch (what.kind) {
    case WhatKind::Octets:
      return octets(w, what, range, member);
    case WhatKind::BitString:
      return bitString(w, member);
    case WhatKind::Text:
      return text(w, what, range, member);
    case WhatKind::Type:
      w.reached(*what.type);
      w.go(directCall(*what.type, "&" + member, Writer::kEncoder));
      return w.movedOver(*what.type);
    case WhatKind::Choice:
      return choice(w, what, member);
    case WhatKind::Body:
      return body(w, what, member);
    default:
      return;
  }
}

// The cases of a choice by the values of its selector, or by its tag. Each begins where the choice begins in its octet;
// where it ends is known if all end alike.
template <class Writer, class Content> void cases(Writer& w, const What& what, bool byValue, Content content)
{
  unsigned tag = 0;
  bool other = false;
  int before = w.used, after = -2;
  for (auto& alternative : what.alternatives) {
    w.used = before;
    other = other || (byValue && alternative.other);
    content(alternative, ++tag);
    after = after == -2 || after == w.used ? w.used : -1;
    w.out += "break;\n}\n";
  }
  if (!other) w.out += "default:\nreturn kL3GaveUp;\n";
  w.line("}");
  w.used = after;
}

// From a release group to the next one, or behind the last.
template <class Writer> void changeRelease(Writer& w, const Row* next)
{
  if (w.release) {
    leaveRelease(w);
    w.line("}");
    w.maybeFrom(w.beforeRelease);
  }
  w.release = next;
  w.beforeRelease = w.used;
  if (next) enterRelease(w, "r.m." + w.type.mNames[static_cast<size_t>(next->mBit)], *next);
}

// All rows of a type but its optional elements. Plain numbers that follow each other go together (leafRun), then fields
// that share an octet while there is room (roomRun), and everything else row by row.
template <class Writer> void rows(Writer& w)
{
  auto all = plainRows(w.type);
  for (size_t at = 0; at < all.size();) {
    w.from(*all[at]);
    auto leaves = takeLeaves(w.type, all, at);
    if (!leaves.empty()) {
      leafRun(w, leaves);
      continue;
    }
    if (roomRun(w, all, at)) continue;
    const Row& row = *all[at++];
    if (row.mark == Mark::Release || row.mark == Mark::EndRelease)
      changeRelease(w, row.mark == Mark::Release ? &row : nullptr);
    else if (row.mark == Mark::Length)
      length(w, row);
    else
      conditional(w, row);
  }
  changeRelease(w, nullptr);
  closeLengths(w);
}

// Where in its octet a value ends if it began with so many bits used. A message also calls options.
template <class Writer> int endOf(const Type& type, int began)
{
  Writer w(type);
  w.used = began;
  rows(w);
  if (type.kind == Kind::Message) options(w);
  return w.used;
}

} // namespace l3gen
