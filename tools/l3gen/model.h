// The model: everything that l3gen knows about the definitions, from the words of a row to the presence bits and octet
// positions that are worked out from them. All other files of the generator include this one. The Model owns every
// module, type and table; all pointers between them are plain pointers that stay valid until the Model goes, because
// each object has a heap block of its own. Types that are found faulty are moved to Model::aside and not destroyed.
//
// The phases, in the order in which main.cpp runs them, and what each leaves behind:
//
//   readModules   read.cpp      the modules of all files; names of lists depend on them
//   readFile      read*.cpp     types with their rows as written; names are still text
//   resolve       resolve.cpp   What::type and Row::member are set, presence bits and codes are given out
//   check         check.cpp     refusals of what reads well and still contradicts itself
//   layOutOctets  direct.cpp    Type::beginsAt and Type::endsAt, which only the direct coders use
//   findAlike     alike.cpp     Type::coders, direct coders that serve several types
//   write...      the rest      the text of the generated files
//
// The writers rely on check: they follow fields and types without asking whether these exist.
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

// Where something stands in a definition file. Refusals, error records and the comments of the direct coders quote it.
struct Place {
  // The name without its folder: "TS24501IES.l3".
  std::string file;
  // From 1; 0 is the file as a whole, when it cannot be read.
  int line = 0;
  // From 1, in octets. While a line is read it follows the word that is looked at, so that a refusal points to that
  // word. A row or block keeps the column of its first word.
  int column = 1;
};

// One fault, as a sentence for the person who wrote the definition. Steps throw it with refuse(); the loops around the
// steps (readLines for a line, forTypes for a type, checkRows for a row) catch it, note it in Model::refusals and go
// on, so that one run tells all faults.
struct Refusal {
  Place place;
  std::string words;
};

[[noreturn]] void refuse(const Place& place, const std::string& words);

// Both ends belong to it. A single value has lo == hi.
struct Range {
  uint32_t lo = 0, hi = 0;
  bool operator==(const Range&) const = default;
};

// The third column of a row, one value for each form of the table "What" in docs/definition-language.md: Bits is `bits
// N` and `L/H`; Octets is `octets` and `ucs2`; Text is `string` and `labels`, a char* on the heap; Chars is `chars N`,
// an array in the record; Body is the choice of a message in a `pdu`; Nothing is `-`. Nested is `record`: the reader
// turns it into Type as soon as it meets the deeper rows (innerType), and resolve refuses one that has none.
enum class WhatKind { Bits, Flag, Unary, Octets, BitString, Text, Chars, Type, Choice, Body, Nested, Nothing };
// What a row is: an element, or something that stands between elements. Length is `len W` and the `length W` of a block
// line, EndLength `end-len`, Group `group NAME`, Release and EndRelease `release K` and `end-release`. Extra is made of
// `standard NAME bits N` and occurs only in the second table of a type (standardRows in tables.cpp).
enum class Mark { Element, Length, EndLength, Extra, Tail, Padding, Group, Release, EndRelease };

struct Type;
struct Row;
struct Meanings;

// A node of the tree that finds an alternative by its code, bit by bit (codes.cpp builds it, the engine walks it).
struct CodeNode {
  // The bit is relative to the padding, L or H. Then branch 1 is L: the bit equals that of the padding octet 0x2B.
  bool padded = false;
  // By the bit that is read: -1 no code goes on here, 0 a code ends here, else the number of the next node.
  int next[2] = {-1, -1};
  // The code that ends here, left-justified in 32 bits; the alternative has it among its values.
  uint32_t value[2] = {0, 0};
};

// How many entries, octets or bits an earlier field counts: sign * field + bias. For the four forms that a row may
// have:
//
//   times n         bias 0, sign 1            times n +2      bias 2, sign 1
//   times 8 - n     bias 8, sign -1           by n sizes T    what table T has for n, 0 beyond its end
struct Count {
  // The name of the field as written: `n`, `octet1.eBit` for a field of a member, `..n` for one of the record around.
  std::string field;
  int bias = 0;
  int sign = 1;
  // The name of a `sizes` block, or empty.
  std::string sizes;
  // The count stands in a type of its own, whose decoder is given the number by its caller (`own`, counted lists of
  // nested records). All other members are empty then; the row that has the type keeps the real count in Row::argument.
  bool argument = false;
  bool fieldAlone() const { return !bias && sign > 0 && sizes.empty() && !ofAround(); }
  // A field of the record around this one, `..n`.
  bool ofAround() const { return field.starts_with(".."); }
  bool operator==(const Count&) const = default;
};

