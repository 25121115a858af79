/**
 * @file rtxIntStack.h
 * A growing stack of integers on a context's heap. `data[index - 1]` is the top.
 */
#ifndef VELNOR3GPP_RTX_INT_STACK_H
#define VELNOR3GPP_RTX_INT_STACK_H

#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

/** Entries of a stack when none is told. */
#define RTX_INT_STACK_SIZE 100

/** The stack. */
typedef struct RtxIntStack {
  struct RtxContext* pctxt; /**< The context whose heap serves the entries. */
  int32_t* data;            /**< The entries, the oldest first. */
  size_t index;             /**< Entries in use. */
  size_t size;              /**< Entries allocated. */
} RtxIntStack;

/** Allocates `size` entries, 100 for 0. Returns 0 or RTX_E_NO_MEMORY. */
VELNOR_API int rtxIntStackInit(struct RtxContext* pctxt, RtxIntStack* pStack, size_t size);
/** Pushes a value, doubling the entries when they are full. Returns 0 or RTX_E_NO_MEMORY, with nothing changed. */
VELNOR_API int rtxIntStackPush(RtxIntStack* pStack, int32_t value);

VELNOR_END_DECLS

#endif
