// Digit strings in memory: telephony BCD, packed BCD and PLMN identities. Programs use these to fill records and to
// show them; the coders of messages have rows for their digits. The same digits 1 to 5 lie in octets like this:
//
// telephony   21 43 F5    the first digit in the low half, filler F
// packed      12 34 5F    the first digit in the high half
//
// Sizes are octets. Nothing here knows which digits a field of a message may have.
#include "velnor3gpp/rtBCD.h"

#include <stdlib.h>
#include <string.h>

#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStatus.h"
#include "velnor3gpp/rtxTBCD.h"

static const char kModule[] = "rtBCD";

// How digits of one kind lie in octets: the mapping of a digit, and which half of the octet comes first.
struct BcdForm {
  int (*toNibble)(char digit, uint8_t* pnibble);
  bool highFirst;
};

// Hexadecimal digits up to E: F is the filler.
static int packedDigitToNibble(char digit, uint8_t* pnibble)
{
  if (digit >= 'a' && digit <= 'e') digit = static_cast<char>(digit - 'a' + 'A');
  if (digit >= '0' && digit <= '9')
    *pnibble = static_cast<uint8_t>(digit - '0');
  else if (digit >= 'A' && digit <= 'E')
    *pnibble = static_cast<uint8_t>(digit - 'A' + 10);
  else
    return RTX_E_BAD_CHAR;
  return 0;
}

static constexpr BcdForm kTelephony = {rtxTBCDCharToBin, false};
static constexpr BcdForm kPacked = {packedDigitToNibble, true};

// Replaces half-octet `index`, which counts in the order of the digits; its octet was filled with ones.
static void putNibble(uint8_t* octets, size_t index, uint8_t nibble, bool highFirst)
{
  bool high = ((index & 1) == 0) == highFirst;
  uint8_t* octet = &octets[index / 2];
  *octet = static_cast<uint8_t>(high ? (*octet & 0x0F) | nibble << 4 : (*octet & 0xF0) | nibble);
}

static uint8_t getNibble(const uint8_t* octets, size_t index, bool highFirst)
{
  bool high = ((index & 1) == 0) == highFirst;
  return high ? octets[index / 2] >> 4 : octets[index / 2] & 0x0F;
}

// Packs up to the first character that is no digit, the end of the text or the end of the target. Returns the octets
// that have digits; those behind them are FF.
static int packDigits(const char* str, uint8_t* dest, size_t destsize, const BcdForm& form)
{
  if (!str || !dest || destsize == 0) return RTX_E_BAD_PARAMETER;
  memset(dest, 0xFF, destsize);
  size_t count = 0;
  uint8_t nibble;
  while (str[count] && count / 2 < destsize && form.toNibble(str[count], &nibble) == 0) {
    putNibble(dest, count++, nibble, form.highFirst);
  }
  return static_cast<int>((count + 1) / 2);
}

int rtStringToTBCD(const char* str, uint8_t* dest, size_t destsize)
{
  return packDigits(str, dest, destsize, kTelephony);
}

int rtStringToBCD(const char* str, uint8_t* dest, size_t destsize, int isTBCD)
{
  return packDigits(str, dest, destsize, isTBCD ? kTelephony : kPacked);
}

// Two digits an octet must be countable.
static bool canUnpack(size_t numocts, const uint8_t* src, const char* dest, size_t destsize)
{
  return src && dest && destsize != 0 && numocts != 0 && numocts <= SIZE_MAX / 2;
}

// An exactly full target has no ending zero; callers know its size.
static char* endText(char* dest, size_t used, size_t destsize)
{
  if (used < destsize) dest[used] = 0;
  return dest;
}

// Fillers are passed over wherever they stand, so digits behind one are shown too.
char* rtTBCDToString(size_t numocts, const uint8_t* src, char* dest, size_t destsize)
{
  if (!canUnpack(numocts, src, dest, destsize)) return nullptr;
  size_t used = 0;
  for (size_t i = 0; i < numocts * 2 && used < destsize; i++) {
    uint8_t nibble = getNibble(src, i, kTelephony.highFirst);
    if (nibble != RTX_TBCD_FILLER) rtxTBCDBinToChar(nibble, &dest[used++]);
  }
  return endText(dest, used, destsize);
}

char* rtBCDToString(size_t numocts, const uint8_t* src, char* dest, size_t destsize, int isTBCD)
{
  if (isTBCD) return rtTBCDToString(numocts, src, dest, destsize);
  if (!canUnpack(numocts, src, dest, destsize)) return nullptr;
  size_t used = 0;
  while (used < numocts * 2 && used < destsize) {
    uint8_t nibble = getNibble(src, used, kPacked.highFirst);
    // Packed BCD ends at the first half-octet that is no decimal digit.
    if (nibble > 9) break;
    dest[used++] = static_cast<char>('0' + nibble);
  }
  return endText(dest, used, destsize);
}

