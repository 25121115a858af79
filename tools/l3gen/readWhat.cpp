// Reading of what an element is, how often it stands there, and the words at the end of a line. readRow.cpp and
// read.cpp call readWhat, readOften and readTail in this order. Each consumes the words that it understands and stops
// at the first that it does not.
#include <algorithm>
#include <set>

#include "words.h"

namespace l3gen {

// All quirk words of rows and blocks; docs/quirks.md has a paragraph for each. Whether one has a meaning on the row
// where it stands is asked in check.cpp.
static const std::set<std::string> kWords = {
    "alone",           "number-gaps",    "iei-again",    "walk",          "open-decode",   "open-encode", "no-tail",
    "shifts",          "untagged",       "early-return", "hyphen-encode", "full-length",   "null-suffix", "no-decoder",
    "no-encoder",      "no-printer",     "no-sample",    "no-init",       "init",          "sample",      "name-as",
    "octets-argument", "spare-argument", "zero-widens",  "codeset-asked", "setters-return"};

// `FIELD`, `FIELD +k`, `FIELD -k`, `k - FIELD` or `FIELD sizes TABLE`. The minus of `8 - n` stands alone as a word,
// that of `n -1` does not, which tells the two apart.
static Count readCount(Words& w)
{
  Count count;
  bool minus = w.peek(1) == "-";
  if (minus) {
    count.sign = -1;
    count.bias = static_cast<int>(bitCount(w.place, w.take("a number"), 100));
    w.take("");
  }
  count.field = w.take("a field");
  char sign = w.peek().empty() ? 0 : w.peek()[0];
  if (!minus && w.peek().size() > 1 && (sign == '+' || sign == '-')) {
    count.bias = static_cast<int>(bitCount(w.place, w.take("").substr(1), 100));
    if (sign == '-') count.bias = -count.bias;
  }
  if (w.accept("sizes")) count.sizes = w.take("a table of sizes");
  return count;
}

// Where the size of a string comes from, behind `octets`, `bitstring`, `string` or `labels`: `rest`, `by COUNT`,
// `length W`, or a number. A bit string of a fixed size keeps its bits in `max`, an octet string its octets in
// `octets`.
static void readSource(Words& w, What& what)
{
  if (w.accept("rest"))
    what.from = kL3Rest;
  else if (w.accept("by")) {
    what.from = kL3ByField;
    what.count = readCount(w);
    if (what.kind == WhatKind::Text && !what.count.fieldAlone()) refuse(w.place, "a text is counted by a field alone");
  } else if (w.accept("length")) {
    what.from = kL3OwnLength;
    what.bits = bitCount(w.place, w.take("a width"), 16);
  } else if (what.kind == WhatKind::Octets) {
    what.from = kL3Fixed;
    what.octets = number(w.place, w.take("a size"));
    if (what.octets < 1 || what.octets > 65535) refuse(w.place, "a size outside 1 to 65535 octets");
  } else if (what.kind == WhatKind::BitString && isdigit(static_cast<unsigned char>(w.peek()[0]))) {
    what.from = kL3Fixed;
    what.max = bitCount(w.place, w.take(""), 1024);
    return;
  } else {
    refuse(w.place, "expected rest, by or length");
  }
  if (w.accept("max")) what.max = number(w.place, w.take("a bound"));
  // The count of an inline string is a member of 8 bits.
  if (what.kind == WhatKind::Octets && what.max > 255) refuse(w.place, "an inline string holds at most 255 octets");
}

// `by FIELD[,FIELD...]`: the fields that select. `by ,a` is refused: no row has the name of the first of these two.
static std::vector<std::string> selectingFields(Words& w)
{
  std::string text = w.take("a field");
  std::vector<std::string> fields = split(text, ',');
  if (std::count(fields.begin(), fields.end(), "")) refuse(w.place, "a selecting field without a name: '" + text + "'");
  return fields;
}

// What stands behind `choice`: where the number that selects comes from.
void readSelector(Words& w, What& what)
{
  if (w.accept("by")) {
    what.select = kL3SelectFields;
    what.fields = selectingFields(w);
  } else if (w.accept("bits")) {
    what.select = kL3SelectBits;
    what.bits = bitCount(w.place, w.take("a width"), 16);
  } else if (w.accept("peek")) {
    what.select = kL3SelectPeek;
    what.bits = bitCount(w.place, w.take("a width"), 32);
    if (!w.accept("&")) refuse(w.place, "expected '& MASK' after peek");
    what.mask = number(w.place, w.take("a mask"));
  } else if (w.accept("code")) {
    what.select = kL3SelectCode;
  } else {
    refuse(w.place, "expected by, bits, peek or code behind choice");
  }
}

// `unary 1`: a run of equal bits, ended by one that differs. The record keeps its length in 8 bits.
static void readUnary(Words& w, What& what)
{
  std::string bit = w.take("the bit to count");
  if (bit != "0" && bit != "1" && bit != "L" && bit != "H") refuse(w.place, "'unary' counts 0, 1, L or H");
  what.kind = WhatKind::Unary;
  what.bits = 8;
  what.repeated = bit[0];
}

// `body by protoDiscr,msgType`, or `body by msgType under protoDiscr=9`, where the one legal discriminator goes in
// front of the fields, as if the rows had a column for it.
static void readBody(Words& w, What& what)
{
  what.kind = WhatKind::Body;
  if (!w.accept("by")) refuse(w.place, "expected 'by' behind body");
  what.fields = selectingFields(w);
  if (w.accept("under")) {
    std::string text = w.take("a field and its value");
    auto terms = condition(w.place, text);
    const Term& only = terms[0];
    bool one = terms.size() == 1 && !only.negate && only.values.size() == 1 && only.values[0].lo == only.values[0].hi;
    if (!one) refuse(w.place, "'under' takes one field and one value: '" + text + "'");
    what.underOnly = true;
    what.under = only.values[0].lo;
    what.fields.insert(what.fields.begin(), only.field);
  }
  if (what.fields.size() > 2) refuse(w.place, "a body has at most two selecting fields");
}

// `bits 8 means Cause`: the table that has words for the values.
static void readMeanings(Words& w, What& what)
{
  if (w.accept("means")) what.meaningsName = w.take("a table of meanings");
}

// The third column. A word that is none of the forms is taken for the name of a type; whether there is such a type is
// asked in resolve.cpp.
What readWhat(Words& w)
{
  What what;
  std::string word = w.take("what the element is");
  if (word == "bits") {
    what.kind = WhatKind::Bits;
    what.bits = bitCount(w.place, w.take("a width"), 64);
    readMeanings(w, what);
  } else if (word == "flag") {
    what.kind = WhatKind::Flag;
    what.bits = 1;
    readMeanings(w, what);
  } else if (word == "L/H") {
    what.kind = WhatKind::Bits;
    what.bits = 1;
    what.padded = true;
  } else if (word == "unary") {
    readUnary(w, what);
  } else if (word == "octets" || word == "ucs2") {
    what.kind = WhatKind::Octets;
    what.wide = word == "ucs2";
    readSource(w, what);
  } else if (word == "bitstring") {
    what.kind = WhatKind::BitString;
    readSource(w, what);
    // L3BitString has none; `len W bits` in front of `bitstring rest` says the same.
    if (what.from == kL3OwnLength) refuse(w.place, "a bit string has no length of its own");
  } else if (word == "string" || word == "labels") {
    what.kind = WhatKind::Text;
    what.labels = word == "labels";
    readSource(w, what);
  } else if (word == "chars") {
    what.kind = WhatKind::Chars;
    what.octets = number(w.place, w.take("a size"));
    // One character and the zero at the end.
    if (what.octets < 2 || what.octets > 255) refuse(w.place, "a character array holds 2 to 255 octets");
  } else if (word == "choice") {
    what.kind = WhatKind::Choice;
    readSelector(w, what);
  } else if (word == "body") {
    readBody(w, what);
  } else if (word == "record") {
    what.kind = WhatKind::Nested;
  } else if (word == "-") {
    what.kind = WhatKind::Nothing;
  } else {
    what.kind = WhatKind::Type;
    what.typeName = word;
    what.rest = w.accept("rest");
  }
  return what;
}

// How often, or nothing said: once.
Often readOften(Words& w)
{
  Often often;
  if (w.accept("while-room"))
    often.end = kL3WhileRoom;
  else if (w.accept("times")) {
    often.end = kL3Times;
    often.count = readCount(w);
  } else if (w.accept("more-bit"))
    often.end = w.accept("0") ? kL3MoreZero : w.accept("L/H") ? kL3MoreLH : kL3MoreBit;
  else if (w.accept("while-ext"))
    often.end = kL3WhileExt;
  else if (w.accept("until-zero")) {
    often.end = kL3UntilZero;
    often.zeroBits = bitCount(w.place, w.take("a width"), 8);
  } else
    return often;
  if (isRange(w.peek())) often.range = range(w.place, w.take(""));
  // `0..9 heap`: the count is tested, but the entries are on the heap.
  often.heap = w.accept("heap");
  // The count of an inline list is a member of 8 bits, and an array needs at least one entry.
  if (often.range && !often.heap && often.range->hi > 255)
    refuse(w.place, "an inline list holds at most 255 entries; add heap");
  if (often.bounded() && often.range->hi == 0) refuse(w.place, "an inline list without room");
  return often;
}

// What may stand behind `private`, and whether a count of octets follows.
struct PrivacyWord {
  const char *word, *symbol;
  bool counts;
};
static constexpr PrivacyWord kPrivacyWords[] = {
    {"first", "kL3PrivateFirst", true},    {"behind", "kL3PrivateBehind", true},   {"each", "kL3PrivateEach", true},
    {"digits", "kL3PrivateDigits", false}, {"option", "kL3PrivateOption", false},  {"ber", "kL3PrivateBer", false},
    {"eap", "kL3PrivateEap", false},       {"message", "kL3PrivateMessage", false}};

// `private first 4` of a row or block, behind its first word, as the two members of L3Row.
std::string readPrivacy(Words& w)
{
  for (auto& known : kPrivacyWords)
    if (w.accept(known.word))
      return format("%s, %u", known.symbol, known.counts ? bitCount(w.place, w.take("a count of octets"), 255) : 0);
  return kWhollyPrivate;
}

// The end of every line: `in a..b`, if the caller takes a range and the line has none yet, `private`, and quirk words.
// Any other word is refused here, whoever should have understood it.
void readTail(Words& w, std::optional<Range>* r, std::map<std::string, std::string>& words)
{
  while (w.more()) {
    std::string next = w.take("");
    if (next == "in" && r && !*r)
      *r = range(w.place, w.take("a range"));
    else if (next == "private")
      words[next] = readPrivacy(w);
    else if (next.size() > 1 && next[0] == '!') {
      std::string key = next.substr(1);
      if (!kWords.count(key)) refuse(w.place, "an unknown quirk word '" + next + "'");
      words[key] = key == "name-as" ? checkedName(w.place, w.take("a name")) : "";
    } else
      refuse(w.place, "not understood: '" + next + "'");
  }
}

} // namespace l3gen
