// Directions and channels of the commands.
#ifndef VELNOR3GPP_PROGRAM_USAGE_H
#define VELNOR3GPP_PROGRAM_USAGE_H

#include <string>
#include <string_view>

#include "frame.h"

// The way of a message: it selects among forms that the octets do not tell apart, and counts and keystream of NAS
// security.
enum class Direction { kUnknown, kUp, kDown };

// The channel that carried a radio resource message. It chooses the form, which the octets need not tell.
enum class Channel { kUnknown, kBcch, kCcch, kDcch, kSacch, kShort };

// Reads "up" or "down"; anything else is unknown.
Direction readWay(std::string_view word);
const char* wayName(Direction direction);
// Reads "bcch", "ccch", "dcch", "sacch" or "short"; anything else is unknown.
Channel readCarrier(std::string_view word);

// Octets as lower-case hexadecimal with blanks between them.
std::string octetText(const unsigned char* octets, size_t count);

#endif
