// The small containers agree with plain models, keep their documented sizes, and give back all they took.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "tests/rtx/failingAllocator.h"
#include "velnor3gpp/rtxArrayList.h"
#include "velnor3gpp/rtxDynBitSet.h"
#include "velnor3gpp/rtxDynPtrArray.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxHashMap.h"
#include "velnor3gpp/rtxHashMapStr2Int.h"
#include "velnor3gpp/rtxHashMapStr2UInt.h"
#include "velnor3gpp/rtxIntStack.h"
#include "velnor3gpp/rtxMemBuf.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxSList.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

// An empty heap at the end means that nothing was left behind.
struct Containers : testing::Test {
  RtxContext ctxt = {};

  void SetUp() override
  {
    failing::allow(-1);
    rtxMemHeapCreateExt(&ctxt.pMemHeap, failing::mallocFunc, failing::reallocFunc, failing::freeFunc);
    rtxMemHeapSetFlags(&ctxt.pMemHeap, RT_MH_FREE_EMPTY_BLOCKS);
  }
  void TearDown() override
  {
    EXPECT_TRUE(rtxMemHeapIsEmpty(&ctxt.pMemHeap));
    rtxMemHeapRelease(&ctxt.pMemHeap);
  }
  // From now on every allocation is refused: each is a raw block of its own.
  void refuseAll(bool refuse)
  {
    rtxMemHeapSetFlags(&ctxt.pMemHeap, RT_MH_USE_SYSMEM);
    failing::allow(refuse ? 0 : -1);
  }
};

TEST_F(Containers, SinglyLinkedListOnEitherMemory)
{
  char a[] = "a", b[] = "b", c[] = "c";
  for (RtxSList* list : {rtxSListCreate(), rtxSListCreateEx(&ctxt)}) {
    for (char* s : {a, b, c, b}) EXPECT_NE(rtxSListAppend(list, s), nullptr);
    rtxSListRemove(list, b); // the first of two
    EXPECT_EQ(list->count, 3U);
    EXPECT_EQ(list->head->next->data, c);
    EXPECT_EQ(rtxSListFind(list, b), 1);
    rtxSListRemove(list, b); // the tail
    EXPECT_EQ(list->tail->data, c);
    EXPECT_EQ(rtxSListFind(list, b), 0);
    rtxSListRemove(list, b);
    rtxSListRemove(list, a); // the head
    rtxSListAppend(list, a);
    EXPECT_EQ(list->head->data, c);
    EXPECT_EQ(list->head->next, list->tail);
    rtxSListFree(list);
    EXPECT_EQ(list->count, 0U);
    RtxContext* owner = list->pctxt;
    if (owner == nullptr) rtxSListInit(list); // an empty list, ready for more
    rtxSListAppend(list, owner != nullptr ? rtxMemHeapAlloc(&owner->pMemHeap, 9) : malloc(9));
    rtxSListFreeAll(list);
    EXPECT_EQ(list->head, nullptr);
    if (owner != nullptr)
      rtxMemHeapFreePtr(&owner->pMemHeap, list);
    else
      free(list);
  }
}

TEST_F(Containers, ArrayListAgreesWithAVector)
{
  std::mt19937 random(3);
  std::vector<int> values(1000);
  std::vector<void*> model;
  RtxArrayList* list = rtxNewArrayList(&ctxt, 0);
  for (int i = 0; i < 11; i++) EXPECT_EQ(rtxArrayListAdd(&ctxt, list, &values[static_cast<size_t>(i)]), i);
  EXPECT_EQ(list->segments.count, 2U);
  rtxFreeArrayList(&ctxt, list);
  for (int step = 0; step < 2000; step++) {
    void* item = &values[random() % values.size()];
    const size_t index = random() % (model.size() + 1);
    const unsigned what = random() % 5;
    if (what < 2) {
      EXPECT_EQ(rtxArrayListInsert(&ctxt, list, item, index), 0);
      model.insert(model.begin() + static_cast<long>(index), item);
    } else if (index < model.size() && what < 4) {
      EXPECT_EQ(rtxArrayListRemoveIndexed(&ctxt, list, index), model[index]);
      model.erase(model.begin() + static_cast<long>(index));
    } else if (index < model.size()) {
      EXPECT_EQ(rtxArrayListReplace(list, item, index), model[index]);
      model[index] = item;
    }
    ASSERT_EQ(list->count, model.size());
    ASSERT_EQ(list->segments.count, (model.size() + 9) / 10);
    if (index < model.size()) {
      ASSERT_EQ(rtxArrayListGetIndexed(list, index), model[index]);
    }
  }
  ASSERT_GT(model.size(), 0U);
  rtxArrayListInitIter(list, 0);
  for (void* item : model) ASSERT_EQ(rtxArrayListNextItem(list), item);
  EXPECT_FALSE(rtxArrayListHasNextItem(list));
  EXPECT_EQ(rtxArrayListNextItem(list), nullptr);
  EXPECT_EQ(rtxArrayListInsert(&ctxt, list, list, model.size() + 1), RTX_E_INDEX_RANGE);
  EXPECT_EQ(rtxArrayListGetIndexed(list, model.size()), nullptr);
  EXPECT_EQ(rtxArrayListRemove(&ctxt, list, model.back()), model.back());
  EXPECT_EQ(rtxArrayListIndexOf(list, list), -1);
  rtxFreeArrayList(&ctxt, list);
  rtxMemHeapFreePtr(&ctxt.pMemHeap, list);
}

