// Long random jobs: every element keeps its contents, and the heap is sound all the way.
#include "heapBench.h"
#include "tests/bench.h"

namespace {

// One random job on a heap beside a model that knows what every element must hold.
struct RandomJob {
  struct Piece {
    uint8_t* ptr;
    size_t size;
    uint8_t fill;
    unsigned refs;
    bool saved;
  };
  Heap heap;
  std::mt19937 random;
  std::vector<Piece> pieces;

  RandomJob(uint32_t flags, uint32_t blockSize, unsigned seed) : heap(flags, blockSize), random(seed) {}

  size_t anySize()
  {
    const unsigned kind = random() % 100;
    if (kind < 85) return random() % 120;
    return kind < 99 ? random() % 9000 : random() % 700000;
  }
  // Enough octets of each piece are looked at.
  static size_t probe(size_t size) { return std::min<size_t>(size, 256); }
  static void fill(const Piece& piece)
  {
    memset(piece.ptr, piece.fill, probe(piece.size));
    if (piece.size != 0) piece.ptr[piece.size - 1] = piece.fill;
  }
  void verify(const Piece& piece)
  {
    for (size_t i = 0; i < probe(piece.size); i++) ASSERT_EQ(piece.ptr[i], piece.fill);
    if (piece.size != 0) ASSERT_EQ(piece.ptr[piece.size - 1], piece.fill);
    ASSERT_EQ(rtxMemHeapAutoPtrGetRefCount(heap.pp, piece.ptr), static_cast<int>(piece.refs));
  }
  void step()
  {
    const unsigned what = random() % 1000;
    if (pieces.empty() || what < 450) return add();
    const size_t index = random() % pieces.size();
    verify(pieces[index]);
    if (what < 800) return drop(index);
    if (what < 950) return resizeAt(index);
    if (what < 998) {
      if (rtxMemHeapAutoPtrRef(heap.pp, pieces[index].ptr) != nullptr) pieces[index].refs++;
      return;
    }
    rtxMemHeapReset(heap.pp);
    std::erase_if(pieces, [](const Piece& piece) { return !piece.saved; });
  }
  void add()
  {
    const size_t size = anySize();
    pieces.push_back({heap.alloc(size), size, static_cast<uint8_t>(random()), 1, random() % 50 == 0});
    fill(pieces.back());
    if (pieces.back().saved) Heap::save(pieces.back().ptr);
  }
  void drop(size_t index)
  {
    ASSERT_EQ(heap.free(pieces[index].ptr), static_cast<int>(--pieces[index].refs));
    if (pieces[index].refs != 0) return;
    pieces[index] = pieces.back();
    pieces.pop_back();
  }
  void resizeAt(size_t index)
  {
    const Piece old = pieces[index];
    const size_t size = anySize() + 1;
    // A raw block's size does not follow its growth, so that the copy of a shared one can be shorter.
    const bool sharedRaw = old.refs > 1 && Heap::isRaw(old.ptr);
    const size_t sure = sharedRaw ? rtxMemRawOf(rtxMemElemOf(old.ptr))->size : old.size;
    uint8_t* to = heap.realloc(old.ptr, size);
    for (size_t i = 0; i < probe(std::min(size, sure)); i++) ASSERT_EQ(to[i], old.fill);
    pieces[index] = {to, size, old.fill, 1, old.saved};
    fill(pieces[index]);
    // A shared element lives on with a reference less and without the mark.
    if (old.refs > 1) pieces.push_back({old.ptr, old.size, old.fill, old.refs - 1, false});
  }
};

TEST(HeapRandom, ContentsSurviveAndTheHeapStaysSound)
{
  for (uint32_t flags : {0U, RT_MH_FREE_EMPTY_BLOCKS, RT_MH_VALIDATE_PTR, RT_MH_ZERO_ON_FREE, RT_MH_USE_SYSMEM}) {
    for (uint32_t blockSize : {64U, 4096U, 70000U}) {
      RandomJob job(flags, blockSize, flags + blockSize);
      for (int i = 0; i < 4000 && !testing::Test::HasFatalFailure(); i++) {
        job.step();
        if (i % 16 == 0) job.heap.check();
      }
      for (const auto& piece : job.pieces) job.verify(piece);
      ASSERT_FALSE(testing::Test::HasFatalFailure()) << flags << " " << blockSize;
    }
  }
}

// RT_MH_CHECK_HEAP turns the fast path off.
TEST(HeapRandom, FastPathLaysOutAsTheGeneralOne)
{
  RandomJob fast(0, 1024, 11), general(RT_MH_CHECK_HEAP, 1024, 11);
  for (int i = 0; i < 6000; i++) {
    fast.step();
    general.step();
    ASSERT_EQ(fast.heap.layout(), general.heap.layout()) << i;
    if (fast.pieces.empty()) continue;
    ASSERT_EQ(rtxMemElemOf(fast.pieces.back().ptr)->beginOff, rtxMemElemOf(general.pieces.back().ptr)->beginOff);
    ASSERT_EQ(fast.heap.block()->maxFreeElem, general.heap.block()->maxFreeElem) << i;
  }
}

// What a run has taken lies as single allocations would, and dropped it has never been.
TEST(HeapRandom, RunsLayOutAsSingleAllocations)
{
  Heap runs(0, 1024), singles(0, 1024);
  std::mt19937 random(5);
  std::vector<std::pair<uint8_t*, uint8_t*>> pieces;
  unsigned opened = 0;
  for (int i = 0; i < 3000; i++) {
    const std::string before = runs.layout();
    RtxMemRun run;
    const bool open = runs.block() && rtxMemRunOpen(run, runs.ctxt.pMemHeap), drop = random() % 4 == 0;
    opened += open;
    for (unsigned n = random() % 5; open && n > 0; n--) {
      const size_t size = 1 + random() % 150, other = 1 + random() % 300;
      uint8_t* taken = static_cast<uint8_t*>(rtxMemRunAlloc(run, size));
      if (taken == nullptr) break;
      memset(taken, 0xEE, size);
      const bool resized = random() % 3 == 0 && rtxMemRunResize(run, taken, other);
      if (resized) memset(taken, 0xDD, other);
      ASSERT_FALSE(rtxMemRunResize(run, taken - 8, 8));
      if (!drop) pieces.emplace_back(taken, singles.alloc(resized ? other : size));
    }
    if (open && drop) rtxMemRunDrop(run);
    if (open && !drop) rtxMemRunClose(run);
    if (open && drop) ASSERT_EQ(runs.layout(), before) << i;
    if (!open) pieces.emplace_back(runs.alloc(40), singles.alloc(40));
    if (random() % 3 == 0 && !pieces.empty()) {
      runs.free(pieces.back().first);
      singles.free(pieces.back().second);
      pieces.pop_back();
    }
    runs.check();
    ASSERT_EQ(runs.layout(), singles.layout()) << i;
    if (i % 20 != 0) continue;
    rtxMemHeapReset(runs.pp);
    rtxMemHeapReset(singles.pp);
    pieces.clear();
  }
  EXPECT_GT(opened, 1000U);
  RtxMemRun run;
  for (uint32_t flags : {RT_MH_CHECK_HEAP, RT_MH_USE_SYSMEM, RT_MH_ZERO_ON_FREE}) {
    Heap special(flags);
    special.alloc(8);
    EXPECT_FALSE(rtxMemRunOpen(run, special.ctxt.pMemHeap));
  }
}

} // namespace
