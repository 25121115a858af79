// The top-level forms of TS 24.301. By hand because the first half-octet means something else for each discriminator
// behind it, because a service request has no message type and a code of 16 bits, and because the decoder looks ahead,
// verifies and deciphers before the plain part, and the encoder ciphers, signs and back-patches behind it
// (TS 24.301, 4.4 and 9.1); the plain part itself is the engine's.
#include <cstring>

#include "L3Descriptors.h"
#include "rt3gppsrc/engine/l3Decode.h"
#include "rt3gppsrc/engine/l3Direct.h"
#include "rt3gppsrc/engine/l3Encode.h"
#include "rtxsrc/bits/rtxBigEndian.h"
#include "src2/NamedParts.h"
#include "src2/NasProtection.h"
#include "velnor3gpp/TS24301Msgs.h"
#include "velnor3gpp/rt3gppNasSec.h"
#include "velnor3gpp/rtxBitEncode.h"
#include "velnor3gpp/rtxDiagBitTrace.h"
#include "velnor3gpp/rtxMemHeap.h"

static constexpr const L3Type& kPdu = l3_TS24301Msg_PDU;
static constexpr uint8_t kSession = 2, kMobility = 7, kShortMessage = 9;
// Octets from the start of the message: the code, then what it covers, then what is ciphered.
static constexpr NasSpans kSpans = {1, 5, 6};
static constexpr uint8_t kServiceRequestHeader = 12;
static constexpr size_t kServiceRequestSigned = 2; // octets that the short code covers

// The first octet of a message.
struct FirstOctet {
  uint8_t high;          // security header type, bearer identity or transaction identifier
  uint8_t discriminator; // not read for a service request
};

// Decodes some of a form's rows.
static int decSlice(L3Call& call, const L3Type& pdu, unsigned from, unsigned count, void* record)
{
  L3Type slice = l3Slice(pdu, from, count);
  slice.mOctets = 0; // the presence bits are the caller's
  return l3DecRows(call, slice, record);
}

// Gives the first half-octet the meaning that it has under the discriminator.
static void relabel(TS24007L3_L3HdrOptions& options, int discriminator)
{
  uint8_t bits = options.u.skipInd;
  switch (discriminator) {
    case kSession:
      options.t = TS24007L3_L3HdrOptions_t_epsBearerIdent;
      options.u.epsBearerIdent = static_cast<TS24007L3_EPSBearerIdentity>(bits);
      break;
    case kMobility:
      options.t = TS24007L3_L3HdrOptions_t_secHdr;
      options.u.secHdr = bits;
      break;
    case kShortMessage:
      options.t = TS24007L3_L3HdrOptions_t_transId;
      options.u.transId.flag = bits >> 3;
      options.u.transId.value = bits & 7;
      break;
    default:
      break;
  }
}

// The plain part by the direct coder, whose relabelling can wait. It clears the presence bits, which are the caller's.
template <class Pdu> static bool decAtOnce(L3Call& call, const L3Type& type, Pdu& pdu)
{
  uint8_t presence;
  memcpy(&presence, &pdu, sizeof presence);
  bool done = l3DecDirectly(call, type, &pdu);
  if (type.mOctets) memcpy(&pdu, &presence, sizeof presence);
  if (done) relabel(pdu.l3HdrOpts, pdu.protoDiscr);
  return done;
}

// The plain part: header, its new label, and the three rows behind it (transaction identity, type, body).
template <class Pdu> static int decPlain(L3Call& call, const L3Type& type, Pdu& pdu)
{
  if (decAtOnce(call, type, pdu)) return 0;
  unsigned header = type.rowCount - 3U;
  int status = decSlice(call, type, 0, header, &pdu);
  if (status < 0) {
    l3InitRest(type, header, &pdu);
    return status;
  }
  relabel(pdu.l3HdrOpts, pdu.protoDiscr);
  return decSlice(call, type, header, 3, &pdu);
}

int l3Dec_TS24301Msg_PDU_SM(L3Call& call, const L3Type& type, void* value)
{
  return decPlain(call, type, *static_cast<TS24301Msg_PDU_SM*>(value));
}

// The half-octet of a sample, as the decoder will label it.
bool l3Settle_TS24301Msg_PDU_SM(RtxContext*, void* value)
{
  auto& options = static_cast<TS24301Msg_PDU_SM*>(value)->l3HdrOpts;
  options.t = TS24007L3_L3HdrOptions_t_epsBearerIdent;
  options.u.epsBearerIdent = TS24007L3_EPSBearerIdentity_id5;
  return true;
}

bool l3Settle_TS24301Msg_PDU(RtxContext*, void* value)
{
  auto& pdu = *static_cast<TS24301Msg_PDU*>(value);
  pdu.secHdr.secHdrType = TS24007L3_SecHdrType_integProt;
  pdu.secHdr.protoDiscr = kMobility;
  pdu.l3HdrOpts.t = TS24007L3_L3HdrOptions_t_secHdr;
  pdu.l3HdrOpts.u.secHdr = 0;
  return true;
}

