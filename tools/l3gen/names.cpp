// C names, the sizes of members, and two helpers that every file of the generator uses: refuse and format. Nothing here
// has a state.
#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <filesystem>
#include <set>

#include "model.h"

namespace l3gen {

// Throws. Who catches it is said at Refusal (model.h).
void refuse(const Place& place, const std::string& words)
{
  throw Refusal{place, words};
}

// Measures first, because lines of tables and comments have any length.
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

// The words that C++20 and C99 reserve: callers compile the public headers as either.
static const std::set<std::string> kKeywords = {
    "alignas",     "alignof",   "and",        "and_eq",    "asm",       "auto",         "bitand",
    "bitor",       "bool",      "break",      "case",      "catch",     "char",         "char8_t",
    "char16_t",    "char32_t",  "class",      "compl",     "concept",   "const",        "consteval",
    "constexpr",   "constinit", "const_cast", "continue",  "co_await",  "co_return",    "co_yield",
    "decltype",    "default",   "delete",     "do",        "double",    "dynamic_cast", "else",
    "enum",        "explicit",  "export",     "extern",    "false",     "float",        "for",
    "friend",      "goto",      "if",         "inline",    "int",       "long",         "mutable",
    "namespace",   "new",       "noexcept",   "not",       "not_eq",    "nullptr",      "operator",
    "or",          "or_eq",     "private",    "protected", "public",    "register",     "reinterpret_cast",
    "requires",    "return",    "short",      "signed",    "sizeof",    "static",       "static_assert",
    "static_cast", "struct",    "switch",     "template",  "this",      "thread_local", "throw",
    "true",        "try",       "typedef",    "typeid",    "typename",  "union",        "unsigned",
    "using",       "virtual",   "void",       "volatile",  "wchar_t",   "while",        "xor",
    "xor_eq",      "restrict",  "_Bool",      "_Complex",  "_Imaginary"};

// The changes that docs/definition-language.md promises. Two names of one record can become equal by them, `a-b` and
// `a_b`; check.cpp refuses that.
std::string cName(const std::string& name)
{
  std::string out;
  for (char c : name) out += isalnum(static_cast<unsigned char>(c)) ? c : '_';
  if (!out.empty() && isdigit(static_cast<unsigned char>(out[0]))) out = "x" + out;
  if (kKeywords.count(out)) out += "_";
  return out;
}

// "TS24501IESSession" of a type in TS24501IESSession.l3: error records have it as module.
std::string fileStem(const Type& type)
{
  return std::filesystem::path(type.place.file).stem().string();
}

// Hyphens are for names of elements and values: a type's name is part of names of C functions, and readBlock refuses a
// hyphen in it.
bool isWord(const std::string& name)
{
  return !name.empty() && std::all_of(name.begin(), name.end(),
                                      [](unsigned char c) { return (c < 128 && isalnum(c)) || c == '-' || c == '_'; });
}

// A number of 24 bits is kept in 4 octets.
unsigned storeForBits(unsigned bits)
{
  return bits <= 8 ? 1 : bits <= 16 ? 2 : bits <= 32 ? 4 : 8;
}

// An Enum is a C enumeration, which has 32 bits whatever it holds on the wire; a Names is an integer of its width.
unsigned storeOf(const What& what)
{
  auto scalar = scalarOf(what);
  if (!scalar) return 0;
  if (scalar->named && scalar->named->kind == Kind::Enum) return 4;
  return storeForBits(scalar->bits);
}

} // namespace l3gen