TEST_F(Containers, ArrayListComparesByTheFunctionGiven)
{
  char a[] = "x", b[] = "y", key[] = "y";
  RtxArrayList list;
  rtxArrayListInit(&list, 1);
  list.equalsFunc = [](const void* l, const void* r) -> int {
    return strcmp(static_cast<const char*>(l), static_cast<const char*>(r)) == 0;
  };
  rtxArrayListAdd(&ctxt, &list, a);
  rtxArrayListAdd(&ctxt, &list, b);
  EXPECT_EQ(rtxArrayListIndexOf(&list, key), 1);
  EXPECT_EQ(rtxArrayListRemove(&ctxt, &list, key), b);
  rtxFreeArrayList(&ctxt, &list);
}

TEST_F(Containers, BitSetGrowsBySteps)
{
  RtxDynBitSet set, copy;
  rtxDynBitSetInit(&ctxt, &set, 0);
  EXPECT_EQ(rtxDynBitSetTestBit(&set, 0), 0);
  EXPECT_EQ(rtxDynBitSetSetBit(&ctxt, &set, 65536), RTX_E_INDEX_RANGE);
  EXPECT_EQ(rtxDynBitSetClearBit(&set, 65536), RTX_E_INDEX_RANGE);
  EXPECT_EQ(rtxDynBitSetSetBit(&ctxt, &set, 1), 0);
  EXPECT_EQ(set.nbytes, 16);
  EXPECT_EQ(set.data[0], 0x40);
  EXPECT_EQ(rtxDynBitSetSetBit(&ctxt, &set, 128), 0);
  EXPECT_EQ(set.nbytes, 32);
  EXPECT_EQ(set.maxbit, 129);
  EXPECT_EQ(rtxDynBitSetSetBitToValue(&ctxt, &set, 128, 0), 0);
  EXPECT_EQ(set.maxbit, 129);
  EXPECT_EQ(rtxDynBitSetInsertBit(&ctxt, &set, 1, 0), 0);
  EXPECT_EQ(rtxDynBitSetInsertBit(&ctxt, &set, 0, 1), 0);
  testing::internal::CaptureStdout();
  set.maxbit = 5;
  rtxDynBitSetPrint(&set);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "10010\n");
  EXPECT_EQ(rtxDynBitSetCopy(&ctxt, &set, &copy), 0);
  EXPECT_EQ(rtxDynBitSetSetBit(&ctxt, &set, 65535), 0);
  EXPECT_EQ(rtxDynBitSetTestBit(&set, 65535), 1);
  EXPECT_EQ(set.nbytes, 8192);
  EXPECT_EQ(rtxDynBitSetInsertBit(&ctxt, &set, 9, 1), RTX_E_INDEX_RANGE);
  EXPECT_EQ(rtxDynBitSetTestBit(&copy, 3), 1);
  EXPECT_EQ(copy.nbytes, 32);
  rtxDynBitSetFree(&ctxt, &set);
  rtxDynBitSetFree(&ctxt, &copy);
}

