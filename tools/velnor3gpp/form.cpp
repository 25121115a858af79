#include "form.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <numeric>

#include "velnor3gpp/velnor3gpp.h"

static constexpr char kPseudoLength[] = "TS44018Msg_L2_PSEUDO_LEN_PDU";
static constexpr char kShort[] = "TS44018Msg_RR_Short_PD_PDU";

static size_t distance(const std::string& a, const std::string& b)
{
  std::vector<size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), size_t{0});
  for (size_t i = 1; i <= a.size(); ++i) {
    size_t diagonal = row[0]++;
    for (size_t j = 1; j <= b.size(); ++j) {
      size_t changed = diagonal + (tolower(a[i - 1]) != tolower(b[j - 1]));
      diagonal = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, changed});
    }
  }
  return row[b.size()];
}

// The name alone, without its module, is what people remember.
static size_t distanceToName(const std::string& wanted, const std::string& fullName)
{
  size_t whole = distance(wanted, fullName);
  size_t split = fullName.find('_');
  return split == std::string::npos ? whole : std::min(whole, distance(wanted, fullName.substr(split + 1)));
}

static std::string nearNames(const std::string& wanted)
{
  std::vector<std::pair<size_t, std::string>> near;
  for (size_t i = 0; i < l3TypeCount; ++i) {
    std::string name = l3TypeTable[i].type->fullName;
    size_t far = distanceToName(wanted, name);
    if (far <= 1 + wanted.size() / 4) near.emplace_back(far, name);
  }
  std::sort(near.begin(), near.end());
  std::string text;
  for (size_t i = 0; i < near.size() && i < 3; ++i) text += (i ? ", " : "; did you mean ") + near[i].second;
  return text;
}

const L3TypeEntry& typeNamed(const std::string& fullName)
{
  const L3TypeEntry* entry = l3FindType(fullName.c_str());
  if (!entry) throw UsageError("no type '" + fullName + "'" + nearNames(fullName) + " ('velnor3gpp types' lists all)");
  if (!entry->decode) throw UsageError("type '" + fullName + "' has no decoder of its own");
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
    forms.push_back(&typeNamed(facts.name));
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
