// Octet, bit and character strings. A failed read of octets or bits does not end the decoding of the record: its status
// is kept as the running status (`running`), which the next element overwrites, while the error record stands. So a
// record fails by such a string only if it is the last element. Texts fail at once.
//
// Storage is never taken on the word of a length: FF FF in front of nothing would otherwise cost 64 KiB.
#include <cstring>

#include "rt3gppsrc/engine/l3Decode.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxDiagBitTrace.h"
#include "velnor3gpp/rtxMemHeap.h"

// Storage on the context's heap, or null.
static void* allocate(L3Call& call, size_t octets)
{
  return rtxMemHeapAlloc(&call.pctxt->pMemHeap, octets);
}

// How many octets the string has: by a field, by a length of its own, or all that the region has left. In a region that
// is overrun already, that is none.
static int countOctets(L3Call& call, const uint8_t* record, L3CountFrom from, const L3Field& field, uint8_t lengthBits,
                       size_t& count)
{
  uint16_t length = 0;
  switch (from) {
    case kL3ByField:
      count = static_cast<size_t>(l3Load(record + field.offset, field.store));
      return 0;
    case kL3OwnLength: {
      int status = l3DecBits(call, reinterpret_cast<uint8_t*>(&length), lengthBits, 2, "INTEGER");
      count = length;
      return status;
    }
    default:
      count = l3RoomOctets(call);
      return 0;
  }
}

// How many of the string's octets the input can fill; no more storage is taken. What a stream still brings is unknown.
static size_t fillable(const L3Call& call, size_t count)
{
  if (call.pctxt->pStream && !(call.pctxt->flags & RTX_FLAG_BUFFER_MODE)) return count;
  return count < l3Unread(call.pctxt) ? count : l3Unread(call.pctxt);
}

// Fails for a string that was not stored: its member must not hold a count or pointer of an earlier use.
static int failString(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int status)
{
  l3InitMember(row, record);
  return l3Fail(call, type.module->decoder, status, row.line);
}

// Reads a string into storage of its own. The member is set before the read, so that it is sound whatever the read
// does.
static int decHeapOctets(L3Call& call, uint8_t* member, size_t count, int& running)
{
  size_t fill = fillable(call, count);
  uint32_t numocts = static_cast<uint32_t>(fill);
  // An empty string has no storage, and a null pointer.
  uint8_t* data = nullptr;
  if (fill && !(data = static_cast<uint8_t*>(allocate(call, fill)))) return RTX_E_NO_MEMORY;
  struct {
    uint32_t numocts;
    uint8_t* data;
  } value = {numocts, data};
  memcpy(member, &value, sizeof value);
  // The public function takes a null target for "pass over", which would move the cursor.
  uint8_t none = 0;
  if (count) running = l3DecOctets(call, fill ? data : &none, count);
  // A read that fails may have written some of the octets. The member promises all of them, so they are 0.
  if (running < 0 && fill) memset(data, 0, fill);
  return 0;
}

// Reads a string into the record. The array takes what it has room for; the rest is passed over. `numocts` says how
// many came, in 8 bits.
static void decInlineOctets(L3Call& call, const L3Octets& info, uint8_t* member, size_t count, int& running)
{
  size_t store = count < info.cap ? count : info.cap;
  member[0] = static_cast<uint8_t>(count);
  running = l3DecOctets(call, member + info.dataOffset, store);
  if (running < 0 || count == store) return;
  call.doubtful = true;
  l3ToLists(call);
  running = rtxSkipBytes(call.pctxt, count - store);
  if (running >= 0) rtxDiagSetBitFldCount(call.pctxt->pBitFldList);
}

// An octet string of any form.
static int decOctetString(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int& running)
{
  const L3Octets& info = *static_cast<const L3Octets*>(row.info);
  uint8_t* member = record + row.offset;
  if (info.from == kL3Fixed) {
    running = l3DecOctets(call, member, info.fixed);
    return 0;
  }
  size_t count = 0;
  int status = 0;
  if (info.from == kL3ByField)
    count = l3CountOf(call, info.count, record);
  else
    status = countOctets(call, record, info.from, info.count.field, info.lengthBits, count);
  if (status < 0) return failString(call, type, row, record, status);
  if (info.cap)
    decInlineOctets(call, info, member, count, running);
  else
    status = decHeapOctets(call, member, count, running);
  if (status < 0) return failString(call, type, row, record, status);
  // A tail that begins inside an octet is refused by the encoder.
  if (info.from == kL3Rest && l3BitPos(call.pctxt) % 8) call.doubtful = true;
  // An inline string that is longer than its array is remarked like one outside its range.
  bool tooLong = info.cap && count > info.cap;
  if (tooLong || (info.ranged && (count < info.lo || count > info.hi)))
    l3NoteRange(call, type.module->decoder, row.line, count);
  return 0;
}

