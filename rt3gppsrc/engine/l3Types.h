// The descriptors: what the engine knows of a protocol type. They are constant tables, written by l3gen from the
// definition files; the engine walks them to decode, encode, print, initialise and build samples, and never names a
// type. Offsets are those of the public records. Nothing here owns memory. Tables name each other by place (l3At.h).
#ifndef VELNOR3GPP_L3_TYPES_H
#define VELNOR3GPP_L3_TYPES_H

#include "rt3gppsrc/engine/l3At.h"
#include "rt3gppsrc/engine/l3Forms.h"
#include "velnor3gpp/rtx3GPP.h"
#include "velnor3gpp/rtxEnum.h"
#include "velnor3gpp/rtxTypes.h"

struct L3Call;
struct L3Source;
struct L3Sink;

inline constexpr uint16_t kL3NoBit = 0xFFFF;
inline constexpr uint32_t kL3NoOffset = 0xFFFFFFFFU;
inline constexpr uint32_t kL3NoLimit = 0xFFFFFFFFU;

// What error records give as module for the rows of a definition file: its name and the coder.
struct L3Module {
  L3Run<char> decoder; // "TS24501IESSessionDec": TS24501IESSession.l3
  L3Run<char> encoder; // "TS24501IESSessionEnc"
};

// An enumeration or, with open set, an integer whose values have names.
struct L3Enum {
  const RtxEnumItem* table; // sorted by name
  uint16_t rows;
  uint16_t bits;      // width on the wire
  uint8_t openDecode; // no membership test on decoding
  uint8_t openEncode; // none on encoding
  uint8_t
      printOpen;   // a value without name prints as an integer, and the field is an unsigned integer of `store` octets
  uint8_t gapless; // values run without a gap from the lowest
  uint32_t members[8];                 // bit v set: value v (0 to 255) is a member
  const char* const* titles = nullptr; // the standard's names of the values from the lowest up, or null
};

// An earlier member of the same record (offset from the record's start).
struct L3Field {
  uint32_t offset;
  uint8_t store; // octets: 1, 2, 4, 8
  uint8_t bits;  // width on the wire, for joining selectors
};

// One term of a condition: the field lies in lo..hi (or, negated, outside). Terms with the same `any` number are
// alternatives of each other; all numbers must hold.
struct L3Term {
  L3Field field;
  uint32_t lo, hi;
  uint8_t negate;
  uint8_t any;
};

struct L3Cond {
  L3Run<L3Term> terms;
  uint16_t count;
};

// A count that an earlier field tells: sign * field + bias, where a table does not give the count for it. In a type
// whose decoder takes the count as an argument the argument stands for all of this.
struct L3Count {
  L3Field field;
  int8_t bias;
  int8_t sign;
  uint8_t argument;
  uint8_t ofAround;    // the field stands in the record around this one
  uint8_t sizeCount;   // rows of the table; a field beyond them counts 0
  L3At<uint8_t> sizes; // or null
};

enum L3Op : uint8_t {
  kL3UInt,       // integer of row.bits, stored in row.store octets
  kL3Bool,       // boolean, one bit, one octet
  kL3Enumerated, // info: L3Enum; stored as int32 (or as an integer of row.store octets with printOpen)
  kL3Octets,     // info: L3Octets
  kL3BitString,  // info: L3BitString
  kL3Text,       // info: L3Text
  kL3Record,     // row.type; info: L3Count where the type's decoder takes a count, or null
  kL3TextType,   // row.type, a hand-coded string type that gets the octets left in the region
  kL3List,       // info: L3List
  kL3Choice,     // info: L3Choice
  kL3Body,       // info: L3Body
  kL3Length,     // info: L3Length; opens a region to the end of the record, or to its kL3EndLength
  kL3EndLength,  // closes the region opened last
  kL3Release,    // info: L3Release; opens a release group
  kL3Nothing,    // no member, nothing on the wire
  kL3Unary,      // info: L3Unary; a run of equal bits, stored as its length in one octet
  kL3Extra,      // no member: row.bits bits that the standard's form alone has
  kL3Tail,       // no member: unknown elements to the end of the region; row.bits: shifts are followed
};

