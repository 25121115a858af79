// Decoding from a stream that gives a few octets at a time is decoding from a buffer: a type that begins with its
// length gives the same record.
#include "fuzz/harness.h"

#include "tests/trickle.h"

// The first octet tells how many of the others come at a time.
void checkStream(const L3TypeEntry& entry, Octets input)
{
  const size_t step = 1U + takeFirst(input) % 9;
  Trickle trickle{input, step};
  OutcomeContext ctxt({.security = false});
  trickle.open(ctxt);
  auto record = recordStorage(*entry.type, 0);
  int status = entry.decode(ctxt, record.get());
  // Only a length tells on a stream whether more is to come: without one, what was buffered passes for all there is.
  if (status < 0 || entry.type->hand || !entry.type->rowCount || entry.type->rows[0].op != kL3Length) return;
  Decoding same(entry, input, {.security = false});
  promiseSame(entry, "on a stream", printed(*entry.type, "x", record.get()),
              same.status < 0 ? same.state() : same.text());
}
