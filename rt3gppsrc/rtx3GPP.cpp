// Coding helpers that many layer-3 elements share: selectors and counters relative to the padding pattern, the tail of
// unknown elements, PLMN pairs, identities of digits. Applications call them as public functions; the engine and the
// coders by hand call them where they cannot do the same in one step, above all where something fails. They code at the
// cursor, whatever bit it stands at, report failures with element path and position, and allocate nothing.
#include "velnor3gpp/rtx3GPP.h"

#include <string.h>

#include <bit>

#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxBitEncode.h"
#include "velnor3gpp/rtxContainer.h"
#include "velnor3gpp/rtxDiagBitTrace.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxStatus.h"
#include "velnor3gpp/rtxTBCD.h"

static const char kModule[] = "rtx3GPP";

// Unused bits follow this octet, 0010 1011, at the position that they have in their own octet (TS 44.018, 10.5.2). A
// bit is L where it equals that pattern and H where it differs.
static constexpr uint8_t kPadding = 0x2B;

// The bits of the padding at the next `nbits` positions, right-aligned, where `mask` has a one. At the start of an
// octet (bitOffset 8) the next three are 001: 2B rotated by 3 to the left ends with them.
static uint32_t paddingUnder(const RtxContext* pctxt, uint32_t nbits, uint32_t mask)
{
  if (nbits == 0 || nbits > 32) return 0;
  uint32_t shift = (8U - static_cast<uint32_t>(pctxt->buffer.bitOffset) + nbits) & 7;
  return std::rotl(kPadding * 0x01010101U, static_cast<int>(shift)) & (mask >> (32 - nbits));
}

// An exclusive or with the padding turns L into 0 and H into 1, and back on encoding.
int rtx3GPPDecAltDetmnt(RtxContext* pctxt, uint32_t* pvalue, uint32_t nbits, uint32_t mask)
{
  uint32_t padding = paddingUnder(pctxt, nbits, mask);
  uint32_t bits;
  int status = rtxDecBits(pctxt, &bits, nbits);
  if (status < 0) return rtxErrSetData(pctxt, status, kModule, __LINE__);
  if (pvalue) *pvalue = bits ^ padding;
  return 0;
}

int rtx3GPPEncAltDetmnt(RtxContext* pctxt, uint32_t value, uint32_t nbits, uint32_t mask)
{
  return rtxEncBits(pctxt, value ^ paddingUnder(pctxt, nbits, mask), nbits);
}

// The bit that a repeated octet has at the position just read, told by the position after it: the last bit of an octet
// leaves the cursor at 8.
static uint8_t bitJustPassed(const RtxContext* pctxt, uint8_t octet)
{
  return octet >> (pctxt->buffer.bitOffset & 7) & 1;
}

// The bit that a repeated octet has at the position to be written next.
static uint8_t bitAhead(const RtxContext* pctxt, uint8_t octet)
{
  return octet >> (pctxt->buffer.bitOffset - 1) & 1;
}

// Reads one bit of a tree's code, as the node understands it: with `useLH` a one is a bit like the padding, the
// reverse of an LHType.
static int readBranch(RtxContext* pctxt, const Rtx3gppAltDetmntNode& node, uint8_t* pbit)
{
  int status = rtxDecBit(pctxt, pbit);
  if (status < 0) return rtxErrSetData(pctxt, status, kModule, __LINE__);
  if (node.useLH) *pbit = *pbit == bitJustPassed(pctxt, kPadding);
  return 0;
}

// Walks the tree by one bit for each node, up to a leaf. A tree that leads in a circle ends with the input.
int rtx3GPPDecVarAltDetmnt(RtxContext* pctxt, uint32_t* pvalue, const Rtx3gppAltDetmntNode* nodes, uint32_t maxNode)
{
  if (!pvalue || !nodes) return rtxErrSetData(pctxt, RTX_E_BAD_PARAMETER, kModule, __LINE__);
  for (uint32_t index = 0;;) {
    const Rtx3gppAltDetmntNode& node = nodes[index];
    uint8_t bit;
    int status = readBranch(pctxt, node, &bit);
    if (status < 0) return status;
    int32_t next = bit ? node.next1 : node.next0;
    if (next == 0) {
      *pvalue = bit ? node.value1 : node.value0;
      return 0;
    }
    if (next < 0) return rtxErrSetNewData(pctxt, RTX_E_INVALID_CHOICE, kModule, __LINE__);
    // The last node leads nowhere, not even to an earlier node.
    if (index >= maxNode || static_cast<uint32_t>(next) > maxNode) {
      return rtxErrSetNewData(pctxt, RTX_E_INDEX_RANGE, kModule, __LINE__);
    }
    index = static_cast<uint32_t>(next);
  }
}

