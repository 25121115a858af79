// The small containers agree with plain models, keep their documented sizes, and give back all they took.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "bench.h"
#include "velnor3gpp/rtxArrayList.h"
#include "velnor3gpp/rtxDList.h"
#include "velnor3gpp/rtxDynBitSet.h"
#include "velnor3gpp/rtxDynPtrArray.h"
#include "velnor3gpp/rtxHashMap.h"
#include "velnor3gpp/rtxHashMapStr2Int.h"
#include "velnor3gpp/rtxHashMapStr2UInt.h"
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

// A container as a sequence of pointers; what only grows or shrinks at its end ignores the index.
struct Sequence {
  bool anywhere;
  std::function<bool(size_t index, char* item)> insert;
  std::function<void(size_t index)> remove;
  std::function<const void*(size_t index)> at;
  std::function<size_t()> count;
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
  const Sequence sequences[] = {
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
  for (const Sequence& sequence : sequences) {
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

TEST_F(Containers, ListsAndArraysBecomeEachOther)
{
  RtxDList list = {};
  uint16_t numbers[] = {7, 8, 9}, room[4] = {0, 0, 0, 0xFFFF};
  void *array = nullptr, **pointers = nullptr;
  EXPECT_EQ(rtxDListAppendArray(&ctxt, &list, numbers, 3, sizeof numbers[0]), 0);
  EXPECT_EQ(rtxDListToArray(&ctxt, &list, &array, nullptr, 2), 3);
  EXPECT_EQ(memcmp(array, numbers, sizeof numbers), 0);
  rtxMemHeapFreePtr(pp, array);
  array = room;
  uint32_t count = 4;
  EXPECT_EQ(rtxDListToArray(&ctxt, &list, &array, &count, 2), 3);
  EXPECT_EQ(count, 3U);
  EXPECT_EQ(room[2] + room[3], 9 + 0xFFFF);
  count = 2;
  EXPECT_EQ(rtxDListToPointerArray(&ctxt, &list, &pointers, &count), 3);
  EXPECT_EQ(count, 3U);
  EXPECT_EQ(pointers[1], &numbers[1]);
  rtxMemHeapFreePtr(pp, pointers);
  rtxDListFreeNodes(&ctxt, &list);
  for (uint32_t length : {0, 1, 4, 5, 12, 13, 100}) {
    RtxDListBuf buf;
    uint32_t *elems = nullptr, segment = length != 0 ? 4 : 0;
    rtxDListBufInit(&buf, 4, reinterpret_cast<void**>(&elems), sizeof *elems);
    for (uint32_t i = 0; i < length; i++) {
      if (buf.n == buf.nMax) ASSERT_EQ(rtxDListBufExpand(&ctxt, &buf), 0);
      elems[buf.n++] = i;
    }
    for (uint32_t held = 4; held < length; held += segment) segment *= 2;
    EXPECT_EQ(buf.nMax, segment);
    ASSERT_EQ(rtxDListBufToArray(&ctxt, &buf), 0);
    EXPECT_EQ(buf.nAll, length);
    for (uint32_t i = 0; i < length; i++) ASSERT_EQ(elems[i], i);
    EXPECT_EQ(elems == nullptr, length == 0);
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
  rtxDListAppend(&ctxt, &list, rtxMemHeapAllocZ(pp, 8));
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
  for (const char* word : {"x", "w"}) EXPECT_STREQ(static_cast<char*>(rtxArrayListNextItem(array)), word);
  EXPECT_EQ(rtxArrayListHasNextItem(array), 0);
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
  EXPECT_EQ(rtxDynBitSetInsertBit(&ctxt, &set, 2, 1), 0);
  EXPECT_EQ(rtxDynBitSetInsertBit(&ctxt, &set, 0, 0), 0);
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

TEST_F(Containers, HashMapAgreesWithAMap)
{
  std::map<std::string, int32_t> model;
  RtxHashMapStr2Int* map = rtxHashMapStr2IntNew(&ctxt, 0, nullptr, nullptr);
  std::vector<std::string> keys; // The map holds their places.
  for (int i = 0; i < 300; i++) keys.push_back("key" + std::to_string(i));
  refuseAll(false);
  for (int step = 0; step < 3000; step++) {
    const std::string& name = keys[random() % keys.size()];
    const int known = static_cast<int>(model.count(name));
    int32_t value = static_cast<int32_t>(random());
    const uint32_t length = map->tableLength;
    // A refused growth, and every other refusal, leaves the map as it is.
    refuseAll(step % 5 == 0);
    if (step % 3 != 0) {
      const int status = rtxHashMapStr2IntPut(&ctxt, map, name.c_str(), value);
      ASSERT_EQ(status, step % 5 == 0 && !known ? RTX_E_NO_MEMORY : 0);
      if (status == 0) model[name] = value;
    } else {
      ASSERT_EQ(rtxHashMapStr2IntRemove(&ctxt, map, name.c_str(), &value), known);
      if (known) ASSERT_EQ(value, model[name]);
      model.erase(name);
    }
    ASSERT_EQ(map->entryCount, model.size());
    if (step % 5 == 0) ASSERT_EQ(map->tableLength, length);
  }
  refuseAll(false);
  RtxHashMapStr2Int copy;
  ASSERT_EQ(rtxHashMapStr2IntCopy(&ctxt, map, &copy), 0);
  rtxHashMapStr2IntFree(&ctxt, map);
  rtxMemHeapFreePtr(pp, map);
  for (const std::string& key : keys) {
    int32_t value = 0;
    const int known = static_cast<int>(model.count(key));
    ASSERT_EQ(rtxHashMapStr2IntSearch(&copy, key.c_str(), &value), known);
    ASSERT_EQ(value, known ? model[key] : 0);
  }
  RtxDList list = {};
  const auto compare = [](const void* a, const void* b) {
    return strcmp(static_cast<const char*>(a), static_cast<const char*>(b));
  };
  ASSERT_EQ(rtxHashMapStr2IntSort(&ctxt, &copy, &list, compare), 0);
  const RtxDListNode* node = list.head;
  for (auto it = model.rbegin(); it != model.rend(); ++it, node = node->next)
    ASSERT_STREQ(static_cast<char*>(node->data), it->first.c_str());
  rtxDListFreeNodes(&ctxt, &list);
  rtxHashMapStr2IntFree(&ctxt, &copy);
}

TEST_F(Containers, HashMapSizesAndHashes)
{
  EXPECT_EQ(rtxUTF8StrHash("a"), 5381U * 33 + 'a');
  EXPECT_EQ(rtxUTF8StrHash("\xC3\xA4"), (5381U * 33 + 0xC3) * 33 + 0xA4);
  RtxHashMap map;
  const auto one = [](const void*) -> uint32_t { return 1; };
  const uint32_t sizes[][2] = {{53, 97}, {97, 193}, {6150, 6151}, {1610612741, 53}, {52, 53}, {0, 53}};
  for (const auto& size : sizes) {
    ASSERT_EQ(rtxHashMapInit(&ctxt, &map, size[0], one, nullptr), 0);
    EXPECT_EQ(map.tableLength, size[1]);
    if (size[0] != 0) rtxHashMapFree(&ctxt, &map);
  }
  int a, b;
  for (int* key : {&a, &b}) EXPECT_EQ(rtxHashMapPut(&ctxt, &map, key, &b), 0);
  // 1 + ~(1 << 9) = 0xFFFFFE00; xor its rotation by 14 (0xF803FFFF): 0x07FC01FF; times 17: 0x87BC21EF; xor its
  // rotation by 10 (0x7BE1EF08).
  const uint32_t mixed = 0x87BC21EFU ^ 0x7BE1EF08U;
  ASSERT_NE(map.table[mixed % 53], nullptr);
  EXPECT_EQ(map.table[mixed % 53]->hash, mixed);
  void* value = nullptr;
  EXPECT_EQ(rtxHashMapRemove(&ctxt, &map, &a, &value), 1);
  EXPECT_EQ(value, &b);
  EXPECT_EQ(rtxHashMapSearch(&map, &a, &value), 0);
  rtxHashMapFree(&ctxt, &map);

  RtxHashMapStr2UInt numbers;
  uint32_t number = 0;
  ASSERT_EQ(rtxHashMapStr2UIntInit(&ctxt, &numbers, 0, nullptr, nullptr), 0);
  for (uint32_t i = 0; i < 36; i++) {
    EXPECT_EQ(numbers.tableLength, 53U);
    rtxHashMapStr2UIntInsert(&ctxt, &numbers, "same", i);
  }
  EXPECT_EQ(rtxHashMapStr2UIntPut(&ctxt, &numbers, "same", 35), 0);
  EXPECT_EQ(rtxHashMapStr2UIntSearch(&numbers, "other", &number), 0);
  EXPECT_EQ(numbers.loadLimit, 64U) << "of the next length, 97";
  EXPECT_EQ(rtxHashMapStr2UIntRemove(&ctxt, &numbers, "same", &number), 1);
  EXPECT_EQ(number, 35U) << "the latest of one name";
  rtxHashMapStr2UIntFree(&ctxt, &numbers);
}

std::string textOf(const RtxMemBuf& buf)
{
  size_t length = 0;
  const uint8_t* data = rtxMemBufGetDataExt(&buf, &length);
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
    EXPECT_EQ(rtxMemBufAppend(&buf, "cdefghijklm \n", 13), 0);
    EXPECT_EQ(buf.bufsize, 32U);
    EXPECT_EQ(rtxMemBufCut(&buf, 4, 3), 0);
    rtxMemBufTrimW(&buf);
    EXPECT_EQ(textOf(buf), "abfghijklm");
    EXPECT_EQ(rtxMemBufCut(&buf, 0, 3), 0) << "with the blanks in front";
    for (size_t at : {5, 10}) EXPECT_EQ(ctxt.told(rtxMemBufCut(&buf, at, at == 5 ? 5 : SIZE_MAX)), RTX_E_BAD_PARAMETER);
    EXPECT_EQ(rtxMemBufSet(&buf, '-', 3), 0);
    for (size_t size : {SIZE_MAX, SIZE_MAX - 20}) EXPECT_EQ(rtxMemBufPreAllocate(&buf, size), RTX_E_NO_MEMORY);
    EXPECT_EQ(rtxMemBufSetExpandable(&buf, 0), 1);
    EXPECT_EQ(ctxt.told(rtxMemBufPreAllocate(&buf, 32)), RTX_E_NO_MEMORY);
    EXPECT_EQ(textOf(buf), "bfghijklm---");
    EXPECT_EQ(*rtxMemBufGetData(&buf, &length), 'b');
    EXPECT_EQ(length, 12);
    rtxMemBufReset(&buf);
    EXPECT_EQ(rtxMemBufPreAllocate(&buf, 32), 0);
    rtxMemBufFree(&buf);
  }
  alignas(8) uint8_t memory[40];
  ASSERT_EQ(rtxMemHeapConvertStatic(pp, memory, sizeof memory), 0);
  rtxMemBufInit(&ctxt, &buf, 16);
  EXPECT_EQ(rtxMemBufSet(&buf, 'x', 10) + rtxMemBufSet(&buf, 'y', 7), 0);
  EXPECT_EQ(buf.bufsize, 17U) << "exactly, not 32, on a static heap";
  EXPECT_EQ(rtxMemBufSet(&buf, 'z', 24), RTX_E_NO_MEMORY);
  EXPECT_EQ(textOf(buf), "xxxxxxxxxxyyyyyyy");
  rtxMemHeapReset(pp);
}

} // namespace
