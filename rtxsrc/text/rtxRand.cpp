// Pseudo-random values within bounds, for programs that make test data. They come from `rand`: the same seed gives the
// same values on one machine. Nothing of the security functions uses them.
#include "velnor3gpp/rtxRand.h"

#include <stdlib.h>
#include <string.h>

#include "velnor3gpp/rtxMemHeap.h"

static const char kAlphanumeric[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

// One draw. The factor spreads the few bits that some C libraries give.
static uint32_t draw32()
{
  return static_cast<uint32_t>(rand()) * 2147001325U + 715136305U;
}

// Half of the values are small ones, of 31 bits, so that lengths and short numbers occur.
static uint64_t draw64(RtxContext* pctxt)
{
  uint64_t low = draw32() & 0x7FFFFFFFU;
  uint64_t high = draw32() & 0x7FFFFFFFU;
  return rtxRandUInt32(pctxt, 0, 1) ? low : high << 32 | low;
}

// The value `drawn` brought into `span` values; a span that wrapped to 0 keeps the bound.
template <typename Value> static Value within(Value drawn, Value span)
{
  return span ? static_cast<Value>(drawn % span) : 0;
}

void rtxRandInit(uint32_t seed)
{
  srand(seed);
}

int32_t rtxRandInt32(RtxContext*, int32_t lower, int32_t upper)
{
  if (lower == upper) return lower;
  uint32_t span = static_cast<uint32_t>(upper) - static_cast<uint32_t>(lower);
  // From the smallest number on the span would wrap for the largest upper bound; the upper bound itself is then left
  // out.
  if (lower != INT32_MIN) span++;
  return static_cast<int32_t>(static_cast<uint32_t>(lower) + within(draw32(), span));
}

uint32_t rtxRandUInt32(RtxContext*, uint32_t lower, uint32_t upper)
{
  // upper - lower + 1 would be 0 here.
  bool whole = lower == 0 && upper == UINT32_MAX;
  return lower + within(draw32(), whole ? upper : upper - lower + 1);
}

int64_t rtxRandInt64(RtxContext* pctxt, int64_t lower, int64_t upper)
{
  if (lower == upper) return lower;
  uint64_t span = static_cast<uint64_t>(upper) - static_cast<uint64_t>(lower);
  if (lower != INT64_MIN) span++;
  return static_cast<int64_t>(static_cast<uint64_t>(lower) + within(draw64(pctxt), span));
}

uint64_t rtxRandUInt64(RtxContext* pctxt, uint64_t lower, uint64_t upper)
{
  bool whole = lower == 0 && upper == UINT64_MAX;
  return lower + within(draw64(pctxt), whole ? upper : upper - lower + 1);
}

size_t rtxRandSize(RtxContext* pctxt, size_t lower, size_t upper)
{
  return static_cast<size_t>(rtxRandUInt64(pctxt, lower, upper));
}

double rtxRandFloat(RtxContext*, double lower, double upper)
{
  // 15 bits of `rand`: all that every C library gives, so that the bounds hold on each.
  return lower + (rand() & 0x7FFF) / 32768.0 * (upper - lower);
}

static char latin1(RtxContext* pctxt)
{
  return static_cast<char>(rtxRandUInt32(pctxt, 0, 1) ? rtxRandUInt32(pctxt, 161, 255) : rtxRandUInt32(pctxt, 32, 126));
}

// A string of `charSet`, or of printable ISO 8859-1 if that is null.
static char* newString(RtxContext* pctxt, size_t minLength, size_t maxLength, const char* charSet)
{
  if (minLength > maxLength || maxLength == 0) return nullptr;
  size_t length = rtxRandSize(pctxt, minLength, maxLength);
  if (length == 0 || length == SIZE_MAX) return nullptr;
  char* text = static_cast<char*>(rtxMemHeapAlloc(&pctxt->pMemHeap, length + 1));
  if (!text) return nullptr;
  // The set is not empty: callers put another in place of an empty one.
  size_t last = charSet ? strlen(charSet) - 1 : 0;
  for (size_t i = 0; i < length; i++) {
    text[i] = charSet ? charSet[rtxRandUInt32(pctxt, 0, static_cast<uint32_t>(last))] : latin1(pctxt);
  }
  text[length] = 0;
  return text;
}

char* rtxRandString(RtxContext* pctxt, size_t minLength, size_t maxLength, const char* charSet)
{
  return newString(pctxt, minLength, maxLength, charSet && *charSet ? charSet : kAlphanumeric);
}

char* rtxRandUnicodeString(RtxContext* pctxt, size_t minLength, size_t maxLength, const char* charSet)
{
  return newString(pctxt, minLength, maxLength, charSet && *charSet ? charSet : nullptr);
}

// The octets lie in the heap. Without memory, or by lengths that make no sense, the string is empty.
int rtxRandOctetString(RtxContext* pctxt, RtxDynOctStr* pvalue, size_t minLength, size_t maxLength)
{
  if (!pvalue) return 0;
  *pvalue = {};
  // The count of the string has 32 bits.
  if (maxLength > UINT32_MAX) return -1;
  if (minLength > maxLength || maxLength == 0) return 0;
  size_t length = rtxRandSize(pctxt, minLength, maxLength);
  if (length == 0) return 0;
  pvalue->data = static_cast<uint8_t*>(rtxMemHeapAlloc(&pctxt->pMemHeap, length));
  if (!pvalue->data) return 0;
  pvalue->numocts = static_cast<uint32_t>(length);
  for (size_t i = 0; i < length; i++) pvalue->data[i] = static_cast<uint8_t>(rtxRandUInt32(pctxt, 0, 255));
  return 0;
}

// The day added in February is added in the wrong years, which makes the values good at finding calendar faults.
static int32_t daysOfMonth(uint32_t year, int32_t month)
{
  static constexpr uint8_t days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return days[month - 1] + (month == 2 && year % 4 != 0 ? 1 : 0);
}

void rtxRandDateTime(RtxContext* pctxt, RtxDateTime* pvalue, uint32_t firstYear, uint32_t lastYear)
{
  if (!pvalue) return;
  uint32_t year = rtxRandUInt32(pctxt, firstYear, lastYear);
  int32_t month = rtxRandInt32(pctxt, 1, 12);
  pvalue->year = static_cast<int32_t>(year);
  pvalue->month = static_cast<uint8_t>(month);
  pvalue->day = static_cast<uint8_t>(rtxRandInt32(pctxt, 1, daysOfMonth(year, month)));
  pvalue->hour = static_cast<uint8_t>(rtxRandInt32(pctxt, 0, 23));
  pvalue->minute = static_cast<uint8_t>(rtxRandInt32(pctxt, 0, 59));
  // Up to 59 seconds, so that the second is never 60.
  uint32_t milliseconds = static_cast<uint32_t>(rtxRandFloat(pctxt, 0.0, 59.0) * 1000);
  pvalue->second = static_cast<uint8_t>(milliseconds / 1000);
  pvalue->fractionDigits = 3;
  pvalue->fraction = milliseconds % 1000;
  int32_t utc = rtxRandInt32(pctxt, 0, 1);
  int32_t offset = rtxRandInt32(pctxt, -840, 840);
  pvalue->hasZone = 1;
  pvalue->zoneMinutes = static_cast<int16_t>(utc ? 0 : offset);
}
