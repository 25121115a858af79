// The coders of the mobile identity of TS 24.008 (10.5.1.4), which the engine calls wherever a definition names
// TS24008IE_MobileIdentity: in GMM, MM and RR messages, and in some of EPS. By hand because the octet that tells the
// type also holds what rows would have to know it for: the first digit and the odd flag of an IMSI, IMEI or IMEISV, the
// presence bits of a TMGI, or filler. And because the digit forms write their own length.
//
//   05 F4 C9 58 5D 28       1111 0 100: filler, type 4, a TMSI of four octets
//   08 29 26 24 ...         0010 1 001: first digit 2, odd count of digits, type 1, an IMSI that goes on 6 2 4 2
//   08 15 01 01 12 23 34 45 0001 0 101: network follows, no session, type 5, a TMGI
//   01 F0 or 03 00 00 00    type 0, no identity
//
// The record belongs to the caller, and every form lies inside it: nothing here allocates.
#include <cstring>

#include "L3Descriptors.h"
#include "src2/MobileIdentityDigits.h"
#include "src2/NamedParts.h"
#include "velnor3gpp/TS24008IES.h"

using Identity = TS24008IE_MobileIdentity;
using Tmgi = TS24008IE_MobileIdentity_TMGI;
static constexpr const L3Type& kIdentity = l3_TS24008IE_MobileIdentity;
static constexpr const L3Type& kTmgiPart = l3_TS24008IE_MobileIdentity_TMGI;

// The numbers `t` of the alternatives are the types on the wire, but that no identity, type 0 there, is 6: a `t` of 0
// says that nothing has been decoded.
static constexpr uint8_t kFiller = 15; // the half-octet in front of a TMSI, or of an identity that pages nobody
static constexpr uint8_t kSessionBit = 2, kPlmnBit = 1; // of a TMGI's first half-octet
static constexpr uint8_t kMaxLength = 9;

// A TMGI, behind its first octet: three octets of service, then the network and the session if bits 1 and 2 of the
// first half-octet (`leading`) say so. The rows of TS24008IE_MobileIdentity_TMGI cannot be walked, because these bits
// stand outside of them, in front of the type.
static int decTmgi(L3Call& call, Tmgi& tmgi, uint8_t leading)
{
  L3Name frame;
  l3PushName(call, frame, "tmgi");
  tmgi.m.mcc_mncPresent = (leading & kPlmnBit) != 0;
  tmgi.m.mbmsSessionIDPresent = (leading & kSessionBit) != 0;
  int status = decFixed(call, kTmgiPart, "mbmsServiceID", tmgi.mbmsServiceID);
  if (status >= 0 && tmgi.m.mcc_mncPresent)
    status = decPart(call, kTmgiPart, "mcc-mnc", l3_TS24008IE_MCCMNCPair, &tmgi.mcc_mnc);
  if (status >= 0 && tmgi.m.mbmsSessionIDPresent)
    status = l3DecNamed(call, kTmgiPart, "mbmsSessionID", &tmgi.mbmsSessionID, 8, 1);
  if (status >= 0) l3PopName(call);
  return status;
}

// The half-octet in front of a type without digits, as the standard has it. GMM answers with three octets of zero when
// it has no identity (03 00 00 00), a page to nobody has one octet that begins with filler (01 F0): the length in the
// record tells which.
static uint8_t standardLead(const Identity& identity)
{
  static constexpr uint8_t kNoneOfGmm = 3;
  return identity.t == TS24008IE_MobileIdentity_t_none && identity.length == kNoneOfGmm ? 0 : kFiller;
}

// Networks send a TMSI behind other bits as well (05 04 C9 58 5D 28 instead of F4). The record keeps
// such bits as `digit1`, so that the encoder writes them again; the usual ones leave no member behind,
// and records stay small to read.
static void keepLead(Identity& identity, uint8_t digit1)
{
  identity.m.digit1Present = digit1 != standardLead(identity);
  if (identity.m.digit1Present) identity.digit1 = digit1;
}

