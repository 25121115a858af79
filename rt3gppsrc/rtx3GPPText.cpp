// The GSM 7-bit default alphabet (TS 23.038, 6.2.1) in packed form, and the character sets of digit strings. The coders
// of network names call it (src2/TS24008Misc.cpp), and applications may. Text is ISO 8859-1 on the caller's side.
// Octets are read and written at the cursor, which stands at an octet's start; nothing is allocated.
//
// Eight septets share seven octets, each in the lowest bits that are free. "abc" is 61 F1 18:
//   a 1100001, b 1100010, c 1100011
//   61 = 0 1100001        the lowest bit of b, then a
//   F1 = 11 110001        the lower two bits of c, then the upper six of b
//   18 = 000 11000        three bits of nothing, then the upper five of c
#include <stdint.h>

#include "velnor3gpp/rtx3GPP.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxBitEncode.h"
#include "velnor3gpp/rtxCheckBuffer.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxStatus.h"

static const char kModule[] = "rtx3GPPText";

static const char kDecimal[] = "0123456789";
static const char kTelephony[] = "#*0123456789abc";

const char* const gs_TS24008IES_IMSI_CharSet = kDecimal;
const char* const gs_TS24008IES_IMEI_CharSet = kDecimal;
const char* const gs_TS24008IES_IMEISV_CharSet = kDecimal;
const char* const gs_TS24008IES_TBCDString_CharSet = kTelephony;
const char* const gs_TS24008IES_TBCDString3_CharSet = kTelephony;

// Sends the next septet to the extension table (TS 23.038, 6.2.1.1).
static constexpr uint8_t kEscape = 27;

// The extension table; 101 is the euro sign, given as the currency sign of ISO 8859-1.
struct ExtensionChar {
  uint8_t septet;
  char text;
};
static constexpr ExtensionChar kExtension[] = {{10, '\f'}, {20, '^'}, {40, '{'}, {41, '}'}, {47, '\\'},
                                               {60, '['},  {61, '~'}, {62, ']'}, {64, '|'}, {101, '\xA4'}};

// Septet to ISO 8859-1. The Greek capitals, which ISO 8859-1 does not have, and the escape are question marks.
static const char kAlphabet[129] = "@\xA3$\xA5\xE8\xE9\xF9\xEC\xF2\xC7\n\xD8\xF8\r\xC5\xE5"
                                   "?_??????????\xC6\xE6\xDF\xC9"
                                   " !\"#\xA4%&'()*+,-./0123456789:;<=>?"
                                   "\xA1"
                                   "ABCDEFGHIJKLMNOPQRSTUVWXYZ\xC4\xD6\xD1\xDC\xA7"
                                   "\xBF"
                                   "abcdefghijklmnopqrstuvwxyz\xE4\xF6\xF1\xFC\xE0";

// Is the character one that the encoder knows from the extension table? The euro sign is not:
// it has no place in ISO 8859-1.
static bool isExtension(char text)
{
  for (const ExtensionChar& row : kExtension) {
    if (row.text == text && row.septet != 101) return true;
  }
  return false;
}

// A character of the extension table becomes the escape alone, whose second septet is left out. Callers have got these
// octets from the start; the header says so.
static uint8_t toSeptet(char text)
{
  if (isExtension(text)) return kEscape;
  switch (text) {
    case '@':
      return 0;
    case '$':
      return 2;
    case '_':
      return 17;
    case '\n':
    case '\r':
      return static_cast<uint8_t>(text);
    case '`':
      return '?';
    default:
      return text >= ' ' && text <= '~' ? static_cast<uint8_t>(text) : '?';
  }
}

static int writeOctet(RtxContext* pctxt, uint8_t octet)
{
  int status = rtxWriteBytes(pctxt, &octet, 1);
  return status < 0 ? rtxErrSetData(pctxt, status, kModule, __LINE__) : 0;
}

// `carry` holds the upper bits of the septet before, which begin the next octet.
int rtx3GPPEncGSMCharStr(RtxContext* pctxt, const char* str)
{
  if (!str) return 0;
  uint8_t carry = 0;
  size_t count = 0;
  for (; str[count]; count++) {
    uint8_t septet = toSeptet(str[count]);
    unsigned shift = count & 7;
    // Seven octets hold eight septets: the first of eight waits for the second.
    if (shift != 0) {
      int status = writeOctet(pctxt, static_cast<uint8_t>(carry | septet << (8 - shift)));
      if (status < 0) return status;
    }
    carry = static_cast<uint8_t>(septet >> shift);
  }
  return (count & 7) != 0 ? writeOctet(pctxt, carry) : 0;
}

// Where unpacked characters go.
struct TextTarget {
  char* next;
  size_t left;
  bool escaped;
};

static char extensionChar(uint8_t septet)
{
  for (const ExtensionChar& row : kExtension) {
    if (row.septet == septet) return row.text;
  }
  return '?';
}

// Stores the character of a septet, or notes an escape, which counts as a character and stores nothing.
static int deliver(RtxContext* pctxt, TextTarget* target, uint8_t septet)
{
  if (septet == kEscape) {
    target->escaped = true;
    return 0;
  }
  if (target->left == 0) return rtxErrSetData(pctxt, RTX_E_ENCODE_OVERFLOW, kModule, __LINE__);
  *target->next++ = target->escaped ? extensionChar(septet) : kAlphabet[septet];
  target->left--;
  target->escaped = false;
  return 0;
}

// Takes the octet at the cursor. The length that the caller was told may reach past the input.
static int takeOctet(RtxContext* pctxt, uint8_t* poctet)
{
  int status = rtxCheckInputBuffer(pctxt, 1);
  if (status < 0) return rtxErrSetData(pctxt, status, kModule, __LINE__);
  *poctet = pctxt->buffer.data[pctxt->buffer.byteIndex++];
  return 0;
}

// `shift` is how many bits of the next octet belong to the septet under way, 7 to 1; `carry` are those it has already.
int rtx3GPPDecGSMCharStr(RtxContext* pctxt, char* dest, size_t destsize, size_t nchars)
{
  if (!dest) return rtxErrSetData(pctxt, RTX_E_BAD_PARAMETER, kModule, __LINE__);
  TextTarget target = {dest, destsize, false};
  uint8_t carry = 0;
  unsigned shift = 7;
  for (size_t count = 0; count < nchars;) {
    uint8_t octet = 0;
    int status = takeOctet(pctxt, &octet);
    if (status < 0) return status;
    status = deliver(pctxt, &target, static_cast<uint8_t>((octet << (7 - shift) | carry) & 0x7F));
    if (status < 0) return status;
    carry = static_cast<uint8_t>(octet >> shift);
    count++;
    if (--shift != 0) continue;
    // The seventh octet ends with a whole septet.
    status = deliver(pctxt, &target, carry);
    if (status < 0) return status;
    carry = 0;
    shift = 7;
    count++;
  }
  return 0;
}
