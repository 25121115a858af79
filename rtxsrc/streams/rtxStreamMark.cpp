// Marks and positions of streams. A mark is made by the kind, which knows its source; where the octets since then are
// still in the context's buffer, going back is only a change of byteIndex. Kinds without mark and reset are refused
// here; rtxMarkPos (rtxContainer.cpp) has a way for them.
#include "rtxsrc/errors/rtxReport.h"
#include "rtxsrc/streams/rtxStreamInternal.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxStatus.h"
#include "velnor3gpp/rtxStream.h"

static const char* const kModule = "rtxStreamMark";

// 0, or why the stream cannot be marked, reported.
static int checkMarkable(RtxContext* pctxt)
{
  if (pctxt->pStream == nullptr) return rtxReport(pctxt, RTX_E_BAD_PARAMETER, kModule, __LINE__);
  if (rtxStreamMarkSupported(pctxt)) return 0;
  rtxErrAddStrParm(pctxt, "stream mark/reset");
  return rtxReport(pctxt, RTX_E_NOT_SUPPORTED, kModule, __LINE__);
}

// A mark without a way back to it would be of no use.
int rtxStreamMarkSupported(RtxContext* pctxt)
{
  const RtxStream* pStream = pctxt->pStream;
  return pStream != nullptr && pStream->mark != nullptr && pStream->reset != nullptr;
}

// Goes to the position that was left pending, which counts from the old mark.
static int goToPending(RtxStream* pStream)
{
  if (pStream->nextMarkOffset == 0) return 0;
  int status = pStream->reset(pStream);
  if (status < 0) return status;
  return pStream->skip != nullptr ? pStream->skip(pStream, pStream->nextMarkOffset) : RTX_E_NOT_SUPPORTED;
}

// Replaces an older mark: a stream has one.
int rtxStreamMark(RtxContext* pctxt, size_t limit)
{
  int status = checkMarkable(pctxt);
  if (status < 0) return status;
  RtxStream* pStream = pctxt->pStream;
  status = goToPending(pStream);
  if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
  // Undone by the next refill, which moves the octets (moveToFront).
  if (rtxStreamIsBuffered(pStream)) pctxt->buffer.markByteIndex = pctxt->buffer.byteIndex;
  status = pStream->mark(pStream, limit);
  if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
  pStream->flags |= RTX_STREAM_AT_MARK;
  pStream->nextMarkOffset = 0;
  return 0;
}

// If the octets since the mark are still in the buffer, the kind is not asked: its source stays
// behind what the buffer has.
int rtxStreamReset(RtxContext* pctxt)
{
  int status = checkMarkable(pctxt);
  if (status < 0) return status;
  RtxStream* pStream = pctxt->pStream;
  pStream->flags &= static_cast<uint16_t>(~RTX_STREAM_AT_MARK);
  if (rtxStreamIsBuffered(pStream) && pctxt->buffer.markByteIndex != kRtxNoMark) {
    pctxt->buffer.byteIndex = pctxt->buffer.markByteIndex;
    return 0;
  }
  // A memory stream's octets are the buffer: they stay.
  if (pStream->id != RTX_STREAM_ID_MEMORY) rtxStreamEmptyBuffer(pctxt);
  status = pStream->reset(pStream);
  if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
  pStream->nextMarkOffset = 0;
  return 0;
}

// A position that is pending is where the stream will stand at the next mark, so it is given first.
int rtxStreamGetPos(RtxContext* pctxt, size_t* pPos)
{
  RtxStream* pStream = pctxt->pStream;
  if (pStream == nullptr) return rtxReport(pctxt, RTX_E_BAD_PARAMETER, kModule, __LINE__);
  if (pStream->getPos == nullptr) {
    rtxErrAddStrParm(pctxt, "stream get position");
    return rtxReport(pctxt, RTX_E_NOT_SUPPORTED, kModule, __LINE__);
  }
  if (pStream->nextMarkOffset != 0) {
    *pPos = pStream->nextMarkOffset;
    return 0;
  }
  int status = pStream->getPos(pStream, pPos);
  return status < 0 ? rtxReport(pctxt, status, kModule, __LINE__) : 0;
}

// The kind decides which positions there are.
int rtxStreamSetPos(RtxContext* pctxt, size_t pos)
{
  RtxStream* pStream = pctxt->pStream;
  if (pStream == nullptr) return rtxReport(pctxt, RTX_E_BAD_PARAMETER, kModule, __LINE__);
  if (pStream->setPos == nullptr) {
    rtxErrAddStrParm(pctxt, "stream set position");
    return rtxReport(pctxt, RTX_E_NOT_SUPPORTED, kModule, __LINE__);
  }
  int status = pStream->setPos(pStream, pos);
  return status < 0 ? rtxReport(pctxt, status, kModule, __LINE__) : 0;
}
