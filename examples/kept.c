/* A message with what its definition does not have: an unknown element, and one that comes twice. Kept, it comes back
 * whole; otherwise these elements are passed over. */
#include <stdio.h>
#include <velnor3gpp/TS24501Msgs.h>
#include <velnor3gpp/rtContext.h>
#include <velnor3gpp/rtxContext.h>
#include <velnor3gpp/rtxError.h>

static void sendOn(uint32_t flags)
{
  uint8_t octets[] = {0x7E, 0x00, 0x44, 0x6F, 0x16, 0x01, 0x21, 0x16, 0x01, 0x22, 0x72, 0x02, 0xAB, 0xCD}, again[32];
  RtxContext ctxt;
  TS24501Msg_PDU pdu;
  rtInitContext(&ctxt);
  rtxCtxtSetFlag(&ctxt, flags);
  rtxCtxtSetBufPtr(&ctxt, octets, sizeof octets);
  int status = NASDec_TS24501Msg_PDU(&ctxt, &pdu);
  if (status >= 0) status = rtxCtxtSetBufPtr(&ctxt, again, sizeof again);
  if (status >= 0) status = NASEnc_TS24501Msg_PDU(&ctxt, &pdu);
  if (status < 0) rtxErrPrint(&ctxt);
  for (size_t i = 0; status >= 0 && i < ctxt.buffer.byteIndex; ++i) printf("%02x", again[i]);
  printf("\n");
  rtxFreeContext(&ctxt);
}

int main(void)
{
  sendOn(0);
  sendOn(RTX_FLAG_KEEP_ELEMENTS);
  return 0;
}
