// The small containers agree with plain models, keep their documented sizes, and give back all they took.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "tests/bench.h"
#include "velnor3gpp/rtxArrayList.h"
#include "velnor3gpp/rtxDList.h"
#include "velnor3gpp/rtxDynBitSet.h"
#include "velnor3gpp/rtxDynPtrArray.h"
#include "velnor3gpp/rtxIntStack.h"
#include "velnor3gpp/rtxMemBuf.h"
#include "velnor3gpp/rtxSList.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

int byFirstLetter(const void* a, const void* b)
{
  return *static_cast<const char*>(a) - *static_cast<const char*>(b);
}

// An empty heap at the end means that nothing was left behind.
struct Containers : testing::Test {
  Bench ctxt;
  RtxMemHeap** pp = &ctxt.pMemHeap;
  std::mt19937 random{3};

  void SetUp() override { rtxMemHeapSetFlags(pp, RT_MH_FREE_EMPTY_BLOCKS); }
  void TearDown() override { EXPECT_TRUE(rtxMemHeapIsEmpty(pp)); }
  // From now on every allocation is refused, or none: each is a piece of its own from the system.
  void refuseAll(bool refuse)
  {
    rtxMemHeapSetFlags(pp, RT_MH_USE_SYSMEM);
    failing::allow(refuse ? 0 : -1);
  }
  static void* text(const char* s) { return const_cast<char*>(s); }
};

TEST_F(Containers, SequencesAgreeWithAVectorAlsoWithoutMemory)
{
  static char items[1500];
  RtxDList list = {};
  RtxArrayList array;
  RtxSList singly;
  RtxDynPtrArray pointers;
  RtxIntStack ints;
  RtxStack* stack = rtxStackCreate(&ctxt);
  rtxArrayListInit(&array, 0);
  rtxSListInitEx(&ctxt, &singly);
  refuseAll(false);
  ASSERT_EQ(rtxDynPtrArrayInit(&ctxt, &pointers, 0) + rtxIntStackInit(&ctxt, &ints, 0), 0);
  auto nodeAt = [&](size_t i) { return rtxDListFindByIndex(&list, i); };
  auto insertInList = [&](size_t i, char* item) {
    if (random() % 2 == 0 || list.count == 0) return rtxDListInsert(&ctxt, &list, i, item) != nullptr;
    if (i == 0) return rtxDListInsertBefore(&ctxt, &list, list.head, item) != nullptr;
    return rtxDListInsertAfter(&ctxt, &list, nodeAt(i - 1), item) != nullptr;
  };
  auto singlyAt = [&](size_t i) {
    const RtxSListNode* node = singly.head;
    while (i-- > 0) node = node->next;
    return node->data;
  };
  const struct {
    bool anywhere; // what only grows or shrinks at its end ignores the index
    std::function<bool(size_t index, char* item)> insert;
    std::function<void(size_t index)> remove;
    std::function<const void*(size_t index)> at;
    std::function<size_t()> count;
  } sequences[] = {
      {true, insertInList, [&](size_t i) { rtxDListFreeNode(&ctxt, &list, nodeAt(i)); },
       [&](size_t i) { return nodeAt(i)->data; }, [&] { return list.count; }},
      {true, [&](size_t i, char* item) { return rtxArrayListInsert(&ctxt, &array, item, i) == 0; },
       [&](size_t i) { rtxArrayListRemoveIndexed(&ctxt, &array, i); },
       [&](size_t i) { return rtxArrayListGetIndexed(&array, i); }, [&] { return size_t{array.count}; }},
      {false, [&](size_t, char* item) { return rtxSListAppend(&singly, item) != nullptr; },
       [&](size_t i) { rtxSListRemove(&singly, singlyAt(i)); }, singlyAt, [&] { return size_t{singly.count}; }},
      {false, [&](size_t, char* item) { return rtxDynPtrArrayAppend(&ctxt, &pointers, item) == 0; },
       [&](size_t) { pointers.count--; }, [&](size_t i) { return pointers.data[i]; },
       [&] { return size_t{pointers.count}; }},
      {false, [&](size_t, char* item) { return rtxIntStackPush(&ints, static_cast<int32_t>(item - items)) == 0; },
       [&](size_t) { ints.index--; }, [&](size_t i) { return items + ints.data[i]; },
       [&] { return size_t{ints.index}; }},
      {false, [&](size_t, char* item) { return rtxStackPush(stack, item) == 0; }, [&](size_t) { rtxStackPop(stack); },
       [&](size_t i) { return i + 1 == stack->dlist.count ? rtxStackPeek(stack) : items; },
       [&] { return stack->dlist.count; }},
  };
  for (const auto& sequence : sequences) {
    SCOPED_TRACE(&sequence - sequences);
    std::vector<char*> model;
    for (size_t step = 0; step < 1500 || !model.empty(); step++) {
      const bool refused = random() % 4 == 0, growing = step < 1500 && random() % 8 < 5;
      size_t index = sequence.anywhere ? pick(random, 0, model.size()) : model.size();
      refuseAll(refused);
      if (growing) {
        char* item = items + step;
        const bool inserted = sequence.insert(index, item);
        ASSERT_TRUE(inserted || refused);
        if (inserted) model.insert(model.begin() + static_cast<long>(index), item);
      } else if (!model.empty()) {
        index = std::min(index, model.size() - 1);
        sequence.remove(index);
        model.erase(model.begin() + static_cast<long>(index));
      }
      ASSERT_EQ(sequence.count(), model.size());
      for (size_t i = 0; i < model.size(); i += 1 + i / 4)
        if (sequence.at(i) != items) ASSERT_EQ(sequence.at(i), model[i]) << i;
      if (&sequence != sequences || model.empty()) continue;
      const int last = static_cast<int>(model.size()) - 1;
      ASSERT_EQ(rtxDListFindIndexByData(&list, model[model.size() - 1]), last);
      ASSERT_EQ(rtxDListFindByData(&list, model[model.size() - 1]), list.tail);
    }
  }
  EXPECT_EQ(rtxStackPop(stack), nullptr);
  EXPECT_EQ(rtxDListFindIndexByData(&list, items), -1);
  rtxSListInit(&singly);
  for (int i = 0; i < 2; i++) EXPECT_NE(rtxSListAppend(&singly, items), nullptr);
  rtxSListFree(&singly);
  EXPECT_EQ(singly.count, 0U);
  for (void* memory : {static_cast<void*>(stack), static_cast<void*>(pointers.data), static_cast<void*>(ints.data)})
    rtxMemHeapFreePtr(pp, memory);
}

