#include "tests/descriptors.h"

#include <cstdlib>

// In the same object as the tables, however far away that is loaded.
alignas(16) static char gAside[1 << 22];
static size_t gUsed;

void* keptAside(const void* things, size_t octets)
{
  if (octets > sizeof gAside - gUsed) abort();
  void* at = memcpy(gAside + gUsed, things, octets);
  gUsed += (octets + 15) & ~size_t{15};
  return at;
}
