// Records set by path and text along the descriptors: "taiList.elem.mcc" = "262".
#pragma once

#include <functional>
#include <string>

#include "rt3gppsrc/engine/l3Engine.h"

namespace peer {

// Sets what stands at the path, names joined by dots, as the printer shows them; an entry of a list is its position,
// without one the first is meant. The elements on the way become present. Numbers are decimal or 0x..., octets hex
// digits, text is text; a list takes its number of entries, which repeat the first; "-" takes an element away. False if
// there is no such place.
bool setByPath(RtxContext* ctxt, const L3Type& type, void* record, const std::string& path, const std::string& value);

// Calls `visit` for every value of a type within the record, the outer before the inner.
void visitTypes(const L3Type& type, void* record, const std::function<void(const L3Type&, void*)>& visit);

} // namespace peer
