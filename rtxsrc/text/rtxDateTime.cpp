// Date and time as text, in the form of XML Schema: 2026-03-01T09:05:00.250+01:00. The record is printed as it stands;
// nothing here checks the calendar.
#include "velnor3gpp/rtxDateTime.h"

#include <stdio.h>
#include <stdlib.h>

#include "velnor3gpp/rtxStatus.h"

// The offset from UTC: "Z" for none, "-03:30" for -210 minutes, nothing if the record has no zone.
static void formatZone(const RtxDateTime& value, char* dst, size_t size)
{
  dst[0] = 0;
  if (value.hasZone == 0) return;
  int minutes = abs(value.zoneMinutes);
  if (minutes == 0) {
    (void)snprintf(dst, size, "Z");
  } else {
    (void)snprintf(dst, size, "%c%02d:%02d", value.zoneMinutes < 0 ? '-' : '+', minutes / 60, minutes % 60);
  }
}

int rtxDateTimeToString(const RtxDateTime* value, char* dst, size_t size)
{
  if (value == nullptr || dst == nullptr) return RTX_E_BAD_PARAMETER;
  // A point and ten digits are the most that 32 bits give.
  char fraction[16] = "";
  char zone[16];
  if (value->fractionDigits > 0)
    (void)snprintf(fraction, sizeof fraction, ".%0*u", value->fractionDigits <= 9 ? value->fractionDigits : 9,
                   value->fraction);
  formatZone(*value, zone, sizeof zone);
  int length = snprintf(dst, size, "%04d-%02u-%02uT%02u:%02u:%02u%s%s", value->year, value->month, value->day,
                        value->hour, value->minute, value->second, fraction, zone);
  // snprintf returns the length that the text would have; one that was cut is refused.
  return length >= 0 && static_cast<size_t>(length) < size ? length : RTX_E_ENCODE_OVERFLOW;
}
