// How people spell things: types in any case, full or short, directions in the words of several trades, channels; and
// what they may have meant by a word that is none.
#ifndef VELNOR3GPP_PROGRAM_NAMES_H
#define VELNOR3GPP_PROGRAM_NAMES_H

#include <string>
#include <string_view>
#include <vector>

#include "velnor3gpp/velnor3gpp.h"

// The facts of a type.
velnor3gpp_TypeFacts factsOf(const velnor3gpp_Type* type);
// What came of the session's last message.
velnor3gpp_Result resultOf(velnor3gpp_Session* session);
// The type of that full or short name in any case, or null.
const velnor3gpp_Type* findType(const std::string& name);
// Full names of all types, or only of those with the short name.
std::vector<std::string> typeNames(const std::string* shortName = nullptr);
// The type of that name; throws UsageError with the nearest names, or with all of them where several have the short
// name.
const velnor3gpp_Type* typeNamed(const std::string& name);

// Reads up, down, ul, dl, mo, mt, uplink, downlink in any case; anything else is unknown.
velnor3gpp_Direction readDirection(std::string_view word);
// "up", "down" or "".
const char* directionName(velnor3gpp_Direction direction);
// Reads bcch, ccch, dcch, sacch or short in any case; anything else is unknown.
velnor3gpp_Channel readChannel(std::string_view word);
// The word for a channel, or "".
const char* channelName(velnor3gpp_Channel channel);

// In how many letters two words differ, whatever their case.
size_t distance(std::string_view a, std::string_view b);
// "; did you mean A, B, C" of those that begin as the wanted word or are near to it, or "".
std::string didYouMean(std::string_view wanted, const std::vector<std::string>& known);
// Why a word is none of those known, in any case, or "".
std::string wordFault(const std::string& word, const std::vector<std::string>& known);
std::string lower(std::string_view text);
// Are two texts equal but for capital letters?
bool sameLetters(std::string_view first, std::string_view second);

#endif
