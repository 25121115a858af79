/**
 * @file rtxRand.h
 * Pseudo-random values within bounds, for tools that make test data; never for keys. They draw on the C library's
 * `rand`, whose state is process-wide: a seed repeats the sequence on the same C library, and threads that draw at once
 * disturb each other's. The context is used for its heap alone, where strings lie; nothing is reported to it.
 */
#ifndef VELNOR3GPP_RTX_RAND_H
#define VELNOR3GPP_RTX_RAND_H

#include "velnor3gpp/rtxDateTime.h"
#include "velnor3gpp/rtxOctStr.h"
#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

/** Seeds the sequence. */
VELNOR_API void rtxRandInit(uint32_t seed);

/** Returns a value from `lower` to `upper`; from INT32_MIN on, `upper` itself is never given. */
VELNOR_API int32_t rtxRandInt32(RtxContext* pctxt, int32_t lower, int32_t upper);

/** Returns a value from `lower` to `upper`; over the whole range the greatest value is never given. */
VELNOR_API uint32_t rtxRandUInt32(RtxContext* pctxt, uint32_t lower, uint32_t upper);

/** As rtxRandInt32, for 64 bits. Over wide bounds half of the values lie within 2^31 of `lower`. */
VELNOR_API int64_t rtxRandInt64(RtxContext* pctxt, int64_t lower, int64_t upper);

/** As rtxRandUInt32, for 64 bits. Over wide bounds half of the values lie within 2^31 of `lower`. */
VELNOR_API uint64_t rtxRandUInt64(RtxContext* pctxt, uint64_t lower, uint64_t upper);

/** As rtxRandUInt64, for sizes. */
VELNOR_API size_t rtxRandSize(RtxContext* pctxt, size_t lower, size_t upper);

/** Returns one of 32768 evenly spaced values from `lower` to just below `upper`. */
VELNOR_API double rtxRandFloat(RtxContext* pctxt, double lower, double upper);

/**
 * Returns a new zero-ended heap string of `minLength` to `maxLength` characters of `charSet`; of digits and letters if
 * that is null or empty. Null for length 0, bounds out of order or no memory.
 */
VELNOR_API char* rtxRandString(RtxContext* pctxt, size_t minLength, size_t maxLength, const char* charSet);

/** As rtxRandString; without a character set it draws printable ISO 8859-1, one octet each. */
VELNOR_API char* rtxRandUnicodeString(RtxContext* pctxt, size_t minLength, size_t maxLength, const char* charSet);

/**
 * Fills `pvalue` with `minLength` to `maxLength` octets from the heap, or leaves it empty: for bounds of 0 or out of
 * order, or without memory. Returns -1 for a `maxLength` that 32 bits do not hold, else 0.
 */
VELNOR_API int rtxRandOctetString(RtxContext* pctxt, RtxDynOctStr* pvalue, size_t minLength, size_t maxLength);

/**
 * Fills `pvalue` with a date of a year from `firstYear` to `lastYear`, a time to the millisecond and a zone within 14
 * hours. 29 February comes in the years that have none, never in a leap year. Null is left alone.
 */
VELNOR_API void rtxRandDateTime(RtxContext* pctxt, RtxDateTime* pvalue, uint32_t firstYear, uint32_t lastYear);

VELNOR_END_DECLS

#endif
