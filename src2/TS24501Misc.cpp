// Elements of TS 24.501 that rows cannot say. The engine and direct coders call what is defined here.
//   - The 5GS mobile identity (9.11.3.4), because its first octet holds type, SUPI format, odd flag and first
//     digit in a way that depends on the type, and because the encoder works its length out beforehand.
//   - The entries of a list of tracking areas (9.11.3.9), because their counts stand outside of them.
//   - The SUCI of a relay key request (9.11.3.89) in the form of the standard.
// All values lie in the caller's record, but for strings without a bound, which are on the context's heap.
//
//   00 0B F2 09 F1 07 ...   11110 010: five leading bits 30, type 2, a GUTI
//   00 0D 01 09 F1 07 ...   0 000 0 001: SUPI format 0, type 1, a SUCI of an IMSI
//   00 08 4B 09 51 15 ...   0100 1 011: first digit 4, odd count of digits, type 3, an IMEI
// The coders take the first octet as five leading bits and three of type; leading bits 01001 are digit 4 and odd.
#include <cstring>

#include "L3Descriptors.h"
#include "rt3gppsrc/engine/l3Direct.h"
#include "src2/MobileIdentityDigits.h"
#include "src2/NamedParts.h"
#include "src2/TrackingAreaItem.h"
#include "velnor3gpp/TS24501IES.h"

static constexpr char kBadLeadingBits[] = "MobileIdentity leading bits for GUTI";

using Identity = TS24501IE_MobileIdentity;
static constexpr const L3Type& kIdentity = l3_TS24501IE_MobileIdentity;
static constexpr const L3Type& kSuciPart = l3_TS24501IE_MobileIdentity_SUCI;
static constexpr const L3Type& kMacPart = l3_TS24501IE_MobileIdentity_MAC;

// The SUCI, whose SUPI format is bits 1 to 3 of the leading ones: 0 an IMSI, 1 a network specific identifier. Formats 2
// and 3 (GCI, GLI) have no alternative in the record and fail with -9.
static int decSuci(L3Call& call, Identity& identity, uint8_t leading)
{
  auto& suci = identity.u.suci;
  unsigned format = leading >> 1 & 7;
  L3Name frame;
  l3PushName(call, frame, "suci");
  suci.t = format + 1;
  int status;
  if (format == 0)
    status = decPart(call, kSuciPart, "supiImsi", l3_TS24501IE_MobileIdentity_SUCI_IMSI, &suci.u.supiImsi);
  else if (format == 1)
    status = decPart(call, kSuciPart, "supiNetSpecificId", l3_TS24501IE_MobileIdentity_SUCI_NetId,
                     &suci.u.supiNetSpecificId);
  else
    status = l3DecFailed(call, kIdentity, "suci", RTX_E_INVALID_CHOICE);
  if (status >= 0) l3PopName(call);
  return status;
}

// A GUTI or S-TMSI. The leading bits are 1111 and a spare bit, so 30 or 31; anything below is refused with -16 and the
// value as parameter: 00 0B 02.
static int decTemporary(L3Call& call, const char* name, const L3Type& type, void* part, uint8_t leading)
{
  if (leading < 30) {
    l3ToLists(call);
    rtxErrAddStrParm(call.pctxt, kBadLeadingBits);
    rtxErrAddIntParm(call.pctxt, leading);
    return rtxErrSetNewData(call.pctxt, RTX_E_CONSTRAINT, kIdentity.module->decoder, kIdentity.line);
  }
  return decPart(call, kIdentity, name, type, part);
}

// An IMEI or IMEISV. The shared function takes a length of 8 bits; a longer one could not be digits anyway (-16).
static int decDigits(L3Call& call, const char* name, uint16_t length, uint8_t leading, char* digits, size_t size)
{
  if (length > 255) {
    l3ToLists(call);
    rtxErrAddElemNameParm(call.pctxt);
    rtxErrAddStrParm(call.pctxt, "length");
    rtxErrAddUIntParm(call.pctxt, length);
    return rtxErrSetNewData(call.pctxt, RTX_E_CONSTRAINT, kIdentity.module->decoder, kIdentity.line);
  }
  return decIdentityDigits(call, kIdentity, name, static_cast<uint8_t>(length), leading & 1,
                           static_cast<uint8_t>(leading >> 1), digits, size);
}

// A MAC address. The lowest of the leading bits is MAURI, the MAC address usage restriction indication.
static int decMac(L3Call& call, Identity& identity, uint8_t leading)
{
  L3Name frame;
  l3PushName(call, frame, "mac");
  identity.u.mac.mauri = leading & 1; // the lowest of the leading bits
  int status = decFixed(call, kMacPart, "macaddr", identity.u.mac.macaddr);
  if (status >= 0) l3PopName(call);
  return status;
}

