// The forms of radio resource messages (TS 44.018). The form with a pseudo length is by hand because the length bounds
// header and body without being a region whose end is gone to: the rest octets begin where the body ended, inside the
// length or behind it, and the length written back is that of the body (10.5.2.19). The encoders of the other forms are
// by hand for one thing: a message number that no message has is refused without an error record, as callers have
// always seen it.
//
//   49 06 1B ... 2B 2B    0100 10 01: pseudo length 18 and the fixed bits 01; 06 1B is system information type 3,
//                         18 octets behind the length, then rest octets up to 23 in all
#include <algorithm>

#include "L3Descriptors.h"
#include "rt3gppsrc/engine/l3Decode.h"
#include "rt3gppsrc/engine/l3Encode.h"
#include "rt3gppsrc/engine/l3Kept.h"
#include "src2/NamedParts.h"
#include "src2/NasProtection.h"
#include "velnor3gpp/TS44018Msgs.h"

// Rows of the form with a pseudo length, as from..until of decRows: 0 the length, 1 to 4 half-octet, discriminator,
// type and body, 5 the rest octets.
enum : unsigned { kLength, kHeader, kRestOctets = 5, kRows };

// Decodes the rows from `from` to before `until`.
static int decRows(L3Call& call, const L3Type& type, unsigned from, unsigned until, void* value)
{
  int status = l3DecRows(call, l3Slice(type, from, until - from), value);
  if (status < 0) l3InitRest(type, until, value); // what the decoder does not come to holds nothing of earlier use
  return status;
}

// The pseudo length of some messages counts otherwise than their octets: it is 1 in system information type 2quater, of
// which only the rest octets vary (TS 44.018, 9.1.34a). With RTX_FLAG_KEEP_ELEMENTS it is kept together with what an
// encoder would count, so that it goes out again as long as the message stays as it was. `counted` is that count.
static int keepLength(L3Call& call, const L3Type& type, void* value, size_t counted)
{
  const auto& length = static_cast<const TS44018Msg_L2_PSEUDO_LEN_PDU*>(value)->l2PseudoLen;
  if (!l3Keeps(call) || length.pseudo_length == counted) return 0;
  if (l3KeepsNothing(call)) return l3RefuseTrial(call, RTX_E_GENERAL);
  const uint8_t octet = static_cast<uint8_t>(length.pseudo_length << 2);
  L3KeptFacts facts = {value, &type.rows[kLength], 0, 0, 0, kL3KeptBehind, kL3KeptPadding, 0, nullptr};
  L3Kept* kept = l3AddKept(call.pctxt, facts, &octet, 6);
  if (!kept) return l3Fail(call, type.module->decoder, RTX_E_NO_MEMORY, type.line);
  kept->root = call.root;
  kept->before = static_cast<uint32_t>(counted);
  return 0;
}

// The length to write: the kept one if the body has the octets that it had on decoding, or if nobody counted those then
// (`before` 0: a kept entry that comes from JSON); else the count.
static uint8_t lengthOf(const L3Call& call, const L3Type& type, const void* value, size_t counted)
{
  const L3Kept* kept = l3FirstKept(call.pctxt, value, &type.rows[kLength], kL3KeptBehind);
  bool same = kept && (!kept->before || kept->before == counted);
  return static_cast<uint8_t>(same ? kept->octets()[0] >> 2 : counted);
}

int l3Dec_TS44018Msg_L2_PSEUDO_LEN_PDU(L3Call& call, const L3Type& type, void* value)
{
  const auto& pdu = *static_cast<const TS44018Msg_L2_PSEUDO_LEN_PDU*>(value);
  int status = decRows(call, type, kLength, kHeader, value);
  if (status < 0) return status;
  // Networks send lengths of 0 and of 22 with system information that is rest octets alone (0x01 0x06 0x00, 0x59 0x06
  // 0x07): so the header is read beyond such an end, and the body is left with none of the length or with too much.
  L3Region frame;
  status = l3PushRegion(call, frame, pdu.l2PseudoLen.pseudo_length, false);
  if (status < 0) return l3DecFailed(call, type, "l2PseudoLen", status);
  size_t start = l3BitPos(call.pctxt);
  status = decRows(call, type, kHeader, kRestOctets, value);
  // A length inside the body that leads behind the end of the message has put the cursor there.
  size_t end = std::min(l3BitPos(call.pctxt), call.pctxt->buffer.size * 8);
  if (status >= 0) status = keepLength(call, type, value, (end - start) / 8);
  if (status < 0) return status;
  l3PopRegion(call);
  return decRows(call, type, kRestOctets, kRows, value);
}

int l3Enc_TS44018Msg_L2_PSEUDO_LEN_PDU(L3Call& call, const L3Type& type, void* value)
{
  auto& length = static_cast<TS44018Msg_L2_PSEUDO_LEN_PDU*>(value)->l2PseudoLen;
  length.pseudo_length = 0;
  int status = l3EncRows(call, l3Slice(type, kLength, kHeader), value);
  if (status < 0) return status;
  size_t start = l3BitPos(call.pctxt);
  // A number that no message has leaves the body out here; the rest octets, which have the same number, decide about
  // the result below.
  bool known;
  status = nasEncodePlain(call, l3Slice(type, kHeader, kRestOctets - kHeader), value, known);
  if (status < 0) return status;
  length.pseudo_length = lengthOf(call, type, value, (l3BitPos(call.pctxt) - start) / 8);
  // Six bits in front of the two that are fixed: 18 octets are 0x49. Of a length above 63 only the low six bits are
  // sent.
  status = l3PatchLength(call, start - 2, 6, length.pseudo_length & 0x3FU);
  if (status < 0) return l3EncFailed(call, type, "l2PseudoLen", status);
  status = nasEncodePlain(call, l3Slice(type, kRestOctets, 1), value, known);
  return status < 0 || known ? status : l3Ended(call, RTX_E_INVALID_CHOICE);
}

// Encodes any other form by its rows. A number that no message has ends with -9 and the header written.
static int encForm(L3Call& call, const L3Type& type, void* value)
{
  bool known;
  int status = nasEncodePlain(call, type, value, known);
  return status < 0 || known ? status : l3Ended(call, RTX_E_INVALID_CHOICE);
}

int l3Enc_TS44018Msg_DL_DCCH_PDU(L3Call& call, const L3Type& type, void* value)
{
  return encForm(call, type, value);
}

int l3Enc_TS44018Msg_UL_DCCH_PDU(L3Call& call, const L3Type& type, void* value)
{
  return encForm(call, type, value);
}

int l3Enc_TS44018Msg_UL_SACCH_PDU(L3Call& call, const L3Type& type, void* value)
{
  return encForm(call, type, value);
}

int l3Enc_TS44018Msg_RR_Short_PD_PDU(L3Call& call, const L3Type& type, void* value)
{
  return encForm(call, type, value);
}
