// The standard's names beside ours: of the message that a session holds, and of the elements in its text.
#ifndef VELNOR3GPP_PROGRAM_TITLES_H
#define VELNOR3GPP_PROGRAM_TITLES_H

#include <string>
#include <string_view>

#include "velnor3gpp/velnor3gpp.h"

// Is the session's message one that both sides send, so that its octets alone do not tell its direction?
bool isSentByBoth(velnor3gpp_Session* session);
// The text of the session's record with a line "-- 5GS mobile identity" in front of each element that the standard
// calls otherwise than its name does, and "-- 128-EEA2" in front of an algorithm. The lines of the record stay as they
// are, for those who read them by program, but for control characters, which stand as "\x1b".
std::string withTitles(velnor3gpp_Session* session, std::string_view text);
// The text without them, but for control characters as well.
std::string withoutControls(velnor3gpp_Session* session, std::string_view text);

#endif
