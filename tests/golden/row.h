// The golden row of a type: its size, the octets of its sample with as few elements as it can have and with all, and a
// digest of what becomes of damaged ones.
#pragma once

#include "tests/golden/edges.h"
#include "tests/messages.h"

// The digest of all that damaged octets led to.
struct Digest {
  uint64_t hash = 0xCBF29CE484222325;
  unsigned taken = 0, inputs = 0;
  void add(const std::string& text)
  {
    for (char c : text) hash = (hash ^ uint8_t(c)) * 0x100000001B3;
  }
};

// Presence bits become 0 wherever the record reaches without a pointer.
inline void clearPresence(const L3Type& type, uint8_t* value)
{
  memset(value, 0, type.mOctets);
  eachPresent(type, value, [](const L3Row& row, uint8_t* record) {
    if (row.op == kL3Record) memset(record + row.offset, 0, row.type->mOctets);
    return row.op == kL3Record;
  });
}

// What a caller finds beside the printed values: presence bits and the numbers of alternatives.
inline std::string shapeOf(const L3Type& type, uint8_t* value)
{
  std::string text;
  auto addBits = [&text](const L3Type& of, const uint8_t* record) {
    for (unsigned i = 0; i < of.mOctets; ++i) text += "m" + std::to_string(record[i]);
  };
  addBits(type, value);
  eachPresent(type, value, [&](const L3Row& row, uint8_t* record) {
    if (row.op == kL3Record) addBits(*row.type, record + row.offset);
    bool tagged = row.op == kL3Choice && static_cast<const L3Choice*>(row.info)->tagged;
    if (tagged || row.op == kL3Body) text += "t" + std::to_string(l3Load(record + row.offset, 4));
    return true;
  });
  return text;
}

// Findings without the lines of the definitions, which move with every edit.
inline std::string findings(const RtxContext* ctxt)
{
  std::string text;
  for (const RtxDListNode* node = ctxt->errInfo.head; node; node = node->next) {
    const RtxErrInfo& rec = *static_cast<const RtxErrInfo*>(node->data);
    text += std::to_string(rec.status) + (rec.fatal ? "!" : "?") + (rec.elemName ? rec.elemName : "");
    for (unsigned i = 0; i < rec.parmcount; ++i) text += std::string("'") + (rec.parms[i] ? rec.parms[i] : "");
  }
  return text;
}

inline void decodeInto(Digest& digest, const L3TypeEntry& entry, const Octets& octets)
{
  Decoding decoding(entry, octets);
  ++digest.inputs;
  digest.taken += decoding.status >= 0;
  digest.add(std::to_string(decoding.status) + "@" + std::to_string(rtxCtxtGetBitOffset(decoding.ctxt)) +
             findings(decoding.ctxt));
  if (decoding.status < 0) return;
  digest.add(decoding.text() + shapeOf(*entry.type, reinterpret_cast<uint8_t*>(decoding.record.get())));
}

// The sample, whole or with as few elements as it can have.
inline Octets encoded(const L3TypeEntry& entry, bool minimal, int& status)
{
  OutcomeContext ctxt;
  void* value = sampleValue(entry, ctxt);
  status = -1;
  if (!value || !entry.encode) return {};
  if (minimal) clearPresence(*entry.type, static_cast<uint8_t*>(value));
  Octets octets(1 << 12);
  status = encodeInto(octets, ctxt, entry, value);
  return octets;
}

// Elements are looked at closely, messages by what they add to their elements.
inline bool isElement(const L3TypeEntry& entry)
{
  return !(entry.type->flags & (kL3IsMessage | kL3IsPdu));
}

inline void decodeCut(Digest& digest, const L3TypeEntry& entry, const Octets& octets)
{
  for (size_t cut = 0; cut <= octets.size(); ++cut)
    decodeInto(digest, entry, Octets(octets.begin(), octets.begin() + long(cut)));
}

// Each octet otherwise; the first of an element and the header of a form in every way. What the first octet of an
// element selects is read once more with bits that show where each value stands.
inline void decodeChanged(Digest& digest, const L3TypeEntry& entry, Octets octets)
{
  for (unsigned first = 0; isElement(entry) && octets.size() > 2 && first < 256; ++first) {
    Octets told(octets);
    told[0] = uint8_t(first);
    std::fill(told.begin() + 2, told.end(), uint8_t(0xA5));
    decodeInto(digest, entry, told);
  }
  for (size_t i = 0; i < octets.size() && i < 160; ++i) {
    uint8_t whole = octets[i];
    bool close = entry.type->flags & kL3IsPdu ? i < 4 : i < 1 && isElement(entry);
    unsigned step = close ? 1 : i < 8 ? 17 : 85;
    for (unsigned change = step; change < 256; change += step) {
      octets[i] = uint8_t(whole ^ change);
      decodeInto(digest, entry, octets);
    }
    // An identifier of half an octet stays while its value changes.
    for (unsigned change = 1; change < 16 && i < 40 && entry.type->message; ++change) {
      octets[i] = uint8_t(whole ^ change);
      decodeInto(digest, entry, octets);
    }
    octets[i] = whole;
  }
}