TEST_F(Containers, PointerArrayAndIntStackDouble)
{
  RtxDynPtrArray array;
  RtxIntStack stack;
  refuseAll(false);
  ASSERT_EQ(rtxDynPtrArrayInit(&ctxt, &array, 0), 0);
  ASSERT_EQ(rtxIntStackInit(&ctxt, &stack, 0), 0);
  for (int i = 0; i < 5; i++) EXPECT_EQ(rtxDynPtrArrayAppend(&ctxt, &array, &array), 0);
  EXPECT_EQ(array.capacity, 8);
  for (int i = 0; i < 101; i++) EXPECT_EQ(rtxIntStackPush(&stack, i), 0);
  EXPECT_EQ(stack.size, 200U);
  for (int i = 0; i < 101; i++) ASSERT_EQ(stack.data[i], i);
  while (array.count < array.capacity) rtxDynPtrArrayAppend(&ctxt, &array, &array);
  while (stack.index < stack.size) rtxIntStackPush(&stack, 1);
  refuseAll(true);
  EXPECT_EQ(rtxIntStackPush(&stack, 1), RTX_E_NO_MEMORY);
  EXPECT_EQ(stack.index, 200U);
  EXPECT_EQ(rtxDynPtrArrayAppend(&ctxt, &array, &array), RTX_E_NO_MEMORY);
  EXPECT_EQ(array.capacity, 0);
  refuseAll(false);
  EXPECT_EQ(rtxDynPtrArrayAppend(&ctxt, &array, &stack), 0); // goes on with what it holds
  EXPECT_EQ(array.count, 9);
  EXPECT_EQ(array.data[0], &array);
  EXPECT_EQ(array.data[8], &stack);
  while (array.count < UINT16_MAX) ASSERT_EQ(rtxDynPtrArrayAppend(&ctxt, &array, &stack), 0);
  EXPECT_EQ(rtxDynPtrArrayAppend(&ctxt, &array, &stack), RTX_E_NO_MEMORY);
  rtxMemHeapFreePtr(&ctxt.pMemHeap, array.data);
  rtxMemHeapFreePtr(&ctxt.pMemHeap, stack.data);
}

TEST_F(Containers, HashMapAgreesWithAMap)
{
  std::mt19937 random(5);
  std::vector<std::string> keys;
  for (int i = 0; i < 300; i++) keys.push_back("key" + std::to_string(i));
  std::map<std::string, int32_t> model;
  RtxHashMapStr2Int* map = rtxHashMapStr2IntNew(&ctxt, 0, nullptr, nullptr);
  EXPECT_EQ(map->tableLength, 53U);
  EXPECT_EQ(map->loadLimit, 35U);
  for (int step = 0; step < 3000; step++) {
    const std::string& key = keys[random() % keys.size()];
    int32_t value = static_cast<int32_t>(random());
    if (random() % 3 != 0) {
      EXPECT_EQ(rtxHashMapStr2IntPut(&ctxt, map, key.c_str(), value), 0);
      model[key] = value;
    } else {
      EXPECT_EQ(rtxHashMapStr2IntRemove(&ctxt, map, key.c_str(), &value), static_cast<int>(model.count(key)));
      if (model.count(key) != 0) {
        EXPECT_EQ(value, model[key]);
      }
      model.erase(key);
    }
    ASSERT_EQ(map->entryCount, model.size());
  }
  RtxHashMapStr2Int copy;
  ASSERT_EQ(rtxHashMapStr2IntCopy(&ctxt, map, &copy), 0);
  rtxHashMapStr2IntFree(&ctxt, map);
  rtxMemHeapFreePtr(&ctxt.pMemHeap, map);
  for (const std::string& key : keys) {
    int32_t value = 0;
    ASSERT_EQ(rtxHashMapStr2IntSearch(&copy, key.c_str(), &value), static_cast<int>(model.count(key)));
    if (model.count(key) != 0) {
      ASSERT_EQ(value, model[key]);
    }
  }
  RtxDList list = {};
  const auto compare = [](const void* a, const void* b) {
    return strcmp(static_cast<const char*>(a), static_cast<const char*>(b));
  };
  ASSERT_EQ(rtxHashMapStr2IntSort(&ctxt, &copy, &list, compare), 0);
  const RtxDListNode* node = list.head;
  for (auto it = model.rbegin(); it != model.rend(); ++it, node = node->next) {
    ASSERT_STREQ(static_cast<char*>(node->data), it->first.c_str());
  }
  rtxDListFreeNodes(&ctxt, &list);
  rtxHashMapStr2IntFree(&ctxt, &copy);
}

