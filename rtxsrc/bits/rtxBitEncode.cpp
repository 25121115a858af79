// The writers: fields of bits, bit strings, patterns and octets, at the cursor of the context's buffer. The engine's
// walk uses them when a trace or a stream has to see each field; coders by hand use them directly. Room comes from
// rtxCheckBuffer.cpp: a growing buffer grows, a stream takes what is full, any other buffer reports.
//
// The octet under work is always clean below the cursor: a writer that ends inside an octet leaves 0 in the bits behind
// it (rtxMergeBits excepted), so the next one can OR its bits in.
#include "velnor3gpp/rtxBitEncode.h"

#include <algorithm>
#include <cstring>

#include "rtxsrc/bits/rtxBigEndian.h"
#include "rtxsrc/bits/rtxBitCursor.h"
#include "rtxsrc/bits/rtxBitEncodeInternal.h"
#include "rtxsrc/errors/rtxReport.h"
#include "rtxsrc/streams/rtxStreamBinding.h"
#include "velnor3gpp/rtxCheckBuffer.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxStatus.h"

static const char* const kModule = "rtxBitEncode";

/** Whether the bits to the right of a field survive in its last octet. */
enum TailRule { kClearTail, kKeepTail };

// Room for so many octets from the current one on.
static int makeRoom(RtxContext* pctxt, size_t octets, int line)
{
  int status = rtxCheckOutputBuffer(pctxt, octets);
  return status < 0 ? rtxReport(pctxt, status, kModule, line) : 0;
}

// Makes room for a whole field that is written in steps, so that a failure leaves nothing of it. A buffer that drains
// makes its room as it goes, from the octet under work on: a drain that failed may have left that behind the end.
static int makeRoomForBits(RtxContext* pctxt, size_t nbits, int line)
{
  unsigned phase = rtxCursorPhase(&pctxt->buffer);
  size_t octets = rtxOctetsTouched(phase, nbits);
  size_t left = rtxBufferLeft(pctxt);
  if (octets <= left) return 0;
  if (!rtxIsOutputBufferFlushable(pctxt)) return makeRoom(pctxt, octets, line);
  return phase != 0 && left == 0 ? makeRoom(pctxt, 1, line) : 0;
}

// Calls rtxEncBit again, which finds the octet this time.
[[gnu::noinline]] static int writeBitSlowly(RtxContext* pctxt, int value)
{
  int status = makeRoom(pctxt, 1, __LINE__);
  return status < 0 ? status : rtxEncBit(pctxt, value);
}

int rtxEncBit(RtxContext* pctxt, int value)
{
  RtxBuffer* buffer = &pctxt->buffer;
  if (buffer->byteIndex >= buffer->size) [[unlikely]]
    return writeBitSlowly(pctxt, value);
  unsigned below = 7 - rtxCursorPhase(buffer);
  uint8_t* p = buffer->data + buffer->byteIndex;
  // At its start an octet holds whatever the buffer was given with, so only a begun octet is kept.
  unsigned before = below == 7 ? 0 : *p;
  *p = static_cast<uint8_t>(before | static_cast<unsigned>(value != 0) << below);
  buffer->byteIndex += below == 0;
  buffer->bitOffset = static_cast<int16_t>(below == 0 ? 8 : below);
  return 0;
}

// Stores the low 1 to 32 bits of `value` behind the first `phase` bits of `p`, which has room for them. The field is
// brought to its place in a word, whose top octets then go out. 10 bits 0x2A5 (1010100101) at phase 3 behind 110:
//
// before << 56        110..... ........ ........
// field               ...10101 00101... ........
// out, two octets     11010101 00101000
static inline void storeBits(uint8_t* p, unsigned phase, uint64_t value, size_t nbits, TailRule tail)
{
  size_t end = phase + nbits;
  size_t octets = (end + 7) / 8;
  uint64_t before = p[0] & (0xFF00U >> phase);
  uint64_t word = before << 56 | (value << (64 - nbits)) >> phase;
  // The bits of the last octet behind the field, from the buffer as it is.
  if (tail == kKeepTail) word |= static_cast<uint64_t>(p[octets - 1] & kLowBits[octets * 8 - end]) << (64 - octets * 8);
  rtxStoreFirst(p, word, octets);
}

// Both at once for callers that have made room.
static inline void storeAndAdvance(RtxBuffer* buffer, uint64_t value, size_t nbits, TailRule tail)
{
  unsigned phase = rtxCursorPhase(buffer);
  storeBits(buffer->data + buffer->byteIndex, phase, value, nbits, tail);
  rtxCursorAdvance(buffer, phase + nbits);
}

