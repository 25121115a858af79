/**
 * @file rt3GPPTS32297.h
 * Headers of charging data record files (3GPP TS 32.297, 6.1): one in front of the file, one in front of each record.
 * Readers and writers start on an octet of a context's buffer or stream and know nothing of the records themselves. The
 * two pointers of TS32297FileHdr are from malloc, not from the context's heap: the caller frees them with the record.
 * Nothing else is owned, and no clock or time zone is asked.
 *
 * A record that a reader filled is not fit for a writer as it stands: on the wire a release is an identifier of 3 bits,
 * for the writer it is a release number. Before it is written, set each `release` to what rtTS32297GetReleaseNumber
 * gives, and to 3 where that is 99. All numbers from 10 on are written alike; the extension tells them apart.
 */
#ifndef VELNOR3GPP_RT_3GPP_TS32297_H
#define VELNOR3GPP_RT_3GPP_TS32297_H

#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

/** Octets of the node address in a file header. */
#define VELNOR_TS32297_ADDRESS_SIZE 20

/** Encoding of a record, as TS32297Hdr.dataRecordFormat tells it. */
typedef enum {
  TS32297_BER = 1,           /**< Basic encoding rules. */
  TS32297_UNALIGNED_PER = 2, /**< Packed encoding rules, unaligned. */
  TS32297_ALIGNED_PER = 3,   /**< Packed encoding rules, aligned. */
  TS32297_XER = 4            /**< XML encoding rules. */
} TS32297DataRecordFormat;

/** A release with a version within it. */
typedef struct TS32297RelVers {
  uint8_t release; /**< From a reader the identifier, 0 to 7; for a writer the number, 3 and above. */
  uint8_t version; /**< 0 to 31; a writer takes more for 31. */
} TS32297RelVers;

/** A local time of some year, with its offset from UTC. Writers take the low bits of what has too many. */
typedef struct TS32297Timestamp {
  uint8_t month;    /**< 4 bits. */
  uint8_t day;      /**< 5 bits. */
  uint8_t hour;     /**< 5 bits. */
  uint8_t minute;   /**< 6 bits. */
  uint8_t tzHour;   /**< Hours of the offset, 5 bits. */
  uint8_t tzMinute; /**< Minutes of the offset, 6 bits. */
  uint8_t tzPlus;   /**< 0: west of UTC. A reader stores 8 for plus, a parser of text 1. */
} TS32297Timestamp;

/** A string of octets with its length. */
typedef struct TS32297OctStr {
  uint16_t length; /**< In octets. */
  uint8_t* data;   /**< From malloc when a reader made it; null if `length` is 0. */
} TS32297OctStr;

/** The header of a file (TS 32.297, 6.1.1). */
typedef struct TS32297FileHdr {
  uint32_t fileLength;                            /**< Octets of the file, this header included. */
  uint32_t headerLength;                          /**< Octets of this header; a writer sets it. */
  TS32297RelVers highReleaseVersionID;            /**< Highest release in the file. */
  TS32297RelVers lowReleaseVersionID;             /**< Lowest release in the file. */
  TS32297Timestamp openTimestamp;                 /**< When the file was opened. */
  TS32297Timestamp lastAppendTimestamp;           /**< When the last record was appended. */
  uint32_t cdrCount;                              /**< Records in the file. */
  uint32_t fileSequenceNumber;                    /**< Number of the file. */
  uint8_t fileClosureReason;                      /**< Why the file was closed. */
  uint8_t ipAddress[VELNOR_TS32297_ADDRESS_SIZE]; /**< Node address, as the standard formats it. */
  uint8_t lostCDRIndicator;                       /**< How many records may be lost. */
  TS32297OctStr cdrRoutingFilter;                 /**< Filter by which the records were chosen. */
  TS32297OctStr privateExtension;                 /**< The operator's own. */
  uint8_t highReleaseExtensionPresent;            /**< 1 if there is the next. */
  uint8_t highReleaseExtension;                   /**< Highest release less 10, beside the identifier 7. */
  uint8_t lowReleaseExtensionPresent;             /**< 1 if there is the next. */
  uint8_t lowReleaseExtension;                    /**< Lowest release less 10, beside the identifier 7. */
} TS32297FileHdr;

/** The header of a record (TS 32.297, 6.1.2). */
typedef struct TS32297Hdr {
  uint16_t cdrLength;              /**< Octets of the record behind this header. */
  TS32297RelVers releaseVersionId; /**< Release of the record. */
  uint32_t dataRecordFormat;       /**< TS32297DataRecordFormat, 3 bits. */
  uint8_t tsNumber;                /**< Specification, 5 bits. A reader leaves the record format in the top 3 bits. */
  uint8_t releaseExtensionPresent; /**< 1 if there is the next: for a writer whatever the release is. */
  uint8_t releaseExtension;        /**< Release less 10, beside the identifier 7. */
} TS32297Hdr;

