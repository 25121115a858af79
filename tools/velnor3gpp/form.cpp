#include "form.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <numeric>

static constexpr char k5gs[] = "TS24501Msg_PDU";
static constexpr char kEps[] = "TS24301Msg_PDU";
static constexpr char kDownDcch[] = "TS44018Msg_DL_DCCH_PDU";
static constexpr char kUpDcch[] = "TS44018Msg_UL_DCCH_PDU";

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

static const char* radioForm(const std::vector<uint8_t>& octets, Direction direction)
{
  if (direction != Direction::kUnknown) return direction == Direction::kUp ? kUpDcch : kDownDcch;
  const L3TypeEntry* down = l3FindType(kDownDcch);
  const L3TypeEntry* up = l3FindType(kUpDcch);
  if (octets.size() < 2 || !down || !up) return nullptr;
  bool isDown = formHas(*down->type, octets[0] & 15, octets[1]);
  bool isUp = formHas(*up->type, octets[0] & 15, octets[1]);
  if (isDown == isUp) return nullptr;
  return isDown ? kDownDcch : kUpDcch;
}

// On common channels a pseudo length with low bits 01 stands first; no message of the protocols 1, 5, 9 and 13 has a
// type that looks like the discriminator behind it.
static bool hasPseudoLength(const std::vector<uint8_t>& octets)
{
  return octets.size() > 1 && (octets[0] & 3) == 1 && (octets[1] & 15) == 6;
}

static const char* formName(const std::vector<uint8_t>& octets, Direction direction)
{
  if (octets[0] == 126 || octets[0] == 46) return k5gs;
  if (hasPseudoLength(octets)) return "TS44018Msg_L2_PSEUDO_LEN_PDU";
  switch (octets[0] & 15) {
    case 2:
    case 7:
      return kEps;
    case 3:
    case 5:
    case 8:
    case 10:
      return "TS24008Msg_PDU";
    case 9:
      return "TS24011Msg_CP_PDU";
    case 4:
    case 6:
      return radioForm(octets, direction);
    default:
      return nullptr;
  }
}

const L3TypeEntry& formOf(const std::vector<uint8_t>& octets, Direction direction)
{
  const char* name = formName(octets, direction);
  std::string first = octetText(octets.data(), 1);
  if (name && !l3FindType(name))
    throw UsageError("the first octet " + first + " belongs to the form " + name +
                     ", which this library does not code; name another type with --as TYPE");
  if (name) return typeNamed(name);
  bool radio = (octets[0] & 15) == 6;
  throw UsageError("the first octet " + first + " does not tell what the message is; name its type with --as TYPE" +
                   (radio ? " or its direction with --dir up|down" : ""));
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
