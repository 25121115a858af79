// The top-level form of TS 24.008 (call control, mobility management, GMM, session management) and one of its messages.
// The engine calls these coders for NASDec_TS24008Msg_PDU and NASEnc_TS24008Msg_PDU. By hand for three reasons (TS
// 24.007, 11.2.3):
//   - the first half-octet is a skip indicator or a transaction identifier by the discriminator *behind* it;
//   - a transaction identifier of 7 goes on in an octet of its own;
//   - the message type shares its octet with a sequence number under some discriminators only.
// Only these two or three octets are read here; the messages are the rows', but for the last element of a detach
// accept.
//
//   05 18            skip indicator 0, discriminator 5 (mobility management), identity request
//   73 FF 45 ...     transaction 7, so look behind 3 (call control): FF = 1 1111111, transaction 127; 45 = 01 000101,
//                    sequence number 1, setup
#include <cstring>

#include "L3Descriptors.h"
#include "rt3gppsrc/engine/l3Direct.h"
#include "rt3gppsrc/engine/l3Kept.h"
#include "src2/NamedParts.h"
#include "src2/NasProtection.h"
#include "velnor3gpp/TS24008Msgs.h"
#include "velnor3gpp/rtxBitDecode.h"

static constexpr const L3Type& kPdu = l3_TS24008Msg_PDU;
// Three bits of 1: the value stands in the octet behind, of which it takes seven (TS 24.007, 11.2.3.1.3).
static constexpr uint8_t kExtended = 7;

// Call control and session management have a transaction identifier, all others a skip indicator.
static bool hasTransId(int discriminator)
{
  return discriminator == TS24007L3_ProtoDiscr_callCtrl || discriminator == TS24007L3_ProtoDiscr_sessMgmt;
}

// Under these discriminators the upper two bits of the type octet are a sequence number (TS 24.007, 11.2.3.2). Session
// management and GMM need all eight bits: 0x45 is a message of session management of its own.
static bool hasSequence(int discriminator)
{
  return discriminator == TS24007L3_ProtoDiscr_callCtrl || discriminator == TS24007L3_ProtoDiscr_mobMgmt;
}

// Takes the sequence number off the type: 0x45 is setup, 5, with number 1. Number 0 gets no presence bit, because most
// messages have it, and it is written as 0 again.
static void splitType(TS24008Msg_PDU& pdu)
{
  if (!hasSequence(pdu.protoDiscr)) return;
  pdu.sendSeqNum = pdu.msgType >> 6;
  pdu.m.sendSeqNumPresent = pdu.sendSeqNum != 0;
  pdu.msgType &= 0x3F;
}

// `skipInd` holds the half-octet as decHeader has read it, before the discriminator was known. Of call control 0x73 it
// is 0111: flag 0, and 7 for "look behind the discriminator".
static int decTransId(L3Call& call, TS24008Msg_PDU& pdu)
{
  uint8_t half = pdu.l3HdrOpts.skipInd; // read it first: the flag lies at the same place of the union
  auto& transId = pdu.l3HdrOpts.transId;
  transId.flag = half >> 3;
  if ((half & 7) != kExtended) {
    transId.value = half & 7;
    return 0;
  }
  L3Name frame;
  uint8_t ext;
  call.doubtful = true; // an encoder may write it in another way, or not at all
  l3PushName(call, frame, "transId");
  int status = l3DecBits(call, &ext, 1, 1, "ext bit");
  if (status >= 0) status = l3DecBits(call, &transId.value, 7, 1, "INTEGER");
  return endDecPart(call, l3_TS24008Msg_PDU_transId, "value", status);
}

// The encoder looks at the value under every discriminator (addsOctet), and a caller who wants octets back as they came
// gets no octet of his own among them. Otherwise a decoder leaves alone what the message does not have: callers
// initialise the record, or keep a value in it.
static void clearTransId(TS24008Msg_PDU& pdu)
{
  pdu.l3HdrOpts.transId.value = 0;
}

// Header, up to the octet of the message type. A discriminator without a name fails with -4 in its own decoder.
static int decHeader(L3Call& call, TS24008Msg_PDU& pdu)
{
  L3Name frame;
  if (l3Keeps(call)) clearTransId(pdu);
  l3PushName(call, frame, "l3HdrOpts");
  int status = l3DecNamed(call, kPdu, "skipInd", &pdu.l3HdrOpts.skipInd, 4, 1);
  if (status < 0) return status;
  l3PopName(call);
  status = decPart(call, kPdu, "protoDiscr", l3_TS24007L3_ProtoDiscr, &pdu.protoDiscr);
  if (status >= 0 && hasTransId(pdu.protoDiscr)) status = decTransId(call, pdu);
  if (status >= 0) status = l3DecNamed(call, kPdu, "msgType", &pdu.msgType, 8, 1);
  if (status >= 0) splitType(pdu);
  return status;
}

