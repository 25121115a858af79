// Names and values of enumerations: what the exported `_ToString` and `_ToEnum2` functions call.
#ifndef VELNOR3GPP_L3_ENUM_H
#define VELNOR3GPP_L3_ENUM_H

#include "rt3gppsrc/engine/l3Types.h"

// The value's name, or "_UNKNOWN_".
const char* l3EnumName(const L3Enum& set, int32_t value);
// The row of a value, found over the rows in rising order of values, or null.
const RtxEnumItem* l3EnumItem(const L3Enum& set, int64_t value);
// What the standard calls the value, "128-EEA2", or else its name; null if it has none.
const char* l3EnumTitle(const L3Enum& set, int64_t value);
// The value of a name of so many octets. 0, or -4 with the name as parameter.
int l3EnumValue(RtxContext* pctxt, const L3Type& type, const L3Enum& set, const char* name, size_t namelen, int& value);
// Encodes a text type whose value is an array of characters.
int l3EncodeText(RtxContext* pctxt, const L3Type& type, const char* value);

#endif
