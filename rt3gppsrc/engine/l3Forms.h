// What a row of a definition can say, and what each word means for coding. The engine and l3gen share this file, so the
// meaning of a word stands in one place. A row answers three questions about an element's presence, and any answers may
// stand together:
//
//   room     must bits remain in the innermost region?        (L3Row.room)
//   given    on what condition is it there?                   (L3Given)
//   lead     does a bit stand in front of it?                 (L3Lead)
//
// `room 0/1` is room and a leading bit. `more` is a condition (the extension bit before was 0) and a leading extension
// bit. Each table below has a row for each value, in the order of the enumeration, so that a value is its row's index.
#ifndef VELNOR3GPP_L3_FORMS_H
#define VELNOR3GPP_L3_FORMS_H

#include <stddef.h>
#include <stdint.h>

// On what condition an element is there. A decoder asks it before it reads anything of the element. An encoder asks the
// presence bit instead, if there is one: the caller has set it, and a condition could contradict it.
enum L3Given : uint8_t {
  kL3GivenAlways,
  kL3GivenIf,   // L3Row.cond on decoding; encoder and printer go by the presence bit
  kL3GivenWhen, // L3Row.cond always; there is no presence bit
  kL3GivenMore, // the extension bit before it was 0
  kL3GivenWith, // the row before it is there; both share a presence bit
  kL3GivenIei,  // in L3Message.options only
  kL3ByHand,    // never coded by the engine; printed if its presence bit is set
};

// The bit in front of an element.
enum L3Lead : uint8_t {
  kL3NoLead,
  kL3LeadBit, // 1: the element is there
  // H, relative to the padding of rest octets: the element is there.
  kL3LeadLH,
  // An extension bit, the top bit of an octet. It tells of the next octet of a group, not of this
  // one: with 0 the next octet follows, with 1 the group ends.
  kL3LeadExt,
};

// Where the number of octets or bits of a string comes from: it is always the same, it is all that the region has left,
// an earlier field tells it, or the string has a length of its own in front of it.
enum L3CountFrom : uint8_t { kL3Fixed, kL3Rest, kL3ByField, kL3OwnLength };

// Where a choice's selector comes from: earlier fields of the record, bits of its own, the bits ahead, which belong to
// the alternative and are read again with it, or a code of its own for each alternative (the 0, 10 and 11 of a CSN.1
// structure).
enum L3SelectFrom : uint8_t { kL3SelectFields, kL3SelectBits, kL3SelectPeek, kL3SelectCode };

// What ends a list on the wire. With entries A and B:
enum L3ListEnd : uint8_t {
  kL3NoList,    // The row is no list
  kL3WhileRoom, // A B, to the end of the region
  kL3Times,     // A B, as many as a field counts
  kL3MoreBit,   // 1 A 1 B 0
  kL3MoreZero,  // 0 A 0 B 1
  // H A H B L, each bit relative to the padding. In rest octets the padding itself reads as L, so it ends the list.
  kL3MoreLH,
  // 0 A 1 B: the bit in front of an entry says whether it is the last one.
  kL3WhileExt,
  // A B, until the next bits are 0 or the region ends. An encoder writes the 0s only where it does not stand at an
  // octet's start.
  kL3UntilZero,
};

// What follows from a condition, for the generator: which rows get a presence bit, and which need a condition.
struct L3GivenTraits {
  L3Given given;
  const char* symbol; // the enumerator, as l3gen writes it
  bool hasBit;        // the element has a presence bit of its own
  bool hasCond;       // the row has a condition on earlier fields
};

// What a leading bit looks like in a definition, on the wire, in the bit trace and in the comments of generated
// headers.
struct L3LeadTraits {
  L3Lead lead;
  const char* symbol;
  const char* word;  // in a definition
  const char* label; // in the bit trace
  bool optional;     // the bit says whether the element is there
  bool padded;       // relative to the padding
  // What the comment in the generated header says.
  const char* words;
};

// How the entries of a list are led.
struct L3ListTraits {
  L3ListEnd end;
  const char* symbol;
  const char* word;
  bool led;       // a bit stands before each entry and behind the last
  bool padded;    // that bit is relative to the padding
  uint8_t before; // its value before an entry; the other one ends the list
};

