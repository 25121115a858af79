/**
 * @file rt3GPPTS32297Time.h
 * The time in a charging file's header as 32 bits. It is apart from the headers because its table of parts serves the
 * text form too.
 */
#ifndef VELNOR3GPP_RT_3GPP_TS32297_TIME_H
#define VELNOR3GPP_RT_3GPP_TS32297_TIME_H

#include "velnor3gpp/rt3GPPTS32297.h"

/** Splits the word of the wire, 4 bits of month first. */
void rtTS32297TimeOfWord(TS32297Timestamp* pvalue, uint32_t word);
/** The reverse: the low bits of each part, and 1 for any `tzPlus` but 0. */
uint32_t rtTS32297WordOfTime(const TS32297Timestamp* pvalue);

#endif
