// Strings of TS 24.008 and TS 24.501 whose size the caller tells, or that are too long for their elements, and what a
// message leaves alone in a record. Every line of calls.txt is one call; tests/calls.h says how to read it.
#include "tests/calls.h"
#include "velnor3gpp/TS24008IES.h"
#include "velnor3gpp/TS24008Msgs.h"
#include "velnor3gpp/TS24501IES.h"

namespace {

std::string madeText(int status, const char* text)
{
  return std::to_string(status) + (status < 0 ? "" : " " + calls::quoted(text));
}

std::string tbcd(RtxContext* pctxt, size_t octets)
{
  char* text = nullptr;
  int status = NASDec_TS24008IE_TBCDString(pctxt, &text, octets);
  return madeText(status, text);
}

std::string gsm(RtxContext* pctxt, size_t octets, uint8_t spareBits)
{
  char* text = nullptr;
  int status = NASDec_TS24008IE_GSMString(pctxt, &text, octets, spareBits);
  return madeText(status, text);
}

// The status of a domain name of two labels, and of so many characters.
int fqdn(RtxContext* pctxt, size_t length)
{
  std::string name(length, 'a');
  name[length / 2] = '.';
  TS24501IE_TrafficDescriptor descriptor = {};
  descriptor.type = 0x91;
  descriptor.component.u.destFqdn.fqdn = name.data();
  return NASEnc_TS24501IE_TrafficDescriptor(pctxt, &descriptor);
}

// The status, and the transaction identifier of a record that has had 9 before.
std::string transIdBehind(RtxContext* pctxt)
{
  TS24008Msg_PDU pdu;
  asn1Init_TS24008Msg_PDU(&pdu);
  pdu.l3HdrOpts.transId.value = 9;
  int status = NASDec_TS24008Msg_PDU(pctxt, &pdu);
  return std::to_string(status) + " " + std::to_string(pdu.l3HdrOpts.transId.value);
}

TEST(Strings, CallsGiveWhatTheirLinesSay)
{
  calls::check("calls.txt", {CALL(NASDec_TS24008IE_IMSI), CALL(NASDec_TS24008IE_IMEI), CALL(NASDec_TS24008IE_IMEISV),
                             CALL(NASEnc_TS24008IE_IMSI), CALL(NASEnc_TS24008IE_TBCDString), CALL(tbcd), CALL(gsm),
                             CALL(fqdn), CALL(transIdBehind)});
}

} // namespace
