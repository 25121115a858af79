// Taking out of a record what tells who or where somebody is or what they said. What a definition marks as `private` is
// told by the walk (Place::hidden, L3Row::privacy); two visitors overwrite it in place. velnor3gpp_redact makes it 0,
// velnor3gpp_pseudonymise makes of it what a key says, so that the same subscriber stays the same in many messages. The
// record keeps its shape, so that it can be encoded: digits and letters, octets and wide numbers are replaced; networks
// and countries, in up to three characters, stay. The message's own octets and what could not be read are wiped as
// well.
#include "api/authCode.h"
#include "api/permute.h"
#include "api/place.h"
#include "api/privateParts.h"
#include "api/session.h"
#include "rt3gppsrc/engine/l3Types.h"
#include "rt3gppsrc/rt3gppCrypto.h"

// Narrower numbers of a private type are flags and kinds, which others depend on.
static constexpr unsigned kLeastWidth = 16;
// Characters of a text that stay: country and network codes, and the short numbers of services.
static constexpr size_t kMostCode = 3;

// Makes every digit and letter a 0. Dots and @ stay, so that a domain name keeps its labels and can be encoded.
static void hideText(uint8_t* text, size_t count)
{
  for (size_t i = 0; i < count; ++i) {
    uint8_t c = text[i], letter = static_cast<uint8_t>(c | 0x20);
    bool marks = c < 0x80 && !(c >= '0' && c <= '9') && !(letter >= 'a' && letter <= 'z'); // dots, @
    if (c && !marks) text[i] = '0'; // a digit, which any number and any name can hold
  }
}

static bool isReplaced(const Place& place)
{
  const velnor3gpp_Node& node = place.node;
  if (node.step != VELNOR3GPP_VALUE) return false;
  bool own = place.row && place.row->privacy != kL3Public; // says so itself, and not something around it
  if (node.kind == VELNOR3GPP_NUMBER) return place.member && (own || (place.hidden && node.width >= kLeastWidth));
  if (node.kind == VELNOR3GPP_TEXT) return place.hidden && node.count > kMostCode;
  return (node.kind == VELNOR3GPP_OCTETS || node.kind == VELNOR3GPP_BITS) && (own || place.hidden) && node.count;
}

static void hidePart(uint8_t* octets, size_t count, void*)
{
  memset(octets, 0, count);
}

// Visitor: overwrites a private value. A message that is carried stays: nobody has read it. `arg` is the number told
// last.
static int hide(const velnor3gpp_Node* node, void* arg)
{
  const Place& place = placeOf(node);
  uint64_t& before = *static_cast<uint64_t*>(arg);
  uint64_t option = before;
  if (node->kind == VELNOR3GPP_NUMBER) before = node->number;
  if (!isReplaced(place)) return 0;
  if (node->kind == VELNOR3GPP_NUMBER) l3Store(writable(place.member), place.store, 0);
  if (node->kind == VELNOR3GPP_TEXT) hideText(writable(node->data), node->count);
  if (node->kind == VELNOR3GPP_BITS) memset(writable(node->data), 0, (node->count + 7) / 8);
  if (node->kind == VELNOR3GPP_OCTETS) eachPrivatePart(place, option, {hidePart, hidePart, nullptr});
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
  uint64_t before = 0;
  int status = velnor3gpp_visit(session, kVisitPersons, hide, &before);
  clearAuthCode(*session);
  forgetOctets(*session);
  return status;
}

