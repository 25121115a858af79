// Bits written as text, and what a decoder made of them: once as it runs, once in slow mode, which must agree.
#pragma once

#include <string>
#include <vector>

#include "rt3gppsrc/engine/l3Engine.h"
#include "velnor3gpp/TS24008IES.h"

using Octets = std::vector<uint8_t>;

// '0' and '1' count, everything else is for the reader. The last octet is filled with zeros.
Octets octetsOf(const std::string& bits);
// The number in so many binary digits.
std::string digits(unsigned value, unsigned width);
std::string zeros(unsigned count);
unsigned countBits(const std::string& bits);

// What can be observed of one decoding. The record lies in the context's heap, which goes with this.
struct Outcome {
  int status = 0;
  int fatalStatus = 0;           // of the error list
  size_t errors = 0;             // records on the list
  int firstError = 0;            // status of the first
  size_t position = 0;           // of the cursor, in bits
  size_t regions = 0, names = 0; // left on the stacks
  std::string text;              // of the record, where decoding succeeded
  Octets again;                  // the record encoded
  int againStatus = 0;
};

// Decodes octets as a type ("AccessCapability"), prints and encodes again. Octets behind the last are filled in.
Outcome decode(const char* type, const Octets& octets, unsigned specRelease = 0);

// The value of a path like "multislotCap.gprsMSC.gprsMultiSlotClass" in printed text; "-" where there is none.
std::string valueOf(const std::string& text, const std::string& path);
// How many spare bits the printed text ends with.
size_t spareBitsOf(const std::string& text);
