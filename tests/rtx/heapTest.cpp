// The heap keeps every element intact and its blocks laid out as documented, whatever is allocated, resized and freed.
#include "heapBench.h"

#include <fstream>
#include <memory>
#include <sstream>
#include <vector>

#include "tests/bench.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

struct Script {
  std::unique_ptr<Heap> heap;
  std::vector<uint8_t*> pieces;

  void resize(size_t index, size_t size, bool fails)
  {
    uint8_t* to = heap->realloc(pieces.at(index), size);
    EXPECT_EQ(to == nullptr, fails);
    if (to != nullptr) pieces[index] = to;
  }
  void operate(const std::string& word)
  {
    const size_t number = word.size() > 1 ? std::stoull(word.substr(1)) : 0;
    if (word[0] == 'a') pieces.push_back(heap->alloc(number));
    if (word[0] == 'f') EXPECT_EQ(heap->free(pieces.at(number)), 0);
    if (word[0] == 'r') resize(number, std::stoull(word.substr(word.find(':') + 1)), word.back() == '!');
    if (word[0] == 'c') EXPECT_EQ(rtxMemHeapAutoPtrRef(heap->pp, pieces.at(number)), pieces[number]);
    if (word[0] == 's') Heap::save(pieces.at(number));
    if (word[0] == 'x') rtxMemHeapReset(heap->pp);
  }
  void start(uint32_t flags, uint32_t blockSize)
  {
    heap = std::make_unique<Heap>(flags, blockSize);
    pieces.clear();
  }
};

TEST(Heap, LayoutsAreAsWritten)
{
  std::ifstream file(VELNOR_TEST_DATA "/heapLayouts.txt");
  Script script;
  int number = 0;
  for (std::string line, word; std::getline(file, line); number++) {
    SCOPED_TRACE(line);
    uint32_t flags, blockSize;
    if (sscanf(line.c_str(), "heap %u %u", &flags, &blockSize) == 2) script.start(flags, blockSize);
    const size_t sign = line.find(" = ");
    if (line.empty() || line[0] == '#' || sign == std::string::npos) continue;
    std::istringstream words(line.substr(0, sign));
    while (words >> word) script.operate(word);
    EXPECT_EQ(script.heap->layout(), line.substr(sign + 3));
    script.heap->check();
  }
  EXPECT_GT(number, 70);
}

TEST(Heap, ReferencesAndStatuses)
{
  Heap heap;
  int outside = 0;
  uint8_t* p = heap.alloc(8);
  for (int i = 2; i <= 255; i++) EXPECT_EQ(rtxMemHeapAutoPtrRef(heap.pp, p), p);
  for (int i = 254; i >= 0; i--) EXPECT_EQ(heap.free(p), i);
  EXPECT_EQ(rtxMemHeapAutoPtrRef(heap.pp, p), nullptr);
  EXPECT_EQ(rtxMemHeapAutoPtrGetRefCount(heap.pp, p) + rtxMemHeapCheckPtr(heap.pp, p), 0);
  EXPECT_EQ(rtxMemHeapAutoPtrGetRefCount(heap.pp, nullptr), RTX_E_NULL_POINTER);
  for (void* foreign : {static_cast<void*>(&outside), static_cast<void*>(heap.block() + 1)})
    EXPECT_EQ(rtxMemHeapFreePtr(heap.pp, foreign), RTX_E_NO_MEMORY);
  for (size_t size : {SIZE_MAX, SIZE_MAX - 31}) EXPECT_EQ(heap.alloc(size), nullptr);
}

// At the highest address it lies one octet behind the range of what the heap has from the system.
TEST(Heap, ARawElementWithoutOctetsIsTheHeapsOwn)
{
  Heap heap(RT_MH_USE_SYSMEM);
  void* ptr = heap.alloc(0);
  EXPECT_EQ(rtxMemHeapAutoPtrGetRefCount(heap.pp, ptr), 1);
  EXPECT_EQ(heap.free(ptr), 0);
}

