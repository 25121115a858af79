// Diagnostic output: messages that a program or a coder writes while diagnostics are on, for one context or for the
// whole process. A message may begin with its class, "~E", "~W", "~I" or "~D"; the level of the context tells which
// classes pass. The functions with "Stream" in their name write to the print stream, the others to standard output.
// While diagnostics are off each costs one test.
#include "velnor3gpp/rtxDiag.h"

#include <stdio.h>
#include <string.h>

#include "rtxsrc/print/rtxPrintSink.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxHexDump.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStatus.h"

static const char* const kModule = "rtxDiag";

// Process-wide switch, documented as written without a lock.
static uint8_t globalDiag = 0;

// Returns whether diagnostics were on before, by either switch.
int rtxSetDiag(RtxContext* pctxt, int value)
{
  int before = rtxDiagEnabled(pctxt);
  if (pctxt == nullptr) return before;
  if (value != 0) {
    pctxt->flags |= RTX_FLAG_DIAG;
  } else {
    pctxt->flags &= ~RTX_FLAG_DIAG;
  }
  return before;
}

int rtxSetGlobalDiag(int value)
{
  int before = globalDiag;
  globalDiag = value != 0;
  return before;
}

int rtxDiagEnabled(const RtxContext* pctxt)
{
  return globalDiag != 0 || (pctxt != nullptr && (pctxt->flags & RTX_FLAG_DIAG) != 0);
}

void rtxDiagSetTraceLevel(RtxContext* pctxt, int level)
{
  if (pctxt == nullptr) return;
  rtxSetDiag(pctxt, 1);
  pctxt->diagLevel = static_cast<uint8_t>(level);
}

// A context's level above RTX_DIAG_DEBUG passes nothing here, although all messages pass it (passes).
int rtxDiagTraceLevelEnabled(const RtxContext* pctxt, int level)
{
  if (!rtxDiagEnabled(pctxt)) return 0;
  int passed = pctxt != nullptr ? pctxt->diagLevel : RTX_DIAG_DEBUG;
  return passed == RTX_DIAG_DEBUG || (passed < RTX_DIAG_DEBUG && level <= passed);
}

// Whether the level of the context passes the class that the message carries.
// Messages without a class always pass. Level 1 passes "EeWw", the first four of the classes.
static bool passes(const RtxContext* pctxt, const char* message)
{
  static const char kClasses[] = "EeWwIiDd"; // two for each level
  int level = pctxt != nullptr ? pctxt->diagLevel : RTX_DIAG_DEBUG;
  if (message[0] != '~' || level > RTX_DIAG_DEBUG) return true;
  return message[1] != 0 && memchr(kClasses, message[1], 2 * static_cast<size_t>(level + 1)) != nullptr;
}

void rtxDiagPrint(RtxContext* pctxt, const char* format, ...)
{
  if (!rtxDiagEnabled(pctxt) || !passes(pctxt, format)) return;
  va_list args;
  va_start(args, format);
  (void)vprintf(format, args);
  va_end(args);
}

void rtxDiagStream(RtxContext* pctxt, const char* format, ...)
{
  if (!rtxDiagEnabled(pctxt) || !passes(pctxt, format)) return;
  va_list args;
  va_start(args, format);
  rtxDiagToStream(pctxt, format, args);
  va_end(args);
}

void rtxDiagHexDump(RtxContext* pctxt, const uint8_t* data, size_t size)
{
  if (rtxDiagEnabled(pctxt)) rtxHexDumpToFile(stdout, data, size);
}

void rtxDiagStreamHexDump(RtxContext* pctxt, const uint8_t* data, size_t size)
{
  if (rtxDiagEnabled(pctxt)) rtxHexDumpToStream(pctxt, data, size);
}

void rtxDiagPrintChars(RtxContext* pctxt, const char* data, size_t size)
{
  if (!rtxDiagEnabled(pctxt)) return;
  if (size > 0) (void)fwrite(data, 1, size, stdout);
  (void)putchar('\n');
}

// A heap string of that many characters, or null.
static char* newString(RtxContext* pctxt, size_t length)
{
  if (pctxt == nullptr || length == SIZE_MAX) return nullptr;
  return static_cast<char*>(rtxMemHeapAlloc(&pctxt->pMemHeap, length + 1));
}

// Prints and frees a string of newString.
static void printString(RtxContext* pctxt, char* string)
{
  rtxPrintToStream(pctxt, "%s", string);
  rtxMemHeapFreePtr(&pctxt->pMemHeap, string);
}

void rtxDiagStreamPrintChars(RtxContext* pctxt, const char* data, size_t size)
{
  if (!rtxDiagEnabled(pctxt)) return;
  char* copy = newString(pctxt, size);
  // Without a heap the characters go one by one.
  if (copy == nullptr) {
    for (size_t i = 0; i < size; i++) rtxPrintToStream(pctxt, "%c", data[i]);
    return;
  }
  if (size > 0) memcpy(copy, data, size);
  copy[size] = 0;
  printString(pctxt, copy);
}

// Bits as '0' and '1', the most significant of an octet first, with the ending zero.
static void putBits(char* dst, const uint8_t* data, size_t bitOffset, size_t nbits)
{
  for (size_t i = 0; i < nbits; i++, bitOffset++)
    dst[i] = (data[bitOffset / 8] >> (7 - bitOffset % 8) & 1) != 0 ? '1' : '0';
  dst[nbits] = 0;
}

void rtxDiagStreamPrintBits(RtxContext* pctxt, const char* descr, const uint8_t* data, size_t bitOffset, size_t nbits)
{
  if (!rtxDiagEnabled(pctxt)) return;
  size_t length = descr != nullptr ? strlen(descr) : 0;
  // A character for each bit; the sum is compared before it is made.
  char* line = nbits < SIZE_MAX - length ? newString(pctxt, length + nbits) : nullptr;
  if (line == nullptr) {
    if (pctxt != nullptr) rtxErrSetData(pctxt, RTX_E_NO_MEMORY, kModule, __LINE__);
    return;
  }
  if (length > 0) memcpy(line, descr, length);
  putBits(line + length, data, bitOffset, nbits);
  printString(pctxt, line);
}