// What an element is. Which members mean something depends on `kind`; those of other kinds keep their defaults.
struct What {
  WhatKind kind = WhatKind::Nothing;
  // Width on the wire: of a number (Bits), of the length in front of a string (Octets and Text with kL3OwnLength), of
  // the selector that a choice reads itself (`bits N`, `peek N`), of the codes if all have one length (Code, else 0).
  unsigned bits = 0;
  // Bits: relative to the padding, `L/H`.
  bool padded = false;
  // Bits: the name of the `meanings` block that has words for the values, or empty; the block is set by check.
  std::string meaningsName;
  const Meanings* meanings = nullptr;
  // Unary: the bit that is counted, '0', '1', 'L' or 'H'.
  char repeated = 0;
  // Octets, BitString, Text: where the size comes from.
  L3CountFrom from = kL3Fixed;
  // Octets of a fixed size; Chars: octets of the array, the zero at the end included.
  uint32_t octets = 0;
  // The room of an inline string in octets (of a bit string in bits); 0: the string is on the heap. A bit string of a
  // fixed size has its bits here.
  uint32_t max = 0;
  // Octets that are 16-bit characters, `ucs2`. They are coded as octets and print as characters.
  bool wide = false;
  // Text that is `labels` on the wire, each behind an octet with its length, and joined by dots in the record.
  bool labels = false;
  // With kL3ByField.
  Count count;
  // Type: the name as written, with or without its module.
  std::string typeName;
  // Type: set by resolve. It stays null if the name is unknown, and then the type around it is set aside.
  Type* type = nullptr;
  // `TYPE rest`: a string type by hand that gets the octets left in the region.
  bool rest = false;
  // Choice: how the alternative is found.
  L3SelectFrom select = kL3SelectFields;
  // With `peek N & MASK`, what is taken of the bits. With codes of one length, the bits that are relative to the
  // padding, left-justified in 32 bits.
  uint32_t mask = 0;
  // With codes that differ in length or in where they are L/H: the tree that finds them. Node 0 is the root.
  std::vector<CodeNode> nodes;
  // Choice by fields: the fields, joined bit by bit in this order. Body: the discriminator, if there is one, and the
  // message type behind it.
  std::vector<std::string> fields;
  // `!untagged`: the record has no `t`, and the union stands where `u` would.
  bool untagged = false;
  // Body: `under protoDiscr=9`, the one discriminator that is legal. Then the rows have no column for it.
  bool underOnly = false;
  uint32_t under = 0;
  // Choice, Body: the `|` rows.
  std::vector<Row> alternatives;
};

// How often an element stands there, `while-room 1..16 heap`.
struct Often {
  L3ListEnd end = kL3NoList;
  // With kL3Times.
  Count count;
  // With kL3UntilZero: so many bits of 0 end the list; they are looked at and not read.
  unsigned zeroBits = 0;
  // How many entries are legal; tested on decoding (non-fatal) and encoding (fatal).
  std::optional<Range> range;
  bool heap = false;
  // The entries lie in the record, in an array of range->hi; else they are on the heap.
  bool bounded() const { return range && !heap; }
  bool operator==(const Often&) const = default;
};

// One term of a condition, `field=1,4..6`: true if the field has one of the values. Without `=` it is read as
// `field!=0`; `negate` never comes with more than one range.
struct Term {
  std::string field;
  bool negate = false;
  std::vector<Range> values;
};

// `standard ...` at the end of a row or block: the form that the public standard has, where this project's form
// differs. The generator writes a second table of rows for the type then. The kinds in the order of the enumeration:
// nothing said; `bits N`; `length W`; `none`; `part A..B`; `ends`; `by-hand`; `0xTT`, another message type.
struct Standard {
  enum Kind { None, Bits, Length, Absent, Part, Ends, ByHand, Number } kind = None;
  // The width in bits, or the message type.
  unsigned number = 0;
  // The rows of the element's type that the standard's form has, counted from 1.
  Range part = {};
};

// What `private` comes to without a word behind it: the two members of L3Row.
inline constexpr const char* kWhollyPrivate = "kL3PrivateAll, 0";