// For counters of plain bits, where the octet is the bit itself.
static uint8_t sameBit(const RtxContext*, uint8_t bit)
{
  return bit;
}

// Counts the bits that equal what `expected` gives for `octet` after each read; the first other one is read too. LLL H
// is 3. The bound of 255 ends the loop on an input of one bit only.
static int countBits(RtxContext* pctxt, uint8_t* pcount, uint8_t octet, uint8_t (*expected)(const RtxContext*, uint8_t))
{
  if (!pcount) return rtxErrSetData(pctxt, RTX_E_BAD_PARAMETER, kModule, __LINE__);
  *pcount = 0;
  for (;;) {
    uint8_t bit;
    int status = rtxDecBit(pctxt, &bit);
    if (status < 0) return rtxErrSetData(pctxt, status, kModule, __LINE__);
    if (bit != expected(pctxt, octet)) return 0;
    if (*pcount == UINT8_MAX) return rtxErrSetNewData(pctxt, RTX_E_TOO_BIG, kModule, __LINE__);
    ++*pcount;
  }
}

// Plain bits: 1110 with `bit` 1 is 3.
int rtx3GPPDecIntAsBits(RtxContext* pctxt, uint8_t* pcount, uint8_t bit)
{
  return countBits(pctxt, pcount, bit, sameBit);
}

// Bits relative to a pattern: 2B at an octet's start is all L, 0010 1011, so with the pattern 2B it counts on to the
// next octet.
int rtx3GPPDecIntAsBitsPattern(RtxContext* pctxt, uint8_t* pcount, uint8_t pattern)
{
  return countBits(pctxt, pcount, pattern, bitJustPassed);
}

// Writes `count` bits and one that differs.
static int writeCount(RtxContext* pctxt, uint8_t count, uint8_t octet, uint8_t (*toWrite)(const RtxContext*, uint8_t))
{
  for (unsigned i = 0; i < count; i++) {
    int status = rtxEncBit(pctxt, toWrite(pctxt, octet));
    if (status < 0) return rtxErrSetData(pctxt, status, kModule, __LINE__);
  }
  int status = rtxEncBit(pctxt, toWrite(pctxt, static_cast<uint8_t>(~octet)));
  return status < 0 ? rtxErrSetData(pctxt, status, kModule, __LINE__) : 0;
}

int rtx3GPPEncIntAsBits(RtxContext* pctxt, uint8_t count, uint8_t bit)
{
  return writeCount(pctxt, count, bit, sameBit);
}

int rtx3GPPEncIntAsBitsPattern(RtxContext* pctxt, uint8_t count, uint8_t pattern)
{
  return writeCount(pctxt, count, pattern, bitAhead);
}

// Opens an entry of the bit trace, if there is a trace; endField closes it with the bits read or written since.
static void beginField(RtxContext* pctxt, const char* name)
{
  if (pctxt->pBitFldList) rtxDiagNewBitField(pctxt->pBitFldList, name);
}

static void endField(RtxContext* pctxt)
{
  if (pctxt->pBitFldList) rtxDiagSetBitFldCount(pctxt->pBitFldList);
}

// Reads one octet of the tail; the status is for the caller to report, since the end of input may be a good end.
static int readTailOctet(RtxContext* pctxt, const char* name, uint8_t* poctet)
{
  beginField(pctxt, name);
  int status = rtxDecBitsToByte(pctxt, poctet, 8);
  if (status == 0) endField(pctxt);
  return status;
}

