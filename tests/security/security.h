// What the tests of NAS security share: a context with a security record, and a walk over both ways to compute AES.
#pragma once

#include <gtest/gtest.h>

#include <functional>

#include "rt3gppsrc/rt3gppCrypto.h"
#include "tests/bench.h"
#include "velnor3gpp/rt3gppNasSec.h"

struct SecureContext : Bench {
  SecureContext() { EXPECT_EQ(0, rtx3gppSecInitialize(this)); }
  void set(uint32_t count, uint8_t bearer, uint8_t direction)
  {
    pSecurity->count = count, pSecurity->bearer = bearer, pSecurity->direction = direction;
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
