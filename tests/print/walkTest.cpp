// The text of every kind of element, letter by letter: users compare it.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <vector>

#include "tests/descriptors.h"
#include "tests/printed.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

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

TEST(WalkText, Leaves)
{
  Leaves leaves = {0x07,
                   9,
                   1,
                   5,
                   1,
                   {1, 2, 0xFF},
                   {2, {0xAB, 0xCD, 0, 0}},
                   {2, kManyOctets},
                   {12, {0x21, 0x40}},
                   "net",
                   {'4', '2', '8', 0},
                   7,
                   3};
  EXPECT_EQ(printed(kLeaves, "leaves", &leaves), "leaves {\n"
                                                 "   length = 9\n"
                                                 "   colour = red\n"
                                                 "   open = blue\n"
                                                 "   a-flag = true\n"
                                                 "   fixed = 0x0102ff\n"
                                                 "   bounded = 0xabcd\n"
                                                 "   heap = 0x4142\n"
                                                 "   bits = { 12, 21 0100xxxx }\n"
                                                 "   text = 'net'\n"
                                                 "   digits = '428'\n"
                                                 "   nothing = <null>\n"
                                                 "   grouped = 7\n"
                                                 "   onRed = 3\n"
                                                 "}\n");
}

// Absent elements leave no trace; a member's bit without its group's bit is absent; counts, pointers and values that
// no coder would store are printed as far as they go and not followed.
TEST(WalkText, DamagedLeaves)
{
  Leaves leaves = {0x04, 0, 7, 9, 0, {}, {}, {33, nullptr}, {200, {0xFF, 0xF0}}, nullptr, {'1', '2', '3', '4'}, 7, 3};
  EXPECT_EQ(printed(kLeaves, "x", &leaves), "x {\n"
                                            "   length = 0\n"
                                            "   colour = ???\n"
                                            "   open = 9\n"
                                            "   a-flag = false\n"
                                            "   fixed = 0x000000\n"
                                            "   heap = 0x\n"
                                            "   bits = { 12, ff 1111xxxx }\n"
                                            "   text = '(null)'\n"
                                            "   digits = '1234'\n"
                                            "   nothing = <null>\n"
                                            "}\n");
  leaves.m = 0x01;
  leaves.bounded = {200, {1, 2, 3, 4}};
  leaves.heap = {33, kManyOctets};
  std::string text = printed(kLeaves, "x", &leaves);
  EXPECT_NE(text.find("   bounded = 0x01020304\n   heap =\n"), std::string::npos) << text;
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

TEST(WalkText, ListsAndChoices)
{
  const uint8_t entries[] = {8, 9};
  Parts parts = {1, {1, {{2, 3}}}, {2, entries}, {1, {{4, 5}}}, {}};
  parts.untagged.number = 6;
  EXPECT_EQ(printed(kParts, "parts", &parts), "parts {\n"
                                              "   selector = 1\n"
                                              "   list[0] {\n      spare = 2\n      value = 3\n   }\n"
                                              "   bare[0] = 8\n"
                                              "   bare[1] = 9\n"
                                              "   tagged {\n      inner {\n"
                                              "         spare = 4\n         value = 5\n"
                                              "      }\n   }\n"
                                              "   untagged {\n      number = 6\n   }\n"
                                              "}\n");
}

struct Nameless {
  uint8_t length;
  uint32_t t;
  union {
    Inner inner;
    char digits[4];
  } u;
};

// A nameless choice or record stands in the braces around it; a nameless field has no line.
TEST(WalkText, NamelessElements)
{
  const L3Alternative alternatives[] = {
      alternative(0, 0, 1, recordRow(nullptr, offsetof(Nameless, u), kInner)),
      alternative(1, 1, 2, TestRow("digits", kL3Text, offsetof(Nameless, u), &kArray))};
  const L3Choice choice = {kL3SelectBits, 8, 1, 0, 2, 0, offsetof(Nameless, u), 4, nullptr, alternatives};
  const L3Row choiceRow = TestRow(nullptr, kL3Choice, offsetof(Nameless, t), &choice);
  const L3Row rows[] = {uintRow(nullptr, 0), choiceRow};
  const L3Row bareRows[] = {choiceRow};
  Nameless value = {9, 1, {{2, 3}}};
  EXPECT_EQ(printed(typeOf("Record", rows, sizeof value), "x", &value), "x {\n   spare = 2\n   value = 3\n}\n");
  value.t = 2;
  strcpy(value.u.digits, "428");
  EXPECT_EQ(printed(typeOf("Record", rows, sizeof value), "x", &value), "x {\n   digits = '428'\n}\n");
  EXPECT_EQ(printed(typeOf("Bare", bareRows, sizeof value, kL3IsChoice), "x", &value), "x {\n   digits = '428'\n}\n");
}

// A tag or selector outside the list prints an empty brace, a list of null prints nothing, an inline list its room.
TEST(WalkText, DamagedListsAndChoices)
{
  Parts parts = {99, {255, {{1, 1}, {2, 2}}}, {3, nullptr}, {7, {}}, {}};
  EXPECT_EQ(printed(kParts, "x", &parts), "x {\n"
                                          "   selector = 99\n"
                                          "   list[0] {\n      spare = 1\n      value = 1\n   }\n"
                                          "   list[1] {\n      spare = 2\n      value = 2\n   }\n"
                                          "   tagged {\n   }\n"
                                          "   untagged {\n   }\n"
                                          "}\n");
  EXPECT_EQ(printed(kParts, "x", nullptr), "x = <null>\n");
}

// An entry's name is cut, not its value.
TEST(WalkText, LongEntryName)
{
  const uint8_t entry = 8;
  struct {
    uint64_t n;
    const uint8_t* elem;
  } list = {1, &entry};
  std::string name(600, 'a');
  EXPECT_EQ(printed(kBareList, name.c_str(), &list), std::string(511, 'a') + " = 8\n");
}

struct Form {
  uint8_t m, discriminator, msgType;
  uint32_t t;
  const void* u;
};
const L3BodyRow kMessages[] = {{9, 1, 4, 1, "First", "obj_First", "u.obj_First", &kInner},
                               {9, 2, 5, 2, "Second", "obj_Second", "u.obj_Second", nullptr}};
const L3Body kBody = {{offsetof(Form, discriminator), 1, 8},
                      {offsetof(Form, msgType), 1, 8},
                      kL3NoLimit,
                      offsetof(Form, u),
                      2,
                      kMessages,
                      nullptr,
                      nullptr};
const L3Row kFormRows[] = {uintRow("discriminator", offsetof(Form, discriminator)).there(kL3ByHand, 0),
                           uintRow("msgType", offsetof(Form, msgType)),
                           TestRow("data", kL3Body, offsetof(Form, t), &kBody)};
const L3Type kForm = presenceTypeOf("Form", kFormRows, sizeof(Form), 1);

TEST(WalkText, Bodies)
{
  Inner inner = {1, 2};
  Form form = {};
  l3SetBody(kForm, &form, kMessages[0], &inner);
  EXPECT_EQ(form.discriminator, 9);
  EXPECT_EQ(printed(kForm, "PDU", &form), "PDU {\n   msgType = 1\n   data {\n      obj_First {\n"
                                          "         spare = 1\n         value = 2\n      }\n   }\n}\n");
  form.m = 1;
  form.u = nullptr;
  EXPECT_EQ(printed(kForm, "PDU", &form),
            "PDU {\n   discriminator = 9\n   msgType = 1\n   data {\n      obj_First = <null>\n   }\n}\n");
  form = {};
  form.u = &inner;
  l3SetBody(kForm, &form, kMessages[1], nullptr);
  EXPECT_EQ(form.u, &inner); // a message without a body stores no pointer
  EXPECT_EQ(printed(kForm, "PDU", &form), "PDU {\n   msgType = 2\n   data {\n      obj_Second = <null>\n   }\n}\n");
  form.t = 77;
  EXPECT_EQ(printed(kForm, "PDU", &form), "PDU {\n   msgType = 2\n   data {\n   }\n}\n");
}

// Presence, selectors, counts and pointers are cleared; whatever else lies in the record stays.
TEST(WalkInit, ClearsWhatDecidesAndNothingElse)
{
  Leaves leaves;
  memset(&leaves, 0xA5, sizeof leaves);
  ASSERT_EQ(l3Init(kLeaves, &leaves), 0);
  EXPECT_EQ(leaves.m, 0);
  EXPECT_EQ(leaves.length, 0xA5);
  EXPECT_EQ(leaves.fixed[2], 0xA5);
  EXPECT_EQ(leaves.digits[0], char(0xA5));
  EXPECT_EQ(leaves.bounded.numocts, 0);
  EXPECT_EQ(leaves.bounded.data[0], 0xA5);
  EXPECT_EQ(leaves.heap.numocts, 0U);
  EXPECT_EQ(leaves.heap.data, nullptr);
  EXPECT_EQ(leaves.bits.numbits, 0);
  EXPECT_EQ(leaves.text, nullptr);
  Parts parts;
  memset(&parts, 0xA5, sizeof parts);
  ASSERT_EQ(l3Init(kParts, &parts), 0);
  EXPECT_EQ(parts.selector, 0xA5);
  EXPECT_EQ(parts.inner.n, 0);
  EXPECT_EQ(parts.inner.elem[0].spare, 0xA5);
  EXPECT_EQ(parts.heap.n, 0U);
  EXPECT_EQ(parts.heap.elem, nullptr);
  EXPECT_EQ(parts.tagged.t, 0U);
  EXPECT_EQ(parts.tagged.u.number, 0);
  Form form;
  memset(&form, 0xA5, sizeof form);
  ASSERT_EQ(l3Init(kForm, &form), 0);
  EXPECT_EQ(form.m, 0);
  EXPECT_EQ(form.msgType, 0xA5);
  EXPECT_EQ(form.t, 0U);
  EXPECT_EQ(form.u, nullptr);
  EXPECT_EQ(l3Init(kForm, nullptr), RTX_E_NULL_POINTER);
}

} // namespace
