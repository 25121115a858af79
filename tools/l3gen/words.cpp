// Single words of a definition: names, numbers, ranges and conditions (words.h says what each function takes). Nothing
// here has a state or knows a type.
#include "words.h"

#include <charconv>
#include <sstream>

namespace l3gen {

const std::string& checkedName(const Place& place, const std::string& name)
{
  if (!isWord(name)) refuse(place, "not a name: '" + name + "'");
  return name;
}

// from_chars takes no sign and no blank, and it tells overflow: 4294967296 is refused like 8x.
uint32_t number(const Place& place, const std::string& text)
{
  bool hex = text.starts_with("0x");
  const char* begin = text.data() + (hex ? 2 : 0);
  const char* end = text.data() + text.size();
  uint32_t value = 0;
  auto [at, error] = std::from_chars(begin, end, value, hex ? 16 : 10);
  if (error != std::errc() || at != end) refuse(place, "not a number: '" + text + "'");
  return value;
}

// Dots in front are not enough: `..n` is a field of the record around.
bool isRange(const std::string& text)
{
  size_t dots = text.find("..");
  return dots != std::string::npos && dots > 0 && isdigit(static_cast<unsigned char>(text[0]));
}

Range range(const Place& place, const std::string& text)
{
  size_t dots = text.find("..");
  Range r;
  r.lo = number(place, text.substr(0, dots));
  r.hi = dots == std::string::npos ? r.lo : number(place, text.substr(dots + 2));
  if (r.lo > r.hi) refuse(place, "a range that begins above its end: '" + text + "'");
  return r;
}

std::vector<std::string> split(const std::string& text, char by)
{
  std::vector<std::string> parts;
  std::stringstream in(text);
  for (std::string part; std::getline(in, part, by);) parts.push_back(part);
  return parts;
}

std::vector<Range> ranges(const Place& place, const std::string& text)
{
  std::vector<Range> list;
  for (auto& part : split(text, ',')) list.push_back(range(place, part));
  if (list.empty()) refuse(place, "a list of values is empty");
  return list;
}

// A condition is a conjunction, `octet1.eBit=1&length!=2`. Several values behind `=` are alternatives of each other;
// with `!=` there is one value, because `x!=1,2` could be read in two ways.
std::vector<Term> condition(const Place& place, const std::string& text)
{
  std::vector<Term> terms;
  for (auto& part : split(text, '&')) {
    Term term;
    size_t eq = part.find('=');
    bool unequal = eq != std::string::npos && eq > 0 && part[eq - 1] == '!';
    // A field without a value is tested for not being 0: `if numDays` is `if numDays!=0`.
    term.negate = eq == std::string::npos || unequal;
    term.field = part.substr(0, eq == std::string::npos ? eq : eq - unequal);
    if (term.field.empty()) refuse(place, "a condition without a field: '" + part + "'");
    term.values = eq == std::string::npos ? std::vector<Range>{{0, 0}} : ranges(place, part.substr(eq + 1));
    if (term.negate && term.values.size() > 1) refuse(place, "'!=' takes one value: '" + part + "'");
    terms.push_back(term);
  }
  if (terms.empty()) refuse(place, "a condition is empty");
  return terms;
}

// 0 is refused as well: a field of no bits is left out of a definition.
unsigned bitCount(const Place& place, const std::string& text, unsigned most)
{
  uint32_t bits = number(place, text);
  if (bits < 1 || bits > most) refuse(place, format("a width of %u bits is outside 1 to %u", bits, most));
  return bits;
}

uint32_t messageType(Words& w)
{
  uint32_t value = number(w.place, w.take("a message type"));
  if (value > 255) refuse(w.place, format("a message type has 8 bits: %u", value));
  return value;
}

} // namespace l3gen
