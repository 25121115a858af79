/* JSON from the standard input as octets. Lengths, spare bits, message type and discriminator may be left out. */
#include <stdio.h>
#include <velnor3gpp/velnor3gppJson.h>

int main(void)
{
  static char json[65536];
  size_t size = fread(json, 1, sizeof json, stdin), count, i;
  const uint8_t* octets;
  velnor3gpp_Session* session;
  velnor3gpp_Finding finding;
  finding.size = sizeof finding;
  if (velnor3gpp_open(&session) < 0) return 1;
  int status = velnor3gpp_fromJson(session, NULL, json, size);
  if (status == 0) status = velnor3gpp_encode(session, &octets, &count);
  for (i = 0; status == 0 && i < count; ++i) printf("%02x", octets[i]);
  if (status == 0) printf("\n");
  for (i = 0; status < 0 && velnor3gpp_finding(session, i, &finding) == 0; ++i)
    printf("%s: %s\n", finding.path, finding.text);
  velnor3gpp_close(session);
  return status < 0;
}
