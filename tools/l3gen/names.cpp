// C names and declarations of record members, and the formatting of all that is written.
#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <set>

#include "model.h"

namespace l3gen {

void refuse(const Place& place, const std::string& words)
{
  throw Refusal{place, words};
}

std::string format(const char* text, ...)
{
  va_list args, again;
  va_start(args, text);
  va_copy(again, args);
  std::string out(static_cast<size_t>(vsnprintf(nullptr, 0, text, args)), 0);
  vsnprintf(out.data(), out.size() + 1, text, again);
  va_end(args);
  va_end(again);
  return out;
}

static const std::set<std::string> kKeywords = {
    "auto",    "bool",      "break",  "case",     "catch",    "char",      "class",    "const",    "continue",
    "default", "delete",    "do",     "double",   "else",     "enum",      "explicit", "export",   "extern",
    "false",   "float",     "for",    "friend",   "goto",     "if",        "inline",   "int",      "long",
    "mutable", "namespace", "new",    "operator", "private",  "protected", "public",   "register", "restrict",
    "return",  "short",     "signed", "sizeof",   "static",   "struct",    "switch",   "template", "this",
    "throw",   "true",      "try",    "typedef",  "typename", "union",     "unsigned", "using",    "virtual",
    "void",    "volatile",  "while",  "and",      "or",       "not",       "xor",      "requires", "concept",
    "signed",  "static"};

std::string cName(const std::string& name)
{
  std::string out;
  for (char c : name) out += isalnum(static_cast<unsigned char>(c)) ? c : '_';
  if (!out.empty() && isdigit(static_cast<unsigned char>(out[0]))) out = "x" + out;
  if (kKeywords.count(out)) out += "_";
  return out;
}

// Names are letters, digits, hyphens and underscores.
bool isWord(const std::string& name)
{
  return !name.empty() && std::all_of(name.begin(), name.end(),
                                      [](unsigned char c) { return (c < 128 && isalnum(c)) || c == '-' || c == '_'; });
}

unsigned storeForBits(unsigned bits)
{
  return bits <= 8 ? 1 : bits <= 16 ? 2 : bits <= 32 ? 4 : 8;
}

unsigned storeOf(const What& what)
{
  auto scalar = scalarOf(what);
  if (!scalar) return 0;
  if (scalar->named && scalar->named->kind == Kind::Enum) return 4;
  return storeForBits(scalar->bits);
}

static std::string pad(int indent)
{
  return std::string(static_cast<size_t>(indent), ' ');
}

static std::string declareUnion(const What& what, int indent)
{
  std::string out = pad(indent) + "union {\n";
  bool any = false;
  for (auto& alternative : what.alternatives) {
    std::string line = declareRow(alternative, indent + 2);
    any = any || !line.empty();
    out += line;
  }
  if (!any) out += pad(indent + 2) + "uint8_t none;\n";
  return out + pad(indent) + "}";
}

static std::string declareBody(const What& what, const std::string& name, int indent)
{
  std::string out = pad(indent) + "struct {\n" + pad(indent + 2) + "uint32_t t; /**< Number of the message below. */\n";
  out += pad(indent + 2) + "union {\n" + pad(indent + 4) + "void* any;\n";
  for (auto& row : what.alternatives)
    if (row.what.type)
      out += pad(indent + 4) + row.what.type->full + (row.inlined ? " obj_" : "* obj_") + row.member +
             format("; /**< t %u, message type 0x%02X%s. */\n", row.tag, row.msgType, row.inlined ? ", here" : "");
  return out + pad(indent + 2) + "} u; /**< The message, on the context's heap. */\n" + pad(indent) + "} " + name;
}

static std::string declareChoice(const What& what, const std::string& name, int indent)
{
  if (what.untagged) return declareUnion(what, indent) + " " + name;
  std::string tag = "uint32_t t; /**< Number of the alternative, from 1 in the order of the union. */\n";
  if (name.empty()) return pad(indent) + tag + declareUnion(what, indent) + " u";
  return pad(indent) + "struct {\n" + pad(indent + 2) + tag + declareUnion(what, indent + 2) + " u;\n" + pad(indent) +
         "} " + name;
}

// A declaration without its semicolon; `name` may carry array bounds or a pointer in parentheses.
std::string declare(const What& what, const std::string& name, int indent)
{
  std::string p = pad(indent);
  switch (what.kind) {
    case WhatKind::Bits:
      return p + format("uint%u_t ", storeForBits(what.bits) * 8) + name;
    case WhatKind::Flag:
    case WhatKind::Unary:
      return p + "uint8_t " + name;
    case WhatKind::Octets:
      if (what.from == From::Fixed) return p + "uint8_t " + name + format("[%u]", what.octets);
      if (what.max)
        return p + "struct {\n" + p + "  uint8_t numocts;\n" + p + format("  uint8_t data[%u];\n", what.max) + p +
               "} " + name;
      return p + "struct {\n" + p + "  uint32_t numocts;\n" + p + "  uint8_t* data;\n" + p + "} " + name;
    case WhatKind::BitString:
      if (what.max)
        return p + "struct {\n" + p + "  uint8_t numbits;\n" + p + format("  uint8_t data[%u];\n", (what.max + 7) / 8) +
               p + "} " + name;
      return p + "struct {\n" + p + "  uint32_t numbits;\n" + p + "  uint8_t* data;\n" + p + "} " + name;
    case WhatKind::Text:
      return p + "char* " + name;
    case WhatKind::Chars:
      return p + "char " + name + format("[%u]", what.octets);
    case WhatKind::Type:
      return p + what.type->full + " " + name;
    case WhatKind::Choice:
      return declareChoice(what, name, indent);
    case WhatKind::Body:
      return declareBody(what, name, indent);
    default:
      return "";
  }
}

static std::string declareList(const Row& row, int indent)
{
  std::string p = pad(indent), out = p + "struct {\n";
  if (row.often.bounded()) {
    out += p + "  uint8_t n; /**< Entries in use. */\n";
    out += declare(row.what, format("elem[%u]", row.often.range->hi), indent + 2) + ";\n";
  } else {
    out += p + "  uint64_t n; /**< Entries. */\n";
    bool array = row.what.kind == WhatKind::Octets && row.what.from == From::Fixed;
    out += declare(row.what, array ? "(*elem)" : "*elem", indent + 2) + "; /**< On the context's heap. */\n";
  }
  return out + p + "} " + row.member;
}

static std::string widthWords(const What& what)
{
  auto scalar = scalarOf(what);
  if (scalar && scalar->kind == WhatKind::Unary) return "a run of equal bits, counted";
  if (scalar && scalar->padded) return "1 bit relative to the padding";
  if (scalar) return format("%u bit%s", scalar->bits, scalar->bits == 1 ? "" : "s");
  switch (what.kind) {
    case WhatKind::Octets:
      if (what.from == From::Fixed) return format("%u octets", what.octets);
      return what.max ? format("at most %u octets", what.max) : "octets on the context's heap";
    case WhatKind::BitString:
      return "bits";
    case WhatKind::Text:
      return "text on the context's heap";
    case WhatKind::Chars:
      return format("at most %u characters", what.octets - 1);
    case WhatKind::Choice:
      return "one alternative";
    case WhatKind::Body:
      return "the message";
    default:
      return "";
  }
}

static std::string whenWords(const Row& row)
{
  switch (row.when) {
    case When::Room:
    case When::RoomExt:
      return "present while the element has room";
    case When::OptBit:
    case When::RoomOptBit:
      return "present if its leading bit is 1";
    case When::OptLH:
    case When::RoomOptLH:
      return "present if its leading bit is H";
    case When::If:
    case When::WhenCond:
      return "depends on " + row.cond[0].field;
    case When::More:
      return "present if the octet before is extended";
    case When::Iei:
      return format(row.half ? "IEI 0x%X-" : "IEI 0x%02X", row.number);
    case When::ByHand:
      return "optional";
    case When::Length:
      return row.countsBits ? "counts bits" : "counts octets";
    default:
      return "";
  }
}

static std::string comment(const Row& row)
{
  std::string words = row.when == When::Length ? format("%u bits", row.number) : widthWords(row.what);
  auto add = [&](const std::string& more) {
    if (!more.empty()) words += (words.empty() ? "" : "; ") + more;
  };
  if (row.often.range) add(format("%u to %u entries", row.often.range->lo, row.often.range->hi));
  if (row.range) add(format("%u to %u", row.range->lo, row.range->hi));
  add(whenWords(row));
  if (words.empty()) return ";\n";
  words[0] = static_cast<char>(toupper(words[0]));
  return "; /**< " + words + ". */\n";
}

std::string declareRow(const Row& row, int indent)
{
  if (row.when >= When::Tail) return ""; // no element
  if (row.when == When::Length)
    return row.member.empty()
               ? ""
               : pad(indent) + format("uint%u_t ", storeForBits(row.number) * 8) + row.member + comment(row);
  if (row.what.kind == WhatKind::Nothing && row.often.end == End::None) return "";
  if (row.often.end != End::None) return declareList(row, indent) + comment(row);
  return declare(row.what, row.member, indent) + comment(row);
}

} // namespace l3gen
