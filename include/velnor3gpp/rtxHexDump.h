/**
 * @file rtxHexDump.h
 * Hex dumps: lines of 16 octets as a column of 48 characters of hexadecimal and a column of 16 of text, in which what
 * is not from 32 to 126 shows as a dot. A unit is the number of octets written without a blank between, the first the
 * most significant: 1 to 4; 0 and what is above count as 4, but from 5 to 16 a line has only 16 / unit of them. Null
 * data or no octets print nothing. The forms without a text column are those named NoAscii. Nothing is owned or kept.
 */
#ifndef VELNOR3GPP_RTX_HEX_DUMP_H
#define VELNOR3GPP_RTX_HEX_DUMP_H

#include <stdio.h>

#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

/** To standard output, octet by octet. Returns 0. */
VELNOR_API int rtxHexDump(const uint8_t* data, size_t octets);
/** To standard output. Returns 0. */
VELNOR_API int rtxHexDumpEx(const uint8_t* data, size_t octets, size_t unit);
/** To the print stream of the context, which may be null, octet by octet. Returns 0. */
VELNOR_API int rtxHexDumpToStream(RtxContext* pctxt, const uint8_t* data, size_t octets);
/** To the print stream. Returns 0. */
VELNOR_API int rtxHexDumpToStreamEx(RtxContext* pctxt, const uint8_t* data, size_t octets, size_t unit);
/** To the print stream, hexadecimal alone. Returns 0. */
VELNOR_API int rtxHexDumpToStreamExNoAscii(RtxContext* pctxt, const uint8_t* data, size_t octets, size_t unit);
/** To an open file, octet by octet. Returns 0. */
VELNOR_API int rtxHexDumpToFile(FILE* file, const uint8_t* data, size_t octets);
/** To an open file. Returns 0. */
VELNOR_API int rtxHexDumpToFileEx(FILE* file, const uint8_t* data, size_t octets, size_t unit);
/** To an open file, hexadecimal alone. Returns 0. */
VELNOR_API int rtxHexDumpToFileExNoAscii(FILE* file, const uint8_t* data, size_t octets, size_t unit);
/** To a new file of that name, octet by octet. RTX_E_FILE_OPEN or RTX_E_WRITE. */
VELNOR_API int rtxHexDumpToNamedFile(const char* filename, const uint8_t* data, size_t octets);
/** To a new file of that name, octet by octet, hexadecimal alone. RTX_E_FILE_OPEN or RTX_E_WRITE. */
VELNOR_API int rtxHexDumpToNamedFileNoAscii(const char* filename, const uint8_t* data, size_t octets);
/** Dumps the whole of one file into a new other one. RTX_E_FILE_OPEN, RTX_E_READ or RTX_E_WRITE. */
VELNOR_API int rtxHexDumpFileContentsToFile(const char* inFilename, const char* outFilename);
/** To a string of `size` characters' capacity, from its start. RTX_E_ENCODE_OVERFLOW keeps the lines that fit. */
VELNOR_API int rtxHexDumpToString(const uint8_t* data, size_t octets, char* buffer, size_t size);
/** As rtxHexDumpToString, in units. */
VELNOR_API int rtxHexDumpToStringEx(const uint8_t* data, size_t octets, char* buffer, size_t size, size_t unit);

VELNOR_END_DECLS

#endif
