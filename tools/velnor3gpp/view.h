// A message for a person at a terminal: a line for each field.
#ifndef VELNOR3GPP_PROGRAM_VIEW_H
#define VELNOR3GPP_PROGRAM_VIEW_H

#include "output.h"
#include "velnor3gpp/velnor3gpp.h"

struct ViewStyle {
  bool colour = false;
  size_t width = 80;  // columns
  unsigned depth = 0; // levels of containers that are opened, 0: all
};

// The style for an output: colours and its width if it is a terminal and nobody has asked for none (NO_COLOR).
// `colour` is "auto", "always" or "never".
ViewStyle styleFor(const Output& out, const std::string& colour, unsigned depth);
// Lines, each folded at the width and ended.
std::string folded(const ViewStyle& style, std::string_view text);
// Shows the session's record with the octets and bits of each element; findings stand at their elements.
void printView(Output& out, const ViewStyle& style, velnor3gpp_Session* session);

#endif
