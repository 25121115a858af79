// Records at the edges of what their counts and numbers may be, made from samples.
#pragma once

#include "rt3gppsrc/engine/l3Engine.h"

// Changes the sample of a type at its edge number `index`: a count or a ranged number one below its range, at either
// end, or one above. False if the type has no such edge. What a length bounds is left to the decoder.
bool moveToEdge(RtxContext* ctxt, const L3Type& type, void* sample, unsigned index);
