// Bits relative to the padding 2B of rest octets (l3Padding.h). Each function has a short way for what is all there,
// and hands the rest to the public functions, which report it.
#include "rt3gppsrc/engine/l3Padding.h"

#include "rt3gppsrc/engine/l3Decode.h"
#include "rt3gppsrc/engine/l3Encode.h"
#include "velnor3gpp/rtxBitEncode.h"
#include "velnor3gpp/rtxDiagBitTrace.h"

// The padding is looked up before the cursor moves. Exclusive or turns bits on the wire into L (0) and H (1): at an
// octet's start 1011 against the padding's 0010 is 1001, H L L H.
int l3DecPadded(L3Call& call, uint8_t* member, unsigned bits, uint8_t store, const char* label)
{
  uint32_t padding = l3PaddingAhead(call.pctxt, bits);
  int status = l3DecBits(call, member, bits, store, label);
  if (status >= 0) l3Store(member, store, l3Load(member, store) ^ padding);
  return status;
}

int l3EncPadded(L3Call& call, uint64_t value, unsigned bits, const char* label)
{
  return l3EncBits(call, value ^ l3PaddingAhead(call.pctxt, bits), bits, label);
}

// A cursor to come back to: what cannot be done at once is done over by the public functions, which report.
struct Cursor {
  size_t byteIndex;
  int16_t bitOffset;
};

static Cursor cursorOf(const RtxBuffer& buffer)
{
  return {buffer.byteIndex, buffer.bitOffset};
}

// False, so that a short way can end with it.
static bool goBack(RtxBuffer& buffer, const Cursor& cursor)
{
  buffer.byteIndex = cursor.byteIndex;
  buffer.bitOffset = cursor.bitOffset;
  return false;
}

// Walks the tree of codes bit by bit. False, with the cursor as it was, for a code that is none or is cut short.
static bool walkCodes(RtxContext* pctxt, const L3Choice& choice, uint32_t& value)
{
  Cursor start = cursorOf(pctxt->buffer);
  for (int32_t next = 0; next >= 0;) {
    const Rtx3gppAltDetmntNode& node = choice.nodes[next];
    uint32_t padding = l3PaddingAhead(pctxt, 1);
    uint64_t bit = 0;
    if (!l3TakeBits(pctxt->buffer, 1, bit)) break;
    // In the tree, branch 1 of such a node is L and branch 0 is H.
    if (node.useLH) bit = bit == padding;
    // 0 is a leaf, a negative place no code; node 0 is the root, to which nothing leads.
    next = bit ? node.next1 : node.next0;
    if (next) continue;
    value = bit ? node.value1 : node.value0;
    return true;
  }
  return goBack(pctxt->buffer, start);
}

// Codes of one length and kind are one number. The mask is left-justified, so it is moved down to the code's bits: for
// LH, mask C0000000 >> 30 is 3, and both bits are compared with the padding.
static bool readCodeAtOnce(RtxContext* pctxt, const L3Choice& choice, uint32_t& value)
{
  if (choice.nodes) return walkCodes(pctxt, choice, value);
  uint32_t padding = l3PaddingAhead(pctxt, choice.bits) & choice.mask >> (32 - choice.bits);
  uint64_t word = 0;
  if (!l3TakeBits(pctxt->buffer, choice.bits, word)) return false;
  value = static_cast<uint32_t>(word) ^ padding;
  return true;
}

// The trace shows the code as one field, which the public functions do not make themselves.
int l3DecCode(L3Call& call, const L3Choice& choice, uint32_t& value)
{
  if (call.plain() && readCodeAtOnce(call.pctxt, choice, value)) return 0;
  l3ToLists(call);
  rtxDiagNewBitField(call.pctxt->pBitFldList, "choice selector");
  int status = choice.nodes ? rtx3GPPDecVarAltDetmnt(call.pctxt, &value, choice.nodes, choice.nodeCount - 1)
                            : rtx3GPPDecAltDetmnt(call.pctxt, &value, choice.bits, choice.mask);
  if (status >= 0) rtxDiagSetBitFldCount(call.pctxt->pBitFldList);
  return status;
}

