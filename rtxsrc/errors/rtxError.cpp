// Reporting failures: the records of a context and the one function that every failure path goes through. A coder that
// fails adds the parameters of the message, calls rtxErrSetData with its module and line, and returns; each caller does
// the same on the way out, so the record collects the levels innermost first. For an enumerated value 9 in an identity
// request the list holds one record:
//
// status    RTX_E_ENUM_VALUE
// parms     "9"
// stack     the row of the field, then the rows of the types around it (8 levels at most)
// elemName  "PDU.data..." the path at the first report
//
// A second report with the same status joins the last record, one with another status gets its own. Nothing is printed
// here; texts are made by rtxErrorFormat.cpp when somebody asks.
#include "velnor3gpp/rtxError.h"

#include "rtxsrc/errors/rtxErrorInternal.h"
#include "velnor3gpp/rtxDList.h"
#include "velnor3gpp/rtxMemHeap.h"

namespace {

// Parameters are collected before their record exists; the record under way takes them over, strings and all. It gives
// up those that it had before: the words are those of the newest report.
void takeCollectedParms(RtxContext* pctxt, RtxErrInfo* rec)
{
  RtxErrInfo* reserved = &pctxt->reservedErr;
  // The context's own record has them already when it is itself the record under way.
  if (rec == reserved || reserved->parmcount == 0) return;
  for (int i = 0; i < rec->parmcount; i++) rtxMemHeapFreePtr(&pctxt->pMemHeap, rec->parms[i]);
  for (int i = 0; i < RTX_ERR_MAX_PARMS; i++) {
    rec->parms[i] = reserved->parms[i];
    reserved->parms[i] = nullptr;
  }
  rec->parmcount = reserved->parmcount;
  reserved->parmcount = 0;
}

// Adds a level, and drops what exceeds RTX_ERR_STACK_LEVELS: the levels nearest to the failure are kept. `module` is
// not copied, so it has to be a constant.
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

// A record without a status at the end of the list. It lies in the heap of the context, as do its strings.
RtxErrInfo* rtxErrNewNode(RtxContext* pctxt)
{
  RtxErrInfo* rec = static_cast<RtxErrInfo*>(rtxMemHeapAllocZ(&pctxt->pMemHeap, sizeof(RtxErrInfo)));
  if (rec == nullptr) return nullptr;
  rec->fatal = 1;
  if (rtxDListAppend(pctxt, &pctxt->errInfo, rec) != nullptr) return rec;
  // A record that is on no list would stay in the heap until the end of the job.
  rtxMemHeapFreePtr(&pctxt->pMemHeap, rec);
  return nullptr;
}

// Reports to the last record if that has the same status or none yet, otherwise to a new one. The result is the status
// of all fatal records together, which is RTX_E_MULTIPLE for several; rtxReport.h is for callers that need one below 0.
int rtxErrSetData(RtxContext* pctxt, int status, const char* module, int line)
{
  // The words of this status name the element, so the path is its parameter.
  if (status == RTX_E_TOO_BIG) rtxErrAddElemNameParm(pctxt);
  if (pctxt->errInfo.tail == nullptr) return rtxErrSetNewData(pctxt, status, module, line);
  RtxErrInfo* rec = rtxErrRecordOf(pctxt->errInfo.tail);
  if (rec->status != 0 && rec->status != status) {
    rec = rtxErrNewNode(pctxt);
    // The report is lost, but the caller still returns a failure.
    if (rec == nullptr) return RTX_E_NO_MEMORY;
  }
  rec->status = static_cast<int16_t>(status);
  takeCollectedParms(pctxt, rec);
  // A closing context has dropped its names, and drops its records at the end.
  if ((pctxt->flags & RTX_FLAG_CLOSING) == 0) {
    pushLocation(rec, module, line);
    storeElemPath(pctxt, rec, status);
  }
  return rtxErrGetStatus(pctxt);
}

// Reports a failure that must not join an older one with the same status. Without memory for a record, only "no memory"
// itself can still be told, by the record that the context brings along.
int rtxErrSetNewData(RtxContext* pctxt, int status, const char* module, int line)
{
  if (rtxErrNewNode(pctxt) != nullptr) {
    pctxt->reservedErr.status = 0; // Also where it stands in the list: memory is to be had again.
  } else if (status != RTX_E_NO_MEMORY || !linkReservedRecord(pctxt)) {
    return RTX_E_NO_MEMORY;
  }
  return rtxErrSetData(pctxt, status, module, line);
}

// The last record is a finding: decoding goes on, and rtxErrGetStatus does not count it.
void rtxErrSetNonFatal(RtxContext* pctxt)
{
  if (pctxt->errInfo.tail != nullptr) rtxErrRecordOf(pctxt->errInfo.tail)->fatal = 0;
}

// 0, the status of the only fatal record, or RTX_E_MULTIPLE. A caller that takes this as the result of a failed step
// has to know that it can be 0 (rtxReport.h).
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

// As rtxErrGetStatus, but over all records and by different statuses: three findings of one status give that status.
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
