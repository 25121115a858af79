/**
 * @file rtPrint.h
 * Text forms of ASN.1 kinds of values, written to standard output, without a context. Most take the name, a count in
 * the unit of the kind, the data and a separator that is printed between the name and the field. Null data prints as an
 * empty value. Nothing is owned or kept, no indentation is written in front. Every function returns 0.
 */
#ifndef VELNOR3GPP_RT_PRINT_H
#define VELNOR3GPP_RT_PRINT_H

#include "velnor3gpp/rtxDateTime.h"
#include "velnor3gpp/rtxPrint.h"

VELNOR_BEGIN_DECLS

/** Arcs that an object identifier holds. */
#define RT_MAX_ARCS 128

/** An object identifier. */
typedef struct RtObjId {
  uint32_t count;             /**< Arcs in use. */
  uint32_t arcs[RT_MAX_ARCS]; /**< Printed as signed numbers. */
} RtObjId;

/** An object identifier of 64-bit arcs. */
typedef struct RtObjId64 {
  uint32_t count;             /**< Arcs in use. */
  uint64_t arcs[RT_MAX_ARCS]; /**< Printed as signed numbers. */
} RtObjId64;

/** The name of one bit of a bit string. A table of names ends with a null name. */
typedef struct RtBitName {
  const char* name; /**< Static text. */
  size_t bit;       /**< Number of the bit, 0 for the first of the string. */
} RtBitName;

/** The count and the data of a bit string of `numbits` bits. */
VELNOR_API int rtPrintBitStr(const char* name, size_t numbits, const uint8_t* data, const char* separator);
/** As rtPrintBitStr, and the extension word in hexadecimal. */
VELNOR_API int rtPrintBitStrExt(const char* name, size_t numbits, const uint8_t* data, uint32_t extdata,
                                const char* separator);
/** The count and every bit as "0" or "1". */
VELNOR_API int rtPrintBitStrBin(const char* name, size_t numbits, const uint8_t* data, const char* separator);
/** The count and the names of the bits set, joined by commas. `names` ends with a null name. */
VELNOR_API int rtPrintBitStrNamed(const char* name, size_t numbits, const uint8_t* data, const RtBitName* names,
                                  const char* separator);
/** As rtPrintBitStrNamed: the extension word, whose bits have no names, does not show. */
VELNOR_API int rtPrintBitStrNamedExt(const char* name, size_t numbits, const uint8_t* data, uint32_t extdata,
                                     const RtBitName* names, const char* separator);
/** name = { count, data }, from 64 bits up on lines of its own. The separator of the family does not show. */
VELNOR_API int rtPrintBitStrBraceText(const char* name, size_t numbits, const uint8_t* data, const char* separator);
/** As rtPrintBitStrBraceText, and the extension word in hexadecimal. */
VELNOR_API int rtPrintBitStrBraceTextExt(const char* name, size_t numbits, const uint8_t* data, uint32_t extdata,
                                         const char* separator);
/** The count and a hex dump of an octet string. */
VELNOR_API int rtPrintOctStr(const char* name, size_t numocts, const uint8_t* data, const char* separator);
/** The count and a hex dump of an open type's octets. */
VELNOR_API int rtPrintOpenType(const char* name, size_t numocts, const uint8_t* data, const char* separator);
/** The count and a dump of a string of 16-bit characters, octets as they stand in memory. */
VELNOR_API int rtPrint16BitCharStr(const char* name, size_t nchars, const uint16_t* data, const char* separator);
/** The count and a dump of a string of 32-bit characters, octets as they stand in memory. */
VELNOR_API int rtPrint32BitCharStr(const char* name, size_t nchars, const uint32_t* data, const char* separator);
/** name = '16-bit characters', as rtxPrintToStreamUnicodeCharStr. */
VELNOR_API int rtPrintUnicodeCharStr(const char* name, const uint16_t* chars, int count);
/** name = '32-bit characters'; one outside 32 to 126 as 0x and eight digits. */
VELNOR_API int rtPrintUnivCharStr(const char* name, size_t nchars, const uint32_t* chars);
/** name = the text of rtxDateTimeToString. */
VELNOR_API int rtPrintDateTime(const char* name, const RtxDateTime* value);
/** The arcs of an object identifier in braces, without a name. */
VELNOR_API int rtPrintOIDValue(const RtObjId* value);
/** name = { arcs }. */
VELNOR_API int rtPrintOID(const char* name, const RtObjId* value);
/** As rtPrintOID, of `count` arcs in an array. */
VELNOR_API int rtPrintOID2(const char* name, size_t count, const uint32_t* arcs);
/** name = { arcs }, of 64-bit arcs. */
VELNOR_API int rtPrintOID64(const char* name, const RtObjId64* value);
/** name = { text }. */
VELNOR_API int rtPrintOIDStr(const char* name, const char* text);

VELNOR_END_DECLS

#endif
