// The table of a build without definitions: empty. The generated one stands in its place.
#include "rt3gppsrc/engine/l3Types.h"

__attribute__((weak)) extern const L3TypeEntry l3TypeTable[1] = {};
__attribute__((weak)) extern const size_t l3TypeCount = 0;
