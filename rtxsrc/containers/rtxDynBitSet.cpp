// The growing bit set, on the heap of a context. Bit 0 is the most significant bit of the first octet, as the standards
// number bits of a string on the wire: bits 0 and 9 are the octets 80 40. Octets that were never set do not exist;
// their bits read as 0.
#include "velnor3gpp/rtxDynBitSet.h"

#include <string.h>

#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxPrintStream.h"
#include "velnor3gpp/rtxStatus.h"

static constexpr uint32_t kMaxBit = 65535;

static uint8_t maskOf(uint32_t bitIndex)
{
  return static_cast<uint8_t>(0x80U >> (bitIndex % 8));
}

// Makes room for `bitIndex`: the next multiple of the step, with the new octets zero.
static int growTo(RtxContext* pctxt, RtxDynBitSet* set, uint32_t bitIndex)
{
  const uint32_t need = bitIndex / 8 + 1;
  if (need <= set->nbytes) return 0;
  // At most 65535, by either factor: `need` is 8192 at most and the step 65535.
  const uint32_t nbytes = (need + set->segsize - 1) / set->segsize * set->segsize;
  void* memory = set->data == nullptr ? rtxMemHeapAlloc(&pctxt->pMemHeap, nbytes)
                                      : rtxMemHeapRealloc(&pctxt->pMemHeap, set->data, nbytes);
  if (memory == nullptr) return RTX_E_NO_MEMORY;
  set->data = static_cast<uint8_t*>(memory);
  memset(set->data + set->nbytes, 0, nbytes - set->nbytes);
  set->nbytes = static_cast<uint16_t>(nbytes);
  return 0;
}

int rtxDynBitSetInit(RtxContext*, RtxDynBitSet* pBitSet, uint16_t segsize)
{
  *pBitSet = {};
  pBitSet->segsize = segsize != 0 ? segsize : RTX_DYN_BIT_SET_SEGMENT_SIZE;
  return 0;
}

void rtxDynBitSetFree(RtxContext* pctxt, RtxDynBitSet* pBitSet)
{
  if (pBitSet->data != nullptr) rtxMemHeapFreePtr(&pctxt->pMemHeap, pBitSet->data);
  rtxDynBitSetInit(pctxt, pBitSet, pBitSet->segsize);
}

int rtxDynBitSetCopy(RtxContext* pctxt, const RtxDynBitSet* pSrc, RtxDynBitSet* pDest)
{
  *pDest = *pSrc;
  if (pSrc->data == nullptr) return 0;
  pDest->data = static_cast<uint8_t*>(rtxMemHeapAlloc(&pctxt->pMemHeap, pSrc->nbytes));
  if (pDest->data == nullptr) {
    rtxDynBitSetInit(pctxt, pDest, pSrc->segsize);
    return RTX_E_NO_MEMORY;
  }
  memcpy(pDest->data, pSrc->data, pSrc->nbytes);
  return 0;
}

int rtxDynBitSetSetBit(RtxContext* pctxt, RtxDynBitSet* pBitSet, uint32_t bitIndex)
{
  if (bitIndex > kMaxBit) return RTX_E_INDEX_RANGE;
  const int status = growTo(pctxt, pBitSet, bitIndex);
  if (status < 0) return status;
  pBitSet->data[bitIndex / 8] |= maskOf(bitIndex);
  // One behind the highest bit ever set. 65536 does not fit, so bit 65535 is asked for by itself where it matters.
  if (bitIndex >= pBitSet->maxbit) pBitSet->maxbit = static_cast<uint16_t>(bitIndex < kMaxBit ? bitIndex + 1 : kMaxBit);
  return 0;
}

// A bit that has no octet is 0 already; clearing allocates nothing.
int rtxDynBitSetClearBit(RtxDynBitSet* pBitSet, uint32_t bitIndex)
{
  if (bitIndex > kMaxBit) return RTX_E_INDEX_RANGE;
  if (bitIndex / 8 < pBitSet->nbytes) pBitSet->data[bitIndex / 8] &= static_cast<uint8_t>(~maskOf(bitIndex));
  return 0;
}

int rtxDynBitSetTestBit(const RtxDynBitSet* pBitSet, uint32_t bitIndex)
{
  return bitIndex / 8 < pBitSet->nbytes && (pBitSet->data[bitIndex / 8] & maskOf(bitIndex)) != 0;
}

int rtxDynBitSetSetBitToValue(RtxContext* pctxt, RtxDynBitSet* pBitSet, uint32_t bitIndex, int value)
{
  return value != 0 ? rtxDynBitSetSetBit(pctxt, pBitSet, bitIndex) : rtxDynBitSetClearBit(pBitSet, bitIndex);
}

// Moves the bits from `bitIndex` on one place up, from the end, so that none is overwritten before it was read. A bit
// 65535 would be lost and is refused.
int rtxDynBitSetInsertBit(RtxContext* pctxt, RtxDynBitSet* pBitSet, uint32_t bitIndex, int value)
{
  if (bitIndex > kMaxBit || rtxDynBitSetTestBit(pBitSet, kMaxBit)) return RTX_E_INDEX_RANGE;
  for (uint32_t at = pBitSet->maxbit; at > bitIndex; at--) {
    const int status = rtxDynBitSetSetBitToValue(pctxt, pBitSet, at, rtxDynBitSetTestBit(pBitSet, at - 1));
    if (status < 0) return status;
  }
  return rtxDynBitSetSetBitToValue(pctxt, pBitSet, bitIndex, value);
}

void rtxDynBitSetPrint(const RtxDynBitSet* pBitSet)
{
  const uint32_t end = rtxDynBitSetTestBit(pBitSet, kMaxBit) ? kMaxBit + 1 : pBitSet->maxbit;
  for (uint32_t i = 0; i < end; i++) rtxPrintToStream(nullptr, "%d", rtxDynBitSetTestBit(pBitSet, i));
  rtxPrintToStream(nullptr, "\n");
}
