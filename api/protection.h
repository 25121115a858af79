// What the first octets of a NAS message tell about its protection, before anything is decoded (TS 24.301, 9.3.1; TS
// 24.501, 9.3). detect.cpp reads it; code.cpp verifies with it and chooses count, direction and form. All places are
// octets from the start of the message. Nothing here looks at keys.
#ifndef VELNOR3GPP_API_PROTECTION_H
#define VELNOR3GPP_API_PROTECTION_H

#include "rt3gppsrc/engine/l3Types.h"

struct Protection {
  bool present;
  bool ciphered;
  bool checkable;     // the decoder looks at the code
  const char* header; // the full name of the header's type, null for a short code without header
  uint8_t bearer;     // where the keys do not tell it
  uint32_t sequence;
  unsigned sequenceBits;
  size_t codeAt; // the authentication code
  size_t codeOctets;
  size_t signedFrom;  // what the code covers, to the end
  size_t signedCount; // fewer octets than to the end, or 0
  size_t inner;       // the message inside, or the end where there is none
};

// Of octets of the form; all zeros where the form has no protection or the message none.
Protection protectionOf(const L3Type& form, const uint8_t* octets, size_t count);
// Does the inside read as a plain message of the form, so that a header that says "ciphered" means the null cipher?
bool looksPlain(const L3Type& form, const uint8_t* octets, size_t count, const Protection& protection);
// Does the form's table have a message of that discriminator and type?
bool formHas(const L3Type& form, unsigned discriminator, unsigned msgType);

#endif
