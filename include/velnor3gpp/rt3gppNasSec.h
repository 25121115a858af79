/**
 * @file rt3gppNasSec.h
 * The security state of one NAS connection: the message authentication code over a span of octets and the ciphering of
 * a span in place (TS 24.301, 4.4; TS 24.501, 4.4; TS 33.401, annex B). The library neither negotiates algorithms nor
 * derives keys: it is handed 128-bit keys and algorithm numbers. The record lies in the context's heap; the caller
 * owns the keys and writes `count`, `bearer` and `direction` before each message. Nothing here ever changes these.
 *
 * The end of a job (rtxMemReset) takes the record with the heap that it lies in. In a loop over protected messages keep
 * it in a context of its own, `keys`, that codes nothing, and lend it to the context that does before each message:
 *
 *     ctxt.pSecurity = keys.pSecurity;
 *
 * rtxMemReset of `ctxt` leaves it alone then. At the end set ctxt.pSecurity to null, and call rtx3gppSecFree for
 * `keys`.
 *
 * What a decoder's status does not say of a protected message:
 * - A message without a security header needs no code. Where protection is due, ask m.secHdrPresent of the PDU.
 * - The code of an EPS message of header type 5 (integProtAndPartCipher) is not looked at. A forged one gives status 0
 *   and no error record. Where such messages are taken, compute the code from octet 5 on and compare it with
 *   secHdr.msgAuthCode; else refuse the header type.
 * - With the null algorithm for integrity every message with the code 0 is good.
 * The record of RTX_E_BAD_MAC holds the code that would have been right. Its text is for a log, never for the sender.
 */
#ifndef VELNOR3GPP_RT3GPP_NAS_SEC_H
#define VELNOR3GPP_RT3GPP_NAS_SEC_H

#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

/** The null algorithm, for integrity and for ciphering. */
#define RTX_3GPP_ALG_NULL 0U
/** 128-EIA2 and 128-NIA2 for integrity, 128-EEA2 and 128-NEA2 for ciphering. */
#define RTX_3GPP_ALG_AES 2U

/** The security record of a context, reached through RtxContext.pSecurity. */
typedef struct Rtx3gppSecContext {
  uint32_t count;              /**< The NAS COUNT of the next operation; written by the caller. */
  uint8_t bearer;              /**< The bearer identity, 0 to 31; written by the caller. */
  uint8_t direction;           /**< 0 uplink, 1 downlink; more spills into the bearer. Written by the caller. */
  const uint8_t* integrityKey; /**< The caller's integrity key, 16 octets; only the pointer is kept. */
  const uint8_t* cipherKey;    /**< The caller's ciphering key, 16 octets; only the pointer is kept. */
  uint32_t integrityAlg;       /**< RTX_3GPP_ALG_NULL or RTX_3GPP_ALG_AES. */
  uint32_t cipherAlg;          /**< RTX_3GPP_ALG_NULL or RTX_3GPP_ALG_AES. */
  uint8_t* cmacSubkeys;        /**< Heap: the CMAC subkeys K1, K2, 16 octets each; null unless integrity uses AES. */
  uint32_t* keySchedules;      /**< Heap: AES schedules of 44 words, integrity then cipher; null if neither uses AES. */
} Rtx3gppSecContext;

/**
 * Puts a cleared security record (null algorithms, count 0) into the context. A record already there is replaced and
 * stays on the heap until the heap goes. Returns 0 or RTX_E_NO_MEMORY.
 */
VELNOR_API int rtx3gppSecInitialize(struct RtxContext* pctxt);

/**
 * Sets keys (16 octets each, read now; may be null with RTX_3GPP_ALG_NULL) and algorithms. Wipes what the new
 * algorithms no longer need, except that a cipher schedule stays as long as integrity uses AES. Returns 0,
 * RTX_E_NO_SECURITY, RTX_E_NO_MEMORY, RTX_E_NULL_POINTER for a key that is missing, or RTX_E_NOT_SUPPORTED for another
 * algorithm. Treat a failure as the end of the keyed state and assign again before the next message: the old algorithms
 * still stand in the record (the null ones, if none were set: then codes are 0 and nothing is ciphered), and a service
 * uses the old key or, where that is gone, gives RTX_E_NULL_POINTER. It never uses the refused key.
 */
VELNOR_API int rtx3gppAssignAlgorithmKeys(struct RtxContext* pctxt, const uint8_t* integrityKey,
                                          const uint8_t* cipherKey, uint32_t integrityAlg, uint32_t cipherAlg);

/**
 * Computes the 32-bit message authentication code over `length` octets and stores it in `*pMac`; 0 with the null
 * algorithm. Returns 0, RTX_E_NO_SECURITY, RTX_E_NO_MEMORY, RTX_E_NOT_SUPPORTED, or RTX_E_NULL_POINTER when a failed
 * assignment has taken the keys away.
 */
VELNOR_API int rtx3gppComputeMAC(struct RtxContext* pctxt, const uint8_t* octets, uint64_t length, uint32_t* pMac);

/**
 * Ciphers or deciphers `length` octets in place; the two are the same operation. Returns 0, RTX_E_NO_SECURITY,
 * RTX_E_NOT_SUPPORTED, or RTX_E_NULL_POINTER when a failed assignment has taken the keys away.
 */
VELNOR_API int rtx3gppCipher(struct RtxContext* pctxt, uint8_t* octets, uint64_t length);

/**
 * Wipes and frees subkeys and schedules, frees the record and clears RtxContext.pSecurity. Call it before rtxMemReset,
 * rtxMemFree or rtxFreeContext, which take the record with the heap and wipe nothing. Without a record it leaves
 * RTX_E_NO_SECURITY in the context, and the next message decoded without an end of the job in between ends with that:
 * ask whether RtxContext.pSecurity is set, or call rtxErrReset.
 */
VELNOR_API void rtx3gppSecFree(struct RtxContext* pctxt);

VELNOR_END_DECLS

#endif
