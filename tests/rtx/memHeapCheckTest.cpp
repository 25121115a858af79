// Every damage that the heap's check knows, and every misuse it guards, ends the process with its number and words.
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "rtxsrc/rtxMemHeapInternal.h"

namespace {

// One full block behind, and a current block "3 3f 3 3f 3 tail" with links at 7, 13 and 507; two raw blocks.
struct Scene {
  RtxContext ctxt = {};
  RtxMemHeap** pp = &ctxt.pMemHeap;
  RtxMemElem* elem[5];
  RtxMemRawBlk* raw[2];
  RtxMemBlock* block;

  Scene()
  {
    rtxMemHeapCreateExt(pp, nullptr, nullptr, nullptr);
    ctxt.pMemHeap->code = 0x1234567;
    for (auto& r : raw) r = rtxMemRawOf(rtxMemElemOf(rtxMemHeapAlloc(pp, 600000)));
    rtxMemHeapAlloc(pp, 4040);
    for (auto& e : elem) e = rtxMemElemOf(rtxMemHeapAlloc(pp, 16));
    rtxMemHeapFreePtr(pp, elem[1] + 1);
    rtxMemHeapFreePtr(pp, elem[3] + 1);
    block = ctxt.pMemHeap->curBlock;
  }
  ~Scene() { rtxMemHeapRelease(pp); }
};

// Statuses and words go to the standard output, which a death test does not look at.
void toStderr()
{
  dup2(STDERR_FILENO, STDOUT_FILENO);
}

void checkAfter(void (*damage)(Scene&))
{
  Scene scene;
  rtxMemHeapCheck(scene.pp, "here", 6);
  damage(scene);
  toStderr();
  rtxMemHeapCheck(scene.pp, "here", 7);
  _exit(0);
}

struct Damage {
  int number;
  const char* text;
  void (*inflict)(Scene&);
};

const Damage kDamages[] = {
    {1, "invalid MemLink", [](Scene& s) { s.raw[1]->prev = s.raw[1]; }},
    {1, "invalid MemLink", [](Scene& s) { s.raw[0]->next = nullptr; }},
    {1, "invalid MemLink", [](Scene& s) { s.ctxt.pMemHeap->ptail = s.raw[0]; }},
    {2, "absent raw block type flag", [](Scene& s) { s.raw[1]->elem.flags = 0; }},
    {3, "invalid code guard value", [](Scene& s) { s.raw[0]->elem.nunits++; }},
    {4, "invalid MemLink", [](Scene& s) { s.block->next->prev = s.block->next; }},
    {4, "invalid MemLink", [](Scene& s) { s.block->next = nullptr; }},
    {5, "invalid code guard value", [](Scene& s) { s.block->head.code++; }},
    {6, "invalid mem block size", [](Scene& s) { s.block->nunits = 2; }},
    {7, "invalid start border elem", [](Scene& s) { rtxMemElemAt(s.block, 1)->flags = kMemElemFree; }},
    {8, "invalid end border elem", [](Scene& s) { rtxMemElemAt(s.block, 508)->nunits = 1; }},
    {9, "raw flag on", [](Scene& s) { s.elem[2]->flags = kMemElemRaw; }},
    {10, "invalid mem elem size", [](Scene& s) { s.elem[2]->nunits = 1; }},
    {10, "invalid mem elem size", [](Scene& s) { s.elem[2]->nunits = 507; }},
    {11, "pElem->nunits != pNextElem->prevOff", [](Scene& s) { s.elem[1]->prevOff = 2; }},
    {12, "free elems is not joined",
     [](Scene& s) {
       s.elem[2]->flags = kMemElemFree;
       s.elem[2]->refcnt = 0;
     }},
    {13, "invalid beginOff field", [](Scene& s) { s.elem[2]->beginOff++; }},
    {14, "invalid nsaved field", [](Scene& s) { s.elem[2]->flags = kMemElemSaved; }},
    {15, "invalid maxFreeElem field", [](Scene& s) { s.block->maxFreeElem = 490; }},
    {15, "invalid free element", [](Scene& s) { s.elem[1]->refcnt = 1; }},
    {16, "broken free list", [](Scene& s) { s.block->head.nextFree = 600; }},
    {16, "broken free list", [](Scene& s) { s.block->freeElemOff = 16; }},
    {18, "invalid prevFree/nextFree", [](Scene& s) { rtxMemLinkAt(s.block, 7)->nextFree = 507; }}, // closes early
    {17, "free list contains allocated elem", [](Scene& s) { s.block->head.nextFree = 16; }},
    {18, "invalid prevFree/nextFree", [](Scene& s) { rtxMemLinkAt(s.block, 13)->prevFree = 7; }},
    {18, "invalid prevFree/nextFree", [](Scene& s) { s.block->head.prevFree = 13; }},
    {19, "free list contains not all free elems", [](Scene& s) { rtxMemUnlinkFree(s.block, 13); }},
};

TEST(MemHeapCheckDeathTest, EveryDamageIsReported)
{
  for (const Damage& damage : kDamages) {
    const std::string expect = "Memory report at here, line 7\nError " + std::to_string(damage.number) + ": " +
                               damage.text + "\\.\np(RawBlk|MemBlk).*'memory heap broken' failed.*File rtxMemHeapDebug";
    EXPECT_EXIT(checkAfter(damage.inflict), testing::ExitedWithCode(255), expect) << damage.number;
  }
}

void withFlags(uint32_t flags, void (*act)(Scene&))
{
  Scene scene;
  rtxMemHeapSetFlags(scene.pp, flags);
  toStderr();
  act(scene);
  _exit(0);
}

TEST(MemHeapCheckDeathTest, MisuseIsStopped)
{
  const auto died = testing::ExitedWithCode(255);
  const char* const invalid = "'mem pointer valid' failed.*File rtxMemHeapInvalidPtrHook";
  const char* const broken = "Error 14: .*'memory heap broken'";
  EXPECT_EXIT(withFlags(0, [](Scene& s) { rtxMemHeapRealloc(s.pp, &s, 8); }), died, invalid);
  EXPECT_EXIT(withFlags(RT_MH_VALIDATE_PTR, [](Scene& s) { rtxMemHeapFreePtr(s.pp, s.elem[2] + 2); }), died, invalid);
  EXPECT_EXIT(withFlags(RT_MH_VALIDATE_PTR, [](Scene& s) { rtxMemHeapFreePtr(s.pp, s.elem[1] + 1); }), died, invalid);
  EXPECT_EXIT(withFlags(0, [](Scene& s) { rtxMemHeapReallocStatic(s.pp, s.pp, 8, 9); }), died,
              "'pMemHeap->flags & RT_MH_STATIC' failed");
  void (*const acts[])(Scene&) = {
      [](Scene& s) { rtxMemHeapAlloc(s.pp, 8); },
      [](Scene& s) { rtxMemHeapRealloc(s.pp, s.elem[0] + 1, 8); },
      [](Scene& s) { rtxMemHeapFreePtr(s.pp, s.elem[0] + 1); },
      [](Scene& s) { rtxMemHeapReset(s.pp); },
      [](Scene& s) { rtxMemHeapFreeAll(s.pp); },
  };
  static void (*act)(Scene&);
  for (auto each : acts) {
    act = each;
    const auto damaged = [](Scene& s) {
      s.block->nsaved = 1;
      act(s);
    };
    EXPECT_EXIT(withFlags(RT_MH_CHECK_HEAP, damaged), died, broken);
    EXPECT_EXIT(withFlags(0, [](Scene& s) { act(s); }), testing::ExitedWithCode(0), "");
  }
}

} // namespace
