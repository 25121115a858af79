/**
 * @file rtxError.h
 * The error records of a context and their words. A function that fails adds parameters, then reports its status with
 * module and line, and returns; each level on the way out adds one entry to the same record. Records, parameters and
 * element paths lie in the context's heap until rtxErrReset or the end of the job. Nothing here decides whether a job
 * goes on. The table of message tables is process-wide and has no lock: make the first context before threads race.
 */
#ifndef VELNOR3GPP_RTX_ERROR_H
#define VELNOR3GPP_RTX_ERROR_H

#include "velnor3gpp/rtxStatus.h"
#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

/** Message tables that can be registered in a process. */
#define RTX_ERR_MAX_TABLES 5

/** Takes the text of a context's errors. The text is valid until the context's heap is reset. */
typedef void (*RtxErrLogFunc)(const char* text, void* cbArg);

/** Reports a failure: another level of the record under way if it has the same status, else a new record. `module` is
 *  kept by pointer; null or "" records no place. Returns rtxErrGetStatus, or RTX_E_NO_MEMORY. */
VELNOR_API int rtxErrSetData(RtxContext* pctxt, int status, const char* module, int line);
/** Reports a failure in a record of its own, whatever is under way. Returns as rtxErrSetData. */
VELNOR_API int rtxErrSetNewData(RtxContext* pctxt, int status, const char* module, int line);
/** Appends an empty record, marked fatal; null when out of memory. */
VELNOR_API RtxErrInfo* rtxErrNewNode(RtxContext* pctxt);
/** Marks the last record as one that rtxErrGetStatus passes over. */
VELNOR_API void rtxErrSetNonFatal(RtxContext* pctxt);

/* Parameters of the next report. Each returns 1 if stored, 0 when five are stored already or memory is out. */

/** Adds a copy of a terminated string; null reads "(null)". */
VELNOR_API int rtxErrAddStrParm(RtxContext* pctxt, const char* s);
/** Adds a copy of the first `n` characters, fewer if the string ends before; null reads "(null)". */
VELNOR_API int rtxErrAddStrnParm(RtxContext* pctxt, const char* s, size_t n);
/** Adds a number in decimal. */
VELNOR_API int rtxErrAddIntParm(RtxContext* pctxt, int32_t value);
/** Adds a number in decimal. */
VELNOR_API int rtxErrAddUIntParm(RtxContext* pctxt, uint32_t value);
/** Adds a number in decimal. */
VELNOR_API int rtxErrAddInt64Parm(RtxContext* pctxt, int64_t value);
/** Adds a number in decimal. */
VELNOR_API int rtxErrAddUInt64Parm(RtxContext* pctxt, uint64_t value);
/** Adds a size in decimal. */
VELNOR_API int rtxErrAddSizeParm(RtxContext* pctxt, size_t value);
/** Adds a number in the form "%E". */
VELNOR_API int rtxErrAddDoubleParm(RtxContext* pctxt, double value);
/** Adds a terminated string of 16-bit characters; null reads as the empty string. */
VELNOR_API int rtxErrAddUniStrParm(RtxContext* pctxt, const uint16_t* s);
/** Adds the element names under work, joined with "."; "?" if there are none. */
VELNOR_API int rtxErrAddElemNameParm(RtxContext* pctxt);
/** Adds the characters of the context's buffer from the cursor to the end or to the first zero. */
VELNOR_API int rtxErrAddCtxtBufParm(RtxContext* pctxt);
/** Adds an option's value in decimal and returns RTX_E_INVALID_CHOICE, which is still to be reported. */
VELNOR_API int rtxErrInvUIntOpt(RtxContext* pctxt, uint32_t value);

