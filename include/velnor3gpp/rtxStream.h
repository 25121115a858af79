/**
 * @file rtxStream.h
 * Streams: a context can code from and to a stream instead of a plain buffer. RtxStream is a record of operations with
 * the bookkeeping that all kinds share; a kind (memory, file, or the caller's own) fills in the operations. The record
 * comes from the system side of the heap, so that it survives rtxMemReset; it belongs to its context and ends with
 * rtxStreamClose or rtxFreeContext. A stream is used by one thread. Coders use a stream only while the context's
 * RTX_FLAG_BUFFER_MODE is clear. Nothing here seeks on its own account.
 */
#ifndef VELNOR3GPP_RTX_STREAM_H
#define VELNOR3GPP_RTX_STREAM_H

#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

struct RtxMemBuf;

/** Bits of RtxStream.flags. */
#define RTX_STREAM_READ 0x0001U       /**< Open for reading. */
#define RTX_STREAM_WRITE 0x0002U      /**< Open for writing. */
#define RTX_STREAM_HEX 0x0800U        /**< The kind reads and writes hexadecimal text. */
#define RTX_STREAM_MARKED 0x1000U     /**< A mark is held within the context's buffer. */
#define RTX_STREAM_AT_MARK 0x2000U    /**< Set on opening, marking and a kind's reset; cleared by rtxStreamReset. */
#define RTX_STREAM_OWN_BUFFER 0x4000U /**< Output never goes through the context's buffer. */
#define RTX_STREAM_CTXTBUF 0x8000U    /**< The stream works through the context's buffer. */

/* Kinds of stream: values of RtxStream.id. */

#define RTX_STREAM_ID_FILE 1U           /**< A file. */
#define RTX_STREAM_ID_SOCKET 2U         /**< A socket. */
#define RTX_STREAM_ID_MEMORY 3U         /**< A block of memory. */
#define RTX_STREAM_ID_BUFFERED 4U       /**< A buffer in front of another stream. */
#define RTX_STREAM_ID_DIRECT_BUFFER 5U  /**< The octets of a buffer as they lie. */
#define RTX_STREAM_ID_CONTEXT_BUFFER 6U /**< The context's own buffer. */

/** First capacity of the context's buffer under a stream, and the size above which a read goes past that buffer. */
#define RTX_STREAM_CTXTBUF_SIZE 43U
/** Octets that may be read after a mark when a stream sets no limit of its own. */
#define RTX_STREAM_READ_AHEAD_MAX 0x7FFFFFFFU

/** A stream. The operations get the record itself; what a kind needs beyond it hangs on `extra`. */
typedef struct RtxStream {
  /** Reads up to `size` octets. Returns the count, 0 at the end, or a negative status. Null if it cannot read. */
  int64_t (*read)(struct RtxStream* pStream, uint8_t* pbuf, size_t size);
  /** Writes all `count` octets. Returns 0 or a negative status. Null if it cannot write. */
  int (*write)(struct RtxStream* pStream, const uint8_t* data, size_t count);
  int (*flush)(struct RtxStream* pStream);                /**< Hands on what the kind holds back. Optional. */
  int (*close)(struct RtxStream* pStream);                /**< Releases what the kind holds. */
  int (*skip)(struct RtxStream* pStream, size_t count);   /**< Passes over `count` octets, forward only. */
  int (*mark)(struct RtxStream* pStream, size_t limit);   /**< Remembers the position. Optional. */
  int (*reset)(struct RtxStream* pStream);                /**< Returns to the mark. Optional. */
  int (*getPos)(struct RtxStream* pStream, size_t* pPos); /**< Position in octets. Optional. */
  int (*setPos)(struct RtxStream* pStream, size_t pos);   /**< Goes to a position in octets. Optional. */
  void* extra;                 /**< The kind's own record, which its close operation releases. */
  size_t bufSize;              /**< Capacity of the context's buffer, in octets, while the stream works through it. */
  size_t readAheadLimit;       /**< The limit of the mark; RTX_STREAM_READ_AHEAD_MAX after a reset. */
  size_t bytesProcessed;       /**< Octets that have left the context's buffer; plus byteIndex it is the position. */
  size_t markedBytesProcessed; /**< Saved by a mark; with RTX_STREAM_MARKED an offset in the context's buffer. */
  size_t ioBytes;              /**< Octets read or written in all. */
  size_t nextMarkOffset;       /**< Position, relative to the old mark, to go to at the next mark; 0: none. */
  size_t endOffset;            /**< Position beyond which nothing is loaded; all ones: no limit. */
  uint32_t id;                 /**< RTX_STREAM_ID_... */
  struct RtxMemBuf* pCapture;  /**< Gets a copy of every octet read or written, or null. Not owned. */
  uint16_t flags;              /**< RTX_STREAM_... bits. */
} RtxStream;

/** Closes a stream that stands and binds a zeroed one; the caller fills in the operations, `id` and `flags`.
 *  Clears RTX_FLAG_BUFFER_MODE. RTX_E_NO_MEMORY if refused. */
VELNOR_API int rtxStreamInit(struct RtxContext* pctxt);
/** Writes out what is pending, closes the stream and frees it, and empties the context's buffer. Returns 0 (also with
 *  no stream), else the first failure of flushing or closing; RTX_E_NO_CONTEXT, with nothing done, for a stream that is
 *  neither open for reading nor for writing. */
