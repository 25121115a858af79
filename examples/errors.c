/* What can be wrong with a message, and what each case looks like to a caller: in order, remarked, refused. */
#include <stdio.h>
#include <velnor3gpp/TS24501Msgs.h>
#include <velnor3gpp/rtContext.h>
#include <velnor3gpp/rtxContext.h>
#include <velnor3gpp/rtxError.h>
#include <velnor3gpp/rtxStatus.h>

static void decode(RtxContext* ctxt, uint8_t* octets, size_t size)
{
  TS24501Msg_PDU pdu;
  char words[300];
  rtxCtxtSetBufPtr(ctxt, octets, size);
  int status = NASDec_TS24501Msg_PDU(ctxt, &pdu);
  if (status < 0)
    printf("refused, status %d at octet %u: %s", status, (unsigned)ctxt->buffer.byteIndex,
           rtxErrGetMsgTextBuf(ctxt, words, sizeof words));
  else if (ctxt->buffer.byteIndex > ctxt->buffer.size)
    printf("refused: a length leads behind the end\n");
  else if (rtxErrCheckNonFatal(ctxt) != 0)
    printf("decoded with a remark, status %d\n", rtxErrCheckNonFatal(ctxt));
  else
    printf("decoded\n");
  rtxMemReset(ctxt); /* ends the job, good or bad */
}

int main(void)
{
  uint8_t good[] = {0x7E, 0x00, 0x5B, 0x01};
  uint8_t cut[] = {0x7E, 0x00, 0x5B};
  uint8_t unknown[] = {0x7E, 0x00, 0x3F};
  uint8_t far[] = {0x7E, 0x00, 0x5C, 0x00, 0x07, 0x00};
  uint8_t empty[] = {0x7E, 0x00, 0x44, 0x6F, 0x16, 0x02, 0x21, 0x00};
  RtxContext ctxt;
  rtInitContext(&ctxt);
  decode(&ctxt, good, sizeof good);
  decode(&ctxt, cut, sizeof cut);
  decode(&ctxt, unknown, sizeof unknown);
  decode(&ctxt, far, sizeof far);
  decode(&ctxt, empty, sizeof empty); /* T3502 with a length of 2 instead of 1 */
  rtxFreeContext(&ctxt);
  return 0;
}
