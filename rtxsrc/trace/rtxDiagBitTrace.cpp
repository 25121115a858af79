// The bit trace: coders note for each field where it stands and how many bits it has, and the list prints afterwards. A
// coder appends an entry (rtxDiagNewBitField), reads or writes the field, and sets the count. The trace costs a heap
// block for each field, so it is off unless the context has a list. It never fails a coder: an entry for which there is
// no memory is missing.
//
// An entry and its name are blocks of the heap, in one if the engine made them:
//
// engine    | RtxBitField | path, ending zero |     elemName points behind the field
// others    | RtxBitField |   elemName -> a block of its own
#include "velnor3gpp/rtxDiagBitTrace.h"

#include <string.h>

#include "rtxsrc/trace/rtxTraceEntry.h"
#include "rtxsrc/trace/rtxTraceWalk.h"
#include "velnor3gpp/rtxContainer.h"
#include "velnor3gpp/rtxDList.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStatus.h"
#include "velnor3gpp/rtxStream.h"

static const char* const kModule = "rtxDiagBitTrace";

// A list of the context's own. It lies in the heap, so rtxMemReset takes it off.
int rtxDiagCtxtBitFieldListInit(RtxContext* pctxt)
{
  void* record = rtxMemHeapAllocZ(&pctxt->pMemHeap, sizeof(RtxBitFieldList));
  if (record == nullptr) return rtxErrSetData(pctxt, RTX_E_NO_MEMORY, kModule, __LINE__);
  pctxt->pBitFldList = static_cast<RtxBitFieldList*>(record);
  return rtxDiagBitFieldListInit(pctxt, pctxt->pBitFldList);
}

// Lets the stream keep all octets that pass, since no buffer holds the whole message.
static int captureStream(RtxContext* pctxt, RtxBitFieldList* pList)
{
  void* record = rtxMemHeapAllocZ(&pctxt->pMemHeap, sizeof(RtxMemBuf));
  if (record == nullptr) return rtxErrSetData(pctxt, RTX_E_NO_MEMORY, kModule, __LINE__);
  pList->pCaptureBuf = static_cast<RtxMemBuf*>(record);
  rtxMemBufInit(pctxt, pList->pCaptureBuf, 0);
  rtxStreamSetCapture(pctxt, pList->pCaptureBuf);
  return 0;
}

int rtxDiagBitFieldListInit(RtxContext* pctxt, RtxBitFieldList* pList)
{
  memset(pList, 0, sizeof *pList);
  rtxSListInitEx(pctxt, &pList->fieldList);
  rtxBitLineInit(pList->lineBuf);
  return rtxTraceInBuffer(pctxt) ? 0 : captureStream(pctxt, pList);
}

// Disabled lists are counted, since a coder that looks ahead may call another that does the same.
static bool isOn(const RtxBitFieldList* pList)
{
  return pList != nullptr && pList->disabledCnt == 0;
}

// The entry that an update works on; null if there is nothing to update.
static RtxBitField* lastField(const RtxBitFieldList* pList)
{
  if (!isOn(pList) || pList->fieldList.tail == nullptr) return nullptr;
  return static_cast<RtxBitField*>(pList->fieldList.tail->data);
}

// Appends an entry at the current position, in one block with a room for its name.
static RtxBitField* appendWithRoom(RtxBitFieldList* pList, size_t room, const char* nameSuffix)
{
  RtxContext* pctxt = pList->fieldList.pctxt;
  void* block = rtxMemHeapAlloc(&pctxt->pMemHeap, sizeof(RtxBitField) + room);
  if (block == nullptr) return nullptr;
  RtxBitField* field = static_cast<RtxBitField*>(block);
  *field = {nullptr, nameSuffix, rtxCtxtGetBitOffset(pctxt), 0, nullptr};
  if (rtxSListAppend(&pList->fieldList, field) != nullptr) return field;
  rtxMemHeapFreePtr(&pctxt->pMemHeap, field);
  return nullptr;
}

// The room behind an entry.
static char* roomOf(RtxBitField* field)
{
  return reinterpret_cast<char*>(field + 1);
}

// Appends an entry at the current position. Takes over the name, also when it fails.
static RtxBitField* appendField(RtxBitFieldList* pList, char* elemName, const char* nameSuffix)
{
  RtxBitField* field = appendWithRoom(pList, 0, nameSuffix);
  if (field != nullptr)
    field->elemName = elemName;
  else if (elemName != nullptr)
    rtxMemHeapFreePtr(&pList->fieldList.pctxt->pMemHeap, elemName);
  return field;
}

