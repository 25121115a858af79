// What the mobile identities of all protocols share: their length, and the digit forms (IMSI, IMEI, IMEISV; TS 24.008,
// 10.5.1.4), whose first octet the caller has read or will write as it belongs to the protocol.
#ifndef VELNOR3GPP_MOBILE_IDENTITY_DIGITS_H
#define VELNOR3GPP_MOBILE_IDENTITY_DIGITS_H

#include "rt3gppsrc/engine/l3Decode.h"
#include "rt3gppsrc/engine/l3Direct.h"
#include "rt3gppsrc/engine/l3Encode.h"
#include "rt3gppsrc/engine/l3Kept.h"

// `type` is the identity under the coder, whose rows failures are reported for.
// Reads the length, remarks one that is not in 1..most, and what `inside` reads up to the end, a bit position.
template <typename Length, typename Inside>
int decIdentity(L3Call& call, const L3Type& type, Length& length, size_t most, Inside inside);
// Reads the digits behind the first octet into a zero-ended array, under the element name.
inline int decIdentityDigits(L3Call& call, const L3Type& type, const char* name, uint8_t length, uint8_t odd,
                             uint8_t digit1, char* digits, size_t size);
// Writes length, first octet and digits.
inline int encIdentityDigits(L3Call& call, const L3Type& type, const char* name, uint8_t identType, const char* digits);

#include <cstring>

#include "velnor3gpp/rtx3GPP.h"
#include "velnor3gpp/rtxContainer.h"
#include "velnor3gpp/rtxDiagBitTrace.h"
#include "velnor3gpp/rtxTBCD.h"

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
  if (l3BitPos(call.pctxt) > end) return l3DecFailed(call, type, nullptr, RTX_E_BAD_LENGTH);
  // Octets behind an identity have no place in it: it is kept as a whole.
  bool surplus = l3BitPos(call.pctxt) < end && l3Keeps(call) && call.onTrial();
  if (surplus) return l3DecFailed(call, type, nullptr, RTX_E_BAD_LENGTH);
  if (status = rtxCtxtSetBitOffset(call.pctxt, end); status < 0) return l3DecFailed(call, type, nullptr, status);
  l3PopRegion(call);
  return 0;
}

// The digits of so many octets behind the first one, which has digit1; an even count has a filler at its end.
inline bool unpackIdentity(const uint8_t* octets, size_t count, bool odd, unsigned digit1, char* digits, size_t size)
{
  if (digit1 > 9 || 2 * count + (odd ? 1 : 0) >= size) return false;
  *digits++ = static_cast<char>('0' + digit1);
  for (size_t i = 1; i <= count; ++i) {
    uint8_t octet = *octets++;
    rtxTBCDBinToChar(octet & 15, digits++);
    if (i < count || odd) rtxTBCDBinToChar(octet >> 4, digits++);
  }
  *digits = 0;
  return true;
}

// Length, first octet and digits as they stand on the wire; gives how many octets, 0 where the shared function is to
// say what is wrong.
static constexpr size_t kMaxIdentityDigits = 16;
using IdentityOctets = uint8_t[kMaxIdentityDigits / 2 + 2];

inline size_t packIdentity(IdentityOctets& octets, unsigned identType, const char* digits)
{
  size_t count = strnlen(digits, kMaxIdentityDigits + 1);
  if (count > kMaxIdentityDigits || identType > 7) return 0;
  uint8_t nibbles[kMaxIdentityDigits + 2];
  memset(nibbles, RTX_TBCD_FILLER, sizeof nibbles);
  for (size_t i = 0; i < count; ++i)
    if (rtxTBCDCharToBin(digits[i], &nibbles[i]) < 0) return 0;
  uint8_t* at = octets;
  *at++ = static_cast<uint8_t>(count / 2 + 1);
  *at++ = static_cast<uint8_t>(nibbles[0] << 4 | (count & 1 ? 8U : 0U) | identType);
  for (size_t i = 1; i < count; i += 2) *at++ = static_cast<uint8_t>(nibbles[i + 1] << 4 | nibbles[i]);
  return count / 2 + 2;
}

// The digits at once, as one field in the trace, where nothing can fail; false leaves all to the shared function.
inline bool takeIdentityDigits(L3Call& call, uint8_t length, uint8_t odd, uint8_t digit1, char* digits, size_t size)
{
  RtxBuffer& buffer = call.pctxt->buffer;
  size_t octets = length > 1 ? length - 1U : 1U;
  if (!length || octets > l3Unread(call.pctxt) || !call.inlined() || buffer.bitOffset != 8) return false;
  if (!unpackIdentity(buffer.data + buffer.byteIndex, octets, odd, digit1, digits, size)) return false;
  l3TraceField(call, "");
  buffer.byteIndex += octets;
  if (call.traced) rtxDiagSetBitFldCount(call.pctxt->pBitFldList);
  return true;
}

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

// The same in direct coders: a whole identity of digits, its length at the cursor.
inline size_t directDigits(const L3Source& in, size_t pos, uint8_t length, unsigned first, char* digits, size_t size)
{
  bool good = length > 1 && unpackIdentity(in.data + (pos >> 3), length - 1U, first & 8, first >> 4, digits, size);
  return good ? pos + (length - 1U) * 8 : kL3GaveUp;
}

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
    l3ToLists(call); // the operation reads through the public functions
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