// Is there a whole octet behind a shift? A shift as the last octet ends the tail without an element.
static bool octetRemains(RtxContext* pctxt)
{
  // Behind the end of a region the count of remaining bits would wrap around, so that is asked first.
  return rtxCtxtContainerHasRemBits(pctxt) && rtxCtxtGetContainerRemBits(pctxt) >= 8;
}

// The codesets under shifts: `locked` holds until the next locking shift, `active` for the element at hand.
struct Codesets {
  uint8_t locked;
  uint8_t active;
};

// 9x is a shift: 1001, a bit that is 0 for locking, codeset in three bits (TS 24.008, 10.5.4.2 and 10.5.4.3). 96 locks
// codeset 6 for all that follows, 9E holds for one element. A locking shift to a lower codeset is passed over.
static void shiftCodeset(Codesets* codesets, uint8_t shift)
{
  uint8_t codeset = shift & 7;
  bool locking = (shift & 8) == 0;
  if (!locking) {
    codesets->active = codeset;
  } else if (codeset > codesets->locked) {
    codesets->locked = codeset;
    codesets->active = codeset;
  }
}

// Reads the identifier of the next element of the tail, following shifts. Returns 1 with an identifier, 0 at the end.
static int readTailIei(RtxContext* pctxt, bool shiftsAllowed, Codesets* codesets, uint8_t* piei)
{
  static constexpr uint8_t kShift = 9;
  codesets->active = codesets->locked;
  for (;;) {
    int status = readTailOctet(pctxt, "IEI", piei);
    if (status == RTX_E_END_OF_BUFFER) return 0;
    if (status < 0) return rtxErrSetData(pctxt, status, kModule, __LINE__);
    if (!shiftsAllowed || *piei >> 4 != kShift) return 1;
    shiftCodeset(codesets, *piei);
    if (!octetRemains(pctxt)) return 0; // the shift was the last octet
  }
}

// Passes over the rest of an element of the tail (TS 24.007, 11.2.4): identifiers from 80 on are a single octet, all
// others have a length behind them. 1A 02 aa bb is one element, B1 another.
static int dropTailElement(RtxContext* pctxt, uint8_t iei, uint8_t codeset)
{
  if (iei & 0x80) return 0;
  uint8_t length;
  int status = readTailOctet(pctxt, "length", &length);
  if (status < 0) return rtxErrSetData(pctxt, status, kModule, __LINE__);
  // Comprehension is asked for by 0000 in bits 8 to 5 (TS 24.007, 11.2.5).
  if (codeset == 0 && iei >> 4 == 0) {
    rtxErrAddStrParm(pctxt, "comprehension required on unknown IEI");
    return rtxErrSetData(pctxt, RTX_E_NOT_SUPPORTED, kModule, __LINE__);
  }
  status = rtxSkipBytes(pctxt, length);
  return status < 0 ? rtxErrSetData(pctxt, status, kModule, __LINE__) : 0;
}

// Each turn reads at least one octet, so the loop ends with the input.
int rtx3GPPDecL3NonImperative(RtxContext* pctxt, uint8_t shiftsAllowed)
{
  Codesets codesets = {0, 0};
  while (rtxCtxtContainerHasRemBits(pctxt)) {
    uint8_t iei;
    int status = readTailIei(pctxt, shiftsAllowed != 0, &codesets, &iei);
    if (status <= 0) return status;
    status = dropTailElement(pctxt, iei, codesets.active);
    if (status < 0) return status;
  }
  return 0;
}

// The characters of a PLMN in the order of their half-octets on the wire (TS 24.008, 10.5.1.3): MCC 262, MNC 42 is
// 62 F2 24, with F for the third digit of the MNC.
static constexpr size_t kPlmnDigits = 6;
static constexpr size_t kPlmnThirdMncDigit = 2;

// A third digit of 15, as some callers store the filler, counts as none.
static char plmnDigit(const char* mcc, const char* mnc, size_t place)
{
  const char digits[kPlmnDigits] = {mcc[1], mcc[0], mnc[2], mcc[2], mnc[1], mnc[0]};
  bool noThirdDigit = place == kPlmnThirdMncDigit && digits[place] == RTX_TBCD_FILLER;
  return noThirdDigit ? '\0' : digits[place];
}

