// The readers that work by bits: fields of 1 to 64 bits, bit strings, and moves of the cursor. The engine's walk uses
// them when a trace or a stream has to see each field; coders by hand use them directly. Octet strings and whole
// integers are in rtxByteDecode.cpp.
//
// All read at the cursor of the context's buffer (byteIndex, bitOffset) and leave it behind what was read. Each has a
// short way, taken when the whole field is in the buffer, and a slow way that refills from a stream or reports. A field
// is never read in part: on failure the cursor stands where it stood, except where a function here says otherwise.
#include "velnor3gpp/rtxBitDecode.h"

#include <algorithm>
#include <cstring>

#include "rtxsrc/bits/rtxBigEndian.h"
#include "rtxsrc/bits/rtxBitCursor.h"
#include "rtxsrc/errors/rtxReport.h"
#include "rtxsrc/streams/rtxStreamBinding.h"
#include "velnor3gpp/rtxCheckBuffer.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxStatus.h"

static const char* const kModule = "rtxBitDecode";

// Takes 1 to 64 bits that are known to be there; 64 bits that begin inside an octet touch nine. Eight octets are loaded
// as one word, the bits before the field shifted out at the top, and the rest shifted down. 5 bits from phase 6 of A7
// C4 (10100111 11000100): the word begins 11110001 00..., and its top 5 bits are 11110. The octets that a window of
// fewer than eight cannot load are 0 and shifted out.
static inline uint64_t extractBits(const RtxBuffer* buffer, unsigned phase, size_t nbits)
{
  const uint8_t* p = buffer->data + buffer->byteIndex;
  size_t end = phase + nbits;
  if (end <= 8) return static_cast<uint64_t>(p[0] >> (8 - end)) & kLowBits[nbits];
  uint64_t value = rtxLoadWindow(buffer->data, buffer->size, buffer->byteIndex) << phase >> (64 - nbits);
  return end <= 64 ? value : value | static_cast<uint64_t>(p[8] >> (72 - end));
}

// Makes sure that `nbytes` octets are in the buffer from the cursor on. Without a stream this only reports.
static int refill(RtxContext* pctxt, size_t nbytes, int line)
{
  int status = rtxCheckInputBuffer(pctxt, nbytes);
  return status < 0 ? rtxReport(pctxt, status, kModule, line) : 0;
}

// Takes a field of 1 to `width` bits that is all at hand; false for any other, with nothing done. The readers stay
// small leaf functions with this, since nearly every field passes here. What is left is compared in octets, so a cursor
// that stands behind the end (rtxBufferLeft gives 0) takes nothing.
static inline bool takeField(RtxContext* pctxt, uint64_t* pvalue, size_t nbits, size_t width)
{
  RtxBuffer* buffer = &pctxt->buffer;
  unsigned phase = rtxCursorPhase(buffer);
  size_t left = rtxBufferLeft(pctxt);
  // nbits - 1 wraps for 0, so that one comparison sorts out 0 and all above the width.
  if (nbits - 1 >= width || (phase + nbits + 7) / 8 > left) return false;
  *pvalue = extractBits(buffer, phase, nbits);
  rtxCursorAdvance(buffer, phase + nbits);
  return true;
}

// Stores in the caller's variable, whose type the width tells. A null pointer means that the field is only passed over.
static void storeValue(void* pvalue, size_t width, uint64_t value)
{
  if (pvalue == nullptr) return;
  if (width == 16) *static_cast<uint16_t*>(pvalue) = static_cast<uint16_t>(value);
  if (width == 32) *static_cast<uint32_t*>(pvalue) = static_cast<uint32_t>(value);
  if (width == 64) *static_cast<uint64_t*>(pvalue) = value;
}

// Everything else: no bits, too many, and fields for which the input must be refilled. All widths are one routine.
[[gnu::noinline]] static int readSlowly(RtxContext* pctxt, void* pvalue, size_t nbits, size_t width, int line)
{
  uint64_t value = 0;
  if (nbits > width) return rtxReport(pctxt, RTX_E_TOO_BIG, kModule, line);
  // A field of no bits is 0 and needs no octet, not even one at the end of the buffer.
  if (nbits > 0) {
    int status = refill(pctxt, rtxOctetsTouched(rtxCursorPhase(&pctxt->buffer), nbits), line);
    if (status < 0) return status;
    takeField(pctxt, &value, nbits, width);
  }
  storeValue(pvalue, width, value);
  return 0;
}

// Calls rtxDecBit again, which cannot come back here: after a good refill the octet is there.
[[gnu::noinline]] static int readBitSlowly(RtxContext* pctxt, uint8_t* pvalue)
{
  int status = refill(pctxt, 1, __LINE__);
  return status < 0 ? status : rtxDecBit(pctxt, pvalue);
}

