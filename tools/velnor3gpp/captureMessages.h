// Captures among the inputs of a command.
#ifndef VELNOR3GPP_PROGRAM_CAPTURE_MESSAGES_H
#define VELNOR3GPP_PROGRAM_CAPTURE_MESSAGES_H

#include "source.h"

// The message of a frame as commands take it, with its connection, which stays the frame's. Its place and what leads
// its JSON are left out.
Message messageOf(const velnor3gpp_CaptureFrame& frame);
// Reads an input to its end if it begins as a capture does and hands over its messages; false if it does not. `first`
// was read from the descriptor. Standard error tells how many frames hold none, and why. Throws DamageError behind the
// last message of a damaged one.
bool takeCapture(const Taker& taker, const std::string& name, int descriptor, std::string_view first);

#endif
