/**
 * @file rtxBitEncodeInternal.h
 * What the engine takes from the bit writers beside their public functions.
 */
#ifndef VELNOR3GPP_RTXSRC_RTX_BIT_ENCODE_INTERNAL_H
#define VELNOR3GPP_RTXSRC_RTX_BIT_ENCODE_INTERNAL_H

#include "velnor3gpp/rtxTypes.h"

/** Writes the low `nbits` bits of `value`, 0 to 64, also where a size has fewer. RTX_E_BAD_PARAMETER above. */
int rtxEncBits64(RtxContext* pctxt, uint64_t value, size_t nbits);

#endif
