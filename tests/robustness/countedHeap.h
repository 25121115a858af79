// The allocator of the contexts under test: it counts, and refuses what a test wants it to.
#pragma once

#include <malloc.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace heap {

inline size_t made = 0, failFrom = SIZE_MAX, failures = 0; // allocations by number
inline size_t live = 0, peak = 0;                          // octets

// From now on, so many allocations fail behind the first `from`.
inline void refuse(size_t from, size_t count)
{
  made = 0;
  failFrom = from;
  failures = count;
}
inline void refuseNothing()
{
  failFrom = SIZE_MAX;
}

inline void release(void* memory)
{
  if (memory) live -= malloc_usable_size(memory);
  free(memory);
}
inline void* grow(void* old, size_t size)
{
  size_t index = made++, before = old ? malloc_usable_size(old) : 0;
  if (index >= failFrom && index - failFrom < failures) return nullptr;
  void* memory = realloc(old, size);
  if (memory) peak = std::max(peak, live += malloc_usable_size(memory) - before);
  return memory;
}
inline void* allocate(size_t size)
{
  return grow(nullptr, size);
}

} // namespace heap
