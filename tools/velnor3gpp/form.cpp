#include "form.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <numeric>

static constexpr char k5gs[] = "TS24501Msg_PDU";
static constexpr char kEps[] = "TS24301Msg_PDU";
static constexpr char kDownDcch[] = "TS44018Msg_DL_DCCH_PDU";
static constexpr char kUpDcch[] = "TS44018Msg_UL_DCCH_PDU";
static constexpr char kUpSacch[] = "TS44018Msg_UL_SACCH_PDU";
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

static bool bodyHas(const L3Body& body, unsigned discriminator, unsigned msgType)
{
  return std::any_of(body.rows, body.rows + body.count, [&](const L3BodyRow& row) {
    return row.msgType == msgType &&
           (!body.discriminator.store || body.onlyDiscriminator != kL3NoLimit || row.discriminator == discriminator);
  });
}

// Does the form's table have a message of that discriminator and type?
static bool formHas(const L3Type& form, unsigned discriminator, unsigned msgType)
{
  for (const L3Row* row = form.rows; row < form.rows + form.rowCount; ++row)
    if (row->op == kL3Body && bodyHas(*static_cast<const L3Body*>(row->info), discriminator, msgType)) return true;
  return false;
}

// The form has the message whose discriminator, where there is one, and type stand at these places.
static bool formHasAt(const char* name, const std::vector<uint8_t>& octets, size_t discriminatorAt, size_t typeAt)
{
  const L3TypeEntry* form = l3FindType(name);
  return form && typeAt < octets.size() && formHas(*form->type, octets[discriminatorAt] & 15, octets[typeAt]);
}

// On common channels a pseudo length with low bits 01 stands first; no message of the protocols 1, 5, 9 and 13 has a
// type that looks like the discriminator behind it.
static bool looksPseudo(const std::vector<uint8_t>& octets)
{
  return octets.size() > 1 && (octets[0] & 3) == 1 && (octets[1] & 15) == 6;
}

// One bit of 0, five of the type: 0x14 is type 5, with the short header of layer 2 behind it.
static bool looksShort(const std::vector<uint8_t>& octets)
{
  return octets[0] < 0x80 && formHas(*typeNamed(kShort).type, 0, octets[0] >> 2);
}

// The forms of the channel; of the dedicated ones those of the direction that have the message, or all if none has.
static std::vector<const char*> formsOfChannel(const std::vector<uint8_t>& octets, Direction direction, Channel channel)
{
  if (channel == Channel::kShort) return {kShort};
  bool associated = channel == Channel::kSacch;
  if (channel == Channel::kBcch || channel == Channel::kCcch) return {kPseudoLength};
  if (associated && (direction == Direction::kDown || looksPseudo(octets))) return {kPseudoLength};
  if (associated) return {kUpSacch};
  std::vector<const char*> all, having;
  if (direction != Direction::kDown) all.push_back(kUpDcch);
  if (direction != Direction::kUp) all.push_back(kDownDcch);
  for (const char* name : all)
    if (formHasAt(name, octets, 0, 1)) having.push_back(name);
  return having.empty() ? all : having;
}

// Without a channel: whatever has the message. Types that both directions have are the mobile's more often than not
// (assignment complete, classmark change).
static std::vector<const char*> radioForms(const std::vector<uint8_t>& octets, Direction direction)
{
  std::vector<const char*> names;
  if (direction != Direction::kDown && formHasAt(kUpDcch, octets, 0, 1)) names.push_back(kUpDcch);
  if (direction != Direction::kUp && formHasAt(kDownDcch, octets, 0, 1)) names.push_back(kDownDcch);
  if (direction != Direction::kDown && formHasAt(kUpSacch, octets, 0, 1)) names.push_back(kUpSacch);
  if (names.empty() && looksShort(octets)) names.push_back(kShort);
  // A type that no table has: the decoder says so.
  if (names.empty() && direction != Direction::kUnknown)
    names.push_back(direction == Direction::kUp ? kUpDcch : kDownDcch);
  return names;
}

