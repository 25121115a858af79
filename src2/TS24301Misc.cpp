// Elements and a message of TS 24.301 that rows cannot say:
//   - the mobile identity (9.9.3.12), because the digits of an IMSI or IMEI begin inside its first octet;
//   - the entries of a list of tracking areas (9.9.3.33), because their counts stand outside of them
//   (TrackingAreaItem.h);
//   - the detach request (8.2.11), because the context and not the octets tells its direction.
// The engine and direct coders call what is defined here. All values lie in the caller's record, but for tracking areas
// of several networks, which are on the context's heap.
//
//   0B F6 62 F2 24 00 01 02 03 04 05 06   1111 0 110: filler, type 6, a GUTI of network 262 42
//   08 29 26 24 00 00 00 00 10            0010 1 001: first digit 2, odd count of digits, type 1, an IMSI
#include <cstring>

#include "L3Descriptors.h"
#include "rt3gppsrc/engine/l3Direct.h"
#include "rt3gppsrc/engine/l3Engine.h"
#include "src2/MobileIdentityDigits.h"
#include "src2/NamedParts.h"
#include "src2/TrackingAreaItem.h"
#include "velnor3gpp/TS24301IES.h"
#include "velnor3gpp/TS24301Msgs.h"

using Identity = TS24301IE_EPSMobileIdentity;
static constexpr const L3Type& kIdentity = l3_TS24301IE_EPSMobileIdentity;

static constexpr uint8_t kGutiOctets = 11;

// The odd flag is a member of the record, also of a GUTI, where it says nothing.
static int decOddEven(L3Call& call, uint8_t& odd)
{
  L3Name frame;
  l3PushName(call, frame, "oddEvenInd");
  return endDecPart(call, kIdentity, "oddEvenInd", l3DecBits(call, &odd, 1, 1, "BOOLEAN"));
}

// What follows the first octet. The upper half-octet, `filler`, is the first digit of an IMSI or IMEI. Other types than
// 1 and 3 come here as GUTI only, because the decoder of typeOfIdent refuses what is not 1, 3 or 6.
static int decByType(L3Call& call, Identity& identity)
{
  const L3Type& guti = l3_TS24301IE_EPSMobileIdentity_GUTI;
  uint8_t length = identity.length, odd = identity.oddEvenInd, digit1 = identity.filler;
  auto& u = identity.u;
  switch (identity.typeOfIdent) {
    case TS24301IE_EPSMobileIdentity_typeOfIdent_imsi:
      identity.t = TS24301IE_EPSMobileIdentity_t_imsi;
      return decIdentityDigits(call, kIdentity, "imsi", length, odd, digit1, u.imsi, sizeof u.imsi);
    case TS24301IE_EPSMobileIdentity_typeOfIdent_imei:
      identity.t = TS24301IE_EPSMobileIdentity_t_imei;
      return decIdentityDigits(call, kIdentity, "imei", length, odd, digit1, u.imei, sizeof u.imei);
    default:
      identity.t = TS24301IE_EPSMobileIdentity_t_guti;
      return decPart(call, kIdentity, "guti", guti, &u.guti);
  }
}

// The first octet and what follows. 00 F6, an identity of length 0, ends with -66 before its odd flag; the test stands
// between half-octet and flag because callers know where such an identity fails.
static int decInside(L3Call& call, Identity& identity, size_t end)
{
  int status = l3DecNamed(call, kIdentity, "filler", &identity.filler, 4, 1);
  if (status < 0) return status;
  if (l3BitPos(call.pctxt) > end) return l3DecFailed(call, kIdentity, nullptr, RTX_E_BAD_LENGTH);
  if (status = decOddEven(call, identity.oddEvenInd); status < 0) return status;
  const L3Type& type = l3_TS24301IE_EPSMobileIdentity_typeOfIdent;
  status = decPart(call, kIdentity, "typeOfIdent", type, &identity.typeOfIdent);
  return status < 0 ? status : decByType(call, identity);
}

// `t` is cleared first, so that a cut identity has no form and can be printed.
int l3Dec_TS24301IE_EPSMobileIdentity(L3Call& call, const L3Type&, void* value)
{
  Identity& identity = *static_cast<Identity*>(value);
  identity.t = 0;
  return decIdentity(call, kIdentity, identity.length, kGutiOctets,
                     [&](size_t end) { return decInside(call, identity, end); });
}

// The digit forms write length and first octet themselves; length, odd flag and first digit of the record are set to
// what is written, so that record and octets agree afterwards. An array without an ending zero is refused (-16).
static int encDigits(L3Call& call, Identity& identity, const char* name, const char* digits)
{
  size_t count = strnlen(digits, sizeof identity.u.imsi);
  if (count == sizeof identity.u.imsi) return l3FailRange(call, kIdentity.module->encoder, kIdentity.line, count);
  identity.length = static_cast<uint8_t>(count / 2 + 1);
  identity.oddEvenInd = count & 1;
  identity.filler = digits[0] >= '0' && digits[0] <= '9' ? static_cast<uint8_t>(digits[0] - '0') : identity.filler;
  return encIdentityDigits(call, kIdentity, name, static_cast<uint8_t>(identity.typeOfIdent), digits);
}

