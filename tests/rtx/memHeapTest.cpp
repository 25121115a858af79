// The heap keeps every element intact and its blocks laid out as documented, whatever is allocated, resized and freed.
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "tests/rtx/failingAllocator.h"
#include "tests/rtx/memHeapScene.h"
#include "velnor3gpp/rtxDiag.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

TEST(MemHeapLayout, FirstBlockAndLimits)
{
  Heap heap;
  void* first = heap.alloc(1);
  EXPECT_EQ(heap.block()->nunits, 508);
  EXPECT_EQ(layout(heap.block()), "2 504f");
  EXPECT_EQ(heap.block()->maxFreeElem, 504);
  EXPECT_EQ(static_cast<uint8_t*>(first) - reinterpret_cast<uint8_t*>(heap.block()), 48);
  EXPECT_EQ(unitsOf(heap.alloc(0)), 2U);
  EXPECT_EQ(layout(heap.block()), "2 2 502f");
  uint8_t* largest = heap.alloc(524256);
  EXPECT_FALSE(isRaw(largest));
  EXPECT_EQ(heap.block()->nunits, 65535);
  EXPECT_EQ(heap.block()->maxFreeElem, 0);
  uint8_t* raw = heap.alloc(524257);
  EXPECT_TRUE(isRaw(raw));
  EXPECT_EQ(rtxMemRawOf(rtxMemElemOf(raw))->size, 524257U);
  heap.check();
  EXPECT_EQ(heap.alloc(SIZE_MAX), nullptr);
  EXPECT_EQ(heap.alloc(SIZE_MAX - 31), nullptr);
}

TEST(MemHeapLayout, NewBlocksAreMultiplesOfTheDefault)
{
  struct {
    uint32_t step;
    size_t size;
    unsigned nunits;
    const char* layout;
  } const cases[] = {
      {4096, 4040, 508, "506"},        // What is required equals the default.
      {4096, 4041, 1020, "507 511f"},  // One octet more takes the next multiple.
      {4096, 4032, 508, "506"},        // A single unit left joins the element.
      {4096, 4024, 508, "504 2f"},     // Two units are a free element.
      {0, 8, 6, "2"},                  // No default at all.
      {1000000, 8, 65535, "2 65531f"}, // The cap.
      {500000, 500000, 65535, "62501 3032f"},
      {100, 60, 21, "9 10f"}, // An odd default rounds down to whole units.
  };
  for (const auto& c : cases) {
    Heap heap(0, c.step);
    heap.alloc(c.size);
    if (c.size == 4032) {
      EXPECT_EQ(heap.block()->maxFreeElem, 0);
    }
    EXPECT_EQ(heap.block()->nunits + (c.step == 0 ? 2U : 0U), c.nunits) << c.step << " " << c.size;
    EXPECT_EQ(layout(heap.block()), c.layout) << c.step << " " << c.size;
    heap.check();
  }
}

TEST(MemHeapLayout, FreedNeighboursJoin)
{
  Heap heap;
  std::vector<uint8_t*> p;
  for (int i = 0; i < 7; i++) p.push_back(heap.alloc(16));
  RtxMemBlock* block = heap.block();
  ASSERT_EQ(layout(block), "3 3 3 3 3 3 3 485f");
  EXPECT_EQ(ring(block), "507*");
  heap.free(p[1]); // neither neighbour free: behind the rover
  heap.free(p[3]);
  EXPECT_EQ(layout(block), "3 3f 3 3f 3 3 3 485f");
  EXPECT_EQ(ring(block), "507* 13 7");
  heap.free(p[4]); // previous free: the link moves to the new end, in place
  EXPECT_EQ(ring(block), "507* 16 7");
  heap.free(p[0]); // next free: its link stays
  EXPECT_EQ(layout(block), "6f 3 6f 3 3 485f");
  EXPECT_EQ(ring(block), "507* 16 7");
  heap.free(p[2]); // both free: the previous one's link goes
  EXPECT_EQ(layout(block), "15f 3 3 485f");
  EXPECT_EQ(ring(block), "507* 16");
  EXPECT_EQ(heap.free(p[2]), 0); // once more does no harm
  EXPECT_EQ(rtxMemHeapFreePtr(heap.pp, p[1]), 0);
  heap.check();
  heap.free(p[5]);
  heap.free(p[6]);
  EXPECT_EQ(layout(block), "506f");
  heap.check();
}

