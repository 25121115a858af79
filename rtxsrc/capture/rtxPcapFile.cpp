// Headers of capture files, for programs that read messages from a capture: the file header, the header of each packet,
// and the Ethernet header in the packet's data. Packets themselves are left to the caller, who reads incl_len octets
// with rtxReadBytes. A file written on a little-endian machine begins like this:
//
// D4 C3 B2 A1             magic number: its order tells the order of all numbers that follow
// 02 00 04 00             version 2.4
// 00 00 00 00 00 00 00 00 time zone, accuracy
// FF FF 00 00             snaplen: octets of a packet that are kept at most
// 01 00 00 00             network: 1 is Ethernet
//
// The Ethernet header is big-endian in every file, so callers give rtxDecEtherHdr a `swap` of 0.
#include "velnor3gpp/rtxPcapFile.h"

#include <initializer_list>

#include "rtxsrc/errors/rtxReport.h"
#include "rtxsrc/print/rtxPrintForms.h"
#include "velnor3gpp/rtxBitDecode.h"

static const char* const kModule = "rtxPcapFile";

static constexpr size_t kFileHdrOctets = 24, kPacketHdrOctets = 16, kEtherHdrOctets = 14;
/** First octet of A1B2C3D4 as a little-endian machine writes it. */
static constexpr uint8_t kLittleEndianMagic = 0xD4;

// Takes `octets` octets at `*pAt`, which moves on, as a number. With `swap` the last one is the most significant:
// 01 02 00 00 is 513, without it 16908288.
static uint32_t takeNumber(const uint8_t** pAt, size_t octets, bool swap)
{
  uint32_t number = 0;
  for (size_t i = 0; i < octets; ++i) number = number << 8 | (*pAt)[swap ? octets - 1 - i : i];
  *pAt += octets;
  return number;
}

// As takeNumber, two octets.
static uint16_t takeShort(const uint8_t** pAt, bool swap)
{
  return static_cast<uint16_t>(takeNumber(pAt, 2, swap));
}

// Octets that are no number: addresses and the magic number keep their order.
static void takeOctets(const uint8_t** pAt, uint8_t* dst, size_t octets)
{
  for (size_t i = 0; i < octets; ++i) dst[i] = (*pAt)[i];
  *pAt += octets;
}

// A header comes whole or not at all, so that a file that is cut within one leaves the caller's record alone.
static int readHeader(RtxContext* pctxt, uint8_t* octets, size_t count, bool wanted)
{
  int status = rtxReadBytes(pctxt, wanted ? octets : nullptr, count);
  return status < 0 ? rtxReport(pctxt, status, kModule, __LINE__) : 0;
}

int rtxDecPcapHdr(RtxContext* pctxt, RtxPcapHdr* pvalue, int* pswap)
{
  uint8_t octets[kFileHdrOctets];
  int status = readHeader(pctxt, octets, sizeof octets, pvalue != nullptr);
  if (status < 0 || pvalue == nullptr) return status;
  const uint8_t* at = octets;
  // One octet decides. A file that is none, or has nanoseconds (first octet 4D), is not refused here: magic_number
  // shows it.
  const bool swap = octets[0] == kLittleEndianMagic;
  if (pswap != nullptr) *pswap = swap;
  takeOctets(&at, pvalue->magic_number, sizeof pvalue->magic_number);
  pvalue->version_major = takeShort(&at, swap);
  pvalue->version_minor = takeShort(&at, swap);
  for (uint32_t* number : {&pvalue->thiszone, &pvalue->sigfigs, &pvalue->snaplen, &pvalue->network})
    *number = takeNumber(&at, 4, swap);
  return 0;
}

int rtxDecPcapRecHdr(RtxContext* pctxt, RtxPcapRecHdr* pvalue, int swap)
{
  uint8_t octets[kPacketHdrOctets];
  int status = readHeader(pctxt, octets, sizeof octets, pvalue != nullptr);
  if (status < 0 || pvalue == nullptr) return status;
  const uint8_t* at = octets;
  for (uint32_t* number : {&pvalue->ts_sec, &pvalue->ts_usec, &pvalue->incl_len, &pvalue->orig_len})
    *number = takeNumber(&at, 4, swap != 0);
  return 0;
}

int rtxDecEtherHdr(RtxContext* pctxt, RtxEtherHdr* pvalue, int swap)
{
  uint8_t octets[kEtherHdrOctets];
  int status = readHeader(pctxt, octets, sizeof octets, pvalue != nullptr);
  if (status < 0 || pvalue == nullptr) return status;
  const uint8_t* at = octets;
  takeOctets(&at, pvalue->dest, sizeof pvalue->dest);
  takeOctets(&at, pvalue->src, sizeof pvalue->src);
  pvalue->type = takeShort(&at, swap != 0);
  return 0;
}

// The numbers show as they always did in these texts, with a sign: 80000000 is -2147483648.
static void putNumber(RtxPrintSink& sink, const char* name, uint32_t value)
{
  rtxFormInteger(sink, name, static_cast<int32_t>(value));
}

// One line such as "magic number = [0xd4, 0xc3, 0xb2, 0xa1]".
static void putMagic(RtxPrintSink& sink, const uint8_t* magic)
{
  RtxNumText number[4];
  const char* digits[4];
  for (int i = 0; i < 4; ++i) digits[i] = rtxHexNumber(number[i], magic[i], 2).chars;
  rtxSinkPut(sink, {"magic number = [", digits[0], ", ", digits[1], ", "});
  rtxSinkPut(sink, {digits[2], ", ", digits[3], "]\n"});
}

void rtxPrintPcapHdr(const RtxPcapHdr* pvalue)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  putMagic(sink, pvalue->magic_number);
  putNumber(sink, "major version", pvalue->version_major);
  putNumber(sink, "minor version", pvalue->version_minor);
  putNumber(sink, "this zone", pvalue->thiszone);
  putNumber(sink, "sigfigs", pvalue->sigfigs);
  putNumber(sink, "snaplen", pvalue->snaplen);
  putNumber(sink, "network", pvalue->network);
  rtxSinkDone(sink);
}

void rtxPrintPcapRecHdr(const RtxPcapRecHdr* pvalue)
{
  RtxPrintSink sink = rtxSinkOfStdout();
  putNumber(sink, "ts_sec", pvalue->ts_sec);
  putNumber(sink, "ts_usec", pvalue->ts_usec);
  putNumber(sink, "incl_len", pvalue->incl_len);
  putNumber(sink, "orig_len", pvalue->orig_len);
  rtxSinkDone(sink);
}
