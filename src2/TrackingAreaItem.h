// One entry of a list of tracking areas (TS 24.301, 9.9.3.33; TS 24.501, 9.11.3.9). TS24301Misc.cpp and TS24501Misc.cpp
// include it, once for each system; their records differ in the width of the code (two or three octets), in the meaning
// of the first bit, and in type 3, which 5GS alone has. By hand because the count of an entry's elements stands in its
// first octet, outside the records that hold the elements:
//
//   0 00 00001   first bit, type of list 0, two elements (the number is one less)
//     62 F2 24  00 0001  00 0005     one network, then codes that need not follow each other
//   0 01 00001   type 1: one network and the first of two codes that do: 62 F2 24  00 0001
//   0 10 00001   type 2: two identities, each with its network: 62 F2 24 00 0001  63 F2 24 00 0002
//   0 11 00000   type 3 (5GS): a network, all areas of which are meant: 62 F2 24
//
// Types 0 and 1 and their codes lie in the record, the identities of type 2 on the context's heap.
#ifndef VELNOR3GPP_TRACKING_AREA_ITEM_H
#define VELNOR3GPP_TRACKING_AREA_ITEM_H

#include "L3Descriptors.h"
#include "rt3gppsrc/engine/l3Decode.h"
#include "rt3gppsrc/engine/l3Direct.h"
#include "rt3gppsrc/engine/l3Encode.h"
#include "src2/NamedParts.h"
#include "velnor3gpp/rtxMemHeap.h"

inline constexpr char kIdentities[] = "partTrkIdentList2";

// The descriptors that the shared functions need, which differ by system.
struct TrackingAreaTypes {
  const L3Type& item;
  const L3Type& codes; // codes that need not follow each other
  const L3Type& row;   // codes that do
  const L3Type& code;  // tracking area code
  const L3Type& identity;
};

// Decodes entry number `index` of a list, as "elem" in the path. A failure names the row `list` of the record.
inline int decTrackingEntry(L3Call& call, const L3Type& record, const char* list, uint32_t index, const L3Type& type,
                            void* value)
{
  L3Name frame;
  l3PushEntry(call, frame, "elem", index);
  int status = l3DecType(call, type, value);
  if (status < 0) return l3DecFailed(call, record, list, status);
  l3PopEntry(call);
  return status;
}

// Type 0: one PLMN, and codes that need not follow each other. `count` is 1 to 32, and the list has room for 32. `n`
// counts the codes that have been read, so that a cut list prints what came.
template <class List> int decTrackingCodes(L3Call& call, const TrackingAreaTypes& types, List& list, unsigned count)
{
  list.tacs.n = 0;
  int status = decPart(call, types.codes, "mcc-mnc", l3_TS24008IE_MCCMNCPair, &list.mcc_mnc);
  if (status < 0) return status;
  L3Name frame;
  l3PushName(call, frame, "tacs");
  for (unsigned i = 0; i < count; ++i, ++list.tacs.n)
    if (status = decTrackingEntry(call, types.codes, "tacs", i, types.code, &list.tacs.elem[i]); status < 0)
      return status;
  l3PopName(call);
  return 0;
}

// Type 1: one PLMN, and the first of a row of codes; the others are not on the wire.
template <class List> int decTrackingRow(L3Call& call, const TrackingAreaTypes& types, List& list)
{
  int status = decPart(call, types.row, "mcc-mnc", l3_TS24008IE_MCCMNCPair, &list.mcc_mnc);
  return status < 0 ? status : decPart(call, types.row, "tac", types.code, &list.tac);
}

// Type 2: identities of several PLMNs. At most 32 of them, so that the allocation needs no other bound.
template <class List>
int decTrackingIdentities(L3Call& call, const TrackingAreaTypes& types, List& list, unsigned count)
{
  list.n = 0;
  void* entries = rtxMemHeapAlloc(&call.pctxt->pMemHeap, count * sizeof *list.elem);
  list.elem = static_cast<decltype(list.elem)>(entries);
  if (!entries) return l3DecFailed(call, types.item, kIdentities, RTX_E_NO_MEMORY);
  for (unsigned i = 0; i < count; ++i, ++list.n)
    if (int status = decTrackingEntry(call, types.item, kIdentities, i, types.identity, &list.elem[i]); status < 0)
      return status;
  return 0;
}