TEST(MemHeapLayout, FirstFitWithOneStepOfBestFit)
{
  Heap heap;
  std::vector<uint8_t*> p;
  for (size_t size : {40, 8, 24, 8, 32, 8}) p.push_back(heap.alloc(size));
  RtxMemBlock* block = heap.block();
  ASSERT_EQ(layout(block), "6 2 4 2 5 2 485f");
  heap.free(p[0]);
  heap.free(p[2]);
  heap.free(p[4]);
  ASSERT_EQ(ring(block), "507* 20 13 7");
  EXPECT_EQ(heap.alloc(24), p[4]); // the rover's neighbour is smaller; one unit is not split off
  EXPECT_EQ(unitsOf(p[4]), 5U);
  EXPECT_EQ(heap.alloc(32) - p[0], 19 * 8 + 16); // the neighbour is too small now: the tail serves
  EXPECT_EQ(heap.alloc(24), p[2]);
  EXPECT_EQ(heap.alloc(8), p[0]);
  EXPECT_EQ(layout(block), "2 4f 2 4 2 5 2 5 480f");
  heap.check();
  while (heap.block() == block) heap.alloc(400); // exhausts the tail: the bound becomes exact
  EXPECT_LT(block->maxFreeElem, 51);
  heap.check();
}

TEST(MemHeapRealloc, InPlaceCases)
{
  Heap heap;
  uint8_t* a = heap.alloc(80);
  uint8_t* b = heap.alloc(16);
  memset(a, 0x5A, 80);
  RtxMemBlock* block = heap.block();
  EXPECT_EQ(heap.realloc(a, 75), a);
  EXPECT_EQ(heap.realloc(a, 72), a); // a difference of one unit cannot be cut off
  EXPECT_EQ(layout(block), "11 3 492f");
  EXPECT_EQ(heap.realloc(a, 40), a); // cut off behind the rover
  EXPECT_EQ(layout(block), "6 5f 3 492f");
  EXPECT_EQ(ring(block), "507* 12");
  EXPECT_EQ(heap.realloc(a, 32), a); // boundary moves
  EXPECT_EQ(layout(block), "5 6f 3 492f");
  EXPECT_EQ(heap.realloc(a, 56), a);
  EXPECT_EQ(layout(block), "8 3f 3 492f");
  heap.check();
  EXPECT_EQ(heap.realloc(a, 72), a); // one unit would be left: all of it
  EXPECT_EQ(layout(block), "11 3 492f");
  EXPECT_EQ(ring(block), "507*");
  EXPECT_EQ(heap.realloc(b, 3000), b); // into the tail
  EXPECT_EQ(layout(block), "11 376 119f");
  heap.check();
  uint8_t* moved = heap.realloc(a, 88);
  EXPECT_NE(moved, a);
  EXPECT_EQ(layout(block), "11f 376 12 107f");
  for (int i = 0; i < 32; i++) ASSERT_EQ(moved[i], 0x5A);
  EXPECT_EQ(heap.realloc(moved, 0), nullptr);
  EXPECT_EQ(heap.realloc(moved, 8), nullptr); // free already
  heap.check();
}

TEST(MemHeapRealloc, RawSharedAndSavedElements)
{
  Heap heap;
  uint8_t* p = heap.alloc(600000);
  uint8_t* other = heap.alloc(600000);
  memset(p, 1, 600000);
  p = heap.realloc(p, 5000000);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(p[599999], 1);
  EXPECT_EQ(heap.realloc(p, SIZE_MAX - 8), nullptr);
  p = heap.realloc(p, 100);
  EXPECT_TRUE(isRaw(p));
  heap.check();
  EXPECT_EQ(rtxMemHeapAutoPtrRef(heap.pp, p), p);
  save(p);
  uint8_t* copy = heap.realloc(p, 2000); // shared: the old one stays, the copy is a block element and has the mark
  EXPECT_NE(copy, p);
  EXPECT_EQ(copy[99], 1);
  EXPECT_EQ(rtxMemHeapAutoPtrGetRefCount(heap.pp, p), 1);
  EXPECT_EQ(rtxMemBlockOf(rtxMemElemOf(copy))->nsaved, 1);
  uint8_t* raw = heap.realloc(copy, 524272);
  EXPECT_TRUE(isRaw(raw));
  EXPECT_EQ(raw[99], 1);
  EXPECT_EQ(heap.block()->nsaved, 0);
  EXPECT_EQ(rtxMemHeapFreePtr(heap.pp, other), 0);
  heap.check();
  rtxMemHeapReset(heap.pp);
  EXPECT_EQ(rtxMemHeapCheckPtr(heap.pp, raw), 1); // the mark moved on to the raw block
  EXPECT_EQ(rtxMemHeapCheckPtr(heap.pp, p), 0);
}