TEST_F(Containers, SortedListPlacesEqualsAndJoinsAsText)
{
  RtxDList list = {};
  char* joined = nullptr;
  EXPECT_EQ(rtxDListToUTF8Str(&ctxt, &list, &joined, '.'), 0);
  EXPECT_EQ(joined, nullptr);
  for (const char* word : {"m1", "m2", "d1", "d2", "m3", "a", "z", "", "m4"})
    EXPECT_NE(rtxDListInsertSorted(&ctxt, &list, text(word), byFirstLetter), nullptr);
  // m2 and m3 came when an equal one was the tail, m4 when it was not.
  EXPECT_EQ(rtxDListToUTF8Str(&ctxt, &list, &joined, '.'), 0);
  EXPECT_STREQ(joined, ".a.d2.d1.m4.m1.m2.m3.z");
  const auto after = [](const void* data, const void* arg) { return static_cast<int>(byFirstLetter(data, arg) > 0); };
  EXPECT_STREQ(static_cast<char*>(rtxDListFindFirstData(&list, after, "b")), "d2");
  EXPECT_EQ(rtxDListFindFirstData(&list, after, "z"), nullptr);
  rtxMemHeapFreePtr(pp, joined);
  rtxDListFreeNodes(&ctxt, &list);
}

// Nodes of the caller's own go in and out without an allocation.
TEST_F(Containers, ListsTakeTheCallersNodes)
{
  char letters[] = "caab";
  RtxDListNode nodes[4] = {}, beyond = {};
  RtxDList list;
  rtxDListInit(&list);
  auto text = [&list] {
    std::string all;
    for (RtxDListNode* node = list.head; node; node = node->next) all += *static_cast<char*>(node->data);
    return all;
  };
  for (int i = 0; i < 4; ++i) nodes[i].data = &letters[i];
  for (int i = 0; i < 3; ++i) EXPECT_EQ(rtxDListInsertNodeSorted(&list, &nodes[i], byFirstLetter), &nodes[i]);
  EXPECT_EQ(text(), "aac");
  EXPECT_EQ(rtxDListInsertNode(&list, 4, &beyond), nullptr);
  EXPECT_EQ(rtxDListInsertNode(&list, 0, &nodes[3]), &nodes[3]);
  EXPECT_EQ(text(), "baac");
  for (int i : {1, 0, 3}) rtxDListRemove(&list, &nodes[i]); // from inside, the tail, the head
  EXPECT_EQ(text(), "a");
  EXPECT_EQ(list.tail, &nodes[2]);
  EXPECT_EQ(list.count, 1U);
}

