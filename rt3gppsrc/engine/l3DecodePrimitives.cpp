// Reading of single fields. Where nothing can be observed a field is taken from the buffer inline (l3Bits.h).
// Otherwise, and whenever the bits are not all there, the public bit functions read it: they refill a stream's buffer,
// they make the trace's entries, and on a shortage they leave cursor and error records as callers know them.
#include <cstring>

#include "rt3gppsrc/engine/l3Decode.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxDiagBitTrace.h"

// Reads more than 16 bits. Whole octets (24, 32 bits) have a function of their own.
static int readWide(RtxContext* pctxt, uint8_t* member, unsigned bits, uint8_t store)
{
  if (bits == 24 || bits == 32) {
    uint32_t word = 0;
    int status = rtxDecUInt32(pctxt, &word, bits / 8);
    if (status >= 0) l3Store(member, store, word);
    return status;
  }
  uint64_t value = 0;
  uint32_t word = 0;
  int status = bits <= 32 ? rtxDecBits(pctxt, &word, bits) : rtxDecBitsToUInt64(pctxt, &value, bits);
  if (status >= 0) l3Store(member, store, bits <= 32 ? word : value);
  return status;
}

// Reads a field with the public function of its width. They differ in where they leave the cursor on failure and in
// what they record, so the width decides the function and nothing else does.
static int readPublic(RtxContext* pctxt, uint8_t* member, unsigned bits, uint8_t store, bool boolean)
{
  uint8_t octet = 0;
  uint16_t half = 0;
  int status = 0;
  if (boolean)
    status = rtxDecBit(pctxt, &octet);
  else if (bits <= 8)
    status = rtxDecBitsToByte(pctxt, &octet, bits);
  else if (bits == 16)
    status = rtxDecUInt16(pctxt, &half, 2);
  else if (bits < 16)
    status = rtxDecBitsToUInt16(pctxt, &half, bits);
  else
    return readWide(pctxt, member, bits, store);
  if (status >= 0) l3Store(member, store, bits <= 8 ? octet : half);
  return status;
}

// With a trace alone the field can still be taken inline, between the beginning and the end of its entry.
int l3DecBitsSlow(L3Call& call, uint8_t* member, unsigned bits, uint8_t store, const char* label)
{
  RtxContext* pctxt = call.pctxt;
  uint64_t value = 0;
  l3TraceField(call, label);
  if (call.traced && call.inlined() && bits <= 56 && l3TakeBits(pctxt->buffer, bits, value)) {
    l3Store(member, store, value);
    rtxDiagSetBitFldCount(pctxt->pBitFldList);
    return 0;
  }
  // The public function may fail, and reads the real stacks then.
  l3ToLists(call);
  int status = readPublic(pctxt, member, bits, store, label[0] == 'B');
  if (status >= 0) rtxDiagSetBitFldCount(pctxt->pBitFldList);
  return status;
}

// As l3DecBitsSlow, for one bit; its label decides nothing.
int l3DecBit(L3Call& call, const char* label, uint8_t& bit)
{
  uint64_t value = 0;
  int status = 0;
  l3TraceField(call, label);
  if (call.inlined() && l3TakeBits(call.pctxt->buffer, 1, value)) {
    bit = static_cast<uint8_t>(value);
  } else {
    l3ToLists(call);
    status = rtxDecBit(call.pctxt, &bit);
  }
  if (status >= 0) rtxDiagSetBitFldCount(call.pctxt->pBitFldList);
  return status;
}

bool l3LookAhead(L3Call& call, unsigned bits, uint32_t& ahead)
{
  uint64_t value = 0;
  // 24 bits that begin inside an octet touch four octets.
  uint8_t window[4] = {};
  unsigned used = l3UsedBits(call.pctxt->buffer);
  size_t octets = (used + bits + 7) / 8, held = 0;
  bool seen;
  if (call.plain()) {
    seen = l3SeeBits(call.pctxt->buffer, bits, value);
  } else {
    // On a stream the peek refills the buffer; the bits are then cut out of the copy.
    seen = rtxPeekBytes(call.pctxt, window, sizeof window, octets, &held) >= 0 && held == octets;
    value = l3BitsAt(window, sizeof window, 0, used, bits);
  }
  ahead = static_cast<uint32_t>(value);
  return seen;
}

// On whole octets a copy is enough. Octets across octet borders, and those that are not all there, are the public
// function's.
int l3DecOctets(L3Call& call, uint8_t* dst, size_t octets)
{
  RtxContext* pctxt = call.pctxt;
  RtxBuffer& buffer = pctxt->buffer;
  int status = 0;
  l3TraceField(call, "OCTET STRING");
  if (call.inlined() && buffer.bitOffset == 8 && octets <= l3Unread(pctxt)) {
    if (octets) memcpy(dst, buffer.data + buffer.byteIndex, octets);
    buffer.byteIndex += octets;
  } else {
    l3ToLists(call);
    status = rtxDecBitsToByteArray(pctxt, dst, octets, octets * 8);
  }
  if (status >= 0) rtxDiagSetBitFldCount(pctxt->pBitFldList);
  return status;
}

size_t l3RoomOctets(const L3Call& call)
{
  return l3RoomBits(call) / 8;
}
