/**
 * @file rtxTypes.h
 * The records that every operation of the library shares: the context, its octet buffer, its error records and the
 * doubly linked list they are kept on. A context and all that hangs on it belong to one thread at a time. Nothing
 * here allocates; the operations on these records stand in rtxContext.h, rtxError.h, rtxDList.h and rtxMemHeap.h.
 */
#ifndef VELNOR3GPP_RTX_TYPES_H
#define VELNOR3GPP_RTX_TYPES_H

#include <stddef.h>
#include <stdint.h>

/** Marks what the library exports. On Windows a caller needs no mark of its own. */
#if defined(_WIN32) && defined(VELNOR3GPP_BUILDING)
#define VELNOR_API __declspec(dllexport)
#elif defined(_WIN32)
#define VELNOR_API
#else
#define VELNOR_API __attribute__((visibility("default")))
#endif

/*
 * Defined where the compiler lays bit-fields from the most significant bit of an octet on (big-endian machines). The
 * presence bits of records are then declared the other way round, so that bit 0 of `m` is the least significant bit of
 * its first octet on every machine. Set them by name, not by place in an initialiser.
 */
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
#define RTX_HIGH_BIT_FIRST 1
#endif

#ifdef __cplusplus
#define VELNOR_BEGIN_DECLS extern "C" {
#define VELNOR_END_DECLS }
#else
#define VELNOR_BEGIN_DECLS /**< Opens declarations of C linkage. */
#define VELNOR_END_DECLS   /**< Closes them. */
#endif

VELNOR_BEGIN_DECLS

struct RtxContext;
struct RtxMemHeap;
struct RtxStream;
struct RtxPrintStream;
struct RtxBitFieldList;
struct Rtx3gppSecContext;

/** One node of a doubly linked list. Nodes come from the heap of the context that appended them. */
typedef struct RtxDListNode {
  void* data;                /**< The entry; not owned by the node. */
  struct RtxDListNode* next; /**< Towards the tail, null at the tail. */
  struct RtxDListNode* prev; /**< Towards the head, null at the head. */
} RtxDListNode;

/** A doubly linked list. All zero is an empty list. */
typedef struct RtxDList {
  size_t count;       /**< Entries on the list. */
  RtxDListNode* head; /**< First entry or null. */
  RtxDListNode* tail; /**< Last entry or null. */
} RtxDList;

/** A stack: the head of the list is the top. */
typedef struct RtxStack {
  struct RtxContext* pctxt; /**< The context whose heap serves the nodes. */
  RtxDList dlist;           /**< The entries, the newest at the head. */
} RtxStack;

/** The octet buffer of a context and its bit cursor. */
typedef struct RtxBuffer {
  uint8_t* data; /**< The octets; owned only if `dynamic` is set. */
  /** Index of the current octet. A decoder that returned 0 may have left it behind `size`, by a length that runs past
   * the input: compare the two, and subtract only then. */
  size_t byteIndex;
  size_t size;          /**< Decoding: valid octets. Encoding: capacity in octets. */
  int16_t bitOffset;    /**< Bits not yet consumed in the current octet, 8 (start of the octet) down to 1. */
  uint8_t dynamic;      /**< 1 if the run-time owns `data` and may grow or free it. */
  uint8_t aligned;      /**< Copied from a parent context; no layer-3 coder reads it. */
  size_t markByteIndex; /**< Octet index saved by a direct-buffer stream's mark; all ones: no mark. */
  uint32_t markFlags;   /**< The context's flags saved by the same mark. */
} RtxBuffer;

/** Stack levels that one error record keeps. */
#define RTX_ERR_STACK_LEVELS 8
/** Parameters that one error record keeps. */
#define RTX_ERR_MAX_PARMS 5

/** One level of a failure on its way out: where it was reported. */
typedef struct RtxErrLocn {
  const char* module; /**< A source file without its ending, or a definition file and its coder: "TS24501IESDec" is
                           TS24501IES.l3. A static string that is not owned. */
  uint32_t line;      /**< Line in that file. */
} RtxErrLocn;

/** One error record. Strings lie in the context's heap. */
typedef struct RtxErrInfo {
  RtxErrLocn stack[RTX_ERR_STACK_LEVELS]; /**< Failing levels, innermost first. */
  int16_t status;                         /**< A code of rtxStatus.h. */
  uint8_t stkx;                           /**< Entries used in `stack`. */
  uint8_t parmcount;                      /**< Entries used in `parms`. */
  char* parms[RTX_ERR_MAX_PARMS];         /**< Message parameters. */
  char* elemName;                         /**< Dotted element path at the moment of the failure, or null. */
  uint8_t fatal;                          /**< 1 when made; cleared by rtxErrSetNonFatal. */
} RtxErrInfo;

