#include "explainValues.h"

#include "names.h"
#include "session.h"

static int takeName(const velnor3gpp_Node* node, void* arg)
{
  bool whole = !node->parent && node->step == VELNOR3GPP_VALUE;
  if (!whole) return -1;
  if (node->valueName) static_cast<std::map<uint64_t, std::string>*>(arg)->emplace(node->number, node->valueName);
  return 0;
}

// The library tells names of values that it decodes, so each is decoded once.
std::map<uint64_t, std::string> valuesOf(const velnor3gpp_Type* type)
{
  std::map<uint64_t, std::string> values;
  if (!factsOf(type).decodes) return values;
  Session session = openSession({});
  for (unsigned octet = 0; octet < 256; ++octet) {
    const auto octets = static_cast<uint8_t>(octet);
    checkMemory(velnor3gpp_decode(session.get(), type, VELNOR3GPP_DIRECTION_UNKNOWN, &octets, 1));
    if (velnor3gpp_visit(session.get(), VELNOR3GPP_NAMES, takeName, &values) < 0) break;
  }
  return values;
}
