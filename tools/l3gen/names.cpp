// C names, the sizes of members, and the formatting of all that is written.
#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <filesystem>
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

std::string fileStem(const Type& type)
{
  return std::filesystem::path(type.place.file).stem().string();
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

} // namespace l3gen
