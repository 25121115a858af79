// Lists keep order, links and count, give back all they took, and say -10 when the heap is full.
#include "velnor3gpp/rtxDList.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

// A context whose heap returns empty blocks, so that an empty heap means that nothing was left behind.
struct DListTest : testing::Test {
  RtxContext ctxt = {};
  RtxDList list = {};

  void SetUp() override
  {
    rtxMemHeapCreate(&ctxt.pMemHeap);
    rtxMemHeapSetFlags(&ctxt.pMemHeap, RT_MH_FREE_EMPTY_BLOCKS);
  }
  void TearDown() override { rtxMemHeapRelease(&ctxt.pMemHeap); }

  static void* text(const char* s) { return const_cast<char*>(s); }

  // The entries joined, read forwards; backwards links and count are held against them.
  std::string words()
  {
    std::string forth, back;
    size_t count = 0;
    for (RtxDListNode* n = list.head; n != nullptr; n = n->next, count++) forth += static_cast<char*>(n->data);
    for (RtxDListNode* n = list.tail; n != nullptr; n = n->prev) back.insert(0, static_cast<char*>(n->data));
    EXPECT_EQ(forth, back);
    EXPECT_EQ(list.count, count);
    return forth;
  }
};

int byFirstLetter(const void* a, const void* b)
{
  return *static_cast<const char*>(a) - *static_cast<const char*>(b);
}

TEST_F(DListTest, InsertionAndRemovalEverywhere)
{
  EXPECT_EQ(rtxDListInsert(&ctxt, &list, 1, text("x")), nullptr);
  EXPECT_NE(rtxDListInsert(&ctxt, &list, 0, text("b")), nullptr);
  rtxDListInsert(&ctxt, &list, 0, text("a"));
  rtxDListInsert(&ctxt, &list, 2, text("e"));
  RtxDListNode* c = rtxDListInsert(&ctxt, &list, 2, text("c"));
  rtxDListInsertAfter(&ctxt, &list, c, text("d"));
  rtxDListInsertBefore(&ctxt, &list, list.head, text("0"));
  rtxDListInsertAfter(&ctxt, &list, list.tail, text("f"));
  EXPECT_EQ(words(), "0abcdef");
  EXPECT_EQ(rtxDListFindByIndex(&list, 3), c);
  EXPECT_EQ(rtxDListFindByIndex(&list, 7), nullptr);
  EXPECT_EQ(rtxDListFindByData(&list, c->data), c);
  EXPECT_EQ(rtxDListFindIndexByData(&list, c->data), 3);
  EXPECT_EQ(rtxDListFindIndexByData(&list, &list), -1);
  const auto after = [](const void* data, const void* arg) { return static_cast<int>(byFirstLetter(data, arg) > 0); };
  EXPECT_STREQ(static_cast<char*>(rtxDListFindFirstData(&list, after, "b")), "c");
  EXPECT_EQ(rtxDListFindFirstData(&list, after, "z"), nullptr);
  rtxDListRemove(&list, c);
  rtxDListAppendNode(&list, c);
  rtxDListFreeNode(&ctxt, &list, list.head);
  EXPECT_EQ(words(), "abdefc");
  rtxDListFreeNodes(&ctxt, &list);
  EXPECT_EQ(words(), "");
  EXPECT_TRUE(rtxMemHeapIsEmpty(&ctxt.pMemHeap));
}

TEST_F(DListTest, SortedInsertionPlacesEquals)
{
  for (const char* word : {"m1", "m2", "d1", "d2", "m3", "a", "z", "m4"}) {
    EXPECT_NE(rtxDListInsertSorted(&ctxt, &list, text(word), byFirstLetter), nullptr);
  }
  // m2 and m3 came when an equal one was the tail, m4 when it was not.
  EXPECT_EQ(words(), "ad2d1m4m1m2m3z");
}

