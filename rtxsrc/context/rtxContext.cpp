// The life of a context: set-up, buffer binding, the end of a job and of the context. A program makes a context
// (rtxInitContext), gives it octets (rtxCtxtSetBufPtr) and codes; rtxMemReset ends the job and keeps the heap's blocks
// for the next one; rtxFreeContext ends it all. A job means everything between two resets: its records, error texts and
// kept elements lie in the heap of the context and go with it.
//
// The care here is about pointers. The context points to a buffer, a stream, a capture, a trace and security data, and
// each may lie in the heap, in memory of the system or with the caller. Whatever lies in the heap has to be forgotten
// before the heap is emptied, or the next job would write through it.
#include "velnor3gpp/rtxContext.h"

#include <string.h>

#include "rtxsrc/bits/rtxBitCursor.h"
#include "rtxsrc/errors/rtxErrorInternal.h"
#include "rtxsrc/errors/rtxReport.h"
#include "rtxsrc/streams/rtxStreamBinding.h"
#include "velnor3gpp/rtxBitEncode.h"
#include "velnor3gpp/rtxDList.h"
#include "velnor3gpp/rtxDiagBitTrace.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxPrintStream.h"

namespace {

const char kModule[] = "rtxContext";

// Octets of a growing buffer for which no size was given.
constexpr size_t kDefaultBufferSize = 1024;
constexpr int kIndentColumns = 3;

// What every extension record begins with.
struct Extension {
  int (*release)(RtxContext* pctxt);
};

// Without octets there is no size either, so that the next coder asks for a buffer.
void forgetBuffer(RtxBuffer* buffer)
{
  buffer->data = nullptr;
  buffer->byteIndex = buffer->size = 0;
  buffer->bitOffset = 8;
}

// Frees a buffer that the run-time owns, by the allocator it came from, and forgets it. A heap that was emptied before
// has freed the buffer already.
void dropBuffer(RtxContext* pctxt)
{
  if ((pctxt->flags & RTX_FLAG_SYSMEM_BUFFER) != 0)
    rtxMemHeapSysFreePtr(&pctxt->pMemHeap, pctxt->buffer.data);
  else if (!rtxMemHeapIsEmpty(&pctxt->pMemHeap))
    rtxMemHeapFreePtr(&pctxt->pMemHeap, pctxt->buffer.data);
  forgetBuffer(&pctxt->buffer);
  pctxt->flags &= ~RTX_FLAG_SYSMEM_BUFFER;
}

// True if emptying the heap takes the storage at `ptr` away. A static heap has no elements to look for: there, what
// lies in the used part of its buffer is meant. For an address below the start the
// difference wraps and is too large.
bool heapHolds(RtxContext* pctxt, const void* ptr)
{
  const RtxMemHeap* heap = pctxt->pMemHeap;
  if (heap == nullptr || (heap->flags & RT_MH_STATIC) == 0) return rtxMemHeapCheckPtr(&pctxt->pMemHeap, ptr) != 0;
  const uintptr_t start = reinterpret_cast<uintptr_t>(heap->phead);
  return reinterpret_cast<uintptr_t>(ptr) - start < reinterpret_cast<uintptr_t>(heap->curBlock);
}

// The octets that a stream has captured go with the heap; the stream goes on without. The record of the capture or its
// octets alone may lie there.
void endCapture(RtxContext* pctxt)
{
  RtxStream* pStream = pctxt->pStream;
  if (pStream == nullptr || pStream->pCapture == nullptr) return;
  if (heapHolds(pctxt, pStream->pCapture) || heapHolds(pctxt, pStream->pCapture->buffer)) pStream->pCapture = nullptr;
}

// A list in the caller's own storage stays bound; it loses its entries.
void emptyTrace(RtxContext* pctxt)
{
  RtxBitFieldList* list = pctxt->pBitFldList;
  if (list == nullptr) return;
  if (heapHolds(pctxt, list)) {
    pctxt->pBitFldList = nullptr;
    return;
  }
  rtxSListInitEx(pctxt, &list->fieldList);
  // The entry and the capture lay in the heap.
  list->pLastPrinted = nullptr;
  list->pCaptureBuf = nullptr;
}

// Gives the context a growing buffer. A stream that works through it needs one that survives rtxMemReset; another
// stream brings its own.
int allocBuffer(RtxContext* pctxt, size_t size)
{
  RtxBuffer* buffer = &pctxt->buffer;
  if (rtxHasBufferedStream(pctxt)) {
    buffer->data = static_cast<uint8_t*>(rtxMemHeapSysAlloc(&pctxt->pMemHeap, size));
    if (buffer->data != nullptr) pctxt->flags |= RTX_FLAG_SYSMEM_BUFFER;
  } else if (!rtxHasStream(pctxt)) {
    buffer->data = static_cast<uint8_t*>(rtxMemHeapAlloc(&pctxt->pMemHeap, size));
  } else {
    return 0;
  }
  if (buffer->data != nullptr) return 0;
  forgetBuffer(buffer);
  return RTX_E_NO_MEMORY;
}

// What a job has kept lies in its heap, unlike the extensions of others.
void forgetKept(RtxContext* pctxt)
{
  void*& slot = pctxt->extInfo[RTX_CTXT_KEPT_SLOT];
  if (slot != nullptr && heapHolds(pctxt, slot)) slot = nullptr;
}

void releaseExtensions(RtxContext* pctxt)
{
  forgetKept(pctxt);
  for (void*& slot : pctxt->extInfo) {
    if (slot == nullptr) continue;
    const Extension* ext = static_cast<const Extension*>(slot);
    if (ext->release != nullptr) ext->release(pctxt);
    rtxMemHeapSysFreePtr(&pctxt->pMemHeap, slot);
    slot = nullptr;
  }
}

} // namespace