TEST_F(Containers, ListsAndArraysBecomeEachOther)
{
  RtxDList list = {};
  uint16_t numbers[] = {7, 8, 9}, room[4] = {0, 0, 0, 0xFFFF};
  void *array = room, *own = nullptr, **pointers = nullptr;
  uint32_t count = 4, fewer = 2;
  EXPECT_EQ(rtxDListAppendArray(&ctxt, &list, numbers, 3, sizeof numbers[0]), 0);
  EXPECT_EQ(rtxDListToArray(&ctxt, &list, &own, nullptr, 2), 3);
  EXPECT_EQ(rtxDListToArray(&ctxt, &list, &array, &count, 2), 3);
  EXPECT_EQ(rtxDListToPointerArray(&ctxt, &list, &pointers, &fewer), 3);
  EXPECT_EQ(memcmp(own, numbers, sizeof numbers) | memcmp(room, numbers, sizeof numbers), 0);
  EXPECT_EQ(room[3], 0xFFFF);
  EXPECT_TRUE(count == 3 && fewer == 3 && pointers[1] == &numbers[1]);
  for (void* made : {own, static_cast<void*>(pointers)}) rtxMemHeapFreePtr(pp, made);
  rtxDListFreeNodes(&ctxt, &list);
  for (uint32_t length : {0, 1, 4, 5, 12, 13, 100}) {
    RtxDListBuf buf;
    uint32_t *elems = nullptr, segment = length != 0 ? 4 : 0;
    for (uint32_t held = 4; held < length; held += segment) segment *= 2;
    rtxDListBufInit(&buf, 4, reinterpret_cast<void**>(&elems), sizeof *elems);
    for (uint32_t i = 0; i < length; i++) {
      if (buf.n == buf.nMax) ASSERT_EQ(rtxDListBufExpand(&ctxt, &buf), 0);
      elems[buf.n++] = i;
    }
    EXPECT_EQ(buf.nMax, segment);
    ASSERT_EQ(rtxDListBufToArray(&ctxt, &buf), 0);
    EXPECT_EQ(buf.nAll, length);
    for (uint32_t i = 0; i < length; i++) ASSERT_EQ(elems[i], i);
    if (length != 0) rtxMemHeapFreePtr(pp, elems);
  }
}

TEST_F(Containers, AnArrayOfOneSegmentHasNoRoomForFurtherElements)
{
  for (uint32_t length : {0, 1, 4, 5}) {
    RtxDListBuf buf;
    uint32_t* elems = nullptr;
    rtxDListBufInit(&buf, 4, reinterpret_cast<void**>(&elems), sizeof *elems);
    ASSERT_EQ(rtxDListBufExpand(&ctxt, &buf), 0);
    for (uint32_t i = 0; i < length; i++) {
      if (buf.n == buf.nMax) ASSERT_EQ(rtxDListBufExpand(&ctxt, &buf), 0);
      elems[buf.n++] = i;
    }
    ASSERT_EQ(rtxDListBufToArray(&ctxt, &buf), 0);
    EXPECT_EQ(buf.n, buf.nMax) << length << " elements"; // so the caller asks for a segment before it writes
    if (length != 0) rtxMemHeapFreePtr(pp, elems);
  }
}