// What follows the first octet. Type 0, no identity, has nothing.
static int decByType(L3Call& call, Identity& identity, uint8_t leading)
{
  switch (identity.t) {
    case TS24501IE_MobileIdentity_t_suci:
      return decSuci(call, identity, leading);
    case TS24501IE_MobileIdentity_t_guti:
      return decTemporary(call, "guti", l3_TS24501IE_MobileIdentity_GUTI, &identity.u.guti, leading);
    case TS24501IE_MobileIdentity_t_stmsi:
      return decTemporary(call, "stmsi", l3_TS24501IE_MobileIdentity_STMSI, &identity.u.stmsi, leading);
    case TS24501IE_MobileIdentity_t_imei:
      return decDigits(call, "imei", identity.length, leading, identity.u.imei, sizeof identity.u.imei);
    case TS24501IE_MobileIdentity_t_imeisv:
      return decDigits(call, "imeisv", identity.length, leading, identity.u.imeisv, sizeof identity.u.imeisv);
    case TS24501IE_MobileIdentity_t_mac:
      return decMac(call, identity, leading);
    case TS24501IE_MobileIdentity_t_eui_64:
      return decFixed(call, kIdentity, "eui-64", identity.u.eui_64);
    default:
      return 0;
  }
}

// The five bits in front of the type, the inverse of what decByType makes of them. The spare bit in front of a GUTI
// goes out as 0 whatever was received.
static uint8_t leadingBits(const Identity& identity)
{
  switch (identity.t) {
    case TS24501IE_MobileIdentity_t_suci:
      return static_cast<uint8_t>((identity.u.suci.t - 1) << 1 & 0x0E);
    case TS24501IE_MobileIdentity_t_guti:
    case TS24501IE_MobileIdentity_t_stmsi:
      return 30;
    case TS24501IE_MobileIdentity_t_mac:
      return identity.u.mac.mauri ? 1 : 0;
    default:
      return 0;
  }
}

// 30 and type 2 are 11110 010, F2.
static uint8_t firstOctet(const Identity& identity)
{
  return static_cast<uint8_t>(unsigned{leadingBits(identity)} << 3 | (identity.t - 1));
}

// First octet and what follows. All eight types are members of the enumeration, so `t` is always one of 1 to 8.
static int decInside(L3Call& call, Identity& identity)
{
  uint8_t leading = 0;
  TS24501IE_TypeOfIdentity typeOfIdent = TS24501IE_TypeOfIdentity_none;
  int status = l3DecNamed(call, kIdentity, "leading bits", &leading, 5, 1);
  if (status < 0) return status;
  status = decPart(call, kIdentity, "typeOfIdent", l3_TS24501IE_TypeOfIdentity, &typeOfIdent);
  if (status < 0) return status;
  identity.t = static_cast<uint32_t>(typeOfIdent) + 1;
  status = decByType(call, identity, leading);
  bool digits = identity.t == TS24501IE_MobileIdentity_t_imei || identity.t == TS24501IE_MobileIdentity_t_imeisv;
  if (status >= 0 && !digits && leading != leadingBits(identity)) call.doubtful = true;
  return status;
}

// Any length of 16 bits but 0 is in range: a network specific identifier has no bound.
int l3Dec_TS24501IE_MobileIdentity(L3Call& call, const L3Type&, void* value)
{
  Identity& identity = *static_cast<Identity*>(value);
  identity.t = 0;
  return decIdentity(call, kIdentity, identity.length, UINT16_MAX, [&](size_t) { return decInside(call, identity); });
}

// Octets behind the length, known from the record alone, so that the length can be written in front of them: 8 in front
// of the scheme output of a SUCI (first octet, PLMN 3, routing indicator 2, scheme 1, key identifier 1), 11 of a GUTI
// (first octet, PLMN 3, region 1, set and pointer 2, TMSI 4), 7 of an S-TMSI, the same less PLMN and region.
static size_t identityLength(const Identity& identity)
{
  const auto& suci = identity.u.suci;
  switch (identity.t) {
    case TS24501IE_MobileIdentity_t_suci:
      return suci.t == TS24501IE_MobileIdentity_SUCI_t_supiImsi
                 ? 8 + static_cast<size_t>(suci.u.supiImsi.schemeOutput.numocts)
                 : 1 + static_cast<size_t>(suci.u.supiNetSpecificId.nai.numocts);
    case TS24501IE_MobileIdentity_t_guti:
      return 11;
    case TS24501IE_MobileIdentity_t_stmsi:
    case TS24501IE_MobileIdentity_t_mac:
      return 7;
    case TS24501IE_MobileIdentity_t_eui_64:
      return 9;
    default:
      return 1;
  }
}