static void setPlmnDigit(char* mcc, char* mnc, size_t place, uint8_t nibble)
{
  char* const digits[kPlmnDigits] = {&mcc[1], &mcc[0], &mnc[2], &mcc[2], &mnc[1], &mnc[0]};
  rtxTBCDBinToChar(nibble, digits[place]);
}

// Do three octets from the cursor lie in the buffer, wherever in its octet the cursor stands? Then one access does for
// six half-octets. Otherwise they are coded one by one, up to the one that fails.
static bool plmnAtHand(const RtxContext* pctxt)
{
  const RtxBuffer& buffer = pctxt->buffer;
  return buffer.byteIndex < buffer.size && buffer.size - buffer.byteIndex > 3;
}

// Converts all digits. False if one has no half-octet: the slow path then writes the digits in front of it.
static bool packPlmn(const char* mcc, const char* mnc, uint32_t* pbits)
{
  *pbits = 0;
  for (size_t i = 0; i < kPlmnDigits; i++) {
    uint8_t nibble;
    if (rtxTBCDCharToBin(plmnDigit(mcc, mnc, i), &nibble) < 0) return false;
    *pbits = *pbits << 4 | nibble;
  }
  return true;
}

// Writes what can be written before the failure: callers see the cursor at the digit that is wrong.
static int writePlmnByDigits(RtxContext* pctxt, const char* mcc, const char* mnc)
{
  for (size_t i = 0; i < kPlmnDigits; i++) {
    uint8_t nibble;
    int status = rtxTBCDCharToBin(plmnDigit(mcc, mnc, i), &nibble);
    if (status < 0) return rtxErrSetData(pctxt, status, kModule, __LINE__);
    status = rtxEncBits(pctxt, nibble, 4);
    if (status < 0) return rtxErrSetData(pctxt, status, kModule, __LINE__);
  }
  return 0;
}

int rtx3GPPEnc_MCC_MNC(RtxContext* pctxt, const char* mcc, const char* mnc)
{
  if (!mcc || !mnc) return rtxErrSetData(pctxt, RTX_E_BAD_PARAMETER, kModule, __LINE__);
  beginField(pctxt, "mcc/mnc");
  uint32_t bits;
  int status =
      plmnAtHand(pctxt) && packPlmn(mcc, mnc, &bits) ? rtxEncBits(pctxt, bits, 24) : writePlmnByDigits(pctxt, mcc, mnc);
  if (status < 0) return status;
  endField(pctxt);
  return 0;
}

static int readPlmnByDigits(RtxContext* pctxt, char* mcc, char* mnc)
{
  for (size_t i = 0; i < kPlmnDigits; i++) {
    uint32_t nibble;
    int status = rtxDecBits(pctxt, &nibble, 4);
    if (status < 0) return rtxErrSetData(pctxt, status, kModule, __LINE__);
    setPlmnDigit(mcc, mnc, i, static_cast<uint8_t>(nibble));
  }
  return 0;
}

// The half-octets of 24 bits from the top: place 0 is MCC 2.
static int readPlmnAtOnce(RtxContext* pctxt, char* mcc, char* mnc)
{
  uint32_t bits;
  int status = rtxDecBits(pctxt, &bits, 24);
  if (status < 0) return rtxErrSetData(pctxt, status, kModule, __LINE__);
  for (size_t i = 0; i < kPlmnDigits; i++) setPlmnDigit(mcc, mnc, i, bits >> (20 - 4 * i) & 0x0F);
  return 0;
}

int rtx3GPPDec_MCC_MNC(RtxContext* pctxt, char* mcc, char* mnc)
{
  if (!mcc || !mnc) return rtxErrSetData(pctxt, RTX_E_BAD_PARAMETER, kModule, __LINE__);
  mcc[3] = 0;
  mnc[3] = 0;
  beginField(pctxt, "mcc/mnc");
  int status = plmnAtHand(pctxt) ? readPlmnAtOnce(pctxt, mcc, mnc) : readPlmnByDigits(pctxt, mcc, mnc);
  if (status < 0) return status;
  endField(pctxt);
  return 0;
}

