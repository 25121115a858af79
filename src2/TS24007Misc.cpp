// Coders by hand of the first half-octet of a layer-3 header (TS 24.007, 11.2.3.1), which the forms of TS 24.301 hold.
// By hand because the half-octet has four readings that only the discriminator in the other half tells apart: skip
// indicator, transaction identifier, EPS bearer identity, security header type. The decoder comes first and cannot
// know, so it always takes the skip indicator; the form relabels it afterwards (TS24301Pdu.cpp). And because a
// transaction identifier above 7 is cut to 7 on encoding, where a row of 3 bits would refuse it.
#include "L3Descriptors.h"
#include "rt3gppsrc/engine/l3Decode.h"
#include "rt3gppsrc/engine/l3Direct.h"
#include "rt3gppsrc/engine/l3Encode.h"
#include "rt3gppsrc/engine/l3Kept.h"
#include "velnor3gpp/TS24007L3.h"

// 0x52 0x00 0xC1: the 5 is read here as skipInd = 5; behind discriminator 2 it becomes epsBearerIdent = 5.
int l3Dec_TS24007L3_L3HdrOptions(L3Call& call, const L3Type& type, void* value)
{
  auto& options = *static_cast<TS24007L3_L3HdrOptions*>(value);
  options.t = TS24007L3_L3HdrOptions_t_skipInd;
  return l3DecNamed(call, type, "skipInd", &options.u.skipInd, 4, 1);
}

// A transaction identifier, 1 bit of flag and 3 of value (11.2.3.1.3): flag 1 and value 2 are 1010. 7 says that the
// value goes on in a further octet, which this half-octet does not write.
static int encTransId(L3Call& call, uint8_t flag, uint8_t number)
{
  const L3Type& type = l3_TS24007L3_L3HdrOptions_transId;
  L3Name outer, inner;
  l3PushName(call, outer, "transId");
  l3PushName(call, inner, "flag");
  int status = l3EncBits(call, flag, 1, "BOOLEAN");
  if (status < 0) return l3EncFailed(call, type, "flag", status);
  l3PopName(call);
  status = l3EncNamed(call, type, "value", number > 7 ? 7 : number, 3, 1);
  if (status >= 0) l3PopName(call);
  return status;
}

static int encBearer(L3Call& call, const L3Type& type, int32_t identity)
{
  L3Name frame;
  l3PushName(call, frame, "epsBearerIdent");
  // The descriptor of the alternative is asked for by its number, so that its enumeration is tested as in the rows: 4,
  // which is no bearer identity, fails with -4.
  const auto& choice = *static_cast<const L3Choice*>(type.rows[0].info);
  // The decoder has no such test, so where everything is to come back, every half-octet does.
  bool all = l3TakesAll(call) && identity >= 0 && identity <= 15;
  int status =
      all ? l3EncBits(call, static_cast<uint64_t>(identity), 4, "ENUMERATED")
          : l3EncType(call, *l3FindByTag(choice, TS24007L3_L3HdrOptions_t_epsBearerIdent)->row.type, &identity);
  if (status < 0) return l3EncFailed(call, type, "epsBearerIdent", status);
  l3PopName(call);
  return status;
}

// Writes the reading that `t` names. `t` is the caller's; 0 or anything above 4 fails with -9.
int l3Enc_TS24007L3_L3HdrOptions(L3Call& call, const L3Type& type, void* value)
{
  auto& options = *static_cast<TS24007L3_L3HdrOptions*>(value);
  switch (options.t) {
    case TS24007L3_L3HdrOptions_t_skipInd:
      return l3EncNamed(call, type, "skipInd", options.u.skipInd, 4, 1);
    case TS24007L3_L3HdrOptions_t_transId:
      return encTransId(call, options.u.transId.flag, options.u.transId.value);
    case TS24007L3_L3HdrOptions_t_epsBearerIdent:
      return encBearer(call, type, options.u.epsBearerIdent);
    case TS24007L3_L3HdrOptions_t_secHdr:
      return l3EncNamed(call, type, "secHdr", options.u.secHdr, 4, 1);
    default:
      return l3EncFailed(call, type, nullptr, RTX_E_INVALID_CHOICE);
  }
}

// The direct coder reads the same at an octet's start only: generated coders that follow rely on the cursor being 4
// bits into the octet ("ends 4" in the definition).
size_t l3DirectDec_TS24007L3_L3HdrOptions(const L3Source& in, size_t pos, size_t end, void* record)
{
  auto& options = *static_cast<TS24007L3_L3HdrOptions*>(record);
  uint64_t bits = 0;
  if ((pos & 7) || !l3TakeAt<4, 0>(in, pos, end, bits)) return kL3GaveUp;
  options.t = TS24007L3_L3HdrOptions_t_skipInd;
  options.u.skipInd = static_cast<uint8_t>(bits);
  return pos;
}

// The half-octet that the options come to, or above 15 where the walk has something to refuse and to report.
static uint64_t halfOctet(const TS24007L3_L3HdrOptions& options)
{
  const auto& transId = options.u.transId;
  switch (options.t) {
    case TS24007L3_L3HdrOptions_t_skipInd:
      return options.u.skipInd;
    case TS24007L3_L3HdrOptions_t_transId:
      return (transId.flag ? 8U : 0U) | (transId.value > 7 ? 7U : transId.value);
    case TS24007L3_L3HdrOptions_t_epsBearerIdent:
      if (!l3IsMember(l3enum_TS24007L3_EPSBearerIdentity, l3Number(options.u.epsBearerIdent))) return UINT64_MAX;
      return l3Number(options.u.epsBearerIdent);
    case TS24007L3_L3HdrOptions_t_secHdr:
      return options.u.secHdr;
    default:
      return UINT64_MAX;
  }
}

size_t l3DirectEnc_TS24007L3_L3HdrOptions(L3Sink& out, size_t pos, void* record)
{
  uint64_t value = halfOctet(*static_cast<const TS24007L3_L3HdrOptions*>(record));
  return value <= 15 && l3Put<4>(out.data, pos, out.end, value) ? pos : kL3GaveUp;
}
