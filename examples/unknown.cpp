// Messages of which nothing is known but the octets: what each is, and all its values with their names, without any
// record being known to this program.
#include <cstdio>
#include <string>
#include <vector>
#include <velnor3gpp/velnor3gpp.h>

static int showValue(const velnor3gpp_Node* node, void*)
{
  if (node->step != VELNOR3GPP_VALUE) return 0;
  std::string path(velnor3gpp_nodePath(node, nullptr, 0) + 1, '\0');
  velnor3gpp_nodePath(node, path.data(), path.size());
  std::printf("  %s", path.c_str());
  if (node->kind == VELNOR3GPP_OCTETS || node->kind == VELNOR3GPP_BITS)
    std::printf(": %zu %s\n", node->count, node->kind == VELNOR3GPP_OCTETS ? "octets" : "bits");
  else if (node->kind == VELNOR3GPP_TEXT)
    std::printf(" = \"%.*s\"\n", static_cast<int>(node->count), reinterpret_cast<const char*>(node->data));
  else
    std::printf(" = %llu %s\n", static_cast<unsigned long long>(node->number), node->valueName ? node->valueName : "");
  return 0;
}

int main()
{
  const std::vector<std::vector<uint8_t>> messages = {{0x7E, 0x00, 0x5B, 0x01}, // 5GS
                                                      {0x07, 0x55, 0x01},       // EPS
                                                      {0x05, 0x18, 0x01},       // TS 24.008
                                                      {0x06, 0x0D, 0x00},       // radio resources: channel release
                                                      {0xFF, 0x00}};
  velnor3gpp_Session* session;
  if (velnor3gpp_open(&session) < 0) return 1;
  for (const auto& octets : messages) {
    velnor3gpp_Result result = {};
    result.size = sizeof result;
    velnor3gpp_decode(session, nullptr, VELNOR3GPP_DIRECTION_UNKNOWN, octets.data(), octets.size());
    velnor3gpp_result(session, &result);
    velnor3gpp_TypeFacts facts = {};
    facts.size = sizeof facts;
    if (result.type) velnor3gpp_typeFacts(result.type, &facts);
    std::printf("%s (%s), status %d\n", *result.title ? result.title : "unknown", facts.name ? facts.name : "no form",
                result.status);
    if (result.type) velnor3gpp_visit(session, VELNOR3GPP_NAMES, showValue, nullptr);
  }
  velnor3gpp_close(session);
}
