// The readers that work by octets: integers of whole octets, octet strings, and the looks ahead. Coders by hand and
// programs that read their own headers call them. Where the cursor stands inside an octet the integers are read across
// octets; the octet strings (rtxReadBytes) look at byteIndex alone and leave the bit offset as it is.
#include <algorithm>
#include <cstring>

#include "rtxsrc/bits/rtxBitCursor.h"
#include "rtxsrc/errors/rtxReport.h"
#include "rtxsrc/streams/rtxStreamBinding.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxCheckBuffer.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStatus.h"

static const char* const kModule = "rtxByteDecode";

/** Octets of the longest integer with its leading zero. */
static constexpr size_t kMaxIntOctets = 9;

// Reads from the stream into `pdata`, or to nowhere if that is null.
static int readStream(RtxContext* pctxt, uint8_t* pdata, size_t nbytes)
{
  uint8_t scratch[RTX_STREAM_CTXTBUF_SIZE];
  while (nbytes > 0) {
    size_t step = pdata != nullptr ? nbytes : std::min(nbytes, sizeof scratch);
    int64_t got = rtxStreamRead(pctxt, pdata != nullptr ? pdata : scratch, step);
    if (got < 0) return rtxReport(pctxt, static_cast<int>(got), kModule, __LINE__);
    // The stream's read gives less only at its end, so the rest will not come.
    if (static_cast<size_t>(got) < step) return rtxErrSetNewData(pctxt, RTX_E_END_OF_FILE, kModule, __LINE__);
    nbytes -= step;
  }
  return 0;
}

// More than the buffer holds. A stream gets its buffer here if nobody gave it one before.
static int readBeyondBuffer(RtxContext* pctxt, uint8_t* pdata, size_t nbytes)
{
  if (!rtxHasStream(pctxt)) return rtxReport(pctxt, RTX_E_END_OF_BUFFER, kModule, __LINE__);
  int status = pctxt->buffer.data == nullptr ? rtxStreamInitCtxtBuf(pctxt) : 0;
  if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
  return readStream(pctxt, pdata, nbytes);
}

// What is at hand is copied; what is not comes from a stream, of which the buffer's octets are the beginning.
int rtxReadBytes(RtxContext* pctxt, uint8_t* pdata, size_t nbytes)
{
  RtxBuffer* buffer = &pctxt->buffer;
  if (nbytes == 0) return 0;
  if (nbytes > rtxBufferLeft(pctxt)) {
    int status = readBeyondBuffer(pctxt, pdata, nbytes);
    if (status < 0) return status;
  } else if (rtxHasStream(pctxt) && !rtxHasBufferedStream(pctxt)) {
    int status = readStream(pctxt, pdata, nbytes);
    if (status < 0) return status;
  } else {
    if (pdata != nullptr) std::memcpy(pdata, buffer->data + buffer->byteIndex, nbytes);
    buffer->byteIndex += nbytes;
  }
  // A read past the buffer of a stream leaves byteIndex at 0, where no octet stands before the cursor.
  const bool within = buffer->byteIndex > 0 && buffer->byteIndex <= buffer->size;
  if (within) pctxt->lastChar = buffer->data[buffer->byteIndex - 1];
  return 0;
}

int rtxReadBytesSafe(RtxContext* pctxt, uint8_t* pbuf, size_t bufsize, size_t nbytes)
{
  return nbytes > bufsize ? RTX_E_ENCODE_OVERFLOW : rtxReadBytes(pctxt, pbuf, nbytes);
}

// Gives the caller a block of the heap, to be freed by rtxMemHeapFreePtr; `*pMemAlloc` says so.
static int readToHeap(RtxContext* pctxt, uint8_t** ppdata, size_t nbytes, int* pMemAlloc)
{
  auto* data = static_cast<uint8_t*>(rtxMemHeapAlloc(&pctxt->pMemHeap, nbytes));
  if (data == nullptr) return rtxReport(pctxt, RTX_E_NO_MEMORY, kModule, __LINE__);
  int status = rtxReadBytes(pctxt, data, nbytes);
  if (status < 0) {
    rtxMemHeapFreePtr(&pctxt->pMemHeap, data);
    return rtxReport(pctxt, status, kModule, __LINE__);
  }
  *ppdata = data;
  *pMemAlloc = 1;
  return 0;
}

