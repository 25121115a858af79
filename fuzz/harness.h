// What all fuzz targets share: the promises of the library as checks that end the process, and seeds. A target is a
// file with the function that libFuzzer calls and one that gives its seeds; it can also be linked with replay.cpp.
#pragma once

#include <string>
#include <type_traits>
#include <vector>

#include "tests/arbitraryRecord.h"
#include "tests/messages.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
// Inputs to begin with.
std::vector<Octets> fuzzSeeds();

// Ends the process if the promise is broken. The words are a text, or a function that makes one only then.
[[noreturn]] void endWith(const std::string& words);
template <typename Words> void promise(bool kept, const Words& words)
{
  if (kept) return;
  if constexpr (std::is_invocable_v<Words>)
    endWith(words());
  else
    endWith(words);
}

// The bound on the heap of one decoding: kHeapBase + kHeapFactor times the input, beside the record itself.
inline constexpr size_t kHeapBase = 16384, kHeapFactor = 64;

// Names that may stand open: elements within elements, as deep as the definitions lay them.
inline constexpr size_t kMostNames = 40;
// Half of the inputs, chosen by their octets, are decoded with each piece of the heap from the system, where a
// sanitizer sees what runs over its end.
bool piecewise(const uint8_t* data, size_t size);
// Decodes within the heap bound. What is accepted without a remark encodes, and those octets decode to an equal record.
void checkMessage(const L3TypeEntry& entry, const uint8_t* data, size_t size);
// The type of that name; null as long as the library has none.
const L3TypeEntry* typeOrNull(const char* fullName);
// A type of the table, chosen by the first two octets, which are taken off. Null without them.
const L3TypeEntry* takeType(const uint8_t*& data, size_t& size, bool encoders = false);

// Corpus rows and samples of one type as they are.
std::vector<Octets> seedsOf(const char* fullName);
// Those of all types, led by the two octets that choose the type.
std::vector<Octets> seedsOfAllTypes();
