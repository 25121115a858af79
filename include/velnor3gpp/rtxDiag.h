/**
 * @file rtxDiag.h
 * The diagnostic print: a debug log that is off until a caller turns it on, for one context or for the process, and
 * that is filtered by level. A message that begins with "~" carries its class in the next character, in either case:
 * "~E" error, "~W" warning, "~I" information, "~D" debug; the mark is printed as part of the text. A message without
 * a mark always passes. No environment variable and no file turns diagnostics on. The process-wide switch is written
 * without a lock. Every function takes a null context, which prints as one of the debug level.
 */
#ifndef VELNOR3GPP_RTX_DIAG_H
#define VELNOR3GPP_RTX_DIAG_H

#include "velnor3gpp/rtxPrintStream.h"

VELNOR_BEGIN_DECLS

/* Values of RtxContext.diagLevel: each passes its own class and those before it. */

#define RTX_DIAG_ERROR 0   /**< Errors. */
#define RTX_DIAG_WARNING 1 /**< Warnings. */
#define RTX_DIAG_INFO 2    /**< Information. */
#define RTX_DIAG_DEBUG 3   /**< What helps in debugging. */

/** Turns the context's diagnostics on or off. Returns what rtxDiagEnabled said before. */
VELNOR_API int rtxSetDiag(RtxContext* pctxt, int value);
/** Turns diagnostics on or off for all contexts of the process. Returns the old switch. */
VELNOR_API int rtxSetGlobalDiag(int value);
/** Returns 1 if the process-wide switch or the context's own is on. */
VELNOR_API int rtxDiagEnabled(const RtxContext* pctxt);
/** Turns the context's diagnostics on at a level of RTX_DIAG_ERROR to RTX_DIAG_DEBUG. */
VELNOR_API void rtxDiagSetTraceLevel(RtxContext* pctxt, int level);
/** Returns 1 if diagnostics are on and the context's level passes messages of `level`. A level above 3 passes none. */
VELNOR_API int rtxDiagTraceLevelEnabled(const RtxContext* pctxt, int level);

/** If enabled and passed by the filter, formats to standard output. */
VELNOR_API void rtxDiagPrint(RtxContext* pctxt, const char* format, ...) RTX_PRINTF_LIKE(2, 3);
/** If enabled and passed by the filter, formats to the print stream. */
VELNOR_API void rtxDiagStream(RtxContext* pctxt, const char* format, ...) RTX_PRINTF_LIKE(2, 3);
/** If enabled, dumps `size` octets to standard output. */
VELNOR_API void rtxDiagHexDump(RtxContext* pctxt, const uint8_t* data, size_t size);
/** If enabled, dumps `size` octets to the print stream. */
VELNOR_API void rtxDiagStreamHexDump(RtxContext* pctxt, const uint8_t* data, size_t size);
/** If enabled, writes `size` characters and a line feed to standard output. */
VELNOR_API void rtxDiagPrintChars(RtxContext* pctxt, const char* data, size_t size);
/** If enabled, writes `size` characters to the print stream. */
VELNOR_API void rtxDiagStreamPrintChars(RtxContext* pctxt, const char* data, size_t size);
/**
 * If enabled, writes `descr` and `nbits` bits as "0" and "1" to the print stream as one string. `bitOffset` counts from
 * the most significant bit of the first octet. Leaves RTX_E_NO_MEMORY in the error record if there is no room to join.
 */
VELNOR_API void rtxDiagStreamPrintBits(RtxContext* pctxt, const char* descr, const uint8_t* data, size_t bitOffset,
                                       size_t nbits);

VELNOR_END_DECLS

#endif