// Writes 1 to 32 bits for which there is room.
static inline void putField(RtxContext* pctxt, uint64_t value, size_t nbits, TailRule tail)
{
  RtxBuffer* buffer = &pctxt->buffer;
  size_t start = buffer->byteIndex;
  storeAndAdvance(buffer, value, nbits, tail);
  // A memory stream is the buffer itself, so octets pass it as they are completed; other streams count when they drain.
  if (rtxHasMemoryStream(pctxt)) pctxt->pStream->bytesProcessed += buffer->byteIndex - start;
}

// Are all octets that the field touches in the buffer?
static inline bool fieldFits(const RtxContext* pctxt, size_t nbits)
{
  return (rtxCursorPhase(&pctxt->buffer) + nbits + 7) / 8 <= rtxBufferLeft(pctxt);
}

// Any field: makes room, and writes what is longer than 32 bits in two steps.
[[gnu::noinline]] static int writeSlowly(RtxContext* pctxt, uint64_t value, size_t nbits, size_t width, TailRule tail)
{
  if (nbits > width) return rtxReport(pctxt, RTX_E_BAD_PARAMETER, kModule, __LINE__);
  if (nbits == 0) return 0;
  if (!fieldFits(pctxt, nbits)) {
    int status = makeRoom(pctxt, rtxOctetsTouched(rtxCursorPhase(&pctxt->buffer), nbits), __LINE__);
    if (status < 0) return status;
  }
  // With a phase of up to 7 a field of 64 bits touches nine octets, one more than a word holds.
  if (nbits > 32) putField(pctxt, value >> 32, nbits - 32, tail);
  putField(pctxt, value, nbits > 32 ? 32 : nbits, tail);
  return 0;
}

int rtxEncBits(RtxContext* pctxt, uint32_t value, size_t nbits)
{
  // nbits - 1 wraps for 0, so that one comparison sorts out 0 and all above 32.
  if (nbits - 1 >= 32 || !fieldFits(pctxt, nbits)) [[unlikely]]
    return writeSlowly(pctxt, value, nbits, 32, kClearTail);
  putField(pctxt, value, nbits, kClearTail);
  return 0;
}

int rtxEncBits64(RtxContext* pctxt, uint64_t value, size_t nbits)
{
  return writeSlowly(pctxt, value, nbits, 64, kClearTail);
}

int rtxEncBitsFromSize(RtxContext* pctxt, size_t value, size_t nbits)
{
  return rtxEncBits64(pctxt, value, nbits);
}

// Overwrites a field inside octets that are complete, such as a length that is known only at the end.
int rtxMergeBits(RtxContext* pctxt, uint32_t value, size_t nbits)
{
  return writeSlowly(pctxt, value, nbits, 32, kKeepTail);
}

// Hands octets to the stream past the buffer, which is empty, and counts them as passed.
static int writeThrough(RtxContext* pctxt, const uint8_t* pdata, size_t nbytes)
{
  int status = rtxStreamWrite(pctxt, pdata, nbytes);
  if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
  pctxt->pStream->bytesProcessed += nbytes;
  return 0;
}

// Empties the buffer for an aligned string and writes what is longer than the buffer straight to the stream. Stores the
// octets that have gone; the last octet of the string never goes, since it may be begun and the next field continues
// it.
static int drainForOctets(RtxContext* pctxt, const uint8_t* pdata, size_t wholeBeforeLast, size_t* pGone)
{
  *pGone = 0;
  int status = pctxt->buffer.byteIndex > 0 ? rtxFlushOutputBuffer(pctxt) : rtxCheckOutputBuffer(pctxt, 1);
  if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
  if (wholeBeforeLast < pctxt->buffer.size) return 0;
  *pGone = wholeBeforeLast;
  return wholeBeforeLast == 0 ? 0 : writeThrough(pctxt, pdata, wholeBeforeLast);
}

// A string that begins at an octet's start is copied. The unused bits of its last octet are cleared, whatever the
// source has there.
static int writeAligned(RtxContext* pctxt, const uint8_t* pdata, size_t nbits)
{
  RtxBuffer* buffer = &pctxt->buffer;
  // nbits is at least 1, so this does not wrap: 8 bits have none before their last octet, 9 have one.
  size_t beforeLast = (nbits - 1) / 8;
  if (beforeLast >= rtxBufferLeft(pctxt) && rtxIsOutputBufferFlushable(pctxt)) {
    size_t gone;
    int status = drainForOctets(pctxt, pdata, beforeLast, &gone);
    if (status < 0) return status;
    pdata += gone;
    nbits -= gone * 8;
    beforeLast -= gone;
  }
  if (beforeLast >= rtxBufferLeft(pctxt)) {
    int status = makeRoom(pctxt, beforeLast + 1, __LINE__);
    if (status < 0) return status;
  }
  uint8_t* p = buffer->data + buffer->byteIndex;
  std::memcpy(p, pdata, nbits / 8);
  if (nbits % 8 != 0) p[nbits / 8] = pdata[nbits / 8] & static_cast<uint8_t>(~kLowBits[8 - nbits % 8]);
  rtxCursorAdvance(buffer, nbits);
  return 0;
}