// One row. The columns stand here in the order in which they are written:
//
//   room if length!=2   sd       SD            in 1..9   !name-as x
//   when it is there    name     what, often   range     words
struct Row {
  Place place;
  // When is it there? Answered by room, given (with cond) and lead together; see l3Forms.h.
  Mark mark = Mark::Element;
  bool room = false;
  L3Given given = kL3GivenAlways;
  L3Lead lead = kL3NoLead;
  std::vector<Term> cond;
  // As it is pushed and printed, `!name-as` already applied (nameMember); empty for the name `-`.
  std::string name;
  // Of a row of a body: the standard's name of the message and who sends it, where no message type tells it.
  std::string title;
  std::string direction;
  // The C name, set by resolve; empty where the record has no member.
  std::string member;
  What what;
  Often often;
  // `in a..b`: legal values of a number, or legal counts of octets of a string.
  std::optional<Range> range;
  // Quirk words without their `!`; only name-as has a text.
  std::map<std::string, std::string> words;
  // The width of a length in bits, the value of an IEI (8 bits, or 0 to 15 for `0xN-`), or the release of a group.
  unsigned number = 0;
  // The IEI has 4 bits, `0xN-`, and shares its octet with the value.
  bool half = false;
  // `own`: the content becomes a type of its own, named after record and element (giveOwnType).
  bool own = false;
  // `shared`: the list becomes a type named after its entries, one for all rows that have such a list.
  bool shared = false;
  // `length W TYPE`: the content lies behind a length of so many bits that no member keeps.
  unsigned behind = 0;
  // The count that is handed to the decoder of the element's type; see Count::argument.
  std::optional<Count> argument;
  // The next five belong to lengths. `len 4 bits`: it counts bits instead of octets.
  bool countsBits = false;
  // `len 8 +k`: k octets or bits more follow than the number says.
  unsigned bias = 0;
  // `length 4 from-octet`: what is counted begins with the next octet; the rest of this one is outside of the region.
  bool fromOctet = false;
  // `release K fit S`: the group is read only if S bits are left.
  unsigned fit = 0;
  // Of an alternative: the selector values that lead to it, or its codes; `else` sets `other` instead.
  std::vector<Range> values;
  // The codes of an alternative as written, of 0, 1, L and H.
  std::vector<std::string> codes;
  bool other = false;
  // Of a row of a body, `| 126 0x41 RegRequest5G RegRequest 6`: 126, 0x41, and the number t, 6.
  uint32_t discriminator = 0, msgType = 0, tag = 0;
  // The message is a number that stands in `u` itself; others stand behind a pointer.
  bool inlined = false;
  Standard standard;
  // Set in the second table of a type: the width in the first form, which the member of the record was made for.
  unsigned storedBits = 0;
  // Laid out by resolve (layOutBits, layOutExt). The number of the presence bit in `m`, or -1; a `with` row has that of
  // the row before it, a `group` or `release` row that of the group. groupBit is the bit of the group that the row is
  // in.
  int mBit = -1, groupBit = -1;
  // extLast: no `more` row follows, so a decoder drops the octets that a later edition has added to the extension
  // group.
  bool inRelease = false, extLast = false;
  bool isElement() const { return mark == Mark::Element; }
  // Always there, with nothing in front of it: `M`. Only such rows have a place in the octets that can be known
  // beforehand.
  bool plain() const { return isElement() && !room && given == kL3GivenAlways && lead == kL3NoLead; }
  bool isIei() const { return given == kL3GivenIei; }
};

// Bare is a type that is one thing and has no braces when it is printed: `type`, `choice`, and the types that the
// reader makes for lists and choices of nested rows. Record is `element`, `part` and `rest`.
enum class Kind { Enum, Names, Bare, Record, Message, Pdu, Text };

// `module NAME file STEM spec "TS 24.501"`. The stem is the name of the generated files; several definition files may
// continue one module.
struct Module {
  std::string name, stem, spec;
  std::map<std::string, std::string> words; // hold for every block
};

// A block that makes no type: a table that rows name. `used` is set by check, which refuses a table that nobody uses.
struct RowTable {
  Place place;
  Module* module = nullptr;
  std::string full;
  bool used = false;
};

// A `sizes` block: entry n is the size for the number n.
struct Sizes : RowTable {
  std::vector<unsigned> values;
};

