/* Decodes protected 5GS messages one after the other and shows the slices that each one asks for. Every message is a
 * job of its own, ended whether it was good or bad. The keys lie in a context of their own: the end of a job takes all
 * that lies in the heap of its context.
 */
#include <stdio.h>
#include <velnor3gpp/TS24501Msgs.h>
#include <velnor3gpp/rt3gppNasSec.h>
#include <velnor3gpp/rtContext.h>
#include <velnor3gpp/rtxContext.h>
#include <velnor3gpp/rtxError.h>
#include <velnor3gpp/rtxStatus.h>

typedef struct Message {
  uint32_t count; /* NAS COUNT, which a receiver works out from the sequence number */
  size_t size;
  uint8_t octets[64];
} Message;

/* More entries can come than the array has room for: n is what came. */
static void showSlices(const TS24501IE_NSSAI* nssai)
{
  size_t count = nssai->contents.n;
  if (count > TS24501IE_NSSAI_contents_capacity) count = TS24501IE_NSSAI_contents_capacity;
  for (size_t i = 0; i < count; i++) printf(" %u", nssai->contents.elem[i].sst);
  printf(", %u in all\n", nssai->contents.n);
}

static void show(const TS24501Msg_PDU* pdu)
{
  const TS24501Msg_RegRequest* request = pdu->data.u.obj_RegRequest5G;
  printf("message type %02X", pdu->msgType);
  if (pdu->data.t == TS24501Msg_PDU_data_t_RegRequest5G && request->m.requestedNSSAIPresent) {
    printf(": slices");
    showSlices(&request->requestedNSSAI);
  } else {
    printf("\n");
  }
}

static void handle(RtxContext* ctxt, Rtx3gppSecContext* security, Message* message)
{
  TS24501Msg_PDU pdu;
  security->count = message->count;
  security->bearer = 1;
  security->direction = 0; /* uplink */
  ctxt->pSecurity = security;
  rtxCtxtSetBufPtr(ctxt, message->octets, message->size); /* the octets are deciphered where they stand */
  int status = NASDec_TS24501Msg_PDU(ctxt, &pdu);
  if (status < 0)
    printf("refused: status %d\n", status); /* the record is there to look at, not to act on */
  else if (ctxt->buffer.byteIndex > ctxt->buffer.size)
    printf("refused: a length leads behind the end\n");
  else
    show(&pdu);
  rtxMemReset(ctxt); /* ends the job: records, errors, heap; what lies elsewhere stays */
}

int main(void)
{
  static const uint8_t integrityKey[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
  static const uint8_t cipherKey[16] = {33, 34, 35, 36, 37, 38, 39, 40, 41, 42, 43, 44, 45, 46, 47, 48};
  static Message messages[] = {
      /* ciphered, two slices */
      {0, 30, {0x7E, 0x02, 0xC6, 0xF8, 0xDD, 0x7D, 0x00, 0xC9, 0xD1, 0x4D, 0x35, 0x13, 0x9B, 0xB8, 0x1B,
               0x67, 0x89, 0xED, 0xB6, 0xFB, 0x97, 0x2D, 0x91, 0x2B, 0x9C, 0x37, 0x61, 0xBD, 0x28, 0x86}},
      /* the same with a forged code */
      {1, 30, {0x7E, 0x01, 0xEB, 0x94, 0x4F, 0x56, 0x01, 0x7E, 0x00, 0x41, 0x79, 0x00, 0x0B, 0xF2, 0x02,
               0xF8, 0x59, 0x01, 0x00, 0x41, 0x12, 0x34, 0x56, 0x78, 0x2F, 0x04, 0x01, 0x01, 0x01, 0x02}},
      /* seventeen slices, one more than the standard allows */
      {2, 60, {0x7E, 0x01, 0x0A, 0x5C, 0x81, 0xDA, 0x02, 0x7E, 0x00, 0x41, 0x79, 0x00, 0x0B, 0xF2, 0x02,
               0xF8, 0x59, 0x01, 0x00, 0x41, 0x12, 0x34, 0x56, 0x78, 0x2F, 0x22, 0x01, 0x01, 0x01, 0x02,
               0x01, 0x03, 0x01, 0x04, 0x01, 0x05, 0x01, 0x06, 0x01, 0x07, 0x01, 0x08, 0x01, 0x09, 0x01,
               0x0A, 0x01, 0x0B, 0x01, 0x0C, 0x01, 0x0D, 0x01, 0x0E, 0x01, 0x0F, 0x01, 0x10, 0x01, 0x11}},
      /* plain, with a length of 7 in front of one octet */
      {3, 6, {0x7E, 0x00, 0x5C, 0x00, 0x07, 0x00}},
      /* plain, cut */
      {3, 3, {0x7E, 0x00, 0x5B}}};
  RtxContext keys, ctxt;
  rtInitContext(&keys);
  rtInitContext(&ctxt);
  int status = rtx3gppSecInitialize(&keys);
  if (status >= 0)
    status = rtx3gppAssignAlgorithmKeys(&keys, integrityKey, cipherKey, RTX_3GPP_ALG_AES, RTX_3GPP_ALG_AES);
  for (size_t i = 0; status >= 0 && i < sizeof messages / sizeof *messages; i++)
    handle(&ctxt, keys.pSecurity, &messages[i]);
  if (status < 0) rtxErrPrint(&keys);
  ctxt.pSecurity = NULL;
  rtxFreeContext(&ctxt);
  rtx3gppSecFree(&keys); /* wipes what was made of the keys */
  rtxFreeContext(&keys);
  return status < 0;
}
