// The top-level forms of TS 24.301: all EPS NAS messages, and the session message inside a mobility message (PDU_SM).
// The engine calls the coders here for NASDec_TS24301Msg_PDU and its like. By hand because
//   - the first half-octet means something else for each discriminator behind it (TS 24.301, 9.1 and 9.3);
//   - a service request has no message type and a code of 16 bits (8.2.25, 9.9.3.28);
//   - the decoder looks ahead, verifies and deciphers before the plain part, and the encoder ciphers, signs and
//     back-patches behind it (4.4.3).
// The plain part itself is the rows'. Keys and counts are the context's; deciphering changes the caller's buffer.
//
//   07 41 ...                 0 and 7: plain mobility management, attach request
//   52 00 C1 ...              bearer 5, discriminator 2: session management, transaction 0
//   27 code 05 07 42 ...      header type 2: code of 4 octets, sequence number, ciphered message
//   C7 02 CD 24               header type 12: service request, key set and sequence number, code CD24
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
// Octets from the start of the message: code, sequence number with all that the code covers, ciphered part.
static constexpr NasSpans kSpans = {1, 5, 6};
static constexpr uint8_t kServiceRequestHeader = 12;
static constexpr size_t kServiceRequestSigned = 2; // octets that the short code covers

// The first octet of a message.
struct FirstOctet {
  uint8_t high;          // security header type, bearer identity or transaction identifier
  uint8_t discriminator; // not read for a service request
};

// Decodes `count` of a form's rows, from row `from` on. The presence bits stay as they are,
// since the caller has set some.
static int decSlice(L3Call& call, const L3Type& pdu, unsigned from, unsigned count, void* record)
{
  L3Type slice = l3Slice(pdu, from, count);
  slice.mOctets = 0; // the presence bits are the caller's
  return l3DecRows(call, slice, record);
}

// Gives the first half-octet the meaning that it has under the discriminator. The decoder of the half-octet could not
// know it (TS24007Misc.cpp) and left it as `skipInd`: of 52 it is 5, which becomes EPS bearer identity 5.
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

// The plain part by the direct coder; the half-octet gets its label afterwards, because no message looks at it. The
// direct coder clears the presence bits, of which the caller has set that of the security header: they are put back.
template <class Pdu> static bool decAtOnce(L3Call& call, const L3Type& type, Pdu& pdu)
{
  uint8_t presence;
  memcpy(&presence, &pdu, sizeof presence);
  bool done = l3DecDirectly(call, type, &pdu);
  if (type.mOctets) memcpy(&pdu, &presence, sizeof presence);
  if (done) relabel(pdu.l3HdrOpts, pdu.protoDiscr);
  return done;
}

// The plain part by the rows, if not at once. The label has to stand before the rows behind the header (transaction
// identity, type, body) are read, so that a cut message prints its bearer identity.
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

// A session message inside an attach request or accept: no header of its own.
int l3Dec_TS24301Msg_PDU_SM(L3Call& call, const L3Type& type, void* value)
{
  return decPlain(call, type, *static_cast<TS24301Msg_PDU_SM*>(value));
}

// Gives the sample of a session message a half-octet as the decoder will label it; the rows
// would make a skip indicator.
bool l3Settle_TS24301Msg_PDU_SM(RtxContext*, void* value)
{
  auto& options = static_cast<TS24301Msg_PDU_SM*>(value)->l3HdrOpts;
  options.t = TS24007L3_L3HdrOptions_t_epsBearerIdent;
  options.u.epsBearerIdent = TS24007L3_EPSBearerIdentity_id5;
  return true;
}

// The sample has a security header of type 1, for which decoders verify and do not decipher.
bool l3Settle_TS24301Msg_PDU(RtxContext*, void* value)
{
  auto& pdu = *static_cast<TS24301Msg_PDU*>(value);
  pdu.secHdr.secHdrType = TS24007L3_SecHdrType_integProt;
  pdu.secHdr.protoDiscr = kMobility;
  pdu.l3HdrOpts.t = TS24007L3_L3HdrOptions_t_secHdr;
  pdu.l3HdrOpts.u.secHdr = 0;
  return true;
}

// Computes the code that a service request should have, over its first two octets: the lower 16 bits of the code of 32
// (TS 24.301, 9.9.3.28). False without keys, with the failure recorded; decoding goes on.
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

// Records a wrong code (-70) as a fatal finding that does not stop the decoding.
static void compareShortCode(L3Call& call, const TS24301Msg_ServiceRequest& request, uint32_t computed)
{
  uint32_t received = static_cast<uint32_t>(rtxLoadOctets<2>(request.shortMAC));
  if (received == computed) return;
  rtxErrAddUIntParm(call.pctxt, computed); // the long form has the received code first
  rtxErrAddUIntParm(call.pctxt, received);
  l3Note(call, kPdu.module->decoder, RTX_E_BAD_MAC, kPdu.line);
}

// Fills the header of the record, which no octet carries: in place of code, sequence number and message type the form
// has key set and sequence number (KSI, 3 and 5 bits) and the short code.
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

// Ends a service request. The type name stays on the stack, on success as well: callers that look at the stacks have
// seen it so from the start.
static int endServiceRequest(L3Call& call, int status)
{
  l3ToLists(call);
  call.keepTypeName = true;
  return status;
}