TEST(MemHeapRealloc, AllocatorWithoutReallocator)
{
  RtxContext ctxt = {};
  ASSERT_EQ(rtxMemHeapCreateExt(&ctxt.pMemHeap, failing::mallocFunc, nullptr, failing::freeFunc), 0);
  EXPECT_EQ(rtxMemHeapSysRealloc(&ctxt.pMemHeap, nullptr, 8), nullptr);
  void* p = rtxMemHeapAlloc(&ctxt.pMemHeap, 600000);
  memset(p, 7, 600000);
  uint8_t* q = static_cast<uint8_t*>(rtxMemHeapRealloc(&ctxt.pMemHeap, p, 700000));
  ASSERT_NE(q, nullptr);
  EXPECT_EQ(q[599999], 7);
  rtxMemHeapRelease(&ctxt.pMemHeap);
  EXPECT_EQ(failing::inUse, 0);
}

TEST(MemHeapRefs, CountsAndStatuses)
{
  Heap heap;
  int outside = 0;
  uint8_t* p = heap.alloc(8);
  for (int i = 2; i <= 255; i++) EXPECT_EQ(rtxMemHeapAutoPtrRef(heap.pp, p), p);
  EXPECT_EQ(rtxMemHeapAutoPtrRef(heap.pp, p), nullptr);
  for (int i = 254; i >= 0; i--) EXPECT_EQ(heap.free(p), i);
  EXPECT_EQ(rtxMemHeapAutoPtrRef(heap.pp, p), nullptr);
  EXPECT_EQ(rtxMemHeapAutoPtrGetRefCount(heap.pp, p), 0);
  EXPECT_EQ(heap.free(nullptr), RTX_E_NULL_POINTER);
  EXPECT_EQ(rtxMemHeapAutoPtrGetRefCount(heap.pp, nullptr), RTX_E_NULL_POINTER);
  const std::string before = layout(heap.block());
  EXPECT_EQ(rtxMemHeapFreePtr(heap.pp, &outside), RTX_E_NO_MEMORY);
  EXPECT_EQ(heap.free(heap.block()), RTX_E_NO_MEMORY);
  EXPECT_EQ(heap.free(heap.block() + 1), RTX_E_NO_MEMORY);
  EXPECT_EQ(layout(heap.block()), before);
  EXPECT_EQ(rtxMemHeapCheckPtr(heap.pp, p), 0);
}

TEST(MemHeapReset, KeepsSavedElementsAndBlocks)
{
  Heap heap;
  std::vector<uint8_t*> p;
  for (int i = 0; i < 8; i++) p.push_back(heap.alloc(16));
  for (int i : {2, 3, 6}) save(p[static_cast<size_t>(i)]);
  heap.free(p[1]);
  memset(p[3], 9, 16);
  rtxMemHeapReset(heap.pp);
  EXPECT_EQ(layout(heap.block()), "6f 3s 3s 6f 3s 485f");
  EXPECT_EQ(heap.block()->maxFreeElem, 485);
  EXPECT_EQ(p[3][15], 9);
  heap.check();
  for (int i : {2, 3, 6}) heap.free(p[static_cast<size_t>(i)]);
  EXPECT_EQ(heap.block()->nsaved, 0);
  heap.check();
  heap.alloc(100);
  save(heap.alloc(600000));
  rtxMemHeapReset(heap.pp);
  EXPECT_EQ(layout(heap.block()), "506f");
  EXPECT_EQ(heap.block()->maxFreeElem, 506);
  EXPECT_NE(heap.ctxt.pMemHeap->phead, heap.ctxt.pMemHeap); // the saved raw block
  heap.check();
}

