// Octets written in hexadecimal, as people paste them: in words of any even length, with or without 0x or \x, between
// them blanks, colons, commas or hyphens; what follows a # is a comment.
#ifndef VELNOR3GPP_PROGRAM_HEX_H
#define VELNOR3GPP_PROGRAM_HEX_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

struct HexText {
  std::vector<uint8_t> octets;
  size_t column = 0;   // of the first fault, from 1; 0: none
  std::string problem; // what is wrong there
};

HexText readHex(std::string_view text);

// The value of a hexadecimal digit, or -1.
int hexDigit(char c);
// A character as a person can read it: quoted, or by number if it does not print.
std::string showChar(char c);

// Octets as lower-case hexadecimal with blanks between them.
std::string octetText(const uint8_t* octets, size_t count);
// The same without blanks.
std::string plainHex(const uint8_t* octets, size_t count);

#endif
