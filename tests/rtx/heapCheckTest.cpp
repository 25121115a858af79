// Every damage that the heap's check knows, and every misuse it guards, ends the process with its number and words.
#include "heapBench.h"

#include <unistd.h>

namespace {

// One full block behind, and a current block "3 3f 3 3f 3 tail" with links at 7, 13 and 507; two raw blocks.
struct Scene : Heap {
  RtxMemElem* elem[5];
  RtxMemRawBlk* raw[2];

  Scene()
  {
    for (auto& r : raw) r = rtxMemRawOf(rtxMemElemOf(alloc(600000)));
    alloc(4040);
    for (auto& e : elem) e = rtxMemElemOf(alloc(16));
    for (int i : {1, 3}) free(elem[i] + 1);
  }
  RtxMemFreeLink* link(unsigned off) { return rtxMemLinkAt(block(), off); }
};

// Statuses and words go to the standard output, which a death test does not look at.
void act(uint32_t flags, void (*damage)(Scene&), void (*use)(Scene&))
{
  Scene scene;
  rtxMemHeapSetFlags(scene.pp, flags);
  scene.check();
  dup2(STDERR_FILENO, STDOUT_FILENO);
  damage(scene);
  use(scene);
  _exit(0);
}

const struct {
  int number;
  const char* text;
  void (*inflict)(Scene&);
} kDamages[] = {
    {1, "invalid MemLink", [](Scene& s) { s.raw[1]->prev = s.raw[1]; }},
    {1, "invalid MemLink", [](Scene& s) { s.ctxt.pMemHeap->ptail = s.raw[0]; }},
    {2, "absent raw block type flag", [](Scene& s) { s.raw[1]->elem.flags = 0; }},
    {3, "invalid code guard value", [](Scene& s) { s.raw[0]->elem.nunits++; }},
    {4, "invalid MemLink", [](Scene& s) { s.block()->next->prev = s.block()->next; }},
    {5, "invalid code guard value", [](Scene& s) { s.block()->head.code++; }},
    {6, "invalid mem block size", [](Scene& s) { s.block()->nunits = 2; }},
    {7, "invalid start border elem", [](Scene& s) { rtxMemElemAt(s.block(), 1)->flags = kMemElemFree; }},
    {8, "invalid end border elem", [](Scene& s) { rtxMemElemAt(s.block(), 508)->nunits = 1; }},
    {9, "raw flag on", [](Scene& s) { s.elem[2]->flags = kMemElemRaw; }},
    {10, "invalid mem elem size", [](Scene& s) { s.elem[2]->nunits = 1; }},
    {10, "invalid mem elem size", [](Scene& s) { s.elem[2]->nunits = 507; }},
    {11, "pElem->nunits != pNextElem->prevOff", [](Scene& s) { s.elem[1]->prevOff = 2; }},
    {12, "free elems is not joined", [](Scene& s) { s.elem[2]->flags = kMemElemFree; }},
    {13, "invalid beginOff field", [](Scene& s) { s.elem[2]->beginOff++; }},
    {14, "invalid nsaved field", [](Scene& s) { s.elem[2]->flags = kMemElemSaved; }},
    {15, "invalid maxFreeElem field", [](Scene& s) { s.block()->maxFreeElem = 490; }},
    {15, "invalid free element", [](Scene& s) { s.elem[1]->refcnt = 1; }},
    {16, "broken free list", [](Scene& s) { s.block()->head.nextFree = 600; }},
    {16, "broken free list", [](Scene& s) { s.block()->freeElemOff = 16; }},
    {17, "free list contains allocated elem", [](Scene& s) { s.block()->head.nextFree = 16; }},
    {18, "invalid prevFree/nextFree", [](Scene& s) { s.link(7)->nextFree = 507; }}, // closes early
    {18, "invalid prevFree/nextFree", [](Scene& s) { s.link(13)->prevFree = 7; }},
    {19, "free list contains not all free elems", [](Scene& s) { rtxMemUnlinkFree(s.block(), 13); }},
};

TEST(HeapCheckDeathTest, EveryDamageIsReported)
{
  for (const auto& damage : kDamages) {
    const std::string expect = "Memory report at heapTest, line 1\nError " + std::to_string(damage.number) + ": " +
                               damage.text + "\\.\np(RawBlk|MemBlk).*'memory heap broken' failed.*File rtxMemHeapDebug";
    EXPECT_EXIT(act(0, damage.inflict, [](Scene& s) { s.check(); }), testing::ExitedWithCode(255), expect);
  }
}

TEST(HeapCheckDeathTest, MisuseIsStopped)
{
  const char* const invalid = "'mem pointer valid' failed.*File rtxMemHeapInvalidPtrHook";
  const char* const broken = "Error 14: .*'memory heap broken'";
  const struct {
    uint32_t flags;
    const char* words;
    void (*use)(Scene&);
  } misuses[] = {
      {0, invalid, [](Scene& s) { s.realloc(&s, 8); }},
      {RT_MH_VALIDATE_PTR, invalid, [](Scene& s) { s.free(s.elem[2] + 2); }},
      {RT_MH_VALIDATE_PTR, invalid, [](Scene& s) { s.free(s.elem[1] + 1); }},
      {0, "'pMemHeap->flags & RT_MH_STATIC' failed", [](Scene& s) { rtxMemHeapReallocStatic(s.pp, s.pp, 8, 9); }},
      {RT_MH_CHECK_HEAP, broken, [](Scene& s) { s.alloc(8); }},
      {RT_MH_CHECK_HEAP, broken, [](Scene& s) { s.realloc(s.elem[0] + 1, 8); }},
      {RT_MH_CHECK_HEAP, broken, [](Scene& s) { s.free(s.elem[0] + 1); }},
      {RT_MH_CHECK_HEAP, broken, [](Scene& s) { rtxMemHeapFreeAll(s.pp); }},
  };
  void (*const damage)(Scene&) = [](Scene& s) {
    s.block()->nsaved = s.ctxt.pMemHeap->flags & RT_MH_CHECK_HEAP ? 1 : 0;
  };
  for (const auto& misuse : misuses)
    EXPECT_EXIT(act(misuse.flags, damage, misuse.use), testing::ExitedWithCode(255), misuse.words);
}

} // namespace
