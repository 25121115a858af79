// The descriptors: what the engine knows of a protocol type. They are constant tables that l3gen writes from the
// definition files (src/*.l3). The engine walks them to decode, encode, print, initialise and build samples; the engine
// itself names no type. A descriptor owns nothing and is never written to, so all threads share it without locks.
//
// Three units recur in every table, and a member says which of them it has:
//
//   bits      on the wire: a width, a length in bits, a cursor
//   octets    in memory: an offset in the public record, a size, the width of a member ("store")
//   position  in an array, from 1 on; 0 means "none"
//
// For example, the row `M value bits 5` becomes op kL3UInt, bits 5, store 1: five bits are read and stored in one
// octet. Offsets are those of the public records, as the compiler laid them out. Tables name each other by place
// (l3At.h).
#ifndef VELNOR3GPP_L3_TYPES_H
#define VELNOR3GPP_L3_TYPES_H

#include "rt3gppsrc/engine/l3At.h"
#include "rt3gppsrc/engine/l3Forms.h"
#include "rt3gppsrc/engine/l3Values.h"
#include "velnor3gpp/rtx3GPP.h"
#include "velnor3gpp/rtxTypes.h"

struct L3Call;
struct L3Source;
struct L3Sink;

// L3Row.mBit, groupBit: the element has no presence bit.
inline constexpr uint16_t kL3NoBit = 0xFFFF;
inline constexpr uint32_t kL3NoOffset = 0xFFFFFFFFU; // an offset of no member
// L3Body.onlyDiscriminator: each message has a discriminator of its own.
inline constexpr uint32_t kL3NoLimit = 0xFFFFFFFFU;

// The module that error records give for the rows of one definition file: the file's stem with the coder behind it. The
// module and a line lead the reader of an error record to the row (docs/adr/0006-where-an-error-came-from.md).
struct L3Module {
  L3Run<char> decoder; // "TS24501IESSessionDec": TS24501IESSession.l3
  L3Run<char> encoder; // "TS24501IESSessionEnc"
};

// An earlier member of the same record on which something later depends.
struct L3Field {
  // From the record's start. The member may lie inside a record that is itself a member (`octet1.eBit`).
  uint32_t offset;
  // Octets of the member: 1, 2, 4 or 8. In L3Body 0 says that there is no such field.
  uint8_t store;
  // Width on the wire. Several selecting fields are joined by it into one number (l3JoinFields).
  uint8_t bits;
};

// One term of a condition: the field lies in lo..hi or, negated, outside. `addrType=1` is one term, 1..1.
// `dataType=0,2` is two terms, 0..0 and 2..2, with the same `any` number, of which one must hold. Terms joined by `&`
// have different numbers, and all numbers must hold. Terms with one number stand side by side.
struct L3Term {
  L3Field field;
  uint32_t lo, hi;
  uint8_t negate;
  uint8_t any;
};

// A condition: `if` and `when` in a definition (l3Holds).
struct L3Cond {
  L3Run<L3Term> terms;
  // Terms in all.
  uint16_t count;
};

// How many octets, bits or entries there are: sign * field + bias, never below 0. `times numElems +1` has sign 1 and
// bias 1; `times 1 - mode` has sign -1 and bias 1. Where no such formula gives the count, `sizes` has it for each value
// of the field, as for the bits that a list of N cells takes (TS 44.018, 9.1.54).
struct L3Count {
  L3Field field;
  int8_t bias;
  int8_t sign;
  // 1: the decoder of the type has been given the count as an argument, which stands for all of this (L3Call.argument).
  uint8_t argument;
  // 1: the field stands in the record that holds this one (`..FIELD`); it counts as 0 where there is none.
  uint8_t ofAround;
  // Rows of the table; a field at or beyond them counts 0.
  uint8_t sizeCount;
  // Null: the formula holds.
  L3At<uint8_t> sizes;
};

