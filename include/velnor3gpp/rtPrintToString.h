/**
 * @file rtPrintToString.h
 * Text forms of values, appended to a terminated string in a buffer of `size` characters that the caller owns. Each
 * function returns 0, or RTX_E_ENCODE_OVERFLOW if the text does not fit or there is no buffer: then the parts that fit
 * stand, terminated. The indentation of this family is one for the whole process and is not locked.
 */
#ifndef VELNOR3GPP_RT_PRINT_TO_STRING_H
#define VELNOR3GPP_RT_PRINT_TO_STRING_H

#include "velnor3gpp/rtPrint.h"

VELNOR_BEGIN_DECLS

/** Appends a text; null does not fit. */
VELNOR_API int rtPrintToString(const char* text, char* buffer, size_t size);
/** Appends the indentation as blanks. */
VELNOR_API int rtPrintToStringIndent(char* buffer, size_t size);
/** Increases the indentation by three columns. */
VELNOR_API void rtPrintToStringIncrIndent(void);
/** Decreases the indentation by three columns; 0 stays 0. */
VELNOR_API void rtPrintToStringDecrIndent(void);
/** Sets the indentation to 0. */
VELNOR_API void rtPrintToStringResetIndent(void);
/** Appends the indentation, the name and an opening brace, and indents what follows. */
VELNOR_API int rtPrintToStringOpenBrace(const char* name, char* buffer, size_t size);
/** Takes the indentation back and appends the closing brace on it. */
VELNOR_API int rtPrintToStringCloseBrace(char* buffer, size_t size);
/** name = TRUE or FALSE, in capitals unlike the other families. */
VELNOR_API int rtPrintToStringBoolean(const char* name, int value, char* buffer, size_t size);
/** name = a 32-bit number. */
VELNOR_API int rtPrintToStringInteger(const char* name, int32_t value, char* buffer, size_t size);
/** name = a 64-bit number. */
VELNOR_API int rtPrintToStringInt64(const char* name, int64_t value, char* buffer, size_t size);
/** name = an unsigned 32-bit number. */
VELNOR_API int rtPrintToStringUnsigned(const char* name, uint32_t value, char* buffer, size_t size);
/** name = an unsigned 64-bit number. */
VELNOR_API int rtPrintToStringUInt64(const char* name, uint64_t value, char* buffer, size_t size);
/** name = a number with up to 6 significant digits. */
VELNOR_API int rtPrintToStringReal(const char* name, double value, char* buffer, size_t size);
/** `name = <null>`. */
VELNOR_API int rtPrintToStringNull(const char* name, char* buffer, size_t size);
/** name = 'value'. */
VELNOR_API int rtPrintToStringCharStr(const char* name, const char* value, char* buffer, size_t size);
/** As rtPrintToStringCharStr. */
VELNOR_API int rtPrintToStringUTF8Str(const char* name, const char* value, char* buffer, size_t size);
/** name = 0x and the octets in one line, however many. */
VELNOR_API int rtPrintToStringHexStr(const char* name, size_t octets, const uint8_t* data, char* buffer, size_t size);
/** The count of octets and a hex dump, under name.numocts and name.data. */
VELNOR_API int rtPrintToStringHexBinary(const char* name, size_t octets, const uint8_t* data, char* buffer,
                                        size_t size);
/** Two lines, name.name and name.value. */
VELNOR_API int rtPrintToStringNVP(const char* name, const RtxNameValuePair* pair, char* buffer, size_t size);
/** The count and the data of a bit string of `numbits` bits. */
VELNOR_API int rtPrintToStringBitStr(const char* name, size_t numbits, const uint8_t* data, const char* separator,
                                     char* buffer, size_t size);
/** As rtPrintToStringBitStr, and the extension word in hexadecimal. */
VELNOR_API int rtPrintToStringBitStrExt(const char* name, size_t numbits, const uint8_t* data, uint32_t extdata,
                                        const char* separator, char* buffer, size_t size);
/** The count and every bit as "0" or "1". */
VELNOR_API int rtPrintToStringBitStrBin(const char* name, size_t numbits, const uint8_t* data, const char* separator,
                                        char* buffer, size_t size);
/** The count and the names of the bits set, joined by commas. `names` ends with a null name. */
VELNOR_API int rtPrintToStringBitStrNamed(const char* name, size_t numbits, const uint8_t* data, const RtBitName* names,
                                          const char* separator, char* buffer, size_t size);
/** As rtPrintToStringBitStrNamed: the extension word, whose bits have no names, does not show. */
VELNOR_API int rtPrintToStringBitStrNamedExt(const char* name, size_t numbits, const uint8_t* data, uint32_t extdata,
                                             const RtBitName* names, const char* separator, char* buffer, size_t size);
/** name = { count, data }, from 64 bits up on lines of its own. The separator of the family does not show. */
VELNOR_API int rtPrintToStringBitStrBraceText(const char* name, size_t numbits, const uint8_t* data,
                                              const char* separator, char* buffer, size_t size);
/** As rtPrintToStringBitStrBraceText, and the extension word in hexadecimal. */
VELNOR_API int rtPrintToStringBitStrBraceTextExt(const char* name, size_t numbits, const uint8_t* data,
                                                 uint32_t extdata, const char* separator, char* buffer, size_t size);
/** The count and a hex dump of an octet string. */
VELNOR_API int rtPrintToStringOctStr(const char* name, size_t numocts, const uint8_t* data, const char* separator,
                                     char* buffer, size_t size);
/** The count and a hex dump of an open type's octets. */
VELNOR_API int rtPrintToStringOpenType(const char* name, size_t numocts, const uint8_t* data, const char* separator,
                                       char* buffer, size_t size);
/** The count and a dump of a string of 16-bit characters, octets as they stand in memory. */
VELNOR_API int rtPrintToString16BitCharStr(const char* name, size_t nchars, const uint16_t* data, const char* separator,
                                           char* buffer, size_t size);
/** The count and a dump of a string of 32-bit characters, octets as they stand in memory. */
VELNOR_API int rtPrintToString32BitCharStr(const char* name, size_t nchars, const uint32_t* data, const char* separator,
                                           char* buffer, size_t size);
/** name = '16-bit characters', as rtxPrintToStreamUnicodeCharStr. */
VELNOR_API int rtPrintToStringUnicodeCharStr(const char* name, const uint16_t* chars, int count, char* buffer,
                                             size_t size);
/** name = '32-bit characters'; one outside 32 to 126 as 0x and eight digits. */
VELNOR_API int rtPrintToStringUnivCharStr(const char* name, size_t nchars, const uint32_t* chars, char* buffer,
                                          size_t size);
/** name = the text of rtxDateTimeToString. */
VELNOR_API int rtPrintToStringDateTime(const char* name, const RtxDateTime* value, char* buffer, size_t size);
/** The arcs of an object identifier in braces, without a name. */
VELNOR_API int rtPrintToStringOIDValue(const RtObjId* value, char* buffer, size_t size);
/** name = { arcs }. */
VELNOR_API int rtPrintToStringOID(const char* name, const RtObjId* value, char* buffer, size_t size);
/** As rtPrintToStringOID, of `count` arcs in an array. */
VELNOR_API int rtPrintToStringOID2(const char* name, size_t count, const uint32_t* arcs, char* buffer, size_t size);
/** name = { arcs }, of 64-bit arcs. */
VELNOR_API int rtPrintToStringOID64(const char* name, const RtObjId64* value, char* buffer, size_t size);
/** name = { text }. */
VELNOR_API int rtPrintToStringOIDStr(const char* name, const char* text, char* buffer, size_t size);

VELNOR_END_DECLS

#endif