// The half-octet that an encoder writes: the kept one, or else the standard's.
static uint8_t leadOf(const Identity& identity)
{
  return identity.m.digit1Present ? identity.digit1 : standardLead(identity);
}

static int decDigits(L3Call& call, const Identity& identity, const char* name, uint8_t odd, uint8_t digit1,
                     char* digits, size_t size)
{
  return decIdentityDigits(call, kIdentity, name, identity.length, odd, digit1, digits, size);
}

// What lies inside the length: first octet, then the form that its lowest three bits name. The first octet is read as
// "digit1", "odd" and "type" whatever the type, so these names are pushed and traced for a TMSI too. Type 7 fails with
// -9. Type 6, which is reserved, is read as no identity, because that is the number of `none`.
static int decInside(L3Call& call, Identity& identity)
{
  uint8_t digit1 = 0, odd = 0, wireType = 0;
  int status = l3DecNamed(call, kIdentity, "digit1", &digit1, 4, 1);
  if (status >= 0) status = l3DecNamed(call, kIdentity, "odd", &odd, 1, 1);
  if (status >= 0) status = l3DecNamed(call, kIdentity, "type", &wireType, 3, 1);
  if (status < 0) return status;
  auto& u = identity.u;
  // Of the types without digits an encoder writes the odd flag as 0, and the rest as the record has it.
  bool digits = wireType >= TS24008IE_MobileIdentity_t_imsi && wireType <= TS24008IE_MobileIdentity_t_imeisv;
  bool tmgi = wireType == TS24008IE_MobileIdentity_t_tmgi;
  if ((odd && !digits) || (tmgi && digit1 > (kSessionBit | kPlmnBit)) || wireType == TS24008IE_MobileIdentity_t_none)
    call.doubtful = true;
  identity.t = wireType ? wireType : static_cast<uint32_t>(TS24008IE_MobileIdentity_t_none);
  switch (identity.t) {
    case TS24008IE_MobileIdentity_t_imsi:
      return decDigits(call, identity, "imsi", odd, digit1, u.imsi, sizeof u.imsi);
    case TS24008IE_MobileIdentity_t_imei:
      return decDigits(call, identity, "imei", odd, digit1, u.imei, sizeof u.imei);
    case TS24008IE_MobileIdentity_t_imeisv:
      return decDigits(call, identity, "imeisv", odd, digit1, u.imeisv, sizeof u.imeisv);
    case TS24008IE_MobileIdentity_t_tmsi:
      keepLead(identity, digit1);
      return decFixed(call, kIdentity, "tmsi", u.tmsi);
    case TS24008IE_MobileIdentity_t_tmgi:
      return decTmgi(call, u.tmgi, digit1);
    case TS24008IE_MobileIdentity_t_none:
      keepLead(identity, digit1);
      return 0;
    default:
      return l3FailNew(call, kIdentity.module->decoder, RTX_E_INVALID_CHOICE, kIdentity.line);
  }
}

// Clears what tells the form before anything can fail, so that a cut identity is printable.
int l3Dec_TS24008IE_MobileIdentity(L3Call& call, const L3Type&, void* value)
{
  Identity& identity = *static_cast<Identity*>(value);
  identity.m = {};
  identity.t = 0;
  return decIdentity(call, kIdentity, identity.length, kMaxLength, [&](size_t) { return decInside(call, identity); });
}

// Mends the sample that the rows make. They would take the first alternative, an IMSI without digits, which is not what
// most messages carry. Always succeeds; the record has room for every form.
bool l3Settle_TS24008IE_MobileIdentity(RtxContext*, void* value)
{
  static constexpr uint8_t tmsi[] = {0x21, 0x43, 0x65, 0x87};
  Identity& identity = *static_cast<Identity*>(value);
  memset(&identity.u, 0, sizeof identity.u);
  identity.t = TS24008IE_MobileIdentity_t_tmsi;
  memcpy(identity.u.tmsi, tmsi, sizeof tmsi);
  return true;
}

