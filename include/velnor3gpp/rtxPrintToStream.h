/**
 * @file rtxPrintToStream.h
 * Text forms of values, written to a context's print stream. With a null context they go to the process-wide stream
 * or standard output, and the indentation is one for the whole process, not locked. Nothing is owned or kept. A null
 * string prints as "(null)". The functions return 0 except where they say otherwise: what becomes of the text shows
 * only in the stream. They write no indentation of their own, but for the two brace functions.
 */
#ifndef VELNOR3GPP_RTX_PRINT_TO_STREAM_H
#define VELNOR3GPP_RTX_PRINT_TO_STREAM_H

#include "velnor3gpp/rtxPrint.h"
#include "velnor3gpp/rtxPrintStream.h"

VELNOR_BEGIN_DECLS

/** Writes the indentation as blanks. */
VELNOR_API int rtxPrintToStreamIndent(RtxContext* pctxt);
/** Increases the indentation by three columns. */
VELNOR_API int rtxPrintToStreamIncrIndent(RtxContext* pctxt);
/** Decreases the indentation by three columns; 0 stays 0. */
VELNOR_API int rtxPrintToStreamDecrIndent(RtxContext* pctxt);
/** Sets the indentation to 0. */
VELNOR_API int rtxPrintToStreamResetIndent(RtxContext* pctxt);
/** Writes the indentation, the name and an opening brace, and indents what follows. */
VELNOR_API int rtxPrintToStreamOpenBrace(RtxContext* pctxt, const char* name);
/** Takes the indentation back and writes the closing brace on it. */
VELNOR_API int rtxPrintToStreamCloseBrace(RtxContext* pctxt);

/** name = true, or false. */
VELNOR_API int rtxPrintToStreamBoolean(RtxContext* pctxt, const char* name, int value);
/** name = a 32-bit number. */
VELNOR_API int rtxPrintToStreamInteger(RtxContext* pctxt, const char* name, int32_t value);
/** name = a 64-bit number. */
VELNOR_API int rtxPrintToStreamInt64(RtxContext* pctxt, const char* name, int64_t value);
/** name = an unsigned 32-bit number. */
VELNOR_API int rtxPrintToStreamUnsigned(RtxContext* pctxt, const char* name, uint32_t value);
/** name = an unsigned 64-bit number. */
VELNOR_API int rtxPrintToStreamUInt64(RtxContext* pctxt, const char* name, uint64_t value);
/** name = 0x and the octets in one line, or a hex dump of more than 32 octets. */
VELNOR_API int rtxPrintToStreamHexStr(RtxContext* pctxt, const char* name, size_t octets, const uint8_t* data);
/** name = 0x and the octets in one line, however many. */
VELNOR_API int rtxPrintToStreamHexStrPlain(RtxContext* pctxt, const char* name, size_t octets, const uint8_t* data);
/** name = and, unlike the standard-output form, always a dump, without a text column. */
VELNOR_API int rtxPrintToStreamHexStrNoAscii(RtxContext* pctxt, const char* name, size_t octets, const uint8_t* data);
/** The count of octets and a hex dump, under name.numocts and name.data. */
VELNOR_API int rtxPrintToStreamHexBinary(RtxContext* pctxt, const char* name, size_t octets, const uint8_t* data);
/** name = 'value'. */
VELNOR_API int rtxPrintToStreamCharStr(RtxContext* pctxt, const char* name, const char* value);
/** name = 'value', in UTF-8. */
VELNOR_API int rtxPrintToStreamUTF8CharStr(RtxContext* pctxt, const char* name, const char* value);
/**
 * name = '16-bit characters'; one outside 32 to 126 as 0x and four digits. A negative count runs to the first zero.
 * Nothing for a null string.
 */
VELNOR_API int rtxPrintToStreamUnicodeCharStr(RtxContext* pctxt, const char* name, const uint16_t* chars, int count);
/** name = a number with up to 6 significant digits. */
VELNOR_API int rtxPrintToStreamReal(RtxContext* pctxt, const char* name, double value);
/** `name = <null>`. */
VELNOR_API int rtxPrintToStreamNull(RtxContext* pctxt, const char* name);
/** Two lines, name.name and name.value. */
VELNOR_API int rtxPrintToStreamNVP(RtxContext* pctxt, const char* name, const RtxNameValuePair* pair);
/** Copies a file's text in pieces of up to a line or 1023 characters. RTX_E_FILE_OPEN if it cannot be opened. */
VELNOR_API int rtxPrintToStreamFile(RtxContext* pctxt, const char* filename);

/** Forms name[index] in `dst` of `dstSize` characters. Returns `dst`, or null if there is no target. */
VELNOR_API const char* rtxGetArrayElemName(char* dst, size_t dstSize, const char* name, size_t index);

VELNOR_END_DECLS

#endif
