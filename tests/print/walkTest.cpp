// The text of every kind of element, letter by letter: users compare it.
#include <cstddef>

#include "rt3gppsrc/engine/l3Record.h"
#include "tests/descriptors.h"
#include "tests/print/PrintCapture.h"
#include "tests/printed.h"

namespace {

Texts texts = textsOf("walk.txt");

const RtxEnumItem kColours[] = {{"blue", 5, 4, 1}, {"red", 1, 3, 0}};
const L3Enum kColour = {kColours, 2, 4, 0, 0, 0, 0, {0x22}};
const L3Enum kOpenColour = {kColours, 2, 8, 1, 1, 1, 0, {0x22}};

struct Inner {
  uint8_t spare;
  uint16_t value;
};
const L3Row kInnerRows[] = {uintRow("spare", offsetof(Inner, spare), 4),
                            uintRow("value", offsetof(Inner, value), 12, 2)};
const L3Type kInner = typeOf("Inner", kInnerRows, sizeof(Inner));

// Every kind of leaf.
struct Leaves {
  uint8_t m;
  uint8_t length;
  int32_t colour;
  uint8_t open;
  uint8_t flag;
  uint8_t fixed[3];
  struct {
    uint8_t numocts, data[4];
  } bounded;
  struct {
    uint32_t numocts;
    const uint8_t* data;
  } heap;
  struct {
    uint8_t numbits, data[2];
  } bits;
  const char* text;
  char digits[4];
  uint8_t grouped;
  uint8_t onRed;
};
const L3Length kLength = {8, 8, 0, 0, 1, 0, 0, 0};
const L3Octets kFixed = {kL3Fixed, 0, 0, 0, 3, 0, {}, 0, 0};
const L3Octets kBounded = {kL3Rest, 0, 0, 4, 0, 1, {}, 0, 0};
const L3Octets kHeap = {kL3Rest, 0, 0, 0, 0, 0, {}, 0, 0};
const L3BitString kBits = {12, 1};
const L3Text kText = {kL3Rest, 0, 0, 0, 0, {}, 0, 0};
const L3Text kArray = {kL3Rest, 0, 0, 0, 4, {}, 0, 0};
const L3Row kDigitRows[] = {TestRow(nullptr, kL3Text, 0, &kArray)};
const L3Type kDigits = typeOf("Digits", kDigitRows, 4, kL3Bare);
const L3Term kRed = {{offsetof(Leaves, colour), 4, 4}, 1, 1, 0, 0};
const L3Cond kIfRed = {&kRed, 1};
const L3Row kLeafRows[] = {
    TestRow("length", kL3Length, offsetof(Leaves, length), &kLength).sized(8, 1),
    enumRow("colour", offsetof(Leaves, colour), kColour),
    enumRow("open", offsetof(Leaves, open), kOpenColour, 1),
    TestRow("a-flag", kL3Bool, offsetof(Leaves, flag)).sized(1, 1),
    TestRow("fixed", kL3Octets, offsetof(Leaves, fixed), &kFixed),
    TestRow("bounded", kL3Octets, offsetof(Leaves, bounded), &kBounded).there(kL3Room, 0),
    TestRow("heap", kL3Octets, offsetof(Leaves, heap), &kHeap),
    TestRow("bits", kL3BitString, offsetof(Leaves, bits), &kBits),
    TestRow("text", kL3Text, offsetof(Leaves, text), &kText),
    TestRow("digits", kL3TextType, offsetof(Leaves, digits)).of(kDigits),
    TestRow("nothing", kL3Nothing, 0),
    uintRow("grouped", offsetof(Leaves, grouped)).there(kL3Room, 2, 1),
    uintRow("onRed", offsetof(Leaves, onRed)).there(kL3WhenCond).on(kIfRed),
};
const L3Type kLeaves = presenceTypeOf("Leaves", kLeafRows, sizeof(Leaves), 1);

const uint8_t kManyOctets[33] = {'A', 'B'};

// Absent elements leave no trace; a member's bit without its group's bit is absent; counts, pointers and values that
// no coder would store are printed as far as they go and not followed.
TEST(WalkText, Leaves)
{
  const std::pair<const char*, Leaves> rows[] = {
      {"leaves",
       {7, 9, 1, 5, 1, {1, 2, 0xFF}, {2, {0xAB, 0xCD}}, {2, kManyOctets}, {12, {0x21, 0x40}}, "net", "428", 7, 3}},
      {"damaged leaves",
       {4, 0, 7, 9, 0, {}, {}, {33, nullptr}, {200, {0xFF, 0xF0}}, nullptr, {'1', '2', '3', '4'}, 7, 3}},
      {"overfull leaves", {1, 0, 7, 9, 0, {}, {200, {1, 2, 3, 4}}, {33, kManyOctets}, {}, nullptr, {}, 7, 3}}};
  for (const auto& [name, leaves] : rows) EXPECT_EQ(printed(kLeaves, "x", &leaves), texts[name]);
}

struct Parts {
  uint8_t selector;
  struct {
    uint8_t n;
    Inner elem[2];
  } inner;
  struct {
    uint64_t n;
    const uint8_t* elem;
  } heap;
  struct {
    uint32_t t;
    union {
      Inner inner;
      uint8_t number;
    } u;
  } tagged;
  union {
    Inner inner;
    uint8_t number;
  } untagged;
};
const L3List kInnerList = {kL3WhileRoom,
                           0,
                           0,
                           0,
                           2,
                           offsetof(Parts, inner.elem) - offsetof(Parts, inner),
                           sizeof(Inner),
                           {},
                           0,
                           0,
                           recordRow("elem", 0, kInner)};
const L3List kHeapList = {kL3WhileRoom, 0, 0, 0, 0, 8, 1, {}, 0, 0, uintRow("elem", 0)};
const L3Field kSelector = {offsetof(Parts, selector), 1, 8};
const L3Alternative kTagged[] = {alternative(0, 0, 1, recordRow("inner", offsetof(Parts, tagged.u), kInner)),
                                 alternative(1, 9, 2, uintRow("number", offsetof(Parts, tagged.u)))};
const L3Choice kTaggedChoice = {kL3SelectBits,           8,       1,      0, 2, 0, offsetof(Parts, tagged.u),
                                sizeof(Parts::tagged.u), nullptr, kTagged};
const L3Alternative kUntagged[] = {alternative(0, 0, 1, recordRow("inner", offsetof(Parts, untagged), kInner)),
                                   alternative(1, 9, 2, uintRow("number", offsetof(Parts, untagged)))};
const L3Choice kUntaggedChoice = {kL3SelectFields,         0,          0,        1, 2, 0, offsetof(Parts, untagged),
                                  sizeof(Parts::untagged), &kSelector, kUntagged};
const L3Row kBareListRows[] = {TestRow(nullptr, kL3List, 0, &kHeapList)};
const L3Type kBareList = typeOf("BareList", kBareListRows, 16, kL3Bare);
const L3Row kPartRows[] = {uintRow("selector", offsetof(Parts, selector)),
                           TestRow("list", kL3List, offsetof(Parts, inner), &kInnerList),
                           recordRow("bare", offsetof(Parts, heap), kBareList),
                           TestRow("tagged", kL3Choice, offsetof(Parts, tagged), &kTaggedChoice),
                           TestRow("untagged", kL3Choice, 0, &kUntaggedChoice)};
const L3Type kParts = typeOf("Parts", kPartRows, sizeof(Parts));

// A tag or selector outside the list prints an empty brace, a list of null prints nothing, an inline list its room.
TEST(WalkText, ListsAndChoices)
{
  const uint8_t entries[] = {8, 9};
  Parts parts = {1, {1, {{2, 3}}}, {2, entries}, {1, {{4, 5}}}, {}};
  parts.untagged.number = 6;
  EXPECT_EQ(printed(kParts, "x", &parts), texts["parts"]);
  parts = {99, {255, {{1, 1}, {2, 2}}}, {3, nullptr}, {7, {}}, {}};
  EXPECT_EQ(printed(kParts, "x", &parts), texts["damaged parts"]);
  EXPECT_EQ(printed(kParts, "x", nullptr), "x = <null>\n");
  parts.heap = {1, entries};
  std::string name(600, 'a'); // of an entry it is cut, not the value
  EXPECT_EQ(printed(kBareList, name.c_str(), &parts.heap), name.substr(0, 511) + " = 8\n");
}

// A message without its record, and one that the form does not know.
TEST(WalkText, DamagedBodies)
{
  size_t forms = 0;
  for (size_t i = 0; i < l3TypeCount; ++i) {
    const L3Type& type = *l3TypeTable[i].type;
    const L3Row& row = type.rows[type.rowCount ? type.rowCount - 1 : 0];
    if (!type.rowCount || row.op != kL3Body) continue;
    const L3Body& body = *static_cast<const L3Body*>(row.info);
    std::vector<uint64_t> record(type.size / 8 + 1);
    uint8_t* tag = reinterpret_cast<uint8_t*>(record.data()) + row.offset;
    l3Store(tag, 4, body.rows[0].tag);
    std::string data = std::string("   ") + row.name + " {\n";
    std::string missing = data + "      " + body.rows[0].objName + " = <null>\n   }\n}\n";
    EXPECT_NE(printed(type, "x", record.data()).find(missing), std::string::npos) << type.name;
    l3Store(tag, 4, 0xFFFFFF);
    EXPECT_NE(printed(type, "x", record.data()).find(data + "   }\n}\n"), std::string::npos) << type.name;
    ++forms;
  }
  EXPECT_GE(forms, 4U);
}

// Presence, selectors, counts and pointers are cleared; whatever else lies in the record stays.
TEST(WalkInit, ClearsWhatDecidesAndNothingElse)
{
  Leaves leaves, clearedLeaves;
  memset(&leaves, 0xA5, sizeof leaves);
  memset(&clearedLeaves, 0xA5, sizeof leaves);
  clearedLeaves.m = clearedLeaves.bounded.numocts = clearedLeaves.bits.numbits = 0;
  clearedLeaves.heap.numocts = 0;
  clearedLeaves.heap.data = nullptr;
  clearedLeaves.text = nullptr;
  ASSERT_EQ(l3Init(kLeaves, &leaves), 0);
  EXPECT_EQ(memcmp(&leaves, &clearedLeaves, sizeof leaves), 0);
  Parts parts, clearedParts;
  memset(&parts, 0xA5, sizeof parts);
  memset(&clearedParts, 0xA5, sizeof parts);
  clearedParts.inner.n = 0;
  clearedParts.heap = {0, nullptr};
  memset(&clearedParts.tagged, 0, sizeof parts.tagged);
  memset(&clearedParts.untagged, 0, sizeof parts.untagged);
  ASSERT_EQ(l3Init(kParts, &parts), 0);
  EXPECT_EQ(memcmp(&parts, &clearedParts, sizeof parts), 0);
  EXPECT_EQ(l3Init(kParts, nullptr), RTX_E_NULL_POINTER);
}

} // namespace