// One field with its own entry in the trace.
static int writeField(RtxContext* pctxt, const char* name, uint32_t value, size_t nbits)
{
  beginField(pctxt, name);
  int status = rtxEncBits(pctxt, value, nbits);
  if (status < 0) return rtxErrSetData(pctxt, status, kModule, __LINE__);
  endField(pctxt);
  return 0;
}

// Writes zero-ended digits by pairs, the earlier one in the low half: "123" is 21 F3. The zero at the end converts to
// the filler. The cursor may stand at any bit.
static int writeDigitPairs(RtxContext* pctxt, const char* digits)
{
  beginField(pctxt, "");
  while (*digits) {
    uint8_t low;
    uint8_t high;
    int status = rtxTBCDCharToBin(digits[0], &low);
    if (status == 0) status = rtxTBCDCharToBin(digits[1], &high);
    if (status == 0) status = rtxEncBits(pctxt, static_cast<uint32_t>(high << 4 | low), 8);
    if (status < 0) return rtxErrSetData(pctxt, status, kModule, __LINE__);
    digits += digits[1] ? 2 : 1;
  }
  endField(pctxt);
  return 0;
}

// IMSI 262 as type 1: 02 29 26, a length of 2, then 0010 1 001 with the first digit, then 6 and 2.
int rtx3GPPEncMobileIdentityType1(RtxContext* pctxt, uint8_t identType, const char* digits)
{
  if (!digits) return rtxErrSetData(pctxt, RTX_E_BAD_PARAMETER, kModule, __LINE__);
  size_t count = strlen(digits);
  int status = writeField(pctxt, "length", static_cast<uint32_t>(count / 2 + 1), 8);
  if (status < 0) return status;
  uint8_t digit1;
  status = rtxTBCDCharToBin(digits[0], &digit1);
  if (status < 0) return rtxErrSetData(pctxt, status, kModule, __LINE__);
  if ((status = writeField(pctxt, "digit1", digit1, 4)) < 0) return status;
  if ((status = writeField(pctxt, "odd", count & 1, 1)) < 0) return status;
  if ((status = writeField(pctxt, "type", identType, 3)) < 0) return status;
  // Without digits the first half-octet is the filler, and the zero at the end must not be stepped over.
  return writeDigitPairs(pctxt, count ? digits + 1 : digits);
}

// Reads an octet of two digits and stores the earlier one, of the low half, and the later one if `both`.
static int readDigitPair(RtxContext* pctxt, bool both, char* dest)
{
  uint32_t high = 0, low = 0;
  int status = rtxDecBits(pctxt, &high, 4);
  if (status == 0) status = rtxDecBits(pctxt, &low, 4);
  if (status < 0) return rtxErrSetData(pctxt, status, kModule, __LINE__);
  rtxTBCDBinToChar(static_cast<uint8_t>(low), &dest[0]);
  if (both) rtxTBCDBinToChar(static_cast<uint8_t>(high), &dest[1]);
  return 0;
}

int rtx3GPPDecMobileIdentityType1(RtxContext* pctxt, uint8_t length, uint8_t odd, uint8_t digit1, char* dest,
                                  size_t destsize)
{
  if (!dest) return rtxErrSetData(pctxt, RTX_E_BAD_PARAMETER, kModule, __LINE__);
  // One octet is read, and stored, even if the length leaves none.
  size_t octets = length > 1 ? length - 1U : 1U;
  size_t digits = 2 * octets + (odd ? 1 : 0);
  if (length == 0 || digits >= destsize) return rtxErrSetData(pctxt, RTX_E_TOO_BIG, kModule, __LINE__);
  if (digit1 > 9) return rtxErrSetData(pctxt, RTX_E_BAD_CHAR, kModule, __LINE__);
  *dest++ = static_cast<char>('0' + digit1);
  beginField(pctxt, "");
  for (size_t i = 1; i <= octets; i++) {
    bool both = i < octets || odd;
    int status = readDigitPair(pctxt, both, dest);
    if (status < 0) return status;
    dest += both ? 2 : 1;
  }
  *dest = 0;
  endField(pctxt);
  return 0;
}
