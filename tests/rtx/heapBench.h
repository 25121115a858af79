// A heap of its own for each test, and its layout as text.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "rtxsrc/heap/rtxMemHeapInternal.h"

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
  void check() { rtxMemHeapCheck(pp, "heapTest", 1); }

  static bool isRaw(void* ptr) { return (rtxMemElemOf(ptr)->flags & kMemElemRaw) != 0; }
  static void save(void* ptr)
  {
    rtxMemElemOf(ptr)->flags |= kMemElemSaved;
    if (!isRaw(ptr)) rtxMemBlockOf(rtxMemElemOf(ptr))->nsaved++;
  }

  static std::string show(const RtxMemElem& elem, size_t size)
  {
    std::string text = " " + std::to_string(size);
    if (elem.flags & kMemElemFree) text += "f";
    if (elem.flags & kMemElemSaved) text += "s";
    return text;
  }
  // The current block's elements in units and the raw blocks in octets, "f" behind the free, "s" behind the saved ones;
  // then the unit offsets of the block's ring of free links, "*" behind the one that the search begins with.
  std::string layout() const
  {
    std::string text;
    for (unsigned off = kMemFirstElem; block() && off < block()->nunits; off += rtxMemElemAt(block(), off)->nunits)
      text += show(*rtxMemElemAt(block(), off), rtxMemElemAt(block(), off)->nunits);
    for (void* raw = ctxt.pMemHeap->phead; raw != ctxt.pMemHeap; raw = rtxMemRawLinks(raw)[0])
      text += " raw" + show(static_cast<RtxMemRawBlk*>(raw)->elem, static_cast<RtxMemRawBlk*>(raw)->size);
    text += " |";
    for (unsigned off = block() ? block()->head.nextFree : 0; off != 0; off = rtxMemLinkAt(block(), off)->nextFree)
      text += " " + std::to_string(off) + (off == block()->freeElemOff ? "*" : "");
    return text.substr(1);
  }
};
