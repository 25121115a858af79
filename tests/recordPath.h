// Records set by path and text along the descriptors: "taiList.elem.mcc" = "262".
#pragma once

#include "tests/messages.h"
#include "tests/recordWalk.h"

// Sets what stands at the path, names joined by dots, as the printer shows them; an entry of a list is its position,
// without one the first is meant. The elements on the way become present. Numbers are decimal or 0x..., octets hex
// digits, text is text; a list takes its number of entries, which repeat the first, a choice or body the number of its
// alternative; "-" takes an element or a body's message away. Its functions give false if there is no such place.
struct RecordPath {
  RtxContext* ctxt;
  std::vector<std::string> path;
  std::string value;

  bool inType(const L3Type& type, uint8_t* record, size_t i) const;

private:
  bool atEnd(size_t i) const { return i == path.size(); }
  bool inRow(const L3Row& row, uint8_t* record, size_t i) const;
  bool named(const L3Row* rows, size_t count, uint8_t* record, size_t i) const;
  bool inChoice(const L3Row& row, uint8_t* record, size_t i) const;
  bool inBody(const L3Body& body, uint8_t* member, uint8_t* record, size_t i) const;
  bool inList(const L3List& info, uint8_t* member, size_t i) const;
  bool leaf(const L3Row& row, uint8_t* member) const;
};

inline bool RecordPath::leaf(const L3Row& row, uint8_t* member) const
{
  switch (row.op) {
    case kL3UInt:
    case kL3Bool:
    case kL3Enumerated:
      l3Store(member, row.store, std::stoull(value, nullptr, 0));
      return true;
    case kL3Octets:
      return storeOctets(ctxt, *static_cast<const L3Octets*>(row.info), member, octetsOfHex(value));
    case kL3Text:
      return storeText(ctxt, member, static_cast<const L3Text*>(row.info)->cap, value);
    default:
      return row.op == kL3Nothing;
  }
}

inline bool RecordPath::inChoice(const L3Row& row, uint8_t* record, size_t i) const
{
  const L3Choice& choice = *static_cast<const L3Choice*>(row.info);
  if (atEnd(i)) return choice.tagged && (l3Store(record + row.offset, 4, std::stoull(value)), true);
  for (unsigned k = 0; k < choice.count; ++k) {
    const L3Alternative& alternative = choice.alternatives[k];
    if (!alternative.row.name || alternative.row.name.get() != path[i]) continue;
    if (choice.tagged) l3Store(record + row.offset, 4, alternative.tag);
    return inRow(alternative.row, record, i + 1);
  }
  return false;
}

// Only the message that the body holds has a path.
inline bool RecordPath::inBody(const L3Body& body, uint8_t* member, uint8_t* record, size_t i) const
{
  if (atEnd(i) && value == "-") return l3StorePointer(record + body.pointerOffset, nullptr), true;
  if (atEnd(i)) return l3Store(member, 4, std::stoull(value)), true;
  auto* held =
      std::find_if(body.rows.get(), body.rows + body.count, [&](auto& row) { return row.tag == l3Load(member, 4); });
  if (held == body.rows + body.count || !held->type || held->name() != path[i]) return false;
  return inType(*held->type, l3BodyValue(body, *held, record), i + 1);
}

inline bool RecordPath::inList(const L3List& info, uint8_t* member, size_t i) const
{
  if (atEnd(i)) return resizeList(ctxt, info, member, std::stoul(value));
  bool number = path[i].find_first_not_of("0123456789") == std::string::npos;
  size_t at = number ? std::stoul(path[i]) : 0;
  return inRow(info.elem, listOf(info, member).elem + at * info.elemSize, i + number);
}

inline bool RecordPath::inRow(const L3Row& row, uint8_t* record, size_t i) const
{
  if (row.mBit != kL3NoBit && atEnd(i) && value == "-") {
    record[row.mBit / 8] = uint8_t(record[row.mBit / 8] & ~(1U << row.mBit % 8));
    return true;
  }
  if (row.mBit != kL3NoBit) l3SetBit(record, row.mBit);
  if (row.groupBit != kL3NoBit) l3SetBit(record, row.groupBit);
  uint8_t* member = record + row.offset;
  if (row.op == kL3Choice) return inChoice(row, record, i);
  if (row.op == kL3Body) return inBody(*static_cast<const L3Body*>(row.info), member, record, i);
  if (row.op == kL3List) return inList(*static_cast<const L3List*>(row.info), member, i);
  if (row.op == kL3Record || row.op == kL3TextType) return inType(*row.type, member, i);
  return atEnd(i) && leaf(row, member);
}

inline bool RecordPath::named(const L3Row* rows, size_t count, uint8_t* record, size_t i) const
{
  return std::any_of(rows, rows + count, [&](const L3Row& row) {
    if (row.name && row.name.get() == path[i]) return inRow(row, record, i + 1);
    return !row.name && row.op == kL3Choice && inChoice(row, record, i);
  });
}

inline bool RecordPath::inType(const L3Type& type, uint8_t* record, size_t i) const
{
  L3TextForm form = l3TextForm(type);
  if (form != L3TextForm::none)
    return atEnd(i) && storeText(ctxt, record, form == L3TextForm::array ? type.size : 0, value);
  const L3Row* last = type.rowCount ? &type.rows[type.rowCount - 1] : nullptr;
  if (last && (type.flags & kL3Bare || (atEnd(i) && !last->name))) return inRow(*last, record, i);
  if (atEnd(i)) return false;
  return named(type.rows, type.rowCount, record, i) ||
         (type.message && named(type.message->options, type.message->count, record, i));
}

inline bool setByPath(RtxContext* ctxt, const L3Type& type, void* record, const std::string& path,
                      const std::string& value)
{
  return RecordPath{ctxt, split(path, '.'), value}.inType(type, static_cast<uint8_t*>(record), 0);
}
