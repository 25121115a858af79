// Coded values of frequency lists to channel numbers (TS 44.018, 10.5.2.13 and annex J); rtx3GPPArfcnEnc.cpp goes the
// other way. Called by applications and by TS44018Misc.cpp, never while an element is decoded. The array is on the
// context's heap. The range formats hold a set as a balanced binary tree: the root's value W(1) is a channel, the
// values below it say where in the half of the range to their parent's left or right a channel lies, in one bit less on
// each level. With g the greatest power of 2 not above i, the children of W(i) are W(i + g) and W(i + 2g):
//
//              W1             10 bits in format 1024
//        W2          W3        9 bits
//      W4  W6      W5  W7      8 bits
//
// On the wire the values stand level by level, W1 W2 W3 W4 ..., up to the first that is 0.
#include "rt3gppsrc/rtx3GPPArfcn.h"

#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStatus.h"

static const char kModule[] = "rtx3GPPArfcn";

// Level k has 2 to the power k-1 values of `levels` + 1 - k bits; the sums tell where a level ends: 10, 10 + 2 * 9, ...
static constexpr uint16_t kBits1024[] = {0, 10, 28, 60, 116, 212, 372, 628, 1012, 1524, 2036};
static constexpr uint16_t kBits512[] = {0, 9, 25, 53, 101, 181, 309, 501, 757, 1013};
static constexpr uint16_t kBits256[] = {0, 8, 22, 46, 86, 150, 246, 374, 502};
static constexpr uint16_t kBits128[] = {0, 7, 19, 39, 71, 119, 183, 247};

// The first value stands behind the bit for channel 0 in format 1024, behind 10 bits of origin in the others.
static constexpr Rtx3gppRangeFormatInfo kRangeFormats[] = {
    {kBits1024, 1023, 10, 1, 3}, {kBits512, 511, 9, 10, 1}, {kBits256, 255, 8, 10, 1}, {kBits128, 127, 7, 10, 1}};

const Rtx3gppRangeFormatInfo& rtx3GPPRangeFormat(unsigned format)
{
  return kRangeFormats[format - RTX_3GPP_ARFCN_RANGE_1024];
}

// The array under construction. It stays on the heap if decoding fails.
struct ArfcnOut {
  RtxContext* pctxt;
  uint16_t** pArfcns;
  uint16_t* pCount;
};

// Reports a value that no encoder makes (-14), with words and the number that is wrong.
static int fail(RtxContext* pctxt, const char* words, unsigned value)
{
  rtxErrAddStrParm(pctxt, words);
  rtxErrAddUIntParm(pctxt, value);
  return rtxErrSetData(pctxt, RTX_E_BAD_VALUE, kModule, __LINE__);
}

// Allocates the array for the most channels that can come; the count is lowered when they are known.
static int makeRoom(const ArfcnOut& out, size_t capacity)
{
  // An empty list has an array too: no caller has to tell null from nothing.
  size_t octets = (capacity ? capacity : 1) * sizeof(uint16_t);
  *out.pArfcns = static_cast<uint16_t*>(rtxMemHeapAllocZ(&out.pctxt->pMemHeap, octets));
  *out.pCount = static_cast<uint16_t>(capacity);
  return *out.pArfcns ? 0 : rtxErrSetData(out.pctxt, RTX_E_NO_MEMORY, kModule, __LINE__);
}

static bool bitAt(const uint8_t* data, unsigned bit)
{
  return data[bit / 8] >> (7 - bit % 8) & 1;
}

// 19 00: 00011001 00...... is the origin 0001100100, 100.
static uint16_t originOf(const uint8_t* data)
{
  return static_cast<uint16_t>(data[0] << 2 | data[1] >> 6);
}

// Bit 0 is channel 124, bit 123 channel 1.
static int decodeBitmap0(const ArfcnOut& out, const uint8_t* data, uint16_t numBits)
{
  static constexpr unsigned kChannels = 124;
  if (numBits != kChannels) return fail(out.pctxt, "bitmap0 has other than 124 bits", numBits);
  int status = makeRoom(out, kChannels);
  if (status < 0) return status;
  uint16_t count = 0;
  for (unsigned bit = 0; bit < kChannels; bit++)
    if (bitAt(data, bit)) (*out.pArfcns)[count++] = static_cast<uint16_t>(kChannels - bit);
  *out.pCount = count;
  return 0;
}

// The origin, then a bit for each channel behind it: 19 20, 0001100100 1..., has channels 100 and 101.
static int decodeVariableBitmap(const ArfcnOut& out, const uint8_t* data, uint16_t numBits)
{
  if (numBits < kOriginBits) return fail(out.pctxt, "variable bitmap has less than 10 bits", numBits);
  int status = makeRoom(out, numBits - kOriginBits + 1U);
  if (status < 0) return status;
  uint16_t* arfcns = *out.pArfcns;
  uint16_t count = 0;
  uint16_t origin = arfcns[count++] = originOf(data);
  for (unsigned bit = kOriginBits; bit < numBits; bit++)
    if (bitAt(data, bit)) arfcns[count++] = static_cast<uint16_t>((origin + bit - kOriginBits + 1) & kArfcnMask);
  *out.pCount = count;
  return 0;
}

// Where the next value of the tree stands.
struct TreeCursor {
  const uint8_t* data;
  unsigned bit, bitsLeft, width;
  uint8_t levelSize; // eight bits: behind a level of 128 values each value is a level of its own
  unsigned inLevel;
};