// Within the current octet, which has room behind `phase`.
static void writeInside(RtxBuffer* buffer, uint8_t source, unsigned phase, size_t nbits)
{
  uint8_t bits = source & static_cast<uint8_t>(~kLowBits[8 - nbits]);
  buffer->data[buffer->byteIndex] |= static_cast<uint8_t>(bits >> phase);
  rtxCursorAdvance(buffer, phase + nbits);
}

// Across octets. The octet under work is complete once the next source octet has given its top bits. AB C0 with 12 bits
// at phase 4 behind 7 gives 7A BC: the low half of AB goes into the second octet, and C joins it. The last octet is
// masked, so that bits behind the string stay 0. Room for all was made, unless the buffer drains as it fills.
static int writeShifted(RtxContext* pctxt, const uint8_t* pdata, size_t nbits, unsigned phase)
{
  RtxBuffer* buffer = &pctxt->buffer;
  size_t last = rtxOctetsTouched(phase, nbits) - 1;
  size_t sources = rtxOctetsTouched(0, nbits);
  unsigned endBits = (phase + nbits % 8) % 8;
  uint8_t lastMask = static_cast<uint8_t>(endBits == 0 ? 0xFF : ~kLowBits[8 - endBits]);
  buffer->data[buffer->byteIndex] |= static_cast<uint8_t>(pdata[0] >> phase);
  for (size_t i = 1; i <= last; ++i) {
    unsigned bits = static_cast<unsigned>(pdata[i - 1] << (8 - phase));
    // The last octet touched may need no further source octet: reading one would read behind the caller's data.
    if (i < sources) bits |= static_cast<unsigned>(pdata[i] >> phase);
    ++buffer->byteIndex;
    if (buffer->byteIndex == buffer->size) {
      int status = rtxFlushOutputBuffer(pctxt);
      if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
    }
    buffer->data[buffer->byteIndex] = static_cast<uint8_t>(bits) & (i == last ? lastMask : uint8_t{0xFF});
  }
  buffer->byteIndex += endBits == 0;
  buffer->bitOffset = static_cast<int16_t>(8 - endBits);
  return 0;
}

int rtxEncBitsFromByteArray(RtxContext* pctxt, const uint8_t* pdata, size_t nbits)
{
  if (nbits == 0) return 0;
  unsigned phase = rtxCursorPhase(&pctxt->buffer);
  if (phase == 0) return writeAligned(pctxt, pdata, nbits);
  int status = makeRoomForBits(pctxt, nbits, __LINE__);
  if (status < 0) return status;
  if (phase + nbits > 8) return writeShifted(pctxt, pdata, nbits, phase);
  writeInside(&pctxt->buffer, pdata[0], phase, nbits);
  return 0;
}

// The pattern as a word whose top bit belongs to the output bit at `phase`: F0 at phase 2 begins with the third bit of
// F0, so the word is C3C3C3C3.
static uint32_t patternWord(uint8_t pattern, unsigned phase)
{
  uint32_t word = pattern * 0x01010101U;
  return phase == 0 ? word : word << phase | word >> (32 - phase);
}

int rtxEncBitsPattern(RtxContext* pctxt, uint8_t pattern, size_t nbits)
{
  if (nbits == 0) return 0;
  int status = makeRoomForBits(pctxt, nbits, __LINE__);
  if (status < 0) return status;
  // The phase is the same before each step of 32 bits, and so is the word.
  uint32_t word = patternWord(pattern, rtxCursorPhase(&pctxt->buffer));
  for (; nbits >= 32 && status >= 0; nbits -= 32) status = rtxEncBits(pctxt, word, 32);
  if (status >= 0 && nbits > 0) status = rtxEncBits(pctxt, word >> (32 - nbits), nbits);
  return status < 0 ? rtxReport(pctxt, status, kModule, __LINE__) : 0;
}

