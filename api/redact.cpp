// Taking out of a record what tells who or where somebody is or what they said. Types that a definition marks as
// `private` are told by the walk (Place::hidden); two visitors overwrite their values in place. velnor3gpp_redact makes
// them 0, velnor3gpp_pseudonymise makes of them what a key says, so that the same subscriber stays the same in many
// messages. The record keeps its shape, so that it can be encoded: digits and letters, octets and wide numbers are
// replaced; networks and countries, in up to three characters, stay. The message's own octets and what could not be
// read are wiped as well.
#include "api/authCode.h"
#include "api/place.h"
#include "api/session.h"
#include "rt3gppsrc/rt3gppCrypto.h"

static constexpr unsigned kLeastWidth = 16; // narrower numbers are flags and kinds, which others depend on
// Characters of a text that stay: country and network codes.
static constexpr size_t kMostCode = 3;

// The walk shows values as constants, because most visitors only read. The record belongs to the session, so writing to
// it here is sound.
static uint8_t* writable(const uint8_t* data)
{
  return const_cast<uint8_t*>(data);
}

// Makes every digit and letter a 0. Dots and @ stay, so that a domain name keeps its labels and can be encoded.
static void hideText(uint8_t* text, size_t count)
{
  for (size_t i = 0; i < count; ++i) {
    uint8_t c = text[i], letter = static_cast<uint8_t>(c | 0x20);
    bool marks = c < 0x80 && !(c >= '0' && c <= '9') && !(letter >= 'a' && letter <= 'z'); // dots, @
    if (c && !marks) text[i] = '0'; // a digit, which any number and any name can hold
  }
}

// Visitor: overwrites a value that lies in a private type.
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

// The session's copy of the message still holds what the record does not, and so do elements that nobody has read.
// Without octets, positions and traces of the message are gone.
static void forgetOctets(velnor3gpp_Session& session)
{
  hideKept(session);
  if (session.count) rtx3gppWipe(session.octets.data, session.count * 2);
  session.count = 0;
}

// Redacts as far as the walk comes; the octets go whatever its status is.
int velnor3gpp_redact(velnor3gpp_Session* session)
{
  if (!session) return RTX_E_NULL_POINTER;
  int status = velnor3gpp_visit(session, 0, hide, nullptr);
  clearAuthCode(*session);
  forgetOctets(*session);
  return status;
}

namespace {

constexpr size_t kNetworkDigits = 5; // of an IMSI: country and network
constexpr size_t kSameDigits = 9;    // the last digits that make a number, whatever prefix stands before them
constexpr unsigned kMaxInside = 4;   // messages within messages

// AES under the caller's key, for CMAC; wiped when the pseudonymisation ends.
struct Cipher {
  uint32_t schedule[kAesScheduleWords];
  uint8_t subkeys[kCmacSubkeyOctets];
};

// What the visitor works with. `inside` is a session of its own for messages within messages.
struct Replace {
  const Cipher& cipher;
  velnor3gpp_Session* inside; // for messages within this one, or null
  unsigned depth;
};

} // namespace

static int pseudonymise(velnor3gpp_Session& session, const Cipher& cipher, unsigned depth);

// 16 octets that key and data make: CMAC over a block pair of count, number, and up to 24 octets of data. Who has not
// the key can neither compute nor reverse it.
static void tagOf(const Cipher& cipher, const void* data, size_t count, uint8_t number, uint8_t* tag)
{
  uint8_t text[32] = {static_cast<uint8_t>(count), number};
  memcpy(text + 2, data, count < 24 ? count : 24);
  rtx3gppCmac(cipher.schedule, cipher.subkeys, text, sizeof text, tag);
}

static bool isNamed(const velnor3gpp_Node* node, const char* name)
{
  return node->name && node->nameLength == strlen(name) && memcmp(node->name, name, node->nameLength) == 0;
}

// Moves each digit but the first `kept` on by what the key makes of the last nine: 0049 170 1234567 and 0170 1234567
// stay the same number behind their prefixes. Digits are values of 0 to 9. The last digit moves by 1 to 9, so that no
// number stays as it was.
static void moveDigits(const Cipher& cipher, uint8_t* digits, size_t count, size_t kept)
{
  uint8_t tag[kAesBlockOctets];
  if (count <= kept) return;
  size_t window = count < kSameDigits ? count : kSameDigits;
  tagOf(cipher, digits + count - window, window, 0, tag);
  for (size_t i = 0; kept + i < count; ++i) {
    uint8_t shift = tag[i % kAesBlockOctets];
    uint8_t& digit = digits[count - 1 - i];
    digit = static_cast<uint8_t>((digit + (i ? shift % 10 : 1 + shift % 9)) % 10);
  }
}

