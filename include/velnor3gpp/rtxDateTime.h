/**
 * @file rtxDateTime.h
 * A point in time as a record, and its text as ISO 8601 writes it. Plain values, nothing is owned, no clock is read.
 */
#ifndef VELNOR3GPP_RTX_DATE_TIME_H
#define VELNOR3GPP_RTX_DATE_TIME_H

#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

/** A date with a time of day. */
typedef struct RtxDateTime {
  int32_t year;           /**< Year of the common era. */
  uint8_t month;          /**< 1 to 12. */
  uint8_t day;            /**< 1 to 31. */
  uint8_t hour;           /**< 0 to 23. */
  uint8_t minute;         /**< 0 to 59. */
  uint8_t second;         /**< 0 to 60. */
  uint8_t fractionDigits; /**< Digits of the fraction, 0 to 9; 0: no fraction. */
  uint8_t hasZone;        /**< 1 if `zoneMinutes` counts. */
  int16_t zoneMinutes;    /**< Minutes east of UTC; 0 prints as "Z". */
  uint32_t fraction;      /**< Fraction of a second, in units of the last digit. */
} RtxDateTime;

/**
 * Writes YYYY-MM-DDThh:mm:ss, the fraction and the zone, terminated, in `size` characters. Returns the count without
 * the terminator, RTX_E_BAD_PARAMETER for a null argument, RTX_E_ENCODE_OVERFLOW for no room.
 */
VELNOR_API int rtxDateTimeToString(const RtxDateTime* value, char* dst, size_t size);

VELNOR_END_DECLS

#endif
