// Releases, times and TS numbers of charging files as text, and times as they are packed. The texts are those of
// the printed headers, and the parsers read them back. A parser changes the caller's record only if the whole text is
// good.
#include <stdio.h>
#include <string.h>

#include "rtsrc/rt3GPPTS32297Time.h"
#include "velnor3gpp/rtxStatus.h"
#include "velnor3gpp/rtxStrings.h"

namespace {

// One table serves the wire and the text of a time, because both have the parts in the same order: the 32 bits
// 0101 10001 01010 011110 1 00010 000000 are 05/17 10:30+02:00.
struct TimePart {
  uint8_t TS32297Timestamp::*member;
  uint8_t bits;
  uint8_t low, high; // range in text
  char behind;       // what the text has next; the sign of the offset is a bit of its own, which comes next as well
};

constexpr TimePart kTimeParts[] = {
    {&TS32297Timestamp::month, 4, 1, 12, '/'},  {&TS32297Timestamp::day, 5, 1, 31, ' '},
    {&TS32297Timestamp::hour, 5, 0, 24, ':'},   {&TS32297Timestamp::minute, 6, 0, 59, '+'},
    {&TS32297Timestamp::tzHour, 5, 0, 12, ':'}, {&TS32297Timestamp::tzMinute, 6, 0, 59, '\0'},
};

/** Where the sign stands in its octet, the third. Readers store it as it stands there. */
constexpr uint8_t kPlusInOctet = 8;

/** 32.NNN for the values of a record header's 5 bits. 14 and 15 are out of order: so they were assigned. */
constexpr uint16_t kSpecifications[] = {5, 15, 205, 215, 225, 235, 250, 251, 252, 260, 270, 271, 272, 273, 275, 274};
constexpr uint8_t kSpecificationBits = 0x1F;
constexpr char kUnknown[] = "Unknown";

// "Beyond 9" is the standard's name of the identifier 7.
constexpr TS32297RelVers kBeyond = {10, 31};

// The C library's tests of characters ask the locale, which is the process's and not the context's.
bool isSpace(char c)
{
  return c == ' ' || (c >= '\t' && c <= '\r');
}

bool isDigit(char c)
{
  return c >= '0' && c <= '9';
}

// A string that ends with a zero can be compared up to its end without its length.
bool takeText(const char** pText, const char* expected)
{
  const size_t length = strlen(expected);
  if (strncmp(*pText, expected, length) != 0) return false;
  *pText += length;
  return true;
}

// A decimal number of one digit or more that an octet holds. The loop ends at the first digit too many, so that no run
// of digits can wrap around to a small number.
bool takeOctet(const char** pText, uint8_t* pvalue)
{
  unsigned value = 0;
  const char* at = *pText;
  for (; isDigit(*at) && value <= UINT8_MAX; ++at) value = value * 10 + static_cast<unsigned>(*at - '0');
  if (at == *pText || value > UINT8_MAX) return false;
  *pText = at;
  *pvalue = static_cast<uint8_t>(value);
  return true;
}

bool takeTwoDigits(const char** pText, uint8_t* pvalue)
{
  const char* at = *pText;
  if (!isDigit(at[0]) || !isDigit(at[1])) return false;
  *pvalue = static_cast<uint8_t>((at[0] - '0') * 10 + (at[1] - '0'));
  *pText += 2;
  return true;
}

// What stands behind a part. The end of the text is not passed over.
bool takeBehind(const char** pText, char behind, uint8_t* pPlus)
{
  const char c = **pText;
  if (behind == '\0') return c == '\0';
  ++*pText;
  if (behind == ' ') return isSpace(c);
  if (behind != '+') return c == behind;
  *pPlus = c == '+';
  return c == '+' || c == '-';
}

// Cuts the text to the room there is; the status is passed through to the caller of the text form.
int putText(char* dst, size_t size, int status, const char* text)
{
  if (size > 0) (void)snprintf(dst, size, "%s", text);
  return status;
}

} // namespace

void rtTS32297TimeOfWord(TS32297Timestamp* pvalue, uint32_t word)
{
  unsigned left = 32;
  for (const TimePart& part : kTimeParts) {
    left -= part.bits;
    pvalue->*part.member = static_cast<uint8_t>(word >> left & ((1U << part.bits) - 1));
    if (part.behind == '+') pvalue->tzPlus = (word >> --left & 1) != 0 ? kPlusInOctet : 0;
  }
}