int rtxDecBit(RtxContext* pctxt, uint8_t* pvalue)
{
  RtxBuffer* buffer = &pctxt->buffer;
  if (buffer->byteIndex >= buffer->size) [[unlikely]]
    return readBitSlowly(pctxt, pvalue);
  // Bits of the octet below the one that is read.
  unsigned below = 7 - rtxCursorPhase(buffer);
  if (pvalue != nullptr) *pvalue = static_cast<uint8_t>(buffer->data[buffer->byteIndex] >> below & 1);
  buffer->byteIndex += below == 0;
  buffer->bitOffset = static_cast<int16_t>(below == 0 ? 8 : below);
  return 0;
}

int rtxDecBits(RtxContext* pctxt, uint32_t* pvalue, size_t nbits)
{
  uint64_t value = 0;
  if (!takeField(pctxt, &value, nbits, 32)) [[unlikely]]
    return readSlowly(pctxt, pvalue, nbits, 32, __LINE__);
  if (pvalue != nullptr) *pvalue = static_cast<uint32_t>(value);
  return 0;
}

int rtxDecBitsToUInt16(RtxContext* pctxt, uint16_t* pvalue, size_t nbits)
{
  uint64_t value = 0;
  if (!takeField(pctxt, &value, nbits, 16)) [[unlikely]]
    return readSlowly(pctxt, pvalue, nbits, 16, __LINE__);
  if (pvalue != nullptr) *pvalue = static_cast<uint16_t>(value);
  return 0;
}

int rtxDecBitsToUInt64(RtxContext* pctxt, uint64_t* pvalue, size_t nbits)
{
  uint64_t value = 0;
  if (!takeField(pctxt, &value, nbits, 64)) [[unlikely]]
    return readSlowly(pctxt, pvalue, nbits, 64, __LINE__);
  if (pvalue != nullptr) *pvalue = value;
  return 0;
}

int rtxDecBitsToSize(RtxContext* pctxt, size_t* pvalue, size_t nbits)
{
  constexpr size_t width = 8 * sizeof *pvalue;
  uint64_t value = 0;
  if (!takeField(pctxt, &value, nbits, width)) [[unlikely]]
    return readSlowly(pctxt, pvalue, nbits, width, __LINE__);
  if (pvalue != nullptr) *pvalue = static_cast<size_t>(value);
  return 0;
}

// What is not all at hand takes the road of the octet strings, whose cursor differs at the end of the input.
[[gnu::noinline]] static int readByteSlowly(RtxContext* pctxt, uint8_t* pvalue, size_t nbits)
{
  if (nbits > 8) return rtxReport(pctxt, RTX_E_TOO_BIG, kModule, __LINE__);
  if (nbits == 0) {
    if (pvalue != nullptr) *pvalue = 0;
    return 0;
  }
  int status = rtxDecBitsToByteArray(pctxt, pvalue, 1, nbits);
  if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
  if (pvalue != nullptr) *pvalue = static_cast<uint8_t>(*pvalue >> (8 - nbits));
  return 0;
}

int rtxDecBitsToByte(RtxContext* pctxt, uint8_t* pvalue, size_t nbits)
{
  uint64_t value = 0;
  if (!takeField(pctxt, &value, nbits, 8)) [[unlikely]]
    return readByteSlowly(pctxt, pvalue, nbits);
  if (pvalue != nullptr) *pvalue = static_cast<uint8_t>(value);
  return 0;
}

// Copies octets that are at hand and moves the cursor; returns where the next ones go.
static uint8_t* copyOut(RtxBuffer* buffer, uint8_t* pbuf, size_t count)
{
  if (count == 0) return pbuf;
  std::memcpy(pbuf, buffer->data + buffer->byteIndex, count);
  buffer->byteIndex += count;
  return pbuf + count;
}

// Long strings go from the stream to the target directly, so that they are not copied twice and the buffer does not
// grow with them.
static int readPastBuffer(RtxContext* pctxt, uint8_t* pbuf, size_t count)
{
  while (count > 0) {
    int64_t got = rtxStreamRead(pctxt, pbuf, count);
    if (got < 0) return rtxReport(pctxt, static_cast<int>(got), kModule, __LINE__);
    if (got == 0) return rtxReport(pctxt, RTX_E_END_OF_FILE, kModule, __LINE__);
    pbuf += got;
    count -= static_cast<size_t>(got);
  }
  return 0;
}

