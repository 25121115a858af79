// What the user can mend: thrown anywhere in the program, printed by main as one line on standard error, exit code 2.
#ifndef VELNOR3GPP_PROGRAM_USAGE_H
#define VELNOR3GPP_PROGRAM_USAGE_H

#include <stdexcept>
#include <string>
#include <string_view>

struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The way of a message: it selects among forms that the octets do not tell apart, and counts and keystream of NAS
// security.
enum class Direction { kUnknown, kUp, kDown };

// The channel that carried a radio resource message. It chooses the form, which the octets need not tell.
enum class Channel { kUnknown, kBcch, kCcch, kDcch, kSacch, kShort };

// Reads "up" or "down"; anything else is unknown.
Direction readDirection(std::string_view word);
const char* directionName(Direction direction);
// Reads "bcch", "ccch", "dcch", "sacch" or "short"; anything else is unknown.
Channel readChannel(std::string_view word);

// Octets as lower-case hexadecimal with blanks between them.
std::string octetText(const unsigned char* octets, size_t count);

#endif
