// Dropping and copying error records. Every job begins and ends with rtxErrReset, so the case of no error comes first
// everywhere. A record owns its parameters and its path, both on the heap of the context; module names are constants.
#include "rtxsrc/errors/rtxErrorInternal.h"
#include "velnor3gpp/rtxContainer.h"
#include "velnor3gpp/rtxDList.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStrings.h"

#include <string.h>

namespace {

// Unlinks a record. The context's own one is only taken off the list, since record and node are members of the context;
// `withRecord` tells whether the others are freed.
void unlinkRecord(RtxContext* pctxt, RtxDListNode* node, bool withRecord)
{
  if (node == &pctxt->reservedErrNode) {
    rtxDListRemove(&pctxt->errInfo, node);
    node->data = nullptr;
    return;
  }
  void* rec = node->data;
  rtxDListFreeNode(pctxt, &pctxt->errInfo, node);
  if (withRecord) rtxMemHeapFreePtr(&pctxt->pMemHeap, rec);
}

// Duplicates a string that may be null, on the destination's heap: the source may be gone before the copy. False when
// out of memory.
bool copyString(RtxContext* pctxt, char** pdst, const char* src)
{
  *pdst = nullptr;
  if (src == nullptr) return true;
  *pdst = rtxUTF8Strdup(pctxt, src);
  return *pdst != nullptr;
}

// Copies a record into one that holds no strings. On failure what was copied so far is freed again. parmcount grows
// with the copies, so that no uninitialised parameter is ever counted.
bool copyRecord(RtxContext* pdst, RtxErrInfo* dst, const RtxErrInfo* src)
{
  memcpy(dst->stack, src->stack, sizeof dst->stack);
  dst->status = src->status;
  dst->stkx = src->stkx;
  dst->parmcount = 0;
  // A copied finding becomes a failure.
  dst->fatal = 1;
  const int count = src->parmcount < RTX_ERR_MAX_PARMS ? src->parmcount : RTX_ERR_MAX_PARMS;
  bool copied = copyString(pdst, &dst->elemName, src->elemName);
  while (copied && dst->parmcount < count) {
    copied = copyString(pdst, &dst->parms[dst->parmcount], src->parms[dst->parmcount]);
    if (copied) dst->parmcount++;
  }
  if (!copied) rtxErrFreeRecordParms(pdst, dst);
  return copied;
}

} // namespace

void rtxErrFreeRecordParms(RtxContext* pctxt, RtxErrInfo* rec)
{
  if (rec->elemName != nullptr) rtxMemHeapFreePtr(&pctxt->pMemHeap, rec->elemName);
  // Nulled, because the element may serve another string by the time the record is freed or read again.
  rec->elemName = nullptr;
  for (int i = 0; i < rec->parmcount && i < RTX_ERR_MAX_PARMS; i++) {
    if (rec->parms[i] != nullptr) rtxMemHeapFreePtr(&pctxt->pMemHeap, rec->parms[i]);
    rec->parms[i] = nullptr;
  }
  rec->parmcount = 0;
  rec->status = 0;
}

void rtxErrFreeParms(RtxContext* pctxt)
{
  for (RtxDListNode* node = pctxt->errInfo.head; node != nullptr; node = node->next)
    rtxErrFreeRecordParms(pctxt, rtxErrRecordOf(node));
  rtxErrFreeRecordParms(pctxt, &pctxt->reservedErr);
}

void rtxErrResetErrInfo(RtxContext* pctxt)
{
  const RtxErrInfo& reserved = pctxt->reservedErr;
  // Parameters can be collected without a record, by a coder that added them and then went on.
  const bool clean = reserved.elemName == nullptr && reserved.parmcount == 0 && reserved.status == 0;
  if (clean && pctxt->errInfo.head == nullptr) return;
  rtxErrFreeParms(pctxt);
  while (pctxt->errInfo.head != nullptr) unlinkRecord(pctxt, pctxt->errInfo.head, true);
}

int rtxErrReset(RtxContext* pctxt)
{
  if (pctxt->elemNameStack.count != 0) rtxDListFreeNodes(pctxt, &pctxt->elemNameStack);
  rtxErrResetErrInfo(pctxt);
  if (pctxt->containerStack.dlist.count != 0) rtxCtxtPopAllContainers(pctxt);
  return 0;
}

// Takes back the newest reports, for an attempt whose failure is no news (l3Kept.cpp). Their records stay in the heap
// until the job ends.
int rtxErrResetLastErrors(RtxContext* pctxt, size_t n)
{
  for (; n != 0 && pctxt->errInfo.tail != nullptr; n--) {
    rtxErrFreeRecordParms(pctxt, rtxErrRecordOf(pctxt->errInfo.tail));
    unlinkRecord(pctxt, pctxt->errInfo.tail, false);
  }
  return 0;
}

// Replaces the records of `pdst`. If memory runs out it has none, instead of half of them.
int rtxErrCopy(RtxContext* pdst, const RtxContext* psrc)
{
  if (pdst == psrc) return 0;
  rtxErrReset(pdst);
  int status = copyRecord(pdst, &pdst->reservedErr, &psrc->reservedErr) ? rtxErrAppend(pdst, psrc) : RTX_E_NO_MEMORY;
  if (status < 0) rtxErrReset(pdst);
  return status;
}

int rtxErrAppend(RtxContext* pdst, const RtxContext* psrc)
{
  const RtxDListNode* node = psrc->errInfo.head;
  // Counted, because source and destination may be the same list.
  for (size_t left = psrc->errInfo.count; left != 0; left--, node = node->next) {
    // Appended before it is filled, so that what fails below is always the last record.
    RtxErrInfo* rec = rtxErrNewNode(pdst);
    if (rec == nullptr) return RTX_E_NO_MEMORY;
    if (copyRecord(pdst, rec, rtxErrRecordOf(node))) continue;
    unlinkRecord(pdst, pdst->errInfo.tail, true);
    return RTX_E_NO_MEMORY;
  }
  return 0;
}
