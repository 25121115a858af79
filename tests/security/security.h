// A context with a security record.
#pragma once

#include <gtest/gtest.h>

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