// The TMGI behind its first octet, in the order of decTmgi.
static int encTmgi(L3Call& call, Tmgi& tmgi)
{
  L3Name frame;
  l3PushName(call, frame, "tmgi");
  int status = encFixed(call, kTmgiPart, "mbmsServiceID", tmgi.mbmsServiceID);
  if (status >= 0 && tmgi.m.mcc_mncPresent)
    status = encPart(call, kTmgiPart, "mcc-mnc", l3_TS24008IE_MCCMNCPair, &tmgi.mcc_mnc);
  if (status >= 0 && tmgi.m.mbmsSessionIDPresent)
    status = l3EncNamed(call, kTmgiPart, "mbmsSessionID", tmgi.mbmsSessionID, 8, 1);
  if (status >= 0) l3PopName(call);
  return status;
}

// Writes length and first octet of the forms without digits, and stores the length in the record. The odd flag is 0.
static int encLeading(L3Call& call, Identity& identity, size_t length, uint8_t leading, uint8_t wireType)
{
  identity.length = static_cast<uint8_t>(length);
  int status = l3EncNamed(call, kIdentity, "length", length, 8, 1);
  if (status >= 0) status = l3EncNamed(call, kIdentity, "digit1", leading, 4, 1);
  if (status >= 0) status = l3EncNamed(call, kIdentity, "odd", 0, 1, 1);
  return status < 0 ? status : l3EncNamed(call, kIdentity, "type", wireType, 3, 1);
}

// Length and presence bits of a TMGI follow from the record: 4 octets with the first one, 3 more for a network, 1 more
// for a session. 0001 in front of the type says network, 0010 session.
static int encTmgiForm(L3Call& call, Identity& identity)
{
  Tmgi& tmgi = identity.u.tmgi;
  size_t length = 4U + (tmgi.m.mcc_mncPresent ? 3 : 0) + (tmgi.m.mbmsSessionIDPresent ? 1 : 0);
  unsigned leading = (tmgi.m.mcc_mncPresent ? kPlmnBit : 0U) | (tmgi.m.mbmsSessionIDPresent ? kSessionBit : 0U);
  int status = encLeading(call, identity, length, static_cast<uint8_t>(leading), TS24008IE_MobileIdentity_t_tmgi);
  return status < 0 ? status : encTmgi(call, tmgi);
}

// Five octets: the first one and the TMSI.
static int encTmsiForm(L3Call& call, Identity& identity)
{
  int status =
      encLeading(call, identity, 1 + sizeof identity.u.tmsi, leadOf(identity), TS24008IE_MobileIdentity_t_tmsi);
  return status < 0 ? status : encFixed(call, kIdentity, "tmsi", identity.u.tmsi);
}

// One octet, or the three that GMM sends, by the length that the record has from the caller or from decoding.
static int encNoIdentity(L3Call& call, Identity& identity)
{
  static const uint8_t zeros[2] = {0, 0};
  bool gmm = identity.length == 1 + sizeof zeros;
  int status = encLeading(call, identity, gmm ? 1 + sizeof zeros : 1, leadOf(identity), 0);
  if (status < 0 || !gmm) return status;
  status = l3EncOctets(call, zeros, sizeof zeros);
  return status < 0 ? l3EncFailed(call, kIdentity, nullptr, status) : 0;
}

// `size` bounds the search for the end: an array without a zero in it is refused (-20) instead of read beyond.
static int encDigits(L3Call& call, Identity& identity, const char* name, const char* digits, size_t size)
{
  size_t count = strnlen(digits, size);
  if (count == size) return l3FailNew(call, kIdentity.module->encoder, RTX_E_BAD_PARAMETER, kIdentity.line);
  identity.length = static_cast<uint8_t>(count / 2 + 1);
  return encIdentityDigits(call, kIdentity, name, static_cast<uint8_t>(identity.t), digits);
}

