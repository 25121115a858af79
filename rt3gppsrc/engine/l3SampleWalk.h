// The walk that fills a sample, as its two files share it: l3Sample.cpp decides which elements of a record are there,
// l3SampleMembers.cpp fills those that are. Nothing here is used outside of them.
#ifndef VELNOR3GPP_L3_SAMPLE_WALK_H
#define VELNOR3GPP_L3_SAMPLE_WALK_H

#include "rt3gppsrc/engine/l3SampleFields.h"

struct L3SampleWalk {
  RtxContext* pctxt;
  size_t bits;     // on the wire so far
  size_t limit;    // where the innermost region must end at the latest
  size_t grow;     // octets by which the next open string or list of the region is drawn out
  size_t argument; // the count for the next type whose decoder takes one
  unsigned depth;
  bool failed;                     // out of memory, or types within types without end
  const uint8_t* record = nullptr; // the one under the walk
  const uint8_t* around = nullptr; // the one that it stands in
};

// Cleared storage on the context's heap; null, with the walk marked as failed, if there is none.
void* l3SampleRoom(L3SampleWalk& walk, size_t octets);
// Fills a value of the type. Returns whether it takes all that is left of the region around it.
bool l3SampleType(L3SampleWalk& walk, const L3Type& type, uint8_t* value);
// Fills an element that is to be there.
void l3SampleElement(L3SampleWalk& walk, L3SampleRecord& sample, const L3Row& row);
// Is it a text that rows do not tell how to code? It is filled with digits.
bool l3IsHandText(const L3Type& type);
void l3SampleTextType(L3SampleWalk& walk, const L3Type& type, const char* name, uint8_t* value);

// The greatest number of so many bits.
inline size_t l3MaxOfBits(unsigned bits)
{
  return bits >= 32 ? UINT32_MAX : (size_t{1} << bits) - 1;
}

#endif