TEST_F(DListTest, ArraysAndStrings)
{
  uint16_t numbers[] = {7, 8, 9};
  uint16_t room[4] = {0, 0, 0, 0xFFFF};
  EXPECT_EQ(rtxDListAppendArray(&ctxt, &list, numbers, 3, sizeof numbers[0]), 0);
  void* array = nullptr;
  EXPECT_EQ(rtxDListToArray(&ctxt, &list, &array, nullptr, 2), 3);
  EXPECT_EQ(memcmp(array, numbers, sizeof numbers), 0);
  rtxMemHeapFreePtr(&ctxt.pMemHeap, array);
  array = room;
  uint32_t count = 4;
  EXPECT_EQ(rtxDListToArray(&ctxt, &list, &array, &count, 2), 3);
  EXPECT_EQ(array, room);
  EXPECT_EQ(count, 3U);
  EXPECT_EQ(room[2], 9);
  EXPECT_EQ(room[3], 0xFFFF);
  count = 2;
  void** pointers = nullptr;
  EXPECT_EQ(rtxDListToPointerArray(&ctxt, &list, &pointers, &count), 3);
  EXPECT_EQ(count, 3U);
  EXPECT_EQ(pointers[1], &numbers[1]);
  rtxMemHeapFreePtr(&ctxt.pMemHeap, pointers);
  rtxDListFreeNodes(&ctxt, &list);

  char* joined = nullptr;
  EXPECT_EQ(rtxDListToUTF8Str(&ctxt, &list, &joined, '.'), 0);
  EXPECT_EQ(joined, nullptr);
  rtxDListAppend(&ctxt, &list, text("pdu"));
  EXPECT_EQ(rtxDListToUTF8Str(&ctxt, &list, &joined, '.'), 0);
  EXPECT_STREQ(joined, "pdu");
  rtxMemHeapFreePtr(&ctxt.pMemHeap, joined);
  rtxDListAppend(&ctxt, &list, text(""));
  rtxDListAppend(&ctxt, &list, text("elem"));
  EXPECT_EQ(rtxDListToUTF8Str(&ctxt, &list, &joined, '.'), 0);
  EXPECT_STREQ(joined, "pdu..elem");
  rtxMemHeapFreePtr(&ctxt.pMemHeap, joined);
  rtxDListFreeNodes(&ctxt, &list);
  EXPECT_TRUE(rtxMemHeapIsEmpty(&ctxt.pMemHeap));
}

TEST_F(DListTest, DataBehindItsNodeIsFreedOnce)
{
  const char array[2][4] = {"abc", "def"};
  EXPECT_STREQ(static_cast<char*>(rtxDListAppendCharArray(&ctxt, &list, 3, "xyz!")->data), "xyz");
  EXPECT_EQ(rtxDListAppendArrayCopy(&ctxt, &list, array, 2, 4), 0);
  char* own = static_cast<char*>(rtxMemHeapAllocZ(&ctxt.pMemHeap, 8));
  rtxDListAppend(&ctxt, &list, own);
  EXPECT_EQ(words(), "xyzabcdef");
  rtxDListFreeAll(&ctxt, &list);
  EXPECT_TRUE(rtxMemHeapIsEmpty(&ctxt.pMemHeap));
  rtxDListAppendCharArray(&ctxt, &list, 3, "xyz");
  rtxMemHeapFreeAll(&ctxt.pMemHeap);
  rtxDListFreeAll(&ctxt, &list); // the nodes are gone with the heap and must not be touched
  EXPECT_EQ(list.head, nullptr);
}

TEST_F(DListTest, CollectorMakesOneArray)
{
  for (size_t count : {0, 1, 4, 5, 12, 13, 100}) {
    RtxDListBuf buf;
    uint32_t* elems = nullptr;
    rtxDListBufInit(&buf, 4, reinterpret_cast<void**>(&elems), sizeof *elems);
    for (size_t i = 0; i < count; i++) {
      if (buf.n == buf.nMax) {
        ASSERT_EQ(rtxDListBufExpand(&ctxt, &buf), 0);
      }
      elems[buf.n++] = static_cast<uint32_t>(i);
    }
    size_t segment = count != 0 ? 4 : 0;
    for (size_t held = 4; held < count; held += segment) segment *= 2;
    EXPECT_EQ(buf.nMax, segment);
    ASSERT_EQ(rtxDListBufToArray(&ctxt, &buf), 0);
    EXPECT_EQ(buf.nAll, count);
    for (size_t i = 0; i < count; i++) ASSERT_EQ(elems[i], i);
    EXPECT_EQ(elems == nullptr, count == 0);
    if (count != 0) {
      EXPECT_EQ(rtxMemHeapFreePtr(&ctxt.pMemHeap, elems), 0);
    }
    EXPECT_TRUE(rtxMemHeapIsEmpty(&ctxt.pMemHeap)) << count;
  }
}

