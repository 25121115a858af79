#include "velnor3gpp/rtxDateTime.h"

#include <stdio.h>
#include <stdlib.h>

#include "velnor3gpp/rtxStatus.h"

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
  char fraction[16] = "";
  char zone[16];
  if (value->fractionDigits > 0)
    (void)snprintf(fraction, sizeof fraction, ".%0*u", value->fractionDigits <= 9 ? value->fractionDigits : 9,
                   value->fraction);
  formatZone(*value, zone, sizeof zone);
  int length = snprintf(dst, size, "%04d-%02u-%02uT%02u:%02u:%02u%s%s", value->year, value->month, value->day,
                        value->hour, value->minute, value->second, fraction, zone);
  return length >= 0 && static_cast<size_t>(length) < size ? length : RTX_E_ENCODE_OVERFLOW;
}
