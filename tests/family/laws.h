// What holds for every type: laws that a test puts to one type at a time.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "rt3gppsrc/engine/l3Engine.h"

using Octets = std::vector<uint8_t>;

// A type and its operations, exported ones or the engine's.
struct Subject {
  const L3Type* type;
  std::function<int(RtxContext*, void*)> decode, encode;
  std::function<void*(RtxContext*)> sample;
};

Subject subjectOf(const L3TypeEntry& entry);
Subject subjectOf(const L3Type& type);

// Two samples are two records that print the same.
void checkSampleRepeats(const Subject& subject);
// A sample encodes; its octets decode into any record to what was encoded, and encode to the same octets again.
void checkRoundTrip(const Subject& subject);
// Octets cut anywhere give a failure or a value, and nothing beyond them is read.
void checkTruncations(const Subject& subject);
// Each allocation fails in turn, once or for good: no memory is reported, and the context serves the next job.
void checkAllocationFailures(const Subject& subject);
// Whatever an initialised record held before, it prints.
void checkInitialised(const Subject& subject);

// The octets of the type's sample; empty where it does not encode.
Octets sampleOctets(const Subject& subject);
// The text of a value under the name "x".
std::string textOf(const L3Type& type, const void* value);