// What a row is. It decides the form of the member in the record, how the element is coded, and what L3Row.info leads
// to. The numbers of a fixed width come first, up to kL3Enumerated: several places compare the op with that one.
enum L3Op : uint8_t {
  kL3UInt,       // integer of row.bits, stored in row.store octets; info: L3Range (kL3Ranged), L3Meanings or null
  kL3Bool,       // boolean, one bit, one octet; info: L3Meanings or null
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

// Bits of L3Row.flags.
enum L3RowFlags : uint8_t {
  // The last known row of a group of octets with extension bits. The decoder drops further octets of the group, so that
  // a group which a later release has made longer can still be read.
  kL3ExtLast = 0x01,
  // A list `while-ext`. It reads and writes its own extension bits, one in front of each entry.
  kL3ExtList = 0x02,
  // The row belongs to the release group (kL3Release) that was opened before it.
  kL3InRelease = 0x04,
  // An integer with a range; info: L3Range, or something that begins with one (L3Unary).
  kL3Ranged = 0x08,
  // Octets: they are 16-bit characters and print as such. A flag: it is a number in the standard's form, so those who
  // name values tell it as one in either form.
  kL3Wide = 0x10,
  // The bits are relative to the padding of rest octets: 0 is L, 1 is H (l3Padding.h).
  kL3LH = 0x20,
  // The element is pushed and printed under another element's name (`!name-as`). Its own name stands behind the end of
  // that name: "ddx\0spare".
  kL3OwnKey = 0x40,
  // Set alone or not at all. The row is 1 to 56 bits that are always there: a number, a flag or an enumeration, without
  // a range. The walks code neighbouring rows of this kind in one step (takeRun, putRun).
  kL3InRun = 0x80,
};

// What of an element tells of persons (`private` in a definition).
enum L3Privacy : uint8_t {
  kL3Public,         // nothing, unless it lies in a private type
  kL3PrivateAll,     // all of it
  kL3PrivateFirst,   // its first octets: an address in front of its mask
  kL3PrivateBehind,  // all but its first octets, which tell what it is
  kL3PrivateEach,    // each so many octets by themselves: two addresses
  kL3PrivateDigits,  // digits, two in an octet with the low half first
  kL3PrivateOption,  // a protocol configuration option, whose number stands before it
  kL3PrivateEap,     // what follows the length of an EAP packet
  kL3PrivateBer,     // the values of encoded ASN.1, whose tags and lengths stay
  kL3PrivateMessage, // a message, with persons of its own
};

// One row of a definition: one element of a record.
struct L3Row {
  // As pushed on the element path and as printed. Null in a bare type: nothing is pushed, and the printer uses the name
  // of the element that holds the type.
  L3At<char> name;
  // kL3Record and kL3TextType: the element's type. Other ops: the named type that stands here, or null. A failure is
  // then reported for the type's block first and for the row behind it, as if a coder of the type had been called.
  L3At<L3Type> type;
  // What the op needs besides; see L3Op.
  L3Info info;
  // The condition of kL3GivenIf and kL3GivenWhen, else null.
  L3At<L3Cond> cond;
  // Of the member from the record's start, in octets. In an alternative of a choice it counts from the record that
  // holds the choice, in the row of a list's entry from the entry's start.
  uint32_t offset;
  // Line of the row in the definition file, for error records.
  uint16_t line;
  // The presence bit in the record's member `m`, or kL3NoBit. Bit 10 is bit 2 (0x04) of the second octet.
  uint16_t mBit;
  // The presence bit of the extension or release group to which the row belongs, or kL3NoBit.
  uint16_t groupBit;
  L3Op op;
  // 1: the element is there only while bits remain in the innermost region (`room`).
  uint8_t room;
  // On what condition the element is there (l3Forms.h).
  L3Given given;
  // Which bit stands in front of it (l3Forms.h).
  L3Lead lead;
  // Width on the wire of an integer, flag or enumeration. kL3Tail: not 0 if shifts are followed.
  uint8_t bits;
  // Octets of the member of an integer, flag or enumeration: 1, 2, 4 or 8.
  uint8_t store;
  // L3RowFlags.
  uint8_t flags;
  // Characters of the name, which the printer needs for every line.
  uint8_t nameLength;
  // What redacting does with it, and with how many octets.
  L3Privacy privacy = kL3Public;
  uint8_t privateOctets = 0;
};

// A string of octets. With `cap` the octets stand in the record: `numocts`, of one octet, then data[cap]. Without it
// they are a block of the context's heap: `numocts` of 32 bits, then a pointer (L3HeapOctets). kL3Fixed is a bare
// array.
struct L3Octets {
  L3CountFrom from;    // where the number of octets comes from
  uint8_t lengthBits;  // kL3OwnLength: width of the length in front of the octets
  uint8_t ranged;      // 1: the number of octets is tested against lo..hi
  uint32_t cap;        // octets that the inline array holds; 0: they lie on the heap
  uint32_t fixed;      // kL3Fixed: octets, always so many
  uint32_t dataOffset; // from the member's start to the first inline octet
  L3Count count;       // kL3ByField: the number of octets
  uint32_t lo, hi;
};

// A string of bits, the first bit on top of the first octet: the bits 101 are the octet A0. It lies in the record as
// octets do (L3Octets), but is counted in bits.
struct L3BitString {
  // Bits that the inline array holds (`numbits`, one octet, stands in front of it); 0: they lie on the heap.
  uint32_t capBits;
  // From the member's start to the first inline octet.
  uint32_t dataOffset;
  // kL3Rest: all bits left in the region. kL3ByField: `count`. kL3Fixed: capBits of them, in an array without a count.
  L3CountFrom from = kL3Rest;
  // kL3ByField: the number of bits.
  L3Count count = {};
};

// A number written as a run of equal bits and one that differs: 3 as a run of 1s is 1110.
struct L3Unary {
  // It comes first, so that l3RangeOf finds the range of any integer alike.
  L3Range range;
  // The repeated bit as an octet: all zeros or all ones, or with byPosition an octet such as the padding's 2B.
  uint8_t pattern;
  // 1: the run follows the pattern's bits at their own places in the octet, not one bit that is repeated.
  uint8_t byPosition;
};

// A text. In the record it is a char* to the context's heap or, with `cap`, an array that only coders by hand fill.
struct L3Text {
  // Where the number of octets on the wire comes from.
  L3CountFrom from;
  // kL3OwnLength: width of the length in front of the text.
  uint8_t lengthBits;
  // 1: labels, each behind an octet with its length, as in an access point name (TS 23.003, 9.1): 03 61 62 63 01 64
  // becomes the text "abc.d".
  uint8_t labels;
  // 1: the number of octets on the wire is tested against lo..hi.
  uint8_t ranged;
  // Characters of an inline array, with the ending zero; 0: a char* to the heap.
  uint32_t cap;
  // kL3ByField: the field that counts the octets on the wire.
  L3Field field;
  // In octets on the wire.
  uint32_t lo, hi;
};

// A list of entries. With `cap` the entries stand in the record: `n`, of one octet, then elem[cap]. Without it they are
// an array on the context's heap: `n` of 64 bits, then a pointer (L3HeapList).
struct L3List {
  L3ListEnd end;       // what ends the list on the wire (l3Forms.h)
  uint8_t zeroBits;    // kL3UntilZero: the list ends where the next so many bits are 0
  uint8_t ranged;      // 1: the number of entries is tested against lo..hi
  uint32_t cap;        // entries that stand inline; 0: they lie on the heap
  uint32_t elemOffset; // from the list's start to `elem`, where the entries stand inline
  uint32_t elemSize;   // octets of one entry in memory
  L3Count times;       // kL3Times: the number of entries
  uint32_t lo, hi;
  // The row of one entry. Its offset is 0, from the entry's start, and its name is "elem".
  L3Row elem;
};

// One alternative of a choice. Its row's offset counts from the start of the record that holds the choice.
struct L3Alternative {
  // Selector values that choose it.
  uint32_t lo, hi;
  // What the record's member `t` holds for it: from 1 in the order of the definition. 0 means that nothing was chosen.
  uint32_t tag;
  // 1: `else`, which takes all values that no other alternative has.
  uint8_t other;
  L3Row row;
};

// The code on the wire of one entry of L3Choice.alternatives, which the encoder writes when that alternative is chosen:
// `| 10 b` is value 2 of 2 bits; `| LH c` is value 1 of 2 bits that are both relative to the padding.
struct L3Code {
  // Right-justified; L is 0, H is 1.
  uint32_t value;
  // Left-justified: a 1 for each bit that is relative to the padding. LH has 0xC0000000, L0 has 0x80000000.
  uint32_t mask;
  // Length of the code.
  uint8_t bits;
};

// A choice: in the record a tag `t` of 32 bits and a union `u`.
struct L3Choice {
  // Where the selector comes from (l3Forms.h).
  L3SelectFrom from;
  // Width of the selector for kL3SelectBits, kL3SelectPeek and kL3SelectCode. 0: the codes differ in length or kind,
  // and the tree in `nodes` tells them apart bit by bit.
  uint8_t bits;
  // 1: the record has `t`, at the row's offset. 0: the selecting field alone tells the alternative (`!untagged`).
  uint8_t tagged;
  // kL3SelectFields: how many fields are joined to the selector.
  uint8_t fieldCount;
  // Entries of `alternatives`.
  uint16_t count;
  // kL3SelectPeek: and-ed with the bits ahead, right-justified. kL3SelectCode: left-justified, as L3Code.mask.
  uint32_t mask;
  // Of `u` from the record's start, in octets, for clearing it as a whole.
  uint32_t unionOffset, unionSize;
  L3Run<L3Field> fields;
  // Several entries may share a tag, where the values of an alternative have gaps (`| 1,4 b`).
  L3Run<L3Alternative> alternatives;
  // kL3SelectCode: parallel to `alternatives`.
  L3Run<L3Code> codes = {};
  // The tree of codes, or null if all have one length and kind. Its root is node 0.
  L3At<Rtx3gppAltDetmntNode> nodes = {};
  // Nodes of the tree.
  uint32_t nodeCount = 0;
};

// One message of a top-level form.
struct L3BodyRow {
  // As in the header: protocol discriminator and message type (TS 24.007, 11.2.3).
  uint16_t discriminator, msgType;
  // What the record's member `t` holds for it.
  uint16_t tag;
  // Line of the row in the definition file.
  uint16_t line;
  // "u.obj_RegRequest5G", as pushed. Behind its end stands the standard's name, "Registration request", or an empty
  // text.
  L3Run<char> elemName;
  // Null: the message has no body; its message type says all.
  L3At<L3Type> type;
  // Position of the next row with this message type, under another discriminator; 0: none.
  uint16_t next = 0;
  // The value stands in `u` itself; otherwise `u` holds a pointer to it.
  bool inlined = false;
  // 1: up, from the mobile; 2: down, from the network; 0: either, or not told.
  uint8_t direction = 0;
  // The message type in the standard's form where that is another (RTX_FLAG_STANDARD_FORMS), else 0.
  uint16_t standardType = 0;

