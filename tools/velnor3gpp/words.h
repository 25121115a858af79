// Names of definitions as words: "protSchemeId" is "Protection scheme identity", "integProtAndCipher" is "integrity
// protected and ciphered".
#ifndef VELNOR3GPP_PROGRAM_WORDS_H
#define VELNOR3GPP_PROGRAM_WORDS_H

#include <string>
#include <string_view>

// With a capital letter in front.
std::string asTitle(std::string_view name);
// As it stands within a sentence; lives as long as the thread.
const std::string& asWords(std::string_view name);

#endif