// A `meanings` block: what the standard says that a number means, in rising order of the numbers.
struct Meanings : RowTable {
  std::vector<std::pair<uint32_t, std::string>> values;
};

// A block, or a type that the reader made of nested rows. Everything that is written is written type by type.
struct Type {
  Place place;
  Kind kind = Kind::Record;
  // Of a nested type: the record that it stands in. `..field` looks for fields there.
  const Type* around = nullptr;
  // The rows which that record had when the nested type began: `..field` may name only these, since later ones have not
  // been decoded yet.
  size_t aroundRows = 0;
  // Types within it count by `..field`. It has no direct coder then, since only the walk leads them to the field.
  bool lends = false;
  Module* module = nullptr;
  // "SNSSAI", "TS24501IE_SNSSAI", and what stood in brackets, "9.11.2.8".
  std::string name, full, clause;
  // The standard's name in quotation marks, or empty; of a message also who sends it, "up", "down" or empty.
  std::string title;
  std::string direction; // of a message: "up", "down" or empty
  // A `part` block, or a content behind `length W`: there are no exported operations.
  bool part = false;
  // A `choice` block, or a choice that became a type: its braces are printed.
  bool choiceType = false;
  // A `rest` block: the octets may end in front of any row, and an encoder pads with 0x2B.
  bool restOctets = false;
  // Enum: `L/H`, one bit relative to the padding.
  bool padded = false;
  // Its decoder takes the count of bits or entries as a further argument.
  bool counted = false;
  // Enum, Names: the width in bits.
  unsigned bits = 0;
  // Enum, Names: in the order of the definition.
  std::vector<std::pair<std::string, int>> values;
  // `x128-eea2 = 2 "128-EEA2"`: what the standard calls a value.
  std::map<int, std::string> valueTitles;
  std::vector<Row> rows;
  Standard standard;
  // Rows that only the standard's form has, each with the number of the row it stands in front of.
  std::vector<std::pair<size_t, Row>> standardRows;
  // The `standard part A..B` of rows of this type: for each a descriptor of these rows alone is written.
  std::set<std::pair<unsigned, unsigned>> parts;
  // Of a message, `message NAME 0xTT`; -1: none.
  int msgType = -1;
  // The files in src2 with coders by hand, empty if the rows are all. Only whether they are empty counts; the name is
  // for the reader. `form` is how the value lies behind an IEI: "TLV", "TLV-E", "TV 2", "T".
  std::string decodeFile, encodeFile, sampleFile, form;
  // `direct by hand`: the file has l3DirectDec_... and l3DirectEnc_... as well.
  bool directByHand = false;
  // `plain by hand`: the file tells when a value needs nothing but its rows (L3Plain).
  bool plainByHand = false;
  // Quirk words without their `!`, and `private` with what it comes to (L3Row). The generator puts two in itself:
  // "bare" for `message ... is`, which has no record around its only element, and "no-sample" for parts of other types
  // (markParts).
  std::map<std::string, std::string> words;
  // Laid out by resolve: how many presence bits there are, groups included, and their names, "sdPresent".
  int mBits = 0;
  std::vector<std::string> mNames;
  // For the direct coders (layOutOctets): how many bits of its first octet are used where a value begins, and behind a
  // value that began with an octet. -1: it differs from place to place. kNotReached: no direct coder has it as a
  // member. Four bits that always stand in the lower half of an octet have beginsAt 4; their endsAt, which is reckoned
  // from the start of an octet, is 4 as well.
  static constexpr int kNotReached = -2;
  int beginsAt = kNotReached;
  int endsAt = 0;
  // The types whose direct decoder and encoder serve this one, itself or one before it (findAlike).
  const Type* coders[2] = {this, this};
  // A word of the block or of its module.
  bool has(const char* word) const { return words.count(word) || module->words.count(word); }
  // Does the standard's form have other rows? An optional element that the standard lacks does not count: its IEI is
  // simply unknown there, which its row says by itself.
  bool hasStandard() const
  {
    bool row = std::any_of(rows.begin(), rows.end(), [](const Row& r) {
      return r.standard.kind != Standard::None && !(r.isIei() && r.standard.kind == Standard::Absent);
    });
    return row || standard.kind != Standard::None || !standardRows.empty();
  }
  // Does the standard's form differ only in that the octets may end anywhere? What is complete reads alike in both
  // forms.
  bool onlyEnds() const
  {
    bool row = std::any_of(rows.begin(), rows.end(), [](const Row& r) { return r.standard.kind != Standard::None; });
    return standard.kind == Standard::Ends && !row && standardRows.empty();
  }
  // Is there to be a second table of rows?
  bool needsStandard() const
  {
    return hasStandard() ||
           std::any_of(rows.begin(), rows.end(), [](const Row& r) { return r.standard.kind != Standard::None; });
  }
};

