// Strings, lists, choices and message bodies, encoding: the mirror of l3DecodeStrings.cpp and l3DecodeParts.cpp. Counts
// and pointers come from a caller's record, so each is tested before it is followed: an inline count against the array,
// a pointer against null, a count against its range and against the length that has to say it.
#include <cstring>

#include "rt3gppsrc/engine/l3Encode.h"
#include "rt3gppsrc/engine/l3Kept.h"
#include "rt3gppsrc/engine/l3Padding.h"
#include "rt3gppsrc/engine/l3Record.h"
#include "velnor3gpp/rtxBitEncode.h"
#include "velnor3gpp/rtxDiagBitTrace.h"

// A count without storage: -47 with the element path.
static int failNull(L3Call& call, const L3Type& type, const L3Row& row)
{
  l3ToLists(call);
  rtxErrAddElemNameParm(call.pctxt);
  return rtxErrSetNewData(call.pctxt, RTX_E_NULL_POINTER, type.module->encoder, row.line);
}

// Writes the length in front of a string, if it has one of its own. A count that the length cannot say is refused.
static int encOwnLength(L3Call& call, const L3Type& type, const L3Row& row, L3CountFrom from, uint8_t bits,
                        size_t count)
{
  if (from != kL3OwnLength) return 0;
  if (count >> bits) return l3FailRange(call, type.module->encoder, row.line, count);
  int status = l3EncBits(call, count, bits, "INTEGER");
  return status < 0 ? l3Fail(call, type.module->encoder, status, row.line) : 0;
}

// A growing buffer whose growth was refused names the refused size, so nothing may be written any more. A string that
// has failed by it ends the encoding at once; otherwise it would only leave its status (`running`). The status alone
// does not tell the two apart, since behind an older error it is that of several (-50).
static int endWithoutMemory(L3Call& call, const L3Type& type, const L3Row& row, int running)
{
  bool grows = call.pctxt->buffer.dynamic;
  return running < 0 && grows ? l3Fail(call, type.module->encoder, running, row.line) : 0;
}

// Content of a string, wherever it stands: octets, or bits for a bit string.
struct Content {
  size_t count; // octets or bits
  const uint8_t* data;
};

// With `cap` the content stands behind a count of one octet in the record, else behind a pointer. Both heap forms have
// a count of 32 bits.
static Content contentOf(const uint8_t* member, size_t cap, size_t dataOffset)
{
  if (cap) return {member[0], member + dataOffset};
  struct {
    uint32_t count;
    const uint8_t* data;
  } heap;
  memcpy(&heap, member, sizeof heap);
  return {heap.count, heap.data};
}

// Writes an octet string. As in the decoder, the status of the write is the running status, which does not end the
// record.
static int encOctetString(L3Call& call, const L3Type& type, const L3Row& row, const uint8_t* member, int& running)
{
  const L3Octets& info = *static_cast<const L3Octets*>(row.info);
  if (info.from == kL3Fixed) {
    running = l3EncOctets(call, member, info.fixed);
    return endWithoutMemory(call, type, row, running);
  }
  auto [count, data] = contentOf(member, info.cap, info.dataOffset);
  bool tooLong = info.cap && count > info.cap;
  if (tooLong || (info.ranged && (count < info.lo || count > info.hi) && !l3TakesAll(call)))
    return l3FailRange(call, type.module->encoder, row.line, count);
  if (count && !data) return failNull(call, type, row);
  if (int status = encOwnLength(call, type, row, info.from, info.lengthBits, count); status < 0) return status;
  running = l3EncOctets(call, data, count);
  // Nothing may follow in the region: a decoder would take it for more octets.
  if (info.from == kL3Rest) l3OpenTail(call);
  return endWithoutMemory(call, type, row, running);
}

