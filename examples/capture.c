/* Walks a capture and prints the 5GS message that each packet holds: alone, or behind an Ethernet header (link type 1).
 */
#include <stdio.h>
#include <stdlib.h>
#include <velnor3gpp/TS24501Msgs.h>
#include <velnor3gpp/rtContext.h>
#include <velnor3gpp/rtxBitDecode.h>
#include <velnor3gpp/rtxContext.h>
#include <velnor3gpp/rtxError.h>
#include <velnor3gpp/rtxPcapFile.h>
#include <velnor3gpp/rtxStreamFile.h>

static uint8_t packet[65536];

/* A message that does not decode is reported, and the walk goes on. */
static void decode(RtxContext* pctxt, size_t size, int ethernet)
{
  TS24501Msg_PDU pdu;
  rtxCtxtSetBufPtr(pctxt, packet, size);
  int status = ethernet ? rtxDecEtherHdr(pctxt, NULL, 0) : 0;
  if (status >= 0) status = NASDec_TS24501Msg_PDU(pctxt, &pdu);
  if (status >= 0) asn1PrtToStrm_TS24501Msg_PDU(pctxt, "message", &pdu);
  if (status < 0) rtxErrPrint(pctxt);
  rtxMemReset(pctxt);
}

static int walk(RtxContext* file, RtxContext* message, uint32_t linkType)
{
  RtxPcapHdr header;
  RtxPcapRecHdr record;
  int swap, status = rtxDecPcapHdr(file, &header, &swap);
  if (status < 0) return status;
  rtxPrintPcapHdr(&header);
  if (header.network != linkType) return fprintf(stderr, "its link type is %u\n", header.network), 0;
  while (status >= 0 && rtxPeekByte(file, NULL) > 0) { /* at the end of a packet the file may end */
    status = rtxDecPcapRecHdr(file, &record, swap);
    if (status < 0) return status;
    rtxPrintPcapRecHdr(&record);
    if (record.incl_len > sizeof packet) return rtxErrSetData(file, RTX_E_BAD_VALUE, "capture", __LINE__);
    status = rtxReadBytes(file, packet, record.incl_len);
    if (status >= 0) decode(message, record.incl_len, linkType == 1);
  }
  return status;
}

int main(int argc, char** argv)
{
  RtxContext file, message;
  int status;
  if (argc != 3) return fprintf(stderr, "usage: %s LINKTYPE FILE\n", argv[0]), 2;
  rtInitContext(&file);
  rtInitContext(&message);
  status = rtxStreamFileCreateReader(&file, argv[2]);
  if (status >= 0) status = walk(&file, &message, (uint32_t)strtoul(argv[1], NULL, 10));
  if (status < 0) rtxErrPrint(&file);
  rtxFreeContext(&message);
  rtxFreeContext(&file);
  return status < 0;
}
