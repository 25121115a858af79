// Prints what a heap holds, to the process's print stream: a tool for finding what a program keeps. It reads the heap
// as it stands and changes nothing; the check of it is rtxMemHeapDebug.cpp, which prints the faulty part by the
// functions here. Sizes of raw blocks and elements are octets of data, that of a block is all of it. A static heap has
// no elements and prints nothing.
#include "rtxsrc/heap/rtxMemHeapInternal.h"
#include "velnor3gpp/rtxPrintStream.h"

// Offset 0 is the list head, which carries the guard value ("code").
static void printFreeLink(RtxMemBlock* block, unsigned off)
{
  if (off == 0)
    rtxPrintToStream(nullptr, "ptr = (code), ");
  else
    rtxPrintToStream(nullptr, "ptr = %p, ", static_cast<void*>(rtxMemLinkAt(block, off)));
  const unsigned prev = rtxMemLinkAt(block, off)->prevFree;
  if (prev == 0)
    rtxPrintToStream(nullptr, "prevFree = (code)\n");
  else
    rtxPrintToStream(nullptr, "prevFree = %p\n", static_cast<void*>(rtxMemLinkAt(block, prev)));
}

// The ring has at most one link for every two units, so a broken one ends too.
static void printFreeRing(RtxMemBlock* block)
{
  rtxPrintToStream(nullptr, "Mem block free elem list, ptr = %p; %s\n", static_cast<void*>(block), "pMemBlk");
  unsigned off = 0;
  for (unsigned steps = 0; steps <= block->nunits && off < block->nunits; steps++) {
    printFreeLink(block, off);
    off = rtxMemLinkAt(block, off)->nextFree;
    if (off == 0) break;
  }
  rtxPrintToStream(nullptr, "<end free list>\n\n");
}

// An element of no units would stop the walk for ever, so it ends it.
static void printElems(RtxMemBlock* block)
{
  for (unsigned off = kMemFirstElem; off < block->nunits;) {
    RtxMemElem* elem = rtxMemElemAt(block, off);
    rtxMemPrintElem(block, elem);
    if (elem->nunits == 0) return;
    off += elem->nunits;
  }
}

// Raw blocks first, then the blocks from the current one on, each with its elements.
static void printHeap(const RtxMemHeap* heap, bool withFree)
{
  for (void* at = heap->phead; at != heap; at = rtxMemRawLinks(at)[0]) {
    rtxMemPrintRaw(static_cast<const RtxMemRawBlk*>(at));
  }
  RtxMemBlock* block = heap->curBlock;
  if (block == nullptr) return;
  do {
    rtxMemPrintBlock(block);
    printElems(block);
    if (withFree) printFreeRing(block);
    block = block->next;
  } while (block != heap->curBlock);
}

void rtxMemPrintRaw(const RtxMemRawBlk* raw)
{
  rtxPrintToStream(nullptr, "pRawBlk ");
  if (raw == nullptr) {
    rtxPrintToStream(nullptr, "Raw mem block = NULL\n");
    return;
  }
  rtxPrintToStream(nullptr, "Raw mem block, ptr = %p, size = %u, refCnt = %u %s\n", static_cast<const void*>(raw),
                   static_cast<unsigned>(raw->size), static_cast<unsigned>(raw->elem.refcnt),
                   (raw->elem.flags & kMemElemSaved) != 0 ? "saved" : "");
}

// The bound of the block's free elements is shown in octets of data, "?" where it is not known.
void rtxMemPrintBlock(const RtxMemBlock* block)
{
  if (block == nullptr) {
    rtxPrintToStream(nullptr, "pMemBlk = NULL\n");
    return;
  }
  rtxPrintToStream(
      nullptr, "pMemBlk Mem block, ptr = %p, size = %u, nsaved = %u, maxFreeElem = ", static_cast<const void*>(block),
      static_cast<unsigned>(rtxMemBlockOctets(block)), static_cast<unsigned>(block->nsaved));
  const unsigned bound = block->maxFreeElem;
  if (bound == kMemMaxFreeUnknown)
    rtxPrintToStream(nullptr, "?\n");
  else
    rtxPrintToStream(nullptr, "%u\n", bound == 0 ? 0U : bound * static_cast<unsigned>(kMemUnit) - 8U);
}

// The address of the header and that of the data: programs know the second.
void rtxMemPrintElem(const RtxMemBlock* block, const RtxMemElem* elem)
{
  const char* name = "pElem";
  if (elem == nullptr) {
    rtxPrintToStream(nullptr, "pMemBlk = %p: %s = NULL\n", static_cast<const void*>(block), name);
    return;
  }
  const void* data = elem + 1;
  const int size = (elem->nunits - 1) * static_cast<int>(kMemUnit);
  if ((elem->flags & kMemElemFree) != 0) {
    rtxPrintToStream(nullptr, "  %s = %p, data = %p, size = %i free\n", name, static_cast<const void*>(elem), data,
                     size);
    return;
  }
  rtxPrintToStream(nullptr, "  %s = %p, data = %p, size = %i, refCnt = %u%s\n", name, static_cast<const void*>(elem),
                   data, size, static_cast<unsigned>(elem->refcnt),
                   (elem->flags & kMemElemSaved) != 0 ? ", saved" : "");
}

void rtxMemHeapPrint(RtxMemHeap** ppHeap)
{
  if (ppHeap != nullptr && *ppHeap != nullptr && !rtxMemIsStatic(*ppHeap)) printHeap(*ppHeap, false);
}

void rtxMemHeapPrintWithFree(RtxMemHeap** ppHeap)
{
  if (ppHeap != nullptr && *ppHeap != nullptr && !rtxMemIsStatic(*ppHeap)) printHeap(*ppHeap, true);
}
