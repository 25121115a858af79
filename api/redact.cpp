// Taking out of a record what tells who somebody is or what they said. The record keeps its shape: digits and
// letters, octets and wide numbers become 0; networks and countries, in up to three characters, stay.
#include "api/place.h"
#include "api/session.h"
#include "rt3gppsrc/rt3gppCrypto.h"

static constexpr unsigned kLeastWidth = 16; // narrower numbers are flags and kinds, which others depend on
static constexpr size_t kMostCode = 3;

// Records belong to the session, whose walk shows them to others as constants.
static uint8_t* writable(const uint8_t* data)
{
  return const_cast<uint8_t*>(data);
}

static void hideText(uint8_t* text, size_t count)
{
  for (size_t i = 0; i < count; ++i) {
    uint8_t c = text[i], letter = static_cast<uint8_t>(c | 0x20);
    bool marks = c < 0x80 && !(c >= '0' && c <= '9') && !(letter >= 'a' && letter <= 'z'); // dots, @
    if (c && !marks) text[i] = '0'; // a digit, which any number and any name can hold
  }
}

static int hide(const velnor3gpp_Node* node, void*)
{
  const Place& place = placeOf(node);
  if (node->step != VELNOR3GPP_VALUE || !place.hidden) return 0;
  if (node->kind == VELNOR3GPP_NUMBER && node->width >= kLeastWidth && place.member)
    l3Store(writable(place.member), place.store, 0);
  if (node->kind == VELNOR3GPP_TEXT && node->count > kMostCode) hideText(writable(node->data), node->count);
  if (node->kind == VELNOR3GPP_OCTETS && node->count) memset(writable(node->data), 0, node->count);
  if (node->kind == VELNOR3GPP_BITS && node->count) memset(writable(node->data), 0, (node->count + 7) / 8);
  return 0;
}

int velnor3gpp_redact(velnor3gpp_Session* session)
{
  if (!session) return RTX_E_NULL_POINTER;
  int status = velnor3gpp_visit(session, 0, hide, nullptr);
  hideKept(*session); // what is not read may tell of a person
  if (session->count) rtx3gppWipe(session->octets.data, session->count * 2);
  session->count = 0;
  return status;
}
