// What the 5GS and EPS top-level coders share: positions, verification, deciphering, ciphering and signing of the
// octets in the context's buffer. The spans differ by system and are arguments. No type is named here.
#ifndef VELNOR3GPP_NAS_PROTECTION_H
#define VELNOR3GPP_NAS_PROTECTION_H

#include "rt3gppsrc/engine/l3Call.h"

// Octets from the start of the message.
struct NasSpans {
  size_t codeAt;       // where the 32-bit code stands
  size_t signedFrom;   // what the code covers, to the end
  size_t cipheredFrom; // what is ciphered, to the end
};

// A place to come back to: cursor and flag word.
struct NasPosition {
  size_t byteIndex;
  int16_t bitOffset;
  uint32_t flags;
};

NasPosition nasPosition(const RtxContext* pctxt);
void nasReturn(RtxContext* pctxt, const NasPosition& position);

// Computes the code from an octet to the end of the buffer and compares. A failure or a mismatch (-70, received and
// computed code as parameters) is recorded and does not stop the decoding.
void nasVerify(L3Call& call, const L3Type& type, size_t from, uint32_t received);
// Deciphers in place from an octet to the end of the buffer. A failure ends the decoding.
int nasDecipher(L3Call& call, const L3Type& type, size_t from);
// Encodes the plain message. A bad alternative number (`known` false) is no error here: its header rows alone go out.
int nasEncodePlain(L3Call& call, const L3Type& pdu, void* record, bool& known);
// Are messages of this header type ciphered? The numbers are the same in both systems.
bool nasIsCiphered(int secHdrType);
// -60 on a stream that takes octets out of the buffer: a code is written back over its place, and covers what stands
// before it.
int nasRefuseStream(L3Call& call, const L3Type& type);
// Ciphers if the header type says so, signs the ciphered octets, and writes the code over its place.
int nasProtect(L3Call& call, const L3Type& type, size_t start, const NasSpans& spans, int secHdrType, uint32_t& code);

#endif
