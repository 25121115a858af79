// One element or message in octets and as text: what a decoder must make of the octets and an encoder of the record.
#pragma once

#include <string>

struct Golden {
  const char* name; // of the case
  const char* type;
  const char* octets;
  int status;                  // of the decoder
  int findings;                // what rtxErrCheckNonFatal tells of all records together
  const char* text;            // the record printed under the name "x"; null where the decoder failed
  const char* again = nullptr; // octets of the record encoded again, if others; empty: the encoder refuses
};

// Holds the decoder, the printer and the encoder to the case, in fast and in slow mode.
void checkGolden(const Golden& golden);

// Text lines without the braces' indentation, so that cases read easily.
std::string flat(const std::string& text);