// The parts of a context that need no memory; also for a context that gets the heap of another (rtxCtxtSetMemHeap).
// What the record held before is not looked at, so it may be uninitialised.
int rtxPreInitContext(RtxContext* pctxt)
{
  memset(pctxt, 0, sizeof *pctxt);
  rtxStackInit(pctxt, &pctxt->containerStack);
  pctxt->initCode = RTX_CTXT_INIT_CODE;
  pctxt->buffer.bitOffset = 8;
  return 0;
}

int rtxInitContext(RtxContext* pctxt)
{
  rtxErrInit();
  rtxPreInitContext(pctxt);
  return rtxMemHeapCreate(&pctxt->pMemHeap);
}

int rtxInitContextExt(RtxContext* pctxt, RtxMallocFunc mallocFunc, RtxReallocFunc reallocFunc, RtxFreeFunc freeFunc)
{
  rtxErrInit();
  rtxPreInitContext(pctxt);
  return rtxMemHeapCreateExt(&pctxt->pMemHeap, mallocFunc, reallocFunc, freeFunc);
}

// A context for another thread has its own heap: heaps are not locked.
int rtxInitThreadContext(RtxContext* pctxt, const RtxContext* pSrcCtxt)
{
  int status = rtxInitContext(pctxt);
  if (status < 0) return status;
  pctxt->threadWord = pSrcCtxt->threadWord;
  return 0;
}

// Both contexts point to the same octets then, and only one of them may free them: the heap is not copied.
void rtxCopyContext(RtxContext* pdst, const RtxContext* psrc)
{
  RtxBuffer* to = &pdst->buffer;
  const RtxBuffer* from = &psrc->buffer;
  to->data = from->data;
  to->byteIndex = from->byteIndex;
  to->size = from->size;
  to->bitOffset = from->bitOffset;
  to->dynamic = from->dynamic;
  to->aligned = from->aligned;
  pdst->flags = psrc->flags;
  pdst->pStream = psrc->pStream;
}

int rtxCheckContext(const RtxContext* pctxt)
{
  return pctxt != nullptr && pctxt->initCode == RTX_CTXT_INIT_CODE ? 0 : RTX_E_NO_CONTEXT;
}

void rtxCtxtSetMemHeap(RtxContext* pdst, const RtxContext* psrc)
{
  if (pdst == nullptr || psrc == nullptr || pdst->pMemHeap == psrc->pMemHeap) return;
  // Released before the other is taken: whatever `pdst` still has in its own heap is gone, unless that has other
  // owners.
  if (pdst->pMemHeap != nullptr) rtxMemHeapRelease(&pdst->pMemHeap);
  pdst->pMemHeap = psrc->pMemHeap;
  if (pdst->pMemHeap != nullptr) rtxMemHeapAddRef(&pdst->pMemHeap);
}

