/**
 * @file rtxCalls.h
 * The functions of the error and print modules that the heap and the lists call, until those modules' headers exist.
 */
#ifndef VELNOR3GPP_RTXSRC_RTX_CALLS_H
#define VELNOR3GPP_RTXSRC_RTX_CALLS_H

#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

int rtxErrSetData(struct RtxContext* pctxt, int status, const char* module, int line);
int rtxErrSetNewData(struct RtxContext* pctxt, int status, const char* module, int line);
void rtxErrAssertionFailed(const char* condition, int line, const char* file);
int rtxPrintToStream(struct RtxContext* pctxt, const char* format, ...);
void rtxDiagStream(struct RtxContext* pctxt, const char* format, ...);

VELNOR_END_DECLS

#endif