TEST(MemHeapReset, EmptyBlocksGoBackOnRequest)
{
  Heap heap(RT_MH_FREE_EMPTY_BLOCKS, 256);
  uint8_t* raw = heap.alloc(600000);
  std::vector<uint8_t*> p;
  for (int i = 0; i < 60; i++) p.push_back(heap.alloc(40));
  save(p[30]);
  rtxMemHeapReset(heap.pp);
  EXPECT_EQ(rtxMemHeapCheckPtr(heap.pp, raw), 0);
  EXPECT_EQ(heap.block()->next, heap.block());
  raw = heap.alloc(600000);
  heap.free(p[30]); // the last block goes, the raw block stays reachable
  EXPECT_EQ(heap.block(), nullptr);
  EXPECT_EQ(rtxMemHeapIsEmpty(heap.pp), 0);
  EXPECT_EQ(heap.free(raw), 0);
  EXPECT_EQ(rtxMemHeapIsEmpty(heap.pp), 1);
}

TEST(MemHeapFlags, ZeroOnFreeLeavesNoData)
{
  Heap heap(RT_MH_ZERO_ON_FREE);
  uint8_t* a = heap.alloc(64);
  uint8_t* b = heap.alloc(64);
  memset(a, 0xEE, 64);
  memset(b, 0xEE, 64);
  rtxSetGlobalDiag(1);
  testing::internal::CaptureStdout();
  heap.free(a);
  rtxSetGlobalDiag(0);
  const std::string said = testing::internal::GetCapturedStdout();
  EXPECT_NE(said.find("rtxMemHeapZeroElem: zeroed out memory element 0x"), std::string::npos) << said;
  for (int i = 0; i < 56; i++) ASSERT_EQ(a[i], 0); // the last unit is the free link
  rtxMemHeapReset(heap.pp);
  for (int i = 0; i < 64; i++) ASSERT_EQ(b[i], 0);
  heap.check();
}

TEST(MemHeapStatic, BumpsAndResizesTheLatest)
{
  alignas(8) uint8_t buffer[64];
  RtxContext ctxt = {};
  RtxMemHeap** pp = &ctxt.pMemHeap;
  ASSERT_EQ(rtxMemStaticHeapCreate(pp, buffer, sizeof buffer), 0);
  EXPECT_EQ(rtxMemHeapIsEmpty(pp), 1);
  EXPECT_EQ(rtxMemHeapAlloc(pp, 3), buffer);
  EXPECT_EQ(rtxMemHeapAlloc(pp, 10), buffer + 3);
  EXPECT_EQ(rtxMemHeapAlloc(pp, 52), nullptr);
  EXPECT_EQ(rtxMemHeapFreePtr(pp, buffer), 0);
  EXPECT_EQ(rtxMemHeapRealloc(pp, buffer + 3, 4), nullptr);
  EXPECT_EQ(rtxMemHeapReallocStatic(pp, buffer, 3, 2), nullptr); // not the latest
  EXPECT_EQ(rtxMemHeapReallocStatic(pp, buffer + 3, 10, 10), nullptr);
  EXPECT_EQ(rtxMemHeapReallocStatic(pp, buffer + 3, 10, 62), nullptr);
  EXPECT_EQ(rtxMemHeapReallocStatic(pp, buffer + 3, 10, 61), buffer + 3);
  EXPECT_EQ(rtxMemHeapReallocStatic(pp, buffer + 3, 61, 5), buffer + 3);
  EXPECT_EQ(rtxMemHeapReallocStatic(pp, nullptr, 0, 1), buffer + 8);
  EXPECT_EQ(rtxMemHeapReallocStatic(pp, buffer, 100, 1), nullptr);
  rtxMemHeapCheck(pp, "", 0);
  rtxMemHeapReset(pp);
  EXPECT_EQ(rtxMemHeapAlloc(pp, 64), buffer);
  rtxMemHeapAddRef(pp);
  EXPECT_EQ(rtxMemHeapConvertStatic(pp, buffer, 8), RTX_E_BAD_PARAMETER);
  rtxMemHeapRelease(pp);
  EXPECT_EQ(rtxMemHeapConvertStatic(pp, buffer, 8), 0);
  EXPECT_EQ(rtxMemHeapAlloc(pp, 9), nullptr);
  rtxMemHeapRelease(pp);
  EXPECT_EQ(ctxt.pMemHeap, nullptr);
}

