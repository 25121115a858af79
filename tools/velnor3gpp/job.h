// One message through the library: decode, look at what came of it, encode again. A job owns its context, its copy of
// the octets and the record; all go with it.
#ifndef VELNOR3GPP_PROGRAM_JOB_H
#define VELNOR3GPP_PROGRAM_JOB_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "form.h"
#include "keys.h"
#include "velnor3gpp/rtxTypes.h"

enum class Check {
  kPlain,      // not protected
  kVerified,   // the code is right
  kFailed,     // the code is wrong
  kNoKeys,     // no key file
  kNullAlg,    // the key file says: no integrity protection
  kNotCovered, // a header type whose code the decoder does not look at
  kNotReached, // decoding ended before
};

struct JobOrder {
  std::vector<const L3TypeEntry*> forms; // that the octets can belong to; one at least
  const L3TypeEntry* entry = nullptr;    // the one to decode as
  Direction direction = Direction::kUnknown;
  uint16_t release = 0; // limit for radio capabilities, 0: none
  bool trace = false;
  Keys* keys = nullptr; // or null
};

struct Finding {
  int status = 0;
  std::string text; // in words, with its parameters
  std::string path; // of the element, or empty
};

struct Job {
  const L3TypeEntry* entry = nullptr;
  std::vector<uint8_t> octets; // deciphered in place
  std::vector<std::max_align_t> record;
  RtxContext ctxt;
  Protection protection;
  Direction direction = Direction::kUnknown; // the given one, or the one whose count verified the message
  Check check = Check::kPlain;
  bool headerOnly = false;       // ciphered, and no key: nothing but the security header was decoded
  size_t usedOctets = 0;         // where decoding ended
  size_t missingOctets = 0;      // how far a length has led behind the message's end
  std::vector<Finding> failures; // empty: decoded
  std::vector<Finding> remarks;  // values outside their range and the like: decoding went on

  Job();
  Job(const Job&) = delete;
  Job& operator=(const Job&) = delete;
  ~Job();
};

// Decodes a message. With keys and without a direction, both are tried.
std::unique_ptr<Job> decodeMessage(const std::vector<uint8_t>& octets, const JobOrder& order);

struct Encoded {
  std::vector<uint8_t> octets;
  std::vector<Finding> failures;
};

// Encodes the record of a decoded message. Trace and cursor of the decoding are gone afterwards.
Encoded encodeAgain(Job& job);

#endif
