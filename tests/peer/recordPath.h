// Records set by path and text along the descriptors: "taiList.elem.mcc" = "262".
#pragma once

#include "tests/messages.h"
#include "tests/recordWalk.h"

namespace peer {

// Sets what stands at the path, names joined by dots, as the printer shows them; an entry of a list is its position,
// without one the first is meant. The elements on the way become present. Numbers are decimal or 0x..., octets hex
// digits, text is text; a list takes its number of entries, which repeat the first; "-" takes an element away. Its
// functions give false if there is no such place.
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
  bool inList(const L3List& info, uint8_t* member, size_t i) const;
  bool leaf(const L3Row& row, uint8_t* member) const;
};

inline bool setByPath(RtxContext* ctxt, const L3Type& type, void* record, const std::string& path,
                      const std::string& value)
{
  return RecordPath{ctxt, split(path, '.'), value}.inType(type, static_cast<uint8_t*>(record), 0);
}

} // namespace peer
