// What l3gen knows: the blocks and rows as read, and the types they become. Everything is owned by the Model.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "rt3gppsrc/engine/l3Forms.h"

namespace l3gen {

struct Place {
  std::string file;
  int line = 0;
  int column = 1; // of the word looked at last while the line is read, later of the row's or block's first word
};

// A refusal: one line for the person who wrote the definition.
struct Refusal {
  Place place;
  std::string words;
};

[[noreturn]] void refuse(const Place& place, const std::string& words);

struct Range {
  uint32_t lo = 0, hi = 0;
  bool operator==(const Range&) const = default;
};

enum class WhatKind { Bits, Flag, Unary, Octets, BitString, Text, Chars, Type, Choice, Body, Nested, Nothing };
// What a row is: an element, or something else that stands between elements.
enum class Mark { Element, Length, EndLength, Extra, Tail, Padding, Group, Release, EndRelease };

struct Type;
struct Row;

// A node of the tree of an alternative's codes: where its bits 0 and 1 lead.
struct CodeNode {
  bool padded = false;
  int next[2] = {-1, -1};
  uint32_t value[2] = {0, 0};
};

// A count by an earlier field: sign * field + bias, or what a table of sizes has for the field.
struct Count {
  std::string field;
  int bias = 0;
  int sign = 1;
  std::string sizes;
  bool argument = false; // what the decoder is given stands for all of this
  bool fieldAlone() const { return !bias && sign > 0 && sizes.empty() && !ofAround(); }
  bool ofAround() const { return field.starts_with(".."); } // a field of the record around this one
  bool operator==(const Count&) const = default;
};

struct What {
  WhatKind kind = WhatKind::Nothing;
  unsigned bits = 0;   // Bits, Choice (own selector, peek), Octets and Text (own length)
  bool padded = false; // Bits: relative to the padding
  char repeated = 0;   // Unary: the bit that is counted, '0', '1', 'L' or 'H'
  L3CountFrom from = kL3Fixed;
  uint32_t octets = 0;  // Octets: fixed size; Chars: size of the array
  uint32_t max = 0;     // inline bound (octets, or bits of a bit string)
  bool wide = false;    // Octets: 16-bit characters
  bool labels = false;  // Text
  Count count;          // kL3ByField
  std::string typeName; // Type
  Type* type = nullptr;
  bool rest = false; // Type: a string type that gets what is left
  L3SelectFrom select = kL3SelectFields;
  uint32_t mask = 0;               // Peek; Code: the bits relative to the padding, left-justified
  std::vector<CodeNode> nodes;     // Code: of codes that differ in length or kind, else none
  std::vector<std::string> fields; // Choice, Body
  bool untagged = false;
  bool underOnly = false; // Body: one legal discriminator
  uint32_t under = 0;
  std::vector<Row> alternatives; // Choice, Body
};

struct Often {
  L3ListEnd end = kL3NoList;
  Count count; // kL3Times
  unsigned zeroBits = 0;
  std::optional<Range> range;
  bool heap = false;
  bool bounded() const { return range && !heap; }
  bool operator==(const Often&) const = default;
};

struct Term {
  std::string field;
  bool negate = false;
  std::vector<Range> values;
};

// The second form of a row or block, where the public standard has another than the first.
struct Standard {
  enum Kind { None, Bits, Length, Absent, Part, Ends, ByHand, Number } kind = None;
  unsigned number = 0; // bits; of Number a message type
  Range part = {};     // rows of the row's type, from 1
};

struct Row {
  Place place;
  Mark mark = Mark::Element;
  bool room = false;
  L3Given given = kL3GivenAlways;
  L3Lead lead = kL3NoLead;
  std::vector<Term> cond;
  std::string name;  // as pushed and printed; empty: nameless
  std::string title; // a body row: the standard's name of a message, where its type does not tell it
  std::string direction;
  std::string member; // C name
  What what;
  Often often;
  std::optional<Range> range;
  std::map<std::string, std::string> words;
  unsigned number = 0;            // Length: bits; Iei: value; Release: release
  bool half = false;              // Iei
  bool own = false;               // its content is a type named after record and element
  bool shared = false;            // its list is a type named after the entries' type
  unsigned behind = 0;            // its content lies behind a length of so many bits that no member keeps
  std::optional<Count> argument;  // the count that its type's decoder is given
  bool countsBits = false;        // Length
  unsigned bias = 0;              // Length: added to the number
  bool fromOctet = false;         // Length: counts from the next octet
  unsigned fit = 0;               // Release
  std::vector<Range> values;      // an alternative's
  std::vector<std::string> codes; // an alternative's, of 0, 1, L and H
  bool other = false;
  uint32_t discriminator = 0, msgType = 0, tag = 0; // a body row's
  bool inlined = false;                             // a body row: the value stands in `u` itself
  Standard standard;
  unsigned storedBits = 0; // Length: of the first form, whose member the record has
  // laid out
  int mBit = -1, groupBit = -1;
  bool inRelease = false, extLast = false;
  bool isElement() const { return mark == Mark::Element; }
  // Always there, with nothing in front of it.
  bool plain() const { return isElement() && !room && given == kL3GivenAlways && lead == kL3NoLead; }
  bool isIei() const { return given == kL3GivenIei; }
};

enum class Kind { Enum, Names, Bare, Record, Message, Pdu, Text };

struct Module {
  std::string name, stem, spec;
  std::map<std::string, std::string> words; // hold for every block
};

// A table of sizes: entry n is the size for the number n.
struct Sizes {
  Place place;
  Module* module = nullptr;
  std::string full;
  bool used = false;
  std::vector<unsigned> values;
};

struct Type {
  Place place;
  Kind kind = Kind::Record;
  const Type* around = nullptr; // the record that a nested type stands in
  size_t aroundRows = 0;        // how many rows that had when the nested type began
  bool lends = false;           // parts of it count by its fields
  Module* module = nullptr;
  std::string name, full, clause;
  std::string title;     // the standard's name, or empty
  std::string direction; // of a message: "up", "down" or empty
  bool part = false;
  bool choiceType = false;                         // a Bare made by a `choice` block
  bool restOctets = false;                         // a Record made by a `rest` block
  bool padded = false;                             // Enum: relative to the padding
  bool counted = false;                            // the decoder is given the count of bits or entries
  unsigned bits = 0;                               // Enum, Names
  std::vector<std::pair<std::string, int>> values; // Enum, Names
  std::map<int, std::string> valueTitles;          // what the standard calls them, where it is told
  std::vector<Row> rows;
  Standard standard;
  std::vector<std::pair<size_t, Row>>
      standardRows;                              // those of the standard's form alone, with the row they stand before
  std::set<std::pair<unsigned, unsigned>> parts; // rows that others take for the whole in the standard's form
  int msgType = -1;
  std::string decodeFile, encodeFile, sampleFile, form;
  bool directByHand = false; // the file has the direct coders as well
  bool isPrivate = false;    // it tells of a person
  bool plainByHand = false;  // the file tells what the rows alone code
  std::map<std::string, std::string> words;
  // laid out
  int mBits = 0;
  std::vector<std::string> mNames;
  // Laid out for the direct coders: how many bits of an octet are used where the types that hold this one reach it, and
  // behind a value that began with an octet. -1: it differs.
  static constexpr int kNotReached = -2;
  int beginsAt = kNotReached;
  int endsAt = 0;
  bool has(const char* word) const { return words.count(word) || module->words.count(word); }
  // Has the standard's form other rows? What only lacks an optional element is told by that.
  bool hasStandard() const
  {
    bool row = std::any_of(rows.begin(), rows.end(), [](const Row& r) {
      return r.standard.kind != Standard::None && !(r.isIei() && r.standard.kind == Standard::Absent);
    });
    return row || standard.kind != Standard::None || !standardRows.empty();
  }
  // Does its standard's form differ in nothing but where it may end?
  bool onlyEnds() const
  {
    bool row = std::any_of(rows.begin(), rows.end(), [](const Row& r) { return r.standard.kind != Standard::None; });
    return standard.kind == Standard::Ends && !row && standardRows.empty();
  }
  bool needsStandard() const
  {
    return hasStandard() ||
           std::any_of(rows.begin(), rows.end(), [](const Row& r) { return r.standard.kind != Standard::None; });
  }
};

// A scalar after following aliases: what a row of it can be flattened to.
struct Scalar {
  WhatKind kind; // Bits, Flag or Unary
  unsigned bits;
  Type* named; // Enum or Names, else null
  std::optional<Range> range;
  bool padded = false;
};

struct Model {
  std::vector<std::unique_ptr<Module>> modules;
  std::vector<std::unique_ptr<Type>> types; // in order of definition
  std::map<std::string, Type*> byName;
  std::vector<std::unique_ptr<Sizes>> sizes;
  std::vector<Refusal> refusals; // sorted by place when printed; with any of them nothing is written
  // What a fault is kept from hiding or causing others by (faults.cpp).
  std::map<std::string, std::set<int>> blocks;  // the lines of a file that a block, or a module line, begins at
  std::set<std::pair<std::string, int>> faulty; // those among them with a fault
  std::set<std::string> unread;                 // full names of blocks whose first line is refused
  bool moduleUnread = false;                    // a module line is refused: any name may be one of its types
  std::vector<std::unique_ptr<Type>> aside;     // types of faulty blocks, and all that need them
  Module* module(const std::string& name);
  Sizes* sizesNamed(const Module& from, const std::string& name) const;
};

// read.cpp: the modules of all files are read first, so that rows can name types of modules that come later.
void readModules(Model& model, const std::string& path);
void readFile(Model& model, const std::string& path);
// faults.cpp: faults found so far take the types that they make doubtful out of `types`, so that the next step looks at
// all others. A name that a refused line would have given is no fault of those who use it.
void setAside(Model& model);
void blame(Model& model, const Place& place);
bool blamed(Model& model, const Place& place);
bool couldBeUnread(Model& model, const Module& from, const std::string& name);
// The faults as `file:line: words`, or as editors want them, `file:line:column: error: words`, with the lines of the
// file that is named so to find the column of a word that is quoted.
std::string tellRefusals(const Model& model);
std::string tellFaults(const Model& model, const std::vector<std::string>& paths);
// readNested.cpp: the type that rows deeper than an element make, within the choice that has the element, and the one
// that an element's own content makes.
Type* innerType(Model& model, const Type& owner, Row& row, const std::string& within);
void giveOwnType(Model& model, const Type& owner, Row& row);
// resolve.cpp, check.cpp
void resolve(Model& model);
void check(Model& model);
std::optional<Scalar> scalarOf(const Type& type);
std::optional<Scalar> scalarOf(const What& what);
std::optional<uint32_t> fixedBits(const Type& type);
std::optional<uint32_t> fixedBits(const Row& row);
// The optional elements of a message whose values choose among the alternatives of others.
std::vector<std::string> selectingOptions(const Type& type);
// The length that an element begins with: its width in bits, or 0.
unsigned leadingLength(const Type& type);
// codes.cpp: lays out the codes of a choice; the values that its alternatives are selected by follow from them.
void layOutCodes(What& what);
// A code as a number, L being 0 and H 1, and the mask of its bits that are L or H.
uint32_t codeValue(const std::string& code);
uint32_t codeMask(const std::string& code);
// How an element is skipped out of its turn: "length", "fixed" with octets, or "nothing".
std::string skipForm(const Row& row, uint32_t& octets);
bool needsInit(const Type& type);
// The bodies of a top-level form: the last rows, one as a rule. What a second one is named after its row is plain for
// the first.
std::vector<const Row*> bodiesOf(const Type& type);
// Calls `use` for every type that the element names, with whether it stands behind a pointer only, as messages do.
void collectUses(const What& what, bool pointed, const std::function<void(Type*, bool)>& use);
std::vector<Type*> inDependencyOrder(Model& model, const Module& module);
// Runs a step over all types and sets those aside that it refuses.
template <typename Step> void forTypes(Model& model, Step step)
{
  for (auto& type : model.types) try {
      step(*type);
    } catch (const Refusal& r) {
      model.refusals.push_back(r);
    }
  setAside(model);
}
// The row of a field, in a record within the record if the name has dots; `path` collects the C path.
const Row* rowNamed(const Type& type, const std::string& name);
const Row* findField(const Type& type, const std::string& name, std::string* path = nullptr);
// The record whose field a count names; the name loses what leads there. Null for a record with none around it.
const Type* holderOf(const Type& type, std::string& name);
// names.cpp
std::string cName(const std::string& name);
// The name of the definition file that a type stands in, without folder and ending.
std::string fileStem(const Type& type);
bool isWord(const std::string& name);
unsigned storeOf(const What& what);
unsigned storeForBits(unsigned bits);
// write*.cpp
// Tells of every type where in their octets its values begin and end; the direct coders are written by that.
void layOutOctets(Model& model);
std::string writeHeader(Model& model, const Module& module);
std::string writeTables(Model& model);
std::string writeCoders(Model& model, const Module& module, bool encoder);
std::string writeJumps(Model& model, const Module& module);
std::string writeTypeTable(Model& model);
std::string writeTypeFacts(Model& model);
std::string writeDescriptors(Model& model);
bool exports(const Type& type, const char* kind);
int directionNumber(const std::string& direction); // 0 either or not told, 1 up, 2 down
std::string format(const char* text, ...) __attribute__((format(printf, 1, 2)));

} // namespace l3gen
