// Radio resource types in the form of the public standard, where no second row can say it. The engine calls these
// coders instead of the rows for a context with RTX_FLAG_STANDARD_FORMS; the records are the same in both forms.
//   - Identities of a paging request that are TMSIs of four octets, without the length and first octet of a
//     mobile identity (TS 44.018, 9.1.23, 9.1.24, 10.5.2.42): C9 58 5D 28 where the rows read 05 F4 C9 58 5D 28.
//   - The neighbour cell description 2 (10.5.2.22a), of which one bit tells the format where the rows take two.
#include "L3Descriptors.h"
#include "rt3gppsrc/engine/l3Record.h"
#include "src2/NamedParts.h"
#include "velnor3gpp/TS24008IES.h"
#include "velnor3gpp/TS44018Msgs.h"

// Rows of a paging request in front of its identities: channels needed, page mode.
static constexpr unsigned kBeforeIdentities = 2;

// Some of a message's rows, without its optional elements: those follow the last row and would be looked for behind
// any.
static L3Type someRows(const L3Type& type, unsigned from, unsigned count)
{
  L3Type slice = l3Slice(type, from, count);
  slice.message = {};
  return slice;
}

// One TMSI, into the mobile identity that the record has for both forms: with the length that it would have as such.
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

// One TMSI. Any other identity has no place in four octets and fails with -9.
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

// The member of a row; the two messages have two and four of them at places of their own.
static TS24008IE_MobileIdentity& identityAt(const L3Type& type, unsigned row, void* value)
{
  return *reinterpret_cast<TS24008IE_MobileIdentity*>(static_cast<uint8_t*>(value) + type.rows[row].offset);
}

// Page mode and channels by the rows, the TMSIs here, the optional elements by the engine. `end` is asked for first,
// because it is that of the region in which the message began.
static int decPaging(L3Call& call, const L3Type& type, void* value)
{
  L3End end = l3InnermostEnd(call);
  int status = l3DecRows(call, someRows(type, 0, kBeforeIdentities), value);
  for (unsigned row = kBeforeIdentities; row < type.rowCount && status >= 0; ++row)
    status = decPaged(call, type, row, identityAt(type, row, value));
  if (status < 0) l3InitRest(type, kBeforeIdentities, value);
  return status < 0 ? status : l3DecOptions(call, type, static_cast<uint8_t*>(value), end);
}

// The same order on encoding; `status` is what the engine's loop over optional elements goes on from.
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