// What the short code of a service request is, or false with the failure recorded.
static bool shortCode(L3Call& call, size_t start, uint32_t& code)
{
  const RtxBuffer& buffer = call.pctxt->buffer;
  size_t left = start < buffer.size ? buffer.size - start : 0;
  if (!call.pctxt->pSecurity) l3ToLists(call); // the operation is about to record a failure
  int status = rtx3gppComputeMAC(call.pctxt, buffer.data + start,
                                 left < kServiceRequestSigned ? left : kServiceRequestSigned, &code);
  if (status < 0) l3DecFailed(call, kPdu, nullptr, status);
  code &= 0xFFFF;
  return status >= 0;
}

static void compareShortCode(L3Call& call, const TS24301Msg_ServiceRequest& request, uint32_t computed)
{
  uint32_t received = static_cast<uint32_t>(rtxLoadOctets<2>(request.shortMAC));
  if (received == computed) return;
  rtxErrAddUIntParm(call.pctxt, computed); // the long form has the received code first
  rtxErrAddUIntParm(call.pctxt, received);
  l3Note(call, kPdu.module->decoder, RTX_E_BAD_MAC, kPdu.line);
}

// A header that no octet carries: the form has neither code nor sequence number nor message type in these places.
static void fillServiceRequest(TS24301Msg_PDU& pdu)
{
  pdu.m.secHdrPresent = 1;
  pdu.l3HdrOpts.t = TS24007L3_L3HdrOptions_t_skipInd;
  pdu.l3HdrOpts.u.skipInd = 0;
  pdu.secHdr.secHdrType = TS24007L3_SecHdrType_secHdrForSvcReq;
  pdu.secHdr.protoDiscr = kMobility;
  pdu.secHdr.msgAuthCode = 0;
  pdu.secHdr.seqNumber = 0;
  pdu.protoDiscr = TS24007L3_ProtoDiscr_epsMobMgmt;
  pdu.msgType = 0;
  pdu.data.t = TS24301Msg_PDU_data_t_ServiceRequest;
}

// The type name stays pushed behind a service request, on success as well.
static int endServiceRequest(L3Call& call, int status)
{
  l3ToLists(call);
  call.keepTypeName = true;
  return status;
}

static int decServiceRequest(L3Call& call, TS24301Msg_PDU& pdu, const NasPosition& start)
{
  uint32_t code = 0;
  bool computed = shortCode(call, start.byteIndex, code);
  fillServiceRequest(pdu);
  nasReturn(call.pctxt, start);
  auto* request = static_cast<TS24301Msg_ServiceRequest*>(
      rtxMemHeapAllocZ(&call.pctxt->pMemHeap, sizeof(TS24301Msg_ServiceRequest)));
  pdu.data.u.obj_ServiceRequest = request;
  if (!request) return l3DecFailed(call, kPdu, nullptr, RTX_E_NO_MEMORY);
  int status = l3DecType(call, l3_TS24301Msg_ServiceRequest, request);
  if (status < 0) return l3DecFailed(call, kPdu, nullptr, status);
  if (computed) compareShortCode(call, *request, code);
  return endServiceRequest(call, call.pctxt->errInfo.count ? rtxErrGetStatus(call.pctxt) : 0);
}

// The value of the first half-octet alone decides, whatever the discriminator: bearer identities 12 to 15 go the same
// way, but for the standard's form, where they are what they are.
static bool isServiceRequest(const L3Call& call, const FirstOctet& octet)
{
  bool bearer = call.pctxt->flags & RTX_FLAG_STANDARD_FORMS && octet.discriminator == kSession;
  return octet.high >= kServiceRequestHeader && !bearer;
}

// Reads the first octet without a trace and steps back. With a service request the trace stays off.
static int lookAhead(L3Call& call, const NasPosition& start, FirstOctet& octet)
{
  RtxContext* pctxt = call.pctxt;
  const RtxBuffer& buffer = pctxt->buffer;
  uint64_t first = 0;
  if (call.plain() && buffer.bitOffset == 8 && l3SeeBits(buffer, 8, first)) {
    octet.high = static_cast<uint8_t>(first >> 4);
    octet.discriminator = first & 15;
    return 0;
  }
  rtxDiagSetBitFldDisabled(pctxt->pBitFldList, 1);
  int status = l3DecBits(call, &octet.high, 4, 1, "INTEGER");
  bool standard = pctxt->flags & RTX_FLAG_STANDARD_FORMS;
  if (status >= 0 && octet.high >= kServiceRequestHeader && !standard) return 0;
  if (status >= 0) status = l3DecBits(call, &octet.discriminator, 4, 1, "INTEGER");
  if (status < 0) return l3DecFailed(call, kPdu, nullptr, status);
  if (isServiceRequest(call, octet)) return 0;
  nasReturn(pctxt, start);
  rtxDiagSetBitFldDisabled(pctxt->pBitFldList, 0);
  return 0;
}