RtxBitField* rtxDiagNewBitField(RtxBitFieldList* pList, const char* nameSuffix)
{
  if (!isOn(pList)) return nullptr;
  RtxContext* pctxt = pList->fieldList.pctxt;
  char* path = nullptr;
  if (rtxDListToUTF8Str(pctxt, &pctxt->elemNameStack, &path, '.') < 0) return nullptr;
  return appendField(pList, path, nameSuffix);
}

char* rtxTraceAppend(RtxBitFieldList* pList, size_t pathLength, const char* label)
{
  if (!isOn(pList)) return nullptr;
  RtxBitField* field = appendWithRoom(pList, pathLength + 1, label);
  if (field != nullptr) field->elemName = roomOf(field);
  return field != nullptr ? field->elemName : nullptr;
}

// For a field whose start is known only after its entry was made; one that has bits already keeps its place.
void rtxDiagSetBitFldOffset(RtxBitFieldList* pList)
{
  RtxBitField* field = lastField(pList);
  if (field != nullptr && field->bitCount == 0) field->bitOffset = rtxCtxtGetBitOffset(pList->fieldList.pctxt);
}

// A position that was moved back behind the entry leaves it empty.
static void endField(const RtxBitFieldList* pList, RtxBitField* field)
{
  size_t position = rtxCtxtGetBitOffset(pList->fieldList.pctxt);
  field->bitCount = position > field->bitOffset ? position - field->bitOffset : 0;
}

void rtxDiagSetBitFldCount(RtxBitFieldList* pList)
{
  RtxBitField* field = lastField(pList);
  if (field != nullptr) endField(pList, field);
}

void rtxDiagSetBitFldNameSuffix(RtxBitFieldList* pList, const char* suffix)
{
  RtxBitField* field = lastField(pList);
  if (field != nullptr) field->nameSuffix = suffix;
}

// Switches count: two that disable need two that enable. The result is whether the trace is off now.
int rtxDiagSetBitFldDisabled(RtxBitFieldList* pList, int value)
{
  if (pList == nullptr) return 1;
  if (value != 0 && pList->disabledCnt < UINT16_MAX) pList->disabledCnt++;
  if (value == 0 && pList->disabledCnt > 0) pList->disabledCnt--;
  return pList->disabledCnt > 0;
}

// An entry without a name gets the path of the element under work.
static void takePath(RtxContext* pctxt, RtxBitField* field)
{
  char* path = nullptr;
  if (rtxDListToUTF8Str(pctxt, &pctxt->elemNameStack, &path, '.') >= 0) field->elemName = path;
}

// Adds ".part" to the path of the last entry. Without memory the path stays as it was.
void rtxDiagBitFldAppendNamePart(RtxBitFieldList* pList, const char* part)
{
  RtxBitField* field = lastField(pList);
  if (field == nullptr) return;
  RtxContext* pctxt = pList->fieldList.pctxt;
  if (field->elemName == nullptr || field->elemName[0] == 0) return takePath(pctxt, field);
  if (part == nullptr) return;
  size_t length = strlen(field->elemName);
  size_t partSize = strlen(part) + 1;
  // A name in one block with its entry cannot grow there.
  bool within = field->elemName == roomOf(field);
  void* name = rtxMemHeapRealloc(&pctxt->pMemHeap, within ? nullptr : field->elemName, length + 1 + partSize);
  if (name == nullptr) return;
  if (within) memcpy(name, field->elemName, length);
  field->elemName = static_cast<char*>(name);
  field->elemName[length] = '.';
  memcpy(field->elemName + length + 1, part, partSize);
}

// A heap copy; null for a null name or for want of memory.
static char* copyName(RtxContext* pctxt, const char* name)
{
  if (name == nullptr) return nullptr;
  size_t size = strlen(name) + 1;
  void* copy = rtxMemHeapAlloc(&pctxt->pMemHeap, size);
  return copy != nullptr ? static_cast<char*>(memcpy(copy, name, size)) : nullptr;
}

// Splits the last entry: what has passed since it began becomes "length", and a new entry with the same name begins at
// the cursor, for the content. The copy of the name comes first, so that nothing is split without memory for it.
void rtxDiagInsBitFieldLen(RtxBitFieldList* pList)
{
  RtxBitField* field = lastField(pList);
  if (field == nullptr) return;
  char* name = copyName(pList->fieldList.pctxt, field->elemName);
  if (name == nullptr && field->elemName != nullptr) return;
  if (appendField(pList, name, field->nameSuffix) == nullptr) return;
  field->nameSuffix = "length";
  endField(pList, field);
}
