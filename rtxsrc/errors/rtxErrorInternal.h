/**
 * @file rtxErrorInternal.h
 * What the sources of the error records share: the message tables, the release of one record's strings, and the look-up
 * of a status's words. Nothing here allocates.
 */
#ifndef VELNOR3GPP_RTXSRC_RTX_ERROR_INTERNAL_H
#define VELNOR3GPP_RTXSRC_RTX_ERROR_INTERNAL_H

#include "velnor3gpp/rtxError.h"

// Status ranges of the two tables. Every status within them has a row, so that no status reads past a table.
constexpr int kRtxMessageFirst = -1;
constexpr int kRtxMessageBound = -99;
constexpr int kRtxMessageRows = kRtxMessageFirst - kRtxMessageBound;
constexpr int kRtMessageFirst = -100;
constexpr int kRtMessageBound = -199;
constexpr int kRtMessageRows = kRtMessageFirst - kRtMessageBound;

extern const char* const kRtxMessages[kRtxMessageRows];
extern const char* const kRtMessages[kRtMessageRows];

// Frees the parameters and the element path of a record and sets its status to 0.
void rtxErrFreeRecordParms(RtxContext* pctxt, RtxErrInfo* rec);

// The template of a negative status, or null if no registered table has a row for it.
const char* rtxErrFindTemplate(int status);

// What has been reported or collected for a report: records, names, parameters. 0 if nothing; other values mean no more
// than that. One jump instead of six, for what every job asks.
inline uintptr_t rtxErrLeft(const RtxContext& context)
{
  const RtxErrInfo& collected = context.reservedErr;
  int words = collected.status | collected.parmcount;
  return context.errInfo.count | context.elemNameStack.count | static_cast<uintptr_t>(words) |
         reinterpret_cast<uintptr_t>(collected.elemName);
}

// Has rtxErrReset nothing to take away, open regions included?
inline bool rtxErrIsReset(const RtxContext& context)
{
  return (rtxErrLeft(context) | context.containerStack.dlist.count) == 0;
}

// The record of a node of errInfo; every node on that list has one.
inline RtxErrInfo* rtxErrRecordOf(const RtxDListNode* node)
{
  return static_cast<RtxErrInfo*>(node->data);
}

#endif
