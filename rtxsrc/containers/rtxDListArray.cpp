// Lists turned into arrays and strings, and the collector of repeated elements (RtxDListBuf): for a decoder that does
// not know how many elements will come and wants an array in the end. Everything made here lies in the heap of the
// context.
//
// The collector fills segments that double. With a first one of 4 elements, the 13th element is the first of the third
// segment: two full ones of 4 and 8 are on the list, and *ppArray is the third, of 16. The end copies them into one.
#include <limits.h>
#include <string.h>

#include "velnor3gpp/rtxDList.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStatus.h"

static const char kModule[] = "rtxDListArray";

// An array of `count` elements, or null, also where count times size would wrap.
static void* newArray(RtxContext* pctxt, size_t count, size_t elemSize)
{
  if (elemSize != 0 && count > SIZE_MAX / elemSize) return nullptr;
  return rtxMemHeapAlloc(&pctxt->pMemHeap, count * elemSize);
}

// Makes sure that `*ppArray` holds the list's count. Returns the count or a status.
static int arrayFor(RtxContext* pctxt, const RtxDList* pList, void** ppArray, uint32_t* pElemCount, size_t elemSize)
{
  if (pList->count > INT_MAX) return rtxErrSetNewData(pctxt, RTX_E_NO_MEMORY, kModule, __LINE__);
  const int count = static_cast<int>(pList->count);
  // An array of the caller's that is long enough is filled in place.
  if (pElemCount == nullptr || *pElemCount < pList->count) {
    void* fresh = newArray(pctxt, pList->count, elemSize);
    if (fresh == nullptr) return rtxErrSetNewData(pctxt, RTX_E_NO_MEMORY, kModule, __LINE__);
    *ppArray = fresh;
  }
  if (pElemCount != nullptr) *pElemCount = static_cast<uint32_t>(count);
  return count;
}

int rtxDListToArray(RtxContext* pctxt, const RtxDList* pList, void** ppArray, uint32_t* pElemCount, size_t elemSize)
{
  const int count = arrayFor(pctxt, pList, ppArray, pElemCount, elemSize);
  if (count < 0) return count;
  uint8_t* to = static_cast<uint8_t*>(*ppArray);
  for (const RtxDListNode* node = pList->head; node != nullptr; node = node->next, to += elemSize) {
    // Data has to be at least one element long; the list does not know.
    memcpy(to, node->data, elemSize);
  }
  return count;
}

int rtxDListToPointerArray(RtxContext* pctxt, const RtxDList* pList, void*** ppArray, uint32_t* pElemCount)
{
  void* array = *ppArray;
  const int count = arrayFor(pctxt, pList, &array, pElemCount, sizeof(void*));
  if (count < 0) return count;
  void** to = *ppArray = static_cast<void**>(array);
  for (const RtxDListNode* node = pList->head; node != nullptr; node = node->next) *to++ = node->data;
  return count;
}

// Octets of all strings with a separator between each two. A null entry counts as an empty string.
static size_t joinedLength(const RtxDList* pList)
{
  size_t length = pList->count > 1 ? pList->count - 1 : 0;
  for (const RtxDListNode* node = pList->head; node != nullptr; node = node->next) {
    if (node->data != nullptr) length += strlen(static_cast<const char*>(node->data));
  }
  return length;
}

// Reports nothing itself: the error records call it for their element path, and a report would call it again.
int rtxDListToUTF8Str(RtxContext* pctxt, const RtxDList* pList, char** ppStr, char sep)
{
  *ppStr = nullptr;
  const size_t length = joinedLength(pList);
  // No string at all: the caller sees a null pointer, not an empty string.
  if (length == 0) return 0;
  char* to = static_cast<char*>(rtxMemHeapAlloc(&pctxt->pMemHeap, length + 1));
  if (to == nullptr) return RTX_E_NO_MEMORY;
  *ppStr = to;
  for (const RtxDListNode* node = pList->head; node != nullptr; node = node->next) {
    const char* text = static_cast<const char*>(node->data);
    const size_t n = text != nullptr ? strlen(text) : 0;
    if (node != pList->head) *to++ = sep;
    if (n != 0) memcpy(to, text, n);
    to += n;
  }
  *to = '\0';
  return 0;
}

void rtxDListBufInit(RtxDListBuf* pBuf, size_t firstSegSize, void** ppArray, size_t elemSize)
{
  *pBuf = {};
  pBuf->firstSegSize = firstSegSize != 0 ? firstSegSize : 1;
  pBuf->elemSize = elemSize;
  pBuf->ppArray = ppArray;
  *ppArray = nullptr;
}

// Puts the full segment on the list and opens one of twice its size. On failure the collector is as before.
int rtxDListBufExpand(RtxContext* pctxt, RtxDListBuf* pBuf)
{
  if (pBuf->nMax > SIZE_MAX / 2) return RTX_E_NO_MEMORY;
  const size_t nMax = pBuf->nMax != 0 ? pBuf->nMax * 2 : pBuf->firstSegSize;
  void* segment = newArray(pctxt, nMax, pBuf->elemSize);
  if (segment == nullptr) return RTX_E_NO_MEMORY;
  if (pBuf->nMax != 0) {
    if (rtxDListAppend(pctxt, &pBuf->segments, *pBuf->ppArray) == nullptr) {
      rtxMemHeapFreePtr(&pctxt->pMemHeap, segment);
      return RTX_E_NO_MEMORY;
    }
    pBuf->nAll += pBuf->n;
  }
  pBuf->n = 0;
  pBuf->nMax = nMax;
  *pBuf->ppArray = segment;
  return 0;
}

// One segment is all there is: it becomes the array. A refused shrinking leaves it as it is. The collector counts as
// full afterwards, since the array has no place for further elements: a caller that goes on has to ask for a segment.
static int trimSegment(RtxContext* pctxt, RtxDListBuf* pBuf)
{
  void* segment = *pBuf->ppArray;
  void* trimmed = rtxMemHeapRealloc(&pctxt->pMemHeap, segment, pBuf->n * pBuf->elemSize);
  if (trimmed != nullptr || pBuf->n == 0) *pBuf->ppArray = trimmed;
  pBuf->nAll = pBuf->n;
  pBuf->n = pBuf->nMax = 0;
  return 0;
}

// Copies the full segments and the current one into an array and frees them. Without memory the collector stays as it
// is.
int rtxDListBufToArray(RtxContext* pctxt, RtxDListBuf* pBuf)
{
  if (*pBuf->ppArray == nullptr) return 0;
  if (pBuf->segments.count == 0) return trimSegment(pctxt, pBuf);
  const size_t count = pBuf->nAll + pBuf->n;
  void* array = newArray(pctxt, count, pBuf->elemSize);
  if (array == nullptr) return RTX_E_NO_MEMORY;
  uint8_t* to = static_cast<uint8_t*>(array);
  // Segments on the list are full, so their sizes follow from their place.
  size_t nSegment = pBuf->firstSegSize;
  for (const RtxDListNode* node = pBuf->segments.head; node != nullptr; node = node->next, nSegment *= 2) {
    memcpy(to, node->data, nSegment * pBuf->elemSize);
    to += nSegment * pBuf->elemSize;
  }
  memcpy(to, *pBuf->ppArray, pBuf->n * pBuf->elemSize);
  rtxMemHeapFreePtr(&pctxt->pMemHeap, *pBuf->ppArray);
  rtxDListFreeAll(pctxt, &pBuf->segments);
  *pBuf->ppArray = array;
  pBuf->nAll = count;
  pBuf->n = pBuf->nMax = 0;
  return 0;
}