// Whole octets of a string that begins at an octet's start: first what the buffer has, then the rest from the stream.
// Without a stream the octets that are there have been copied and passed when the failure is reported.
static int readAlignedOctets(RtxContext* pctxt, uint8_t* pbuf, size_t count)
{
  size_t run = std::min(count, rtxBufferLeft(pctxt));
  pbuf = copyOut(&pctxt->buffer, pbuf, run);
  count -= run;
  if (count == 0) return 0;
  if (!rtxHasStream(pctxt)) return rtxReport(pctxt, RTX_E_END_OF_BUFFER, kModule, __LINE__);
  if (count > RTX_STREAM_CTXTBUF_SIZE) return readPastBuffer(pctxt, pbuf, count);
  int status = refill(pctxt, count, __LINE__);
  if (status < 0) return status;
  copyOut(&pctxt->buffer, pbuf, count);
  return 0;
}

// The last 1 to 7 bits of an aligned string. They stand at the top of the target octet, and its other bits are 0. The
// bit offset moves before the octet is known to be there: on failure it stays moved, which callers can observe.
static int readAlignedTail(RtxContext* pctxt, uint8_t* pbuf, unsigned nbits)
{
  RtxBuffer* buffer = &pctxt->buffer;
  buffer->bitOffset = static_cast<int16_t>(8 - nbits);
  if (rtxBufferLeft(pctxt) == 0) {
    int status = refill(pctxt, 1, __LINE__);
    if (status < 0) return status;
  }
  *pbuf = buffer->data[buffer->byteIndex] & static_cast<uint8_t>(~kLowBits[8 - nbits]);
  return 0;
}

// Whole octets of a string that begins inside an octet: each is the low end of one octet and the top of the next. From
// phase 4, 12 34 56 gives 23 45. So one octet more than `count` has to be at hand; the last stays under the cursor.
static int readShiftedOctets(RtxContext* pctxt, uint8_t* pbuf, size_t count, unsigned phase)
{
  RtxBuffer* buffer = &pctxt->buffer;
  while (count > 0) {
    if (rtxBufferLeft(pctxt) < 2) {
      int status = refill(pctxt, std::min<size_t>(count + 1, RTX_STREAM_CTXTBUF_SIZE), __LINE__);
      if (status < 0) return status;
    }
    // At least two octets are left here, so the run is not empty and the loop ends.
    size_t run = std::min(count, rtxBufferLeft(pctxt) - 1);
    const uint8_t* p = buffer->data + buffer->byteIndex;
    for (size_t i = 0; i < run; ++i) pbuf[i] = static_cast<uint8_t>(p[i] << phase | p[i + 1] >> (8 - phase));
    buffer->byteIndex += run;
    pbuf += run;
    count -= run;
  }
  return 0;
}

// The last 1 to 7 bits of an unaligned string, from one octet or two. The bit offset moves first, as above.
static int readShiftedTail(RtxContext* pctxt, uint8_t* pbuf, unsigned nbits, unsigned phase)
{
  RtxBuffer* buffer = &pctxt->buffer;
  uint8_t top = static_cast<uint8_t>(~kLowBits[8 - nbits]);
  // Bit 8 and up are in the second octet.
  unsigned end = phase + nbits;
  buffer->bitOffset = static_cast<int16_t>(8 - end % 8);
  if (rtxBufferLeft(pctxt) < (end > 8 ? 2U : 1U)) {
    int status = refill(pctxt, end > 8 ? 2 : 1, __LINE__);
    if (status < 0) return status;
  }
  const uint8_t* p = buffer->data + buffer->byteIndex;
  unsigned bits = static_cast<unsigned>(p[0] << phase);
  if (end > 8) bits |= static_cast<unsigned>(p[1] >> (8 - phase));
  *pbuf = static_cast<uint8_t>(bits) & top;
  buffer->byteIndex += end / 8;
  return 0;
}

// A string that begins inside an octet. It needs nbits / 8 + 1 octets in any case, so a buffer that has fewer than two
// is filled up to that at once.
static int readShifted(RtxContext* pctxt, uint8_t* pbuf, size_t nbits, unsigned phase)
{
  if (rtxBufferLeft(pctxt) < 2) {
    int status = refill(pctxt, std::min<size_t>(nbits / 8 + 1, RTX_STREAM_CTXTBUF_SIZE), __LINE__);
    if (status < 0) return status;
  }
  int status = readShiftedOctets(pctxt, pbuf, nbits / 8, phase);
  if (status < 0 || nbits % 8 == 0) return status;
  return readShiftedTail(pctxt, pbuf + nbits / 8, nbits % 8, phase);
}

