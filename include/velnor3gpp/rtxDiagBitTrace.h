/**
 * @file rtxDiagBitTrace.h
 * The bit trace: while a message is coded, every field leaves an entry with its element path, a label, its bit offset
 * and its bit count; afterwards the entries print as a dissection of the message. The trace of a context is off while
 * RtxContext.pBitFldList is null, and then every call here returns in one test. Entries lie in the context's heap; a
 * label is not copied and must outlive the list. A trace that fails for want of memory never fails a coding job. A
 * list serves one thread, like its context.
 */
#ifndef VELNOR3GPP_RTX_DIAG_BIT_TRACE_H
#define VELNOR3GPP_RTX_DIAG_BIT_TRACE_H

#include "velnor3gpp/rtxMemBuf.h"
#include "velnor3gpp/rtxSList.h"
#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

/** Octets that one printed line shows. */
#define RTX_BIT_LINE_OCTETS 4
/* Columns of a printed line. */

#define RTX_BIT_LINE_BITS 35 /**< Bits, with a blank between octets. */
#define RTX_BIT_LINE_HEX 8   /**< Hexadecimal digits. */
#define RTX_BIT_LINE_CHARS 4 /**< Characters. */

/** The print line under construction. */
typedef struct RtxBitLine {
  uint8_t octet;                      /**< Bits of the current octet, gathered so far. */
  uint8_t mask;                       /**< The current bit of the octet; 0x80 at the start of one. */
  char bits[RTX_BIT_LINE_BITS + 1];   /**< Bits as "0", "1" and "x", or "-" for those of other fields. */
  char hex[RTX_BIT_LINE_HEX + 1];     /**< Whole octets in hexadecimal. */
  char chars[RTX_BIT_LINE_CHARS + 1]; /**< Whole octets as characters. */
  uint8_t bitsLen;                    /**< Characters in `bits`. */
  uint8_t hexLen;                     /**< Characters in `hex`. */
  uint8_t charsLen;                   /**< Characters in `chars`. */
} RtxBitLine;

/** The trace of one context. */
typedef struct RtxBitFieldList {
  uint16_t disabledCnt;       /**< While above 0, there are no new entries and no updates. */
  RtxSList fieldList;         /**< RtxBitField entries in order of coding. */
  RtxMemBuf* pCaptureBuf;     /**< Octets that a stream passed, or null when coding runs in the buffer. */
  RtxBitLine lineBuf;         /**< The print line under construction. */
  RtxSListNode* pLastPrinted; /**< The last entry printed; a later print goes on after it. */
} RtxBitFieldList;

/** One entry. */
typedef struct RtxBitField {
  char* elemName;                         /**< Element path joined with "."; heap; null for an empty path. */
  const char* nameSuffix;                 /**< The label; not owned. */
  size_t bitOffset;                       /**< Start in bits from the start of the input. */
  size_t bitCount;                        /**< Length in bits. */
  struct RtxBitFieldList* openTypeFields; /**< Nested trace of an open type, or null. */
} RtxBitField;

/** Makes a trace in the context's heap and turns it on. Returns 0, or RTX_E_NO_MEMORY with an error record. */
VELNOR_API int rtxDiagCtxtBitFieldListInit(RtxContext* pctxt);
/**
 * Initialises a list in the caller's storage. With a stream that does not work in memory it also makes the stream keep
 * all octets that pass, for the print. Returns 0, or RTX_E_NO_MEMORY with an error record.
 */
VELNOR_API int rtxDiagBitFieldListInit(RtxContext* pctxt, RtxBitFieldList* pList);

/** Appends an entry at the current position and returns it; null if the trace is off, disabled or out of memory. */
VELNOR_API RtxBitField* rtxDiagNewBitField(RtxBitFieldList* pList, const char* nameSuffix);
/** Moves the start of the last entry to the current position, as long as its count is 0. */
VELNOR_API void rtxDiagSetBitFldOffset(RtxBitFieldList* pList);
/** Ends the last entry at the current position. */
VELNOR_API void rtxDiagSetBitFldCount(RtxBitFieldList* pList);
/** Gives the last entry another label. */
VELNOR_API void rtxDiagSetBitFldNameSuffix(RtxBitFieldList* pList, const char* suffix);
/** Disables or, once for each time, enables the trace again. Returns 1 if it is disabled now or `pList` is null. */
VELNOR_API int rtxDiagSetBitFldDisabled(RtxBitFieldList* pList, int value);
/** Appends "." and `part` to the name of the last entry; an entry without a name takes the element path instead. */
VELNOR_API void rtxDiagBitFldAppendNamePart(RtxBitFieldList* pList, const char* part);
/**
 * Splits the last entry after its length prefix: what stands so far becomes "length", and an entry with its name and
 * old label follows at the current position.
 */
VELNOR_API void rtxDiagInsBitFieldLen(RtxBitFieldList* pList);

/** Prints the entries not yet printed to the context's print stream. `varname` goes before each path; may be null. */
VELNOR_API void rtxDiagBitTracePrint(RtxBitFieldList* pList, const char* varname);
/** Writes the whole trace as an HTML page; to standard output for a null or empty name or "stdout". */
VELNOR_API void rtxDiagBitTracePrintHTML(const char* filename, RtxBitFieldList* pList, const char* varname);

VELNOR_END_DECLS

#endif