uint32_t rtTS32297WordOfTime(const TS32297Timestamp* pvalue)
{
  uint32_t word = 0;
  for (const TimePart& part : kTimeParts) {
    word = word << part.bits | (pvalue->*part.member & ((1U << part.bits) - 1));
    if (part.behind == '+') word = word << 1 | (pvalue->tzPlus != 0);
  }
  return word;
}

int rtTS32297GetReleaseNumber(const TS32297RelVers* pvalue, uint8_t extension, uint32_t* pnumber)
{
  // Identifier 0 is Release 99, after which the counting went on with 4.
  const uint8_t identifier = pvalue->release;
  if (identifier > 7) return RTX_E_BAD_VALUE;
  const uint32_t number = identifier == 0 ? 99U : identifier == 7 ? extension + 10U : identifier + 3U;
  if (pnumber != nullptr) *pnumber = number;
  return 0;
}

int rtTS32297RelVersIdToText(const TS32297RelVers* pvalue, uint8_t extension, char* dst, size_t size)
{
  uint32_t number = 0;
  int status = rtTS32297GetReleaseNumber(pvalue, extension, &number);
  if (status < 0) return putText(dst, size, status, kUnknown);
  char text[24];
  (void)snprintf(text, sizeof text, "rel-%u v.%u", number, pvalue->version);
  return putText(dst, size, 0, text);
}

int rtTS32297TimestampToText(const TS32297Timestamp* pvalue, char* dst, size_t size)
{
  char text[32];
  (void)snprintf(text, sizeof text, "%02u/%02u %02u:%02u%c%02u:%02u", pvalue->month, pvalue->day, pvalue->hour,
                 pvalue->minute, pvalue->tzPlus != 0 ? '+' : '-', pvalue->tzHour, pvalue->tzMinute);
  return putText(dst, size, 0, text);
}

int rtTS32297TSNumberToText(uint8_t value, char* dst, size_t size)
{
  const size_t index = value & kSpecificationBits;
  // Five bits can be 16 to 31, which are not assigned.
  if (index >= sizeof kSpecifications / sizeof *kSpecifications) return putText(dst, size, RTX_E_BAD_VALUE, kUnknown);
  char text[16];
  (void)snprintf(text, sizeof text, "32.%03u", kSpecifications[index]);
  return putText(dst, size, 0, text);
}

int rtParseTS32297RelVersText(const char* text, TS32297RelVers* pvalue)
{
  if (text == nullptr) return RTX_E_BAD_VALUE;
  TS32297RelVers value = kBeyond;
  if (!takeText(&text, "Beyond")) {
    if (!takeText(&text, "rel-") || !takeOctet(&text, &value.release)) return RTX_E_BAD_VALUE;
    while (*text == ' ') ++text;
    if (!takeText(&text, "v.") || !takeOctet(&text, &value.version) || *text != '\0') return RTX_E_BAD_VALUE;
  }
  *pvalue = value;
  return 0;
}

int rtParseTS32297TimestampText(const char* text, TS32297Timestamp* pvalue)
{
  if (text == nullptr) return RTX_E_BAD_VALUE;
  TS32297Timestamp value = {}; // the caller's record stays as it is until the last part is found good
  for (const TimePart& part : kTimeParts) {
    uint8_t& number = value.*part.member;
    if (!takeTwoDigits(&text, &number) || number < part.low || number > part.high) return RTX_E_BAD_VALUE;
    if (!takeBehind(&text, part.behind, &value.tzPlus)) return RTX_E_BAD_VALUE;
  }
  *pvalue = value;
  return 0;
}

int rtParseTS32297TSNumberText(const char* text, uint8_t* pvalue)
{
  if (text == nullptr || !takeText(&text, "32.")) return RTX_E_BAD_VALUE;
  uint32_t number = 0;
  int status = rtxCharStrToUInt(text, &number);
  if (status < 0) return status;
  for (uint8_t i = 0; i < sizeof kSpecifications / sizeof *kSpecifications; ++i) {
    if (kSpecifications[i] != number) continue;
    *pvalue = i;
    return 0;
  }
  return RTX_E_BAD_VALUE;
}