// Gives a pointer into the context's buffer if the octets fit there: it is good until the next refill moves them. Only
// what is longer than a stream's buffer gets a block of its own.
int rtxReadBytesDynamic(RtxContext* pctxt, uint8_t** ppdata, size_t nbytes, int* pMemAlloc)
{
  RtxBuffer* buffer = &pctxt->buffer;
  *pMemAlloc = 0;
  if (nbytes > rtxBufferLeft(pctxt)) {
    if (!rtxHasStream(pctxt)) return rtxReport(pctxt, RTX_E_END_OF_BUFFER, kModule, __LINE__);
    if (nbytes > RTX_STREAM_CTXTBUF_SIZE) return readToHeap(pctxt, ppdata, nbytes, pMemAlloc);
    int status = rtxCheckInputBuffer(pctxt, nbytes);
    if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
  }
  *ppdata = buffer->data + buffer->byteIndex;
  buffer->byteIndex += nbytes;
  return 0;
}

// The octets of an integer, from the cursor's bit on.
static int readOctets(RtxContext* pctxt, uint8_t* pbuf, size_t nbytes)
{
  if (rtxCursorPhase(&pctxt->buffer) == 0) return rtxReadBytes(pctxt, pbuf, nbytes);
  return rtxDecBitsToByteArray(pctxt, pbuf, nbytes, nbytes * 8);
}

// Reads a big-endian integer of up to `width` octets and a leading zero; `wanted` is false for a skip, which does not
// look at the octets.
static int readUnsigned(RtxContext* pctxt, uint64_t* pvalue, size_t nbytes, size_t width, bool wanted)
{
  uint8_t octets[kMaxIntOctets] = {};
  if (nbytes > width + 1) return rtxReport(pctxt, RTX_E_TOO_BIG, kModule, __LINE__);
  int status = readOctets(pctxt, octets, nbytes);
  if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
  // One octet more than the width is accepted as a leading 0: 00 FF FF is 65535 in 16 bits, 01 00 00 is too big.
  if (wanted && nbytes > width && octets[0] != 0) return rtxReport(pctxt, RTX_E_TOO_BIG, kModule, __LINE__);
  *pvalue = 0;
  for (size_t i = 0; i < nbytes; ++i) *pvalue = *pvalue << 8 | octets[i];
  return 0;
}

// The same for two's complement, whose sign is that of the first octet.
static int readSigned(RtxContext* pctxt, int64_t* pvalue, size_t nbytes, size_t width)
{
  uint8_t octets[kMaxIntOctets] = {};
  if (nbytes > width) return rtxReport(pctxt, RTX_E_TOO_BIG, kModule, __LINE__);
  int status = readOctets(pctxt, octets, nbytes);
  if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
  // Begins with all ones for a negative number, which the octets then push up: FF FE gives -2 in any width.
  uint64_t value = nbytes > 0 && octets[0] >= 0x80 ? UINT64_MAX : 0;
  for (size_t i = 0; i < nbytes; ++i) value = value << 8 | octets[i];
  *pvalue = static_cast<int64_t>(value);
  return 0;
}

int rtxDecUInt8(RtxContext* pctxt, uint8_t* pvalue)
{
  if (rtxCursorPhase(&pctxt->buffer) == 0) return rtxReadBytes(pctxt, pvalue, 1);
  return rtxDecBitsToByteArray(pctxt, pvalue, 1, 8);
}

int rtxDecUInt16(RtxContext* pctxt, uint16_t* pvalue, size_t nbytes)
{
  uint64_t value = 0;
  int status = readUnsigned(pctxt, &value, nbytes, sizeof *pvalue, pvalue != nullptr);
  if (status == 0 && pvalue != nullptr) *pvalue = static_cast<uint16_t>(value);
  return status;
}

int rtxDecUInt32(RtxContext* pctxt, uint32_t* pvalue, size_t nbytes)
{
  uint64_t value = 0;
  int status = readUnsigned(pctxt, &value, nbytes, sizeof *pvalue, pvalue != nullptr);
  if (status == 0 && pvalue != nullptr) *pvalue = static_cast<uint32_t>(value);
  return status;
}

