/* Types found by name and messages read without knowing their records: what a message is, what is wrong with it, its
 * values one by one with their places, its text, and its octets again. Then a message that is made from a sample and
 * changed, and a protected one.
 */
#include <stdio.h>
#include <string.h>
#include <velnor3gpp/velnor3gpp.h>

/* Prints each value under its path, with the octet and the bit that it stands at. */
static int showValue(const velnor3gpp_Node* node, void* arg)
{
  char path[200];
  (void)arg;
  if (node->step != VELNOR3GPP_VALUE) return 0;
  velnor3gpp_nodePath(node, path, sizeof path);
  printf("  %s = %lu%s%s at octet %lu, bit %lu\n", path, (unsigned long)node->number, node->valueName ? " " : "",
         node->valueName ? node->valueName : "", (unsigned long)(node->bitOffset / 8),
         (unsigned long)(8 - node->bitOffset % 8));
  return 0;
}

/* Prints the standard's name of each record that has one. */
static int showRecord(const velnor3gpp_Node* node, void* arg)
{
  velnor3gpp_TypeFacts facts;
  (void)arg;
  facts.size = sizeof facts;
  if (node->step != VELNOR3GPP_ENTER || velnor3gpp_typeFacts(velnor3gpp_nodeType(node), &facts) < 0) return 0;
  if (*facts.title) printf("  %.*s: %s, %s\n", (int)node->nameLength, node->name, facts.title, facts.clause);
  return 0;
}

static void showResult(velnor3gpp_Session* session)
{
  velnor3gpp_Result result;
  velnor3gpp_Finding finding;
  size_t i;
  result.size = sizeof result;
  finding.size = sizeof finding;
  velnor3gpp_result(session, &result);
  printf("%s: status %d, check %d\n", *result.title ? result.title : "a message", result.status, result.check);
  for (i = 0; velnor3gpp_finding(session, i, &finding) == 0; ++i)
    printf("  %s: %s (octet %ld, %s)\n", finding.path, finding.text, (long)finding.octet, finding.clause);
}

static void showOctets(velnor3gpp_Session* session)
{
  const uint8_t* octets;
  size_t count, i;
  if (velnor3gpp_encode(session, &octets, &count) < 0) {
    showResult(session);
    return;
  }
  printf("  octets");
  for (i = 0; i < count; ++i) printf(" %02x", octets[i]);
  printf("\n");
}

/* Prints the members of a type. */
static int showMember(const velnor3gpp_Member* member, void* arg)
{
  (void)arg;
  if (member->step == VELNOR3GPP_VALUE) printf(" %s%s", member->name, member->optional ? "?" : "");
  return 0;
}

static void showTypes(void)
{
  velnor3gpp_TypeFacts facts;
  size_t others;
  facts.size = sizeof facts;
  velnor3gpp_typeFacts(velnor3gpp_typeByName("regrequest", NULL), &facts);
  printf("version %s, %s: %s, %s, message type %d\n", velnor3gpp_version(), facts.name, facts.title, facts.clause,
         facts.messageType);
  if (!velnor3gpp_typeByName("AttachRequest", &others)) printf("AttachRequest: %lu types\n", (unsigned long)others);
  printf("members of a slice:");
  velnor3gpp_describe(velnor3gpp_typeByName("SNSSAI", NULL), showMember, NULL);
  printf("\n");
  if (!velnor3gpp_typeAt(velnor3gpp_typeCount())) printf("no type behind the last\n");
}

/* One step of building. */
static int step(velnor3gpp_Session* session, velnor3gpp_BuildStep kind, const char* text, uint64_t number)
{
  velnor3gpp_BuildEvent event;
  event.size = sizeof event;
  event.step = kind;
  event.type = velnor3gpp_typeByName("TS24501IE_SNSSAI", NULL);
  event.text = text;
  event.count = text ? strlen(text) : 0;
  event.number = number;
  return velnor3gpp_build(session, &event);
}

static void buildSlice(velnor3gpp_Session* session)
{
  step(session, VELNOR3GPP_BUILD_BEGIN, "slice", 0);
  step(session, VELNOR3GPP_BUILD_OPEN, NULL, 0);
  step(session, VELNOR3GPP_BUILD_MEMBER, "sst", 0);
  step(session, VELNOR3GPP_BUILD_NUMBER, NULL, 1);
  step(session, VELNOR3GPP_BUILD_MEMBER, "sd", 0);
  step(session, VELNOR3GPP_BUILD_NUMBER, NULL, 0x0000FF);
  step(session, VELNOR3GPP_BUILD_CLOSE, NULL, 0);
  if (step(session, VELNOR3GPP_BUILD_END, NULL, 0) < 0) showResult(session);
  showOctets(session);
  step(session, VELNOR3GPP_BUILD_BEGIN, "slice", 0);
  step(session, VELNOR3GPP_BUILD_OPEN, NULL, 0);
  if (step(session, VELNOR3GPP_BUILD_MEMBER, "sat", 0) < 0) showResult(session);
}