// Forward on a stream: the begun octet, then whole octets past the buffer, then the bits of the last octet.
static int moveStreamForward(RtxContext* pctxt, size_t nbits)
{
  RtxBuffer* buffer = &pctxt->buffer;
  unsigned phase = rtxCursorPhase(buffer);
  if (nbits == 0) return 0;
  if (phase != 0) {
    // A read of whole octets can have left the begun octet unloaded.
    int status = rtxBufferLeft(pctxt) == 0 ? refill(pctxt, 1, __LINE__) : 0;
    if (status < 0) return status;
    size_t step = std::min<size_t>(nbits, 8 - phase);
    rtxCursorAdvance(buffer, phase + step);
    nbits -= step;
  }
  if (nbits >= 8) {
    int status = rtxStreamSkip(pctxt, nbits / 8);
    if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
  }
  if (nbits % 8 == 0) return 0;
  if (rtxBufferLeft(pctxt) == 0) {
    int status = refill(pctxt, 1, __LINE__);
    if (status < 0) return status;
  }
  rtxCursorAdvance(buffer, nbits % 8);
  return 0;
}

// The cursor may stand at the end but not behind it. On failure it stays where the move has led.
static int checkMoved(RtxContext* pctxt, int line)
{
  const RtxBuffer* buffer = &pctxt->buffer;
  bool past = buffer->byteIndex > buffer->size || (buffer->byteIndex == buffer->size && buffer->bitOffset != 8);
  return past ? rtxReport(pctxt, RTX_E_END_OF_BUFFER, kModule, line) : 0;
}

// Moves by bits without wrapping: whole octets are counted apart from the at most 7 + 7 other bits, and an octet index
// that would wrap becomes SIZE_MAX, which is behind every end.
static int moveForward(RtxContext* pctxt, size_t nbits)
{
  if (rtxHasStream(pctxt)) return moveStreamForward(pctxt, nbits);
  RtxBuffer* buffer = &pctxt->buffer;
  size_t bits = static_cast<size_t>(8 - buffer->bitOffset) + nbits % 8;
  size_t octets = nbits / 8 + bits / 8;
  buffer->byteIndex = octets > SIZE_MAX - buffer->byteIndex ? SIZE_MAX : buffer->byteIndex + octets;
  buffer->bitOffset = static_cast<int16_t>(8 - bits % 8);
  return checkMoved(pctxt, __LINE__);
}

int rtxMoveBitCursor(RtxContext* pctxt, int32_t nbits)
{
  if (nbits >= 0) return moveForward(pctxt, static_cast<size_t>(nbits));
  RtxBuffer* buffer = &pctxt->buffer;
  size_t position = buffer->byteIndex * 8 + static_cast<size_t>(8 - buffer->bitOffset);
  // Negated as a size, since the smallest 32-bit number has no positive counterpart as an int32_t.
  size_t back = 0U - static_cast<size_t>(nbits);
  if (back > position) return rtxReport(pctxt, RTX_E_END_OF_BUFFER, kModule, __LINE__);
  buffer->byteIndex = 0;
  rtxCursorAdvance(buffer, position - back);
  return checkMoved(pctxt, __LINE__);
}

int rtxSkipBits(RtxContext* pctxt, int32_t nbits)
{
  return rtxMoveBitCursor(pctxt, nbits);
}

// A target that is too small is refused before anything is read. Without a target the bits are passed over.
int rtxDecBitsToByteArray(RtxContext* pctxt, uint8_t* pbuf, size_t bufsize, size_t nbits)
{
  if (nbits == 0) return 0;
  if (pbuf == nullptr) return moveForward(pctxt, nbits);
  if (rtxOctetsTouched(0, nbits) > bufsize) return rtxReport(pctxt, RTX_E_STRING_TOO_LONG, kModule, __LINE__);
  unsigned phase = rtxCursorPhase(&pctxt->buffer);
  if (phase != 0) return readShifted(pctxt, pbuf, nbits, phase);
  int status = readAlignedOctets(pctxt, pbuf, nbits / 8);
  if (status < 0 || nbits % 8 == 0) return status;
  return readAlignedTail(pctxt, pbuf + nbits / 8, nbits % 8);
}

int rtxSkipBytes(RtxContext* pctxt, size_t nbytes)
{
  RtxBuffer* buffer = &pctxt->buffer;
  if (nbytes == 0) return 0;
  if (!rtxHasStream(pctxt)) {
    buffer->byteIndex = nbytes > SIZE_MAX - buffer->byteIndex ? SIZE_MAX : buffer->byteIndex + nbytes;
    return checkMoved(pctxt, __LINE__);
  }
  int status = rtxStreamSkip(pctxt, nbytes);
  if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
  // The bit offset is kept, so inside an octet the one that the cursor now points to has to be there.
  if (buffer->bitOffset == 8 || rtxBufferLeft(pctxt) > 0) return 0;
  return refill(pctxt, 1, __LINE__);
}
