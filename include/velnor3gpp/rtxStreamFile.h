/**
 * @file rtxStreamFile.h
 * Streams over files of the C library, and the two small helpers they need. A file that a stream opened is closed with
 * it; an attached one stays the caller's. Mark and reset need a file that can seek.
 */
#ifndef VELNOR3GPP_RTX_STREAM_FILE_H
#define VELNOR3GPP_RTX_STREAM_FILE_H

#include <stdio.h>

#include "velnor3gpp/rtxStream.h"

VELNOR_BEGIN_DECLS

/** Opens a file by name, for writing ("wb", RTX_STREAM_WRITE) or reading ("rb", RTX_STREAM_READ), and binds a stream to
 *  it. RTX_E_BAD_PARAMETER with neither flag, RTX_E_FILE_OPEN, or RTX_E_NO_MEMORY. */
VELNOR_API int rtxStreamFileOpen(struct RtxContext* pctxt, const char* filename, uint16_t flags);
/** Binds a stream to an open file, from its position on. If the context has no buffer it gets one. RTX_E_BAD_PARAMETER
 *  for a null file or neither flag, or RTX_E_NO_MEMORY. */
VELNOR_API int rtxStreamFileAttach(struct RtxContext* pctxt, FILE* file, uint16_t flags);
/** rtxStreamFileOpen for reading. */
VELNOR_API int rtxStreamFileCreateReader(struct RtxContext* pctxt, const char* filename);
/** rtxStreamFileOpen for writing; the file starts empty. */
VELNOR_API int rtxStreamFileCreateWriter(struct RtxContext* pctxt, const char* filename);

/** Opens a file with a mode of fopen. Returns 0, RTX_E_BAD_PARAMETER for a null argument, or RTX_E_FILE_OPEN. */
VELNOR_API int rtxFileOpen(FILE** pFile, const char* filename, const char* mode);
/** Writes an octet as two upper-case hexadecimal digits and a terminator. RTX_E_BAD_PARAMETER for a null buffer or a
 *  `bufsize` below 3. */
VELNOR_API int rtxByteToHexChar(uint8_t byte, char* buf, size_t bufsize);

VELNOR_END_DECLS

#endif