void rtxCtxtSetFlag(RtxContext* pctxt, uint32_t mask)
{
  pctxt->flags |= mask;
}

uint32_t rtxCtxtClearFlag(RtxContext* pctxt, uint32_t mask)
{
  return pctxt->flags &= ~mask;
}

// Binds octets with the cursor at their start.
static void setBuffer(RtxBuffer* buffer, uint8_t* bufaddr, size_t bufsize, bool dynamic)
{
  buffer->data = bufaddr;
  buffer->size = bufsize;
  buffer->dynamic = dynamic;
  buffer->byteIndex = 0;
  buffer->bitOffset = 8;
}

// Binds the caller's octets, or a growing buffer of the run-time's own if `bufaddr` is null. Octets of the heap that
// were bound before stay there until the job ends; system memory would be lost, so it is freed.
int rtxInitContextBuffer(RtxContext* pctxt, uint8_t* bufaddr, size_t bufsize)
{
  if (pctxt == nullptr || pctxt->initCode != RTX_CTXT_INIT_CODE)
    return RTX_E_NO_CONTEXT; // nothing in it can be followed, not even the error list
  if (!rtxBitsAreCountable(bufsize)) return rtxReport(pctxt, RTX_E_TOO_BIG, kModule, __LINE__);
  RtxBuffer* buffer = &pctxt->buffer;
  const bool ownsSystemMemory = buffer->dynamic && (pctxt->flags & RTX_FLAG_SYSMEM_BUFFER) != 0;
  if (ownsSystemMemory && buffer->data != nullptr) dropBuffer(pctxt);
  pctxt->flags &= ~RTX_FLAG_SYSMEM_BUFFER;
  const bool dynamic = bufaddr == nullptr;
  if (dynamic) {
    if (bufsize == 0) bufsize = kDefaultBufferSize;
    int status = allocBuffer(pctxt, bufsize);
    if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
    bufaddr = buffer->data;
  }
  setBuffer(buffer, bufaddr, bufsize, dynamic);
  rtxTellCapacity(pctxt, bufsize);
  return 0;
}

// The caller's octets in a context that has neither a stream nor a buffer of its own, as for nearly every message.
// False if rtxInitContextBuffer has to look at the case; nothing is changed then.
static bool bindSimply(RtxContext* pctxt, uint8_t* bufaddr, size_t bufsize)
{
  if (pctxt == nullptr || pctxt->initCode != RTX_CTXT_INIT_CODE || bufaddr == nullptr) return false;
  if (pctxt->buffer.dynamic || pctxt->pStream != nullptr || !rtxBitsAreCountable(bufsize)) return false;
  setBuffer(&pctxt->buffer, bufaddr, bufsize, false);
  pctxt->flags &= ~RTX_FLAG_SYSMEM_BUFFER;
  return true;
}

int rtxCtxtSetBufPtr(RtxContext* pctxt, uint8_t* bufaddr, size_t bufsize)
{
  if (!bindSimply(pctxt, bufaddr, bufsize)) {
    int status = rtxInitContextBuffer(pctxt, bufaddr, bufsize);
    if (status == RTX_E_NO_CONTEXT) return status;
    if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
  }
  // A stream that is bound stays so but is not used until the next one is made (rtxStreamInit).
  pctxt->flags |= RTX_FLAG_BUFFER_MODE;
  pctxt->state = 0;
  return 0;
}

