// What the top-level coders of 5GS and EPS share: they verify, decipher, cipher and sign the octets in the context's
// buffer, where they stand (TS 24.301 and TS 24.501, 4.4.3.3 and 4.4.3.4). TS24301Pdu.cpp and TS24501Pdu.cpp call it;
// the forms of TS 24.008 and TS 44.018 use its nasEncodePlain alone. The places of code, sequence number and ciphered
// octets differ by system and are arguments. Keys and counts are the context's (rt3gppNasSec.h); this file never
// changes a count, and it names no type.
#ifndef VELNOR3GPP_NAS_PROTECTION_H
#define VELNOR3GPP_NAS_PROTECTION_H

#include "rt3gppsrc/engine/l3Call.h"

// Where the parts of a protected message begin, in octets from its start. Each part goes to the end of the message.
//   EPS   17 c0dec0de 05 0741...      discriminator octet, code, sequence number, plain message: 1, 5, 6
//   5GS   7e02 c0dec0de 05 7e0041...  two octets before the code: 2, 6, 7
struct NasSpans {
  size_t codeAt;       // where the 32-bit code stands
  size_t signedFrom;   // the sequence number, which the code covers with all behind it
  size_t cipheredFrom; // the plain message: the sequence number is never ciphered
};

// A place to come back to after looking ahead: the cursor, and the flag word, which reading may change.
struct NasPosition {
  size_t byteIndex;
  int16_t bitOffset;
  uint32_t flags;
};

NasPosition nasPosition(const RtxContext* pctxt);
void nasReturn(RtxContext* pctxt, const NasPosition& position);

// Computes the code from an octet to the end of the buffer and compares it. A failure (-71: no keys) or a mismatch
// (-70, with received and computed code as parameters) is recorded as a fatal finding and does not stop the decoding,
// so that a caller without the keys still sees the record.
void nasVerify(L3Call& call, const L3Type& type, size_t from, uint32_t received);
// Deciphers in place from an octet to the end of the buffer. A failure ends the decoding, since what follows would be
// read from ciphered octets.
int nasDecipher(L3Call& call, const L3Type& type, size_t from);
// Keeps what stands behind a protected message that has come to its end, so that it is ciphered and signed again as
// part of it. Returns 0, or a status with the failure recorded.
int nasKeepRest(L3Call& call, const L3Type& pdu, const void* record);
// Encodes the plain message by the rows of `pdu`, and what nasKeepRest has kept. A message number `t` that the form
// does not have is no error here: the header rows alone are written, `known` is false, and the caller decides.
int nasEncodePlain(L3Call& call, const L3Type& pdu, void* record, bool& known);
// Are messages of this security header type ciphered? 2 and 4 are in both systems (TS 24.301, 9.3.1; TS 24.501, 9.3).
bool nasIsCiphered(int secHdrType);
// 0, or -60 on a stream that takes octets out of the buffer: the code is written over a place in front of the message,
// and is computed over octets that such a stream may have sent already.
int nasRefuseStream(L3Call& call, const L3Type& type);
// Ciphers if the header type says so, computes the code over the ciphered octets, writes it over its place, and gives
// it in `code`, a member of the caller's record. The cursor is at the end of the message before and after.
int nasProtect(L3Call& call, const L3Type& type, size_t start, const NasSpans& spans, int secHdrType, uint32_t& code);

#endif
