// One target of the table, by the name that it is built for, as libFuzzer calls it.
#include "fuzz/harness.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  static const FuzzTarget* const kTarget = findTarget(VELNOR_FUZZ_TARGET);
  runTarget(*kTarget, Octets(data, data + size));
  return 0;
}
