// A source of a stream that gives a few octets at a time, as a socket does, and cannot go back.
#pragma once

#include <algorithm>

#include "tests/octets.h"
#include "velnor3gpp/rtxStatus.h"
#include "velnor3gpp/rtxStream.h"

struct Trickle {
  Octets octets;
  size_t step;
  size_t at = 0;

  static int64_t read(RtxStream* pStream, uint8_t* pbuf, size_t size)
  {
    auto* self = static_cast<Trickle*>(pStream->extra);
    size_t count = std::min({size, self->step, self->octets.size() - self->at});
    std::copy_n(self->octets.begin() + static_cast<long>(self->at), count, pbuf);
    self->at += count;
    return static_cast<int64_t>(count);
  }
  static int skip(RtxStream* pStream, size_t count)
  {
    auto* self = static_cast<Trickle*>(pStream->extra);
    if (count > self->octets.size() - self->at) return RTX_E_END_OF_BUFFER;
    self->at += count;
    return 0;
  }
  int open(RtxContext* pctxt)
  {
    int status = rtxStreamInit(pctxt);
    if (status < 0) return status;
    pctxt->pStream->read = read;
    pctxt->pStream->skip = skip;
    pctxt->pStream->extra = this;
    pctxt->pStream->id = RTX_STREAM_ID_SOCKET;
    pctxt->pStream->flags = RTX_STREAM_READ;
    return rtxStreamInitCtxtBuf(pctxt);
  }
};
