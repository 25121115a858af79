// What the mobile identities of TS 24.008 (10.5.1.4), TS 24.301 (9.9.3.12) and TS 24.501 (9.11.3.4) have in common: the
// length that bounds them, and the forms that are digits (IMSI, IMEI, IMEISV). The hand-written coders of these three
// elements include this file; nothing else does. The first octet belongs to the protocol: its coder reads it and hands
// the odd flag and the first digit over. Nothing here allocates: digits go into an array of the caller's record.
//
// The IMEI 490154203237518 as TS 24.008 has it, 08 4A 09 51 24 30 32 57 81:
//   08            eight octets follow
//   4A = 0100 1 010   first digit 4, odd count of digits, type 2 (IMEI)
//   09 51 ...     digits by pairs, the earlier one in the low half-octet: 90 is 09, 15 is 51
// An identity of an even count of digits has 1111, the filler, in the high half of its last octet: F1 is a lone 1.
#ifndef VELNOR3GPP_MOBILE_IDENTITY_DIGITS_H
#define VELNOR3GPP_MOBILE_IDENTITY_DIGITS_H

#include "rt3gppsrc/engine/l3Decode.h"
#include "rt3gppsrc/engine/l3Direct.h"
#include "rt3gppsrc/engine/l3Encode.h"
#include "rt3gppsrc/engine/l3Kept.h"

// `type` is the identity under the coder: failures name the row of `type` that failed.
// Reads the length, records a remark (-16) where it is not in 1..most, and opens a region of that many octets. `inside`
// reads what is in it and gets the region's end as a bit position. On success the cursor stands at that end, whatever
// `inside` has read, and the region is closed. On failure the names stay pushed, because they are the error's path.
template <typename Length, typename Inside>
int decIdentity(L3Call& call, const L3Type& type, Length& length, size_t most, Inside inside);
// Reads the digits behind the first octet, under the element name, into the zero-ended array `digits` of `size` octets.
// `length` is the value of the length octet, `odd` and `digit1` come from the first octet.
inline int decIdentityDigits(L3Call& call, const L3Type& type, const char* name, uint8_t length, uint8_t odd,
                             uint8_t digit1, char* digits, size_t size);
// Writes length, first octet and the zero-ended digits. -24 for a character that is no digit, `*`, `#`, `a`, `b` or
// `c`.
inline int encIdentityDigits(L3Call& call, const L3Type& type, const char* name, uint8_t identType, const char* digits);

#include <cstring>

#include "velnor3gpp/rtx3GPP.h"
#include "velnor3gpp/rtxContainer.h"
#include "velnor3gpp/rtxDiagBitTrace.h"
#include "velnor3gpp/rtxTBCD.h"

// Reads the length of 8 or 16 bits and opens the region. A length out of its range is remarked and used as it stands,
// because the octets behind the identity can only be found through it.
template <typename Length>
int openIdentity(L3Call& call, const L3Type& type, Length& length, size_t most, L3Region& region)
{
  L3Name frame;
  l3PushName(call, frame, "length");
  int status = l3DecBits(call, reinterpret_cast<uint8_t*>(&length), 8 * sizeof length, sizeof length, "INTEGER");
  if (status < 0) return l3DecFailed(call, type, "length", status);
  if (length == 0 || length > most) l3NoteRange(call, type.module->decoder, l3LineOf(type, "length"), length);
  status = l3PushRegion(call, region, length, false);
  if (status < 0) return l3DecFailed(call, type, "length", status);
  l3PopName(call);
  return 0;
}

