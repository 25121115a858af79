// Contexts of the ASN.1 layer: the wrappers of the common ones and the information record. Programs make their contexts
// here; the record in the extension slot holds the event handlers and is released with the context. It comes from the
// system side of the heap, so that it outlives rtxMemReset.
#include "velnor3gpp/rtContext.h"

#include <stdlib.h>

#include "rtxsrc/errors/rtxErrorInternal.h"
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxDList.h"

namespace {

// The record lies in the extension slot while its operations run; rtxFreeContext frees it afterwards.
int dropEventHandlers(RtxContext* pctxt)
{
  RtASN1Info* info = static_cast<RtASN1Info*>(pctxt->extInfo[RT_CTXT_ASN1_SLOT]);
  if (info == nullptr) return RTX_E_NO_CONTEXT;
  rtxDListFreeNodes(pctxt, &info->eventHandlers);
  return 0;
}

} // namespace

int rtCtxtInitASN1Info(RtxContext* pctxt)
{
  RtASN1Info* info = static_cast<RtASN1Info*>(rtxMemHeapSysAllocZ(&pctxt->pMemHeap, sizeof(RtASN1Info)));
  if (info == nullptr) return RTX_E_NO_MEMORY;
  info->release = dropEventHandlers;
  // rtxMemReset does not call it: a caller who has put handlers on the list does so before the reset, since the nodes
  // lie in the heap.
  info->reset = dropEventHandlers;
  pctxt->extInfo[RT_CTXT_ASN1_SLOT] = info;
  return 0;
}

int rtInitContext(RtxContext* pctxt)
{
  int status = rtxInitContext(pctxt);
  if (status < 0) return status;
  // The words for the statuses of this layer, -100 and below.
  rtxErrAddErrorTableEntry(kRtMessages, kRtMessageFirst, kRtMessageBound);
  return rtCtxtInitASN1Info(pctxt);
}

// The record comes from malloc; the flag tells rtFreeContext so.
RtxContext* rtNewContext()
{
  RtxContext* pctxt = static_cast<RtxContext*>(malloc(sizeof(RtxContext)));
  if (pctxt == nullptr) return nullptr;
  if (rtInitContext(pctxt) < 0) {
    rtxFreeContext(pctxt);
    free(pctxt);
    return nullptr;
  }
  pctxt->flags |= RTX_FLAG_CTXT_MALLOCED;
  return pctxt;
}

void rtFreeContext(RtxContext* pctxt)
{
  if (rtxCheckContext(pctxt) != 0) return;
  // Read before the context is freed.
  const bool malloced = (pctxt->flags & RTX_FLAG_CTXT_MALLOCED) != 0;
  rtxFreeContext(pctxt);
  if (malloced) free(pctxt);
}

// A context that allocates from its parent's heap, for a coding inside a coding. It counts as an owner of that heap, so
// the order in which the two are freed does not matter. Its output buffer grows.
int rtInitSubContext(RtxContext* psub, const RtxContext* pparent)
{
  rtxPreInitContext(psub);
  rtxCtxtSetMemHeap(psub, pparent);
  psub->buffer.aligned = pparent->buffer.aligned;
  psub->buffer.dynamic = 1;
  return rtCtxtInitASN1Info(psub);
}