// The scheme output or identifier ends the element. It runs to the end of its container ("open tail"), which the flag
// says to the engine: left standing, it would keep the message's optional elements from being written.
static int encSuci(L3Call& call, Identity& identity)
{
  auto& suci = identity.u.suci;
  L3Name frame;
  l3PushName(call, frame, "suci");
  int status;
  if (suci.t == TS24501IE_MobileIdentity_SUCI_t_supiImsi)
    status = encPart(call, kSuciPart, "supiImsi", l3_TS24501IE_MobileIdentity_SUCI_IMSI, &suci.u.supiImsi);
  else if (suci.t == TS24501IE_MobileIdentity_SUCI_t_supiNetSpecificId)
    status = encPart(call, kSuciPart, "supiNetSpecificId", l3_TS24501IE_MobileIdentity_SUCI_NetId,
                     &suci.u.supiNetSpecificId);
  else
    status = l3EncFailed(call, kIdentity, "suci", RTX_E_INVALID_CHOICE);
  if (status < 0) return status;
  call.pctxt->flags &= ~RTX_OPENTAIL_FLAG; // the length in front bounds the tail
  l3PopName(call);
  return 0;
}

// MAURI is in the first octet already.
static int encMac(L3Call& call, const Identity& identity)
{
  L3Name frame;
  l3PushName(call, frame, "mac");
  int status = encFixed(call, kMacPart, "macaddr", identity.u.mac.macaddr);
  if (status >= 0) l3PopName(call);
  return status;
}

static int encByType(L3Call& call, Identity& identity)
{
  switch (identity.t) {
    case TS24501IE_MobileIdentity_t_suci:
      return encSuci(call, identity);
    case TS24501IE_MobileIdentity_t_guti:
      return encPart(call, kIdentity, "guti", l3_TS24501IE_MobileIdentity_GUTI, &identity.u.guti);
    case TS24501IE_MobileIdentity_t_stmsi:
      return encPart(call, kIdentity, "stmsi", l3_TS24501IE_MobileIdentity_STMSI, &identity.u.stmsi);
    case TS24501IE_MobileIdentity_t_mac:
      return encMac(call, identity);
    case TS24501IE_MobileIdentity_t_eui_64:
      return encFixed(call, kIdentity, "eui-64", identity.u.eui_64);
    default:
      return 0;
  }
}

// The digit forms write length and first octet themselves. Their length has 8 bits; an octet of 0 in front makes 16.
static int encDigits(L3Call& call, Identity& identity)
{
  bool imei = identity.t == TS24501IE_MobileIdentity_t_imei;
  const char* digits = imei ? identity.u.imei : identity.u.imeisv;
  size_t size = imei ? sizeof identity.u.imei : sizeof identity.u.imeisv, count = strnlen(digits, size);
  if (count == size) return l3FailRange(call, kIdentity.module->encoder, kIdentity.line, count); // no end
  int status = l3EncBits(call, 0, 8, "INTEGER");
  if (status < 0) return l3EncFailed(call, kIdentity, nullptr, status);
  identity.length = static_cast<uint16_t>(count / 2 + 1);
  return encIdentityDigits(call, kIdentity, imei ? "imei" : "imeisv", static_cast<uint8_t>(identity.t - 1), digits);
}

// Encodes the form that `t` names; the length in the record is set to what is written, up to 65,535.
int l3Enc_TS24501IE_MobileIdentity(L3Call& call, const L3Type&, void* value)
{
  Identity& identity = *static_cast<Identity*>(value);
  if (identity.t < TS24501IE_MobileIdentity_t_none || identity.t > TS24501IE_MobileIdentity_t_eui_64)
    return l3EncFailed(call, kIdentity, nullptr, RTX_E_INVALID_CHOICE);
  if (identity.t == TS24501IE_MobileIdentity_t_imei || identity.t == TS24501IE_MobileIdentity_t_imeisv)
    return encDigits(call, identity);
  size_t length = identityLength(identity);
  if (length > UINT16_MAX) return l3FailRange(call, kIdentity.module->encoder, kIdentity.line, length);
  identity.length = static_cast<uint16_t>(length);
  int status = l3EncNamed(call, kIdentity, "length", length, 16, 2);
  if (status < 0) return status;
  status = l3EncNamed(call, kIdentity, "bits+type", firstOctet(identity), 8, 1);
  return status < 0 ? status : encByType(call, identity);
}

