/**
 * @file rtxOctStr.h
 * Octet strings of any length, as a count and a pointer. The octets lie in the heap of the context that made them and
 * die with it; the record owns nothing.
 */
#ifndef VELNOR3GPP_RTX_OCT_STR_H
#define VELNOR3GPP_RTX_OCT_STR_H

#include "velnor3gpp/rtxTypes.h"

/** An octet string with a 32-bit count. */
typedef struct RtxDynOctStr {
  uint32_t numocts; /**< Octets in `data`. */
  uint8_t* data;    /**< The octets, or null. */
} RtxDynOctStr;

/** An octet string with a 64-bit count. */
typedef struct RtxDynOctStr64 {
  uint64_t numocts; /**< Octets in `data`. */
  uint8_t* data;    /**< The octets, or null. */
} RtxDynOctStr64;

#endif