// The check digit of an IMEI makes a sum over all its digits, every second one doubled, a multiple of 10 (TS 23.003,
// annex B): 49015420323751 gets 8.
static uint8_t checkDigit(const uint8_t* digits, size_t count)
{
  unsigned sum = 0;
  for (size_t i = 0; i < count; ++i) {
    unsigned value = digits[i] * (i % 2 ? 2U : 1U);
    sum += value / 10 + value % 10;
  }
  return static_cast<uint8_t>((10 - sum % 10) % 10);
}

static constexpr size_t kMostDigits = 32;
// An IMEI has 15 digits and an IMEISV 16, of which the first 14 say which equipment it is (TS 23.003, 6.2).
static constexpr size_t kImeiDigits = 14; // without the check digit, or the two of the software version

// An IMSI keeps its first five digits, country and network; an IMEI gets a new check digit, an IMEISV keeps its
// software version.
static void replaceDigits(const Replace& replace, const velnor3gpp_Node* node, uint8_t* text)
{
  uint8_t digits[kMostDigits];
  size_t count = node->count;
  for (size_t i = 0; i < count; ++i) digits[i] = static_cast<uint8_t>(text[i] - '0');
  bool equipment = (isNamed(node, "imei") || isNamed(node, "imeisv")) && count > kImeiDigits;
  moveDigits(replace.cipher, digits, equipment ? kImeiDigits : count, isNamed(node, "imsi") ? kNetworkDigits : 0);
  if (equipment && count == kImeiDigits + 1) digits[kImeiDigits] = checkDigit(digits, kImeiDigits);
  for (size_t i = 0; i < count; ++i) text[i] = static_cast<uint8_t>(digits[i] + '0');
}

// Digits alone, no more than the array of replaceDigits holds.
static bool areDigits(const uint8_t* text, size_t count)
{
  for (size_t i = 0; i < count; ++i)
    if (text[i] < '0' || text[i] > '9') return false;
  return count <= kMostDigits;
}

// XORs the octets with what the key makes of them: the same octets always become the same others.
static void replaceOctets(const Cipher& cipher, uint8_t* octets, size_t count)
{
  uint8_t start[kAesBlockOctets], tag[kAesBlockOctets];
  rtx3gppCmac(cipher.schedule, cipher.subkeys, octets, count, start);
  for (size_t i = 0; i < count; ++i) {
    if (i % kAesBlockOctets == 0) tagOf(cipher, start, sizeof start, static_cast<uint8_t>(i / kAesBlockOctets), tag);
    octets[i] ^= tag[i % kAesBlockOctets];
  }
}

// Text that is no number, such as a domain name, is hidden: a pseudonym would have to be a legal name.
static void replaceText(const Replace& replace, const velnor3gpp_Node* node)
{
  uint8_t* text = writable(node->data);
  if (areDigits(text, node->count)) return replaceDigits(replace, node, text);
  hideText(text, node->count);
}

// A number becomes what its octets would, the higher ones first, cut to its width: a TMSI as a number and as four
// octets has the same pseudonym.
static void replaceNumber(const Replace& replace, const Place& place)
{
  const velnor3gpp_Node& node = place.node;
  uint8_t octets[8];
  size_t count = (node.width + 7U) / 8;
  for (size_t i = 0; i < count; ++i) octets[i] = static_cast<uint8_t>(node.number >> 8 * (count - 1 - i));
  replaceOctets(replace.cipher, octets, count);
  uint64_t number = 0;
  for (size_t i = 0; i < count; ++i) number = number << 8 | octets[i];
  if (node.width < 64) number &= (uint64_t{1} << node.width) - 1;
  l3Store(writable(place.member), place.store, number);
}

