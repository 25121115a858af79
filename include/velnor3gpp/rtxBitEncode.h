/**
 * @file rtxBitEncode.h
 * Writing at the bit cursor of a context's buffer, in the order in which rtxBitDecode.h reads. The buffer may be fixed,
 * grow in memory or drain into a stream. All bits to the right of a field just written are zero in its last octet, only
 * rtxMergeBits keeps them. Functions return 0 or a negative status: RTX_E_ENCODE_OVERFLOW when a fixed buffer is full
 * and RTX_E_NO_MEMORY when a growing one cannot grow; nothing of the field is written then and the cursor stands at its
 * start. After encoding, the message is the octets up to `byteIndex`, and one more if `bitOffset` is not 8.
 */
#ifndef VELNOR3GPP_RTX_BIT_ENCODE_H
#define VELNOR3GPP_RTX_BIT_ENCODE_H

#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

/** Writes one bit: 1 for any value but 0. */
VELNOR_API int rtxEncBit(struct RtxContext* pctxt, int value);
/** Writes the low `nbits` bits of `value`, 0 to 32. RTX_E_BAD_PARAMETER above. */
VELNOR_API int rtxEncBits(struct RtxContext* pctxt, uint32_t value, size_t nbits);
/** Writes the low `nbits` bits of `value`, 0 to 64. RTX_E_BAD_PARAMETER above. */
VELNOR_API int rtxEncBitsFromSize(struct RtxContext* pctxt, size_t value, size_t nbits);
/** Writes the first `nbits` bits of an array, from the most significant bit of its first octet. */
VELNOR_API int rtxEncBitsFromByteArray(struct RtxContext* pctxt, const uint8_t* pdata, size_t nbits);
/** Writes `nbits` bits of a repeated octet; each bit is that of its place in the output octet. */
VELNOR_API int rtxEncBitsPattern(struct RtxContext* pctxt, uint8_t pattern, size_t nbits);
/** Writes `nbits` bits of an array, from the bit `srcBitOffset` on. */
VELNOR_API int rtxCopyBits(struct RtxContext* pctxt, const uint8_t* psrc, size_t nbits, size_t srcBitOffset);
/** As rtxEncBits, but keeps the bits to the right of the field. For patching a field that was written before. */
VELNOR_API int rtxMergeBits(struct RtxContext* pctxt, uint32_t value, size_t nbits);
/** Writes the low `nbytes` octets of `value` big-endian; 1, 2 or 4, else RTX_E_BAD_PARAMETER. */
VELNOR_API int rtxEncUInt32(struct RtxContext* pctxt, uint32_t value, size_t nbytes);
/** Writes octets from the current octet on, whatever the bit offset. */
VELNOR_API int rtxWriteBytes(struct RtxContext* pctxt, const uint8_t* pdata, size_t nbytes);

VELNOR_END_DECLS

#endif
