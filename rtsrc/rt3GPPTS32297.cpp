// Headers of charging data record files (TS 32.297): wire forms, printing. A file header is a table of fields; each has
// a form, which says how it is read, written and printed. Programs read the file header, then each record's header and
// leave the record itself, cdrLength octets, to its own decoder.
//
// The two strings of a file header lie in memory of the C allocator: they have to outlive the heap of the job, and
// their owner is the record that the caller frees.
#include "velnor3gpp/rt3GPPTS32297.h"

#include <stdlib.h>

#include "rtsrc/rt3GPPTS32297Time.h"
#include "rtxsrc/errors/rtxReport.h"
#include "rtxsrc/streams/rtxStreamBinding.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxBitEncode.h"
#include "velnor3gpp/rtxPrintToStream.h"

static const char* const kModule = "rt3GPPTS32297";

namespace {

using FileHdr = TS32297FileHdr;

/** Octets of the two lengths, which every header has. */
constexpr size_t kLengthsOctets = 8;
/** Octets of a file header without strings and extensions. */
constexpr uint32_t kFixedOctets = 52;
/** Octets of a record header without extension. */
constexpr int kRecordHdrOctets = 4;
/** Identifier of all releases from kFirstExtended on, which the extension tells apart. */
constexpr uint8_t kExtendedIdentifier = 7;
constexpr uint8_t kFirstExtended = 10;
/** Release 99 as the writer counts it, one before 4. Its identifier is 0; there were no such files before it. */
constexpr uint8_t kFirstRelease = 3;
constexpr uint8_t kMaxVersion = 31;
/** 01/01 01:00+00:00. */
constexpr TS32297Timestamp kFirstTime = {1, 1, 1, 0, 0, 0, 1};

struct Form;

struct Field {
  const char* name;
  const Form& form;
  size_t offset;   // of the member in the record
  size_t more = 0; // integers and addresses: octets on the wire; releases: offset of the extension
};

// Readers return the octets read, writers 0; both, or a negative status.
struct Form {
  int (*read)(RtxContext* pctxt, FileHdr* pvalue, const Field& field);
  int (*write)(RtxContext* pctxt, const FileHdr* pvalue, const Field& field);
  void (*print)(RtxContext* pctxt, const FileHdr* pvalue, const Field& field);
};

// The member of the record that a field of the table means. The table and Form agree on its type.
template <class Member> Member* memberOf(FileHdr* pvalue, const Field& field)
{
  return reinterpret_cast<Member*>(reinterpret_cast<uint8_t*>(pvalue) + field.offset);
}
template <class Member> const Member* memberOf(const FileHdr* pvalue, const Field& field)
{
  return memberOf<Member>(const_cast<FileHdr*>(pvalue), field);
}

// What a reader returns: its status if that is a failure, otherwise the octets that it has read.
int counted(int status, size_t octets)
{
  return status < 0 ? status : static_cast<int>(octets);
}

// Numbers of 4 octets, or of 1.

uint32_t numberOf(const FileHdr* pvalue, const Field& field)
{
  return field.more == 1 ? *memberOf<uint8_t>(pvalue, field) : *memberOf<uint32_t>(pvalue, field);
}

int readNumber(RtxContext* pctxt, FileHdr* pvalue, const Field& field)
{
  int status = field.more == 1 ? rtxDecUInt8(pctxt, memberOf<uint8_t>(pvalue, field))
                               : rtxDecUInt32(pctxt, memberOf<uint32_t>(pvalue, field), field.more);
  return counted(status, field.more);
}

int writeNumber(RtxContext* pctxt, const FileHdr* pvalue, const Field& field)
{
  return rtxEncUInt32(pctxt, numberOf(pvalue, field), field.more);
}

void printNumber(RtxContext* pctxt, const FileHdr* pvalue, const Field& field)
{
  rtxPrintToStreamUnsigned(pctxt, field.name, numberOf(pvalue, field));
}

// Releases: an identifier of 3 bits and a version of 5, E5 is identifier 7, version 5.

int readRelVers(RtxContext* pctxt, TS32297RelVers* pvalue)
{
  uint8_t octet = 0;
  int status = rtxDecUInt8(pctxt, &octet);
  if (status < 0) return status;
  pvalue->release = octet >> 5;
  pvalue->version = octet & kMaxVersion;
  return 0;
}

// The record has the release's number here: 3 to 9 are written as 0 to 6, and all above as 7.
int writeRelVers(RtxContext* pctxt, const TS32297RelVers* pvalue)
{
  if (pvalue->release < kFirstRelease) return rtxReport(pctxt, RTX_E_BAD_VALUE, kModule, __LINE__);
  const unsigned identifier =
      pvalue->release >= kFirstExtended ? kExtendedIdentifier : static_cast<unsigned>(pvalue->release - kFirstRelease);
  const unsigned version = pvalue->version > kMaxVersion ? kMaxVersion : pvalue->version;
  return rtxEncUInt32(pctxt, identifier << 5 | version, 1);
}

int readRelease(RtxContext* pctxt, FileHdr* pvalue, const Field& field)
{
  return counted(readRelVers(pctxt, memberOf<TS32297RelVers>(pvalue, field)), 1);
}

int writeRelease(RtxContext* pctxt, const FileHdr* pvalue, const Field& field)
{
  return writeRelVers(pctxt, memberOf<TS32297RelVers>(pvalue, field));
}

// The extension counts here whether it is flagged or not.
void printRelease(RtxContext* pctxt, const FileHdr* pvalue, const Field& field)
{
  char text[20];
  const uint8_t extension = *(reinterpret_cast<const uint8_t*>(pvalue) + field.more);
  rtTS32297RelVersIdToText(memberOf<TS32297RelVers>(pvalue, field), extension, text, sizeof text);
  rtxPrintToStreamCharStr(pctxt, field.name, text);
}

// Times: 32 bits, 58 A9 E8 80 is 05/17 10:30+02:00.

int readTime(RtxContext* pctxt, FileHdr* pvalue, const Field& field)
{
  uint32_t word = 0;
  int status = rtxDecUInt32(pctxt, &word, sizeof word);
  if (status == 0) rtTS32297TimeOfWord(memberOf<TS32297Timestamp>(pvalue, field), word);
  return counted(status, sizeof word);
}

int writeTime(RtxContext* pctxt, const FileHdr* pvalue, const Field& field)
{
  return rtxEncUInt32(pctxt, rtTS32297WordOfTime(memberOf<TS32297Timestamp>(pvalue, field)), 4);
}

void printTime(RtxContext* pctxt, const FileHdr* pvalue, const Field& field)
{
  char text[20];
  rtTS32297TimestampToText(memberOf<TS32297Timestamp>(pvalue, field), text, sizeof text);
  rtxPrintToStreamCharStr(pctxt, field.name, text);
}

// Octets within the record.

int readOctets(RtxContext* pctxt, FileHdr* pvalue, const Field& field)
{
  return counted(rtxReadBytes(pctxt, memberOf<uint8_t>(pvalue, field), field.more), field.more);
}

int writeOctets(RtxContext* pctxt, const FileHdr* pvalue, const Field& field)
{
  return rtxWriteBytes(pctxt, memberOf<uint8_t>(pvalue, field), field.more);
}

void printOctets(RtxContext* pctxt, const FileHdr* pvalue, const Field& field)
{
  rtxPrintToStreamHexStr(pctxt, field.name, field.more, memberOf<uint8_t>(pvalue, field));
}

// Strings behind a length of 2 octets, in memory of their own.

// Asks for no more memory than there are octets. What a stream still has nobody knows; there it is 64 KiB at most.
int readData(RtxContext* pctxt, TS32297OctStr* string, size_t length)
{
  const bool missing = !rtxHasStream(pctxt) && length > rtxBufferLeft(pctxt);
  if (missing) return rtxReport(pctxt, RTX_E_END_OF_BUFFER, kModule, __LINE__);
  string->data = static_cast<uint8_t*>(malloc(length));
  if (string->data == nullptr) return rtxReport(pctxt, RTX_E_NO_MEMORY, kModule, __LINE__);
  string->length = static_cast<uint16_t>(length);
  return rtxReadBytes(pctxt, string->data, length);
}

int readString(RtxContext* pctxt, FileHdr* pvalue, const Field& field)
{
  uint16_t length = 0;
  int status = rtxDecUInt16(pctxt, &length, sizeof length);
  if (status < 0) return status;
  // A string longer than the file: the length is not one.
  if (length > pvalue->fileLength) return rtxReport(pctxt, RTX_E_BAD_VALUE, kModule, __LINE__);
  if (length > 0) status = readData(pctxt, memberOf<TS32297OctStr>(pvalue, field), length);
  return counted(status, sizeof length + length);
}

int writeString(RtxContext* pctxt, const FileHdr* pvalue, const Field& field)
{
  const TS32297OctStr* string = memberOf<TS32297OctStr>(pvalue, field);
  if (string->length > 0 && string->data == nullptr) {
    rtxErrAddStrParm(pctxt, field.name);
    return rtxReport(pctxt, RTX_E_NULL_POINTER, kModule, __LINE__);
  }
  int status = rtxEncUInt32(pctxt, string->length, sizeof string->length);
  return status < 0 ? status : rtxWriteBytes(pctxt, string->data, string->length);
}

void printString(RtxContext* pctxt, const FileHdr* pvalue, const Field& field)
{
  const TS32297OctStr* string = memberOf<TS32297OctStr>(pvalue, field);
  if (string->length > 0) rtxPrintToStreamHexStr(pctxt, field.name, string->length, string->data);
}

// Extensions: the member is the flag, and the value stands behind it.

int readExtension(RtxContext* pctxt, FileHdr* pvalue, const Field& field)
{
  uint8_t* flag = memberOf<uint8_t>(pvalue, field);
  int status = rtxDecUInt8(pctxt, flag + 1);
  if (status == 0) *flag = 1;
  return counted(status, 1);
}

int writeExtension(RtxContext* pctxt, const FileHdr* pvalue, const Field& field)
{
  const uint8_t* flag = memberOf<uint8_t>(pvalue, field);
  return *flag != 0 ? rtxEncUInt32(pctxt, flag[1], 1) : 0;
}

void printExtension(RtxContext* pctxt, const FileHdr* pvalue, const Field& field)
{
  const uint8_t* flag = memberOf<uint8_t>(pvalue, field);
  if (*flag != 0) rtxPrintToStreamUnsigned(pctxt, field.name, flag[1]);
}

static_assert(offsetof(FileHdr, highReleaseExtension) == offsetof(FileHdr, highReleaseExtensionPresent) + 1);
static_assert(offsetof(FileHdr, lowReleaseExtension) == offsetof(FileHdr, lowReleaseExtensionPresent) + 1);

constexpr Form kNumber = {readNumber, writeNumber, printNumber};
constexpr Form kRelease = {readRelease, writeRelease, printRelease};
constexpr Form kTime = {readTime, writeTime, printTime};
constexpr Form kOctets = {readOctets, writeOctets, printOctets};
constexpr Form kString = {readString, writeString, printString};
constexpr Form kExtension = {readExtension, writeExtension, printExtension};

// In the order of the wire.
constexpr Field kFields[] = {
    {"CDR_File_Header.fileLength", kNumber, offsetof(FileHdr, fileLength), 4},
    {"CDR_File_Header.headerLength", kNumber, offsetof(FileHdr, headerLength), 4},
    {"CDR_File_Header.highReleaseVersionID", kRelease, offsetof(FileHdr, highReleaseVersionID),
     offsetof(FileHdr, highReleaseExtension)},
    {"CDR_File_Header.lowReleaseVersionID", kRelease, offsetof(FileHdr, lowReleaseVersionID),
     offsetof(FileHdr, lowReleaseExtension)},
    {"CDR_File_Header.openTimestamp", kTime, offsetof(FileHdr, openTimestamp)},
    {"CDR_File_Header.lastAppendTimestamp", kTime, offsetof(FileHdr, lastAppendTimestamp)},
    {"CDR_File_Header.cdrCount", kNumber, offsetof(FileHdr, cdrCount), 4},
    {"CDR_File_Header.fileSequenceNumber", kNumber, offsetof(FileHdr, fileSequenceNumber), 4},
    {"CDR_File_Header.fileClosureReason", kNumber, offsetof(FileHdr, fileClosureReason), 1},
    {"CDR_File_Header.ipAddress", kOctets, offsetof(FileHdr, ipAddress), VELNOR_TS32297_ADDRESS_SIZE},
    {"CDR_File_Header.lostCDRIndicator", kNumber, offsetof(FileHdr, lostCDRIndicator), 1},
    {"CDR_File_Header.cdrRoutingFilter", kString, offsetof(FileHdr, cdrRoutingFilter)},
    {"CDR_File_Header.privateExtension", kString, offsetof(FileHdr, privateExtension)},
    {"CDR_File_Header.highReleaseExtension", kExtension, offsetof(FileHdr, highReleaseExtensionPresent)},
    {"CDR_File_Header.lowReleaseExtension", kExtension, offsetof(FileHdr, lowReleaseExtensionPresent)},
};

void dropString(TS32297OctStr* string)
{
  free(string->data);
  *string = {};
}

// Nothing that the caller would have to free outlives a failure, and an empty string fits its null pointer.
int failRead(RtxContext* pctxt, FileHdr* pvalue, int status)
{
  dropString(&pvalue->cdrRoutingFilter);
  dropString(&pvalue->privateExtension);
  return rtxReport(pctxt, status, kModule, __LINE__);
}

// The header says its own length, both length fields included, so nothing else of it is read.
int skipFileHdr(RtxContext* pctxt)
{
  uint32_t headerLength = 0;
  int status = rtxDecUInt32(pctxt, nullptr, 4);
  if (status == 0) status = rtxDecUInt32(pctxt, &headerLength, 4);
  if (status == 0 && headerLength < kLengthsOctets) status = RTX_E_BAD_LENGTH;
  if (status == 0) status = rtxReadBytes(pctxt, nullptr, headerLength - kLengthsOctets);
  return status < 0 ? rtxReport(pctxt, status, kModule, __LINE__) : 0;
}

// Two octets of length, the release, record format and TS number in one octet, and one octet more if the release is
// extended.
int skipHdr(RtxContext* pctxt)
{
  uint8_t release = 0;
  int status = rtxDecUInt16(pctxt, nullptr, 2);
  if (status == 0) status = rtxDecUInt8(pctxt, &release);
  if (status == 0) status = rtxReadBytes(pctxt, nullptr, release >> 5 == kExtendedIdentifier ? 2 : 1);
  return status < 0 ? rtxReport(pctxt, status, kModule, __LINE__) : 0;
}

} // namespace