// The alternative of the item, under its name. `t` is set once the type is known to be one: -9 for type 3 in EPS.
template <class Item> int decTrackingAlternative(L3Call& call, const TrackingAreaTypes& types, Item& item)
{
  static constexpr const char* kNames[] = {"partTrkIdentList0", "partTrkIdentList1", kIdentities};
  unsigned count = item.numElements + 1U; // on the wire it is one less
  // Only the record of 5GS has this alternative. Its number of elements says nothing.
  if constexpr (requires { item.elements.u.partTrkIdentList3; }) {
    if (item.typeOfList == 3) {
      item.elements.t = item.typeOfList + 1U;
      return decPart(call, types.item, "partTrkIdentList3", l3_TS24008IE_MCCMNCPair,
                     &item.elements.u.partTrkIdentList3);
    }
  }
  if (item.typeOfList > 2) return l3DecFailed(call, types.item, "elements", RTX_E_INVALID_CHOICE);
  item.elements.t = item.typeOfList + 1U;
  L3Name frame;
  l3PushName(call, frame, kNames[item.typeOfList]);
  auto& u = item.elements.u;
  int status = item.typeOfList == 0   ? decTrackingCodes(call, types, u.partTrkIdentList0, count)
               : item.typeOfList == 1 ? decTrackingRow(call, types, u.partTrkIdentList1)
                                      : decTrackingIdentities(call, types, u.partTrkIdentList2, count);
  if (status >= 0) l3PopName(call);
  return status;
}

// A whole item: the first three rows of its type are the fields of the first octet, the fourth is the choice.
template <class Item> int decTrackingItem(L3Call& call, const TrackingAreaTypes& types, Item& item)
{
  item.elements.t = 0;
  int status = l3DecRows(call, l3Slice(types.item, 0, 3), &item);
  if (status < 0) return status;
  L3Name frame;
  l3PushName(call, frame, "elements");
  status = decTrackingAlternative(call, types, item);
  if (status >= 0) l3PopName(call);
  return status;
}

// Sets `numElements` to the count of entries, as encoders set lengths. A count that no octet can say, 0 or above 32, is
// left for the rows to refuse. In type 1 the number is the caller's, since only the first code is in the record.
template <class Item> void tellTrackingCount(Item& item)
{
  auto& u = item.elements.u;
  uint64_t count = 0;
  if (item.typeOfList == 0) count = u.partTrkIdentList0.tacs.n;
  if (item.typeOfList == 2) count = u.partTrkIdentList2.n;
  if (count >= 1 && count <= 32) item.numElements = static_cast<uint8_t>(count - 1);
}

// The rows encode an item as it stands, once its count is right.
template <class Item> int encTrackingItem(L3Call& call, const L3Type& type, Item& item)
{
  tellTrackingCount(item);
  return l3EncRows(call, type, &item);
}

// The generated direct coders of the three kinds of list, by type of list. Their decoders read as far as their region
// goes ("while-room"), so the count is turned into a region below.
template <class Item> struct DirectTracking {
  size_t (*decode[3])(const L3Source& in, size_t pos, size_t end, void* record);
  size_t (*encode[3])(L3Sink& out, size_t pos, void* record);
};

// The direct decoder: first octet, then a region of as many octets as the count asks for. It gives up where these are
// not there or the type of list is unknown.
template <class Item>
size_t directTrackingItem(const DirectTracking<Item>& kinds, const L3Source& in, size_t pos, size_t end, Item& item)
{
  static constexpr size_t kPlmn = 3, kCode = sizeof item.elements.u.partTrkIdentList1.tac;
  uint64_t first = 0;
  if ((pos & 7) || !l3Take<8>(in, pos, end, first)) return kL3GaveUp;
  uint8_t bit = static_cast<uint8_t>(first >> 7);
  if constexpr (requires { item.spare; })
    item.spare = bit;
  else
    item.allowedType = bit;
  item.typeOfList = first >> 5 & 3;
  item.numElements = first & 31;
  item.elements.t = item.typeOfList + 1U;
  auto& u = item.elements.u;
  if constexpr (requires { u.partTrkIdentList3; })
    if (item.typeOfList == 3) return l3DirectDec_TS24008IE_MCCMNCPair(in, pos, end, &u.partTrkIdentList3);
  size_t count = item.numElements + 1U;
  size_t octets = item.typeOfList == 0   ? kPlmn + count * kCode
                  : item.typeOfList == 1 ? kPlmn + kCode
                                         : count * (kPlmn + kCode);
  if (item.typeOfList > 2 || octets > (end - pos) >> 3) return kL3GaveUp;
  return kinds.decode[item.typeOfList](in, pos, pos + octets * 8, &u);
}

// The direct encoder. A first octet that does not fit its bits is for the walk to refuse.
template <class Item>
size_t directPutTrackingItem(const DirectTracking<Item>& kinds, L3Sink& out, size_t pos, Item& item)
{
  tellTrackingCount(item);
  auto& u = item.elements.u;
  unsigned bit;
  if constexpr (requires { item.spare; })
    bit = item.spare;
  else
    bit = item.allowedType;
  if ((pos & 7) || bit > 1 || item.typeOfList > 3 || item.numElements > 31) return kL3GaveUp;
  unsigned first = bit << 7 | unsigned{item.typeOfList} << 5 | item.numElements;
  if (!l3Put<8>(out.data, pos, out.end, first)) return kL3GaveUp;
  if constexpr (requires { u.partTrkIdentList3; })
    if (item.typeOfList == 3) return l3DirectEnc_TS24008IE_MCCMNCPair(out, pos, &u.partTrkIdentList3);
  return item.typeOfList > 2 ? kL3GaveUp : kinds.encode[item.typeOfList](out, pos, &u);
}

#endif