// The null scheme of a SUCI has the subscriber's digits, two in an octet with the low half first, and 15 as filler: 21
// F3 is 123. False, with nothing changed, for other octets: the output of a real scheme.
static bool replaceHalves(const Replace& replace, uint8_t* octets, size_t count)
{
  uint8_t digits[kMostDigits];
  size_t halves = 2 * count;
  if (!count || halves > kMostDigits) return false;
  for (size_t i = 0; i < halves; ++i) digits[i] = i % 2 ? octets[i / 2] >> 4 : octets[i / 2] & 15;
  size_t used = digits[halves - 1] == 15 ? halves - 1 : halves;
  for (size_t i = 0; i < used; ++i)
    if (digits[i] > 9) return false;
  moveDigits(replace.cipher, digits, used, 0);
  for (size_t i = 0; i < count; ++i) octets[i] = static_cast<uint8_t>(digits[2 * i + 1] << 4 | digits[2 * i]);
  return true;
}

// Octets of no private type may be a message in which something is: a container. It is decoded, encoded and compared;
// only if that gives the same octets nothing in it has gone unread, and it is pseudonymised by itself. A message that
// does not come back may hold anything and is replaced as a whole. Octets that are no message are left.
static void replaceInside(const Replace& replace, uint8_t* octets, size_t count)
{
  velnor3gpp_Session* inside = replace.inside;
  const uint8_t* again = nullptr;
  size_t length = 0;
  if (!inside || count < 2) return;
  int status = velnor3gpp_decode(inside, nullptr, VELNOR3GPP_DIRECTION_UNKNOWN, octets, count);
  if (!messageOf(*inside)) return;
  // `again` is in the inner session and holds until its next encoding, so it is compared at once.
  bool back = status == 0 && velnor3gpp_encode(inside, &again, &length) == 0 && length == count;
  if (!back || memcmp(again, octets, count) != 0) return replaceOctets(replace.cipher, octets, count);
  if (pseudonymise(*inside, replace.cipher, replace.depth + 1) < 0) return;
  if (velnor3gpp_encode(inside, &again, &length) == 0 && length == count) memcpy(octets, again, count);
}

// Visitor: the private values, and octets that may be messages. Bits behind the end of a bit string stay 0.
static int replaceNode(const velnor3gpp_Node* node, void* arg)
{
  const Replace& replace = *static_cast<const Replace*>(arg);
  const Place& place = placeOf(node);
  if (node->step != VELNOR3GPP_VALUE) return 0;
  // Octets of a private type are replaced below, whatever they hold.
  if (node->kind == VELNOR3GPP_OCTETS && !place.hidden) replaceInside(replace, writable(node->data), node->count);
  if (!place.hidden) return 0;
  if (node->kind == VELNOR3GPP_NUMBER && node->width >= kLeastWidth && place.member) replaceNumber(replace, place);
  if (node->kind == VELNOR3GPP_TEXT && node->count > kMostCode) replaceText(replace, node);
  if (node->kind == VELNOR3GPP_OCTETS && node->count) {
    bool halves = isNamed(node, "schemeOutput") && replaceHalves(replace, writable(node->data), node->count);
    if (!halves) replaceOctets(replace.cipher, writable(node->data), node->count);
  }
  if (node->kind == VELNOR3GPP_BITS && node->count) {
    uint8_t* bits = writable(node->data);
    replaceOctets(replace.cipher, bits, (node->count + 7) / 8);
    if (node->count % 8) bits[node->count / 8] &= static_cast<uint8_t>(0xFF00 >> node->count % 8);
  }
  return 0;
}

// One message and, in sessions of their own, up to four levels of messages in it. Containers
// below that stay as they are.
static int pseudonymise(velnor3gpp_Session& session, const Cipher& cipher, unsigned depth)
{
  velnor3gpp_Session* inside = nullptr;
  if (depth < kMaxInside && velnor3gpp_open(&inside) < 0) return RTX_E_NO_MEMORY;
  Replace replace = {cipher, inside, depth};
  int status = velnor3gpp_visit(&session, 0, replaceNode, &replace);
  velnor3gpp_close(inside);
  forgetOctets(session);
  return status;
}

// The key is 16 octets and is not kept.
int velnor3gpp_pseudonymise(velnor3gpp_Session* session, const uint8_t key[16])
{
  if (!session || !key) return RTX_E_NULL_POINTER;
  Cipher cipher;
  rtx3gppAesExpandKey(cipher.schedule, key);
  rtx3gppCmacSubkeys(cipher.schedule, cipher.subkeys);
  int status = pseudonymise(*session, cipher, 0);
  clearAuthCode(*session);
  rtx3gppWipe(&cipher, sizeof cipher);
  return status;
}