int l3Dec_TS24008Msg_PDU(L3Call& call, const L3Type& type, void* value)
{
  if (l3DecDirectly(call, type, value)) return 0;
  // The attempt was part of the trial of a type around this one, which is thereby given up: it begins again by its
  // rows, and this status is not reported.
  if (call.mode == kL3GivenUp) return RTX_E_GENERAL;
  TS24008Msg_PDU& pdu = *static_cast<TS24008Msg_PDU*>(value);
  memset(&pdu.m, 0, sizeof pdu.m);
  unsigned last = type.rowCount - 1U;
  int status = decHeader(call, pdu);
  if (status < 0) {
    l3InitRest(type, last, value);
    return status;
  }
  // The last row alone is walked: it selects the message by the discriminator and type that stand in the record.
  L3Type body = l3Slice(type, last, 1);
  body.mOctets = 0; // the presence bits are the header's
  return l3DecRows(call, body, value);
}

// The same header in straight lines; the generated l3DirectDecBody_ selects and reads the message.
size_t l3DirectDec_TS24008Msg_PDU(const L3Source& in, size_t pos, size_t end, void* record)
{
  TS24008Msg_PDU& pdu = *static_cast<TS24008Msg_PDU*>(record);
  uint64_t octet = 0;
  if ((pos & 7) || !l3TakeAt<8, 0>(in, pos, end, octet)) return kL3GaveUp;
  memset(&pdu.m, 0, sizeof pdu.m);
  pdu.protoDiscr = static_cast<TS24007L3_ProtoDiscr>(octet & 15);
  if (l3DirectKeeps(in)) clearTransId(pdu);
  l3Set(pdu.l3HdrOpts.skipInd, octet >> 4);
  if (hasTransId(pdu.protoDiscr)) {
    l3Set(pdu.l3HdrOpts.transId.flag, octet >> 7);
    octet = octet >> 4 & 7;
    if (octet == kExtended && (l3DirectKeeps(in) || !l3TakeAt<8, 0>(in, pos, end, octet))) return kL3GaveUp;
    l3Set(pdu.l3HdrOpts.transId.value, octet & 0x7F);
  }
  // The walk gives up at a discriminator without a name and leaves the message type alone.
  if (!l3IsMember(l3enum_TS24007L3_ProtoDiscr, l3Number(pdu.protoDiscr))) return kL3GaveUp;
  if (!l3TakeAt<8, 0>(in, pos, end, octet)) return kL3GaveUp;
  l3Set(pdu.msgType, octet);
  splitType(pdu);
  return l3DirectDecBody_TS24008Msg_PDU(in, pos, end, record);
}

// The inverse of splitType. `msgType` is the caller's: its own upper bits are not masked off.
static uint8_t typeOctet(const TS24008Msg_PDU& pdu)
{
  unsigned sequence = hasSequence(pdu.protoDiscr) && pdu.m.sendSeqNumPresent ? pdu.sendSeqNum : 0U;
  return static_cast<uint8_t>(pdu.msgType | sequence << 6);
}

// Is the octet of a long transaction identifier written? That goes by the discriminators that have a sequence number,
// not by those that have the identifier: in session management a value above 6 is lost, in mobility management an octet
// is added that no decoder expects. Callers have relied on these octets from the start.
static bool addsOctet(const TS24008Msg_PDU& pdu)
{
  return hasSequence(pdu.protoDiscr) && pdu.l3HdrOpts.transId.value >= kExtended;
}

// What three bits can say: the value, or 7 for "look behind the discriminator".
static uint8_t shortValue(const TS24008Msg_PDU& pdu)
{
  uint8_t value = pdu.l3HdrOpts.transId.value;
  return value < kExtended ? value : kExtended;
}

// The half-octet of flag and value. The names are those of the rows, which this replaces.
static int encTransId(L3Call& call, const TS24008Msg_PDU& pdu)
{
  const L3Type& type = l3_TS24008Msg_PDU_transId;
  L3Name outer, inner;
  l3PushName(call, outer, "transId");
  l3PushName(call, inner, "flag");
  int status = endEncPart(call, type, "flag", l3EncBits(call, pdu.l3HdrOpts.transId.flag != 0, 1, "BOOLEAN"));
  if (status >= 0) status = l3EncNamed(call, type, "value", shortValue(pdu), 3, 1);
  if (status >= 0) l3PopName(call);
  return status;
}

