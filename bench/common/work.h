// What is measured: a work does one thing to every message of a mix, once for each call of `round`. The benchmarks and
// the check of the limits run the same works. The floor is what no codec can do without: it copies each message once
// and reads each of its octets once.
#ifndef VELNOR_BENCH_WORK_H
#define VELNOR_BENCH_WORK_H

#include "bench/common/messages.h"

struct Work {
  size_t messages = 0; // of one round
  size_t lines = 0;    // printed in one round
  std::function<void()> round;
};

// The mixes outlive the works made of them. Heaps are warm: rtxMemReset between messages.
Work floorWork(const Mix& mix);
Work decodeWork(const Mix& mix);
Work encodeWork(const Mix& mix);
// The same by walking the rows, with names and regions on the real stacks.
Work decodeSlowWork(const Mix& mix);
Work encodeSlowWork(const Mix& mix);
// Printing into a string, and through a callback that formats every piece.
Work printWork(const Mix& mix);
Work printCallbackWork(const Mix& mix);
// Decoding with the bit trace on; the trace is not printed.
Work traceWork(const Mix& mix);
// Decoding in a fresh context each, which is freed again.
Work freshWork(const Mix& mix);
// Protected messages: copied, verified, deciphered and decoded; encoded, ciphered and signed.
Work unprotectWork(const Mix& mix);
Work protectWork(const Mix& mix);
// Decoding of messages that fail: the findings are discarded by rtxErrReset.
Work decodeAnyWork(const Mix& mix);

// Octets to a line of JSON by velnor3gpp_decodeMany, and the lines to records.
Work toJsonWork(const Mix& mix);
Work fromJsonWork(const Mix& mix);

// A work by the name of its mix and of what it does: "5gs/decode", "attachAccept/encode". What the checks measure.
Work namedWork(const std::string& name);

// Calls of the system allocator by all works so far.
size_t systemAllocations();
// Counts those of contexts and sessions that are made from here on; false: no more.
void countAllocations(bool on);
// Octets that a fresh context takes from the system to decode a message.
size_t heapOctets(const Message& message);

// Processor time of this thread in ns.
double threadTime();
// The least time of one round per message, in ns, over `bursts` bursts of about `burstNs` each.
double leastTime(const Work& work, unsigned bursts, double burstNs);
// Calls of `round` that take about so long.
unsigned roundsFor(const Work& work, double ns);

#endif