// The bits of the code that are relative to the padding are turned by it; plain ones stay.
int l3EncCode(L3Call& call, const L3Code& code)
{
  uint32_t padding = l3PaddingAhead(call.pctxt, code.bits) & code.mask >> (32 - code.bits);
  return l3EncBits(call, code.value ^ padding, code.bits, "choice selector");
}

// What the next bits are if the run goes on through them: 1s, 0s, or the pattern's own bits at these places.
static uint32_t repeatedAhead(const RtxContext* pctxt, const L3Unary& unary, unsigned bits)
{
  if (unary.byPosition) return l3PatternAhead(pctxt, unary.pattern, bits);
  return unary.pattern ? 0xFFFFFFFFU >> (32 - bits) : 0;
}

// Counts the bits of a run, one by one. A member of one octet counts to 255; a longer run is left to the public
// function, which refuses it.
static bool countAtOnce(RtxContext* pctxt, const L3Unary& unary, uint8_t* member)
{
  Cursor start = cursorOf(pctxt->buffer);
  for (unsigned count = 0; count <= UINT8_MAX; ++count) {
    uint32_t expected = repeatedAhead(pctxt, unary, 1);
    uint64_t bit = 0;
    if (!l3TakeBits(pctxt->buffer, 1, bit)) break;
    if (bit == expected) continue;
    *member = static_cast<uint8_t>(count);
    return true;
  }
  return goBack(pctxt->buffer, start);
}

int l3DecUnary(L3Call& call, const L3Unary& unary, uint8_t* member)
{
  if (call.plain() && countAtOnce(call.pctxt, unary, member)) return 0;
  l3ToLists(call);
  rtxDiagNewBitField(call.pctxt->pBitFldList, "INTEGER");
  int status = unary.byPosition ? rtx3GPPDecIntAsBitsPattern(call.pctxt, member, unary.pattern)
                                : rtx3GPPDecIntAsBits(call.pctxt, member, unary.pattern & 1);
  if (status >= 0) rtxDiagSetBitFldCount(call.pctxt->pBitFldList);
  return status;
}

// Writes a run and the bit that ends it. The short way makes them one number: the run's bits and, in the last place,
// the other bit (^ 1). The public function writes the complement of the whole octet behind the run, so a run of 1s is
// asked for by 255.
int l3EncUnary(L3Call& call, const L3Unary& unary, uint8_t count)
{
  // A run of 30 and its end are 31 bits of a number of 32.
  static constexpr unsigned kAtOnce = 31;
  if (call.plain() && count < kAtOnce) {
    uint32_t word = repeatedAhead(call.pctxt, unary, count + 1U) ^ 1;
    if (l3PutBits(call.pctxt->buffer, count + 1U, word)) return 0;
  }
  l3ToLists(call);
  rtxDiagNewBitField(call.pctxt->pBitFldList, "INTEGER");
  int status = unary.byPosition ? rtx3GPPEncIntAsBitsPattern(call.pctxt, count, unary.pattern)
                                : rtx3GPPEncIntAsBits(call.pctxt, count, unary.pattern);
  if (status >= 0) rtxDiagSetBitFldCount(call.pctxt->pBitFldList);
  return status;
}

// The cursor's octet has `bitOffset` bits left: from 1 to 8.
int l3PadRest(L3Call& call, const L3Type& type)
{
  unsigned bits = static_cast<unsigned>(call.pctxt->buffer.bitOffset);
  // What was kept behind this place goes where the padding stands now (takePlaceOfPadding). Padding of a part may stand
  // right in front.
  size_t start = l3BitPos(call.pctxt);
  if (call.padded == L3Call::kNotPadded || call.paddedEnd != start) call.padded = start;
  call.paddedEnd = start + bits;
  if (call.inlined() && l3PutBits(call.pctxt->buffer, bits, l3PaddingAhead(call.pctxt, bits))) return 0;
  l3ToLists(call);
  // The low bits of 2B are the ones that belong at the end of an octet.
  int status = rtxEncBits(call.pctxt, 0x2B, bits);
  return status == RTX_E_NO_MEMORY ? l3Fail(call, type.module->encoder, status, type.line) : 0;
}