// Writes a bit string, with the bits that the last octet has beyond it left out.
static int encBitString(L3Call& call, const L3Type& type, const L3Row& row, const uint8_t* member, int& running)
{
  const L3BitString& info = *static_cast<const L3BitString*>(row.info);
  auto [bits, data] =
      info.from == kL3Fixed ? Content{info.capBits, member} : contentOf(member, info.capBits, info.dataOffset);
  if (info.capBits && bits > info.capBits) return l3FailRange(call, type.module->encoder, row.line, bits);
  if (!bits) return 0;
  if (!data) return failNull(call, type, row);
  l3ToLists(call);
  rtxDiagNewBitField(call.pctxt->pBitFldList, "BIT STRING");
  running = rtxEncBitsFromByteArray(call.pctxt, data, bits);
  if (running >= 0) rtxDiagSetBitFldCount(call.pctxt->pBitFldList);
  return endWithoutMemory(call, type, row, running);
}

// Writes a text with dots as labels, each behind its length: "abc.d" is 03 61 62 63 01 64. The lengths stand in place
// of the dots and in front of the first label. A dot at the end makes an empty label, as the root of a name.
static int encLabels(L3Call& call, const L3Type& type, const L3Row& row, const char* text)
{
  for (bool more = *text; more; ++text) {
    // The text has at most 254 characters (tooLong), so that a label's length fits in its octet.
    size_t label = strcspn(text, ".");
    int status = l3EncBits(call, label, 8, "INTEGER");
    if (status >= 0) status = l3EncOctets(call, reinterpret_cast<const uint8_t*>(text), label);
    if (status < 0) return l3Fail(call, type.module->encoder, status, row.line);
    text += label;
    more = *text == '.';
  }
  return 0;
}

// A name of labels has at most 255 octets (RFC 1035, 2.3.4), any other text what its length can say.
static bool tooLong(const L3Text& info, size_t count)
{
  if (info.labels) return count > 255;
  return info.from == kL3OwnLength && count >> info.lengthBits;
}

// Writes a text. A null pointer is the empty text.
static int encText(L3Call& call, const L3Type& type, const L3Row& row, const uint8_t* member)
{
  const L3Text& info = *static_cast<const L3Text*>(row.info);
  const char* text;
  memcpy(&text, member, sizeof text);
  if (!text) text = "";
  size_t length = strlen(text);
  // On the wire a text of labels has one octet more than characters, for the first length; the empty one has none.
  size_t count = info.labels ? (length ? length + 1 : 0) : length;
  if (info.ranged && (count < info.lo || count > info.hi) && !l3TakesAll(call))
    return l3FailRange(call, type.module->encoder, row.line, count);
  if (tooLong(info, count)) return l3Fail(call, type.module->encoder, RTX_E_TOO_BIG, row.line);
  if (int status = encOwnLength(call, type, row, info.from, info.lengthBits, count); status < 0) return status;
  if (info.labels) return encLabels(call, type, row, text);
  int status = l3EncOctets(call, reinterpret_cast<const uint8_t*>(text), length);
  return status < 0 ? l3Fail(call, type.module->encoder, status, row.line) : 0;
}

int l3EncString(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int& running)
{
  const uint8_t* member = record + row.offset;
  if (row.op == kL3Octets) return encOctetString(call, type, row, member, running);
  if (row.op == kL3BitString) return encBitString(call, type, row, member, running);
  return encText(call, type, row, member);
}

// Writes one entry under its name, "elem[3]". A string cut short ends the list.
static int encEntry(L3Call& call, const L3Type& type, const L3Row& row, const L3List& info, uint8_t* entry, uint32_t i)
{
  L3Name frame;
  int running = 0;
  int status = l3PushEntry(call, frame, info.elem.name, i);
  if (status < 0) return l3Fail(call, type.module->encoder, status, row.line);
  status = l3EncMember(call, type, info.elem, entry, running);
  if (status >= 0) status = running;
  if (status >= 0) l3PopEntry(call);
  return status;
}

// The bit that leads entry number `i`, or that ends the list behind the last one (i is the count). In front of the
// entries of a `while-ext` list it is 0 while more follow and 1 at the last; behind them there is none.
static int encListBit(L3Call& call, const L3Type& type, const L3Row& row, const L3List& info, size_t i, size_t count)
{
  int status = 0;
  const char* label = i < count ? "ext bit" : "eol bit";
  const L3ListTraits& traits = l3Traits(info.end);
  if (traits.padded)
    status = l3EncPadded(call, i < count, 1, label);
  else if (traits.led)
    status = l3EncBits(call, (i < count) == traits.before, 1, label);
  else if (info.end == kL3WhileExt && i < count)
    status = l3EncBits(call, i + 1 == count, 1, "ext bit");
  else if (info.end == kL3UntilZero && i == count && l3BitPos(call.pctxt) % 8)
    status = l3EncBits(call, 0, info.zeroBits, "INTEGER");
  return status < 0 ? l3Fail(call, type.module->encoder, status, row.line) : 0;
}

