/**
 * @file rtxPrintStream.h
 * Where printed text goes. Everything that the library prints leaves through the context's print stream, else through
 * the process-wide one, else to standard output. A print stream is a callback and its argument; the context owns the
 * record, the caller owns what the argument points at. The process-wide stream is written without a lock: set it
 * before threads share it.
 */
#ifndef VELNOR3GPP_RTX_PRINT_STREAM_H
#define VELNOR3GPP_RTX_PRINT_STREAM_H

#include <stdarg.h>

#include "velnor3gpp/rtxTypes.h"

/** Lets the compiler compare a format with its arguments; numbers of both among the function's arguments, from 1. */
#if defined(__MINGW32__) && !defined(__clang__)
#define RTX_PRINTF_LIKE(formatArg, firstArg)                                                                           \
  __attribute__((format(gnu_printf, formatArg, firstArg))) /* not Microsoft's */
#elif defined(__GNUC__)
#define RTX_PRINTF_LIKE(formatArg, firstArg) __attribute__((format(printf, formatArg, firstArg)))
#else
#define RTX_PRINTF_LIKE(formatArg, firstArg)
#endif

VELNOR_BEGIN_DECLS

/**
 * Receives a piece of text as a printf format and its arguments, with the user data of the stream. A printer brings
 * whole lines, longer ones in parts of 1023 characters; only rtxPrintToStreamIndent brings each blank by itself.
 */
typedef void (*rtxPrintCallback)(void* pUserData, const char* format, va_list args);

/** A print stream. Taken from the heap's system allocator, so it outlives a reset of the heap. */
typedef struct RtxPrintStream {
  rtxPrintCallback pfCallback; /**< Receives format and arguments. */
  void* pUserData;             /**< Handed to the callback; not owned. */
} RtxPrintStream;

/** User data of rtxPrintStreamToStringCB. The caller owns the text. */
typedef struct RtxPrintToStringBuffer {
  char* buffer;   /**< Start of the text. */
  size_t bufSize; /**< Capacity in characters, the terminator included. */
  size_t curPos;  /**< Characters written so far. */
} RtxPrintToStringBuffer;

/**
 * Gives the context a print stream in place of any that stands, and sets its indentation to 0. Returns 0,
 * RTX_E_BAD_PARAMETER for a null callback, RTX_E_NO_MEMORY; both leave an error record.
 */
VELNOR_API int rtxSetPrintStream(RtxContext* pctxt, rtxPrintCallback callback, void* pUserData);

/** Sets the process-wide stream. Returns 0, or RTX_E_BAD_PARAMETER for a null callback. Touches no indentation. */
VELNOR_API int rtxSetGlobalPrintStream(rtxPrintCallback callback, void* pUserData);

/** Frees the context's print stream, if there is one. Returns 0, or RTX_E_BAD_PARAMETER for a null context. */
VELNOR_API int rtxPrintStreamRelease(RtxContext* pctxt);

/** Prints through the context's stream, else the process-wide one, else standard output (flushed). Returns 0. */
VELNOR_API int rtxPrintToStream(RtxContext* pctxt, const char* format, ...) RTX_PRINTF_LIKE(2, 3);

/** As rtxPrintToStream, with an argument list. The context may be null. Returns 0. */
VELNOR_API int rtxDiagToStream(RtxContext* pctxt, const char* format, va_list args) RTX_PRINTF_LIKE(2, 0);

/** Callback that prints to standard output. Its user data is not read. */
VELNOR_API void rtxPrintStreamToStdoutCB(void* pUserData, const char* format, va_list args) RTX_PRINTF_LIKE(2, 0);

/** Callback that prints to the open C file given as user data. */
VELNOR_API void rtxPrintStreamToFileCB(void* pUserData, const char* format, va_list args) RTX_PRINTF_LIKE(2, 0);

/** Callback that appends to an RtxPrintToStringBuffer; the text stays terminated and is cut where it does not fit. */
VELNOR_API void rtxPrintStreamToStringCB(void* pUserData, const char* format, va_list args) RTX_PRINTF_LIKE(2, 0);

VELNOR_END_DECLS

#endif
