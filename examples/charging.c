/* Walks a charging data record file (TS 32.297): prints its headers and the octets of each record. */
#include <stdio.h>
#include <stdlib.h>
#include <velnor3gpp/rt3GPPTS32297.h>
#include <velnor3gpp/rtContext.h>
#include <velnor3gpp/rtxBitDecode.h>
#include <velnor3gpp/rtxContext.h>
#include <velnor3gpp/rtxError.h>
#include <velnor3gpp/rtxPrintToStream.h>
#include <velnor3gpp/rtxStreamFile.h>

/* Reads one record. Here its octets would go to a decoder for its tsNumber and dataRecordFormat. */
static int readRecord(RtxContext* pctxt)
{
  static uint8_t octets[UINT16_MAX];
  TS32297Hdr header;
  int status = rtDecTS32297Hdr(pctxt, &header);
  if (status < 0) return status;
  rtPrtToStrmTS32297Hdr(pctxt, &header);
  status = rtxReadBytes(pctxt, octets, header.cdrLength);
  if (status >= 0) rtxPrintToStreamHexStr(pctxt, "CDR", header.cdrLength, octets);
  return status;
}

static int readFile(RtxContext* pctxt, TS32297FileHdr* header)
{
  uint32_t i;
  int status = rtDecTS32297FileHdr(pctxt, header);
  if (status < 0) return status;
  rtPrtToStrmTS32297FileHdr(pctxt, header);
  /* A later release may have put more into the header. */
  if (header->headerLength > (uint32_t)status)
    status = rtxReadBytes(pctxt, NULL, header->headerLength - (uint32_t)status);
  for (i = 0; status >= 0 && i < header->cdrCount; i++) status = readRecord(pctxt);
  return status;
}

int main(int argc, char** argv)
{
  RtxContext ctxt;
  TS32297FileHdr header;
  int status;
  if (argc != 2) return fprintf(stderr, "usage: %s FILE\n", argv[0]), 2;
  rtInitContext(&ctxt);
  rtInitTS32297FileHdr(&header);
  status = rtxStreamFileCreateReader(&ctxt, argv[1]);
  if (status >= 0) status = readFile(&ctxt, &header);
  if (status < 0) rtxErrPrint(&ctxt);
  free(header.cdrRoutingFilter.data); /* from malloc: no end of a context frees them */
  free(header.privateExtension.data);
  rtxFreeContext(&ctxt);
  return status < 0;
}