TEST(MemHeapNoMemory, ARefusalAnywhereLeavesTheHeapSound)
{
  for (int n = 0; n < 40; n++) {
    RtxContext ctxt = {};
    RtxMemHeap** pp = &ctxt.pMemHeap;
    failing::setUp(n + 1, false);
    if (rtxMemHeapCreateExt(pp, failing::mallocFunc, failing::reallocFunc, failing::freeFunc) < 0) {
      EXPECT_EQ(ctxt.pMemHeap, nullptr);
      continue;
    }
    unsigned refused = 0;
    for (size_t i = 0; i < 20; i++) {
      uint8_t* p = static_cast<uint8_t*>(rtxMemHeapAlloc(pp, i % 3 == 0 ? 600000 : 3000));
      if (p == nullptr) {
        refused++;
        continue;
      }
      p[0] = 0x77;
      uint8_t* q = static_cast<uint8_t*>(rtxMemHeapRealloc(pp, p, i % 3 == 0 ? 900000 : 5000));
      refused += q == nullptr;
      EXPECT_EQ(q != nullptr ? q[0] : p[0], 0x77);
      rtxMemHeapCheck(pp, "", 0);
    }
    EXPECT_LE(refused, 1U);
    rtxMemHeapRelease(pp);
    EXPECT_EQ(failing::inUse, 0);
  }
  failing::setUp(0, false);
}

TEST(MemHeapSettings, GlobalsPropertiesAndLazyCreation)
{
  EXPECT_EQ(rtxMemGetDefBlkSize(), 4096U);
  rtxMemSetDefBlkSize(512);
  rtxMemSetAllocFuncs(failing::mallocFunc, failing::reallocFunc, failing::freeFunc);
  RtxContext ctxt = {};
  RtxMemHeap** pp = &ctxt.pMemHeap;
  EXPECT_EQ(rtxMemHeapRealloc(pp, nullptr, 8), nullptr); // no heap, and none made
  EXPECT_EQ(rtxMemHeapIsEmpty(pp), 1);
  uint8_t* zeroed = static_cast<uint8_t*>(rtxMemHeapAllocZ(pp, 9));
  ASSERT_NE(zeroed, nullptr);
  EXPECT_EQ(zeroed[8], 0);
  EXPECT_EQ(rtxMemHeapGetDefBlkSize(pp), 512U);
  const uint32_t four = 4;
  rtxMemHeapSetProperty(pp, 4, &four);
  rtxMemHeapSetProperty(pp, 2, &four);
  EXPECT_EQ(ctxt.pMemHeap->property4, 4U);
  EXPECT_EQ(ctxt.pMemHeap->flags, RT_MH_OWN_DESCRIPTOR | RT_MH_CHECK_HEAP);
  rtxMemHeapSetProperty(pp, 3, &four);
  EXPECT_EQ(rtxMemHeapClearFlags(pp, 1), RT_MH_OWN_DESCRIPTOR);
  void* sys = rtxMemHeapSysAllocZ(pp, 16);
  sys = rtxMemHeapSysRealloc(pp, sys, 32);
  rtxMemHeapSysFreePtr(pp, sys);
  rtxMemSetDefBlkSize(4096);
  rtxMemSetAllocFuncs(nullptr, nullptr, nullptr);
  rtxMemHeapAddRef(pp);
  rtxMemHeapRelease(pp);
  EXPECT_NE(ctxt.pMemHeap, nullptr);
  rtxMemHeapRelease(pp);
  EXPECT_EQ(ctxt.pMemHeap, nullptr);
  EXPECT_EQ(failing::inUse, 0);
}

