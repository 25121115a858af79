// Taking out of a record what tells who or where somebody is or what they said. The record keeps its shape: digits and
// letters, octets and wide numbers become 0, or what a key makes of them; networks and countries, in up to three
// characters, stay.
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

// The message's own octets still tell what the record does not, and so do elements that nobody reads.
static void forgetOctets(velnor3gpp_Session& session)
{
  hideKept(session);
  if (session.count) rtx3gppWipe(session.octets.data, session.count * 2);
  session.count = 0;
}

int velnor3gpp_redact(velnor3gpp_Session* session)
{
  if (!session) return RTX_E_NULL_POINTER;
  int status = velnor3gpp_visit(session, 0, hide, nullptr);
  forgetOctets(*session);
  return status;
}

namespace {

constexpr size_t kNetworkDigits = 5; // of an IMSI: country and network
constexpr size_t kSameDigits = 9;    // the last digits that make a number, whatever prefix stands before them
constexpr unsigned kMaxInside = 4;   // messages within messages

struct Cipher {
  uint32_t schedule[kAesScheduleWords];
  uint8_t subkeys[kCmacSubkeyOctets];
};

struct Replace {
  const Cipher& cipher;
  velnor3gpp_Session* inside; // for messages within this one, or null
  unsigned depth;
};

} // namespace

static int pseudonymise(velnor3gpp_Session& session, const Cipher& cipher, unsigned depth);

// 16 octets that the key makes of up to 24.
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

// Each digit from `kept` on, counted from the end, is moved on by what the key makes of the last nine: 0049 170 1234567
// and 0170 1234567 stay the same number. Digits are values of 0 to 9; a number of the key's own is never the first one.
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

// The last digit of an IMEI makes a sum over all of them a multiple of 10 (TS 23.003, B.2).
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
static constexpr size_t kImeiDigits = 14; // without the check digit, or the two of the software version

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

static bool areDigits(const uint8_t* text, size_t count)
{
  for (size_t i = 0; i < count; ++i)
    if (text[i] < '0' || text[i] > '9') return false;
  return count <= kMostDigits;
}

// XORs what the key makes of the octets over them: the same octets always become the same others.
static void replaceOctets(const Cipher& cipher, uint8_t* octets, size_t count)
{
  uint8_t start[kAesBlockOctets], tag[kAesBlockOctets];
  rtx3gppCmac(cipher.schedule, cipher.subkeys, octets, count, start);
  for (size_t i = 0; i < count; ++i) {
    if (i % kAesBlockOctets == 0) tagOf(cipher, start, sizeof start, static_cast<uint8_t>(i / kAesBlockOctets), tag);
    octets[i] ^= tag[i % kAesBlockOctets];
  }
}

static void replaceText(const Replace& replace, const velnor3gpp_Node* node)
{
  uint8_t* text = writable(node->data);
  if (areDigits(text, node->count)) return replaceDigits(replace, node, text);
  hideText(text, node->count);
}

// A number of whole octets becomes what the same octets would.
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

// The null scheme of a SUCI has the subscriber's digits, two in an octet with the low half first, and 15 as a filler.
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

// Octets of no private type may be a message in which something is: it is replaced there. What is a message and does
// not come back octet for octet may hold anything in what was not read, and goes as a whole.
static void replaceInside(const Replace& replace, uint8_t* octets, size_t count)
{
  velnor3gpp_Session* inside = replace.inside;
  const uint8_t* again = nullptr;
  size_t length = 0;
  if (!inside || count < 2) return;
  int status = velnor3gpp_decode(inside, nullptr, VELNOR3GPP_DIRECTION_UNKNOWN, octets, count);
  if (!messageOf(*inside)) return;
  bool back = status == 0 && velnor3gpp_encode(inside, &again, &length) == 0 && length == count;
  if (!back || memcmp(again, octets, count) != 0) return replaceOctets(replace.cipher, octets, count);
  if (pseudonymise(*inside, replace.cipher, replace.depth + 1) < 0) return;
  if (velnor3gpp_encode(inside, &again, &length) == 0 && length == count) memcpy(octets, again, count);
}

static int replaceNode(const velnor3gpp_Node* node, void* arg)
{
  const Replace& replace = *static_cast<const Replace*>(arg);
  const Place& place = placeOf(node);
  if (node->step != VELNOR3GPP_VALUE) return 0;
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

int velnor3gpp_pseudonymise(velnor3gpp_Session* session, const uint8_t key[16])
{
  if (!session || !key) return RTX_E_NULL_POINTER;
  Cipher cipher;
  rtx3gppAesExpandKey(cipher.schedule, key);
  rtx3gppCmacSubkeys(cipher.schedule, cipher.subkeys);
  int status = pseudonymise(*session, cipher, 0);
  rtx3gppWipe(&cipher, sizeof cipher);
  return status;
}
