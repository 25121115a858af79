/**
 * @file rtxReport.h
 * Reporting a failure so that the caller is sure to see one. rtxErrSetData returns the status of all fatal records,
 * which is 0 when the failure joins a record that was marked non-fatal; a read that took this for success would run
 * past the end of the buffer.
 */
#ifndef VELNOR3GPP_RTX_REPORT_H
#define VELNOR3GPP_RTX_REPORT_H

#include "velnor3gpp/rtxError.h"

/** rtxErrSetData, but always a negative result. */
static inline int rtxReport(RtxContext* pctxt, int status, const char* module, int line)
{
  int result = rtxErrSetData(pctxt, status, module, line);
  return result < 0 ? result : status;
}

#endif
