// What the tests of NAS security share: octets, a keyed context, and a walk over both ways to compute AES.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>
#include <vector>

#include "rt3gppsrc/rt3gppCrypto.h"
#include "velnor3gpp/rt3gppNasSec.h"
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStatus.h"

using Octets = std::vector<uint8_t>;

inline Octets octetsOf(const std::string& hex)
{
  Octets out;
  for (size_t i = 0; i + 1 < hex.size(); i += 2) out.push_back(uint8_t(std::stoul(hex.substr(i, 2), nullptr, 16)));
  return out;
}

inline Octets randomOctets(std::mt19937_64& random, size_t n)
{
  Octets out(n);
  for (uint8_t& octet : out) octet = uint8_t(random());
  return out;
}

// A context with a security record.
struct SecureContext {
  RtxContext ctxt{};
  SecureContext()
  {
    EXPECT_EQ(0, rtxInitContext(&ctxt));
    EXPECT_EQ(0, rtx3gppSecInitialize(&ctxt));
  }
  ~SecureContext() { rtxFreeContext(&ctxt); }
  void set(uint32_t count, uint8_t bearer, uint8_t direction)
  {
    ctxt.pSecurity->count = count;
    ctxt.pSecurity->bearer = bearer;
    ctxt.pSecurity->direction = direction;
  }
};

// Runs a test once for each way that this processor has.
inline void onEveryPath(const std::function<void()>& test)
{
  for (AesChoice choice : {AesChoice::plain, AesChoice::instructions}) {
    if (!rtx3gppAesForce(choice)) continue;
    SCOPED_TRACE(choice == AesChoice::plain ? "plain logic" : "AES instructions");
    test();
  }
  rtx3gppAesForce(AesChoice::automatic);
}
