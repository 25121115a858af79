// Which values a number has, and what they are called: tables beside the descriptors of l3Types.h, which says what all
// of them have in common.
#ifndef VELNOR3GPP_L3_VALUES_H
#define VELNOR3GPP_L3_VALUES_H

#include "rt3gppsrc/engine/l3At.h"
#include "velnor3gpp/rtxEnum.h"

// An enumeration. With the open flags set it is an integer some of whose values have names; only its width bounds it
// then.
struct L3Enum {
  // Sorted by name. The `transformedIdx` of row i is the row that holds the i-th value in rising order, so one table
  // serves the search by name and the search by value.
  const RtxEnumItem* table;
  // Rows of the table.
  uint16_t rows;
  // Width on the wire.
  uint16_t bits;
  // 1: the decoder takes any value of the width (`!open-decode`). 0: a value that is no member ends the decoding with
  // -4.
  uint8_t openDecode;
  // The same for the encoder (`!open-encode`).
  uint8_t openEncode;
  // 1: a block `names`, whose field is an unsigned integer of L3Row.store octets; a value without a name prints as a
  // number. 0: the field is a C enumeration of 32 bits, and a value without a name prints as "???".
  uint8_t printOpen;
  // 1: the values run without a gap from the lowest, so that value - lowest is an index and nothing has to be searched.
  uint8_t gapless;
  // One bit for each value from 0 to 255, 32 to a word: value 0x25 is bit 5 of members[1]. No larger value is a member.
  uint32_t members[8];
  // The standard's names of the values, "128-EEA2", in rising order of the values; null if no row has one.
  const char* const* titles = nullptr;
};

// The values that the standard allows, both included. Decoders remark a value outside (-16, non-fatal), encoders refuse
// it.
struct L3Range {
  uint32_t lo, hi;
};

// What the standard says that a value means. Values without words are as legal as others: only those who show values
// look here.
struct L3Meaning {
  uint32_t value;
  L3Run<char> text;
};
struct L3Meanings {
  uint32_t count;
  L3Run<L3Meaning> all; // in rising order of the values
};

#endif