/** Extension slots of a context. */
#define RTX_CTXT_EXT_SLOTS 4
/** The slot of what RTX_FLAG_KEEP_ELEMENTS keeps. It lies in the context's heap and ends with the job. */
#define RTX_CTXT_KEPT_SLOT 1

/**
 * The context: first argument of nearly every operation. It holds the heap, the octet buffer, the error records and
 * the names and regions under work. One context serves one coding job at a time, on one thread.
 */
typedef struct RtxContext {
  struct RtxMemHeap* pMemHeap;         /**< The heap that owns all that this context allocates. */
  RtxBuffer buffer;                    /**< The octets under work and the cursor. */
  RtxDList errInfo;                    /**< RtxErrInfo records of the current job, oldest first. */
  RtxErrInfo reservedErr;              /**< Collects parameters before a record exists; stands in when memory is out. */
  RtxDListNode reservedErrNode;        /**< Links `reservedErr` into `errInfo` in that emergency. */
  uint32_t initCode;                   /**< RTX_CTXT_INIT_CODE while the context is initialised. */
  uint32_t flags;                      /**< RTX_FLAG_... bits. */
  uint8_t level;                       /**< Nesting count of element names. */
  uint8_t state;                       /**< Set to 0 by rtxCtxtSetBufPtr. */
  uint8_t diagLevel;                   /**< Trace level: 0 errors, 1 warnings, 2 information, 3 debug. */
  uint8_t lastChar;                    /**< Last octet read by rtxReadBytes or written by rtxWriteBytes. */
  struct RtxStream* pStream;           /**< The stream bound to the context, or null. */
  struct RtxPrintStream* pPrintStream; /**< Print callback and its argument, or null. */
  RtxDList elemNameStack;              /**< Element names from the outermost down; the type name is first. */
  RtxDList regexpCache;                /**< Compiled regular expressions. */
  RtxStack containerStack;             /**< Open length regions. */
  void* extInfo[RTX_CTXT_EXT_SLOTS];   /**< Extension records; each one's first word is its release operation. */
  uintptr_t threadWord;                /**< Copied by rtxInitThreadContext; nothing else reads it. */
  struct Rtx3gppSecContext* pSecurity; /**< NAS security state, or null. */
  void (*pFreeHook)(struct RtxContext* pctxt); /**< Last step of rtxFreeContext in place of clearing `initCode`. */
  struct RtxBitFieldList* pBitFldList;         /**< The bit trace, or null when the trace is off. */
  uint16_t indent;                             /**< Print indentation in columns. */
  uint16_t specRelease; /**< 0, or the release limit that the radio capability decoders read. Set by the caller. */
} RtxContext;

/** Value of RtxContext.initCode while a context is initialised. */
#define RTX_CTXT_INIT_CODE 0x1AA2A34AU

/** Bits of RtxContext.flags. */
#define RTX_FLAG_CANONICAL_TIME 0x00000100U    /**< Time-string parsers require the strict form. */
#define RTX_FLAG_CANONICAL_TIME2 0x00000200U   /**< The same, second form. */
#define RTX_FLAG_KEEP_ELEMENTS 0x00000400U     /**< What a record does not hold is kept and comes back on encoding. */
#define RTX_FLAG_STANDARD_FORMS 0x00000800U    /**< Rows that differ from the public standard follow the standard. */
#define RTX_FLAG_CTXT_MALLOCED 0x00008000U     /**< The context record came from malloc in rtNewContext. */
#define RTX_FLAG_NO_INDENT 0x00400000U         /**< rtxWriteIndent writes nothing. */
#define RTX_FLAG_SYSMEM_BUFFER 0x00800000U     /**< buffer.data came from the system allocator. */
#define RTX_FLAG_CLOSING 0x01000000U           /**< The context is closing: errors record neither place nor name. */
#define RTX_OPENTAIL_FLAG 0x02000000U          /**< An open octet tail was just encoded. */
#define RTX_FLAG_MOBILE_ORIGINATED 0x04000000U /**< Message direction: set for the mobile-originated form. */
#define RTX_FLAG_BUFFER_MODE 0x20000000U       /**< Coding runs in the buffer alone, whatever stream is attached. */
#define RTX_FLAG_DIAG 0x80000000U              /**< Diagnostics on for this context. */

VELNOR_END_DECLS

#endif
