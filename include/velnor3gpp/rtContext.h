/**
 * @file rtContext.h
 * Contexts for the layer that carries ASN.1 types: a context as in rtxContext.h that also knows the words of the
 * statuses from RTX_E_BAD_OID on and holds an ASN.1 information record in its third extension slot. The record comes
 * from the system allocator and ends with the context.
 */
#ifndef VELNOR3GPP_RT_CONTEXT_H
#define VELNOR3GPP_RT_CONTEXT_H

#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

/** The extension slot of the ASN.1 information record. */
#define RT_CTXT_ASN1_SLOT 2

/** The ASN.1 information record of a context. */
typedef struct RtASN1Info {
  /** Frees what the record holds, not the record. RTX_E_NO_CONTEXT if the slot is empty. */
  int (*release)(struct RtxContext* pctxt);
  /** Empties the record for another job. RTX_E_NO_CONTEXT if the slot is empty. */
  int (*reset)(struct RtxContext* pctxt);
  RtxDList eventHandlers; /**< The event handlers; the nodes are in the heap, the entries are the caller's. */
} RtASN1Info;

/** rtxInitContext with the messages and the information record of this layer. Returns 0 or RTX_E_NO_MEMORY. */
VELNOR_API int rtInitContext(RtxContext* pctxt);
/** Hangs an empty information record on the context. Returns 0 or RTX_E_NO_MEMORY. */
VELNOR_API int rtCtxtInitASN1Info(RtxContext* pctxt);
/** Allocates a context by malloc and makes it ready; null on failure. End it with rtFreeContext. */
VELNOR_API RtxContext* rtNewContext(void);
/** Ends a context, and frees the record if it came from rtNewContext. Nothing for null or an ended context. */
VELNOR_API void rtFreeContext(RtxContext* pctxt);
/** Makes a context that shares the parent's heap, with a buffer of its own yet to be bound. Returns 0 or
 *  RTX_E_NO_MEMORY. */
VELNOR_API int rtInitSubContext(RtxContext* psub, const RtxContext* pparent);

VELNOR_END_DECLS

#endif
