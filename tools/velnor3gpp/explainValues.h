// The values of a type that is one number, with what the standard says that they mean.
#ifndef VELNOR3GPP_TOOLS_EXPLAIN_VALUES_H
#define VELNOR3GPP_TOOLS_EXPLAIN_VALUES_H

#include <cstdint>
#include <map>
#include <string>

#include "velnor3gpp/velnor3gpp.h"

// Empty for other types, for numbers of more than eight bits, and where values have no names.
std::map<uint64_t, std::string> valuesOf(const velnor3gpp_Type* type);

#endif