// Writes a list, with the bits around its entries.
int l3EncList(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record)
{
  const L3List& info = *static_cast<const L3List*>(row.info);
  uint8_t* member = record + row.offset;
  struct {
    uint64_t n;
    uint8_t* elem;
    // Of an inline list the count and the address of the entries; a heap list replaces both.
  } heap = {member[0], member + info.elemOffset};
  if (!info.cap) memcpy(&heap, member, sizeof heap);
  bool tooMany = info.cap && heap.n > info.cap;
  if (tooMany || (info.ranged && (heap.n < info.lo || heap.n > info.hi) && !l3TakesAll(call)))
    return l3FailRange(call, type.module->encoder, row.line, heap.n);
  // Encoders count entries in 8 bits: a longer list is refused with -14, as callers know it.
  if (heap.n > 255) return l3FailNew(call, type.module->encoder, RTX_E_BAD_VALUE, row.line);
  if (heap.n && !heap.elem) return failNull(call, type, row);
  size_t count = static_cast<size_t>(heap.n);
  for (size_t i = 0; i <= count; ++i) {
    if (int status = encListBit(call, type, row, info, i, count); status < 0) return status;
    if (i == count) break;
    int status = encEntry(call, type, row, info, heap.elem + i * info.elemSize, static_cast<uint32_t>(i));
    if (status < 0) return status;
  }
  return 0;
}

// Writes the selector, unless earlier fields are the selector, and the alternative. `t` decides; the fields decide
// where they are the selector, so that fields and content cannot differ.
int l3EncChoice(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int& running)
{
  const L3Choice& choice = *static_cast<const L3Choice*>(row.info);
  const L3Alternative* alternative;
  if (choice.from == kL3SelectFields) {
    alternative = l3FindBySelector(choice, l3JoinFields(choice.fields, choice.fieldCount, record));
  } else {
    uint32_t tag = static_cast<uint32_t>(l3Load(record + row.offset, 4));
    if (choice.from == kL3SelectBits) {
      // A selector of its own on the wire is `t` less 1.
      int status = l3EncBits(call, tag - 1, choice.bits, "choice selector");
      if (status < 0) return l3Fail(call, type.module->encoder, status, row.line);
    }
    alternative = l3FindByTag(choice, tag);
    if (choice.from == kL3SelectCode && alternative) {
      int status = l3EncCode(call, choice.codes[alternative - choice.alternatives]);
      if (status < 0) return l3Fail(call, type.module->encoder, status, row.line);
    }
  }
  if (!alternative) return l3Fail(call, type.module->encoder, RTX_E_INVALID_CHOICE, row.line);
  L3Name frame;
  int status = l3PushName(call, frame, alternative->row.name);
  if (status < 0) return l3Fail(call, type.module->encoder, status, row.line);
  status = l3EncMember(call, type, alternative->row, record, running);
  if (status < 0) return status;
  l3PopName(call);
  return 0;
}

// Writes the message that `t` names. Discriminator and message type have been written from the header's fields.
int l3EncBody(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record)
{
  const L3Body& body = *static_cast<const L3Body*>(row.info);
  const L3BodyRow* found = l3MessageIn(body, l3Load(record + row.offset, 4));
  if (!found) return l3Fail(call, type.module->encoder, RTX_E_INVALID_CHOICE, row.line);
  if (!found->type) return 0;
  void* message = l3BodyValue(body, *found, record);
  if (!message) return failNull(call, type, row);
  L3Name frame;
  int status = l3PushName(call, frame, found->elemName);
  if (status < 0) return l3Fail(call, type.module->encoder, status, row.line);
  status = l3EncType(call, *found->type, message);
  if (status < 0) return l3Fail(call, type.module->encoder, status, row.line);
  l3PopName(call);
  return 0;
}