int rtxCopyBits(RtxContext* pctxt, const uint8_t* psrc, size_t nbits, size_t srcBitOffset)
{
  if (nbits == 0) return 0;
  int status = makeRoomForBits(pctxt, nbits, __LINE__);
  if (status < 0) return status;
  psrc += srcBitOffset / 8;
  size_t used = srcBitOffset % 8;
  // The begun source octet goes first, as a field; from then on the source is aligned.
  if (used != 0) {
    size_t step = std::min(nbits, 8 - used);
    status = rtxEncBits(pctxt, static_cast<uint32_t>(*psrc >> (8 - used - step)), step);
    ++psrc;
    nbits -= step;
  }
  if (status >= 0) status = rtxEncBitsFromByteArray(pctxt, psrc, nbits);
  return status < 0 ? rtxReport(pctxt, status, kModule, __LINE__) : 0;
}

int rtxEncUInt32(RtxContext* pctxt, uint32_t value, size_t nbytes)
{
  if (nbytes != 1 && nbytes != 2 && nbytes != 4) {
    return rtxReport(pctxt, RTX_E_BAD_PARAMETER, kModule, __LINE__);
  }
  uint8_t octets[4];
  // The low octets of the number move to the front: 0x1234 in two octets is 12 34 00 00, of which two go out.
  rtxStoreOctets<4>(octets, static_cast<uint64_t>(value) << (32 - 8 * nbytes));
  int status = rtxCursorPhase(&pctxt->buffer) == 0 ? rtxWriteBytes(pctxt, octets, nbytes)
                                                   : rtxEncBitsFromByteArray(pctxt, octets, nbytes * 8);
  return status < 0 ? rtxReport(pctxt, status, kModule, __LINE__) : 0;
}

// The caller has made room. memcpy must not see a null source, even for no octets.
static void copyIn(RtxBuffer* buffer, const uint8_t* pdata, size_t nbytes)
{
  if (nbytes == 0) return;
  std::memcpy(buffer->data + buffer->byteIndex, pdata, nbytes);
  buffer->byteIndex += nbytes;
}

// To a stream that does not work through the buffer: what is pending goes first, a begun octet as a whole one.
static int writeUnbuffered(RtxContext* pctxt, const uint8_t* pdata, size_t nbytes)
{
  RtxBuffer* buffer = &pctxt->buffer;
  if (rtxHasMemoryStream(pctxt)) {
    int status = makeRoom(pctxt, nbytes, __LINE__);
    if (status < 0) return status;
    copyIn(buffer, pdata, nbytes);
    pctxt->pStream->bytesProcessed += nbytes;
    return 0;
  }
  // Octets cannot be written behind a begun octet on such a stream, so it goes out with its rest as 0.
  if (rtxCursorPhase(buffer) != 0) ++buffer->byteIndex;
  buffer->bitOffset = 8;
  int status = rtxFlushOutputBuffer(pctxt);
  if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
  return writeThrough(pctxt, pdata, nbytes);
}

// To a buffer with too little room, through which a stream drains: fill it, drain it, and send what is still longer
// than it straight on.
static int writeDraining(RtxContext* pctxt, const uint8_t* pdata, size_t nbytes)
{
  RtxBuffer* buffer = &pctxt->buffer;
  size_t room = rtxBufferLeft(pctxt);
  copyIn(buffer, pdata, room);
  pdata += room;
  nbytes -= room;
  int status = makeRoom(pctxt, std::max<size_t>(buffer->size, 1), __LINE__);
  if (status < 0) return status;
  if (nbytes >= buffer->size) return writeThrough(pctxt, pdata, nbytes);
  copyIn(buffer, pdata, nbytes);
  return 0;
}

// To a plain buffer or one that a stream drains, at byteIndex; the bit offset stays.
static int writeBuffered(RtxContext* pctxt, const uint8_t* pdata, size_t nbytes)
{
  if (nbytes > rtxBufferLeft(pctxt)) {
    if (rtxIsOutputBufferFlushable(pctxt)) return writeDraining(pctxt, pdata, nbytes);
    int status = makeRoom(pctxt, nbytes, __LINE__);
    if (status < 0) return status;
  }
  copyIn(&pctxt->buffer, pdata, nbytes);
  return 0;
}

int rtxWriteBytes(RtxContext* pctxt, const uint8_t* pdata, size_t nbytes)
{
  if (nbytes == 0) return 0;
  bool unbuffered = rtxHasStream(pctxt) && !rtxHasBufferedStream(pctxt);
  int status = unbuffered ? writeUnbuffered(pctxt, pdata, nbytes) : writeBuffered(pctxt, pdata, nbytes);
  if (status < 0) return status;
  // Written after success only, so a failure leaves the last octet that really went out.
  pctxt->lastChar = pdata[nbytes - 1];
  return 0;
}