// Has the record a list or string that a field of its own counts?
inline bool counts(const L3Type& type)
{
  return std::any_of(type.rows.get(), type.rows + type.rowCount, [](const L3Row& row) {
    return (row.op == kL3List && static_cast<const L3List*>(row.info)->end == kL3Times) ||
           (row.op == kL3Octets && static_cast<const L3Octets*>(row.info)->from == kL3ByField);
  });
}

// Two octets at once for long lengths, and counts with enough behind them for all that they count.
inline void decodeCounts(Digest& digest, const L3TypeEntry& entry, const Octets& octets)
{
  if (!isElement(entry)) return;
  for (size_t i = 0; i + 1 < octets.size() && i < 2; ++i)
    for (unsigned word : {0U, 1U, 2U, 3U, 4U, 5U, 0xFFFEU, 0xFFFFU}) {
      Octets changed(octets);
      changed[i] = uint8_t(word >> 8);
      changed[i + 1] = uint8_t(word);
      decodeInto(digest, entry, changed);
    }
  for (size_t i = 0; i < octets.size() && i < 4 && counts(*entry.type); ++i)
    for (unsigned change = 1; change < 256; ++change) {
      Octets longer(octets);
      longer[i] = uint8_t(longer[i] ^ change);
      longer.insert(longer.end(), 260, 1);
      decodeInto(digest, entry, longer);
    }
}

// An element whose length in front has bounds, as long as they allow and an octet longer or shorter than that.
inline void decodeLengths(Digest& digest, const L3TypeEntry& entry)
{
  const L3Row* row = entry.type->rows.get();
  if (!isElement(entry) || !entry.type->rowCount || row->op != kL3Length) return;
  const L3Length& length = *static_cast<const L3Length*>(row->info);
  if (!length.ranged || length.unitBits != 8 || length.bits % 8) return;
  for (uint32_t value : {length.lo ? length.lo - 1 : 0, length.lo, length.hi, length.hi + 1}) {
    if (value >> length.bits) continue;
    Octets octets(value + length.bias + length.bits / 8);
    for (unsigned i = 0; i < length.bits / 8; ++i) octets[i] = uint8_t(value >> (length.bits - 8 * (i + 1)));
    decodeInto(digest, entry, octets);
  }
}

// Counts and numbers at the ends of their ranges and beyond: what the encoder takes is decoded again.
inline void encodeEdges(Digest& digest, const L3TypeEntry& entry)
{
  for (unsigned index = 0; entry.encode; ++index) {
    OutcomeContext ctxt;
    void* value = sampleValue(entry, ctxt);
    if (!value || !moveToEdge(ctxt, *entry.type, value, index)) return;
    Octets octets(1 << 12);
    int status = encodeInto(octets, ctxt, entry, value);
    digest.add(std::to_string(status) + findings(ctxt) + hexText(octets));
    if (entry.decode && status >= 0) decodeInto(digest, entry, octets);
  }
}

// Behind a message: an element of every IEI.
inline void decodeTails(Digest& digest, const L3TypeEntry& entry, const Octets& octets)
{
  for (unsigned iei = 0; iei < 256 && entry.type->message; ++iei) {
    Octets longer(octets);
    longer.insert(longer.end(), {uint8_t(iei), 2, 1, 0, 1, 1});
    decodeInto(digest, entry, longer);
  }
}

inline std::string rowOf(const L3TypeEntry& entry)
{
  int status[2];
  Octets octets[2] = {encoded(entry, true, status[0]), encoded(entry, false, status[1])};
  std::string row = std::string(entry.type->fullName) + "\t" + std::to_string(entry.type->size);
  bool same = octets[0] == octets[1];
  Digest digest;
  for (int i = 0; i < 2; ++i) {
    std::string hex = octets[i].empty() ? "-" : hexText(octets[i]);
    row += "\t" + (status[i] < 0 ? std::to_string(status[i]) : i && same ? "=" : hex);
    if (!entry.decode || (i && same)) continue;
    decodeCut(digest, entry, octets[i]);
    decodeChanged(digest, entry, octets[i]);
    if (i == 1 || same) decodeCounts(digest, entry, octets[i]);
    if (i == 0) decodeTails(digest, entry, octets[i]);
  }
  decodeLengths(digest, entry);
  encodeEdges(digest, entry);
  char text[64];
  snprintf(text, sizeof text, "\t%u/%u\t%016llX", digest.taken, digest.inputs, (unsigned long long)digest.hash);
  return row + text;
}
