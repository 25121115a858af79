// Helpers for terminated strings. A target is given with its size in octets, ending zero included, and nothing is
// written beyond it: a text that does not fit is refused, not cut, except where a function says otherwise. A null
// source counts as no text. Copies on the heap end with the job.
#include "velnor3gpp/rtxStrings.h"

#include <string.h>

#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

// Strings that the joining functions take.
constexpr int kJoinMax = 5;
constexpr uint32_t kHighSurrogate = 0xD800;
constexpr uint32_t kLowSurrogate = 0xDC00;

// Writes `length` characters and the terminator, or an empty string if they do not fit.
char* copyChars(char* dst, size_t size, const char* src, size_t length)
{
  if (dst == nullptr || size == 0) return nullptr;
  dst[0] = '\0';
  if (src == nullptr || length >= size) return nullptr;
  memmove(dst, src, length);
  dst[length] = '\0';
  return dst;
}

// Code point at `*psrc`, which moves on; a surrogate without its other half gives "?". D83D DE00 is 1F600. The unit
// behind the last one is the ending zero, which is no low surrogate, so nothing behind it is read.
uint32_t nextCodePoint(const uint16_t** psrc)
{
  const uint32_t unit = *(*psrc)++;
  if (unit < kHighSurrogate || unit > 0xDFFF) return unit;
  const uint32_t low = **psrc;
  if (unit >= kLowSurrogate || low < kLowSurrogate || low > 0xDFFF) return '?';
  ++*psrc;
  return 0x10000 + ((unit - kHighSurrogate) << 10) + (low - kLowSurrogate);
}

// Writes a code point as UTF-8 and returns the octets, 1 to 4: 20AC is E2 82 AC. The last octets take six bits each,
// the first what is left behind its marker.
size_t toUTF8(uint32_t code, char* out)
{
  const size_t count = code < 0x80 ? 1U : code < 0x800 ? 2U : code < 0x10000 ? 3U : 4U;
  static const uint8_t kLead[] = {0x00, 0xC0, 0xE0, 0xF0};
  for (size_t i = count; i-- > 1; code >>= 6) out[i] = static_cast<char>(0x80 | (code & 0x3F));
  out[0] = static_cast<char>(kLead[count - 1] | code);
  return count;
}

} // namespace

char* rtxStrcpy(char* dst, size_t size, const char* src)
{
  return copyChars(dst, size, src, rtxUTF8LenBytes(src));
}

// At most `n` characters; the source needs no ending zero among them.
char* rtxStrncpy(char* dst, size_t size, const char* src, size_t n)
{
  const void* end = src != nullptr && n != 0 ? memchr(src, '\0', n) : nullptr;
  return copyChars(dst, size, src, end != nullptr ? static_cast<size_t>(static_cast<const char*>(end) - src) : n);
}

char* rtxStrcat(char* dst, size_t size, const char* src)
{
  if (dst == nullptr || src == nullptr) return nullptr;
  const size_t used = strlen(dst);
  const size_t length = strlen(src);
  // The target stays as it was.
  if (used >= size || length >= size - used) return nullptr;
  memcpy(dst + used, src, length + 1);
  return dst;
}

// The copy lies in the heap; rtxUTF8Strdup is the same, since UTF-8 ends with a zero like any other text.
char* rtxStrdup(RtxContext* pctxt, const char* s)
{
  if (s == nullptr) return nullptr;
  const size_t size = strlen(s) + 1;
  void* copy = rtxMemHeapAlloc(&pctxt->pMemHeap, size);
  return copy != nullptr ? static_cast<char*>(memcpy(copy, s, size)) : nullptr;
}

char* rtxUTF8Strdup(RtxContext* pctxt, const char* s)
{
  return rtxStrdup(pctxt, s);
}

