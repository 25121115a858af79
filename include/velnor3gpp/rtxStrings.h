/**
 * @file rtxStrings.h
 * Small helpers for terminated strings: bounded copies, copies on a context's heap, joining and decimal digits. Sizes
 * are in octets and count the terminator. Strings on the heap go with it. Nothing here leaves an error record.
 */
#ifndef VELNOR3GPP_RTX_STRINGS_H
#define VELNOR3GPP_RTX_STRINGS_H

#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

/** Copies `src` into `size` octets and returns `dst`; null, with `dst` empty, if it does not fit or is null. */
VELNOR_API char* rtxStrcpy(char* dst, size_t size, const char* src);
/** The same with at most the first `n` characters of `src`. */
VELNOR_API char* rtxStrncpy(char* dst, size_t size, const char* src, size_t n);
/** Appends `src` to the string in `dst` and returns `dst`; null, with `dst` as it was, if it does not fit or is null.
 */
VELNOR_API char* rtxStrcat(char* dst, size_t size, const char* src);
/** Returns a copy of the string on the heap; null for a null string or when out of memory. */
VELNOR_API char* rtxStrdup(RtxContext* pctxt, const char* s);
/** The same for UTF-8 text. */
VELNOR_API char* rtxUTF8Strdup(RtxContext* pctxt, const char* s);
/** Joins the strings up to the first that is null or does not fit in `size` octets. Returns `dst`, terminated; null
 *  only if `dst` is null or `size` is 0. */
VELNOR_API char* rtxStrJoin(char* dst, size_t size, const char* s1, const char* s2, const char* s3, const char* s4,
                            const char* s5);
/** Joins the strings up to the first null in a new heap string; null if `s1` is null or memory is out. */
VELNOR_API char* rtxStrDynJoin(RtxContext* pctxt, const char* s1, const char* s2, const char* s3, const char* s4,
                               const char* s5);
/** Writes decimal digits; a `padChar` other than 0 fills in front of them up to `size` - 1 columns. Returns the
 *  characters written, RTX_E_BAD_PARAMETER for a null target or one below 2 octets, RTX_E_ENCODE_OVERFLOW for no room.
 */
VELNOR_API int rtxUIntToCharStr(uint32_t value, char* dst, size_t size, char padChar);
/** The same for 64 bits. */
VELNOR_API int rtxUInt64ToCharStr(uint64_t value, char* dst, size_t size, char padChar);
/** The same for a size. */
VELNOR_API int rtxSizeToCharStr(size_t value, char* dst, size_t size, char padChar);
/** Reads a terminated string of decimal digits and nothing else. RTX_E_BAD_FORMAT if it is no number, RTX_E_TOO_BIG
 *  above 32 bits, RTX_E_BAD_PARAMETER for a null argument; nothing is stored then. */
VELNOR_API int rtxCharStrToUInt(const char* text, uint32_t* pvalue);
/** Returns the octets of a UTF-8 string without its terminator; 0 for null. */
VELNOR_API size_t rtxUTF8LenBytes(const char* s);
/** Compares up to `n` octets of two strings as strncmp does; null ranks as the empty string. */
VELNOR_API int rtxUTF8Strncmp(const char* s1, const char* s2, size_t n);
/** Writes a terminated string of 16-bit characters as UTF-8 into `size` octets, cut between characters; a lone
 * surrogate becomes "?". Returns `dst`, or null if it is null or `size` is 0. */
VELNOR_API char* rtxUCSToCStr(const uint16_t* src, char* dst, size_t size);

VELNOR_END_DECLS

#endif
