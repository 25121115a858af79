// Finding the authentication code (authCode.h) by the walk, which knows both forms.
#include "api/authCode.h"

#include "api/place.h"

static constexpr uint64_t kServiceRequest = 12; // the least header type of one

static bool isNamed(const velnor3gpp_Node* node, const char* name)
{
  return node && node->name && strlen(name) == node->nameLength && memcmp(node->name, name, node->nameLength) == 0;
}

namespace {

struct Search {
  AuthCode code;
  uint64_t headerType;
};

} // namespace

// The first member of a message without protection is another one than the header, and ends the search. A service
// request has a header as well, which has no code.
static int lookForCode(const velnor3gpp_Node* node, void* arg)
{
  Search& search = *static_cast<Search*>(arg);
  AuthCode& code = search.code;
  const Place& place = placeOf(node);
  bool first = node->parent && !node->parent->parent && !code.count;
  if (first && !isNamed(node, "secHdr")) return -1;
  if (node->step != VELNOR3GPP_VALUE) return 0;
  if (isNamed(node, "secHdrType")) search.headerType = node->number;
  if (isNamed(node, "msgAuthCode") && isNamed(node->parent, "secHdr")) {
    code = {{}, 4, const_cast<uint8_t*>(place.member), place.store};
    for (unsigned i = 0; i < 4; ++i) code.octets[i] = static_cast<uint8_t>(node->number >> (24 - 8 * i));
    return search.headerType < kServiceRequest ? -1 : 0;
  }
  if (isNamed(node, "shortMAC") && node->count == 2) {
    code = {{node->data[0], node->data[1]}, 2, const_cast<uint8_t*>(node->data), 0};
    return -1;
  }
  return 0;
}

AuthCode authCodeOf(velnor3gpp_Session& session)
{
  Search search = {};
  velnor3gpp_visit(&session, 0, lookForCode, &search);
  return search.code;
}

void storeAuthCode(const AuthCode& code)
{
  uint64_t number = 0;
  for (unsigned i = 0; i < code.count; ++i) number = number << 8 | code.octets[i];
  if (code.store)
    l3Store(code.member, code.store, number);
  else if (code.count)
    memcpy(code.member, code.octets, code.count);
}

void clearAuthCode(velnor3gpp_Session& session)
{
  AuthCode code = authCodeOf(session);
  memset(code.octets, 0, sizeof code.octets);
  storeAuthCode(code);
}
