// Channel numbers to coded values of frequency lists (TS 44.018, 10.5.2.13 and annex J); rtx3GPPArfcn.cpp tells of the
// tree and goes the other way. Only applications call it: element coders take the value as bits. The octets are the
// caller's or on the context's heap, and stay there, partly written, after a failure.
#include <string.h>

#include <utility>

#include "rt3gppsrc/rtx3GPPArfcn.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStatus.h"

static const char kModule[] = "rtx3GPPArfcnEnc";

// The octets of the value under construction.
struct ArfcnBuffer {
  RtxContext* pctxt;
  uint8_t* octets;
  size_t size;
};

// Reports what the format cannot hold (-14). The line breaks in the words are part of the text that callers know.
static int fail(RtxContext* pctxt, const char* words, const char* more = nullptr)
{
  rtxErrAddStrParm(pctxt, words);
  if (more) rtxErrAddStrParm(pctxt, more);
  return rtxErrSetData(pctxt, RTX_E_BAD_VALUE, kModule, __LINE__);
}

// The numbers cannot be divided evenly, which happens with one that stands twice and with more than the format holds.
static int failPivot(RtxContext* pctxt)
{
  return fail(pctxt, "\nUnable to locate pivot value.", "\nCheck for uniqueness of ARFCN values.");
}

// Adds bits to octets that are zero there: each value is written once.
static int writeBits(const ArfcnBuffer& buffer, size_t bit, uint32_t value, unsigned width)
{
  if (value >> width) return rtxErrSetData(buffer.pctxt, RTX_E_BAD_VALUE, kModule, __LINE__);
  if ((bit + width + 7) / 8 > buffer.size) return rtxErrSetData(buffer.pctxt, RTX_E_INDEX_RANGE, kModule, __LINE__);
  for (unsigned i = 0; i < width; i++) {
    size_t at = bit + i;
    buffer.octets[at / 8] |= static_cast<uint8_t>((value >> (width - 1 - i) & 1) << (7 - at % 8));
  }
  return 0;
}

// Binds the buffer to the caller's octets, or to new ones, which are zero.
static int bindBuffer(ArfcnBuffer& buffer, uint8_t** ppData, size_t dataSize, size_t need)
{
  if (*ppData && dataSize < need) return rtxErrSetData(buffer.pctxt, RTX_E_ENCODE_OVERFLOW, kModule, __LINE__);
  if (!*ppData) *ppData = static_cast<uint8_t*>(rtxMemHeapAllocZ(&buffer.pctxt->pMemHeap, need));
  if (!*ppData) return rtxErrSetData(buffer.pctxt, RTX_E_NO_MEMORY, kModule, __LINE__);
  buffer.octets = *ppData;
  buffer.size = need;
  return 0;
}

// Channel 124 is bit 0 of 16 octets. A count of bits is not given: the format has always 124.
static int encodeBitmap0(ArfcnBuffer& buffer, const uint16_t* arfcns, uint16_t count, uint8_t** ppData, size_t dataSize)
{
  static constexpr unsigned kChannels = 124;
  int status = bindBuffer(buffer, ppData, dataSize, 16);
  if (status < 0) return status;
  memset(buffer.octets, 0, buffer.size);
  for (unsigned i = 0; i < count; i++) {
    unsigned channel = arfcns[i];
    if (channel < 1 || channel > kChannels) return fail(buffer.pctxt, "ARFCN not between 1 and 124");
    status = writeBits(buffer, kChannels - channel, 1, 1);
    if (status < 0) return status;
  }
  return 0;
}

// The set to encode, as a caller gives it.
struct ArfcnSet {
  const uint16_t* arfcns;
  uint16_t count, range, origin;
};