template <typename Length, typename Inside>
int decIdentity(L3Call& call, const L3Type& type, Length& length, size_t most, Inside inside)
{
  L3Region region;
  int status = openIdentity(call, type, length, most, region);
  if (status < 0) return status;
  size_t end = l3BitPos(call.pctxt) + size_t{length} * 8;
  if (status = inside(end); status < 0) return status;
  // An identity that is longer than its length fails with -66: 01 29 26, an IMSI of length 1, whose decoder reads one
  // octet behind it all the same (see takeIdentityDigits).
  if (l3BitPos(call.pctxt) > end) return l3DecFailed(call, type, nullptr, RTX_E_BAD_LENGTH);
  // The record has no member for octets behind the identity, which are passed over.
  if (l3BitPos(call.pctxt) < end) call.doubtful = true;
  if (status = rtxCtxtSetBitOffset(call.pctxt, end); status < 0) return l3DecFailed(call, type, nullptr, status);
  l3PopRegion(call);
  return 0;
}

// Unpacks `count` octets behind the first octet, which had digit1: 09 51 with digit1 4, odd, gives "49015". With an
// even count of digits the high half of the last octet is filler and left out. False, with nothing read, where the
// shared function has an error to report: a first digit above 9, or a text that does not fit into `size` with its
// ending zero.
inline bool unpackIdentity(const uint8_t* octets, size_t count, bool odd, unsigned digit1, char* digits, size_t size)
{
  if (digit1 > 9 || 2 * count + (odd ? 1U : 0U) >= size) return false;
  *digits++ = static_cast<char>('0' + digit1);
  for (size_t i = 1; i <= count; ++i) {
    uint8_t octet = *octets++;
    rtxTBCDBinToChar(octet & 15, digits++);
    if (i < count || odd) rtxTBCDBinToChar(octet >> 4, digits++);
  }
  *digits = 0;
  return true;
}

// Do `count` octets of digits from `at` on come back? Not where a filler ends the digits before their last octet, nor
// where the last half-octet of an even count is something else. All half-octets are looked at together: of F1 23 4F,
// the ones that are 1111 are 10 00 01.
inline bool isFilled(const uint8_t* data, size_t octets, size_t at, size_t count, bool odd)
{
  if (count < 1 || count > 8) return false;
  uint64_t word = rtxLoadWindow(data, octets, at) >> (64 - 8 * count), pairs = word & word >> 1;
  return (pairs & pairs >> 2 & 0x1111111111111111U) == (odd ? 0x00U : 0x10U);
}

// Length, first octet and digits as they stand on the wire; an IMEISV, the longest, has 16 digits and so 10 octets.
static constexpr size_t kMaxIdentityDigits = 16;
using IdentityOctets = uint8_t[kMaxIdentityDigits / 2 + 2];

// Packs the digits and gives the count of octets. 0 leaves the identity to rtx3GPPEncMobileIdentityType1: more than 16
// digits, a type above 3 bits, or a character without a code, which that function reports.
inline size_t packIdentity(IdentityOctets& octets, unsigned identType, const char* digits)
{
  size_t count = strnlen(digits, kMaxIdentityDigits + 1);
  if (count > kMaxIdentityDigits || identType > 7) return 0;
  uint8_t nibbles[kMaxIdentityDigits + 2];
  // All filler, so that an even count of digits needs no case of its own: "1234" as an IMEI is 03 12 32 F4.
  memset(nibbles, RTX_TBCD_FILLER, sizeof nibbles);
  for (size_t i = 0; i < count; ++i) {
    unsigned number = static_cast<unsigned>(digits[i] - '0');
    nibbles[i] = static_cast<uint8_t>(number);
    if (number > 9 && rtxTBCDCharToBin(digits[i], &nibbles[i]) < 0) return 0;
  }
  uint8_t* at = octets;
  *at++ = static_cast<uint8_t>(count / 2 + 1);
  *at++ = static_cast<uint8_t>(nibbles[0] * 16U | (count & 1 ? 8U : 0U) | identType);
  for (size_t i = 1; i < count; i += 2) *at++ = static_cast<uint8_t>(nibbles[i + 1] << 4 | nibbles[i]);
  return count / 2 + 2;
}