// Writes the header. The octet of a long transaction identifier goes out as it stands in the record, so its top bit,
// the extension bit, is 0 for values up to 127.
static int encHeader(L3Call& call, TS24008Msg_PDU& pdu)
{
  L3Name frame;
  l3PushName(call, frame, "l3HdrOpts");
  int status = hasTransId(pdu.protoDiscr) ? encTransId(call, pdu)
                                          : l3EncNamed(call, kPdu, "skipInd", pdu.l3HdrOpts.skipInd, 4, 1);
  if (status < 0) return status;
  l3PopName(call);
  status = encPart(call, kPdu, "protoDiscr", l3_TS24007L3_ProtoDiscr, &pdu.protoDiscr);
  if (status >= 0 && addsOctet(pdu))
    status = l3EncNamed(call, kPdu, "transId.value", pdu.l3HdrOpts.transId.value, 8, 1);
  return status < 0 ? status : l3EncNamed(call, kPdu, "msgType", typeOctet(pdu), 8, 1);
}

// A message number that the form does not have leaves the header written and ends with -9, without an error record.
int l3Enc_TS24008Msg_PDU(L3Call& call, const L3Type& type, void* value)
{
  if (l3EncDirectly(call, type, value)) return 0;
  if (call.mode == kL3GivenUp) return RTX_E_GENERAL;
  int status = encHeader(call, *static_cast<TS24008Msg_PDU*>(value));
  if (status < 0) return status;
  bool known;
  status = nasEncodePlain(call, l3Slice(type, type.rowCount - 1U, 1), value, known);
  return status < 0 || known ? status : l3Ended(call, RTX_E_INVALID_CHOICE);
}

size_t l3DirectEnc_TS24008Msg_PDU(L3Sink& out, size_t pos, void* record)
{
  const TS24008Msg_PDU& pdu = *static_cast<const TS24008Msg_PDU*>(record);
  const auto& transId = pdu.l3HdrOpts.transId;
  unsigned half = pdu.l3HdrOpts.skipInd;
  if (hasTransId(pdu.protoDiscr)) half = (transId.flag ? 8U : 0U) | shortValue(pdu);
  uint64_t discriminator = l3Number(pdu.protoDiscr);
  if ((pos & 7) || half > 15 || !l3IsMember(l3enum_TS24007L3_ProtoDiscr, discriminator)) return kL3GaveUp;
  if (!l3PutAt<8, 0>(out.data, pos, out.end, half << 4 | discriminator)) return kL3GaveUp;
  if (addsOctet(pdu) && !l3PutAt<8, 0>(out.data, pos, out.end, transId.value)) return kL3GaveUp;
  if (!l3PutAt<8, 0>(out.data, pos, out.end, typeOctet(pdu))) return kL3GaveUp;
  return l3DirectEncBody_TS24008Msg_PDU(out, pos, record);
}

// A detach accept to the mobile ends with a spare half-octet and the one that tells whether to go to standby, one from
// it with neither (TS 24.008, 9.4.6): 08 06 01 or 08 06. The spare half-octet of 0 is taken for the identifier of an
// optional element. The loop over optional elements would take each later octet below 0x10 for the same element once
// more; here such octets are unknown elements, as in messages without optional ones: 08 06 01 07 00 fails with -60,
// because an unknown element 0x07 asks for comprehension.
int l3Dec_TS24008Msg_DetachAccept(L3Call& call, const L3Type& type, void* value)
{
  auto& accept = *static_cast<TS24008Msg_DetachAccept*>(value);
  memset(&accept.m, 0, sizeof accept.m);
  uint8_t ahead = 0;
  // Where unknown elements are kept, the ordinary loop is used: it can keep what stands before this element.
  if (l3Keeps(call) && !l3KeepsNothing(call))
    return l3DecOptions(call, type, static_cast<uint8_t*>(value), l3InnermostEnd(call));
  if (l3HasRoom(call) && rtxPeekByte(call.pctxt, &ahead) == 1 && ahead >> 4 == 0) {
    int status = l3DecBits(call, &ahead, 4, 1, "IEI");
    if (status < 0) return l3DecFailed(call, type, "forceToStandby", status);
    status = decPart(call, type, "forceToStandby", l3_TS24008IE_ForceToStandbyValue, &accept.forceToStandby);
    if (status < 0) return status;
    accept.m.forceToStandbyPresent = 1;
  }
  return l3SkipTail(call, type, false, type.line);
}
