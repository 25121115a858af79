/**
 * @file TS44018Misc.h
 * Channel numbers (ARFCN, 0 to 1023) of the elements of TS 44.018 that list channels. Decoding such an element leaves
 * its list in the record as bits; the functions here turn them into an array, whose order is that of rtx3GPPDecARFCN:
 * falling in a bitmap 0, the origin first in a variable bitmap, otherwise the tree's order.
 */
#ifndef VELNOR3GPP_TS44018_MISC_H
#define VELNOR3GPP_TS44018_MISC_H

#include "velnor3gpp/TS44018IES.h"

VELNOR_BEGIN_DECLS

/**
 * Gives the channels of a cell channel description (10.5.2.1b), 16 octets on the wire.
 * @param pctxt the context: heap and error records.
 * @param pvalue a decoded element; not changed.
 * @param pArfcns receives the array, on the context's heap, where it lives until that is reset.
 * @param pArfcnCount receives the number of channels, 0 to 124.
 * @return 0; RTX_E_BAD_VALUE for an alternative that the element does not have, or more values than the format has
 *   places; RTX_E_NO_MEMORY; RTX_E_BAD_PARAMETER for a null pointer. Failures are recorded.
 */
VELNOR_API int TS44018IE_Cell_Channel_Description_decodeARFCN(RtxContext* pctxt,
                                                              const TS44018IE_Cell_Channel_Description* pvalue,
                                                              uint16_t** pArfcns, uint16_t* pArfcnCount);

/** The same of an extended measurement frequency list (10.5.2.46). */
VELNOR_API int
TS44018IE_Extended_Measurement_Frequency_List_decodeARFCN(RtxContext* pctxt,
                                                          const TS44018IE_Extended_Measurement_Frequency_List* pvalue,
                                                          uint16_t** pArfcns, uint16_t* pArfcnCount);

/** The same of a neighbour cell description (10.5.2.22). */
VELNOR_API int TS44018IE_Neighbour_Cell_Description_decodeARFCN(RtxContext* pctxt,
                                                                const TS44018IE_Neighbour_Cell_Description* pvalue,
                                                                uint16_t** pArfcns, uint16_t* pArfcnCount);

/** The same of a neighbour cell description 2 (10.5.2.22a). */
VELNOR_API int TS44018IE_Neighbour_Cell_Description_2_decodeARFCN(RtxContext* pctxt,
                                                                  const TS44018IE_Neighbour_Cell_Description_2* pvalue,
                                                                  uint16_t** pArfcns, uint16_t* pArfcnCount);

/**
 * The same of a frequency list (10.5.2.13), whose formats but bitmap 0 are as long as the element. A list of 65536 bits
 * or more, which no element of 130 octets holds, gives RTX_E_BAD_VALUE.
 */
VELNOR_API int TS44018IE_Frequency_List_decodeARFCN(RtxContext* pctxt, const TS44018IE_Frequency_List* pvalue,
                                                    uint16_t** pArfcns, uint16_t* pArfcnCount);

/** The same of a frequency short list (10.5.2.14), 9 octets on the wire, which has no bitmap 0. */
VELNOR_API int TS44018IE_Frequency_Short_List_decodeARFCN(RtxContext* pctxt,
                                                          const TS44018IE_Frequency_Short_List* pvalue,
                                                          uint16_t** pArfcns, uint16_t* pArfcnCount);

/** The same of a frequency short list 2 (10.5.2.14a), 7 octets on the wire. */
VELNOR_API int TS44018IE_Frequency_Short_List_2_decodeARFCN(RtxContext* pctxt,
                                                            const TS44018IE_Frequency_Short_List_2* pvalue,
                                                            uint16_t** pArfcns, uint16_t* pArfcnCount);

/** Writes "[1,2,3]" to standard output, "[]" without channels. A null pointer counts as no channels. */
VELNOR_API void TS44018IE_printArfcns(const uint16_t* arfcns, uint16_t count);

VELNOR_END_DECLS

#endif
