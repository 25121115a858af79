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

// Begins a link in a free entry, or in the one that was used longest ago: `used` is 0 or the least. A link begins at
// N(S) 0; one whose beginning the capture does not have may stand in the middle of a message.
static RadioLink& open(RadioLinks& links, const RadioLinkKey& key, uint8_t number)
{
  RadioLink* oldest = links.links;
  for (RadioLink& link : links.links)
    if (link.used < oldest->used) oldest = &link;
  *oldest = {};
  oldest->key = key;
  oldest->next = number;
  oldest->lost = number != 0;
  return *oldest;
}

// FNV-1a over the octets of a frame and its kind, to tell one that was sent again from the one seven numbers on.
static uint32_t hashOf(uint32_t kind, const uint8_t* octets, size_t count)
{
  uint32_t hash = 2166136261U ^ kind;
  for (size_t i = 0; i < count; ++i) hash = (hash ^ octets[i]) * 16777619U;
  return hash | 1; // 0 is that of no frame
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

// The number before the expected one with the same octets is a repetition. Any other number but the expected one is a
// gap.
SegmentResult takeSegment(RadioLinks& links, const RadioLinkKey& key, const RadioSegment& segment, RadioLink** link)
{
  RadioLink* found = find(links, key);
  RadioLink& entry = found ? *found : open(links, key, segment.number);
  *link = &entry;
  entry.used = ++links.clock;
  uint32_t hash = hashOf(segment.more, segment.octets, segment.count);
  if (((segment.number + 1) & 7) == entry.next && hash == entry.lastFrame) return SegmentResult::kRepeated;
  if (segment.number != entry.next || (segment.more && !segment.joins)) entry.lost = true;
  entry.next = (segment.number + 1) & 7;
  entry.lastFrame = hash;
  if (!entry.lost) keep(entry, segment);
  // `lost` ends with the last segment of the message that the gap was in, so that the next one is whole again.
  bool whole = !entry.lost;
  if (entry.lost || !segment.more) entry.inside = false;
  if (!segment.more) entry.lost = false;
  if (!whole) return SegmentResult::kFragment;
  return segment.more ? SegmentResult::kSegment : SegmentResult::kMessage;
}

bool beginLink(RadioLinks& links, const RadioLinkKey& key, const uint8_t* octets, size_t count)
{
  static constexpr uint32_t kSabm = 2; // a kind that no numbered frame has
  uint32_t hash = hashOf(kSabm, octets, count);
  RadioLink* known = find(links, key);
  bool repeated = known && known->lastFrame == hash;
  bool begins = !repeated || !known->awaited; // one that was answered begins anew
  if (begins) resetLinks(links, key);
  RadioLink& entry = begins ? open(links, key, 0) : *known;
  entry.used = ++links.clock;
  entry.lastFrame = hash;
  entry.awaited = true;
  return !repeated;
}

bool answerLink(RadioLinks& links, RadioLinkKey key)
{
  key.up = !key.up;
  RadioLink* asked = find(links, key);
  if (!asked || !asked->awaited) return false;
  asked->awaited = false;
  return true;
}

void resetLinks(RadioLinks& links, RadioLinkKey key)
{
  for (RadioLink& link : links.links) {
    key.up = link.key.up; // both directions
    if (isLink(link, key)) link = {};
  }
}