TEST(Heap, FlagsFreeEmptyBlocksAndLeaveNoData)
{
  Heap emptying(RT_MH_FREE_EMPTY_BLOCKS, 256);
  void* raw = emptying.alloc(600000);
  EXPECT_EQ(emptying.free(emptying.alloc(40)), 0);
  EXPECT_EQ(emptying.block(), nullptr);
  EXPECT_EQ(emptying.free(raw), 0) << "a raw block stays reachable without any other";
  EXPECT_EQ(rtxMemHeapIsEmpty(emptying.pp), 1);

  Heap zeroing(RT_MH_ZERO_ON_FREE);
  uint8_t *freed = zeroing.alloc(64), *left = zeroing.alloc(64);
  for (uint8_t* piece : {freed, left}) memset(piece, 0xEE, 64);
  zeroing.free(freed);
  EXPECT_EQ(std::string(freed, freed + 56), std::string(56, '\0')) << "the last unit is the free link";
  rtxMemHeapReset(zeroing.pp);
  EXPECT_EQ(std::string(left, left + 64), std::string(64, '\0'));
}

TEST(Heap, StaticMemoryIsHandedOutOctetByOctet)
{
  alignas(8) uint8_t buffer[64];
  RtxMemHeap* heap = nullptr;
  RtxMemHeap** pp = &heap;
  ASSERT_EQ(rtxMemStaticHeapCreate(pp, buffer, sizeof buffer), 0);
  EXPECT_EQ(rtxMemHeapIsEmpty(pp), 1);
  EXPECT_EQ(rtxMemHeapAlloc(pp, 3), buffer);
  EXPECT_EQ(rtxMemHeapAlloc(pp, 10), buffer + 3);
  EXPECT_EQ(rtxMemHeapAlloc(pp, 52), nullptr);
  EXPECT_EQ(rtxMemHeapFreePtr(pp, buffer), 0);
  EXPECT_EQ(rtxMemHeapRealloc(pp, buffer + 3, 4), nullptr);
  const struct {
    int at; // -1: null
    size_t oldSize, newSize;
    int to;
  } resizes[] = {{0, 3, 2, -1}, {3, 10, 10, -1}, {3, 10, 62, -1}, {3, 10, 61, 3},
                 {3, 61, 5, 3}, {-1, 0, 1, 8},   {0, 100, 1, -1}}; // only the latest, and no unchanged size
  auto place = [&](int at) { return at < 0 ? nullptr : buffer + at; };
  for (const auto& r : resizes)
    EXPECT_EQ(rtxMemHeapReallocStatic(pp, place(r.at), r.oldSize, r.newSize), place(r.to)) << r.newSize;
  rtxMemHeapReset(pp);
  EXPECT_EQ(rtxMemHeapAlloc(pp, 64), buffer);
  rtxMemHeapAddRef(pp);
  EXPECT_EQ(rtxMemHeapConvertStatic(pp, buffer, 8), RTX_E_BAD_PARAMETER);
  rtxMemHeapRelease(pp);
  EXPECT_EQ(rtxMemHeapConvertStatic(pp, buffer, 8), 0);
  EXPECT_EQ(rtxMemHeapAlloc(pp, 9), nullptr);
  rtxMemHeapRelease(pp);
  EXPECT_EQ(heap, nullptr);
}

TEST(Heap, ARefusalAnywhereLeavesItSound)
{
  for (int n = 1; n <= 40; n++) {
    RtxMemHeap* heap = nullptr;
    RtxMemHeap** pp = &heap;
    failing::setUp(n, false);
    // Every other heap has an allocator that cannot resize.
    const RtxReallocFunc reallocFunc = n % 2 == 0 ? nullptr : failing::reallocFunc;
    if (rtxMemHeapCreateExt(pp, failing::mallocFunc, reallocFunc, failing::freeFunc) < 0) continue;
    unsigned refused = 0;
    for (size_t i = 0; i < 20; i++) {
      uint8_t* p = static_cast<uint8_t*>(rtxMemHeapAlloc(pp, i % 3 == 0 ? 600000 : 3000));
      refused += p == nullptr;
      if (p == nullptr) continue;
      p[2999] = 0x77;
      uint8_t* q = static_cast<uint8_t*>(rtxMemHeapRealloc(pp, p, i % 3 == 0 ? 900000 : 5000));
      refused += q == nullptr;
      EXPECT_EQ(q != nullptr ? q[2999] : p[2999], 0x77);
    }
    EXPECT_LE(refused, 1U);
    rtxMemHeapCheck(pp, "", 0);
    rtxMemHeapRelease(pp);
    EXPECT_EQ(failing::inUse, 0);
  }
  failing::allow(-1);
}

