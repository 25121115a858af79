// An allocator that counts the octets which the contexts under test hold, and how much a decoder may take from it.
#pragma once

#include <malloc.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "rt3gppsrc/engine/l3Types.h"

namespace heap {

inline size_t live = 0, peak = 0; // octets

inline void release(void* memory)
{
  if (memory) live -= malloc_usable_size(memory);
  free(memory);
}
inline void* grow(void* old, size_t size)
{
  size_t before = old ? malloc_usable_size(old) : 0;
  void* memory = realloc(old, size);
  if (memory) peak = std::max(peak, live += malloc_usable_size(memory) - before);
  return memory;
}
inline void* allocate(size_t size)
{
  return grow(nullptr, size);
}

// What a record may take whatever its input, by the standard's bounds: the message of a body, and lists of great
// entries, which are there three times while they grow.
inline size_t bounded(const L3Type& type)
{
  size_t octets = 0;
  for (const L3Row* row = type.rows; row < type.rows + type.rowCount; ++row) {
    if (row->op == kL3Record) octets += bounded(*row->type);
    if (row->op == kL3List) {
      const L3List& list = *static_cast<const L3List*>(row->info);
      size_t entries = list.ranged ? list.hi * list.elemSize : 0;
      if (!list.cap && list.elemSize > 256) octets += 3 * std::max<size_t>(entries, 32768);
    } else if (row->op == kL3Body) {
      const L3Body& body = *static_cast<const L3Body*>(row->info);
      size_t largest = 0;
      for (unsigned i = 0; i < body.count; ++i)
        if (body.rows[i].type) largest = std::max<size_t>(largest, body.rows[i].type->size);
      octets += 2 * largest;
    }
  }
  return octets;
}

// Beside that it is in proportion to the input.
inline size_t mostFor(const L3Type& type, size_t input)
{
  return 16384 + 64 * input + bounded(type);
}

} // namespace heap
