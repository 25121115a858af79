// What tells connections in captures from each other in a key file: "connection address 192.0.2.1 port 40000", or
// "connection arfcn 871 timeslot 2". All terms of a line have to hold.
#ifndef VELNOR3GPP_PROGRAM_CAPTURE_KEYS_H
#define VELNOR3GPP_PROGRAM_CAPTURE_KEYS_H

#include <array>
#include <string>
#include <vector>

#include "velnor3gpp/velnor3gppCapture.h"

struct ConnectionTerm {
  size_t field;    // in the table of terms
  uint32_t number; // a number, or octets of the address
  std::array<uint8_t, 16> address;
};
using ConnectionTerms = std::vector<ConnectionTerm>;

// Reads the terms of a line. Returns what is wrong with them, or "".
std::string readConnection(const std::string& text, ConnectionTerms& terms);
// Do all terms hold? An address or a port may be that of either side.
bool isConnection(const ConnectionTerms& terms, const velnor3gpp_CaptureConnection& connection);

#endif
