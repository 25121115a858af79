// What the first octets of a message tell: which top-level form it has, and whether NAS security protects it.
#ifndef VELNOR3GPP_PROGRAM_FORM_H
#define VELNOR3GPP_PROGRAM_FORM_H

#include <cstdint>
#include <string>
#include <vector>

#include "api/protection.h"
#include "rt3gppsrc/engine/l3Engine.h"
#include "usage.h"

// The type of that full name; throws UsageError with the nearest names.
const L3TypeEntry& entryNamed(const std::string& fullName);
// The top-level forms that the octets can belong to, by protocol discriminator and message type; throws UsageError if
// there is none. More than one is possible for radio resource messages alone, whose channel tells.
std::vector<const L3TypeEntry*> formsOf(const std::vector<uint8_t>& octets, Direction direction, Channel channel);
// Is a message of the form sent in blocks of one size, filled with padding?
bool fillsBlock(const L3Type& form);
// Does the form begin with a pseudo length, which encoders count anew?
bool hasPseudoLength(const L3Type& form);

Protection protectionOf(const L3Type& form, const std::vector<uint8_t>& octets);
// Does the inside read as a plain message of the form, so that a header that says "ciphered" means the null cipher?
bool looksPlain(const L3Type& form, const std::vector<uint8_t>& octets, const Protection& protection);

#endif