// A number, with all aliases between the row and the number followed: `M x A`, `type A B`, `type B bits 4 in 1..9` is a
// Scalar of 4 bits and 1..9. The range of the outermost type that has one is the one that is tested.
struct Scalar {
  // Bits, Flag or Unary.
  WhatKind kind;
  unsigned bits;
  // The enumeration or the names that it belongs to, or null.
  Type* named;
  std::optional<Range> range;
  bool padded = false;
  const Meanings* meanings = nullptr; // words for its values, or null
};

// Everything that has been read. It is filled by the phases at the top of this file and handed to the writers.
struct Model {
  std::vector<std::unique_ptr<Module>> modules;
  // In the order of definition; a nested type stands behind the block that holds it. All output follows this order
  // where nothing else is said, so that the same files give the same octets.
  std::vector<std::unique_ptr<Type>> types;
  // By full name. It keeps the types that are set aside, so that their users are not told of an unknown type.
  std::map<std::string, Type*> byName;
  std::vector<std::unique_ptr<Sizes>> sizes;
  std::vector<std::unique_ptr<Meanings>> meanings;
  // In the order in which they were found; tellRefusals sorts them. If there is any, nothing is written.
  std::vector<Refusal> refusals;
  // What faults.cpp keeps so that one fault neither hides another one nor causes any. First the lines of each file at
  // which a block or a module line begins: a fault belongs to the last of these above it.
  std::map<std::string, std::set<int>> blocks;
  // Those of the lines above whose blocks have a fault.
  std::set<std::pair<std::string, int>> faulty;
  // Full names of blocks whose first line was refused. Rows that name them are not at fault.
  std::set<std::string> unread;
  // A module line was refused, so any unknown name may be one of its types.
  bool moduleUnread = false;
  // The types of faulty blocks and all types that need them. Only faults.cpp looks at them.
  std::vector<std::unique_ptr<Type>> aside;
  Module* module(const std::string& name);
  // The table that a row of the module names, with or without the module in front; null if there is none.
  Sizes* sizesNamed(const Module& from, const std::string& name) const;
  Meanings* meaningsNamed(const Module& from, const std::string& name) const;
};

