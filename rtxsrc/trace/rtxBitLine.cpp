// The print line of the bit trace. Fields of a message seldom end with an octet, and the dump is one of octets, so the
// line is kept between fields: a field first turns what earlier ones have put there into dashes. The octets 7E 00, read
// as 8 + 4 + 4 bits, give for the second field of 4 bits:
//
// -------- ----0000 -------- --------    --00----    -.--
//
// An octet shows in hexadecimal and as a character once its last bit has come.
#include "rtxsrc/trace/rtxBitLine.h"

#include <string.h>

#include "rtxsrc/print/rtxPrintSink.h"

void rtxBitLineInit(RtxBitLine& line)
{
  memset(&line, 0, sizeof line);
  line.mask = 0x80;
}

// Dashes in groups of eight, as the bits stand.
static void dashBits(RtxBitLine& line, size_t from, size_t to)
{
  for (size_t i = from; i < to; i++) line.bits[i] = i % 9 == 8 ? ' ' : '-';
}

// What earlier fields have put into the line.
static void dashAll(RtxBitLine& line)
{
  dashBits(line, 0, line.bitsLen);
  memset(line.hex, '-', line.hexLen);
  memset(line.chars, '-', line.charsLen);
}

// The octet goes to the other two columns. With the fourth octet the line is full and begins anew.
static void endOctet(RtxBitLine& line, const RtxBitLineTarget& target)
{
  rtxHexPair(line.hex + line.hexLen, line.octet);
  line.hexLen = static_cast<uint8_t>(line.hexLen + 2);
  line.chars[line.charsLen++] = rtxDumpChar(line.octet);
  line.octet = 0;
  line.mask = 0x80;
  // A blank between the groups of eight, but none behind the last.
  if (line.charsLen < RTX_BIT_LINE_OCTETS) {
    line.bits[line.bitsLen++] = ' ';
    return;
  }
  target.put(target.arg, line);
  rtxBitLineInit(line);
}

// One bit: '0', '1', or 'x' for a skipped one, which counts as 0.
static void addBit(RtxBitLine& line, char symbol, const RtxBitLineTarget& target)
{
  line.bits[line.bitsLen++] = symbol;
  if (symbol == '1') line.octet = static_cast<uint8_t>(line.octet | line.mask);
  line.mask = static_cast<uint8_t>(line.mask >> 1);
  if (line.mask == 0) endOctet(line, target);
}

static char bitAt(const RtxTraceData& data, size_t bitOffset)
{
  return (data.octets[bitOffset / 8] >> (7 - bitOffset % 8) & 1) != 0 ? '1' : '0';
}

// A copy is filled up with dashes: the line itself goes on with the next field.
static void putPartialLine(const RtxBitLine& line, const RtxBitLineTarget& target)
{
  RtxBitLine full = line;
  dashBits(full, line.bitsLen, RTX_BIT_LINE_BITS);
  memset(full.hex + line.hexLen, '-', RTX_BIT_LINE_HEX - static_cast<size_t>(line.hexLen));
  memset(full.chars + line.charsLen, '-', RTX_BIT_LINE_CHARS - static_cast<size_t>(line.charsLen));
  target.put(target.arg, full);
}

void rtxBitLineField(RtxBitLine& line, const RtxTraceData& data, const RtxBitField& field, size_t nextOffset,
                     const RtxBitLineTarget& target)
{
  // Nothing is shown beyond the data, whatever an entry claims.
  size_t dataBits = data.size * 8;
  size_t at = field.bitOffset < dataBits ? field.bitOffset : dataBits;
  size_t end = field.bitCount < dataBits - at ? at + field.bitCount : dataBits;
  size_t gapEnd = nextOffset < dataBits ? nextOffset : dataBits;
  dashAll(line);
  for (; at < end; at++) addBit(line, bitAt(data, at), target);
  for (; at < gapEnd; at++) addBit(line, 'x', target);
  if (line.bitsLen > 0) putPartialLine(line, target);
}
