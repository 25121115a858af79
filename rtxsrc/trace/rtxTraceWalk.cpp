#include "rtxsrc/trace/rtxTraceWalk.h"

#include <string.h>

#include "velnor3gpp/rtxStream.h"

// Characters of a label that the head line shows.
static const size_t kMaxSuffix = 32;

bool rtxTraceInBuffer(const RtxContext* pctxt)
{
  const RtxStream* stream = pctxt->pStream;
  return stream == nullptr || (pctxt->flags & RTX_FLAG_BUFFER_MODE) != 0 || stream->id == RTX_STREAM_ID_MEMORY;
}

bool rtxTraceFindData(RtxContext* pctxt, RtxTraceData* data)
{
  if (rtxTraceInBuffer(pctxt)) {
    *data = {pctxt->buffer.data, pctxt->buffer.data != nullptr ? pctxt->buffer.size : 0};
    return true;
  }
  RtxMemBuf* capture = rtxStreamGetCapture(pctxt);
  if (capture == nullptr) return false;
  data->octets = rtxMemBufGetDataExt(capture, &data->size);
  if (data->octets == nullptr) data->size = 0;
  return true;
}

static const RtxBitField* fieldOf(RtxSListNode* node)
{
  return static_cast<const RtxBitField*>(node->data);
}

bool rtxTraceStart(RtxTraceWalk& walk, RtxSListNode* node)
{
  walk = {node, 0};
  if (node == nullptr) return false;
  const RtxBitField* field = fieldOf(node);
  if ((field->elemName != nullptr && field->elemName[0] != 0) || field->bitCount != 0) return false;
  walk = {node->next, field->bitOffset};
  return true;
}

RtxTraceEntry rtxTraceEntryAt(const RtxTraceWalk& walk)
{
  RtxTraceEntry entry = {*fieldOf(walk.node), 0};
  entry.field.bitOffset += walk.adjustment;
  if (walk.node->next != nullptr) entry.nextOffset = fieldOf(walk.node->next)->bitOffset + walk.adjustment;
  return entry;
}

// Appends up to `limit` characters, as far as there is room.
static void append(char* head, size_t size, const char* text, size_t limit)
{
  size_t used = strlen(head);
  size_t length = strnlen(text, limit);
  if (length > size - 1 - used) length = size - 1 - used;
  memcpy(head + used, text, length);
  head[used + length] = 0;
}

void rtxTraceHead(char* head, size_t size, const RtxBitField& field, const char* varname)
{
  head[0] = 0;
  if (varname != nullptr) append(head, size, varname, size);
  if (field.elemName != nullptr && field.elemName[0] != 0) {
    if (head[0] != 0) append(head, size, ".", 1);
    append(head, size, field.elemName, size);
  }
  if (field.nameSuffix == nullptr) return;
  append(head, size, " ", 1);
  append(head, size, field.nameSuffix, kMaxSuffix);
}
