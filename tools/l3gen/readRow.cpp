// Reading of one row: when the element is there, its name, and its form in the standard. What the element is and how
// often it stands there is read by readWhat.cpp. read.cpp calls readRow for the rows of a record, readAlternative for
// `|` rows and readStandardRow for rows of the standard's form alone. Nothing here looks at other rows; whether a row
// may stand where it does is asked in check.cpp.
#include <algorithm>

#include "words.h"

namespace l3gen {

// `0x5E`, or `0xA-` for an IEI of a half octet: always four characters.
static bool isIei(const std::string& word)
{
  if (word.size() != 4 || word[0] != '0' || word[1] != 'x' || !isxdigit(static_cast<unsigned char>(word[2])))
    return false;
  return word[3] == '-' || isxdigit(static_cast<unsigned char>(word[3]));
}

// `W [bits] [from-octet] [+k]` behind `len` or `length`: see the five members of Row that begin with countsBits.
void readLength(Words& w, Row& row)
{
  row.mark = Mark::Length;
  row.number = bitCount(w.place, w.take("a width"), 16);
  row.countsBits = w.accept("bits");
  row.fromOctet = w.accept("from-octet");
  if (w.peek().starts_with("+")) row.bias = bitCount(w.place, w.take("").substr(1), 100);
}

// `0/1`, `L/H` or `ext`: a bit in front of the element. The words stand in l3Forms.h, so that a new kind of bit needs
// no change here.
static bool acceptLead(Words& w, Row& row)
{
  for (auto& traits : kL3LeadTraits)
    if (traits.lead != kL3NoLead && w.accept(traits.word)) {
      row.lead = traits.lead;
      return true;
    }
  return false;
}

// `if COND` or `when COND`. Both test the same on decoding; only `if` gives the element a presence bit.
static bool acceptCondition(Words& w, Row& row)
{
  row.given = w.accept("if") ? kL3GivenIf : w.accept("when") ? kL3GivenWhen : kL3GivenAlways;
  if (row.given != kL3GivenAlways) row.cond = condition(w.place, w.take("a condition"));
  return row.given != kL3GivenAlways;
}

// The first columns that answer everything by one word: `M`, `with`, `more`, `optional`, or an IEI.
static bool acceptAlone(Words& w, Row& row)
{
  std::string word = w.peek();
  if (word == "more") {
    // It is there if the extension bit before it was 0, and an extension bit of its own leads it.
    row.given = kL3GivenMore;
    row.lead = kL3LeadExt;
  } else if (word == "with") {
    row.given = kL3GivenWith;
  } else if (word == "optional") {
    row.given = kL3ByHand;
  } else if (isIei(word)) {
    row.given = kL3GivenIei;
    row.half = word[3] == '-';
    row.number = number(w.place, row.half ? word.substr(0, 3) : word);
  } else if (word != "M") {
    return false;
  }
  w.take("");
  return true;
}

// The first column. Up to three answers may stand together, `room 0/1 if x=1`, always in this order.
static void readWhen(Words& w, Row& row)
{
  if (w.accept("len")) return readLength(w, row);
  if (acceptAlone(w, row)) return;
  row.room = w.accept("room");
  bool lead = acceptLead(w, row), cond = acceptCondition(w, row);
  if (!row.room && !lead && !cond) refuse(w.place, "an unknown first column '" + w.peek() + "'");
}

// A row that is no element: it opens or closes something, or says what stands at the end.
static Row readMark(Words& w)
{
  Row row;
  row.place = w.place;
  std::string word = w.take("");
  if (word == "end-release")
    row.mark = Mark::EndRelease;
  else if (word == "end-len")
    row.mark = Mark::EndLength;
  else if (word == "tail")
    row.mark = Mark::Tail;
  else if (word == "padding")
    row.mark = Mark::Padding;
  else if (word == "group") {
    row.mark = Mark::Group;
    row.name = checkedName(w.place, w.take("a group's name"));
  } else {
    row.mark = Mark::Release;
    row.number = number(w.place, w.take("a release"));
    // The presence bit of the group is named after it: release7Present.
    row.name = "release" + std::to_string(row.number);
    if (w.accept("fit")) row.fit = number(w.place, w.take("a size in bits"));
  }
  readTail(w, nullptr, row.words);
  return row;
}

// `own` and `shared`: the content gets a type of its own, which is named after the element or after the entries' type.
static void readPlace(Words& w, Row& row)
{
  row.own = w.accept("own");
  row.shared = !row.own && w.accept("shared");
}

// `M v length 8 B`: the type stands behind a length that is on the wire alone. giveOwnType makes a part of it.
static void readBehind(Words& w, Row& row)
{
  if (w.accept("length")) row.behind = bitCount(w.place, w.take("a width"), 16);
}

// `... standard FORM` at the end of a line: how the public standard has it. Everything from that word on is removed, so
// that the rest of the line reads like one without it. The search begins behind the second word: the first may be
// `standard` (readStandardRow), and so may the name behind it.
Standard takeStandard(Words& w)
{
  auto behindName = w.list.begin() + std::min<ptrdiff_t>(std::ssize(w.list), 2);
  auto at = std::find(behindName, w.list.end(), "standard");
  if (at == w.list.end()) return {};
  Words form{w.place, {at + 1, w.list.end()}, w.end};
  w.list.erase(at, w.list.end());
  Standard standard;
  if (form.accept("bits")) {
    standard = {Standard::Bits, bitCount(w.place, form.take("a width"), 32), {}};
  } else if (form.accept("length")) {
    standard = {Standard::Length, bitCount(w.place, form.take("a width"), 16), {}};
  } else if (form.accept("part")) {
    standard = {Standard::Part, 0, range(w.place, form.take("rows"))};
  } else if (form.accept("none")) {
    standard.kind = Standard::Absent;
  } else if (form.accept("ends")) {
    standard.kind = Standard::Ends;
  } else if (form.accept("by-hand")) {
    standard.kind = Standard::ByHand;
  } else {
    standard = {Standard::Number, number(w.place, form.take("a form")), {}};
  }
  if (form.more()) refuse(w.place, "not understood: '" + form.peek() + "'");
  return standard;
}

// Each place knows which forms it can have: `M x flag standard length 8` says nothing that could be coded.
void refuseStandard(const Place& place, const Standard& standard, bool fits)
{
  if (standard.kind != Standard::None && !fits) refuse(place, "a standard form that does not fit here");
}

// `standard NAME bits N`: bits that only the standard's form has and that no member keeps.
Row readStandardRow(Words& w)
{
  Row row;
  row.place = w.place;
  w.take("");
  row.name = checkedName(w.place, w.take("a name"));
  if (!w.accept("bits")) refuse(w.place, "expected bits and a width");
  row.what.kind = WhatKind::Bits;
  row.what.bits = bitCount(w.place, w.take("a width"), 32);
  if (w.more()) refuse(w.place, "not understood: '" + w.peek() + "'");
  return row;
}

// One row of a record, from left to right:
//
//   room  sd     SD            octets 3                     when, name, what
//   M     list   B             while-room 1..16 heap own    what, how often, a type of its own
//   M     count  bits 5        in 1..9  !name-as number     what, range, words
Row readRow(Words& w)
{
  static const std::set<std::string> marks = {"group", "release", "end-release", "end-len", "tail", "padding"};
  if (marks.count(w.peek())) return readMark(w);
  Row row;
  row.place = w.place;
  row.standard = takeStandard(w);
  readWhen(w, row);
  auto kind = row.standard.kind;
  // The forms that fit: another width of a length or none, other bits or a part of an element, an optional element that
  // the standard does not have.
  bool length = row.mark == Mark::Length && (kind == Standard::Length || kind == Standard::Absent);
  bool content = row.mark == Mark::Element && (kind == Standard::Bits || kind == Standard::Part);
  refuseStandard(w.place, row.standard, length || content || (row.isIei() && kind == Standard::Absent));
  row.name = checkedName(w.place, w.take("a name"));
  if (row.name == "-") row.name.clear();
  if (row.mark == Mark::Length) {
    readTail(w, &row.range, row.words);
    return row;
  }
  readBehind(w, row);
  row.what = readWhat(w);
  row.often = readOften(w);
  readPlace(w, row);
  readTail(w, &row.range, row.words);
  row.what.untagged = row.words.count("untagged") != 0;
  return row;
}

// `"Registration request" up`: the name that the standard has for it and, of a message, who sends it; without a
// direction either side does. A backslash is refused because the title is written into C strings and comments.
void takeTitle(Words& w, std::string& title, std::string& direction)
{
  auto at = std::find_if(w.list.begin(), w.list.end(), [](const std::string& word) { return word[0] == '"'; });
  if (at == w.list.end()) return;
  if (at->size() < 3 || at->back() != '"' || at->find('\\') != std::string::npos)
    refuse(w.place, "not a standard's name: " + *at);
  title = at->substr(1, at->size() - 2);
  at = w.list.erase(at);
  if (at == w.list.end() || (*at != "up" && *at != "down")) return;
  direction = *at;
  w.list.erase(at);
}

// A `|` row. Those of a body and those of a choice have different columns:
//
//   | 126 0x41 RegRequest5G RegRequest 6      discriminator, message type, name, type, number t
//   | 1,4..6   x            bits 5            selector values, name, what; no number: t counts the alternatives
Row readAlternative(Words& w, const What& parent)
{
  Row row;
  row.place = w.place;
  w.take("");
  if (parent.kind == WhatKind::Body) {
    row.standard = takeStandard(w);
    refuseStandard(w.place, row.standard, row.standard.kind == Standard::Number);
    takeTitle(w, row.title, row.direction);
    // With one selecting field, or with `under`, there is no column for the discriminator.
    if (parent.fields.size() == 2 && !parent.underOnly) row.discriminator = number(w.place, w.take("a discriminator"));
    row.msgType = messageType(w);
    row.name = checkedName(w.place, w.take("a name"));
    row.what = readWhat(w);
    row.inlined = w.accept("inline");
    row.tag = number(w.place, w.take("a number"));
  } else {
    if (w.accept("else"))
      row.other = true;
    else if (parent.select == kL3SelectCode)
      row.codes = split(w.take("codes"), ',');
    else
      row.values = ranges(w.place, w.take("values"));
    row.name = checkedName(w.place, w.take("a name"));
    readBehind(w, row);
    row.what = readWhat(w);
    row.often = readOften(w);
    readPlace(w, row);
  }
  readTail(w, &row.range, row.words);
  return row;
}

} // namespace l3gen