// Ends the job as rtxMemReset does, but gives the heap's blocks back to the system. The trace is unbound wherever its
// list lies.
void rtxMemFree(RtxContext* pctxt)
{
  const RtxBuffer* buffer = &pctxt->buffer;
  const bool own = buffer->dynamic && buffer->data != nullptr;
  const bool behindStream = own && rtxHasBufferedStream(pctxt);
  // What a stream has read ahead is lost, but it was read.
  if (behindStream && rtxStreamIsReadable(pctxt)) pctxt->pStream->bytesProcessed += buffer->size;
  if (own && (behindStream || !rtxHasStream(pctxt) || heapHolds(pctxt, buffer->data))) dropBuffer(pctxt);
  rtxFreeRegexpCache(pctxt);
  endCapture(pctxt);
  rtxStackInit(pctxt, &pctxt->containerStack);
  pctxt->pSecurity = nullptr;
  pctxt->pBitFldList = nullptr;
  forgetKept(pctxt);
  // Before the heap goes: the records are elements of it.
  rtxErrReset(pctxt);
  rtxMemHeapFreeAll(&pctxt->pMemHeap);
}

// Nothing may lead to what the next job overwrites. What lies elsewhere stays for it: a trace list of the caller's, for
// instance, works on for all jobs. Out of line, since most contexts have no bindings.
[[gnu::noinline]] static void forgetBindings(RtxContext* pctxt)
{
  if (pctxt->buffer.dynamic && heapHolds(pctxt, pctxt->buffer.data)) forgetBuffer(&pctxt->buffer);
  if (pctxt->pSecurity != nullptr && heapHolds(pctxt, pctxt->pSecurity)) pctxt->pSecurity = nullptr;
  forgetKept(pctxt);
  endCapture(pctxt);
  emptyTrace(pctxt);
}

// Has the context anything that may lie in its heap? One jump for all of it, since every job asks.
static bool isBound(const RtxContext& context)
{
  const void* const bindings[] = {context.pSecurity, context.extInfo[RTX_CTXT_KEPT_SLOT], context.pStream,
                                  context.pBitFldList};
  uintptr_t any = context.buffer.dynamic;
  for (const void* binding : bindings) any |= reinterpret_cast<uintptr_t>(binding);
  return any != 0;
}

void rtxMemReset(RtxContext* pctxt)
{
  if (!rtxErrIsReset(*pctxt)) rtxErrReset(pctxt);
  if (isBound(*pctxt)) forgetBindings(pctxt);
  rtxMemHeapReset(&pctxt->pMemHeap);
}

// The order matters: extensions and streams may still report and use the heap, so they go first; the buffer may lie in
// the heap, so it goes before that.
void rtxFreeContext(RtxContext* pctxt)
{
  pctxt->flags |= RTX_FLAG_CLOSING;
  rtxFreeRegexpCache(pctxt);
  rtxErrReset(pctxt);
  releaseExtensions(pctxt);
  rtxStreamRelease(pctxt);
  rtxPrintStreamRelease(pctxt);
  if (pctxt->buffer.dynamic && pctxt->buffer.data != nullptr) dropBuffer(pctxt);
  rtxErrResetErrInfo(pctxt); // A stream may have failed to close.
  rtxMemHeapRelease(&pctxt->pMemHeap);
  // A hook may free the record, so nothing is written to it after that. Otherwise initCode 0 makes later uses fail.
  if (pctxt->pFreeHook != nullptr)
    pctxt->pFreeHook(pctxt);
  else
    pctxt->initCode = 0;
}

void rtxFreeRegexpCache(RtxContext* pctxt)
{
  if (pctxt->regexpCache.count != 0) rtxDListFreeAll(pctxt, &pctxt->regexpCache);
}

// RtxContext.indent is in columns, and one level has three.
uint16_t rtxGetIndentLevels(const RtxContext* pctxt)
{
  return static_cast<uint16_t>(pctxt->indent / kIndentColumns);
}

int rtxWriteIndent(RtxContext* pctxt)
{
  if ((pctxt->flags & RTX_FLAG_NO_INDENT) != 0) return 0;
  static const uint8_t kLineFeed = '\n';
  int status = rtxWriteBytes(pctxt, &kLineFeed, 1);
  uint8_t blanks[64];
  memset(blanks, ' ', sizeof blanks);
  for (size_t left = pctxt->indent; left != 0 && status >= 0;) {
    const size_t count = left < sizeof blanks ? left : sizeof blanks;
    status = rtxWriteBytes(pctxt, blanks, count);
    left -= count;
  }
  return status < 0 ? rtxReport(pctxt, status, kModule, __LINE__) : 0;
}