TEST_F(DListTest, StackIsLastInFirstOut)
{
  int a = 0, b = 0;
  RtxStack* stack = rtxStackCreate(&ctxt);
  EXPECT_EQ(rtxStackPush(nullptr, &a), RTX_E_NULL_POINTER);
  EXPECT_EQ(rtxStackPeek(stack), nullptr);
  EXPECT_EQ(rtxStackPush(stack, &a), 0);
  EXPECT_EQ(rtxStackPush(stack, &b), 0);
  EXPECT_EQ(rtxStackPeek(stack), &b);
  EXPECT_EQ(rtxStackPop(stack), &b);
  EXPECT_EQ(rtxStackPop(stack), &a);
  EXPECT_EQ(rtxStackPop(stack), nullptr);
  rtxMemHeapFreePtr(&ctxt.pMemHeap, stack);
  EXPECT_TRUE(rtxMemHeapIsEmpty(&ctxt.pMemHeap));
}

TEST_F(DListTest, OpenElementsAreFreedWhole)
{
  for (int i = 0; i < 3; i++) {
    RtxOpenElem* elem = static_cast<RtxOpenElem*>(rtxMemHeapAllocZ(&ctxt.pMemHeap, sizeof(RtxOpenElem)));
    if (i != 1) elem->data = static_cast<uint8_t*>(rtxMemHeapAlloc(&ctxt.pMemHeap, 20));
    rtxDListAppend(&ctxt, &list, elem);
  }
  rtxMemFreeOpenSeqExt(&ctxt.pMemHeap, &list);
  EXPECT_EQ(list.count, 0U);
  EXPECT_TRUE(rtxMemHeapIsEmpty(&ctxt.pMemHeap));
}

TEST_F(DListTest, FullHeapIsMinus10AndNothingIsLost)
{
  alignas(8) uint8_t memory[400];
  ASSERT_EQ(rtxMemHeapConvertStatic(&ctxt.pMemHeap, memory, 24 + 24 + 100), 0);
  uint8_t big[2][200] = {};
  EXPECT_EQ(rtxDListAppendArray(&ctxt, &list, big, 2, 200), 0);
  void* array = big;
  uint32_t count = 1;
  char* joined = nullptr;
  EXPECT_EQ(rtxDListToArray(&ctxt, &list, &array, &count, 200), RTX_E_NO_MEMORY);
  EXPECT_EQ(array, big);
  EXPECT_EQ(count, 1U);
  void* rest = rtxMemHeapAlloc(&ctxt.pMemHeap, 100);
  (void)rest;
  RtxStack stack;
  rtxStackInit(&ctxt, &stack);
  EXPECT_EQ(rtxStackPush(&stack, big), RTX_E_NO_MEMORY);
  EXPECT_EQ(rtxDListAppend(&ctxt, &list, big), nullptr);
  EXPECT_EQ(rtxDListAppendCharArray(&ctxt, &list, SIZE_MAX, ""), nullptr);
  EXPECT_EQ(list.count, 2U);
  memset(big, 'x', 30);
  EXPECT_EQ(rtxDListToUTF8Str(&ctxt, &list, &joined, '.'), RTX_E_NO_MEMORY);
  RtxDListBuf buf;
  rtxDListBufInit(&buf, SIZE_MAX / 2, &array, 8);
  EXPECT_EQ(rtxDListBufExpand(&ctxt, &buf), RTX_E_NO_MEMORY);
}

} // namespace