// The direct decoder reads the three forms that real traffic has most of: GUTI, S-TMSI and SUCI of an IMSI. `end` is
// narrowed to the identity's region; `outer` is the end around it, for the decoder above, to which all else goes.
size_t l3DirectDec_TS24501IE_MobileIdentity(const L3Source& in, size_t pos, size_t end, void* record)
{
  Identity& identity = *static_cast<Identity*>(record);
  size_t start = pos, outer = end;
  uint64_t length = 0, octet = 0;
  bool framed = l3Take<16>(in, pos, end, length) && l3Open(pos, end, static_cast<size_t>(length) * 8, outer);
  if (!framed || !l3Take<8>(in, pos, end, octet)) return kL3GaveUp;
  identity.length = static_cast<uint16_t>(length);
  identity.t = (octet & 7) + 1U;
  // Are the leading bits those that an encoder writes?
  bool temporary = octet >> 3 >= 30, usual = octet >> 3 == 30;
  if (identity.t == TS24501IE_MobileIdentity_t_guti && temporary) {
    pos = l3DirectDec_TS24501IE_MobileIdentity_GUTI(in, pos, end, &identity.u.guti);
  } else if (identity.t == TS24501IE_MobileIdentity_t_stmsi && temporary) {
    pos = l3DirectDec_TS24501IE_MobileIdentity_STMSI(in, pos, end, &identity.u.stmsi);
  } else if (identity.t == TS24501IE_MobileIdentity_t_suci && (octet >> 4 & 7) == 0) {
    identity.u.suci.t = TS24501IE_MobileIdentity_SUCI_t_supiImsi;
    usual = octet >> 3 == 0;
    pos = l3DirectDec_TS24501IE_MobileIdentity_SUCI_IMSI(in, pos, end, &identity.u.suci.u.supiImsi);
  } else {
    return l3DirectType(in, start, outer, l3_TS24501IE_MobileIdentity, record);
  }
  // Octets behind the identity are passed over, or kept by the walk where they are asked for.
  if ((pos != end || !usual) && l3DirectKeeps(in)) return kL3GaveUp;
  return pos == kL3GaveUp ? pos : end;
}

// The direct encoder writes the same three; the others go to the encoder above.
size_t l3DirectEnc_TS24501IE_MobileIdentity(L3Sink& out, size_t pos, void* record)
{
  Identity& identity = *static_cast<Identity*>(record);
  bool suci =
      identity.t == TS24501IE_MobileIdentity_t_suci && identity.u.suci.t == TS24501IE_MobileIdentity_SUCI_t_supiImsi;
  size_t length = identityLength(identity);
  if (length > UINT16_MAX ||
      !(identity.t == TS24501IE_MobileIdentity_t_guti || identity.t == TS24501IE_MobileIdentity_t_stmsi || suci))
    return l3DirectPutType(out, pos, l3_TS24501IE_MobileIdentity, record);
  identity.length = static_cast<uint16_t>(length);
  if (!l3Put<24>(out.data, pos, out.end, length << 8 | firstOctet(identity))) return kL3GaveUp;
  if (identity.t == TS24501IE_MobileIdentity_t_guti)
    return l3DirectEnc_TS24501IE_MobileIdentity_GUTI(out, pos, &identity.u.guti);
  if (identity.t == TS24501IE_MobileIdentity_t_stmsi)
    return l3DirectEnc_TS24501IE_MobileIdentity_STMSI(out, pos, &identity.u.stmsi);
  pos = l3DirectEnc_TS24501IE_MobileIdentity_SUCI_IMSI(out, pos, &identity.u.suci.u.supiImsi);
  out.tail = false; // the length in front bounds the tail
  return pos;
}

// An entry of a list of tracking areas, or of service areas (9.11.3.49), whose first bit is the allowed type.
int l3Dec_TS24501IE_TrackingAreaIdentListItem(L3Call& call, const L3Type&, void* value)
{
  static constexpr TrackingAreaTypes types = {l3_TS24501IE_TrackingAreaIdentListItem, l3_TS24501IE_PartialTrkAreaIdent0,
                                              l3_TS24501IE_PartialTrkAreaIdent1, l3_TS24501IE_TrackingAreaCode,
                                              l3_TS24501IE_TrackingAreaIdent};
  return decTrackingItem(call, types, *static_cast<TS24501IE_TrackingAreaIdentListItem*>(value));
}

