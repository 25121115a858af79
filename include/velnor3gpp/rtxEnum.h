/**
 * @file rtxEnum.h
 * Enumeration tables and the lookups on them. A table is constant data owned by the module that exports it, its rows
 * sorted by name (octets first, then length). Nothing here allocates, reports to a context or keeps a table.
 */
#ifndef VELNOR3GPP_RTX_ENUM_H
#define VELNOR3GPP_RTX_ENUM_H

#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

/** Given as the length of a name: measure the zero-ended name. */
#define RTX_ENUM_MEASURE ((size_t)-1)

/** A row of an enumeration's table. */
typedef struct RtxEnumItem {
  const char* name;        /**< Zero-ended UTF-8 name, static. */
  int32_t value;           /**< The numeric value. */
  uint16_t namelen;        /**< Length of the name in octets. */
  uint16_t transformedIdx; /**< In row i: index of the row that holds the i-th value in rising order. */
} RtxEnumItem;

/** A row of a table of unsigned values. */
typedef struct RtxEnumItemU32 {
  const char* name;        /**< As in RtxEnumItem. */
  uint32_t value;          /**< The numeric value. */
  uint16_t namelen;        /**< As in RtxEnumItem. */
  uint16_t transformedIdx; /**< As in RtxEnumItem. */
} RtxEnumItemU32;

/** A row of a table of 64-bit values. */
typedef struct RtxBigEnumItem {
  const char* name; /**< Zero-ended UTF-8 name, static. */
  int64_t value;    /**< The numeric value. */
  uint16_t namelen; /**< Length of the name in octets. */
} RtxBigEnumItem;

/** A closed range of signed 32-bit values. */
typedef struct RtxNumRange {
  int32_t lower; /**< Least value of the range. */
  int32_t upper; /**< Greatest value of the range. */
} RtxNumRange;

/** A closed range of unsigned 32-bit values. */
typedef struct RtxNumRangeU32 {
  uint32_t lower; /**< Least value of the range. */
  uint32_t upper; /**< Greatest value of the range. */
} RtxNumRangeU32;

/** A closed range of signed 64-bit values. */
typedef struct RtxNumRange64 {
  int64_t lower; /**< Least value of the range. */
  int64_t upper; /**< Greatest value of the range. */
} RtxNumRange64;

/** A closed range of unsigned 64-bit values. */
typedef struct RtxNumRangeU64 {
  uint64_t lower; /**< Least value of the range. */
  uint64_t upper; /**< Greatest value of the range. */
} RtxNumRangeU64;

/**
 * Finds a name of `namelen` octets (RTX_ENUM_MEASURE: to its zero) by binary search in `rows` sorted rows.
 * Returns the row index, or RTX_E_ENUM_VALUE.
 */
VELNOR_API int rtxLookupEnum(const char* name, size_t namelen, const RtxEnumItem* table, uint16_t rows);

/** As rtxLookupEnum, on a table of unsigned values. */
VELNOR_API int rtxLookupEnumU32(const char* name, size_t namelen, const RtxEnumItemU32* table, uint16_t rows);

/** As rtxLookupEnum, on a table of 64-bit values. */
VELNOR_API int rtxLookupBigEnum(const char* name, size_t namelen, const RtxBigEnumItem* table, uint16_t rows);

/** Finds the first of `rows` rows with this value, in any order. Returns the row index, or RTX_E_ENUM_VALUE. */
VELNOR_API int rtxLookupEnumByValue(int32_t value, const RtxEnumItem* table, size_t rows);

/** As rtxLookupEnumByValue, on a table of unsigned values. */
VELNOR_API int rtxLookupEnumU32ByValue(uint32_t value, const RtxEnumItemU32* table, size_t rows);

/**
 * Finds the first of `rows` rows with this zero-ended name, in any order: the values of such a table are themselves
 * texts. Returns the row index, or RTX_E_ENUM_VALUE.
 */
VELNOR_API int rtxLookupBigEnumByValue(const char* name, const RtxBigEnumItem* table, size_t rows);

/** Returns 0 if the value lies in one of `count` rising, disjoint ranges, else RTX_E_ENUM_VALUE. */
VELNOR_API int rtxTestNumericEnum(int32_t value, const RtxNumRange* ranges, uint16_t count);

/** As rtxTestNumericEnum, for unsigned values. */
VELNOR_API int rtxTestNumericEnumU32(uint32_t value, const RtxNumRangeU32* ranges, uint16_t count);

/** As rtxTestNumericEnum, for 64-bit values. */
VELNOR_API int rtxTestNumericEnum64(int64_t value, const RtxNumRange64* ranges, uint16_t count);

/** As rtxTestNumericEnum, for unsigned 64-bit values. */
VELNOR_API int rtxTestNumericEnumU64(uint64_t value, const RtxNumRangeU64* ranges, uint16_t count);

VELNOR_END_DECLS

#endif
