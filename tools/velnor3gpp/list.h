// What commands say of types.
#ifndef VELNOR3GPP_PROGRAM_LIST_H
#define VELNOR3GPP_PROGRAM_LIST_H

#include <string>

#include "velnor3gpp/velnor3gpp.h"

// "element", "message" or "form".
const char* useName(velnor3gpp_Use use);
// The facts of a type as an object of JSON.
std::string factsJson(const velnor3gpp_TypeFacts& facts);

#endif