// Packs into fresh heap octets; the pointer is given back whatever the result.
static int packDynamic(RtxContext* pctxt, const char* str, uint8_t** ppdata, int isTBCD)
{
  // One octet more than an even number of digits needs, so that a size is never 0.
  size_t size = strlen(str) / 2 + 1;
  *ppdata = static_cast<uint8_t*>(rtxMemHeapAlloc(&pctxt->pMemHeap, size));
  if (!*ppdata) return rtxErrSetData(pctxt, RTX_E_NO_MEMORY, kModule, __LINE__);
  return rtStringToBCD(str, *ppdata, size, isTBCD);
}

int rtStringToDynBCD64(RtxContext* pctxt, const char* str, RtxDynOctStr64* pvalue, int isTBCD)
{
  if (!str || !pvalue) return rtxErrSetData(pctxt, RTX_E_BAD_PARAMETER, kModule, __LINE__);
  int status = packDynamic(pctxt, str, &pvalue->data, isTBCD);
  if (status >= 0) pvalue->numocts = static_cast<uint64_t>(status);
  return status;
}

int rtStringToDynBCD(RtxContext* pctxt, const char* str, RtxDynOctStr* pvalue)
{
  if (!str || !pvalue) return rtxErrSetData(pctxt, RTX_E_BAD_PARAMETER, kModule, __LINE__);
  int status = packDynamic(pctxt, str, &pvalue->data, 0);
  if (status >= 0) pvalue->numocts = static_cast<uint32_t>(status);
  return status;
}

// Half-octets of a PLMN identity, counted low half first from the first octet. A 2-digit MNC lies at 4 and 5 in every
// form, with filler at 3: MCC 262 with MNC 01 is 62 F2 10. With MNC 012 it is 62 02 21 by the second table and 62 22 10
// by the third, which is the form of TS 24.008, 10.5.1.3.
static constexpr uint8_t kMncHalves2[] = {4, 5};
static constexpr uint8_t kMncHalves3[] = {3, 4, 5};
static constexpr uint8_t kMncHalves3Pgw[] = {4, 5, 3};
static constexpr size_t kMncThirdHalf = 3;

// Puts `count` decimal digits at the given half-octets. False unless the text is exactly that many digits.
static bool putDigits(const char* text, size_t count, const uint8_t* halves, uint8_t* octets)
{
  for (size_t i = 0; i < count; i++) {
    if (text[i] < '0' || text[i] > '9') return false;
    putNibble(octets, halves[i], static_cast<uint8_t>(text[i] - '0'), false);
  }
  return text[count] == 0;
}

static int packPlmn(const char* mcc, const char* mnc, uint8_t* dest, size_t destsize, const uint8_t* mncHalves3)
{
  static constexpr uint8_t mccHalves[] = {0, 1, 2};
  if (!mcc || !mnc || !dest || destsize < 3) return RTX_E_BAD_PARAMETER;
  uint8_t octets[3] = {0xFF, 0xFF, 0xFF};
  if (!putDigits(mcc, 3, mccHalves, octets)) return RTX_E_BAD_PARAMETER;
  // A text of 3 characters or more is tried as 3 digits; putDigits refuses a fourth.
  bool good = strnlen(mnc, 3) == 3 ? putDigits(mnc, 3, mncHalves3, octets) : putDigits(mnc, 2, kMncHalves2, octets);
  if (!good) return RTX_E_BAD_PARAMETER;
  // Copied at the end, so that a failure leaves the target as it was.
  memcpy(dest, octets, sizeof octets);
  return 0;
}

int rtStringToPLMNidentity(const char* mcc, const char* mnc, uint8_t* dest, size_t destsize)
{
  return packPlmn(mcc, mnc, dest, destsize, kMncHalves3);
}

int rtStringToPGWPLMNidentity(const char* mcc, const char* mnc, uint8_t* dest, size_t destsize)
{
  return packPlmn(mcc, mnc, dest, destsize, kMncHalves3Pgw);
}

// Copies the digits at the given half-octets to memory of the C allocator, which is all that a caller without a
// context can free.
static char* newDigits(const uint8_t* octets, const uint8_t* halves, size_t count)
{
  char digits[4] = {0};
  for (size_t i = 0; i < count; i++) {
    uint8_t nibble = getNibble(octets, halves[i], false);
    if (nibble > 9) return nullptr;
    digits[i] = static_cast<char>('0' + nibble);
  }
  return strdup(digits);
}

// A third digit is there unless its half-octet is filler.
static char* newMnc(const uint8_t* octets, const uint8_t* mncHalves3)
{
  if (!octets) return nullptr;
  bool three = getNibble(octets, kMncThirdHalf, false) != RTX_TBCD_FILLER;
  return three ? newDigits(octets, mncHalves3, 3) : newDigits(octets, kMncHalves2, 2);
}

char* rtGetMCCFromPLMNidentity(const uint8_t* octets)
{
  static constexpr uint8_t halves[] = {0, 1, 2};
  return octets ? newDigits(octets, halves, 3) : nullptr;
}

char* rtGetMNCFromPLMNidentity(const uint8_t* octets)
{
  return newMnc(octets, kMncHalves3);
}

char* rtGetMNCFromPGWPLMNidentity(const uint8_t* octets)
{
  return newMnc(octets, kMncHalves3Pgw);
}