VELNOR_API int rtxStreamClose(struct RtxContext* pctxt);
/** Closes the stream if it is open, otherwise only frees its record. */
VELNOR_API int rtxStreamRelease(struct RtxContext* pctxt);

/** Reads `size` octets, fewer only at the end. Returns the count or a negative status; RTX_E_NO_CONTEXT if the stream
 *  cannot read. */
VELNOR_API int64_t rtxStreamRead(struct RtxContext* pctxt, uint8_t* pbuf, size_t size);
/** Reads at least `minSize` octets (fewer only at the end) into `bufSize` octets. A `minSize` above `bufSize` is
 *  RTX_E_ENCODE_OVERFLOW; otherwise as rtxStreamRead. */
VELNOR_API int64_t rtxStreamRead2(struct RtxContext* pctxt, uint8_t* pbuf, size_t minSize, size_t bufSize);
/** Makes one call of the kind's read, past the context's buffer. Results as rtxStreamRead. */
VELNOR_API int64_t rtxStreamReadDirect(struct RtxContext* pctxt, uint8_t* pbuf, size_t size);
/** Passes over `count` octets. RTX_E_BAD_PARAMETER if the stream is not open for reading, RTX_E_NO_CONTEXT if its kind
 *  cannot skip, or the kind's status. */
VELNOR_API int rtxStreamSkip(struct RtxContext* pctxt, size_t count);
/** Hands `count` octets to the stream's kind, past the context's buffer. A null `data` leaves it to the kind where they
 *  are. RTX_E_NO_CONTEXT if the stream cannot write. */
VELNOR_API int rtxStreamWrite(struct RtxContext* pctxt, const uint8_t* data, size_t count);
/** Writes the whole octets of the context's buffer and flushes the kind; a partial octet stays pending.
 *  RTX_E_BAD_PARAMETER if the stream is not open for writing. */
VELNOR_API int rtxStreamFlush(struct RtxContext* pctxt);
/** Stores in `*pCount` the octets read or written so far. RTX_E_NO_CONTEXT without a stream. */
VELNOR_API int rtxStreamGetIOBytes(struct RtxContext* pctxt, size_t* pCount);

/** Remembers the position; it is kept while at most `limit` octets are read. RTX_E_NOT_SUPPORTED if the kind cannot
 * mark and reset, RTX_E_BAD_PARAMETER without a stream. */
VELNOR_API int rtxStreamMark(struct RtxContext* pctxt, size_t limit);
/** Returns to the mark, by octets: the bit offset stays. Statuses as rtxStreamMark. */
VELNOR_API int rtxStreamReset(struct RtxContext* pctxt);
/** Returns 1 if there is a stream that can mark and reset. */
VELNOR_API int rtxStreamMarkSupported(struct RtxContext* pctxt);
/** Stores the position in octets. RTX_E_BAD_PARAMETER without a stream, RTX_E_NOT_SUPPORTED if the kind has none. */
VELNOR_API int rtxStreamGetPos(struct RtxContext* pctxt, size_t* pPos);
/** Goes to a position in octets. Statuses as rtxStreamGetPos. */
VELNOR_API int rtxStreamSetPos(struct RtxContext* pctxt, size_t pos);

/** Returns 1 if there is a stream that is open for reading or writing. */
VELNOR_API int rtxStreamIsOpened(struct RtxContext* pctxt);
/** Returns 1 if there is a stream that is open for reading. */
VELNOR_API int rtxStreamIsReadable(struct RtxContext* pctxt);
/** Returns 1 if there is a stream that is open for writing. */
VELNOR_API int rtxStreamIsWritable(struct RtxContext* pctxt);

/** From now on copies every octet read or written to `pMemBuf`, which stays the caller's; null ends it. What a memory
 * or context-buffer stream holds already is copied at once. RTX_E_NO_CONTEXT without a stream, or RTX_E_NO_MEMORY. */
VELNOR_API int rtxStreamSetCapture(struct RtxContext* pctxt, struct RtxMemBuf* pMemBuf);
/** Returns the capture buffer or null. */
VELNOR_API struct RtxMemBuf* rtxStreamGetCapture(struct RtxContext* pctxt);

/** Gives the context a growing buffer of RTX_STREAM_CTXTBUF_SIZE octets through which the stream works. RTX_E_GENERAL
 * if the context has a buffer, RTX_E_NOT_SUPPORTED for a kind that buffers itself, or RTX_E_NO_MEMORY. */
VELNOR_API int rtxStreamInitCtxtBuf(struct RtxContext* pctxt);
/** Undoes rtxStreamInitCtxtBuf; octets in the buffer are lost. */
VELNOR_API void rtxStreamRemoveCtxtBuf(struct RtxContext* pctxt);
/** Reads on until `nbytes` octets stand at the cursor of the context's buffer, or the input ends, which is no failure
 *  here. Octets before the cursor may go. RTX_E_END_OF_BUFFER at `endOffset`, RTX_E_BAD_PARAMETER for a null context,
 *  RTX_E_NO_CONTEXT without a stream, or the stream's own status. */
VELNOR_API int rtxStreamLoadInputBuffer(struct RtxContext* pctxt, size_t nbytes);

VELNOR_END_DECLS

#endif
