#include "forms.h"

#include <algorithm>
#include <cstring>

#include "names.h"

static constexpr char kShortForm[] = "TS44018Msg_RR_Short_PD_PDU";

bool isForm(const velnor3gpp_Type* type, const char* name)
{
  return type && strcmp(factsOf(type).name, name) == 0;
}

std::vector<const velnor3gpp_Type*> formsOf(const std::vector<uint8_t>& octets, velnor3gpp_Direction direction,
                                            velnor3gpp_Channel channel)
{
  const velnor3gpp_Type* types[VELNOR3GPP_FORMS_MAX];
  size_t count = velnor3gpp_forms(octets.data(), octets.size(), direction, channel, types);
  return {types, types + count};
}

static velnor3gpp_Result resultIn(velnor3gpp_Session* session)
{
  velnor3gpp_Result result = {};
  result.size = sizeof result;
  velnor3gpp_result(session, &result);
  return result;
}

// The library ends with the octet that it has reached; a block goes on to its end with the same padding.
void fillBlock(const velnor3gpp_Type* type, size_t size, std::vector<uint8_t>& octets)
{
  bool block = isForm(type, kPseudoLengthForm) || isForm(type, kShortForm);
  if (block && octets.size() < size) octets.resize(size, 0x2B);
}

int encodeAgain(velnor3gpp_Session* session, std::vector<uint8_t>& octets)
{
  velnor3gpp_Result result = resultIn(session);
  const uint8_t* encoded = nullptr;
  size_t count = 0;
  int status = velnor3gpp_encode(session, &encoded, &count);
  if (status < 0) return status;
  octets.assign(encoded, encoded + count);
  fillBlock(result.type, result.count, octets);
  return status;
}

bool isAllRead(velnor3gpp_Session* session)
{
  velnor3gpp_Kept kept = {};
  kept.size = sizeof kept;
  for (size_t i = 0; velnor3gpp_kept(session, i, &kept) == 0; ++i)
    if (kept.why != VELNOR3GPP_KEPT_PADDING) return false;
  return true;
}

// How well a form fits: 0 if the octets come back, 1 if octets are kept unread, passed over or lacking, 2 not at all.
static int misfit(velnor3gpp_Session* session, const velnor3gpp_Type* type, velnor3gpp_Direction direction,
                  const std::vector<uint8_t>& octets)
{
  velnor3gpp_decode(session, type, direction, octets.data(), octets.size());
  velnor3gpp_Result result = resultIn(session);
  if (result.status < 0) return 2;
  std::vector<uint8_t> again;
  bool whole = !result.missing && result.used == octets.size();
  return whole && isAllRead(session) && encodeAgain(session, again) >= 0 && again == octets ? 0 : 1;
}

const velnor3gpp_Type* bestForm(velnor3gpp_Session* session, const std::vector<const velnor3gpp_Type*>& forms,
                                velnor3gpp_Direction direction, const std::vector<uint8_t>& octets)
{
  const velnor3gpp_Type* best = forms[0];
  int least = 3;
  for (const velnor3gpp_Type* form : forms) {
    int fit = forms.size() > 1 ? misfit(session, form, direction, octets) : 0;
    if (fit < least) best = form;
    least = std::min(least, fit);
  }
  return best;
}