/** Clears the record and sets both times to 01/01 01:00+00:00. Frees nothing. */
VELNOR_API void rtInitTS32297FileHdr(TS32297FileHdr* pvalue);
/** Clears the record and sets the record format to TS32297_BER. */
VELNOR_API void rtInitTS32297Hdr(TS32297Hdr* pvalue);

/**
 * Reads a file header into a record, whatever that held, or passes over one (null). Fields that begin at or behind
 * `headerLength` keep their initial values, so a short header is no failure; octets of the header that no field has
 * stay unread. Returns the octets read, with null 0. RTX_E_BAD_VALUE for a string longer than `fileLength`,
 * RTX_E_BAD_LENGTH for a header of less than 8 octets to be passed over, RTX_E_NO_MEMORY; at the end of the input
 * RTX_E_END_OF_BUFFER, on a stream RTX_E_END_OF_FILE. After a failure there is nothing to be freed.
 */
VELNOR_API int rtDecTS32297FileHdr(RtxContext* pctxt, TS32297FileHdr* pvalue);
/** Writes a file header and sets its `headerLength`, which it returns. RTX_E_BAD_VALUE for a release below 3,
 *  RTX_E_NULL_POINTER for a string without octets, or the writers' statuses, with part of the header written. */
VELNOR_API int rtEncTS32297FileHdr(RtxContext* pctxt, TS32297FileHdr* pvalue);
/** Reads a record's header, whose extension is there exactly with the identifier 7, or passes over one (null). Returns
 *  the octets read, 4 or 5, with null 0, or the end of the input as above. */
VELNOR_API int rtDecTS32297Hdr(RtxContext* pctxt, TS32297Hdr* pvalue);
/** Writes a record's header and returns its octets, 4 or 5. RTX_E_BAD_VALUE for a release below 3. Above 9 a reader
 *  expects the extension. */
VELNOR_API int rtEncTS32297Hdr(RtxContext* pctxt, const TS32297Hdr* pvalue);
/** Returns the octets that rtEncTS32297FileHdr writes: 52, the strings, and 1 for each extension. */
VELNOR_API uint32_t rtTS32297CalcFileHdrLen(const TS32297FileHdr* pvalue);

/** Turns an identifier from the wire into a release number (null allowed): 1 to 6 is 4 to 9, 7 is 10 plus the
 *  extension, 0 is 99, which a writer takes as 3. Returns 0, or RTX_E_BAD_VALUE above 7. */
VELNOR_API int rtTS32297GetReleaseNumber(const TS32297RelVers* pvalue, uint8_t extension, uint32_t* pnumber);

/* Text forms. What does not fit in `size` characters is cut; the text ends with a zero if `size` is not 0. */

/** Writes rel-NUMBER v.VERSION of an identifier from the wire; RTX_E_BAD_VALUE and "Unknown" above 7. */
VELNOR_API int rtTS32297RelVersIdToText(const TS32297RelVers* pvalue, uint8_t extension, char* dst, size_t size);
/** Writes MM/DD hh:mm+hh:mm. Returns 0. */
VELNOR_API int rtTS32297TimestampToText(const TS32297Timestamp* pvalue, char* dst, size_t size);
/** Writes the TS number in the low 5 bits, such as 32.251; RTX_E_BAD_VALUE and "Unknown" above 15. */
VELNOR_API int rtTS32297TSNumberToText(uint8_t value, char* dst, size_t size);

/* Parsers: 0, or a negative status with nothing stored. A text with anything behind it is refused, and so is null. */

/** Reads rel-NUMBER v.VERSION, each up to 255, as a writer takes it. From 10 on set the extension beside it, NUMBER
 * - 10. Text that begins with "Beyond" is release 10, version 31. Anything else is RTX_E_BAD_VALUE. */
VELNOR_API int rtParseTS32297RelVersText(const char* text, TS32297RelVers* pvalue);
/** Reads MM/DD hh:mm+hh:mm, all in two digits, an hour up to 24 and an offset up to 12:59; any white space may stand
 * for the blank. Anything else is RTX_E_BAD_VALUE. */
VELNOR_API int rtParseTS32297TimestampText(const char* text, TS32297Timestamp* pvalue);
/** Reads 32. and the number of a specification with charging records into its 5 bits. RTX_E_BAD_VALUE for any other, or
 *  a status of rtxCharStrToUInt. */
VELNOR_API int rtParseTS32297TSNumberText(const char* text, uint8_t* pvalue);

/** Prints a header from a reader to the context's print stream, a line for each field. Returns 0. */
VELNOR_API int rtPrtToStrmTS32297FileHdr(RtxContext* pctxt, const TS32297FileHdr* pvalue);
/** The same for a record's header. */
VELNOR_API int rtPrtToStrmTS32297Hdr(RtxContext* pctxt, const TS32297Hdr* pvalue);

VELNOR_END_DECLS

#endif
