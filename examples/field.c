/* Reads one field of one message: the cause of a registration reject. */
#include <stdio.h>
#include <velnor3gpp/TS24501Msgs.h>
#include <velnor3gpp/rtContext.h>
#include <velnor3gpp/rtxContext.h>
#include <velnor3gpp/rtxError.h>

int main(void)
{
  uint8_t octets[] = {0x7E, 0x00, 0x44, 0x6F, 0x5F, 0x01, 0x21}; /* cause 111, timer T3346 of one minute */
  RtxContext ctxt;
  TS24501Msg_PDU pdu;
  rtInitContext(&ctxt);
  rtxCtxtSetBufPtr(&ctxt, octets, sizeof octets);
  int status = NASDec_TS24501Msg_PDU(&ctxt, &pdu);
  if (status < 0) {
    rtxErrPrint(&ctxt);
  } else if (pdu.data.t == TS24501Msg_PDU_data_t_RegReject5G) {
    const TS24501Msg_RegReject* reject = pdu.data.u.obj_RegReject5G;
    printf("cause %u\n", reject->cause);
    if (reject->m.t3346Present) /* an optional member means something only with its presence bit */
      printf("T3346 %u, unit %u\n", reject->t3346.value.timerValue, (unsigned)reject->t3346.value.unit);
  }
  rtxFreeContext(&ctxt);
  return status < 0;
}
