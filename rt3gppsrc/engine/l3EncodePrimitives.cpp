// Writing of single fields and of lengths that are patched when their content is known. Where nothing can be observed a
// field is put into the buffer inline (l3Bits.h). The public bit functions do the rest: with a stream or in slow mode,
// and where the buffer is full, since they know whether it may grow.
#include <cstring>

#include "rt3gppsrc/engine/l3Encode.h"
#include "rt3gppsrc/engine/l3Kept.h"
#include "rtxsrc/bits/rtxBigEndian.h"
#include "rtxsrc/bits/rtxBitEncodeInternal.h"
#include "velnor3gpp/rtxBitEncode.h"
#include "velnor3gpp/rtxDiagBitTrace.h"

// Writes a field with the public function of its width; they differ in what they record on failure. 24 bits go the way
// of odd widths.
static int writePublic(RtxContext* pctxt, uint64_t value, unsigned bits, bool boolean)
{
  uint32_t word = static_cast<uint32_t>(value);
  if (boolean) return rtxEncBit(pctxt, word != 0);
  if (bits == 24) return rtxEncBits(pctxt, word, bits);
  if (bits == 8 || bits == 16 || bits == 32) return rtxEncUInt32(pctxt, word, bits / 8);
  return bits <= 32 ? rtxEncBits(pctxt, word, bits) : rtxEncBits64(pctxt, value, bits);
}

int l3EncBits(L3Call& call, uint64_t value, unsigned bits, const char* label)
{
  RtxContext* pctxt = call.pctxt;
  bool boolean = label[0] == 'B';
  // A flag is any number that is not 0; its bit is 1.
  if (boolean) value = value != 0;
  int status = 0;
  l3TraceField(call, label);
  if (!call.inlined() || bits > 56 || !l3PutBits(pctxt->buffer, bits, value)) {
    l3ToLists(call);
    status = writePublic(pctxt, value, bits, boolean);
  }
  if (status >= 0) rtxDiagSetBitFldCount(pctxt->pBitFldList);
  return status;
}

int l3EncNamed(L3Call& call, const L3Type& type, const char* name, uint64_t value, unsigned bits, uint8_t store)
{
  L3Name frame;
  l3PushName(call, frame, name);
  if (bits < store * 8U && value >> bits) return l3FailRange(call, type.module->encoder, l3LineOf(type, name), value);
  int status = l3EncBits(call, value, bits, "INTEGER");
  if (status < 0) return l3EncFailed(call, type, name, status);
  l3PopName(call);
  return status;
}

// A copy where the cursor stands at an octet and all octets fit; else the public function, which may grow the buffer.
int l3EncOctets(L3Call& call, const uint8_t* src, size_t octets)
{
  RtxContext* pctxt = call.pctxt;
  RtxBuffer& buffer = pctxt->buffer;
  int status = 0;
  l3TraceField(call, "OCTET STRING");
  if (call.inlined() && buffer.bitOffset == 8 && buffer.byteIndex <= buffer.size &&
      octets <= buffer.size - buffer.byteIndex) {
    if (octets) memcpy(buffer.data + buffer.byteIndex, src, octets);
    buffer.byteIndex += octets;
  } else {
    l3ToLists(call);
    status = rtxEncBitsFromByteArray(pctxt, src, octets * 8);
  }
  if (status >= 0) rtxDiagSetBitFldCount(pctxt->pBitFldList);
  return status;
}

void l3OpenTail(L3Call& call)
{
  call.pctxt->flags |= RTX_OPENTAIL_FLAG;
}

// Ends the content of a length in octets at an octet: fills up with 0s, or under the open tail flag tests that there is
// nothing to fill. A length of whole octets that stands inside an octet, as an element within a CSN.1 structure may,
// counts octets from where it ends: with the content from bit 3 on, `lead` is 3, and the content may end at any bit 8n
// + 3.
static int align(L3Call& call, const L3Type& type, const L3Row& row, size_t start)
{
  RtxContext* pctxt = call.pctxt;
  const L3Length& info = *static_cast<const L3Length*>(row.info);
  size_t lead = info.bits % 8 ? 0 : start % 8;
  unsigned over = static_cast<unsigned>((l3BitPos(pctxt) - lead) % 8);
  if (pctxt->flags & RTX_OPENTAIL_FLAG) {
    // Octets to the end of a container that end inside an octet could not be read back.
    if (over) return l3FailNew(call, type.module->encoder, RTX_E_BAD_ALIGNMENT, row.line);
    pctxt->flags &= ~RTX_OPENTAIL_FLAG;
  } else if (over && lead) {
    // Filling bits that cross an octet's border.
    int status = l3EncBits(call, 0, 8 - over, "padding");
    if (status < 0) return l3Fail(call, type.module->encoder, status, row.line);
  } else if (over) {
    // The rest of the octet is 0 already: every write clears what is behind it. Octets written across a begun one may
    // end where the buffer does, and there is no octet to fill up then.
    if (pctxt->buffer.byteIndex < pctxt->buffer.size) ++pctxt->buffer.byteIndex;
    pctxt->buffer.bitOffset = 8;
  }
  return 0;
}