// Writes a GUTI by its parts. `filler` goes out as it stands: 1111 in a GUTI that was decoded.
static int encGuti(L3Call& call, Identity& identity)
{
  identity.length = kGutiOctets;
  int status = l3EncNamed(call, kIdentity, "length", kGutiOctets, 8, 1);
  if (status < 0) return status;
  status = l3EncNamed(call, kIdentity, "filler", identity.filler, 4, 1);
  if (status < 0) return status;
  L3Name frame;
  l3PushName(call, frame, "oddEvenInd");
  status = endEncPart(call, kIdentity, "oddEvenInd", l3EncBits(call, identity.oddEvenInd != 0, 1, "BOOLEAN"));
  if (status < 0) return status;
  const L3Type& type = l3_TS24301IE_EPSMobileIdentity_typeOfIdent;
  status = encPart(call, kIdentity, "typeOfIdent", type, &identity.typeOfIdent);
  if (status < 0) return status;
  return encPart(call, kIdentity, "guti", l3_TS24301IE_EPSMobileIdentity_GUTI, &identity.u.guti);
}

// The type of identity selects the form here, not `t`: they are set together, and the type is what goes out.
int l3Enc_TS24301IE_EPSMobileIdentity(L3Call& call, const L3Type&, void* value)
{
  Identity& identity = *static_cast<Identity*>(value);
  switch (identity.typeOfIdent) {
    case TS24301IE_EPSMobileIdentity_typeOfIdent_imsi:
      return encDigits(call, identity, "imsi", identity.u.imsi);
    case TS24301IE_EPSMobileIdentity_typeOfIdent_imei:
      return encDigits(call, identity, "imei", identity.u.imei);
    case TS24301IE_EPSMobileIdentity_typeOfIdent_guti:
      return encGuti(call, identity);
    default:
      return l3EncFailed(call, kIdentity, nullptr, RTX_E_INVALID_CHOICE);
  }
}

// Length and first octet of a GUTI but for the upper five bits: 0x0B06. 0B F6 masked with FF 07 gives it.
static constexpr uint64_t kGutiLead = kGutiOctets << 8 | TS24301IE_EPSMobileIdentity_typeOfIdent_guti;

// The direct decoder reads the GUTI, which nearly every identity is, and digits. All else goes to the decoder above.
size_t l3DirectDec_TS24301IE_EPSMobileIdentity(const L3Source& in, size_t pos, size_t end, void* record)
{
  Identity& identity = *static_cast<Identity*>(record);
  size_t start = pos;
  uint64_t word = 0;
  if ((pos & 7) || !l3Take<16>(in, pos, end, word)) return kL3GaveUp;
  uint8_t length = static_cast<uint8_t>(word >> 8);
  unsigned type = word & 7;
  bool guti = (word & 0xFF07) == kGutiLead;
  bool imsi = type == TS24301IE_EPSMobileIdentity_typeOfIdent_imsi;
  bool digits = (imsi || type == TS24301IE_EPSMobileIdentity_typeOfIdent_imei) && length && length <= kGutiOctets &&
                length - 1U <= (end - pos) >> 3;
  if (!guti && !digits) return l3DirectType(in, start, end, kIdentity, record);
  identity.length = length;
  identity.filler = word >> 4 & 15;
  identity.oddEvenInd = word >> 3 & 1;
  identity.typeOfIdent = static_cast<decltype(identity.typeOfIdent)>(type);
  identity.t = guti   ? TS24301IE_EPSMobileIdentity_t_guti
               : imsi ? TS24301IE_EPSMobileIdentity_t_imsi
                      : TS24301IE_EPSMobileIdentity_t_imei;
  auto& u = identity.u;
  if (guti) return l3DirectDec_TS24301IE_EPSMobileIdentity_GUTI(in, pos, end, &u.guti);
  return directDigits(in, pos, length, word & 0xFF, imsi ? u.imsi : u.imei, imsi ? sizeof u.imsi : sizeof u.imei);
}

// The direct encoder writes the GUTI only; the encoder above writes the others, inside the trial.
size_t l3DirectEnc_TS24301IE_EPSMobileIdentity(L3Sink& out, size_t pos, void* record)
{
  Identity& identity = *static_cast<Identity*>(record);
  if (identity.typeOfIdent != TS24301IE_EPSMobileIdentity_typeOfIdent_guti || identity.filler > 15)
    return l3DirectPutType(out, pos, l3_TS24301IE_EPSMobileIdentity, record);
  identity.length = kGutiOctets;
  unsigned octet = unsigned{identity.filler} << 4 | (identity.oddEvenInd ? 8U : 0U);
  if (!l3Put<16>(out.data, pos, out.end, kGutiLead | octet)) return kL3GaveUp;
  return l3DirectEnc_TS24301IE_EPSMobileIdentity_GUTI(out, pos, &identity.u.guti);
}