int l3Enc_TS24501IE_TrackingAreaIdentListItem(L3Call& call, const L3Type& type, void* value)
{
  return encTrackingItem(call, type, *static_cast<TS24501IE_TrackingAreaIdentListItem*>(value));
}

static constexpr DirectTracking<TS24501IE_TrackingAreaIdentListItem> kTracking = {
    {l3DirectDec_TS24501IE_PartialTrkAreaIdent0, l3DirectDec_TS24501IE_PartialTrkAreaIdent1,
     l3DirectDec_TS24501IE_PartialTrkAreaIdent2},
    {l3DirectEnc_TS24501IE_PartialTrkAreaIdent0, l3DirectEnc_TS24501IE_PartialTrkAreaIdent1,
     l3DirectEnc_TS24501IE_PartialTrkAreaIdent2}};

size_t l3DirectDec_TS24501IE_TrackingAreaIdentListItem(const L3Source& in, size_t pos, size_t end, void* record)
{
  return directTrackingItem(kTracking, in, pos, end, *static_cast<TS24501IE_TrackingAreaIdentListItem*>(record));
}

size_t l3DirectEnc_TS24501IE_TrackingAreaIdentListItem(L3Sink& out, size_t pos, void* record)
{
  return directPutTrackingItem(kTracking, out, pos, *static_cast<TS24501IE_TrackingAreaIdentListItem*>(record));
}

// The SUCI in a relay key request by the standard (TS 24.501, 9.11.3.89): a length of two octets and the first octet of
// a mobile identity stand before it, 00 00 0D 01 and 12 octets, where the rows have 00 and the 12. By hand because a
// second row can have a length of its own, but not a length with an octet of a fixed value behind it. With `ruit` 1 the
// identity is a PRUK identity, the same in both.
static constexpr unsigned kIdentityRow = 2;
static constexpr uint8_t kSuciOctet = 1; // IMSI as SUPI format, SUCI as type

// Another identity than a SUCI of an IMSI fails with -9, one shorter or longer than its length with -66.
int l3Dec_TS24501IE_RemoteUEIdentity_standard(L3Call& call, const L3Type& type, void* value)
{
  const auto& identity = *static_cast<const TS24501IE_RemoteUEIdentity*>(value);
  uint16_t length = 0;
  uint8_t octet = 0;
  L3Region region;
  int status = l3DecRows(call, l3Slice(type, 0, kIdentityRow), value);
  if (status < 0) return status;
  if (identity.ruit) return l3DecRows(call, l3Slice(type, kIdentityRow, 1), value);
  status = l3DecNamed(call, type, "length", reinterpret_cast<uint8_t*>(&length), 16, 2);
  if (status < 0) return status;
  if (status = l3PushRegion(call, region, length, false); status < 0) return l3DecFailed(call, type, nullptr, status);
  size_t end = l3BitPos(call.pctxt) + size_t{length} * 8;
  if (status = l3DecNamed(call, type, "identity", &octet, 8, 1); status < 0) return status;
  if (octet != kSuciOctet) return l3DecFailed(call, type, "identity", RTX_E_INVALID_CHOICE);
  if (status = l3DecRows(call, l3Slice(type, kIdentityRow, 1), value); status < 0) return status;
  if (l3BitPos(call.pctxt) != end) return l3DecFailed(call, type, nullptr, RTX_E_BAD_LENGTH);
  l3PopRegion(call);
  return 0;
}

// The length is written as 0 and patched once the identity stands behind it.
int l3Enc_TS24501IE_RemoteUEIdentity_standard(L3Call& call, const L3Type& type, void* value)
{
  int status = l3EncRows(call, l3Slice(type, 0, kIdentityRow), value);
  if (status < 0) return status;
  if (static_cast<const TS24501IE_RemoteUEIdentity*>(value)->ruit)
    return l3EncRows(call, l3Slice(type, kIdentityRow, 1), value);
  status = l3EncNamed(call, type, "length", 0, 16, 2);
  size_t start = l3BitPos(call.pctxt);
  if (status >= 0) status = l3EncNamed(call, type, "identity", kSuciOctet, 8, 1);
  if (status >= 0) status = l3EncRows(call, l3Slice(type, kIdentityRow, 1), value);
  if (status < 0) return status;
  call.pctxt->flags &= ~RTX_OPENTAIL_FLAG; // the length in front bounds the tail
  size_t octets = (l3BitPos(call.pctxt) - start) / 8;
  if (octets > UINT16_MAX) return l3FailRange(call, type.module->encoder, type.line, octets);
  status = l3PatchLength(call, start, 16, static_cast<uint32_t>(octets));
  return status < 0 ? l3EncFailed(call, type, nullptr, status) : 0;
}
