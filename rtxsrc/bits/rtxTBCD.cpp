// Telephony BCD (ITU-T Q.825) on the context's octets and in memory: two digits an octet, the first in the low half.
// The digits 1, 2 and 3 are the octets 21 F3, where F fills the half that no digit needs. src2/TS24008Misc.cpp reads
// and writes its numbers with it; rtsrc/rtBCD.cpp has the other BCD forms.
#include "velnor3gpp/rtxTBCD.h"

#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxBitEncode.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxStatus.h"

static const char kModule[] = "rtxTBCD";

// The digit of each half-octet, by value: 10 is '*', 14 is 'c'. 15 is the ending zero, the filler.
static const char kDigits[] = "0123456789*#abc";

int rtxTBCDCharToBin(char digit, uint8_t* pnibble)
{
  if (digit >= '0' && digit <= '9') {
    *pnibble = static_cast<uint8_t>(digit - '0');
    return 0;
  }
  // The ending zero of the alphabet is searched too: it stands at 15, the filler.
  for (unsigned i = 0; i < sizeof kDigits; i++) {
    if (kDigits[i] != digit) continue;
    *pnibble = static_cast<uint8_t>(i);
    return 0;
  }
  return RTX_E_BAD_CHAR;
}

// The filler becomes the ending zero, so a text ends at the first filler.
int rtxTBCDBinToChar(uint8_t nibble, char* pdigit)
{
  *pdigit = nibble <= RTX_TBCD_FILLER ? kDigits[nibble] : static_cast<char>(nibble + '0');
  return 0;
}

// Packs the one or two digits at `digits`. Of a last single digit the second is the text's ending zero, which packs as
// the filler.
static int packPair(const char* digits, uint8_t* poctet)
{
  uint8_t low;
  uint8_t high;
  int status = rtxTBCDCharToBin(digits[0], &low);
  if (status < 0) return status;
  status = rtxTBCDCharToBin(digits[1], &high);
  if (status < 0) return status;
  *poctet = static_cast<uint8_t>(low | high << 4);
  return 0;
}

int rtxEncQ825TBCDString(RtxContext* pctxt, const char* digits)
{
  if (!digits) return 0;
  while (*digits) {
    uint8_t octet;
    int status = packPair(digits, &octet);
    if (status < 0) return rtxErrSetData(pctxt, status, kModule, __LINE__);
    status = rtxWriteBytes(pctxt, &octet, 1);
    if (status < 0) return rtxErrSetData(pctxt, status, kModule, __LINE__);
    // Never steps over the ending zero.
    digits += digits[1] ? 2 : 1;
  }
  return 0;
}

int rtxDecQ825TBCDString(RtxContext* pctxt, size_t numocts, char* dest, size_t destsize)
{
  if (!dest) return rtxErrSetData(pctxt, RTX_E_BAD_PARAMETER, kModule, __LINE__);
  // Two digits an octet and the ending zero. Compared by division, so that a large count does not wrap.
  if (destsize == 0 || numocts > (destsize - 1) / 2) {
    return rtxErrSetData(pctxt, RTX_E_ENCODE_OVERFLOW, kModule, __LINE__);
  }
  for (size_t i = 0; i < numocts; i++) {
    uint8_t octet;
    int status = rtxReadBytes(pctxt, &octet, 1);
    if (status < 0) return rtxErrSetData(pctxt, status, kModule, __LINE__);
    rtxTBCDBinToChar(octet & 0x0F, dest++);
    rtxTBCDBinToChar(octet >> 4, dest++);
  }
  *dest = 0;
  return 0;
}

// As many digits as there are in front of the first filler. The text has to fit with its ending zero.
int rtxQ825TBCDToString(size_t numocts, const uint8_t* src, char* dest, size_t destsize)
{
  if (!src || !dest) return RTX_E_NULL_POINTER;
  size_t used = 0;
  for (size_t i = 0; i / 2 < numocts && used < destsize; i++) {
    uint8_t nibble = (i & 1) ? src[i / 2] >> 4 : src[i / 2] & 0x0F;
    if (nibble == RTX_TBCD_FILLER) break;
    rtxTBCDBinToChar(nibble, &dest[used++]);
  }
  if (used == destsize) return RTX_E_TOO_BIG;
  dest[used] = 0;
  return 0;
}
