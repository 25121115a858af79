// What the text and the HTML form of the bit trace have in common. A trace is a list of fields, each with its path, bit
// offset and bit count, that the coders have made; the octets come from the buffer or, under a stream, from what the
// stream has captured. Nothing here changes the trace.
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
  // Nothing was captured yet.
  if (data->octets == nullptr) data->size = 0;
  return true;
}

static const RtxBitField* fieldOf(RtxSListNode* node)
{
  return static_cast<const RtxBitField*>(node->data);
}

// Such an entry holds the bits that are added to the offsets of all entries behind it.
bool rtxTraceStart(RtxTraceWalk& walk, RtxSListNode* node)
{
  walk = {node, 0};
  if (node == nullptr) return false;
  const RtxBitField* field = fieldOf(node);
  if ((field->elemName != nullptr && field->elemName[0] != 0) || field->bitCount != 0) return false;
  walk = {node->next, field->bitOffset};
  return true;
}

// The offset of the next entry tells which bits between the two no field has claimed: they print as "x".
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
  // Below `size`, since every append ends the text within it.
  size_t used = strlen(head);
  size_t length = strnlen(text, limit);
  if (length > size - 1 - used) length = size - 1 - used;
  memcpy(head + used, text, length);
  head[used + length] = 0;
}

// "PDU.data.spare" or "PDU.data.id length"; a path that is too long is cut, not dropped.
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