// Origin 100 and channel 101 are 0001100100 1: the origin in 10 bits, then a bit for each channel behind it.
static int encodeVariableBitmap(ArfcnBuffer& buffer, const ArfcnSet& set, uint8_t** ppData, size_t dataSize,
                                uint16_t* pNumBits)
{
  size_t need = (set.range + 7U) / 8 + 2;
  // All of the caller's octets are cleared, also those behind the value. New octets are `need`, whatever the size.
  size_t cleared = *ppData ? dataSize : need;
  int status = bindBuffer(buffer, ppData, dataSize, need);
  if (status < 0) return status;
  memset(buffer.octets, 0, cleared);
  status = writeBits(buffer, 0, set.origin & kArfcnMask, kOriginBits);
  for (unsigned i = 0; i < set.count && status >= 0; i++) {
    unsigned distance = (set.arfcns[i] - set.origin) & kArfcnMask;
    if (set.arfcns[i] != set.origin) status = writeBits(buffer, distance + kOriginBits - 1, 1, 1);
  }
  if (status < 0) return status;
  *pNumBits = static_cast<uint16_t>(need * 8 - 7);
  return 0;
}

// A subtree: its numbers, the range that they lie in, and where the values of its root's level stand.
struct Subtree {
  uint32_t index; // of its root
  uint16_t* set;
  unsigned count, range;
  size_t levelBit;
  uint32_t levelStart; // index of the level's first value, and how many values the level has
  unsigned width;
};

// Writes the value of the tree's root at its place in its level.
static int writeValue(const ArfcnBuffer& buffer, const Subtree& tree, uint32_t value)
{
  return writeBits(buffer, tree.levelBit + (tree.index - tree.levelStart) * tree.width, value, tree.width);
}

// `value` counted upwards from `origin` within the range.
static unsigned distance(unsigned value, unsigned origin, unsigned range)
{
  return (value % range + range - origin % range) % range;
}

// The place of the number that has as many others in the half of the range above it as the right subtree is to take,
// or `count` if no number has. Compares each number with each: at most 1023 of them, and half as many a level below.
static unsigned findPivot(const Subtree& tree)
{
  unsigned half = (tree.range - 1) / 2;
  for (unsigned i = 0; i < tree.count; i++) {
    unsigned near = 0;
    for (unsigned k = 0; k < tree.count; k++) near += distance(tree.set[k], tree.set[i], tree.range) <= half;
    if (near - 1 == (tree.count - 1) / 2) return i;
  }
  return tree.count;
}

// Sorts the numbers in place into those of the left and of the right subtree and counts them from there; the pivot
// stands last and stays. False if the halves do not come out even, as with a number twice.
static bool partition(const Subtree& tree, unsigned pivot)
{
  unsigned range = tree.range, half = (range - 1) / 2;
  unsigned leftOrigin = (pivot + half + 1) % range, rightOrigin = (pivot + 1) % range;
  unsigned leftEnd = tree.count / 2, right = leftEnd, end = tree.count - 1;
  uint16_t* set = tree.set;
  for (unsigned left = 0; left < leftEnd; left++) {
    unsigned d = distance(set[left], leftOrigin, range);
    if (d >= range >> 1) {
      // This one belongs right. The next right one that belongs left takes its place.
      unsigned e = 0;
      for (; right < end && (e = distance(set[right], rightOrigin, range)) < range >> 1; right++)
        set[right] = static_cast<uint16_t>(e);
      if (right == end) return false;
      set[right++] = static_cast<uint16_t>((d + half) % range);
      d = e - half;
    }
    set[left] = static_cast<uint16_t>(d);
  }
  for (; right < end; right++) set[right] = static_cast<uint16_t>(distance(set[right], rightOrigin, range));
  return true;
}

static int encodeTree(const ArfcnBuffer& buffer, const Subtree& tree);

// The level below begins where this one ends, has twice as many values, and each is one bit narrower.
static int encodeChildren(const ArfcnBuffer& buffer, const Subtree& tree)
{
  uint32_t power = greatestPower(tree.index);
  unsigned leftCount = tree.count / 2, rightCount = (tree.count - 1) / 2;
  size_t nextBit = tree.levelBit + tree.levelStart * tree.width;
  int status = encodeTree(
      buffer, {tree.index + power, tree.set, leftCount, tree.range >> 1, nextBit, 2 * tree.levelStart, tree.width - 1});
  if (status < 0 || rightCount == 0) return status; // the right child of a pair stays 0
  return encodeTree(buffer, {tree.index + 2 * power, tree.set + leftCount, rightCount, (tree.range - 1) / 2, nextBit,
                             2 * tree.levelStart, tree.width - 1});
}