  const char* objName() const { return elemName + sizeof "u." - 1; }              // "obj_RegRequest5G", as printed
  const char* name() const { return elemName + sizeof "u.obj_" - 1; }             // "RegRequest5G"
  const char* title() const { return elemName + __builtin_strlen(elemName) + 1; } // "Registration request", or ""
  // Is this a message type of the row, in either form?
  bool hasType(uint64_t type) const { return type == msgType || (standardType && type == standardType); }
};

// How a top-level form finds its message: by message type and, where the form carries several protocols, by
// discriminator.
struct L3Body {
  // The header fields. discriminator.store is 0 where the form has no discriminator.
  L3Field discriminator, msgType;
  uint32_t onlyDiscriminator; // the one legal discriminator, or kL3NoLimit where each message has its own
  uint32_t pointerOffset;     // of `u` from the record's start; `t` stands at the row's offset
  uint16_t count;             // rows, one a message
  L3Run<L3BodyRow> rows;
  // 256 entries, indexed by message type: position of the first row with it, 0 for none. Null: the rows are searched.
  L3At<uint8_t> byType;
  L3At<uint8_t> byTag; // the same, indexed by `t`, for the encoder

  // The discriminator in front of a message, where the form has one.
  uint32_t discriminatorOf(const L3BodyRow& row) const
  {
    return onlyDiscriminator == kL3NoLimit ? row.discriminator : onlyDiscriminator;
  }
};

// A length, which opens a region: what follows, to the end of the record or to the next kL3EndLength, lies within. In
// `02 0A 0B 0C` a length of 8 bits that counts octets has 0A 0B as its region.
struct L3Length {
  // Width of the length on the wire, 1 to 16.
  uint8_t bits;
  // 8: it counts octets; 1: it counts bits.
  uint8_t unitBits;
  // 1: the number is tested against lo..hi.
  uint8_t ranged;
  // 0: of a 16-bit length the encoder keeps the low 8 bits only, in the octets and in the record: 300 octets are
  // written as 00 2C. 1: it keeps all of them (`!full-length`). Callers rely on the cut form, so it stays
  // (docs/quirks.md).
  uint8_t keepWhole;
  // 1: the record keeps the number, at the row's offset in L3Row.store octets.
  uint8_t member;
  // 1: it counts from the next octet on. The rest of its own octet lies outside (TS 24.501, 9.11.3.46).
  uint8_t fromOctet;
  // The region has so many octets or bits more than the number says: with 1, the number 0 stands for a region of one.
  uint8_t bias;
  // Of the number itself, without the bias.
  uint32_t lo, hi;
  // 1: the decoder takes 8 bits of 0 for the upper half of a 16-bit length: 00 02 is 2 (TS 24.501, 9.11.3.39).
  uint8_t zeroWidens = 0;
};

// A group of rows that a release of the standard has appended to a structure (TS 24.008, 10.5.5.12a). A decoder that is
// held to an older release (RtxContext.specRelease) passes over the group, and so does one whose input ends before it.
struct L3Release {
  // The release that brought the group.
  uint16_t release;
  // The group and all later ones are left out where fewer bits remain in the region; 0: no such test.
  uint16_t fitBits;
  // Rows of the group; they stand behind this one.
  uint16_t rows;
};

// How a decoder passes over the value of an element that has lost its turn: not at all, by its length octet, by its
// size.
enum L3Skip : uint8_t { kL3SkipNothing, kL3SkipLength, kL3SkipFixed };

// How an optional element of a message is found by its identifier (IEI) and, out of its turn, skipped. Parallel to
// L3Message.options. The forms T, TV, TLV and TLV-E are those of TS 24.007, 11.2.1.1.
struct L3Iei {
  // The identifier: 8 bits, or 0 to 15 for one in the upper half of an octet (TV of type 1, as 0xB-).
  uint8_t value;
  uint8_t half;       // 1: the identifier is a half octet, and the value is the other half
  L3Skip skip;        // how the value is skipped
  uint8_t skipOctets; // kL3SkipFixed: octets of the value, without the identifier
  uint8_t nextSame;   // position of the next element with this identifier, or 0 (`!iei-again`)
};

// The part of a message behind its mandatory elements: elements that are found by their identifiers.
struct L3Message {
  // The optional elements, in the order of the standard's table.
  L3Run<L3Row> options;
  // Parallel to `options`.
  L3Run<L3Iei> ieis;
  // 256 entries, indexed by identifier: position of the first element with it, 0 if it is unknown. A half octet stands
  // at its own value, 0 to 15.
  L3At<uint8_t> byValue;
  // Optional elements.
  uint16_t count;
  // Bit v is set: an octet whose upper half is v holds a half-octet element of this message.
  uint16_t halves;
  // 1: locking and non-locking shifts to other codesets are followed (TS 24.008, 10.5.4.2 and 10.5.4.3). 2: besides,
  // elements of other codesets need not be understood.
  uint8_t shifts;
  // 1: the message knows no optional element, and its decoder passes over whatever follows (rtx3GPPDecL3NonImperative).
  uint8_t tail;
  // 1: an unknown element from 0x78 to 0x7F may have a length of two octets (TS 24.007, 11.2.4).
  uint8_t wide;
  // Entries of `selecting`.
  uint8_t selectingCount = 0;
  // Members of optional elements that choose among the alternatives of another element. The decoder clears them first,
  // since an absent element leaves its member as the caller had it.
  L3Run<L3Field> selecting = {};
};

// For types with coders by hand: which of their values the rows alone can code, as a message that nothing protects or a
// QoS rule that is not empty. The direct coders code such a value in their straight line; all others go to the coders
// by hand.
struct L3Plain {
  // May the rows decode these octets? If so, it writes to the record what the coder by hand would. Null: always.
  bool (*decodes)(const uint8_t* octets, size_t left, void* record);
  // What the coder by hand does behind the rows, or null. False: the octets were not for the rows after all.
  bool (*decoded)(void* record);
  // May the rows encode this record? Null: always.
  bool (*encodes)(const void* record);
};

// The hand-written functions of a type (src2). Where a coder is null, the rows do its work.
struct L3Hand {
  int (*decode)(L3Call& call, const L3Type& type, void* record);
  int (*encode)(L3Call& call, const L3Type& type, void* record);
  // Mends a sample so that it decodes to itself, where the coders do more than the rows say; or null. False: no memory.
  bool (*settle)(RtxContext* pctxt, void* record);
  // Or null.
  const L3Plain* plain;
};

// Bits of L3Type.flags.
enum L3TypeFlags : uint16_t {
  kL3Bare = 0x01, // one thing without braces in print: its row has a null name
  // Decoding returns at once where a release group ends exactly at the end of the region (`!early-return`).
  kL3EarlyReturn = 0x02,
  kL3IsMessage = 0x04, // a message body
  kL3IsPdu = 0x08,     // a top-level form: a header and a body
  kL3IsChoice = 0x10,  // a type that is one choice; its braces are those of the choice
  kL3Pointer = 0x20,   // the value is a char*: a string type
  // Rest octets: the record ends wherever its octets do, and the encoder pads it to the next octet (TS 44.018, 10.5.2).
  kL3RestOctets = 0x40,
  kL3DecAtOnce = 0x80,  // the direct decoder can do a whole call of this type (l3DecAtOnce)
  kL3EncAtOnce = 0x100, // the direct encoder can do a whole call of this type (l3EncAtOnce)
  kL3Padded = 0x200,    // the encoder fills the last octet with padding
  kL3Private = 0x400,   // what it holds tells who somebody is, or what they said: redacting overwrites it
  // Its length may cut it off at any row; what the region does not hold is 0 (the standard's form of radio
  // capabilities).
  kL3EndsAnywhere = 0x800,
  // Where a value ends can be told although it cannot be read: it begins with a length, or always has the same bits and
  // holds an enumeration.
  kL3Framed = 0x1000,
};

// L3Type.known of a type that callers do not know.
inline constexpr uint16_t kL3Unlisted = 0xFFFF;

// A protocol type.
struct L3Type {
  // "TS24501IE_SNSSAI". Where the encoder pushes another name, that one stands behind the end of this one.
  L3Run<char> fullName;
  // What error records give as module.
  L3Run<L3Module> module;
  // The elements in the order of the wire, without the optional elements of a message.
  L3Run<L3Row> rows;
  // sizeof the value, in octets.
  uint32_t size;
  uint16_t rowCount;
  // Line of the block in the definition file.
  uint16_t line;
  // Where the pushed names begin in fullName, in characters: 10 for "SNSSAI".
  uint8_t nameAt, encNameAt;
  // Octets of the member `m`, which holds the presence bits and stands at offset 0; 0: the record has none.
  uint8_t mOctets;
  // L3TypeFlags.
  uint16_t flags;
  // Presence bits given out, those of groups included.
  uint16_t mBits;
  // The optional elements of a message; null for other types.
  L3At<L3Message> message;
  // The same record in the form of the public standard where that differs (docs/quirks.md), else null.
  L3At<L3Type> standard;
  // Place among the types that callers know (l3Types), or kL3Unlisted: the type is a part of others.
  uint16_t known;
  // Functions by hand, or null.
  const L3Hand* hand;
  // The direct coders (l3Direct.h); null: the rows alone code the type.
  size_t (*decodeDirect)(const L3Source& in, size_t pos, size_t end, void* record);
  size_t (*encodeDirect)(L3Sink& out, size_t pos, void* record);
};

// All types, those without exported operations included, and all enumerations. Entry 0 of each is empty, because place
// 0 means "none".
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

// The type in the form that the context asks for: the library's own, or the public standard's.
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
  uint8_t direction;     // as in L3BodyRow
  bool decodes, encodes; // whether the type has an exported decoder or encoder
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