void rtInitTS32297FileHdr(TS32297FileHdr* pvalue)
{
  *pvalue = {};
  pvalue->openTimestamp = kFirstTime;
  pvalue->lastAppendTimestamp = kFirstTime;
}

void rtInitTS32297Hdr(TS32297Hdr* pvalue)
{
  *pvalue = {};
  pvalue->dataRecordFormat = TS32297_BER;
}

// Octets on the wire: 52 fixed ones, the strings without their lengths, which are among the 52, and the extensions.
uint32_t rtTS32297CalcFileHdrLen(const TS32297FileHdr* pvalue)
{
  return kFixedOctets + pvalue->cdrRoutingFilter.length + pvalue->privateExtension.length +
         (pvalue->highReleaseExtensionPresent != 0) + (pvalue->lowReleaseExtensionPresent != 0);
}

int rtDecTS32297FileHdr(RtxContext* pctxt, TS32297FileHdr* pvalue)
{
  if (pvalue == nullptr) return skipFileHdr(pctxt);
  rtInitTS32297FileHdr(pvalue); // a failure frees the pointers, so they must not be what stood there before
  uint32_t count = 0;
  for (const Field& field : kFields) {
    // An older header ends earlier: what it lacks keeps its initial value. The two lengths are always read.
    if (count >= kLengthsOctets && count >= pvalue->headerLength) break;
    int status = field.form.read(pctxt, pvalue, field);
    if (status < 0) return failRead(pctxt, pvalue, status);
    count += static_cast<uint32_t>(status);
  }
  return static_cast<int>(count);
}