enum L3RowFlags : uint8_t {
  kL3ExtLast = 0x01,   // last row of an extension-bit group: further octets of the group are dropped
  kL3ExtList = 0x02,   // the element reads and writes its own extension bits (a while-ext list)
  kL3InRelease = 0x04, // belongs to the release group opened before it
  kL3Ranged = 0x08,    // an integer with a range; info: L3Range
  kL3Wide = 0x10,      // octets are 16-bit characters, which print as such
  kL3LH = 0x20,        // the bits are relative to the padding: 0 is L, 1 is H
  kL3OwnKey = 0x40,    // the name is another element's; what tells it from that one stands behind the name's end
  kL3InRun = 0x80,     // alone: 1 to 56 bits that are always there, a number, flag or enumeration without a range
};

struct L3Row {
  L3At<char> name;   // pushed and printed; null in a bare type: nothing is pushed and the printer's name is used
  L3At<L3Type> type; // kL3Record, kL3TextType: the element's type; other ops: the named type that stands here, or null
  L3Info info;       // by op
  L3At<L3Cond> cond; // kL3GivenIf, kL3GivenWhen
  uint32_t offset;   // of the member from the record's start
  uint16_t line;     // in the definition file
  uint16_t mBit;     // presence bit, or kL3NoBit
  uint16_t groupBit; // bit of the extension or release group, or kL3NoBit
  L3Op op;
  uint8_t room; // bits must remain in the region
  L3Given given;
  L3Lead lead;
  uint8_t bits;  // width on the wire of integers, booleans, enumerations
  uint8_t store; // octets of the member of integers
  uint8_t flags;
  uint8_t nameLength; // characters of the name
};

struct L3Range {
  uint32_t lo, hi;
};

struct L3Octets {
  L3CountFrom from;
  uint8_t lengthBits; // kL3OwnLength
  uint8_t ranged;     // lo..hi is tested
  uint32_t cap;       // octets inline; 0: heap (numocts u32, data pointer)
  uint32_t fixed;     // kL3Fixed: octets, an array without count
  uint32_t
      dataOffset; // from the member's start to the inline octets (their count, numocts, is one octet up to there: u8)
  L3Count count;  // kL3ByField
  uint32_t lo, hi;
};

struct L3BitString {
  uint32_t capBits; // 0: heap (numbits u32, data pointer); else inline: numbits u8, octets at dataOffset
  uint32_t dataOffset;
  L3CountFrom from = kL3Rest; // kL3ByField: `count`; kL3Fixed: capBits, an array of octets without count
  L3Count count = {};
};

// The bit that is repeated, as an octet: all zeros, all ones, or with byPosition the bits at their place in the octet.
struct L3Unary {
  L3Range range; // comes first: ranges of all integers are found alike
  uint8_t pattern;
  uint8_t byPosition;
};

struct L3Text {
  L3CountFrom from;
  uint8_t lengthBits;
  uint8_t labels; // length-prefixed labels, joined with dots in the record
  uint8_t ranged;
  uint32_t cap; // characters of an inline array, or 0: a heap string
  L3Field field;
  uint32_t lo, hi; // octets on the wire
};

struct L3List {
  L3ListEnd end;
  uint8_t zeroBits;    // kL3UntilZero
  uint8_t ranged;      // count tested against lo..hi
  uint32_t cap;        // entries inline (n u8); 0: dynamic (n u64, elem pointer)
  uint32_t elemOffset; // from the list's start to `elem`
  uint32_t elemSize;
  L3Count times; // kL3Times
  uint32_t lo, hi;
  L3Row elem; // the entry; its offset is 0 from the entry's start and its name is "elem"
};

// One alternative. Its row's offset counts from the start of the record that holds the choice.
struct L3Alternative {
  uint32_t lo, hi; // selector values; `other` takes all the rest
  uint32_t tag;    // t, from 1 in definition order
  uint8_t other;
  L3Row row;
};

// The code on the wire of one entry of L3Choice.alternatives.
struct L3Code {
  uint32_t value; // L is 0, H is 1
  uint32_t mask;  // left-justified: bits relative to the padding
  uint8_t bits;
};

struct L3Choice {
  L3SelectFrom from;
  uint8_t bits;   // kL3SelectBits, kL3SelectPeek, kL3SelectCode (0: the codes differ, `nodes` tells them)
  uint8_t tagged; // the record has t at row.offset
  uint8_t fieldCount;
  uint16_t count;
  uint32_t mask;                   // kL3SelectPeek; kL3SelectCode: left-justified, bits relative to the padding
  uint32_t unionOffset, unionSize; // from the record's start
  L3Run<L3Field> fields;
  L3Run<L3Alternative> alternatives;     // several entries may share a tag when a value list has gaps
  L3Run<L3Code> codes = {};              // kL3SelectCode: parallel to `alternatives`
  L3At<Rtx3gppAltDetmntNode> nodes = {}; // or null
  uint32_t nodeCount = 0;
};

