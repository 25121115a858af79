// Text that others have made (names of files, arguments, what messages hold), as a terminal can show it without being
// told to do anything.
#ifndef VELNOR3GPP_PROGRAM_PRINTABLE_H
#define VELNOR3GPP_PROGRAM_PRINTABLE_H

#include <string>
#include <string_view>

// How many octets a character of UTF-8 has that begins here, or 0 if none does.
size_t utf8Length(std::string_view text);
// The text with each octet of a control character as "\x1b": those below blank, DEL, and U+0080 to U+009F, in UTF-8 or
// as octets by themselves. Everything else stays as it is.
std::string printable(std::string_view text);
// Has the text no control character?
bool isPrintable(std::string_view text);

#endif