// The strings up to the first that is null or does not fit.
char* rtxStrJoin(char* dst, size_t size, const char* s1, const char* s2, const char* s3, const char* s4, const char* s5)
{
  if (dst == nullptr || size == 0) return nullptr;
  const char* const parts[kJoinMax] = {s1, s2, s3, s4, s5};
  size_t used = 0;
  for (const char* part : parts) {
    const size_t length = rtxUTF8LenBytes(part);
    if (part == nullptr || length >= size - used) break;
    memcpy(dst + used, part, length);
    used += length;
  }
  dst[used] = '\0';
  return dst;
}

// As many octets as the strings need, so all of them fit.
char* rtxStrDynJoin(RtxContext* pctxt, const char* s1, const char* s2, const char* s3, const char* s4, const char* s5)
{
  if (s1 == nullptr) return nullptr;
  const char* const parts[kJoinMax] = {s1, s2, s3, s4, s5};
  size_t size = 1;
  for (int i = 0; i < kJoinMax && parts[i] != nullptr; i++) size += strlen(parts[i]);
  char* text = static_cast<char*>(rtxMemHeapAlloc(&pctxt->pMemHeap, size));
  return text != nullptr ? rtxStrJoin(text, size, s1, s2, s3, s4, s5) : nullptr;
}

// Returns the length without the ending zero. Numbers of 32 and of 64 bits and sizes take one way.
int rtxUIntToCharStr(uint32_t value, char* dst, size_t size, char padChar)
{
  return rtxUInt64ToCharStr(value, dst, size, padChar);
}

int rtxUInt64ToCharStr(uint64_t value, char* dst, size_t size, char padChar)
{
  if (dst == nullptr || size < 2) return RTX_E_BAD_PARAMETER;
  // The most that 64 bits give.
  char digits[20];
  size_t first = sizeof digits;
  do {
    digits[--first] = static_cast<char>('0' + value % 10);
    value /= 10;
  } while (value != 0);
  const size_t count = sizeof digits - first;
  if (count > size - 1) return RTX_E_ENCODE_OVERFLOW;
  // With a pad character the number fills the target; without one it begins it.
  const size_t padding = padChar != '\0' ? size - 1 - count : 0;
  memset(dst, padChar, padding);
  memcpy(dst + padding, digits + first, count);
  dst[padding + count] = '\0';
  return static_cast<int>(padding + count);
}

int rtxSizeToCharStr(size_t value, char* dst, size_t size, char padChar)
{
  return rtxUInt64ToCharStr(value, dst, size, padChar);
}

// Digits only: no sign, no white space, nothing behind them.
int rtxCharStrToUInt(const char* text, uint32_t* pvalue)
{
  if (text == nullptr || pvalue == nullptr) return RTX_E_BAD_PARAMETER;
  const size_t digits = strspn(text, "0123456789");
  if (digits == 0 || text[digits] != '\0') return RTX_E_BAD_FORMAT;
  uint32_t value = 0;
  for (; *text != '\0'; ++text) {
    const uint32_t digit = static_cast<uint32_t>(*text - '0');
    // Compared before the product is made, which would wrap.
    if (value > (UINT32_MAX - digit) / 10) return RTX_E_TOO_BIG;
    value = value * 10 + digit;
  }
  *pvalue = value;
  return 0;
}

size_t rtxUTF8LenBytes(const char* s)
{
  return s != nullptr ? strlen(s) : 0;
}

// Null counts as the empty text, so that tables and callers may leave a name out.
int rtxUTF8Strncmp(const char* s1, const char* s2, size_t n)
{
  return strncmp(s1 != nullptr ? s1 : "", s2 != nullptr ? s2 : "", n);
}

// Zero-ended UTF-16 as UTF-8. The text is cut in front of the first character that does not fit, never within one.
char* rtxUCSToCStr(const uint16_t* src, char* dst, size_t size)
{
  if (dst == nullptr || size == 0) return nullptr;
  size_t used = 0;
  while (src != nullptr && *src != 0) {
    char octets[4];
    const size_t count = toUTF8(nextCodePoint(&src), octets);
    if (count >= size - used) break;
    memcpy(dst + used, octets, count);
    used += count;
  }
  dst[used] = '\0';
  return dst;
}
