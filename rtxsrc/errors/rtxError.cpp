// Reporting failures: the records of a context and the one function that every failure path goes through.
#include "velnor3gpp/rtxError.h"

#include "rtxsrc/errors/rtxErrorInternal.h"
#include "velnor3gpp/rtxDList.h"
#include "velnor3gpp/rtxMemHeap.h"

namespace {

// Parameters are collected before their record exists; the record under way takes them over.
void takeCollectedParms(RtxContext* pctxt, RtxErrInfo* rec)
{
  RtxErrInfo* reserved = &pctxt->reservedErr;
  if (rec == reserved || reserved->parmcount == 0) return;
  for (int i = 0; i < rec->parmcount; i++) rtxMemHeapFreePtr(&pctxt->pMemHeap, rec->parms[i]);
  for (int i = 0; i < RTX_ERR_MAX_PARMS; i++) {
    rec->parms[i] = reserved->parms[i];
    reserved->parms[i] = nullptr;
  }
  rec->parmcount = reserved->parmcount;
  reserved->parmcount = 0;
}

void pushLocation(RtxErrInfo* rec, const char* module, int line)
{
  if (rec->stkx >= RTX_ERR_STACK_LEVELS || module == nullptr || *module == '\0') return;
  rec->stack[rec->stkx].module = module;
  rec->stack[rec->stkx].line = static_cast<uint32_t>(line);
  rec->stkx++;
}

// The level that reports first has the longest path; the names are popped on the way out, so nobody replaces it.
// When memory is out there is none for the path either.
void storeElemPath(RtxContext* pctxt, RtxErrInfo* rec, int status)
{
  if (status == RTX_E_NO_MEMORY || (rec->elemName != nullptr && *rec->elemName != '\0')) return;
  char* path = nullptr;
  if (rtxDListToUTF8Str(pctxt, &pctxt->elemNameStack, &path, '.') == 0 && path != nullptr) rec->elemName = path;
}

// Links the context's own record into the list, so that running out of memory can still be reported.
// `data` of the node tells whether it is linked.
bool linkReservedRecord(RtxContext* pctxt)
{
  RtxErrInfo* reserved = &pctxt->reservedErr;
  if (reserved->status != 0 || pctxt->reservedErrNode.data != nullptr) return false;
  reserved->stkx = 0;
  reserved->fatal = 1;
  pctxt->reservedErrNode.data = reserved;
  rtxDListAppendNode(&pctxt->errInfo, &pctxt->reservedErrNode);
  return true;
}

} // namespace

RtxErrInfo* rtxErrNewNode(RtxContext* pctxt)
{
  RtxErrInfo* rec = static_cast<RtxErrInfo*>(rtxMemHeapAllocZ(&pctxt->pMemHeap, sizeof(RtxErrInfo)));
  if (rec == nullptr) return nullptr;
  rec->fatal = 1;
  if (rtxDListAppend(pctxt, &pctxt->errInfo, rec) != nullptr) return rec;
  rtxMemHeapFreePtr(&pctxt->pMemHeap, rec);
  return nullptr;
}

int rtxErrSetData(RtxContext* pctxt, int status, const char* module, int line)
{
  // The words of this status name the element, so the path is its parameter.
  if (status == RTX_E_TOO_BIG) rtxErrAddElemNameParm(pctxt);
  if (pctxt->errInfo.tail == nullptr) return rtxErrSetNewData(pctxt, status, module, line);
  RtxErrInfo* rec = rtxErrRecordOf(pctxt->errInfo.tail);
  if (rec->status != 0 && rec->status != status) {
    rec = rtxErrNewNode(pctxt);
    if (rec == nullptr) return RTX_E_NO_MEMORY;
  }
  rec->status = static_cast<int16_t>(status);
  takeCollectedParms(pctxt, rec);
  if ((pctxt->flags & RTX_FLAG_CLOSING) == 0) {
    pushLocation(rec, module, line);
    storeElemPath(pctxt, rec, status);
  }
  return rtxErrGetStatus(pctxt);
}

int rtxErrSetNewData(RtxContext* pctxt, int status, const char* module, int line)
{
  if (rtxErrNewNode(pctxt) != nullptr) {
    pctxt->reservedErr.status = 0; // Also where it stands in the list: memory is to be had again.
  } else if (status != RTX_E_NO_MEMORY || !linkReservedRecord(pctxt)) {
    return RTX_E_NO_MEMORY;
  }
  return rtxErrSetData(pctxt, status, module, line);
}

void rtxErrSetNonFatal(RtxContext* pctxt)
{
  if (pctxt->errInfo.tail != nullptr) rtxErrRecordOf(pctxt->errInfo.tail)->fatal = 0;
}

int rtxErrGetStatus(const RtxContext* pctxt)
{
  int status = 0;
  for (const RtxDListNode* node = pctxt->errInfo.head; node != nullptr; node = node->next) {
    const RtxErrInfo* rec = rtxErrRecordOf(node);
    if (!rec->fatal) continue;
    if (status != 0) return RTX_E_MULTIPLE;
    status = rec->status;
  }
  return status;
}

int rtxErrCheckNonFatal(const RtxContext* pctxt)
{
  int status = 0;
  for (const RtxDListNode* node = pctxt->errInfo.head; node != nullptr; node = node->next) {
    const RtxErrInfo* rec = rtxErrRecordOf(node);
    if (status != 0 && rec->status != status) return RTX_E_MULTIPLE;
    status = rec->status;
  }
  return status;
}

int rtxErrGetFirstError(const RtxContext* pctxt)
{
  return pctxt->errInfo.head != nullptr ? rtxErrRecordOf(pctxt->errInfo.head)->status : 0;
}

int rtxErrGetLastError(const RtxContext* pctxt)
{
  return pctxt->errInfo.tail != nullptr ? rtxErrRecordOf(pctxt->errInfo.tail)->status : 0;
}

size_t rtxErrGetErrorCnt(const RtxContext* pctxt)
{
  return pctxt->errInfo.count;
}