// A length of whole octets is stored. Another one, such as 4 bits that share an octet with an element, is merged into
// its octet by the public function, and the cursor comes back to where it was.
int l3PatchLength(L3Call& call, size_t end, unsigned bits, uint32_t length)
{
  RtxContext* pctxt = call.pctxt;
  size_t stop = l3BitPos(pctxt);
  if (call.inlined() && end % 8 == 0 && bits % 8 == 0) {
    uint8_t* at = pctxt->buffer.data + (end - bits) / 8;
    rtxStoreFirst(at, static_cast<uint64_t>(length) << (64 - bits), bits / 8);
    return 0;
  }
  int status = rtxCtxtSetBitOffset(pctxt, end - bits);
  if (status >= 0) status = rtxMergeBits(pctxt, length, bits);
  if (status >= 0) status = rtxCtxtSetBitOffset(pctxt, stop);
  return status;
}

// Are all bits from one position to another 0?
static bool isZeroBetween(const RtxBuffer& buffer, size_t from, size_t to)
{
  for (; from < to; ++from)
    if (buffer.data[from / 8] & 0x80U >> from % 8) return false;
  return true;
}

// A capability that came shorter than it can be goes out as short (standard's form): the length that it was decoded
// with stands in the record, and what was cut off is 0. If a caller has set anything behind there, nothing is cut.
static void cutToLength(L3Call& call, const L3Row& row, const uint8_t* record, size_t start)
{
  const L3Length& info = *static_cast<const L3Length*>(row.info);
  RtxBuffer& buffer = call.pctxt->buffer;
  size_t length = info.member ? static_cast<size_t>(l3Load(record + row.offset, row.store)) * info.unitBits : 0;
  size_t now = l3BitPos(call.pctxt);
  // What has gone out to a stream stays.
  bool shorter = length && start + length < now && !call.pctxt->pStream;
  if (!shorter || !isZeroBetween(buffer, start + length, now)) return;
  if (call.pctxt->pBitFldList) l3TraceCut(*call.pctxt->pBitFldList, start + length);
  buffer.byteIndex = (start + length) / 8;
  buffer.bitOffset = static_cast<int16_t>(8 - (start + length) % 8);
}

// Nothing of a region is final before it is closed: what was kept inside it is put back, its last octet is filled, and
// only then can its length be counted.
int l3EncClose(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, size_t start)
{
  const L3Length& info = *static_cast<const L3Length*>(row.info);
  if (type.flags & kL3EndsAnywhere) cutToLength(call, row, record, start);
  if (int status = l3PutKept(call, type, row.line, record, &row, kL3KeptInside); status < 0) return status;
  if (info.unitBits == 8)
    if (int status = align(call, type, row, start); status < 0) return status;
  size_t content = (l3BitPos(call.pctxt) - start) / info.unitBits;
  // A length that counts from a bias on cannot say less than that.
  if (content < info.bias) return l3FailRange(call, type.module->encoder, row.line, content);
  size_t count = content - info.bias;
  // A 16-bit length keeps its low 8 bits alone: 300 octets are counted as 2C. A fixed trait of the encoders.
  if (info.bits == 16 && !info.keepWhole) count &= 0xFF;
  if (info.member) l3Store(record + row.offset, row.store, count);
  uint32_t written = static_cast<uint32_t>(count & ((1ULL << info.bits) - 1));
  int status = l3PatchLength(call, start, info.bits, written);
  if (status < 0) return l3Fail(call, type.module->encoder, status, row.line);
  // A count of bits that does not fit its length is refused. A count of octets that does not is written cut, another
  // fixed trait, and refused if its range says so.
  bool cut = info.unitBits == 1 && count != written;
  if (cut || (info.ranged && (count < info.lo || count > info.hi) && !l3TakesAll(call)))
    return l3FailRange(call, type.module->encoder, row.line, count);
  return 0;
}
