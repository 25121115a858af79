// What the writers of the direct coders share: which types can have one, how a member is named in C++, and the plain
// fixed-width fields that one load or store serves.
#pragma once

#include "model.h"

namespace l3gen {

// One plain field of a run, as the C++ expression that names its member.
struct Leaf {
  std::string member;
  Scalar scalar;
  std::optional<Range> range;
  unsigned store = 0;
};

// The text of one direct coder. Where the cursor stands within its octet is followed as far as it can be told, so that
// most fields are read and written without shifts that vary.
struct DirectWriter {
  const Type& type;
  std::string out;
  unsigned names = 0;
  int used;                     // bits used of the cursor's octet, or -1
  const Row* release = nullptr; // the group that is being written, and where it began in its octet
  int beforeRelease = -1;
  explicit DirectWriter(const Type& t);
  void line(const std::string& text) { out += text + "\n"; }
  void giveUpIf(const std::string& test)
  {
    if (!test.empty()) line("if (" + test + ") return kL3GaveUp;");
  }
  std::string fresh(const char* stem) { return stem + std::to_string(names++); }
  // Names the row that the lines to come are for.
  void from(const Row& row)
  {
    const std::string& file = row.place.file;
    line(format("// %s:%d", file.substr(file.rfind('/') + 1).c_str(), row.place.line));
  }
  // Calls what returns the new cursor.
  void go(const std::string& call) { giveUpIf("(pos = " + call + ") == kL3GaveUp"); }
  void moved(std::optional<uint32_t> bits)
  {
    used = used < 0 || !bits ? -1 : static_cast<int>((static_cast<unsigned>(used) + *bits) % 8);
  }
  // Behind something that may have been passed over, from where `before` tells.
  void maybeFrom(int before) { used = used == before ? before : -1; }
  // Behind a value of the type.
  void movedOver(const Type& type);
  // Before one.
  void reached(Type& type) const;
};

// Where in its octet a value ends, in bits used, if it began with so many; -1: not told.
int decodeEndsAt(const Type& type, int began);
int encodeEndsAt(const Type& type, int began);
// Where in an octet the type is read and written, in bits used: elsewhere the walk does it. -1: anywhere.
int beginsAt(const Type& type);
// Does an entry of a list end where in its octet it began?
bool keepsPlace(const What& what);
// Can the type's rows be decoded and encoded in straight lines? Others are left to the walk.
bool hasDirect(const Type& type);
// Are a form's direct coders by hand? They call the generated ones of its body, l3DirectDecBody_ and l3DirectEncBody_.
bool hasBodyDirect(const Type& type);
// Codes the type's value at `pointer`: the cursor behind it, or kL3GaveUp.
std::string directCall(const Type& type, const std::string& pointer, bool encoder);
// The type that an alias ends at: the same layout, the same octets.
const Type& aliased(const Type& type);
// The rows behind the presence and group marks, without optional elements; and those elements.
std::vector<const Row*> plainRows(const Type& type);
std::vector<const Row*> optionRows(const Type& type);
// The leaves of rows from `at` on that are coded without any condition, records of nothing else flattened; moves `at`.
std::vector<Leaf> takeLeaves(const Type& type, const std::vector<const Row*>& rows, size_t& at);
std::vector<Leaf> leavesOf(const What& what, const std::optional<Range>& range, const std::string& member);
// The leaves in pieces of at most 56 bits.
std::vector<std::vector<Leaf>> pieces(const std::vector<Leaf>& leaves);
unsigned bitsOf(const std::vector<Leaf>& leaves);
// Where fixed fields end, from `at` on, that are there while there is room and of which each begins in the octet that
// the one before ends in: two or more, or `at`.
size_t sharedOctet(const DirectWriter& w, const std::vector<const Row*>& rows, size_t at, std::vector<Leaf>& leaves);
// C++ expressions on the record `r`.
std::string memberOf(const Type& type, const Row& row);
std::string fieldOf(const Type& type, const std::string& name);
std::string conditionOf(const Type& type, const Row& row);
std::string selectorOf(const Type& type, const What& what);
// A test that is true for a value (an expression) outside a set or a range; empty where nothing can be outside.
std::string outside(const Scalar& scalar, const std::optional<Range>& range, const std::string& value, bool encoder);
std::string outside(const Range& range, const std::string& value);
std::string casesOf(const Row& alternative);
bool isRecord(const What& what);
// A list that reads and writes its own extension bits.
bool ownBits(const Row& row);
// Lines without indentation, indented by their braces.
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
