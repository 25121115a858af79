// The hash maps agree with a plain model under each family of names, take the documented sizes and hashes, and stay as
// they were where memory is refused.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>

#include "tests/bench.h"
#include "velnor3gpp/rtxHashMapStr2Int.h"
#include "velnor3gpp/rtxHashMapStr2UInt.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

template <class Map, class Key, class Value> struct Family {
  int (*init)(RtxContext*, Map*, uint32_t, RtxHashFunc, RtxHashEqualsFunc);
  Map* (*make)(RtxContext*, uint32_t, RtxHashFunc, RtxHashEqualsFunc);
  int (*copy)(RtxContext*, const Map*, Map*);
  void (*free)(RtxContext*, Map*);
  int (*insert)(RtxContext*, Map*, Key, Value);
  int (*put)(RtxContext*, Map*, Key, Value);
  int (*search)(const Map*, Key, Value*);
  int (*remove)(RtxContext*, Map*, Key, Value*);
  int (*sort)(RtxContext*, const Map*, RtxDList*, RtxDListCompareFunc);

  void checkSizes(Bench& ctxt) const
  {
    Map map;
    Value value;
    for (auto [size, length] : {std::pair{53U, 97U}, {97, 193}, {6150, 6151}, {1610612741, 53}, {52, 53}, {0, 53}}) {
      ASSERT_EQ(init(&ctxt, &map, size, nullptr, nullptr), 0);
      EXPECT_EQ(map.tableLength, length);
      if (size != 0) free(&ctxt, &map);
    }
    for (size_t i = 0; i < 36; i++) {
      EXPECT_EQ(map.tableLength, 53U);
      EXPECT_EQ(insert(&ctxt, &map, (Key) "one", (Value)i), 0);
    }
    EXPECT_EQ(map.loadLimit, 64U) << "of the next length, 97";
    EXPECT_EQ(remove(&ctxt, &map, (Key) "one", &value), 1);
    EXPECT_EQ(value, (Value)35) << "the latest of one name";
    free(&ctxt, &map);
  }
  void compare(Bench& ctxt, bool keysAreTexts) const
  {
    std::mt19937 random(5);
    std::map<std::string, Value> model;
    std::vector<std::string> names;
    for (int i = 0; i < 300; i++) names.push_back("key" + std::to_string(i));
    Map *map = make(&ctxt, 0, nullptr, nullptr), twin;
    for (int step = 0; step < 3000; step++) {
      const std::string& name = names[random() % names.size()];
      const int known = static_cast<int>(model.count(name));
      const uint32_t length = map->tableLength;
      const bool refused = step % 5 == 0;
      Value value = (Value)random();
      failing::allow(refused ? 0 : -1);
      if (step % 3 != 0) {
        const int status = (known || step % 2 == 0 ? put : insert)(&ctxt, map, (Key)name.c_str(), value);
        ASSERT_EQ(status, refused && !known ? RTX_E_NO_MEMORY : 0);
        if (status == 0) model[name] = value;
      } else {
        ASSERT_EQ(remove(&ctxt, map, (Key)name.c_str(), &value), known);
        if (known) ASSERT_EQ(value, model[name]);
        model.erase(name);
      }
      ASSERT_EQ(map->entryCount, model.size());
      if (refused) ASSERT_EQ(map->tableLength, length);
    }
    failing::allow(9);
    EXPECT_EQ(copy(&ctxt, map, &twin), RTX_E_NO_MEMORY) << "half-way";
    failing::allow(-1);
    ASSERT_EQ(copy(&ctxt, map, &twin), 0);
    free(&ctxt, map);
    rtxMemHeapFreePtr(&ctxt.pMemHeap, map);
    for (const std::string& name : names) {
      const std::string elsewhere = name;
      const int known = static_cast<int>(model.count(name));
      Value value = {};
      ASSERT_EQ(search(&twin, (Key)name.c_str(), &value), known);
      ASSERT_EQ(value, known ? model[name] : Value{});
      ASSERT_EQ(search(&twin, (Key)elsewhere.c_str(), nullptr), known && keysAreTexts);
    }
    RtxDList list = {};
    const auto byText = [](const void* a, const void* b) { return strcmp((const char*)a, (const char*)b); };
    ASSERT_EQ(sort(&ctxt, &twin, &list, byText), 0);
    for (const RtxDListNode* node = list.tail; node != nullptr; node = node->prev, model.erase(model.begin()))
      ASSERT_EQ(model.begin()->first, static_cast<char*>(node->data));
    EXPECT_TRUE(model.empty());
    rtxDListFreeNodes(&ctxt, &list);
    free(&ctxt, &twin);
  }
  void check(bool keysAreTexts) const
  {
    Bench ctxt;
    rtxMemHeapSetFlags(&ctxt.pMemHeap, RT_MH_USE_SYSMEM); // so that each piece can be refused
    checkSizes(ctxt);
    compare(ctxt, keysAreTexts);
    EXPECT_TRUE(rtxMemHeapIsEmpty(&ctxt.pMemHeap));
  }
};

#define FAMILY(name)                                                                                                   \
  name##Init, name##New, name##Copy, name##Free, name##Insert, name##Put, name##Search, name##Remove, name##Sort

TEST(HashMap, AgreesWithAModelInEachFamily)
{
  Family<RtxHashMap, void*, void*>{FAMILY(rtxHashMap)}.check(false);
  Family<RtxHashMapStr2Int, const char*, int32_t>{FAMILY(rtxHashMapStr2Int)}.check(true);
  Family<RtxHashMapStr2UInt, const char*, uint32_t>{FAMILY(rtxHashMapStr2UInt)}.check(true);
}

TEST(HashMap, MixesTheHashOfItsFunction)
{
  EXPECT_EQ(rtxUTF8StrHash("a\xC3"), (5381U * 33 + 'a') * 33 + 0xC3);
  Bench ctxt;
  RtxHashMap map;
  const auto one = [](const void*) -> uint32_t { return 1; };
  ASSERT_EQ(rtxHashMapInit(&ctxt, &map, 0, one, nullptr), 0);
  EXPECT_EQ(rtxHashMapPut(&ctxt, &map, &map, nullptr), 0);
  // 1 + ~(1 << 9) = 0xFFFFFE00; xor its rotation by 14 (0xF803FFFF): 0x07FC01FF; times 17: 0x87BC21EF; xor its
  // rotation by 10 (0x7BE1EF08).
  const uint32_t mixed = 0x87BC21EFU ^ 0x7BE1EF08U;
  ASSERT_NE(map.table[mixed % 53], nullptr);
  EXPECT_EQ(map.table[mixed % 53]->hash, mixed);
  rtxHashMapFree(&ctxt, &map);
}

} // namespace
