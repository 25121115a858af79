// The search in the table of all types. It stands by itself, since nothing in the shared library needs it: the linker
// leaves it out there, and with it the table and its 4,600 relocations.
#include <cstring>

#include "rt3gppsrc/engine/l3Engine.h"

const L3TypeEntry* l3FindType(const char* fullName)
{
  if (!fullName) return nullptr;
  // The table is sorted by full name, so that halving finds it: the type lies in low..high-1.
  size_t low = 0, high = l3TypeCount;
  while (low < high) {
    size_t middle = low + (high - low) / 2;
    int order = strcmp(l3TypeTable[middle].type->fullName, fullName);
    if (order == 0) return &l3TypeTable[middle];
    if (order < 0)
      low = middle + 1;
    else
      high = middle;
  }
  return nullptr;
}
