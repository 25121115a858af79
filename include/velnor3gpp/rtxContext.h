/**
 * @file rtxContext.h
 * The life of a context: set-up, binding a message, the element names under work, the end of a job and the end of the
 * context. The caller owns the RtxContext record; all that the library hangs on it lies in the context's heap and is
 * released as a whole. Nothing here locks: a context, its heap and its records belong to one thread at a time.
 */
#ifndef VELNOR3GPP_RTX_CONTEXT_H
#define VELNOR3GPP_RTX_CONTEXT_H

#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

/** Zeroes the record and makes it a context without a heap; the first allocation creates one. Returns 0. */
VELNOR_API int rtxPreInitContext(RtxContext* pctxt);
/** Makes the record a context with a heap of its own. Returns 0 or RTX_E_NO_MEMORY. End it with rtxFreeContext. */
VELNOR_API int rtxInitContext(RtxContext* pctxt);
/** The same with allocator functions for the heap; null means malloc, realloc and free. */
VELNOR_API int rtxInitContextExt(RtxContext* pctxt, RtxMallocFunc mallocFunc, RtxReallocFunc reallocFunc,
                                 RtxFreeFunc freeFunc);
/** Makes a context for another thread, with the source's thread word. Returns 0 or RTX_E_NO_MEMORY. */
VELNOR_API int rtxInitThreadContext(RtxContext* pctxt, const RtxContext* pSrcCtxt);
/** Copies buffer, flags and stream. The destination keeps its own heap, errors and stacks. Both then name the same
 *  buffer and stream, which the caller must let only one of them release. */
VELNOR_API void rtxCopyContext(RtxContext* pdst, const RtxContext* psrc);
/** Returns 0, or RTX_E_NO_CONTEXT if the record is null or not an initialised context. */
VELNOR_API int rtxCheckContext(const RtxContext* pctxt);
/** Lets the destination share the source's heap; the destination's own one is released. */
VELNOR_API void rtxCtxtSetMemHeap(RtxContext* pdst, const RtxContext* psrc);

/** Sets the bits of `mask` in the flags. */
VELNOR_API void rtxCtxtSetFlag(RtxContext* pctxt, uint32_t mask);
/** Clears the bits of `mask` in the flags and returns the new flags. */
VELNOR_API uint32_t rtxCtxtClearFlag(RtxContext* pctxt, uint32_t mask);

/** Binds `bufsize` octets, which stay the caller's, and puts the cursor at their start. With a null `bufaddr` the
 *  context gets a growing buffer of its own, of `bufsize` octets or 1024 if that is 0. Returns 0, RTX_E_NO_MEMORY,
 *  RTX_E_TOO_BIG for 512 MiB and more where a size has 32 bits, or RTX_E_NO_CONTEXT for a null or uninitialised
 *  context, which is not looked into: no error record tells of it. */
VELNOR_API int rtxInitContextBuffer(RtxContext* pctxt, uint8_t* bufaddr, size_t bufsize);
/** Primes a coding job: the same, and coding then runs in the buffer alone, whatever stream is attached. It ends no
 * job: end each one, good or bad, with rtxMemReset (or rtxMemFree) before the next is primed. Otherwise the records and
 * error records of all jobs stay, an error that is not its own decides the status of the next message, and each message
 * costs more than the one before, a thousand times as much after some ten thousand. */
VELNOR_API int rtxCtxtSetBufPtr(RtxContext* pctxt, uint8_t* bufaddr, size_t bufsize);

/** Releases all that the current job allocated and gives the storage back; the context stays. A buffer that the
 * run-time owns goes as well, with what a stream has read ahead or not yet written; so do security state and bit trace.
 */
VELNOR_API void rtxMemFree(RtxContext* pctxt);
/** Ends a job: releases all that it allocated, but keeps the storage for the next one. Records that it decoded are
 * gone. Buffer, security state and bit trace go with it where they lie in the context's heap: rt3gppNasSec.h tells how
 * keys outlast it. */
VELNOR_API void rtxMemReset(RtxContext* pctxt);
/** Ends the context and all that hangs on it; the record itself stays the caller's. */
VELNOR_API void rtxFreeContext(RtxContext* pctxt);
/** Releases the compiled regular expressions of the context. */
VELNOR_API void rtxFreeRegexpCache(RtxContext* pctxt);

/** Pushes a type name, kept by pointer, only if no name stands on the stack yet. Returns 0 or RTX_E_NO_MEMORY. */
VELNOR_API int rtxCtxtPushTypeName(RtxContext* pctxt, const char* name);
/** Takes the name off if it is the only one, and returns it; else returns null. */
VELNOR_API const char* rtxCtxtPopTypeName(RtxContext* pctxt);
/** Pushes an element name, kept by pointer, and counts the nesting level up. Returns 0 or RTX_E_NO_MEMORY. */
VELNOR_API int rtxCtxtPushElemName(RtxContext* pctxt, const char* name);
/** Takes the last name off and returns it, null if there is none. Counts the nesting level down in any case. */
VELNOR_API const char* rtxCtxtPopElemName(RtxContext* pctxt);
/** Pushes a copy of the name; the nesting level does not move. Returns 0 or RTX_E_NO_MEMORY. */
VELNOR_API int rtxCtxtPushElemNameCopy(RtxContext* pctxt, const char* name);
/** Takes the last name off and frees it; it must be a copy. The nesting level does not move. */
VELNOR_API void rtxCtxtPopElemNameCopy(RtxContext* pctxt);
/** Pushes "name[index]", built on the heap, as rtxCtxtPushElemName does. Returns 0 or RTX_E_NO_MEMORY. */
VELNOR_API int rtxCtxtPushArrayElemName(RtxContext* pctxt, const char* name, size_t index);
/** Takes such a name off and frees it. Returns 1 if there was one. */
VELNOR_API int rtxCtxtPopArrayElemName(RtxContext* pctxt);

/** Returns the print indentation in levels of three columns. */
VELNOR_API uint16_t rtxGetIndentLevels(const RtxContext* pctxt);
/** Writes a line feed and as many blanks as the indentation has columns to the output. Returns 0 or a status. */
VELNOR_API int rtxWriteIndent(RtxContext* pctxt);

VELNOR_END_DECLS

#endif
