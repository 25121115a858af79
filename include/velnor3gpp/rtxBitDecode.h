/**
 * @file rtxBitDecode.h
 * Reading at the bit cursor of a context's buffer. Octets are read in buffer order and the most significant bit first,
 * so that a field over several octets is big-endian, at any alignment. The end of the input is `buffer.size`; regions
 * do not limit these reads. Functions return 0 or a negative status. At the end of the input that is
 * RTX_E_END_OF_BUFFER (RTX_E_END_OF_FILE on a stream); single fields then leave the cursor unmoved, octet strings leave
 * it behind what was consumed, moves leave it behind the end. A null target makes a read a skip. Nothing here writes to
 * the buffer, except that a stream refills it.
 */
#ifndef VELNOR3GPP_RTX_BIT_DECODE_H
#define VELNOR3GPP_RTX_BIT_DECODE_H

#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

/** Reads one bit, 0 or 1. */
VELNOR_API int rtxDecBit(struct RtxContext* pctxt, uint8_t* pvalue);
/** Reads 0 to 32 bits; 0 bits give the value 0. RTX_E_TOO_BIG above. */
VELNOR_API int rtxDecBits(struct RtxContext* pctxt, uint32_t* pvalue, size_t nbits);
/** Reads 0 to 8 bits, right-aligned. RTX_E_TOO_BIG above. At the end of the input the cursor is that of
 *  rtxDecBitsToByteArray. */
VELNOR_API int rtxDecBitsToByte(struct RtxContext* pctxt, uint8_t* pvalue, size_t nbits);
/** Reads 0 to 16 bits. RTX_E_TOO_BIG above. */
VELNOR_API int rtxDecBitsToUInt16(struct RtxContext* pctxt, uint16_t* pvalue, size_t nbits);
/** Reads 0 to 64 bits. RTX_E_TOO_BIG above. */
VELNOR_API int rtxDecBitsToUInt64(struct RtxContext* pctxt, uint64_t* pvalue, size_t nbits);
/** Reads 0 bits to as many as a size has (64, or 32). RTX_E_TOO_BIG above. */
VELNOR_API int rtxDecBitsToSize(struct RtxContext* pctxt, size_t* pvalue, size_t nbits);
/** Reads `nbits` bits into `bufsize` octets, left-aligned: the last octet ends with zeros. RTX_E_STRING_TOO_LONG if
 * they do not fit. */
VELNOR_API int rtxDecBitsToByteArray(struct RtxContext* pctxt, uint8_t* pbuf, size_t bufsize, size_t nbits);

/** Reads an 8-bit integer. */
VELNOR_API int rtxDecUInt8(struct RtxContext* pctxt, uint8_t* pvalue);
/** Reads a big-endian integer of 0 to 3 octets; a third octet must be a leading zero, else RTX_E_TOO_BIG. */
VELNOR_API int rtxDecUInt16(struct RtxContext* pctxt, uint16_t* pvalue, size_t nbytes);
/** Reads a big-endian integer of 0 to 5 octets; a fifth octet must be a leading zero, else RTX_E_TOO_BIG. */
VELNOR_API int rtxDecUInt32(struct RtxContext* pctxt, uint32_t* pvalue, size_t nbytes);
/** Reads a big-endian integer of 0 to 9 octets; a ninth octet must be a leading zero, else RTX_E_TOO_BIG. */
VELNOR_API int rtxDecUInt64(struct RtxContext* pctxt, uint64_t* pvalue, size_t nbytes);
/** Reads an 8-bit two's complement integer. */
VELNOR_API int rtxDecInt8(struct RtxContext* pctxt, int8_t* pvalue);
/** Reads a big-endian two's complement integer of 0 to 2 octets, sign-extended. RTX_E_TOO_BIG above. */
VELNOR_API int rtxDecInt16(struct RtxContext* pctxt, int16_t* pvalue, size_t nbytes);
/** Reads a big-endian two's complement integer of 0 to 4 octets, sign-extended. RTX_E_TOO_BIG above. */
VELNOR_API int rtxDecInt32(struct RtxContext* pctxt, int32_t* pvalue, size_t nbytes);
/** Reads a big-endian two's complement integer of 0 to 8 octets, sign-extended. RTX_E_TOO_BIG above. */
VELNOR_API int rtxDecInt64(struct RtxContext* pctxt, int64_t* pvalue, size_t nbytes);

/** Reads one bit without moving the cursor. */
VELNOR_API int rtxPeekBit(struct RtxContext* pctxt, uint8_t* pvalue);
/** Reads 0 to 32 bits without moving the cursor. RTX_E_TOO_BIG above. */
VELNOR_API int rtxPeekBits(struct RtxContext* pctxt, uint32_t* pvalue, size_t nbits);
/** Looks at the current octet as a whole. Returns 1 if there is one, 0 if not, or a stream's negative status. */
VELNOR_API int rtxPeekByte(struct RtxContext* pctxt, uint8_t* pbyte);
/** Copies the smallest of `nbytes`, `bufsize` and what remains from the current octet on, and stores the count in
 *  `*pactual` (null allowed). Nothing remaining is a count of 0, no failure. */
VELNOR_API int rtxPeekBytes(struct RtxContext* pctxt, uint8_t* pbuf, size_t bufsize, size_t nbytes, size_t* pactual);

/** Moves the cursor by `nbits` bits, back if negative. RTX_E_END_OF_BUFFER before the start (unmoved) or past the end
 *  (moved). */
VELNOR_API int rtxMoveBitCursor(struct RtxContext* pctxt, int32_t nbits);
/** The same as rtxMoveBitCursor. */
VELNOR_API int rtxSkipBits(struct RtxContext* pctxt, int32_t nbits);
/** Moves the cursor by `nbytes` octets; the bit offset stays. */
VELNOR_API int rtxSkipBytes(struct RtxContext* pctxt, size_t nbytes);

/** Reads `nbytes` octets from the current octet on, whatever the bit offset. */
VELNOR_API int rtxReadBytes(struct RtxContext* pctxt, uint8_t* pdata, size_t nbytes);
/** The same into `bufsize` octets; RTX_E_ENCODE_OVERFLOW, without an error record, if that is too small. */
VELNOR_API int rtxReadBytesSafe(struct RtxContext* pctxt, uint8_t* pbuf, size_t bufsize, size_t nbytes);
/** Reads `nbytes` octets in place: `*ppdata` points into the buffer, valid until the next read, and `*pMemAlloc` is 0.
 *  From 44 octets on a stream may give a heap copy instead, with `*pMemAlloc` 1, which the caller frees. */
VELNOR_API int rtxReadBytesDynamic(struct RtxContext* pctxt, uint8_t** ppdata, size_t nbytes, int* pMemAlloc);

VELNOR_END_DECLS

#endif