// An entry of a list of tracking areas. EPS has no list of whole networks, so there is no fourth alternative.
int l3Dec_TS24301IE_TrackingAreaIdentListItem(L3Call& call, const L3Type&, void* value)
{
  static constexpr TrackingAreaTypes types = {l3_TS24301IE_TrackingAreaIdentListItem, l3_TS24301IE_PartialTrkAreaIdent0,
                                              l3_TS24301IE_PartialTrkAreaIdent1, l3_TS24301IE_TrackingAreaCode,
                                              l3_TS24301IE_TrackingAreaIdent};
  return decTrackingItem(call, types, *static_cast<TS24301IE_TrackingAreaIdentListItem*>(value));
}

int l3Enc_TS24301IE_TrackingAreaIdentListItem(L3Call& call, const L3Type& type, void* value)
{
  return encTrackingItem(call, type, *static_cast<TS24301IE_TrackingAreaIdentListItem*>(value));
}

static constexpr DirectTracking<TS24301IE_TrackingAreaIdentListItem> kTracking = {
    {l3DirectDec_TS24301IE_PartialTrkAreaIdent0, l3DirectDec_TS24301IE_PartialTrkAreaIdent1,
     l3DirectDec_TS24301IE_PartialTrkAreaIdent2},
    {l3DirectEnc_TS24301IE_PartialTrkAreaIdent0, l3DirectEnc_TS24301IE_PartialTrkAreaIdent1,
     l3DirectEnc_TS24301IE_PartialTrkAreaIdent2}};

size_t l3DirectDec_TS24301IE_TrackingAreaIdentListItem(const L3Source& in, size_t pos, size_t end, void* record)
{
  return directTrackingItem(kTracking, in, pos, end, *static_cast<TS24301IE_TrackingAreaIdentListItem*>(record));
}

size_t l3DirectEnc_TS24301IE_TrackingAreaIdentListItem(L3Sink& out, size_t pos, void* record)
{
  return directPutTrackingItem(kTracking, out, pos, *static_cast<TS24301IE_TrackingAreaIdentListItem*>(record));
}

// The sample is the form from the network, since a context without RTX_FLAG_MOBILE_ORIGINATED, as a new one is, decodes
// that one. False without memory.
bool l3Settle_TS24301Msg_DetachRequest(RtxContext* pctxt, void* value)
{
  auto& request = *static_cast<TS24301Msg_DetachRequest*>(value);
  void* sample = l3Sample(pctxt, l3_TS24301Msg_DetachRequestUETerm);
  if (!sample) return false;
  request.t = TS24301Msg_DetachRequest_t_ueTerm;
  memcpy(&request.u.ueTerm, sample, sizeof request.u.ueTerm);
  return true;
}

// Both directions have message type 0x45 (8.2.11.1, 8.2.11.2): 07 45 01 0B F6 ... from the mobile, 07 45 01 from the
// network. The caller tells the direction by the flag.
int l3Dec_TS24301Msg_DetachRequest(L3Call& call, const L3Type& type, void* value)
{
  auto& request = *static_cast<TS24301Msg_DetachRequest*>(value);
  if (call.pctxt->flags & RTX_FLAG_MOBILE_ORIGINATED) {
    request.t = TS24301Msg_DetachRequest_t_ueOrig;
    return decPart(call, type, "ueOrig", l3_TS24301Msg_DetachRequestUEOrig, &request.u.ueOrig);
  }
  request.t = TS24301Msg_DetachRequest_t_ueTerm;
  return decPart(call, type, "ueTerm", l3_TS24301Msg_DetachRequestUETerm, &request.u.ueTerm);
}

// The encoder goes by `t`, which tells the direction by itself.
int l3Enc_TS24301Msg_DetachRequest(L3Call& call, const L3Type& type, void* value)
{
  auto& request = *static_cast<TS24301Msg_DetachRequest*>(value);
  switch (request.t) {
    case TS24301Msg_DetachRequest_t_ueOrig:
      return encPart(call, type, "ueOrig", l3_TS24301Msg_DetachRequestUEOrig, &request.u.ueOrig);
    case TS24301Msg_DetachRequest_t_ueTerm:
      return encPart(call, type, "ueTerm", l3_TS24301Msg_DetachRequestUETerm, &request.u.ueTerm);
    default:
      return l3EncFailed(call, type, nullptr, RTX_E_INVALID_CHOICE);
  }
}
