// The top-level form of TS 24.501: all 5GS NAS messages. The engine calls the coders here for NASDec_TS24501Msg_PDU and
// NASEnc_TS24501Msg_PDU. By hand because the decoder looks ahead, verifies and deciphers before the plain part is read,
// and the encoder ciphers, signs and back-patches behind it (TS 24.501, 4.4.3); the plain part itself is the rows'.
// Keys and counts are the context's; deciphering changes the caller's buffer.
//
//   7E 00 5B 01                         mobility management, plain, identity request
//   7E 02 11223344 05 7E 00 5B 01       header type 2: code of 4 octets, sequence number, ciphered message
//   2E 01 00 C1                         session management: never with a security header of its own
#include "L3Descriptors.h"
#include "rt3gppsrc/engine/l3Decode.h"
#include "rt3gppsrc/engine/l3Encode.h"
#include "src2/NamedParts.h"
#include "src2/NasProtection.h"
#include "velnor3gpp/TS24501Msgs.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxDiagBitTrace.h"

static constexpr const L3Type& kPdu = l3_TS24501Msg_PDU;
static constexpr int kSession = 46, kMobility = 126;
// Octets from the start of the message: code, sequence number with all that the code covers, ciphered part.
static constexpr NasSpans kSpans = {2, 6, 7};

// Discriminator and security header type of the first two octets, of which `left` are there. False, where something is
// wrong with them, leaves them to the decoders of the rows, which report it.
static bool seesHeader(const uint8_t* octets, size_t left, TS24501Msg_NAS5GSecProtMsgHdr& header)
{
  if (left < 2) return false;
  if (octets[0] == kSession) {
    header.protoDiscr = TS24501Msg_NAS5GProtoDiscr_sessMgmt5G;
    return true;
  }
  unsigned type = octets[1] & 15;
  if (octets[0] != kMobility || type > TS24501Msg_NAS5GSecHdrType_integProtAndCipherAnd5GSecCtxt) return false;
  header.protoDiscr = TS24501Msg_NAS5GProtoDiscr_mobMgmt5G;
  header.secHdrType = static_cast<TS24501Msg_NAS5GSecHdrType>(type);
  return true;
}

// The same at the cursor, which stays where it is.
static bool seesHeader(const RtxBuffer& buffer, TS24501Msg_NAS5GSecProtMsgHdr& header)
{
  if (buffer.bitOffset != 8 || buffer.byteIndex > buffer.size) return false;
  return seesHeader(buffer.data + buffer.byteIndex, buffer.size - buffer.byteIndex, header);
}

// Reads discriminator and security header type into the record and steps back, with the trace off, so that no field is
// traced twice. A failure is final: an unknown discriminator (-4) leaves nothing to decode.
static int lookAhead(L3Call& call, TS24501Msg_NAS5GSecProtMsgHdr& header)
{
  RtxContext* pctxt = call.pctxt;
  if (call.plain() && seesHeader(pctxt->buffer, header)) return 0;
  rtxDiagSetBitFldDisabled(pctxt->pBitFldList, 1);
  NasPosition position = nasPosition(pctxt);
  int status = l3DecType(call, l3_TS24501Msg_NAS5GProtoDiscr, &header.protoDiscr);
  if (status >= 0 && header.protoDiscr == kMobility) {
    uint8_t spare = 0;
    status = l3DecBits(call, &spare, 4, 1, "INTEGER");
    if (status >= 0) status = l3DecType(call, l3_TS24501Msg_NAS5GSecHdrType, &header.secHdrType);
  }
  if (status < 0) return l3DecFailed(call, kPdu, nullptr, status);
  nasReturn(pctxt, position);
  rtxDiagSetBitFldDisabled(pctxt->pBitFldList, 0);
  return 0;
}

// Reads the security header, verifies the message and deciphers it if it is of type 2 or 4. The octets behind are then
// plain and are read by the rows like any others.
static int decSecurity(L3Call& call, const L3Type& type, TS24501Msg_PDU& pdu)
{
  size_t start = call.pctxt->buffer.byteIndex;
  int status = decPart(call, kPdu, "secHdr", l3_TS24501Msg_NAS5GSecProtMsgHdr, &pdu.secHdr);
  if (status < 0) return status;
  pdu.m.secHdrPresent = 1;
  nasVerify(call, type, start + kSpans.signedFrom, pdu.secHdr.msgAuthCode);
  return nasIsCiphered(pdu.secHdr.secHdrType) ? nasDecipher(call, type, start + kSpans.cipheredFrom) : 0;
}

// Two functions for the fast way (l3Plain): may these octets, or this record, be coded by the rows alone? Decoding sets
// the header members of the record as lookAhead leaves them.
static bool decodesPlain(const uint8_t* octets, size_t left, void* record)
{
  auto& header = static_cast<TS24501Msg_PDU*>(record)->secHdr;
  return seesHeader(octets, left, header) && (header.protoDiscr == kSession || header.secHdrType == 0);
}

static bool encodesPlain(const void* record)
{
  return !static_cast<const TS24501Msg_PDU*>(record)->m.secHdrPresent;
}

extern const L3Plain l3Plain_TS24501Msg_PDU = {decodesPlain, nullptr, encodesPlain};

// Decodes any message. A wrong code is a finding that does not stop the plain part, but the call ends with its status.
int l3Dec_TS24501Msg_PDU(L3Call& call, const L3Type& type, void* value)
{
  TS24501Msg_PDU& pdu = *static_cast<TS24501Msg_PDU*>(value);
  pdu.m = {};
  int status = lookAhead(call, pdu.secHdr);
  bool isProtected = status >= 0 && pdu.secHdr.protoDiscr == kMobility && pdu.secHdr.secHdrType != 0;
  if (isProtected) status = decSecurity(call, type, pdu);
  if (status < 0) {
    l3InitRest(type, 0, value);
    return status;
  }
  status = l3DecRows(call, type, value);
  pdu.m.secHdrPresent = isProtected; // the walk over the rows cleared it
  if (status >= 0 && isProtected) status = nasKeepRest(call, type, value);
  if (status < 0) return status;
  return call.pctxt->errInfo.count ? l3Ended(call, rtxErrGetStatus(call.pctxt)) : 0;
}

// Encodes any message. Without a security header in the record it goes out plain.
int l3Enc_TS24501Msg_PDU(L3Call& call, const L3Type& type, void* value)
{
  TS24501Msg_PDU& pdu = *static_cast<TS24501Msg_PDU*>(value);
  size_t start = call.pctxt->buffer.byteIndex;
  bool header = pdu.m.secHdrPresent && pdu.secHdr.protoDiscr == kMobility && pdu.secHdr.secHdrType != 0;
  int status = 0;
  if (header) status = encPart(call, kPdu, "secHdr", l3_TS24501Msg_NAS5GSecProtMsgHdr, &pdu.secHdr);
  if (status < 0) return status;
  bool known;
  status = nasEncodePlain(call, type, value, known);
  if (status < 0) return status;
  // The presence bit alone decides about signing, whatever discriminator and header type say: a record with a header of
  // type 0 gets no header, but its code is written over octets 2 to 5 all the same. A message number that the form does
  // not have (`known` false) is no failure here.
  if (pdu.m.secHdrPresent) return nasProtect(call, type, start, kSpans, pdu.secHdr.secHdrType, pdu.secHdr.msgAuthCode);
  return known ? status : l3Ended(call, RTX_E_INVALID_CHOICE);
}
