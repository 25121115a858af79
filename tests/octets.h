// Octets and their hexadecimal text.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

using Octets = std::vector<uint8_t>;

inline Octets octetsOfHex(const std::string& hex)
{
  Octets octets;
  for (size_t i = 0; i + 1 < hex.size(); i += 2) octets.push_back(uint8_t(std::stoul(hex.substr(i, 2), nullptr, 16)));
  return octets;
}

inline std::string hexText(const Octets& octets)
{
  std::string text;
  for (uint8_t octet : octets) text += {"0123456789ABCDEF"[octet >> 4], "0123456789ABCDEF"[octet & 15]};
  return text;
}