// C7 02 CD 24. The code is computed before the octets are read, because a failure to compute it is recorded first. The
// message lies on the context's heap. The status is that of the findings, if there are any.
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

// The value of the first half-octet alone decides, whatever the discriminator: C2 00 CD 24, a session message of bearer
// 12, goes the same way. With RTX_FLAG_STANDARD_FORMS it is the session message that it says it is (TS 24.007,
// 11.2.3.1.5 has bearer identities up to 15).
static bool isServiceRequest(const L3Call& call, const FirstOctet& octet)
{
  bool bearer = call.pctxt->flags & RTX_FLAG_STANDARD_FORMS && octet.discriminator == kSession;
  return octet.high >= kServiceRequestHeader && !bearer;
}

// Reads the first octet, if possible without moving the cursor, and otherwise without a trace and stepping back. With a
// service request the trace stays off and the cursor behind the half-octet; decServiceRequest steps back.
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
  // The upper half-octet alone tells a service request, unless the standard's forms ask for the discriminator too.
  bool standard = pctxt->flags & RTX_FLAG_STANDARD_FORMS;
  if (status >= 0 && octet.high >= kServiceRequestHeader && !standard) return 0;
  if (status >= 0) status = l3DecBits(call, &octet.discriminator, 4, 1, "INTEGER");
  if (status < 0) return l3DecFailed(call, kPdu, nullptr, status);
  if (isServiceRequest(call, octet)) return 0;
  nasReturn(pctxt, start);
  rtxDiagSetBitFldDisabled(pctxt->pBitFldList, 0);
  return 0;
}

// Reads the security header, verifies and deciphers. Types 1 to 4 are verified. Type 5, partly ciphered, is not, though
// the encoder signs it: see the warning in rt3gppNasSec.h.
static int decSecurity(L3Call& call, const L3Type& type, TS24301Msg_PDU& pdu, size_t start)
{
  int status = decPart(call, kPdu, "secHdr", l3_TS24007L3_SecProtMsgHeader, &pdu.secHdr);
  if (status < 0) return status;
  pdu.m.secHdrPresent = 1;
  int header = pdu.secHdr.secHdrType;
  if (header >= 1 && header <= 4) nasVerify(call, type, start + kSpans.signedFrom, pdu.secHdr.msgAuthCode);
  return nasIsCiphered(header) ? nasDecipher(call, type, start + kSpans.cipheredFrom) : 0;
}

// Three functions for the fast way (l3Plain): may these octets, or this record, be coded by the rows alone? Octets may
// if they begin with neither a service request nor a security header; a relabelled half-octet is all they need.
static bool decodesPlain(const uint8_t* octets, size_t left, void*)
{
  if (!left) return false;
  unsigned high = octets[0] >> 4, low = octets[0] & 15;
  return high < kServiceRequestHeader && (high == 0 || low != kMobility);
}

template <class Pdu> static bool decodedPlain(void* record)
{
  Pdu& pdu = *static_cast<Pdu*>(record);
  relabel(pdu.l3HdrOpts, pdu.protoDiscr);
  return true;
}

static bool encodesPlain(const void* record)
{
  const TS24301Msg_PDU& pdu = *static_cast<const TS24301Msg_PDU*>(record);
  return !pdu.m.secHdrPresent || pdu.secHdr.protoDiscr != kMobility || pdu.secHdr.secHdrType == 0;
}

extern const L3Plain l3Plain_TS24301Msg_PDU = {decodesPlain, decodedPlain<TS24301Msg_PDU>, encodesPlain};
extern const L3Plain l3Plain_TS24301Msg_PDU_SM = {nullptr, decodedPlain<TS24301Msg_PDU_SM>, nullptr};

// Decodes any message: look ahead, then the header of a protected one, then the plain part. Findings of the header do
// not stop the plain part, but the call ends with their status. 7 in the lower half with 0 in the upper is plain.
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
  if (status >= 0 && pdu.m.secHdrPresent) status = nasKeepRest(call, type, value);
  if (status < 0) return status;
  return call.pctxt->errInfo.count ? l3Ended(call, rtxErrGetStatus(call.pctxt)) : 0;
}

// Writes a service request, computes the code over its first two octets, and puts it into the record and over the two
// octets just written for it.
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
  // What was kept may stand behind the code.
  NasPosition end = nasPosition(pctxt);
  pctxt->buffer.byteIndex = start + kServiceRequestSigned;
  status = rtxEncBits(pctxt, code & 0xFFFF, 16);
  if (status < 0) return l3EncFailed(call, kPdu, nullptr, status);
  nasReturn(pctxt, end);
  return endServiceRequest(call, status);
}

// Encodes any message. A security header is written if the record has one of mobility management with a type other than
// 0; anything else in the header of the record is passed over, and the message goes out plain.
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
  // A message number that the form does not have (`known` false) is no failure here: the header alone is signed and
  // goes out.
  if (header != 0) return nasProtect(call, type, start, kSpans, header, pdu.secHdr.msgAuthCode);
  return known ? status : l3Ended(call, RTX_E_INVALID_CHOICE);
}
