// Radio resource types as the public standard has them where no second row can say it: identities of a paging request
// that are TMSIs without type and length (TS 44.018, 10.5.2.42), and a format that one bit tells where the rows take
// two (10.5.2.22a).
#include "L3Descriptors.h"
#include "rt3gppsrc/engine/l3Record.h"
#include "src2/NamedParts.h"
#include "velnor3gpp/TS24008IES.h"
#include "velnor3gpp/TS44018Msgs.h"

// Rows of a paging request in front of its identities: channels needed, page mode.
static constexpr unsigned kBeforeIdentities = 2;

// The rows without the message's optional elements, which follow the last of them.
static L3Type someRows(const L3Type& type, unsigned from, unsigned count)
{
  L3Type slice = l3Slice(type, from, count);
  slice.message = {};
  return slice;
}

static int decPaged(L3Call& call, const L3Type& type, unsigned row, TS24008IE_MobileIdentity& identity)
{
  L3Name frame;
  const char* name = type.rows[row].name;
  l3PushName(call, frame, name);
  identity.m = {};
  identity.length = 1 + sizeof identity.u.tmsi; // what it would be as a mobile identity
  identity.t = TS24008IE_MobileIdentity_t_tmsi;
  return endDecPart(call, type, name, decFixed(call, type, "tmsi", identity.u.tmsi));
}

static int encPaged(L3Call& call, const L3Type& type, unsigned row, const TS24008IE_MobileIdentity& identity)
{
  L3Name frame;
  const char* name = type.rows[row].name;
  l3PushName(call, frame, name);
  bool tmsi = identity.t == TS24008IE_MobileIdentity_t_tmsi;
  return endEncPart(call, type, name,
                    tmsi ? encFixed(call, type, "tmsi", identity.u.tmsi)
                         : l3EncFailed(call, type, name, RTX_E_INVALID_CHOICE));
}

static TS24008IE_MobileIdentity& identityAt(const L3Type& type, unsigned row, void* value)
{
  return *reinterpret_cast<TS24008IE_MobileIdentity*>(static_cast<uint8_t*>(value) + type.rows[row].offset);
}

static int decPaging(L3Call& call, const L3Type& type, void* value)
{
  L3End end = l3InnermostEnd(call);
  int status = l3DecRows(call, someRows(type, 0, kBeforeIdentities), value);
  for (unsigned row = kBeforeIdentities; row < type.rowCount && status >= 0; ++row)
    status = decPaged(call, type, row, identityAt(type, row, value));
  if (status < 0) l3InitRest(type, kBeforeIdentities, value);
  return status < 0 ? status : l3DecOptions(call, type, static_cast<uint8_t*>(value), end);
}

static int encPaging(L3Call& call, const L3Type& type, void* value)
{
  int status = l3EncRows(call, someRows(type, 0, kBeforeIdentities), value);
  for (unsigned row = kBeforeIdentities; row < type.rowCount && status >= 0; ++row)
    status = encPaged(call, type, row, identityAt(type, row, value));
  return status < 0 ? status : l3EncOptions(call, type, static_cast<uint8_t*>(value), status);
}

int l3Dec_TS44018Msg_PagingRequestType2_standard(L3Call& call, const L3Type& type, void* value)
{
  return decPaging(call, type, value);
}

int l3Enc_TS44018Msg_PagingRequestType2_standard(L3Call& call, const L3Type& type, void* value)
{
  return encPaging(call, type, value);
}

int l3Dec_TS44018Msg_PagingRequestType3_standard(L3Call& call, const L3Type& type, void* value)
{
  return decPaging(call, type, value);
}

int l3Enc_TS44018Msg_PagingRequestType3_standard(L3Call& call, const L3Type& type, void* value)
{
  return encPaging(call, type, value);
}

// The first bit tells a bitmap from the other formats; the two behind it are the multiband reporting, of which the rows
// take the first for the format (CF: 1, 10, 0, 111x).
using Neighbours = TS44018IE_Neighbour_Cell_Description_2;
static constexpr const L3Type& kBitmap = l3_TS44018IE_Neighbour_Cell_Description_2_bitmap0;
static constexpr const L3Type& kOthers = l3_TS44018IE_Neighbour_Cell_Description_2_choice_2;

int l3Dec_TS44018IE_Neighbour_Cell_Description_2_standard(L3Call& call, const L3Type& type, void* value)
{
  Neighbours& neighbours = *static_cast<Neighbours*>(value);
  uint8_t others = 0;
  memset(&neighbours, 0, sizeof neighbours);
  int status = l3DecBits(call, &others, 1, 1, "choice selector");
  if (status < 0) return l3DecFailed(call, type, nullptr, status);
  neighbours.t =
      others ? TS44018IE_Neighbour_Cell_Description_2_t_choice_2 : TS44018IE_Neighbour_Cell_Description_2_t_bitmap0;
  return others ? decPart(call, type, "choice-2", kOthers, &neighbours.u.choice_2)
                : decPart(call, type, "bitmap0", kBitmap, &neighbours.u.bitmap0);
}

int l3Enc_TS44018IE_Neighbour_Cell_Description_2_standard(L3Call& call, const L3Type& type, void* value)
{
  Neighbours& neighbours = *static_cast<Neighbours*>(value);
  bool others = neighbours.t == TS44018IE_Neighbour_Cell_Description_2_t_choice_2;
  if (!others && neighbours.t != TS44018IE_Neighbour_Cell_Description_2_t_bitmap0)
    return l3FailNew(call, type.module->encoder, RTX_E_INVALID_CHOICE, type.line);
  int status = l3EncBits(call, others, 1, "choice selector");
  if (status < 0) return l3EncFailed(call, type, nullptr, status);
  return others ? encPart(call, type, "choice-2", kOthers, &neighbours.u.choice_2)
                : encPart(call, type, "bitmap0", kBitmap, &neighbours.u.bitmap0);
}
