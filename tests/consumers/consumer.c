/* A stranger's program, in C99 and in C++ alike: decodes an identity request and prints its record. */
#include <stdio.h>
#include <velnor3gpp/TS24501Msgs.h>
#include <velnor3gpp/rtContext.h>
#include <velnor3gpp/rtxContext.h>
#ifdef WITH_JSON
#include <velnor3gpp/velnor3gppJson.h>
#endif

#ifdef WITH_JSON
static int showJson(const uint8_t* octets, size_t count)
{
  velnor3gpp_Session* session;
  const char* text;
  size_t size;
  int status = velnor3gpp_open(&session);
  if (status < 0) return status;
  velnor3gpp_decode(session, NULL, VELNOR3GPP_DOWN, octets, count);
  status = velnor3gpp_toJson(session, 0, &text, &size);
  if (status >= 0) printf("%s\n", text);
  velnor3gpp_close(session);
  return status;
}
#endif

int main(void)
{
  uint8_t octets[] = {0x7E, 0x00, 0x5B, 0x01};
  RtxContext ctxt;
  TS24501Msg_PDU pdu;
  int status = rtInitContext(&ctxt);
  rtxCtxtSetBufPtr(&ctxt, octets, sizeof octets);
  status = NASDec_TS24501Msg_PDU(&ctxt, &pdu);
  if (status >= 0) printf("message type %d\n", (int)pdu.msgType);
  rtxFreeContext(&ctxt);
#ifdef WITH_JSON
  if (status >= 0) status = showJson(octets, sizeof octets);
#endif
  return status < 0;
}
