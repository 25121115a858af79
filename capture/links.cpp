// Segments of messages put together (TS 44.006): N(S) counts them modulo 8, and the bit M says whether more follow.
// Frames may be missing from a capture, or stand in it twice, because nobody here can ask for them again. What follows
// a gap is told as fragments up to the next last segment, since nothing says where in a message it stands. lapdm.cpp
// calls it; nothing is allocated.
#include "capture/links.h"

#include <cstring>

// An entry that was never used belongs to no link.
static bool isLink(const RadioLink& link, const RadioLinkKey& key)
{
  return link.used && link.key.channel == key.channel && link.key.point == key.point && link.key.up == key.up;
}

static RadioLink* find(RadioLinks& links, const RadioLinkKey& key)
{
  for (RadioLink& link : links.links)
    if (isLink(link, key)) return &link;
  return nullptr;
}

static RadioLinkKey otherWay(const RadioLinkKey& key)
{
  return {key.channel, key.point, !key.up};
}

static bool isBegun(const RadioLink* link)
{
  return link && link->sabm;
}

// FNV-1a over the octets of a frame and its kind, to tell one that was sent again from the one seven numbers on.
static uint32_t hashOf(uint32_t kind, const uint8_t* octets, size_t count)
{
  uint32_t hash = (2166136261U ^ kind) * 16777619U;
  for (size_t i = 0; i < count; ++i) hash = (hash ^ octets[i]) * 16777619U;
  return hash | 1; // 0 is that of no frame
}

// Begins a link in a free entry, or in the one that was used longest ago: `used` is 0 or the least. A link begins at
// N(S) 0; one whose beginning the capture does not have may stand in the middle of a message. So may any that SABM has
// not begun, once entries were taken from others.
static RadioLink& open(RadioLinks& links, const RadioLinkKey& key, uint8_t number)
{
  RadioLink* oldest = links.links;
  for (RadioLink& link : links.links)
    if (link.used < oldest->used) oldest = &link;
  links.full = links.full || oldest->used;
  bool begun = isBegun(find(links, otherWay(key)));
  *oldest = {};
  oldest->key = key;
  oldest->next = number;
  oldest->lost = number != 0 || (links.full && !begun);
  return *oldest;
}

// Appends the segment to the message, which a last segment before it has ended.
static void keep(RadioLink& link, const RadioSegment& segment)
{
  if (!link.inside) link.count = 0;
  link.inside = true;
  if (segment.count > sizeof link.octets - link.count) {
    link.lost = true; // longer than any message
    return;
  }
  memcpy(link.octets + link.count, segment.octets, segment.count);
  link.count += segment.count;
}

// Frames of several links, each with numbers of its own: a frame goes on with a message if one is open at its number.
// It is the whole of one if none is.
static SegmentResult takeMixed(RadioLink& link, const RadioSegment& segment)
{
  uint8_t& here = link.open[segment.number];
  uint8_t& behind = link.open[(segment.number + 1) & 7];
  bool goesOn = here != 0;
  if (goesOn) --here;
  if (segment.more && behind < UINT8_MAX) ++behind;
  if (goesOn || segment.more) return SegmentResult::kFragment;
  link.inside = false;
  keep(link, segment);
  return SegmentResult::kMessage;
}

// A frame in its turn, or behind a gap. `lost` ends with the last segment of the message that the gap was in, so that
// the next one is whole again.
static SegmentResult takeNext(RadioLink& link, const RadioSegment& segment)
{
  if (segment.number != link.next) link.lost = true;
  link.next = (segment.number + 1) & 7;
  if (!link.lost) keep(link, segment);
  bool whole = !link.lost;
  if (link.lost || !segment.more) link.inside = false;
  if (!segment.more) link.lost = false;
  if (!whole) return SegmentResult::kFragment;
  return segment.more ? SegmentResult::kSegment : SegmentResult::kMessage;
}

// The number before the expected one with the same octets is a repetition. Any other number but the expected one is a
// gap.
SegmentResult takeSegment(RadioLinks& links, const RadioLinkKey& key, const RadioSegment& segment, RadioLink** link)
{
  RadioLink* found = find(links, key);
  RadioLink& entry = found ? *found : open(links, key, segment.number);
  *link = &entry;
  entry.used = ++links.clock;
  if (!segment.joins) return takeMixed(entry, segment);
  uint32_t hash = hashOf(segment.more, segment.octets, segment.count);
  if (((segment.number + 1) & 7) == entry.next && hash == entry.lastFrame) return SegmentResult::kRepeated;
  entry.lastFrame = hash;
  return takeNext(entry, segment);
}

static constexpr uint32_t kSabm = 2; // a kind that no numbered frame has

bool beginLink(RadioLinks& links, const RadioLinkKey& key, const uint8_t* octets, size_t count)
{
  uint32_t hash = hashOf(kSabm, octets, count);
  const RadioLink* known = find(links, key);
  bool repeated = known && known->sabm == hash && !known->lastFrame && !find(links, otherWay(key));
  resetLinks(links, key);
  RadioLink& entry = open(links, key, 0);
  entry.used = ++links.clock;
  entry.lost = false;
  entry.sabm = hash;
  return !repeated;
}

bool isAnswer(RadioLinks& links, const RadioLinkKey& key, const uint8_t* octets, size_t count)
{
  const RadioLink* asked = find(links, otherWay(key));
  return isBegun(asked) && (!count || asked->sabm == hashOf(kSabm, octets, count));
}

void resetLinks(RadioLinks& links, RadioLinkKey key)
{
  for (RadioLink& link : links.links) {
    key.up = link.key.up; // both directions
    if (isLink(link, key)) link = {};
  }
}
