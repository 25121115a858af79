/* Messages as JSON: one decoded and written, changed as text, read and encoded again; many in one call; and what is
 * said of JSON that is wrong.
 */
#include <stdio.h>
#include <string.h>
#include <velnor3gpp/velnor3gppJson.h>

static const char kChanged[] =
    "{\"type\":\"TS24501Msg_PDU\",\"record\":{\"protoDiscr\":126,\"hdrData\":{\"mm\":{"
    "\"secHdrType\":0}},\"data\":{\"IdentityRequest5G\":{\"identity\":{\"typeOfIdent\":3}}}}}";
static const char kWrong[] = "{\"type\":\"TS24501Msg_PDU\",\"record\":{\"protoDiscr\":126,\"hdrData\":{\"mm\":{"
                             "\"secHdrType\":0}},\"data\":{\"IdentityRequest5G\":{\"identity\":{\"typeOfIdent\":9}}}}}";

static void encode(velnor3gpp_Session* session, const char* json)
{
  const uint8_t* octets;
  size_t count, i;
  velnor3gpp_Finding finding;
  finding.size = sizeof finding;
  if (velnor3gpp_fromJson(session, NULL, json, strlen(json)) < 0 || velnor3gpp_encode(session, &octets, &count) < 0) {
    velnor3gpp_finding(session, 0, &finding);
    printf("%s: %s\n", finding.path, finding.text);
    return;
  }
  for (i = 0; i < count; ++i) printf("%02x", octets[i]);
  printf("\n");
}

int main(void)
{
  static const uint8_t identity[] = {0x7E, 0x00, 0x5B, 0x01}, complete[] = {0x7E, 0x00, 0x43};
  velnor3gpp_Octets many[2] = {{identity, sizeof identity, VELNOR3GPP_DOWN}, {complete, 3, VELNOR3GPP_UP}};
  velnor3gpp_Session* session;
  const char* text;
  size_t count;
  if (velnor3gpp_open(&session) < 0) return 1;
  velnor3gpp_decode(session, NULL, VELNOR3GPP_DOWN, identity, sizeof identity);
  if (velnor3gpp_toJson(session, VELNOR3GPP_NAMES, &text, &count) == 0) printf("%s\n", text);
  if (velnor3gpp_decodeMany(session, NULL, many, 2, 0, &text, &count) == 0) printf("%s", text);
  if (velnor3gpp_schema(session, velnor3gpp_typeByName("SNSSAI", NULL), &text, &count) == 0)
    printf("a schema that begins with %.56s\n", text);
  encode(session, kChanged);
  encode(session, kWrong);
  velnor3gpp_close(session);
  return 0;
}
