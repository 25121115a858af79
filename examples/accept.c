/* Builds a registration accept: a GUTI, one tracking area, a slice, a timer, and an element of an extension group. */
#include <stdio.h>
#include <string.h>
#include <velnor3gpp/TS24501Msgs.h>
#include <velnor3gpp/rtContext.h>
#include <velnor3gpp/rtxContext.h>
#include <velnor3gpp/rtxError.h>
#include <velnor3gpp/rtxMemHeap.h>

static const TS24008IE_MCCMNCPair kNetwork = {"999", "70"};

static void setArea(TS24501IE_TrackingAreaIdentListItem* area)
{
  TS24501IE_PartialTrkAreaIdent0* codes = &area->elements.u.partTrkIdentList0;
  area->elements.t = TS24501IE_TrackingAreaIdentListItem_elements_t_partTrkIdentList0;
  codes->mcc_mnc = kNetwork;
  codes->tacs.n = 1;
  memcpy(codes->tacs.elem[0], "\x00\x00\x07", 3);
}

static void fill(RtxContext* ctxt, TS24501Msg_RegAccept* accept)
{
  TS24501IE_TrackingAreaIdentListItem* area = rtxMemHeapAllocZ(&ctxt->pMemHeap, sizeof *area);
  accept->regResult.regResult = 1; /* 3GPP access; the length octet is filled in */
  accept->m.gutiPresent = 1;
  accept->guti.t = TS24501IE_MobileIdentity_t_guti;
  accept->guti.u.guti.mcc_mnc = kNetwork;
  memcpy(accept->guti.u.guti.tmsi, "\x12\x34\x56\x78", 4);
  accept->m.taiListPresent = 1; /* this list has its entries on the heap */
  accept->taiList.idents.n = area ? 1 : 0;
  accept->taiList.idents.elem = area;
  if (area) setArea(area);
  accept->m.allowedNSSAIPresent = 1; /* this one has them inside the record */
  accept->allowedNSSAI.contents.n = 1;
  accept->allowedNSSAI.contents.elem[0].sst = 1;
  accept->m.ext1Present = 1; /* the group, and in it a timer */
  accept->m.t3324Present = 1;
  accept->t3324.unit = TS24008IE_GPRSTimer3_unit_valIncrMult2Secs;
  accept->t3324.timerValue = 5;
}

int main(void)
{
  RtxContext ctxt;
  TS24501Msg_PDU pdu;
  TS24501Msg_RegAccept accept;
  memset(&pdu, 0, sizeof pdu);
  memset(&accept, 0, sizeof accept);
  rtInitContext(&ctxt);
  asn1SetTC_TS24501Msg_PDU_obj_RegAccept5G(&ctxt, &pdu, &accept); /* sets discriminator, type and t */
  fill(&ctxt, &accept);
  rtxCtxtSetBufPtr(&ctxt, NULL, 0); /* a buffer on the heap that grows */
  int status = NASEnc_TS24501Msg_PDU(&ctxt, &pdu);
  if (status < 0) rtxErrPrint(&ctxt);
  for (size_t i = 0; status >= 0 && i < ctxt.buffer.byteIndex; ++i) printf("%02x", ctxt.buffer.data[i]);
  printf("\n");
  rtxFreeContext(&ctxt);
  return status < 0;
}
