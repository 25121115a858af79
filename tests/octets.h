// Octets and their hexadecimal text.
#pragma once

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

using Octets = std::vector<uint8_t>;

inline Octets octetsOfHex(const std::string& hex)
{
  Octets octets;
  for (size_t i = 0; i + 1 < hex.size(); i += 2) octets.push_back(uint8_t(std::stoul(hex.substr(i, 2), nullptr, 16)));
  return octets;
}

inline Octets octetsOfText(const std::string& text)
{
  return Octets(text.begin(), text.end());
}

// Of hexadecimal runs, each behind a blank: "D4*32" is an octet 32 times.
inline Octets octetsOfRuns(const std::string& text)
{
  Octets octets;
  std::istringstream in(text);
  for (std::string run; in >> run;) {
    const size_t star = run.find('*');
    const Octets unit = octetsOfHex(run.substr(0, star));
    for (size_t times = star == std::string::npos ? 1 : std::stoul(run.substr(star + 1)); times > 0; --times)
      octets.insert(octets.end(), unit.begin(), unit.end());
  }
  return octets;
}

inline std::string hexText(const Octets& octets)
{
  std::string text;
  for (uint8_t octet : octets) text += {"0123456789ABCDEF"[octet >> 4], "0123456789ABCDEF"[octet & 15]};
  return text;
}
