// Direct coders that differ in names alone. Many elements are one octet with a few fields or a length with octets
// behind it, and their records have the same members under other names, so one coder serves them all: of 813 types with
// direct coders 159 have those of another one. It is found by writing all coders with numbers in place of members;
// layOutOctets has to be through. Called by main.cpp; what it finds is Type::coders, by which direct.cpp leaves coders
// out and write.cpp declares their names as others:
//
//   element A [1]                      element B [2]
//     M spare  bits 4                    M unused  bits 4
//     M kind   bits 4                    M value   bits 4
//
//   size_t l3DirectDec_A(const L3Source& in, size_t pos, size_t end, void* record);
//   inline constexpr auto& l3DirectDec_B = l3DirectDec_A;
#include <cctype>

#include "direct.h"

namespace l3gen {

namespace {

// What decides where the members of a record lie, and their names in order. Two types with the same text have the same
// layout; the same number stands for the members that correspond.
struct Shape {
  std::string text;
  std::map<std::string, std::string> numbers;
  std::vector<const Type*> open; // the types that are being gone through: a list may hold its own record
  bool unique = false;           // has bodies, whose coders nothing else has

  void member(const std::string& name);
  void content(const What& what);
  void row(const Row& row);
  void record(const Type& named);
};

} // namespace

void Shape::member(const std::string& name)
{
  if (!name.empty()) text += numbers.emplace(name, format("#%zu", numbers.size())).first->second + " ";
}

void Shape::content(const What& what)
{
  bool fixed = what.from == kL3Fixed;
  switch (what.kind) {
    case WhatKind::Bits:
      text += format("u%u ", storeForBits(what.bits));
      break;
    case WhatKind::Octets:
    case WhatKind::BitString:
    case WhatKind::Chars:
      text += format("%s%d[%u, %u] ", fixed ? "fixed" : "counted", static_cast<int>(what.kind), what.octets, what.max);
      break;
    case WhatKind::Type:
      record(*what.type);
      break;
    case WhatKind::Choice:
      text += what.untagged ? "union(" : "tagged(";
      for (auto& alternative : what.alternatives) row(alternative);
      text += ") ";
      break;
    case WhatKind::Body:
      unique = true;
      break;
    default:
      text += format("kind%d ", static_cast<int>(what.kind));
  }
}

void Shape::row(const Row& row)
{
  member(row.member);
  if (row.mark == Mark::Length && !row.member.empty()) text += format("u%u ", storeForBits(row.number));
  if (!row.isElement()) return;
  if (row.often.end != kL3NoList) text += row.often.bounded() ? format("%u of ", row.often.range->hi) : "heap of ";
  content(row.what);
}

void Shape::record(const Type& named)
{
  const Type& type = aliased(named);
  if (type.kind == Kind::Enum || type.kind == Kind::Names) {
    text += type.kind == Kind::Enum ? "enum " : format("u%u ", storeForBits(type.bits));
    return;
  }
  if (std::find(open.begin(), open.end(), &type) != open.end()) {
    text += type.full + " ";
    return;
  }
  open.push_back(&type);
  text += format("{%d ", type.mBits);
  for (auto& name : type.mNames) member(name);
  for (auto& inner : type.rows) row(inner);
  text += "} ";
  open.pop_back();
}

namespace {

using Coders = std::map<std::string, std::string>; // the coder that stands for one: names of both

// A coder's text with what is its own taken out: its name, its record's, those of members, and where its rows stand.
struct Neutral {
  const Type& type;
  const Shape& shape;
  const Coders& coders;
  std::string out;

  std::string word(const std::string& name) const
  {
    if (name == type.full) return "SELF";
    if (auto other = coders.find(name); other != coders.end()) return other->second;
    bool member = out.ends_with(".") || out.ends_with("->") || out.ends_with("offsetof(SELF, ");
    auto number = shape.numbers.find(name);
    return member && number != shape.numbers.end() ? number->second : name;
  }

  void line(const std::string& text)
  {
    auto isWord = [](char c) { return isalnum(static_cast<unsigned char>(c)) || c == '_'; };
    for (size_t at = 0, end; at < text.size(); at = end) {
      for (end = at + 1; isWord(text[at]) && end < text.size() && isWord(text[end]);) ++end;
      out += word(text.substr(at, end - at));
    }
    out += "\n";
  }
};

} // namespace

static std::string neutral(const Type& type, const Shape& shape, const Coders& coders, const std::string& text)
{
  Neutral result{type, shape, coders, {}};
  // From behind the coder's own name on.
  for (size_t at = text.find('{'), end; at < text.size(); at = end + 1) {
    end = std::min(text.find('\n', at), text.size());
    std::string line = text.substr(at, end - at);
    if (line.find("// ") == std::string::npos) result.line(line);
  }
  return result.out;
}

void findAlike(Model& model)
{
  for (bool encoder : {false, true}) {
    std::map<std::string, const Type*> known;
    Coders coders;
    for (auto& type : model.types) {
      type->coders[encoder] = type.get();
      Shape shape;
      if (hasDirect(*type)) shape.record(*type);
      if (!hasDirect(*type) || shape.unique) continue;
      std::string text = encoder ? encodeDirect(*type) : decodeDirect(*type);
      const Type* first = known.emplace(shape.text + neutral(*type, shape, coders, text), type.get()).first->second;
      const char* stem = encoder ? "l3DirectEnc_" : "l3DirectDec_";
      type->coders[encoder] = first;
      coders[stem + type->full] = stem + first->full;
    }
  }
}

} // namespace l3gen
