// The digit forms of a mobile identity (IMSI, IMEI, IMEISV; TS 24.008, 10.5.1.4), shared by the identities of all
// protocols: the caller has read or will write what stands in front of them.
#ifndef VELNOR3GPP_MOBILE_IDENTITY_DIGITS_H
#define VELNOR3GPP_MOBILE_IDENTITY_DIGITS_H

#include "rt3gppsrc/engine/l3Decode.h"
#include "rt3gppsrc/engine/l3Encode.h"

// Reads the digits behind the first octet into a zero-ended array, under the element name.
inline int decIdentityDigits(L3Call& call, const char* module, const char* name, uint8_t length, uint8_t odd,
                             uint8_t digit1, char* digits, size_t size);
// Writes length, first octet and digits.
inline int encIdentityDigits(L3Call& call, const char* module, const char* name, uint8_t identType, const char* digits);

#include "velnor3gpp/rtx3GPP.h"

inline int decIdentityDigits(L3Call& call, const char* module, const char* name, uint8_t length, uint8_t odd,
                             uint8_t digit1, char* digits, size_t size)
{
  L3Name frame;
  l3PushName(call, frame, name);
  l3ToLists(call); // the operation reads through the public functions
  int status = rtx3GPPDecMobileIdentityType1(call.pctxt, length, odd, digit1, digits, size);
  if (status < 0) return l3Fail(call, module, status, __LINE__);
  l3PopName(call);
  return 0;
}

inline int encIdentityDigits(L3Call& call, const char* module, const char* name, uint8_t identType, const char* digits)
{
  L3Name frame;
  l3PushName(call, frame, name);
  l3ToLists(call);
  int status = rtx3GPPEncMobileIdentityType1(call.pctxt, identType, digits);
  if (status < 0) return l3Fail(call, module, status, __LINE__);
  l3PopName(call);
  return 0;
}

#endif
