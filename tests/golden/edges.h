// Records at the edges of what their counts and numbers may be, made from samples.
#pragma once

#include "tests/recordWalk.h"

struct EdgeWalk {
  static constexpr uint64_t kMost = 600; // no longer string or list is built
  RtxContext* ctxt;
  unsigned left; // edges before the wanted one
  bool done = false;

  // One of the four edges of a range; those that are the same count twice, which does no harm.
  bool take(bool ranged, uint64_t lo, uint64_t hi, uint64_t& value)
  {
    const uint64_t edges[] = {lo ? lo - 1 : hi + 2, lo, hi, hi + 1};
    if (!ranged) return false;
    done = left < 4;
    if (done) value = edges[left];
    left -= done ? 0 : 4;
    return done;
  }

  // Goes on into what is in the element, but for types with a name of their own, which are samples themselves.
  bool visit(const L3Row& row, uint8_t* record)
  {
    uint8_t* member = record + row.offset;
    uint64_t count = 0;
    if (done) return false;
    if (row.op == kL3UInt || row.op == kL3Enumerated) {
      const L3Range range = row.flags & kL3Ranged ? l3RangeOf(row) : L3Range{};
      if (take(row.flags & kL3Ranged, range.lo, range.hi, count)) l3Store(member, row.store, count);
    } else if (row.op == kL3Octets) {
      const L3Octets& info = *static_cast<const L3Octets*>(row.info);
      if (take(info.ranged, info.lo, info.hi, count) && count <= kMost) octets(info, member, count);
    } else if (row.op == kL3Text) {
      const L3Text& info = *static_cast<const L3Text*>(row.info);
      if (!info.cap && take(info.ranged, info.lo, info.hi, count) && count <= kMost)
        storeText(ctxt, member, 0, labels(count - (info.labels && count))); // the first label's own octet
    } else if (row.op == kL3List) {
      const L3List& info = *static_cast<const L3List*>(row.info);
      if (take(info.ranged, info.lo, info.hi, count) && count <= kMost) resizeList(ctxt, info, member, count);
    }
    return !done && (row.op != kL3Record || !l3FindType(row.type->fullName));
  }

  // Inline octets beyond the count are as they were.
  void octets(const L3Octets& info, uint8_t* member, uint64_t count)
  {
    if (info.cap)
      member[0] = uint8_t(count);
    else
      storeOctets(ctxt, info, member, Octets(count));
  }

  static std::string labels(uint64_t length)
  {
    std::string text(length, 'a');
    for (size_t i = 59; i < length; i += 60) text[i] = '.';
    return text;
  }
};

// Changes the sample of a type at its edge number `index`: a count or a ranged number one below its range, at either
// end, or one above. False if the type has no such edge. What a length bounds is left to the decoder.
inline bool moveToEdge(RtxContext* ctxt, const L3Type& type, void* sample, unsigned index)
{
  EdgeWalk walk{ctxt, index};
  if (type.flags & kL3Pointer && (!type.rowCount || type.hand)) return false;
  eachPresent(type, static_cast<uint8_t*>(sample),
              [&walk](const L3Row& row, uint8_t* record) { return walk.visit(row, record); });
  return walk.done;
}