TEST(Heap, SettingsOfTheProcessAndOfOneHeap)
{
  rtxMemSetDefBlkSize(512);
  EXPECT_EQ(rtxMemGetDefBlkSize(), 512U);
  rtxMemSetAllocFuncs(failing::mallocFunc, failing::reallocFunc, failing::freeFunc);
  RtxMemHeap* heap = nullptr;
  RtxMemHeap** pp = &heap;
  EXPECT_EQ(rtxMemHeapRealloc(pp, nullptr, 8), nullptr) << "no heap, and none made";
  EXPECT_EQ(*static_cast<uint64_t*>(rtxMemHeapAllocZ(pp, 8)), 0U);
  EXPECT_EQ(rtxMemHeapGetDefBlkSize(pp), 512U);
  const uint32_t four = 4;
  for (uint32_t property : {2, 4, 3}) rtxMemHeapSetProperty(pp, property, &four);
  EXPECT_EQ(heap->property4, 4U);
  EXPECT_EQ(rtxMemHeapClearFlags(pp, 1), RT_MH_OWN_DESCRIPTOR);
  rtxMemHeapSysFreePtr(pp, rtxMemHeapSysRealloc(pp, rtxMemHeapSysAllocZ(pp, 16), 32));
  rtxMemSetDefBlkSize(4096);
  rtxMemSetAllocFuncs(nullptr, nullptr, nullptr);
  rtxMemHeapRelease(pp);
  EXPECT_EQ(failing::inUse, 0);
  // Nothing happens without a heap.
  for (RtxMemHeap** none : {static_cast<RtxMemHeap**>(nullptr), pp}) {
    for (auto act : {rtxMemHeapAddRef, rtxMemHeapRelease, rtxMemHeapFreeAll, rtxMemHeapReset, rtxMemHeapPrintWithFree})
      act(none);
    EXPECT_EQ(rtxMemHeapIsEmpty(none), 1);
    EXPECT_EQ(rtxMemHeapConvertStatic(none, &heap, 8), RTX_E_BAD_PARAMETER);
    EXPECT_EQ(rtxMemHeapSetFlags(none, 1) + rtxMemHeapClearFlags(none, 1), 0U);
    EXPECT_EQ(rtxMemHeapGetDefBlkSize(none), 4096U);
    rtxMemHeapSetProperty(none, 1, &four);
    rtxMemHeapSysFreePtr(none, rtxMemHeapSysRealloc(none, nullptr, 8));
  }
}

TEST(Heap, ArraysThatOverflowAreReported)
{
  Bench bench;
  EXPECT_EQ(rtxMemAllocArray2(&bench.pMemHeap, SIZE_MAX / 2, 3, 0), nullptr);
  EXPECT_EQ(rtxErrGetStatus(&bench), RTX_E_TOO_BIG);
  void* array = rtxMemAllocArray2(&bench.pMemHeap, 5, 7, RTX_MEM_ARRAY_ZERO | RTX_MEM_ARRAY_SYSMEM);
  EXPECT_EQ(std::string(static_cast<char*>(array), 35), std::string(35, '\0'));
  rtxMemHeapSysFreePtr(&bench.pMemHeap, array);
}

TEST(Heap, PrintShowsBlocksElementsAndTheFreeRing)
{
  Heap heap;
  uint8_t* a = heap.alloc(8);
  heap.alloc(600000);
  rtxMemHeapAutoPtrRef(heap.pp, a);
  Heap::save(a);
  testing::internal::CaptureStdout();
  for (auto print : {rtxMemHeapPrint, rtxMemHeapPrintWithFree}) print(heap.pp);
  const std::string blocks = "pRawBlk Raw mem block, ptr = P, size = 600000, refCnt = 1 \n"
                             "pMemBlk Mem block, ptr = P, size = 4096, nsaved = 1, maxFreeElem = 4024\n"
                             "  pElem = P, data = P, size = 8, refCnt = 2, saved\n"
                             "  pElem = P, data = P, size = 4024 free\n";
  std::string printed = testing::internal::GetCapturedStdout();
  for (size_t at = 0; (at = printed.find("0x")) != std::string::npos;)
    printed.replace(at, printed.find_first_not_of("0123456789abcdef", at + 2) - at, "P");
  EXPECT_EQ(printed, blocks + blocks +
                         "Mem block free elem list, ptr = P; pMemBlk\n"
                         "ptr = (code), prevFree = P\nptr = P, prevFree = (code)\n<end free list>\n\n");
}

} // namespace
