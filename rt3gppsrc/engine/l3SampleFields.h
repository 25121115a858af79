// What a sample decides about the fields that other elements depend on: selectors, counts and conditions. l3Sample.cpp
// asks here whenever a row needs an earlier field to have a certain value. A field that somebody has relied on is
// settled: it keeps its value, and whoever comes later must live with that or stay away.
#ifndef VELNOR3GPP_L3_SAMPLE_FIELDS_H
#define VELNOR3GPP_L3_SAMPLE_FIELDS_H

#include "rt3gppsrc/engine/l3Record.h"

// One record under construction.
struct L3SampleRecord {
  const L3Type& type;
  // Its storage, zeros at first.
  uint8_t* record;
  // Offsets of the settled fields. With all places taken no further field may change, which costs elements but is safe.
  uint32_t settled[64];
  unsigned settledCount;
  // An element has taken all that was left of the region: nothing can follow in it.
  bool closed;
  // An octet of the extension group is absent, so those after it are too.
  bool extClosed;
};

// Has somebody relied on the field at this offset?
bool l3IsSettled(const L3SampleRecord& sample, uint32_t offset);
// The value that an integer, flag or enumeration gets where nothing depends on it: 1 if that is legal, spare bits 0.
uint64_t l3SampleValue(const L3Row& row);
// Gives the field the least value from `lo` to `hi` that it can hold on the wire, and settles it. A field that is
// settled already keeps its value. Returns the field's value.
uint64_t l3SettleCount(L3SampleRecord& sample, const L3Field& field, uint64_t lo, uint64_t hi);
// Makes a condition hold if its fields are free to; they are settled either way. Returns whether it holds.
bool l3SettleCondition(L3SampleRecord& sample, const L3Cond& cond);
// Picks an alternative that can be had, the first with content if possible, and sets the selecting fields. May be null.
const L3Alternative* l3SettleChoice(L3SampleRecord& sample, const L3Choice& choice);
// Picks a message that agrees with the fields settled so far, and settles its discriminator and message type. May be
// null.
const L3BodyRow* l3SettleBody(L3SampleRecord& sample, const L3Body& body);

#endif
