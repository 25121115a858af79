// Names and values of enumerations: what the exported `_ToString` and `_ToEnum2` functions call, and the printer. A
// value is a number here, whether or not the enumeration has it.
#ifndef VELNOR3GPP_L3_ENUM_H
#define VELNOR3GPP_L3_ENUM_H

#include "rt3gppsrc/engine/l3Types.h"

// The value's name, or "_UNKNOWN_". The text is constant and never freed.
const char* l3EnumName(const L3Enum& set, int32_t value);
// The row of a value, or null. The rows stand in the order of names; the search goes over them in rising order of
// values.
const RtxEnumItem* l3EnumItem(const L3Enum& set, int64_t value);
// What the standard calls the value ("128-EEA2"), or else its name; null if the enumeration does not have the value.
const char* l3EnumTitle(const L3Enum& set, int64_t value);
// What a number means by its row's table of meanings; null if that has no words for it.
const char* l3MeaningOf(const L3Row& row, uint64_t value);
// The value of a name of `namelen` characters, which need no end. 0, or -4 with the name as parameter of the error
// record.
int l3EnumValue(RtxContext* pctxt, const L3Type& type, const L3Enum& set, const char* name, size_t namelen, int& value);
// Encodes a string type; an exported encoder gets such a value as const text.
int l3EncodeText(RtxContext* pctxt, const L3Type& type, const char* value);

#endif
