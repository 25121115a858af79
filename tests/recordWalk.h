// Walks over descriptors and records, and values in the form in which a record holds them, for all tests that hold for
// every type.
#pragma once

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>

#include "rt3gppsrc/engine/l3Record.h"
#include "tests/outcome.h"

// Every row of a type, and those that a row is made of: the entry of a list, the alternatives of a choice.
using UseRow = std::function<void(const L3Row&)>;

inline void eachPart(const L3Row& row, const UseRow& use)
{
  use(row);
  if (row.op == kL3List) eachPart(static_cast<const L3List*>(row.info)->elem, use);
  if (row.op != kL3Choice) return;
  const L3Choice& choice = *static_cast<const L3Choice*>(row.info);
  for (unsigned i = 0; i < choice.count; ++i) eachPart(choice.alternatives[i].row, use);
}

inline void eachRow(const L3Type& type, const UseRow& use)
{
  for (unsigned i = 0; i < type.rowCount; ++i) eachPart(type.rows[i], use);
  for (unsigned i = 0; type.message && i < type.message->count; ++i) eachPart(type.message->options[i], use);
}

// The entries that there are, whatever the count says.
inline L3HeapList listOf(const L3List& info, uint8_t* member)
{
  if (info.cap) return {std::min<uint64_t>(member[0], info.cap), member + info.elemOffset};
  L3HeapList held = l3LoadShape<L3HeapList>(member);
  return held.elem ? held : L3HeapList{};
}

// Every element that is present in a record, each before those inside it; these only where `visit` wants them.
using VisitRow = std::function<bool(const L3Row&, uint8_t* record)>;

inline void eachPresent(const L3Type& type, uint8_t* record, const VisitRow& visit);

inline void visitPresent(const L3Row& row, uint8_t* record, const VisitRow& visit)
{
  if (!l3IsPresent(row, record) || !visit(row, record)) return;
  uint8_t* member = record + row.offset;
  if (row.op == kL3Record) eachPresent(*row.type, member, visit);
  if (row.op == kL3List) {
    const L3List& info = *static_cast<const L3List*>(row.info);
    L3HeapList held = listOf(info, member);
    for (size_t k = 0; k < held.n; ++k) visitPresent(info.elem, held.elem + k * info.elemSize, visit);
  }
  if (row.op != kL3Choice) return;
  const L3Choice& choice = *static_cast<const L3Choice*>(row.info);
  if (auto* alternative = l3ChosenAlternative(choice, row, record)) visitPresent(alternative->row, record, visit);
}

inline void eachPresent(const L3Type& type, uint8_t* record, const VisitRow& visit)
{
  for (unsigned i = 0; i < type.rowCount; ++i) visitPresent(type.rows[i], record, visit);
  for (unsigned i = 0; type.message && i < type.message->count; ++i)
    visitPresent(type.message->options[i], record, visit);
}

inline uint8_t* zeroed(RtxContext* ctxt, size_t octets)
{
  return static_cast<uint8_t*>(rtxMemHeapAllocZ(&ctxt->pMemHeap, octets ? octets : 1));
}

// False where the record has no place for so many octets; the count says them all the same.
inline bool storeOctets(RtxContext* ctxt, const L3Octets& info, uint8_t* member, const Octets& octets)
{
  size_t room = info.from == kL3Fixed ? info.fixed : info.cap ? info.cap : octets.size();
  uint8_t* data = info.from == kL3Fixed ? member : info.cap ? member + info.dataOffset : zeroed(ctxt, octets.size());
  if (info.from != kL3Fixed && info.cap) member[0] = uint8_t(octets.size());
  if (info.from != kL3Fixed && !info.cap) l3StoreOctets(member, {uint32_t(octets.size()), data});
  std::copy_n(octets.begin(), std::min(room, octets.size()), data);
  return info.from == kL3Fixed ? octets.size() == room : octets.size() <= room;
}

// An array of `cap` characters, which has no end when it is full, or a pointer.
inline bool storeText(RtxContext* ctxt, uint8_t* member, size_t cap, const std::string& text)
{
  uint8_t* to = cap ? member : zeroed(ctxt, text.size() + 1);
  if (!cap) l3StorePointer(member, to);
  memcpy(to, text.c_str(), cap ? std::min(cap, text.size() + 1) : text.size() + 1);
  return !cap || text.size() <= cap;
}

// So many copies of the first entry, as far as there is a place for them.
inline bool resizeList(RtxContext* ctxt, const L3List& info, uint8_t* member, size_t count)
{
  L3HeapList held = listOf(info, member);
  uint8_t* entries = info.cap ? held.elem : zeroed(ctxt, count * info.elemSize);
  size_t room = info.cap ? std::min<size_t>(info.cap, count) : count;
  for (size_t i = 0; held.n && held.elem && i < room; ++i)
    memmove(entries + i * info.elemSize, held.elem, info.elemSize);
  if (info.cap)
    member[0] = uint8_t(count);
  else
    l3StoreList(member, count, entries);
  return room == count;
}