/** Returns 0 without fatal records, the status of the only one, or RTX_E_MULTIPLE. */
VELNOR_API int rtxErrGetStatus(const RtxContext* pctxt);
/** The same over all records, non-fatal ones too; several records of one status give that status. */
VELNOR_API int rtxErrCheckNonFatal(const RtxContext* pctxt);
/** Returns the status of the first record, 0 if there is none. */
VELNOR_API int rtxErrGetFirstError(const RtxContext* pctxt);
/** Returns the status of the last record, 0 if there is none. */
VELNOR_API int rtxErrGetLastError(const RtxContext* pctxt);
/** Returns the number of records. */
VELNOR_API size_t rtxErrGetErrorCnt(const RtxContext* pctxt);

/** Frees parameters and element paths of all records and sets their statuses to 0; the records stay listed. */
VELNOR_API void rtxErrFreeParms(RtxContext* pctxt);
/** Drops all records. */
VELNOR_API void rtxErrResetErrInfo(RtxContext* pctxt);
/** Drops all records, element names and open regions; the nesting level stays. Returns 0. */
VELNOR_API int rtxErrReset(RtxContext* pctxt);
/** Drops up to `n` records from the end of the list. Returns 0. */
VELNOR_API int rtxErrResetLastErrors(RtxContext* pctxt, size_t n);
/** Replaces the destination's records by copies of the source's. Returns 0, or RTX_E_NO_MEMORY with none left. */
VELNOR_API int rtxErrCopy(RtxContext* pdst, const RtxContext* psrc);
/** Appends copies of the source's records, all marked fatal. Returns 0, or RTX_E_NO_MEMORY with the first ones made. */
VELNOR_API int rtxErrAppend(RtxContext* pdst, const RtxContext* psrc);

/** Registers the run-time's messages; every context set-up does. */
VELNOR_API void rtxErrInit(void);
/** Registers a table of templates for the statuses from `first` down to `bound` + 1; it must have a row, or null, for
 *  each and live on. Returns 0 for null, if RTX_ERR_MAX_TABLES stand or the table is registered already, else 1. */
VELNOR_API int rtxErrAddErrorTableEntry(const char* const* table, int32_t first, int32_t bound);

/** Writes the words of one record, cut to `bufsize` octets with the terminator. A record of RTX_E_MULTIPLE leaves `buf`
 *  as it was. Returns `buf`, or null if an argument is null or `bufsize` is 0. */
VELNOR_API char* rtxErrFmtMsg(RtxErrInfo* pErrInfo, char* buf, size_t bufsize);
/** Writes statuses, words, element paths and places of all records. Without `buf` or `pBufSize` the text comes from the
 *  heap, null if memory is out, and `*pBufSize` takes its size; else it is cut to `*pBufSize` octets. */
VELNOR_API char* rtxErrGetText(RtxContext* pctxt, char* buf, size_t* pBufSize);
/** The same into `bufsize` octets. Null if `buf` is null or `bufsize` is 0. */
VELNOR_API char* rtxErrGetTextBuf(RtxContext* pctxt, char* buf, size_t bufsize);
/** Returns a heap string of element paths and words, one record after the other; null if memory is out. */
VELNOR_API char* rtxErrGetMsgText(RtxContext* pctxt);
/** Writes the words of all records, a line each, into `bufsize` octets. Null if `buf` is null or `bufsize` is 0. */
VELNOR_API char* rtxErrGetMsgTextBuf(RtxContext* pctxt, char* buf, size_t bufsize);
/** Prints all records to the standard output. */
VELNOR_API void rtxErrPrint(RtxContext* pctxt);
/** Prints one record to the standard output. */
VELNOR_API void rtxErrPrintElement(RtxErrInfo* pErrInfo);
/** Hands the text of rtxErrGetText to the callback, then frees the records' parameters (rtxErrFreeParms). */
VELNOR_API void rtxErrLogUsingCB(RtxContext* pctxt, RtxErrLogFunc callback, void* cbArg);
/** Prints a broken promise of the library itself to the standard output and ends the process with -1. */
VELNOR_API void rtxErrAssertionFailed(const char* condition, int line, const char* file);

VELNOR_END_DECLS

#endif