int rtxDecUInt64(RtxContext* pctxt, uint64_t* pvalue, size_t nbytes)
{
  uint64_t value = 0;
  int status = readUnsigned(pctxt, &value, nbytes, sizeof *pvalue, pvalue != nullptr);
  if (status == 0 && pvalue != nullptr) *pvalue = value;
  return status;
}

int rtxDecInt8(RtxContext* pctxt, int8_t* pvalue)
{
  return rtxDecUInt8(pctxt, reinterpret_cast<uint8_t*>(pvalue));
}

int rtxDecInt16(RtxContext* pctxt, int16_t* pvalue, size_t nbytes)
{
  int64_t value = 0;
  int status = readSigned(pctxt, &value, nbytes, sizeof *pvalue);
  if (status == 0 && pvalue != nullptr) *pvalue = static_cast<int16_t>(value);
  return status;
}

int rtxDecInt32(RtxContext* pctxt, int32_t* pvalue, size_t nbytes)
{
  int64_t value = 0;
  int status = readSigned(pctxt, &value, nbytes, sizeof *pvalue);
  if (status == 0 && pvalue != nullptr) *pvalue = static_cast<int32_t>(value);
  return status;
}

int rtxDecInt64(RtxContext* pctxt, int64_t* pvalue, size_t nbytes)
{
  int64_t value = 0;
  int status = readSigned(pctxt, &value, nbytes, sizeof *pvalue);
  if (status == 0 && pvalue != nullptr) *pvalue = value;
  return status;
}

// Reads and goes back. The move back cannot fail on a stream either: the octet of the bit is still in the buffer.
int rtxPeekBit(RtxContext* pctxt, uint8_t* pvalue)
{
  int status = rtxDecBit(pctxt, pvalue);
  if (status == 0) status = rtxMoveBitCursor(pctxt, -1);
  return status < 0 ? rtxReport(pctxt, status, kModule, __LINE__) : 0;
}

int rtxPeekBits(RtxContext* pctxt, uint32_t* pvalue, size_t nbits)
{
  RtxBuffer* buffer = &pctxt->buffer;
  // A refill moves the octets within the buffer, so the mark counts from the start of the input.
  const RtxStream* pStream = rtxHasStream(pctxt) ? pctxt->pStream : nullptr;
  size_t mark = buffer->byteIndex + (pStream != nullptr ? pStream->bytesProcessed : 0);
  int16_t bitOffset = buffer->bitOffset;
  int status = rtxDecBits(pctxt, pvalue, nbits);
  if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
  buffer->byteIndex = mark - (pStream != nullptr ? pStream->bytesProcessed : 0);
  buffer->bitOffset = bitOffset;
  return 0;
}

// Refills for a look ahead, to which the end of the input is no failure.
static int refillForPeek(RtxContext* pctxt, size_t nbytes)
{
  if (nbytes <= rtxBufferLeft(pctxt) || !rtxHasBufferedStream(pctxt)) return 0;
  const RtxStream* pStream = pctxt->pStream;
  if (pctxt->buffer.size + pStream->bytesProcessed == pStream->endOffset) return 0;
  int status = rtxStreamLoadInputBuffer(pctxt, nbytes);
  return status < 0 ? rtxReport(pctxt, status, kModule, __LINE__) : 0;
}

int rtxPeekByte(RtxContext* pctxt, uint8_t* pbyte)
{
  int status = refillForPeek(pctxt, 1);
  if (status < 0) return status;
  if (rtxBufferLeft(pctxt) == 0) return 0;
  if (pbyte != nullptr) *pbyte = pctxt->buffer.data[pctxt->buffer.byteIndex];
  return 1;
}

int rtxPeekBytes(RtxContext* pctxt, uint8_t* pbuf, size_t bufsize, size_t nbytes, size_t* pactual)
{
  size_t count = std::min(nbytes, bufsize);
  if (pactual != nullptr) *pactual = 0;
  int status = refillForPeek(pctxt, count);
  if (status < 0) return status;
  count = std::min(count, rtxBufferLeft(pctxt));
  if (count > 0 && pbuf != nullptr) std::memcpy(pbuf, pctxt->buffer.data + pctxt->buffer.byteIndex, count);
  if (pactual != nullptr) *pactual = count;
  return 0;
}
