/**
 * @file rtPrintToStream.h
 * Text forms of ASN.1 kinds of values, written to a context's print stream; with a null context to the process-wide
 * stream or standard output. Arguments and forms are those of rtPrint.h, except that the data of a bit string stands in
 * lower-case hexadecimal on lines of 16 octets. Nothing is owned or kept, and no memory is taken. Every function
 * returns 0.
 */
#ifndef VELNOR3GPP_RT_PRINT_TO_STREAM_H
#define VELNOR3GPP_RT_PRINT_TO_STREAM_H

#include "velnor3gpp/rtPrint.h"
#include "velnor3gpp/rtxPrintStream.h"

VELNOR_BEGIN_DECLS

/** The count and the data of a bit string of `numbits` bits. */
VELNOR_API int rtPrintToStreamBitStr(RtxContext* pctxt, const char* name, size_t numbits, const uint8_t* data,
                                     const char* separator);
/** As rtPrintToStreamBitStr, and the extension word in hexadecimal. */
VELNOR_API int rtPrintToStreamBitStrExt(RtxContext* pctxt, const char* name, size_t numbits, const uint8_t* data,
                                        uint32_t extdata, const char* separator);
/** The count and every bit as "0" or "1". */
VELNOR_API int rtPrintToStreamBitStrBin(RtxContext* pctxt, const char* name, size_t numbits, const uint8_t* data,
                                        const char* separator);
/** The count and the names of the bits set, joined by commas. `names` ends with a null name. */
VELNOR_API int rtPrintToStreamBitStrNamed(RtxContext* pctxt, const char* name, size_t numbits, const uint8_t* data,
                                          const RtBitName* names, const char* separator);
/** As rtPrintToStreamBitStrNamed: the extension word, whose bits have no names, does not show. */
VELNOR_API int rtPrintToStreamBitStrNamedExt(RtxContext* pctxt, const char* name, size_t numbits, const uint8_t* data,
                                             uint32_t extdata, const RtBitName* names, const char* separator);
/** name = { count, data }, from 64 bits up on lines of its own. The separator of the family does not show. */
VELNOR_API int rtPrintToStreamBitStrBraceText(RtxContext* pctxt, const char* name, size_t numbits, const uint8_t* data,
                                              const char* separator);
/** As rtPrintToStreamBitStrBraceText, and the extension word in hexadecimal. */
VELNOR_API int rtPrintToStreamBitStrBraceTextExt(RtxContext* pctxt, const char* name, size_t numbits,
                                                 const uint8_t* data, uint32_t extdata, const char* separator);
/** The count and a hex dump of an octet string. */
VELNOR_API int rtPrintToStreamOctStr(RtxContext* pctxt, const char* name, size_t numocts, const uint8_t* data,
                                     const char* separator);
/** The count and a hex dump of an open type's octets. */
VELNOR_API int rtPrintToStreamOpenType(RtxContext* pctxt, const char* name, size_t numocts, const uint8_t* data,
                                       const char* separator);
/** The count and a dump of a string of 16-bit characters, octets as they stand in memory. */
VELNOR_API int rtPrintToStream16BitCharStr(RtxContext* pctxt, const char* name, size_t nchars, const uint16_t* data,
                                           const char* separator);
/** The count and a dump of a string of 32-bit characters, octets as they stand in memory. */
VELNOR_API int rtPrintToStream32BitCharStr(RtxContext* pctxt, const char* name, size_t nchars, const uint32_t* data,
                                           const char* separator);
/** name = '16-bit characters', as rtxPrintToStreamUnicodeCharStr. */
VELNOR_API int rtPrintToStreamUnicodeCharStr(RtxContext* pctxt, const char* name, const uint16_t* chars, int count);
/** name = '32-bit characters'; one outside 32 to 126 as 0x and eight digits. */
VELNOR_API int rtPrintToStreamUnivCharStr(RtxContext* pctxt, const char* name, size_t nchars, const uint32_t* chars);
/** name = the text of rtxDateTimeToString. */
VELNOR_API int rtPrintToStreamDateTime(RtxContext* pctxt, const char* name, const RtxDateTime* value);
/** The arcs of an object identifier in braces, without a name. */
VELNOR_API int rtPrintToStreamOIDValue(RtxContext* pctxt, const RtObjId* value);
/** name = { arcs }. */
VELNOR_API int rtPrintToStreamOID(RtxContext* pctxt, const char* name, const RtObjId* value);
/** As rtPrintToStreamOID, of `count` arcs in an array. */
VELNOR_API int rtPrintToStreamOID2(RtxContext* pctxt, const char* name, size_t count, const uint32_t* arcs);
/** name = { arcs }, of 64-bit arcs. */
VELNOR_API int rtPrintToStreamOID64(RtxContext* pctxt, const char* name, const RtObjId64* value);
/** name = { text }. */
VELNOR_API int rtPrintToStreamOIDStr(RtxContext* pctxt, const char* name, const char* text);
/** name = the octets in decimal, joined by dots. */
VELNOR_API int rtPrintToStreamIpv4Addr(RtxContext* pctxt, const char* name, size_t octets, const uint8_t* data);
/**
 * name = the octets in hexadecimal without leading zeros, a colon after every second octet, the last one included.
 */
VELNOR_API int rtPrintToStreamIpv6Addr(RtxContext* pctxt, const char* name, size_t octets, const uint8_t* data);
/** name = the digits of a TBCD string, low nibble first, without filler, and, unlike rtxPrintTBCDStr, a line feed. */
VELNOR_API int rtPrintToStreamTBCDStr(RtxContext* pctxt, const char* name, size_t octets, const uint8_t* data);
/** name = the octets from 32 to 126; others are left out. */
VELNOR_API int rtPrintToStreamText(RtxContext* pctxt, const char* name, size_t octets, const uint8_t* data);

VELNOR_END_DECLS

#endif
