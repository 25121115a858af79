// What a sample decides about the fields that other elements depend on: selectors, counts and conditions. A field that
// somebody has relied on is settled; whoever comes later must live with its value or stay away.
#ifndef VELNOR3GPP_L3_SAMPLE_FIELDS_H
#define VELNOR3GPP_L3_SAMPLE_FIELDS_H

#include "rt3gppsrc/engine/l3Record.h"

// One record under construction.
struct L3SampleRecord {
  const L3Type& type;
  uint8_t* record;
  uint32_t settled[64]; // offsets of fields; with all places taken no further field may change
  unsigned settledCount;
  bool closed;    // an element has taken all that was left of the region
  bool extClosed; // an octet of the extension group is absent, so are those after it
};

bool l3IsSettled(const L3SampleRecord& sample, uint32_t offset);
// The value that an integer, flag or enumeration gets where nothing depends on it.
uint64_t l3SampleValue(const L3Row& row);
// Gives the field the least value from `lo` to `hi` that it can hold on the wire. A settled field keeps its value.
// Returns the field's value.
uint64_t l3SettleCount(L3SampleRecord& sample, const L3Field& field, uint64_t lo, uint64_t hi);
// Makes a condition hold if the fields are free to; they are settled either way.
bool l3SettleCondition(L3SampleRecord& sample, const L3Cond& cond);
// Picks an alternative that can be had, the first with content if possible, and sets the selecting fields. May be null.
const L3Alternative* l3SettleChoice(L3SampleRecord& sample, const L3Choice& choice);
// Picks a message that agrees with the fields settled so far and settles its discriminator and type.
const L3BodyRow* l3SettleBody(L3SampleRecord& sample, const L3Body& body);

#endif