TEST_F(Containers, WhatListsHoldIsFreedOnce)
{
  RtxDList list = {};
  const char array[2][4] = {"abc", "def"};
  EXPECT_STREQ(static_cast<char*>(rtxDListAppendCharArray(&ctxt, &list, 3, "xyz!")->data), "xyz");
  EXPECT_EQ(rtxDListAppendArrayCopy(&ctxt, &list, array, 2, 4), 0);
  EXPECT_STREQ(static_cast<char*>(list.tail->data), "def");
  rtxDListFreeAll(&ctxt, &list);
  EXPECT_TRUE(rtxMemHeapIsEmpty(pp));
  for (size_t size : {20, 0, 30}) {
    auto* elem = static_cast<RtxOpenElem*>(rtxMemHeapAllocZ(pp, sizeof(RtxOpenElem)));
    if (size != 0) elem->data = static_cast<uint8_t*>(rtxMemHeapAlloc(pp, size));
    rtxDListAppend(&ctxt, &list, elem);
  }
  rtxMemFreeOpenSeqExt(pp, &list);
  EXPECT_TRUE(rtxMemHeapIsEmpty(pp));
  for (RtxSList* singly : {rtxSListCreate(), rtxSListCreateEx(&ctxt)}) {
    RtxContext* owner = singly->pctxt;
    for (int i = 0; i < 2; i++) rtxSListAppend(singly, owner != nullptr ? rtxMemHeapAlloc(pp, 9) : malloc(9));
    EXPECT_EQ(rtxSListFind(singly, singly->tail->data), 1);
    rtxSListFreeAll(singly);
    EXPECT_EQ(singly->head, nullptr);
    owner != nullptr ? static_cast<void>(rtxMemHeapFreePtr(pp, singly)) : free(singly);
  }
  rtxDListAppendCharArray(&ctxt, &list, 3, "xyz");
  rtxMemHeapFreeAll(pp);
  rtxDListFreeAll(&ctxt, &list); // the nodes are gone with the heap and must not be touched
  EXPECT_EQ(list.head, nullptr);
}

TEST_F(Containers, ArrayListsFindByTheFunctionGiven)
{
  RtxArrayList* array = rtxNewArrayList(&ctxt, 1);
  array->equalsFunc = [](const void* l, const void* r) -> int { return byFirstLetter(l, r) == 0; };
  EXPECT_EQ(rtxArrayListInsert(&ctxt, array, text("x"), 1), RTX_E_INDEX_RANGE);
  int count = 0;
  for (const char* word : {"x", "z", "y"}) EXPECT_EQ(rtxArrayListAdd(&ctxt, array, text(word)), count++);
  EXPECT_EQ(rtxArrayListIndexOf(array, "yes"), 2);
  EXPECT_EQ(rtxArrayListIndexOf(array, "no"), -1);
  EXPECT_STREQ(static_cast<char*>(rtxArrayListRemove(&ctxt, array, "yes")), "y");
  EXPECT_STREQ(static_cast<char*>(rtxArrayListReplace(array, text("w"), 1)), "z");
  rtxArrayListInitIter(array, 0);
  std::string words;
  while (rtxArrayListHasNextItem(array)) words += static_cast<char*>(rtxArrayListNextItem(array));
  EXPECT_EQ(words, "xw");
  EXPECT_EQ(rtxArrayListNextItem(array), nullptr);
  rtxFreeArrayList(&ctxt, array);
  rtxMemHeapFreePtr(pp, array);
}

TEST_F(Containers, BitSetsGrowByStepsUpToTheLastBit)
{
  RtxDynBitSet set, copy;
  rtxDynBitSetInit(&ctxt, &set, 0);
  for (uint32_t bit : {1, 128, 4}) EXPECT_EQ(rtxDynBitSetSetBit(&ctxt, &set, bit), 0);
  EXPECT_EQ(set.nbytes, 32) << "two steps of 16";
  EXPECT_EQ(rtxDynBitSetCopy(&ctxt, &set, &copy), 0);
  EXPECT_EQ(rtxDynBitSetInsertBit(&ctxt, &set, 2, 1) + rtxDynBitSetInsertBit(&ctxt, &set, 0, 0), 0);
  EXPECT_EQ(set.maxbit, 131);
  EXPECT_EQ(rtxDynBitSetSetBitToValue(&ctxt, &set, 130, 0), 0);
  set.maxbit = 8;
  testing::internal::CaptureStdout();
  rtxDynBitSetPrint(&set);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "00110010\n");
  EXPECT_EQ(rtxDynBitSetSetBit(&ctxt, &set, 65535), 0);
  for (int status : {rtxDynBitSetInsertBit(&ctxt, &set, 9, 1), rtxDynBitSetSetBit(&ctxt, &set, 65536),
                     rtxDynBitSetClearBit(&set, 65536)})
    EXPECT_EQ(status, RTX_E_INDEX_RANGE);
  EXPECT_EQ(rtxDynBitSetTestBit(&set, 130) + rtxDynBitSetTestBit(&copy, 128), 1);
  for (RtxDynBitSet* each : {&set, &copy}) rtxDynBitSetFree(&ctxt, each);
}

