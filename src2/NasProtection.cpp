// Protection of EPS and 5GS messages; NasProtection.h says what each function is for. The security operations
// themselves are rtx3gpp functions (rt3gppNasSec.cpp). What stands here is the part that knows a call: which octets of
// the buffer are meant, what a failure leaves on the stacks, and why nothing of this can happen in a direct coder.
#include "src2/NasProtection.h"

#include "rt3gppsrc/engine/l3Encode.h"
#include "rt3gppsrc/engine/l3Kept.h"
#include "velnor3gpp/rt3gppNasSec.h"
#include "velnor3gpp/rtxBitEncode.h"
#include "velnor3gpp/rtxCheckBuffer.h"

NasPosition nasPosition(const RtxContext* pctxt)
{
  return {pctxt->buffer.byteIndex, pctxt->buffer.bitOffset, pctxt->flags};
}

void nasReturn(RtxContext* pctxt, const NasPosition& position)
{
  pctxt->buffer.byteIndex = position.byteIndex;
  pctxt->buffer.bitOffset = position.bitOffset;
  pctxt->flags = position.flags;
}

void nasVerify(L3Call& call, const L3Type& type, size_t from, uint32_t received)
{
  // A trial may not record anything. It is given up, and the walk verifies.
  if (call.onTrial()) {
    l3RefuseTrial(call, RTX_E_BAD_MAC);
    return;
  }
  RtxContext* pctxt = call.pctxt;
  const RtxBuffer& buffer = pctxt->buffer;
  size_t length = from < buffer.size ? buffer.size - from : 0;
  uint32_t computed = 0;
  // Without keys the operation records a failure, whose path is taken from the real stacks.
  if (!pctxt->pSecurity) l3ToLists(call);
  int status = rtx3gppComputeMAC(pctxt, buffer.data + from, length, &computed);
  if (status < 0) {
    l3Fail(call, type.module->decoder, status, type.line);
  } else if (computed != received) {
    // The order of the parameters is that of the error's text: received, then computed.
    rtxErrAddUIntParm(pctxt, received);
    rtxErrAddUIntParm(pctxt, computed);
    l3Note(call, type.module->decoder, RTX_E_BAD_MAC, type.line);
  }
}

int nasDecipher(L3Call& call, const L3Type& type, size_t from)
{
  // A message that ends behind its header has nothing to decipher; the rows report the shortage. Deciphering overwrites
  // the octets, so a trial that is given up later could not begin again from them.
  if (call.onTrial()) return l3RefuseTrial(call, RTX_E_NO_SECURITY);
  const RtxBuffer& buffer = call.pctxt->buffer;
  size_t length = from < buffer.size ? buffer.size - from : 0;
  if (!call.pctxt->pSecurity) l3ToLists(call);
  int status = rtx3gppCipher(call.pctxt, buffer.data + from, length);
  return status < 0 ? l3Fail(call, type.module->decoder, status, type.line) : 0;
}

// Ciphers in place from an octet to the cursor: what stands behind the cursor is not part of the message.
static int nasCipher(L3Call& call, const L3Type& type, size_t from)
{
  const RtxBuffer& buffer = call.pctxt->buffer;
  size_t length = from < buffer.byteIndex ? buffer.byteIndex - from : 0;
  if (!call.pctxt->pSecurity) l3ToLists(call);
  int status = rtx3gppCipher(call.pctxt, buffer.data + from, length);
  return status < 0 ? l3Fail(call, type.module->encoder, status, type.line) : 0;
}

// Computes the code over the octets from the sequence number to the cursor, stores it in the record and writes it over
// the 32 bits of 0 or of an earlier code that stand at its place. The cursor goes back to the end of the message.
static int nasSign(L3Call& call, const L3Type& type, size_t start, const NasSpans& spans, uint32_t& code)
{
  RtxContext* pctxt = call.pctxt;
  size_t from = start + spans.signedFrom;
  size_t length = from < pctxt->buffer.byteIndex ? pctxt->buffer.byteIndex - from : 0;
  if (!pctxt->pSecurity) l3ToLists(call);
  int status = rtx3gppComputeMAC(pctxt, pctxt->buffer.data + from, length, &code);
  if (status < 0) return l3Fail(call, type.module->encoder, status, type.line);
  NasPosition end = nasPosition(pctxt);
  pctxt->buffer.byteIndex = start + spans.codeAt;
  status = rtxEncBits(pctxt, code, 32);
  if (status < 0) return l3Fail(call, type.module->encoder, status, type.line);
  nasReturn(pctxt, end);
  return 0;
}

bool nasIsCiphered(int secHdrType)
{
  return secHdrType == 2 || secHdrType == 4;
}

int nasRefuseStream(L3Call& call, const L3Type& type)
{
  if (!rtxIsOutputBufferFlushable(call.pctxt)) return 0;
  l3ToLists(call); // its failure has a path and a parameter
  rtxErrAddStrParm(call.pctxt, "protect a message in a stream");
  return l3FailNew(call, type.module->encoder, RTX_E_NOT_SUPPORTED, type.line);
}

int nasProtect(L3Call& call, const L3Type& type, size_t start, const NasSpans& spans, int secHdrType, uint32_t& code)
{
  // Ciphering overwrites the octets, and a direct coder could not report what fails: a trial ends here.
  if (call.onTrial()) return l3Fail(call, type.module->encoder, RTX_E_NO_SECURITY, type.line);
  if (int status = nasRefuseStream(call, type); status < 0) return status;
  // The code is taken over the ciphered octets, so ciphering comes first (TS 24.301, 4.4.3.3; TS 24.501, 4.4.3.3).
  if (nasIsCiphered(secHdrType))
    if (int status = nasCipher(call, type, start + spans.cipheredFrom); status < 0) return status;
  return nasSign(call, type, start, spans, code);
}

// The last row of a form is always its body.
static const L3Row& bodyOf(const L3Type& pdu)
{
  return pdu.rows[pdu.rowCount - 1];
}

// Gives the record the message type that the standard has, where the rows have another one: PagingResponse is 0x5C by
// the rows and 0x27 on the air (docs/quirks.md, "Standard forms"). Only with RTX_FLAG_STANDARD_FORMS.
static void renumber(const RtxContext* pctxt, const L3Body& body, const L3BodyRow& message, void* record)
{
  if (!(pctxt->flags & RTX_FLAG_STANDARD_FORMS) || !message.standardType) return;
  l3Store(static_cast<uint8_t*>(record) + body.msgType.offset, body.msgType.store, message.standardType);
}

int nasKeepRest(L3Call& call, const L3Type& pdu, const void* record)
{
  if (!l3Keeps(call) || l3KeepsNothing(call)) return 0;
  return l3KeepRest(call, pdu, record, &bodyOf(pdu), kL3KeptBehind, l3InnermostEnd(call));
}

int nasEncodePlain(L3Call& call, const L3Type& pdu, void* record, bool& known)
{
  const L3Body& body = *static_cast<const L3Body*>(bodyOf(pdu).info);
  const L3BodyRow* message = l3MessageIn(body, l3Load(static_cast<uint8_t*>(record) + bodyOf(pdu).offset, 4));
  known = message;
  if (known) {
    renumber(call.pctxt, body, *message, record);
    int status = l3EncRows(call, pdu, record);
    if (status < 0) return status;
    int put = l3PutKept(call, pdu, pdu.line, record, &bodyOf(pdu), kL3KeptBehind);
    return put < 0 ? put : status;
  }
  L3Type header = l3Slice(pdu, 0, pdu.rowCount - 1U);
  return l3EncRows(call, header, record);
}