// Encodes the form that `t` names; a `t` that is none fails with -9.
int l3Enc_TS24008IE_MobileIdentity(L3Call& call, const L3Type&, void* value)
{
  Identity& identity = *static_cast<Identity*>(value);
  auto& u = identity.u;
  switch (identity.t) {
    case TS24008IE_MobileIdentity_t_imsi:
      return encDigits(call, identity, "imsi", u.imsi, sizeof u.imsi);
    case TS24008IE_MobileIdentity_t_imei:
      return encDigits(call, identity, "imei", u.imei, sizeof u.imei);
    case TS24008IE_MobileIdentity_t_imeisv:
      return encDigits(call, identity, "imeisv", u.imeisv, sizeof u.imeisv);
    case TS24008IE_MobileIdentity_t_tmsi:
      return encTmsiForm(call, identity);
    case TS24008IE_MobileIdentity_t_tmgi:
      return encTmgiForm(call, identity);
    case TS24008IE_MobileIdentity_t_none:
      return encNoIdentity(call, identity);
    default:
      return l3FailNew(call, kIdentity.module->encoder, RTX_E_INVALID_CHOICE, kIdentity.line);
  }
}

// The direct decoder reads digits and a TMSI, which nearly every identity is; l3DirectType hands the others, and all
// that is not plainly right, to the decoder above inside the trial. On entry the length stands at the cursor.
size_t l3DirectDec_TS24008IE_MobileIdentity(const L3Source& in, size_t pos, size_t end, void* record)
{
  Identity& identity = *static_cast<Identity*>(record);
  size_t start = pos;
  uint64_t lead = 0;
  if ((pos & 7) || !l3Take<16>(in, pos, end, lead)) return kL3GaveUp;
  uint8_t length = static_cast<uint8_t>(lead >> 8);
  unsigned first = lead & 0xFF, type = first & 7;
  auto& u = identity.u;
  // `length - 1U` octets behind the first one have to be there before anything is taken.
  bool whole = length && length <= kMaxLength && length - 1U <= (end - pos) >> 3;
  bool tmsi = type == TS24008IE_MobileIdentity_t_tmsi && length == 1 + sizeof u.tmsi && !(first & 8);
  bool digits = type >= TS24008IE_MobileIdentity_t_imsi && type <= TS24008IE_MobileIdentity_t_imeisv;
  if (!whole || !(tmsi || digits)) return l3DirectType(in, start, end, kIdentity, record);
  identity.m = {};
  identity.length = length;
  identity.t = type;
  if (tmsi) {
    keepLead(identity, static_cast<uint8_t>(first >> 4));
    return l3Octets(in, pos, end, u.tmsi, sizeof u.tmsi) ? pos : kL3GaveUp;
  }
  bool version = type == TS24008IE_MobileIdentity_t_imeisv; // one digit more
  return directDigits(in, pos, length, first, version ? u.imeisv : u.imsi, version ? sizeof u.imeisv : sizeof u.imsi);
}

// The direct encoder writes the same two forms. A kept `digit1` above 15 goes to the encoder above, which refuses it.
size_t l3DirectEnc_TS24008IE_MobileIdentity(L3Sink& out, size_t pos, void* record)
{
  Identity& identity = *static_cast<Identity*>(record);
  auto& u = identity.u;
  unsigned lead = leadOf(identity);
  if (identity.t == TS24008IE_MobileIdentity_t_tmsi && lead <= 15 && !(pos & 7)) {
    identity.length = 1 + sizeof u.tmsi;
    bool put = l3Put<16>(out.data, pos, out.end, identity.length * 256U | lead << 4 | identity.t);
    return put && l3PutOctets(out.data, pos, out.end, u.tmsi, sizeof u.tmsi) ? pos : kL3GaveUp;
  }
  bool version = identity.t == TS24008IE_MobileIdentity_t_imeisv;
  const char* digits = version ? u.imeisv : u.imsi;
  size_t size = version ? sizeof u.imeisv : sizeof u.imsi, count = strnlen(digits, size);
  bool known = identity.t >= TS24008IE_MobileIdentity_t_imsi && identity.t <= TS24008IE_MobileIdentity_t_imeisv;
  if (!known || count == size) return l3DirectPutType(out, pos, kIdentity, record);
  identity.length = static_cast<uint8_t>(count / 2 + 1);
  return directPutDigits(out, pos, identity.t, digits);
}