// Reads bits to an array of octets, the first bit on top.
static int readBitArray(L3Call& call, uint8_t* dst, size_t octets, size_t bits)
{
  if (!bits) return 0;
  l3ToLists(call);
  rtxDiagNewBitField(call.pctxt->pBitFldList, "BIT STRING");
  int status = rtxDecBitsToByteArray(call.pctxt, dst, octets, bits);
  if (status >= 0) rtxDiagSetBitFldCount(call.pctxt->pBitFldList);
  return status;
}

// By a field, or all that the region has left.
static size_t countBits(const L3Call& call, const uint8_t* record, const L3BitString& info)
{
  if (info.from != kL3ByField) return l3RoomBits(call);
  return l3CountOf(call, info.count, record);
}

// A bit string of any form. Inline, bits beyond the array are not read. On the heap there is one octet more than whole
// octets of bits, so that 16 bits have three and a last partial octet has room.
static int decBitString(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int& running)
{
  const L3BitString& info = *static_cast<const L3BitString*>(row.info);
  uint8_t* member = record + row.offset;
  if (info.from == kL3Fixed) {
    running = readBitArray(call, member, (info.capBits + 7) / 8, info.capBits);
    return 0;
  }
  size_t bits = countBits(call, record, info);
  if (info.capBits) {
    size_t store = bits < info.capBits ? bits : info.capBits;
    member[0] = static_cast<uint8_t>(store);
    if (bits > store) call.doubtful = true;
    running = readBitArray(call, member + info.dataOffset, (info.capBits + 7) / 8, store);
    return 0;
  }
  size_t fill = fillable(call, bits / 8 + 1) * 8;
  if (fill > bits) fill = bits;
  uint8_t* data = nullptr;
  if (bits && !(data = static_cast<uint8_t*>(allocate(call, fill / 8 + 1))))
    return failString(call, type, row, record, RTX_E_NO_MEMORY);
  // A failing read leaves some of the octets unwritten.
  if (data) memset(data, 0, fill / 8 + 1);
  struct {
    uint32_t numbits;
    uint8_t* data;
  } value = {static_cast<uint32_t>(fill), data};
  memcpy(member, &value, sizeof value);
  if (bits) running = readBitArray(call, data, bits / 8 + 1, bits);
  return 0;
}

// Text and labels lie in one place, and the dots take the place of the lengths: 03 61 62 63 01 64 becomes 61 62 63 2E
// 64 00. A label that says more than there is ends with the string.
void l3JoinLabels(char* text, size_t count)
{
  size_t at = 0, out = 0;
  while (at < count) {
    size_t label = static_cast<uint8_t>(text[at++]);
    if (label > count - at) label = count - at;
    // Each label but the first: the length octet of the first one vanishes, so `out` is always behind `at`.
    if (at > 1) text[out++] = '.';
    memmove(text + out, text + at, label);
    out += label;
    at += label;
  }
  text[out] = 0;
}

// A zero ends a text before its octets end. Among labels a dot makes two of one, and a single empty label is the empty
// name, which is written without a label.
bool l3TextComesBack(const uint8_t* octets, size_t count, bool labels)
{
  if (!labels) return !memchr(octets, 0, count);
  if (count == 1) return false;
  for (size_t at = 0; at < count;) {
    size_t label = octets[at++];
    if (label > count - at || memchr(octets + at, 0, label) || memchr(octets + at, '.', label)) return false;
    at += label;
  }
  return true;
}

// Texts have an ending zero in the record. One that cannot be read is the empty text, and the record fails.
static int decText(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record)
{
  const L3Text& info = *static_cast<const L3Text*>(row.info);
  size_t count = 0;
  int status = countOctets(call, record, info.from, info.field, info.lengthBits, count);
  if (status < 0) return failString(call, type, row, record, status);
  size_t fill = fillable(call, count);
  char* text = static_cast<char*>(allocate(call, fill + 1));
  if (!text) return failString(call, type, row, record, RTX_E_NO_MEMORY);
  text[0] = 0;
  memcpy(record + row.offset, &text, sizeof text);
  status = l3DecOctets(call, reinterpret_cast<uint8_t*>(text), count);
  if (status < 0) {
    text[0] = 0;
    return l3Fail(call, type.module->decoder, status, row.line);
  }
  text[fill] = 0;
  if (!l3TextComesBack(reinterpret_cast<const uint8_t*>(text), fill, info.labels)) call.doubtful = true;
  if (info.labels) l3JoinLabels(text, fill);
  if (info.ranged && (count < info.lo || count > info.hi)) l3NoteRange(call, type.module->decoder, row.line, count);
  return 0;
}

int l3DecString(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int& running)
{
  if (row.op == kL3Text) return decText(call, type, row, record);
  int status = row.op == kL3Octets ? decOctetString(call, type, row, record, running)
                                   : decBitString(call, type, row, record, running);
  if (running < 0) call.doubtful = true;
  return status;
}