// Writes the pivot, which has half of the others on each side, and both subtrees. Recursive: each step down halves the
// range, so that no tree is deeper than its format's levels, ten at most. The set is reordered in place.
static int encodeTree(const ArfcnBuffer& buffer, const Subtree& tree)
{
  if (tree.count <= 1) return writeValue(buffer, tree, tree.count ? tree.set[0] + 1U : 0);
  unsigned place = findPivot(tree);
  if (place == tree.count) return failPivot(buffer.pctxt);
  unsigned pivot = tree.set[place];
  int status = writeValue(buffer, tree, pivot + 1);
  if (status < 0) return status;
  std::swap(tree.set[place], tree.set[tree.count - 1]);
  if (!partition(tree, pivot)) return failPivot(buffer.pctxt);
  return encodeChildren(buffer, tree);
}

// A copy of the channels, counted from the first one behind `apart`, which the copy does not have: channel 0 in format
// 1, the origin in the others. `found` tells whether it was there.
static uint16_t* copyWithout(RtxContext* pctxt, const ArfcnSet& set, uint16_t apart, unsigned base, unsigned& count,
                             bool& found)
{
  auto* copy = static_cast<uint16_t*>(rtxMemHeapAlloc(&pctxt->pMemHeap, (set.count + 1U) * sizeof(uint16_t)));
  if (!copy) return nullptr;
  unsigned place = 0;
  found = false;
  for (count = 0; count < set.count; count++) {
    if (set.arfcns[count] == apart) {
      place = count;
      found = true;
    }
    copy[count] = static_cast<uint16_t>((set.arfcns[count] - base) & kArfcnMask);
  }
  if (found) copy[place] = copy[--count];
  return copy;
}

// Bits of the value up to the last value of a tree of `count`. False if no tree of the format has so many.
static bool treeBits(const Rtx3gppRangeFormatInfo& info, unsigned count, size_t& bits)
{
  if (count + 1 > 1U << info.levels) return false;
  unsigned level = static_cast<unsigned>(std::bit_width(count + 1)) - 1;
  bits = info.firstValueBit + info.cumulativeBits[level] + (count + 1 - (1U << level)) * (info.levels - level);
  return true;
}

// What stands in front of the tree: whether channel 0 is there, or the origin, as 10 bits over two octets.
static void writeHeader(const ArfcnBuffer& buffer, unsigned format, bool channel0, uint16_t origin, uint8_t* second)
{
  if (format == RTX_3GPP_ARFCN_RANGE_1024) {
    buffer.octets[0] = channel0 ? 0x80 : 0;
    return;
  }
  buffer.octets[0] = static_cast<uint8_t>(origin >> 2);
  // Octets that were made here are not those that the caller's second pointer leads to, so both get the low bits.
  buffer.octets[1] = static_cast<uint8_t>(origin << 6);
  if (second) *second = buffer.octets[1];
}

