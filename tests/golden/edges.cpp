#include "tests/golden/edges.h"

#include <cstring>

#include "rt3gppsrc/engine/l3Record.h"
#include "velnor3gpp/rtxMemHeap.h"

namespace {

constexpr uint64_t kMost = 600; // no longer string or list is built

struct EdgeWalk {
  RtxContext* ctxt;
  unsigned left; // edges before the wanted one
  bool done = false;

  // One of the four edges of a range; those that are the same count twice, which does no harm.
  bool take(uint64_t lo, uint64_t hi, uint64_t& value)
  {
    const uint64_t edges[] = {lo ? lo - 1 : hi + 2, lo, hi, hi + 1};
    if (left >= 4) {
      left -= 4;
      return false;
    }
    value = edges[left];
    done = true;
    return true;
  }
  void* memory(size_t octets) { return rtxMemHeapAllocZ(&ctxt->pMemHeap, octets + 1); }

  void rows(const L3Type& type, uint8_t* record)
  {
    for (const L3Row* row = type.rows; row < type.rows + type.rowCount && !done; ++row) element(*row, record);
    for (unsigned i = 0; type.message && i < type.message->count && !done; ++i)
      element(type.message->options[i], record);
  }

  void element(const L3Row& row, uint8_t* record)
  {
    uint8_t* member = record + row.offset;
    uint64_t value = 0;
    switch (row.op) {
      case kL3UInt:
      case kL3Enumerated:
        if (row.flags & kL3Ranged && take(row.lo, row.hi, value)) l3Store(member, row.store, value);
        return;
      case kL3Octets:
        return octets(*static_cast<const L3Octets*>(row.info), member);
      case kL3Text:
        return text(*static_cast<const L3Text*>(row.info), member);
      case kL3List:
        return list(*static_cast<const L3List*>(row.info), member);
      case kL3Choice:
        if (const L3Alternative* chosen = l3ChosenAlternative(*static_cast<const L3Choice*>(row.info), row, record))
          element(chosen->row, record);
        return;
      case kL3Record: // types with a name of their own are samples themselves
        if (!l3FindType(row.type->fullName)) rows(*row.type, member);
        return;
      default:
        return;
    }
  }

  void octets(const L3Octets& info, uint8_t* member)
  {
    uint64_t count = 0;
    if (!info.ranged || !take(info.lo, info.hi, count) || count > kMost) return;
    if (info.cap) {
      member[0] = uint8_t(count);
      return;
    }
    l3StoreOctets(member, {uint32_t(count), static_cast<uint8_t*>(memory(count))});
  }

  void text(const L3Text& info, uint8_t* member)
  {
    uint64_t count = 0;
    if (info.cap || !info.ranged || !take(info.lo, info.hi, count) || count > kMost) return;
    char* text = static_cast<char*>(memory(count));
    size_t length = count - (info.labels && count); // the first label's own octet
    for (size_t i = 0; text && i < length; ++i) text[i] = i % 60 == 59 ? '.' : 'a';
    l3StorePointer(member, text);
  }

  void list(const L3List& info, uint8_t* member)
  {
    L3HeapList held = {member[0], member + info.elemOffset};
    if (!info.cap) held = l3LoadShape<L3HeapList>(member);
    uint64_t count = 0;
    if (info.ranged && take(info.lo, info.hi, count) && count <= kMost) return resize(info, member, held, count);
    if (!done && held.n && held.elem) element(info.elem, held.elem);
  }

  // So many copies of the first entry.
  void resize(const L3List& info, uint8_t* member, const L3HeapList& held, uint64_t count)
  {
    uint8_t* entries = info.cap ? held.elem : static_cast<uint8_t*>(memory(count * info.elemSize));
    uint64_t room = info.cap && info.cap < count ? info.cap : count;
    for (uint64_t i = 0; entries && held.n && held.elem && i < room; ++i)
      memmove(entries + i * info.elemSize, held.elem, info.elemSize);
    if (info.cap)
      member[0] = uint8_t(count);
    else
      l3StoreList(member, count, entries);
  }
};

} // namespace

bool moveToEdge(RtxContext* ctxt, const L3Type& type, void* sample, unsigned index)
{
  EdgeWalk walk{ctxt, index};
  if (type.flags & kL3Pointer && (!type.rowCount || type.hand)) return false;
  walk.rows(type, static_cast<uint8_t*>(sample));
  return walk.done;
}
