// What all fuzz targets share: the table of targets, and the promises of the library as checks that end the process.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <type_traits>

#include "tests/arbitraryRecord.h"
#include "tests/messages.h"

// A row of the table. A target without types takes octets alone, and some type for nothing.
struct FuzzTarget {
  using Check = void(const L3TypeEntry& entry, Octets input);
  const char* name;
  Check* check;
  std::vector<const L3TypeEntry*> types = {}; // two leading octets choose one of several
  std::vector<Octets> leads = {{}};           // what stands before the messages in seeds, for the check
  std::vector<Octets> seeds = {};             // beside the messages
};

const std::vector<FuzzTarget>& fuzzTargets();
const FuzzTarget* findTarget(const std::string& name); // or null
void runTarget(const FuzzTarget& target, const Octets& input);
// Inputs to begin with: samples and corpus rows.
std::vector<Octets> seedsOf(const FuzzTarget& target);

// Ends the process if the promise is broken. The words are a text, or a function that makes one only then.
template <typename Words> void promise(bool kept, const Words& words)
{
  if (kept) return;
  if constexpr (std::is_invocable_v<Words>)
    return promise(false, words());
  else
    fprintf(stderr, "broken promise: %s\n", std::string(words).c_str()), abort();
}
void promiseSame(const L3TypeEntry& entry, const char* where, const std::string& one, const std::string& other);

// The first octet, which the input loses; 0 if there is none.
uint8_t takeFirst(Octets& input);

FuzzTarget::Check checkMessage, checkModes, checkTrace, checkPrint, checkEncoder, checkProtected, checkStream,
    checkDefinitions, checkCharging, checkChargingText, checkCapture, checkHex, checkKeys, checkFilterInput,
    checkFacade, checkJson, checkCaptures, checkRadio, checkKept;
std::vector<Octets> definitionSeeds();
std::vector<Octets> jsonSeeds();
std::vector<Octets> captureSeeds();
