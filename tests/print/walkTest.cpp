// Guards what the clearing walk makes of records that no coder would store: selectors, counts and pointers go. Whole
// records of every kind are vectors (tests/vectors), damaged ones print in tests/differential.
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
const L3Choice kChoice = {kL3SelectBits,           8, 1, 0, 1, 0, offsetof(Damaged, tagged.number), 1, {},
                          {placeOf(kAlternatives)}};
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
  EXPECT_EQ(printed(kDamaged, "x", nullptr), "x = <null>\n");
}

} // namespace
