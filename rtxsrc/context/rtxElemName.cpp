// The stack of element names, for the trace and for error messages. Coders push and pop at every element of every
// message, so a name is kept by pointer and has to stay until it is popped; the Copy pair serves names that do not
// outlive the call. The outermost name is at the head of elemNameStack, so that a path is the list from head to tail:
// PDU, data, spare is "PDU.data.spare". Where a coder fails it does not pop: what is left on the stack is the path in
// the error record, and rtxErrReset empties it.
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxDList.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxStrings.h"

namespace {

const char kModule[] = "rtxElemName";

// The list stores pointers that are not constant, but nothing writes through them.
int pushName(RtxContext* pctxt, const char* name)
{
  return rtxDListAppend(pctxt, &pctxt->elemNameStack, const_cast<char*>(name)) != nullptr ? 0 : RTX_E_NO_MEMORY;
}

// Takes the last name off; null if there is none.
char* popName(RtxContext* pctxt)
{
  RtxDListNode* last = pctxt->elemNameStack.tail;
  if (last == nullptr) return nullptr;
  char* name = static_cast<char*>(last->data);
  rtxDListFreeNode(pctxt, &pctxt->elemNameStack, last);
  return name;
}

} // namespace

// Only the outermost type shows its name; types inside are named by their element.
int rtxCtxtPushTypeName(RtxContext* pctxt, const char* name)
{
  return pctxt->elemNameStack.count == 0 ? pushName(pctxt, name) : 0;
}

// Takes the name off only when it stands alone, as its push has put it there only then.
const char* rtxCtxtPopTypeName(RtxContext* pctxt)
{
  return pctxt->elemNameStack.count == 1 ? popName(pctxt) : nullptr;
}

int rtxCtxtPushElemName(RtxContext* pctxt, const char* name)
{
  // Counted even if the name is refused, because the caller's pop counts down in any case.
  pctxt->level++;
  return pushName(pctxt, name);
}

const char* rtxCtxtPopElemName(RtxContext* pctxt)
{
  pctxt->level--;
  return popName(pctxt);
}

int rtxCtxtPushElemNameCopy(RtxContext* pctxt, const char* name)
{
  char* copy = rtxUTF8Strdup(pctxt, name);
  if (copy == nullptr) return RTX_E_NO_MEMORY;
  int status = pushName(pctxt, copy);
  if (status < 0) rtxMemHeapFreePtr(&pctxt->pMemHeap, copy);
  return status;
}

void rtxCtxtPopElemNameCopy(RtxContext* pctxt)
{
  char* copy = popName(pctxt);
  if (copy != nullptr) rtxMemHeapFreePtr(&pctxt->pMemHeap, copy);
}

// Pushes a name such as "entry[3]", which lies in the heap until rtxCtxtPopArrayElemName.
int rtxCtxtPushArrayElemName(RtxContext* pctxt, const char* name, size_t index)
{
  char digits[32];
  int status = rtxSizeToCharStr(index, digits, sizeof digits, 0);
  if (status < 0) return rtxErrSetData(pctxt, status, kModule, __LINE__);
  char* full = rtxStrDynJoin(pctxt, name, "[", digits, "]", nullptr);
  return full != nullptr ? rtxCtxtPushElemName(pctxt, full) : RTX_E_NO_MEMORY;
}

int rtxCtxtPopArrayElemName(RtxContext* pctxt)
{
  const char* full = rtxCtxtPopElemName(pctxt);
  if (full == nullptr) return 0;
  rtxMemHeapFreePtr(&pctxt->pMemHeap, const_cast<char*>(full));
  return 1;
}
