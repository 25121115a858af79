// Layer-2 links of dedicated radio channels (LAPDm, TS 44.006): segments of messages are put together here, in
// a table that has its size from the beginning. A link is one direction of one service access point of a
// channel. lapdm.cpp hands numbered frames in; a whole message lies in the link until its next segment comes.
// Numbers wrap at 8, as on the air.
#ifndef VELNOR3GPP_CAPTURE_LINKS_H
#define VELNOR3GPP_CAPTURE_LINKS_H

#include <cstddef>
#include <cstdint>

inline constexpr size_t kMaxLinks = 128;
inline constexpr size_t kMaxMessage = 512; // twice what layer 3 sends over LAPDm (TS 44.006, 5.8.5)

struct RadioLinkKey {
  uint64_t channel; // a hash of who sent the frame, on which channel; both directions have the same
  uint8_t point;    // service access point
  bool up;
};

struct RadioLink {
  RadioLinkKey key;
  uint64_t used;      // when a frame of it came last; 0: the entry is free
  uint8_t next;       // the number N(S) that the next frame shall have
  bool inside;        // segments of a message are held
  bool lost;          // segments are missing: nothing is whole before the next last segment has passed
  uint8_t open[8];    // of links that are not told apart: how many messages go on at each number
  uint32_t lastFrame; // a hash of the numbered frame before, to know it when it is sent again; 0: there was none
  uint32_t sabm;      // a hash of the frame that began the link; 0: the capture does not have it
  size_t count;
  uint8_t octets[kMaxMessage];
};

struct RadioLinks {
  RadioLink links[kMaxLinks];
  uint64_t clock;
  bool full; // a link has given its place to another
};

// A numbered frame: its number, whether more segments follow, and its octets.
struct RadioSegment {
  uint8_t number;
  bool more;
  bool joins; // false: several links may be mixed, so that no message is made of several segments
  const uint8_t* octets;
  size_t count;
};

// kMessage: whole. kSegment: more is to come. kFragment: part of a message that has a gap. kRepeated: sent again.
enum class SegmentResult { kMessage, kSegment, kFragment, kRepeated };

// Takes a segment into its link. With kMessage the link holds the whole message.
SegmentResult takeSegment(RadioLinks& links, const RadioLinkKey& key, const RadioSegment& segment, RadioLink** link);
// A link begins with SABM, whose octets these are: both directions count from 0. Returns false if it is the same frame
// sent again, before any numbered one of the link.
bool beginLink(RadioLinks& links, const RadioLinkKey& key, const uint8_t* octets, size_t count);
// Has the other direction begun the link, with the octets of this answer if it has any? The answer may come twice, and
// behind the first frames that follow SABM, as receivers of the two directions are not in step.
bool isAnswer(RadioLinks& links, const RadioLinkKey& key, const uint8_t* octets, size_t count);
// A link begins or ends: both directions count from 0 and hold nothing.
void resetLinks(RadioLinks& links, RadioLinkKey key);

#endif
