// Guards what the printing walk and the clearing one make of records that no coder would store: counts, pointers and
// tags are taken as far as they go and not followed. Whole records of every kind are vectors (tests/vectors).
#include <cstddef>

#include "rt3gppsrc/engine/l3Record.h"
#include "tests/descriptors.h"
#include "tests/print/PrintCapture.h"
#include "tests/printed.h"

namespace {

struct Damaged {
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
  struct {
    uint8_t n, elem[2];
  } inner;
  struct {
    uint64_t n;
    const uint8_t* elem;
  } list;
  struct {
    uint32_t t;
    uint8_t number;
  } tagged;
  uint8_t number;
};

const L3Octets kBounded = {kL3Rest, 0, 0, 4, 0, 1, {}, 0, 0}, kHeap = {kL3Rest, 0, 0, 0, 0, 0, {}, 0, 0};
const L3BitString kBits = {12, 1};
const L3Text kText = {kL3Rest, 0, 0, 0, 0, {}, 0, 0}, kArray = {kL3Rest, 0, 0, 0, 4, {}, 0, 0};
const L3List kInner = {kL3WhileRoom, 0, 0, 2, 1, 1, {}, 0, 0, uintRow("elem", 0)};
const L3List kList = {kL3WhileRoom, 0, 0, 0, 8, 1, {}, 0, 0, uintRow("elem", 0)};
const L3Alternative kAlternatives[] = {alternative(0, 9, 1, uintRow("number", offsetof(Damaged, tagged.number)))};
const L3Choice kChoice = {kL3SelectBits, 8, 1, 0, 1, 0, offsetof(Damaged, tagged.number), 1, nullptr, kAlternatives};
const L3Row kRows[] = {TestRow("bounded", kL3Octets, offsetof(Damaged, bounded), &kBounded),
                       TestRow("heap", kL3Octets, offsetof(Damaged, heap), &kHeap),
                       TestRow("bits", kL3BitString, offsetof(Damaged, bits), &kBits),
                       TestRow("text", kL3Text, offsetof(Damaged, text), &kText),
                       TestRow("digits", kL3Text, offsetof(Damaged, digits), &kArray),
                       TestRow("inner", kL3List, offsetof(Damaged, inner), &kInner),
                       TestRow("list", kL3List, offsetof(Damaged, list), &kList),
                       TestRow("tagged", kL3Choice, offsetof(Damaged, tagged), &kChoice),
                       uintRow("number", offsetof(Damaged, number))};
const L3Type kDamaged = typeOf("Damaged", kRows, sizeof(Damaged));

TEST(Walk, PrintsDamagedRecordsAsFarAsTheyGo)
{
  Texts texts = textsOf("walk.txt");
  const uint8_t many[33] = {'A', 'B'};
  Damaged value = {{200, {1, 2, 3, 4}},
                   {33, nullptr},
                   {200, {0xFF, 0xF0}},
                   nullptr,
                   {'1', '2', '3', '4'},
                   {255, {8, 9}},
                   {3, nullptr},
                   {7, 5},
                   6};
  EXPECT_EQ(printed(kDamaged, "x", &value), texts["damaged"]);
  value = {{}, {33, many}, {}, "net", "42", {1, {8}}, {2, many}, {1, 5}, 6};
  EXPECT_EQ(printed(kDamaged, "x", &value), texts["sound"]);
  EXPECT_EQ(printed(kDamaged, "x", nullptr), "x = <null>\n");
  const L3Row bareRows[] = {TestRow(nullptr, kL3List, 0, &kList)};
  const L3Type bare = typeOf("Bare", bareRows, 16, kL3Bare);
  std::string name(600, 'a'); // of an entry it is cut, not the value
  EXPECT_EQ(printed(bare, name.c_str(), &value.list).substr(0, 517), name.substr(0, 511) + " = 65\n");
}

// A message without its record, and one that the form does not know.
TEST(Walk, PrintsDamagedBodies)
{
  size_t forms = 0;
  for (size_t i = 0; i < l3TypeCount; ++i) {
    const L3Type& type = *l3TypeTable[i].type;
    if (!type.rowCount || type.rows[type.rowCount - 1].op != kL3Body) continue;
    const L3Row& row = type.rows[type.rowCount - 1];
    const L3Body& body = *static_cast<const L3Body*>(row.info);
    std::vector<uint64_t> record(type.size / 8 + 1);
    uint8_t* tag = reinterpret_cast<uint8_t*>(record.data()) + row.offset;
    l3Store(tag, 4, body.rows[0].tag);
    std::string data = std::string("   ") + row.name + " {\n";
    std::string missing = data + "      " + body.rows[0].objName() + " = <null>\n   }\n}\n";
    EXPECT_NE(printed(type, "x", record.data()).find(missing), std::string::npos) << l3NameOf(type);
    l3Store(tag, 4, 0xFFFFFF);
    EXPECT_NE(printed(type, "x", record.data()).find(data + "   }\n}\n"), std::string::npos) << l3NameOf(type);
    ++forms;
  }
  EXPECT_GE(forms, 4U);
}

// Selectors, counts and pointers are cleared, and an array of characters is the empty text; whatever else lies in the
// record stays.
TEST(Walk, ClearsWhatDecidesAndNothingElse)
{
  Damaged value, cleared;
  memset(&value, 0xA5, sizeof value);
  memset(&cleared, 0xA5, sizeof value);
  cleared.bounded.numocts = cleared.bits.numbits = cleared.inner.n = 0;
  cleared.heap.numocts = 0;
  cleared.heap.data = nullptr;
  cleared.text = nullptr;
  cleared.digits[0] = 0;
  cleared.list = {0, nullptr};
  cleared.tagged.t = cleared.tagged.number = 0;
  ASSERT_EQ(l3Init(kDamaged, &value), 0);
  EXPECT_EQ(memcmp(&value, &cleared, sizeof value), 0);
  EXPECT_EQ(l3Init(kDamaged, nullptr), RTX_E_NULL_POINTER);
}

} // namespace
