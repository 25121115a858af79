// The check of a whole heap, and the test of a single pointer by walking it. RT_MH_CHECK_HEAP runs the check before
// every operation of the heap; a program may also call it where it suspects a write beyond an element. The first fault
// found is printed with the element or block around it, and the program ends: a heap that is broken cannot be trusted
// for anything else. Layout and words are those of rtxMemHeapInline.h.
#include "rtxsrc/heap/rtxMemHeapInternal.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxPrintStream.h"

namespace {

// By the numbers of Fault, which the report prints too.
const char* const kFaults[] = {
    "",
    "invalid MemLink",
    "absent raw block type flag",
    "invalid code guard value",
    "invalid MemLink",
    "invalid code guard value",
    "invalid mem block size",
    "invalid start border elem",
    "invalid end border elem",
    "raw flag on",
    "invalid mem elem size",
    "pElem->nunits != pNextElem->prevOff",
    "free elems is not joined",
    "invalid beginOff field",
    "invalid nsaved field",
    "invalid maxFreeElem field",
    "broken free list",
    "free list contains allocated elem",
    "invalid prevFree/nextFree",
    "free list contains not all free elems",
};

enum Fault {
  kRawLink = 1,
  kRawFlagMissing,
  kRawCode,
  kBlockLink,
  kBlockCode,
  kBlockSize,
  kStartBorder,
  kEndBorder,
  kRawFlagOn,
  kElemSize,
  kElemPrevOff,
  kNotJoined,
  kBeginOff,
  kNsaved,
  kMaxFree,
  kFreeListBroken,
  kFreeListAllocated,
  kFreeListLinks,
  kFreeListIncomplete
};

// Who asked, and where.
struct Request {
  RtxMemHeap* heap;
  const char* file;
  int line;
};

// What a walk over a block's elements counts, to be held against its fields and its free list.
struct Census {
  unsigned nfree;
  unsigned nsaved;
  unsigned largest;
};

// Two lines: who asked for the check, and what is wrong.
void reportFault(const Request& request, Fault fault, const char* text)
{
  rtxPrintToStream(nullptr, "Memory report at %s, line %i\n", request.file, request.line);
  rtxPrintToStream(nullptr, "Error %d: %s.\n", static_cast<int>(fault), text);
}

// Does not return: the assertion ends the program.
void endBroken()
{
  rtxErrAssertionFailed("memory heap broken", __LINE__, "rtxMemHeapDebug");
}

void failRaw(const Request& request, Fault fault, const RtxMemRawBlk* raw)
{
  reportFault(request, fault, kFaults[fault]);
  rtxMemPrintRaw(raw);
  endBroken();
}

void failBlock(const Request& request, Fault fault, const RtxMemBlock* block)
{
  reportFault(request, fault, kFaults[fault]);
  rtxMemPrintBlock(block);
  endBroken();
}

void failElem(const Request& request, Fault fault, const RtxMemBlock* block, const RtxMemElem* elem,
              const char* text = nullptr)
{
  reportFault(request, fault, text != nullptr ? text : kFaults[fault]);
  rtxMemPrintBlock(block);
  rtxMemPrintElem(block, elem);
  endBroken();
}

// Links are only followed into the heap's range. It may contain memory of others as well, so this finds wild pointers,
// not every wrong one.
bool inRange(const RtxMemHeap* heap, const void* ptr)
{
  const uintptr_t at = reinterpret_cast<uintptr_t>(ptr);
  return at >= reinterpret_cast<uintptr_t>(heap->minAddr) && at <= reinterpret_cast<uintptr_t>(heap->maxAddr);
}

// Each raw block has to lie in the heap's range before its links are followed.
void checkRawBlocks(const Request& request)
{
  RtxMemHeap* heap = request.heap;
  void* prev = heap;
  for (void* at = heap->phead; at != heap; at = rtxMemRawLinks(at)[0]) {
    RtxMemRawBlk* raw = static_cast<RtxMemRawBlk*>(at);
    if (raw == nullptr || !inRange(heap, raw)) failRaw(request, kRawLink, nullptr);
    if (raw->prev != prev) failRaw(request, kRawLink, raw);
    if ((raw->elem.flags & kMemElemRaw) == 0) failRaw(request, kRawFlagMissing, raw);
    if (rtxMemRawCode(raw) != heap->code) failRaw(request, kRawCode, raw);
    prev = raw;
  }
  if (heap->ptail != prev) failRaw(request, kRawLink, prev != heap ? static_cast<RtxMemRawBlk*>(prev) : nullptr);
}

// Neither border has a size or a flag, so that a walk and the joining of neighbours stop at it.
bool isBorder(const RtxMemElem* elem)
{
  return elem->nunits == 0 && elem->flags == 0;
}

// The fixed fields of a block: its neighbours in the ring, the guard value, the size and both borders. Links come
// first, because the neighbours are read.
void checkBlockFrame(const Request& request, RtxMemBlock* block)
{
  const RtxMemHeap* heap = request.heap;
  if (!inRange(heap, block->next) || !inRange(heap, block->prev)) failBlock(request, kBlockLink, block);
  if (block->next->prev != block || block->prev->next != block) failBlock(request, kBlockLink, block);
  if (block->head.code != heap->code) failBlock(request, kBlockCode, block);
  // List head, start border and one unit: no block is smaller.
  if (block->nunits < 3) failBlock(request, kBlockSize, block);
  RtxMemElem* start = rtxMemElemAt(block, 1);
  RtxMemElem* end = rtxMemElemAt(block, block->nunits);
  if (!isBorder(start) || start->prevOff != 0) failElem(request, kStartBorder, block, start);
  if (!isBorder(end)) failElem(request, kEndBorder, block, end);
}

// Two free neighbours would have been joined when the second was freed. Only allocated elements say where they begin.
void checkElemState(const Request& request, RtxMemBlock* block, RtxMemElem* elem, unsigned off)
{
  const bool isFree = (elem->flags & kMemElemFree) != 0;
  if (isFree && (elem[-elem->prevOff].flags & kMemElemFree) != 0) failElem(request, kNotJoined, block, elem);
  if (!isFree && elem->beginOff != off) failElem(request, kBeginOff, block, elem);
  if (isFree && (elem->refcnt != 0 || (elem->flags & kMemElemSaved) != 0)) {
    failElem(request, kMaxFree, block, elem, "invalid free element");
  }
}

// Of free elements the count is held against the free ring, the largest against the block's bound.
void countElem(const RtxMemElem* elem, Census* census)
{
  if ((elem->flags & kMemElemSaved) != 0) census->nsaved++;
  if ((elem->flags & kMemElemFree) == 0) return;
  census->nfree++;
  if (elem->nunits > census->largest) census->largest = elem->nunits;
}

// From header to header, each size compared with what is left of the block before it is followed.
Census checkElems(const Request& request, RtxMemBlock* block)
{
  Census census = {0, 0, 0};
  unsigned prevOff = 1;
  for (unsigned off = kMemFirstElem; off < block->nunits; off += prevOff) {
    RtxMemElem* elem = rtxMemElemAt(block, off);
    const unsigned nunits = elem->nunits;
    if ((elem->flags & kMemElemRaw) != 0) failElem(request, kRawFlagOn, block, elem);
    if (nunits < kMemMinElem || nunits > block->nunits - off) failElem(request, kElemSize, block, elem);
    // The way back from each header has to be the way forward to it.
    if (elem->prevOff != prevOff || elem[nunits].prevOff != nunits) failElem(request, kElemPrevOff, block, elem);
    checkElemState(request, block, elem, off);
    countElem(elem, &census);
    prevOff = nunits;
  }
  return census;
}

// The element whose link stands at `off`, or null if no element of the block ends there.
RtxMemElem* elemOfLink(RtxMemBlock* block, unsigned off)
{
  if (off <= kMemFirstElem || off >= block->nunits) return nullptr;
  const unsigned size = rtxMemFreeSizeAt(block, off);
  if (size < kMemMinElem || size >= off) return nullptr;
  RtxMemElem* elem = rtxMemElemAt(block, off + 1 - size);
  return elem->nunits == size ? elem : nullptr;
}

// A ring that closes early shows by a backward link, so the walk ends.
void checkFreeList(const Request& request, RtxMemBlock* block, unsigned nfree)
{
  unsigned prev = 0, count = 0;
  bool roverSeen = block->freeElemOff == 0;
  for (unsigned off = block->head.nextFree; off != 0; off = rtxMemLinkAt(block, off)->nextFree) {
    RtxMemElem* elem = elemOfLink(block, off);
    // The link does not stand at the end of an element.
    if (elem == nullptr) failElem(request, kFreeListBroken, block, elem);
    if ((elem->flags & kMemElemFree) == 0) failElem(request, kFreeListAllocated, block, elem);
    if (rtxMemLinkAt(block, off)->prevFree != prev) failElem(request, kFreeListLinks, block, elem);
    if (off == block->freeElemOff) roverSeen = true;
    prev = off;
    count++;
  }
  if (block->head.prevFree != prev) failBlock(request, kFreeListLinks, block);
  if (count != nfree) failBlock(request, kFreeListIncomplete, block);
  if (!roverSeen) failBlock(request, kFreeListBroken, block);
}

// Elements before the free list, which is checked against their count.
void checkBlocks(const Request& request)
{
  RtxMemBlock* block = request.heap->curBlock;
  if (block == nullptr) return;
  if (!inRange(request.heap, block)) failBlock(request, kBlockLink, nullptr);
  do {
    checkBlockFrame(request, block);
    const Census census = checkElems(request, block);
    if (census.nsaved != block->nsaved) failBlock(request, kNsaved, block);
    // The bound may be too high, never too low: a search would pass over an element that fits.
    if (census.largest > block->maxFreeElem) failBlock(request, kMaxFree, block);
    checkFreeList(request, block, census.nfree);
    block = block->next;
  } while (block != request.heap->curBlock);
}

// True for the data of an allocated element; a pointer into the middle of one is none.
bool blockHolds(RtxMemBlock* block, const void* ptr)
{
  const RtxMemElem* end = rtxMemElemAt(block, block->nunits);
  if (ptr < static_cast<const void*>(block) || ptr >= static_cast<const void*>(end)) return false;
  for (const RtxMemElem* elem = rtxMemElemAt(block, kMemFirstElem); elem < end; elem += elem->nunits) {
    if (elem + 1 == ptr) return (elem->flags & kMemElemFree) == 0;
    if (elem->nunits == 0) return false;
  }
  return false;
}

} // namespace