int rtEncTS32297FileHdr(RtxContext* pctxt, TS32297FileHdr* pvalue)
{
  pvalue->headerLength = rtTS32297CalcFileHdrLen(pvalue);
  for (const Field& field : kFields) {
    int status = field.form.write(pctxt, pvalue, field);
    if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
  }
  return static_cast<int>(pvalue->headerLength);
}

int rtDecTS32297Hdr(RtxContext* pctxt, TS32297Hdr* pvalue)
{
  if (pvalue == nullptr) return skipHdr(pctxt);
  rtInitTS32297Hdr(pvalue);
  int status = rtxDecUInt16(pctxt, &pvalue->cdrLength, 2);
  if (status == 0) status = readRelVers(pctxt, &pvalue->releaseVersionId);
  if (status == 0) status = rtxDecUInt8(pctxt, &pvalue->tsNumber);
  // The format has the top three bits of the octet; tsNumber keeps them, as the writer knows.
  pvalue->dataRecordFormat = pvalue->tsNumber >> 5;
  pvalue->releaseExtensionPresent = pvalue->releaseVersionId.release == kExtendedIdentifier;
  if (status == 0 && pvalue->releaseExtensionPresent) status = rtxDecUInt8(pctxt, &pvalue->releaseExtension);
  if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
  return kRecordHdrOctets + pvalue->releaseExtensionPresent;
}

