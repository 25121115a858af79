// An allocator that refuses chosen calls and counts what is not given back, for tests of what happens without memory.
#pragma once
#include <cstdlib>

namespace failing {

inline long calls = 0;       // Allocations asked for since the last set-up.
inline long refuseAt = 0;    // The call to refuse, counted from 1; 0 refuses none.
inline bool forGood = false; // Refuse every call from then on.
inline long inUse = 0;       // Pieces handed out and not yet freed.

inline void setUp(long at, bool stays)
{
  calls = 0;
  refuseAt = at;
  forGood = stays;
}

// Allows so many calls and refuses every one after them; with -1 none.
inline void allow(long count)
{
  setUp(count + 1, true);
}

inline bool refuses()
{
  calls++;
  return refuseAt != 0 && (calls == refuseAt || (forGood && calls > refuseAt));
}

inline void* mallocFunc(size_t size)
{
  if (refuses()) return nullptr;
  inUse++;
  return std::malloc(size);
}

inline void* reallocFunc(void* ptr, size_t size)
{
  if (refuses()) return nullptr;
  if (ptr == nullptr) inUse++;
  return std::realloc(ptr, size);
}

inline void freeFunc(void* ptr)
{
  if (ptr != nullptr) inUse--;
  std::free(ptr);
}

} // namespace failing