// Types 1 to 4 are verified; the partly ciphered 5 is not, though the encoder signs it.
static int decSecurity(L3Call& call, const L3Type& type, TS24301Msg_PDU& pdu, size_t start)
{
  int status = decPart(call, kPdu, "secHdr", l3_TS24007L3_SecProtMsgHeader, &pdu.secHdr);
  if (status < 0) return status;
  pdu.m.secHdrPresent = 1;
  int header = pdu.secHdr.secHdrType;
  if (header >= 1 && header <= 4) nasVerify(call, type, start + kSpans.signedFrom, pdu.secHdr.msgAuthCode);
  return nasIsCiphered(header) ? nasDecipher(call, type, start + kSpans.cipheredFrom) : 0;
}

static bool decodesPlain(const uint8_t* octets, size_t left, void*)
{
  if (!left) return false;
  unsigned high = octets[0] >> 4, low = octets[0] & 15;
  return high < kServiceRequestHeader && (high == 0 || low != kMobility);
}

static void decodedPlain(void* record)
{
  TS24301Msg_PDU& pdu = *static_cast<TS24301Msg_PDU*>(record);
  relabel(pdu.l3HdrOpts, pdu.protoDiscr);
}

static bool encodesPlain(const void* record)
{
  const TS24301Msg_PDU& pdu = *static_cast<const TS24301Msg_PDU*>(record);
  return !pdu.m.secHdrPresent || pdu.secHdr.protoDiscr != kMobility || pdu.secHdr.secHdrType == 0;
}

extern const L3Plain l3Plain_TS24301Msg_PDU = {decodesPlain, decodedPlain, encodesPlain};

int l3Dec_TS24301Msg_PDU(L3Call& call, const L3Type& type, void* value)
{
  TS24301Msg_PDU& pdu = *static_cast<TS24301Msg_PDU*>(value);
  NasPosition start = nasPosition(call.pctxt);
  FirstOctet octet = {0, 0};
  pdu.m.secHdrPresent = 0;
  int status = lookAhead(call, start, octet);
  if (status >= 0 && isServiceRequest(call, octet)) return decServiceRequest(call, pdu, start);
  if (status >= 0 && octet.high != 0 && octet.discriminator == kMobility)
    status = decSecurity(call, type, pdu, start.byteIndex);
  if (status < 0) {
    l3InitRest(type, 0, value);
    return status;
  }
  status = decPlain(call, type, pdu);
  if (status < 0) return status;
  return call.pctxt->errInfo.count ? l3Ended(call, rtxErrGetStatus(call.pctxt)) : 0;
}

// The short code goes into the record and over the two octets just written for it.
static int encServiceRequest(L3Call& call, const L3Type& type, TS24301Msg_PDU& pdu, size_t start)
{
  RtxContext* pctxt = call.pctxt;
  if (int refused = nasRefuseStream(call, type); refused < 0) return refused;
  if (pdu.data.t != TS24301Msg_PDU_data_t_ServiceRequest) return l3EncFailed(call, kPdu, nullptr, RTX_E_INVALID_CHOICE);
  TS24301Msg_ServiceRequest* request = pdu.data.u.obj_ServiceRequest;
  if (!request) return l3EncFailed(call, kPdu, nullptr, RTX_E_NULL_POINTER);
  int status = l3EncType(call, l3_TS24301Msg_ServiceRequest, request);
  if (status < 0) return l3EncFailed(call, kPdu, nullptr, status);
  uint32_t code = 0;
  if (!pctxt->pSecurity) l3ToLists(call);
  status = rtx3gppComputeMAC(pctxt, pctxt->buffer.data + start, kServiceRequestSigned, &code);
  if (status < 0) return l3EncFailed(call, kPdu, nullptr, status);
  rtxStoreOctets<2>(request->shortMAC, code);
  pctxt->buffer.byteIndex -= sizeof request->shortMAC;
  status = rtxEncBits(pctxt, code & 0xFFFF, 16);
  if (status < 0) return l3EncFailed(call, kPdu, nullptr, status);
  return endServiceRequest(call, status);
}

int l3Enc_TS24301Msg_PDU(L3Call& call, const L3Type& type, void* value)
{
  TS24301Msg_PDU& pdu = *static_cast<TS24301Msg_PDU*>(value);
  size_t start = call.pctxt->buffer.byteIndex;
  int header = pdu.m.secHdrPresent && pdu.secHdr.protoDiscr == kMobility ? pdu.secHdr.secHdrType : 0;
  if (header == kServiceRequestHeader) return encServiceRequest(call, type, pdu, start);
  int status = 0;
  if (header != 0) status = encPart(call, kPdu, "secHdr", l3_TS24007L3_SecProtMsgHeader, &pdu.secHdr);
  if (status < 0) return status;
  bool known;
  status = nasEncodePlain(call, type, value, known);
  if (status < 0) return status;
  // A body left out is forgotten once the message is signed.
  if (header != 0) return nasProtect(call, type, start, kSpans, header, pdu.secHdr.msgAuthCode);
  return known ? status : l3Ended(call, RTX_E_INVALID_CHOICE);
}
