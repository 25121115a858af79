// Parameters of error messages. They gather in the context's own record until the next report takes them over. Each is
// a text on the heap, whatever its type: the template knows only "%s". All return 1 if the parameter was added and 0 if
// the record has five already or there is no memory, which callers ignore: a message with a "?" is better than none.
#include <inttypes.h>
#include <stdio.h>
#include <string.h>

#include "velnor3gpp/rtxDList.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStrings.h"

namespace {

// A record has five places; parameters beyond them are dropped.
bool parmFits(const RtxContext* pctxt)
{
  return pctxt->reservedErr.parmcount < RTX_ERR_MAX_PARMS;
}

// Stores a heap string, null when memory was out. The caller has seen that there is a place.
int storeParm(RtxContext* pctxt, char* owned)
{
  if (owned == nullptr) return 0;
  pctxt->reservedErr.parms[pctxt->reservedErr.parmcount++] = owned;
  return 1;
}

} // namespace

int rtxErrAddStrParm(RtxContext* pctxt, const char* s)
{
  if (!parmFits(pctxt)) return 0;
  return storeParm(pctxt, rtxUTF8Strdup(pctxt, s != nullptr ? s : "(null)"));
}

// The first `n` octets at most: `s` may be a part of a buffer without an ending zero.
int rtxErrAddStrnParm(RtxContext* pctxt, const char* s, size_t n)
{
  if (s == nullptr) return rtxErrAddStrParm(pctxt, nullptr);
  if (!parmFits(pctxt)) return 0;
  const void* end = n != 0 ? memchr(s, '\0', n) : nullptr;
  const size_t length = end != nullptr ? static_cast<size_t>(static_cast<const char*>(end) - s) : n;
  // With the ending zero the size would wrap to 0.
  if (length == SIZE_MAX) return 0;
  char* copy = static_cast<char*>(rtxMemHeapAlloc(&pctxt->pMemHeap, length + 1));
  if (copy == nullptr) return 0;
  memcpy(copy, s, length);
  copy[length] = '\0';
  return storeParm(pctxt, copy);
}

// Numbers become decimal text here, so that the report needs no types.
int rtxErrAddIntParm(RtxContext* pctxt, int32_t value)
{
  return rtxErrAddInt64Parm(pctxt, value);
}

int rtxErrAddUIntParm(RtxContext* pctxt, uint32_t value)
{
  return rtxErrAddUInt64Parm(pctxt, value);
}

int rtxErrAddInt64Parm(RtxContext* pctxt, int64_t value)
{
  char text[32];
  snprintf(text, sizeof text, "%" PRId64, value);
  return rtxErrAddStrParm(pctxt, text);
}

int rtxErrAddUInt64Parm(RtxContext* pctxt, uint64_t value)
{
  char text[32];
  snprintf(text, sizeof text, "%" PRIu64, value);
  return rtxErrAddStrParm(pctxt, text);
}

int rtxErrAddSizeParm(RtxContext* pctxt, size_t value)
{
  return rtxErrAddUInt64Parm(pctxt, value);
}

int rtxErrAddDoubleParm(RtxContext* pctxt, double value)
{
  // %E of any double takes far less.
  char text[200];
  snprintf(text, sizeof text, "%E", value);
  return rtxErrAddStrParm(pctxt, text);
}

int rtxErrAddUniStrParm(RtxContext* pctxt, const uint16_t* s)
{
  if (s == nullptr) return rtxErrAddStrParm(pctxt, "");
  // Asked before the text is made, which would otherwise stay in the heap.
  if (!parmFits(pctxt)) return 0;
  size_t units = 0;
  while (s[units] != 0) units++;
  const size_t size = 3 * units + 1; // A character of one unit takes three octets at most, one of two takes four.
  char* text = static_cast<char*>(rtxMemHeapAlloc(&pctxt->pMemHeap, size));
  return storeParm(pctxt, text != nullptr ? rtxUCSToCStr(s, text, size) : nullptr);
}

// The path of the element under work, such as "PDU.data.spare"; "?" outside any element.
int rtxErrAddElemNameParm(RtxContext* pctxt)
{
  if (pctxt->elemNameStack.count == 0) return rtxErrAddStrParm(pctxt, "?");
  if (!parmFits(pctxt)) return 0;
  char* path = nullptr;
  if (rtxDListToUTF8Str(pctxt, &pctxt->elemNameStack, &path, '.') < 0) return 0;
  return path != nullptr ? storeParm(pctxt, path) : rtxErrAddStrParm(pctxt, "?");
}

// A count of the whole size, measured from the cursor, would run past the buffer: the buffer's end bounds it.
int rtxErrAddCtxtBufParm(RtxContext* pctxt)
{
  const RtxBuffer* buffer = &pctxt->buffer;
  if (buffer->data == nullptr) return rtxErrAddStrParm(pctxt, nullptr);
  if (buffer->byteIndex >= buffer->size) return rtxErrAddStrParm(pctxt, "");
  const char* cursor = reinterpret_cast<const char*>(buffer->data) + buffer->byteIndex;
  return rtxErrAddStrnParm(pctxt, cursor, buffer->size - buffer->byteIndex);
}

// Reports nothing itself: the caller passes the result to rtxErrSetData.
int rtxErrInvUIntOpt(RtxContext* pctxt, uint32_t value)
{
  rtxErrAddUIntParm(pctxt, value);
  return RTX_E_INVALID_CHOICE;
}