namespace {

constexpr size_t kSameDigits = 9;  // the last digits that make a number, whatever prefix stands before them
constexpr unsigned kMaxInside = 4; // messages within messages

// AES under the caller's key, for CMAC; wiped when the pseudonymisation ends.
struct Cipher {
  uint32_t schedule[kAesScheduleWords];
  uint8_t subkeys[kCmacSubkeyOctets];
};

// What the visitor works with.
struct Replace {
  const Cipher& cipher;
  velnor3gpp_Session* inside; // a session of its own for messages within this one, or null
  unsigned depth;
  Place digit;   // the number told last, which may be the digit in front of others
  uint64_t kind; // the enumeration told last
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

// Replaces all digits but the first `kept`. The last nine are permuted, and what stands before them is moved on by what
// the key makes of those: 0049 170 1234567 and 0170 1234567 stay the same number behind their prefixes, and numbers
// that differ stay different. Digits are values of 0 to 9.
static void moveDigits(const Cipher& cipher, uint8_t* digits, size_t count, size_t kept)
{
  if (count <= kept) return;
  size_t same = count - kept < kSameDigits ? count - kept : kSameDigits;
  uint8_t* last = digits + count - same;
  uint8_t tag[kAesBlockOctets];
  tagOf(cipher, last, same, 0, tag);
  for (size_t i = kept; i < count - same; ++i)
    digits[i] = static_cast<uint8_t>((digits[i] + tag[(count - i) % kAesBlockOctets]) % 10);
  uint64_t value = 0, size = 1;
  for (size_t i = 0; i < same; ++i, size *= 10) value = value * 10 + last[i];
  value = permute(cipher.schedule, value, size - 1);
  for (size_t i = same; i; --i, value /= 10) last[i - 1] = static_cast<uint8_t>(value % 10);
}

// The digits that an IMSI keeps, country and network. Networks of three digits are usual in these countries (ITU-T
// E.212), networks of two elsewhere: the digits alone do not tell.
static size_t networkDigits(const uint8_t* digits, size_t count)
{
  static constexpr uint16_t kLongCodes[] = {302, 310, 311, 312, 313, 314, 315, 316, 330, 334, 338, 342, 344, 346,
                                            348, 350, 352, 354, 356, 358, 360, 365, 366, 376, 708, 722, 732, 750};
  unsigned country = count < 3 ? 0 : digits[0] * 100U + digits[1] * 10U + digits[2];
  for (uint16_t code : kLongCodes)
    if (code == country) return 6;
  return 5;
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

// An IMSI keeps country and network; an IMEI gets a new check digit, an IMEISV keeps its software version.
static void replaceDigits(const Replace& replace, uint8_t* digits, size_t count, bool subscriber, bool equipment)
{
  equipment = equipment && count > kImeiDigits;
  moveDigits(replace.cipher, digits, equipment ? kImeiDigits : count, subscriber ? networkDigits(digits, count) : 0);
  if (equipment && count == kImeiDigits + 1) digits[kImeiDigits] = checkDigit(digits, kImeiDigits);
}

// The places of the digits of a number, which may have marks of dialling between them (*31#170...). False for other
// text, and for more digits than the array holds.
static bool findDigits(const uint8_t* text, size_t count, uint8_t* places, size_t& found)
{
  found = 0;
  if (count > UINT8_MAX) return false;
  for (size_t i = 0; i < count; ++i) {
    bool digit = text[i] >= '0' && text[i] <= '9';
    if ((digit && found == kMostDigits) || (!digit && !memchr("*#+abc", text[i], 6))) return false;
    if (digit) places[found++] = static_cast<uint8_t>(i);
  }
  return true;
}

// Text that is no number, such as a domain name, is hidden: a pseudonym would have to be a legal name.
static void replaceText(const Replace& replace, const velnor3gpp_Node* node)
{
  uint8_t places[kMostDigits], digits[kMostDigits];
  size_t count = 0;
  uint8_t* text = writable(node->data);
  if (!findDigits(text, node->count, places, count)) return hideText(text, node->count);
  for (size_t i = 0; i < count; ++i) digits[i] = static_cast<uint8_t>(text[places[i]] - '0');
  replaceDigits(replace, digits, count, isNamed(node, "imsi"), isNamed(node, "imei") || isNamed(node, "imeisv"));
  for (size_t i = 0; i < count; ++i) text[places[i]] = static_cast<uint8_t>(digits[i] + '0');
}

// XORs the octets with what the key makes of them: the same octets always become the same others.
static void maskOctets(const Cipher& cipher, uint8_t* octets, size_t count)
{
  uint8_t start[kAesBlockOctets], tag[kAesBlockOctets];
  rtx3gppCmac(cipher.schedule, cipher.subkeys, octets, count, start);
  for (size_t i = 0; i < count; ++i) {
    if (i % kAesBlockOctets == 0) tagOf(cipher, start, sizeof start, static_cast<uint8_t>(i / kAesBlockOctets), tag);
    octets[i] ^= tag[i % kAesBlockOctets];
  }
}

// Nothing but zeros or ones is no identity but the lack of one, and stays.
static uint64_t replaceNumber(const Cipher& cipher, uint64_t value, unsigned width)
{
  uint64_t last = width < 64 ? (uint64_t{1} << width) - 1 : UINT64_MAX;
  return width < 2 || !value || value == last ? value : 1 + permute(cipher.schedule, value - 1, last - 2);
}

// Up to eight octets become what a number of their width does, the higher ones first: a TMSI as a number and as four
// octets has the same pseudonym.
static void replaceOctets(uint8_t* octets, size_t count, void* arg)
{
  const Cipher& cipher = static_cast<const Replace*>(arg)->cipher;
  if (count > 8) return maskOctets(cipher, octets, count);
  uint64_t value = 0;
  for (size_t i = 0; i < count; ++i) value = value << 8 | octets[i];
  value = replaceNumber(cipher, value, static_cast<unsigned>(8 * count));
  for (size_t i = count; i; --i, value >>= 8) octets[i - 1] = static_cast<uint8_t>(value);
}

// Digits two in an octet with the low half first, and 15 as filler: 21 F3 is 123. Remote UEs of EPS have one more in
// front, in a number of its own. Other octets, such as the output of a real scheme of a SUCI, are replaced as octets.
static void replaceHalves(uint8_t* octets, size_t count, void* arg)
{
  Replace& replace = *static_cast<Replace*>(arg);
  uint8_t digits[kMostDigits];
  bool leading = replace.digit.member && isNamed(&replace.digit.node, "userDigit1");
  size_t first = leading ? 1 : 0, halves = 2 * count;
  if (!count || first + halves > kMostDigits) return replaceOctets(octets, count, arg);
  if (leading) digits[0] = static_cast<uint8_t>(replace.digit.node.number);
  for (size_t i = 0; i < halves; ++i) digits[first + i] = i % 2 ? octets[i / 2] >> 4 : octets[i / 2] & 15;
  size_t used = first + halves - (digits[first + halves - 1] == 15 ? 1 : 0);
  for (size_t i = 0; i < used; ++i)
    if (digits[i] > 9) return replaceOctets(octets, count, arg);
  replaceDigits(replace, digits, used, leading && replace.kind <= 2, leading && replace.kind >= 4);
  if (leading) l3Store(writable(replace.digit.member), replace.digit.store, digits[0]);
  for (size_t i = 0; i < count; ++i)
    octets[i] = static_cast<uint8_t>(digits[first + 2 * i + 1] << 4 | digits[first + 2 * i]);
}

// A message that is carried is decoded, encoded and compared; only if that gives the same octets nothing in it has gone
// unread, and it is pseudonymised by itself. Any other may hold anything and is replaced as a whole.
static bool replaceInside(const Replace& replace, uint8_t* octets, size_t count)
{
  velnor3gpp_Session* inside = replace.inside;
  const uint8_t* again = nullptr;
  size_t length = 0;
  if (!inside || velnor3gpp_decode(inside, nullptr, VELNOR3GPP_DIRECTION_UNKNOWN, octets, count) != 0) return false;
  // `again` is in the inner session and holds until its next encoding, so it is compared at once.
  bool back = messageOf(*inside) && velnor3gpp_encode(inside, &again, &length) == 0 && length == count;
  if (!back || memcmp(again, octets, count) != 0) return false;
  if (pseudonymise(*inside, replace.cipher, replace.depth + 1) < 0) return false;
  if (velnor3gpp_encode(inside, &again, &length) < 0 || length != count) return false;
  memcpy(octets, again, count);
  return true;
}

static void replaceMessage(uint8_t* octets, size_t count, void* arg)
{
  if (!replaceInside(*static_cast<Replace*>(arg), octets, count)) replaceOctets(octets, count, arg);
}

// Bits behind the end of a bit string stay 0.
static void replaceBits(Replace& replace, const velnor3gpp_Node* node)
{
  uint8_t* bits = writable(node->data);
  replaceOctets(bits, (node->count + 7) / 8, &replace);
  if (node->count % 8) bits[node->count / 8] &= static_cast<uint8_t>(0xFF00 >> node->count % 8);
}

// Seven bits are a character that was dialled: a digit, or a mark that stays.
static uint64_t replaceValue(const Cipher& cipher, const velnor3gpp_Node& node)
{
  if (node.width != 7) return replaceNumber(cipher, node.number, node.width);
  bool digit = node.number >= '0' && node.number <= '9';
  return digit ? '0' + permute(cipher.schedule, node.number - '0', 9) : node.number;
}

// Visitor: the private values.
static int replaceNode(const velnor3gpp_Node* node, void* arg)
{
  Replace& replace = *static_cast<Replace*>(arg);
  const Place& place = placeOf(node);
  if (isReplaced(place)) {
    if (node->kind == VELNOR3GPP_NUMBER)
      l3Store(writable(place.member), place.store, replaceValue(replace.cipher, *node));
    if (node->kind == VELNOR3GPP_TEXT) replaceText(replace, node);
    if (node->kind == VELNOR3GPP_OCTETS)
      eachPrivatePart(place, replace.digit.node.number, {replaceOctets, replaceHalves, replaceMessage, &replace});
    if (node->kind == VELNOR3GPP_BITS) replaceBits(replace, node);
  }
  if (node->kind == VELNOR3GPP_ENUMERATED) replace.kind = node->number;
  if (node->kind == VELNOR3GPP_NUMBER) replace.digit = place;
  return 0;
}

// One message and, in sessions of their own, up to four levels of messages in it. What is carried below that is
// replaced as octets.
static int pseudonymise(velnor3gpp_Session& session, const Cipher& cipher, unsigned depth)
{
  velnor3gpp_Session* inside = nullptr;
  if (depth < kMaxInside && velnor3gpp_open(&inside) < 0) return RTX_E_NO_MEMORY;
  Replace replace = {cipher, inside, depth, {}, 0};
  int status = velnor3gpp_visit(&session, kVisitPersons, replaceNode, &replace);
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
