// Long random jobs: every element keeps its contents, and the heap is sound all the way.
#include <algorithm>
#include <random>
#include <vector>

#include "tests/rtx/memHeapScene.h"

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
  static size_t probe(size_t size) { return size < 256 ? size : 256; }
  void fill(Piece& piece)
  {
    memset(piece.ptr, piece.fill, probe(piece.size));
    if (piece.size != 0) piece.ptr[piece.size - 1] = piece.fill;
  }
  void verify(const Piece& piece)
  {
    for (size_t i = 0; i < probe(piece.size); i++) ASSERT_EQ(piece.ptr[i], piece.fill);
    if (piece.size != 0) {
      ASSERT_EQ(piece.ptr[piece.size - 1], piece.fill);
    }
    ASSERT_EQ(rtxMemHeapAutoPtrGetRefCount(heap.pp, piece.ptr), static_cast<int>(piece.refs));
  }
  void add()
  {
    const size_t size = anySize();
    pieces.push_back({heap.alloc(size), size, static_cast<uint8_t>(random()), 1, false});
    ASSERT_NE(pieces.back().ptr, nullptr);
    fill(pieces.back());
    if (random() % 50 == 0) {
      save(pieces.back().ptr);
      pieces.back().saved = true;
    }
  }
  void step()
  {
    const unsigned what = random() % 1000;
    if (pieces.empty() || what < 450) return add();
    const size_t index = random() % pieces.size();
    Piece piece = pieces[index];
    verify(piece);
    if (what < 800) {
      ASSERT_EQ(heap.free(piece.ptr), static_cast<int>(piece.refs - 1));
      if (--pieces[index].refs == 0) drop(index);
    } else if (what < 950) {
      resizeAt(index);
    } else if (what < 998) {
      if (rtxMemHeapAutoPtrRef(heap.pp, piece.ptr) != nullptr) pieces[index].refs++;
    } else {
      reset();
    }
  }
  void resizeAt(size_t index)
  {
    const Piece old = pieces[index];
    const size_t size = anySize() + 1;
    // A raw block's size does not follow its growth, so that the copy of a shared one can be shorter.
    const size_t sure = old.refs > 1 && isRaw(old.ptr) ? rtxMemRawOf(rtxMemElemOf(old.ptr))->size : old.size;
    uint8_t* to = heap.realloc(old.ptr, size);
    ASSERT_NE(to, nullptr);
    for (size_t i = 0; i < probe(std::min(size, sure)); i++) ASSERT_EQ(to[i], old.fill);
    pieces[index] = {to, size, old.fill, 1, old.saved};
    fill(pieces[index]);
    // A shared element lives on with a reference less and without the mark.
    if (old.refs > 1) pieces.push_back({old.ptr, old.size, old.fill, old.refs - 1, false});
  }
  void drop(size_t index)
  {
    pieces[index] = pieces.back();
    pieces.pop_back();
  }
  void reset()
  {
    rtxMemHeapReset(heap.pp);
    std::erase_if(pieces, [](const Piece& piece) { return !piece.saved; });
  }
};

TEST(MemHeapRandom, ContentsSurviveAndTheHeapStaysSound)
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
TEST(MemHeapRandom, FastPathLaysOutAsTheGeneralOne)
{
  RandomJob fast(0, 1024, 11), general(RT_MH_CHECK_HEAP, 1024, 11);
  for (int i = 0; i < 6000; i++) {
    fast.step();
    general.step();
    ASSERT_EQ(fast.pieces.size(), general.pieces.size());
    if (fast.pieces.empty()) continue;
    ASSERT_EQ(offOf(fast.pieces.back().ptr), offOf(general.pieces.back().ptr)) << i;
    ASSERT_EQ(layout(fast.heap.block()), layout(general.heap.block())) << i;
    ASSERT_EQ(ring(fast.heap.block()), ring(general.heap.block())) << i;
    ASSERT_EQ(fast.heap.block()->maxFreeElem, general.heap.block()->maxFreeElem) << i;
  }
}

} // namespace