static uint16_t readValue(TreeCursor& cursor)
{
  unsigned value = 0;
  for (unsigned i = 0; i < cursor.width; i++) value = value << 1 | bitAt(cursor.data, cursor.bit++);
  return static_cast<uint16_t>(value);
}

// Goes on to the next value, at the end of a level to the next level, whose values have one bit less.
static void nextPlace(TreeCursor& cursor)
{
  cursor.bitsLeft -= cursor.width;
  if (++cursor.inLevel < cursor.levelSize) return;
  cursor.levelSize = static_cast<uint8_t>(cursor.levelSize * 2);
  cursor.width--;
  cursor.inLevel = 0;
}

// Reads the tree's values into the array, up to one that is 0 or cut short. Returns how many.
static int readTree(const ArfcnOut& out, TreeCursor cursor)
{
  int count = 0;
  for (; cursor.bitsLeft >= cursor.width; nextPlace(cursor)) {
    if (count >= *out.pCount) return fail(out.pctxt, "more values than places in the tree", *out.pCount);
    uint16_t value = readValue(cursor);
    if (value == 0) break;
    (*out.pArfcns)[count++] = value;
  }
  return count;
}

// How many channels a value of so many bits can hold: full levels, what lies of the next one, and what stands in front.
static unsigned capacityOf(const Rtx3gppRangeFormatInfo& info, uint16_t treeBits, unsigned inFront)
{
  unsigned level = info.levels;
  while (info.cumulativeBits[level] > treeBits) level--;
  unsigned capacity = (1U << level) - 1 + inFront;
  unsigned width = info.levels - level;
  return width ? capacity + (treeBits - info.cumulativeBits[level]) / width : capacity;
}

// The channel of value number `index`, counted from the origin, before 1 is added (annex J). It goes from the value up
// to the root, and each parent shifts the number: a left child lies in the half that begins behind the middle of the
// parent's range, a right child in the one that begins at the parent. The range doubles on each level up. `first` is
// the index of values[0]; one turn for each level.
template <typename Value> static int64_t climb(const Value* values, uint32_t first, uint32_t index, uint32_t maxRange)
{
  uint32_t power = greatestPower(index);
  int64_t range = maxRange / power;
  int64_t number = static_cast<int64_t>(values[index - first]) - 1;
  for (; index >= 2; power /= 2) {
    bool left = index < power + power / 2;
    range = 2 * range + 1;
    index -= left ? power / 2 : power;
    number = (number + values[index - first] + (left ? (range - 1) / 2 : 0)) % range;
  }
  return number;
}

// Reads one of the four range formats. The values are read first, and each is then replaced by its channel.
static int decodeRange(const ArfcnOut& out, const Rtx3gppRangeFormatInfo& info, const uint8_t* data, uint16_t numBits)
{
  bool range1024 = info.firstValueBit < kOriginBits;
  if (range1024 && numBits < 1) return fail(out.pctxt, "format 1024 has less than 1 bit", numBits);
  if (!range1024 && numBits < kOriginBits) return fail(out.pctxt, "format 512/256/128 has less than 10 bits", numBits);
  uint16_t origin = range1024 ? 0 : originOf(data);
  bool inFront = !range1024 || bitAt(data, 0); // channel 0 or the origin, which the tree does not have
  uint16_t treeBits = static_cast<uint16_t>(numBits - info.firstValueBit);
  int status = makeRoom(out, capacityOf(info, treeBits, inFront));
  if (status < 0) return status;
  int count = readTree(out, {data, info.firstValueBit, treeBits, info.levels, 1, 0});
  if (count < 0) return count;
  // From the last one on: a channel may take its value's place, since only values in front of it are still needed.
  uint16_t* arfcns = *out.pArfcns;
  for (int i = count; i > 0; i--) {
    int64_t number = climb(arfcns, 1, static_cast<uint32_t>(i), info.maxRange);
    arfcns[i - 1] = static_cast<uint16_t>((number + origin + 1) & kArfcnMask);
  }
  if (inFront) arfcns[count++] = origin;
  *out.pCount = static_cast<uint16_t>(count);
  return 0;
}

// No pointer is needed where there are no bits; the formats then say that the value is too short.
int rtx3GPPDecARFCN(RtxContext* pctxt, uint8_t format, const uint8_t* data, uint16_t numBits, uint16_t** pArfcns,
                    uint16_t* pArfcnCount)
{
  if (!pArfcns || !pArfcnCount || (!data && numBits))
    return rtxErrSetData(pctxt, RTX_E_BAD_PARAMETER, kModule, __LINE__);
  ArfcnOut out = {pctxt, pArfcns, pArfcnCount};
  switch (format) {
    case RTX_3GPP_ARFCN_BITMAP_0:
      return decodeBitmap0(out, data, numBits);
    case RTX_3GPP_ARFCN_VARIABLE_BITMAP:
      return decodeVariableBitmap(out, data, numBits);
    default:
      if (format > RTX_3GPP_ARFCN_VARIABLE_BITMAP) return fail(pctxt, "no format of frequency lists", format);
      return decodeRange(out, rtx3GPPRangeFormat(format), data, numBits);
  }
}

// Without a context and without an error record: for applications that look at one value of a tree.
int rtx3GPPFromRangeFormat(const uint32_t* wvalues, uint32_t index, uint32_t range, uint16_t* pArfcn)
{
  bool known = range == 1024 || range == 512 || range == 256 || range == 128;
  if (!wvalues || index == 0 || !known) return RTX_E_BAD_VALUE;
  int64_t number = climb(wvalues, 0, index, range - 1);
  if (pArfcn) *pArfcn = static_cast<uint16_t>((number + 1) % 1024);
  return 0;
}
