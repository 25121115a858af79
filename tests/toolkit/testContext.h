// A context over a few octets, for the tests of the coding helpers.
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

// Owns a context and exactly the octets it works on, so that a sanitizer sees any access beyond them.
class TestContext {
public:
  explicit TestContext(Octets octets) : data(std::move(octets))
  {
    rtInitContext(&ctxt);
    static uint8_t none;
    rtxCtxtSetBufPtr(&ctxt, data.empty() ? &none : data.data(), data.size());
  }
  // A fixed output buffer.
  explicit TestContext(size_t capacity) : TestContext(Octets(capacity)) {}
  ~TestContext() { rtFreeContext(&ctxt); }
  TestContext(const TestContext&) = delete;

  operator RtxContext*() { return &ctxt; }
  RtxContext* operator->() { return &ctxt; }

  void seek(size_t bit) { rtxCtxtSetBitOffset(&ctxt, bit); }
  size_t position() { return rtxCtxtGetBitOffset(&ctxt); }
  Octets written() { return Octets(data.begin(), data.begin() + long((position() + 7) / 8)); }
  size_t errors() { return rtxErrGetErrorCnt(&ctxt); }
  const RtxErrInfo* lastError() { return static_cast<RtxErrInfo*>(ctxt.errInfo.tail->data); }

  Octets data;

private:
  RtxContext ctxt;
};