TEST(MemHeapSettings, WithoutAHeap)
{
  RtxMemHeap* none = nullptr;
  uint32_t value = 4;
  for (RtxMemHeap** pp : {static_cast<RtxMemHeap**>(nullptr), &none}) {
    rtxMemHeapAddRef(pp);
    rtxMemHeapRelease(pp);
    rtxMemHeapFreeAll(pp);
    rtxMemHeapReset(pp);
    rtxMemHeapSetProperty(pp, RTX_MEM_PROP_DEF_BLK_SIZE, &value);
    rtxMemHeapPrint(pp);
    rtxMemHeapPrintWithFree(pp);
    EXPECT_EQ(rtxMemHeapIsEmpty(pp), 1);
    EXPECT_EQ(rtxMemHeapConvertStatic(pp, &value, sizeof value), RTX_E_BAD_PARAMETER);
    EXPECT_EQ(rtxMemHeapSetFlags(pp, 1), 0U);
    EXPECT_EQ(rtxMemHeapClearFlags(pp, 1), 0U);
    EXPECT_EQ(rtxMemHeapGetDefBlkSize(pp), rtxMemGetDefBlkSize());
    void* system = rtxMemHeapSysRealloc(pp, nullptr, 8);
    ASSERT_NE(system, nullptr) << "the process's own allocator serves";
    rtxMemHeapSysFreePtr(pp, system);
  }
  EXPECT_EQ(rtxMemHeapCreate(nullptr), RTX_E_BAD_PARAMETER);
  EXPECT_EQ(rtxMemHeapSysAlloc(nullptr, 8), nullptr);
  EXPECT_EQ(none, nullptr);
}

TEST(MemHeapArrays, OverflowAndRefusalAreReported)
{
  Heap heap;
  rtxErrInit();
  EXPECT_EQ(rtxMemAllocArray2(heap.pp, SIZE_MAX / 2, 3, 0), nullptr);
  EXPECT_EQ(rtxErrGetStatus(&heap.ctxt), RTX_E_TOO_BIG);
  rtxErrReset(&heap.ctxt);
  uint8_t* array = static_cast<uint8_t*>(rtxMemAllocArray2(heap.pp, 5, 7, RTX_MEM_ARRAY_ZERO));
  for (int i = 0; i < 35; i++) EXPECT_EQ(array[i], 0);
  uint8_t few[8];
  ASSERT_EQ(rtxMemHeapConvertStatic(heap.pp, few, sizeof few), 0);
  EXPECT_EQ(rtxMemAllocArray2(heap.pp, 9, 1, 0), nullptr);
  EXPECT_EQ(rtxErrGetStatus(&heap.ctxt), RTX_E_NO_MEMORY);
  rtxErrReset(&heap.ctxt);
  void* sys = rtxMemAllocArray2(heap.pp, 9, 1, RTX_MEM_ARRAY_SYSMEM);
  EXPECT_NE(sys, nullptr);
  rtxMemHeapSysFreePtr(heap.pp, sys);
}

TEST(MemHeapPrint, ShowsBlocksElementsAndTheFreeRing)
{
  Heap heap;
  uint8_t* a = heap.alloc(8);
  uint8_t* raw = heap.alloc(600000);
  rtxMemHeapAutoPtrRef(heap.pp, a);
  save(a);
  RtxMemBlock* block = heap.block();
  char expect[1000];
  snprintf(expect, sizeof expect,
           "pRawBlk Raw mem block, ptr = %p, size = 600000, refCnt = 1 \n"
           "pMemBlk Mem block, ptr = %p, size = 4096, nsaved = 1, maxFreeElem = 4024\n"
           "  pElem = %p, data = %p, size = 8, refCnt = 2, saved\n"
           "  pElem = %p, data = %p, size = 4024 free\n"
           "Mem block free elem list, ptr = %p; pMemBlk\n"
           "ptr = (code), prevFree = %p\n"
           "ptr = %p, prevFree = (code)\n"
           "<end free list>\n\n",
           static_cast<void*>(raw - 32), static_cast<void*>(block), static_cast<void*>(a - 8), static_cast<void*>(a),
           static_cast<void*>(a + 8), static_cast<void*>(a + 16), static_cast<void*>(block),
           static_cast<void*>(rtxMemLinkAt(block, 507)), static_cast<void*>(rtxMemLinkAt(block, 507)));
  testing::internal::CaptureStdout();
  rtxMemHeapPrintWithFree(heap.pp);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), expect);
}

} // namespace
