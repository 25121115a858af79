/* Decodes one 5GS message, an identity request, and prints its record. */
#include <velnor3gpp/TS24501Msgs.h>
#include <velnor3gpp/rtContext.h>
#include <velnor3gpp/rtxContext.h>
#include <velnor3gpp/rtxError.h>

int main(void)
{
  uint8_t octets[] = {0x7E, 0x00, 0x5B, 0x01};
  RtxContext ctxt;
  TS24501Msg_PDU pdu;
  rtInitContext(&ctxt);
  rtxCtxtSetBufPtr(&ctxt, octets, sizeof octets);
  int status = NASDec_TS24501Msg_PDU(&ctxt, &pdu);
  if (status < 0) rtxErrPrint(&ctxt);
  if (status >= 0) asn1PrtToStrm_TS24501Msg_PDU(&ctxt, "message", &pdu);
  rtxFreeContext(&ctxt);
  return status < 0;
}
