/**
 * @file rtxMemBuf.h
 * A buffer of octets that grows by whole steps. Its memory comes from the context's heap, or from the heap's system
 * allocator when told so, or is the caller's until the first growth.
 */
#ifndef VELNOR3GPP_RTX_MEM_BUF_H
#define VELNOR3GPP_RTX_MEM_BUF_H

#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

/** Growth step in octets when none is told. */
#define RTX_MEM_BUF_SEGMENT_SIZE 1024

/** The buffer. */
typedef struct RtxMemBuf {
  struct RtxContext* pctxt; /**< The context whose heap serves. */
  size_t segsize;           /**< Growth step in octets. */
  size_t startidx;          /**< Index of the first octet of the data. */
  size_t usedcnt;           /**< One past the last octet of the data. */
  size_t bufsize;           /**< Octets allocated. */
  size_t readidx;           /**< Current read position. */
  uint8_t* buffer;          /**< The octets, or null. */
  uint8_t isDynamic;        /**< 1 if the buffer owns its octets. */
  uint8_t isExpandable;     /**< 1 if it may grow. */
  uint8_t useSysMem;        /**< 1 for the system allocator. */
} RtxMemBuf;

/** Makes an empty, growing buffer on the context's heap. A step of 0 means 1024. Allocates nothing. */
VELNOR_API void rtxMemBufInit(struct RtxContext* pctxt, RtxMemBuf* pMemBuf, size_t segsize);
/** Makes an empty buffer over the caller's octets, which it never frees. With a step of 0 it cannot grow; otherwise
 *  its data move to the heap when they outgrow it. */
VELNOR_API void rtxMemBufInitBuffer(struct RtxContext* pctxt, RtxMemBuf* pMemBuf, void* buffer, size_t bufsize,
                                    size_t segsize);
/** Makes room for `nbytes` more octets. Returns 0 or RTX_E_NO_MEMORY, which is reported if growing is not allowed. */
VELNOR_API int rtxMemBufPreAllocate(RtxMemBuf* pMemBuf, size_t nbytes);
/** Appends octets. Statuses as rtxMemBufPreAllocate. */
VELNOR_API int rtxMemBufAppend(RtxMemBuf* pMemBuf, const void* data, size_t nbytes);
/** Appends `nbytes` octets of one value. Statuses as rtxMemBufPreAllocate. */
VELNOR_API int rtxMemBufSet(RtxMemBuf* pMemBuf, uint8_t value, size_t nbytes);
/** Removes `nbytes` octets from the index `fromOffset` on. RTX_E_BAD_PARAMETER if they are not all there. */
VELNOR_API int rtxMemBufCut(RtxMemBuf* pMemBuf, size_t fromOffset, size_t nbytes);
/** Cuts white space off both ends of the data. */
VELNOR_API void rtxMemBufTrimW(RtxMemBuf* pMemBuf);
/** Empties the buffer and keeps its memory. */
VELNOR_API void rtxMemBufReset(RtxMemBuf* pMemBuf);
/** Empties the buffer and frees its memory. */
VELNOR_API void rtxMemBufFree(RtxMemBuf* pMemBuf);
/** Returns the data, and their octets in `*pLength` (at most 2^31 - 1) if given. The pointer is good until the next
 *  growth. */
VELNOR_API uint8_t* rtxMemBufGetData(const RtxMemBuf* pMemBuf, int32_t* pLength);
/** The same with the full length. */
VELNOR_API uint8_t* rtxMemBufGetDataExt(const RtxMemBuf* pMemBuf, size_t* pLength);
/** Returns the octets of the data. */
VELNOR_API size_t rtxMemBufGetDataLen(const RtxMemBuf* pMemBuf);
/** Lets the buffer grow or not. Returns what held before. */
VELNOR_API int rtxMemBufSetExpandable(RtxMemBuf* pMemBuf, int isExpandable);
/** Takes memory from the system allocator or not. Returns what held before; a buffer in use is not changed. */
VELNOR_API int rtxMemBufSetUseSysMem(RtxMemBuf* pMemBuf, int useSysMem);

VELNOR_END_DECLS

#endif
