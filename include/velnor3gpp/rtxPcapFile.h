/**
 * @file rtxPcapFile.h
 * Headers of capture files in the classic pcap format: one in front of the file, one in front of each packet, and the
 * Ethernet header that a packet may begin with. Readers start on an octet of a context's buffer or stream; nothing is
 * allocated. Numbers are in the byte order of the machine that wrote the file, which its first octet tells; of the
 * magic number nothing else is looked at, so that files of other formats are the caller's to refuse.
 */
#ifndef VELNOR3GPP_RTX_PCAP_FILE_H
#define VELNOR3GPP_RTX_PCAP_FILE_H

#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

/** The header of a file, 24 octets. */
typedef struct RtxPcapHdr {
  uint8_t magic_number[4]; /**< As in the file: A1 B2 C3 D4, or D4 C3 B2 A1 from a little-endian machine. */
  uint16_t version_major;  /**< 2. */
  uint16_t version_minor;  /**< 4. */
  uint32_t thiszone;       /**< Seconds from UTC to the local time of the time stamps; 0 in practice. */
  uint32_t sigfigs;        /**< 0. */
  uint32_t snaplen;        /**< Most octets that are kept of a packet. */
  uint32_t network;        /**< Link type: what a packet begins with, 1 for Ethernet. */
} RtxPcapHdr;

/** The header of a packet, 16 octets. */
typedef struct RtxPcapRecHdr {
  uint32_t ts_sec;   /**< Seconds since 1970. */
  uint32_t ts_usec;  /**< Microseconds. */
  uint32_t incl_len; /**< Octets of the packet in the file, behind this header. */
  uint32_t orig_len; /**< Octets that the packet had on the line. */
} RtxPcapRecHdr;

/** An Ethernet header, 14 octets. */
typedef struct RtxEtherHdr {
  uint8_t dest[6]; /**< Address of the receiver. */
  uint8_t src[6];  /**< Address of the sender. */
  uint16_t type;   /**< What follows. */
} RtxEtherHdr;

/* Each reader returns 0, or the status of a read: RTX_E_END_OF_BUFFER at the end of a buffer, RTX_E_END_OF_FILE on a
 * stream. A null record is passed over. */

/** Reads a file header and sets `*pswap` (null allowed) to 1 for a little-endian file, D4 first, else to 0; without a
 *  record the flag stays as it is. */
VELNOR_API int rtxDecPcapHdr(RtxContext* pctxt, RtxPcapHdr* pvalue, int* pswap);
/** Reads a packet's header in the byte order of the file header's flag. */
VELNOR_API int rtxDecPcapRecHdr(RtxContext* pctxt, RtxPcapRecHdr* pvalue, int swap);
/** Reads an Ethernet header. Its type has network order on the wire, whatever the file has: pass 0 to read it so. */
VELNOR_API int rtxDecEtherHdr(RtxContext* pctxt, RtxEtherHdr* pvalue, int swap);

/** Prints a file header to standard output, a line for each field; numbers are shown with a sign. */
VELNOR_API void rtxPrintPcapHdr(const RtxPcapHdr* pvalue);
/** The same for a packet's header. */
VELNOR_API void rtxPrintPcapRecHdr(const RtxPcapRecHdr* pvalue);

VELNOR_END_DECLS

#endif