TEST_F(Containers, HashMapGrowsAndGoesOnWhenRefused)
{
  RtxHashMapStr2UInt map;
  refuseAll(false);
  std::vector<std::string> keys;
  for (int i = 0; i < 37; i++) keys.push_back(std::string(1, static_cast<char>('0' + i)));
  ASSERT_EQ(rtxHashMapStr2UIntInit(&ctxt, &map, 0, nullptr, nullptr), 0);
  for (uint32_t i = 0; i < 35; i++) rtxHashMapStr2UIntInsert(&ctxt, &map, keys[i].c_str(), i);
  EXPECT_EQ(map.tableLength, 53U);
  refuseAll(true);
  EXPECT_EQ(rtxHashMapStr2UIntInsert(&ctxt, &map, keys[35].c_str(), 35), RTX_E_NO_MEMORY);
  EXPECT_EQ(map.entryCount, 35U);
  EXPECT_EQ(map.tableLength, 53U);
  refuseAll(false);
  EXPECT_EQ(rtxHashMapStr2UIntInsert(&ctxt, &map, keys[35].c_str(), 35), 0);
  EXPECT_EQ(map.tableLength, 97U);
  EXPECT_EQ(map.loadLimit, 64U);
  uint32_t value = 0;
  for (uint32_t i = 0; i < 36; i++) {
    ASSERT_EQ(rtxHashMapStr2UIntSearch(&map, keys[i].c_str(), &value), 1);
    EXPECT_EQ(value, i);
  }
  rtxHashMapStr2UIntPut(&ctxt, &map, keys[0].c_str(), 100);
  EXPECT_EQ(map.entryCount, 36U);
  rtxHashMapStr2UIntInsert(&ctxt, &map, keys[0].c_str(), 200);
  EXPECT_EQ(map.entryCount, 37U);
  EXPECT_EQ(rtxHashMapStr2UIntRemove(&ctxt, &map, keys[0].c_str(), &value), 1);
  EXPECT_EQ(value, 200U);
  EXPECT_EQ(rtxHashMapStr2UIntSearch(&map, keys[0].c_str(), &value), 1);
  EXPECT_EQ(value, 100U);
  rtxHashMapStr2UIntFree(&ctxt, &map);
}

TEST_F(Containers, HashMapSizesAndHashes)
{
  // djb2 of "a" is 5381 * 33 + 97; the mixed value below follows the four steps by hand.
  EXPECT_EQ(rtxUTF8StrHash("a"), 177670U);
  EXPECT_EQ(rtxUTF8StrHash("\xC3\xA4"), (5381U * 33 + 0xC3) * 33 + 0xA4);
  const uint32_t sizes[][2] = {{0, 53}, {52, 53}, {53, 97}, {97, 193}, {6150, 6151}, {1610612741, 53}};
  for (const auto& size : sizes) {
    RtxHashMap map;
    ASSERT_EQ(rtxHashMapInit(&ctxt, &map, size[0], nullptr, nullptr), 0);
    EXPECT_EQ(map.tableLength, size[1]);
    rtxHashMapFree(&ctxt, &map);
  }
  RtxHashMap map;
  const auto one = [](const void*) -> uint32_t { return 1; };
  ASSERT_EQ(rtxHashMapInit(&ctxt, &map, 0, one, nullptr), 0);
  int a, b, c;
  EXPECT_EQ(rtxHashMapPut(&ctxt, &map, &a, &b), 0);
  EXPECT_EQ(rtxHashMapPut(&ctxt, &map, &b, &c), 0); // the same bucket
  // 1 + ~(1 << 9) = 0xFFFFFE00; xor its rotation by 14 (0xF803FFFF): 0x07FC01FF; times 17: 0x87BC21EF; xor its
  // rotation by 10 (0x7BE1EF08).
  const uint32_t mixed = 0x87BC21EFU ^ 0x7BE1EF08U;
  ASSERT_NE(map.table[mixed % 53], nullptr);
  EXPECT_EQ(map.table[mixed % 53]->hash, mixed);
  void* value = nullptr;
  EXPECT_EQ(rtxHashMapRemove(&ctxt, &map, &a, &value), 1);
  EXPECT_EQ(value, &b);
  EXPECT_EQ(rtxHashMapSearch(&map, &a, &value), 0);
  EXPECT_EQ(rtxHashMapSearch(&map, &b, nullptr), 1);
  rtxHashMapFree(&ctxt, &map);
}