// One message of a top-level form.
struct L3BodyRow {
  uint16_t discriminator, msgType;
  uint16_t tag; // t
  uint16_t line;
  L3Run<char> elemName;      // "u.obj_RegRequest5G", as pushed; behind its end the standard's name, or nothing
  L3At<L3Type> type;         // null: no body
  uint16_t next = 0;         // position from 1 of the next row with this message type, under another discriminator
  bool inlined = false;      // the value stands in u itself, not behind a pointer
  uint8_t direction = 0;     // 1 up, 2 down, 0 either or not told
  uint16_t standardType = 0; // the message type in the standard's form, where that is another

  const char* objName() const { return elemName + sizeof "u." - 1; }              // "obj_RegRequest5G", as printed
  const char* name() const { return elemName + sizeof "u.obj_" - 1; }             // "RegRequest5G"
  const char* title() const { return elemName + __builtin_strlen(elemName) + 1; } // "Registration request", or ""
};

struct L3Body {
  L3Field discriminator, msgType; // discriminator.store 0: none
  uint32_t onlyDiscriminator;     // the one legal value where there is no column for it, or kL3NoLimit
  uint32_t pointerOffset;         // of u from the record's start; t stands at row.offset
  uint16_t count;
  L3Run<L3BodyRow> rows;
  L3At<uint8_t> byType; // 256 entries: position from 1 of the first row with that message type, or null
  L3At<uint8_t> byTag;  // 256 entries: position from 1 of the row with that t, or null
};

struct L3Length {
  uint8_t bits;
  uint8_t unitBits; // 8: counts octets; 1: counts bits
  uint8_t ranged;
  uint8_t keepWhole; // a 16-bit length is not cut to its low 8 bits on encoding
  uint8_t member;    // the record keeps it at row.offset, in row.store octets
  uint8_t fromOctet; // counts from the next octet on: the rest of its own octet lies outside
  uint8_t bias;      // added to the number: 0 counts so many octets or bits
  uint32_t lo, hi;
  uint8_t zeroWidens = 0; // on decoding, 8 bits of 0 are the upper half of a length of 16 bits
};

struct L3Release {
  uint16_t release;
  uint16_t fitBits; // 0: no such test
  uint16_t rows;    // rows of the group behind this one
};

enum L3Skip : uint8_t { kL3SkipNothing, kL3SkipLength, kL3SkipFixed };

// How an optional element of a message is found and, out of its turn, skipped. Parallel to L3Message.options.
struct L3Iei {
  uint8_t value; // 8-bit value, or 0 to 15 for a half octet
  uint8_t half;
  L3Skip skip;
  uint8_t skipOctets; // kL3SkipFixed
  uint8_t nextSame;   // position (from 1) of the next element with this IEI, or 0
};

struct L3Message {
  L3Run<L3Row> options; // optional elements in definition order
  L3Run<L3Iei> ieis;
  L3At<uint8_t> byValue; // 256 entries: position from 1 of the first element with that IEI, 0: unknown
  uint16_t count;
  uint16_t halves; // bit v: the message has the half-octet IEI v
  uint8_t shifts;  // 1: follows locking shifts; 2: and what other codesets hold need not be understood
  uint8_t tail;    // without options: skips any tail by rtx3GPPDecL3NonImperative
  uint8_t wide;    // unknown elements from 0x78 to 0x7F have a length of two octets
  uint8_t selectingCount = 0;
  L3Run<L3Field> selecting = {}; // members of optional elements that choose among the alternatives of others
};

// Which messages of a hand-coded form its rows alone can code, because nothing protects them.
struct L3Plain {
  bool (*decodes)(const uint8_t* octets, size_t left, void* record); // writes to the record what the coder would
  void (*decoded)(void* record);                                     // what the coder does behind the rows, or null
  bool (*encodes)(const void* record);
};

// Hand-written coders of a type.
struct L3Hand {
  int (*decode)(L3Call& call, const L3Type& type, void* record);
  int (*encode)(L3Call& call, const L3Type& type, void* record);
  bool (*settle)(RtxContext* pctxt, void* record); // makes a sample one that decodes to itself; false: no memory
  const L3Plain* plain;                            // or null
};