// read.cpp. The modules of all files are read before the first row (see `read` in main.cpp).
void readModules(Model& model, const std::string& path);
void readFile(Model& model, const std::string& path);
// faults.cpp. setAside moves the types that the faults found so far make doubtful out of `types`, so that the next
// phase looks at all others. blame marks the block around a place as faulty without a refusal of its own, and blamed
// asks for that. couldBeUnread: is an unknown name one that a refused line would have given?
void setAside(Model& model);
void blame(Model& model, const Place& place);
bool blamed(Model& model, const Place& place);
bool couldBeUnread(Model& model, const Module& from, const std::string& name);
// The faults as `file:line: words`, or, as editors want them, `file:line:column: error: words`. The second function
// reads the files again to find the column of a word that a refusal quotes.
std::string tellRefusals(const Model& model);
std::string tellFaults(const Model& model, const std::vector<std::string>& paths);
// readNested.cpp. innerType makes the type that the deeper rows below an element go into and returns it, or null if the
// element can have no parts; `within` is the name of the choice if the row is one of its alternatives. giveOwnType acts
// on `own`, `shared` and `length W TYPE`. Both change the row: afterwards it names the new type.
Type* innerType(Model& model, const Type& owner, Row& row, const std::string& within);
void giveOwnType(Model& model, const Type& owner, Row& row);
// resolve.cpp and check.cpp: the two phases, and questions about types that the writers ask as well.
void resolve(Model& model);
void check(Model& model);
// The number that a type or element is in the end, or nothing if it is no number.
std::optional<Scalar> scalarOf(const Type& type);
std::optional<Scalar> scalarOf(const What& what);
// The bits that a value takes on the wire where every value takes as many; nothing where they vary or nobody knows.
std::optional<uint32_t> fixedBits(const Type& type);
std::optional<uint32_t> fixedBits(const Row& row);
// The optional elements of a message whose values select among the alternatives of other optional elements. Decoders
// set them to 0 first, since they need not be there when they are asked for.
std::vector<std::string> selectingOptions(const Type& type);
// The width in bits of the length that a value begins with, or 0 if it begins with something else.
unsigned leadingLength(const Type& type);
// codes.cpp: lays out the codes of a choice; the values that its alternatives are selected by follow from them.
void layOutCodes(What& what);
// A code as a number, L being 0 and H 1: "1L" is 2. And the mask of its bits that are L or H, left-justified in 32
// bits: "1L" has 0x40000000.
uint32_t codeValue(const std::string& code);
uint32_t codeMask(const std::string& code);
// How a decoder passes over an element that comes out of its turn: "length", by the length octet that it begins with;
// "fixed", by `octets`; or "nothing", not at all.
std::string skipForm(const Row& row, uint32_t& octets);
// Does a record of this type hold anything that an initialiser has to clear?
bool needsInit(const Type& type);
// The `body` rows of a top-level form, the last of its rows. One is usual; a second one holds the rest octets of the
// same messages.
std::vector<const Row*> bodiesOf(const Type& type);
// Calls `use` for every type that the element names, alternatives included. The flag says whether the type stands
// behind a pointer only, as the messages of a body do; the others must be complete C types before this one.
void collectUses(const What& what, bool pointed, const std::function<void(Type*, bool)>& use);
// The types of a module so that each follows the types that it holds by value.
std::vector<Type*> inDependencyOrder(Model& model, const Module& module);
// Runs a phase over all types and notes what it refuses. The refused types, and all that need them, are set aside
// afterwards, so that the next phase never sees them.
template <typename Step> void forTypes(Model& model, Step step)
{
  for (auto& type : model.types) try {
      step(*type);
    } catch (const Refusal& r) {
      model.refusals.push_back(r);
    }
  setAside(model);
}
// The row of a field: rowNamed by a plain name, findField also by one with dots, `octet1.eBit`. `path` gets the C path
// appended. Null if there is no such row.
const Row* rowNamed(const Type& type, const std::string& name);
const Row* findField(const Type& type, const std::string& name, std::string* path = nullptr);
// The record that a field of a count stands in: the type itself, or the one around it for `..n`, whose dots are taken
// off the name. Null if no record is around.
const Type* holderOf(const Type& type, std::string& name);
// names.cpp. A name as C can have it: `a-b` is a_b, `3gpp` is x3gpp, `switch` is switch_.
std::string cName(const std::string& name);
// The name of the definition file that a type stands in, without folder and ending.
std::string fileStem(const Type& type);
// Only letters, digits, hyphens and underscores?
bool isWord(const std::string& name);
// The octets of the C member that holds the number: an enumeration has 4, others the least of 1, 2, 4 and 8. What is no
// number has 0.
unsigned storeOf(const What& what);
unsigned storeForBits(unsigned bits);
// Fills in Type::beginsAt and endsAt for all types. The direct coders are written by them.
void layOutOctets(Model& model);
// Fills in Type::coders.
void findAlike(Model& model);
// One generated file each; docs/tour.md and main.cpp list them. writeCoders has the direct coders and the operations
// that are more than a jump to the engine, writeJumps all others.
std::string writeHeader(Model& model, const Module& module);
// The types that callers know, sorted by name: the tables of them are searched by halves.
std::vector<const Type*> knownTypes(const Model& model);
std::string writeTables(Model& model);
std::string writeCoders(Model& model, const Module& module, bool encoder);
std::string writeJumps(Model& model, const Module& module);
std::string writeTypeTable(Model& model);
std::string writeTypeFacts(Model& model);
std::string writeDescriptors(Model& model);
// Is an operation of this kind exported? "decode", "encode", "print", "init" or "sample".
bool exports(const Type& type, const char* kind);
// As the tables have it: 0 either side or not told, 1 "up", 2 "down".
int directionNumber(const std::string& direction);
// As printf writes it.
std::string format(const char* text, ...) __attribute__((format(printf, 1, 2)));

} // namespace l3gen
