// What the view says of a value: the value, and what it means.
#ifndef VELNOR3GPP_PROGRAM_VIEW_VALUE_H
#define VELNOR3GPP_PROGRAM_VIEW_VALUE_H

#include <cstdint>
#include <string>

#include "velnor3gpp/velnor3gpp.h"

// `inOctets`: the octets of the value are shown beside it. `before` is the last number in front of it within the same
// container: the unit of a timer, the kind of a configuration item.
std::string valueText(const velnor3gpp_Node* node, bool inOctets, uint64_t before);

#endif
