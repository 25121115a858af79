#include "form.h"

#include <cstring>

#include "names.h"
#include "velnor3gpp/velnor3gpp.h"

static constexpr char kPseudoLength[] = "TS44018Msg_L2_PSEUDO_LEN_PDU";
static constexpr char kShort[] = "TS44018Msg_RR_Short_PD_PDU";

const L3TypeEntry& entryNamed(const std::string& name)
{
  const L3TypeEntry* entry = l3FindType(factsOf(typeNamed(name)).name);
  if (!entry || !entry->decode) throw UsageError("type '" + name + "' has no decoder of its own");
  return *entry;
}

std::vector<const L3TypeEntry*> formsOf(const std::vector<uint8_t>& octets, Direction direction, Channel channel)
{
  const velnor3gpp_Type* types[VELNOR3GPP_FORMS_MAX];
  velnor3gpp_TypeFacts facts = {};
  facts.size = sizeof facts;
  std::vector<const L3TypeEntry*> forms;
  size_t count = velnor3gpp_forms(octets.data(), octets.size(), static_cast<velnor3gpp_Direction>(direction),
                                  static_cast<velnor3gpp_Channel>(channel), types);
  for (size_t i = 0; i < count; ++i) {
    velnor3gpp_typeFacts(types[i], &facts);
    forms.push_back(&entryNamed(facts.name));
  }
  if (!forms.empty()) return forms;
  bool radio = (octets[0] & 15) == 6;
  throw UsageError("the first octet " + octetText(octets.data(), 1) +
                   " does not tell what the message is; name its type with --as TYPE" +
                   (radio ? ", or its channel with --channel and its direction with --dir" : ""));
}

bool hasPseudoLength(const L3Type& form)
{
  return strcmp(form.fullName, kPseudoLength) == 0;
}

bool fillsBlock(const L3Type& form)
{
  return hasPseudoLength(form) || strcmp(form.fullName, kShort) == 0;
}

Protection protectionOf(const L3Type& form, const std::vector<uint8_t>& octets)
{
  return protectionOf(form, octets.data(), octets.size());
}

bool looksPlain(const L3Type& form, const std::vector<uint8_t>& octets, const Protection& protection)
{
  return looksPlain(form, octets.data(), octets.size(), protection);
}