void rtxMemHeapCheck(RtxMemHeap** ppHeap, const char* file, int line)
{
  if (ppHeap == nullptr || *ppHeap == nullptr || rtxMemIsStatic(*ppHeap)) return;
  const Request request = {*ppHeap, file, line};
  checkRawBlocks(request);
  checkBlocks(request);
}

// Walks all elements, so it costs as much as the heap is full. Unlike rtxMemAccepts it is sure of its answer.
int rtxMemHeapCheckPtr(RtxMemHeap** ppHeap, const void* ptr)
{
  if (ppHeap == nullptr || *ppHeap == nullptr || ptr == nullptr || rtxMemIsStatic(*ppHeap)) return 0;
  RtxMemHeap* heap = *ppHeap;
  for (void* at = heap->phead; at != heap; at = rtxMemRawLinks(at)[0]) {
    if (static_cast<RtxMemRawBlk*>(at) + 1 == ptr) return 1;
  }
  RtxMemBlock* block = heap->curBlock;
  if (block == nullptr) return 0;
  do {
    if (blockHolds(block, ptr)) return 1;
    block = block->next;
  } while (block != heap->curBlock);
  return 0;
}

void rtxMemHeapInvalidPtrHook(RtxMemHeap**, const void*)
{
  rtxErrAssertionFailed("mem pointer valid", __LINE__, "rtxMemHeapInvalidPtrHook");
}