// One of the four range formats. The working copy of the channels stays on the heap until the job ends.
static int encodeRange(ArfcnBuffer& buffer, const ArfcnSet& set, unsigned format, uint8_t** ppData, size_t dataSize,
                       uint16_t* pNumBits)
{
  const Rtx3gppRangeFormatInfo& info = rtx3GPPRangeFormat(format);
  bool range1024 = format == RTX_3GPP_ARFCN_RANGE_1024;
  if (set.range > info.maxRange + 1) return fail(buffer.pctxt, "\nRange too large for chosen format.");
  unsigned count = 0;
  bool found = false;
  uint16_t* numbers =
      copyWithout(buffer.pctxt, set, range1024 ? 0 : set.origin, range1024 ? 1 : set.origin + 1U, count, found);
  if (!numbers) return rtxErrSetData(buffer.pctxt, RTX_E_NO_MEMORY, kModule, __LINE__);
  // Without its origin among the channels, a set would come back with one channel more.
  if (!range1024 && !found) return fail(buffer.pctxt, "\nOrigin is not among the ARFCN values.");
  size_t bits = 0;
  if (!treeBits(info, count, bits)) return failPivot(buffer.pctxt);
  size_t need = (bits + 7 - info.firstOctetBits) / 8 + 1;
  *pNumBits = static_cast<uint16_t>(need * 8 - (8U - info.firstOctetBits));
  int status = bindBuffer(buffer, ppData, dataSize, need);
  if (status < 0) return status;
  buffer.octets[need - 1] = 0;
  writeHeader(buffer, format, found, set.origin, range1024 ? nullptr : ppData[1]);
  return encodeTree(buffer, {1, numbers, count, info.maxRange, info.firstValueBit, 1, info.levels});
}

// Tests what all formats need and hands on to the format's own function.
int rtx3GPPEncARFCN(RtxContext* pctxt, const uint16_t* arfcns, uint16_t count, uint8_t format, uint16_t range,
                    uint16_t origin, uint8_t** ppData, size_t dataSize, uint16_t* pNumBits)
{
  bool bitmap0 = format == RTX_3GPP_ARFCN_BITMAP_0;
  if ((!arfcns && count) || !ppData || (!pNumBits && !bitmap0))
    return rtxErrSetData(pctxt, RTX_E_BAD_PARAMETER, kModule, __LINE__);
  ArfcnBuffer buffer = {pctxt, nullptr, 0};
  ArfcnSet set = {arfcns, count, range, origin};
  if (bitmap0) return encodeBitmap0(buffer, arfcns, count, ppData, dataSize);
  if (format == RTX_3GPP_ARFCN_VARIABLE_BITMAP) return encodeVariableBitmap(buffer, set, ppData, dataSize, pNumBits);
  if (format > RTX_3GPP_ARFCN_VARIABLE_BITMAP) return fail(pctxt, "no format of frequency lists");
  return encodeRange(buffer, set, format, ppData, dataSize, pNumBits);
}

// The channels that are there, by their number modulo 1024.
struct Presence {
  uint32_t words[32];
  bool has(unsigned channel) const { return words[channel / 32] >> channel % 32 & 1; }
  void add(unsigned channel) { words[channel / 32] |= 1U << channel % 32; }
};

// How far above the candidate the last channel lies, modulo 1024. That one is found from the other side: it is the
// first channel below the candidate.
static unsigned farthest(const Presence& present, unsigned candidate)
{
  unsigned below = 1;
  while (!present.has((candidate - below) & kArfcnMask)) below++;
  return (1024 - below) & kArfcnMask;
}

// Tries each channel as origin once. `tried` keeps a list that repeats one channel 65,535 times from 1024 steps for
// each.
int rtx3GPPGetARFCNRange(const uint16_t* arfcns, uint16_t count, uint16_t* pOrigin, uint16_t* pRange)
{
  Presence present = {}, tried = {};
  uint16_t origin = 0, range = 0;
  bool better = count == 0;
  for (unsigned i = 0; i < count; i++) present.add(arfcns[i] & kArfcnMask);
  if (count) range = 1024;
  for (unsigned i = 0; i < count; i++) {
    unsigned candidate = arfcns[i] & kArfcnMask;
    if (tried.has(candidate)) continue;
    tried.add(candidate);
    unsigned size = farthest(present, candidate) + 1;
    // The first of several that are equally good is taken; one of 1024, the whole circle, is none.
    if (size >= range) continue;
    range = static_cast<uint16_t>(size);
    origin = arfcns[i];
    better = true;
    if (range == count) break; // a run without holes: nothing is smaller
  }
  if (pOrigin && better) *pOrigin = origin;
  if (pRange) *pRange = range;
  return 0;
}