int rtEncTS32297Hdr(RtxContext* pctxt, const TS32297Hdr* pvalue)
{
  const bool extended = pvalue->releaseExtensionPresent != 0;
  int status = rtxEncUInt32(pctxt, pvalue->cdrLength, 2);
  if (status == 0) status = writeRelVers(pctxt, &pvalue->releaseVersionId);
  // A number from a reader has the record format in its top bits; ORed with the same format they stay what they are.
  if (status == 0) status = rtxEncUInt32(pctxt, pvalue->dataRecordFormat << 5 | pvalue->tsNumber, 1);
  if (status == 0 && extended) status = rtxEncUInt32(pctxt, pvalue->releaseExtension, 1);
  if (status < 0) return rtxReport(pctxt, status, kModule, __LINE__);
  return kRecordHdrOctets + extended;
}

int rtPrtToStrmTS32297FileHdr(RtxContext* pctxt, const TS32297FileHdr* pvalue)
{
  for (const Field& field : kFields) field.form.print(pctxt, pvalue, field);
  return 0;
}

int rtPrtToStrmTS32297Hdr(RtxContext* pctxt, const TS32297Hdr* pvalue)
{
  char release[15], specification[15];
  rtTS32297RelVersIdToText(&pvalue->releaseVersionId, pvalue->releaseExtension, release, sizeof release);
  rtTS32297TSNumberToText(pvalue->tsNumber, specification, sizeof specification);
  rtxPrintToStreamUnsigned(pctxt, "CDR_Header.cdrLength", pvalue->cdrLength);
  rtxPrintToStreamCharStr(pctxt, "CDR_Header.releaseVersionId", release);
  rtxPrintToStreamUnsigned(pctxt, "CDR_Header.dataRecordFormat", pvalue->dataRecordFormat);
  rtxPrintToStreamCharStr(pctxt, "CDR_Header.tsNumber", specification);
  if (pvalue->releaseExtensionPresent != 0)
    rtxPrintToStreamUnsigned(pctxt, "CDR_Header.releaseExtension", pvalue->releaseExtension);
  return 0;
}
