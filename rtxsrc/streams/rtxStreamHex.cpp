// Hexadecimal text as the octets of a stream: "7E 00\n5b" is 7E 00 5B. Memory and file streams with RTX_STREAM_HEX read
// through it. Upper and lower case are the same, and white space may stand anywhere, also between the digits of an
// octet.
#include "rtxsrc/errors/rtxReport.h"
#include "rtxsrc/streams/rtxStreamInternal.h"
#include "velnor3gpp/rtxStatus.h"

static const char* const kModule = "rtxStreamHex";

static int digitValue(int ch)
{
  if (ch >= '0' && ch <= '9') return ch - '0';
  if (ch >= 'A' && ch <= 'F') return ch - 'A' + 10;
  if (ch >= 'a' && ch <= 'f') return ch - 'a' + 10;
  return -1;
}

// White space between digits: tab to carriage return, and the blank.
static bool isSpace(int ch)
{
  return (ch >= 9 && ch <= 13) || ch == ' ';
}

// One octet; -1 at the end, RTX_E_BAD_HEX (below -1) for text that is none.
static int readOctet(int (*next)(void* source), void* source)
{
  int high = -1;
  for (int ch = next(source); ch >= 0; ch = next(source)) {
    if (isSpace(ch)) continue;
    int digit = digitValue(ch);
    if (digit < 0) return RTX_E_BAD_HEX;
    if (high >= 0) return high << 4 | digit;
    high = digit;
  }
  return high < 0 ? -1 : RTX_E_BAD_HEX;
}

int64_t rtxReadHexText(RtxContext* pctxt, int (*next)(void* source), void* source, uint8_t* pbuf, size_t size)
{
  size_t count = 0;
  for (; count < size; ++count) {
    int octet = readOctet(next, source);
    if (octet == -1) break;
    if (octet < 0) return rtxReport(pctxt, octet, kModule, __LINE__);
    pbuf[count] = static_cast<uint8_t>(octet);
  }
  return static_cast<int64_t>(count);
}
