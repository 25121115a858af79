// The authentication code of a protected message in the session's record: the header's (EPS and 5GS NAS), or the short
// one of a service request (TS 24.301, 8.2.25). Encoders put the one that they compute into the record and the octets,
// which without keys is 0.
#ifndef VELNOR3GPP_API_AUTH_CODE_H
#define VELNOR3GPP_API_AUTH_CODE_H

#include "api/session.h"

// The code as it goes on the wire, and where the record has it.
struct AuthCode {
  uint8_t octets[4];
  unsigned count; // 4, 2, or 0: the message is not protected
  uint8_t* member;
  uint8_t store; // octets of a number, or 0: the member is the octets
};

AuthCode authCodeOf(velnor3gpp_Session& session);
// Puts it back into the record.
void storeAuthCode(const AuthCode& code);
// Makes it 0.
void clearAuthCode(velnor3gpp_Session& session);

#endif