// The traits of L3Given: value, symbol, hasBit, hasCond.
inline constexpr L3GivenTraits kL3GivenTraits[] = {
    {kL3GivenAlways, "kL3GivenAlways", false, false},
    {kL3GivenIf, "kL3GivenIf", true, true},
    {kL3GivenWhen, "kL3GivenWhen", false, true},
    {kL3GivenMore, "kL3GivenMore", true, false},
    {kL3GivenWith, "kL3GivenWith", false, false},
    {kL3GivenIei, "kL3GivenIei", true, false},
    {kL3ByHand, "kL3ByHand", true, false},
};

// The traits of L3Lead: value, symbol, word, label, optional, padded, words.
inline constexpr L3LeadTraits kL3LeadTraits[] = {
    {kL3NoLead, "kL3NoLead", "", "", false, false, ""},
    {kL3LeadBit, "kL3LeadBit", "0/1", "optional bit", true, false, "led by a bit, 1 if it is there"},
    {kL3LeadLH, "kL3LeadLH", "L/H", "optional bit", true, true, "led by a bit, H if it is there"},
    {kL3LeadExt, "kL3LeadExt", "ext", "ext bit", false, false, "led by an extension bit"},
};

// The traits of L3ListEnd: value, symbol, word, led, padded, before. `while-ext` is not "led" here: its bit tells of
// the entry behind it, and no bit stands behind the last entry.
inline constexpr L3ListTraits kL3ListTraits[] = {
    {kL3NoList, "kL3NoList", "", false, false, 0},
    {kL3WhileRoom, "kL3WhileRoom", "while-room", false, false, 0},
    {kL3Times, "kL3Times", "times", false, false, 0},
    {kL3MoreBit, "kL3MoreBit", "more-bit", true, false, 1},
    {kL3MoreZero, "kL3MoreZero", "more-bit 0", true, false, 0},
    {kL3MoreLH, "kL3MoreLH", "more-bit L/H", true, true, 1},
    {kL3WhileExt, "kL3WhileExt", "while-ext", false, false, 0},
    {kL3UntilZero, "kL3UntilZero", "until-zero", false, false, 0},
};

// The other two enumerations have nothing but their symbols, which l3gen writes into the tables.
struct L3CountTraits {
  L3CountFrom from;
  const char* symbol;
};
inline constexpr L3CountTraits kL3CountTraits[] = {
    {kL3Fixed, "kL3Fixed"}, {kL3Rest, "kL3Rest"}, {kL3ByField, "kL3ByField"}, {kL3OwnLength, "kL3OwnLength"}};

struct L3SelectTraits {
  L3SelectFrom from;
  const char* symbol;
};
inline constexpr L3SelectTraits kL3SelectTraits[] = {{kL3SelectFields, "kL3SelectFields"},
                                                     {kL3SelectBits, "kL3SelectBits"},
                                                     {kL3SelectPeek, "kL3SelectPeek"},
                                                     {kL3SelectCode, "kL3SelectCode"}};

constexpr const L3GivenTraits& l3Traits(L3Given given)
{
  return kL3GivenTraits[given];
}
constexpr const L3LeadTraits& l3Traits(L3Lead lead)
{
  return kL3LeadTraits[lead];
}
constexpr const L3ListTraits& l3Traits(L3ListEnd end)
{
  return kL3ListTraits[end];
}
constexpr const L3CountTraits& l3Traits(L3CountFrom from)
{
  return kL3CountTraits[from];
}
constexpr const L3SelectTraits& l3Traits(L3SelectFrom from)
{
  return kL3SelectTraits[from];
}

// The tables are indexed by their enumerations, so row i must tell of value i.
template <typename Traits, size_t rows, typename Value>
// The tables are indexed by their enumerations, so row i must tell of value i. A value that is inserted in an
// enumeration and not in its table would shift the meaning of all values behind it; the compiler refuses that here.
consteval bool l3InOrder(const Traits (&table)[rows], Value Traits::*value)
{
  for (size_t i = 0; i < rows; ++i)
    if (table[i].*value != i) return false;
  return true;
}
static_assert(l3InOrder(kL3GivenTraits, &L3GivenTraits::given) && l3InOrder(kL3LeadTraits, &L3LeadTraits::lead));
static_assert(l3InOrder(kL3ListTraits, &L3ListTraits::end) && l3InOrder(kL3CountTraits, &L3CountTraits::from));
static_assert(l3InOrder(kL3SelectTraits, &L3SelectTraits::from));

#endif