enum L3TypeFlags : uint16_t {
  kL3Bare = 0x01,        // one thing without braces; a row named null
  kL3EarlyReturn = 0x02, // returns at once where a release group ends at the region's end
  kL3IsMessage = 0x04,
  kL3IsPdu = 0x08,
  kL3IsChoice = 0x10,   // a bare choice type: braces of the choice itself
  kL3Pointer = 0x20,    // the value is a char* (string types)
  kL3RestOctets = 0x40, // ends wherever the octets do; padded to the next octet on encoding
  kL3DecAtOnce = 0x80,  // the direct coder does a whole call
  kL3EncAtOnce = 0x100,
  kL3Padded = 0x200,       // its last octet is filled with padding on encoding
  kL3Private = 0x400,      // what it holds tells who somebody is, or what they said
  kL3EndsAnywhere = 0x800, // what its region does not hold is 0
};

struct L3Type {
  L3Run<char> fullName; // "TS24501IE_SNSSAI"; another name for the encoder stands behind its end
  L3Run<L3Module> module;
  L3Run<L3Row> rows;
  uint32_t size; // sizeof the value
  uint16_t rowCount;
  uint16_t line;             // of the block
  uint8_t nameAt, encNameAt; // where the names begin in fullName
  uint8_t mOctets;           // octets of m, which stands at offset 0
  uint16_t flags;
  uint16_t mBits;          // bits given out, groups included
  L3At<L3Message> message; // messages only
  L3At<L3Type> standard;   // the same record in the standard's form, where that is another
  const L3Hand* hand;      // or null
  // See l3Direct.h; null: rows only.
  size_t (*decodeDirect)(const L3Source& in, size_t pos, size_t end, void* record);
  size_t (*encodeDirect)(L3Sink& out, size_t pos, void* record);
};

// All types, those without exported operations included, and all enumerations; the first of each is none.
L3_WITHIN extern const L3Type l3AllTypes[];
L3_WITHIN extern const L3Enum l3AllEnums[];

template <> inline const char* l3Base<L3Type>()
{
  return reinterpret_cast<const char*>(l3AllTypes);
}

template <> inline const char* l3Base<L3Enum>()
{
  return reinterpret_cast<const char*>(l3AllEnums);
}

// The type in the form that is asked for.
inline const L3Type& l3FormOf(const L3Type& type, const RtxContext* pctxt)
{
  return type.standard && pctxt->flags & RTX_FLAG_STANDARD_FORMS ? *type.standard : type;
}

// The name that the decoder pushes: "SNSSAI".
inline const char* l3NameOf(const L3Type& type)
{
  return type.fullName + type.nameAt;
}

// The name that the encoder pushes, which two types have with a hyphen: "PDU-SM".
inline const char* l3EncNameOf(const L3Type& type)
{
  return type.fullName + type.encNameAt;
}

// Every type of the library, sorted by full name, for tools and for tests that hold for all types.
struct L3TypeEntry {
  const L3Type* type;
  int (*decode)(RtxContext* pctxt, void* value); // the exported decoder, null if there is none
  int (*encode)(RtxContext* pctxt, void* value); // calls the exported encoder, by value where it takes values
  int (*print)(RtxContext* pctxt, const char* name, const void* value);
  int (*init)(void* value);
  void* (*sample)(RtxContext* pctxt);
};

// What people ask of a type, parallel to l3TypeTable. Texts are places in l3FactText, so that they need no relocation.
struct L3Facts {
  uint16_t title;        // the standard's name, or an empty text
  uint16_t clause;       // "TS 24.501, 8.2.6"
  uint16_t module;       // "TS24501Msg"
  int16_t msgType;       // of a message, or -1
  uint8_t direction;     // of a message: 1 up, 2 down, 0 either or not told
  bool decodes, encodes; // has exported operations
};

// The types in the order of l3TypeTable, of which the shared library has none of the operations: it needs a relocation
// a type here, and six there.
L3_WITHIN extern const L3At<L3Type> l3Types[];
L3_WITHIN extern const L3Facts l3TypeFacts[];
L3_WITHIN extern const char l3FactText[];
L3_WITHIN extern const size_t l3KnownTypes;
extern const L3TypeEntry l3TypeTable[];
extern const size_t l3TypeCount;

#endif
