/**
 * @file rtxPrint.h
 * Text forms of values, written to standard output, without a context. The indentation of this family is one for the
 * whole process and is not locked. Nothing is owned or kept. Names and strings are printed as they are; a null string
 * prints as "(null)". The functions return 0 except where they say otherwise, and write no indentation of their own.
 */
#ifndef VELNOR3GPP_RTX_PRINT_H
#define VELNOR3GPP_RTX_PRINT_H

#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

/** A name and its value. The strings belong to the caller. */
typedef struct RtxNameValuePair {
  const char* name;  /**< Null prints as "(null)". */
  const char* value; /**< Null prints as "(null)". */
} RtxNameValuePair;

/** Writes the indentation as blanks. */
VELNOR_API void rtxPrintIndent(void);
/** Increases the indentation by three columns. */
VELNOR_API void rtxPrintIncrIndent(void);
/** Decreases the indentation by three columns; 0 stays 0. */
VELNOR_API void rtxPrintDecrIndent(void);

/** name = true, or false. */
VELNOR_API int rtxPrintBoolean(const char* name, int value);
/** name = a 32-bit number. */
VELNOR_API int rtxPrintInteger(const char* name, int32_t value);
/** name = a 64-bit number. */
VELNOR_API int rtxPrintInt64(const char* name, int64_t value);
/** name = an unsigned 32-bit number. */
VELNOR_API int rtxPrintUnsigned(const char* name, uint32_t value);
/** name = an unsigned 64-bit number. */
VELNOR_API int rtxPrintUInt64(const char* name, uint64_t value);
/** name = 0x and the octets in one line, or a hex dump of more than 32 octets. */
VELNOR_API int rtxPrintHexStr(const char* name, size_t octets, const uint8_t* data);
/** name = 0x and the octets in one line, however many. */
VELNOR_API int rtxPrintHexStrPlain(const char* name, size_t octets, const uint8_t* data);
/** As rtxPrintHexStr, with a dump that has no text column. */
VELNOR_API int rtxPrintHexStrNoAscii(const char* name, size_t octets, const uint8_t* data);
/** The count of octets and a hex dump, under name.numocts and name.data. */
VELNOR_API int rtxPrintHexBinary(const char* name, size_t octets, const uint8_t* data);
/** name = 'value'. */
VELNOR_API int rtxPrintCharStr(const char* name, const char* value);
/** name = 'value', in UTF-8. */
VELNOR_API int rtxPrintUTF8CharStr(const char* name, const char* value);
/**
 * name = '16-bit characters'; one outside 32 to 126 as 0x and four digits. A negative count runs to the first zero.
 * Nothing for a null string.
 */
VELNOR_API int rtxPrintUnicodeCharStr(const char* name, const uint16_t* chars, int count);
/** As rtxPrintUnicodeCharStr, with a 64-bit count. */
VELNOR_API int rtxPrintUnicodeCharStr64(const char* name, const uint16_t* chars, int64_t count);
/** name = a number with up to 12 significant digits, twice those of the stream form. */
VELNOR_API int rtxPrintReal(const char* name, double value);
/** `name = <null>`. */
VELNOR_API int rtxPrintNull(const char* name);
/** Two lines, name.name and name.value. */
VELNOR_API int rtxPrintNVP(const char* name, const RtxNameValuePair* pair);
/** Two lines, name[index].name and name[index].value. */
VELNOR_API int rtxPrintArrayNVP(const char* name, size_t index, const RtxNameValuePair* pair);
/** Copies a file's text in pieces of up to a line or 1023 characters, each with a line feed added. RTX_E_FILE_OPEN. */
VELNOR_API int rtxPrintFile(const char* filename);
/** name = the octets in decimal, joined by dots. */
VELNOR_API int rtxPrintIpv4Addr(const char* name, size_t octets, const uint8_t* data);
/** name = the octets in hexadecimal without leading zeros, a colon after every second octet, the last one included. */
VELNOR_API int rtxPrintIpv6Addr(const char* name, size_t octets, const uint8_t* data);
/** name = the digits of a TBCD string, low nibble first, without filler. Ends without a line feed. */
VELNOR_API int rtxPrintTBCDStr(const char* name, size_t octets, const uint8_t* data);
/** name = the octets from 32 to 126; others are left out. */
VELNOR_API int rtxPrintText(const char* name, size_t octets, const uint8_t* data);

VELNOR_END_DECLS

#endif
