#include "tests/peer/recordPath.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "rt3gppsrc/engine/l3Record.h"
#include "velnor3gpp/rtxMemHeap.h"

namespace peer {

namespace {

struct Setter {
  RtxContext* ctxt;
  std::vector<std::string> path;
  std::string value;

  void* allocate(size_t octets) { return rtxMemHeapAllocZ(&ctxt->pMemHeap, octets ? octets : 1); }
  bool atEnd(size_t i) const { return i == path.size(); }
  bool inType(const L3Type& type, uint8_t* record, size_t i);
  bool inRow(const L3Row& row, uint8_t* record, size_t i);
  bool named(const L3Row* rows, size_t count, uint8_t* record, size_t i);
  bool inChoice(const L3Row& row, uint8_t* record, size_t i);
  bool inList(const L3Row& row, uint8_t* record, size_t i);
  bool leaf(const L3Row& row, uint8_t* member);
  bool octets(const L3Octets& info, uint8_t* member);
  bool bits(const L3BitString& info, uint8_t* member);
  bool text(uint8_t* member, size_t cap);
  std::vector<uint8_t> hex() const;
};

std::vector<uint8_t> Setter::hex() const
{
  std::vector<uint8_t> out;
  for (size_t i = 0; i + 1 < value.size(); i += 2) out.push_back(uint8_t(std::stoul(value.substr(i, 2), nullptr, 16)));
  return out;
}

bool Setter::octets(const L3Octets& info, uint8_t* member)
{
  auto data = hex();
  if (info.from == kL3Fixed) {
    memcpy(member, data.data(), std::min<size_t>(data.size(), info.fixed));
    return data.size() == info.fixed;
  }
  if (info.cap) {
    member[0] = uint8_t(data.size());
    memcpy(member + info.dataOffset, data.data(), std::min<size_t>(data.size(), info.cap));
    return data.size() <= info.cap;
  }
  auto* heap = static_cast<uint8_t*>(allocate(data.size()));
  std::copy(data.begin(), data.end(), heap);
  l3StoreOctets(member, {uint32_t(data.size()), heap});
  return true;
}

bool Setter::bits(const L3BitString& info, uint8_t* member)
{
  auto data = hex();
  if (info.capBits) {
    member[0] = uint8_t(data.size() * 8);
    std::copy(data.begin(), data.end(), member + info.dataOffset);
    return data.size() * 8 <= info.capBits;
  }
  auto* heap = static_cast<uint8_t*>(allocate(data.size()));
  std::copy(data.begin(), data.end(), heap);
  l3StoreOctets(member, {uint32_t(data.size() * 8), heap});
  return true;
}

bool Setter::text(uint8_t* member, size_t cap)
{
  auto* to = reinterpret_cast<char*>(member);
  if (!cap) l3StorePointer(member, to = static_cast<char*>(allocate(value.size() + 1)));
  if (cap && value.size() >= cap) return false;
  memcpy(to, value.c_str(), value.size() + 1);
  return true;
}

bool Setter::leaf(const L3Row& row, uint8_t* member)
{
  switch (row.op) {
    case kL3UInt:
    case kL3Bool:
    case kL3Enumerated:
      l3Store(member, row.store, std::stoull(value, nullptr, 0));
      return true;
    case kL3Octets:
      return octets(*static_cast<const L3Octets*>(row.info), member);
    case kL3BitString:
      return bits(*static_cast<const L3BitString*>(row.info), member);
    case kL3Text:
      return text(member, static_cast<const L3Text*>(row.info)->cap);
    case kL3Nothing:
      return true;
    default:
      return false;
  }
}

bool Setter::inChoice(const L3Row& row, uint8_t* record, size_t i)
{
  const L3Choice& choice = *static_cast<const L3Choice*>(row.info);
  for (unsigned k = 0; !atEnd(i) && k < choice.count; ++k) {
    const L3Alternative& alternative = choice.alternatives[k];
    if (!alternative.row.name || alternative.row.name != path[i]) continue;
    if (choice.tagged) l3Store(record + row.offset, 4, alternative.tag);
    return inRow(alternative.row, record, i + 1);
  }
  return false;
}

bool Setter::inList(const L3Row& row, uint8_t* record, size_t i)
{
  const L3List& info = *static_cast<const L3List*>(row.info);
  uint8_t* member = record + row.offset;
  uint8_t* entries = info.cap ? member + info.elemOffset : l3LoadShape<L3HeapList>(member).elem;
  if (!atEnd(i)) {
    bool number = path[i].find_first_not_of("0123456789") == std::string::npos;
    size_t at = number ? std::stoul(path[i]) : 0;
    return inRow(info.elem, entries + at * info.elemSize, number ? i + 1 : i);
  }
  size_t count = std::stoul(value);
  if (info.cap && count > info.cap) return false;
  auto* heap = info.cap ? entries : static_cast<uint8_t*>(allocate(count * info.elemSize));
  for (size_t k = 0; k < count; ++k) memmove(heap + k * info.elemSize, entries, info.elemSize);
  if (info.cap)
    member[0] = uint8_t(count);
  else
    l3StoreList(member, count, heap);
  return true;
}

bool Setter::inRow(const L3Row& row, uint8_t* record, size_t i)
{
  if (row.mBit != kL3NoBit && atEnd(i) && value == "-") {
    record[row.mBit / 8] = uint8_t(record[row.mBit / 8] & ~(1U << row.mBit % 8));
    return true;
  }
  if (row.mBit != kL3NoBit) l3SetBit(record, row.mBit);
  if (row.groupBit != kL3NoBit) l3SetBit(record, row.groupBit);
  if (row.op == kL3Choice) return inChoice(row, record, i);
  if (row.op == kL3List) return inList(row, record, i);
  if (row.op == kL3Record || row.op == kL3TextType) return inType(*row.type, record + row.offset, i);
  return atEnd(i) && leaf(row, record + row.offset);
}

bool Setter::named(const L3Row* rows, size_t count, uint8_t* record, size_t i)
{
  for (const L3Row* row = rows; row < rows + count; ++row) {
    if (row->name && row->name == path[i]) return inRow(*row, record, i + 1);
    if (!row->name && row->op == kL3Choice && inChoice(*row, record, i)) return true;
  }
  return false;
}

bool Setter::inType(const L3Type& type, uint8_t* record, size_t i)
{
  L3TextForm form = l3TextForm(type);
  if (form != L3TextForm::none) return atEnd(i) && text(record, form == L3TextForm::array ? type.size : 0);
  if (type.flags & kL3Bare && type.rowCount) return inRow(type.rows[type.rowCount - 1], record, i);
  if (atEnd(i)) return false;
  if (named(type.rows, type.rowCount, record, i)) return true;
  return type.message && named(type.message->options, type.message->count, record, i);
}

using Visit = std::function<void(const L3Type&, void*)>;

void visitRow(const L3Row& row, uint8_t* record, const Visit& visit)
{
  if (!l3IsPresent(row, record)) return;
  uint8_t* member = record + row.offset;
  if (row.op == kL3Record)
    visitTypes(*row.type, member, visit);
  else if (row.type)
    visit(*row.type, member); // a named type that is one thing
  if (row.op == kL3List) {
    const L3List& info = *static_cast<const L3List*>(row.info);
    auto heap = info.cap ? L3HeapList{member[0], member + info.elemOffset} : l3LoadShape<L3HeapList>(member);
    for (size_t k = 0; k < heap.n; ++k) visitRow(info.elem, heap.elem + k * info.elemSize, visit);
  }
  if (row.op == kL3Body) {
    const L3Body& body = *static_cast<const L3Body*>(row.info);
    auto* message = l3LoadShape<uint8_t*>(record + body.pointerOffset);
    for (const L3BodyRow* known = body.rows; message && known < body.rows + body.count; ++known)
      if (known->tag == l3Load(member, 4)) visitTypes(*known->type, message, visit);
  }
  if (row.op != kL3Choice) return;
  const L3Choice& choice = *static_cast<const L3Choice*>(row.info);
  if (auto* alternative = l3ChosenAlternative(choice, row, record)) visitRow(alternative->row, record, visit);
}

} // namespace

void visitTypes(const L3Type& type, void* record, const Visit& visit)
{
  visit(type, record);
  auto* octets = static_cast<uint8_t*>(record);
  for (unsigned i = 0; i < type.rowCount; ++i) visitRow(type.rows[i], octets, visit);
  for (unsigned i = 0; type.message && i < type.message->count; ++i) visitRow(type.message->options[i], octets, visit);
}

bool setByPath(RtxContext* ctxt, const L3Type& type, void* record, const std::string& path, const std::string& value)
{
  Setter setter{ctxt, {}, value};
  for (size_t from = 0; from < path.size();) {
    size_t dot = std::min(path.find('.', from), path.size());
    setter.path.push_back(path.substr(from, dot - from));
    from = dot + 1;
  }
  return setter.inType(type, static_cast<uint8_t*>(record), 0);
}

} // namespace peer