std::string textOf(const RtxMemBuf& buf)
{
  size_t length = 0;
  const uint8_t* data = rtxMemBufGetDataExt(&buf, &length);
  return std::string(reinterpret_cast<const char*>(data), length);
}

TEST_F(Containers, MemBufGrowsCutsAndTrims)
{
  for (int useSysMem : {0, 1}) {
    RtxMemBuf buf;
    rtxMemBufInit(&ctxt, &buf, 16);
    EXPECT_EQ(rtxMemBufSetUseSysMem(&buf, useSysMem), 0);
    EXPECT_EQ(rtxMemBufAppend(&buf, "  abc", 5), 0);
    EXPECT_EQ(buf.bufsize, 16U);
    EXPECT_EQ(rtxMemBufAppend(&buf, "defghijklm \n", 12), 0);
    EXPECT_EQ(buf.bufsize, 32U);
    EXPECT_EQ(rtxMemBufCut(&buf, 4, 3), 0);
    EXPECT_EQ(textOf(buf), "  abfghijklm \n");
    rtxMemBufTrimW(&buf);
    EXPECT_EQ(textOf(buf), "abfghijklm");
    EXPECT_EQ(rtxMemBufCut(&buf, 0, 3), 0); // the space and the first letter
    EXPECT_EQ(textOf(buf), "bfghijklm");
    EXPECT_EQ(rtxMemBufCut(&buf, 5, 5), RTX_E_BAD_PARAMETER);
    rtxErrReset(&ctxt);
    EXPECT_EQ(rtxMemBufCut(&buf, 10, SIZE_MAX), RTX_E_BAD_PARAMETER);
    rtxErrReset(&ctxt);
    EXPECT_EQ(rtxMemBufSet(&buf, '-', 3), 0);
    int32_t length = 0;
    EXPECT_EQ(*rtxMemBufGetData(&buf, &length), 'b');
    EXPECT_EQ(length, 12);
    EXPECT_EQ(rtxMemBufPreAllocate(&buf, SIZE_MAX), RTX_E_NO_MEMORY);
    EXPECT_EQ(rtxMemBufPreAllocate(&buf, SIZE_MAX - 20), RTX_E_NO_MEMORY);
    EXPECT_EQ(textOf(buf), "bfghijklm---");
    EXPECT_EQ(rtxMemBufSetExpandable(&buf, 0), 1);
    EXPECT_EQ(rtxMemBufPreAllocate(&buf, 32), RTX_E_NO_MEMORY);
    rtxErrReset(&ctxt);
    rtxMemBufReset(&buf);
    EXPECT_EQ(rtxMemBufPreAllocate(&buf, 32), 0);
    rtxMemBufFree(&buf);
  }
}

TEST_F(Containers, MemBufOverACallersBufferAndAStaticHeap)
{
  char own[4];
  RtxMemBuf buf;
  rtxMemBufInitBuffer(&ctxt, &buf, own, sizeof own, 8);
  EXPECT_EQ(rtxMemBufAppend(&buf, "abcd", 4), 0);
  EXPECT_EQ(buf.buffer, reinterpret_cast<uint8_t*>(own));
  EXPECT_EQ(rtxMemBufAppend(&buf, "e", 1), 0);
  EXPECT_EQ(textOf(buf), "abcde");
  EXPECT_EQ(buf.bufsize, 8U);
  rtxMemBufFree(&buf);
  rtxMemBufInitBuffer(&ctxt, &buf, own, sizeof own, 0);
  EXPECT_EQ(rtxMemBufAppend(&buf, "abcde", 5), RTX_E_NO_MEMORY);
  rtxMemHeapReset(&ctxt.pMemHeap);

  alignas(8) uint8_t memory[40];
  ASSERT_EQ(rtxMemHeapConvertStatic(&ctxt.pMemHeap, memory, sizeof memory), 0);
  rtxMemBufInit(&ctxt, &buf, 16);
  EXPECT_EQ(rtxMemBufSet(&buf, 'x', 10), 0);
  EXPECT_EQ(rtxMemBufSet(&buf, 'y', 7), 0); // exactly 17, not 32
  EXPECT_EQ(buf.bufsize, 17U);
  EXPECT_EQ(rtxMemBufSet(&buf, 'z', 24), RTX_E_NO_MEMORY);
  EXPECT_EQ(textOf(buf), "xxxxxxxxxxyyyyyyy");
  rtxMemHeapReset(&ctxt.pMemHeap);
}

} // namespace