static std::vector<const char*> formNames(const std::vector<uint8_t>& octets, Direction direction)
{
  if (octets[0] == 126 || octets[0] == 46) return {k5gs};
  if (looksPseudo(octets)) return {kPseudoLength};
  switch (octets[0] & 15) {
    case 2:
    case 7:
      return {kEps};
    case 3:
    case 5:
    case 8:
    case 10:
      return {"TS24008Msg_PDU"};
    case 9:
      return {"TS24011Msg_CP_PDU"};
    case 4:
    case 6:
      return radioForms(octets, direction);
    default:
      return looksShort(octets) ? std::vector<const char*>{kShort} : std::vector<const char*>{};
  }
}

std::vector<const L3TypeEntry*> formsOf(const std::vector<uint8_t>& octets, Direction direction, Channel channel)
{
  auto names = channel == Channel::kUnknown ? formNames(octets, direction) : formsOfChannel(octets, direction, channel);
  std::vector<const L3TypeEntry*> forms;
  for (const char* name : names) forms.push_back(&typeNamed(name));
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

// A header with the code at `codeAt`, and the sequence number and the message behind it.
static Protection securityHeader(const std::vector<uint8_t>& octets, unsigned kind, const char* header, size_t codeAt)
{
  Protection p;
  p.codeAt = codeAt;
  p.codeOctets = 4;
  p.inner = codeAt + 5;
  if (!kind || octets.size() < p.inner) return {};
  p.present = true;
  p.checkable = kind <= 4;
  p.ciphered = kind == 2 || kind == 4;
  p.header = header;
  p.sequence = octets[codeAt + 4];
  return p;
}

static Protection protection5gs(const std::vector<uint8_t>& octets)
{
  if (octets.size() < 2 || octets[0] != 126) return {};
  Protection p = securityHeader(octets, octets[1] & 15, "TS24501Msg_NAS5GSecProtMsgHdr", 2);
  p.checkable = p.present;
  p.bearer = 1;
  return p;
}

// Its type is a value above 11 in the high half, and its five sequence bits stand behind the key set.
static Protection serviceRequest(const std::vector<uint8_t>& octets)
{
  Protection p;
  if (octets.size() < 4) return p;
  p.present = p.checkable = true;
  p.sequence = octets[1] & 31;
  p.sequenceBits = 5;
  p.codeAt = 2;
  p.codeOctets = 2;
  p.inner = 4;
  return p;
}

static Protection protectionEps(const std::vector<uint8_t>& octets)
{
  unsigned kind = octets[0] >> 4;
  if (kind >= 12) return serviceRequest(octets); // whatever the discriminator, as the decoder has it
  return (octets[0] & 15) == 7 ? securityHeader(octets, kind, "TS24007L3_SecProtMsgHeader", 1) : Protection{};
}

Protection protectionOf(const L3Type& form, const std::vector<uint8_t>& octets)
{
  if (strcmp(form.fullName, k5gs) == 0) return protection5gs(octets);
  if (strcmp(form.fullName, kEps) == 0) return protectionEps(octets);
  return {};
}

bool looksPlain(const L3Type& form, const std::vector<uint8_t>& octets, const Protection& protection)
{
  bool is5gs = strcmp(form.fullName, k5gs) == 0;
  size_t at = protection.inner;
  if (octets.size() < at + 2) return false;
  unsigned discriminator = is5gs ? octets[at] : octets[at] & 15;
  bool session = discriminator == (is5gs ? 46 : 2);
  if (!session && (is5gs ? octets[at + 1] & 15 : octets[at] >> 4)) return false;
  size_t typeAt = at + (is5gs ? 2 : 1) + session;
  return typeAt < octets.size() && formHas(form, discriminator, octets[typeAt]);
}
