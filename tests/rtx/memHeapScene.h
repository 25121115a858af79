/**
 * @file memHeapScene.h
 * A heap of its own for each test, and its layout as text.
 */
#ifndef VELNOR3GPP_TESTS_RTX_MEM_HEAP_SCENE_H
#define VELNOR3GPP_TESTS_RTX_MEM_HEAP_SCENE_H

#include <gtest/gtest.h>

#include <string>

#include "rtxsrc/rtxMemHeapInternal.h"

struct Heap {
  RtxContext ctxt = {};
  RtxMemHeap** pp = &ctxt.pMemHeap;

  explicit Heap(uint32_t flags = 0, uint32_t blockSize = 4096)
  {
    EXPECT_EQ(rtxMemHeapCreate(pp), 0);
    rtxMemHeapSetFlags(pp, flags);
    rtxMemHeapSetProperty(pp, RTX_MEM_PROP_DEF_BLK_SIZE, &blockSize);
  }
  ~Heap() { rtxMemHeapRelease(pp); }
  Heap(const Heap&) = delete;

  uint8_t* alloc(size_t size) { return static_cast<uint8_t*>(rtxMemHeapAlloc(pp, size)); }
  uint8_t* realloc(void* ptr, size_t size) { return static_cast<uint8_t*>(rtxMemHeapRealloc(pp, ptr, size)); }
  int free(void* ptr) { return rtxMemHeapAutoPtrUnref(pp, ptr); }
  RtxMemBlock* block() const { return ctxt.pMemHeap->curBlock; }
  void check() { rtxMemHeapCheck(pp, "memHeapTest", 1); }
};

inline unsigned offOf(void* ptr)
{
  return rtxMemElemOf(ptr)->beginOff;
}
inline unsigned unitsOf(void* ptr)
{
  return rtxMemElemOf(ptr)->nunits;
}
inline bool isRaw(void* ptr)
{
  return (rtxMemElemOf(ptr)->flags & kMemElemRaw) != 0;
}

inline void save(void* ptr)
{
  rtxMemElemOf(ptr)->flags |= kMemElemSaved;
  if (!isRaw(ptr)) rtxMemBlockOf(rtxMemElemOf(ptr))->nsaved++;
}

// The block's elements as text: units, and after each "f" for free or "s" for saved.
inline std::string layout(RtxMemBlock* block)
{
  std::string text;
  for (unsigned off = kMemFirstElem; off < block->nunits; off += rtxMemElemAt(block, off)->nunits) {
    const RtxMemElem* elem = rtxMemElemAt(block, off);
    text += (text.empty() ? "" : " ") + std::to_string(elem->nunits);
    if (elem->flags & kMemElemFree) text += "f";
    if (elem->flags & kMemElemSaved) text += "s";
  }
  return text;
}

// The offsets of the free ring's links, the rover marked.
inline std::string ring(RtxMemBlock* block)
{
  std::string text;
  for (unsigned off = block->head.nextFree; off != 0; off = rtxMemLinkAt(block, off)->nextFree) {
    text += (text.empty() ? "" : " ") + std::to_string(off) + (off == block->freeElemOff ? "*" : "");
  }
  return text;
}

#endif
