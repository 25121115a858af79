/* Keys of a connection, then its messages in both directions: each is verified, deciphered and decoded, and the counts
 * follow. A replay has a count that came before: to compare it is left to the caller. */
#include <stdio.h>
#include <string.h>
#include <velnor3gpp/velnor3gpp.h>

static const char* const kChecks[] = {"plain",          "verified",    "FORGED",     "no keys",
                                      "null algorithm", "not covered", "not reached"};

static void show(velnor3gpp_Session* session, velnor3gpp_Direction direction, const uint8_t* octets, size_t count)
{
  velnor3gpp_Result result;
  result.size = sizeof result;
  velnor3gpp_decode(session, NULL, direction, octets, count);
  velnor3gpp_result(session, &result);
  printf("%s: %s", *result.title ? result.title : "a message", kChecks[result.check]);
  printf(result.check == VELNOR3GPP_VERIFIED ? ", count %lu\n" : "\n", (unsigned long)result.nasCount);
}

int main(void)
{
  static const uint8_t integrityKey[16] = {0xE5, 0xB3, 0x99, 0x96, 0x4C, 0x9C, 0x8C, 0xAD,
                                           0x14, 0x41, 0x09, 0x31, 0xB5, 0xBD, 0xB2, 0x1C};
  static const uint8_t command[] = {0x7E, 0x03, 0x35, 0xD0, 0x7F, 0xB1, 0x00, 0x7E, 0x00, 0x5D,
                                    0x02, 0x00, 0x02, 0xF0, 0xF0, 0xE1, 0x36, 0x01, 0x02};
  static const uint8_t complete[] = {0x7E, 0x02, 0x62, 0xF3, 0x60, 0xA0, 0x01, 0x7E, 0x00, 0x43};
  uint8_t forged[sizeof complete];
  velnor3gpp_Session* session;
  velnor3gpp_Keys keys;
  if (velnor3gpp_open(&session) < 0) return 1;
  show(session, VELNOR3GPP_DOWN, command, sizeof command);
  memset(&keys, 0, sizeof keys); /* both counts begin at 0 */
  keys.size = sizeof keys;
  memcpy(keys.integrityKey, integrityKey, sizeof integrityKey);
  keys.integrityAlgorithm = 2; /* 128-NIA2 */
  keys.cipherAlgorithm = 0;    /* the null algorithm */
  keys.bearer = -1;
  if (velnor3gpp_setKeys(session, &keys) < 0) return 1;
  show(session, VELNOR3GPP_DOWN, command, sizeof command);
  memcpy(forged, complete, sizeof forged);
  forged[9] = 0x44; /* a registration reject instead */
  show(session, VELNOR3GPP_UP, forged, sizeof forged);
  show(session, VELNOR3GPP_UP, complete, sizeof complete);
  show(session, VELNOR3GPP_UP, complete, sizeof complete); /* a replay is verified as well */
  velnor3gpp_getKeys(session, &keys);
  printf("next: up %lu, down %lu\n", (unsigned long)keys.uplinkCount, (unsigned long)keys.downlinkCount);
  velnor3gpp_close(session); /* wipes the keys */
  return 0;
}