// Reads all digits in one step and as one field of the trace. False, with the cursor untouched, leaves them to the
// shared function: on a stream, in slow mode, within an octet, or where it has a failure to report.
inline bool takeIdentityDigits(L3Call& call, uint8_t length, uint8_t odd, uint8_t digit1, char* digits, size_t size)
{
  RtxBuffer& buffer = call.pctxt->buffer;
  size_t octets = length > 1 ? length - 1U : 1U; // a length of 1 reads one octet as well, as the shared function does
  if (!length || octets > l3Unread(call.pctxt) || !call.inlined() || buffer.bitOffset != 8) return false;
  if (!unpackIdentity(buffer.data + buffer.byteIndex, octets, odd, digit1, digits, size)) return false;
  bool filled = length > 1 && isFilled(buffer.data, buffer.size, buffer.byteIndex, octets, odd);
  if (!filled) call.doubtful = true;
  l3TraceField(call, "");
  buffer.byteIndex += octets;
  if (call.traced) rtxDiagSetBitFldCount(call.pctxt->pBitFldList);
  return true;
}

// Writes length, first octet and digits in one step, where no trace sees fields. False, with nothing written, leaves
// them to the shared function.
inline bool putIdentityDigits(L3Call& call, uint8_t identType, const char* digits)
{
  RtxBuffer& buffer = call.pctxt->buffer;
  IdentityOctets octets;
  size_t count = call.plain() && buffer.bitOffset == 8 ? packIdentity(octets, identType, digits) : 0;
  if (!count || buffer.byteIndex > buffer.size || count > buffer.size - buffer.byteIndex) return false;
  memcpy(buffer.data + buffer.byteIndex, octets, count);
  buffer.byteIndex += count;
  return true;
}

// The digits of an identity for direct coders. The cursor stands behind the first octet `first`; the caller has seen
// that length - 1 octets are there.
inline size_t directDigits(const L3Source& in, size_t pos, uint8_t length, unsigned first, char* digits, size_t size)
{
  bool good = length > 1 && unpackIdentity(in.data + (pos >> 3), length - 1U, first & 8, first >> 4, digits, size);
  if (good && l3DirectKeeps(in)) good = isFilled(in.data, in.octets, pos >> 3, length - 1U, first & 8);
  return good ? pos + (length - 1U) * 8 : kL3GaveUp;
}

// The whole identity for direct coders: length, first octet, digits.
inline size_t directPutDigits(L3Sink& out, size_t pos, unsigned identType, const char* digits)
{
  IdentityOctets octets;
  size_t count = packIdentity(octets, identType, digits);
  return count && l3PutOctets(out.data, pos, out.end, octets, count) ? pos : kL3GaveUp;
}

inline int decIdentityDigits(L3Call& call, const L3Type& type, const char* name, uint8_t length, uint8_t odd,
                             uint8_t digit1, char* digits, size_t size)
{
  L3Name frame;
  l3PushName(call, frame, name);
  if (!takeIdentityDigits(call, length, odd, digit1, digits, size)) {
    l3ToLists(call);      // the operation reads through the public functions
    call.doubtful = true; // nobody has looked at the fillers
    int status = rtx3GPPDecMobileIdentityType1(call.pctxt, length, odd, digit1, digits, size);
    if (status < 0) return l3DecFailed(call, type, name, status);
  }
  l3PopName(call);
  return 0;
}

inline int encIdentityDigits(L3Call& call, const L3Type& type, const char* name, uint8_t identType, const char* digits)
{
  if (digits && identType < 8 && putIdentityDigits(call, identType, digits)) return 0;
  L3Name frame;
  l3PushName(call, frame, name);
  l3ToLists(call);
  int status = rtx3GPPEncMobileIdentityType1(call.pctxt, identType, digits);
  if (status < 0) return l3EncFailed(call, type, name, status);
  l3PopName(call);
  return 0;
}

#endif