std::string textOf(const RtxMemBuf& buf)
{
  size_t length = 0;
  const uint8_t* data = rtxMemBufGetDataExt(&buf, &length);
  EXPECT_EQ(rtxMemBufGetDataLen(&buf), length);
  return std::string(reinterpret_cast<const char*>(data), length);
}

TEST_F(Containers, MemBufGrowsCutsAndTrims)
{
  char own[4];
  RtxMemBuf buf;
  int32_t length = 0;
  for (int kind = 0; kind < 3; kind++) { // on the heap, by the system, and at first over a caller's buffer
    rtxMemBufInit(&ctxt, &buf, 16);
    if (kind == 1) EXPECT_EQ(rtxMemBufSetUseSysMem(&buf, 1), 0);
    if (kind == 2) rtxMemBufInitBuffer(&ctxt, &buf, own, sizeof own, 16);
    EXPECT_EQ(rtxMemBufAppend(&buf, "  ab", 4), 0);
    EXPECT_EQ(buf.bufsize, kind == 2 ? 4U : 16U);
    EXPECT_EQ(all({rtxMemBufAppend(&buf, "cdefghijklm \n", 13), rtxMemBufCut(&buf, 4, 3)}), 0);
    EXPECT_EQ(buf.bufsize, 32U);
    rtxMemBufTrimW(&buf);
    EXPECT_EQ(textOf(buf), "abfghijklm");
    EXPECT_EQ(all({rtxMemBufCut(&buf, 0, 3), rtxMemBufSet(&buf, '-', 3)}), 0) << "with the blanks in front";
    EXPECT_EQ(ctxt.told(rtxMemBufCut(&buf, 10, SIZE_MAX)), RTX_E_BAD_PARAMETER);
    EXPECT_EQ(rtxMemBufPreAllocate(&buf, SIZE_MAX - 20), RTX_E_NO_MEMORY);
    EXPECT_EQ(rtxMemBufSetExpandable(&buf, 0), 1);
    EXPECT_EQ(ctxt.told(rtxMemBufPreAllocate(&buf, 32)), RTX_E_NO_MEMORY);
    EXPECT_EQ(textOf(buf), "bfghijklm---");
    EXPECT_EQ(rtxMemBufGetData(&buf, &length)[0] + length, 'b' + 12);
    rtxMemBufReset(&buf);
    EXPECT_EQ(rtxMemBufPreAllocate(&buf, 32), 0);
    rtxMemBufSetExpandable(&buf, 1);
    EXPECT_EQ(all({rtxMemBufSet(&buf, 'o', 32), rtxMemBufAppend(&buf, buf.buffer, 32)}), 0) << "of itself, as it grows";
    EXPECT_EQ(textOf(buf), std::string(64, 'o'));
    rtxMemBufFree(&buf);
  }
  alignas(8) uint8_t memory[40];
  ASSERT_EQ(rtxMemHeapConvertStatic(pp, memory, sizeof memory), 0);
  rtxMemBufInit(&ctxt, &buf, 16);
  EXPECT_EQ(all({rtxMemBufSet(&buf, 'x', 10), rtxMemBufSet(&buf, 'y', 7)}), 0);
  EXPECT_EQ(buf.bufsize, 17U) << "exactly, not 32, on a static heap";
  EXPECT_EQ(rtxMemBufSet(&buf, 'z', 24), RTX_E_NO_MEMORY);
  rtxMemHeapReset(pp);
}

} // namespace