/* The keys stay with the session, and the counts go on with its messages. */
static void readProtected(velnor3gpp_Session* session)
{
  static const uint8_t request[] = {0x7E, 0x01, 0x00, 0x00, 0x00, 0x00, 0x05, 0x7E, 0x00, 0x5B, 0x01};
  velnor3gpp_Keys keys;
  memset(&keys, 0, sizeof keys);
  keys.size = sizeof keys;
  keys.bearer = -1;
  keys.downlinkCount = 250;
  velnor3gpp_decode(session, NULL, VELNOR3GPP_DOWN, request, sizeof request);
  showResult(session);
  if (velnor3gpp_setKeys(session, &keys) < 0) return;
  velnor3gpp_decode(session, NULL, VELNOR3GPP_DOWN, request, sizeof request);
  showResult(session);
  velnor3gpp_getKeys(session, &keys);
  printf("  next count %lu\n", (unsigned long)keys.downlinkCount);
  velnor3gpp_setKeys(session, NULL);
}

/* The same identity becomes the same other one under a key, which is random where it matters. */
static void replaceIdentity(velnor3gpp_Session* session)
{
  static const uint8_t response[] = {0x05, 0x59, 0x08, 0x29, 0x10, 0x32, 0x54, 0x76, 0x98, 0x10, 0x32};
  static const uint8_t key[16] = {1, 2, 3, 4, 5, 6, 7, 8};
  const uint8_t* octets;
  size_t count;
  velnor3gpp_decode(session, NULL, VELNOR3GPP_UP, response, sizeof response);
  if (velnor3gpp_pseudonymise(session, key) < 0 || velnor3gpp_encode(session, &octets, &count) < 0) return;
  printf("replaced: network %s, subscriber %s\n", memcmp(octets, response, 5) == 0 ? "kept" : "changed",
         memcmp(octets + 6, response + 6, 5) == 0 ? "kept" : "changed");
}

/* What no type knows is told, and goes out where it stood: here behind a registration complete, then behind a sample.
 */
static void keepUnknown(velnor3gpp_Session* session)
{
  static const uint8_t complete[] = {0x7E, 0x00, 0x43, 0x7A, 0x00, 0x01, 0xFF};
  velnor3gpp_Kept kept;
  kept.size = sizeof kept;
  velnor3gpp_setOption(session, VELNOR3GPP_OPTION_KEEP, 1);
  velnor3gpp_decode(session, NULL, VELNOR3GPP_UP, complete, sizeof complete);
  showResult(session);
  if (velnor3gpp_kept(session, 0, &kept) < 0) return;
  printf("  %s in %s at octet %lu\n", kept.text, kept.path, (unsigned long)kept.octet);
  showOctets(session);
  velnor3gpp_sample(session, velnor3gpp_typeByName("TS24501Msg_PDU", NULL), "Registration complete",
                    VELNOR3GPP_MINIMAL);
  kept.octets = complete + 3;
  kept.path = "data.RegComplete5G";
  kept.element = kept.fault = "";
  if (velnor3gpp_keep(session, &kept) == 0) showOctets(session);
  velnor3gpp_setOption(session, VELNOR3GPP_OPTION_KEEP, 0);
}

int main(void)
{
  static const uint8_t identity[] = {0x7E, 0x00, 0x5B, 0x01}, cut[] = {0x7E, 0x00, 0x41, 0x79, 0x00, 0x04, 0xF1};
  velnor3gpp_Session* session;
  const velnor3gpp_Type* form = velnor3gpp_detect(identity, sizeof identity, VELNOR3GPP_DIRECTION_UNKNOWN);
  const velnor3gpp_Type* forms[VELNOR3GPP_FORMS_MAX];
  const char* text;
  char* note;
  size_t count;
  showTypes();
  printf("forms of 06 16: %lu\n",
         (unsigned long)velnor3gpp_forms((const uint8_t*)"\x06\x16", 2, VELNOR3GPP_UP, VELNOR3GPP_DCCH, forms));
  if (velnor3gpp_open(&session) < 0) return 1;
  velnor3gpp_setOption(session, VELNOR3GPP_OPTION_RELEASE, 17);
  velnor3gpp_decodeOn(session, VELNOR3GPP_DCCH, VELNOR3GPP_UP, (const uint8_t*)"\x06\x16\x03\x33\x19\xA6", 6);
  showResult(session);
  velnor3gpp_decode(session, form, VELNOR3GPP_DOWN, identity, sizeof identity);
  showResult(session);
  velnor3gpp_visit(session, VELNOR3GPP_NAMES | VELNOR3GPP_POSITIONS, showValue, NULL);
  velnor3gpp_visit(session, 0, showRecord, NULL);
  if (velnor3gpp_trace(session, 0, &text, &count) == 0) printf("trace of %lu characters\n", (unsigned long)count);
  showOctets(session);
  if (velnor3gpp_redact(session) == 0) showOctets(session);
  if (velnor3gpp_toText(session, &text, &count) == 0) printf("%.*s", (int)(strchr(text, '\n') - text + 1), text);
  velnor3gpp_decode(session, NULL, VELNOR3GPP_UP, cut, sizeof cut);
  showResult(session);
  velnor3gpp_sample(session, form, "Registration complete", VELNOR3GPP_MINIMAL);
  showResult(session);
  showOctets(session);
  keepUnknown(session);
  buildSlice(session);
  readProtected(session);
  replaceIdentity(session);
  printf("-2: %s\n", velnor3gpp_statusText(RTX_E_END_OF_BUFFER));
  note = velnor3gpp_room(session, 16);
  if (note) strcpy(note, "$.type");
  velnor3gpp_report(session, RTX_E_BAD_FORMAT, note, "words of a caller's own");
  showResult(session);
  velnor3gpp_close(session);
  return 0;
}
