// A context over a few octets, for the tests of coding helpers and of NAS security.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "velnor3gpp/rtContext.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxBitEncode.h"
#include "velnor3gpp/rtxContainer.h"
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxStatus.h"

using Octets = std::vector<uint8_t>;

inline Octets fromHex(const std::string& hex)
{
  Octets octets;
  for (size_t i = 0; i + 1 < hex.size(); i += 2) octets.push_back(uint8_t(std::stoul(hex.substr(i, 2), nullptr, 16)));
  return octets;
}

// Owns a context and exactly the octets it reads or writes, so that a sanitizer sees any access beyond them.
class TestContext {
public:
  explicit TestContext(Octets octets = {}, size_t startBit = 0) : data(std::move(octets))
  {
    static uint8_t none;
    rtInitContext(&ctxt);
    rtxCtxtSetBufPtr(&ctxt, data.empty() ? &none : data.data(), data.size());
    rtxCtxtSetBitOffset(&ctxt, startBit);
  }
  ~TestContext() { rtFreeContext(&ctxt); }
  TestContext(const TestContext&) = delete;

  operator RtxContext*() { return &ctxt; }
  RtxContext* operator->() { return &ctxt; }
  size_t position() { return rtxCtxtGetBitOffset(&ctxt); }
  Octets written() { return Octets(data.begin(), data.begin() + long((position() + 7) / 8)); }

  Octets data;

private:
  RtxContext ctxt;
};
