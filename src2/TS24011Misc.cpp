// The decoder of the cause of the relay protocol (TS 24.011, 8.2.5.4), called by the engine for RP-ERROR. By hand
// because an element of length 0 is taken as it stands, with a remark (-16) and without a cause: the rows have the
// cause as mandatory and would read it from the octet behind the element. The encoder is that of the rows.
#include "L3Descriptors.h"
#include "rt3gppsrc/engine/l3Decode.h"
#include "velnor3gpp/TS24011IES.h"
#include "velnor3gpp/rtxBitDecode.h"

static bool hasCause(const uint8_t* octets, size_t left, void*)
{
  return !left || octets[0] != 0;
}

extern const L3Plain l3Plain_TS24011IE_RPCauseElem = {hasCause, nullptr, nullptr};

int l3Dec_TS24011IE_RPCauseElem(L3Call& call, const L3Type& type, void* value)
{
  uint8_t ahead = 0;
  if (rtxPeekByte(call.pctxt, &ahead) != 1 || ahead != 0) return l3DecRows(call, type, value);
  // The rows would have cleared the list; a printer follows it.
  auto& cause = *static_cast<TS24011IE_RPCauseElem*>(value);
  cause.diagField.n = 0;
  cause.diagField.elem = nullptr;
  L3Name frame;
  l3PushName(call, frame, "length");
  int status = l3DecBits(call, &cause.length, 8, 1, "INTEGER");
  if (status < 0) return l3DecFailed(call, type, "length", status);
  l3NoteRange(call, type.module->decoder, l3LineOf(type, "length"), cause.length);
  call.doubtful = true; // the encoder writes a cause
  l3PopName(call);
  return 0;
}
