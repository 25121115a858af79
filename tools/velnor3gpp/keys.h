// The key file: algorithms, keys, bearer and counts of one NAS connection, in lines "name value". Key octets are wiped
// when the record goes, and never appear in a message to the user.
#ifndef VELNOR3GPP_PROGRAM_KEYS_H
#define VELNOR3GPP_PROGRAM_KEYS_H

#include <array>
#include <cstdint>
#include <istream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "captureKeys.h"

struct Keys {
  std::array<uint8_t, 16> integrityKey{};
  std::array<uint8_t, 16> cipherKey{};
  uint32_t integrityAlg = 0;
  uint32_t cipherAlg = 0;
  std::optional<uint8_t> bearer;       // none: 1 for 5GS, 0 for EPS
  std::optional<uint32_t> count;       // the lowest one of every message
  std::array<uint32_t, 2> nextCount{}; // uplink, downlink: the lowest count of the next message

  // Of single connections in captures: sections of the file. `none`: there are no keys for the others.
  ConnectionTerms connection;
  size_t line = 0; // of its "connection" in the file; 0: the keys in front of all sections
  std::vector<std::unique_ptr<Keys>> connections;
  bool none = false;

  Keys() = default;
  Keys(const Keys&) = delete;
  Keys& operator=(const Keys&) = delete;
  ~Keys();
};

// Opens and reads a key file; throws UsageError with name, line and reason. A file that all
// users can read is named on standard error.
void readKeyFile(const std::string& fileName, Keys& keys);
// The same from a stream.
void readKeys(std::istream& in, const std::string& fileName, Keys& keys);

#endif
